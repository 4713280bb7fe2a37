#include "sheet/format/number_format.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>

#include "sheet/format/format_code.h"
#include "text/ascii_case.h"

namespace kes {
namespace {

constexpr double kLastSerial = 2958466.0;   // 10000-01-01 in the 1900 system

std::u16string ascii(std::string_view s) { return std::u16string(s.begin(), s.end()); }

bool isGeneral(std::u16string_view code) {
    return code.empty() || equalsIgnoringAsciiCase(code, u"General") || code == u"G/\u901A\u7528\u683C\u5F0F";   // G/通用格式
}

// The value rounded to 15 significant digits: its digits without trailing zeros and the
// decimal exponent of the first one.
struct Digits {
    std::string digits;
    int exponent = 0;
    bool negative = false;
};

Digits significantDigits(double value) {
    char buffer[40];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific, 14);
    const std::string_view text(buffer, static_cast<size_t>(end - buffer));
    Digits d;
    size_t i = 0;
    if (text[i] == '-') {
        d.negative = true;
        ++i;
    }
    for (; i < text.size() && text[i] != 'e'; ++i) {
        if (text[i] != '.') d.digits.push_back(text[i]);
    }
    std::from_chars(text.data() + i + 1 + (text[i + 1] == '+'), text.data() + text.size(), d.exponent);
    while (d.digits.size() > 1 && d.digits.back() == '0') d.digits.pop_back();
    return d;
}


}  // namespace

namespace {

std::u16string number(int value, int width) {
    std::string s = std::to_string(value);
    while (static_cast<int>(s.size()) < width) s.insert(s.begin(), '0');
    return ascii(s);
}

// Expands the y, m, d, h, m(inutes) and s letters of a settings pattern such as "yyyy/m/d"
// or "h:mm:ss"; everything else is copied.
std::u16string expandPattern(std::u16string_view pattern, const Date& date, int hour, int minute,
                             int second) {
    std::u16string out;
    for (size_t i = 0; i < pattern.size();) {
        const char16_t c = pattern[i] >= u'A' && pattern[i] <= u'Z' ? pattern[i] + 32 : pattern[i];
        size_t run = 1;
        while (i + run < pattern.size() && (pattern[i + run] | 0x20) == c) ++run;
        const int width = static_cast<int>(run);
        switch (c) {
        case u'y': out += run <= 2 ? number(date.year % 100, 2) : number(date.year, 4); break;
        case u'd': out += number(date.day, width); break;
        case u'h': out += number(hour, width); break;
        case u's': out += number(second, width); break;
        case u'm': {
            const bool minutes = pattern.find(u'h') != std::u16string_view::npos;
            out += number(minutes ? minute : date.month, width);
            break;
        }
        default: out.append(pattern.substr(i, run)); break;
        }
        i += run;
    }
    return out;
}

// The day and the second of the day of a serial, the seconds rounded to the nearest one.
void splitSerial(double serial, int64_t& days, int64_t& seconds) {
    days = static_cast<int64_t>(std::floor(serial));
    seconds = std::llround((serial - double(days)) * 86400.0);
    if (seconds == 86400) {
        ++days;
        seconds = 0;
    }
}

// Every date-time value of a 1904-based workbook counts from 1904, a time typed alone too.
double shiftedSerial(double serial, const FormatSettings& settings) {
    return settings.date1904 ? serial + 1462 : serial;
}

std::u16string dateTimeText(double value, const FormatSettings& settings) {
    const double serial = shiftedSerial(value, settings);
    if (serial < 0 || serial >= kLastSerial) return u"########";
    int64_t days, seconds;
    splitSerial(serial, days, seconds);
    const Date date = dateOfSerial(days);
    const int hour = int(seconds / 3600), minute = int(seconds / 60 % 60), second = int(seconds % 60);
    const std::u16string datePart = expandPattern(settings.shortDateFormat, date, hour, minute, second);
    const std::u16string timePart = expandPattern(settings.longTimeFormat, date, hour, minute, second);
    switch (dateTimeParts(value, settings)) {
    case DateTimeParts::Date: return datePart;
    case DateTimeParts::Time: return timePart;
    case DateTimeParts::Both: break;
    }
    return datePart + u' ' + timePart;
}

std::u16string groupThousands(const std::string& digits, char16_t separator) {
    std::u16string out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += separator;
        out += char16_t(digits[i]);
    }
    return out;
}

