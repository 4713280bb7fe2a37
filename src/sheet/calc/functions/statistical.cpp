// Statistical functions: the family's list, and the descriptive statistics of a set of numbers
// (averages, extremes, counts, spread and shape).
#include <algorithm>
#include <cmath>
#include <vector>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

// The *A functions count texts in references as 0 and booleans as 0 or 1.
constexpr NumberRules kCountingText{.countReferencedText = true};

template <bool countText>
std::vector<double> numbers(Call& call) {
    return collectNumbers(call, 0, countText ? kCountingText : NumberRules{});
}

template <bool countText>
Value average(Call& call) {
    const std::vector<double> values = numbers<countText>(call);
    if (values.empty()) return Value::error(ecDivByZero);
    return Value::number(meanOf(values));
}

template <bool countText>
Value min(Call& call) {
    const std::vector<double> values = numbers<countText>(call);
    return Value::number(values.empty() ? 0 : *std::min_element(values.begin(), values.end()));
}

template <bool countText>
Value max(Call& call) {
    const std::vector<double> values = numbers<countText>(call);
    return Value::number(values.empty() ? 0 : *std::max_element(values.begin(), values.end()));
}

Value count(Call& call) {
    size_t n = 0;
    call.forEachValueFrom(0, [&](const Value& v, bool direct) {
        if (v.isNumber()) ++n;
        else if (direct && v.isBoolean()) ++n;
        else if (direct && v.isText() && textToNumber(v.text(), call.settings())) ++n;
    });
    return Value::number(double(n));
}

Value countA(Call& call) {
    size_t n = 0;
    for (size_t i = 0; i < call.count(); ++i) {
        call.forEachValue(i, [&](const Value& v, bool direct) {
            if (!v.isBlank() || (direct && !call.isMissing(i))) ++n;
        });
    }
    return Value::number(double(n));
}

template <bool sample, bool countText, bool root>
Value spread(Call& call) {
    const double v = variance(numbers<countText>(call), sample);
    return Value::number(root ? std::sqrt(v) : v);
}

Value aveDev(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    if (values.empty()) return Value::error(ecNUM);
    const double mean = meanOf(values);
    double total = 0;
    for (double x : values) total += std::fabs(x - mean);
    return Value::number(total / double(values.size()));
}

Value devSq(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    if (values.empty()) return Value::error(ecNUM);
    return Value::number(squaredDeviations(values));
}

Value geoMean(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    if (values.empty()) return Value::error(ecNUM);
    // The product kept as a mantissa and a power of two, which neither overflows nor loses the
    // digits a sum of logarithms would.
    double mantissa = 1;
    int64_t exponent = 0;
    for (double x : values) {
        if (x <= 0) return Value::error(ecNUM);
        int e;
        mantissa = std::frexp(mantissa * x, &e);
        exponent += e;
    }
    const double n = double(values.size());
    const double whole = std::floor(double(exponent) / n);
    return Value::number(std::pow(mantissa, 1 / n) * std::exp2(double(exponent) / n - whole) * std::exp2(whole));
}

Value harMean(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    if (values.empty()) return Value::error(ecNA);
    double reciprocals = 0;
    for (double x : values) {
        if (x <= 0) return Value::error(ecNUM);
        reciprocals += 1 / x;
    }
    return Value::number(double(values.size()) / reciprocals);
}

// Σ ((x - mean) / s)^power, with s the sample or population standard deviation.
double standardizedMoment(const std::vector<double>& values, bool sample, int power) {
    const double mean = meanOf(values);
    const double s = std::sqrt(variance(values, sample));
    if (s == 0) fail(ecDivByZero);
    double total = 0;
    for (double x : values) {
        const double z = (x - mean) / s;
        double term = z;
        for (int i = 1; i < power; ++i) term *= z;
        total += term;
    }
    return total;
}

Value kurt(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    const double n = double(values.size());
    if (n < 4) return Value::error(ecDivByZero);
    const double moment = standardizedMoment(values, true, 4);
    return Value::number(n * (n + 1) / ((n - 1) * (n - 2) * (n - 3)) * moment -
                         3 * (n - 1) * (n - 1) / ((n - 2) * (n - 3)));
}

