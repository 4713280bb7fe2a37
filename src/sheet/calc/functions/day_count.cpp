// Day counts and coupon dates, with YEARFRAC and DAYS360.
#include "sheet/calc/functions/day_count.h"

#include <cmath>

#include "sheet/calc/functions/date_support.h"

namespace kes::calc {
namespace {

bool isLastDayOfFebruary(const YearMonthDay& d) { return d.month == 2 && d.day == daysInMonth(d.year, 2); }

double thirty360(const YearMonthDay& a, int dayA, const YearMonthDay& b, int dayB) {
    return double(b.year - a.year) * 360 + double(b.month - a.month) * 30 + double(dayB - dayA);
}

// US (NASD) 30/360 as YEARFRAC and the coupon functions count it: the 31st counts as the 30th,
// and so does the last day of February at the start, or at both ends when both are.
double us30360(const YearMonthDay& a, const YearMonthDay& b) {
    int dayA = a.day, dayB = b.day;
    if (dayA == 31 && dayB == 31) {
        dayA = dayB = 30;
    } else if (dayA == 31) {
        dayA = 30;
    } else if (dayA == 30 && dayB == 31) {
        dayB = 30;
    } else if (isLastDayOfFebruary(a) && isLastDayOfFebruary(b)) {
        dayA = dayB = 30;
    } else if (isLastDayOfFebruary(a)) {
        dayA = 30;
    }
    return thirty360(a, dayA, b, dayB);
}

double european30360(const YearMonthDay& a, const YearMonthDay& b) {
    return thirty360(a, std::min(a.day, 30), b, std::min(b.day, 30));
}

// DAYS360's US method: a start on a month's last day counts as the 30th; an end on the 31st
// counts as the 30th only when the start is the 30th or later.
double days360Us(const YearMonthDay& a, const YearMonthDay& b) {
    int dayA = a.day, dayB = b.day;
    if (dayA == 31 || isLastDayOfFebruary(a)) dayA = 30;
    if (dayB == 31 && dayA == 30) dayB = 30;
    return thirty360(a, dayA, b, dayB);
}

bool before(const YearMonthDay& a, int month, int day) { return a.month < month || (a.month == month && a.day < day); }

// Actual/actual as YEARFRAC counts it: within a year, over 366 days when a 29 February lies in
// the span; over more years, over the average length of the years the span touches.
double actualYears(const Day& from, const Day& to) {
    const YearMonthDay& a = from.date;
    const YearMonthDay& b = to.date;
    const double days = to.serial - from.serial;
    const bool withinAYear = a.year == b.year ||
                             (b.year == a.year + 1 && (a.month > b.month || (a.month == b.month && a.day >= b.day)));
    if (withinAYear) {
        bool leapDay = false;
        if (a.year == b.year) {
            leapDay = isLeapYear(a.year);
        } else {
            leapDay = (isLeapYear(a.year) && before(a, 3, 1)) || (isLeapYear(b.year) && !before(b, 3, 1)) ||
                      (b.month == 2 && b.day == 29);
        }
        return days / (leapDay ? 366.0 : 365.0);
    }
    double yearDays = 0;
    for (int year = a.year; year <= b.year; ++year) yearDays += isLeapYear(year) ? 366 : 365;
    return days / (yearDays / double(b.year - a.year + 1));
}

// The basis is read first: its error comes before those of the dates.
Value yearFrac(Call& call) {
    const Basis basis = basisArgument(call, 2);
    Day start = dateArgument(call, 0), end = dateArgument(call, 1);
    if (start.serial > end.serial) std::swap(start, end);
    return Value::number(yearFraction(start, end, basis));
}

Value days360(Call& call) {
    const Day start = dayOf(call, call.number(0)), end = dayOf(call, call.number(1));
    const bool european = call.boolean(2, false);
    return Value::number(european ? european30360(start.date, end.date) : days360Us(start.date, end.date));
}

constexpr FunctionSpec kFunctions[] = {
    {u"YEARFRAC", 2, 3, "VVV", yearFrac, kNoBiffId, kAddIn},
    {u"DAYS360", 2, 3, "VVV", days360, 220},
};

}  // namespace

Day dayOf(const Call& call, double serial) {
    const double whole = std::trunc(serial);
    return {whole, dateOf(call, whole)};
}

Day dateArgument(Call& call, size_t index) { return dayOf(call, addInNumber(call, index)); }

Basis basisArgument(Call& call, size_t index) {
    const int64_t basis = addInInteger(call, index, 0);
    if (basis < 0 || basis > 4) fail(ecNUM);
    return Basis(basis);
}

int frequencyArgument(Call& call, size_t index) {
    const int64_t frequency = addInInteger(call, index);
    if (frequency != 1 && frequency != 2 && frequency != 4) fail(ecNUM);
    return int(frequency);
}

bool isLastDayOfMonth(const Day& day) { return day.date.day == daysInMonth(day.date.year, day.date.month); }

Day addMonths(const Call& call, const Day& from, int months, bool endOfMonth) {
    const int index = from.date.year * 12 + (from.date.month - 1) + months;
    const int year = index / 12, month = index % 12 + 1;
    if (year < 1 || year > 9999) fail(ecNUM);
    const int last = daysInMonth(year, month);
    const int day = endOfMonth ? last : std::min(from.date.day, last);
    return {calendarSerial(call, year, month, day), {year, month, day}};
}

double daysBetween(const Day& from, const Day& to, Basis basis) {
    switch (basis) {
    case Basis::Us30360: return us30360(from.date, to.date);
    case Basis::European30360: return european30360(from.date, to.date);
    default: return to.serial - from.serial;
    }
}

double yearFraction(const Day& from, const Day& to, Basis basis) {
    switch (basis) {
    case Basis::Us30360: return us30360(from.date, to.date) / 360;
    case Basis::Actual: return actualYears(from, to);
    case Basis::Actual360: return (to.serial - from.serial) / 360;
    case Basis::Actual365: return (to.serial - from.serial) / 365;
    case Basis::European30360: return european30360(from.date, to.date) / 360;
    }
    return 0;
}

CouponPeriod couponPeriod(const Call& call, const Day& settlement, const Day& maturity, int frequency) {
    const int step = 12 / frequency;
    const bool endOfMonth = isLastDayOfMonth(maturity);
    const int months = (maturity.date.year - settlement.date.year) * 12 + (maturity.date.month - settlement.date.month);
    // The coupon `k` periods before maturity is the first guess at the one on or before
    // settlement; it is off by at most one period either way.
    int k = std::max(1, months / step);
    Day previous = addMonths(call, maturity, -k * step, endOfMonth);
    while (previous.serial > settlement.serial) previous = addMonths(call, maturity, -++k * step, endOfMonth);
    Day next = addMonths(call, maturity, -(k - 1) * step, endOfMonth);
    while (next.serial <= settlement.serial) {
        previous = next;
        --k;
        next = addMonths(call, maturity, -(k - 1) * step, endOfMonth);
    }
    return {previous, next, k};
}

double couponPeriodDays(const CouponPeriod& period, int frequency, Basis basis) {
    switch (basis) {
    case Basis::Actual: return period.next.serial - period.previous.serial;
    case Basis::Actual365: return 365.0 / frequency;
    default: return 360.0 / frequency;
    }
}

double daysSinceCoupon(const CouponPeriod& period, const Day& settlement, Basis basis) {
    return daysBetween(period.previous, settlement, basis);
}

double daysUntilCoupon(const CouponPeriod& period, const Day& settlement, int frequency, Basis basis) {
    if (basis == Basis::Us30360) return couponPeriodDays(period, frequency, basis) - daysSinceCoupon(period, settlement, basis);
    return daysBetween(settlement, period.next, basis);
}

std::span<const FunctionSpec> dayCountFunctions() { return kFunctions; }

}  // namespace kes::calc
