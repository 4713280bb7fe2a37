// Dates and times through a section of date letters, and the calendar of date serials with the
// spreadsheet's 29 February 1900.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "sheet/format/chinese_numerals.h"
#include "sheet/format/format_code.h"
#include "sheet/format/format_sections.h"

namespace kes {
namespace {

Date civilFromDays(int64_t z) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return {static_cast<int>(yoe + era * 400 + (m <= 2)), static_cast<int>(m), static_cast<int>(d)};
}

constexpr int64_t kDaysTo18991230 = -25569;   // 1899-12-30 counted from 1970-01-01
constexpr double kLastSerial = 2958466.0;     // 10000-01-01 in the 1900 system
constexpr int64_t k1904Offset = 1462;         // 1904-01-01 in the 1900 system

const char16_t* const kMonths[] = {u"January", u"February", u"March", u"April", u"May", u"June", u"July",
                                   u"August", u"September", u"October", u"November", u"December"};
const char16_t* const kDays[] = {u"Sunday", u"Monday", u"Tuesday", u"Wednesday", u"Thursday", u"Friday",
                                 u"Saturday"};
const char16_t kChineseDays[] = u"\u65E5\u4E00\u4E8C\u4E09\u56DB\u4E94\u516D";   // 日一二三四五六

void appendNumber(int64_t value, int width, std::u16string& out) {
    char16_t buffer[24];
    int length = 0;
    do {
        buffer[length++] = char16_t(u'0' + value % 10);
        value /= 10;
    } while (value > 0);
    for (int i = length; i < width; ++i) out += u'0';
    while (length > 0) out += buffer[--length];
}

}  // namespace

Date dateOfSerial(int64_t days) {
    if (days == 60) return {1900, 2, 29};
    if (days == 0) return {1900, 1, 0};
    return civilFromDays(kDaysTo18991230 + days + (days < 60 ? 1 : 0));
}

bool appendDateSection(const FormatSection& section, double serial, const FormatSettings& settings,
                       std::u16string& out) {
    const double shifted = settings.date1904 ? serial + double(k1904Offset) : serial;
    if (!(shifted >= 0 && shifted < kLastSerial)) return false;
    // Rounded to the precision shown before splitting into days, hours, minutes and seconds, so
    // that 23:59:59.6 shows as the next day's 0:00:00.
    int64_t unitsPerSecond = 1;
    for (int i = 0; i < section.secondDecimals; ++i) unitsPerSecond *= 10;
    const int64_t unitsPerDay = 86400 * unitsPerSecond;
    const int64_t units = std::llround(shifted * double(unitsPerDay));
    const int64_t days = units / unitsPerDay;
    const int64_t unitsOfDay = units % unitsPerDay;
    const int64_t secondsOfDay = unitsOfDay / unitsPerSecond;
    // Elapsed time counts from the value itself, not from the shifted 1904 serial.
    const int64_t elapsedSeconds = std::llround(serial * double(unitsPerDay)) / unitsPerSecond;
    const Date date = dateOfSerial(days);
    int hour = int(secondsOfDay / 3600);
    const int minute = int(secondsOfDay / 60 % 60), second = int(secondsOfDay % 60);
    const bool pm = hour >= 12;
    if (section.hasAmPm) hour = hour % 12 == 0 ? 12 : hour % 12;
    const int weekday = int((days + 6) % 7);   // serial 1 (1900-01-01) was a Sunday in this calendar

    // With [DBNumN] each number is written in Chinese numerals: years digit by digit (二〇二六),
    // the others read with units (十一月二十三日).
    const auto chinese = ChineseNumerals(section.chineseNumerals ? section.chineseNumerals - 1 : 0);
    std::u16string digits;
    const auto appendPart = [&](int64_t value, int width, bool digitByDigit) {
        if (!section.chineseNumerals) return appendNumber(value, width, out);
        digits.clear();
        appendNumber(value, width, digits);
        if (digitByDigit) {
            out += chineseDigits(digits, chinese);
        } else {
            out += chineseNumber(std::string(digits.begin(), digits.end()), chinese, true);
        }
    };
    for (const FormatToken& t : section.tokens) {
        const int width = t.width;
        switch (t.kind) {
        case FormatToken::Literal: out += t.text; break;
        case FormatToken::AmPm:
            if (t.text == u"AM/PM") out += pm ? u"PM" : u"AM";
            else if (t.text.size() == 3) out += pm ? t.text[2] : t.text[0];   // A/P as written
            else out += pm ? settings.pmText : settings.amText;
            break;
        case FormatToken::Elapsed:
            appendPart(t.ch == u'h'   ? elapsedSeconds / 3600
                       : t.ch == u'm' ? elapsedSeconds / 60
                                      : elapsedSeconds,
                       width, false);
            break;
        case FormatToken::DatePart:
            switch (t.ch) {
            case u'y': appendPart(width <= 2 ? date.year % 100 : date.year, width <= 2 ? 2 : 4, true); break;
            case u'M':
                if (width <= 2) appendPart(date.month, width, false);
                else if (width == 3) out.append(kMonths[date.month - 1], 3);
                else if (width == 5) out += kMonths[date.month - 1][0];
                else out += kMonths[date.month - 1];
                break;
            case u'd':
                if (width <= 2) appendPart(date.day, width, false);
                else if (width == 3) out.append(kDays[weekday], 3);
                else out += kDays[weekday];
                break;
            case u'a':   // 日 or 星期日, as a Chinese spreadsheet names the weekday
                if (width >= 4) out += u"\u661F\u671F";
                out += kChineseDays[weekday];
                break;
            case u'h': appendPart(hour, std::min(width, 2), false); break;
            case u'm': appendPart(minute, std::min(width, 2), false); break;
            case u's': appendPart(second, std::min(width, 2), false); break;
            case u'f': {
                out += settings.decimalSeparator;
                appendPart(unitsOfDay % unitsPerSecond, width, true);
                break;
            }
            default: break;
            }
            break;
        default: break;
        }
    }
    return true;
}

}  // namespace kes
