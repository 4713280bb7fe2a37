// Date functions of periods: days, months and years between dates (DAYS, DATEDIF), dates months
// away (EDATE, EOMONTH), and week numbers (WEEKNUM, ISOWEEKNUM).
#include <cmath>

#include "sheet/calc/functions/date_support.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc {
namespace {

Value days(Call& call) {
    const double end = call.number(0), start = call.number(1);
    return Value::number(wholeDate(call, end) - wholeDate(call, start));
}

// DATEDIF's units: whole years (Y), months (M) or days (D) between two dates, and the days (MD)
// or months (YM) left over after whole months or years, or the days as if in one year (YD).
// MD counts from the start's day in the month before the end, as DATE would roll it: from 31
// January to 1 March that is -2, the result Excel documents as unreliable and gives. YD counts
// in the start's year, where Excel's 29 February 1900 still lies.
Value dateDif(Call& call) {
    const double startSerial = call.number(0), endSerial = call.number(1);
    const std::u16string unit = upperCase(call.text(2));
    const double start = wholeDate(call, startSerial), end = wholeDate(call, endSerial);
    if (start > end) return Value::error(ecNUM);
    const YearMonthDay a = dateOf(call, start), b = dateOf(call, end);
    const int64_t months = int64_t(b.year - a.year) * 12 + (b.month - a.month) - (b.day < a.day ? 1 : 0);
    if (unit == u"D") return Value::number(end - start);
    if (unit == u"M") return Value::number(double(months));
    if (unit == u"Y") return Value::number(double(months / 12));
    if (unit == u"YM") return Value::number(double(months % 12));
    if (unit == u"MD") {
        if (b.day >= a.day) return Value::number(b.day - a.day);
        return Value::number(end - calendarSerial(call, b.year, b.month - 1, a.day));
    }
    if (unit == u"YD") {
        // The end's month and day moved into the start's year, or the next when that is earlier.
        double shifted = calendarSerial(call, a.year, b.month, b.day);
        if (shifted < start) shifted = calendarSerial(call, int64_t(a.year) + 1, b.month, b.day);
        return Value::number(shifted - start);
    }
    return Value::error(ecNUM);
}

// EDATE and EOMONTH: the date `months` away, its day kept where the month has it (31 January and
// one month is the last of February), or the last day of that month.
double monthsAway(const Call& call, const std::vector<Value>& args, bool endOfMonth) {
    const double serial = toolPakNumber(args[0], call.settings());
    const double months = std::trunc(toolPakNumber(args[1], call.settings()));
    const YearMonthDay d = dateOf(call, serial);
    if (std::fabs(months) > 120000) fail(ecNUM);
    const int64_t index = int64_t(d.year) * 12 + (d.month - 1) + int64_t(months);
    const int64_t year = index / 12;
    const int month = int(index % 12) + 1;
    if (index < 0) fail(ecNUM);
    const int last = calendarDaysInMonth(year, month);
    return calendarSerial(call, year, month, endOfMonth ? last : std::min(d.day, last));
}

Value edate(Call& call) {
    return forEachToolPakValue(call, 2, [&](const std::vector<Value>& args) {
        return Value::number(monthsAway(call, args, false));
    });
}

Value eomonth(Call& call) {
    return forEachToolPakValue(call, 2, [&](const std::vector<Value>& args) {
        return Value::number(monthsAway(call, args, true));
    });
}

// The serial of 1 January of a year; for the year before the calendar's first (1899, or 1903
// in the 1904 system), where ISO weeks may start, one year of 365 days before it.
double firstOfYear(const Call& call, int year) {
    const int firstYear = call.date1904() ? 1904 : 1900;
    if (year < firstYear) return calendarSerial(call, firstYear, 1, 1) - 365;
    return calendarSerial(call, year, 1, 1);
}

// The ISO week: weeks start on Monday, and week 1 is the one that holds the year's first Thursday.
double isoWeek(const Call& call, double serial) {
    const double thursday = serial - mondayBasedWeekday(call, serial) + 3;
    const bool beforeCalendar = thursday < (call.date1904() ? 0 : 1);
    const int year = beforeCalendar ? (call.date1904() ? 1903 : 1899) : dateOf(call, thursday).year;
    return std::floor((thursday - firstOfYear(call, year)) / 7) + 1;
}

Value isoWeekNum(Call& call) { return Value::number(isoWeek(call, wholeDate(call, call.number(0)))); }

// WEEKNUM: week 1 holds 1 January and weeks start on Sunday (1, 17), Monday (2, 11) or Tuesday
// (12) to Saturday (16); 21 is the ISO week.
Value weekNum(Call& call) {
    return forEachToolPakValue(call, 2, [&](const std::vector<Value>& args) {
        const double serial = wholeDate(call, toolPakNumber(args[0], call.settings()));
        const double type = args[1].isOmitted() ? 1 : std::trunc(toolPakNumber(args[1], call.settings()));
        int firstDay;   // 0 Monday .. 6 Sunday
        if (type == 1 || type == 17) firstDay = 6;
        else if (type == 2 || type == 11) firstDay = 0;
        else if (type >= 12 && type <= 16) firstDay = int(type) - 11;
        else if (type == 21) return Value::number(isoWeek(call, serial));
        else return Value::error(ecNUM);
        const int year = dateOf(call, serial).year;
        const double first = firstOfYear(call, year);
        const int offset = (mondayBasedWeekday(call, first) - firstDay + 7) % 7;
        return Value::number(std::floor((serial - first + offset) / 7) + 1);
    });
}

constexpr FunctionSpec kFunctions[] = {
    {u"DAYS", 2, 2, "VV", days, kNoBiffId, kFilePrefix},
    {u"DATEDIF", 3, 3, "VVV", dateDif, 351},
    {u"EDATE", 2, 2, "RR", edate, kNoBiffId, kAddIn},
    {u"EOMONTH", 2, 2, "RR", eomonth, kNoBiffId, kAddIn},
    {u"WEEKNUM", 1, 2, "RR", weekNum, kNoBiffId, kAddIn},
    {u"ISOWEEKNUM", 1, 1, "V", isoWeekNum, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> datePeriodFunctions() { return kFunctions; }

}  // namespace kes::calc