std::u16string currencyText(double value, const FormatSettings& settings) {
    const double cents = std::round(std::fabs(value) * 100.0);
    const auto whole = static_cast<uint64_t>(cents / 100.0);
    const auto fraction = static_cast<unsigned>(cents - double(whole) * 100.0);
    std::u16string text = value < 0 && cents > 0 ? u"-" : u"";
    text += settings.currencySymbol;
    text += groupThousands(std::to_string(whole), settings.thousandSeparator);
    text += settings.decimalSeparator;
    text += number(static_cast<int>(fraction), 2);
    return text;
}

}  // namespace

DateTimeParts dateTimeParts(double serial, const FormatSettings& settings) {
    int64_t days, seconds;
    splitSerial(shiftedSerial(serial, settings), days, seconds);
    if (seconds == 0) return DateTimeParts::Date;
    return days == 0 ? DateTimeParts::Time : DateTimeParts::Both;
}

std::u16string formatGeneral(double value, const FormatSettings& settings) {
    if (value == 0 || !std::isfinite(value)) return u"0";
    if (std::fabs(value) < 1e15 && value == std::trunc(value)) {
        // Whole numbers below 1E+15 (counts, ids, barcodes) have at most 15 digits, all exact:
        // the rounding to 15 significant digits cannot change them.
        char16_t buffer[20];
        char16_t* p = std::end(buffer);
        for (auto n = static_cast<uint64_t>(std::fabs(value)); n != 0; n /= 10) *--p = char16_t(u'0' + n % 10);
        if (value < 0) *--p = u'-';
        return std::u16string(p, std::end(buffer));
    }
    const Digits d = significantDigits(value);
    std::u16string out;
    out.reserve(23);   // the longest General text, -1.23456789012346E-300, in one allocation
    if (d.negative) out += u'-';
    const double magnitude = std::fabs(value);
    if (magnitude < 1e-9 || d.exponent >= 15) {
        out += char16_t(d.digits[0]);
        if (d.digits.size() > 1) {
            out += settings.decimalSeparator;
            out.append(d.digits.begin() + 1, d.digits.end());
        }
        out += d.exponent < 0 ? u"E-" : u"E+";
        out += number(std::abs(d.exponent), 2);
        return out;
    }
    if (d.exponent < 0) {
        out += u'0';
        out += settings.decimalSeparator;
        out.append(static_cast<size_t>(-d.exponent - 1), u'0');
        out.append(d.digits.begin(), d.digits.end());
        return out;
    }
    const size_t wholeDigits = static_cast<size_t>(d.exponent) + 1;
    if (d.digits.size() <= wholeDigits) {
        out.append(d.digits.begin(), d.digits.end());
        out.append(wholeDigits - d.digits.size(), u'0');
    } else {
        out.append(d.digits.begin(), d.digits.begin() + std::ptrdiff_t(wholeDigits));
        out += settings.decimalSeparator;
        out.append(d.digits.begin() + std::ptrdiff_t(wholeDigits), d.digits.end());
    }
    return out;
}

FormattedText formatNumber(double value, std::u16string_view code, const FormatSettings& settings,
                           NumberHint hint) {
    if (isGeneral(code)) {
        switch (hint) {
        case NumberHint::DateTime: return {dateTimeText(value, settings), {}};
        case NumberHint::Currency: return {currencyText(value, settings), {}};
        case NumberHint::Plain: break;
        }
        return {formatGeneral(value, settings), {}};
    }
    if (auto formatted = formatWithCode(value, code, settings)) return *formatted;
    return {formatGeneral(value, settings), {}};
}

