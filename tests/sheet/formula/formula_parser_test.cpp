#include "sheet/formula/formula_parser.h"

#include <gtest/gtest.h>

#include "tree_dump.h"

namespace kes::formula {
namespace {

struct Accepted {
    std::u16string_view text;
    std::u16string_view canonical;   // formulaText of the parsed tree
    std::u16string_view tree;        // dumpTree, or empty when the canonical text says enough
};

void expectAccepted(const Accepted& c) {
    ParseError error;
    const auto expression = parseFormula(c.text, &error);
    ASSERT_NE(expression, nullptr) << "refused at " << error.offset << ": " << error.message;
    EXPECT_EQ(formulaText(*expression), c.canonical);
    if (!c.tree.empty()) {
        EXPECT_EQ(dumpTree(*expression), c.tree);
    }
}

TEST(FormulaParser, AcceptsLiteralsInCanonicalSpelling) {
    const Accepted cases[] = {
        {u"=1", u"=1", u"1"},
        {u"=1.5", u"=1.5", u"1.5"},
        {u"=.5", u"=0.5", u"0.5"},
        {u"=1.", u"=1", u"1"},
        {u"=007", u"=7", u"7"},
        {u"=1E3", u"=1000", u"1000"},
        {u"=1.5e-3", u"=0.0015", u"0.0015"},
        {u"=1e+20", u"=1E+20", u"1e+20"},
        {u"=1.5E-10", u"=1.5E-10", u""},
        {u"=123456789012345", u"=123456789012345", u""},
        {u"=1E15", u"=1E+15", u""},
        {u"=0.000000001", u"=0.000000001", u""},
        {u"=0.1", u"=0.1", u"0.1"},
        {u"=1e-400", u"=0", u"0"},
        {u"=1.7976931348623157E308", u"=1.7976931348623157E+308", u""},
        {u"=\"abc\"", u"=\"abc\"", u"\"abc\""},
        {u"=\"\"", u"=\"\"", u"\"\""},
        {u"=\"say \"\"hi\"\"\"", u"=\"say \"\"hi\"\"\"", u"\"say \"hi\"\""},
        {u"=\"品名：规格，数量\"", u"=\"品名：规格，数量\"", u"\"品名：规格，数量\""},
        {u"=true", u"=TRUE", u"TRUE"},
        {u"=False", u"=FALSE", u"FALSE"},
        {u"=#null!", u"=#NULL!", u"#NULL!"},
        {u"=#DIV/0!", u"=#DIV/0!", u"#DIV/0!"},
        {u"=#value!", u"=#VALUE!", u"#VALUE!"},
        {u"=#Ref!", u"=#REF!", u"#REF!"},
        {u"=#name?", u"=#NAME?", u"#NAME?"},
        {u"=#NUM!", u"=#NUM!", u"#NUM!"},
        {u"=#n/a", u"=#N/A", u"#N/A"},
        {u"={1,2;3,4}", u"={1,2;3,4}", u"{1,2;3,4}"},
        {u"={ -1 , \"a\" ; true , #n/a }", u"={-1,\"a\";TRUE,#N/A}", u"{-1,\"a\";TRUE,#N/A}"},
        {u"={-0,1e20}", u"={0,1E+20}", u"{0,1e+20}"},
        {u"={1;2;3}", u"={1;2;3}", u"{1;2;3}"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        expectAccepted(c);
    }
}

TEST(FormulaParser, AcceptsReferencesOfEveryForm) {
    const Accepted cases[] = {
        {u"=a1", u"=A1", u"A1"},
        {u"=$A$1", u"=$A$1", u"$A$1"},
        {u"=a$1", u"=A$1", u"A$1"},
        {u"=$a1", u"=$A1", u"$A1"},
        {u"=XFD1048576", u"=XFD1048576", u"XFD1048576"},
        {u"=A01", u"=A1", u"A1"},
        {u"=A1:B2", u"=A1:B2", u"A1:B2"},
        {u"=$A$1:b$2", u"=$A$1:B$2", u"$A$1:B$2"},
        {u"=B2:A1", u"=A1:B2", u"A1:B2"},
        {u"=$B1:A$2", u"=A1:$B$2", u"A1:$B$2"},
        {u"=A1 : B2", u"=A1:B2", u"A1:B2"},
        {u"=a:c", u"=A:C", u"A:C"},
        {u"=$A:$C", u"=$A:$C", u"$A:$C"},
        {u"=C:A", u"=A:C", u"A:C"},
        {u"=A :C", u"=A:C", u"A:C"},
        {u"=1:3", u"=1:3", u"1:3"},
        {u"=$1:$1048576", u"=$1:$1048576", u"$1:$1048576"},
        {u"=Sheet1!A1", u"=Sheet1!A1", u"<Sheet1>A1"},
        {u"=sheet1!a1:b2", u"=sheet1!A1:B2", u"<sheet1>A1:B2"},
        {u"=Sheet1!A:A", u"=Sheet1!A:A", u"<Sheet1>A:A"},
        {u"=Sheet1!$1:$2", u"=Sheet1!$1:$2", u"<Sheet1>$1:$2"},
        {u"='My Sheet'!A1", u"='My Sheet'!A1", u"<My Sheet>A1"},
        {u"='It''s'!A1", u"='It''s'!A1", u"<It's>A1"},
        {u"='中文表'!A1", u"=中文表!A1", u"<中文表>A1"},
        {u"=数据_2024.v1!B3", u"=数据_2024.v1!B3", u"<数据_2024.v1>B3"},
        {u"='Sheet1'!A1", u"=Sheet1!A1", u"<Sheet1>A1"},
        {u"='2019'!A1", u"='2019'!A1", u"<2019>A1"},
        {u"='A1'!B2", u"='A1'!B2", u"<A1>B2"},
        {u"='R1C1'!A1", u"='R1C1'!A1", u"<R1C1>A1"},
        {u"='a-b'!A1", u"='a-b'!A1", u"<a-b>A1"},
        {u"=Sheet1:Sheet3!A1", u"=Sheet1:Sheet3!A1", u"<Sheet1:Sheet3>A1"},
        {u"='Jan 1:Mar'!A1:B2", u"='Jan 1:Mar'!A1:B2", u"<Jan 1:Mar>A1:B2"},
        {u"=Sheet1!#ref!", u"=Sheet1!#REF!", u"<Sheet1>#REF!"},
        {u"=Sheet1!A1:Sheet2!B2", u"=Sheet1!A1:Sheet2!B2", u"(: <Sheet1>A1 <Sheet2>B2)"},
        {u"=E3:'Sheet2'!E28", u"=E3 :Sheet2!E28", u"(: E3 <Sheet2>E28)"},   // not the sheets E3 to Sheet2
        {u"=A1:B2:C3", u"=A1:B2:C3", u"(: A1:B2 C3)"},
        {u"=A1:INDEX(B:B,2)", u"=A1:INDEX(B:B,2)", u"(: A1 (INDEX B:B 2))"},
        {u"=A1:B2 B1:C3", u"=A1:B2 B1:C3", u"(isect A1:B2 B1:C3)"},
        {u"=A:A 1:1", u"=A:A 1:1", u"(isect A:A 1:1)"},
        {u"=SUM((A1,B1:B2),C1)", u"=SUM((A1,B1:B2),C1)", u"(SUM (paren (union A1 B1:B2)) C1)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        expectAccepted(c);
    }
}

// Words that are not references (beyond the sheet, or not shaped like one) are names; the
// evaluator reports the unknown ones as #NAME?.
TEST(FormulaParser, AcceptsNamesAndFunctions) {
    const Accepted cases[] = {
        {u"=Total", u"=Total", u"name:Total"},
        {u"=XFE1", u"=XFE1", u"name:XFE1"},
        {u"=A1048577", u"=A1048577", u"name:A1048577"},
        {u"=A0", u"=A0", u"name:A0"},
        {u"=ABCD1", u"=ABCD1", u"name:ABCD1"},
        {u"=Q1_Sales", u"=Q1_Sales", u"name:Q1_Sales"},
        {u"=_tax.rate", u"=_tax.rate", u"name:_tax.rate"},
        {u"=\\path", u"=\\path", u"name:\\path"},
        {u"=单价*数量", u"=单价*数量", u"(* name:单价 name:数量)"},
        {u"=Sheet1!Rate", u"=Sheet1!Rate", u"name:<Sheet1>Rate"},
        {u"=Sheet1!TRUE", u"=Sheet1!TRUE", u"name:<Sheet1>TRUE"},
        {u"=sum(a1:b2)", u"=SUM(A1:B2)", u"(SUM A1:B2)"},
        {u"=PI()", u"=PI()", u"(PI)"},
        {u"=NOW( )", u"=NOW()", u"(NOW)"},
        {u"=IF(A1,,1)", u"=IF(A1,,1)", u"(IF A1 _ 1)"},
        {u"=f(,)", u"=F(,)", u"(F _ _)"},
        {u"=IF(A1,)", u"=IF(A1,)", u"(IF A1 _)"},
        {u"=stdev.s(A1:A3)", u"=STDEV.S(A1:A3)", u"(STDEV.S A1:A3)"},
        {u"=_xlfn.Concat(\"a\",\"b\")", u"=CONCAT(\"a\",\"b\")", u"xlfn(CONCAT \"a\" \"b\")"},
        {u"=log10(100)", u"=LOG10(100)", u"(LOG10 100)"},
        {u"=dec2bin(5)", u"=DEC2BIN(5)", u"(DEC2BIN 5)"},
        {u"=true()", u"=TRUE()", u"(TRUE)"},
        {u"= SUM( A1 , B1 ) ", u"=SUM(A1,B1)", u"(SUM A1 B1)"},
        {u"=SUM (A1,B1)", u"=SUM (A1,B1)", u"(isect name:SUM (paren (union A1 B1)))"},
        {u"=IF(AND(A1>0,B1<>\"\"),SUM(A1:A3)*2,\"无\")", u"=IF(AND(A1>0,B1<>\"\"),SUM(A1:A3)*2,\"无\")",
         u"(IF (AND (> A1 0) (<> B1 \"\")) (* (SUM A1:A3) 2) \"无\")"},
        {u"=SUM({1,2},-A1)", u"=SUM({1,2},-A1)", u"(SUM {1,2} (u- A1))"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        expectAccepted(c);
    }
}

// What Excel writes into workbook files beyond the typed grammar: structured references,
// other workbooks, spilled ranges, implicit intersection, newer functions and LAMBDA. The file
// text must be what Excel reads back; the display text is what the grid shows.
TEST(FormulaParser, AcceptsWhatWorkbookFilesWrite) {
    struct Case {
        std::u16string_view text, display, file, tree;
    };
    const Case cases[] = {
        {u"=SUM(Table1[Qty])", u"=SUM(Table1[Qty])", u"=SUM(Table1[Qty])", u"(SUM table:Table1/0/Qty)"},
        {u"=Table1[]", u"=Table1[]", u"=Table1[]", u"table:Table1/0"},
        {u"=Table1[#All]", u"=Table1[#All]", u"=Table1[#All]", u"table:Table1/1"},
        {u"=Table1[#this row]", u"=Table1[@]", u"=Table1[#This Row]", u"table:Table1/16"},
        {u"=Table1[[#This Row],[Unit Price]]", u"=Table1[@[Unit Price]]", u"=Table1[[#This Row],[Unit Price]]",
         u"table:Table1/16/Unit Price"},
        {u"=[@Qty]*[@[Unit Price]]", u"=[@Qty]*[@[Unit Price]]", u"=[[#This Row],[Qty]]*[[#This Row],[Unit Price]]",
         u"(* table:/16/Qty table:/16/Unit Price)"},
        {u"=SUM(T[[#Headers],[#Data],[Jan]:[Dec]])", u"=SUM(T[[#Data],[#Headers],[Jan]:[Dec]])",
         u"=SUM(T[[#Data],[#Headers],[Jan]:[Dec]])", u"(SUM table:T/6/Jan:Dec)"},
        {u"=T[[Jan]:[Dec]]", u"=T[[Jan]:[Dec]]", u"=T[[Jan]:[Dec]]", u"table:T/0/Jan:Dec"},
        {u"=T['#Items]", u"=T['#Items]", u"=T['#Items]", u"table:T/0/#Items"},
        {u"=T['@y]", u"=T['@y]", u"=T['@y]", u"table:T/0/@y"},
        {u"=[1]Sheet1!$A$1", u"=[1]Sheet1!$A$1", u"=[1]Sheet1!$A$1", u"ext[1]<Sheet1>$A$1"},
        {u"='[1]Price List'!B2:C9", u"='[1]Price List'!B2:C9", u"='[1]Price List'!B2:C9", u"ext[1]<Price List>B2:C9"},
        {u"='C:\\Data\\[Book1.xlsx]Sheet1'!A1", u"='C:\\Data\\[Book1.xlsx]Sheet1'!A1",
         u"='C:\\Data\\[Book1.xlsx]Sheet1'!A1", u"extC:\\Data\\[Book1.xlsx]<Sheet1>A1"},
        {u"=[1]!Rate*2", u"=[1]!Rate*2", u"=[1]!Rate*2", u"(* name:Rate@[1] 2)"},
        {u"=-[1]Sheet1!Rate", u"=-[1]Sheet1!Rate", u"=-[1]Sheet1!Rate", u"(u- name:<Sheet1>Rate@[1])"},
        {u"='[a#b]S'!B3", u"='[a#b]S'!B3", u"='[a#b]S'!B3", u"ext[a#b]<S>B3"},
        {u"='C:\\x[1]S 2'!eh : he", u"='C:\\x[1]S 2'!EH:HE", u"='C:\\x[1]S 2'!EH:HE", u"extC:\\x[1]<S 2>EH:HE"},
        {u"=SUM(A1#)", u"=SUM(A1#)", u"=SUM(_xlfn.ANCHORARRAY(A1))", u"(SUM A1#)"},
        {u"=SUM(_xlfn.ANCHORARRAY(C2))", u"=SUM(C2#)", u"=SUM(_xlfn.ANCHORARRAY(C2))", u"(SUM C2#)"},
        {u"=@A1:A10", u"=@A1:A10", u"=_xlfn.SINGLE(A1:A10)", u"(@ A1:A10)"},
        {u"=_xlfn.SINGLE(B:B)+1", u"=@B:B+1", u"=_xlfn.SINGLE(B:B)+1", u"(+ (@ B:B) 1)"},
        {u"=_xlfn._xlws.SORT(A1:A5)", u"=SORT(A1:A5)", u"=_xlfn._xlws.SORT(A1:A5)", u"xlfn(SORT A1:A5)"},
        {u"=_xlfn.LET(_xlpm.x,2,_xlpm.x*3)", u"=LET(x,2,x*3)", u"=_xlfn.LET(_xlpm.x,2,_xlpm.x*3)",
         u"xlfn(LET name:x(param) 2 (* name:x(param) 3))"},
        {u"=_xlfn.LAMBDA(_xlpm.a,_xlpm.a+1)(41)", u"=LAMBDA(a,a+1)(41)", u"=_xlfn.LAMBDA(_xlpm.a,_xlpm.a+1)(41)",
         u"(call xlfn(LAMBDA name:a(param) (+ name:a(param) 1)) 41)"},
        {u"=_xlfn.BYROW(A1:B2,_xleta.SUM)", u"=BYROW(A1:B2,SUM)", u"=_xlfn.BYROW(A1:B2,_xleta.SUM)",
         u"xlfn(BYROW A1:B2 name:SUM(function))"},
        {u"=_xlfn.LET(_xlpm.f,_xlfn.LAMBDA(_xlpm.x,_xlpm.x+1),_xlpm.f(2))", u"=LET(f,LAMBDA(x,x+1),F(2))",
         u"=_xlfn.LET(_xlpm.f,_xlfn.LAMBDA(_xlpm.x,_xlpm.x+1),_xlpm.F(2))",
         u"xlfn(LET name:f(param) xlfn(LAMBDA name:x(param) (+ name:x(param) 1)) (F 2))"},
        {u"=_xlfn.LAMBDA(_xlpm.a,_xlop.b,IF(_xlfn.ISOMITTED(_xlpm.b),_xlpm.a,_xlpm.a*_xlpm.b))(3)",
         u"=LAMBDA(a,b,IF(ISOMITTED(b),a,a*b))(3)",
         u"=_xlfn.LAMBDA(_xlpm.a,_xlop.b,IF(_xlfn.ISOMITTED(_xlpm.b),_xlpm.a,_xlpm.a*_xlpm.b))(3)",
         u"(call xlfn(LAMBDA name:a(param) name:b(param) (IF xlfn(ISOMITTED name:b(param)) name:a(param) "
         u"(* name:a(param) name:b(param)))) 3)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        ParseError error;
        const auto expression = parseFormula(c.text, &error);
        ASSERT_NE(expression, nullptr) << "refused at " << error.offset << ": " << error.message;
        EXPECT_EQ(formulaText(*expression), c.display);
        EXPECT_EQ(formulaText(*expression, TextStyle::File), c.file);
        EXPECT_EQ(dumpTree(*expression), c.tree);
        for (TextStyle style : {TextStyle::Display, TextStyle::File}) {
            const auto again = parseFormula(formulaText(*expression, style));
            ASSERT_NE(again, nullptr);
            EXPECT_EQ(formulaText(*again, style), formulaText(*expression, style));
        }
    }
}

// A name before a range colon was written back as text that read as another formula or none:
// "BUw :B" as whole columns BUW:B, "A :Uw!A1" as a range of sheets A:Uw. The canonical text of
// these keeps the space, and reads back as the same tree.
TEST(FormulaParser, NamesBeforeARangeColonReadBackAsTheSameTree) {
    const Accepted cases[] = {
        {u"=Uw!A0:BUw :B", u"=Uw!A0 :BUw :B", u"(: (: name:<Uw>A0 name:BUw) name:B)"},
        {u"=A :Uw!A1", u"=A :Uw!A1", u"(: name:A <Uw>A1)"},
        {u"=Rate:B2", u"=Rate :B2", u"(: name:Rate B2)"},
        {u"=-Rate:$B$2", u"=-Rate :$B$2", u""},
        {u"=[x]!eh:[x]!eh", u"=[x]!eh:[x]!eh", u""},   // names of another workbook are no columns
        {u"=Rate:INDEX(B:B,2)", u"=Rate :INDEX(B:B,2)", u""},
        {u"=Rate:B2%", u"=Rate :B2%", u""},
        {u"=(Rate):B2", u"=(Rate):B2", u""},
        {u"=Rate:#REF!", u"=Rate:#REF!", u""},
        {u"=A:C", u"=A:C", u""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        expectAccepted(c);
        const auto expression = parseFormula(c.text);
        ASSERT_NE(expression, nullptr);
        const auto again = parseFormula(formulaText(*expression));
        ASSERT_NE(again, nullptr);
        EXPECT_EQ(dumpTree(*again), dumpTree(*expression));
    }
}

TEST(FormulaParser, GroupsOperatorsByExcelPrecedence) {
    const Accepted cases[] = {
        {u"=1+2*3", u"=1+2*3", u"(+ 1 (* 2 3))"},
        {u"=(1+2)*3", u"=(1+2)*3", u"(* (paren (+ 1 2)) 3)"},
        {u"=1-2-3", u"=1-2-3", u"(- (- 1 2) 3)"},
        {u"=8/4/2", u"=8/4/2", u"(/ (/ 8 4) 2)"},
        {u"=-2^2", u"=-2^2", u"(^ (u- 2) 2)"},
        {u"=2^3^2", u"=2^3^2", u"(^ (^ 2 3) 2)"},
        {u"=2^-3", u"=2^-3", u"(^ 2 (u- 3))"},
        {u"=2*-3", u"=2*-3", u"(* 2 (u- 3))"},
        {u"=50%", u"=50%", u"(% 50)"},
        {u"=-50%", u"=-50%", u"(% (u- 50))"},
        {u"=2^50%", u"=2^50%", u"(^ 2 (% 50))"},
        {u"=1%%", u"=1%%", u"(% (% 1))"},
        {u"=--A1", u"=--A1", u"(u- (u- A1))"},
        {u"=+A1", u"=+A1", u"(u+ A1)"},
        {u"=- + -1", u"=-+-1", u"(u- (u+ (u- 1)))"},
        {u"=1- -1", u"=1--1", u"(- 1 (u- 1))"},
        {u"=1&2=\"12\"", u"=1&2=\"12\"", u"(= (& 1 2) \"12\")"},
        {u"=\"a\"&1+2", u"=\"a\"&1+2", u"(& \"a\" (+ 1 2))"},
        {u"=1<2<>TRUE", u"=1<2<>TRUE", u"(<> (< 1 2) TRUE)"},
        {u"=a1<=b1", u"=A1<=B1", u"(<= A1 B1)"},
        {u"=a1>=b1", u"=A1>=B1", u"(>= A1 B1)"},
        {u"=A1>B1=FALSE", u"=A1>B1=FALSE", u"(= (> A1 B1) FALSE)"},
        {u"=-A1:B2", u"=-A1:B2", u"(u- A1:B2)"},
        {u"=-A1 B1", u"=-A1 B1", u"(u- (isect A1 B1))"},
        {u"=A1 B1:C2", u"=A1 B1:C2", u"(isect A1 B1:C2)"},
        {u"=(A1,B1) C1", u"=(A1,B1) C1", u"(isect (paren (union A1 B1)) C1)"},
        {u"=(A1,B1 C1)", u"=(A1,B1 C1)", u"(paren (union A1 (isect B1 C1)))"},
        {u"=1 + 2\r\n*\t3", u"=1+2*3", u"(+ 1 (* 2 3))"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        expectAccepted(c);
    }
}

struct Refused {
    std::u16string text;
    size_t offset;
};

TEST(FormulaParser, RefusesWhatIsNotAFormulaAtTheFaultyPlace) {
    const Refused cases[] = {
        {u"", 0},
        {u"1+2", 0},
        {u" =1", 0},
        {u"=", 1},
        {u"= ", 2},
        {u"=)", 1},
        {u"=1+", 3},
        {u"=1+*2", 3},
        {u"=-", 2},
        {u"==1", 1},
        {u"=SUM(1", 4},
        {u"=SUM(1,2", 4},
        {u"=(1", 1},
        {u"=((1)", 1},
        {u"=1)", 2},
        {u"=SUM(1;2)", 6},
        {u"=SUM (1)", 5},
        {u"=A1B", 1},
        {u"=A1B2", 1},
        {u"=$A$1B", 1},
        {u"=A1中", 1},
        {u"=$A", 1},
        {u"=A$", 1},
        {u"=$A$1$", 1},
        {u"=$1", 1},
        {u"=1 2", 3},
        {u"=A1 1", 4},
        {u"=A1 TRUE", 4},
        {u"=A1,B1", 3},
        {u"=(1,2)", 3},
        {u"=(A1,2)", 5},
        {u"=1:3x", 2},
        {u"=1:", 2},
        {u"=A1:", 4},
        {u"=A1:1", 4},
        {u"=\"abc", 1},
        {u"=\"a\"\"", 1},
        {u"=\"abc\"\"", 1},
        {u"=#FOO!", 1},
        {u"=#REF", 1},
        {u"=1+#N/", 3},
        {u"=1＋2", 2},
        {u"=SUM（1）", 4},
        {u"=1，2", 2},
        {u"=\u3000" u"1", 1},
        {u"=1E", 2},
        {u"=1e+", 2},
        {u"=1E+X", 2},
        {u"=.", 1},
        {u"=1.5.2", 4},
        {u"=1E400", 1},
        {u"={}", 2},
        {u"={1,2;3}", 7},
        {u"={1;2,3}", 7},
        {u"={A1}", 2},
        {u"={1+1}", 3},
        {u"={--1}", 3},
        {u"={{1}}", 2},
        {u"={1", 1},
        {u"={1,", 1},
        {u"={1, ", 1},
        {u"=Sheet1!", 8},
        {u"=Sheet1!1", 8},
        {u"=Sheet1!$A", 8},
        {u"=Sheet1!#N/A", 8},
        {u"='Sheet1!A1", 1},
        {u"='a'A1", 4},
        {u"=''!A1", 1},
        {u"='a:'!A1", 1},
        {u"='a:b:c'!A1", 5},
        {u"='a/b'!A1", 3},
        {u"='a[1]'!A1", 1},
        {u"=A1!B1", 1},
        {u"=R1C1!B1", 1},
        {u"=2019!A1", 5},
        {u"=Sheet1:A1!B1", 8},
        {u"=Sheet1:Sheet2!Rate", 15},
        {u"=A1 =", 5},
        {u"=IF(A1,1,2))", 11},
        {u"=Table1[Col", 7},
        {u"=Table1[[#Nope],[Col]]", 9},
        {u"=Table1[]]", 9},
        {u"=A1[Col]", 1},
        {u"=T[[A]:[B],[C]]", 11},
        {std::u16string(u"=1\0" u"2", 4), 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        ParseError error;
        EXPECT_EQ(parseFormula(c.text, &error), nullptr);
        EXPECT_EQ(error.offset, c.offset) << error.message;
        EXPECT_FALSE(error.message.empty());
    }
}

TEST(FormulaParser, RefusesBeyondExcelLimits) {
    const std::u16string longText = u"\"" + std::u16string(256, u'x') + u"\"";
    const std::u16string longSheet = u"'" + std::u16string(32, u's') + u"'!A1";
    std::u16string arguments = u"=SUM(1";
    for (int i = 1; i < 255; ++i) arguments += u",1";
    const std::u16string tooManyArguments = arguments + u",1)";
    const std::u16string deep = u"=" + std::u16string(65, u'(') + u"1" + std::u16string(65, u')');
    std::u16string long8192 = u"=1";
    while (long8192.size() < 8192) long8192 += u"+1";
    const std::u16string long8193 = long8192 + u" ";
    const Refused cases[] = {
        {u"=" + longText, 1},
        {u"=" + longSheet, 1},
        {u"=" + std::u16string(32, u's') + u"!A1", 1},
        {tooManyArguments, tooManyArguments.size() - 1},
        {deep, 65},
        {long8193, 8192},
        {u"=" + std::u16string(65, u'@') + u"A1", 1},   // each @ is a function in files
    };
    for (const auto& c : cases) {
        ParseError error;
        EXPECT_EQ(parseFormula(c.text, &error), nullptr) << c.text.size();
        EXPECT_EQ(error.offset, c.offset) << error.message;
    }
    // One step inside each limit is fine.
    EXPECT_NE(parseFormula(u"=\"" + std::u16string(255, u'x') + u"\""), nullptr);
    EXPECT_NE(parseFormula(arguments + u")"), nullptr);
    EXPECT_NE(parseFormula(u"=" + std::u16string(64, u'(') + u"1" + std::u16string(64, u')')), nullptr);
    EXPECT_NE(parseFormula(u"=" + std::u16string(64, u'@') + u"A1"), nullptr);
    EXPECT_NE(parseFormula(u"='" + std::u16string(31, u's') + u"'!A1"), nullptr);
    EXPECT_NE(parseFormula(long8192), nullptr);
}

TEST(FormulaParser, TreeLinksChildrenForATopDownWalk) {
    const auto expression = parseFormula(u"=IF(A1>0,SUM(B1:B3),-1)");
    ASSERT_NE(expression, nullptr);
    const auto& nodes = expression->nodes();
    const uint32_t root = expression->rootIndex();
    ASSERT_EQ(nodes[root].kind, NodeKind::Function);
    ASSERT_EQ(Expression::childCount(nodes[root]), 3u);
    const uint32_t third = root - 1;
    const uint32_t second = expression->previousSibling(third);
    const uint32_t first = expression->previousSibling(second);
    EXPECT_EQ(nodes[third].kind, NodeKind::Unary);
    EXPECT_EQ(nodes[second].kind, NodeKind::Function);
    EXPECT_EQ(expression->text(nodes[second].text), u"SUM");
    EXPECT_EQ(nodes[first].kind, NodeKind::Binary);
    EXPECT_EQ(nodes[first].op, Operator::Greater);
    EXPECT_EQ(nodes[first].subtreeStart, 0u);
    EXPECT_EQ(nodes[root].subtreeStart, 0u);
    EXPECT_TRUE(isWellFormed(*expression));
}

TEST(FormulaParser, DecodesReferencesToZeroBasedCoordinates) {
    const auto expression = parseFormula(u"='Q1 data'!$C$5:XFD1048576");
    ASSERT_NE(expression, nullptr);
    const Node& node = expression->root();
    ASSERT_EQ(node.kind, NodeKind::Reference);
    EXPECT_EQ(node.shape, ReferenceShape::Area);
    EXPECT_EQ(expression->text(node.sheet), u"Q1 data");
    EXPECT_TRUE(node.lastSheet.empty());
    EXPECT_EQ(node.first, (CellAddress{4, 2, true, true}));
    EXPECT_EQ(node.last, (CellAddress{1048575, 16383, false, false}));
}

}  // namespace
}  // namespace kes::formula
