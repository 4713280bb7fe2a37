// Text functions that convert between numbers and texts: TEXT through the number-format engine,
// FIXED and DOLLAR, VALUE and NUMBERVALUE, VALUETOTEXT and ARRAYTOTEXT.
#include <charconv>
#include <cmath>
#include <string>

#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"
#include "sheet/format/format_code.h"
#include "sheet/format/number_format.h"

namespace kes::calc {
namespace {

constexpr double kFirstInvalidSerial = 2958466;   // 10000-01-01

Value textFunction(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) return v;
    const std::u16string code = call.text(1);
    const FormatSettings& settings = call.settings();
    if (!formatWithCode(0, code, settings)) return Value::error(ecValue);
    if (v.isBoolean()) return Value::text(formatText(scalarToText(v), code).text);
    double number = 0;
    if (v.isText()) {
        const auto parsed = textToNumber(v.text(), settings);
        if (!parsed) return Value::text(formatText(v.text(), code).text);
        number = *parsed;
    } else if (v.isNumber()) {
        number = v.number();
    }
    if (code.empty()) return Value::text(u"");
    // A date code cannot show a serial outside the calendar; a cell shows ########, TEXT fails.
    if (isDateTimeFormat(code)) {
        const double serial = settings.date1904 ? number + 1462 : number;
        if (serial < 0 || serial >= kFirstInvalidSerial) return Value::error(ecValue);
    }
    // A code Excel refuses (an open quote, five sections) is #VALUE!.
    const auto formatted = formatWithCode(number, code, settings);
    if (!formatted) return Value::error(ecValue);
    return textResult(formatted->text);
}

// A number with a fixed count of decimals (negative counts round to tens, hundreds...), as FIXED
// and DOLLAR write it: at most 15 significant digits, zeros after them.
std::u16string fixedDigits(double value, int decimals, bool grouped, const FormatSettings& settings) {
    const double rounded = roundDigits(value, decimals);
    std::u16string out;
    if (rounded < 0) out += u'-';
    char buffer[32];
    const auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, std::fabs(rounded), std::chars_format::scientific, 14);
    std::string digits;
    const char* p = buffer;
    for (; p < end && *p != 'e'; ++p) {
        if (*p != '.') digits += *p;
    }
    int exponent = 0;
    std::from_chars(p + 1 + (p[1] == '+'), end, exponent);
    const auto digitAt = [&](int power) {   // the digit of 10^power
        const int index = exponent - power;
        return index >= 0 && index < int(digits.size()) ? char16_t(digits[size_t(index)]) : u'0';
    };
    for (int power = std::max(exponent, 0); power >= 0; --power) {
        out += digitAt(power);
        if (grouped && power > 0 && power % 3 == 0) out += settings.thousandSeparator;
    }
    if (decimals > 0) {
        out += settings.decimalSeparator;
        for (int power = -1; power >= -decimals; --power) out += digitAt(power);
    }
    return out;
}

// FIXED's and DOLLAR's count of decimals: truncated, at most 127.
int decimalsOf(Call& call, size_t index) {
    const double decimals = std::trunc(call.number(index, 2));
    if (decimals > 127) fail(ecValue);
    return int(std::max(decimals, -400.0));
}

Value fixed(Call& call) {
    const double value = call.number(0);
    const int decimals = decimalsOf(call, 1);
    const bool noCommas = call.boolean(2, false);
    return Value::text(fixedDigits(value, decimals, !noCommas, call.settings()));
}

// DOLLAR writes money as the system does: ¥1,234.57 and ¥-1,234.57 on a Chinese Windows.
Value dollar(Call& call) {
    const double value = call.number(0);
    const int decimals = decimalsOf(call, 1);
    const FormatSettings& settings = call.settings();
    std::u16string digits = fixedDigits(value, decimals, true, settings);
    return Value::text(settings.currencySymbol + digits);
}

// USDOLLAR is DOLLAR in dollars, the way the United States writes them: $1,234.57, ($1,234.57).
Value usDollar(Call& call) {
    const double value = call.number(0);
    const int decimals = decimalsOf(call, 1);
    std::u16string digits = fixedDigits(value, decimals, true, FormatSettings{});
    if (digits.starts_with(u'-')) return Value::text(u"($" + digits.substr(1) + u")");
    return Value::text(u"$" + digits);
}

Value value(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) return v;
    if (v.isNumber()) return Value::number(v.number());
    if (v.isBlank()) return Value::number(0);
    if (v.isBoolean()) return Value::error(ecValue);
    const auto number = textToNumber(v.text(), call.settings());
    return number ? Value::number(*number) : Value::error(ecValue);
}

