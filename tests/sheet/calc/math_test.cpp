// Math and trigonometry functions: Excel's domains and error precedence, its own pi in the
// trigonometric functions, the sign rules of rounding to multiples, how the Analysis ToolPak
// functions take their arguments, and which values the sums count.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

struct Case {
    std::u16string_view formula, shown;
};

class Math : public CalcFixture {
protected:
    void expectShown(std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
        }
    }
};

TEST_F(Math, ElementaryFunctionsKeepExcelsDomainsAndErrorOrder) {
    fill(u"A1", {u"-2.2\t1\tx\t=NA()"});
    expectShown({
        {u"=SQRT(-1)", u"#NUM!"},
        {u"=SQRT(TRUE)", u"1"},
        {u"=LN(0)", u"#NUM!"},
        {u"=LOG10(-1)", u"#NUM!"},
        {u"=LOG(1000)", u"3"},
        {u"=LOG(8,2)", u"3"},
        {u"=LOG(10,1)", u"#DIV/0!"},
        {u"=LOG(10,0)", u"#NUM!"},
        {u"=EXP(710)", u"#NUM!"},
        {u"=POWER(0,0)", u"#NUM!"},
        {u"=POWER(0,-1)", u"#DIV/0!"},
        {u"=POWER(-8,1/3)", u"-2"},
        {u"=POWER(-8,1/2)", u"#NUM!"},
        {u"=MOD(A1,B1)", u"0.8"},
        {u"=MOD(5,-3)", u"-1"},
        {u"=MOD(-5,3)", u"1"},
        {u"=MOD(1,0)", u"#DIV/0!"},
        {u"=MOD(2^52,3)", u"#NUM!"},
        {u"=MOD(2^49,3)", u"2"},
        {u"=QUOTIENT(-7,2)", u"-3"},
        {u"=QUOTIENT(7,0)", u"#DIV/0!"},
        {u"=SIGN(-0.5)&SIGN(0)&SIGN(3)", u"-101"},
        {u"=DEGREES(PI())", u"180"},
        {u"=RADIANS(180)", u"3.14159265358979"},
        // The first argument's error comes first, whatever the second holds.
        {u"=MOD(C1,0)", u"#VALUE!"},
        {u"=ROUND(D1,C1)", u"#N/A"},
        {u"=POWER(C1,D1)", u"#VALUE!"},
        {u"=ATAN2(D1,C1)", u"#N/A"},
    });
}

TEST_F(Math, TrigonometryReducesAnglesByExcelsPi) {
    expectShown({
        {u"=SIN(PI())", u"1.22514845490862E-16"},
        {u"=COS(PI()/2)", u"6.1257422745431E-17"},
        {u"=COS(-PI()/2)", u"6.1257422745431E-17"},
        {u"=TAN(-PI())", u"1.22514845490862E-16"},
        {u"=SIN(2*PI())", u"-2.45029690981724E-16"},
        {u"=SIN(PI()/2)", u"1"},
        {u"=SIN(2^27)", u"#NUM!"},
        {u"=ISNUMBER(SIN(2^27-1))", u"TRUE"},
        {u"=COS(-2^27)", u"#NUM!"},
        {u"=COT(2^27)", u"#NUM!"},
        {u"=COT(0)", u"#DIV/0!"},
        {u"=CSC(0)", u"#DIV/0!"},
        {u"=SEC(0)", u"1"},
        {u"=COTH(0)", u"#DIV/0!"},
        {u"=CSCH(0)", u"#DIV/0!"},
        {u"=SECH(0)", u"1"},
        {u"=ASIN(1.1)", u"#NUM!"},
        {u"=ACOS(-1)", u"3.14159265358979"},
        {u"=ACOSH(0.5)", u"#NUM!"},
        {u"=ATANH(1)", u"#NUM!"},
        {u"=ACOTH(1)", u"#NUM!"},
        {u"=ACOTH(-2.3)", u"-0.465779102002472"},
        {u"=ACOT(-1)", u"2.35619449019234"},
        {u"=ATAN2(0,0)", u"#DIV/0!"},
        {u"=ATAN2(-1,0)", u"3.14159265358979"},
        {u"=ATAN2(0,-1)", u"-1.5707963267949"},
    });
    EXPECT_EQ(number(u"=TAN(-3*PI()/2)"), -5441517425873024.0);
    EXPECT_EQ(number(u"=TAN(PI()/2)"), 16324552277619072.0);
}

