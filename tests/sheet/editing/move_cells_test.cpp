#include "sheet/editing/move_cells.h"

#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "sheet_fixture.h"

namespace kes {
namespace {

using MoveCells = EditingTest;

TEST_F(MoveCells, TheBlockMovesWithTheReferencesToItAndUndoesInOneStep) {
    put(0, 0, u"4");
    put(1, 0, u"=A1*2");
    put(0, 2, u"=SUM(A1:A2)+B9");
    put(5, 4, u"overwritten");
    book.addSheet(u"Other").createCell(0, 0).setText(u"=Sheet1!A2", 1);
    const std::u16string before = dump();

    EXPECT_EQ(moveCells(sheet, {0, 0, 0, 1}, 4, 4), (CellRect{4, 4, 4, 5}));
    EXPECT_EQ(dump(), u"0,2==SUM(E5:E6)+B9|4,4=4|5,4==E5*2|");
    EXPECT_EQ(shown(0, 2), u"12");
    EXPECT_EQ(cellEditText(book.sheet(1), 0, 0), u"=Sheet1!E6");
    book.history().undo();
    EXPECT_EQ(dump(), before);
    EXPECT_EQ(cellEditText(book.sheet(1), 0, 0), u"=Sheet1!A2");

    // Overlapping its own place: one row down.
    moveCells(sheet, {0, 0, 0, 1}, 1, 0);
    EXPECT_EQ(edit(1, 0), u"4");
    EXPECT_EQ(edit(2, 0), u"=A2*2");
    EXPECT_EQ(edit(0, 0), u"");
}

TEST_F(MoveCells, RefusesABlockOffTheSheet) {
    put(0, 0, u"x");
    EXPECT_THROW(moveCells(sheet, {0, 0, 0, 1}, kMaxRow, 0), ESheetError);
    EXPECT_EQ(edit(0, 0), u"x");
}

}  // namespace
}  // namespace kes
