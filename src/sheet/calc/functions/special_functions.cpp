#include "sheet/calc/functions/special_functions.h"

#include <algorithm>
#include <numbers>

namespace kes::calc::special {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kTiny = 1e-300;
constexpr double kLogSqrt2Pi = 0.91893853320467274178;   // ln √(2π)
// The series and continued fractions below converge in about 8√a steps for a parameter a, so
// parameters are taken up to 10^11 and the steps bounded accordingly; beyond, the functions are
// NaN (#NUM! in a cell), as they are when a sum fails to converge.
constexpr double kMaxParameter = 1e11;
constexpr int kMaxIterations = 4'000'000;

bool outOfReach(double a, double x) { return std::isnan(x) || !(a > 0 && a <= kMaxParameter); }
// From here on Stirling's series is exact to the last bit.
constexpr double kStirlingFrom = 15;

// The Lanczos approximation (g = 7, nine terms): Γ(x + 1) for x >= 0 to about 1e-15.
double lanczosGamma(double x) {
    static constexpr double kCoefficients[] = {0.99999999999980993,     676.5203681218851,     -1259.1392167224028,
                                               771.32342877765313,      -176.61502916214059,   12.507343278686905,
                                               -0.13857109526572012,    9.9843695780195716e-6, 1.5056327351493116e-7};
    double sum = kCoefficients[0];
    for (int i = 1; i < 9; ++i) sum += kCoefficients[i] / (x + i);
    const double t = x + 7.5;
    return std::sqrt(2 * std::numbers::pi) * std::pow(t, x + 0.5) * std::exp(-t) * sum;
}

// ln Γ(x) - ((x - ½) ln x - x + ln √(2π)), the remainder of Stirling's formula, for x >= 15.
double stirlingCorrection(double x) {
    const double x2 = x * x;
    return (1.0 / 12 - (1.0 / 360 - (1.0 / 1260 - (1.0 / 1680 - 1.0 / (1188 * x2)) / x2) / x2) / x2) / x;
}

// ln n! - ((n + ½) ln n - n + ln √(2π)), the same remainder taken at n + 1, for n > 0.
double stirlingError(double n) {
    if (n >= kStirlingFrom) return stirlingCorrection(n);
    return logGamma(n + 1) - (n + 0.5) * std::log(n) + n - kLogSqrt2Pi;
}

// x ln(x / m) + m - x, without the cancellation of its terms when x is near m.
double deviance(double x, double m) {
    if (std::fabs(x - m) < 0.1 * (x + m)) {
        const double v = (x - m) / (x + m);
        double sum = (x - m) * v;
        double term = 2 * x * v;
        const double v2 = v * v;
        for (int j = 1; j < 1000; ++j) {
            term *= v2;
            const double next = sum + term / (2 * j + 1);
            if (next == sum) break;
            sum = next;
        }
        return sum;
    }
    return x * std::log(x / m) + m - x;
}

// x^a e^-x / Γ(a), the factor in front of both incomplete gamma expansions. For large a the
// powers are taken relative to a, so that a ln x and ln Γ(a) do not cancel away the digits.
double gammaPrefix(double a, double x) {
    if (x == 0) return 0;
    if (a < kStirlingFrom) return std::exp(a * std::log(x) - x - logGamma(a));
    return std::sqrt(a / (2 * std::numbers::pi)) * std::exp(-deviance(a, x) - stirlingCorrection(a));
}

double lowerGammaSeries(double a, double x) {
    double term = 1 / a, sum = term;
    for (int n = 1; n < kMaxIterations; ++n) {
        term *= x / (a + n);
        sum += term;
        if (std::fabs(term) < std::fabs(sum) * kEpsilon) return sum * gammaPrefix(a, x);
    }
    return std::nan("");
}

// The continued fraction of Q(a, x), by Lentz's method.
double upperGammaFraction(double a, double x) {
    double b = x + 1 - a, c = 1 / kTiny, d = 1 / b, h = d;
    for (int i = 1; i < kMaxIterations; ++i) {
        const double an = -i * (i - a);
        b += 2;
        d = an * d + b;
        if (std::fabs(d) < kTiny) d = kTiny;
        c = b + an / c;
        if (std::fabs(c) < kTiny) c = kTiny;
        d = 1 / d;
        const double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < kEpsilon) return gammaPrefix(a, x) * h;
    }
    return std::nan("");
}