TEST_F(Math, RoundingToDigitsRoundsTheDecimalValue) {
    expectShown({
        {u"=ROUND(2.5,0)&ROUND(-2.5,0)", u"3-3"},
        {u"=ROUND(1.005,2)", u"1.01"},
        {u"=ROUND(0.285,2)", u"0.29"},
        {u"=ROUND(1234.5678,-2)", u"1200"},
        {u"=ROUND(0.234,1.9)", u"0.2"},
        {u"=ROUND(1E+300,-310)", u"0"},
        {u"=ROUND(123456789012345678,2)", u"1.23456789012346E+17"},
        {u"=ROUNDUP(-2.55,1)", u"-2.6"},
        {u"=ROUNDUP(0.1+0.2,1)", u"0.3"},
        {u"=ROUNDUP(2.55,-255)", u"1E+255"},
        {u"=ROUNDDOWN(-255.5,-2)", u"-200"},
        {u"=TRUNC(-2.55,1)", u"-2.5"},
        {u"=TRUNC(5.9)", u"5"},
        {u"=INT(-0.5)", u"-1"},
        {u"=EVEN(-0.2)&EVEN(0)&EVEN(2.3)", u"-204"},
        {u"=ODD(0)&ODD(2)&ODD(-2)&ODD(-0.2)", u"13-3-1"},
    });
}

TEST_F(Math, MultiplesFollowEachFunctionsSignRules) {
    expectShown({
        {u"=CEILING(-2.5,2)", u"-2"},
        {u"=CEILING(-255.5,-2)", u"-256"},
        {u"=CEILING(2.5,-2)", u"#NUM!"},
        {u"=CEILING(5,0)", u"0"},
        {u"=CEILING(0.3,0.1)", u"0.3"},
        {u"=FLOOR(-2.5,2)", u"-4"},
        {u"=FLOOR(-255.5,-2)", u"-254"},
        {u"=FLOOR(1.5,0)", u"#DIV/0!"},
        {u"=FLOOR(2.5,-2)", u"#NUM!"},
        {u"=FLOOR(0,-2)", u"0"},
        {u"=CEILING.MATH(-8.1,3)", u"-6"},
        {u"=CEILING.MATH(-5.5,2,-1)", u"-6"},
        {u"=CEILING.MATH(-255.5,-2,TRUE)", u"-256"},
        {u"=CEILING.MATH(TRUE)", u"1"},
        {u"=CEILING.MATH(4.3,0)", u"0"},
        // The quotient loses its noise below 15 digits before it is rounded up.
        {u"=CEILING.MATH(0.1,0.0999999999999996)", u"0.0999999999999996"},
        {u"=CEILING.MATH(0.4,0.0999999999999996)", u"0.499999999999998"},
        {u"=FLOOR.MATH(-8.1,3)", u"-9"},
        {u"=FLOOR.MATH(-5.5,2,-1)", u"-4"},
        {u"=FLOOR.MATH(-255.5,1,TRUE)", u"-255"},
        {u"=CEILING.PRECISE(-255.5,-2)", u"-254"},
        {u"=ISO.CEILING(2.5,1.3)", u"2.6"},
        {u"=ISO.CEILING(5,0)", u"0"},
        {u"=FLOOR.PRECISE(-5.5,-1)", u"-6"},
        {u"=MROUND(1.3,0.2)", u"1.4"},
        {u"=MROUND(-10,-3)", u"-9"},
        {u"=MROUND(5,-2)", u"#NUM!"},
        {u"=MROUND(0,-2)", u"0"},
    });
}

