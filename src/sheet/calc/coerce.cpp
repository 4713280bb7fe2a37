#include "sheet/calc/coerce.h"

#include <charconv>
#include <cmath>
#include <string>

#include "sheet/calc/unicode_case.h"
#include "sheet/format/format_code.h"
#include "sheet/format/number_format.h"
#include "sheet/text_to_value.h"

namespace kes::calc {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isSpace(char16_t c) { return c == u' ' || c == u'\t' || c == 0x3000 || c == 0xA0; }

std::u16string_view trim(std::u16string_view s) {
    while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
    while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
    return s;
}

// The currency signs a number text may carry: the workbook's own and the common ones.
size_t currencyAt(std::u16string_view s, size_t i, const FormatSettings& settings) {
    if (i >= s.size()) return 0;
    if (!settings.currencySymbol.empty() && s.substr(i).starts_with(settings.currencySymbol)) {
        return settings.currencySymbol.size();
    }
    const char16_t c = s[i];
    return c == u'$' || c == u'\u00A5' || c == u'\uFFE5' || c == u'\u20AC' || c == u'\u00A3' ? 1 : 0;
}

// [(] [sign] [currency] [sign] digits with thousands commas [.digits] [E[sign]digits] [%] [)]
std::optional<double> parsePlainNumber(std::u16string_view s, const FormatSettings& settings) {
    bool negative = false;
    if (s.size() >= 2 && s.front() == u'(' && s.back() == u')') {
        negative = true;
        s = trim(s.substr(1, s.size() - 2));
    }
    size_t i = 0;
    bool signed_ = false;
    const auto sign = [&] {
        if (!signed_ && i < s.size() && (s[i] == u'+' || s[i] == u'-')) {
            if (s[i] == u'-') negative = !negative;
            signed_ = true;
            ++i;
            while (i < s.size() && isSpace(s[i])) ++i;
        }
    };
    sign();
    if (const size_t length = currencyAt(s, i, settings)) {
        i += length;
        while (i < s.size() && isSpace(s[i])) ++i;
        sign();
    }
    std::string ascii;
    size_t digits = 0;
    for (; i < s.size(); ++i) {
        if (isDigit(s[i])) {
            ascii += char(s[i]);
            ++digits;
        } else if (s[i] == settings.thousandSeparator && digits > 0 && i + 1 < s.size() && isDigit(s[i + 1]) &&
                   settings.thousandSeparator != settings.decimalSeparator) {
            continue;
        } else {
            break;
        }
    }
    if (!scanFractionAndExponent(s, i, settings.decimalSeparator, digits, ascii)) return std::nullopt;
    if (const size_t length = currencyAt(s, i, settings)) i += length;
    int percents = 0;
    while (i < s.size() && (s[i] == u'%' || isSpace(s[i]))) {
        if (s[i] == u'%') ++percents;
        ++i;
    }
    if (i != s.size() || percents > 1) return std::nullopt;
    double value = 0;
    const auto [end, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    if (ec != std::errc() || end != ascii.data() + ascii.size() || !std::isfinite(value)) return std::nullopt;
    if (percents) value /= 100;
    return negative ? -value : value;
}

// "1 1/2", "-3 3/4": a whole number and a fraction.
std::optional<double> parseMixedFraction(std::u16string_view s) {
    const size_t space = s.find(u' ');
    const size_t slash = s.find(u'/');
    if (space == std::u16string_view::npos || slash == std::u16string_view::npos || slash < space) return std::nullopt;
    const auto integer = [](std::u16string_view t, int64_t& out) {
        if (t.empty() || t.size() > 15) return false;
        out = 0;
        for (char16_t c : t) {
            if (!isDigit(c)) return false;
            out = out * 10 + (c - u'0');
        }
        return true;
    };
    bool negative = false;
    std::u16string_view whole = s.substr(0, space);
    if (!whole.empty() && whole.front() == u'-') {
        negative = true;
        whole.remove_prefix(1);
    }
    int64_t w, n, d;
    if (!integer(whole, w) || !integer(trim(s.substr(space + 1, slash - space - 1)), n) ||
        !integer(trim(s.substr(slash + 1)), d) || d == 0) {
        return std::nullopt;
    }
    const double value = double(w) + double(n) / double(d);
    return negative ? -value : value;
}

constexpr std::u16string_view kMonths[] = {u"JANUARY", u"FEBRUARY", u"MARCH",     u"APRIL",   u"MAY",      u"JUNE",
                                           u"JULY",    u"AUGUST",   u"SEPTEMBER", u"OCTOBER", u"NOVEMBER", u"DECEMBER"};

// A month name, whole or cut to at least three letters; 0 when the word is none.
int monthOfWord(std::u16string_view word) {
    if (word.size() < 3) return 0;
    const std::u16string upper = upperCase(word);
    for (int m = 0; m < 12; ++m) {
        if (upper.size() <= kMonths[m].size() && kMonths[m].starts_with(upper)) return m + 1;
    }
    if (upper == u"SEPT") return 9;
    return 0;
}

int currentYear() {
    const auto now = textToValue(u"1/1", FormatSettings{});   // the grid's idea of this year
    return now ? dateOfSerial(int64_t(now->number)).year : 2000;
}

struct Token {
    enum Kind { Number, Month, Year, MonthMark, Day, Time } kind;
    int value = 0;
    int digits = 0;
    double time = 0;
};

// Dates with month names or Chinese markers, with an optional time: 5-Jan-2024, Jan 5, 2024,
// 2024年1月5日 10:30.
std::optional<double> parseWordDate(std::u16string_view s, const FormatSettings& settings) {
    std::vector<Token> tokens;
    size_t i = 0;
    while (i < s.size()) {
        const char16_t c = s[i];
        if (isSpace(c) || c == u',' || c == u'-' || c == u'/' || c == u'.') {
            ++i;
            continue;
        }
        if (isDigit(c)) {
            size_t j = i;
            int value = 0;
            while (j < s.size() && isDigit(s[j]) && j - i < 5) value = value * 10 + (s[j++] - u'0');
            if (j < s.size() && s[j] == settings.timeSeparator) {
                // The rest is a time of day.
                const auto time = textToValue(s.substr(i), [&] {
                    FormatSettings plain = settings;
                    plain.date1904 = false;
                    return plain;
                }());
                if (!time || time->type != cdtDateTime || time->number >= 1) return std::nullopt;
                tokens.push_back({Token::Time, 0, 0, time->number});
                break;
            }
            tokens.push_back({Token::Number, value, int(j - i)});
            i = j;
            continue;
        }
        if (c == u'\u5E74') tokens.push_back({Token::Year});        // 年
        else if (c == u'\u6708') tokens.push_back({Token::MonthMark});   // 月
        else if (c == u'\u65E5' || c == u'\u53F7') tokens.push_back({Token::Day});   // 日, 号
        else if ((c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z')) {
            size_t j = i;
            while (j < s.size() && ((s[j] >= u'A' && s[j] <= u'Z') || (s[j] >= u'a' && s[j] <= u'z'))) ++j;
            const int month = monthOfWord(s.substr(i, j - i));
            if (!month) return std::nullopt;
            tokens.push_back({Token::Month, month});
            i = j;
            continue;
        } else {
            return std::nullopt;
        }
        ++i;
    }
    double time = 0;
    if (!tokens.empty() && tokens.back().kind == Token::Time) {
        time = tokens.back().time;
        tokens.pop_back();
    }
    int year = 0, month = 0, day = 0;
    const auto fullYear = [](const Token& t) { return t.digits <= 2 ? (t.value < 30 ? 2000 + t.value : 1900 + t.value) : t.value; };
    // Chinese: numbers each followed by their marker.
    bool chinese = false;
    for (size_t k = 0; k + 1 < tokens.size(); ++k) {
        if (tokens[k].kind != Token::Number) continue;
        const Token::Kind marker = tokens[k + 1].kind;
        if (marker == Token::Year) year = fullYear(tokens[k]), chinese = true;
        else if (marker == Token::MonthMark) month = tokens[k].value, chinese = true;
        else if (marker == Token::Day) day = tokens[k].value, chinese = true;
    }
    if (chinese) {
        if (!month) return std::nullopt;
        if (!year) year = currentYear();
        if (!day) day = 1;
    } else {
        int monthAt = -1;
        for (size_t k = 0; k < tokens.size(); ++k) {
            if (tokens[k].kind == Token::Month) {
                if (monthAt >= 0) return std::nullopt;
                monthAt = int(k);
            } else if (tokens[k].kind != Token::Number) {
                return std::nullopt;
            }
        }
        if (monthAt < 0 || tokens.size() > 3 || tokens.size() < 2) return std::nullopt;
        month = tokens[size_t(monthAt)].value;
        std::vector<Token> numbers;
        for (const Token& t : tokens) {
            if (t.kind == Token::Number) numbers.push_back(t);
        }
        if (numbers.size() == 2) {
            day = numbers[0].value;
            year = fullYear(numbers[1]);
        } else if (numbers[0].digits > 2 || numbers[0].value > 31) {
            day = 1;
            year = fullYear(numbers[0]);
        } else {
            day = numbers[0].value;
            year = currentYear();
        }
    }
    const auto serial = dateSerial(year, month, day);
    if (!serial) return std::nullopt;
    return *serial + time;
}

}  // namespace

bool scanFractionAndExponent(std::u16string_view text, size_t& pos, char16_t point, size_t digits, std::string& ascii) {
    size_t i = pos;
    if (i < text.size() && text[i] == point) {
        ascii += '.';
        for (++i; i < text.size() && isDigit(text[i]); ++i, ++digits) ascii += char(text[i]);
    }
    if (digits == 0) return false;
    if (i < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        size_t j = i + 1;
        std::string exponent = "e";
        if (j < text.size() && (text[j] == u'+' || text[j] == u'-')) exponent += char(text[j++]);
        size_t exponentDigits = 0;
        for (; j < text.size() && isDigit(text[j]); ++j, ++exponentDigits) exponent += char(text[j]);
        if (exponentDigits == 0) return false;
        ascii += exponent;
        i = j;
    }
    pos = i;
    return true;
}

namespace {

std::optional<double> readDateTime(std::u16string_view s, const FormatSettings& settings) {
    if (s.empty()) return std::nullopt;
    FormatSettings plain = settings;
    plain.date1904 = false;
    if (const auto value = textToValue(s, plain); value && value->type == cdtDateTime) return value->number;
    // Month first, as the English-language files and web pages that reach Chinese users write
    // dates (1/31/2024 2:00 AM), when the system's order does not read the text.
    plain.shortDateFormat = u"m/d/yyyy";
    if (const auto value = textToValue(s, plain); value && value->type == cdtDateTime) return value->number;
    // And day first, for the texts month first cannot read (13/01/2024).
    plain.shortDateFormat = u"d/m/yyyy";
    if (const auto value = textToValue(s, plain); value && value->type == cdtDateTime) return value->number;
    // ISO with a T between date and time, as web exports write it.
    if (const size_t t = s.find(u'T'); t == 10 && s.size() > 11) {
        const auto date = textToValue(s.substr(0, 10), plain);
        const auto time = textToValue(s.substr(11), plain);
        if (date && time && date->type == cdtDateTime && time->type == cdtDateTime) return date->number + time->number;
    }
    return parseWordDate(s, settings);
}

}  // namespace

std::optional<double> textToDateTime(std::u16string_view text, const FormatSettings& settings) {
    auto serial = readDateTime(trim(text), settings);
    // A date counts from 1904 in such workbooks; a time alone is a fraction of a day in both.
    if (serial && settings.date1904 && *serial >= 1) *serial -= 1462;
    return serial;
}

std::optional<double> textToNumber(std::u16string_view text, const FormatSettings& settings) {
    const std::u16string_view s = trim(text);
    if (s.empty() || s.size() > 400) return std::nullopt;
    if (const auto number = parsePlainNumber(s, settings)) return number;
    if (const auto fraction = parseMixedFraction(s)) return fraction;
    return textToDateTime(s, settings);
}

std::u16string numberToText(double value) { return formatGeneral(value, FormatSettings{}); }

std::u16string scalarToText(const Value& value) {
    switch (value.kind()) {
    case ValueKind::Number: return numberToText(value.number());
    case ValueKind::Text: return value.text();
    case ValueKind::Boolean: return value.boolean() ? u"TRUE" : u"FALSE";
    case ValueKind::Error: return std::u16string(errorText(value.error()));
    default: return {};
    }
}

bool nearlyEqual(double a, double b) {
    if (a == b) return true;
    if ((a < 0) != (b < 0)) return false;
    return std::fabs(a - b) <= 1e-15 * std::max(std::fabs(a), std::fabs(b));
}

int compareValues(const Value& a, const Value& b) {
    const auto rank = [](ValueKind kind) { return kind == ValueKind::Text ? 1 : kind == ValueKind::Boolean ? 2 : 0; };
    ValueKind ka = a.kind(), kb = b.kind();
    if (ka == ValueKind::Blank && kb == ValueKind::Blank) return 0;
    if (ka == ValueKind::Blank) ka = kb == ValueKind::Text ? ValueKind::Text : kb;
    if (kb == ValueKind::Blank) kb = ka == ValueKind::Text ? ValueKind::Text : ka;
    if (rank(ka) != rank(kb)) return rank(ka) < rank(kb) ? -1 : 1;
    if (ka == ValueKind::Text) {
        const std::u16string_view x = a.isBlank() ? std::u16string_view() : std::u16string_view(a.text());
        const std::u16string_view y = b.isBlank() ? std::u16string_view() : std::u16string_view(b.text());
        const size_t n = std::min(x.size(), y.size());
        for (size_t i = 0; i < n; ++i) {
            const char16_t p = toUpper(x[i]), q = toUpper(y[i]);
            if (p != q) return p < q ? -1 : 1;
        }
        return x.size() == y.size() ? 0 : x.size() < y.size() ? -1 : 1;
    }
    const double x = a.number(), y = b.number();
    if (nearlyEqual(x, y)) return 0;
    return x < y ? -1 : 1;
}

bool wildcardMatch(std::u16string_view text, std::u16string_view pattern) {
    size_t t = 0, p = 0, starPattern = std::u16string_view::npos, starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            starPattern = ++p;
            starText = t;
            continue;
        }
        if (p < pattern.size()) {
            const bool escaped = pattern[p] == u'~' && p + 1 < pattern.size() &&
                                 (pattern[p + 1] == u'*' || pattern[p + 1] == u'?' || pattern[p + 1] == u'~');
            const char16_t want = escaped ? pattern[p + 1] : pattern[p];
            if ((!escaped && want == u'?') || toUpper(want) == toUpper(text[t])) {
                p += escaped ? 2 : 1;
                ++t;
                continue;
            }
        }
        if (starPattern == std::u16string_view::npos) return false;
        p = starPattern;   // let the last * take one more character
        t = ++starText;
    }
    while (p < pattern.size() && pattern[p] == u'*') ++p;
    return p == pattern.size();
}

