// Rounding: to digits (ROUND, ROUNDUP, ROUNDDOWN, TRUNC), to integers (INT, EVEN, ODD) and to
// multiples (CEILING, FLOOR and their .MATH and .PRECISE forms, ISO.CEILING, MROUND).
#include <cmath>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

// Digits rounding, its arguments read in order so that the first one's error is the result.
Value toDigits(Call& call, double (*rounding)(double, double), bool digitsOptional) {
    const double x = call.number(0);
    const double digits = digitsOptional ? call.number(1, 0) : call.number(1);
    return Value::number(rounding(x, digits));
}

Value round(Call& call) { return toDigits(call, roundDigits, false); }
Value roundUp(Call& call) { return toDigits(call, roundUpDigits, false); }
Value roundDown(Call& call) { return toDigits(call, roundDownDigits, false); }
Value trunc(Call& call) { return toDigits(call, roundDownDigits, true); }
Value intFunction(Call& call) { return Value::number(std::floor(round15(call.number(0)))); }

// The nearest integer away from zero whose parity is `odd`.
Value awayToParity(Call& call, bool odd) {
    const double x = call.number(0);
    double magnitude = std::ceil(round15(std::fabs(x)));
    if ((std::fmod(magnitude, 2.0) == 1) != odd) magnitude += 1;
    return Value::number(x < 0 ? -magnitude : magnitude);
}

Value even(Call& call) { return awayToParity(call, false); }
Value odd(Call& call) { return awayToParity(call, true); }

// The multiple of `step` that `direction` picks (std::ceil, std::floor, std::round) from the
// quotient number/step.
template <class Direction>
double toMultiple(double number, double step, Direction direction) {
    return direction(cleanQuotient(number, step)) * step;
}

double ceilingOf(double x) { return std::ceil(x); }
double floorOf(double x) { return std::floor(x); }
double roundOf(double x) { return std::round(x); }

// CEILING and FLOOR of Excel 2010 on: a negative significance is allowed for a negative number
// only (rounding away from zero for CEILING, toward it for FLOOR); a positive one rounds a
// negative number toward plus (CEILING) or minus (FLOOR) infinity.
Value ceiling(Call& call) {
    const double x = call.number(0), step = call.number(1);
    if (step == 0) return Value::number(0);
    if (x > 0 && step < 0) return Value::error(ecNUM);
    return Value::number(toMultiple(x, step, ceilingOf));
}

Value floor(Call& call) {
    const double x = call.number(0), step = call.number(1);
    if (step == 0) return Value::error(ecDivByZero);
    if (x > 0 && step < 0) return Value::error(ecNUM);
    return Value::number(toMultiple(x, step, floorOf));
}

// The .MATH forms ignore the sign of the significance (1 when omitted); a mode other than 0
// turns the direction for negative numbers: CEILING.MATH then rounds them away from zero,
// FLOOR.MATH toward it.
Value ceilingMath(Call& call) {
    const double x = call.number(0), step = std::fabs(call.number(1, 1));
    const bool awayFromZero = call.number(2, 0) != 0;
    if (step == 0) return Value::number(0);
    return Value::number(toMultiple(x, step, x < 0 && awayFromZero ? floorOf : ceilingOf));
}

Value floorMath(Call& call) {
    const double x = call.number(0), step = std::fabs(call.number(1, 1));
    const bool towardZero = call.number(2, 0) != 0;
    if (step == 0) return Value::number(0);
    return Value::number(toMultiple(x, step, x < 0 && towardZero ? ceilingOf : floorOf));
}

// CEILING.PRECISE, ISO.CEILING and FLOOR.PRECISE: toward plus or minus infinity whatever the
// signs.
Value ceilingPrecise(Call& call) {
    const double x = call.number(0), step = std::fabs(call.number(1, 1));
    if (step == 0) return Value::number(0);
    return Value::number(toMultiple(x, step, ceilingOf));
}

Value floorPrecise(Call& call) {
    const double x = call.number(0), step = std::fabs(call.number(1, 1));
    if (step == 0) return Value::number(0);
    return Value::number(toMultiple(x, step, floorOf));
}

// MROUND: the nearest multiple, halves away from zero; number and multiple of opposite signs
// are #NUM!.
Value mround(Call& call) {
    return addInCall(call, [](Call& call, std::span<const Value> args) {
        const double x = addInNumber(args[0], call.settings()), step = addInNumber(args[1], call.settings());
        if (step == 0 || x == 0) return Value::number(0);
        if ((x < 0) != (step < 0)) return Value::error(ecNUM);
        return Value::number(toMultiple(x, step, roundOf));
    });
}

constexpr FunctionSpec kFunctions[] = {
    {u"ROUND", 2, 2, "V", round, 27},
    {u"ROUNDUP", 2, 2, "V", roundUp, 212},
    {u"ROUNDDOWN", 2, 2, "V", roundDown, 213},
    {u"TRUNC", 1, 2, "V", trunc, 197},
    {u"INT", 1, 1, "V", intFunction, 25},
    {u"EVEN", 1, 1, "V", even, 279},
    {u"ODD", 1, 1, "V", odd, 298},
    {u"CEILING", 2, 2, "V", ceiling, 288},
    {u"FLOOR", 2, 2, "V", floor, 285},
    {u"CEILING.MATH", 1, 3, "V", ceilingMath, kNoBiffId, kFilePrefix},
    {u"FLOOR.MATH", 1, 3, "V", floorMath, kNoBiffId, kFilePrefix},
    {u"CEILING.PRECISE", 1, 2, "V", ceilingPrecise, kNoBiffId, kFilePrefix},
    {u"ISO.CEILING", 1, 2, "V", ceilingPrecise, kNoBiffId},
    {u"FLOOR.PRECISE", 1, 2, "V", floorPrecise, kNoBiffId, kFilePrefix},
    {u"MROUND", 2, 2, "R", mround, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> roundingFunctions() { return kFunctions; }

}  // namespace kes::calc
