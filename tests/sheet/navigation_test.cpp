#include "sheet/navigation.h"

#include <gtest/gtest.h>

#include "sheet/clipboard_text.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

class Navigation : public ::testing::Test {
protected:
    void fill(int32_t row, int32_t column, std::u16string_view text) { sheet.createCell(row, column).setText(text, 1); }

    Workbook book;
    SheetTable& sheet = *book.activeSheet();
};

TEST_F(Navigation, ControlArrowsStopAtTheEdgesOfTheData) {
    for (int32_t r : {2, 3, 4, 9}) fill(r, 1, u"x");
    sheet.createCell(6, 1);   // a blank cell is no data
    struct Case { CellPosition from; int32_t dr, dc; CellPosition to; };
    const Case cases[] = {
        {{0, 1}, 1, 0, {2, 1}},              // to the next filled cell
        {{2, 1}, 1, 0, {4, 1}},              // to the end of the filled run
        {{4, 1}, 1, 0, {9, 1}},              // over the gap and the blank cell
        {{9, 1}, 1, 0, {kMaxRow, 1}},        // nothing below: the sheet's edge
        {{9, 1}, -1, 0, {4, 1}},
        {{3, 1}, -1, 0, {2, 1}},
        {{2, 1}, -1, 0, {0, 1}},
        {{3, 0}, 0, 1, {3, 1}},
        {{3, 1}, 0, 1, {3, kMaxColumn}},
        {{3, 5}, 0, -1, {3, 1}},
        {{0, 0}, -1, 0, {0, 0}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(dataEdge(sheet, c.from, c.dr, c.dc), c.to) << c.from.row << "," << c.from.column;
    }
    EXPECT_EQ(lastUsedCell(sheet), (CellPosition{9, 1}));
}

TEST(ClipboardText, ReadsExcelsFormOfABlock) {
    struct Case { std::u16string text; TextBlock block; };
    const Case cases[] = {
        {u"a\tb\r\nc\td\r\n", {{u"a", u"b"}, {u"c", u"d"}}},
        {u"a\tb", {{u"a", u"b"}}},
        {u"a\n\nb\n", {{u"a"}, {u""}, {u"b"}}},
        {u"\"line1\nline2\"\tx\r\n", {{u"line1\nline2", u"x"}}},
        {u"\"has\ttab\"\t\"say \"\"hi\"\"\"\r\n", {{u"has\ttab", u"say \"hi\""}}},
        {u"5\" screen\tx", {{u"5\" screen", u"x"}}},
        {u"\"open only\tx", {{u"\"open only", u"x"}}},
        {u"\t\r\n", {{u"", u""}}},
        {u"", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(parseClipboardText(c.text), c.block);
}

TEST(ClipboardText, WritesBlocksThatReadBack) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setText(u"a\tb", 0);
    sheet.createCell(0, 2).setText(u"say \"hi\"", 0);
    sheet.createCell(1, 1).setText(u"12", 0);
    const std::u16string text = clipboardText(sheet, {0, 0, 2, 1});
    EXPECT_EQ(text, u"\"a\tb\"\t\t\"say \"\"hi\"\"\"\r\n\t12\t\r\n");
    EXPECT_EQ(parseClipboardText(text), (TextBlock{{u"a\tb", u"", u"say \"hi\""}, {u"", u"12", u""}}));
}

}  // namespace
}  // namespace kes
