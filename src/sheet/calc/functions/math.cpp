// Math and trigonometry functions: the elementary ones here, the rest of the family in the files
// math_support.h lists, all joined into one list.
#include <cmath>
#include <numbers>
#include <random>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

Value abs(Call& call) { return Value::number(std::fabs(call.number(0))); }

Value sign(Call& call) {
    const double x = call.number(0);
    return Value::number(x > 0 ? 1 : x < 0 ? -1 : 0);
}

Value sqrt(Call& call) {
    const double x = call.number(0);
    if (x < 0) return Value::error(ecNUM);
    return Value::number(std::sqrt(x));
}

Value sqrtPi(Call& call) {
    return addInCall(call, [](Call& call, std::span<const Value> args) {
        const double x = addInNumber(args[0], call.settings());
        if (x < 0) return Value::error(ecNUM);
        return Value::number(std::sqrt(x * std::numbers::pi));
    });
}

Value exp(Call& call) { return Value::number(std::exp(call.number(0))); }

Value ln(Call& call) {
    const double x = call.number(0);
    if (x <= 0) return Value::error(ecNUM);
    return Value::number(std::log(x));
}

Value log10(Call& call) {
    const double x = call.number(0);
    if (x <= 0) return Value::error(ecNUM);
    return Value::number(std::log10(x));
}

Value log(Call& call) {
    const double x = call.number(0), base = call.number(1, 10);
    if (x <= 0 || base <= 0) return Value::error(ecNUM);
    if (base == 1) return Value::error(ecDivByZero);
    // Base 10 through log10, so that LOG(1000) is exactly 3.
    if (base == 10) return Value::number(std::log10(x));
    return Value::number(std::log(x) / std::log(base));
}

// x^y as the ^ operator computes it: 0^0 is #NUM!, 0 to a negative power #DIV/0!, and a
// negative number has only its odd roots, as (-8)^(1/3).
Value power(Call& call) {
    const double x = call.number(0), y = call.number(1);
    if (x == 0 && y == 0) return Value::error(ecNUM);
    if (x == 0 && y < 0) return Value::error(ecDivByZero);
    if (x < 0 && y != std::trunc(y)) {
        const double root = std::round(1 / y);
        if (std::fabs(1 / y - root) < 1e-10 && std::fmod(root, 2.0) != 0) return Value::number(-std::pow(-x, y));
        return Value::error(ecNUM);
    }
    return Value::number(std::pow(x, y));
}

// Excel refuses a remainder whose quotient reaches 2^50: its digits would be noise.
constexpr double kModQuotientLimit = 1125899906842624.0;

Value mod(Call& call) {
    const double x = call.number(0), y = call.number(1);
    if (y == 0) return Value::error(ecDivByZero);
    if (std::fabs(x / y) >= kModQuotientLimit) return Value::error(ecNUM);
    // The remainder takes the divisor's sign.
    const double r = x - y * std::floor(x / y);
    return Value::number(nearlyEqual(r, y) ? 0 : r);
}

Value quotient(Call& call) {
    return addInCall(call, [](Call& call, std::span<const Value> args) {
        const double x = addInNumber(args[0], call.settings()), y = addInNumber(args[1], call.settings());
        if (y == 0) return Value::error(ecDivByZero);
        return Value::number(std::trunc(x / y));
    });
}

Value pi(Call&) { return Value::number(std::numbers::pi); }
Value radians(Call& call) { return Value::number(call.number(0) * (std::numbers::pi / 180)); }
Value degrees(Call& call) { return Value::number(call.number(0) * (180 / std::numbers::pi)); }

std::mt19937_64& generator() {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    return engine;
}

Value rand(Call&) { return Value::number(std::uniform_real_distribution<double>(0, 1)(generator())); }

// RANDBETWEEN draws whole numbers: the bounds round inward to integers.
Value randBetween(Call& call) {
    return addInCall(call, [](Call& call, std::span<const Value> args) {
        const double bottom = std::ceil(addInNumber(args[0], call.settings()));
        const double top = std::floor(addInNumber(args[1], call.settings()));
        if (bottom > top) return Value::error(ecNUM);
        if (top - bottom >= 9e15) return Value::error(ecNUM);
        const double draw = std::uniform_real_distribution<double>(0, 1)(generator());
        return Value::number(std::min(top, bottom + std::floor(draw * (top - bottom + 1))));
    });
}

constexpr FunctionSpec kFunctions[] = {
    {u"ABS", 1, 1, "V", abs, 24},
    {u"SIGN", 1, 1, "V", sign, 26},
    {u"SQRT", 1, 1, "V", sqrt, 20},
    {u"SQRTPI", 1, 1, "R", sqrtPi, kNoBiffId, kAddIn},
    {u"EXP", 1, 1, "V", exp, 21},
    {u"LN", 1, 1, "V", ln, 22},
    {u"LOG10", 1, 1, "V", log10, 23},
    {u"LOG", 1, 2, "V", log, 109},
    {u"POWER", 2, 2, "V", power, 337},
    {u"MOD", 2, 2, "V", mod, 39},
    {u"QUOTIENT", 2, 2, "R", quotient, kNoBiffId, kAddIn},
    {u"PI", 0, 0, "V", pi, 19},
    {u"RADIANS", 1, 1, "V", radians, 342},
    {u"DEGREES", 1, 1, "V", degrees, 343},
    {u"RAND", 0, 0, "V", rand, 63, kVolatile},
    {u"RANDBETWEEN", 2, 2, "R", randBetween, kNoBiffId, kVolatile | kAddIn},
};

}  // namespace

std::span<const FunctionSpec> elementaryFunctions() { return kFunctions; }

std::span<const FunctionSpec> mathFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> joined;
        for (auto part : {elementaryFunctions, trigonometryFunctions, roundingFunctions, integerFunctions,
                          numeralFunctions, sumFunctions, conditionalSumFunctions, subtotalFunctions,
                          matrixFunctions}) {
            joined.insert(joined.end(), part().begin(), part().end());
        }
        return joined;
    }();
    return all;
}

}  // namespace kes::calc
