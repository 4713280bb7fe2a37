#pragma once
// Day counts of the securities functions: the five bases Excel's add-in knows (US 30/360,
// actual/actual, actual/360, actual/365, European 30/360), year fractions as YEARFRAC counts
// them, and the coupon dates a bond pays on, counted back from its maturity.
#include <cstdint>

#include "sheet/calc/functions/finance_support.h"

namespace kes::calc {

enum class Basis : uint8_t { Us30360 = 0, Actual = 1, Actual360 = 2, Actual365 = 3, European30360 = 4 };

// A day as both its serial (in the workbook's date system) and its calendar date.
struct Day {
    double serial = 0;
    YearMonthDay date{};
};

// The day of a serial, truncated to whole days; #NUM! outside the calendar.
Day dayOf(const Call& call, double serial);
// A date argument of an add-in function.
Day dateArgument(Call& call, size_t index);
// The basis argument: 0 when left out, truncated, #NUM! outside 0..4.
Basis basisArgument(Call& call, size_t index);
// Coupons a year: 1, 2 or 4 (truncated); anything else is #NUM!.
int frequencyArgument(Call& call, size_t index);

// The day `months` months after `from` (before it when negative): on the same day of the month,
// or on the month's last day when it is shorter or when `endOfMonth` asks for it.
Day addMonths(const Call& call, const Day& from, int months, bool endOfMonth);
bool isLastDayOfMonth(const Day& day);

// The days from one date to another as the basis counts them: 30/360 bases count every month
// as 30 days, the others count calendar days.
double daysBetween(const Day& from, const Day& to, Basis basis);
// The years between two dates, from <= to, as the basis counts them: YEARFRAC.
double yearFraction(const Day& from, const Day& to, Basis basis);

// The coupon period a settlement date falls in: the last coupon date on or before it, the next
// one after it, and how many coupons remain until maturity (the next one included).
struct CouponPeriod {
    Day previous;
    Day next;
    int remaining = 0;
};
// Coupon dates step back from maturity by 12/frequency months, keeping to month ends when the
// maturity is one. The settlement comes before the maturity.
CouponPeriod couponPeriod(const Call& call, const Day& settlement, const Day& maturity, int frequency);
// COUPDAYS, COUPDAYBS and COUPDAYSNC: the days of the period, from its start to settlement, and
// from settlement to the next coupon.
double couponPeriodDays(const CouponPeriod& period, int frequency, Basis basis);
double daysSinceCoupon(const CouponPeriod& period, const Day& settlement, Basis basis);
double daysUntilCoupon(const CouponPeriod& period, const Day& settlement, int frequency, Basis basis);

}  // namespace kes::calc
