// Logical and information functions, and the evaluation rules they exercise: lazy branches,
// implicit intersection, array formulas element by element, LET and LAMBDA scopes.
#include "calc_fixture.h"
#include "sheet/calc/compile.h"

namespace kes::calc::testing {
namespace {

class Logical : public CalcFixture {
protected:
    Logical() {
        fill(u"A1", {u"10\tapple\tTRUE", u"20\t\tFALSE", u"abc\t#N/A\t0", u"\t'5\t=1/0"});
    }
};

TEST_F(Logical, IfFamilyTakesOnlyTheBranchItNeeds) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=IF(A1>5,\"big\",1/0)", u"big"},
        {u"=IF(A1<5,1/0)", u"FALSE"},
        {u"=IF(TRUE,,1)", u"0"},
        {u"=IF(\"true\",1,2)", u"1"},
        {u"=IF(\"yes\",1,2)", u"#VALUE!"},
        {u"=IF(A4,1,2)", u"2"},
        {u"=IF(C4,1,2)", u"#DIV/0!"},
        {u"=IFERROR(C4,\"none\")", u"none"},
        {u"=IFERROR(A1,1/0)", u"10"},
        {u"=IFNA(B3,\"missing\")", u"missing"},
        {u"=IFNA(C4,\"missing\")", u"#DIV/0!"},
        {u"=SUM(IFERROR({1;0;2}/{0;0;0},{7,8}))", u"45"},   // a column and a row broadcast to 3x2
        {u"=INDEX(IFNA({1,#N/A},{5;6}),2,2)", u"6"},
        {u"=IFS(A1>15,\"a\",A1>5,\"b\")", u"b"},
        {u"=IFS(A1>15,\"a\")", u"#N/A"},
        {u"=SWITCH(A2,10,\"ten\",20,\"twenty\",\"other\")", u"twenty"},
        {u"=SWITCH(A2,1,\"one\")", u"#N/A"},
        {u"=SWITCH(0,1,\"one\",,\"zero\")", u"zero"},   // an empty case is 0
        {u"=SWITCH(B1,\"APPLE\",1,2)", u"1"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

TEST_F(Logical, AndOrXorCountNumbersAndBooleansOfRangesAndSkipTheirTexts) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=AND(A1:A3)", u"TRUE"},            // "abc" skipped
        {u"=AND(C1:C2)", u"FALSE"},
        {u"=OR(C2:C3)", u"FALSE"},
        {u"=OR(C1:C4)", u"#DIV/0!"},
        {u"=AND(B1)", u"#VALUE!"},            // only a text: nothing to count
        {u"=AND(\"true\",1)", u"TRUE"},
        {u"=AND(\"x\",1)", u"TRUE"},           // any other text is skipped too
        {u"=AND(TRUE,\"0\",#REF!)", u"#REF!"},
        {u"=XOR(TRUE,TRUE,TRUE)", u"TRUE"},
        {u"=XOR(C1:C3)", u"TRUE"},
        {u"=NOT(A2)", u"FALSE"},
        {u"=NOT(\"x\")", u"#VALUE!"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

TEST_F(Logical, InformationTellsWhatAValueIs) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=ISBLANK(A4)", u"TRUE"},
        {u"=ISBLANK(B2)", u"TRUE"},
        {u"=ISBLANK(\"\")", u"FALSE"},
        {u"=ISNUMBER(A1)&ISNUMBER(B4)&ISTEXT(B4)", u"TRUEFALSETRUE"},
        {u"=ISERR(B3)&ISERROR(B3)&ISNA(B3)&ISNA(C4)", u"FALSETRUETRUEFALSE"},
        {u"=ISLOGICAL(C1)&ISNONTEXT(A4)&ISREF(A1:B2)&ISREF(1)", u"TRUETRUETRUEFALSE"},
        {u"=ISEVEN(-3)&ISODD(2.9)&ISEVEN(0)", u"FALSEFALSETRUE"},
        {u"=ISEVEN(TRUE)", u"#VALUE!"},
        {u"=N(A1)+N(B1)+N(C1)", u"11"},
        {u"=T(B1)&T(A1)&\"|\"", u"apple|"},
        {u"=TYPE(A1)&TYPE(B1)&TYPE(C1)&TYPE(B3)&TYPE(A1:B2)&TYPE({1,2})", u"124166464"},
        {u"=ERROR.TYPE(C4)&ERROR.TYPE(#N/A)", u"27"},
        {u"=ERROR.TYPE(1)", u"#N/A"},
        {u"=ISFORMULA(C4)&ISFORMULA(A1)", u"TRUEFALSE"},
        {u"=SHEET()&SHEETS()", u"11"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

TEST_F(Logical, ReferencesIntersectWithTheFormulasRowOrColumn) {
    set(u"E2", u"=A1:A3*2");    // row 2 of A1:A3
    set(u"E5", u"=A1:A3*2");    // no row 5 in A1:A3
    set(u"B7", u"=A1:C1");      // column B of A1:C1
    set(u"E6", u"=+B1");        // a plain + keeps a text
    set(u"E7", u"=@A1:A3");
    EXPECT_EQ(cellAt(u"E2", false).displayText(), u"40");
    EXPECT_EQ(cellAt(u"E5", false).displayText(), u"#VALUE!");
    EXPECT_EQ(cellAt(u"B7", false).displayText(), u"apple");
    EXPECT_EQ(cellAt(u"E6", false).displayText(), u"apple");
    EXPECT_EQ(cellAt(u"E7", false).displayText(), u"#VALUE!");
    EXPECT_EQ(shown(u"=SUM(A1:A3 A2:C2)"), u"20");
    EXPECT_EQ(shown(u"=SUM(A1:A2 C3:C4)"), u"#NULL!");
    EXPECT_EQ(shown(u"=SUM((A1,A2))"), u"30");
    EXPECT_EQ(shown(u"={1,2,3}*2"), u"2");   // a cell shows an array's first element
}

TEST_F(Logical, LetAndLambdaBindNamesInTheirOwnScope) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=LET(x,A1,y,x*2,x+y)", u"30"},
        {u"=LET(x,1,LET(x,2,x)+x)", u"3"},
        {u"=LET(A1,5,A1)", u"#NAME?"},    // a cell address is no name
        {u"=LAMBDA(x,y,x*y)(6,7)", u"42"},
        {u"=LAMBDA(x,y,IF(ISOMITTED(y),x,x+y))(5)", u"5"},
        {u"=LAMBDA(x,x)(1,2)", u"#VALUE!"},
        {u"=LAMBDA(x,x+1)", u"#CALC!"},
        {u"=LET(f,LAMBDA(n,n*n),f(4)+f(3))", u"25"},
        {u"=LET(k,10,add,LAMBDA(n,n+k),add(1))", u"11"},
        {u"=SUM(MAP({1,2,3},LAMBDA(v,v*v)))", u"14"},
        {u"=REDUCE(0,{1,2,3,4},LAMBDA(a,v,a+v))", u"10"},
        {u"=INDEX(SCAN(0,{1,2,3},LAMBDA(a,v,a+v)),3)", u"6"},
        {u"=SUM(BYROW({1,2;3,4},LAMBDA(r,SUM(r))))", u"10"},
        {u"=INDEX(BYCOL({1,2;3,4},LAMBDA(c,MAX(c))),2)", u"4"},
        {u"=SUM(MAKEARRAY(2,3,LAMBDA(r,c,r*c)))", u"18"},
        {u"=MAKEARRAY(2,\"1\",LAMBDA(r,c,r))", u"#VALUE!"},
        {u"=MAKEARRAY(1E+15,1E+15,LAMBDA(r,c,r))", u"#NUM!"},
        {u"=MAP({1,2},LAMBDA(a,a),LAMBDA(b,b))", u"#VALUE!"},
        {u"=NOSUCH(1)", u"#NAME?"},
        // A built-in given by name is a function value that takes what it is given.
        {u"=SUM(BYROW({1,2;3,4},SUM))", u"10"},
        {u"=INDEX(BYCOL({1,2;3,4},MAX),2)", u"4"},
        {u"=REDUCE(1,{2,3,4},PRODUCT)", u"24"},
        {u"=TYPE(SUM)", u"128"},
        {u"=BYROW({1,2},NOSUCH)", u"#NAME?"},
        {u"=MAP({4,9},SQRT,ABS)", u"#VALUE!"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

TEST_F(Logical, DefinedNamesHoldReferencesConstantsAndLambdas) {
    const auto define = [&](std::u16string name, std::u16string formula, int32_t sheet = -1) {
        book.names().define({std::move(name), sheet, formula, std::shared_ptr<const formula::Expression>(compileFormula(formula))});
        book.namesChanged();
    };
    define(u"Prices", u"=Sheet1!$A$1:$A$2");
    define(u"Rate", u"=0.5");
    define(u"Square", u"=LAMBDA(x,x*x)");
    define(u"Local", u"=2", 0);
    define(u"Local", u"=3");
    EXPECT_EQ(shown(u"=SUM(Prices)*Rate"), u"15");
    EXPECT_EQ(shown(u"=Square(Rate*4)"), u"4");
    EXPECT_EQ(shown(u"=Local"), u"2");
    EXPECT_EQ(shown(u"=Unknown+1"), u"#NAME?");
    // A change of a cell a name refers to reaches the formula.
    set(u"D1", u"=SUM(Prices)");
    EXPECT_EQ(cellAt(u"D1", false).displayText(), u"30");
    set(u"A2", u"5");
    EXPECT_EQ(cellAt(u"D1", false).displayText(), u"15");
}

}  // namespace
}  // namespace kes::calc::testing
