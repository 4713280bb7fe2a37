// Fuzz target: a cell's text as typed or read from a file (CellRef::setText), under one of a
// few number formats, then shown as the grid shows it. Nothing may throw for a plain cell.
#include <cstdint>
#include <string>

#include "fuzz_common.h"
#include "text/utf8.h"

using namespace kes;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const char16_t* const kFormats[] = {u"", u"@", u"0.00", u"yyyy-mm-dd hh:mm", u"#,##0 \"\u5143\"", u"0%",
                                               u"[h]:mm:ss", u"0.00E+00"};
    const uint8_t choice = data[0];
    const std::u16string text = fromUtf8(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
    Workbook book;
    if (choice & 0x40) {
        FormatSettings settings = book.settings();
        settings.date1904 = true;
        book.setSettings(settings);
    }
    SheetTable& sheet = *book.activeSheet();
    CellRef cell = sheet.createCell(choice & 0x20 ? 1048575 : 0, choice & 0x20 ? 16383 : 0);
    cell.setStyle(book.styles().add(CellStyle{kFormats[choice & 7]}));
    cell.setText(text, (choice & 0x10) ? 0 : 1);
    cell.displayText();
    cell.asString();
    cell.asFloat();
    cell.value();
    return 0;
}
