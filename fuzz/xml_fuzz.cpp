// Fuzz target: the XML pull reader, walked as the workbook reader walks parts: attributes of
// start elements, and now and then an element's text or a skipped element, as the first byte
// chooses. Only EXmlError may come out of it.
#include <cstdint>
#include <string_view>

#include "workbook/xml/xml_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t mode = data[0];
    const std::string_view document(reinterpret_cast<const char*>(data) + 1, size - 1);
    try {
        kes::XmlReader xml(document);
        std::string_view value;
        for (kes::XmlReader::Token token; (token = xml.next()) != kes::XmlReader::Token::End;) {
            if (token != kes::XmlReader::Token::StartElement) continue;
            xml.attribute("r", value);
            xml.attribute("t", value);
            if ((mode & 1) && xml.name() == "t") {
                xml.elementText();
            } else if ((mode & 2) && xml.depth() == 3) {
                xml.skipElement();
            }
        }
    } catch (const kes::EXmlError&) {
    }
    return 0;
}
