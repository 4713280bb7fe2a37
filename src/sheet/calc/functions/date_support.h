#pragma once
// What the date and time functions share: Excel's calendar, where 1900 is a leap year so that
// serial 60 is 29 February 1900; the values the Analysis ToolPak functions (EDATE, EOMONTH,
// WEEKNUM, WORKDAY, NETWORKDAYS) take; and the lists of the files of the family.
#include <cstdint>
#include <span>
#include <vector>

#include "sheet/calc/functions/support.h"

namespace kes::calc {

// The last serial of the calendar, 9999-12-31, in the 1900 system.
constexpr double kLastDate1900 = 2958465;

// The days of a month of Excel's calendar: February 1900 has 29.
int calendarDaysInMonth(int64_t year, int month);

// The serial of a date of Excel's calendar in the workbook's date system, as DATE computes it:
// months beyond 1..12 move into other years, days beyond the month's into other months (day 0
// is the last of the month before). #NUM! outside the calendar.
double calendarSerial(const Call& call, int64_t year, int64_t month, int64_t day);

// The serial a date argument stands for, whole days: #NUM! before the first or after the last.
double wholeDate(const Call& call, double serial);

// The weekday of a serial, 0 for Monday to 6 for Sunday.
int mondayBasedWeekday(const Call& call, double serial);

// A number as the Analysis ToolPak functions take it: TRUE and FALSE are #VALUE!, a text
// must read as a number (a date text does).
double toolPakNumber(const Value& value, const FormatSettings& settings);

// Runs an Analysis ToolPak function with its first `count` arguments one value each: a range
// of more than one cell is #VALUE!, even in an array formula; an array runs the function once
// for each element and gives an array. `compute` takes the values (blank for one not given).
template <class Compute>
Value forEachToolPakValue(Call& call, size_t count, Compute&& compute);

// The family's files, joined by dateTimeFunctions().
std::span<const FunctionSpec> datePeriodFunctions();
std::span<const FunctionSpec> workdayFunctions();

template <class Compute>
Value forEachToolPakValue(Call& call, size_t count, Compute&& compute) {
    std::vector<Value> values(count);
    int32_t rows = 1, columns = 1;
    bool lifted = false;
    for (size_t i = 0; i < count; ++i) {
        const Value& v = call.arg(i);
        if (v.isReference() && (v.areaCount() != 1 || !v.area().isCell())) return Value::error(ecValue);
        values[i] = v.isReference() ? call.scalar(i) : v;
        if (v.isArray() && v.matrix().size() != 1) {
            lifted = true;
            rows = std::max(rows, v.matrix().rows());
            columns = std::max(columns, v.matrix().columns());
        } else if (v.isArray()) {
            values[i] = v.matrix().at(0);
        }
    }
    const auto run = [&](const std::vector<Value>& args) -> Value {
        try {
            return compute(args);
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    };
    if (!lifted) return run(values);
    if (int64_t(rows) * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows, columns);
    std::vector<Value> element(count);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            for (size_t i = 0; i < count; ++i) {
                element[i] = values[i].isArray() ? values[i].matrix().broadcast(r, c) : values[i];
            }
            out.set(r, c, run(element));
        }
    }
    return Value::array(std::move(out));
}

}  // namespace kes::calc
