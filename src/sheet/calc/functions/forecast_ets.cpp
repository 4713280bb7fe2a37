// Forecasts by triple exponential smoothing with additive error, trend and season (AAA):
// FORECAST.ETS, FORECAST.ETS.CONFINT, FORECAST.ETS.SEASONALITY and FORECAST.ETS.STAT. The
// timeline is sorted, equal times aggregated and missing steps filled; the smoothing parameters
// are those that minimise the squared one-step errors.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <vector>

#include "sheet/calc/functions/special_functions.h"
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

// The longest season Excel detects or takes: the hours of a year.
constexpr int kMaxSeason = 8760;
// At most this share of the timeline's steps may be missing.
constexpr double kMaxMissing = 0.3;
// The search for the smoothing parameters stops after this many rounds.
constexpr int kSearchRounds = 300;

// The values at equal steps of the timeline, from `start` on.
struct Series {
    std::vector<double> y;
    double start = 0, step = 1;
};

// Equal times combine as the aggregation argument says (AVERAGE, COUNT, COUNTA, MAX, MEDIAN,
// MIN, SUM).
double aggregate(std::vector<double> values, int how) {
    switch (how) {
    case 2:
    case 3: return double(values.size());
    case 4: return *std::max_element(values.begin(), values.end());
    case 5: {
        std::sort(values.begin(), values.end());
        const size_t n = values.size();
        return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
    }
    case 6: return *std::min_element(values.begin(), values.end());
    case 7: {
        double total = 0;
        for (double v : values) total += v;
        return total;
    }
    default: return meanOf(values);
    }
}

// The series of values over the timeline: arguments `first` (values) and `first + 1`
// (timeline); `fillByInterpolation` says whether a missing step takes the mean of its
// neighbours (or 0), `aggregation` how equal times combine.
Series seriesOf(Call& call, size_t first, bool fillByInterpolation, int aggregation) {
    const auto values = call.matrix(first);
    const auto times = call.matrix(first + 1);
    if (values->size() != times->size()) fail(ecNA);
    std::map<double, std::vector<double>> byTime;
    for (size_t i = 0; i < times->size(); ++i) {
        const Value t = times->at(i), v = values->at(i);
        if (t.isError()) fail(t.error());
        if (v.isError()) fail(v.error());
        if (!t.isNumber() || !(v.isNumber() || v.isBlank())) fail(ecValue);
        if (v.isNumber()) byTime[t.number()].push_back(v.number());
    }
    if (byTime.size() < 3) fail(ecNUM);
    Series series;
    series.start = byTime.begin()->first;
    series.step = std::numeric_limits<double>::infinity();
    for (auto it = std::next(byTime.begin()); it != byTime.end(); ++it)
        series.step = std::min(series.step, it->first - std::prev(it)->first);
    const double span = (byTime.rbegin()->first - series.start) / series.step;
    if (!(span < double(kMaxArrayElements))) fail(ecNUM);
    const size_t length = size_t(std::llround(span)) + 1;
    std::vector<double> y(length, std::nan(""));
    for (const auto& [time, at] : byTime) {
        const double position = (time - series.start) / series.step;
        if (std::fabs(position - std::round(position)) > 1e-9 * std::max(1.0, position)) fail(ecNUM);
        y[size_t(std::llround(position))] = aggregate(at, aggregation);
    }
    if (double(length - byTime.size()) > kMaxMissing * double(length)) fail(ecNUM);
    for (size_t i = 0; i < length; ++i) {
        if (!std::isnan(y[i])) continue;
        if (!fillByInterpolation) {
            y[i] = 0;
            continue;
        }
        size_t next = i + 1;
        while (std::isnan(y[next])) ++next;
        // Along the straight line from the last known value to the next one.
        const double from = y[i - 1];
        for (size_t k = i; k < next; ++k) y[k] = from + (y[next] - from) * double(k - i + 1) / double(next - i + 1);
    }
    series.y = std::move(y);
    return series;
}

