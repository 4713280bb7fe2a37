// Fuzz target: the XML pull reader, walked as the workbook reader walks parts: attributes of
// start elements, and now and then an element's text or a skipped element, as the first byte
// chooses. Only EXmlError may come out of it, and a document given in small pieces (as an
// inflating part gives it) must read exactly as the document held whole.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "workbook/xml/xml_reader.h"

namespace {

std::string walk(kes::XmlReader& xml, uint8_t mode) {
    std::string trace;
    try {
        std::string_view value;
        for (kes::XmlReader::Token token; (token = xml.next()) != kes::XmlReader::Token::End;) {
            trace += char('0' + int(token));
            if (token == kes::XmlReader::Token::Text) trace += xml.text();
            if (token != kes::XmlReader::Token::StartElement) continue;
            trace += xml.name();
            if (xml.attribute("r", value)) trace += value;
            if (xml.attribute("t", value)) trace += value;
            if ((mode & 1) && xml.name() == "t") {
                trace += xml.elementText();
            } else if ((mode & 2) && xml.depth() == 3) {
                xml.skipElement();
            }
        }
    } catch (const kes::EXmlError& e) {
        trace += e.what();
    }
    return trace;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t mode = data[0];
    const std::string_view document(reinterpret_cast<const char*>(data) + 1, size - 1);
    kes::XmlReader whole(document);
    const std::string expected = walk(whole, mode);
    // Reading a few bytes at a time is slow: the comparison is kept to documents of some size.
    if (document.size() > 16384) return 0;
    const size_t piece = 1 + (mode >> 2) % 17;
    size_t given = 0;
    kes::XmlReader pieces(
        [&](char* into, size_t capacity) {
            const size_t n = std::min({piece, capacity, document.size() - given});
            std::memcpy(into, document.data() + given, n);
            given += n;
            return n;
        },
        64);
    if (walk(pieces, mode) != expected) std::abort();
    return 0;
}
