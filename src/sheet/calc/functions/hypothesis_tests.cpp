// Tests of hypotheses and intervals: CHISQ.TEST, F.TEST, T.TEST, Z.TEST, the confidence
// intervals, and PROB.
#include <cmath>

#include "sheet/calc/functions/special_functions.h"
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

using namespace special;

Value chisqTest(Call& call) {
    // Errors of the observed values come before those of the expected ones.
    arrayNumbers(call, 0);
    arrayNumbers(call, 1);
    const auto actual = call.matrix(0);
    const Pairs pairs = pairedNumbers(call, 0, 1);
    if (pairs.x.empty()) return Value::error(ecDivByZero);
    double statistic = 0;
    for (size_t i = 0; i < pairs.x.size(); ++i) {
        const double expected = pairs.y[i];
        if (expected < 0) return Value::error(ecNUM);
        if (expected == 0) return Value::error(ecDivByZero);
        const double d = pairs.x[i] - expected;
        statistic += d * d / expected;
    }
    const int32_t rows = actual->rows(), columns = actual->columns();
    const double freedom = rows > 1 && columns > 1 ? double(rows - 1) * (columns - 1) : double(rows * columns - 1);
    if (freedom < 1) return Value::error(ecNA);
    return Value::number(upperGamma(freedom / 2, statistic / 2));
}

Value fTest(Call& call) {
    const std::vector<double> first = arrayNumbers(call, 0), second = arrayNumbers(call, 1);
    const double v1 = variance(first, true), v2 = variance(second, true);
    if (v1 == 0 || v2 == 0) return Value::error(ecDivByZero);
    const Tails tails = fTails(v1 / v2, double(first.size() - 1), double(second.size() - 1));
    return Value::number(2 * std::min(tails.lower, tails.upper));
}

// The probability of a t statistic as large as |t|, in one tail or both.
double tProbability(double t, double freedom, double tails) {
    return tails * studentTails(std::fabs(t), freedom).upper;
}

Value tTest(Call& call) {
    const double tails = std::trunc(call.number(2)), type = std::trunc(call.number(3));
    if (tails != 1 && tails != 2) return Value::error(ecNUM);
    if (type < 1 || type > 3) return Value::error(ecNUM);
    if (type == 1) {
        const Pairs pairs = pairedNumbers(call, 0, 1);
        std::vector<double> differences(pairs.x.size());
        for (size_t i = 0; i < differences.size(); ++i) differences[i] = pairs.x[i] - pairs.y[i];
        const double n = double(differences.size());
        const double v = variance(differences, true);
        if (v == 0) return Value::error(ecDivByZero);
        return Value::number(tProbability(meanOf(differences) / std::sqrt(v / n), n - 1, tails));
    }
    const std::vector<double> first = arrayNumbers(call, 0), second = arrayNumbers(call, 1);
    const double n1 = double(first.size()), n2 = double(second.size());
    const double v1 = variance(first, true), v2 = variance(second, true);
    const double difference = meanOf(first) - meanOf(second);
    if (type == 2) {
        const double pooled = ((n1 - 1) * v1 + (n2 - 1) * v2) / (n1 + n2 - 2);
        if (pooled == 0) return Value::error(ecDivByZero);
        return Value::number(tProbability(difference / std::sqrt(pooled * (1 / n1 + 1 / n2)), n1 + n2 - 2, tails));
    }
    // Welch's test, with its fractional degrees of freedom.
    const double a = v1 / n1, b = v2 / n2;
    if (a + b == 0) return Value::error(ecDivByZero);
    const double freedom = (a + b) * (a + b) / (a * a / (n1 - 1) + b * b / (n2 - 1));
    return Value::number(tProbability(difference / std::sqrt(a + b), freedom, tails));
}

Value zTest(Call& call) {
    const double x = call.number(1);
    const bool given = !call.isMissing(2);
    double sigma = given ? call.number(2) : 0;
    if (given && sigma <= 0) return Value::error(ecNUM);
    std::vector<double> values;
    collectNumbersOf(call, 0, values);
    if (values.empty()) return Value::error(ecNA);
    // A single value has no spread, even beside a given sigma.
    if (values.size() < 2) return Value::error(ecDivByZero);
    if (!given) sigma = std::sqrt(variance(values, true));
    if (sigma == 0) return Value::error(ecDivByZero);
    const double z = (meanOf(values) - x) / (sigma / std::sqrt(double(values.size())));
    return Value::number(normalCdf(-z));
}

// The arguments of both intervals: alpha in (0, 1), a positive deviation, a size of at least 1.
struct Interval {
    double alpha, sd, size;
};

Interval intervalOf(Call& call) {
    const Interval interval{call.number(0), call.number(1), std::trunc(call.number(2))};
    if (interval.alpha <= 0 || interval.alpha >= 1 || interval.sd <= 0 || interval.size < 1) fail(ecNUM);
    return interval;
}

Value confidenceNorm(Call& call) {
    convertArguments(call, "nnn");
    const Interval i = intervalOf(call);
    return Value::number(-normalQuantile(i.alpha / 2) * i.sd / std::sqrt(i.size));
}

Value confidenceT(Call& call) {
    convertArguments(call, "nnn");
    const Interval i = intervalOf(call);
    if (i.size == 1) return Value::error(ecDivByZero);
    return Value::number(studentUpperQuantile(i.alpha / 2, i.size - 1) * i.sd / std::sqrt(i.size));
}

Value prob(Call& call) {
    const auto xs = numbersInPlace(call, 0);
    const auto ps = numbersInPlace(call, 1);
    const double lower = call.number(2);
    const double upper = call.number(3, lower);
    if (xs.size() != ps.size()) return Value::error(ecNA);
    double total = 0, inside = 0;
    size_t counted = 0;
    for (size_t i = 0; i < xs.size(); ++i) {
        if (!ps[i]) continue;
        ++counted;
        if (*ps[i] < 0 || *ps[i] > 1) return Value::error(ecNUM);
        total += *ps[i];
        if (xs[i] && *xs[i] >= lower && *xs[i] <= upper) inside += *ps[i];
    }
    if (counted == 0) return Value::error(ecDivByZero);
    if (std::fabs(total - 1) > 1e-7) return Value::error(ecNUM);
    return Value::number(inside);
}

constexpr FunctionSpec kFunctions[] = {
    {u"CHISQ.TEST", 2, 2, "AA", chisqTest, kNoBiffId, kFilePrefix},
    {u"CHITEST", 2, 2, "AA", chisqTest, 306},
    {u"F.TEST", 2, 2, "AA", fTest, kNoBiffId, kFilePrefix},
    {u"FTEST", 2, 2, "AA", fTest, 310},
    {u"T.TEST", 4, 4, "AAVV", tTest, kNoBiffId, kFilePrefix},
    {u"TTEST", 4, 4, "AAVV", tTest, 316},
    {u"Z.TEST", 2, 3, "AVV", zTest, kNoBiffId, kFilePrefix},
    {u"ZTEST", 2, 3, "AVV", zTest, 324},
    {u"CONFIDENCE.NORM", 3, 3, "VVV", confidenceNorm, kNoBiffId, kFilePrefix},
    {u"CONFIDENCE", 3, 3, "VVV", confidenceNorm, 277},
    {u"CONFIDENCE.T", 3, 3, "VVV", confidenceT, kNoBiffId, kFilePrefix},
    {u"PROB", 3, 4, "AAVV", prob, 317},
};

}  // namespace

std::span<const FunctionSpec> hypothesisTestFunctions() { return kFunctions; }

}  // namespace kes::calc