// FACTDOUBLE, MROUND, QUOTIENT, SQRTPI, RANDBETWEEN... refuse TRUE and FALSE and ranges of
// more than one cell, but run over arrays element by element.
TEST_F(Math, AnalysisToolPakArgumentsRefuseRangesAndBooleans) {
    fill(u"A1", {u"5\tTRUE", u"6"});
    expectShown({
        {u"=FACTDOUBLE(TRUE)", u"#VALUE!"},
        {u"=FACTDOUBLE(B1)", u"#VALUE!"},
        {u"=SQRTPI(TRUE)", u"#VALUE!"},
        {u"=QUOTIENT(TRUE,1)", u"#VALUE!"},
        {u"=MROUND(\"2.55\",\"1.4\")", u"2.8"},
        {u"=FACTDOUBLE(A1)", u"15"},
        {u"=FACTDOUBLE(A1:A2)", u"#VALUE!"},
        {u"=INDEX(FACTDOUBLE({5,6}),2)", u"48"},
        {u"=FACTDOUBLE(-1)", u"1"},
        {u"=FACTDOUBLE(-1.1)", u"#NUM!"},
        {u"=FACTDOUBLE(C1)", u"1"},
        {u"=SQRTPI(-1)", u"#NUM!"},
        {u"=RANDBETWEEN(4,4)", u"4"},
        {u"=RANDBETWEEN(1.5,2.5)", u"2"},
        {u"=RANDBETWEEN(4,-5)", u"#NUM!"},
    });
}

// An array formula over cells of row 20 from column A: built-in functions run element by
// element over a range, Analysis ToolPak functions refuse it as a whole.
TEST_F(Math, ArrayFormulasRunOverRangesElementByElement) {
    fill(u"A1", {u"4\t-1\tx\t\tTRUE", u"2\t0.2\tTRUE\t3\t4"});
    const auto arrayShown = [&](std::u16string_view formula, int32_t columns) {
        SheetTable& sheet = book.sheet(0);
        const CellRect area{0, 19, columns - 1, 19};
        sheet.createCell(19, 0).setArrayFormula(formula, area, false);
        for (int32_t c = 1; c < columns; ++c) sheet.createCell(19, c).setArrayMember(area, false);
        std::u16string shown;
        for (int32_t c = 0; c < columns; ++c) shown += (c ? u"|" : u"") + sheet.getCell(19, c).displayText();
        return shown;
    };
    EXPECT_EQ(arrayShown(u"=SQRT(A1:E1)", 5), u"2|#NUM!|#VALUE!|0|1");
    EXPECT_EQ(arrayShown(u"=ROUND(A1:B1*1.234,A2:B2)", 3), u"4.94|-1|#N/A");
    EXPECT_EQ(arrayShown(u"=FACTDOUBLE(A1:B1)", 3), u"#VALUE!|#VALUE!|#VALUE!");
    EXPECT_EQ(arrayShown(u"=FACTDOUBLE(A2:E2+0)", 5), u"2|1|1|3|8");
    EXPECT_EQ(arrayShown(u"=MUNIT(A2:C2)", 3), u"1|#VALUE!|1");
    EXPECT_EQ(arrayShown(u"=SUM(A1:B2*2)", 2), u"10.4|10.4");
}

