// Reference functions: positions and sizes of references, INDEX, OFFSET, CHOOSE and INDIRECT
// giving references that other functions and the range operator take, ADDRESS, FORMULATEXT,
// TRIMRANGE and ANCHORARRAY.
#include "array_fixture.h"
#include "sheet/calc/compile.h"

namespace kes::calc::testing {
namespace {

class Reference : public ArrayFixture {
protected:
    Reference() { fill(u"A1", {u"1\t2\t3", u"4\t5\t6", u"7\t8\t9"}); }
};

TEST_F(Reference, PositionsAndSizes) {
    const Case cases[] = {
        {u"=ROW(C5)&COLUMN(C5)", u"53"},
        {u"=ROW()&\",\"&COLUMN()", u"1000,26"},
        {u"=ROW(B2:B4)", u"2;3;4"},
        {u"=COLUMN(B2:D2)", u"2,3,4"},
        {u"=ROW((A1,B2))", u"#REF!"},
        {u"=ROW(1)", u"#VALUE!"},
        {u"=ROWS(A1:C2)&COLUMNS(A1:C2)", u"23"},
        {u"=ROWS({1,2;3,4;5,6})&COLUMNS({1,2;3,4;5,6})", u"32"},
        {u"=ROWS(5)", u"1"},
        {u"=ROWS(A1:A3*2)", u"3"},
        {u"=COLUMNS((A1:B2,C3))", u"#REF!"},
        {u"=AREAS((A1:B2,C3,A1))", u"3"},
        {u"=AREAS(A1:B2 C3:C4)", u"#NULL!"},
        {u"=AREAS(5)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, IndexPicksFromReferencesAndArrays) {
    const Case cases[] = {
        {u"=INDEX(A1:C3,2,3)", u"6"},
        {u"=INDEX(A1:C3,2)", u"#REF!"},                  // one index for a table of references
        {u"=INDEX(A1:C3,2,0)", u"4,5,6"},
        {u"=INDEX(A1:C3,0,2)", u"2;5;8"},
        {u"=INDEX(A1:C1,3)", u"3"},                      // one row: the index is a column
        {u"=INDEX(A1:A3,3)", u"7"},
        {u"=INDEX(A1:C3,4,1)", u"#REF!"},
        {u"=INDEX(A1:C3,-1,1)", u"#VALUE!"},
        {u"=INDEX((A1:A3,C1:C3),2,1,2)", u"6"},
        {u"=INDEX((A1:A3,C1:C3),2,1,3)", u"#REF!"},
        {u"=INDEX({2,3;4,5},2)", u"4,5"},                // one index for a table of values: its row
        {u"=INDEX({2,3,4},2)", u"3"},
        {u"=INDEX({2,3,4},2,1)", u"#REF!"},
        {u"=INDEX({2,3,4},1,1,2)", u"#REF!"},
        {u"=INDEX({2,3,4},#N/A,#VALUE!)", u"#N/A"},
        {u"=INDEX(5,1,1)", u"5"},
        {u"=SUM(A1:INDEX(A1:C3,2,2))", u"12"},
        {u"=SUM(INDEX(A1:C3,0,3))", u"18"},
        {u"=INDEX(A1:C3*10,3,3)", u"90"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, OffsetMovesAndSizesAReference) {
    const Case cases[] = {
        {u"=OFFSET(A1,1,1)", u"5"},
        {u"=SUM(OFFSET(A1,1,0,2,3))", u"39"},
        {u"=SUM(OFFSET(C3,0,0,-2,-2))", u"28"},          // a negative size reaches up and left
        {u"=OFFSET(A1,0,0,0)", u"#REF!"},
        {u"=OFFSET(A1,-1,0)", u"#REF!"},
        {u"=OFFSET(A1,0,16384)", u"#REF!"},
        {u"=OFFSET(A1,1.9,0)", u"4"},
        {u"=OFFSET({1,2},0,0)", u"#VALUE!"},
        {u"=OFFSET((A1,B1),0,0)", u"#VALUE!"},
        {u"=ROWS(OFFSET(A1,0,0,5))", u"5"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, ChooseTakesOnlyTheValueItPicks) {
    const Case cases[] = {
        {u"=CHOOSE(2,1/0,\"b\",1/0)", u"b"},
        {u"=CHOOSE(1.9,\"a\",\"b\")", u"a"},
        {u"=CHOOSE(TRUE,\"a\",\"b\")", u"a"},
        {u"=CHOOSE(3,\"a\",\"b\")", u"#VALUE!"},
        {u"=CHOOSE(0,\"a\")", u"#VALUE!"},
        {u"=CHOOSE(\"x\",\"a\")", u"#VALUE!"},
        {u"=SUM(A1:CHOOSE(2,A1,B2,C3))", u"12"},
        {u"=CHOOSE({1,2},A1:A3,C1:C3)", u"1,3;4,6;7,9"},   // the columns side by side
        {u"=CHOOSE({1;3},\"a\",\"b\")", u"a;#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, IndirectReadsReferenceTexts) {
    set(u"Other Sheet!B2", u"42");
    book.names().define({u"Corner", -1, u"=Sheet1!$C$3", std::shared_ptr<const formula::Expression>(compileFormula(u"=Sheet1!$C$3"))});
    book.names().define({u"Rate", -1, u"=0.5", std::shared_ptr<const formula::Expression>(compileFormula(u"=0.5"))});
    book.namesChanged();
    book.tables().add({u"Sales", 0, {0, 0, 2, 2}, true, false, {u"One", u"Two", u"Three"}});
    set(u"E1", u"B2");
    const Case cases[] = {
        {u"=INDIRECT(\"B2\")", u"5"},
        {u"=INDIRECT(E1)", u"5"},
        {u"=SUM(INDIRECT(\"A1:B2\"))", u"12"},
        {u"=INDIRECT(\"'Other Sheet'!B2\")", u"42"},
        {u"=INDIRECT(\"Corner\")", u"9"},
        {u"=INDIRECT(\"Rate\")", u"#REF!"},              // a name of no reference
        {u"=SUM(INDIRECT(\"Sales[Two]\"))", u"13"},       // the data rows of a table's column
        {u"=INDIRECT(\"A1+1\")", u"#REF!"},
        {u"=INDIRECT(\"\")", u"#REF!"},
        {u"=INDIRECT(\"Nowhere!A1\")", u"#REF!"},
        {u"=INDIRECT(\"R2C3\",FALSE)", u"6"},
        {u"=INDIRECT(\"R[-998]C[-23]\",FALSE)", u"6"},   // counted from Z1000
        {u"=SUM(INDIRECT(\"R1:R2\",FALSE))", u"21"},
        {u"=SUM(INDIRECT(\"C2\",FALSE))", u"15"},
        {u"=INDIRECT(\"'Other Sheet'!R2C2\",FALSE)", u"42"},
        {u"=INDIRECT(\"B2\",FALSE)", u"#REF!"},          // A1 is no R1C1
        {u"=INDIRECT(\"R0C1\",FALSE)", u"#REF!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, AddressWritesEveryStyle) {
    const Case cases[] = {
        {u"=ADDRESS(3,7)", u"$G$3"},
        {u"=ADDRESS(23,45,2)", u"AS$23"},
        {u"=ADDRESS(23,45,3)", u"$AS23"},
        {u"=ADDRESS(23.4,34.7,4)", u"AH23"},
        {u"=ADDRESS(3,7,1,FALSE)", u"R3C7"},
        {u"=ADDRESS(23,45,2,FALSE)", u"R23C[45]"},
        {u"=ADDRESS(23,45,4,0)", u"R[23]C[45]"},
        {u"=ADDRESS(1048576,16384)", u"$XFD$1048576"},
        {u"=ADDRESS(1048577,1)", u"#VALUE!"},
        {u"=ADDRESS(0,3)", u"#VALUE!"},
        {u"=ADDRESS(2,3,5)", u"#VALUE!"},
        {u"=ADDRESS(2,3,Z9)", u"#VALUE!"},                // an empty cell is 0, not left out
        {u"=ADDRESS(2,3,1,1,\"Sheet2\")", u"Sheet2!$C$2"},
        {u"=ADDRESS(1,1,1,1,\"A Wird One$\")", u"'A Wird One$'!$A$1"},
        {u"=ADDRESS(1,1,1,1,\"It's\")", u"'It''s'!$A$1"},
        {u"=ADDRESS(1,1,1,1,\"A1\")", u"'A1'!$A$1"},
        {u"=ADDRESS(1,1,1,1,\"[Book1]Sheet1\")", u"[Book1]Sheet1!$A$1"},
        {u"=ADDRESS(1,1,1,1,\"[Book1]My Sheet\")", u"'[Book1]My Sheet'!$A$1"},
        {u"=ADDRESS(1,3,4,4.1,Z9)", u"!C1"},
        {u"=ADDRESS(#N/A,1/0)", u"#N/A"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, FormulaTextHyperlinkAndPivotData) {
    set(u"E1", u"=SUM(A1:A3)");
    cellAt(u"E3", true).setArrayFormula(u"=A1:B1*2", {4, 2, 5, 2}, false);
    cellAt(u"F3", true).setArrayMember({4, 2, 5, 2}, false);
    const Case cases[] = {
        {u"=FORMULATEXT(E1)", u"=SUM(A1:A3)"},
        {u"=FORMULATEXT(E1:E2)", u"=SUM(A1:A3)"},
        {u"=FORMULATEXT(A1)", u"#N/A"},
        {u"=FORMULATEXT(F3)", u"{=A1:B1*2}"},
        {u"=FORMULATEXT(\"E1\")", u"#VALUE!"},
        {u"=HYPERLINK(\"https://example.com\")", u"https://example.com"},
        {u"=HYPERLINK(\"https://example.com\",B2)", u"5"},
        {u"=HYPERLINK(1/0,\"x\")", u"#DIV/0!"},
        {u"=GETPIVOTDATA(\"Sum\",A1)", u"#REF!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(Reference, TrimRangeAndAnchorArray) {
    fill(u"E5", {u"\t\t", u"\t1\t", u"\t\t2", u"\t\t"});
    cellAt(u"H1", true).setArrayFormula(u"=A1:B2", {7, 0, 8, 1}, true);
    const Case cases[] = {
        {u"=TRIMRANGE(E5:G8)", u"1,;,2"},
        {u"=TRIMRANGE(E5:G8,1,0)", u",1,;,,2;,,"},
        {u"=TRIMRANGE(E5:G8,2,2)", u",,;,1,;,,2"},
        {u"=ROWS(TRIMRANGE(F:F))", u"1"},
        {u"=TRIMRANGE(E9:G9)", u"#REF!"},
        {u"=TRIMRANGE(E5:G8,\"3\")", u"1,;,2"},
        {u"=TRIMRANGE(E5:G8,2.5)", u"#VALUE!"},
        {u"=TRIMRANGE(E5:G8,4)", u"#VALUE!"},
        {u"=TRIMRANGE(E5:G8,{1,1})", u"#VALUE!"},
        {u"=ROWS(ANCHORARRAY(H1))&COLUMNS(ANCHORARRAY(H1))", u"22"},
        {u"=ROWS(ANCHORARRAY(H1:H2))", u"2"},
        {u"=ANCHORARRAY(A1)", u"#REF!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

// An array formula entered over more cells than its result fills shows #N/A past the end, but
// the IS functions still answer there, on #N/A; N and T read the first cell of a range, and
// ISFORMULA answers for each cell.
TEST_F(Reference, ArrayFormulasOverLargerAreas) {
    fill(u"K1", {u"1\tx\t\t=1+1"});
    const auto over = [&](std::u16string_view formula) {
        cellAt(u"K3", true).setArrayFormula(formula, {10, 2, 15, 2}, false);   // K3:P3
        for (int32_t column = 11; column <= 15; ++column) cellAt(u"K3", false).sheet().createCell(2, column).setArrayMember({10, 2, 15, 2}, false);
        std::u16string shown;
        for (int32_t column = 10; column <= 15; ++column) {
            if (column > 10) shown += u',';
            shown += cellAt(u"K3", false).sheet().getCell(2, column).displayText();
        }
        return shown;
    };
    EXPECT_EQ(over(u"=K1:N1"), u"1,x,0,2,#N/A,#N/A");
    EXPECT_EQ(over(u"=ISNA(K1:N1)"), u"FALSE,FALSE,FALSE,FALSE,TRUE,TRUE");
    EXPECT_EQ(over(u"=ISBLANK(K1:N1)"), u"FALSE,FALSE,TRUE,FALSE,FALSE,FALSE");
    EXPECT_EQ(over(u"=ERROR.TYPE(K1:N1)"), u"#N/A,#N/A,#N/A,#N/A,#N/A,#N/A");
    EXPECT_EQ(over(u"=SUM(--ISNA(K1:N1))"), u"0,0,0,0,0,0") << "an argument taken whole is not stretched";
    EXPECT_EQ(over(u"=ISFORMULA(K1:N1)"), u"FALSE,FALSE,FALSE,TRUE,#N/A,#N/A");
    EXPECT_EQ(over(u"=N(K1:N1)"), u"1,1,1,1,1,1");
    EXPECT_EQ(over(u"=T(L1:N1)"), u"x,x,x,x,x,x");
}

}  // namespace
}  // namespace kes::calc::testing
