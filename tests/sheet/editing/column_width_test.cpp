#include "sheet/editing/column_width.h"

#include "sheet/editing/clear_cells.h"
#include "sheet/editing/paste_text.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "sheet_fixture.h"

namespace kes {
namespace {

using ColumnWidth = EditingTest;

// Seven pixels a character, as a plain fixed-width font.
int32_t sevenEach(std::u16string_view text) { return int32_t(text.size()) * 7; }

TEST_F(ColumnWidth, FitsTheWidestShownLineAndUndoes) {
    put(0, 1, u"short");
    put(1, 1, u"a longer text\nx");
    put(2, 1, u"=REPT(\"w\",20)");
    put(0, 3, u"merged across, not counted");
    sheet.addMergedArea({3, 0, 4, 0});
    EXPECT_EQ(fittingColumnWidth(sheet, 1, sevenEach), 20 * 7 + 8);
    EXPECT_EQ(fittingColumnWidth(sheet, 3, sevenEach), sheet.defaultColumnWidth);
    EXPECT_EQ(fittingColumnWidth(sheet, 7, sevenEach), sheet.defaultColumnWidth);

    sheet.setColumnWidth(1, 30);
    book.history().clear();
    autoFitColumns(sheet, 0, kMaxColumn, sevenEach);
    EXPECT_EQ(sheet.columnWidth(1), 148);
    setColumnWidths(sheet, 1, 2, 60);
    EXPECT_EQ(sheet.columnWidth(2), 60);
    book.history().undo();
    EXPECT_EQ(sheet.columnWidth(1), 148);
    EXPECT_EQ(sheet.columnWidth(2), sheet.defaultColumnWidth);
    book.history().undo();
    EXPECT_EQ(sheet.columnWidth(1), 30);
}

using ClearAndPaste = EditingTest;

TEST_F(ClearAndPaste, ClearKeepsFormatsAndPasteStopsAtTheSheetsEdge) {
    put(0, 0, u"a");
    put(1, 1, u"b");
    sheet.getCell(1, 1).setStyle(book.styles().add(CellStyle{u"@"}));
    put(5, 5, u"c");
    const std::u16string before = dump();
    clearContents(sheet, {{0, 0, 1, 1}, {5, 5, 5, 5}});
    EXPECT_EQ(dump(), u"1,1=#1|");
    book.history().undo();
    EXPECT_EQ(dump(), before);

    sheet.createCell(8, 0).setArrayFormula(u"=1", {0, 8, 0, 9}, false);
    EXPECT_THROW(clearContents(sheet, {{0, 0, 0, 0}, {0, 8, 0, 8}}), ESheetError);
    EXPECT_EQ(dump(), before + u"8,0==1|");

    const TextBlock block{{u"1", u"x", u"=A3+1"}, {u"2"}};
    EXPECT_EQ(pasteText(sheet, 2, 0, block, writer()), (CellRect{0, 2, 2, 3}));
    EXPECT_EQ(shown(2, 2), u"2");
    EXPECT_EQ(pasteText(sheet, kMaxRow, kMaxColumn - 1, block, writer()), (CellRect{kMaxColumn - 1, kMaxRow, kMaxColumn, kMaxRow}));
    EXPECT_EQ(edit(kMaxRow, kMaxColumn), u"x");
    book.history().undo();
    EXPECT_FALSE(sheet.getCell(kMaxRow, kMaxColumn));
}

}  // namespace
}  // namespace kes
