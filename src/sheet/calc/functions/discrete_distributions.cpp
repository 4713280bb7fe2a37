// Discrete distributions: binomial, negative binomial, hypergeometric and Poisson, the binomial
// inverse, and the counts of arrangements PERMUT and PERMUTATIONA.
#include <cmath>

#include "sheet/calc/functions/special_functions.h"
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

using namespace special;

// Sums of probabilities that walk term by term stop here, whatever the arguments.
constexpr int64_t kMaxTerms = 10'000'000;

double count(Call& call, size_t index) { return std::trunc(call.number(index)); }

// P(X <= k) for the binomial distribution, through the incomplete beta function.
double binomialCdf(double k, double n, double p) {
    if (k < 0) return 0;
    if (k >= n) return 1;
    return incompleteBetaComplement(p, 1 - p, k + 1, n - k);
}

Value binomDist(Call& call) {
    convertArguments(call, "nnnb");
    const double k = count(call, 0), n = count(call, 1), p = probability(call, 2);
    const bool cumulative = call.boolean(3);
    if (n < 0 || k < 0 || k > n) return Value::error(ecNUM);
    return Value::number(cumulative ? binomialCdf(k, n, p) : binomialProbability(k, n, p, 1 - p));
}

Value binomDistRange(Call& call) {
    convertArguments(call, "nnnn");
    const double n = count(call, 0), p = probability(call, 1), s = count(call, 2);
    const double s2 = call.isMissing(3) ? s : count(call, 3);
    if (n < 0 || s < 0 || s > n || s2 < s || s2 > n) return Value::error(ecNUM);
    if (s2 - s < 1000) {
        double total = 0;
        for (double k = s; k <= s2; ++k) total += binomialProbability(k, n, p, 1 - p);
        return Value::number(total);
    }
    return Value::number(binomialCdf(s2, n, p) - binomialCdf(s - 1, n, p));
}

// The smallest k whose cumulative binomial probability reaches alpha.
Value binomInv(Call& call) {
    convertArguments(call, "nnn");
    const double n = count(call, 0), p = probability(call, 1), alpha = probability(call, 2);
    if (n < 0) return Value::error(ecNUM);
    if (n <= 10000) {
        double total = 0;
        for (double k = 0; k < n; ++k) {
            total += binomialProbability(k, n, p, 1 - p);
            if (total >= alpha) return Value::number(k);
        }
        return Value::number(n);
    }
    double lo = -1, hi = n;   // cdf(lo) < alpha <= cdf(hi)
    while (hi - lo > 1) {
        const double mid = std::floor((lo + hi) / 2);
        const double cdf = binomialCdf(mid, n, p);
        if (std::isnan(cdf)) return Value::error(ecNUM);
        (cdf >= alpha ? hi : lo) = mid;
    }
    return Value::number(hi);
}

Value negBinomDist(Call& call) {
    convertArguments(call, "nnnb");
    const double failures = count(call, 0), successes = count(call, 1), p = probability(call, 2);
    const bool cumulative = call.count() > 3 && call.boolean(3);
    if (failures < 0 || successes < 1 || p == 0) return Value::error(ecNUM);
    if (cumulative) return Value::number(incompleteBeta(p, 1 - p, successes, failures + 1));
    const double trials = failures + successes;
    return Value::number(successes / trials * binomialProbability(successes, trials, p, 1 - p));
}

// The hypergeometric distribution: k successes in a sample of n from a population of N holding K.
struct Hypergeometric {
    double n, K, N;

    double lowest() const { return std::max(0.0, n - (N - K)); }
    double highest() const { return std::min(n, K); }

    double probability(double k) const {
        if (k < lowest() || k > highest()) return 0;
        if (lowest() == highest()) return 1;
        // Three binomial terms of one probability n / N, whose large factors cancel exactly.
        const double p = n / N, q = (N - n) / N;
        return binomialProbability(k, K, p, q) * binomialProbability(n - k, N - K, p, q) /
               binomialProbability(n, N, p, q);
    }

