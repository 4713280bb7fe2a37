#include "sheet/calc/functions/complex_text.h"

#include <cmath>
#include <cstdio>

#include "sheet/calc/coerce.h"

namespace kes::calc {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// A decimal number at `pos`: digits with an optional point and exponent; none when there are
// no digits.
std::optional<double> readNumber(std::u16string_view text, size_t& pos) {
    std::string ascii;
    size_t i = pos, digits = 0;
    for (; i < text.size() && isDigit(text[i]); ++i, ++digits) ascii += char(text[i]);
    if (!scanFractionAndExponent(text, i, u'.', digits, ascii)) return std::nullopt;
    pos = i;
    return std::strtod(ascii.c_str(), nullptr);
}

bool isSuffix(char16_t c) { return c == u'i' || c == u'j'; }

// One signed term: a number, a number with a suffix, or a suffix alone (a coefficient of 1).
struct Term {
    double value;
    char16_t suffix;
};

std::optional<Term> readTerm(std::u16string_view text, size_t& pos, bool signRequired) {
    double sign = 1;
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) {
        sign = text[pos] == u'-' ? -1 : 1;
        ++pos;
    } else if (signRequired) {
        return std::nullopt;
    }
    const std::optional<double> number = readNumber(text, pos);
    if (pos < text.size() && isSuffix(text[pos])) return Term{sign * number.value_or(1), text[pos++]};
    if (!number) return std::nullopt;
    return Term{sign * *number, 0};
}

// A part with up to 15 significant digits: plainly from 1E-5 up to 1E15, otherwise in
// scientific notation with at least two exponent digits.
std::u16string formatPart(double value) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.14E", std::fabs(value));
    const std::string scientific(buffer);
    const size_t e = scientific.find('E');
    const int exponent = std::atoi(scientific.c_str() + e + 1);
    std::string digits = scientific.substr(0, 1) + scientific.substr(2, e - 2);   // 15 digits
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    std::string out = value < 0 ? "-" : "";
    if (exponent < -5 || exponent >= 15) {
        out += digits.substr(0, 1);
        if (digits.size() > 1) out += "." + digits.substr(1);
        out += exponent < 0 ? "E-" : "E+";
        const std::string power = std::to_string(std::abs(exponent));
        out += (power.size() < 2 ? "0" : "") + power;
    } else if (exponent < 0) {
        out += "0." + std::string(size_t(-exponent - 1), '0') + digits;
    } else if (digits.size() <= size_t(exponent) + 1) {
        out += digits + std::string(size_t(exponent) + 1 - digits.size(), '0');
    } else {
        out += digits.substr(0, size_t(exponent) + 1) + "." + digits.substr(size_t(exponent) + 1);
    }
    return std::u16string(out.begin(), out.end());
}

}  // namespace

std::optional<ComplexText> parseComplex(std::u16string_view text) {
    if (text.empty()) return ComplexText{};
    size_t pos = 0;
    const std::optional<Term> first = readTerm(text, pos, false);
    if (!first) return std::nullopt;
    if (pos == text.size()) {
        if (first->suffix) return ComplexText{{0, first->value}, first->suffix};
        return ComplexText{{first->value, 0}, 0};
    }
    if (first->suffix) return std::nullopt;
    const std::optional<Term> second = readTerm(text, pos, true);
    if (!second || !second->suffix || pos != text.size()) return std::nullopt;
    return ComplexText{{first->value, second->value}, second->suffix};
}

std::u16string formatComplex(const Complex& value, char16_t suffix) {
    const double re = value.re == 0 ? 0 : value.re, im = value.im == 0 ? 0 : value.im;
    if (im == 0) return formatPart(re);
    std::u16string imaginary = formatPart(im);
    if (imaginary == u"1" || imaginary == u"-1") imaginary.resize(imaginary.size() - 1);   // i, -i
    imaginary += suffix;
    if (re == 0) return imaginary;
    std::u16string out = formatPart(re);
    if (imaginary.front() != u'-') out += u'+';
    return out + imaginary;
}

ComplexText complexOf(const Value& value) {
    switch (value.kind()) {
    case ValueKind::Blank: return {};
    case ValueKind::Number: return {{value.number(), 0}, 0};
    case ValueKind::Text: {
        const std::optional<ComplexText> parsed = parseComplex(value.text());
        if (!parsed) fail(ecNUM);
        return *parsed;
    }
    case ValueKind::Error: fail(value.error());
    default: fail(ecValue);
    }
}

ComplexText complexArgument(Call& call, size_t index) { return complexOf(call.scalar(index)); }

}  // namespace kes::calc
