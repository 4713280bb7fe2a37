// The error function and its complement: ERF, ERFC, ERF.PRECISE, ERFC.PRECISE.
#include <cmath>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/engineering_support.h"

namespace kes::calc {
namespace {

constexpr double kTwoOverSqrtPi = 1.1283791670955126;
constexpr double kOneOverSqrtPi = 0.5641895835477563;
// Below this the series for erf converges fast; above it the continued fraction for erfc does.
constexpr double kSeriesLimit = 2.5;
constexpr int kMaxTerms = 500;

// erf(x) = 2/sqrt(pi) e^-x^2 sum (2x^2)^n x / (1*3*...*(2n+1)): every term is positive, so
// nothing cancels.
double erfSeries(double x) {
    const double twoX2 = 2 * x * x;
    double term = x, sum = x;
    for (int n = 1; n < kMaxTerms; ++n) {
        term *= twoX2 / (2 * n + 1);
        sum += term;
        if (term < sum * 1e-17) break;
    }
    return kTwoOverSqrtPi * std::exp(-x * x) * sum;
}

// erfc(x) = e^-x^2 / sqrt(pi) / (x + (1/2) / (x + 1 / (x + (3/2) / (x + ...)))) for x > 0, by
// the modified Lentz method.
double erfcFraction(double x) {
    constexpr double tiny = 1e-300;
    double f = x, c = x, d = 0;
    for (int n = 1; n < kMaxTerms; ++n) {
        const double a = n / 2.0;
        d = x + a * d;
        d = d == 0 ? 1 / tiny : 1 / d;
        c = x + a / c;
        if (c == 0) c = tiny;
        const double delta = c * d;
        f *= delta;
        if (std::fabs(delta - 1) < 1e-16) break;
    }
    return kOneOverSqrtPi * std::exp(-x * x) / f;
}

double erfc(double x);

double erf(double x) {
    if (x < 0) return -erf(-x);
    if (x < kSeriesLimit) return erfSeries(x);
    return 1 - erfcFraction(x);
}

double erfc(double x) {
    if (x < 0) return 2 - erfc(-x);
    if (x < kSeriesLimit) return 1 - erfSeries(x);
    return erfcFraction(x);
}

// ERF(lower) integrates from 0; ERF(lower, upper) between the two.
Value erfFunction(Call& call) {
    const double lower = addInNumber(call, 0);
    if (call.isMissing(1)) return Value::number(erf(lower));
    const double upper = addInNumber(call, 1);
    return Value::number(erf(upper) - erf(lower));
}

Value erfPrecise(Call& call) { return Value::number(erf(addInNumber(call, 0))); }
Value erfcFunction(Call& call) { return Value::number(erfc(addInNumber(call, 0))); }

constexpr FunctionSpec kFunctions[] = {
    {u"ERF", 1, 2, "VV", erfFunction, kNoBiffId, kAddIn},
    {u"ERFC", 1, 1, "V", erfcFunction, kNoBiffId, kAddIn},
    {u"ERF.PRECISE", 1, 1, "V", erfPrecise, kNoBiffId, kFilePrefix | kRefusesRanges},
    {u"ERFC.PRECISE", 1, 1, "V", erfcFunction, kNoBiffId, kFilePrefix | kRefusesRanges},
};

}  // namespace

std::span<const FunctionSpec> errorFunctions() { return kFunctions; }

}  // namespace kes::calc