    // P(X <= k): summed from k away from the middle, or 1 minus the sum above k, so that the
    // terms shrink as the sum goes and it stops once they no longer count.
    double cdf(double k) const {
        const bool below = k < n * K / N;
        double total = 0;
        double term = probability(below ? k : k + 1);
        for (double x = below ? k : k + 1; x >= lowest() && x <= highest() && x - k < kMaxTerms && k - x < kMaxTerms;) {
            total += term;
            if (term <= total * 1e-17) break;
            if (below) {
                term *= x * (N - K - n + x) / ((K - x + 1) * (n - x + 1));
                --x;
            } else {
                term *= (K - x) * (n - x) / ((x + 1) * (N - K - n + x + 1));
                ++x;
            }
        }
        return below ? total : 1 - total;
    }
};

Value hypgeomDist(Call& call) {
    convertArguments(call, "nnnnb");
    const double k = count(call, 0), n = count(call, 1), K = count(call, 2), N = count(call, 3);
    const bool cumulative = call.count() > 4 && call.boolean(4);
    if (k < 0 || n < 0 || K < 0 || n > N || K > N) return Value::error(ecNUM);
    const Hypergeometric h{n, K, N};
    // Fewer successes than the sample must hold have no chance; more than it can hold are out of range.
    if (k > h.highest()) return Value::error(ecNUM);
    if (k < h.lowest()) return Value::number(0);
    return Value::number(cumulative ? h.cdf(k) : h.probability(k));
}

Value poissonDist(Call& call) {
    convertArguments(call, "nnb");
    const double k = count(call, 0), mean = call.number(1);
    const bool cumulative = call.boolean(2);
    if (k < 0 || mean < 0) return Value::error(ecNUM);
    if (cumulative) return Value::number(mean == 0 ? 1 : upperGamma(k + 1, mean));
    return Value::number(poissonProbability(k, mean));
}

Value permut(Call& call) {
    convertArguments(call, "nn");
    const double n = count(call, 0), k = count(call, 1);
    if (n <= 0 || k < 0 || n < k) return Value::error(ecNUM);
    // Past 170 factors the product overflows whatever they are.
    if (k > 171) return Value::error(ecNUM);
    double product = 1;
    for (double i = n - k + 1; i <= n; ++i) product *= i;
    return Value::number(product);
}

Value permutationA(Call& call) {
    convertArguments(call, "nn");
    const double n = count(call, 0), k = count(call, 1);
    if (n < 0 || k < 0) return Value::error(ecNUM);
    return Value::number(std::pow(n, k));
}

constexpr FunctionSpec kFunctions[] = {
    {u"BINOM.DIST", 4, 4, "VVVV", binomDist, kNoBiffId, kFilePrefix},
    {u"BINOMDIST", 4, 4, "VVVV", binomDist, 273},
    {u"BINOM.DIST.RANGE", 3, 4, "VVVV", binomDistRange, kNoBiffId, kFilePrefix},
    {u"BINOM.INV", 3, 3, "VVV", binomInv, kNoBiffId, kFilePrefix},
    {u"CRITBINOM", 3, 3, "VVV", binomInv, 278},
    {u"NEGBINOM.DIST", 4, 4, "VVVV", negBinomDist, kNoBiffId, kFilePrefix},
    {u"NEGBINOMDIST", 3, 3, "VVV", negBinomDist, 292},
    {u"HYPGEOM.DIST", 5, 5, "VVVVV", hypgeomDist, kNoBiffId, kFilePrefix},
    {u"HYPGEOMDIST", 4, 4, "VVVV", hypgeomDist, 289},
    {u"POISSON.DIST", 3, 3, "VVV", poissonDist, kNoBiffId, kFilePrefix},
    {u"POISSON", 3, 3, "VVV", poissonDist, 300},
    {u"PERMUT", 2, 2, "VV", permut, 299},
    {u"PERMUTATIONA", 2, 2, "VV", permutationA, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> discreteDistributionFunctions() { return kFunctions; }

}  // namespace kes::calc
