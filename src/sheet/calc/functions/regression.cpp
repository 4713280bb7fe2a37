// Correlation and regression: CORREL, PEARSON, RSQ, SLOPE, INTERCEPT, STEYX, the covariances,
// FORECAST, and the least-squares fits LINEST, LOGEST, TREND and GROWTH.
#include <cmath>
#include <optional>
#include <vector>

#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {
namespace {

// The sums of a paired sample about its means.
struct Moments {
    double n = 0, meanX = 0, meanY = 0, sxx = 0, syy = 0, sxy = 0;
};

Moments momentsOf(const Pairs& pairs) {
    Moments m;
    m.n = double(pairs.x.size());
    if (m.n == 0) fail(ecDivByZero);
    m.meanX = meanOf(pairs.x);
    m.meanY = meanOf(pairs.y);
    for (size_t i = 0; i < pairs.x.size(); ++i) {
        const double dx = pairs.x[i] - m.meanX, dy = pairs.y[i] - m.meanY;
        m.sxx += dx * dx;
        m.syy += dy * dy;
        m.sxy += dx * dy;
    }
    return m;
}

// Functions of (known y's, known x's) take the y's first.
Moments knownMoments(Call& call, size_t yIndex) {
    Pairs pairs = pairedNumbers(call, yIndex, yIndex + 1);
    std::swap(pairs.x, pairs.y);
    return momentsOf(pairs);
}

double correlation(const Moments& m) {
    if (m.sxx == 0 || m.syy == 0) fail(ecDivByZero);
    return m.sxy / std::sqrt(m.sxx * m.syy);
}

Value correl(Call& call) { return Value::number(correlation(momentsOf(pairedNumbers(call, 0, 1)))); }

Value rsq(Call& call) {
    const double r = correlation(knownMoments(call, 0));
    return Value::number(r * r);
}

double slopeOf(const Moments& m) {
    if (m.sxx == 0) fail(ecDivByZero);
    return m.sxy / m.sxx;
}

Value slope(Call& call) { return Value::number(slopeOf(knownMoments(call, 0))); }

Value intercept(Call& call) {
    const Moments m = knownMoments(call, 0);
    return Value::number(m.meanY - slopeOf(m) * m.meanX);
}

Value steyx(Call& call) {
    const Moments m = knownMoments(call, 0);
    if (m.n < 3 || m.sxx == 0) return Value::error(ecDivByZero);
    return Value::number(std::sqrt((m.syy - m.sxy * m.sxy / m.sxx) / (m.n - 2)));
}

Value covarianceP(Call& call) {
    const Moments m = momentsOf(pairedNumbers(call, 0, 1));
    return Value::number(m.sxy / m.n);
}

Value covarianceS(Call& call) {
    const Moments m = momentsOf(pairedNumbers(call, 0, 1));
    if (m.n < 2) return Value::error(ecDivByZero);
    return Value::number(m.sxy / (m.n - 1));
}

Value forecast(Call& call) {
    const double x = call.number(0);
    const Moments m = knownMoments(call, 1);
    const double b = slopeOf(m);
    return Value::number(m.meanY - b * m.meanX + b * x);
}

// ---- least squares ----

// Every element of an argument as a number; anything else, errors too, is #VALUE!.
struct Grid {
    int32_t rows = 0, columns = 0;
    std::vector<double> values;   // row by row
    double at(int32_t r, int32_t c) const { return values[size_t(r) * size_t(columns) + size_t(c)]; }
};

Grid gridOf(Call& call, size_t index) {
    if (call.arg(index).isError()) fail(ecValue);
    const auto m = call.matrix(index);
    Grid grid{m->rows(), m->columns(), std::vector<double>(m->size())};
    for (size_t i = 0; i < m->size(); ++i) {
        const ValueKind kind = m->kindAt(i);
        if (kind != ValueKind::Number) fail(ecValue);
        grid.values[i] = m->numberAt(i);
    }
    return grid;
}

// The observations of a fit: y, and the variables x_1..x_k of each.
struct Observations {
    std::vector<double> y;
    std::vector<std::vector<double>> x;   // one vector a variable
    bool byRows = false;                  // the y's lie in a row, each row of x's a variable
};

// The variables of x's laid out like the y's: columns beside a column of y's, rows below a row
// of them, or one variable of the same shape. Omitted, they are 1, 2, 3...
std::vector<std::vector<double>> variablesOf(const Grid& x, const Grid& yShape, bool byRows) {
    const size_t n = yShape.values.size();
    if (x.rows == yShape.rows && x.columns == yShape.columns) return {x.values};
    std::vector<std::vector<double>> variables;
    if (!byRows && yShape.columns == 1 && x.rows == yShape.rows) {
        for (int32_t c = 0; c < x.columns; ++c) {
            std::vector<double> v(n);
            for (int32_t r = 0; r < x.rows; ++r) v[size_t(r)] = x.at(r, c);
            variables.push_back(std::move(v));
        }
        return variables;
    }
    if (yShape.rows == 1 && x.columns == yShape.columns) {
        for (int32_t r = 0; r < x.rows; ++r) {
            variables.emplace_back(x.values.begin() + ptrdiff_t(r) * x.columns, x.values.begin() + ptrdiff_t(r + 1) * x.columns);
        }
        return variables;
    }
    fail(ecRefErr);
}

Observations observationsOf(Call& call, bool logarithm) {
    const Grid y = gridOf(call, 0);
    Observations o;
    o.y = y.values;
    o.byRows = y.rows == 1 && y.columns > 1;
    if (logarithm) {
        for (double& v : o.y) {
            if (v <= 0) fail(ecNUM);
            v = std::log(v);
        }
    }
    if (call.isMissing(1)) {
        std::vector<double> sequence(o.y.size());
        for (size_t i = 0; i < sequence.size(); ++i) sequence[i] = double(i + 1);
        o.x.push_back(std::move(sequence));
    } else {
        o.x = variablesOf(gridOf(call, 1), y, o.byRows);
    }
    return o;
}

// A least-squares fit y = b + Σ m_j x_j, by Gram-Schmidt on the centred variables. A variable
// that the others already explain (collinear) is dropped: its coefficient and error are 0.
struct Fit {
    std::vector<double> m;          // one a variable
    std::vector<double> mError;     // their standard errors
    std::vector<bool> dropped;
    double b = 0, bError = 0;
    double r2 = 0, sey = 0, f = 0, df = 0, ssreg = 0, ssresid = 0;
    bool constant = true;
    int kept = 0;
};

Fit fit(const Observations& o, bool constant) {
    const size_t n = o.y.size(), k = o.x.size();
    if (n == 0) fail(ecValue);
    Fit result;
    result.constant = constant;
    result.m.assign(k, 0);
    result.mError.assign(k, 0);
    result.dropped.assign(k, false);
    std::vector<double> meanX(k, 0);
    double meanY = 0;
    if (constant) {
        meanY = meanOf(o.y);
        for (size_t j = 0; j < k; ++j) meanX[j] = meanOf(o.x[j]);
    }
    // Orthonormal columns q, with R the upper triangle: X = Q R over the kept variables.
    std::vector<std::vector<double>> q;
    std::vector<size_t> keptIndex;
    std::vector<std::vector<double>> r;   // r[i][j] for kept i <= j
    for (size_t j = 0; j < k; ++j) {
        std::vector<double> v(n);
        double original = 0;
        for (size_t i = 0; i < n; ++i) {
            v[i] = o.x[j][i] - meanX[j];
            original += v[i] * v[i];
        }
        std::vector<double> column(q.size(), 0);
        for (int pass = 0; pass < 2; ++pass) {   // twice, for orthogonality to the last bit
            for (size_t a = 0; a < q.size(); ++a) {
                double dot = 0;
                for (size_t i = 0; i < n; ++i) dot += q[a][i] * v[i];
                for (size_t i = 0; i < n; ++i) v[i] -= dot * q[a][i];
                column[a] += dot;
            }
        }
        double norm = 0;
        for (double e : v) norm += e * e;
        norm = std::sqrt(norm);
        if (original == 0 || norm <= 1e-12 * std::sqrt(original)) {
            result.dropped[j] = true;
            continue;
        }
        for (double& e : v) e /= norm;
        column.push_back(norm);
        q.push_back(std::move(v));
        r.push_back(std::move(column));
        keptIndex.push_back(j);
    }
    const size_t p = q.size();
    result.kept = int(p);
    // Qᵀ y, then back substitution R m = Qᵀ y.
    std::vector<double> qy(p, 0), yc(n);
    for (size_t i = 0; i < n; ++i) yc[i] = o.y[i] - meanY;
    for (size_t a = 0; a < p; ++a) {
        for (size_t i = 0; i < n; ++i) qy[a] += q[a][i] * yc[i];
    }
    std::vector<double> coefficients(p, 0);
    for (size_t a = p; a-- > 0;) {
        double s = qy[a];
        for (size_t c = a + 1; c < p; ++c) s -= r[c][a] * coefficients[c];
        coefficients[a] = s / r[a][a];
    }
    // R⁻¹, for the errors: (XᵀX)⁻¹ = R⁻¹ R⁻ᵀ.
    std::vector<std::vector<double>> inverse(p, std::vector<double>(p, 0));   // inverse[row][col]
    for (size_t c = 0; c < p; ++c) {
        inverse[c][c] = 1 / r[c][c];
        for (size_t row = c; row-- > 0;) {
            double s = 0;
            for (size_t t = row + 1; t <= c; ++t) s += r[t][row] * inverse[t][c];
            inverse[row][c] = -s / r[row][row];
        }
    }
    double ssresid = 0, sstotal = 0;
    for (size_t i = 0; i < n; ++i) {
        double predicted = 0;
        for (size_t a = 0; a < p; ++a) predicted += coefficients[a] * (o.x[keptIndex[a]][i] - meanX[keptIndex[a]]);
        const double residual = yc[i] - predicted;
        ssresid += residual * residual;
        sstotal += yc[i] * yc[i];
    }
    result.ssresid = ssresid;
    result.ssreg = sstotal - ssresid;
    result.df = double(n) - double(p) - (constant ? 1 : 0);
    result.r2 = sstotal == 0 ? 1 : result.ssreg / sstotal;
    result.sey = result.df > 0 ? std::sqrt(ssresid / result.df) : std::nan("");
    result.f = result.df > 0 && p > 0 ? (result.ssreg / double(p)) / (ssresid / result.df) : std::nan("");
    double b = meanY;
    double bVariance = constant ? 1 / double(n) : 0;
    std::vector<double> weights(p, 0);   // R⁻ᵀ x̄ over the kept variables
    for (size_t a = 0; a < p; ++a) {
        const size_t j = keptIndex[a];
        result.m[j] = coefficients[a];
        b -= coefficients[a] * meanX[j];
        double variance = 0;
        for (size_t c = a; c < p; ++c) variance += inverse[a][c] * inverse[a][c];
        result.mError[j] = result.sey * std::sqrt(variance);
    }
    if (constant) {
        for (size_t c = 0; c < p; ++c) {
            for (size_t a = 0; a <= c; ++a) weights[c] += inverse[a][c] * meanX[keptIndex[a]];
            bVariance += weights[c] * weights[c];
        }
    }
    result.b = constant ? b : 0;
    result.bError = result.sey * std::sqrt(bVariance);
    return result;
}

// A switch of the fits; an error there is #VALUE!, as every fault of their arguments is.
bool switchOf(Call& call, size_t index, bool ifMissing) {
    if (call.isMissing(index)) return ifMissing;
    try {
        return call.boolean(index);
    } catch (const CalcError&) {
        fail(ecValue);
    }
}

bool constantOf(Call& call, size_t index) { return switchOf(call, index, true); }

Value linestResult(const Fit& f, bool stats, bool exponential) {
    const size_t k = f.m.size();
    if (int64_t(k + 1) * 5 > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(stats ? 5 : 1, int32_t(k + 1));
    const auto number = [](double x) { return std::isnan(x) ? Value::error(ecNUM) : Value::number(x); };
    for (size_t j = 0; j < k; ++j) out.set(0, int32_t(k - 1 - j), number(exponential ? std::exp(f.m[j]) : f.m[j]));
    out.set(0, int32_t(k), number(exponential ? std::exp(f.b) : f.b));
    if (!stats) return Value::array(std::move(out));
    for (size_t j = 0; j < k; ++j) out.set(1, int32_t(k - 1 - j), number(f.mError[j]));
    out.set(1, int32_t(k), f.constant ? number(f.bError) : Value::error(ecNA));
    out.set(2, 0, number(f.r2));
    out.set(2, 1, number(f.sey));
    out.set(3, 0, number(f.f));
    out.set(3, 1, number(f.df));
    out.set(4, 0, number(f.ssreg));
    out.set(4, 1, number(f.ssresid));
    for (int32_t r = 2; r < 5; ++r) {
        for (int32_t c = 2; c <= int32_t(k); ++c) out.set(r, c, Value::error(ecNA));
    }
    return Value::array(std::move(out));
}

template <bool exponential>
Value linest(Call& call) {
    const Observations o = observationsOf(call, exponential);
    const bool constant = constantOf(call, 2);
    const bool stats = switchOf(call, 3, false);
    return linestResult(fit(o, constant), stats, exponential);
}

// TREND and GROWTH: the fitted values at new x's, laid out as those are.
template <bool exponential>
Value trend(Call& call) {
    const Observations o = observationsOf(call, exponential);
    const Fit f = fit(o, constantOf(call, 3));
    const size_t k = o.x.size();
    Grid points;
    if (call.isMissing(2)) {
        points = call.isMissing(1) ? gridOf(call, 0) : gridOf(call, 1);
        if (call.isMissing(1)) {
            for (size_t i = 0; i < points.values.size(); ++i) points.values[i] = double(i + 1);
        }
    } else {
        points = gridOf(call, 2);
    }
    const auto predict = [&](const std::vector<double>& x) {
        double y = f.b;
        for (size_t j = 0; j < k; ++j) y += f.m[j] * x[j];
        return exponential ? std::exp(y) : y;
    };
    if (k == 1) {
        Matrix out(points.rows, points.columns);
        for (size_t i = 0; i < points.values.size(); ++i) out.set(i, Value::number(predict({points.values[i]})));
        return Value::array(std::move(out));
    }
    // Several variables: one row of new x's (one column, for y's in a row) a prediction.
    const bool byRows = o.byRows;
    const int32_t count = byRows ? points.columns : points.rows;
    if (size_t(byRows ? points.rows : points.columns) != k) return Value::error(ecRefErr);
    Matrix out(byRows ? 1 : count, byRows ? count : 1);
    std::vector<double> x(k);
    for (int32_t i = 0; i < count; ++i) {
        for (size_t j = 0; j < k; ++j) x[j] = byRows ? points.at(int32_t(j), i) : points.at(i, int32_t(j));
        out.set(size_t(i), Value::number(predict(x)));
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"CORREL", 2, 2, "AA", correl, 307},
    {u"PEARSON", 2, 2, "AA", correl, 312},
    {u"RSQ", 2, 2, "AA", rsq, 313},
    {u"SLOPE", 2, 2, "AA", slope, 315},
    {u"INTERCEPT", 2, 2, "AA", intercept, 311},
    {u"STEYX", 2, 2, "AA", steyx, 314},
    {u"COVAR", 2, 2, "AA", covarianceP, 308},
    {u"COVARIANCE.P", 2, 2, "AA", covarianceP, kNoBiffId, kFilePrefix},
    {u"COVARIANCE.S", 2, 2, "AA", covarianceS, kNoBiffId, kFilePrefix},
    {u"FORECAST", 3, 3, "VAA", forecast, 309},
    {u"FORECAST.LINEAR", 3, 3, "VAA", forecast, kNoBiffId, kFilePrefix},
    {u"LINEST", 1, 4, "AAVV", linest<false>, 49},
    {u"LOGEST", 1, 4, "AAVV", linest<true>, 51},
    {u"TREND", 1, 4, "AAAV", trend<false>, 50},
    {u"GROWTH", 1, 4, "AAAV", trend<true>, 52},
};

}  // namespace

std::span<const FunctionSpec> regressionFunctions() { return kFunctions; }

}  // namespace kes::calc
