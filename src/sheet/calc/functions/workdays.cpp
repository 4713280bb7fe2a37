// Working days: NETWORKDAYS counts them between two dates, WORKDAY steps over them; the .INTL
// forms choose the weekend ("0000011" or a number), and holidays are left out.
#include <algorithm>
#include <cmath>
#include <vector>

#include "sheet/calc/functions/date_support.h"

namespace kes::calc {
namespace {

// Which weekdays are the weekend, bit 0 Monday to bit 6 Sunday.
using Weekend = uint8_t;
constexpr Weekend kSaturdaySunday = 0b1100000;

// WORKDAY.INTL's and NETWORKDAYS.INTL's weekend: 1-7 a pair of days (1 Saturday and Sunday, 2
// Sunday and Monday ...), 11-17 one day (11 Sunday, 12 Monday ...), or seven 0s and 1s from
// Monday on, 1 for a day off. Every day off is #VALUE!.
Weekend weekendOf(Call& call, size_t index) {
    if (call.isMissing(index)) return kSaturdaySunday;
    const Value v = call.scalar(index);
    if (v.isError()) fail(v.error());
    if (v.isText()) {
        const std::u16string& s = v.text();
        if (s.size() != 7) fail(ecValue);
        Weekend mask = 0;
        for (size_t d = 0; d < 7; ++d) {
            if (s[d] != u'0' && s[d] != u'1') fail(ecValue);
            if (s[d] == u'1') mask |= Weekend(1 << d);
        }
        if (mask == 0b1111111) fail(ecValue);
        return mask;
    }
    const double code = std::trunc(toNumber(v, call.settings()));
    if (code >= 1 && code <= 7) {
        const int first = (int(code) + 4) % 7;   // 1: Saturday (5), 2: Sunday (6), 3: Monday (0) ...
        return Weekend((1 << first) | (1 << ((first + 1) % 7)));
    }
    if (code >= 11 && code <= 17) return Weekend(1 << ((int(code) - 11 + 6) % 7));
    fail(ecNUM);
}

class WorkCalendar {
public:
    WorkCalendar(Call& call, Weekend weekend, size_t holidaysIndex) : call_(call), weekend_(weekend) {
        for (int d = 0; d < 7; ++d) workPerWeek_ += (weekend & (1 << d)) ? 0 : 1;
        if (call.isMissing(holidaysIndex)) return;
        call.forEachValue(holidaysIndex, [&](const Value& v, bool direct) {
            if (v.isError()) fail(v.error());
            if (v.isBlank() && !direct) return;
            const double day = wholeDate(call, toNumber(v, call.settings()));
            if (isWeekday(day)) holidays_.push_back(day);
        });
        std::sort(holidays_.begin(), holidays_.end());
        holidays_.erase(std::unique(holidays_.begin(), holidays_.end()), holidays_.end());
    }

    int workPerWeek() const { return workPerWeek_; }
    bool isWeekday(double day) const { return !(weekend_ & (1 << mondayBasedWeekday(call_, day))); }
    bool isWorkday(double day) const {
        return isWeekday(day) && !std::binary_search(holidays_.begin(), holidays_.end(), day);
    }
    // Holidays on working days from `low` to `high`, both included.
    int64_t holidaysBetween(double low, double high) const {
        return std::upper_bound(holidays_.begin(), holidays_.end(), high) -
               std::lower_bound(holidays_.begin(), holidays_.end(), low);
    }

    // Working days from `low` to `high`, both included.
    double count(double low, double high) const {
        const double days = high - low + 1;
        const double weeks = std::floor(days / 7);
        double total = weeks * workPerWeek_;
        for (double d = low + weeks * 7; d <= high; ++d) total += isWeekday(d) ? 1 : 0;
        return total - double(holidaysBetween(low, high));
    }

private:
    Call& call_;
    Weekend weekend_;
    int workPerWeek_ = 0;
    std::vector<double> holidays_;
};

double networkDays(Call& call, double startSerial, double endSerial, Weekend weekend, size_t holidaysIndex) {
    const double start = wholeDate(call, startSerial), end = wholeDate(call, endSerial);
    const WorkCalendar calendar(call, weekend, holidaysIndex);
    if (start <= end) return calendar.count(start, end);
    return -calendar.count(end, start);
}

// The working day `days` working days after (or before) the start; the start itself for 0.
double workday(Call& call, double startSerial, double dayCount, Weekend weekend, size_t holidaysIndex) {
    double current = wholeDate(call, startSerial);
    const double days = std::trunc(dayCount);
    const WorkCalendar calendar(call, weekend, holidaysIndex);
    const double step = days < 0 ? -1 : 1;
    const double first = call.date1904() ? 0 : 1, last = kLastDate1900 - (call.date1904() ? 1462 : 0);
    double remaining = std::fabs(days);
    if (remaining > last) fail(ecNUM);
    const int perWeek = calendar.workPerWeek();
    while (remaining > 0) {
        if (remaining > perWeek) {
            // Whole weeks at once: each holds the same working days, less its holidays.
            const double weeks = std::floor((remaining - 1) / perWeek);
            const double next = current + step * 7 * weeks;
            const double low = std::min(current, next), high = std::max(current, next);
            const double holidays =
                double(step > 0 ? calendar.holidaysBetween(low + 1, high) : calendar.holidaysBetween(low, high - 1));
            remaining -= weeks * perWeek - holidays;
            current = next;
        } else {
            current += step;
            if (calendar.isWorkday(current)) --remaining;
        }
        if (current < first || current > last) fail(ecNUM);
    }
    return current;
}

Value networkDaysFunction(Call& call) {
    return forEachToolPakValue(call, 2, [&](const std::vector<Value>& args) {
        const double start = toolPakNumber(args[0], call.settings()), end = toolPakNumber(args[1], call.settings());
        return Value::number(networkDays(call, start, end, kSaturdaySunday, 2));
    });
}

Value networkDaysIntl(Call& call) {
    const double start = call.number(0), end = call.number(1);
    return Value::number(networkDays(call, start, end, weekendOf(call, 2), 3));
}

Value workdayFunction(Call& call) {
    return forEachToolPakValue(call, 2, [&](const std::vector<Value>& args) {
        const double start = toolPakNumber(args[0], call.settings()), days = toolPakNumber(args[1], call.settings());
        return Value::number(workday(call, start, days, kSaturdaySunday, 2));
    });
}

Value workdayIntl(Call& call) {
    const double start = call.number(0), days = call.number(1);
    return Value::number(workday(call, start, days, weekendOf(call, 2), 3));
}

constexpr FunctionSpec kFunctions[] = {
    {u"NETWORKDAYS", 2, 3, "RRR", networkDaysFunction, kNoBiffId, kAddIn},
    {u"NETWORKDAYS.INTL", 2, 4, "VVVR", networkDaysIntl, kNoBiffId, kFilePrefix},
    {u"WORKDAY", 2, 3, "RRR", workdayFunction, kNoBiffId, kAddIn},
    {u"WORKDAY.INTL", 2, 4, "VVVR", workdayIntl, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> workdayFunctions() { return kFunctions; }

}  // namespace kes::calc
