// Numbers written in other systems: Roman numerals (ROMAN, ARABIC) and any base from 2 to 36
// (BASE, DECIMAL).
#include <algorithm>
#include <cmath>
#include <string>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

struct Numeral {
    int value;
    std::u16string_view letters;
    int form;   // the first ROMAN form that writes it
};

// The classic numerals and the subtractive pairs ROMAN's concise forms add, largest first: form
// 1 lets V, L and D stand before a numeral ten or twenty times their value, form 2 also I, X and
// C before fifty or a hundred times theirs, form 3 V and L before a hundred or two hundred times,
// form 4 I and X before five hundred or a thousand times.
constexpr Numeral kNumerals[] = {
    {1000, u"M", 0}, {999, u"IM", 4}, {995, u"VM", 3}, {990, u"XM", 2}, {950, u"LM", 1}, {900, u"CM", 0},
    {500, u"D", 0},  {499, u"ID", 4}, {495, u"VD", 3}, {490, u"XD", 2}, {450, u"LD", 1}, {400, u"CD", 0},
    {100, u"C", 0},  {99, u"IC", 2},  {95, u"VC", 1},  {90, u"XC", 0},  {50, u"L", 0},   {49, u"IL", 2},
    {45, u"VL", 1},  {40, u"XL", 0},  {10, u"X", 0},   {9, u"IX", 0},   {5, u"V", 0},    {4, u"IV", 0},
    {1, u"I", 0},
};

// The form argument: TRUE is the classic form, FALSE the most concise.
int romanForm(Call& call) {
    if (call.isMissing(1)) return 0;
    const Value form = call.scalar(1);
    if (form.isBoolean()) return form.boolean() ? 0 : 4;
    const double n = std::trunc(toNumber(form, call.settings()));
    if (n < 0 || n > 4) fail(ecValue);
    return int(n);
}

Value roman(Call& call) {
    const double n = std::trunc(call.number(0));
    const int form = romanForm(call);
    if (n < 0 || n > 3999) return Value::error(ecValue);
    int rest = int(n);
    std::u16string text;
    for (const Numeral& numeral : kNumerals) {
        if (numeral.form > form) continue;
        while (rest >= numeral.value) {
            text += numeral.letters;
            rest -= numeral.value;
        }
    }
    return Value::text(std::move(text));
}

int romanDigit(char16_t c) {
    switch (c) {
    case u'I': case u'i': return 1;
    case u'V': case u'v': return 5;
    case u'X': case u'x': return 10;
    case u'L': case u'l': return 50;
    case u'C': case u'c': return 100;
    case u'D': case u'd': return 500;
    case u'M': case u'm': return 1000;
    default: return 0;
    }
}

constexpr size_t kMaxNumeralLength = 255;

// ARABIC reads any sequence of numerals, not only those ROMAN writes: from the right, a numeral
// smaller than the largest met so far is subtracted, so that IIIIIIV is -1 as in Excel.
Value arabic(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) return v;
    if (!v.isText() && !v.isBlank()) return Value::error(ecValue);
    std::u16string_view text = v.isText() ? std::u16string_view(v.text()) : std::u16string_view();
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    if (text.size() > kMaxNumeralLength) return Value::error(ecValue);
    const bool negative = !text.empty() && text.front() == u'-';
    if (negative) text.remove_prefix(1);
    if (negative && text.empty()) return Value::error(ecValue);
    double total = 0;
    int largest = 0;
    for (size_t i = text.size(); i-- > 0;) {
        const int digit = romanDigit(text[i]);
        if (digit == 0) return Value::error(ecValue);
        if (digit < largest) {
            total -= digit;
        } else {
            total += digit;
            largest = digit;
        }
    }
    return Value::number(negative ? -total : total);
}

// BASE and DECIMAL work on whole numbers below 2^53, the ones a double holds exactly.
constexpr double kLargestWhole = 9007199254740992.0;

int radixOf(Call& call, size_t index) {
    const double radix = std::trunc(call.number(index));
    if (radix < 2 || radix > 36) fail(ecNUM);
    return int(radix);
}

Value base(Call& call) {
    const double n = std::trunc(call.number(0));
    const int radix = radixOf(call, 1);
    const double minLength = std::trunc(call.number(2, 0));
    if (n < 0 || n >= kLargestWhole || minLength < 0 || minLength > 255) return Value::error(ecNUM);
    // Digits from the last one, then zeros to the minimum length, then turned around.
    std::u16string digits;
    double rest = n;
    do {
        const int digit = int(std::fmod(rest, radix));
        digits.push_back(char16_t(digit < 10 ? u'0' + digit : u'A' + digit - 10));
        rest = std::floor(rest / radix);
    } while (rest > 0);
    if (digits.size() < size_t(minLength)) digits.append(size_t(minLength) - digits.size(), u'0');
    std::reverse(digits.begin(), digits.end());
    return Value::text(std::move(digits));
}

Value decimal(Call& call) {
    const std::u16string text = call.text(0);
    const int radix = radixOf(call, 1);
    if (text.size() > kMaxNumeralLength) return Value::error(ecValue);
    double value = 0;
    for (char16_t c : text) {
        int digit = 36;
        if (c >= u'0' && c <= u'9') digit = c - u'0';
        else if (c >= u'A' && c <= u'Z') digit = c - u'A' + 10;
        else if (c >= u'a' && c <= u'z') digit = c - u'a' + 10;
        if (digit >= radix) return Value::error(ecNUM);
        value = value * radix + digit;
    }
    if (value >= kLargestWhole) return Value::error(ecNUM);
    return Value::number(value);
}

constexpr FunctionSpec kFunctions[] = {
    {u"ROMAN", 1, 2, "V", roman, 354},
    {u"ARABIC", 1, 1, "V", arabic, kNoBiffId, kFilePrefix},
    {u"BASE", 2, 3, "V", base, kNoBiffId, kFilePrefix},
    {u"DECIMAL", 2, 2, "V", decimal, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> numeralFunctions() { return kFunctions; }

}  // namespace kes::calc
