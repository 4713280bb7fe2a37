// Trigonometric and hyperbolic functions and their inverses.
#include <cmath>
#include <numbers>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

// Excel refuses the sine, cosine and tangent of numbers from 2^27 on, where a double has too
// few fractional digits left for an angle to mean anything.
constexpr double kAngleLimit = 134217728.0;

// Excel reduces an angle by a quarter turn of its own: pi as the x87 unit holds it, rounded to
// 64 bits, which lies 5e-20 above the true pi. The reduction must use that value for SIN(PI())
// to give Excel's 1.22514845490862E-16 rather than 1.22464679914735E-16. The quarter turn is
// split into parts of at most 26 bits, so that each product with a quadrant count below 2^27 is
// exact.
constexpr double kQuarterTurn1 = 0x1.921fb5p0;
constexpr double kQuarterTurn2 = 0x1.110b46p-26;
constexpr double kQuarterTurn3 = 0x1.1a8p-54;

struct Reduced {
    int quadrant;   // the angle is quadrant quarter turns (modulo 4) plus `rest`
    double rest;    // within a quarter turn of zero
};

Reduced reduce(double x) {
    const double k = std::nearbyint(x / (kQuarterTurn1 + kQuarterTurn2));
    const double rest = ((x - k * kQuarterTurn1) - k * kQuarterTurn2) - k * kQuarterTurn3;
    const double quadrant = k - 4 * std::floor(k / 4);
    return {int(quadrant), rest};
}

double angle(Call& call) {
    const double x = call.number(0);
    if (std::fabs(x) >= kAngleLimit) fail(ecNUM);
    return x;
}

double sine(double x) {
    const Reduced r = reduce(x);
    switch (r.quadrant) {
    case 0: return std::sin(r.rest);
    case 1: return std::cos(r.rest);
    case 2: return -std::sin(r.rest);
    default: return -std::cos(r.rest);
    }
}

double cosine(double x) {
    const Reduced r = reduce(x);
    switch (r.quadrant) {
    case 0: return std::cos(r.rest);
    case 1: return -std::sin(r.rest);
    case 2: return -std::cos(r.rest);
    default: return std::sin(r.rest);
    }
}

double tangent(double x) {
    const Reduced r = reduce(x);
    return r.quadrant % 2 == 0 ? std::tan(r.rest) : -1 / std::tan(r.rest);
}

// 1/f(x), #DIV/0! where f is 0.
Value reciprocal(double denominator) {
    if (denominator == 0) return Value::error(ecDivByZero);
    return Value::number(1 / denominator);
}

Value sin(Call& call) { return Value::number(sine(angle(call))); }
Value cos(Call& call) { return Value::number(cosine(angle(call))); }
Value tan(Call& call) { return Value::number(tangent(angle(call))); }
Value cot(Call& call) {
    const double x = angle(call);
    if (x == 0) return Value::error(ecDivByZero);
    return Value::number(1 / tangent(x));
}
Value csc(Call& call) { return reciprocal(sine(angle(call))); }
Value sec(Call& call) { return reciprocal(cosine(angle(call))); }

Value asin(Call& call) {
    const double x = call.number(0);
    if (x < -1 || x > 1) return Value::error(ecNUM);
    return Value::number(std::asin(x));
}

Value acos(Call& call) {
    const double x = call.number(0);
    if (x < -1 || x > 1) return Value::error(ecNUM);
    return Value::number(std::acos(x));
}

Value atan(Call& call) { return Value::number(std::atan(call.number(0))); }

// ATAN2 takes x before y, the other way round from C's atan2.
Value atan2(Call& call) {
    const double x = call.number(0), y = call.number(1);
    if (x == 0 && y == 0) return Value::error(ecDivByZero);
    return Value::number(std::atan2(y, x));
}

// ACOT gives angles between 0 and pi, so that ACOT(-1) is 3pi/4.
Value acot(Call& call) { return Value::number(std::numbers::pi / 2 - std::atan(call.number(0))); }

Value sinh(Call& call) { return Value::number(std::sinh(call.number(0))); }
Value cosh(Call& call) { return Value::number(std::cosh(call.number(0))); }
Value tanh(Call& call) { return Value::number(std::tanh(call.number(0))); }

// The hyperbolic reciprocals share the 2^27 limit of the circular ones.
double hyperbolicArgument(Call& call) { return angle(call); }
Value coth(Call& call) { return reciprocal(std::tanh(hyperbolicArgument(call))); }
Value csch(Call& call) { return reciprocal(std::sinh(hyperbolicArgument(call))); }
Value sech(Call& call) { return reciprocal(std::cosh(hyperbolicArgument(call))); }

Value asinh(Call& call) { return Value::number(std::asinh(call.number(0))); }

Value acosh(Call& call) {
    const double x = call.number(0);
    if (x < 1) return Value::error(ecNUM);
    return Value::number(std::acosh(x));
}

Value atanh(Call& call) {
    const double x = call.number(0);
    if (x <= -1 || x >= 1) return Value::error(ecNUM);
    return Value::number(std::atanh(x));
}

Value acoth(Call& call) {
    const double x = call.number(0);
    if (x >= -1 && x <= 1) return Value::error(ecNUM);
    return Value::number(std::atanh(1 / x));
}

constexpr FunctionSpec kFunctions[] = {
    {u"SIN", 1, 1, "V", sin, 15},
    {u"COS", 1, 1, "V", cos, 16},
    {u"TAN", 1, 1, "V", tan, 17},
    {u"COT", 1, 1, "V", cot, kNoBiffId, kFilePrefix},
    {u"CSC", 1, 1, "V", csc, kNoBiffId, kFilePrefix},
    {u"SEC", 1, 1, "V", sec, kNoBiffId, kFilePrefix},
    {u"ASIN", 1, 1, "V", asin, 98},
    {u"ACOS", 1, 1, "V", acos, 99},
    {u"ATAN", 1, 1, "V", atan, 18},
    {u"ATAN2", 2, 2, "V", atan2, 97},
    {u"ACOT", 1, 1, "V", acot, kNoBiffId, kFilePrefix},
    {u"SINH", 1, 1, "V", sinh, 229},
    {u"COSH", 1, 1, "V", cosh, 230},
    {u"TANH", 1, 1, "V", tanh, 231},
    {u"COTH", 1, 1, "V", coth, kNoBiffId, kFilePrefix},
    {u"CSCH", 1, 1, "V", csch, kNoBiffId, kFilePrefix},
    {u"SECH", 1, 1, "V", sech, kNoBiffId, kFilePrefix},
    {u"ASINH", 1, 1, "V", asinh, 232},
    {u"ACOSH", 1, 1, "V", acosh, 233},
    {u"ATANH", 1, 1, "V", atanh, 234},
    {u"ACOTH", 1, 1, "V", acoth, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> trigonometryFunctions() { return kFunctions; }

}  // namespace kes::calc
