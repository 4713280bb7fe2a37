#pragma once
// Reading a typed text as a value: money, a number, a boolean word, a date or a time, as the
// grid does when a user types into a cell.
#include <optional>
#include <string_view>

#include "sheet/cell_value.h"
#include "sheet/format/format_settings.h"

namespace kes {

// The value the text reads as, or none when it stays text. The empty text reads as the empty
// (blank) value. A date typed without a year falls in `currentYear`, by default this year.
std::optional<CellValue> textToValue(std::u16string_view text, const FormatSettings& settings,
                                     std::optional<int> currentYear = std::nullopt);

// A date serial of the 1900 system (Excel's, with its 29 February 1900) for a calendar date;
// none outside 1900-01-01 .. 9999-12-31 or for a day that does not exist.
std::optional<double> dateSerial(int year, int month, int day);

}  // namespace kes
