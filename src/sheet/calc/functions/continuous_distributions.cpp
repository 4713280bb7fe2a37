// Continuous distributions: normal, lognormal, exponential, Weibull, gamma, beta, chi-squared,
// F and Student's t, with their inverses, in Excel's current names and its compatibility ones;
// and the functions of one number that belong with them (GAMMA, GAMMALN, PHI, GAUSS, FISHER).
#include <cmath>
#include <numbers>

#include "sheet/calc/functions/special_functions.h"
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

using namespace special;

// The most degrees of freedom Excel takes.
constexpr double kMaxFreedom = 1e10;

double positive(Call& call, size_t index) {
    const double x = call.number(index);
    if (x <= 0) fail(ecNUM);
    return x;
}

// Degrees of freedom: truncated, from 1 to 10^10.
double freedom(Call& call, size_t index) {
    const double df = std::trunc(call.number(index));
    if (df < 1 || df > kMaxFreedom) fail(ecNUM);
    return df;
}

double nonNegative(Call& call, size_t index) {
    const double x = call.number(index);
    if (x < 0) fail(ecNUM);
    return x;
}

// A probability strictly between 0 and 1.
double openProbability(Call& call, size_t index) {
    const double p = call.number(index);
    if (p <= 0 || p >= 1) fail(ecNUM);
    return p;
}

// ---- normal and lognormal ----

Value normDist(Call& call) {
    convertArguments(call, "nnnb");
    const double x = call.number(0), mean = call.number(1), sd = positive(call, 2);
    const double z = (x - mean) / sd;
    const bool cumulative = call.boolean(3);
    return Value::number(cumulative ? normalCdf(z) : normalDensity(z) / sd);
}

Value normSDist(Call& call) {
    convertArguments(call, "nb");
    const double z = call.number(0);
    return Value::number(call.boolean(1) ? normalCdf(z) : normalDensity(z));
}

Value normSDistCumulative(Call& call) { return Value::number(normalCdf(call.number(0))); }

Value normInv(Call& call) {
    convertArguments(call, "nnn");
    const double p = openProbability(call, 0), mean = call.number(1), sd = positive(call, 2);
    return Value::number(mean + sd * normalQuantile(p));
}

Value normSInv(Call& call) { return Value::number(normalQuantile(openProbability(call, 0))); }

Value logNormDist(Call& call) {
    convertArguments(call, "nnnb");
    const double x = positive(call, 0), mean = call.number(1), sd = positive(call, 2);
    const double z = (std::log(x) - mean) / sd;
    const bool cumulative = call.count() < 4 || call.boolean(3);
    return Value::number(cumulative ? normalCdf(z) : normalDensity(z) / (x * sd));
}

Value logNormInv(Call& call) {
    convertArguments(call, "nnn");
    const double p = openProbability(call, 0), mean = call.number(1), sd = positive(call, 2);
    return Value::number(std::exp(mean + sd * normalQuantile(p)));
}

Value phi(Call& call) { return Value::number(normalDensity(call.number(0))); }

Value gauss(Call& call) {
    // Φ(z) - ½ as ½ erf(z/√2), which keeps its digits near 0.
    const double z = call.number(0);
    const double half = 0.5 * lowerGamma(0.5, 0.5 * z * z);
    return Value::number(z < 0 ? -half : half);
}

// ---- exponential and Weibull ----

Value exponDist(Call& call) {
    convertArguments(call, "nnb");
    const double x = nonNegative(call, 0), lambda = positive(call, 1);
    return Value::number(call.boolean(2) ? -std::expm1(-lambda * x) : lambda * std::exp(-lambda * x));
}

Value weibullDist(Call& call) {
    convertArguments(call, "nnnb");
    const double x = nonNegative(call, 0), alpha = positive(call, 1), beta = positive(call, 2);
    const double power = std::pow(x / beta, alpha);
    if (call.boolean(3)) return Value::number(-std::expm1(-power));
    return Value::number(alpha / beta * std::pow(x / beta, alpha - 1) * std::exp(-power));
}

