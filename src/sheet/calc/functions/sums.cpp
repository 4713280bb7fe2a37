// Sums and products: SUM, PRODUCT, SUMSQ, the sums of pairs (SUMPRODUCT, SUMX2MY2, SUMX2PY2,
// SUMXMY2), SERIESSUM and PERCENTOF.
#include <cmath>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

Value sum(Call& call) {
    double total = 0;
    for (double x : collectNumbers(call, 0)) total += x;
    return Value::number(total);
}

// Nothing to multiply is 0, not 1.
Value product(Call& call) {
    const std::vector<double> numbers = collectNumbers(call, 0);
    if (numbers.empty()) return Value::number(0);
    double result = 1;
    for (double x : numbers) result *= x;
    return Value::number(result);
}

Value sumSq(Call& call) {
    double total = 0;
    for (double x : collectNumbers(call, 0)) total += x * x;
    return Value::number(total);
}

// SUMPRODUCT multiplies arrays of one size element by element; what is not a number counts as
// 0, so that booleans must be turned into numbers (--(A1:A9>0)) to count. Each array in turn
// gives its first error, then is checked for its size, then is folded into the products, so that
// only one array at a time is held.
Value sumProduct(Call& call) {
    std::vector<double> products;
    int32_t rows = 0, columns = 0;
    for (size_t i = 0; i < call.count(); ++i) {
        if (call.isMissing(i)) return Value::error(ecValue);
        const auto m = call.matrix(i);
        for (size_t k = 0; k < m->size(); ++k) {
            if (m->kindAt(k) == ValueKind::Error) return m->at(k);
        }
        if (i == 0) {
            rows = m->rows();
            columns = m->columns();
            products.assign(m->size(), 1);
        } else if (m->rows() != rows || m->columns() != columns) {
            return Value::error(ecValue);
        }
        for (size_t k = 0; k < m->size(); ++k) products[k] *= m->kindAt(k) == ValueKind::Number ? m->numberAt(k) : 0;
    }
    double total = 0;
    for (double p : products) total += p;
    return Value::number(total);
}

// The sums over pairs of two lists of the same count (their shapes may differ); a pair where
// either is no number is skipped.
template <class Term>
Value pairSum(Call& call, Term&& term) {
    const auto x = numbersInPlace(call, 0);
    const auto y = numbersInPlace(call, 1);
    if (x.size() != y.size()) return Value::error(ecNA);
    double total = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        if (x[i] && y[i]) total += term(*x[i], *y[i]);
    }
    return Value::number(total);
}

Value sumX2MY2(Call& call) { return pairSum(call, [](double x, double y) { return x * x - y * y; }); }
Value sumX2PY2(Call& call) { return pairSum(call, [](double x, double y) { return x * x + y * y; }); }
Value sumXMY2(Call& call) { return pairSum(call, [](double x, double y) { return (x - y) * (x - y); }); }

// An Analysis ToolPak scalar taken in place: one cell or one value, booleans refused.
double addInScalar(Call& call, size_t index) {
    const Value& v = call.arg(index);
    if (v.isReference() && (v.areaCount() != 1 || !v.area().isCell())) fail(ecValue);
    return addInNumber(call.scalar(index), call.settings());
}

// a1 x^n + a2 x^(n+m) + a3 x^(n+2m) + ...; 0^0 is #NUM! as in POWER.
Value seriesSum(Call& call) {
    const double x = addInScalar(call, 0), n = addInScalar(call, 1), m = addInScalar(call, 2);
    std::vector<double> coefficients;
    call.forEachValue(3, [&](const Value& v, bool) {
        if (v.isBlank()) coefficients.push_back(0);
        else coefficients.push_back(addInNumber(v, call.settings()));
    });
    double total = 0;
    for (size_t i = 0; i < coefficients.size(); ++i) {
        const double exponent = n + double(i) * m;
        if (x == 0 && exponent == 0) return Value::error(ecNUM);
        if (x == 0 && exponent < 0) return Value::error(ecDivByZero);
        total += coefficients[i] * std::pow(x, exponent);
    }
    return Value::number(total);
}

// The share of a subset in a whole, each summed as SUM does; an error in either is #NUM!.
Value percentOf(Call& call) {
    double part = 0, whole = 0;
    try {
        std::vector<double> subset, all;
        collectNumbersOf(call, 0, subset);
        collectNumbersOf(call, 1, all);
        for (double v : subset) part += v;
        for (double v : all) whole += v;
    } catch (const CalcError&) {
        return Value::error(ecNUM);
    }
    if (whole == 0) return Value::error(ecDivByZero);
    return Value::number(part / whole);
}

constexpr FunctionSpec kFunctions[] = {
    {u"SUM", 1, kManyArgs, "R", sum, 4},
    {u"PRODUCT", 1, kManyArgs, "R", product, 183},
    {u"SUMSQ", 1, kManyArgs, "R", sumSq, 321},
    {u"SUMPRODUCT", 1, kManyArgs, "A", sumProduct, 228},
    {u"SUMX2MY2", 2, 2, "A", sumX2MY2, 304},
    {u"SUMX2PY2", 2, 2, "A", sumX2PY2, 305},
    {u"SUMXMY2", 2, 2, "A", sumXMY2, 303},
    {u"SERIESSUM", 4, 4, "R", seriesSum, kNoBiffId, kAddIn},
    {u"PERCENTOF", 2, 2, "R", percentOf, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> sumFunctions() { return kFunctions; }

}  // namespace kes::calc