// NUMBERVALUE's separators: the first character of the text given, the workbook's when none is.
// An empty one is #VALUE!.
char16_t separatorOf(Call& call, size_t index, char16_t ifMissing) {
    if (call.isMissing(index)) return ifMissing;
    const std::u16string s = call.text(index);
    if (s.empty()) fail(ecValue);
    return s[0];
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// NUMBERVALUE's reading, whatever the workbook's locale: spaces anywhere are ignored, group
// separators only before the decimal one, a sign in front or parentheses around, an exponent,
// and percent signs at the end (inside the parentheses or after them), each dividing by 100.
std::optional<double> readNumberValue(std::u16string_view text, char16_t decimal, char16_t group) {
    std::u16string s;
    for (char16_t c : text) {
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r' && c != 0xA0) s += c;
    }
    if (s.empty()) return 0;
    size_t i = 0, end = s.size();
    int percents = 0;
    while (end > i && s[end - 1] == u'%') --end, ++percents;
    bool negative = false;
    if (end > i && s[i] == u'(' && s[end - 1] == u')') {
        negative = true;
        ++i, --end;
        while (end > i && s[end - 1] == u'%') --end, ++percents;
    } else if (i < end && (s[i] == u'-' || s[i] == u'+')) {
        negative = s[i++] == u'-';
    }
    std::string ascii;
    bool point = false, anyDigit = false;
    for (; i < end; ++i) {
        const char16_t c = s[i];
        if (isDigit(c)) {
            ascii += char(c);
            anyDigit = true;
        } else if (c == decimal) {
            if (point) return std::nullopt;
            point = true;
            ascii += '.';
        } else if (c == group && !point) {
            continue;
        } else {
            break;
        }
    }
    if (!anyDigit) return std::nullopt;
    if (i < end && (s[i] == u'e' || s[i] == u'E')) {
        ascii += 'e';
        ++i;
        if (i < end && (s[i] == u'+' || s[i] == u'-')) ascii += char(s[i++]);
        const size_t first = i;
        while (i < end && isDigit(s[i])) ascii += char(s[i++]);
        if (i == first) return std::nullopt;
    }
    if (i != end) return std::nullopt;
    double value = 0;
    const auto [last, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    if (ec != std::errc() || last != ascii.data() + ascii.size()) return std::nullopt;
    for (int k = 0; k < percents; ++k) value /= 100;
    return negative ? -value : value;
}

Value numberValue(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) return v;
    const FormatSettings& settings = call.settings();
    const char16_t decimal = separatorOf(call, 1, settings.decimalSeparator);
    char16_t group = separatorOf(call, 2, settings.thousandSeparator);
    if (group == decimal) {
        if (!call.isMissing(2)) return Value::error(ecValue);
        group = 0;   // the workbook's group separator gives way to a decimal one chosen the same
    }
    if (v.isNumber()) return Value::number(v.number());
    if (v.isBlank()) return Value::number(0);
    if (v.isBoolean()) return Value::error(ecValue);
    const auto number = readNumberValue(v.text(), decimal, group);
    return number ? Value::number(*number) : Value::error(ecValue);
}

// VALUETOTEXT's and ARRAYTOTEXT's format: 0 concise, 1 strict (texts in quotes).
bool strictFormat(Call& call, size_t index) {
    const double format = std::trunc(call.number(index, 0));
    if (format != 0 && format != 1) fail(ecValue);
    return format == 1;
}

std::u16string valueText(const Value& v, bool strict) {
    if (!strict || !v.isText()) return scalarToText(v);
    std::u16string out = u"\"";
    for (char16_t c : v.text()) {
        out += c;
        if (c == u'"') out += c;
    }
    return out + u"\"";
}

Value valueToText(Call& call) {
    const Value v = call.scalar(0);
    return textResult(valueText(v, strictFormat(call, 1)));
}

Value arrayToText(Call& call) {
    const auto m = call.matrix(0);
    const bool strict = strictFormat(call, 1);
    if (strict && m->size() == 1 && m->kindAt(0) == ValueKind::Blank) return Value::error(ecValue);
    std::u16string out = strict ? u"{" : u"";
    for (int32_t r = 0; r < m->rows(); ++r) {
        for (int32_t c = 0; c < m->columns(); ++c) {
            if (r > 0 || c > 0) out += strict ? (c == 0 ? u";" : u",") : u", ";
            out += valueText(m->at(r, c), strict);
            if (out.size() > kMaxTextLength) return Value::error(ecValue);
        }
    }
    if (strict) out += u'}';
    return textResult(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"TEXT", 2, 2, "VV", textFunction, 48},
    {u"FIXED", 1, 3, "VVV", fixed, 14},
    {u"DOLLAR", 1, 2, "VV", dollar, 13},
    {u"USDOLLAR", 1, 2, "VV", usDollar, 204},
    {u"VALUE", 1, 1, "V", value, 33},
    {u"NUMBERVALUE", 1, 3, "VVV", numberValue, kNoBiffId, kFilePrefix},
    {u"VALUETOTEXT", 1, 2, "VV", valueToText, kNoBiffId, kFilePrefix},
    {u"ARRAYTOTEXT", 1, 2, "RV", arrayToText, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> textConversionFunctions() { return kFunctions; }

}  // namespace kes::calc
