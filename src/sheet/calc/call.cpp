#include "sheet/calc/call.h"

#include <algorithm>
#include <cmath>

#include "sheet/formula/formula_ast.h"

namespace kes::calc {

Call::Call(Evaluator& evaluator, const FunctionSpec& function, std::span<const uint32_t> nodes, Mode mode)
    : evaluator_(evaluator), function_(function), nodes_(nodes), mode_(mode), values_(nodes.size()),
      evaluated_(nodes.size(), 0) {}

bool Call::isMissing(size_t index) const {
    return index >= nodes_.size() || evaluator_.expression().nodes()[nodes_[index]].kind == formula::NodeKind::Missing;
}

const Value& Call::arg(size_t index) {
    static const Value omitted = Value::omitted();
    if (index >= nodes_.size()) return omitted;
    if (lifting_ && lifted_[index]) return elements_[index];
    if (!evaluated_[index]) {
        values_[index] = evaluateArgument(index);
        evaluated_[index] = 1;
    }
    return values_[index];
}

Value Call::evaluate(size_t index, Mode mode) {
    if (isMissing(index)) return Value::omitted();
    if (mode == mode_) return evaluator_.evaluate(nodes_[index], mode);   // a branch of the result
    Evaluator::WholeArgument whole(evaluator_);
    return evaluator_.evaluate(nodes_[index], mode);
}

Value Call::evaluateArgument(size_t index) {
    if (isMissing(index)) return Value::omitted();
    const uint32_t node = nodes_[index];
    switch (function_.argumentClass(index)) {
    case 'A': {
        Evaluator::WholeArgument whole(evaluator_);
        return evaluator_.evaluate(node, Mode::Array);
    }
    case 'R': {
        Evaluator::WholeArgument whole(evaluator_);
        return evaluator_.evaluate(node, mode_);
    }
    case 'L': return evaluator_.evaluate(node, mode_);   // passed through to the result
    default: break;
    }
    Value value = evaluator_.evaluate(node, mode_);
    if (!value.isReference()) return value;
    if ((function_.flags & (kAddIn | kRefusesRanges)) && (value.areaCount() != 1 || !value.area().isCell())) {
        return Value::error(ecValue);
    }
    if (mode_ == Mode::Value) return evaluator_.intersect(value);
    return evaluator_.dereference(value, Mode::Array);
}

Value Call::element(const Value& value, int32_t row, int32_t column) {
    // A branch given back as it was passed (IF's, CHOOSE's) pairs with the element being
    // computed; an array the function made itself gives its first element, as in Excel:
    // SUM(MUNIT({1,2})) adds one 1 for each element.
    const bool passedThrough = std::any_of(values_.begin(), values_.end(), [&](const Value& v) { return v == value; });
    switch (value.kind()) {
    case ValueKind::Array:
        if (!passedThrough) return value.matrix().size() ? value.matrix().at(0) : Value::error(ecValue);
        return value.matrix().broadcast(row, column);
    case ValueKind::Reference: {
        // The one cell this element pairs with, read alone: reading the whole area for each
        // element of a whole column would be a million areas of a million cells.
        if (value.areaCount() != 1) return Value::error(ecValue);
        const Area& area = value.area();
        if (area.cells() > kMaxArrayElements) return Value::error(ecNUM);
        if (!Matrix::pairedElement(area.rows(), area.columns(), row, column)) return Value::error(ecNA);
        try {
            return evaluator_.readCell(*area.sheet, area.rect.top + row, area.rect.left + column);
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    }
    case ValueKind::Lambda: return Value::error(ecCalc);
    default: return value;
    }
}

Value Call::run() {
    const size_t n = nodes_.size();
    int32_t rows = 1, columns = 1;
    bool lift = false;
    for (size_t i = 0; i < n; ++i) {
        if (function_.argumentClass(i) != 'V') continue;
        const Value& value = arg(i);
        if (!value.isArray() || value.matrix().size() == 1) continue;
        if (lifted_.empty()) lifted_.assign(n, 0);
        lifted_[i] = 1;
        lift = true;
        rows = std::max(rows, value.matrix().rows());
        columns = std::max(columns, value.matrix().columns());
    }
    const auto invoke = [&]() -> Value {
        try {
            return function_.handler(*this);
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    };
    if (!lift) return invoke();
    if (function_.flags & kAnswersPastTheEnd) {
        rows = std::max(rows, evaluator_.areaRows());
        columns = std::max(columns, evaluator_.areaColumns());
    }
    if (int64_t(rows) * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows, columns);
    elements_.resize(n);
    // The same elements give the same answer: a whole column of blanks or errors is computed
    // once, not a million times (an error answer costs an exception each). Not for functions
    // whose answer changes by itself, nor for lazy arguments, which are evaluated per element.
    bool remember = !(function_.flags & (kVolatile | kAnswersPastTheEnd));
    for (size_t i = 0; i < n && remember; ++i) remember = function_.argumentClass(i) != 'L';
    std::vector<Value> lastElements;
    Value last;
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            for (size_t i = 0; i < n; ++i) {
                if (lifted_[i]) elements_[i] = values_[i].matrix().broadcast(r, c);
            }
            if (!remember || lastElements.empty() || elements_ != lastElements) {
                lifting_ = true;
                last = invoke();
                lifting_ = false;
                if (remember) lastElements = elements_;
            }
            out.set(r, c, element(last, r, c));
        }
    }
    return Value::array(std::move(out));
}

Value Call::scalar(size_t index) {
    const Value& value = arg(index);
    switch (value.kind()) {
    case ValueKind::Reference: return evaluator_.intersect(value);
    case ValueKind::Array: return value.matrix().size() ? value.matrix().at(0) : Value::error(ecValue);
    case ValueKind::Lambda: return Value::error(ecCalc);
    default: return value;
    }
}

double Call::number(size_t index) { return toNumber(scalar(index), settings()); }

double Call::number(size_t index, double ifMissing) { return isMissing(index) ? ifMissing : number(index); }

int64_t Call::integer(size_t index) {
    const double value = std::trunc(number(index));
    if (value >= 9.2e18 || value <= -9.2e18) fail(ecNUM);
    return int64_t(value);
}

int64_t Call::integer(size_t index, int64_t ifMissing) { return isMissing(index) ? ifMissing : integer(index); }

std::u16string Call::text(size_t index) { return toText(scalar(index)); }

std::u16string Call::text(size_t index, std::u16string_view ifMissing) {
    return isMissing(index) ? std::u16string(ifMissing) : text(index);
}

bool Call::boolean(size_t index) { return toBoolean(scalar(index), settings()); }

bool Call::boolean(size_t index, bool ifMissing) { return isMissing(index) ? ifMissing : boolean(index); }

std::shared_ptr<const Matrix> Call::matrix(size_t index) {
    const Value& value = arg(index);
    if (value.isError()) fail(value.error());
    return evaluator_.toMatrix(value);
}

}  // namespace kes::calc
