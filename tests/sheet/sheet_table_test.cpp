#include "sheet/sheet_table.h"

#include <gtest/gtest.h>

#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

std::vector<int32_t> cellColumns(SheetRow& row) {
    std::vector<int32_t> out;
    for (SheetCell* c = row.cells.first(); c; c = c->next) out.push_back(c->index);
    return out;
}

TEST(SheetTable, CreateCellMakesRowCellAndColumnOnceAndLookupsNeverCreate) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    EXPECT_FALSE(sheet.getCell(5, 3));
    EXPECT_EQ(sheet.getRow(5), nullptr);

    CellRef cell = sheet.createCell(5, 3);
    ASSERT_TRUE(cell);
    EXPECT_EQ(cell.row(), 5);
    EXPECT_EQ(cell.column(), 3);
    ASSERT_NE(sheet.getRow(5), nullptr);
    ASSERT_NE(sheet.getColumn(3), nullptr);
    EXPECT_EQ(sheet.createCell(5, 3).cell(), cell.cell());
    EXPECT_EQ(sheet.getRow(4), nullptr);
    EXPECT_FALSE(sheet.getCell(5, 2));
    EXPECT_EQ(sheet.getColumn(2), nullptr);

    for (int32_t c : {10, 2, 7}) sheet.createCell(8, c);
    EXPECT_EQ(cellColumns(*sheet.getRow(8)), (std::vector<int32_t>{2, 7, 10}));
    EXPECT_EQ(sheet.getRow(8)->cellCount(), 11);

    const CellRef corner = sheet.createCell(kMaxRow, kMaxColumn);
    EXPECT_EQ(sheet.getCell(kMaxRow, kMaxColumn).cell(), corner.cell());
}

TEST(SheetTable, ClearedCellStaysBlankInItsRow) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(1, 0).setText(u"6901234567890", 0);
    sheet.createCell(1, 50).setText(u"x", 0);
    EXPECT_EQ(sheet.getRow(1)->cellCount(), 51);
    CellRef cell = sheet.getCell(1, 0);
    cell.clear();
    ASSERT_TRUE(sheet.getCell(1, 0));
    EXPECT_EQ(cell.dataType(), cdtBlank);
    EXPECT_EQ(cell.displayText(), u"");
    EXPECT_EQ(cell.asFloat(), 0.0);
}

TEST(SheetTable, TextsAreSharedAndReleasedWithTheirCells) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setText(u"\u87BA\u4E1D", 0);   // 螺丝
    sheet.createCell(1, 0).setText(u"\u87BA\u4E1D", 0);
    EXPECT_EQ(book.strings().size(), 1u);
    sheet.getCell(0, 0).setText(u"12", 0);
    EXPECT_EQ(book.strings().size(), 1u);
    sheet.deleteCell(1, 0);
    EXPECT_EQ(book.strings().size(), 0u);
    EXPECT_FALSE(sheet.getCell(1, 0));
}

TEST(SheetTable, UndoAndRedoPutBackCreatedChangedAndDeletedCells) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    UndoHistory& history = book.history();

    history.beginAction();
    sheet.createCell(2, 2).setText(u"abc", 0);
    history.endAction();
    history.beginAction();
    sheet.getCell(2, 2).setText(u"42", 0);
    sheet.createCell(3, 1).setText(u"TRUE", 0);
    history.endAction();
    sheet.deleteCell(2, 2);

    history.undo();   // the delete
    EXPECT_EQ(sheet.getCell(2, 2).displayText(), u"42");
    history.undo();   // the second action, both cells
    EXPECT_EQ(sheet.getCell(2, 2).displayText(), u"abc");
    EXPECT_FALSE(sheet.getCell(3, 1));
    history.undo();   // the first action: the cell did not exist
    EXPECT_FALSE(sheet.getCell(2, 2));
    EXPECT_FALSE(history.canUndo());

    history.redo();
    history.redo();
    EXPECT_EQ(sheet.getCell(2, 2).displayText(), u"42");
    EXPECT_EQ(sheet.getCell(3, 1).displayText(), u"TRUE");
    history.redo();
    EXPECT_FALSE(sheet.getCell(2, 2));
    EXPECT_FALSE(history.canRedo());

    history.undo();
    sheet.createCell(9, 9).setText(u"new", 0);   // a new change drops the redo steps
    EXPECT_FALSE(history.canRedo());
}

TEST(SheetTable, LockedHistoryRecordsNothing) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    book.history().lock();
    sheet.createCell(0, 0).setText(u"1", 0);
    book.history().unlock();
    EXPECT_FALSE(book.history().canUndo());
}

}  // namespace
}  // namespace kes