TEST_F(Math, IntegerFunctionsReadEveryValueBeforeJudgingIt) {
    fill(u"A1", {u"-0.4\t1\t1.7", u"\t\t1.2", u"ciao\t5\t3.4", u"\t\t2.3"});
    expectShown({
        {u"=GCD(5.7,15.7)", u"5"},
        {u"=GCD(-0.4)", u"#NUM!"},
        {u"=GCD(A1:A3)", u"#VALUE!"},   // the text after -0.4 decides
        {u"=GCD(A2)", u"#VALUE!"},      // nothing to divide
        {u"=GCD(B1:B3,TRUE)", u"#VALUE!"},
        {u"=GCD(2^53)", u"#NUM!"},
        {u"=LCM(15,63)", u"315"},
        {u"=LCM(0,63)", u"0"},
        {u"=MULTINOMIAL(1,2,3)", u"60"},
        {u"=MULTINOMIAL(B1:B3)", u"6"},     // the blank cell is left out
        {u"=MULTINOMIAL(C1:C4)", u"420"},   // 1, 1, 3, 2 after truncation
        {u"=MULTINOMIAL(TRUE,1)", u"#VALUE!"},
        {u"=MULTINOMIAL(-1,2)", u"#NUM!"},
        {u"=FACT(4.9)", u"24"},
        {u"=FACT(171)", u"#NUM!"},
        {u"=FACT(-1)", u"#NUM!"},
        {u"=COMBIN(8,2)", u"28"},
        {u"=COMBIN(2,3)", u"#NUM!"},
        {u"=COMBIN(60,30)", u"1.18264581564861E+17"},
        {u"=COMBINA(4,3)", u"20"},
        {u"=COMBINA(4,0)", u"1"},
    });
}

TEST_F(Math, NumeralsInEveryForm) {
    expectShown({
        {u"=ROMAN(499)", u"CDXCIX"},
        {u"=ROMAN(499,1)", u"LDVLIV"},
        {u"=ROMAN(499,2)", u"XDIX"},
        {u"=ROMAN(499,3)", u"VDIV"},
        {u"=ROMAN(499,4)", u"ID"},
        {u"=ROMAN(999.9,TRUE)", u"CMXCIX"},
        {u"=ROMAN(999,FALSE)", u"IM"},
        {u"=ROMAN(995,1)", u"LMVL"},
        {u"=\"[\"&ROMAN(0)&\"]\"", u"[]"},
        {u"=ROMAN(4000)", u"#VALUE!"},
        {u"=ROMAN(-1)", u"#VALUE!"},
        {u"=ROMAN(1,5)", u"#VALUE!"},
        {u"=ARABIC(\"IILmIIC\")", u"1046"},
        {u"=ARABIC(\"IIIIIIV\")", u"-1"},
        {u"=ARABIC(\" -mmxi \")", u"-2011"},
        {u"=ARABIC(\"\")", u"0"},
        {u"=ARABIC(\"Vh\")", u"#VALUE!"},
        {u"=ARABIC(0)", u"#VALUE!"},
        {u"=BASE(7,2,5)", u"00111"},
        {u"=BASE(0,2)", u"0"},
        {u"=BASE(123456789,36)", u"21I3V9"},
        {u"=BASE(20,10.9)", u"20"},
        {u"=BASE(-1,2)", u"#NUM!"},
        {u"=BASE(1,37)", u"#NUM!"},
        {u"=BASE(1,2,256)", u"#NUM!"},
        {u"=DECIMAL(\"ff\",16)", u"255"},
        {u"=DECIMAL(111,2.5)", u"7"},
        {u"=DECIMAL(113,2)", u"#NUM!"},
        {u"=DECIMAL(\"FF\",TRUE)", u"#NUM!"},
    });
}

TEST_F(Math, SumsConvertValuesGivenDirectlyButSkipReferencedText) {
    fill(u"A1", {u"7\t=\"7\"\tTRUE\tseven", u"=1/0\t2\t\t1.5"});
    expectShown({
        {u"=SUM(\"7\",TRUE,A1)", u"15"},
        {u"=SUM(\"seven\")", u"#VALUE!"},
        {u"=SUM(A1:D1)", u"7"},
        {u"=SUM(B1:D1)", u"0"},
        {u"=SUM(A1:B2)", u"#DIV/0!"},
        {u"=SUM(A1,,1)", u"8"},
        {u"=PRODUCT(B1:D1)", u"0"},   // nothing to multiply
        {u"=PRODUCT(2,\"3\",B2)", u"12"},
        {u"=PRODUCT(A1:D1,D2)", u"10.5"},
        {u"=SUMSQ(A1:D1,B2,\"3\")", u"62"},
        {u"=SUMSQ(TRUE)", u"1"},
    });
}

