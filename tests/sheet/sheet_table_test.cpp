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

TEST(SheetTable, MergedAreasAreKeptOnlyWhenTheyCoverSeveralCellsInsideTheSheetWithoutOverlap) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    ASSERT_TRUE(sheet.addMergedArea({0, 0, 11, 0}));   // A1:L1, a title row
    ASSERT_TRUE(sheet.addMergedArea({2, 3, 3, 6}));    // C4:D7
    const struct {
        CellRect area;
        bool kept;
        const char* why;
    } cases[] = {
        {{5, 5, 5, 5}, false, "one cell"},
        {{3, 1, 2, 2}, false, "left beyond right"},
        {{0, 2, 1, 1}, false, "top below bottom"},
        {{-1, 1, 1, 1}, false, "left of the sheet"},
        {{0, -1, 0, 1}, false, "above the sheet"},
        {{kMaxColumn, 1, kMaxColumn + 1, 1}, false, "right of the sheet"},
        {{0, kMaxRow, 0, kMaxRow + 1}, false, "below the sheet"},
        {{11, 0, 12, 0}, false, "overlapping the title's last cell"},
        {{0, 0, 0, 1}, false, "overlapping the title's first cell"},
        {{1, 2, 4, 8}, false, "holding C4:D7 inside it"},
        {{3, 6, 3, 7}, false, "sharing the corner D7"},
        {{12, 0, 13, 0}, true, "touching the title on its right"},
        {{2, 2, 3, 2}, true, "touching C4:D7 from above"},
        {{4, 3, 4, 6}, true, "touching C4:D7 on its right"},
        {{kMaxColumn - 1, kMaxRow, kMaxColumn, kMaxRow}, true, "the last two cells of the sheet"},
    };
    for (const auto& c : cases) {
        const uint64_t version = sheet.version();
        EXPECT_EQ(sheet.addMergedArea(c.area), c.kept) << c.why;
        EXPECT_EQ(sheet.version() != version, c.kept) << c.why << ": only a kept area repaints";
    }
    EXPECT_EQ(sheet.mergedAreas().size(), 6u);

    ASSERT_NE(sheet.mergedAreaAt(0, 7), nullptr);
    EXPECT_EQ(*sheet.mergedAreaAt(0, 7), (CellRect{0, 0, 11, 0}));
    EXPECT_EQ(*sheet.mergedAreaAt(6, 3), (CellRect{2, 3, 3, 6}));
    EXPECT_EQ(*sheet.mergedAreaAt(kMaxRow, kMaxColumn), (CellRect{kMaxColumn - 1, kMaxRow, kMaxColumn, kMaxRow}));
    EXPECT_EQ(sheet.mergedAreaAt(1, 0), nullptr);
    EXPECT_EQ(sheet.mergedAreaAt(3, 5), nullptr);

    sheet.clearCells();
    EXPECT_TRUE(sheet.mergedAreas().empty());
    EXPECT_EQ(sheet.mergedAreaAt(0, 0), nullptr);
    EXPECT_TRUE(sheet.addMergedArea({0, 0, 11, 0})) << "a cleared sheet takes its areas again";
}

TEST(SheetTable, MergedAreasStopAtTheirCap) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    for (size_t i = 0; i < SheetTable::kMaxMergedAreas; ++i)
        ASSERT_TRUE(sheet.addMergedArea({0, int32_t(i), 1, int32_t(i)})) << i;
    EXPECT_FALSE(sheet.addMergedArea({5, 0, 6, 0}));
    EXPECT_EQ(sheet.mergedAreas().size(), SheetTable::kMaxMergedAreas);
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
