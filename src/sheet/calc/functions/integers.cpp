// Functions of whole numbers: factorials, combinations, greatest common divisor and least
// common multiple.
#include <cmath>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

// 170! is the last factorial a double holds.
constexpr double kLastFactorial = 170;
// GCD and LCM refuse numbers a double cannot hold exactly.
constexpr double kExactIntegerLimit = 9007199254740992.0;   // 2^53

double factorial(double n) {
    double result = 1;
    for (double i = 2; i <= n; ++i) result *= i;
    return result;
}

Value fact(Call& call) {
    const double n = std::trunc(call.number(0));
    if (n < 0 || n > kLastFactorial) return Value::error(ecNUM);
    return Value::number(factorial(n));
}

// n!! = n(n-2)(n-4)...; -1 is allowed (its double factorial is 1) but nothing below, not even
// -1.5, which would truncate to -1.
Value factDouble(Call& call) {
    return addInCall(call, [](Call& call, std::span<const Value> args) {
        const double x = addInNumber(args[0], call.settings());
        if (x < -1) return Value::error(ecNUM);
        const double n = std::trunc(x);
        if (n > 2 * kLastFactorial) return Value::error(ecNUM);
        double result = 1;
        for (double i = n; i > 1; i -= 2) result *= i;
        return Value::number(result);
    });
}

// n choose k by the product (n-k+1)/1 * (n-k+2)/2 * ..., each partial product a whole number.
double choose(double n, double k) {
    k = std::min(k, n - k);
    double result = 1;
    for (double i = 1; i <= k && std::isfinite(result); ++i) result = result * (n - k + i) / i;
    return std::round(result);
}

Value combin(Call& call) {
    const double n = std::trunc(call.number(0)), k = std::trunc(call.number(1));
    if (n < 0 || k < 0 || n < k) return Value::error(ecNUM);
    return Value::number(choose(n, k));
}

// Combinations with repetitions: n+k-1 choose k.
Value combinA(Call& call) {
    const double n = std::trunc(call.number(0)), k = std::trunc(call.number(1));
    if (n < 0 || k < 0) return Value::error(ecNUM);
    if (k == 0) return Value::number(1);
    if (n == 0) return Value::error(ecNUM);
    return Value::number(choose(n + k - 1, k));
}

// (a+b+...)! / (a! b! ...), built up factor by factor so that no factorial overflows before
// the quotient would.
Value multinomial(Call& call) {
    const std::vector<double> values = addInIntegers(call);
    double total = 0, result = 1;
    for (double n : values) {
        for (double i = 1; i <= n; ++i) {
            total += 1;
            if (total > kLastFactorial) return Value::error(ecNUM);
            result = result * total / i;
        }
    }
    return Value::number(result);
}

double gcdOf(double a, double b) {
    while (b != 0) {
        const double r = std::fmod(a, b);
        a = b;
        b = r;
    }
    return a;
}

std::vector<double> gcdArguments(Call& call) {
    std::vector<double> values = addInIntegers(call);
    for (double x : values) {
        if (x >= kExactIntegerLimit) fail(ecNUM);
    }
    return values;
}

Value gcd(Call& call) {
    double result = 0;
    for (double x : gcdArguments(call)) result = gcdOf(result, x);
    return Value::number(result);
}

Value lcm(Call& call) {
    double result = 1;
    for (double x : gcdArguments(call)) {
        if (x == 0) return Value::number(0);
        result = result / gcdOf(result, x) * x;
    }
    return Value::number(result);
}

constexpr FunctionSpec kFunctions[] = {
    {u"FACT", 1, 1, "V", fact, 184},
    {u"FACTDOUBLE", 1, 1, "R", factDouble, kNoBiffId, kAddIn},
    {u"COMBIN", 2, 2, "V", combin, 276},
    {u"COMBINA", 2, 2, "V", combinA, kNoBiffId, kFilePrefix},
    {u"MULTINOMIAL", 1, kManyArgs, "R", multinomial, kNoBiffId, kAddIn},
    {u"GCD", 1, kManyArgs, "R", gcd, kNoBiffId, kAddIn},
    {u"LCM", 1, kManyArgs, "R", lcm, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> integerFunctions() { return kFunctions; }

}  // namespace kes::calc
