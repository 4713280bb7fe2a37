#pragma once
// Format codes other than General, as Excel reads them: up to four sections with conditions and
// colours, literals, digit placeholders, scientific notation, fractions, dates and times; and the
// calendar of date serials, which formulas share.
#include <optional>
#include <string_view>

#include "sheet/format/number_format.h"

namespace kes {

struct Date {
    int year, month, day;
};

// The calendar date of a 1900-system serial day (1 is 1900-01-01; 60 is 1900-02-29).
Date dateOfSerial(int64_t days);

// None only for a code Excel refuses (an open quote or bracket, more than four sections), so
// that the caller shows the value in General instead.
std::optional<FormattedText> formatWithCode(double value, std::u16string_view code,
                                            const FormatSettings& settings);
FormattedText formatTextWithCode(std::u16string_view text, std::u16string_view code);

// True when the section that shows positive numbers is a date or time section.
bool isDateTimeCode(std::u16string_view code);

}  // namespace kes