// ---- gamma ----

Value gammaDist(Call& call) {
    convertArguments(call, "nnnb");
    const double x = nonNegative(call, 0), alpha = positive(call, 1), beta = positive(call, 2);
    if (call.boolean(3)) return Value::number(lowerGamma(alpha, x / beta));
    return Value::number(gammaDensity(alpha, x / beta) / beta);
}

// The x where the gamma distribution of shape a (scale 1) has lower tail p.
double gammaQuantile(double p, double a) {
    if (p == 0) return 0;
    if (p == 1) fail(ecNUM);
    const double x = invertDistribution([&](double t) { return lowerGamma(a, t); },
                                        [&](double t) { return upperGamma(a, t); }, p, 1 - p, 0, std::max(1.0, a));
    if (std::isnan(x)) fail(ecNUM);
    return x;
}

// The same from the upper tail q.
double gammaUpperQuantile(double q, double a) {
    if (q == 1) return 0;
    if (q == 0) fail(ecNUM);
    const double x = invertDistribution([&](double t) { return lowerGamma(a, t); },
                                        [&](double t) { return upperGamma(a, t); }, 1 - q, q, 0, std::max(1.0, a));
    if (std::isnan(x)) fail(ecNUM);
    return x;
}

Value gammaInv(Call& call) {
    convertArguments(call, "nnn");
    const double p = probability(call, 0), alpha = positive(call, 1), beta = positive(call, 2);
    return Value::number(beta * gammaQuantile(p, alpha));
}

Value gammaFunction(Call& call) {
    const double x = call.number(0);
    if (x <= 0 && x == std::floor(x)) return Value::error(ecNUM);
    return Value::number(special::gamma(x));
}

Value gammaLn(Call& call) { return Value::number(logGamma(positive(call, 0))); }

// ---- chi-squared ----

Value chisqDist(Call& call) {
    convertArguments(call, "nnb");
    const double x = nonNegative(call, 0), df = freedom(call, 1);
    if (call.boolean(2)) return Value::number(lowerGamma(df / 2, x / 2));
    return Value::number(gammaDensity(df / 2, x / 2) / 2);
}

Value chisqDistRt(Call& call) {
    convertArguments(call, "nn");
    const double x = nonNegative(call, 0), df = freedom(call, 1);
    return Value::number(upperGamma(df / 2, x / 2));
}

Value chisqInv(Call& call) {
    convertArguments(call, "nn");
    const double p = probability(call, 0), df = freedom(call, 1);
    return Value::number(2 * gammaQuantile(p, df / 2));
}

Value chisqInvRt(Call& call) {
    convertArguments(call, "nn");
    const double q = probability(call, 0), df = freedom(call, 1);
    return Value::number(2 * gammaUpperQuantile(q, df / 2));
}

// ---- beta ----

// The bounds A and B of BETA.DIST and BETA.INV (arguments `first` and after), 0 and 1 when left out.
struct Bounds {
    double lower, upper;
};

Bounds boundsOf(Call& call, size_t first) {
    const Bounds bounds{call.number(first, 0), call.number(first + 1, 1)};
    if (bounds.lower >= bounds.upper) fail(ecNUM);
    return bounds;
}

Value betaDistribution(Call& call, bool cumulative, size_t boundsAt) {
    convertArguments(call, boundsAt == 4 ? "nnnbnn" : "nnnnn");
    const double x = call.number(0), alpha = positive(call, 1), beta = positive(call, 2);
    if (cumulative && boundsAt == 4) cumulative = call.boolean(3);
    const Bounds b = boundsOf(call, boundsAt);
    if (x < b.lower || x > b.upper) return Value::error(ecNUM);
    const double width = b.upper - b.lower;
    const double u = (x - b.lower) / width, v = (b.upper - x) / width;
    if (cumulative) return Value::number(incompleteBeta(u, v, alpha, beta));
    return Value::number(betaDensity(u, v, alpha, beta) / width);
}