FormattedText formatText(std::u16string_view text, std::u16string_view code) {
    if (isGeneral(code)) return {std::u16string(text), {}};
    return formatTextWithCode(text, code);
}

bool isTextFormat(std::u16string_view code) { return code == u"@"; }

bool isDateTimeFormat(std::u16string_view code) { return !isGeneral(code) && isDateTimeCode(code); }

std::u16string_view builtinFormatCode(int id) {
    switch (id) {
    case 0: return u"General";
    case 1: return u"0";
    case 2: return u"0.00";
    case 3: return u"#,##0";
    case 4: return u"#,##0.00";
    case 5: return u"\"\u00A5\"#,##0;\"\u00A5\"-#,##0";
    case 6: return u"\"\u00A5\"#,##0;[Red]\"\u00A5\"-#,##0";
    case 7: return u"\"\u00A5\"#,##0.00;\"\u00A5\"-#,##0.00";
    case 8: return u"\"\u00A5\"#,##0.00;[Red]\"\u00A5\"-#,##0.00";
    case 9: return u"0%";
    case 10: return u"0.00%";
    case 11: return u"0.00E+00";
    case 12: return u"# ?/?";
    case 13: return u"# ?" u"?/?" u"?";   // written apart: "??/" would be a trigraph
    case 14: return u"yyyy/m/d";
    case 15: return u"d-mmm-yy";
    case 16: return u"d-mmm";
    case 17: return u"mmm-yy";
    case 18: return u"h:mm AM/PM";
    case 19: return u"h:mm:ss AM/PM";
    case 20: return u"h:mm";
    case 21: return u"h:mm:ss";
    case 22: return u"yyyy/m/d h:mm";
    case 27: return u"yyyy\"\u5E74\"m\"\u6708\"";                        // yyyy"年"m"月"
    case 28: return u"m\"\u6708\"d\"\u65E5\"";                            // m"月"d"日"
    case 29: return u"m\"\u6708\"d\"\u65E5\"";
    case 30: return u"m-d-yy";
    case 31: return u"yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"";             // yyyy"年"m"月"d"日"
    case 32: return u"h\"\u65F6\"mm\"\u5206\"";                           // h"时"mm"分"
    case 33: return u"h\"\u65F6\"mm\"\u5206\"ss\"\u79D2\"";               // h"时"mm"分"ss"秒"
    case 34: return u"\u4E0A\u5348/\u4E0B\u5348h\"\u65F6\"mm\"\u5206\"";          // 上午/下午h"时"mm"分"
    case 35: return u"\u4E0A\u5348/\u4E0B\u5348h\"\u65F6\"mm\"\u5206\"ss\"\u79D2\"";
    case 36: return u"yyyy\"\u5E74\"m\"\u6708\"";
    case 37: return u"#,##0 ;(#,##0)";
    case 38: return u"#,##0 ;[Red](#,##0)";
    case 39: return u"#,##0.00;(#,##0.00)";
    case 40: return u"#,##0.00;[Red](#,##0.00)";
    case 41: return u"_ * #,##0_ ;_ * -#,##0_ ;_ * \"-\"_ ;_ @_ ";
    case 42: return u"_ \u00A5* #,##0_ ;_ \u00A5* -#,##0_ ;_ \u00A5* \"-\"_ ;_ @_ ";
    case 43: return u"_ * #,##0.00_ ;_ * -#,##0.00_ ;_ * \"-\"?" u"?_ ;_ @_ ";
    case 44: return u"_ \u00A5* #,##0.00_ ;_ \u00A5* -#,##0.00_ ;_ \u00A5* \"-\"?" u"?_ ;_ @_ ";
    case 45: return u"mm:ss";
    case 46: return u"[h]:mm:ss";
    case 47: return u"mm:ss.0";
    case 48: return u"##0.0E+0";
    case 49: return u"@";
    default: return {};
    }
}

}  // namespace kes
