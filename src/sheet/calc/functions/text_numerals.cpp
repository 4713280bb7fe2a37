// Numbers and dates written in words: NUMBERSTRING and DATESTRING of the Chinese Excel (the
// numerals are those of the [DBNum] format codes, sheet/format/chinese_numerals.h), and BAHTTEXT,
// amounts in Thai.
#include <cmath>
#include <string>

#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"
#include "sheet/format/chinese_numerals.h"
#include "sheet/format/number_format.h"

namespace kes::calc {
namespace {

// The whole digits of a magnitude, 15 significant ones and zeros after them.
std::string wholeDigits(double magnitude) {
    const std::u16string text = formatNumber(magnitude, u"0", FormatSettings{}).text;
    return std::string(text.begin(), text.end());
}

// NUMBERSTRING(n, 1) 一百二十三, (n, 2) 壹佰贰拾叁, (n, 3) 一二三: the number rounded to a whole one.
Value numberString(Call& call) {
    const double value = roundDigits(call.number(0), 0);
    const double style = std::trunc(call.number(1));
    if (style < 1 || style > 3) return Value::error(ecValue);
    const std::string digits = wholeDigits(std::fabs(value));
    std::u16string out = value < 0 ? u"\u8D1F" : u"";   // 负
    if (style == 1) out += chineseNumber(digits, ChineseNumerals::Lower, true);
    else if (style == 2) out += chineseNumber(digits, ChineseNumerals::Upper);
    else out += chineseDigits(std::u16string(digits.begin(), digits.end()), ChineseNumerals::Lower);
    return Value::text(std::move(out));
}

// DATESTRING: a date as yy年mm月dd日.
Value dateString(Call& call) {
    const double serial = call.number(0);
    dateOf(call, serial);   // #NUM! outside the calendar
    return Value::text(formatNumber(std::floor(serial), u"yy\"\u5E74\"mm\"\u6708\"dd\"\u65E5\"", call.settings()).text);
}

// ศูนย์ หนึ่ง สอง สาม สี่ ห้า หก เจ็ด แปด เก้า
constexpr std::u16string_view kThaiDigits[] = {
    u"\u0E28\u0E39\u0E19\u0E22\u0E4C", u"\u0E2B\u0E19\u0E36\u0E48\u0E07", u"\u0E2A\u0E2D\u0E07",
    u"\u0E2A\u0E32\u0E21",             u"\u0E2A\u0E35\u0E48",             u"\u0E2B\u0E49\u0E32",
    u"\u0E2B\u0E01",                   u"\u0E40\u0E08\u0E47\u0E14",       u"\u0E41\u0E1B\u0E14",
    u"\u0E40\u0E01\u0E49\u0E32",
};
// The places of a group of six: ones, สิบ, ร้อย, พัน, หมื่น, แสน
constexpr std::u16string_view kThaiPlaces[] = {
    u"",  u"\u0E2A\u0E34\u0E1A", u"\u0E23\u0E49\u0E2D\u0E22", u"\u0E1E\u0E31\u0E19",
    u"\u0E2B\u0E21\u0E37\u0E48\u0E19", u"\u0E41\u0E2A\u0E19",
};
constexpr std::u16string_view kThaiMillion = u"\u0E25\u0E49\u0E32\u0E19";   // ล้าน

// Up to six digits in Thai: 21 is ยี่สิบเอ็ด (twenty, then เอ็ด for a one after tens), 10 สิบ.
std::u16string thaiGroup(std::string_view digits) {
    std::u16string out;
    const size_t n = digits.size();
    bool higher = false;
    for (size_t i = 0; i < n; ++i) {
        const int d = digits[i] - '0';
        const size_t place = n - 1 - i;
        if (d == 0) continue;
        if (place == 1) {
            if (d == 2) out += u"\u0E22\u0E35\u0E48";   // ยี่
            else if (d != 1) out += kThaiDigits[d];
        } else if (place == 0 && d == 1 && higher) {
            out += u"\u0E40\u0E2D\u0E47\u0E14";   // เอ็ด
            continue;
        } else {
            out += kThaiDigits[d];
        }
        out += kThaiPlaces[place];
        higher = true;
    }
    return out;
}

// A whole number in Thai, in groups of six digits joined by ล้าน (million).
std::u16string thaiNumber(std::string_view digits) {
    while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
    if (digits == "0") return std::u16string(kThaiDigits[0]);
    std::u16string out;
    const size_t groups = (digits.size() + 5) / 6;
    for (size_t g = groups; g-- > 0;) {
        const size_t end = digits.size() - g * 6;
        const size_t begin = end >= 6 ? end - 6 : 0;
        out += thaiGroup(digits.substr(begin, end - begin));
        if (g > 0) out += kThaiMillion;
    }
    return out;
}

// BAHTTEXT: baht and satang in Thai, ถ้วน (exactly) when there are no satang.
Value bahtText(Call& call) {
    const double value = roundDigits(call.number(0), 2);
    const std::u16string text = formatNumber(std::fabs(value), u"0.00", FormatSettings{}).text;
    const size_t point = text.find(u'.');
    const std::string baht(text.begin(), text.begin() + ptrdiff_t(point));
    const std::string satang(text.begin() + ptrdiff_t(point) + 1, text.end());
    std::u16string out = value < 0 ? u"\u0E25\u0E1A" : u"";   // ลบ
    if (baht != "0" || satang == "00") out += thaiNumber(baht) + u"\u0E1A\u0E32\u0E17";   // บาท
    if (satang == "00") out += u"\u0E16\u0E49\u0E27\u0E19";   // ถ้วน
    else out += thaiNumber(satang) + u"\u0E2A\u0E15\u0E32\u0E07\u0E04\u0E4C";   // สตางค์
    return Value::text(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"NUMBERSTRING", 2, 2, "VV", numberString, 353},
    {u"DATESTRING", 1, 1, "V", dateString, 352},
    {u"BAHTTEXT", 1, 1, "V", bahtText, 368},
};

}  // namespace

std::span<const FunctionSpec> textNumeralFunctions() { return kFunctions; }

}  // namespace kes::calc