Value betaDist(Call& call) { return betaDistribution(call, true, 4); }
Value betaDistCompatible(Call& call) { return betaDistribution(call, true, 3); }

Value betaInv(Call& call) {
    convertArguments(call, "nnnnn");
    const double p = probability(call, 0), alpha = positive(call, 1), beta = positive(call, 2);
    const Bounds b = boundsOf(call, 3);
    if (p == 0) return Value::error(ecNUM);
    if (p == 1) return Value::number(b.upper);
    const double u = findRoot(
        [&](double t) {
            return p <= 0.5 ? incompleteBeta(t, 1 - t, alpha, beta) - p
                            : (1 - p) - incompleteBetaComplement(t, 1 - t, alpha, beta);
        },
        0, 1);
    if (std::isnan(u)) return Value::error(ecNUM);
    return Value::number(b.lower + u * (b.upper - b.lower));
}

// ---- F ----

Value fDist(Call& call) {
    convertArguments(call, "nnnb");
    const double x = nonNegative(call, 0), d1 = freedom(call, 1), d2 = freedom(call, 2);
    if (call.boolean(3)) return Value::number(fTails(x, d1, d2).lower);
    const double denominator = d1 * x + d2;
    return Value::number(betaDensity(d1 * x / denominator, d2 / denominator, d1 / 2, d2 / 2) * d1 * d2 /
                         (denominator * denominator));
}

Value fDistRt(Call& call) {
    convertArguments(call, "nnn");
    const double x = nonNegative(call, 0), d1 = freedom(call, 1), d2 = freedom(call, 2);
    return Value::number(fTails(x, d1, d2).upper);
}

// The x where F has lower tail p and upper tail q.
double fQuantile(double p, double q, double d1, double d2) {
    if (p == 0) return 0;
    if (q == 0) fail(ecNUM);
    const double x = invertDistribution([&](double t) { return fTails(t, d1, d2).lower; },
                                        [&](double t) { return fTails(t, d1, d2).upper; }, p, q, 0, 2);
    if (std::isnan(x)) fail(ecNUM);
    return x;
}

Value fInv(Call& call) {
    convertArguments(call, "nnn");
    const double p = probability(call, 0), d1 = freedom(call, 1), d2 = freedom(call, 2);
    return Value::number(fQuantile(p, 1 - p, d1, d2));
}

Value fInvRt(Call& call) {
    convertArguments(call, "nnn");
    const double q = probability(call, 0), d1 = freedom(call, 1), d2 = freedom(call, 2);
    return Value::number(fQuantile(1 - q, q, d1, d2));
}

// ---- Student's t ----

double tFreedom(Call& call, size_t index) {
    const double df = std::trunc(call.number(index));
    if (df < 1) fail(ecNUM);
    return df;
}

Value tDist(Call& call) {
    convertArguments(call, "nnb");
    const double t = call.number(0);
    const bool cumulative = call.boolean(2);
    // No degrees of freedom divide the density by zero; the distribution is out of range.
    if (!cumulative && std::trunc(call.number(1)) == 0) return Value::error(ecDivByZero);
    const double df = tFreedom(call, 1);
    if (cumulative) return Value::number(t < 0 ? studentTails(-t, df).upper : studentTails(t, df).lower);
    const double density = std::exp(-logBeta(df / 2, 0.5) - (df + 1) / 2 * std::log1p(t * t / df)) / std::sqrt(df);
    return Value::number(density);
}

Value tDist2T(Call& call) {
    convertArguments(call, "nn");
    const double t = nonNegative(call, 0), df = tFreedom(call, 1);
    return Value::number(2 * studentTails(t, df).upper);
}

Value tDistRt(Call& call) {
    convertArguments(call, "nn");
    const double t = call.number(0), df = tFreedom(call, 1);
    return Value::number(t < 0 ? studentTails(-t, df).lower : studentTails(t, df).upper);
}