// The season length that best explains the series: the lag of the strongest autocorrelation of
// the series less its straight-line trend, among lags that fit three times in it; 0 when none
// stands out.
int detectSeason(const std::vector<double>& y) {
    const size_t n = y.size();
    const double meanX = double(n - 1) / 2, meanY = meanOf(y);
    double sxy = 0, sxx = 0;
    for (size_t i = 0; i < n; ++i) {
        sxy += (double(i) - meanX) * (y[i] - meanY);
        sxx += (double(i) - meanX) * (double(i) - meanX);
    }
    const double slope = sxx > 0 ? sxy / sxx : 0;
    std::vector<double> r(n);
    double total = 0;
    for (size_t i = 0; i < n; ++i) {
        r[i] = y[i] - meanY - slope * (double(i) - meanX);
        total += r[i] * r[i];
    }
    if (total == 0) return 0;
    const auto correlation = [&](size_t lag) {
        double s = 0;
        for (size_t i = lag; i < n; ++i) s += r[i] * r[i - lag];
        return s / total;
    };
    int best = 0;
    double bestCorrelation = 0.5;   // weaker cycles are taken for noise
    const size_t longest = std::min<size_t>(kMaxSeason, n / 3);
    for (size_t lag = 2; lag <= longest; ++lag) {
        const double c = correlation(lag);
        if (c > bestCorrelation && c >= correlation(lag - 1) && (lag + 1 > n - 1 || c >= correlation(lag + 1))) {
            best = int(lag);
            bestCorrelation = c;
        }
    }
    return best;
}

struct Parameters {
    double alpha, beta, gamma;
};

// Holt-Winters smoothing of a series with a season of m steps (0 for none), started from the
// first seasons: its one-step forecasts, their squared errors, and the final state.
struct Smoothing {
    std::vector<double> fitted;
    double sse = 0;
    double level = 0, trend = 0;
    std::vector<double> season;   // by step of the timeline modulo m
    int m = 0;

    double forecast(double h, size_t n) const {
        const double seasonal = m ? season[size_t((n - 1 + size_t(h)) % size_t(m))] : 0;
        return level + h * trend + seasonal;
    }
};

Smoothing smooth(const std::vector<double>& y, int m, const Parameters& p) {
    Smoothing s;
    s.m = m;
    const size_t n = y.size();
    if (m > 0) {
        const size_t period = size_t(m);
        double first = 0, second = 0;
        for (size_t i = 0; i < period; ++i) {
            first += y[i];
            second += y[i + period];
        }
        first /= double(m);
        second /= double(m);
        // The first season's mean is the level at its middle; each of its values less the
        // level at its own step is its seasonal part.
        s.trend = (second - first) / double(m);
        s.level = first - s.trend * double(m - 1) / 2;
        s.season.resize(period);
        for (size_t i = 0; i < period; ++i) s.season[i] = y[i] - (s.level + s.trend * double(i));
    } else {
        s.level = y[0];
        s.trend = y[1] - y[0];
    }
    s.fitted.resize(n);
    // The state before the first point, one step back from its level.
    s.level -= s.trend;
    for (size_t t = 0; t < n; ++t) {
        const double seasonal = m ? s.season[t % size_t(m)] : 0;
        s.fitted[t] = s.level + s.trend + seasonal;
        const double error = y[t] - s.fitted[t];
        s.sse += error * error;
        const double level = p.alpha * (y[t] - seasonal) + (1 - p.alpha) * (s.level + s.trend);
        s.trend = p.beta * (level - s.level) + (1 - p.beta) * s.trend;
        s.level = level;
        if (m) s.season[t % size_t(m)] = p.gamma * (y[t] - level) + (1 - p.gamma) * seasonal;
    }
    return s;
}

