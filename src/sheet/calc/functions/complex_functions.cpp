// Complex numbers: COMPLEX and the IM functions, on texts such as "3+4i".
#include <cmath>
#include <vector>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/complex_text.h"
#include "sheet/calc/functions/engineering_support.h"

namespace kes::calc {
namespace {

Complex multiply(const Complex& a, const Complex& b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

// a / b; #NUM! for a zero divisor.
Complex divide(const Complex& a, const Complex& b) {
    const double d = b.re * b.re + b.im * b.im;
    if (d == 0) fail(ecNUM);
    return {(a.re * b.re + a.im * b.im) / d, (a.im * b.re - a.re * b.im) / d};
}

Complex sine(const Complex& z) { return {std::sin(z.re) * std::cosh(z.im), std::cos(z.re) * std::sinh(z.im)}; }
Complex cosine(const Complex& z) { return {std::cos(z.re) * std::cosh(z.im), -std::sin(z.re) * std::sinh(z.im)}; }
Complex hyperbolicSine(const Complex& z) { return {std::sinh(z.re) * std::cos(z.im), std::cosh(z.re) * std::sin(z.im)}; }
Complex hyperbolicCosine(const Complex& z) { return {std::cosh(z.re) * std::cos(z.im), std::sinh(z.re) * std::sin(z.im)}; }

Value complexResult(const Complex& z, char16_t suffix) {
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return Value::error(ecNUM);
    return Value::text(formatComplex(z, suffix ? suffix : u'i'));
}

// The suffix two numbers share; mixing "i" and "j" is `mixed`.
char16_t commonSuffix(char16_t a, char16_t b, FormulaErrorCode mixed) {
    if (a && b && a != b) fail(mixed);
    return a ? a : b;
}

Value complex(Call& call) {
    const double re = addInNumber(call, 0), im = addInNumber(call, 1);
    const std::u16string suffix = call.text(2, u"i");
    if (suffix != u"i" && suffix != u"j" && !suffix.empty()) return Value::error(ecValue);
    return complexResult({re, im}, suffix.empty() ? u'i' : suffix[0]);
}

// The functions of one complex number, giving a complex number.
template <Complex (*function)(const Complex&)>
Value unary(Call& call) {
    const ComplexText z = complexArgument(call, 0);
    return complexResult(function(z.value), z.suffix);
}

Complex conjugate(const Complex& z) { return {z.re, -z.im}; }

Complex exponential(const Complex& z) {
    const double scale = std::exp(z.re);
    return {scale * std::cos(z.im), scale * std::sin(z.im)};
}

Complex logarithm(const Complex& z) {
    if (z.re == 0 && z.im == 0) fail(ecNUM);
    return {std::log(std::hypot(z.re, z.im)), std::atan2(z.im, z.re)};
}

Complex logarithm10(const Complex& z) {
    const Complex ln = logarithm(z);
    return {ln.re / std::log(10.0), ln.im / std::log(10.0)};
}

Complex logarithm2(const Complex& z) {
    const Complex ln = logarithm(z);
    return {ln.re / std::log(2.0), ln.im / std::log(2.0)};
}

Complex squareRoot(const Complex& z) {
    const double r = std::sqrt(std::hypot(z.re, z.im)), angle = std::atan2(z.im, z.re) / 2;
    return {r * std::cos(angle), r * std::sin(angle)};
}

// The circular quotients over the double angle, cosh 2b -/+ cos 2a, which does not cancel the
// way sin z and cos z multiplied out do when the imaginary part is large.
Complex tangent(const Complex& z) {
    const double d = std::cos(2 * z.re) + std::cosh(2 * z.im);
    if (d == 0) fail(ecNUM);
    return {std::sin(2 * z.re) / d, std::sinh(2 * z.im) / d};
}

Complex cotangent(const Complex& z) {
    const double d = std::cosh(2 * z.im) - std::cos(2 * z.re);
    if (d == 0) fail(ecNUM);
    return {std::sin(2 * z.re) / d, -std::sinh(2 * z.im) / d};
}

Complex secant(const Complex& z) {
    const double d = std::cosh(2 * z.im) + std::cos(2 * z.re);
    if (d == 0) fail(ecNUM);
    return {2 * std::cos(z.re) * std::cosh(z.im) / d, 2 * std::sin(z.re) * std::sinh(z.im) / d};
}

// In extended precision: the quotient of differences loses the last digit of doubles, which
// then depends on the platform's library (the i686 build showed another 15th digit). Kept out
// of line: the Windows build check allows x87 arithmetic in this function alone.
[[gnu::noinline]] Complex cosecant(const Complex& z) {
    const long double re = z.re, im = z.im;
    const long double d = std::cosh(2 * im) - std::cos(2 * re);
    if (d == 0) fail(ecNUM);
    return {double(2 * std::sin(re) * std::cosh(im) / d), double(-2 * std::cos(re) * std::sinh(im) / d)};
}

Complex hyperbolicSecant(const Complex& z) { return divide({1, 0}, hyperbolicCosine(z)); }
Complex hyperbolicCosecant(const Complex& z) { return divide({1, 0}, hyperbolicSine(z)); }

Value imAbs(Call& call) {
    const Complex z = complexArgument(call, 0).value;
    return Value::number(std::hypot(z.re, z.im));
}

Value imArgument(Call& call) {
    const Complex z = complexArgument(call, 0).value;
    if (z.re == 0 && z.im == 0) return Value::error(ecDivByZero);
    return Value::number(std::atan2(z.im, z.re));
}

Value imReal(Call& call) { return Value::number(complexArgument(call, 0).value.re); }
Value imaginary(Call& call) { return Value::number(complexArgument(call, 0).value.im); }

// IMPOWER in polar form: the modulus to the power, the angle times it.
Value imPower(Call& call) {
    const ComplexText z = complexArgument(call, 0);
    const double power = addInNumber(call, 1);
    const double r = std::hypot(z.value.re, z.value.im);
    if (r == 0) return power > 0 ? complexResult({0, 0}, z.suffix) : Value::error(ecNUM);
    const double modulus = std::pow(r, power), angle = std::atan2(z.value.im, z.value.re) * power;
    return complexResult({modulus * std::cos(angle), modulus * std::sin(angle)}, z.suffix);
}

// IMSUB and IMDIV: two numbers of the same suffix.
template <Complex (*function)(const Complex&, const Complex&)>
Value binary(Call& call) {
    const ComplexText a = complexArgument(call, 0), b = complexArgument(call, 1);
    const char16_t suffix = commonSuffix(a.suffix, b.suffix, ecNUM);
    return complexResult(function(a.value, b.value), suffix);
}

Complex subtract(const Complex& a, const Complex& b) { return {a.re - b.re, a.im - b.im}; }

// IMSUM and IMPRODUCT fold every number of their arguments, ranges included; a blank cell is 0.
template <class Fold>
Value fold(Call& call, Complex start, Fold&& op) {
    Complex total = start;
    char16_t suffix = 0;
    const auto add = [&](const Value& v) {
        const ComplexText z = complexOf(v);
        suffix = commonSuffix(suffix, z.suffix, ecValue);
        total = op(total, z.value);
    };
    for (size_t i = 0; i < call.count(); ++i) {
        const Value& argument = call.arg(i);
        if (argument.isReference() || argument.isArray()) {
            const auto values = call.matrix(i);
            for (size_t k = 0; k < values->size(); ++k) add(values->at(k));
        } else {
            add(argument);
        }
    }
    return complexResult(total, suffix);
}

Value imSum(Call& call) {
    return fold(call, {0, 0}, [](const Complex& a, const Complex& b) { return Complex{a.re + b.re, a.im + b.im}; });
}
Value imProduct(Call& call) { return fold(call, {1, 0}, multiply); }

constexpr FunctionSpec kFunctions[] = {
    {u"COMPLEX", 2, 3, "VVV", complex, kNoBiffId, kAddIn},
    {u"IMABS", 1, 1, "V", imAbs, kNoBiffId, kAddIn},
    {u"IMAGINARY", 1, 1, "V", imaginary, kNoBiffId, kAddIn},
    {u"IMARGUMENT", 1, 1, "V", imArgument, kNoBiffId, kAddIn},
    {u"IMCONJUGATE", 1, 1, "V", unary<conjugate>, kNoBiffId, kAddIn},
    {u"IMCOS", 1, 1, "V", unary<cosine>, kNoBiffId, kAddIn},
    {u"IMCOSH", 1, 1, "V", unary<hyperbolicCosine>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMCOT", 1, 1, "V", unary<cotangent>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMCSC", 1, 1, "V", unary<cosecant>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMCSCH", 1, 1, "V", unary<hyperbolicCosecant>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMDIV", 2, 2, "VV", binary<divide>, kNoBiffId, kAddIn},
    {u"IMEXP", 1, 1, "V", unary<exponential>, kNoBiffId, kAddIn},
    {u"IMLN", 1, 1, "V", unary<logarithm>, kNoBiffId, kAddIn},
    {u"IMLOG10", 1, 1, "V", unary<logarithm10>, kNoBiffId, kAddIn},
    {u"IMLOG2", 1, 1, "V", unary<logarithm2>, kNoBiffId, kAddIn},
    {u"IMPOWER", 2, 2, "VV", imPower, kNoBiffId, kAddIn},
    {u"IMPRODUCT", 1, kManyArgs, "R", imProduct, kNoBiffId, kAddIn},
    {u"IMREAL", 1, 1, "V", imReal, kNoBiffId, kAddIn},
    {u"IMSEC", 1, 1, "V", unary<secant>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMSECH", 1, 1, "V", unary<hyperbolicSecant>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMSIN", 1, 1, "V", unary<sine>, kNoBiffId, kAddIn},
    {u"IMSINH", 1, 1, "V", unary<hyperbolicSine>, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"IMSQRT", 1, 1, "V", unary<squareRoot>, kNoBiffId, kAddIn},
    {u"IMSUB", 2, 2, "VV", binary<subtract>, kNoBiffId, kAddIn},
    {u"IMSUM", 1, kManyArgs, "R", imSum, kNoBiffId, kAddIn},
    {u"IMTAN", 1, 1, "V", unary<tangent>, kNoBiffId, kFilePrefix | kRefusesRanges},
};

}  // namespace

std::span<const FunctionSpec> complexFunctions() { return kFunctions; }

}  // namespace kes::calc