bool hasWildcards(std::u16string_view pattern) {
    return pattern.find_first_of(u"*?~") != std::u16string_view::npos;
}

std::optional<size_t> wildcardFind(std::u16string_view text, std::u16string_view pattern, size_t from) {
    std::u16string open(pattern);
    open += u'*';
    for (size_t p = from; p <= text.size(); ++p) {
        if (wildcardMatch(text.substr(p), open)) {
            if (pattern.empty() || p < text.size() || wildcardMatch(u"", pattern)) return p;
        }
    }
    return std::nullopt;
}

Criterion::Criterion(const Value& criterion, const FormatSettings& settings) : settings_(&settings) {
    if (!criterion.isText()) {
        // An empty cell as the criterion counts as 0, as Excel documents it.
        target_ = criterion.isBlank() ? Value::number(0) : criterion;
        return;
    }
    std::u16string_view c = criterion.text();
    if (c.starts_with(u"<>")) op_ = Op::NotEqual, c.remove_prefix(2);
    else if (c.starts_with(u"<=")) op_ = Op::LessEqual, c.remove_prefix(2);
    else if (c.starts_with(u">=")) op_ = Op::GreaterEqual, c.remove_prefix(2);
    else if (c.starts_with(u"=")) {
        c.remove_prefix(1);
        blankOnly_ = c.empty();
    } else if (c.starts_with(u"<")) op_ = Op::Less, c.remove_prefix(1);
    else if (c.starts_with(u">")) op_ = Op::Greater, c.remove_prefix(1);
    if (c.empty()) {
        target_ = Value::text(u"");
        return;
    }
    if (const auto number = textToNumber(c, settings)) {
        target_ = Value::number(*number);
    } else if (equalsIgnoringAsciiCase(c, u"TRUE") || equalsIgnoringAsciiCase(c, u"FALSE")) {
        target_ = Value::boolean(equalsIgnoringAsciiCase(c, u"TRUE"));
    } else {
        for (uint8_t code = ecNull; code <= ecCalc; ++code) {
            if (equalsIgnoringAsciiCase(c, errorText(FormulaErrorCode(code)))) {
                target_ = Value::error(FormulaErrorCode(code));
                return;
            }
        }
        target_ = Value::text(std::u16string(c));
        wildcard_ = (op_ == Op::Equal || op_ == Op::NotEqual) && hasWildcards(c);
    }
}