TEST_F(Math, PairedSumsMatchElementsAndCountOthersAsZero) {
    fill(u"A1", {u"1\t4.4\tTRUE", u"3\t5\tx", u"3\t6\t=NA()"});
    expectShown({
        {u"=SUMPRODUCT(A1:A3,B1:B3)", u"37.4"},
        {u"=SUMPRODUCT(A1:A2,C1:C2)", u"0"},   // TRUE and text count as 0
        {u"=SUMPRODUCT(A1:A2,--C1)", u"#VALUE!"},
        {u"=SUMPRODUCT((A1:A3>2)*B1:B3)", u"11"},
        {u"=SUMPRODUCT(A1:A2,B1:B3)", u"#VALUE!"},
        {u"=SUMPRODUCT(C1:C3,B1:B2)", u"#N/A"},   // the error before the size
        {u"=SUMPRODUCT(A1:B1,{2,3})", u"15.2"},
        {u"=SUMX2MY2(A1:A3,{1,2,3})", u"5"},   // same count, other shape
        {u"=SUMX2MY2(A1:A2,{1,2,3})", u"#N/A"},
        {u"=SUMX2PY2(A1:A2,C1:C2)", u"0"},      // pairs with no number are left out
        {u"=SUMXMY2(A1:A3,B1:B3)", u"24.56"},
        {u"=SUMXMY2(A1:A3,C1:C3)", u"#N/A"},
        {u"=SERIESSUM(2,0,1,{1,2,3})", u"17"},
        {u"=SERIESSUM(-1,0,2,{1,2,3})", u"6"},
        {u"=SERIESSUM(0,0,2,{1,2,3})", u"#NUM!"},
        {u"=SERIESSUM(TRUE,0,1,{1})", u"#VALUE!"},
        {u"=SERIESSUM(A1:A2,0,1,{1})", u"#VALUE!"},
        {u"=PERCENTOF(A1:A2,A1:B3)", u"0.178571428571429"},
        {u"=PERCENTOF(A1,C3)", u"#NUM!"},
        {u"=PERCENTOF(A1,C1:C2)", u"#DIV/0!"},
    });
}

class ConditionalSums : public Math {
protected:
    ConditionalSums() {
        fill(u"A1", {u"1213\t3\t1", u"Alemania\t4\t2", u"Argentina\t=1/0\t3", u"XYZ\t-3\t4", u"=\"1213\"\t12\t5",
                     u"\t7\t6", u"=NA()\t8\t7"});
    }
};

TEST_F(ConditionalSums, SumIfTakesTheSumRangesSizeFromTheCriteriaRange) {
    expectShown({
        {u"=SUMIF(A1:A5,\"xyz\",B1:B5)", u"-3"},
        {u"=SUMIF(A1:A5,\"*a\",C1)", u"5"},     // C1 grows to C1:C5
        {u"=SUMIF(A1:A2,\"<>x\",C4:C9)", u"9"},
        {u"=SUMIF(A1:A7,\"12*\",C1:C7)", u"5"},   // only the text 1213
        {u"=SUMIF(A1:A7,1213,C1:C7)", u"6"},      // the number and the numeric text
        {u"=SUMIF(A1:A7,\"\",C1:C7)", u"6"},
        {u"=SUMIF(A1:A7,D1,C1:C7)", u"0"},        // an empty criterion cell means 0
        {u"=SUMIF(A1:A7,\"*tina\",B1:B7)", u"#DIV/0!"},
        {u"=SUMIF(A1:A7,\"x*\",B1:B7)", u"-3"},   // the error beside Argentina is not summed
        {u"=SUMIF(A1:A7,A7,C1:C7)", u"7"},        // an error criterion matches that error
        {u"=SUMIF(B1:B7,\">3\")", u"31"},   // an error in the criteria range never passes
        {u"=SUMIF(B1:B2,\">3\")", u"4"},
        {u"=SUMIF(B:B,\">5\")", u"27"},
        {u"=SUMIF(C:C,\"<4\",B:B)", u"#DIV/0!"},
        {u"=SUMIF(C:C,\">4\",B:B)", u"27"},
        {u"=INDEX(SUMIF(C1:C7,{1,\">5\"},B1:B7),2)", u"15"},
    });
}

