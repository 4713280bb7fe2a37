#include "sheet/format/chinese_numerals.h"

namespace kes {
namespace {

struct Numerals {
    std::u16string_view digits;   // 0 to 9
    std::u16string_view units;    // 十百千 (tens, hundreds, thousands)
};

constexpr Numerals kLower{u"\u3007\u4E00\u4E8C\u4E09\u56DB\u4E94\u516D\u4E03\u516B\u4E5D", u"\u5341\u767E\u5343"};
constexpr Numerals kUpper{u"\u96F6\u58F9\u8D30\u53C1\u8086\u4F0D\u9646\u67D2\u634C\u7396", u"\u62FE\u4F70\u4EDF"};
constexpr std::u16string_view kFullWidthDigits = u"\uFF10\uFF11\uFF12\uFF13\uFF14\uFF15\uFF16\uFF17\uFF18\uFF19";
constexpr char16_t kTenThousand = u'\u4E07';        // 万
constexpr char16_t kHundredMillion = u'\u4EBF';     // 亿

const Numerals& numeralsOf(ChineseNumerals style) { return style == ChineseNumerals::Upper ? kUpper : kLower; }

char16_t digitOf(char c, ChineseNumerals style) {
    const int d = c - '0';
    return style == ChineseNumerals::FullWidth ? kFullWidthDigits[d] : numeralsOf(style).digits[d];
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// The unit of the group of four digits `group` places from the right: 万, 亿, 万亿, 亿亿...
std::u16string groupUnit(size_t group) {
    std::u16string unit;
    if (group % 2 == 1) unit += kTenThousand;
    unit.append(group / 2, kHundredMillion);
    return unit;
}

}  // namespace

std::u16string chineseNumber(std::string_view digits, ChineseNumerals style, bool shortTen) {
    while (!digits.empty() && digits.front() == '0') digits.remove_prefix(1);
    if (style == ChineseNumerals::FullWidth) {
        std::u16string out;
        for (char c : digits.empty() ? std::string_view("0") : digits) out += digitOf(c, style);
        return out;
    }
    const Numerals& n = numeralsOf(style);
    if (digits.empty()) return std::u16string(1, n.digits[0]);
    std::u16string out;
    // A zero is read once, before the next digit that is not zero, and never at the end.
    bool pendingZero = false;
    const size_t groups = (digits.size() + 3) / 4;
    for (size_t g = groups; g-- > 0;) {
        const size_t end = digits.size() - g * 4;
        const size_t begin = end >= 4 ? end - 4 : 0;
        bool groupHasDigits = false;
        for (size_t i = begin; i < end; ++i) {
            const size_t place = end - 1 - i;   // 0 ones, 1 tens, 2 hundreds, 3 thousands
            if (digits[i] == '0') {
                pendingZero = !out.empty();
                continue;
            }
            if (pendingZero) out += n.digits[0];
            pendingZero = false;
            out += n.digits[size_t(digits[i] - '0')];
            if (place > 0) out += n.units[place - 1];
            groupHasDigits = true;
        }
        if (groupHasDigits && g > 0) out += groupUnit(g);
    }
    if (shortTen && out.size() >= 2 && out[0] == n.digits[1] && out[1] == n.units[0]) out.erase(0, 1);
    return out;
}

std::u16string chineseDigits(std::u16string_view text, ChineseNumerals style) {
    std::u16string out(text);
    for (char16_t& c : out) {
        if (isDigit(c)) c = digitOf(char(c), style);
    }
    return out;
}

std::u16string chineseNumeralsInText(std::u16string_view text, ChineseNumerals style, char16_t decimalSeparator,
                                     char16_t thousandSeparator) {
    std::u16string out;
    bool afterPoint = false;
    for (size_t i = 0; i < text.size();) {
        if (!isDigit(text[i])) {
            afterPoint = text[i] == decimalSeparator;
            out += text[i++];
            continue;
        }
        std::string digits;
        size_t j = i;
        while (j < text.size() && (isDigit(text[j]) || (text[j] == thousandSeparator && !afterPoint &&
                                                         j + 1 < text.size() && isDigit(text[j + 1])))) {
            if (isDigit(text[j])) digits += char(text[j]);
            ++j;
        }
        if (afterPoint || style == ChineseNumerals::FullWidth) out += chineseDigits(text.substr(i, j - i), style);
        else out += chineseNumber(digits, style);
        afterPoint = false;
        i = j;
    }
    return out;
}

}  // namespace kes
