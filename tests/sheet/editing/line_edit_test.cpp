#include "sheet/editing/line_edit.h"

#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "sheet_fixture.h"

namespace kes {
namespace {

class LineEdit : public EditingTest {
protected:
    void SetUp() override {
        put(0, 0, u"name");
        put(0, 1, u"qty");
        put(1, 0, u"bolt");
        put(1, 1, u"4");
        put(2, 0, u"nut");
        put(2, 1, u"6");
        put(3, 1, u"=SUM(B2:B3)");
        put(3, 2, u"=B3*2");
        sheet.setColumnWidth(1, 150);
        sheet.addMergedArea({0, 5, 2, 6});   // A6:C7
        book.history().clear();
    }
};

TEST_F(LineEdit, EachEditMovesCellsFormulasAndMergedAreasAndUndoesExactly) {
    struct Case {
        const char* name;
        bool insert;
        LineKind kind;
        int32_t at, count;
        std::u16string cells;
        std::vector<CellRect> merged;
    };
    const Case cases[] = {
        {"insert a row inside the sum", true, LineKind::Rows, 2, 1,
         u"0,0=name|0,1=qty|1,0=bolt|1,1=4|3,0=nut|3,1=6|4,1==SUM(B2:B4)|4,2==B4*2|", {{0, 6, 2, 7}}},
        {"insert rows inside the merged area", true, LineKind::Rows, 6, 2,
         u"0,0=name|0,1=qty|1,0=bolt|1,1=4|2,0=nut|2,1=6|3,1==SUM(B2:B3)|3,2==B3*2|", {{0, 5, 2, 8}}},
        {"delete the row a formula reads", false, LineKind::Rows, 2, 1,
         u"0,0=name|0,1=qty|1,0=bolt|1,1=4|2,1==SUM(B2:B2)|2,2==#REF!*2|", {{0, 4, 2, 5}}},
        {"delete the rows of the merged area", false, LineKind::Rows, 4, 3,
         u"0,0=name|0,1=qty|1,0=bolt|1,1=4|2,0=nut|2,1=6|3,1==SUM(B2:B3)|3,2==B3*2|", {}},
        {"insert a column before B", true, LineKind::Columns, 1, 1,
         u"0,0=name|0,2=qty|1,0=bolt|1,2=4|2,0=nut|2,2=6|3,2==SUM(C2:C3)|3,3==C3*2|", {{0, 5, 3, 6}}},
        {"delete column B", false, LineKind::Columns, 1, 1,
         u"0,0=name|1,0=bolt|2,0=nut|3,1==#REF!*2|", {{0, 5, 1, 6}}},
    };
    const std::u16string before = dump();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.insert) insertLines(sheet, c.kind, c.at, c.count);
        else deleteLines(sheet, c.kind, c.at, c.count);
        EXPECT_EQ(dump(), c.cells);
        EXPECT_EQ(sheet.mergedAreas(), c.merged);
        const std::u16string after = dump();
        book.history().undo();
        EXPECT_EQ(dump(), before);
        EXPECT_EQ(sheet.mergedAreas(), (std::vector<CellRect>{{0, 5, 2, 6}}));
        EXPECT_EQ(sheet.columnWidth(1), 150);
        book.history().redo();
        EXPECT_EQ(dump(), after);
        book.history().undo();
    }
}

TEST_F(LineEdit, FormulasComputeFromTheMovedCellsAndOtherSheetsFollow) {
    SheetTable& other = book.addSheet(u"Other");
    other.createCell(0, 0).setText(u"=Sheet1!B3+1", 1);
    other.createCell(0, 1).setText(u"=B1", 1);   // its own sheet's B1: not moved
    insertLines(sheet, LineKind::Rows, 0, 2);
    EXPECT_EQ(shown(5, 1), u"10");
    EXPECT_EQ(cellEditText(other, 0, 0), u"=Sheet1!B5+1");
    EXPECT_EQ(cellEditText(other, 0, 1), u"=B1");
    EXPECT_EQ(other.getCell(0, 0).displayText(), u"7");
    deleteLines(sheet, LineKind::Columns, 0, 1);   // the names go; the numbers stay in A
    EXPECT_EQ(shown(5, 0), u"10");
    EXPECT_EQ(cellEditText(other, 0, 0), u"=Sheet1!A5+1");
}

TEST_F(LineEdit, RefusesWhatWouldLoseDataOrCutAnArray) {
    put(kMaxRow, 0, u"last");
    EXPECT_THROW(insertLines(sheet, LineKind::Rows, 3, 1), ESheetError);
    EXPECT_EQ(shown(kMaxRow, 0), u"last");
    sheet.deleteCell(kMaxRow, 0);
    sheet.createCell(kMaxRow, 3).setStyle(1);   // only a format: it may fall off
    insertLines(sheet, LineKind::Rows, 0, 1);
    EXPECT_FALSE(sheet.getCell(kMaxRow, 3));

    sheet.createCell(10, 0).setArrayFormula(u"=B2:B3*2", {0, 10, 0, 11}, false);
    sheet.createCell(11, 0).setArrayMember({0, 10, 0, 11}, false);
    const std::u16string before = dump();
    EXPECT_THROW(insertLines(sheet, LineKind::Rows, 5, 1), ESheetError);
    EXPECT_THROW(deleteLines(sheet, LineKind::Columns, 0, 1), ESheetError);
    EXPECT_EQ(dump(), before);
    insertLines(sheet, LineKind::Rows, 12, 1);   // below the array: allowed
    EXPECT_THROW(insertLines(sheet, LineKind::Rows, -1, 1), ESheetError);
}

}  // namespace
}  // namespace kes
