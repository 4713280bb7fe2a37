#include "sheet/formula_eval.h"

#include <gtest/gtest.h>

#include "sheet/cell_formula.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

class FormulaEval : public ::testing::Test {
protected:
    FormulaEval() {
        const char16_t* const rows[][3] = {
            {u"\u87BA\u4E1D", u"12", u"2.5"},
            {u"\u87BA\u6BCD", u"8", u"0.5"},
            {u"", u"abc", u"TRUE"},
        };
        for (int32_t r = 0; r < 3; ++r) {
            for (int32_t c = 0; c < 3; ++c) sheet.createCell(r, c).setText(rows[r][c], 1);
        }
        book.addSheet(u"Other Sheet").createCell(0, 0).setText(u"100", 1);
    }
    std::u16string shown(std::u16string_view formula) {
        CellRef cell = sheet.createCell(10, 5);
        cell.setText(formula, 1);
        return cell.displayText();
    }

    Workbook book;
    SheetTable& sheet = *book.activeSheet();
};

TEST_F(FormulaEval, ComputesWhatLabelSheetsUse) {
    struct Case { std::u16string formula; std::u16string shown; };
    const Case cases[] = {
        {u"=1+2*3", u"7"},
        {u"=-2^2", u"4"},
        {u"=(1+2)*3", u"9"},
        {u"=B1*C1", u"30"},
        {u"=SUM(B1:B3)", u"20"},
        {u"=SUM(B1:C2)", u"23"},
        {u"=AVERAGE(B1:B2)", u"10"},
        {u"=MAX(B:B)", u"12"},
        {u"=COUNT(A1:C3)", u"4"},
        {u"=COUNTA(A1:C3)", u"8"},
        {u"=A1&\"-\"&B1", u"\u87BA\u4E1D-12"},
        {u"=CONCATENATE(A1,\" \",B2)", u"\u87BA\u4E1D 8"},
        {u"=IF(B1>10,\"big\",\"small\")", u"big"},
        {u"=IF(B2>10,\"big\")", u"FALSE"},
        {u"=ROUND(2.345,2)", u"2.35"},
        {u"=ROUND(1.005,2)", u"1.01"},
        {u"=TEXT(C1,\"0.00\")", u"2.50"},
        {u"=TEXT(46348,\"yyyy-mm-dd\")", u"2026-11-22"},
        {u"=LEFT(\"SKU-000123\",3)&MID(\"SKU-000123\",5,6)", u"SKU000123"},
        {u"=LEN(A1)", u"2"},
        {u"='Other Sheet'!A1+1", u"101"},
        {u"=1/0", u"#DIV/0!"},
        {u"=B3+1", u"#VALUE!"},
        {u"=SUM(B1:B3,1/0)", u"#DIV/0!"},
        {u"=IFERROR(1/0,\"n/a\")", u"n/a"},
        {u"=NOSUCHFUNCTION(1)", u"#NAME?"},
        {u"=Missing!A1", u"#REF!"},
        {u"=A3", u"0"},
        {u"=B1=12", u"TRUE"},
        {u"=\"a\"<\"B\"", u"TRUE"},
        {u"=50%", u"0.5"},
        {u"=ROW()", u"11"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
    }
}

// A text against an array is read as a number once for all its elements; what each element
// shows must stay as before: the number, or #VALUE!, after an error the element itself holds.
TEST_F(FormulaEval, ATextAgainstAnArrayIsReadOnceWithErrorsFirst) {
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"=INDEX(\"3\"*{1,2,4},3)", u"12"},
        {u"=INDEX({1,2}-\" 2 \",1)", u"-1"},
        {u"=INDEX(\"x\"-{1,#N/A},1)", u"#VALUE!"},
        {u"=INDEX(\"x\"-{1,#N/A},2)", u"#N/A"},
        {u"=INDEX({#DIV/0!,2}^\"x\",1)", u"#DIV/0!"},
        {u"=INDEX({#DIV/0!,2}^\"x\",2)", u"#VALUE!"},
        {u"=INDEX(\"2026-11-23\"+{0,1},2)", u"46350"},
        {u"=COUNT(A1-B1:C3)", u"0"},
    };
    for (const auto& [formula, expected] : cases) EXPECT_EQ(shown(formula), expected) << std::string(formula.begin(), formula.end());
}

