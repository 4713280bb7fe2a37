#include "sheet/text_to_value.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>

#include "text/ascii_case.h"

namespace kes {
namespace {

constexpr char16_t kSystemDecimalSeparator = u'.';
constexpr size_t kLongestNumberText = 400;

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::u16string_view trimSpaces(std::u16string_view s) {
    while (!s.empty() && s.front() == u' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == u' ') s.remove_suffix(1);
    return s;
}

// [sign] digits [separator digits] [E [sign] digits], spaces around; at least one digit.
std::optional<double> parseDecimal(std::u16string_view text, char16_t decimalSeparator) {
    text = trimSpaces(text);
    if (text.empty() || text.size() > kLongestNumberText) return std::nullopt;
    std::array<char, kLongestNumberText + 1> ascii;
    size_t n = 0, i = 0, digits = 0;
    if (text[i] == u'+' || text[i] == u'-') {
        if (text[i] == u'-') ascii[n++] = '-';
        ++i;
    }
    for (; i < text.size() && isDigit(text[i]); ++i, ++digits) ascii[n++] = char(text[i]);
    if (i < text.size() && text[i] == decimalSeparator) {
        ascii[n++] = '.';
        for (++i; i < text.size() && isDigit(text[i]); ++i, ++digits) ascii[n++] = char(text[i]);
    }
    if (digits == 0) return std::nullopt;
    if (i < text.size() && (text[i] == u'e' || text[i] == u'E')) {
        ascii[n++] = 'e';
        ++i;
        if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) ascii[n++] = char(text[i++]);
        size_t exponentDigits = 0;
        for (; i < text.size() && isDigit(text[i]); ++i, ++exponentDigits) ascii[n++] = char(text[i]);
        if (exponentDigits == 0) return std::nullopt;
    }
    if (i != text.size()) return std::nullopt;
    double value = 0;
    auto [end, ec] = std::from_chars(ascii.data(), ascii.data() + n, value);
    if (ec != std::errc() || end != ascii.data() + n || !std::isfinite(value)) return std::nullopt;
    return value == 0 ? 0.0 : value;   // no negative zero in a cell
}

std::optional<CellValue> parseMoney(std::u16string_view text, const FormatSettings& settings) {
    std::u16string amount(text);
    amount.erase(amount.find(settings.currencySymbol), settings.currencySymbol.size());
    std::u16string_view s = trimSpaces(amount);
    bool negative = false;
    if (s.size() >= 2 && s.front() == u'(' && s.back() == u')') {
        negative = true;
        s = trimSpaces(s.substr(1, s.size() - 2));
    }
    std::u16string digits;
    // Wrapped in parentheses or holding "-": negative, once, whichever the text has.
    for (char16_t c : s) {
        if (c == u'-') negative = true;
        else if (c != settings.thousandSeparator) digits.push_back(c);
    }
    if (digits.empty() || digits.front() == u'+' || digits.front() == u'-') return std::nullopt;
    const auto value = parseDecimal(digits, settings.decimalSeparator);
    if (!value || *value >= 922337203685477.0) return std::nullopt;
    const int64_t scaled = std::llround(*value * 10000.0);
    return CellValue::makeCurrency(negative ? -scaled : scaled);
}

// --- dates and times -------------------------------------------------------------------------

struct Scanner {
    std::u16string_view s;
    size_t pos = 0;