// The parameters in [0, 1] of least squared error, by the Nelder-Mead simplex.
Parameters bestParameters(const std::vector<double>& y, int m) {
    const auto clamp = [](std::array<double, 3> v) {
        for (double& x : v) x = std::clamp(x, 0.0, 1.0);
        return v;
    };
    const auto cost = [&](const std::array<double, 3>& v) { return smooth(y, m, {v[0], v[1], v[2]}).sse; };
    std::array<std::array<double, 3>, 4> points = {{{0.3, 0.1, 0.1}, {0.6, 0.1, 0.1}, {0.3, 0.4, 0.1}, {0.3, 0.1, 0.4}}};
    std::array<double, 4> costs;
    for (size_t i = 0; i < 4; ++i) costs[i] = cost(points[i]);
    for (int round = 0; round < kSearchRounds; ++round) {
        std::array<size_t, 4> order = {0, 1, 2, 3};
        std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return costs[a] < costs[b]; });
        const size_t best = order[0], worst = order[3];
        if (costs[worst] - costs[best] <= 1e-15 * (1 + costs[best])) break;
        std::array<double, 3> centre{};
        for (size_t k : {order[0], order[1], order[2]}) {
            for (size_t d = 0; d < 3; ++d) centre[d] += points[k][d] / 3;
        }
        const auto along = [&](double factor) {
            std::array<double, 3> v;
            for (size_t d = 0; d < 3; ++d) v[d] = centre[d] + factor * (points[worst][d] - centre[d]);
            return clamp(v);
        };
        const auto reflected = along(-1);
        const double reflectedCost = cost(reflected);
        if (reflectedCost < costs[best]) {
            const auto expanded = along(-2);
            const double expandedCost = cost(expanded);
            points[worst] = expandedCost < reflectedCost ? expanded : reflected;
            costs[worst] = std::min(expandedCost, reflectedCost);
        } else if (reflectedCost < costs[order[2]]) {
            points[worst] = reflected;
            costs[worst] = reflectedCost;
        } else {
            const auto contracted = along(0.5);
            const double contractedCost = cost(contracted);
            if (contractedCost < costs[worst]) {
                points[worst] = contracted;
                costs[worst] = contractedCost;
            } else {
                for (size_t k : {order[1], order[2], order[3]}) {
                    for (size_t d = 0; d < 3; ++d) points[k][d] = (points[k][d] + points[best][d]) / 2;
                    costs[k] = cost(points[k]);
                }
            }
        }
    }
    const size_t best = size_t(std::min_element(costs.begin(), costs.end()) - costs.begin());
    return {points[best][0], points[best][1], points[best][2]};
}

// The arguments the functions of the family share: the seasonality (argument `seasonAt`, when
// the function takes one), then data completion and aggregation.
struct Options {
    int season = 1;   // 1: detect
    bool interpolate = true;
    int aggregation = 1;
};

Options optionsOf(Call& call, std::optional<size_t> seasonAt, size_t completionAt) {
    Options o;
    const double season = seasonAt ? std::trunc(call.number(*seasonAt, 1)) : 1;
    const double completion = std::trunc(call.number(completionAt, 1));
    const double aggregation = std::trunc(call.number(completionAt + 1, 1));
    if (season < 0 || season > kMaxSeason || (completion != 0 && completion != 1) || aggregation < 1 || aggregation > 7)
        fail(ecNUM);
    o.season = int(season);
    o.interpolate = completion == 1;
    o.aggregation = int(aggregation);
    return o;
}

// A fitted model: the series, its season, the best parameters and the smoothing they give.
struct Fit {
    Series series;
    Parameters parameters{};
    Smoothing smoothing;
};

Fit fitOf(Call& call, size_t valuesAt, const Options& options) {
    Fit f;
    f.series = seriesOf(call, valuesAt, options.interpolate, options.aggregation);
    const std::vector<double>& y = f.series.y;
    int m = options.season == 1 ? detectSeason(y) : options.season;
    if (m == 1) m = 0;
    if (m > 0 && y.size() < 2 * size_t(m)) fail(ecNUM);
    f.parameters = bestParameters(y, m);
    f.smoothing = smooth(y, m, f.parameters);
    return f;
}

// The forecast at a target time: ahead of the series by its model, within it along the
// one-step forecasts, and in the step before it from 0.
double forecastAt(const Fit& f, double target) {
    const Series& s = f.series;
    const size_t n = s.y.size();
    const double position = (target - s.start) / s.step;
    const auto fittedAt = [&](double p) {
        if (p < 0) return 0.0;
        if (p <= double(n - 1)) return f.smoothing.fitted[size_t(p)];
        return f.smoothing.forecast(p - double(n - 1), n);
    };
    if (position <= -1) fail(ecNUM);
    const double below = std::floor(position), fraction = position - below;
    const double low = fittedAt(below);
    return fraction == 0 ? low : low + fraction * (fittedAt(below + 1) - low);
}

