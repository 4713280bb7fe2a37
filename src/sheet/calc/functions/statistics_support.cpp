#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {

double meanOf(std::span<const double> values) {
    double total = 0;
    for (double x : values) total += x;
    return total / double(values.size());
}

double squaredDeviations(std::span<const double> values) {
    const double mean = meanOf(values);
    double total = 0;
    for (double x : values) total += (x - mean) * (x - mean);
    return total;
}

double variance(std::span<const double> values, bool sample) {
    const size_t n = values.size();
    if (n < (sample ? 2u : 1u)) fail(ecDivByZero);
    return squaredDeviations(values) / double(sample ? n - 1 : n);
}

Pairs pairedNumbers(Call& call, size_t xIndex, size_t yIndex) {
    const auto xs = numbersInPlace(call, xIndex);
    const auto ys = numbersInPlace(call, yIndex);
    if (xs.size() != ys.size()) fail(ecNA);
    Pairs pairs;
    for (size_t i = 0; i < xs.size(); ++i) {
        if (!xs[i] || !ys[i]) continue;
        pairs.x.push_back(*xs[i]);
        pairs.y.push_back(*ys[i]);
    }
    return pairs;
}

double probability(Call& call, size_t index) {
    const double p = call.number(index);
    if (p < 0 || p > 1) fail(ecNUM);
    return p;
}

}  // namespace kes::calc
