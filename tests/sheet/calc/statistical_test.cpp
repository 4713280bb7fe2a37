// Descriptive statistics, counts and averages under criteria, and statistics of sorted data:
// which values each function takes from ranges and from its arguments, which error it gives for
// which fault, and its results at the edges of its domain.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

struct Case {
    std::u16string_view formula, shown;
};

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

class Statistical : public CalcFixture {
protected:
    Statistical() {
        // A: numbers with a text, a boolean, a numeric text and a blank among them.
        // B: a second list with an error. C: labels for criteria. D: values to average.
        fill(u"A1", {u"2\t1\tapple\t10", u"4\t=NA()\tpear\t20", u"apple\t3\tApple\t30", u"TRUE\t\tapricot\tx",
                     u"=\"8\"\t5\tpear\t50", u"\t7\t\t60", u"8\t\t=\"12\"\t70"});
    }

    void expectShown(std::initializer_list<Case> cases) {
        for (const Case& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << narrow(c.formula);
    }
};

TEST_F(Statistical, AggregatesTakeNumbersOfRangesAndConvertValuesGivenDirectly) {
    expectShown({
        {u"=AVERAGE(A1:A7)", u"4.66666666666667"},        // 2, 4, 8: text, TRUE, '8 and blank skipped
        {u"=AVERAGE(A1:A7,TRUE,\"4\")", u"3.8"},     // direct TRUE is 1, "4" is 4
        {u"=AVERAGE(A1:A7,\"x\")", u"#VALUE!"},
        {u"=AVERAGE(C1:C3)", u"#DIV/0!"},
        {u"=AVERAGE(B1:B3)", u"#N/A"},               // the error in the range is the result
        {u"=AVERAGEA(A1:A7)", u"2.5"},               // texts 0, TRUE 1: 15 / 6 cells
        {u"=MIN(C1:C3)&MAX(C1:C3)", u"00"},
        {u"=MINA(A1:A7)&\",\"&MAXA(A4,A3)", u"0,1"},
        {u"=MINA(1,\"Hola\")", u"#VALUE!"},
        {u"=MAX(A1:A7,\"9\")", u"9"},
        {u"=STDEV(A1:A7)", u"3.05505046330389"},
        {u"=STDEV.P(A1:A7)", u"2.49443825784929"},
        {u"=VAR.S(5)", u"#DIV/0!"},
        {u"=VAR.P(5)", u"0"},
        {u"=VARA(A1:A7)", u"9.5"},
        {u"=STDEVPA(A1:A7)", u"2.81365716935569"},
        {u"=VAR(1E+15+1,1E+15+2,1E+15+3)", u"1"},    // around the mean: no digits lost
    });
}

TEST_F(Statistical, ShapeAndMeanStatisticsRefuseTooFewOrOutOfDomainValues) {
    expectShown({
        {u"=AVEDEV(A1:A7)", u"2.22222222222222"},
        {u"=AVEDEV(C1:C3)", u"#NUM!"},
        {u"=DEVSQ(A1:A7)", u"18.6666666666667"},
        {u"=DEVSQ(\"\")", u"#VALUE!"},
        {u"=GEOMEAN(A1:A7)", u"4"},
        {u"=GEOMEAN(2,0)", u"#NUM!"},
        {u"=GEOMEAN(1E+200,1E+200)", u"1E+200"},     // no overflow of the product
        {u"=HARMEAN(1,2,4)", u"1.71428571428571"},
        {u"=HARMEAN(1,-2)", u"#NUM!"},
        {u"=KURT(1,2,3,4,9)", u"2.6750983101286"},
        {u"=KURT(1,2,3)", u"#DIV/0!"},
        {u"=SKEW(1,2,3,4,9)", u"1.54913138125667"},
        {u"=SKEW(2,2,2)", u"#DIV/0!"},
        {u"=SKEW.P(1,2,3,4,9)", u"1.03918892237042"},
        {u"=STANDARDIZE(42,40,1.5)", u"1.33333333333333"},
        {u"=STANDARDIZE(42,40,0)", u"#NUM!"},
    });
}

TEST_F(Statistical, CountsTellNumbersValuesAndBlanksApart) {
    set(u"E1", u"=\"\"");
    expectShown({
        {u"=COUNT(A1:A7)", u"3"},
        {u"=COUNT(A1:A7,TRUE,\"5\",\"x\",1/0)", u"5"},   // direct boolean and numeric text count
        {u"=COUNTA(A1:A7)", u"6"},
        {u"=COUNTA(E1,B1:B3)", u"4"},                     // "" and errors are values
        {u"=COUNTBLANK(A1:A7)", u"1"},
        {u"=COUNTBLANK(E1:E3)", u"3"},                    // "" counts as blank
    });
}

TEST_F(Statistical, CountIfMatchesByValueWithNumericTextAndBlankCriteria) {
    set(u"E1", u"=\"\"");
    set(u"G1", u"0");
    expectShown({
        {u"=COUNTIF(A1:A7,8)", u"2"},                 // the number and the numeric text '8
        {u"=COUNTIF(A1:A7,\">4\")", u"1"},            // comparisons take numbers only
        {u"=COUNTIF(C1:C7,\"ap*\")", u"3"},
        {u"=COUNTIF(C1:C7,\"pear\")", u"2"},
        {u"=COUNTIF(B1:B7,\"\")", u"2"},
        {u"=COUNTIF(E1:E4,\"\")", u"4"},              // "" matches empty cells and ""
        {u"=COUNTIF(E1:E4,\"=\")", u"3"},             // "=" only cells holding nothing
        {u"=COUNTIF(G1:G3,F9)", u"1"},                // an empty criterion cell is 0
        {u"=COUNTIF(B1:B7,\"#N/A\")", u"1"},
        {u"=COUNTIF(F:F,\"\")", u"1048576"},
        {u"=COUNTIF(A1:A7,{2,4,8})", u"1"},           // the criteria array gives an array
        {u"=COUNTIFS(C1:C7,\"pear\",D1:D7,\">20\")", u"1"},
        {u"=COUNTIFS(C1:C7,\"pear\",D1:D6,\">20\")", u"#VALUE!"},
        {u"=COUNTIFS(F1:F5,\"\",G1:G5,\"<>1\")", u"5"},
    });
}

TEST_F(Statistical, ConditionalAveragesAndExtremesTakeNumbersOfTheMatchedCells) {
    expectShown({
        {u"=AVERAGEIF(C1:C7,\"pear\",D1:D7)", u"35"},
        {u"=AVERAGEIF(C1:C7,\"pear\",D1)", u"35"},       // the range grows from its first cell
        {u"=AVERAGEIF(C1:C7,\"apricot\",D1:D7)", u"#DIV/0!"},   // "x" is no number
        {u"=AVERAGEIF(B1:B7,\">2\")", u"5"},             // the error does not match
        {u"=AVERAGEIF(C1:C7,\"*\",B1:B7)", u"#N/A"},     // a matched error is the result
        {u"=AVERAGEIF(C1:C7,\"kiwi\")", u"#DIV/0!"},
        {u"=AVERAGEIFS(D1:D7,C1:C7,\"<>pear\",D1:D7,\">15\")", u"53.3333333333333"},
        {u"=AVERAGEIFS(D1:D7,C1:C7,\"pear\",D1:D5,\">1\")", u"#VALUE!"},
        {u"=MAXIFS(D1:D7,C1:C7,\"a*\")", u"30"},
        {u"=MINIFS(D1:D7,C1:C7,\"a*\",D1:D7,\">10\")", u"30"},
        {u"=MAXIFS(D1:D7,C1:C7,\"kiwi\")", u"0"},
        {u"=MINIFS(B1:B7,C1:C7,\"pear\")", u"#N/A"},
    });
}

TEST_F(Statistical, OrderStatisticsValidateTheirPositionAfterReadingIt) {
    expectShown({
        {u"=LARGE(A1:A7,1)&SMALL(A1:A7,1)", u"82"},
        {u"=LARGE(A1:A7,2.9)", u"4"},                  // k truncated
        {u"=SMALL(A1:A7,0.9)", u"#NUM!"},
        {u"=SMALL(A1:A7,4)", u"#NUM!"},
        {u"=SMALL(\"3.4\",1)", u"3.4"},
        {u"=SMALL(B1:B7,1/0)", u"#DIV/0!"},            // the position's error first
        {u"=MEDIAN(A1:A7,10)", u"6"},
        {u"=MEDIAN(C1:C2)", u"#NUM!"},
        {u"=PERCENTILE.INC({1,2,3,4},0.3)", u"1.9"},
        {u"=PERCENTILE.EXC({1,2,3,4},0.3)", u"1.5"},
        {u"=PERCENTILE.EXC({1,2,3,4},0.1)", u"#NUM!"},
        {u"=PERCENTILE(A1:A7,1.1)", u"#NUM!"},
        {u"=QUARTILE({1,2,3,4,5},3.9)", u"4"},
        {u"=QUARTILE({1,2,3,4,5},-0.1)", u"#NUM!"},
        {u"=QUARTILE.EXC({1,2,3,4,5,6,7},1)", u"2"},
        {u"=QUARTILE.EXC({1,2,3},4)", u"#NUM!"},
        {u"=TRIMMEAN({1,2,3,4,100},0.4)", u"3"},
        {u"=TRIMMEAN({1,2,3,4,100},0.39)", u"22"},     // rounded down to an even count
        {u"=TRIMMEAN({1,2},1)", u"#NUM!"},
    });
}

TEST_F(Statistical, PercentRankInterpolatesFromTheLastOfEqualValuesAndCutsItsDigits) {
    fill(u"F1", {u"12", u"-1", u"7.5", u"56", u"12", u"-4", u"3"});
    expectShown({
        {u"=PERCENTRANK.INC(F1:F7,12)", u"0.666"},
        {u"=PERCENTRANK.INC(F1:F7,40)", u"0.939"},
        {u"=PERCENTRANK.EXC(F1:F7,40)", u"0.829"},
        {u"=PERCENTRANK.INC(F1:F7,10.5,5)", u"0.61111"},
        {u"=PERCENTRANK(F1:F7,-4)", u"0"},
        {u"=PERCENTRANK.INC(F1:F7,57)", u"#N/A"},
        {u"=PERCENTRANK.INC(F1:F7,3,0)", u"#NUM!"},
        {u"=PERCENTRANK.INC({0.29,0.3,1,2},0.3,2)", u"0.33"},
    });
}

TEST_F(Statistical, RanksModesAndFrequenciesFollowTheDataOrder) {
    fill(u"F1", {u"3", u"5", u"3", u"1", u"5", u"=\"5\""});
    expectShown({
        {u"=RANK(5,F1:F6)", u"1"},
        {u"=RANK.EQ(3,F1:F6,1)", u"2"},
        {u"=RANK.AVG(3,F1:F6)", u"3.5"},
        {u"=RANK.AVG(2,F1:F6)", u"#N/A"},
        {u"=MODE(F1:F6)", u"3"},                        // 3 and 5 tie: the first seen
        {u"=MODE.SNGL(1,2,3)", u"#N/A"},
        {u"=MODE.SNGL(F1:F6,\"\")", u"3"},
        {u"=MODE.SNGL(F1:F6,)", u"#VALUE!"},
        {u"=CONCAT(MODE.MULT(F1:F6)&\";\")", u"3;5;"},
        {u"=CONCAT(FREQUENCY(F1:F6,{4;2})&\";\")", u"2;1;2;"},   // bins in their own order
        {u"=CONCAT(FREQUENCY(F1:F6,G1:G3)&\";\")", u"0;5;"},     // no bins: one at 0
        {u"=FREQUENCY(F1:F6,B1:B3)", u"#N/A"},
    });
}

}  // namespace
}  // namespace kes::calc::testing
