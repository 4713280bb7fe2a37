// Dynamic-array functions: arrays made and reshaped, sorted, made unique and filtered, and
// grouped by GROUPBY and PIVOTBY.
#include "array_fixture.h"
#include "sheet/calc/compile.h"

namespace kes::calc::testing {
namespace {

class DynamicArray : public ArrayFixture {};

// A function given an array where it takes one value runs once per element; runs of equal
// elements share one answer, which must still land in every place, and not for functions whose
// answer changes by itself or whose branches are passed through.
TEST_F(DynamicArray, ElementWiseCallsAnswerEveryElement) {
    const Case cases[] = {
        {u"=LEN({\"ab\",\"ab\",\"c\";\"ab\",\"\",\"ab\"})", u"2,2,1;2,0,2"},
        {u"=INDEX({10,20,30},{1,1,#N/A,#N/A,3,3})", u"10,10,#N/A,#N/A,30,30"},
        {u"=IF({1,1,0,1},{\"a\",\"b\",\"c\",\"d\"},\"x\")", u"a,b,x,d"},
        {u"=LET(r,RANDBETWEEN({1,1,1,1,1,1},1000000000),ROWS(UNIQUE(TRANSPOSE(r))))", u"6"},
        {u"=ROWS(FILTER(LEN(A1:A1048576),LEN(A1:A1048576)=0))", u"1048576"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, TakeDropAndExpandCountFromEitherEnd) {
    const Case cases[] = {
        {u"=TAKE({1,2,3;4,5,6;7,8,9},2)", u"1,2,3;4,5,6"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},-1,-2)", u"8,9"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},,2)", u"1,2;4,5;7,8"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},1200)", u"1,2,3;4,5,6;7,8,9"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},\"1.1\",TRUE)", u"1"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},0)", u"#CALC!"},
        {u"=TAKE({1,2,3;4,5,6;7,8,9},Z9)", u"#CALC!"},    // an empty cell is 0
        {u"=DROP({1,2,3;4,5,6;7,8,9},1,1)", u"5,6;8,9"},
        {u"=DROP({1,2,3;4,5,6;7,8,9},-2)", u"1,2,3"},
        {u"=DROP({1,2,3;4,5,6;7,8,9},3)", u"#CALC!"},
        {u"=DROP({1,2,3;4,5,6;7,8,9},1,-3)", u"#CALC!"},
        {u"=DROP(1/0,1)", u"#DIV/0!"},
        {u"=EXPAND({1,2},2)", u"1,2;#N/A,#N/A"},
        {u"=EXPAND({1},2,2,\"x\")", u"1,x;x,x"},
        {u"=EXPAND({1,2},1,1)", u"#VALUE!"},
        {u"=EXPAND({1},5000,5000)", u"#NUM!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, ChooseRowsAndColumnsTakeListsAndCountFromTheEnd) {
    const Case cases[] = {
        {u"=CHOOSEROWS({1,2;3,4;5,6},3,1)", u"5,6;1,2"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},-1,{1,1})", u"3,1,1;6,4,4"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},-3.9,2.9)", u"1,2;4,5"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},TRUE)", u"1;4"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},4)", u"#VALUE!"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},0)", u"#VALUE!"},
        {u"=CHOOSECOLS({1,2,3;4,5,6},{1,2;2,3})", u"#VALUE!"},
        {u"=CHOOSEROWS({1,2;3,4},#N/A)", u"#N/A"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, StacksPadShortPartsWithNA) {
    fill(u"A1", {u"1\t5", u"2\t", u"3\t=1/0"});
    const Case cases[] = {
        {u"=HSTACK(A1:A3,{7;8})", u"1,7;2,8;3,#N/A"},
        {u"=HSTACK(B1:B3,1/0)", u"5,#DIV/0!;,#N/A;#DIV/0!,#N/A"},
        {u"=VSTACK({1,2},3,{\"a\";\"b\"})", u"1,2;3,#N/A;a,#N/A;b,#N/A"},
        {u"=VSTACK(A1:A2,A3)", u"1;2;3"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, ToColAndToRowIgnoreBlanksAndErrorsOnRequest) {
    fill(u"A1", {u"a\t1", u"\t=NA()"});
    const Case cases[] = {
        {u"=TOCOL(A1:B2)", u"a;1;;#N/A"},
        {u"=TOCOL(A1:B2,0,TRUE)", u"a;;1;#N/A"},
        {u"=TOCOL(A1:B2,1)", u"a;1;#N/A"},
        {u"=TOCOL(A1:B2,2)", u"a;1;"},
        {u"=TOROW(A1:B2,3)", u"a,1"},
        {u"=TOROW(A2,1)", u"#CALC!"},
        {u"=TOCOL(A1:B2,4)", u"#VALUE!"},
        {u"=TOCOL(A1:B2,-3.9)", u"#VALUE!"},
        {u"=TOROW(A1:B2,2.9)", u"a,1,"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, WrapCutsAVectorIntoLines) {
    const Case cases[] = {
        {u"=WRAPROWS({1,2,3,4,5},2)", u"1,2;3,4;5,#N/A"},
        {u"=WRAPCOLS({1,2,3,4,5},2,0)", u"1,3,5;2,4,0"},
        {u"=WRAPROWS({1,2,3},5)", u"1,2,3,#N/A,#N/A"},
        {u"=WRAPROWS({1,2;3,4},2)", u"#VALUE!"},
        {u"=WRAPROWS({1,2,3},0)", u"#NUM!"},
        {u"=WRAPROWS({1,2,3},\"b\")", u"#VALUE!"},
        {u"=WRAPCOLS(FALSE,2)", u"FALSE;#N/A"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, TransposeSequenceAndRandomArrays) {
    set(u"A1", u"x");
    const Case cases[] = {
        {u"=TRANSPOSE({1,2,3;4,5,6})", u"1,4;2,5;3,6"},
        {u"=TRANSPOSE(A1:A2)", u"x,"},
        {u"=TRANSPOSE(#N/A)", u"#N/A"},
        {u"=SEQUENCE(2,3)", u"1,2,3;4,5,6"},
        {u"=SEQUENCE(3,,10,-5)", u"10;5;0"},
        {u"=SEQUENCE(0)", u"#CALC!"},
        {u"=SEQUENCE(-1)", u"#VALUE!"},
        {u"=SEQUENCE(5000,5000)", u"#NUM!"},
        {u"=ROWS(RANDARRAY(4,2))&COLUMNS(RANDARRAY(4,2))", u"42"},
        {u"=LET(r,RANDARRAY(50,1,5,7,TRUE),AND(r>=5,r<=7))", u"TRUE"},
        {u"=LET(r,RANDARRAY(50,1,2,3,TRUE),SUM(r-INT(r)))", u"0"},
        {u"=RANDARRAY(1,1,2,1)", u"#VALUE!"},
        {u"=RANDARRAY(1,1,1.5,3,TRUE)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, SortOrdersKindsAndKeepsBlanksLast) {
    fill(u"A1", {u"2\tb", u"abc\ta", u"TRUE\tc", u"#N/A\td", u"\te", u"-1\tf", u"ABC\tg", u"#DIV/0!\th"});
    const Case cases[] = {
        {u"=SORT(A1:A8)", u"-1;2;abc;ABC;TRUE;#DIV/0!;#N/A;"},
        {u"=SORT(A1:A8,1,-1)", u"#N/A;#DIV/0!;TRUE;abc;ABC;2;-1;"},   // equal texts keep their order
        {u"=SORT(A1:B3,2)", u"abc,a;2,b;TRUE,c"},
        {u"=SORT({3,1,2},1,1,TRUE)", u"1,2,3"},
        {u"=SORT({1,\"b\";2,\"a\";1,\"a\"},{1,2},{1,-1})", u"1,b;1,a;2,a"},
        {u"=SORT({1,2},3)", u"#VALUE!"},
        {u"=SORT({1,2},1,0)", u"#VALUE!"},
        {u"=SORT({2,1,2,1},1,{1;-1})", u"#VALUE!"},
        {u"=SORTBY({\"a\";\"b\";\"c\"},{3;1;2})", u"b;c;a"},
        {u"=SORTBY({1,2,3;4,5,6},{3,2,2},1,{5,1,4},-1)", u"3,2,1;6,5,4"},
        {u"=SORTBY({1;2},{1,2})", u"#VALUE!"},
        {u"=SORTBY({1,2;3,4},{1;2},1,{1,2},1)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(DynamicArray, UniqueAndFilter) {
    fill(u"A1", {u"Apple\t3", u"pear\t12", u"APPLE\t3", u"fig\t", u"pear\t12"});
    const Case cases[] = {
        {u"=UNIQUE(A1:A5)", u"Apple;pear;fig"},                  // texts ignoring case
        {u"=UNIQUE(A1:B5)", u"Apple,3;pear,12;fig,"},
        {u"=UNIQUE(A1:A5,,TRUE)", u"fig"},
        {u"=UNIQUE({1,1,2,2},TRUE)", u"1,2"},
        {u"=UNIQUE({1,1,2,2},TRUE,TRUE)", u"#CALC!"},
        {u"=UNIQUE({1;\"1\";TRUE;1})", u"1;1;TRUE"},
        {u"=FILTER(A1:A5,B1:B5>5)", u"pear;pear"},
        {u"=FILTER(A1:B5,A1:A5=\"apple\")", u"Apple,3;APPLE,3"},
        {u"=FILTER({1,2,3},{1,0,1})", u"1,3"},
        {u"=FILTER(A1:A5,B1:B5>99)", u"#CALC!"},
        {u"=FILTER(A1:A5,B1:B5>99,\"none\")", u"none"},
        {u"=FILTER(A1:A5,B1:B5>5,1/0)", u"pear;pear"},           // if_empty only when needed
        {u"=FILTER(A1:A5,B1:B4>5)", u"#VALUE!"},
        {u"=FILTER(A1:A2,{\"x\";1})", u"#VALUE!"},
        {u"=FILTER(A1:A2,{#N/A;1})", u"#N/A"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

class GroupBy : public ArrayFixture {
protected:
    GroupBy() {
        fill(u"A1", {u"Type\tSize\tAmount\tKeep", u"b\tS\t10\t1", u"a\tL\t5\t1", u"b\tL\t20\t0", u"a\tS\t1\t1",
                     u"b\tS\t4\t1"});
        book.names().define({u"Twice", -1, u"=LAMBDA(v,SUM(v)*2)",
                             std::shared_ptr<const formula::Expression>(compileFormula(u"=LAMBDA(v,SUM(v)*2)"))});
        book.namesChanged();
    }
};

TEST_F(GroupBy, GroupsSortedWithTotals) {
    const Case cases[] = {
        // Headers found by the text over the values, and left out of the result.
        {u"=GROUPBY(A1:A6,C1:C6,SUM)", u"a,6;b,34;Total,40"},
        {u"=GROUPBY(A2:A6,C2:C6,_xleta.AVERAGE)", u"a,3;b,11.3333333333333;Total,8"},
        {u"=GROUPBY(A1:A6,C1:C6,SUM,3)", u"Type,Amount;a,6;b,34;Total,40"},
        {u"=GROUPBY(A2:A6,C2:C6,SUM,2,0)", u"Row Field 1,Value 1;a,6;b,34"},
        {u"=GROUPBY(A1:A6,C1:C6,SUM,,-1)", u"Total,40;a,6;b,34"},
        {u"=GROUPBY(A1:A6,C1:C6,SUM,,,-2)", u"b,34;a,6;Total,40"},   // by the values, descending
        {u"=GROUPBY(A1:A6,C1:C6,SUM,,,,D1:D6)", u"a,6;b,14;Total,20"},
        {u"=GROUPBY(A1:A6,C1:C6,Twice)", u"a,12;b,68;Total,80"},
        {u"=GROUPBY(A1:A6,C1:C6,LAMBDA(part,whole,SUM(part)/SUM(whole)))", u"a,0.15;b,0.85;Total,1"},
        {u"=GROUPBY(A1:A6,C1:C6,PERCENTOF)", u"a,0.15;b,0.85;Total,1"},
        {u"=GROUPBY(A2:B6,C2:C6,SUM,0,2)",
         u"a,L,5;a,S,1;a,,6;b,L,20;b,S,14;b,,34;Grand Total,,40"},
        {u"=GROUPBY(A2:B6,C2:C6,SUM,0,1,,,1)", u"a,L,5;a,S,1;b,L,20;b,S,14;Total,,40"},
        {u"=GROUPBY(A1:A6,C1:C5,SUM)", u"#VALUE!"},
        {u"=GROUPBY(A1:A6,C1:C6,SUM,,,3)", u"#VALUE!"},
        {u"=GROUPBY(A1:A6,C1:C6,NOSUCH)", u"#NAME?"},
        {u"=GROUPBY(A1:A6,C1:C6,SUM,,,,D1:D5)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

TEST_F(GroupBy, PivotByCrossesRowAndColumnGroups) {
    const Case cases[] = {
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,SUM)", u",L,S,Total;a,5,1,6;b,20,14,34;Total,25,15,40"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,SUM,3,0,,0)", u",Size,;,L,S;Type,Amount,Amount;a,5,1;b,20,14"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,SUM,,,,,2)", u",S,L,Total;a,1,5,6;b,14,20,34;Total,15,25,40"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,SUM,,,,,,D1:D6)", u",L,S,Total;a,5,1,6;b,,14,14;Total,5,15,20"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,PERCENTOF,,0,,0)", u",L,S;a,0.2,0.0666666666666667;b,0.8,0.933333333333333"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,PERCENTOF,,0,,0,,,1)",
         u",L,S;a,0.833333333333333,0.166666666666667;b,0.588235294117647,0.411764705882353"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,PERCENTOF,,0,,0,,,2)", u",L,S;a,0.125,0.025;b,0.5,0.35"},
        {u"=PIVOTBY(A1:A6,B1:B6,C1:C6,SUM,,,,,,,5)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

}  // namespace
}  // namespace kes::calc::testing
