// Numbers through digit placeholders: plain and grouped, scaled and percent, scientific
// notation and fractions. Values are taken at the 15 significant digits a spreadsheet keeps
// and rounded half away from zero on their decimal digits, so 1.005 shows as 1.01.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "sheet/format/format_sections.h"

namespace kes {
namespace {

// A value >= 0 as at most 15 significant digits; `count` is 0 for zero.
struct Decimal {
    char digits[16];
    int count = 0;
    int exponent = 0;   // the power of ten of the first digit
};

Decimal decimalOf(double magnitude) {
    Decimal d;
    if (!(magnitude > 0) || !std::isfinite(magnitude)) return d;
    char buffer[32];
    const auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, magnitude, std::chars_format::scientific, 14);
    const char* p = buffer;
    for (; p < end && *p != 'e'; ++p) {
        if (*p != '.') d.digits[d.count++] = *p;
    }
    std::from_chars(p + 1 + (p[1] == '+'), end, d.exponent);
    while (d.count > 0 && d.digits[d.count - 1] == '0') --d.count;
    return d;
}

constexpr int kMaxDecimals = 30;
constexpr int kMaxExponent = 310;

// A Decimal rounded to a number of decimal places: the integer digits without leading zeros
// (none for a value below one) and exactly `decimals` fraction digits.
struct Rounded {
    char whole[350];
    int wholeLength = 0;
    const char* fraction = whole;   // points into `whole`, past the integer digits
    int decimals = 0;
};

void roundTo(const Decimal& d, int decimals, Rounded& r) {
    decimals = std::min(decimals, kMaxDecimals);
    // Only a code with hundreds of % signs or places before an E goes past 10^308; such a value
    // shows as the largest this buffer holds rather than overrunning it.
    const int top = std::clamp(d.exponent, 0, kMaxExponent);
    const int length = top + 1 + decimals;   // powers top .. -decimals
    char* digits = r.whole + 1;              // room for a carry
    r.whole[0] = '0';
    for (int k = 0; k < length; ++k) {
        const int index = std::min(d.exponent, kMaxExponent) - (top - k);
        digits[k] = index >= 0 && index < d.count ? d.digits[index] : '0';
    }
    const int next = std::min(d.exponent, kMaxExponent) + decimals + 1;   // the first digit dropped
    if (next >= 0 && next < d.count && d.digits[next] >= '5') {
        int k = length;
        while (k > 0 && r.whole[k] == '9') r.whole[k--] = '0';
        ++r.whole[k];
    }
    const int wholeDigits = top + 2;   // the carry slot and powers top .. 0
    int first = 0;
    while (first < wholeDigits && r.whole[first] == '0') ++first;
    // Moved to the front so that the integer digits start the buffer.
    std::copy(r.whole + first, r.whole + 1 + length, r.whole);
    r.wholeLength = wholeDigits - first;
    r.fraction = r.whole + r.wholeLength;
    r.decimals = decimals;
}

// The integer digits of a number (or of a numerator, or of an exponent) written into the digit
// placeholders of one group, from the right; the first placeholder takes any extra digits.
struct IntegerGroup {
    const char* digits;
    int length;
    int places;
    bool grouped;
    char16_t separator;
    int index = 0;

    void put(char16_t placeholder, std::u16string& out) {
        const int position = places - 1 - index++;
        const int from = position == places - 1 ? std::max(length - 1, position) : position;
        for (int p = from; p >= position; --p) {
            if (p < length) out += char16_t(digits[length - 1 - p]);
            else if (placeholder == u'0') out += u'0';
            else if (placeholder == u'?') out += u' ';
            else continue;
            if (grouped && p > 0 && p % 3 == 0 && (p < length || placeholder == u'0')) out += separator;
        }
    }

    void putAll(std::u16string& out) {   // a number shown where its placeholders have none
        for (int p = length - 1; p >= 0; --p) {
            out += char16_t(digits[length - 1 - p]);
            if (grouped && p > 0 && p % 3 == 0) out += separator;
        }
    }
};

// The digit after the point: "0" shows it, "#" drops it and "?" shows a space for it when it
// and all after it are zeros.
void putDecimal(const Rounded& r, int slot, char16_t placeholder, std::u16string& out) {
    const char digit = slot < r.decimals ? r.fraction[slot] : '0';
    bool trailing = true;
    for (int k = slot; k < r.decimals && trailing; ++k) trailing = r.fraction[k] == '0';
    if (!trailing || placeholder == u'0') out += char16_t(digit);
    else if (placeholder == u'?') out += u' ';
}

int shiftOf(const FormatSection& section) { return 2 * section.percents - 3 * section.scaleThousands; }

int64_t digitsOf(int64_t value, char* buffer) {
    const auto [end, ec] = std::to_chars(buffer, buffer + 24, value);
    return end - buffer;
}

}  // namespace

void appendNumberSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                         std::u16string& out) {
    Decimal d = decimalOf(magnitude);
    d.exponent += shiftOf(section);
    Rounded r;
    roundTo(d, section.decimalPlaces, r);
    IntegerGroup whole{r.whole, r.wholeLength, section.integerPlaces, section.thousands,
                       settings.thousandSeparator};
    int decimalSlot = 0;
    bool afterPoint = false;
    for (const FormatToken& t : section.tokens) {
        switch (t.kind) {
        case FormatToken::Literal: out += t.text; break;
        case FormatToken::Percent: out += u'%'; break;
        case FormatToken::Point:
            if (section.integerPlaces == 0) whole.putAll(out);
            out += settings.decimalSeparator;
            afterPoint = true;
            break;
        case FormatToken::Digit:
            if (afterPoint) putDecimal(r, decimalSlot++, t.ch, out);
            else whole.put(t.ch, out);
            break;
        default: break;
        }
    }
}

void appendScientificSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                             std::u16string& out) {
    const int places = section.integerPlaces;
    char16_t firstPlaceholder = u'0';
    for (const FormatToken& t : section.tokens) {
        if (t.kind == FormatToken::Digit) {
            firstPlaceholder = t.ch;
            break;
        }
    }
    // With "##0.0E+0" the exponent is a multiple of the placeholders before the point
    // (engineering notation); with "00.0E+0" the mantissa fills them all.
    const bool engineering = places > 1 && firstPlaceholder != u'0';
    auto exponentFor = [&](int e) {
        if (engineering) return (e >= 0 ? e / places : -((-e + places - 1) / places)) * places;
        return places >= 1 ? e - (places - 1) : e + 1;
    };
    Decimal d = decimalOf(magnitude);
    d.exponent += 2 * section.percents;
    int exponent = 0;
    Rounded r;
    if (d.count > 0) {
        exponent = exponentFor(d.exponent);
        Decimal mantissa = d;
        mantissa.exponent -= exponent;
        roundTo(mantissa, section.decimalPlaces, r);
        const int allowed = engineering ? places : mantissa.exponent + 1;
        if (r.wholeLength > allowed) {   // 9.99 rounded up to 10.0
            Decimal carried;
            carried.digits[0] = '1';
            carried.count = 1;
            carried.exponent = d.exponent + 1;
            exponent = exponentFor(carried.exponent);
            carried.exponent -= exponent;
            roundTo(carried, section.decimalPlaces, r);
        }
    } else {
        roundTo(d, section.decimalPlaces, r);
    }
    char exponentDigits[24];
    const int exponentLength = int(digitsOf(std::abs(exponent), exponentDigits));
    int exponentPlaces = 0;
    bool afterExponent = false;
    for (const FormatToken& t : section.tokens) {
        if (t.kind == FormatToken::Exponent) afterExponent = true;
        else if (t.kind == FormatToken::Digit && afterExponent) ++exponentPlaces;
    }
    IntegerGroup whole{r.whole, r.wholeLength, places, false, settings.thousandSeparator};
    IntegerGroup power{exponentDigits, exponent == 0 ? 0 : exponentLength, exponentPlaces, false, 0};
    int decimalSlot = 0;
    bool afterPoint = false;
    afterExponent = false;
    for (const FormatToken& t : section.tokens) {
        switch (t.kind) {
        case FormatToken::Literal: out += t.text; break;
        case FormatToken::Percent: out += u'%'; break;
        case FormatToken::Point:
            if (places == 0) whole.putAll(out);
            out += settings.decimalSeparator;
            afterPoint = true;
            break;
        case FormatToken::Exponent:
            out += u'E';
            if (exponent < 0) out += u'-';
            else if (t.ch == u'+') out += u'+';
            afterExponent = true;
            break;
        case FormatToken::Digit:
            if (afterExponent) power.put(t.ch, out);
            else if (afterPoint) putDecimal(r, decimalSlot++, t.ch, out);
            else whole.put(t.ch, out);
            break;
        default: break;
        }
    }
}

namespace {

struct Fraction {
    int64_t numerator = 0, denominator = 1;
};

// The fraction nearest to x (>= 0) whose denominator is at most maxDenominator: the last
// convergent of x's continued fraction within the bound, or the best semiconvergent after it.
Fraction nearestFraction(double x, int64_t maxDenominator) {
    int64_t p0 = 0, q0 = 1, p1 = 1, q1 = 0;
    double rest = x;
    for (int step = 0; step < 64; ++step) {
        const double a = std::floor(rest);
        if (a > 1e15) break;
        const int64_t ai = int64_t(a);
        const int64_t p2 = ai * p1 + p0, q2 = ai * q1 + q0;
        if (q2 > maxDenominator) {
            const int64_t t = (maxDenominator - q0) / q1;
            const Fraction semi{t * p1 + p0, t * q1 + q0};
            const Fraction last{p1, q1};
            const double semiError = std::fabs(x - double(semi.numerator) / double(semi.denominator));
            const double lastError = std::fabs(x - double(last.numerator) / double(last.denominator));
            return semiError < lastError ? semi : last;
        }
        p0 = p1, q0 = q1, p1 = p2, q1 = q2;
        const double remainder = rest - a;
        if (remainder < 1e-12) break;
        rest = 1 / remainder;
    }
    return {p1, q1};
}

}  // namespace

void appendFractionSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                           std::u16string& out) {
    // The groups: placeholders right before the bar are the numerator, any before those (with
    // something else between) the integer part, those right after the bar the denominator.
    const std::vector<FormatToken>& t = section.tokens;
    size_t slash = 0;
    while (t[slash].kind != FormatToken::Slash) ++slash;
    size_t numeratorStart = slash;
    while (numeratorStart > 0 && t[numeratorStart - 1].kind == FormatToken::Digit) --numeratorStart;
    int integerPlaces = 0;
    for (size_t i = 0; i < numeratorStart; ++i) integerPlaces += t[i].kind == FormatToken::Digit;
    size_t denominatorEnd = slash + 1;
    int64_t fixed = 0;
    if (denominatorEnd < t.size() && t[denominatorEnd].kind == FormatToken::Denominator) {
        fixed = t[denominatorEnd++].number;
    } else {
        while (denominatorEnd < t.size() && t[denominatorEnd].kind == FormatToken::Digit) ++denominatorEnd;
    }
    const int denominatorPlaces = int(denominatorEnd - slash - 1);
    const int numeratorPlaces = int(slash - numeratorStart);

    const bool mixed = integerPlaces > 0;
    double whole = mixed ? std::floor(magnitude) : 0;
    const double part = magnitude - whole;
    Fraction f;
    if (fixed > 0) {
        f = {int64_t(std::llround(part * double(fixed))), fixed};
    } else {
        int64_t maxDenominator = 1;
        for (int i = 0; i < std::min(denominatorPlaces, 7); ++i) maxDenominator *= 10;
        f = nearestFraction(part, std::max<int64_t>(maxDenominator - 1, 1));
    }
    if (mixed && f.numerator >= f.denominator) {
        whole += 1;
        f.numerator = 0;
    }
    const bool hidden = mixed && f.numerator == 0;   // "5    ": the fraction gives way to spaces
    char wholeDigits[350];
    int wholeLength = 0;
    if (whole >= 1) {
        Decimal d = decimalOf(whole);
        Rounded r;
        roundTo(d, 0, r);
        wholeLength = r.wholeLength;
        std::copy(r.whole, r.whole + wholeLength, wholeDigits);
    } else if (hidden) {
        wholeDigits[wholeLength++] = '0';   // zero shows as 0 even through "#"
    }
    char numeratorDigits[24], denominatorDigits[24];
    const int numeratorLength = f.numerator == 0 && mixed ? 0 : int(digitsOf(f.numerator, numeratorDigits));
    const int denominatorLength = int(digitsOf(f.denominator, denominatorDigits));
    IntegerGroup integer{wholeDigits, wholeLength, integerPlaces, section.thousands,
                         settings.thousandSeparator};
    IntegerGroup numerator{numeratorDigits, numeratorLength, numeratorPlaces, false, 0};
    if (!mixed && f.numerator == 0) numerator.length = 1;   // "0/1"
    int denominatorSlot = 0;
    for (size_t i = 0; i < t.size(); ++i) {
        const FormatToken& k = t[i];
        const bool fractionPart = i >= numeratorStart && i < denominatorEnd;
        if (hidden && fractionPart) {
            out.append(k.kind == FormatToken::Denominator ? size_t(k.width) : 1, u' ');
            continue;
        }
        switch (k.kind) {
        case FormatToken::Literal: out += k.text; break;
        case FormatToken::Percent: out += u'%'; break;
        case FormatToken::Point: out += settings.decimalSeparator; break;
        case FormatToken::Slash: out += u'/'; break;
        case FormatToken::Denominator:
            out.append(denominatorDigits, denominatorDigits + denominatorLength);
            break;
        case FormatToken::Digit:
            if (i < numeratorStart) {
                integer.put(k.ch, out);
            } else if (i < slash) {
                numerator.put(k.ch, out);
            } else if (i < denominatorEnd) {
                // The denominator is written from the left; spare "?" places become spaces.
                if (denominatorSlot == 0) {
                    out.append(denominatorDigits, denominatorDigits + denominatorLength);
                } else if (denominatorSlot >= denominatorLength && k.ch == u'?') {
                    out += u' ';
                }
                ++denominatorSlot;
            } else if (k.ch == u'0') {
                out += u'0';
            }
            break;
        default: break;
        }
    }
}

}  // namespace kes
