#pragma once
// What the function families share: how aggregates gather their numbers, how dates count in
// either date system, and small conversions.
#include <cstdint>
#include <optional>
#include <vector>

#include "sheet/calc/call.h"
#include "sheet/calc/coerce.h"
#include "sheet/format/format_code.h"

namespace kes::calc {

// Which values an aggregate counts besides numbers, the way Excel's SUM (the default), the
// *A functions (AVERAGEA...) and COUNT differ.
struct NumberRules {
    // Texts and booleans in references and arrays: skipped (SUM), or counted as 0 and 0/1 (the
    // *A functions).
    bool countReferencedText = false;
    // A text given directly that is no number: #VALUE! (SUM), or skipped (COUNT).
    bool skipBadDirectText = false;
    // Errors anywhere: returned (SUM), or skipped (COUNT, AGGREGATE's ignoring options).
    bool skipErrors = false;
};

// The numbers of the arguments from `first` on, by Excel's rules for SUM, AVERAGE, MIN... A
// value given directly is converted (TRUE is 1, "3" is 3); in references and arrays only
// numbers count unless the rules say otherwise. Errors are thrown unless skipped.
std::vector<double> collectNumbers(Call& call, size_t first, NumberRules rules = {});
// The same for one argument only.
void collectNumbersOf(Call& call, size_t index, std::vector<double>& out, NumberRules rules = {});

// The numbers of one argument in their places, for the functions that pair two lists (SUMXMY2,
// CORREL, SLOPE...): every element of the reference or array, each a number or none.
std::vector<std::optional<double>> numbersInPlace(Call& call, size_t index);

// Dates: serials count from 1900-01-01 as 1 (with Excel's 29 February 1900 as 60), or from
// 1904-01-01 as 0 in workbooks of the 1904 system.
struct YearMonthDay {
    int year, month, day;
};
// The calendar date of a serial of the workbook's date system; #NUM! outside 0..9999-12-31.
YearMonthDay dateOf(const Call& call, double serial);
// The weekday of a serial, 0 for Sunday; the serial counts in the workbook's date system.
int weekdayOf(const Call& call, double serial);
bool isLeapYear(int year);
int daysInMonth(int year, int month);

// Rounds to `digits` decimals (negative digits round to tens, hundreds...) half away from zero,
// on the decimal value Excel shows rather than its binary neighbour: ROUND(1.005, 2) is 1.01.
double roundDigits(double value, double digits);
// Rounds away from zero (ROUNDUP) or toward it (ROUNDDOWN) at `digits` decimals.
double roundUpDigits(double value, double digits);
double roundDownDigits(double value, double digits);
// The value Excel keeps of a double: 15 significant digits.
double round15(double value);

}  // namespace kes::calc
