#include "workbook/txt/txt_writer.h"

#include <gtest/gtest.h>

#include "text/ansi_code_page.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

// What Excel's "Text (Tab delimited)" writes on a Chinese system: the texts the cells show, in
// the ANSI code page, tabs between cells, quotes around a cell that holds one, CR LF.
TEST(TxtWriter, WritesTheShownTextsTabSeparatedInTheAnsiCodePage) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setText(u"\u54C1\u540D", 1);   // 品名
    sheet.createCell(0, 2).setText(u"12.5", 1);
    sheet.createCell(0, 2).setStyle(book.styles().add(CellStyle{u"0.00"}));
    sheet.createCell(2, 0).setText(u"2026-11-23", 1);
    sheet.createCell(2, 1).setText(u"=1/0", 1);
    sheet.createCell(3, 0).setString(u"say \"hi\"\tnow");
    sheet.createCell(3, 1).setString(u"two\nlines");
    book.addSheet(u"Other").createCell(0, 0).setText(u"not written", 1);
    std::string out;
    SaveToStream(book, out, SpreadSheetFormatsRepository::instance().Find(u"a.txt"));
    const std::string expected = systemAnsiCodePage().encode(u"\u54C1\u540D\t\t12.50\r\n"
                                                              u"\r\n"
                                                              u"2026/11/23\t#DIV/0!\r\n"
                                                              u"\"say \"\"hi\"\"\tnow\"\t\"two\nlines\"\r\n");
    EXPECT_EQ(out, expected);
}

}  // namespace
}  // namespace kes
