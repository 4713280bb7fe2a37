// Correlation, least-squares fits and tests of hypotheses: how two lists pair up (text drops a
// pair, errors come pair by pair), the layout of LINEST's statistics, dropped collinear
// variables, and the p-values of the tests against references computed to 30 digits.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

struct Expected {
    std::u16string_view formula;
    double value;
};

struct Shown {
    std::u16string_view formula, shown;
};

class Regression : public CalcFixture {
protected:
    Regression() {
        // x, a second variable, y, and a y with a text and an error.
        fill(u"A1", {u"1\t1\t2.1\t2.1", u"2\t0\t3.9\tx", u"3\t2\t6.2\t6.2", u"4\t1\t7.8\t=NA()", u"5\t3\t10.1\t10.1"});
    }

    void expectValues(std::initializer_list<Expected> cases) {
        for (const Expected& c : cases) EXPECT_TRUE(closeTo(number(c.formula), c.value)) << narrow(c.formula);
    }
    void expectShown(std::initializer_list<Shown> cases) {
        for (const Shown& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << narrow(c.formula);
    }
};

TEST_F(Regression, PairedStatisticsOfTwoLists) {
    expectValues({
        {u"=SLOPE(C1:C5,A1:A5)", 1.99},
        {u"=INTERCEPT(C1:C5,A1:A5)", 0.05},
        {u"=CORREL(A1:A5,C1:C5)", 0.99865175556896566},
        {u"=PEARSON(C1:C5,A1:A5)", 0.99865175556896566},
        {u"=RSQ(C1:C5,A1:A5)", 0.99730532890097713},
        {u"=STEYX(C1:C5,A1:A5)", 0.18885620632287059},
        {u"=COVARIANCE.P(A1:A5,C1:C5)", 3.98},
        {u"=COVAR(A1:A5,C1:C5)", 3.98},
        {u"=COVARIANCE.S(A1:A5,C1:C5)", 4.975},
        {u"=FORECAST(6,C1:C5,A1:A5)", 11.99},
        {u"=FORECAST.LINEAR(6,{2.1,3.9,6.2,7.8,10.1},{1,2,3,4,5})", 11.99},
    });
}

TEST_F(Regression, PairsWithATextAreDroppedAndErrorsComePairByPair) {
    expectShown({
        {u"=SLOPE(D1:D3,A1:A3)", u"2.05"},              // the pair holding "x" is dropped
        {u"=SLOPE(D1:D5,A1:A5)", u"#N/A"},              // the error in D4
        {u"=SLOPE(C1:C5,A1:A4)", u"#N/A"},              // lists of different sizes
        {u"=CORREL({1,2,3},{1,#DIV/0!,#NUM!})", u"#DIV/0!"},
        {u"=CORREL({1,#VALUE!,3},{#N/A,2,3})", u"#N/A"},  // the first pair's error, of either list
        {u"=CORREL({#NULL!,#NUM!},{#REF!,1})", u"#NUM!"},  // Excel passes over a #NULL! pair
        {u"=CORREL({1,1,1},{1,2,3})", u"#DIV/0!"},
        {u"=SLOPE({1,2},{3,3})", u"#DIV/0!"},
        {u"=STEYX({1,2},{3,4})", u"#DIV/0!"},
        {u"=COVARIANCE.S({1},{2})", u"#DIV/0!"},
        {u"=COVARIANCE.P({\"a\"},{\"b\"})", u"#DIV/0!"},
    });
}

TEST_F(Regression, LinestLaysOutCoefficientsAndStatistics) {
    expectValues({
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),1,1)", 1.99},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),1,2)", 0.05},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),2,1)", 0.059721576223896391},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),2,2)", 0.1980740602232744},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),3,1)", 0.99730532890097713},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),3,2)", 0.18885620632287059},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),4,1)", 1110.3084112149533},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),4,2)", 3},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),5,1)", 39.601},
        {u"=INDEX(LINEST(C1:C5,A1:A5,TRUE,TRUE),5,2)", 0.107},
        {u"=LINEST(C1:C5)", 1.99},                                   // x's are 1, 2, 3...
        {u"=LINEST(C1:C5,A1:A5,FALSE)", 2.0036363636363636},
        // Two variables: the coefficients come last variable first, then the constant.
        {u"=INDEX(LINEST(C1:C5,A1:B5),1,1)", 0.18888888888888889},
        {u"=INDEX(LINEST(C1:C5,A1:B5),1,2)", 1.8955555555555556},
        {u"=INDEX(LINEST(C1:C5,A1:B5),1,3)", 0.068888888888888889},
        {u"=INDEX(LINEST(C1:C5,A1:A5),1,2)", 0.05},
        {u"=LOGEST(C1:C5,A1:A5)", 1.4673151963887095},
        {u"=INDEX(LOGEST(C1:C5,A1:A5),1,2)", 1.6628308276944074},
        {u"=TREND(C1:C5,A1:A5,6)", 11.99},
        {u"=GROWTH(C1:C5,A1:A5,6)", 16.595431906401743},
        {u"=SUM(TREND(C1:C5,A1:A5,{6,7}))", 11.99 + 13.98},
    });
}