TEST_F(FormulaEval, LooksUpDatesTextsAndTables) {
    // A price list in E1:F3 beside the label rows.
    const char16_t* const prices[][2] = {{u"A-1", u"10"}, {u"B-2", u"20"}, {u"C-3", u"30"}};
    for (int32_t r = 0; r < 3; ++r) {
        sheet.createCell(r, 4).setText(prices[r][0], 1);
        sheet.createCell(r, 5).setText(prices[r][1], 1);
    }
    struct Case { std::u16string formula; std::u16string shown; };
    const Case cases[] = {
        {u"=VLOOKUP(\"B-2\",E1:F3,2,FALSE)", u"20"},
        {u"=VLOOKUP(\"b-2\",E1:F3,2,0)", u"20"},
        {u"=VLOOKUP(\"Z-9\",E1:F3,2,FALSE)", u"#N/A"},
        {u"=HLOOKUP(\"A-1\",E1:F2,2,FALSE)", u"B-2"},
        {u"=HLOOKUP(\"A-1\",E1:F1,2,FALSE)", u"#REF!"},
        {u"=INDEX(F1:F3,MATCH(\"C-3\",E1:E3,0))", u"30"},
        {u"=INDEX(E1:F3,2,1)", u"B-2"},
        {u"=SUMIF(E1:E3,\"<>B-2\",F1:F3)", u"40"},
        {u"=SUMIF(F1:F3,\">15\")", u"50"},
        {u"=COUNTIF(B1:B3,\">=8\")", u"2"},
        {u"=COUNTIF(E1:E3,\"A-1\")", u"1"},
        {u"=YEAR(46348)&\"/\"&MONTH(46348)&\"/\"&DAY(46348)", u"2026/11/22"},
        {u"=WEEKDAY(46348)", u"1"},
        {u"=WEEKDAY(46348,2)&WEEKDAY(46348,3)&WEEKDAY(46348,17)&WEEKDAY(46348,12)", u"7616"},
        {u"=WEEKDAY(46348,4)", u"#NUM!"},
        {u"=TRUE()", u"TRUE"},
        {u"=NOT(FALSE())", u"TRUE"},
        {u"=COUNTIF(E1:E3,\"?-*\")", u"3"},           // wildcards, case ignored
        {u"=COUNTIF(E1:E3,\"<>a*\")", u"2"},
        {u"=COUNTIF(E1:E3,\"~?-1\")", u"0"},          // ~ takes the next character literally
        {u"=VLOOKUP(\"*3\",E1:F3,2,FALSE)", u"30"},
        {u"=MATCH(\"b*\",E1:E3,0)", u"2"},
        {u"=MATCH(25,F1:F3)", u"2"},                    // the largest not above, in a sorted list
        {u"=MATCH(5,F1:F3,1)", u"#N/A"},
        {u"=HOUR(0.75)+MINUTE(0.75)", u"18"},
        {u"=TEXT(EDATE(46348,3),\"yyyy-mm-dd\")", u"2027-02-22"},
        {u"=TEXT(EOMONTH(46348,0),\"yyyy-mm-dd\")", u"2026-11-30"},
        {u"=CHOOSE(2,\"a\",\"b\",\"c\")", u"b"},
        {u"=IFS(B1>100,\"x\",B1>10,\"y\")", u"y"},
        {u"=FIND(\"-\",\"SKU-1\")", u"4"},
        {u"=SEARCH(\"sku\",\"a SKU\")", u"3"},
        {u"=SUBSTITUTE(\"a-b-c\",\"-\",\"/\")", u"a/b/c"},
        {u"=SUBSTITUTE(\"a-b-c\",\"-\",\"/\",2)", u"a-b/c"},
        {u"=REPLACE(\"690123\",1,3,\"***\")", u"***123"},
        {u"=REPT(\"*\",3)", u"***"},
        {u"=PROPER(\"hex BOLT m6\")", u"Hex Bolt M6"},
        {u"=TEXTJOIN(\",\",TRUE,E1:E3,\"\")", u"A-1,B-2,C-3"},
        {u"=XLOOKUP(\"C-3\",E1:E3,F1:F3)", u"30"},
        {u"=XLOOKUP(\"Q\",E1:E3,F1:F3,\"none\")", u"none"},
        {u"=DATEDIF(DATE(2024,2,29),DATE(2026,11,22),\"Y\")", u"2"},
        {u"=DATEDIF(DATE(2026,1,31),DATE(2026,3,1),\"M\")", u"1"},
        {u"=DATEDIF(DATE(2026,1,1),DATE(2026,11,22),\"D\")", u"325"},
        {u"=DATEDIF(DATE(2024,1,31),DATE(2026,3,2),\"YM\")", u"1"},
        {u"=DATEDIF(DATE(2026,1,15),DATE(2026,3,10),\"MD\")", u"23"},
        {u"=DATEDIF(DATE(2025,3,1),DATE(2026,11,22),\"YD\")", u"266"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
    }
}

TEST_F(FormulaEval, ResultsFollowChangesAndCyclesShowZero) {
    CellRef total = sheet.createCell(5, 0);
    total.setText(u"=B1+B2", 1);
    EXPECT_EQ(total.displayText(), u"20");
    sheet.getCell(0, 1).setText(u"100", 1);
    EXPECT_EQ(total.displayText(), u"108");

    CellRef a = sheet.createCell(6, 0), b = sheet.createCell(6, 1);
    a.setText(u"=B7+1", 1);
    b.setText(u"=A7+1", 1);
    CellRef after = sheet.createCell(6, 2), aside = sheet.createCell(6, 3);
    after.setText(u"=A7+B1", 1);
    aside.setText(u"=B1*2", 1);
    // Like Excel without iteration: the cells of the cycle and those that read them show 0.
    EXPECT_EQ(a.displayText(), u"0");
    EXPECT_EQ(b.displayText(), u"0");
    EXPECT_EQ(after.displayText(), u"0");
    EXPECT_EQ(aside.displayText(), u"200") << "a formula beside the cycle is computed as usual";
    b.setText(u"5", 1);
    EXPECT_EQ(a.displayText(), u"6") << "the cycle broken, the results come back";
    EXPECT_EQ(after.displayText(), u"106");

    // A chain far deeper than the evaluation stack is computed, a part at a time.
    sheet.createCell(100, 0).setText(u"1", 1);
    for (int32_t r = 101; r < 5100; ++r) {
        const std::string above = "=A" + std::to_string(r) + "+1";   // row r, counted from 1, is the cell above
        sheet.createCell(r, 0).setText(std::u16string(above.begin(), above.end()), 1);
    }
    EXPECT_EQ(sheet.getCell(5099, 0).displayText(), u"5000");
    sheet.getCell(100, 0).setText(u"-4999", 1);
    EXPECT_EQ(sheet.getCell(5099, 0).displayText(), u"0");
}

// A change recalculates the formulas that read the cell, directly or through other formulas,
// and leaves every other result as it was.
class Recalculation : public FormulaEval {
protected:
    bool stale(int32_t row, int32_t column) { return sheet.getCell(row, column).cell()->formula->stale; }
    std::u16string at(int32_t row, int32_t column) { return sheet.getCell(row, column).displayText(); }
    void put(int32_t row, int32_t column, std::u16string_view text) { sheet.createCell(row, column).setText(text, 1); }
};

TEST_F(Recalculation, MarksOnlyTheFormulasThatReadTheChange) {
    put(20, 6, u"=B1*2");          // reads B1
    put(20, 7, u"=G21+1");         // reads G21, so B1 through it
    put(20, 8, u"=C1*10");         // reads C1 only
    put(20, 9, u"=SUM(B:B)");      // a whole column
    put(20, 10, u"=SUM(B1:B2000)");  // a wide area
    put(20, 11, u"='Other Sheet'!A1+B2");
    EXPECT_EQ(at(20, 6), u"24");
    EXPECT_EQ(at(20, 7), u"25");
    EXPECT_EQ(at(20, 8), u"25");
    EXPECT_EQ(at(20, 9), u"20");
    EXPECT_EQ(at(20, 10), u"20");
    EXPECT_EQ(at(20, 11), u"108");

    put(0, 1, u"13");   // B1
    EXPECT_TRUE(stale(20, 6));
    EXPECT_TRUE(stale(20, 7));
    EXPECT_FALSE(stale(20, 8));
    EXPECT_TRUE(stale(20, 9));
    EXPECT_TRUE(stale(20, 10));
    EXPECT_FALSE(stale(20, 11));
    EXPECT_EQ(at(20, 7), u"27");
    EXPECT_EQ(at(20, 9), u"21");
    EXPECT_EQ(at(20, 10), u"21");

    put(900, 7, u"x");   // read by nothing
    for (int32_t c = 6; c < 12; ++c) EXPECT_FALSE(stale(20, c)) << c;

    book.sheet(1).getCell(0, 0).setText(u"1", 1);   // another sheet
    EXPECT_TRUE(stale(20, 11));
    EXPECT_EQ(at(20, 11), u"9");
}

TEST_F(Recalculation, FollowsDeletesUndoReplacedFormulasAndSheets) {
    book.history().setEnabled(true);
    put(20, 0, u"=B1+B2");
    EXPECT_EQ(at(20, 0), u"20");
    sheet.deleteCell(0, 1);
    EXPECT_EQ(at(20, 0), u"8");
    book.history().undo();
    EXPECT_EQ(at(20, 0), u"20");

    put(21, 0, u"=A21*2");
    EXPECT_EQ(at(21, 0), u"40");
    put(20, 0, u"7");   // the formula read by A22 gives way to a value
    EXPECT_EQ(at(21, 0), u"14");
    put(20, 0, u"=B2");
    EXPECT_EQ(at(21, 0), u"16");

    put(22, 0, u"=Later!A1&\"\"");
    EXPECT_EQ(at(22, 0), u"#REF!");
    book.addSheet(u"Later").createCell(0, 0).setText(u"ok", 1);
    EXPECT_EQ(at(22, 0), u"ok");
    book.sheet(2).setName(u"Renamed");
    EXPECT_EQ(at(22, 0), u"#REF!");

    // A formula whose inputs the expression does not tell is recalculated after any change.
    put(23, 0, u"=NOW()");
    at(23, 0);
    EXPECT_FALSE(stale(23, 0));
    put(900, 7, u"x");
    EXPECT_TRUE(stale(23, 0));

    // A formula of many areas enters only some of them cell by cell; a change in any counts.
    std::u16string many = u"=SUM(";
    for (int32_t block = 0; block < 8; ++block) {
        const std::string area = "H" + std::to_string(101 + block * 256) + ":H" + std::to_string(356 + block * 256);
        many += std::u16string(area.begin(), area.end()) + (block < 7 ? u"," : u")");
    }
    put(24, 0, many);
    EXPECT_EQ(at(24, 0), u"0");
    put(1900, 7, u"5");   // H1901, in the last area
    EXPECT_EQ(at(24, 0), u"5");
    put(101, 7, u"1");   // H102, in the first
    EXPECT_EQ(at(24, 0), u"6");

    // Breaking a cycle gives the values back.
    put(30, 0, u"=B31");
    put(30, 1, u"=A31");
    EXPECT_EQ(at(30, 0), u"0");
    put(30, 1, u"3");
    EXPECT_EQ(at(30, 0), u"3");
}

}  // namespace
}  // namespace kes
