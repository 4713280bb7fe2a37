// FORECAST.ETS and its companions: how the timeline is prepared (sorted, equal times
// aggregated, missing steps filled), forecasts of series the model describes exactly, and the
// argument checks.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

class ExponentialSmoothing : public CalcFixture {
protected:
    ExponentialSmoothing() {
        // A season of 4 steps on a rising line, over three years, with the timeline shuffled.
        fill(u"A1", {u"5\t11", u"1\t3", u"2\t6", u"3\t7", u"4\t6", u"6\t14", u"7\t15", u"8\t14", u"9\t19",
                     u"10\t22", u"11\t23", u"12\t22"});
    }
};

TEST_F(ExponentialSmoothing, SeriesTheModelDescribesAreForecastExactly) {
    const struct {
        std::u16string_view formula;
        double expected;
    } cases[] = {
        {u"=FORECAST.ETS(13,B1:B12,A1:A12,4)", 27},
        {u"=FORECAST.ETS(16,B1:B12,A1:A12,4)", 30},
        {u"=FORECAST.ETS(14,B1:B12,A1:A12)", 30},                  // the season of 4 detected
        {u"=FORECAST.ETS(7,{3,5,7,9},{1,2,3,4},0)", 15},           // a straight line
        {u"=FORECAST.ETS(10,{3,3,1,2,3,2,1,3,2,1},{3,7,5,6,7,8,1,3,4,9},4)", 2},   // equal times averaged, 2 filled in
        {u"=FORECAST.ETS.SEASONALITY(B1:B12,A1:A12)", 4},
        {u"=FORECAST.ETS.SEASONALITY({1,5,3,7},{1,2,3,4})", 0},
        {u"=FORECAST.ETS.STAT(B1:B12,A1:A12,8,4)", 1},
        {u"=FORECAST.ETS.STAT(B1:B12,A1:A12,7,4)", 0},
        {u"=FORECAST.ETS.STAT({1,2,4},{0.5,1,1.5},8)", 0.5},
        {u"=FORECAST.ETS.CONFINT(20,B1:B12,A1:A12,0.9,4)", 0},
        {u"=FORECAST.ETS(6,{10,20,40},{1,2,4},0)", 60},             // the missing step on the line
    };
    for (const auto& c : cases) EXPECT_NEAR(number(c.formula), c.expected, 1e-9) << narrow(c.formula);
    EXPECT_GT(number(u"=FORECAST.ETS.CONFINT(5,{1,3,2,5,3,6},{1,2,3,4,5,6},0.95,0)"), 0);
    // Without completion the missing step is 0, and the line no longer fits without error.
    EXPECT_EQ(number(u"=FORECAST.ETS.STAT({10,20,40},{1,2,4},7,0)"), 0);
    EXPECT_GT(number(u"=FORECAST.ETS.STAT({10,20,40},{1,2,4},7,0,0)"), 1);
}

TEST_F(ExponentialSmoothing, BadTimelinesAndOptionsAreRefused) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=FORECAST.ETS(13,B1:B12,A1:A11)", u"#N/A"},
        {u"=FORECAST.ETS(13,B1:B12,A1:A12,4,2)", u"#NUM!"},
        {u"=FORECAST.ETS(13,B1:B12,A1:A12,4,1,8)", u"#NUM!"},
        {u"=FORECAST.ETS(13,B1:B12,A1:A12,-1)", u"#NUM!"},
        {u"=FORECAST.ETS(13,B1:B12,A1:A12,7)", u"#NUM!"},           // two seasons do not fit
        {u"=FORECAST.ETS(0,B1:B12,A1:A12,4)", u"#NUM!"},            // a step before the start
        {u"=FORECAST.ETS(5,{1,2,3},{1,2,10})", u"#NUM!"},           // most steps missing
        {u"=FORECAST.ETS(5,{1,2,3},{1,2,2.7})", u"#NUM!"},          // no common step
        {u"=FORECAST.ETS(5,{1,2},{1,2})", u"#NUM!"},
        {u"=FORECAST.ETS(5,{1,\"x\",3},{1,2,3})", u"#VALUE!"},
        {u"=FORECAST.ETS.CONFINT(20,B1:B12,A1:A12,1)", u"#NUM!"},
        {u"=FORECAST.ETS.STAT(B1:B12,A1:A12,9)", u"#NUM!"},
        {u"=FORECAST.ETS.SEASONALITY(B1:B12,A1:A12,2)", u"#NUM!"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << narrow(c.formula);
}

}  // namespace
}  // namespace kes::calc::testing