    bool atEnd() const { return pos >= s.size(); }
    bool number(int& value, int& length, int maxLength) {
        value = 0;
        length = 0;
        while (pos < s.size() && isDigit(s[pos]) && length < maxLength) {
            value = value * 10 + (s[pos++] - u'0');
            ++length;
        }
        return length > 0 && (pos >= s.size() || !isDigit(s[pos]));
    }
    bool skip(char16_t c) {
        if (pos < s.size() && s[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    }
    bool skipWord(std::u16string_view word) {
        if (word.empty() || !equalsIgnoringAsciiCase(s.substr(pos, word.size()), word)) return false;
        pos += word.size();
        return true;
    }
    void skipSpaces() { while (skip(u' ')) {} }
};

enum class DateOrder { YMD, MDY, DMY };

DateOrder dateOrderOf(std::u16string_view pattern) {
    std::u16string order;
    for (char16_t c : pattern) {
        const char16_t lower = (c >= u'A' && c <= u'Z') ? c + 32 : c;
        if ((lower == u'y' || lower == u'm' || lower == u'd') && order.find(lower) == std::u16string::npos)
            order.push_back(lower);
    }
    if (order.starts_with(u"m")) return DateOrder::MDY;
    if (order.starts_with(u"d")) return DateOrder::DMY;
    return DateOrder::YMD;
}

int fullYear(int year, int typedDigits) {
    if (typedDigits > 2) return year;
    return year < 30 ? 2000 + year : 1900 + year;   // Excel's two-digit year window
}

int thisYear() {
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    return static_cast<int>(std::chrono::year_month_day(today).year());
}

std::optional<double> scanDate(Scanner& in, char16_t separator, DateOrder order, std::optional<int> currentYear) {
    int n[3], len[3];
    if (!in.number(n[0], len[0], 4) || !in.skip(separator) || !in.number(n[1], len[1], 4)) return std::nullopt;
    int year, month, day;
    const size_t afterTwo = in.pos;
    if (in.skip(separator) && in.number(n[2], len[2], 4)) {
        switch (order) {
        case DateOrder::YMD: year = fullYear(n[0], len[0]); month = n[1]; day = n[2]; break;
        case DateOrder::MDY: month = n[0]; day = n[1]; year = fullYear(n[2], len[2]); break;
        case DateOrder::DMY: day = n[0]; month = n[1]; year = fullYear(n[2], len[2]); break;
        }
    } else {
        in.pos = afterTwo;
        year = currentYear ? *currentYear : thisYear();
        if (order == DateOrder::DMY) { day = n[0]; month = n[1]; }
        else { month = n[0]; day = n[1]; }
    }
    return dateSerial(year, month, day);
}

std::optional<double> scanTime(Scanner& in, const FormatSettings& settings) {
    int hour, minute, second = 0, millis = 0, length;
    if (!in.number(hour, length, 2) || !in.skip(settings.timeSeparator) || !in.number(minute, length, 2)) return std::nullopt;
    if (in.skip(settings.timeSeparator)) {
        if (!in.number(second, length, 2)) return std::nullopt;
        if (in.skip(settings.decimalSeparator)) {
            if (!in.number(millis, length, 3)) return std::nullopt;
            for (; length < 3; ++length) millis *= 10;
        }
    }
    in.skipSpaces();
    int meridiem = 0;   // 1 am, 2 pm
    if (in.skipWord(u"AM") || in.skipWord(settings.amText)) meridiem = 1;
    else if (in.skipWord(u"PM") || in.skipWord(settings.pmText)) meridiem = 2;
    if (meridiem) {
        if (hour < 1 || hour > 12) return std::nullopt;
        hour = hour % 12 + (meridiem == 2 ? 12 : 0);
    }
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return (hour * 3600.0 + minute * 60.0 + second + millis / 1000.0) / 86400.0;
}

std::optional<double> parseDateTime(std::u16string_view text, const FormatSettings& settings, char16_t separator,
                                    std::optional<int> currentYear) {
    const std::u16string_view s = trimSpaces(text);
    const DateOrder order = dateOrderOf(settings.shortDateFormat);
    Scanner in{s};
    if (auto date = scanDate(in, separator, order, currentYear)) {
        if (in.atEnd()) return date;
        in.skipSpaces();
        if (auto time = scanTime(in, settings); time && in.atEnd()) return *date + *time;
    }
    Scanner timeOnly{s};
    if (auto time = scanTime(timeOnly, settings); time && timeOnly.atEnd()) return time;
    return std::nullopt;
}

std::optional<double> readDateTime(std::u16string_view text, const FormatSettings& settings, std::optional<int> currentYear) {
    const char16_t configured = settings.dateSeparator;
    std::u16string separators(1, configured);
    if (configured == u'-') separators += u"/";
    else if (configured == u'.') separators += u"/-";
    else if (configured == u'/') separators += u"-";
    for (char16_t separator : separators) {
        if (auto serial = parseDateTime(text, settings, separator, currentYear)) return serial;
    }
    return std::nullopt;
}

int64_t daysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

}  // namespace

std::optional<double> dateSerial(int year, int month, int day) {
    static constexpr int kDaysInMonth[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1900 || year > 9999 || month < 1 || month > 12 || day < 1 || day > kDaysInMonth[month - 1])
        return std::nullopt;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29 && year == 1900) return 60.0;
    if (month == 2 && day == 29 && !leap) return std::nullopt;
    int64_t serial = daysFromCivil(year, month, day) - daysFromCivil(1899, 12, 30);
    if (serial < 61) --serial;   // before Excel's fictitious 29 February 1900
    return static_cast<double>(serial);
}

std::optional<CellValue> textToValue(std::u16string_view text, const FormatSettings& settings,
                                     std::optional<int> currentYear) {
    if (text.find_first_of(u"=\"") != std::u16string_view::npos) return std::nullopt;
    if (text.empty()) return CellValue{};
    if (!settings.currencySymbol.empty() && text.find(settings.currencySymbol) != std::u16string_view::npos)
        return parseMoney(text, settings);
    if (auto number = parseDecimal(text, settings.decimalSeparator)) return CellValue::makeFloat(*number);
    if (settings.decimalSeparator != kSystemDecimalSeparator) {
        if (auto number = parseDecimal(text, kSystemDecimalSeparator)) return CellValue::makeFloat(*number);
    }
    if (equalsIgnoringAsciiCase(text, u"True")) return CellValue::makeBoolean(true);
    if (equalsIgnoringAsciiCase(text, u"False")) return CellValue::makeBoolean(false);
    if (auto serial = readDateTime(text, settings, currentYear)) {
        // Every date-time value counts from 1904 in such workbooks, a time typed alone too.
        return CellValue::makeDateTime(settings.date1904 ? *serial - 1462 : *serial);
    }
    return std::nullopt;
}

}  // namespace kes
