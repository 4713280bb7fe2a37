// Math and trigonometry functions.
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {
namespace {

Value sum(Call& call) {
    double total = 0;
    for (double x : collectNumbers(call, 0)) total += x;
    return Value::number(total);
}

Value round(Call& call) { return Value::number(roundDigits(call.number(0), call.number(1))); }
Value roundUp(Call& call) { return Value::number(roundUpDigits(call.number(0), call.number(1))); }
Value roundDown(Call& call) { return Value::number(roundDownDigits(call.number(0), call.number(1))); }
Value intFunction(Call& call) { return Value::number(std::floor(round15(call.number(0)))); }
Value abs(Call& call) { return Value::number(std::fabs(call.number(0))); }

Value mod(Call& call) {
    const double x = call.number(0), y = call.number(1);
    if (y == 0) return Value::error(ecDivByZero);
    const double r = x - y * std::floor(x / y);
    return Value::number(nearlyEqual(r, y) ? 0 : r);
}

Value sqrt(Call& call) {
    const double x = call.number(0);
    if (x < 0) return Value::error(ecNUM);
    return Value::number(std::sqrt(x));
}

constexpr FunctionSpec kFunctions[] = {
    {u"SUM", 1, kManyArgs, "R", sum, 4},
    {u"ROUND", 2, 2, "VV", round, 27},
    {u"ROUNDUP", 2, 2, "VV", roundUp, 212},
    {u"ROUNDDOWN", 2, 2, "VV", roundDown, 213},
    {u"INT", 1, 1, "V", intFunction, 25},
    {u"ABS", 1, 1, "V", abs, 24},
    {u"MOD", 2, 2, "VV", mod, 39},
    {u"SQRT", 1, 1, "V", sqrt, 20},
};

}  // namespace

std::span<const FunctionSpec> mathFunctions() { return kFunctions; }

}  // namespace kes::calc
