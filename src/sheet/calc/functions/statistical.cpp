// Statistical functions.
#include <algorithm>
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {
namespace {

Value average(Call& call) {
    const std::vector<double> numbers = collectNumbers(call, 0);
    if (numbers.empty()) return Value::error(ecDivByZero);
    double total = 0;
    for (double x : numbers) total += x;
    return Value::number(total / double(numbers.size()));
}

Value min(Call& call) {
    const std::vector<double> numbers = collectNumbers(call, 0);
    return Value::number(numbers.empty() ? 0 : *std::min_element(numbers.begin(), numbers.end()));
}

Value max(Call& call) {
    const std::vector<double> numbers = collectNumbers(call, 0);
    return Value::number(numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end()));
}

Value count(Call& call) {
    size_t n = 0;
    for (size_t i = 0; i < call.count(); ++i) {
        call.forEachValue(i, [&](const Value& v, bool direct) {
            if (v.isNumber()) ++n;
            else if (direct && v.isBoolean()) ++n;
            else if (direct && v.isText() && textToNumber(v.text(), call.settings())) ++n;
        });
    }
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

Value countIf(Call& call) {
    const Value& range = call.arg(0);
    if (range.isError()) return range;
    const Criterion criterion(call.scalar(1), call.settings());
    double n = 0;
    if (range.isReference()) {
        for (size_t a = 0; a < range.areaCount(); ++a) {
            const Area& area = range.area(a);
            int64_t matchedBlanks = 0, seen = 0;
            forEachCell(call.evaluator(), area, [&](int32_t, int32_t, const Value& v) {
                ++seen;
                if (criterion.matches(v)) n += 1;
            });
            // The cells that hold nothing, counted at once.
            if (criterion.matches(Value())) matchedBlanks = area.cells() - seen;
            n += double(matchedBlanks);
        }
        return Value::number(n);
    }
    const auto m = call.matrix(0);
    for (size_t i = 0; i < m->size(); ++i) {
        if (criterion.matches(m->at(i))) n += 1;
    }
    return Value::number(n);
}

constexpr FunctionSpec kFunctions[] = {
    {u"AVERAGE", 1, kManyArgs, "R", average, 5},
    {u"MIN", 1, kManyArgs, "R", min, 6},
    {u"MAX", 1, kManyArgs, "R", max, 7},
    {u"COUNT", 0, kManyArgs, "R", count, 0},
    {u"COUNTA", 1, kManyArgs, "R", countA, 169},
    {u"COUNTIF", 2, 2, "RV", countIf, 346},
};

}  // namespace

std::span<const FunctionSpec> statisticalFunctions() { return kFunctions; }

}  // namespace kes::calc