Value tDistCompatible(Call& call) {
    convertArguments(call, "nnn");
    const double t = nonNegative(call, 0), df = tFreedom(call, 1);
    const double tails = std::trunc(call.number(2));
    if (tails != 1 && tails != 2) return Value::error(ecNUM);
    return Value::number(tails * studentTails(t, df).upper);
}

Value tInv(Call& call) {
    convertArguments(call, "nn");
    const double p = openProbability(call, 0), df = tFreedom(call, 1);
    return Value::number(p < 0.5 ? -studentUpperQuantile(p, df) : studentUpperQuantile(1 - p, df));
}

Value tInv2T(Call& call) {
    convertArguments(call, "nn");
    const double p = call.number(0), df = tFreedom(call, 1);
    if (p <= 0 || p > 1) return Value::error(ecNUM);
    return Value::number(studentUpperQuantile(p / 2, df));
}

// ---- Fisher ----

Value fisher(Call& call) {
    const double x = call.number(0);
    if (x <= -1 || x >= 1) return Value::error(ecNUM);
    return Value::number(std::atanh(x));
}

Value fisherInv(Call& call) { return Value::number(std::tanh(call.number(0))); }

constexpr FunctionSpec kFunctions[] = {
    {u"NORM.DIST", 4, 4, "VVVV", normDist, kNoBiffId, kFilePrefix},
    {u"NORMDIST", 4, 4, "VVVV", normDist, 293},
    {u"NORM.S.DIST", 2, 2, "VV", normSDist, kNoBiffId, kFilePrefix},
    {u"NORMSDIST", 1, 1, "V", normSDistCumulative, 294},
    {u"NORM.INV", 3, 3, "VVV", normInv, kNoBiffId, kFilePrefix},
    {u"NORMINV", 3, 3, "VVV", normInv, 295},
    {u"NORM.S.INV", 1, 1, "V", normSInv, kNoBiffId, kFilePrefix},
    {u"NORMSINV", 1, 1, "V", normSInv, 296},
    {u"LOGNORM.DIST", 4, 4, "VVVV", logNormDist, kNoBiffId, kFilePrefix},
    {u"LOGNORMDIST", 3, 3, "VVV", logNormDist, 290},
    {u"LOGNORM.INV", 3, 3, "VVV", logNormInv, kNoBiffId, kFilePrefix},
    {u"LOGINV", 3, 3, "VVV", logNormInv, 291},
    {u"PHI", 1, 1, "V", phi, kNoBiffId, kFilePrefix},
    {u"GAUSS", 1, 1, "V", gauss, kNoBiffId, kFilePrefix},
    {u"EXPON.DIST", 3, 3, "VVV", exponDist, kNoBiffId, kFilePrefix},
    {u"EXPONDIST", 3, 3, "VVV", exponDist, 280},
    {u"WEIBULL.DIST", 4, 4, "VVVV", weibullDist, kNoBiffId, kFilePrefix},
    {u"WEIBULL", 4, 4, "VVVV", weibullDist, 302},
    {u"GAMMA.DIST", 4, 4, "VVVV", gammaDist, kNoBiffId, kFilePrefix},
    {u"GAMMADIST", 4, 4, "VVVV", gammaDist, 286},
    {u"GAMMA.INV", 3, 3, "VVV", gammaInv, kNoBiffId, kFilePrefix},
    {u"GAMMAINV", 3, 3, "VVV", gammaInv, 287},
    {u"GAMMA", 1, 1, "V", gammaFunction, kNoBiffId, kFilePrefix},
    {u"GAMMALN", 1, 1, "V", gammaLn, 271},
    {u"GAMMALN.PRECISE", 1, 1, "V", gammaLn, kNoBiffId, kFilePrefix},
    {u"CHISQ.DIST", 3, 3, "VVV", chisqDist, kNoBiffId, kFilePrefix},
    {u"CHISQ.DIST.RT", 2, 2, "VV", chisqDistRt, kNoBiffId, kFilePrefix},
    {u"CHIDIST", 2, 2, "VV", chisqDistRt, 274},
    {u"CHISQ.INV", 2, 2, "VV", chisqInv, kNoBiffId, kFilePrefix},
    {u"CHISQ.INV.RT", 2, 2, "VV", chisqInvRt, kNoBiffId, kFilePrefix},
    {u"CHIINV", 2, 2, "VV", chisqInvRt, 275},
    {u"BETA.DIST", 4, 6, "VVVVVV", betaDist, kNoBiffId, kFilePrefix},
    {u"BETADIST", 3, 5, "VVVVV", betaDistCompatible, 270},
    {u"BETA.INV", 3, 5, "VVVVV", betaInv, kNoBiffId, kFilePrefix},
    {u"BETAINV", 3, 5, "VVVVV", betaInv, 272},
    {u"F.DIST", 4, 4, "VVVV", fDist, kNoBiffId, kFilePrefix},
    {u"F.DIST.RT", 3, 3, "VVV", fDistRt, kNoBiffId, kFilePrefix},
    {u"FDIST", 3, 3, "VVV", fDistRt, 281},
    {u"F.INV", 3, 3, "VVV", fInv, kNoBiffId, kFilePrefix},
    {u"F.INV.RT", 3, 3, "VVV", fInvRt, kNoBiffId, kFilePrefix},
    {u"FINV", 3, 3, "VVV", fInvRt, 282},
    {u"T.DIST", 3, 3, "VVV", tDist, kNoBiffId, kFilePrefix},
    {u"T.DIST.2T", 2, 2, "VV", tDist2T, kNoBiffId, kFilePrefix},
    {u"T.DIST.RT", 2, 2, "VV", tDistRt, kNoBiffId, kFilePrefix},
    {u"TDIST", 3, 3, "VVV", tDistCompatible, 301},
    {u"T.INV", 2, 2, "VV", tInv, kNoBiffId, kFilePrefix},
    {u"T.INV.2T", 2, 2, "VV", tInv2T, kNoBiffId, kFilePrefix},
    {u"TINV", 2, 2, "VV", tInv2T, 332},
    {u"FISHER", 1, 1, "V", fisher, 283},
    {u"FISHERINV", 1, 1, "V", fisherInv, 284},
};

}  // namespace

