#pragma once
// The special functions under the statistical distributions: the gamma function, the regularized
// incomplete gamma and beta functions, the normal distribution, the probabilities of single
// binomial and Poisson outcomes, and a root finder for the inverses. Each keeps its precision over
// the whole range Excel accepts (degrees of freedom up to 10^10, tails down to 1e-300), computing
// the large terms so that they do not cancel.
#include <cmath>
#include <limits>

namespace kes::calc::special {

// ln Γ(x) for x > 0.
double logGamma(double x);
// Γ(x); NaN at 0 and the negative integers, where it has poles.
double gamma(double x);
// ln B(a, b) for a, b > 0.
double logBeta(double a, double b);

// The regularized incomplete gamma function P(a, x) and its complement Q(a, x) = 1 - P(a, x),
// each computed directly so that a small tail keeps its digits; 0 < a <= 10^11, x >= 0. Outside,
// and for NaN, they are NaN; so are the incomplete beta functions below.
double lowerGamma(double a, double x);
double upperGamma(double a, double x);

// x^(a-1) e^-x / Γ(a), the density of the gamma distribution of shape a and scale 1.
double gammaDensity(double a, double x);

// The regularized incomplete beta function I_x(a, b) and its complement 1 - I_x(a, b). `y` is
// 1 - x, given by the caller when it knows it more precisely than 1 - x would be.
double incompleteBeta(double x, double y, double a, double b);
double incompleteBetaComplement(double x, double y, double a, double b);

// x^(a-1) y^(b-1) / B(a, b) with y = 1 - x, the density of the beta distribution.
double betaDensity(double x, double y, double a, double b);

// The standard normal distribution: density, lower tail, and its inverse for 0 < p < 1.
double normalDensity(double z);
double normalCdf(double z);
double normalQuantile(double p);

// The probability of exactly k successes in n trials of probability p (q = 1 - p), and of
// exactly k events of a Poisson process of mean lambda.
double binomialProbability(double k, double n, double p, double q);
double poissonProbability(double k, double lambda);

// A root of f between lo and hi, where f changes sign, to the last bits of a double (Brent's
// method: bisection made faster by secant and inverse quadratic steps). NaN when the ends have
// the same sign. At most a few hundred evaluations of f.
template <class F>
double findRoot(F&& f, double lo, double hi) {
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    double a = lo, b = hi, fa = f(a), fb = f(b);
    if (fa == 0) return a;
    if (fb == 0) return b;
    if (std::isnan(fa) || std::isnan(fb) || (fa > 0) == (fb > 0)) return std::nan("");
    double c = a, fc = fa, d = b - a, e = d;
    for (int iteration = 0; iteration < 500; ++iteration) {
        if ((fb > 0) == (fc > 0)) {
            c = a;
            fc = fa;
            d = e = b - a;
        }
        if (std::fabs(fc) < std::fabs(fb)) {
            a = b, b = c, c = a;
            fa = fb, fb = fc, fc = fa;
        }
        const double tolerance = 2 * kEpsilon * std::fabs(b) + 1e-300;
        const double m = 0.5 * (c - b);
        if (std::fabs(m) <= tolerance || fb == 0) return b;
        if (std::fabs(e) >= tolerance && std::fabs(fa) > std::fabs(fb)) {
            const double s = fb / fa;
            double p, q;
            if (a == c) {
                p = 2 * m * s;
                q = 1 - s;
            } else {
                const double t = fa / fc, r = fb / fc;
                p = s * (2 * m * t * (t - r) - (b - a) * (r - 1));
                q = (t - 1) * (r - 1) * (s - 1);
            }
            if (p > 0) q = -q;
            else p = -p;
            if (2 * p < std::min(3 * m * q - std::fabs(tolerance * q), std::fabs(e * q))) {
                e = d;
                d = p / q;
            } else {
                d = e = m;
            }
        } else {
            d = e = m;
        }
        a = b;
        fa = fb;
        b += std::fabs(d) > tolerance ? d : (m > 0 ? tolerance : -tolerance);
        fb = f(b);
        if (std::isnan(fb)) return std::nan("");
    }
    return b;
}

// The x where an increasing distribution function reaches probability p (q = 1 - p), with
// `lower(x)` its lower tail and `upper(x)` its upper tail: the smaller of p and q is matched in its
// own tail, so a probability near 1 loses nothing. The search starts on [lo, hi] and widens hi
// (doubling) until the root is inside; NaN when it never is.
template <class Lower, class Upper>
double invertDistribution(Lower&& lower, Upper&& upper, double p, double q, double lo, double hi) {
    const auto f = [&](double x) { return p <= q ? lower(x) - p : q - upper(x); };
    for (int i = 0; i < 2100 && f(hi) < 0; ++i) {
        lo = hi;
        hi *= 2;
        if (!std::isfinite(hi)) return std::nan("");
    }
    return findRoot(f, lo, hi);
}

}  // namespace kes::calc::special
