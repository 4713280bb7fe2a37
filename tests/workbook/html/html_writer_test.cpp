#include "workbook/html/html_writer.h"

#include <gtest/gtest.h>

#include "workbook/workbook_files.h"

namespace kes {
namespace {

TEST(HtmlWriter, WritesEachSheetAsATableOfTheShownTexts) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.setName(u"\u6807\u7B7E");   // 标签
    sheet.createCell(0, 0).setText(u"Item <A&B>", 1);
    sheet.createCell(0, 1).setText(u"12.5", 1);
    sheet.createCell(0, 1).setStyle(book.styles().add(CellStyle{u"0.00"}));
    sheet.createCell(1, 0).setString(u"two\nlines");
    sheet.createCell(1, 1).setText(u"TRUE", 1);
    sheet.createCell(3, 0).setText(u"merged", 1);
    sheet.addMergedArea({0, 3, 1, 4});
    book.addSheet(u"Second").createCell(0, 0).setText(u"x", 1);
    std::string page;
    SaveToStream(book, page, SpreadSheetFormatsRepository::instance().Find(u"a.html"));
    EXPECT_NE(page.find("<meta charset=\"utf-8\">"), std::string::npos);
    EXPECT_NE(page.find("<h2>\xE6\xA0\x87\xE7\xAD\xBE</h2>"), std::string::npos) << "the sheet's name heads its table";
    EXPECT_NE(page.find("<tr><td>Item &lt;A&amp;B&gt;</td><td class=\"n\">12.50</td></tr>"), std::string::npos);
    EXPECT_NE(page.find("<tr><td>two<br>lines</td><td class=\"c\">TRUE</td></tr>"), std::string::npos);
    EXPECT_NE(page.find("<tr><td></td><td></td></tr>"), std::string::npos) << "an empty row keeps its place";
    EXPECT_NE(page.find("<tr><td colspan=\"2\" rowspan=\"2\">merged</td></tr>"), std::string::npos);
    EXPECT_NE(page.find("<h2>Second</h2>\n<table>\n<tr><td>x</td></tr>"), std::string::npos);
}

}  // namespace
}  // namespace kes
