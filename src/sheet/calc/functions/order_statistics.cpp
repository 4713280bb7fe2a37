// Statistics of sorted data: LARGE, SMALL, MEDIAN, the modes, percentiles and quartiles, the
// percent rank and rank of a value, TRIMMEAN, and FREQUENCY.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

std::vector<double> sortedNumbersOf(Call& call, size_t index) {
    std::vector<double> values;
    collectNumbersOf(call, index, values);
    std::sort(values.begin(), values.end());
    return values;
}

// The k-th value from the small end (k from 1, truncated).
Value kth(Call& call, bool fromLarge) {
    const double k = std::trunc(call.number(1));
    const std::vector<double> values = sortedNumbersOf(call, 0);
    if (!(k >= 1 && k <= double(values.size()))) return Value::error(ecNUM);
    const size_t i = size_t(k) - 1;
    return Value::number(fromLarge ? values[values.size() - 1 - i] : values[i]);
}

Value large(Call& call) { return kth(call, true); }
Value small(Call& call) { return kth(call, false); }

// The value at a 0-based position between two sorted values, linearly between them.
double interpolate(const std::vector<double>& sorted, double position) {
    const size_t below = size_t(std::floor(position));
    const double fraction = position - double(below);
    if (fraction == 0 || below + 1 >= sorted.size()) return sorted[below];
    return sorted[below] + fraction * (sorted[below + 1] - sorted[below]);
}

Value median(Call& call) {
    std::vector<double> values = collectNumbers(call, 0);
    if (values.empty()) return Value::error(ecNUM);
    std::sort(values.begin(), values.end());
    return Value::number(interpolate(values, 0.5 * double(values.size() - 1)));
}

// The percentile k of sorted data, counting the ends in (k in [0, 1]) or out (k in
// [1/(n+1), n/(n+1)]).
double percentile(const std::vector<double>& sorted, double k, bool exclusive) {
    const double n = double(sorted.size());
    if (n == 0) fail(ecNUM);
    if (!exclusive) {
        if (k < 0 || k > 1) fail(ecNUM);
        return interpolate(sorted, k * (n - 1));
    }
    const double rank = k * (n + 1);
    if (!(k > 0 && k < 1) || rank < 1 || rank > n) fail(ecNUM);
    return interpolate(sorted, rank - 1);
}

template <bool exclusive>
Value percentileFunction(Call& call) {
    const double k = call.number(1);
    return Value::number(percentile(sortedNumbersOf(call, 0), k, exclusive));
}

template <bool exclusive>
Value quartile(Call& call) {
    const double given = call.number(1), quart = std::trunc(given);
    const std::vector<double> values = sortedNumbersOf(call, 0);
    if (given < 0 || (exclusive ? quart <= 0 || quart >= 4 : quart > 4)) return Value::error(ecNUM);
    return Value::number(percentile(values, quart / 4, exclusive));
}

// The rank of x among sorted data as a fraction, cut (not rounded) to `significance` digits.
template <bool exclusive>
Value percentRank(Call& call) {
    const double x = call.number(1);
    const double significance = std::trunc(call.number(2, 3));
    const std::vector<double> values = sortedNumbersOf(call, 0);
    if (significance < 1) return Value::error(ecNUM);
    const size_t n = values.size();
    if (n == 0 || x < values.front() || x > values.back()) return Value::error(ecNA);
    // A value of the data ranks by the count of those below it; between two values the rank runs
    // on from the last of the lower one.
    const auto upper = std::lower_bound(values.begin(), values.end(), x);
    double position;
    if (*upper == x) {
        position = double(upper - values.begin());
    } else {
        const double hi = *upper, lo = *(upper - 1);
        position = double(upper - values.begin() - 1) + (x - lo) / (hi - lo);
    }
    const double rank = exclusive ? (position + 1) / double(n + 1) : n == 1 ? 1.0 : position / double(n - 1);
    const double scale = std::pow(10.0, std::min(significance, 15.0));
    return Value::number(std::floor(round15(rank * scale)) / scale);
}

template <bool averageTies>
Value rank(Call& call) {
    const double x = call.number(0);
    std::vector<double> values;
    collectNumbersOf(call, 1, values);
    const bool ascending = call.number(2, 0) != 0;
    double before = 0, ties = 0;
    for (double v : values) {
        if (v == x) ++ties;
        else if (ascending ? v < x : v > x) ++before;
    }
    if (ties == 0) return Value::error(ecNA);
    return Value::number(averageTies ? before + (ties + 1) / 2 : before + 1);
}

Value trimMean(Call& call) {
    const double percent = call.number(1);
    const std::vector<double> values = sortedNumbersOf(call, 0);
    if (percent < 0 || percent >= 1 || values.empty()) return Value::error(ecNUM);
    // The points left out are rounded down to an even number, half from each end.
    const size_t cut = size_t(std::floor(round15(double(values.size()) * percent) / 2));
    double total = 0;
    for (size_t i = cut; i < values.size() - cut; ++i) total += values[i];
    return Value::number(total / double(values.size() - 2 * cut));
}

// The values of the data in the order they first appear, with how often each appears.
struct Frequencies {
    std::vector<double> values;
    std::vector<size_t> counts;
};

