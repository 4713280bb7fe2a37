// Financial functions: annuities and their payments, cash flows, depreciation, day counts,
// securities and bonds, checked against the values Excel gives.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

struct NumberCase {
    std::u16string_view formula;
    double expected;
};

struct ShownCase {
    std::u16string_view formula, shown;
};

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }
std::u16string ascii(int number) {
    const std::string digits = std::to_string(number);
    return std::u16string(digits.begin(), digits.end());
}

// Iterative results agree with Excel's to the stopping point of the iteration, not to the last bit.
::testing::AssertionResult near(double actual, double expected) {
    if (std::fabs(actual - expected) <= 1e-9 * std::fabs(expected)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << actual << " is not " << expected;
}

class Financial : public CalcFixture {
protected:
    Financial() {
        // A: cash flows with a text, a boolean and a blank among them; B: an error; C: dates.
        fill(u"A1", {u"-10000\tx\t2008-01-01", u"3000\t=1/0\t2008-03-01", u"abc\t\t2008-10-30", u"TRUE\t\t2009-02-15",
                     u"4200", u"", u"6800"});
    }

    void expectNumbers(std::initializer_list<NumberCase> cases) {
        for (const auto& c : cases) EXPECT_TRUE(closeTo(number(c.formula), c.expected)) << narrow(c.formula);
    }
    void expectNear(std::initializer_list<NumberCase> cases) {
        for (const auto& c : cases) EXPECT_TRUE(near(number(c.formula), c.expected)) << narrow(c.formula);
    }
    void expectShown(std::initializer_list<ShownCase> cases) {
        for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << narrow(c.formula);
    }
};

TEST_F(Financial, AnnuitiesSolveForAnyOfTheirTerms) {
    expectNumbers({
        {u"=FV(0.06/12,10,-200,-500,1)", 2581.4033740601362},
        {u"=FV(0,3,-100,-50)", 350},
        {u"=FV(0.1,3,-100,0,TRUE)", 364.1000000000004},   // any type but 0 pays at the start
        {u"=PV(0.08/12,12*20,500,,0)", -59777.14585118777},
        {u"=PV(0,3,100,50)", -350},
        {u"=PMT(0.08/12,10,10000)", -1037.0320893591636},
        {u"=PMT(0,4,100,\"20\")", -30},
        {u"=NPER(0.12/12,-100,-1000,10000,1)", 59.67386567429462},
        {u"=NPER(0,3,100,23,1)", -41},
    });
    expectNear({
        {u"=RATE(48,-200,8000)", 0.007701472488201368},
        {u"=RATE(48,-200,8000,0,1)", 0.008052981923906556},
        {u"=RATE(2,-200,8000,0,1)", -0.9743589743570107},   // a root far below the guess
        {u"=RATE(300,-200,8000)", 0.024984769422422157},    // slow to converge from 10%
        {u"=RATE(12,-200,8000,0,TRUE)", -0.1678337611998994},
    });
    expectShown({
        {u"=FV(-1,-1,1)", u"#DIV/0!"},   // zero growth to a negative power
        {u"=FV(-3,0.5,1)", u"#NUM!"},    // negative growth to a fractional power
        {u"=PV(-1,20,300)", u"#DIV/0!"},
        {u"=PV(\"str\",2,3)", u"#VALUE!"},
        {u"=FV(1,2,3,4,\"false\")", u"#VALUE!"},   // the type is a number, not a word
        {u"=PMT(2/12,0,4,10000,1)", u"#NUM!"},
        {u"=NPER(1,3,100,12,0)", u"#NUM!"},   // no number of periods gets there
        {u"=NPER(0,0,100)", u"#NUM!"},
        {u"=RATE(10,-1200,2000,0,1)", u"#NUM!"},   // Newton settles below -100%
        {u"=RATE(3300,-200,8000)", u"#NUM!"},      // and here never settles
        {u"=RATE(A3,1,1)", u"#VALUE!"},
        {u"=RATE(B2,1,1)", u"#DIV/0!"},
        {u"=PV(#N/A,1/0,1)", u"#N/A"},   // errors in argument order
    });
}

TEST_F(Financial, PaymentsSplitIntoInterestAndPrincipal) {
    expectNumbers({
        {u"=IPMT(0.1/12,1,36,8000)", -66.66666666666667},
        {u"=IPMT(0.1/12,1,36,8000,0,1)", 0},   // the first payment at the start bears no interest
        {u"=PPMT(0.1/12,1,24,2000)", -75.62318600836666},
        {u"=IPMT(0.1,3,10,1000)+PPMT(0.1,3,10,1000)", -162.74539488251152},
        {u"=PPMT(-0.1,\"3\",\"33\",\"10000\",\"1\")", -835.9133596022948},
        // Payment and interest agree to 16 digits; the principal still comes out whole.
        {u"=PPMT(2,3,33,10000,1)", -3.238280962129199e-11},
        {u"=PPMT(4,3,33,10000,1)", -8.590793585459249e-18},
        {u"=CUMIPMT(0.09/12,30*12,125000,13,24,0)", -11135.232130750835},
        {u"=CUMIPMT(0.09/12,30*12,125000,1,1,0)", -937.5},
        {u"=CUMPRINC(0.09/12,30*12,125000,13,24,0)", -934.1071234208848},
        {u"=CUMPRINC(0.09/12,30*12,125000,1,1,0)", -68.27827118097736},
        {u"=CUMIPMT(3.2,5.5,125000,3,5,1)", -271489.3412240473},
        {u"=ISPMT(0.1/12,1,36,8000000)", -64814.81481481482},
    });
    expectShown({
        {u"=IPMT(0.1,0,10,100)", u"#NUM!"},
        {u"=PPMT(0.1,11,10,100)", u"#NUM!"},
        {u"=CUMIPMT(0,10,100,1,5,0)", u"#NUM!"},
        {u"=CUMIPMT(0.1,10,100,0,5,0)", u"#NUM!"},
        {u"=CUMIPMT(0.1,10,100,6,5,0)", u"#NUM!"},
        {u"=CUMIPMT(0.1,10,100,1,11,0)", u"#NUM!"},
        {u"=CUMIPMT(0.1,10,100,1,5,2)", u"#NUM!"},
        {u"=CUMIPMT(TRUE,10,100,1,5,0)", u"#VALUE!"},   // add-in functions refuse booleans
        {u"=CUMPRINC(0.1,10,A4,1,5,0)", u"#VALUE!"},
        {u"=ISPMT(0.1,1,0,100)", u"#DIV/0!"},
    });
}

TEST_F(Financial, InterestAndPrincipalAddUpToEachPayment) {
    for (const char* type : {"0", "1"}) {
        const std::u16string payment = u"PMT(0.07/12,24,5000,-300," + std::u16string(type, type + 1) + u")";
        const double expected = number(u"=" + payment);
        for (int period = 1; period <= 24; ++period) {
            const std::u16string args = u"0.07/12," + ascii(period) + u",24,5000,-300," + std::u16string(type, type + 1);
            EXPECT_TRUE(closeTo(number(u"=IPMT(" + args + u")+PPMT(" + args + u")"), expected)) << type << " " << period;
        }
        // The principal parts pay off the loan less its future value.
        EXPECT_TRUE(closeTo(number(u"=CUMPRINC(0.07/12,24,5000,1,24," + std::u16string(type, type + 1) + u")"), -5000));
    }
}

TEST_F(Financial, CashFlowsCountNumbersAndSkipOtherCells) {
    expectNumbers({
        {u"=NPV(0.1,-10000,3000,4200,6800)", 1188.4434123352207},
        {u"=NPV(0.1,A1:A7)", 1188.4434123352207},   // text, boolean and blank cells skipped
        {u"=NPV(0.1,A1,\"3000\",TRUE)", -9090.909090909091 + 3000 / 1.21 + 1 / 1.331},
        {u"=MIRR({-120000,39000,30000,21000,37000,46000},0.1,0.12)", 0.1260941303659051},
        {u"=MIRR({-1,-2,-3},0.1,0.1)", -1},
        {u"=XNPV(0.09,{-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904})", 2086.647602031535},
        // A pair whose value is text is left out.
        {u"=XNPV(0.09,{-10000,2750,\"x\",4250},{39448,39508,39600,39751})",
         -10000 + 2750 / std::pow(1.09, 60 / 365.0) + 4250 / std::pow(1.09, 303 / 365.0)},
    });
    expectNear({
        {u"=IRR({-70000,12000,15000,18000,21000,26000})", 0.0866309480363425},
        {u"=IRR({-70000,12000,15000},-10%)", -0.443506941334654},
        {u"=IRR(A1:A7)", 0.163405600688989},
        // From a guess far off, Newton's steps on the discount factor still arrive.
        {u"=IRR({-7,2,1,4,-3,-7,2,-1,4,4},7)", -0.021126011550541612},
        {u"=IRR({-0.1,2,0,4,5},5)", 19.105109618637595},
        {u"=XIRR({-100,50},{1,366})", -0.5},   // no bracket above 0: Newton finds it
        {u"=XIRR({-100,50},{1,366},-0.3)", -0.5},   // halving -0.3 moves away from it
    });
    // XIRR brackets the rate by doubling or halving the guess and bisects the bracket to 1e-8,
    // taking its lower end: Excel's digits, guess by guess.
    expectNumbers({
        {u"=XIRR({-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904})", 0.37336252927780145},
        {u"=XIRR({-10,1,5,0.0001,4.5},{1,99,55,4,9})", 0.5993197500705721},
        {u"=XIRR({-10,1,5,0.0001,4.5},{1,99,55,4,9},1)", 0.5993197485804558},
        {u"=XIRR({-10,1,5,0.0001,4.5},{1,99,55,4,9},4)", 0.5993197485804558},
        {u"=XIRR({-10,1,5,0.0001,4.5},{1,99,55,4,9},32015)", 0.5993197540431083},
    });
    expectShown({
        {u"=NPV(0.1,A1:B3)", u"#DIV/0!"},   // an error in the range is the result
        {u"=NPV(-1,1,2)", u"#DIV/0!"},
        {u"=NPV(0.1,\"x\")", u"#VALUE!"},
        {u"=IRR(A1:B2)", u"#VALUE!"},   // IRR makes any error in its values #VALUE!
        {u"=IRR({1,2,3})", u"#NUM!"},   // no sign change
        {u"=IRR({7,2,-1,4,-3,7,2,-1,4,4},3)", u"#NUM!"},
        {u"=MIRR({1,2,3},0.1,0.1)", u"#DIV/0!"},
        {u"=XNPV(0,{-1,2},{1,2})", u"#NUM!"},
        {u"=XNPV(TRUE,{-1,2},{1,2})", u"#VALUE!"},
        {u"=XIRR({-1,2},{5,2})", u"#NUM!"},   // a date before the first
        {u"=XIRR({-1,2,3},{5,6})", u"#VALUE!"},
        {u"=XIRR({-1,TRUE},{5,6})", u"#VALUE!"},
        {u"=XIRR({-1,#N/A},{5,#REF!})", u"#REF!"},   // the dates' errors come first
        {u"=XIRR({1,2},{1,2})", u"#NUM!"},
        {u"=XIRR({-10,1,5,0.0001,4.5},{1,99,55,4,9},-0.1)", u"#NUM!"},   // doubling runs below -100%
    });
}

TEST_F(Financial, DepreciationSchedules) {
    expectNumbers({
        {u"=SLN(30000,7500,10)", 2250},
        {u"=SYD(30000,7500,10,1)", 4090.909090909091},
        {u"=DB(1000000,100000,6,1,7)", 186083.33333333334},
        {u"=DB(1000000,100000,6,2,7)", 259639.41666666666},
        {u"=DB(1000000,100000,6,7,7)", 15845.098473848082},   // the months left after the last year
        {u"=DB(10000,1000,5,1,3)", 922.5},
        {u"=DDB(2400,300,10*365,1)", 1.3150684931506476},
        {u"=DDB(2400,300,10,2,1.5)", 306.0000000000002},
        {u"=DDB(2400,300,10,10)", 22.122547200000156},   // stops at the salvage value
        {u"=VDB(2400,300,10*12,6,18)", 396.30605326475074},
        {u"=VDB(2400,300,10*12,6,18,1.5)", 311.8089366582342},
        {u"=VDB(2400,300,10,0,0.875,1.5)", 315},   // part of a period counts its part
        // Without a salvage the declining balance never ends; straight line takes over in year 7.
        {u"=VDB(2400,0,10,6,10)", 629.1456},
        {u"=VDB(2400,0,10,9,10)", 157.2864},
        {u"=VDB(2400,0,10,9,10,2,TRUE)", 64.42450944},
        {u"=AMORDEGRC(2400,39679,39813,300,1,0.15,1)", 776},
        {u"=AMORLINC(2400,39679,39813,300,1,0.15,1)", 360},
        {u"=AMORLINC(2400,39679,39813,300,0,0.15,1)", 131.8032786885246},
    });
    expectShown({
        {u"=SLN(1,0,0)", u"#DIV/0!"},
        {u"=SYD(1,0,5,6)", u"#NUM!"},
        {u"=DB(1000,100,5,6)", u"#NUM!"},   // a sixth year only when the first was partial
        {u"=DB(1000,100,5,1,13)", u"#NUM!"},
        {u"=DDB(2400,300,10,11)", u"#NUM!"},
        {u"=VDB(2400,300,10,5,4)", u"#NUM!"},
        {u"=AMORDEGRC(2400,39679,39813,300,1,0.45,1)", u"#NUM!"},   // a life of 2.2 years
        {u"=AMORLINC(2400,39679,39813,300,1,0.15,2)", u"#NUM!"},    // actual/360 is no basis here
        {u"=AMORLINC(2400,39813,39679,300,1,0.15,1)", u"#NUM!"},
    });
}

TEST_F(Financial, DayCountBases) {
    expectNumbers({
        {u"=YEARFRAC(39508,39691,0)", 0.5},
        {u"=YEARFRAC(39508,39691,1)", 0.5},   // 183 days of leap 2008
        {u"=YEARFRAC(39508,39691,2)", 0.5083333333333333},
        {u"=YEARFRAC(39508,39691,3)", 0.5013698630136987},
        {u"=YEARFRAC(39508,39691,4)", 0.49722222222222223},
        {u"=YEARFRAC(46179,46084,0)", 0.25833333333333336},   // dates in either order
        {u"=YEARFRAC(34824,46179,1)", 31.08829568788501},     // the average year of 1995..2026
        {u"=YEARFRAC(44988,45350,1)", 0.9917808219178083},    // within a year, no 29 February
        {u"=YEARFRAC(44594,45351,1)", 2.0720802919708032},
        {u"=YEARFRAC(DATE(2023,2,28),DATE(2023,3,31),0)", 31 / 360.0},   // Feb 28 is a month end
        {u"=YEARFRAC(DATE(2024,2,28),DATE(2024,3,31),0)", 33 / 360.0},   // but not in a leap year
        {u"=YEARFRAC(DATE(2008,1,29),DATE(2008,3,31),0)", 62 / 360.0},   // a 31st after a 29th stays
        {u"=YEARFRAC(DATE(2008,1,29),DATE(2008,3,31),4)", 61 / 360.0},
        {u"=YEARFRAC(DATE(2007,3,1),DATE(2008,2,29),1)", 365 / 366.0},   // ends on the 29th
        {u"=YEARFRAC(DATE(2008,3,1),DATE(2009,3,1),1)", 1},               // after it: 365 days
        {u"=YEARFRAC(36015,45386,2)", 26.030555555555555},
        {u"=YEARFRAC(E27,345,\"3\")", 345 / 365.0},
        {u"=DAYS360(DATE(2011,1,30),DATE(2011,2,1))", 1},
        {u"=DAYS360(DATE(2011,2,28),DATE(2011,3,31))", 30},
        {u"=DAYS360(DATE(2011,1,15),DATE(2011,3,31))", 76},
        {u"=DAYS360(DATE(2011,1,31),DATE(2011,3,31),TRUE)", 60},
        {u"=DAYS360(DATE(2011,1,15),DATE(2011,3,31),TRUE)", 75},
    });
    expectShown({
        {u"=YEARFRAC(TRUE,345)", u"#VALUE!"},
        {u"=YEARFRAC(1,345,TRUE)", u"#VALUE!"},
        {u"=YEARFRAC(1,345,5)", u"#NUM!"},
        {u"=YEARFRAC(-1,345)", u"#NUM!"},
        {u"=YEARFRAC(#VALUE!,345,#N/A)", u"#N/A"},   // the basis is read first
    });
}

TEST_F(Financial, CouponDatesStepBackFromMaturity) {
    expectNumbers({
        {u"=COUPDAYBS(DATE(2011,1,25),DATE(2011,11,15),2,1)", 71},
        {u"=COUPDAYS(DATE(2011,1,25),DATE(2011,11,15),2,1)", 181},
        {u"=COUPDAYSNC(DATE(2011,1,25),DATE(2011,11,15),2,1)", 110},
        {u"=COUPNCD(DATE(2011,1,25),DATE(2011,11,15),2,1)", 40678},
        {u"=COUPPCD(DATE(2011,1,25),DATE(2011,11,15),2,1)", 40497},
        {u"=COUPNUM(DATE(2007,1,25),DATE(2008,11,15),2,1)", 4},
        {u"=COUPDAYS(DATE(2020,1,1),DATE(2024,3,17),2,3)", 182.5},
        {u"=COUPDAYBS(DATE(2020,1,1),DATE(2024,3,17),1,0)", 284},
        {u"=COUPDAYBS(DATE(2020,1,1),DATE(2024,3,17),1,1)", 290},
        {u"=COUPDAYSNC(DATE(2020,1,1),DATE(2021,1,1),1,2)", 366},
    });
    expectShown({
        // A maturity at a month's end keeps every coupon at one; otherwise on its day.
        {u"=COUPNCD(DATE(2011,3,5),DATE(2011,11,30),4,0)=DATE(2011,5,31)", u"TRUE"},
        {u"=COUPNCD(DATE(2011,3,5),DATE(2011,11,29),4,0)=DATE(2011,5,29)", u"TRUE"},
        {u"=COUPPCD(DATE(2011,3,5),DATE(2011,8,31),2,0)=DATE(2011,2,28)", u"TRUE"},
        {u"=COUPNUM(DATE(2011,1,25),DATE(2011,1,25),2)", u"#NUM!"},
        {u"=COUPNUM(DATE(2011,1,25),DATE(2012,1,25),3)", u"#NUM!"},
        {u"=COUPNUM(DATE(2011,1,25),DATE(2012,1,25),2,5)", u"#NUM!"},
    });
}

TEST_F(Financial, SecuritiesPriceYieldAndAccruedInterest) {
    expectNumbers({
        {u"=ACCRINT(39508,39691,39569,0.1,1000,2,0)", 16.666666666666664},
        {u"=ACCRINT(DATE(2008,3,5),39691,39569,0.1,1000,2,0,FALSE)", 15.555555555555555},
        {u"=ACCRINT(DATE(2020,1,1),DATE(2020,7,1),DATE(2020,3,1),0.1,1000,2,1)", 16.483516483516482},
        {u"=ACCRINT(DATE(2008,2,29),DATE(2008,8,31),DATE(2008,5,1),0.1,1000,2,0)", 16.944444444444446},
        {u"=ACCRINTM(DATE(2008,4,1),DATE(2008,6,15),0.1,1000,3)", 20.54794520547945},
        {u"=ACCRINTM(DATE(2023,2,28),DATE(2023,6,15),0.1,,0)", 29.166666666666668},   // par 1000
        {u"=DISC(39472,39614,97.975,100,1)", 0.05219366197183125},
        {u"=PRICEDISC(DATE(2008,2,16),DATE(2008,3,1),0.0525,100,2)", 99.79583333333333},
        {u"=YIELDDISC(DATE(2008,2,16),DATE(2008,3,1),99.795,100,2)", 0.052822571986860085},
        {u"=INTRATE(DATE(2008,2,15),DATE(2008,5,15),1000000,1014420,2)", 0.0576800000000004},
        {u"=RECEIVED(DATE(2008,2,15),DATE(2008,5,15),1000000,0.0575,2)", 1014584.6544071021},
        {u"=PRICEMAT(DATE(2008,2,15),DATE(2008,4,13),DATE(2007,11,11),0.061,0.061,0)", 99.98449887555694},
        {u"=YIELDMAT(DATE(2008,3,15),DATE(2008,11,3),DATE(2007,11,8),0.0625,100.0123,0)", 0.06095433369153868},
        {u"=TBILLPRICE(DATE(2008,3,31),DATE(2008,6,1),0.09)", 98.45},
        {u"=TBILLYIELD(DATE(2008,3,31),DATE(2008,6,1),98.45)", 0.09141696292534264},
        {u"=TBILLEQ(DATE(2008,3,31),DATE(2008,6,1),0.0914)", 0.09415149356594302},
        {u"=TBILLEQ(DATE(2008,3,31),DATE(2008,12,1),0.0914)", 0.09760103292448241},   // compounds once
    });
    expectShown({
        {u"=ACCRINT(DATE(2008,5,1),DATE(2008,9,1),DATE(2008,5,1),0.1,1000,2)", u"#NUM!"},
        {u"=ACCRINT(39508,39691,39569,0,1000,2)", u"#NUM!"},
        {u"=ACCRINTM(39614,39539,0.1,1000)", u"#NUM!"},
        {u"=DISC(39614,39472,97.975,100)", u"#NUM!"},
        {u"=DISC(39472,39614,0,100)", u"#NUM!"},
        {u"=PRICEDISC(39472,39614,TRUE,100)", u"#VALUE!"},
        {u"=TBILLPRICE(DATE(2008,3,31),DATE(2009,4,1),0.09)", u"#NUM!"},   // over a year
        {u"=TBILLYIELD(DATE(2008,3,31),DATE(2008,6,1),0)", u"#NUM!"},
    });
}

TEST_F(Financial, BondsWithRegularAndOddPeriods) {
    expectNumbers({
        {u"=PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.065,100,2,0)", 94.63436162132213},
        {u"=YIELD(DATE(2008,2,15),DATE(2016,11,15),0.0575,95.04287,100,2,0)", 0.0650000068807548},
        {u"=YIELD(DATE(2008,2,15),DATE(2017,11,15),0.0575,PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.03,100,2),100,2)",
         0.03},
        {u"=YIELD(DATE(2008,2,15),DATE(2008,5,15),0.0575,99,100,2)", 0.09707529558182963},   // one coupon left
        {u"=DURATION(DATE(2018,7,1),DATE(2048,1,1),0.08,0.09,2,1)", 10.919145281591925},
        {u"=MDURATION(DATE(2008,1,1),DATE(2016,1,1),0.08,0.09,2,1)", 5.735669813918838},
        {u"=ODDFPRICE(DATE(2008,11,11),DATE(2021,3,1),DATE(2008,10,15),DATE(2009,3,1),0.0785,0.0625,100,2,1)",
         113.59771747407883},
        {u"=ODDFYIELD(DATE(2008,11,11),DATE(2021,3,1),DATE(2008,10,15),DATE(2009,3,1),0.0575,84.5,100,2,0)",
         0.07724554159781749},
        {u"=ODDLPRICE(DATE(2008,2,7),DATE(2008,6,15),DATE(2007,10,15),0.0375,0.0405,100,2,0)", 99.87828601472134},
        {u"=ODDLYIELD(DATE(2008,4,20),DATE(2008,6,15),DATE(2007,12,24),0.0375,99.875,100,2,0)", 0.04519223562916916},
    });
    expectShown({
        {u"=PRICE(DATE(2008,2,15),DATE(2017,11,15),-0.01,0.065,100,2)", u"#NUM!"},
        {u"=PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.065,0,2)", u"#NUM!"},
        {u"=YIELD(DATE(2008,2,15),DATE(2017,11,15),0.0575,0,100,2)", u"#NUM!"},
        {u"=ODDFPRICE(DATE(2008,11,11),DATE(2021,3,1),DATE(2008,12,15),DATE(2009,3,1),0.0785,0.0625,100,2)", u"#NUM!"},
        {u"=ODDLPRICE(DATE(2007,2,7),DATE(2008,6,15),DATE(2007,10,15),0.0375,0.0405,100,2)", u"#NUM!"},
    });
}

TEST_F(Financial, CompoundingAndFractionalDollars) {
    expectNumbers({
        {u"=EFFECT(0.0525,4)", 0.05354266737075819},
        {u"=EFFECT(0.0525,4.9)", 0.05354266737075819},   // periods truncated
        {u"=NOMINAL(0.053543,4)", 0.052500319868356016},
        {u"=FVSCHEDULE(1,{0.09,0.11,0.1})", 1.3308900000000004},
        {u"=FVSCHEDULE(1000,B6:B7)", 1000},   // blank cells are 0%
        {u"=FVSCHEDULE(1000,-1.5)", -500},
        {u"=PDURATION(0.025,2000,2200)", 3.8598661626226414},
        {u"=PDURATION(0.025,\"100\",\"200\")", 28.071034525938728},
        {u"=RRI(96,10000,11000)", 0.0009933073762913303},
        {u"=DOLLARDE(1.02,16)", 1.125},
        {u"=DOLLARDE(1.1,8)", 1.125},
        {u"=DOLLARFR(1.125,16)", 1.02},
        {u"=DOLLARFR(-1.125,16)", -1.02},
    });
    expectShown({
        {u"=EFFECT(0,4)", u"#NUM!"},
        {u"=NOMINAL(0.05,0.5)", u"#NUM!"},
        {u"=FVSCHEDULE(100,{0.1,\"a\"})", u"#VALUE!"},
        {u"=FVSCHEDULE(100,B1:B2)", u"#VALUE!"},
        {u"=PDURATION(0,1,2)", u"#NUM!"},
        {u"=RRI(0,1,2)", u"#NUM!"},
        {u"=RRI(2,-1,4)", u"#NUM!"},
        {u"=DOLLARDE(1.02,0)", u"#DIV/0!"},
        {u"=DOLLARDE(1.02,-1)", u"#NUM!"},
        {u"=DOLLARFR(TRUE,16)", u"#VALUE!"},
    });
}

TEST_F(Financial, HugeArgumentsEndInAResultOrAnError) {
    expectNumbers({
        {u"=NPER(1E-300,1,1)", -1},   // a rate too small for log(1 + rate) to see
        {u"=COUPNUM(1,2958465,4)", 32400},
        {u"=IRR({1E308,-1E308})", 0},
        {u"=AMORDEGRC(1E300,1,2,0,1E9,0.15)", 0},   // the amounts round away long before
    });
    expectShown({
        {u"=VDB(1,0,1E9,0,1E9)", u"#NUM!"},   // more periods than any asset has
        {u"=CUMIPMT(0.1,1E15,100,1,1E15,0)", u"#NUM!"},
        {u"=RATE(1E300,-1,1)", u"#NUM!"},
        {u"=SYD(1,0,1E308,1)", u"#NUM!"},
        {u"=PRICE(1,DATE(9999,6,15),0.05,0.05,100,1)", u"#NUM!"},   // a coupon before the calendar
    });
}

TEST_F(Financial, ArgumentsLiftOverArraysAndCountInTheWorkbooksDateSystem) {
    // A value argument given an array runs once for each element.
    EXPECT_TRUE(closeTo(number(u"=SUM(PV({0,0.1},3,22))"), -66 - 54.710743801652896));
    FormatSettings settings = book.settings();
    settings.date1904 = true;
    book.setSettings(settings);
    // The same calendar dates are 1462 days smaller in the 1904 system.
    EXPECT_TRUE(closeTo(number(u"=YEARFRAC(DATE(2008,3,1),DATE(2008,8,31),1)"), 0.5));
    EXPECT_TRUE(closeTo(number(u"=COUPNCD(DATE(2011,1,25),DATE(2011,11,15),2,1)"), 40678 - 1462));
}

}  // namespace
}  // namespace kes::calc::testing
