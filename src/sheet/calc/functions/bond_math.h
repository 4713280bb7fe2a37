#pragma once
// The arithmetic of coupon bonds that PRICE, YIELD, DURATION and the odd-period functions share:
// discounting coupons, solving a price for its yield, and counting interest period by period.
#include <functional>

#include "sheet/calc/functions/day_count.h"

namespace kes::calc {

// A bond seen from its settlement date, per 100 of face value.
struct Bond {
    double rate = 0;         // coupon rate a year
    double redemption = 100;
    int frequency = 1;
    int coupons = 0;         // coupons still to be paid
    double accrued = 0;      // the part of the current period gone before settlement
    double untilNext = 0;    // the part of it from settlement to the next coupon
};

double bondPrice(const Bond& bond, double yield);
// The yield at which the bond costs `price`; #NUM! when none does.
double bondYield(const Bond& bond, double price);
// Macaulay duration, in years.
double bondDuration(const Bond& bond, double yield);

// The yield at which a price that falls as the yield rises equals `price`, searched between a
// yield of -frequency (where the price grows without bound) and any positive one; #NUM! when
// there is none.
double yieldForPrice(const std::function<double(double)>& priceAt, double price, int frequency);

// How many coupons' worth of interest accrues from `from` to `to`, on the coupon dates that
// `anchor` sets (every 12/frequency months from it, on month ends if it is one): in each period
// the days counted over the period's length. Negative when `to` comes first.
double couponFractions(const Call& call, const Day& anchor, const Day& from, const Day& to, int frequency, Basis basis);

// The coupon period on the dates `anchor` sets that holds `day` (its start on or before it).
struct QuasiPeriod {
    Day start, end;
    int index;   // periods from the anchor to the start, negative before it
};
QuasiPeriod quasiPeriodOf(const Call& call, const Day& anchor, const Day& day, int frequency);
// The days of a coupon period in a basis: its actual length for actual/actual, otherwise a
// year of the basis over the frequency.
double periodLength(const Day& start, const Day& end, int frequency, Basis basis);

}  // namespace kes::calc
