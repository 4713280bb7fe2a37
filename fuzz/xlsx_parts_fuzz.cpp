// Fuzz target: the xlsx reader behind the ZIP layer. The input is the package's XML parts
// separated by NUL bytes, packed here with our ZIP writer, so that mutations reach the
// relationships, workbook, worksheet, shared strings and styles instead of failing a CRC check.
#include <string>
#include <string_view>

#include "fuzz_common.h"
#include "workbook/zip/zip_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const kParts[] = {"[Content_Types].xml", "_rels/.rels", "xl/workbook.xml", "xl/_rels/workbook.xml.rels",
                                         "xl/worksheets/sheet1.xml", "xl/sharedStrings.xml", "xl/styles.xml",
                                         "xl/worksheets/sheet2.xml"};
    static const kes::SpreadSheetFormat& format = kes::fuzz::formatOf(u"fuzz.xlsx");
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    kes::ZipWriter zip(1);
    for (const char* name : kParts) {
        const size_t end = rest.find('\0');
        zip.add(name, rest.substr(0, end));
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    const std::string package = zip.finish();
    kes::fuzz::loadChecked(reinterpret_cast<const uint8_t*>(package.data()), package.size(), format);
    return 0;
}