Value skew(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    const double n = double(values.size());
    if (n < 3) return Value::error(ecDivByZero);
    return Value::number(n / ((n - 1) * (n - 2)) * standardizedMoment(values, true, 3));
}

Value skewP(Call& call) {
    const std::vector<double> values = numbers<false>(call);
    if (values.empty()) return Value::error(ecDivByZero);
    return Value::number(standardizedMoment(values, false, 3) / double(values.size()));
}

Value standardize(Call& call) {
    const double x = call.number(0), mean = call.number(1), sd = call.number(2);
    if (sd <= 0) return Value::error(ecNUM);
    return Value::number((x - mean) / sd);
}

constexpr FunctionSpec kFunctions[] = {
    {u"AVERAGE", 1, kManyArgs, "R", average<false>, 5},
    {u"AVERAGEA", 1, kManyArgs, "R", average<true>, 361},
    {u"MIN", 1, kManyArgs, "R", min<false>, 6},
    {u"MINA", 1, kManyArgs, "R", min<true>, 363},
    {u"MAX", 1, kManyArgs, "R", max<false>, 7},
    {u"MAXA", 1, kManyArgs, "R", max<true>, 362},
    {u"COUNT", 0, kManyArgs, "R", count, 0},
    {u"COUNTA", 1, kManyArgs, "R", countA, 169},
    {u"STDEV", 1, kManyArgs, "R", spread<true, false, true>, 12},
    {u"STDEV.S", 1, kManyArgs, "R", spread<true, false, true>, kNoBiffId, kFilePrefix},
    {u"STDEVP", 1, kManyArgs, "R", spread<false, false, true>, 193},
    {u"STDEV.P", 1, kManyArgs, "R", spread<false, false, true>, kNoBiffId, kFilePrefix},
    {u"STDEVA", 1, kManyArgs, "R", spread<true, true, true>, 366},
    {u"STDEVPA", 1, kManyArgs, "R", spread<false, true, true>, 364},
    {u"VAR", 1, kManyArgs, "R", spread<true, false, false>, 46},
    {u"VAR.S", 1, kManyArgs, "R", spread<true, false, false>, kNoBiffId, kFilePrefix},
    {u"VARP", 1, kManyArgs, "R", spread<false, false, false>, 194},
    {u"VAR.P", 1, kManyArgs, "R", spread<false, false, false>, kNoBiffId, kFilePrefix},
    {u"VARA", 1, kManyArgs, "R", spread<true, true, false>, 367},
    {u"VARPA", 1, kManyArgs, "R", spread<false, true, false>, 365},
    {u"AVEDEV", 1, kManyArgs, "R", aveDev, 269},
    {u"DEVSQ", 1, kManyArgs, "R", devSq, 318},
    {u"GEOMEAN", 1, kManyArgs, "R", geoMean, 319},
    {u"HARMEAN", 1, kManyArgs, "R", harMean, 320},
    {u"KURT", 1, kManyArgs, "R", kurt, 322},
    {u"SKEW", 1, kManyArgs, "R", skew, 323},
    {u"SKEW.P", 1, kManyArgs, "R", skewP, kNoBiffId, kFilePrefix},
    {u"STANDARDIZE", 3, 3, "VVV", standardize, 297},
};

}  // namespace

std::span<const FunctionSpec> descriptiveFunctions() { return kFunctions; }

std::span<const FunctionSpec> statisticalFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> out;
        for (auto part : {descriptiveFunctions, conditionalStatisticsFunctions, orderStatisticsFunctions,
                          continuousDistributionFunctions, discreteDistributionFunctions, hypothesisTestFunctions,
                          regressionFunctions, exponentialSmoothingFunctions}) {
            for (const FunctionSpec& spec : part()) out.push_back(spec);
        }
        return out;
    }();
    return all;
}

}  // namespace kes::calc