Frequencies frequenciesOf(const std::vector<double>& data) {
    std::vector<size_t> order(data.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return data[a] < data[b]; });
    // For each run of equal values: where it first appears, and its length.
    std::vector<std::pair<size_t, size_t>> runs;
    for (size_t i = 0; i < order.size();) {
        size_t j = i;
        while (j < order.size() && data[order[j]] == data[order[i]]) ++j;
        runs.emplace_back(order[i], j - i);
        i = j;
    }
    std::sort(runs.begin(), runs.end());
    Frequencies out;
    for (const auto& [first, length] : runs) {
        out.values.push_back(data[first]);
        out.counts.push_back(length);
    }
    return out;
}

// The most frequent values, the first to appear first; none when no value repeats. An argument
// left empty is #VALUE!.
std::vector<double> modes(Call& call) {
    for (size_t i = 0; i < call.count(); ++i) {
        if (call.isMissing(i)) fail(ecValue);
    }
    const Frequencies f = frequenciesOf(collectNumbers(call, 0, {.skipBadDirectText = true}));
    const size_t most = f.counts.empty() ? 0 : *std::max_element(f.counts.begin(), f.counts.end());
    std::vector<double> out;
    if (most < 2) fail(ecNA);
    for (size_t i = 0; i < f.values.size(); ++i) {
        if (f.counts[i] == most) out.push_back(f.values[i]);
    }
    return out;
}

Value modeSingle(Call& call) { return Value::number(modes(call).front()); }

Value modeMultiple(Call& call) {
    const std::vector<double> values = modes(call);
    Matrix out(int32_t(values.size()), 1);
    for (size_t i = 0; i < values.size(); ++i) out.set(i, Value::number(values[i]));
    return Value::array(std::move(out));
}

// How many values fall at or below each bin and above the bins below it, in the bins' own order,
// then how many lie above every bin: a column one longer than the bins.
Value frequency(Call& call) {
    std::vector<double> data, bins;
    collectNumbersOf(call, 0, data);
    collectNumbersOf(call, 1, bins);
    // Bins without a number count as a single bin at 0.
    if (bins.empty()) bins.push_back(0);
    if (int64_t(bins.size()) + 1 > kMaxArrayElements) return Value::error(ecNUM);
    std::vector<size_t> order(bins.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return bins[a] < bins[b]; });
    std::vector<double> sortedBins(bins.size());
    for (size_t i = 0; i < order.size(); ++i) sortedBins[i] = bins[order[i]];
    std::vector<double> counts(bins.size() + 1, 0);
    for (double x : data) {
        const size_t at = size_t(std::lower_bound(sortedBins.begin(), sortedBins.end(), x) - sortedBins.begin());
        counts[at < order.size() ? order[at] : bins.size()] += 1;
    }
    Matrix out(int32_t(counts.size()), 1);
    for (size_t i = 0; i < counts.size(); ++i) out.set(i, Value::number(counts[i]));
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"LARGE", 2, 2, "AV", large, 325},
    {u"SMALL", 2, 2, "AV", small, 326},
    {u"MEDIAN", 1, kManyArgs, "R", median, 227},
    {u"MODE", 1, kManyArgs, "R", modeSingle, 330},
    {u"MODE.SNGL", 1, kManyArgs, "R", modeSingle, kNoBiffId, kFilePrefix},
    {u"MODE.MULT", 1, kManyArgs, "R", modeMultiple, kNoBiffId, kFilePrefix},
    {u"PERCENTILE", 2, 2, "AV", percentileFunction<false>, 328},
    {u"PERCENTILE.INC", 2, 2, "AV", percentileFunction<false>, kNoBiffId, kFilePrefix},
    {u"PERCENTILE.EXC", 2, 2, "AV", percentileFunction<true>, kNoBiffId, kFilePrefix},
    {u"QUARTILE", 2, 2, "AV", quartile<false>, 327},
    {u"QUARTILE.INC", 2, 2, "AV", quartile<false>, kNoBiffId, kFilePrefix},
    {u"QUARTILE.EXC", 2, 2, "AV", quartile<true>, kNoBiffId, kFilePrefix},
    {u"PERCENTRANK", 2, 3, "AVV", percentRank<false>, 329},
    {u"PERCENTRANK.INC", 2, 3, "AVV", percentRank<false>, kNoBiffId, kFilePrefix},
    {u"PERCENTRANK.EXC", 2, 3, "AVV", percentRank<true>, kNoBiffId, kFilePrefix},
    {u"RANK", 2, 3, "VRV", rank<false>, 216},
    {u"RANK.EQ", 2, 3, "VRV", rank<false>, kNoBiffId, kFilePrefix},
    {u"RANK.AVG", 2, 3, "VRV", rank<true>, kNoBiffId, kFilePrefix},
    {u"TRIMMEAN", 2, 2, "AV", trimMean, 331},
    {u"FREQUENCY", 2, 2, "AA", frequency, 252},
};

}  // namespace

std::span<const FunctionSpec> orderStatisticsFunctions() { return kFunctions; }

}  // namespace kes::calc
