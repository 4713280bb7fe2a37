// Date and time functions: the clock (TODAY, NOW), dates and times built and read (DATE, TIME,
// DATEVALUE, TIMEVALUE, YEAR ... SECOND) and the weekday. Serials count in the workbook's date
// system; periods between dates are in date_periods.cpp, working days in workdays.cpp.
#include <chrono>
#include <cmath>
#include <ctime>
#include <vector>

#include "sheet/calc/functions/date_support.h"
#include "sheet/calc/functions/families.h"
#include "sheet/text_to_value.h"

namespace kes::calc {
namespace {

constexpr double k1904Offset = 1462;

int64_t daysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

}  // namespace

int calendarDaysInMonth(int64_t year, int month) {
    if (year == 1900 && month == 2) return 29;
    return daysInMonth(int(year), month);
}

double calendarSerial(const Call& call, int64_t year, int64_t month, int64_t day) {
    const int64_t months = year * 12 + (month - 1);
    const int64_t y = months >= 0 ? months / 12 : (months - 11) / 12;
    const int64_t m = months - y * 12 + 1;
    // The first of the month, counted from 1900-01-01 as 1 with the 29 February of 1900 in between.
    int64_t first = daysFromCivil(y, m, 1) - daysFromCivil(1899, 12, 31);
    if (first >= 60) ++first;
    double serial = double(first + day - 1);
    if (call.date1904()) serial -= k1904Offset;
    if (serial < 0 || serial > kLastDate1900 - (call.date1904() ? k1904Offset : 0)) fail(ecNUM);
    return serial;
}

double wholeDate(const Call& call, double serial) {
    dateOf(call, serial);
    return std::floor(serial);
}

int mondayBasedWeekday(const Call& call, double serial) { return (weekdayOf(call, serial) + 6) % 7; }

double toolPakNumber(const Value& value, const FormatSettings& settings) {
    if (value.isBoolean()) fail(ecValue);
    return toNumber(value, settings);
}

namespace {

// The serial of the local date and time now, in the 1900 system.
double nowSerial() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    const double millis = double(std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    const auto day = dateSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    return (day ? *day : 0) + (local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + millis / 1000.0) / 86400.0;
}

double workbookSerial(const Call& call, double serial1900) { return call.date1904() ? serial1900 - k1904Offset : serial1900; }

Value today(Call& call) { return Value::date(std::floor(workbookSerial(call, nowSerial()))); }
Value now(Call& call) { return Value::date(workbookSerial(call, nowSerial())); }

// DATE takes years 0-9999, those below 1900 counted from 1900.
Value date(Call& call) {
    const double y = std::trunc(call.number(0)), m = std::trunc(call.number(1)), d = std::trunc(call.number(2));
    if (y < 0 || y >= 10000) return Value::error(ecNUM);
    // Beyond these no month or day can bring the date back into the calendar.
    if (std::fabs(m) > 1e8 || std::fabs(d) > 1e10) return Value::error(ecNUM);
    const int64_t year = int64_t(y) < 1900 ? int64_t(y) + 1900 : int64_t(y);
    return Value::date(calendarSerial(call, year, int64_t(m), int64_t(d)));
}

// TIME takes each part up to 32767 and wraps the total round the day; a total below zero is #NUM!.
Value time(Call& call) {
    const double h = std::trunc(call.number(0)), m = std::trunc(call.number(1)), s = std::trunc(call.number(2));
    for (double part : {h, m, s}) {
        if (std::fabs(part) > 32767) return Value::error(ecNUM);
    }
    const double seconds = h * 3600 + m * 60 + s;
    if (seconds < 0) return Value::error(ecNUM);
    return Value::date(std::fmod(seconds, 86400) / 86400);
}

// The text a DATEVALUE or TIMEVALUE is given: a text, nothing else (a number is #VALUE!).
std::optional<double> dateTimeText(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) fail(v.error());
    if (!v.isText()) fail(ecValue);
    return textToDateTime(v.text(), call.settings());
}

Value dateValue(Call& call) {
    const auto serial = dateTimeText(call);
    if (!serial || *serial < 0) return Value::error(ecValue);
    return Value::number(std::floor(*serial));
}

// A time of hours beyond the day, as "24:00" or "36:30:15", which TIMEVALUE wraps round the day.
std::optional<double> longTime(std::u16string_view text, const FormatSettings& settings) {
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    double parts[3] = {0, 0, 0};
    size_t count = 0, digits = 0;
    for (char16_t c : text) {
        if (c >= u'0' && c <= u'9' && digits < 4) {
            parts[count] = parts[count] * 10 + (c - u'0');
            ++digits;
        } else if (c == settings.timeSeparator && digits > 0 && count < 2) {
            ++count;
            digits = 0;
        } else {
            return std::nullopt;
        }
    }
    if (count == 0 || digits == 0 || parts[1] > 59 || parts[2] > 59) return std::nullopt;
    return parts[0] * 3600 + parts[1] * 60 + parts[2];
}

Value timeValue(Call& call) {
    const auto serial = dateTimeText(call);
    if (serial && *serial >= 0) return Value::number(*serial - std::floor(*serial));
    const Value v = call.scalar(0);
    const auto seconds = longTime(v.text(), call.settings());
    if (!seconds) return Value::error(ecValue);
    return Value::number(std::fmod(*seconds, 86400) / 86400);
}

Value year(Call& call) { return Value::number(dateOf(call, call.number(0)).year); }
Value month(Call& call) { return Value::number(dateOf(call, call.number(0)).month); }
Value day(Call& call) { return Value::number(dateOf(call, call.number(0)).day); }

// The second of the day a serial stands at, rounded to the nearest as Excel shows times: 0.5
// of a second before midnight is midnight.
int64_t secondOfDay(Call& call) {
    const double serial = call.number(0);
    dateOf(call, serial);
    const int64_t seconds = std::llround((serial - std::floor(serial)) * 86400);
    return seconds % 86400;
}

Value hour(Call& call) { return Value::number(double(secondOfDay(call) / 3600)); }
Value minute(Call& call) { return Value::number(double(secondOfDay(call) / 60 % 60)); }
Value second(Call& call) { return Value::number(double(secondOfDay(call) % 60)); }

// WEEKDAY's numbering: 1 Sunday to Saturday (1, 17), Monday to Sunday (2, 11), Monday from 0
// (3), or from Tuesday (12) to Saturday (16).
Value weekday(Call& call) {
    const double serial = call.number(0);
    const double type = std::trunc(call.number(1, 1));
    dateOf(call, serial);
    const int sunday = weekdayOf(call, serial);   // 0 Sunday
    const int monday = (sunday + 6) % 7;          // 0 Monday
    if (type == 1 || type == 17) return Value::number(sunday + 1);
    if (type == 2 || type == 11) return Value::number(monday + 1);
    if (type == 3) return Value::number(monday);
    if (type >= 12 && type <= 16) {
        const int first = int(type) - 11;   // 1 Tuesday .. 5 Saturday, counted from Monday
        return Value::number((monday - first + 7) % 7 + 1);
    }
    return Value::error(ecNUM);
}

constexpr FunctionSpec kFunctions[] = {
    {u"TODAY", 0, 0, "V", today, 221, kVolatile},
    {u"NOW", 0, 0, "V", now, 74, kVolatile},
    {u"DATE", 3, 3, "VVV", date, 65},
    {u"TIME", 3, 3, "VVV", time, 66},
    {u"DATEVALUE", 1, 1, "V", dateValue, 140},
    {u"TIMEVALUE", 1, 1, "V", timeValue, 141},
    {u"YEAR", 1, 1, "V", year, 69},
    {u"MONTH", 1, 1, "V", month, 68},
    {u"DAY", 1, 1, "V", day, 67},
    {u"HOUR", 1, 1, "V", hour, 71},
    {u"MINUTE", 1, 1, "V", minute, 72},
    {u"SECOND", 1, 1, "V", second, 73},
    {u"WEEKDAY", 1, 2, "VV", weekday, 70},
};

}  // namespace

std::span<const FunctionSpec> dateTimeFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> out(std::begin(kFunctions), std::end(kFunctions));
        for (auto part : {datePeriodFunctions, workdayFunctions}) {
            const std::span<const FunctionSpec> functions = part();
            out.insert(out.end(), functions.begin(), functions.end());
        }
        return out;
    }();
    return all;
}

}  // namespace kes::calc
