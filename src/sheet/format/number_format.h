#pragma once
// The number-format engine: a value and an Excel format code in, the text a cell shows out.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/format/format_settings.h"

namespace kes {

// What kind of number the engine is given; only the General format looks at it, to show
// a date-time value as a date and a money value as money, as Excel does after typing them.
enum class NumberHint : uint8_t { Plain, DateTime, Currency };

struct FormattedText {
    std::u16string text;
    std::optional<uint32_t> color;   // 0xRRGGBB from a [Red] or [ColorN] section
};

// Formats a number with the code. `code` may be empty or "General" (any case).
FormattedText formatNumber(double value, std::u16string_view code, const FormatSettings& settings,
                           NumberHint hint = NumberHint::Plain);

// Formats a text value with the code's text section (the fourth, or a section holding @);
// codes without one show the text unchanged.
FormattedText formatText(std::u16string_view text, std::u16string_view code);

// The General format alone, as the product shows numbers in cells: at most 15 significant
// digits, trailing zeros dropped, plain notation from 1E-9 up to 1E+15, scientific beyond.
std::u16string formatGeneral(double value, const FormatSettings& settings);

// Which parts the General format shows of a date-time value: the date alone when the value has
// no time of day, the time alone on day 0 (of the 1900 calendar: 1904-based serials are shifted
// to it first), both otherwise.
enum class DateTimeParts : uint8_t { Date, Time, Both };
DateTimeParts dateTimeParts(double serial, const FormatSettings& settings);

// True when the code shows dates or times (y, m with d, d, h, s, elapsed [h]...).
bool isDateTimeFormat(std::u16string_view code);

// True for the text format "@".
bool isTextFormat(std::u16string_view code);

// The code of a built-in format id 0..49 with the zh-CN meanings (14 is "yyyy/m/d");
// empty for ids that have no built-in code.
std::u16string_view builtinFormatCode(int id);

}  // namespace kes