Tails fTails(double x, double d1, double d2) {
    const double u = d1 * x / (d1 * x + d2), v = d2 / (d1 * x + d2);
    return {incompleteBeta(u, v, d1 / 2, d2 / 2), incompleteBetaComplement(u, v, d1 / 2, d2 / 2)};
}

Tails studentTails(double t, double df) {
    if (df == 1) {
        // The Cauchy distribution, in closed form: its tails reach far beyond where t² overflows.
        const double upper = std::atan2(1.0, t) / std::numbers::pi;
        return {1 - upper, upper};
    }
    // Beyond this the upper tail is below the smallest double.
    if (t > 1e154) return {1, 0};
    // P(|T| > t) is the incomplete beta function of df / (df + t²).
    const double denominator = df + t * t, x = df / denominator, y = t * t / denominator;
    return {0.5 + 0.5 * incompleteBetaComplement(x, y, df / 2, 0.5), 0.5 * incompleteBeta(x, y, df / 2, 0.5)};
}

double studentUpperQuantile(double q, double df) {
    if (q == 0.5) return 0;
    if (df == 1) return 1 / std::tan(std::numbers::pi * q);
    const double t = invertDistribution([&](double x) { return studentTails(x, df).lower; },
                                        [&](double x) { return studentTails(x, df).upper; }, 1 - q, q, 0, 1);
    if (std::isnan(t)) fail(ecNUM);
    return t;
}

std::span<const FunctionSpec> continuousDistributionFunctions() { return kFunctions; }

}  // namespace kes::calc