TEST_F(ConditionalSums, SumIfsPairsRangesOfOneSize) {
    expectShown({
        {u"=SUMIFS(C1:C7,B1:B7,\">3\",C1:C7,\"<7\")", u"13"},
        {u"=SUMIFS(C1:C7,B1:B7,\">3\",A1:A6,\"*\")", u"#VALUE!"},
        {u"=SUMIFS(C1:C7,A1:A7,\"A*\",A1:A7,\"*a\")", u"5"},
        {u"=SUMIFS(B1:B7,C1:C7,\">2\")", u"#DIV/0!"},
        {u"=SUMIFS(B1:B7,C1:C7,\">3\")", u"24"},
        {u"=SUMIFS(C:C,B:B,\">5\",A:A,\"\")", u"6"},
        {u"=INDEX(SUMIFS(C1:C7,B1:B7,{\">3\",\"<0\"}),2)", u"4"},
    });
}

class Subtotals : public Math {
protected:
    Subtotals() {
        fill(u"A1", {u"10\t1", u"20\t0", u"=SUBTOTAL(9,A1:A2)\t2", u"x\t3", u"=1/0\t4", u"5\t5", u"5\t6"});
    }
};

TEST_F(Subtotals, SubtotalLeavesOutNestedSubtotalsAndKeepsErrors) {
    expectShown({
        {u"=SUBTOTAL(9,A1:A4)", u"30"},
        {u"=SUM(A1:A4)", u"60"},
        {u"=SUBTOTAL(109,A1:A4)", u"30"},
        {u"=SUBTOTAL(9,A1:A7)", u"#DIV/0!"},
        {u"=SUBTOTAL(2,A1:A7)", u"4"},
        {u"=SUBTOTAL(3,A1:A7)", u"6"},
        {u"=SUBTOTAL(1,A1:A2,B1:B2)", u"7.75"},
        {u"=SUBTOTAL(4,A1:A4)&SUBTOTAL(5,A1:A4)&SUBTOTAL(6,A1:A2)", u"2010200"},
        {u"=SUBTOTAL(7,B1:B7)", u"2.16024689946929"},
        {u"=SUBTOTAL(8,B1:B7)", u"2"},
        {u"=SUBTOTAL(10,B1:B7)&\"/\"&SUBTOTAL(11,B1:B7)", u"4.66666666666667/4"},
        {u"=SUBTOTAL(12,A1:A4)", u"#VALUE!"},
        {u"=SUBTOTAL(0,A1:A4)", u"#VALUE!"},
        {u"=SUBTOTAL(9,{1,2})", u"#VALUE!"},
        {u"=SUBTOTAL({9,2},A1:A2)", u"30"},
    });
}

