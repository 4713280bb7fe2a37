// Bonds paying coupons: their coupon dates (the COUP functions), accrued interest (ACCRINT),
// price, yield and duration.
#include <cmath>

#include "sheet/calc/functions/bond_math.h"

namespace kes::calc {
namespace {

// The coupon functions read settlement, maturity, frequency and basis.
struct CouponArguments {
    Day settlement, maturity;
    int frequency;
    Basis basis;
    CouponPeriod period;
};

CouponArguments couponArguments(Call& call) {
    CouponArguments a{};
    a.settlement = dateArgument(call, 0);
    a.maturity = dateArgument(call, 1);
    a.frequency = frequencyArgument(call, 2);
    a.basis = basisArgument(call, 3);
    if (a.settlement.serial >= a.maturity.serial) fail(ecNUM);
    a.period = couponPeriod(call, a.settlement, a.maturity, a.frequency);
    return a;
}

Value coupDays(Call& call) {
    const CouponArguments a = couponArguments(call);
    return Value::number(couponPeriodDays(a.period, a.frequency, a.basis));
}

Value coupDayBs(Call& call) {
    const CouponArguments a = couponArguments(call);
    return Value::number(daysSinceCoupon(a.period, a.settlement, a.basis));
}

Value coupDaysNc(Call& call) {
    const CouponArguments a = couponArguments(call);
    return Value::number(daysUntilCoupon(a.period, a.settlement, a.frequency, a.basis));
}

Value coupNcd(Call& call) { return Value::number(couponArguments(call).period.next.serial); }
Value coupPcd(Call& call) { return Value::number(couponArguments(call).period.previous.serial); }
Value coupNum(Call& call) { return Value::number(couponArguments(call).period.remaining); }

// ACCRINT: the interest accrued from the issue (or, with calc_method FALSE, from the first
// interest date) to settlement, period by period of the coupon dates the first interest date
// sets, each period's days over that period's length.
Value accrInt(Call& call) {
    const Day issue = dateArgument(call, 0), firstInterest = dateArgument(call, 1), settlement = dateArgument(call, 2);
    const double rate = addInNumber(call, 3), par = addInNumber(call, 4, 1000);
    const int frequency = frequencyArgument(call, 5);
    const Basis basis = basisArgument(call, 6);
    const bool fromIssue = call.isMissing(7) || call.boolean(7);
    if (rate <= 0 || par <= 0 || issue.serial >= settlement.serial) return Value::error(ecNUM);
    const Day start = fromIssue || settlement.serial <= firstInterest.serial ? issue : firstInterest;
    return Value::number(par * rate / frequency *
                         couponFractions(call, firstInterest, start, settlement, frequency, basis));
}

// PRICE, YIELD, DURATION and MDURATION read the bond like this: settlement, maturity, then two
// numbers (the coupon rate and a yield or price), the redemption for PRICE and YIELD, the
// frequency and the basis.
struct BondArguments {
    Bond bond;
    double first, second;
};

BondArguments bondArguments(Call& call, bool withRedemption) {
    BondArguments a{};
    const Day settlement = dateArgument(call, 0), maturity = dateArgument(call, 1);
    a.first = addInNumber(call, 2);
    a.second = addInNumber(call, 3);
    const size_t next = withRedemption ? 5 : 4;
    a.bond.redemption = withRedemption ? addInNumber(call, 4) : 100;
    a.bond.frequency = frequencyArgument(call, next);
    const Basis basis = basisArgument(call, next + 1);
    if (settlement.serial >= maturity.serial || a.first < 0 || a.second < 0 || a.bond.redemption <= 0) fail(ecNUM);
    a.bond.rate = a.first;
    const CouponPeriod period = couponPeriod(call, settlement, maturity, a.bond.frequency);
    const double days = couponPeriodDays(period, a.bond.frequency, basis);
    a.bond.accrued = daysSinceCoupon(period, settlement, basis) / days;
    a.bond.untilNext = daysUntilCoupon(period, settlement, a.bond.frequency, basis) / days;
    a.bond.coupons = period.remaining;
    return a;
}

Value price(Call& call) {
    const BondArguments a = bondArguments(call, true);
    return Value::number(bondPrice(a.bond, a.second));
}

Value yield(Call& call) {
    const BondArguments a = bondArguments(call, true);
    if (a.second <= 0) return Value::error(ecNUM);
    return Value::number(bondYield(a.bond, a.second));
}

Value duration(Call& call) {
    const BondArguments a = bondArguments(call, false);
    return Value::number(bondDuration(a.bond, a.second));
}

Value mDuration(Call& call) {
    const BondArguments a = bondArguments(call, false);
    return Value::number(bondDuration(a.bond, a.second) / (1 + a.second / a.bond.frequency));
}

constexpr FunctionSpec kFunctions[] = {
    {u"COUPDAYS", 3, 4, "VVVV", coupDays, kNoBiffId, kAddIn},
    {u"COUPDAYBS", 3, 4, "VVVV", coupDayBs, kNoBiffId, kAddIn},
    {u"COUPDAYSNC", 3, 4, "VVVV", coupDaysNc, kNoBiffId, kAddIn},
    {u"COUPNCD", 3, 4, "VVVV", coupNcd, kNoBiffId, kAddIn},
    {u"COUPPCD", 3, 4, "VVVV", coupPcd, kNoBiffId, kAddIn},
    {u"COUPNUM", 3, 4, "VVVV", coupNum, kNoBiffId, kAddIn},
    {u"ACCRINT", 6, 8, "VVVVVVVV", accrInt, kNoBiffId, kAddIn},
    {u"PRICE", 6, 7, "VVVVVVV", price, kNoBiffId, kAddIn},
    {u"YIELD", 6, 7, "VVVVVVV", yield, kNoBiffId, kAddIn},
    {u"DURATION", 5, 6, "VVVVVV", duration, kNoBiffId, kAddIn},
    {u"MDURATION", 5, 6, "VVVVVV", mDuration, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> couponBondFunctions() { return kFunctions; }

}  // namespace kes::calc