// x^a y^b / B(a, b) with y = 1 - x, again relative to the mean a / (a + b) when both are large.
double betaPrefix(double x, double y, double a, double b) {
    if (a >= kStirlingFrom && b >= kStirlingFrom) {
        // x / p - 1 as (x n - a) / a, whose one rounding keeps what p's own would lose.
        const double n = a + b, q = b / n;
        const double exponent = a * std::log1p(std::fma(x, n, -a) / a) + b * std::log1p(std::fma(y, n, -b) / b);
        const double correction = stirlingCorrection(n) - stirlingCorrection(a) - stirlingCorrection(b);
        return std::sqrt(a * q / (2 * std::numbers::pi)) * std::exp(exponent + correction);
    }
    // The logarithm of the larger of x and y from the smaller, which holds all its digits.
    const double logX = x <= y ? std::log(x) : std::log1p(-y);
    const double logY = x <= y ? std::log1p(-x) : std::log(y);
    return std::exp(a * logX + b * logY - logBeta(a, b));
}

// The continued fraction of I_x(a, b), which converges fast for x < (a + 1) / (a + b + 2).
double betaFraction(double x, double y, double a, double b) {
    const double qab = a + b, qap = a + 1, qam = a - 1;
    double c = 1, d = 1 - qab * x / qap;
    if (std::fabs(d) < kTiny) d = kTiny;
    d = 1 / d;
    double h = d;
    for (int m = 1; m < kMaxIterations; ++m) {
        const int m2 = 2 * m;
        double an = m * (b - m) * x / ((qam + m2) * (a + m2));
        d = 1 + an * d;
        if (std::fabs(d) < kTiny) d = kTiny;
        c = 1 + an / c;
        if (std::fabs(c) < kTiny) c = kTiny;
        d = 1 / d;
        h *= d * c;
        an = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2));
        d = 1 + an * d;
        if (std::fabs(d) < kTiny) d = kTiny;
        c = 1 + an / c;
        if (std::fabs(c) < kTiny) c = kTiny;
        d = 1 / d;
        const double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < kEpsilon) return betaPrefix(x, y, a, b) * h / a;
    }
    return std::nan("");
}

// sin(πx), exact at the integers.
double sinPi(double x) {
    double r = std::fmod(x, 2.0);
    if (r < 0) r += 2;
    if (r == 0 || r == 1) return 0;
    if (r == 0.5) return 1;
    if (r == 1.5) return -1;
    return std::sin(std::numbers::pi * r);
}

}  // namespace

double logGamma(double x) {
    if (x >= kStirlingFrom) return (x - 0.5) * std::log(x) - x + kLogSqrt2Pi + stirlingCorrection(x);
    return std::log(std::fabs(gamma(x)));
}

double gamma(double x) {
    if (std::isnan(x)) return x;
    if (x <= 0 && x == std::floor(x)) return std::nan("");
    if (x < 0.5) {
        // The reflection formula: Γ(x) Γ(1 - x) = π / sin(πx).
        return std::numbers::pi / (sinPi(x) * gamma(1 - x));
    }
    if (x == std::floor(x) && x <= 171) {
        double factorial = 1;
        for (int k = 2; k < int(x); ++k) factorial *= k;
        return factorial;
    }
    if (x >= kStirlingFrom) {
        if (x > 172) return std::numeric_limits<double>::infinity();
        // (x/e)^x taken in two halves, which overflow a double only when Γ(x) itself does.
        const double half = std::pow(x / std::numbers::e, x / 2);
        return std::sqrt(2 * std::numbers::pi / x) * half * half * std::exp(stirlingCorrection(x));
    }
    // Down to [1, 2) by Γ(x + 1) = x Γ(x), where the Lanczos sum is most precise.
    double product = 1;
    while (x >= 2) product *= --x;
    if (x < 1) return lanczosGamma(x) / x;
    return product * lanczosGamma(x - 1);
}

double logBeta(double a, double b) {
    if (a > b) std::swap(a, b);
    if (b < kStirlingFrom) return logGamma(a) + logGamma(b) - logGamma(a + b);
    const double correction = stirlingCorrection(b) - stirlingCorrection(a + b);
    if (a >= kStirlingFrom) {
        const double n = a + b;
        return kLogSqrt2Pi + (a - 0.5) * std::log(a / n) + (b - 0.5) * std::log(b / n) - 0.5 * std::log(n) +
               stirlingCorrection(a) + correction;
    }
    // ln Γ(b) - ln Γ(a + b) by Stirling, written so that its large terms cancel exactly.
    return logGamma(a) + correction - a * std::log(a + b) - (b - 0.5) * std::log1p(a / b) + a;
}

double lowerGamma(double a, double x) {
    if (outOfReach(a, x)) return std::nan("");
    if (x <= 0) return 0;
    if (std::isinf(x)) return 1;
    return x < a + 1 ? lowerGammaSeries(a, x) : 1 - upperGammaFraction(a, x);
}