TEST_F(Subtotals, AggregateChoosesWhatToLeaveOut) {
    expectShown({
        {u"=AGGREGATE(9,0,A1:A4)", u"30"},
        {u"=AGGREGATE(9,4,A1:A4)", u"60"},
        {u"=AGGREGATE(9,4,A1:A7)", u"#DIV/0!"},
        {u"=AGGREGATE(9,6,A1:A7)", u"70"},
        {u"=AGGREGATE(9,3,A1:A7)", u"40"},
        {u"=AGGREGATE(3,6,A1:A7)", u"6"},
        {u"=AGGREGATE(12,6,A1:A7)", u"10"},
        {u"=AGGREGATE(13,6,A1:A7)", u"5"},
        {u"=AGGREGATE(13,6,A1:A2)", u"#N/A"},
        {u"=AGGREGATE(14,6,A1:A7,2)", u"20"},
        {u"=AGGREGATE(14,7,A1:A7,1)", u"30"},
        {u"=AGGREGATE(14,3,A1:A7,1)", u"20"},
        {u"=AGGREGATE(14,6,A1:A7,7)", u"#NUM!"},
        {u"=AGGREGATE(15,6,B1:B7/(B1:B7>2),1)", u"3"},
        {u"=INDEX(AGGREGATE(14,6,B1:B7,{1,2,3}),3)", u"4"},
        {u"=AGGREGATE(16,6,B1:B7,0.5)", u"3"},
        {u"=AGGREGATE(17,6,B1:B7,1)", u"1.5"},
        {u"=AGGREGATE(18,6,B1:B7,0.25)", u"1"},
        {u"=AGGREGATE(19,6,B1:B7,3)", u"5"},
        {u"=AGGREGATE(19,6,B1:B7,4)", u"#NUM!"},
        {u"=AGGREGATE(18,6,B1:B7,0.1)", u"#NUM!"},
        {u"=AGGREGATE(14,6,A1:A7)", u"#VALUE!"},
        {u"=AGGREGATE(20,6,A1:A7)", u"#VALUE!"},
        {u"=AGGREGATE(9,8,A1:A7)", u"#VALUE!"},
        {u"=AGGREGATE(9,6,{1,2})", u"#VALUE!"},
    });
}

TEST_F(Math, MatricesFactorAsExcelDoes) {
    fill(u"A1", {u"3\t6\t9\t1\t2", u"9\t12\t-6\t\t4", u"6\t10.5\t18"});
    expectShown({
        {u"=MDETERM({1,2,3;4,5,6;7,8,9})", u"6.66133814775094E-16"},
        {u"=MDETERM({1,2,3;3,4,-2;2,3.5,6})", u"-5.5"},
        {u"=MDETERM(MUNIT(3)*4)", u"64"},
        {u"=MDETERM(D1:E2)", u"#VALUE!"},
        {u"=MDETERM({1,2})", u"#VALUE!"},
        {u"=MINVERSE({1,1;1,1})", u"#NUM!"},
        {u"=MINVERSE(A1:B3)", u"#VALUE!"},
        {u"=INDEX(MINVERSE({4,7;2,6}),2,1)", u"-0.2"},
        {u"=MMULT({1,2},{3;4})", u"11"},
        {u"=INDEX(MMULT({1;2},{3,4}),2,2)", u"8"},
        {u"=MMULT(A1:B2,A1:B1)", u"#VALUE!"},
        {u"=MMULT({1,#N/A},{1;2})", u"#N/A"},
        {u"=MUNIT(0.2)", u"#VALUE!"},
        {u"=MUNIT(TRUE)", u"1"},
        {u"=SUM(MUNIT(3))", u"3"},
        // Run over an array, each MUNIT gives its top left value.
        {u"=SUM(MUNIT({1,2;3,4;7,8}))", u"6"},
    });
    // The inverse keeps Excel's rounding noise where the exact value is 0.
    EXPECT_EQ(number(u"=INDEX(MINVERSE(A1:C3),2,2)"), -4.4408920985006264e-17);
    EXPECT_EQ(number(u"=INDEX(MINVERSE(A1:C3),1,2)"), 0.09090909090909097);
}

}  // namespace
}  // namespace kes::calc::testing