TEST_F(Regression, LinestDropsCollinearVariablesAndRefusesBadData) {
    expectValues({
        {u"=INDEX(LINEST(C1:C5,A1:A5,FALSE,TRUE),1,2)", 0},
    });
    expectShown({
        {u"=INDEX(LINEST(C1:C5,(A1:A5,B1:B5)),1,1)", u"#VALUE!"},   // two areas
        {u"=INDEX(LINEST(C1:C5,A1:A5,FALSE,TRUE),2,2)", u"#N/A"},   // no constant, no error of it
        {u"=INDEX(LINEST(C1:C5,A1:B5,TRUE,TRUE),3,3)", u"#N/A"},
        {u"=LINEST(D1:D5,A1:A5)", u"#VALUE!"},                     // a text or an error in y's
        {u"=LINEST(C1:C5,A1:A5,NA())", u"#VALUE!"},
        {u"=LINEST(C1:C5,A1:A4)", u"#REF!"},
        {u"=TREND(C1:C5,A1:A4)", u"#REF!"},
        {u"=LOGEST({1,-2,3})", u"#NUM!"},
        {u"=GROWTH({1,2,\"x\"})", u"#VALUE!"},
    });
}

TEST_F(Regression, CollinearVariableGetsZero) {
    // y against A and 2A: the second adds nothing and is dropped.
    EXPECT_TRUE(closeTo(number(u"=INDEX(LINEST(C1:C5,(A1:A5)*{1,2}),1,1)"), 0));
    EXPECT_TRUE(closeTo(number(u"=INDEX(LINEST(C1:C5,(A1:A5)*{1,2}),1,2)"), 1.99));
}

TEST_F(Regression, TestsOfHypotheses) {
    fill(u"H1", {u"3\t6", u"4\t19", u"5\t3", u"8\t2", u"9\t14", u"1\t4", u"2\t5", u"4\t17", u"5\t1"});
    expectValues({
        {u"=T.TEST(H1:H9,I1:I9,2,1)", 0.19601578492528211},
        {u"=TTEST(H1:H9,I1:I9,1,2)", 0.095997943380198109},
        {u"=T.TEST(H1:H9,I1:I9,2,3)", 0.20229392336867789},
        {u"=F.TEST(H1:H9,I1:I9)", 0.012763404751747401},
        {u"=CHISQ.TEST({58,35;11,25;10,23},{45.35,47.65;17.56,18.44;16.09,16.91})", 0.00030819201700830891},
        {u"=Z.TEST({3,6,7,8,6,5,4,2,1,9},4)", 0.09057419685136376},
        {u"=ZTEST({3,6,7,8,6,5,4,2,1,9},6,2)", 0.92263553825731075},
    });
    expectShown({
        {u"=T.TEST(H1:H9,I1:I9,3,1)", u"#NUM!"},
        {u"=T.TEST(H1:H9,I1:I8,2,1)", u"#N/A"},       // paired lists of different sizes
        {u"=T.TEST({1,2},{3,4},2,4)", u"#NUM!"},
        {u"=F.TEST({1,1},{2,3})", u"#DIV/0!"},
        {u"=CHISQ.TEST({1,2},{1,2,3})", u"#N/A"},
        {u"=CHISQ.TEST({1,2},{0,2})", u"#DIV/0!"},
        {u"=CHISQ.TEST({1;2},{\"a\";\"b\"})", u"#DIV/0!"},
        {u"=CHISQ.TEST({1,#N/A},{#VALUE!,1})", u"#N/A"},   // observed errors first
        {u"=Z.TEST({1,2},3,0)", u"#NUM!"},
        {u"=Z.TEST({1,#N/A},#DIV/0!)", u"#DIV/0!"},         // x before the data
        {u"=Z.TEST({\"a\"},1)", u"#N/A"},
        {u"=Z.TEST({5},1,2)", u"#DIV/0!"},
        {u"=PROB({1,2,3},{0.2,0.3,0.5},2)", u"0.3"},
        {u"=PROB({1,2,3},{0.2,0.3,0.5},2,3)", u"0.8"},
        {u"=PROB({1,2,3},{0.2,0.3,0.4},2)", u"#NUM!"},    // probabilities must add to 1
        {u"=PROB({1,2,3},{0.2,-0.3,1.1},2)", u"#NUM!"},
        {u"=PROB({1,2},{0.5,0.5,0},1)", u"#N/A"},
        {u"=PROB({1,2},{\"a\",\"b\"},1)", u"#DIV/0!"},
    });
}

}  // namespace
}  // namespace kes::calc::testing
