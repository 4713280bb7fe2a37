// SUBTOTAL and AGGREGATE: one of several statistics of ranges, leaving out the cells that hold
// subtotals themselves (so that a total over a list with subtotals does not count them twice)
// and, for AGGREGATE, errors. Rows are never hidden in this grid, so the options about hidden
// rows change nothing.
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "sheet/calc/functions/math_support.h"
#include "sheet/cell_formula.h"
#include "sheet/formula/formula_ast.h"

namespace kes::calc {
namespace {

// The statistics, numbered as SUBTOTAL and AGGREGATE number them.
enum Statistic : int {
    kAverage = 1, kCount, kCountA, kMax, kMin, kProduct, kStdevS, kStdevP, kSum, kVarS, kVarP,
    kMedian, kMode, kLarge, kSmall, kPercentileInc, kQuartileInc, kPercentileExc, kQuartileExc,
};

struct Sample {
    std::vector<double> numbers;
    double filled = 0;   // values of any kind, for COUNTA
    bool sorted = false;
};

// The numbers in ascending order, sorted once for however many k an AGGREGATE asks for.
const std::vector<double>& sortedNumbers(Sample& s) {
    if (!s.sorted) std::sort(s.numbers.begin(), s.numbers.end());
    s.sorted = true;
    return s.numbers;
}

double mean(const std::vector<double>& x) {
    double total = 0;
    for (double v : x) total += v;
    return total / double(x.size());
}

// The variance about the mean, divided by n - 1 for a sample and by n for a population.
double variance(const std::vector<double>& x, bool sample) {
    const size_t divisor = sample ? x.size() - 1 : x.size();
    if (x.empty() || divisor == 0) fail(ecDivByZero);
    const double m = mean(x);
    double squares = 0;
    for (double v : x) squares += (v - m) * (v - m);
    return squares / double(divisor);
}

// The most frequent number, the first of them in the data on a tie; none repeated is #N/A.
double mode(const std::vector<double>& x) {
    std::unordered_map<double, size_t> counts;
    for (double v : x) ++counts[v];
    size_t best = 1;
    double found = 0;
    for (double v : x) {
        if (counts[v] > best) {
            best = counts[v];
            found = v;
        }
    }
    if (best == 1) fail(ecNA);
    return found;
}

// The k-th largest (or smallest) of sorted numbers, k truncated to a whole rank.
double ranked(const std::vector<double>& sorted, double k, bool largest) {
    const double rank = std::trunc(k);
    if (rank < 1 || rank > double(sorted.size())) fail(ecNUM);
    return largest ? sorted[sorted.size() - size_t(rank)] : sorted[size_t(rank) - 1];
}

// The value at a fractional position of sorted numbers, between its neighbours.
double interpolated(const std::vector<double>& sorted, double position) {
    const double below = std::floor(position);
    const size_t i = size_t(below);
    if (i + 1 >= sorted.size()) return sorted.back();
    return sorted[i] + (position - below) * (sorted[i + 1] - sorted[i]);
}

double percentileInclusive(const std::vector<double>& sorted, double p) {
    if (sorted.empty() || p < 0 || p > 1) fail(ecNUM);
    return interpolated(sorted, p * double(sorted.size() - 1));
}

double percentileExclusive(const std::vector<double>& sorted, double p) {
    const double position = p * double(sorted.size() + 1) - 1;
    if (sorted.empty() || p <= 0 || p >= 1 || position < 0 || position > double(sorted.size() - 1)) fail(ecNUM);
    return interpolated(sorted, position);
}

double quartile(const std::vector<double>& sorted, double q, bool exclusive) {
    const double n = std::trunc(q);
    if (exclusive ? n < 1 || n > 3 : n < 0 || n > 4) fail(ecNUM);
    return exclusive ? percentileExclusive(sorted, n / 4) : percentileInclusive(sorted, n / 4);
}

Value compute(int which, Sample& s, double k) {
    const std::vector<double>& x = s.numbers;
    switch (which) {
    case kAverage:
        if (x.empty()) return Value::error(ecDivByZero);
        return Value::number(mean(x));
    case kCount: return Value::number(double(x.size()));
    case kCountA: return Value::number(s.filled);
    case kMax: return Value::number(x.empty() ? 0 : *std::max_element(x.begin(), x.end()));
    case kMin: return Value::number(x.empty() ? 0 : *std::min_element(x.begin(), x.end()));
    case kProduct: {
        if (x.empty()) return Value::number(0);
        double result = 1;
        for (double v : x) result *= v;
        return Value::number(result);
    }
    case kStdevS: return Value::number(std::sqrt(variance(x, true)));
    case kStdevP: return Value::number(std::sqrt(variance(x, false)));
    case kSum: {
        double total = 0;
        for (double v : x) total += v;
        return Value::number(total);
    }
    case kVarS: return Value::number(variance(x, true));
    case kVarP: return Value::number(variance(x, false));
    case kMedian: return Value::number(percentileInclusive(sortedNumbers(s), 0.5));
    case kMode: return Value::number(mode(x));
    case kLarge: return Value::number(ranked(sortedNumbers(s), k, true));
    case kSmall: return Value::number(ranked(sortedNumbers(s), k, false));
    case kPercentileInc: return Value::number(percentileInclusive(sortedNumbers(s), k));
    case kQuartileInc: return Value::number(quartile(sortedNumbers(s), k, false));
    case kPercentileExc: return Value::number(percentileExclusive(sortedNumbers(s), k));
    default: return Value::number(quartile(sortedNumbers(s), k, true));
    }
}

// True for a cell whose formula calls SUBTOTAL or AGGREGATE.
bool holdsSubtotal(const SheetCell& cell) {
    if (cell.type != cdtFormula || !cell.formula->expression) return false;
    static const FunctionSpec* const subtotal = findFunction(u"SUBTOTAL");
    static const FunctionSpec* const aggregate = findFunction(u"AGGREGATE");
    const formula::Expression& expression = *cell.formula->expression;
    for (const formula::Node& node : expression.nodes()) {
        if (node.kind != formula::NodeKind::Function) continue;
        const FunctionSpec* called = node.function ? &functionOfNumber(node.function)
                                                   : findFunction(expression.text(node.text));
        if (called == subtotal || called == aggregate) return true;
    }
    return false;
}

struct Rules {
    bool skipSubtotals = true;
    bool skipErrors = false;
    bool countErrors = false;   // COUNT and COUNTA pass over errors instead of giving them
};

void add(Sample& s, const Value& v, const Rules& rules) {
    if (v.isError()) {
        if (rules.skipErrors) return;
        if (!rules.countErrors) fail(v.error());
    }
    s.filled += 1;
    if (v.isNumber()) s.numbers.push_back(v.number());
}

void gatherReference(Call& call, const Value& ref, Sample& s, const Rules& rules) {
    Evaluator& evaluator = call.evaluator();
    for (size_t a = 0; a < ref.areaCount(); ++a) {
        const Area& area = ref.area(a);
        SheetTable& sheet = *area.sheet;
        sheet.rows().forEach(area.rect.top, area.rect.bottom, true, [&](SheetRow* row) {
            row->cells.forEach(area.rect.left, area.rect.right, true, [&](SheetCell* cell) {
                if (cell->type == cdtBlank || (rules.skipSubtotals && holdsSubtotal(*cell))) return;
                add(s, evaluator.readCell(sheet, row->index, cell->index), rules);
            });
        });
    }
}

void gatherArray(const Matrix& m, Sample& s, const Rules& rules) {
    for (size_t i = 0; i < m.size(); ++i) {
        if (m.kindAt(i) != ValueKind::Blank) add(s, m.at(i), rules);
    }
}

// SUBTOTAL takes references only; 101 to 111 are 1 to 11 leaving out hidden rows.
Value subtotal(Call& call) {
    const double number = std::trunc(call.number(0));
    const int which = number > 100 ? int(number - 100) : int(number);
    if (number < 1 || which > kVarP) return Value::error(ecValue);
    Rules rules;
    rules.countErrors = which == kCount || which == kCountA;
    Sample s;
    for (size_t i = 1; i < call.count(); ++i) {
        const Value& ref = call.arg(i);
        if (ref.isError()) return ref;
        if (!ref.isReference()) return Value::error(ecValue);
        gatherReference(call, ref, s, rules);
    }
    return compute(which, s, 0);
}

// AGGREGATE(function, options, ref1, ...) for 1 to 13; AGGREGATE(function, options, array, k)
// for 14 to 19, whose array is computed as in an array formula (ROW(A1:A9)/(B1:B9="x")), and
// whose k may be an array of several.
Value aggregate(Call& call) {
    const double number = std::trunc(call.number(0));
    const double options = std::trunc(call.number(1));
    if (number < 1 || number > double(kQuartileExc) || options < 0 || options > 7) return Value::error(ecValue);
    const int which = int(number);
    Rules rules;
    rules.skipSubtotals = options < 4;
    rules.skipErrors = options == 2 || options == 3 || options == 6 || options == 7;
    rules.countErrors = which == kCount || which == kCountA;
    const bool arrayForm = which >= kLarge;
    if (arrayForm && call.count() != 4) return Value::error(ecValue);
    Sample s;
    for (size_t i = 2; i < (arrayForm ? 3 : call.count()); ++i) {
        const Value& v = call.arg(i);
        if (v.isReference()) gatherReference(call, v, s, rules);
        else if (arrayForm) gatherArray(*call.evaluator().toMatrix(v), s, rules);
        else return v.isError() ? v : Value::error(ecValue);
    }
    if (!arrayForm) return compute(which, s, 0);
    const Value& k = call.arg(3);
    if (!k.isArray() && !(k.isReference() && call.mode() == Mode::Array)) {
        return compute(which, s, call.number(3));
    }
    // One result for each k.
    const auto ks = call.matrix(3);
    Matrix out(ks->rows(), ks->columns());
    for (size_t i = 0; i < ks->size(); ++i) {
        try {
            out.set(i, compute(which, s, toNumber(ks->at(i), call.settings())));
        } catch (const CalcError& e) {
            out.set(i, Value::error(e.code));
        }
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"SUBTOTAL", 2, kManyArgs, "VR", subtotal, 344},
    {u"AGGREGATE", 3, kManyArgs, "VVA", aggregate, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> subtotalFunctions() { return kFunctions; }

}  // namespace kes::calc
