#include "sheet/calc/functions/support.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kes::calc {
namespace {

constexpr double k1904Offset = 1462;
constexpr double kLastSerial = 2958465;   // 9999-12-31

void addNumber(const Value& value, bool direct, std::vector<double>& out, const NumberRules& rules,
               const FormatSettings& settings) {
    switch (value.kind()) {
    case ValueKind::Number: out.push_back(value.number()); return;
    case ValueKind::Boolean:
        if (direct || rules.countReferencedText) out.push_back(value.number());
        return;
    case ValueKind::Text:
        if (direct) {
            if (const auto number = textToNumber(value.text(), settings)) out.push_back(*number);
            else if (!rules.skipBadDirectText) fail(ecValue);
        } else if (rules.countReferencedText) {
            out.push_back(0);
        }
        return;
    case ValueKind::Error:
        if (!rules.skipErrors) fail(value.error());
        return;
    case ValueKind::Blank:
        if (direct) out.push_back(0);
        return;
    default: fail(ecValue);
    }
}

}  // namespace

void collectNumbersOf(Call& call, size_t index, std::vector<double>& out, NumberRules rules) {
    const FormatSettings& settings = call.settings();
    call.forEachValue(index, [&](const Value& value, bool direct) { addNumber(value, direct, out, rules, settings); });
}

std::vector<double> collectNumbers(Call& call, size_t first, NumberRules rules) {
    std::vector<double> out;
    for (size_t i = first; i < call.count(); ++i) collectNumbersOf(call, i, out, rules);
    return out;
}

std::vector<std::optional<double>> numbersInPlace(Call& call, size_t index) {
    const auto matrix = call.matrix(index);
    std::vector<std::optional<double>> out(matrix->size());
    for (size_t i = 0; i < matrix->size(); ++i) {
        switch (matrix->kindAt(i)) {
        case ValueKind::Number: out[i] = matrix->numberAt(i); break;
        case ValueKind::Error: fail(matrix->at(i).error());
        default: break;
        }
    }
    return out;
}

bool isLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

YearMonthDay dateOf(const Call& call, double serial) {
    if (call.date1904()) serial += k1904Offset;
    if (!(serial >= 0 && serial < kLastSerial + 1)) fail(ecNUM);
    const Date date = dateOfSerial(int64_t(std::floor(serial)));
    return {date.year, date.month, date.day};
}

int weekdayOf(const Call& call, double serial) {
    int64_t s = int64_t(std::floor(serial + (call.date1904() ? k1904Offset : 0)));
    return int((s % 7 + 6) % 7);
}

double round15(double value) {
    if (value == 0 || !std::isfinite(value)) return value;
    const int exponent = int(std::floor(std::log10(std::fabs(value))));
    const int decimals = 14 - exponent;
    if (decimals > 300 || decimals < -300) return value;
    if (decimals >= 0) {
        const double scale = std::pow(10.0, decimals);
        const double scaled = value * scale;
        if (!std::isfinite(scaled)) return value;
        return std::nearbyint(scaled) / scale;
    }
    const double scale = std::pow(10.0, -decimals);
    return std::nearbyint(value / scale) * scale;
}

namespace {

// x scaled by 10^digits, cleaned of binary noise, then `step` applied and scaled back.
template <class Step>
double roundWith(double value, double digits, Step&& step) {
    const double d = std::trunc(std::clamp(digits, -308.0, 308.0));
    if (value == 0 || !std::isfinite(value)) return value;
    const double scale = std::pow(10.0, std::fabs(d));
    const double scaled = d >= 0 ? value * scale : value / scale;
    if (!std::isfinite(scaled) || std::fabs(scaled) >= 1e300) return value;
    // Beyond 15 significant digits there is nothing left to round.
    if (d >= 0 && std::fabs(scaled) >= 1e16) return value;
    const double stepped = step(round15(scaled));
    return d >= 0 ? stepped / scale : stepped * scale;
}

}  // namespace

double roundDigits(double value, double digits) {
    return roundWith(value, digits, [](double x) { return std::round(x); });
}

double roundUpDigits(double value, double digits) {
    return roundWith(value, digits, [](double x) { return x < 0 ? std::floor(x) : std::ceil(x); });
}

double roundDownDigits(double value, double digits) {
    return roundWith(value, digits, [](double x) { return std::trunc(x); });
}

}  // namespace kes::calc
