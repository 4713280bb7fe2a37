#include "sheet/calc/functions/math_support.h"

#include <algorithm>
#include <cmath>

namespace kes::calc {

double addInNumber(const Value& value, const FormatSettings& settings) {
    if (value.isBoolean()) fail(ecValue);
    return toNumber(value, settings);
}

namespace {

// Runs `compute(values, whole)` once, or once per element where arguments are arrays; there
// `whole` is false, and a result that is an array gives its top left element, as Excel's lifted
// functions do.
template <class Compute>
Value lift(Call& call, bool addIn, Compute&& compute) {
    const size_t n = call.count();
    std::vector<Value> values(n);
    std::vector<std::shared_ptr<const Matrix>> arrays(n);
    int32_t rows = 1, columns = 1;
    bool lifting = false;
    for (size_t i = 0; i < n; ++i) {
        const Value& v = call.arg(i);
        const bool range = v.isReference() && (v.areaCount() != 1 || !v.area().isCell());
        if (range && addIn) return Value::error(ecValue);
        std::shared_ptr<const Matrix> array;
        if (v.isArray()) array = v.sharedMatrix();
        else if (range && call.mode() == Mode::Array) array = call.matrix(i);
        if (array && array->size() > 1) {
            rows = std::max(rows, array->rows());
            columns = std::max(columns, array->columns());
            arrays[i] = std::move(array);
            lifting = true;
        } else {
            values[i] = call.isMissing(i) ? Value::omitted() : call.scalar(i);
        }
    }
    const auto run = [&]() -> Value {
        try {
            return compute(std::span<const Value>(values), lifting);
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    };
    if (!lifting) return run();
    if (int64_t(rows) * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows, columns);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            for (size_t i = 0; i < n; ++i) {
                if (arrays[i]) values[i] = arrays[i]->broadcast(r, c);
            }
            const Value result = run();
            out.set(r, c, result.isArray() ? result.matrix().at(0) : result);
        }
    }
    return Value::array(std::move(out));
}

}  // namespace

Value addInCall(Call& call, ScalarComputation compute) {
    return lift(call, true, [&](std::span<const Value> values, bool) { return compute(call, values); });
}

Value arrayResultCall(Call& call, ArrayComputation compute) {
    return lift(call, false, [&](std::span<const Value> values, bool lifting) { return compute(call, values, !lifting); });
}

std::vector<double> addInIntegers(Call& call) {
    std::vector<double> out;
    const FormatSettings& settings = call.settings();
    call.forEachValueFrom(0, [&](const Value& v, bool direct) {
        switch (v.kind()) {
        case ValueKind::Number: out.push_back(v.number()); return;
        case ValueKind::Blank:
            if (direct) out.push_back(0);
            return;
        case ValueKind::Text:
            if (!direct) fail(ecValue);
            out.push_back(toNumber(v, settings));
            return;
        case ValueKind::Error: fail(v.error());
        default: fail(ecValue);
        }
    });
    if (out.empty()) fail(ecValue);
    for (double& x : out) {
        if (x < 0) fail(ecNUM);
        x = std::trunc(x);
    }
    return out;
}

double cleanQuotient(double numerator, double denominator) { return round15(numerator / denominator); }

}  // namespace kes::calc
