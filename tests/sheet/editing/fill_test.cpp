#include "sheet/editing/fill.h"

#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "sheet_fixture.h"

namespace kes {
namespace {

using Fill = EditingTest;

TEST_F(Fill, ControlDAndControlRCopyTheFirstLineWithFormulasMovedAndUndoAsOneStep) {
    struct Case {
        const char* name;
        CellRect area;
        FillDirection direction;
        std::u16string cells;
    };
    const Case cases[] = {
        {"down over three rows", {0, 1, 1, 3}, FillDirection::Down,
         u"1,0=SN1|1,1==A1*$C$1|2,0=SN1|2,1==A2*$C$1|3,0=SN1|3,1==A3*$C$1|5,0=keep|"},
        {"one row takes the row above", {0, 2, 1, 2}, FillDirection::Down,
         u"1,0=SN1|1,1==A1*$C$1|2,0=SN1|2,1==A2*$C$1|3,0=x|5,0=keep|"},
        {"right, a blank source clears", {0, 1, 2, 2}, FillDirection::Right,
         u"1,0=SN1|1,1=SN1|1,2=SN1|3,0=x|5,0=keep|"},
        {"down to the end of the sheet stops at the data", {0, 1, 0, kMaxRow}, FillDirection::Down,
         u"1,0=SN1|1,1==A1*$C$1|2,0=SN1|2,1=y|3,0=SN1|4,0=SN1|5,0=SN1|"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        sheet.clearCells();
        put(1, 0, u"SN1");
        put(1, 1, u"=A1*$C$1");
        put(2, 1, u"y");
        put(3, 0, u"x");
        put(5, 0, u"keep");
        book.history().clear();
        const std::u16string before = dump();
        fillFromEdge(sheet, c.area, c.direction);
        EXPECT_EQ(dump(), c.cells);
        book.history().undo();
        EXPECT_EQ(dump(), before);
        book.history().redo();
        EXPECT_EQ(dump(), c.cells);
    }
}

TEST_F(Fill, TheFillHandleGoesTheWayThePointerWentFurthest) {
    const CellRect source{1, 1, 2, 3};   // B2:C4
    struct Case { int32_t row, column; CellRect target; };
    const Case cases[] = {
        {2, 2, source},                  // inside
        {9, 3, {1, 1, 2, 9}},            // down
        {0, 1, {1, 0, 2, 3}},            // up
        {5, 8, {1, 1, 8, 3}},            // right beats down
        {3, 0, {0, 1, 2, 3}},            // left
        {kMaxRow + 5, 0, {1, 1, 2, kMaxRow}},
    };
    for (const Case& c : cases) EXPECT_EQ(fillHandleTarget(source, c.row, c.column), c.target) << c.row << "," << c.column;
}

TEST_F(Fill, SeriesFillsEveryLineOfTheSelectionKeepingFormats) {
    put(0, 0, u"SN0001");
    put(1, 0, u"SN0002");
    put(0, 1, u"5");
    put(1, 1, u"10");
    put(0, 2, u"=A1&\"-\"");
    put(1, 2, u"=A2&\"-\"");
    put(0, 3, u"2024/1/31");
    const uint16_t twoPlaces = book.styles().add(CellStyle{u"0.00"});
    sheet.getCell(1, 1).setStyle(twoPlaces);
    book.history().clear();
    const std::u16string before = dump();

    fillSeries(sheet, {0, 0, 3, 1}, {0, 0, 3, 3}, false);
    EXPECT_EQ(edit(2, 0), u"SN0003");
    EXPECT_EQ(edit(3, 0), u"SN0004");
    EXPECT_EQ(shown(2, 1), u"15");       // 5, 10, ...: each in the format of its place in the pattern
    EXPECT_EQ(shown(3, 1), u"20.00");
    EXPECT_EQ(edit(2, 2), u"=A3&\"-\"");
    EXPECT_EQ(shown(2, 2), u"SN0003-");
    EXPECT_EQ(shown(2, 3), u"2024/2/1");
    EXPECT_EQ(edit(3, 3), u"");
    book.history().undo();
    EXPECT_EQ(dump(), before);

    fillSeries(sheet, {0, 0, 0, 0}, {0, 0, 0, 3}, true);   // Ctrl: copies
    EXPECT_EQ(edit(3, 0), u"SN0001");
    book.history().undo();

    put(5, 0, u"SN0005");
    fillSeries(sheet, {0, 5, 0, 5}, {0, 3, 0, 5}, false);   // dragged up
    EXPECT_EQ(edit(3, 0), u"SN0003");
    EXPECT_EQ(edit(4, 0), u"SN0004");
}

TEST_F(Fill, RefusesToWriteIntoAnArray) {
    put(0, 0, u"1");
    sheet.createCell(3, 0).setArrayFormula(u"=A1:A2", {0, 3, 0, 4}, false);
    sheet.createCell(4, 0).setArrayMember({0, 3, 0, 4}, false);
    const std::u16string before = dump();
    EXPECT_THROW(fillFromEdge(sheet, {0, 0, 0, 5}, FillDirection::Down), ESheetError);
    EXPECT_THROW(fillSeries(sheet, {0, 0, 0, 0}, {0, 0, 0, 3}, false), ESheetError);
    EXPECT_EQ(dump(), before);
}

}  // namespace
}  // namespace kes
