#pragma once
// Excel's conversions between values inside formulas: a text read as a number ("1,234", "40%",
// "¥12.50", "2024-01-05", "1 1/2"), a number written as text, how two values compare, and the
// criteria of COUNTIF and its kin.
#include <optional>
#include <string>
#include <string_view>

#include "sheet/calc/value.h"
#include "sheet/format/format_settings.h"

namespace kes::calc {

// The number a text stands for when a formula needs one, or none: then the formula gives
// #VALUE!. Dates and times read as their serials.
std::optional<double> textToNumber(std::u16string_view text, const FormatSettings& settings);

// The fraction and the exponent of a decimal number whose `digits` whole digits are already in
// `ascii`: ".ddd" after the point and "e±dd" are appended and `pos` moves past them. False when
// the number has no digit at all, or its exponent none.
bool scanFractionAndExponent(std::u16string_view text, size_t& pos, char16_t point, size_t digits, std::string& ascii);

// A date or time text, as DATEVALUE and TIMEVALUE read it: ISO and the system's short dates,
// month names in English (Jan 5, 2024 / 5-Jan-24), Chinese (2024年1月5日), times with AM/PM.
// The serial counts in the workbook's date system.
std::optional<double> textToDateTime(std::u16string_view text, const FormatSettings& settings);

// The text of a number where a formula joins it to text: General, up to 15 significant digits.
std::u16string numberToText(double value);

// The text form of a scalar: "TRUE"/"FALSE", numbers as above, errors as their word, blank "".
std::u16string scalarToText(const Value& value);

// Two numbers that differ only beyond Excel's 15 significant digits, as 0.1+0.2 and 0.3.
bool nearlyEqual(double a, double b);

// The order of the comparison operators: numbers < texts < booleans, texts ignoring case; a
// blank counts as 0, "" or FALSE, whichever the other value is. Both values are scalars and
// neither is an error.
int compareValues(const Value& a, const Value& b);

// Excel's wildcards: * any run, ? any one character, ~ makes the next one literal. Case is
// ignored.
bool wildcardMatch(std::u16string_view text, std::u16string_view pattern);
bool hasWildcards(std::u16string_view pattern);
// Where the pattern (with wildcards) first matches inside text at or after `from`, as SEARCH
// looks; none when it does not.
std::optional<size_t> wildcardFind(std::u16string_view text, std::u16string_view pattern, size_t from);

// A criterion of COUNTIF, SUMIF, AVERAGEIF, the *IFS family and the database functions: a
// value to equal, or a text with a comparison in front ("<>", ">=10", "=apple*").
class Criterion {
public:
    Criterion(const Value& criterion, const FormatSettings& settings);
    bool matches(const Value& value) const;

private:
    enum class Op : uint8_t { Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual };
    bool equals(const Value& value) const;

    const FormatSettings* settings_;
    Op op_ = Op::Equal;
    Value target_;
    bool wildcard_ = false;
    bool blankOnly_ = false;   // "=": only cells that hold nothing
};

}  // namespace kes::calc
