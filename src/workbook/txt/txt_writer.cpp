#include "workbook/txt/txt_writer.h"

#include "text/ansi_code_page.h"
#include "workbook/csv/delimited_text.h"

namespace kes {

void TxtWriter::Write(Workbook& book, std::string& out) {
    SheetTable* sheet = book.activeSheet();
    if (!sheet) return;
    const AnsiCodePage& codePage = systemAnsiCodePage();
    writeDelimitedLines(*sheet, u'\t', [&](std::u16string_view line) {
        codePage.encodeAppend(line, out);
        out += "\r\n";
    });
}

}  // namespace kes