Value forecastEts(Call& call) {
    const double target = call.number(0);
    const Options options = optionsOf(call, 3, 4);
    return Value::number(forecastAt(fitOf(call, 1, options), target));
}

Value forecastEtsConfint(Call& call) {
    const double target = call.number(0);
    const Value confidenceArgument = call.scalar(3);
    if (confidenceArgument.isError()) return confidenceArgument;
    const double confidence = confidenceArgument.isBlank() ? 0.95 : call.number(3);
    if (confidence <= 0 || confidence >= 1) return Value::error(ecNUM);
    const Options options = optionsOf(call, 4, 5);
    const Fit f = fitOf(call, 1, options);
    forecastAt(f, target);
    const size_t n = f.series.y.size();
    const double ahead = std::max(1.0, std::ceil((target - f.series.start) / f.series.step - double(n - 1)));
    if (ahead > double(kMaxArrayElements)) return Value::error(ecNUM);
    // The variance of an h-step forecast of the AAA model grows with each step it looks past.
    const Parameters& p = f.parameters;
    const int m = f.smoothing.m;
    double growth = 1;
    for (double j = 1; j < ahead; ++j) {
        const double c = p.alpha * (1 + j * p.beta) + (m && std::fmod(j, m) == 0 ? p.gamma : 0);
        growth += c * c;
    }
    const double sigma2 = f.smoothing.sse / double(n);
    return Value::number(special::normalQuantile((1 + confidence) / 2) * std::sqrt(sigma2 * growth));
}

Value forecastEtsSeasonality(Call& call) {
    const Options options = optionsOf(call, std::nullopt, 2);
    const Series s = seriesOf(call, 0, options.interpolate, options.aggregation);
    return Value::number(detectSeason(s.y));
}

Value forecastEtsStat(Call& call) {
    const double type = std::trunc(call.number(2));
    const Options options = optionsOf(call, 3, 4);
    if (type < 1 || type > 8) return Value::error(ecNUM);
    const Fit f = fitOf(call, 0, options);
    const std::vector<double>& y = f.series.y;
    const size_t n = y.size();
    double absolute = 0, symmetric = 0, naive = 0;
    for (size_t t = 0; t < n; ++t) {
        const double e = y[t] - f.smoothing.fitted[t];
        absolute += std::fabs(e);
        const double scale = std::fabs(y[t]) + std::fabs(f.smoothing.fitted[t]);
        if (scale > 0) symmetric += 2 * std::fabs(e) / scale;
        if (t > 0) naive += std::fabs(y[t] - y[t - 1]);
    }
    const double mae = absolute / double(n);
    switch (int(type)) {
    case 1: return Value::number(f.parameters.alpha);
    case 2: return Value::number(f.parameters.beta);
    case 3: return Value::number(f.parameters.gamma);
    case 4: return naive == 0 ? Value::number(0) : Value::number(mae / (naive / double(n - 1)));
    case 5: return Value::number(symmetric / double(n));
    case 6: return Value::number(mae);
    case 7: return Value::number(std::sqrt(f.smoothing.sse / double(n)));
    default: return Value::number(f.series.step);
    }
}

constexpr FunctionSpec kFunctions[] = {
    {u"FORECAST.ETS", 3, 6, "VAAVVV", forecastEts, kNoBiffId, kFilePrefix},
    {u"FORECAST.ETS.CONFINT", 3, 7, "VAAVVVV", forecastEtsConfint, kNoBiffId, kFilePrefix},
    {u"FORECAST.ETS.SEASONALITY", 2, 4, "AAVV", forecastEtsSeasonality, kNoBiffId, kFilePrefix},
    {u"FORECAST.ETS.STAT", 3, 6, "AAVVVV", forecastEtsStat, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> exponentialSmoothingFunctions() { return kFunctions; }

}  // namespace kes::calc
