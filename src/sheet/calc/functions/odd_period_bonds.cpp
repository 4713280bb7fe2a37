// Bonds with an odd first or last coupon period: ODDFPRICE, ODDFYIELD, ODDLPRICE, ODDLYIELD.
// The odd period is counted in the regular periods ("quasi-coupon" periods) the coupon dates
// around it would make.
#include <cmath>

#include "sheet/calc/functions/bond_math.h"

namespace kes::calc {
namespace {

// A bond whose first coupon comes after an odd period from its issue.
struct OddFirst {
    double coupon;         // a regular coupon, per 100
    double redemption;
    int frequency;
    int regularCoupons;    // coupons after the first one
    double firstCoupon;    // the odd first coupon in regular coupons
    double accrued;        // interest accrued by settlement, in regular coupons
    double wholePeriods;   // regular periods from the period settlement falls in to the first coupon
    double untilNext;      // the part of that period left after settlement
};

double oddFirstPrice(const OddFirst& b, double yield) {
    const double v = 1 + yield / b.frequency;
    const double lead = b.wholePeriods + b.untilNext;
    double price = b.redemption / std::pow(v, b.regularCoupons + lead) + b.coupon * b.firstCoupon / std::pow(v, lead);
    for (int k = 1; k <= b.regularCoupons; ++k) price += b.coupon / std::pow(v, k + lead);
    return price - b.coupon * b.accrued;
}

// ODDFPRICE and ODDFYIELD read settlement, maturity, issue, first coupon, rate, the yield or
// price, redemption, frequency and basis.
OddFirst oddFirstArguments(Call& call, double& yieldOrPrice) {
    const Day settlement = dateArgument(call, 0), maturity = dateArgument(call, 1);
    const Day issue = dateArgument(call, 2), first = dateArgument(call, 3);
    const double rate = addInNumber(call, 4);
    yieldOrPrice = addInNumber(call, 5);
    const double redemption = addInNumber(call, 6);
    const int frequency = frequencyArgument(call, 7);
    const Basis basis = basisArgument(call, 8);
    if (!(issue.serial < settlement.serial && settlement.serial < first.serial && first.serial < maturity.serial)) {
        fail(ecNUM);
    }
    if (rate < 0 || yieldOrPrice < 0 || redemption <= 0) fail(ecNUM);
    OddFirst b{};
    b.coupon = 100 * rate / frequency;
    b.redemption = redemption;
    b.frequency = frequency;
    b.regularCoupons = couponPeriod(call, first, maturity, frequency).remaining;
    b.firstCoupon = couponFractions(call, first, issue, first, frequency, basis);
    b.accrued = couponFractions(call, first, issue, settlement, frequency, basis);
    const QuasiPeriod period = quasiPeriodOf(call, first, settlement, frequency);
    b.wholePeriods = -1 - period.index;
    b.untilNext = daysBetween(settlement, period.end, basis) / periodLength(period.start, period.end, frequency, basis);
    return b;
}

Value oddFPrice(Call& call) {
    double yield = 0;
    const OddFirst b = oddFirstArguments(call, yield);
    return Value::number(oddFirstPrice(b, yield));
}

Value oddFYield(Call& call) {
    double price = 0;
    const OddFirst b = oddFirstArguments(call, price);
    if (price <= 0) return Value::error(ecNUM);
    return Value::number(yieldForPrice([&](double yield) { return oddFirstPrice(b, yield); }, price, b.frequency));
}

// A bond whose last period, from its last coupon to maturity, is odd: all of it is paid at
// maturity, discounted with simple interest.
struct OddLast {
    double coupon, redemption;
    int frequency;
    double lastCoupon;    // the odd last coupon, in regular coupons
    double accrued;       // interest accrued since the last coupon by settlement
    double remaining;     // the regular periods from settlement to maturity
};

// ODDLPRICE and ODDLYIELD read settlement, maturity, last interest date, rate, the yield or
// price, redemption, frequency and basis.
OddLast oddLastArguments(Call& call, double& yieldOrPrice) {
    const Day settlement = dateArgument(call, 0), maturity = dateArgument(call, 1), last = dateArgument(call, 2);
    const double rate = addInNumber(call, 3);
    yieldOrPrice = addInNumber(call, 4);
    const double redemption = addInNumber(call, 5);
    const int frequency = frequencyArgument(call, 6);
    const Basis basis = basisArgument(call, 7);
    if (!(last.serial < settlement.serial && settlement.serial < maturity.serial)) fail(ecNUM);
    if (rate < 0 || yieldOrPrice < 0 || redemption <= 0) fail(ecNUM);
    return {100 * rate / frequency,
            redemption,
            frequency,
            couponFractions(call, last, last, maturity, frequency, basis),
            couponFractions(call, last, last, settlement, frequency, basis),
            couponFractions(call, last, settlement, maturity, frequency, basis)};
}

Value oddLPrice(Call& call) {
    double yield = 0;
    const OddLast b = oddLastArguments(call, yield);
    return Value::number((b.redemption + b.coupon * b.lastCoupon) / (1 + b.remaining * yield / b.frequency) -
                         b.coupon * b.accrued);
}

Value oddLYield(Call& call) {
    double price = 0;
    const OddLast b = oddLastArguments(call, price);
    if (price <= 0) return Value::error(ecNUM);
    const double paid = price + b.coupon * b.accrued;
    return Value::number((b.redemption + b.coupon * b.lastCoupon - paid) / paid * b.frequency / b.remaining);
}

constexpr FunctionSpec kFunctions[] = {
    {u"ODDFPRICE", 8, 9, "VVVVVVVVV", oddFPrice, kNoBiffId, kAddIn},
    {u"ODDFYIELD", 8, 9, "VVVVVVVVV", oddFYield, kNoBiffId, kAddIn},
    {u"ODDLPRICE", 7, 8, "VVVVVVVV", oddLPrice, kNoBiffId, kAddIn},
    {u"ODDLYIELD", 7, 8, "VVVVVVVV", oddLYield, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> oddPeriodBondFunctions() { return kFunctions; }

}  // namespace kes::calc
