#include "sheet/calc/functions/bond_math.h"

#include <cmath>

namespace kes::calc {
namespace {

// Enough halvings to narrow any bracket of yields to the last bit.
constexpr int kMaxHalvings = 2000;

}  // namespace

double bondPrice(const Bond& bond, double yield) {
    const double coupon = 100 * bond.rate / bond.frequency;
    if (bond.coupons == 1) {
        return (bond.redemption + coupon) / (1 + bond.untilNext * yield / bond.frequency) - coupon * bond.accrued;
    }
    const double v = 1 + yield / bond.frequency;
    double price = bond.redemption / std::pow(v, bond.coupons - 1 + bond.untilNext);
    for (int k = 1; k <= bond.coupons; ++k) price += coupon / std::pow(v, k - 1 + bond.untilNext);
    return price - coupon * bond.accrued;
}

double bondYield(const Bond& bond, double price) {
    if (bond.coupons == 1) {
        const double coupon = bond.rate / bond.frequency;
        const double paid = price / 100 + bond.accrued * coupon;
        return (bond.redemption / 100 + coupon - paid) / paid * bond.frequency / bond.untilNext;
    }
    return yieldForPrice([&](double yield) { return bondPrice(bond, yield); }, price, bond.frequency);
}

double bondDuration(const Bond& bond, double yield) {
    const double coupon = 100 * bond.rate / bond.frequency;
    const double v = 1 + yield / bond.frequency;
    double weighted = 0, total = 0;
    for (int k = 1; k <= bond.coupons; ++k) {
        const double time = k - 1 + bond.untilNext;
        const double flow = (coupon + (k == bond.coupons ? 100 : 0)) / std::pow(v, time);
        weighted += time * flow;
        total += flow;
    }
    return weighted / total / bond.frequency;
}

double yieldForPrice(const std::function<double(double)>& priceAt, double price, int frequency) {
    // Bracket the yield: the price falls from without bound near -frequency to its redemption
    // alone at very high yields.
    double low = 0, high = 1;
    int halvings = 0;
    while (!(priceAt(low) >= price)) {
        low = (low - frequency) / 2;
        if (++halvings > 60) fail(ecNUM);
    }
    while (!(priceAt(high) <= price)) {
        low = high;
        high *= 2;
        if (++halvings > 120) fail(ecNUM);
    }
    for (int i = 0; i < kMaxHalvings; ++i) {
        const double middle = (low + high) / 2;
        if (middle <= low || middle >= high) break;
        (priceAt(middle) > price ? low : high) = middle;
    }
    const double yield = (low + high) / 2;
    if (!std::isfinite(yield)) fail(ecNUM);
    return yield;
}

double periodLength(const Day& start, const Day& end, int frequency, Basis basis) {
    switch (basis) {
    case Basis::Actual: return end.serial - start.serial;
    case Basis::Actual365: return 365.0 / frequency;
    default: return 360.0 / frequency;
    }
}

QuasiPeriod quasiPeriodOf(const Call& call, const Day& anchor, const Day& day, int frequency) {
    const int step = 12 / frequency;
    const bool endOfMonth = isLastDayOfMonth(anchor);
    const int months = (day.date.year - anchor.date.year) * 12 + (day.date.month - anchor.date.month);
    int k = months >= 0 ? months / step : -((-months + step - 1) / step);
    // The guess is within a period of the right one.
    Day start = addMonths(call, anchor, k * step, endOfMonth);
    while (start.serial > day.serial) start = addMonths(call, anchor, --k * step, endOfMonth);
    Day end = addMonths(call, anchor, (k + 1) * step, endOfMonth);
    while (end.serial <= day.serial) {
        start = end;
        end = addMonths(call, anchor, (++k + 1) * step, endOfMonth);
    }
    return {start, end, k};
}

double couponFractions(const Call& call, const Day& anchor, const Day& from, const Day& to, int frequency, Basis basis) {
    if (to.serial < from.serial) return -couponFractions(call, anchor, to, from, frequency, basis);
    const int step = 12 / frequency;
    const bool endOfMonth = isLastDayOfMonth(anchor);
    QuasiPeriod period = quasiPeriodOf(call, anchor, from, frequency);
    double total = 0;
    while (period.start.serial < to.serial) {
        const Day& begin = from.serial > period.start.serial ? from : period.start;
        const Day& finish = to.serial < period.end.serial ? to : period.end;
        total += daysBetween(begin, finish, basis) / periodLength(period.start, period.end, frequency, basis);
        period.start = period.end;
        period.end = addMonths(call, anchor, (++period.index + 1) * step, endOfMonth);
    }
    return total;
}

}  // namespace kes::calc
