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

Pairs pairedNumbers(Call& call, size_t first, size_t second) {
    const auto a = call.matrix(first);
    const auto b = call.matrix(second);
    if (a->size() != b->size()) fail(ecNA);
    Pairs pairs;
    for (size_t i = 0; i < a->size(); ++i) {
        const ValueKind x = a->kindAt(i), y = b->kindAt(i);
        // Excel passes over a pair at a #NULL!, as if it held no number.
        if (x == ValueKind::Error) {
            if (a->at(i).error() == ecNull) continue;
            fail(a->at(i).error());
        }
        if (y == ValueKind::Error) {
            if (b->at(i).error() == ecNull) continue;
            fail(b->at(i).error());
        }
        if (x != ValueKind::Number || y != ValueKind::Number) continue;
        pairs.x.push_back(a->numberAt(i));
        pairs.y.push_back(b->numberAt(i));
    }
    return pairs;
}

void convertArguments(Call& call, std::string_view kinds) {
    for (size_t i = 0; i < kinds.size() && i < call.count(); ++i) {
        if (call.isMissing(i)) continue;
        if (kinds[i] == 'n') call.number(i);
        else if (kinds[i] == 'b') call.boolean(i);
    }
}

std::vector<double> arrayNumbers(Call& call, size_t index) {
    const auto m = call.matrix(index);
    std::vector<double> out;
    for (size_t i = 0; i < m->size(); ++i) {
        const ValueKind kind = m->kindAt(i);
        if (kind == ValueKind::Number) out.push_back(m->numberAt(i));
        else if (kind == ValueKind::Error && m->at(i).error() != ecNull) fail(m->at(i).error());
    }
    return out;
}

double probability(Call& call, size_t index) {
    const double p = call.number(index);
    if (p < 0 || p > 1) fail(ecNUM);
    return p;
}

}  // namespace kes::calc