bool Criterion::equals(const Value& value) const {
    switch (target_.kind()) {
    case ValueKind::Number:
        if (value.isNumber()) return nearlyEqual(value.number(), target_.number());
        if (value.isText()) {
            const auto number = textToNumber(value.text(), *settings_);
            return number && nearlyEqual(*number, target_.number());
        }
        return false;
    case ValueKind::Text:
        if (target_.text().empty()) return blankOnly_ ? value.isBlank() : value.isBlank() || (value.isText() && value.text().empty());
        if (!value.isText()) return false;
        return wildcard_ ? wildcardMatch(value.text(), target_.text()) : equalsIgnoringAsciiCase(value.text(), target_.text()) ||
                                                                            compareValues(value, target_) == 0;
    case ValueKind::Boolean: return value.isBoolean() && value.boolean() == target_.boolean();
    case ValueKind::Error: return value.isError() && value.error() == target_.error();
    default: return value.isBlank();
    }
}

bool Criterion::matches(const Value& value) const {
    switch (op_) {
    case Op::Equal: return equals(value);
    case Op::NotEqual: return !equals(value);
    default: break;
    }
    if (value.isBlank() || value.isError()) return false;
    if (target_.isNumber() && !value.isNumber()) return false;
    if (target_.isText() && !value.isText()) return false;
    if (target_.isBoolean() && !value.isBoolean()) return false;
    const int order = compareValues(value, target_);
    switch (op_) {
    case Op::Less: return order < 0;
    case Op::LessEqual: return order <= 0;
    case Op::Greater: return order > 0;
    default: return order >= 0;
    }
}

}  // namespace kes::calc
