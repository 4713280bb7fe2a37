#pragma once
// Format codes read once into sections of tokens, and kept in a small cache, so that a grid
// formatting a column of values with one code parses that code once.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct FormatToken {
    enum Kind : uint8_t {
        Literal,     // text: shown as it stands
        Digit,       // ch: '0', '#' or '?'
        Point,       // the decimal point of a number, or of the seconds of a time
        Percent,
        Text,        // @: the text value
        Exponent,    // ch: '+' or '-', the E of scientific notation
        Slash,       // the bar of a fraction
        Denominator, // number: the fixed denominator of "# ?/8"
        DatePart,    // ch: 'y', 'M' (month), 'd', 'h', 'm' (minute), 's', 'f' (fractions of a second)
        Elapsed,     // ch: 'h', 'm' or 's' of [h], [mm], [ss]
        AmPm,        // text: "AM/PM", "A/P" (as written) or the Chinese 上午/下午
        General,
    };
    Kind kind;
    char16_t ch = 0;
    int width = 0;           // DatePart, Elapsed: the run length; Digit: 1
    int64_t number = 0;      // Denominator
    std::u16string text;
};

struct FormatSection {
    enum Kind : uint8_t { Number, Scientific, Fraction, Date, Text, General };
    Kind kind = Number;
    std::vector<FormatToken> tokens;
    std::optional<uint32_t> color;
    enum class Op : uint8_t { None, Less, LessEqual, Greater, GreaterEqual, Equal, NotEqual };
    Op op = Op::None;
    double limit = 0;
    bool thousands = false;  // a comma between digit placeholders
    int scaleThousands = 0;  // trailing commas, each dividing by 1000
    int percents = 0;        // each % multiplies by 100
    int integerPlaces = 0;   // digit placeholders before the point (the mantissa's, for scientific)
    int decimalPlaces = 0;   // digit placeholders after the point
    bool hasText = false;    // holds @
    bool hasAmPm = false;
    int secondDecimals = 0;  // .0, .00, .000 after seconds
    // [$-F800] and [$-F400]: the system's long date or long time, whatever the rest of the section
    enum class System : uint8_t { None, LongDate, LongTime };
    System system = System::None;
    // [DBNum1], [DBNum2], [DBNum3]: digits shown as Chinese numerals of that style, 0 for none
    uint8_t chineseNumerals = 0;

    bool holds(double value) const;
};

struct ParsedFormat {
    std::vector<FormatSection> sections;   // one to four
    bool valid = true;                     // false for codes Excel refuses (open quote, five sections)
};

// The parsed form of a code, from a cache of one thread; the reference stays valid until the next call.
const ParsedFormat& parsedFormat(std::u16string_view code);

}  // namespace kes