double upperGamma(double a, double x) {
    if (outOfReach(a, x)) return std::nan("");
    if (x <= 0) return 1;
    if (std::isinf(x)) return 0;
    return x < a + 1 ? 1 - lowerGammaSeries(a, x) : upperGammaFraction(a, x);
}

double gammaDensity(double a, double x) {
    if (x == 0) return a < 1 ? std::numeric_limits<double>::infinity() : a == 1 ? 1 : 0;
    if (x < 0) return 0;
    return gammaPrefix(a, x) / x;
}

double betaDensity(double x, double y, double a, double b) {
    if (x == 0) return a < 1 ? std::numeric_limits<double>::infinity() : a == 1 ? std::exp(-logBeta(a, b)) : 0;
    if (y == 0) return b < 1 ? std::numeric_limits<double>::infinity() : b == 1 ? std::exp(-logBeta(a, b)) : 0;
    return betaPrefix(x, y, a, b) / (x * y);
}

double incompleteBeta(double x, double y, double a, double b) {
    if (outOfReach(a, x) || outOfReach(b, y)) return std::nan("");
    if (x <= 0) return 0;
    if (y <= 0) return 1;
    if (x < (a + 1) / (a + b + 2)) return betaFraction(x, y, a, b);
    return 1 - betaFraction(y, x, b, a);
}

double incompleteBetaComplement(double x, double y, double a, double b) {
    if (outOfReach(a, x) || outOfReach(b, y)) return std::nan("");
    if (x <= 0) return 1;
    if (y <= 0) return 0;
    if (x < (a + 1) / (a + b + 2)) return 1 - betaFraction(x, y, a, b);
    return betaFraction(y, x, b, a);
}

double normalDensity(double z) { return std::exp(-0.5 * z * z) / std::sqrt(2 * std::numbers::pi); }

double normalCdf(double z) {
    // Φ(z) = ½ erfc(-z/√2), and erfc(t) = Q(½, t²).
    const double t2 = 0.5 * z * z;
    if (z < 0) return 0.5 * upperGamma(0.5, t2);
    return 0.5 + 0.5 * lowerGamma(0.5, t2);
}

double normalQuantile(double p) {
    if (!(p > 0 && p < 1)) return std::nan("");
    if (p == 0.5) return 0;
    if (p > 0.5) return -normalQuantile(1 - p);
    // A rational start (Abramowitz and Stegun 26.2.23, within 4.5e-4), then Halley's steps on
    // the exact lower tail, each of which triples the correct digits.
    const double t = std::sqrt(-2 * std::log(p));
    double x = -(t - (2.515517 + t * (0.802853 + t * 0.010328)) / (1 + t * (1.432788 + t * (0.189269 + t * 0.001308))));
    for (int i = 0; i < 4; ++i) {
        const double error = normalCdf(x) - p;
        const double u = error * std::sqrt(2 * std::numbers::pi) * std::exp(0.5 * x * x);
        const double step = u / (1 + 0.5 * x * u);
        x -= step;
        if (std::fabs(step) <= kEpsilon * std::fabs(x)) break;
    }
    return x;
}

double binomialProbability(double k, double n, double p, double q) {
    if (n <= 1000 && k >= 0 && k <= n && p > 0 && q > 0) {
        // Few trials: the product itself, exact in its binomial coefficient, unless a power of
        // it would leave the range of doubles.
        const double powers = std::pow(p, k) * std::pow(q, n - k);
        if (powers > 1e-280) {
            double coefficient = 1;
            const double m = std::min(k, n - k);
            for (double i = 1; i <= m; ++i) coefficient = coefficient * (n - m + i) / i;
            return std::round(coefficient) * powers;
        }
    }
    if (p == 0) return k == 0 ? 1 : 0;
    if (q == 0) return k == n ? 1 : 0;
    if (k == 0) {
        if (n == 0) return 1;
        return std::exp(p < 0.1 ? -deviance(n, n * q) - n * p : n * std::log(q));
    }
    if (k == n) return std::exp(q < 0.1 ? -deviance(n, n * p) - n * q : n * std::log(p));
    if (k < 0 || k > n) return 0;
    const double exponent =
        stirlingError(n) - stirlingError(k) - stirlingError(n - k) - deviance(k, n * p) - deviance(n - k, n * q);
    return std::exp(exponent) * std::sqrt(n / (2 * std::numbers::pi * k * (n - k)));
}

double poissonProbability(double k, double lambda) {
    if (lambda == 0) return k == 0 ? 1 : 0;
    if (k < 0) return 0;
    if (k == 0) return std::exp(-lambda);
    return std::exp(-stirlingError(k) - deviance(k, lambda)) / std::sqrt(2 * std::numbers::pi * k);
}

}  // namespace kes::calc::special
