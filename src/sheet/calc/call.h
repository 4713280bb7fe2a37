#pragma once
// One call of a built-in function, as its handler sees it: the arguments, evaluated as the
// function's argument classes say, and Excel's conversions of them. A conversion that fails
// (a text where a number is needed, an error in an argument) throws CalcError; the evaluator
// catches it and the call gives that error, so handlers read like the function's definition:
//
//     Value power(Call& call) { return Value::number(std::pow(call.number(0), call.number(1))); }
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "sheet/calc/evaluator.h"
#include "sheet/calc/functions.h"
#include "sheet/calc/value.h"
#include "sheet/sheet_table.h"

namespace kes::calc {

class Call {
public:
    Call(Evaluator& evaluator, const FunctionSpec& function, std::span<const uint32_t> nodes, Mode mode);

    // Runs the handler, once or for each element of the array arguments of class V.
    Value run();

    // How many arguments the formula gives; an empty one, as in IF(A1,,1), counts.
    size_t count() const { return nodes_.size(); }
    // True for an argument left empty or not given at all.
    bool isMissing(size_t index) const;
    // The argument as its class makes it; a lazy one is evaluated on first use.
    const Value& arg(size_t index);
    // A lazy argument evaluated in the given mode (not kept).
    Value evaluate(size_t index, Mode mode);
    // The node of an argument, for functions that read names from the formula (LET, LAMBDA).
    uint32_t node(size_t index) const { return nodes_[index]; }

    // One value: a one-cell reference read, a larger one intersected with the formula's row or
    // column, an array's first element. Errors are returned, not thrown.
    Value scalar(size_t index);
    // Blank is 0, TRUE 1, a text its number or #VALUE!; an error is thrown.
    double number(size_t index);
    double number(size_t index, double ifMissing);
    // The number truncated toward zero, as most integer arguments are taken.
    int64_t integer(size_t index);
    int64_t integer(size_t index, int64_t ifMissing);
    // Numbers in the General format, TRUE/FALSE, blank ""; an error is thrown.
    std::u16string text(size_t index);
    std::u16string text(size_t index, std::u16string_view ifMissing);
    // Numbers are true unless 0; the texts TRUE and FALSE; others #VALUE!; an error is thrown.
    bool boolean(size_t index);
    bool boolean(size_t index, bool ifMissing);

    // The values of a reference or an array; a scalar as an array of one element.
    std::shared_ptr<const Matrix> matrix(size_t index);
    // Every value an argument holds, for SUM and its kind: each existing cell of a reference
    // (blank cells are skipped) and each element of an array come with `direct` false; a
    // value given as such comes with `direct` true, an empty argument as a blank.
    template <class Visit>
    void forEachValue(size_t index, Visit&& visit);
    // The same over every argument from `first` on.
    template <class Visit>
    void forEachValueFrom(size_t first, Visit&& visit) {
        for (size_t i = first; i < count(); ++i) forEachValue(i, visit);
    }

    Evaluator& evaluator() { return evaluator_; }
    const FunctionSpec& function() const { return function_; }
    Mode mode() const { return mode_; }
    const FormatSettings& settings() const { return evaluator_.settings(); }
    // The date system: serials of 1904-based workbooks are 1462 days smaller.
    bool date1904() const { return evaluator_.settings().date1904; }

private:
    Value evaluateArgument(size_t index);
    Value element(const Value& value, int32_t row, int32_t column);

    Evaluator& evaluator_;
    const FunctionSpec& function_;
    std::span<const uint32_t> nodes_;
    Mode mode_;
    std::vector<Value> values_;
    std::vector<uint8_t> evaluated_;
    // While the handler runs for one element of its array arguments.
    std::vector<Value> elements_;
    std::vector<uint8_t> lifted_;
    bool lifting_ = false;
};

// Every existing cell of an area with its value, row by row; cells that hold nothing skipped.
template <class Visit>
void forEachCell(Evaluator& evaluator, const Area& area, Visit&& visit) {
    SheetTable& sheet = *area.sheet;
    sheet.rows().forEach(area.rect.top, area.rect.bottom, true, [&](SheetRow* row) {
        row->cells.forEach(area.rect.left, area.rect.right, true, [&](SheetCell* cell) {
            if (cell->type == cdtBlank) return;
            visit(row->index, cell->index, evaluator.readCell(sheet, row->index, cell->index));
        });
    });
}

template <class Visit>
void Call::forEachValue(size_t index, Visit&& visit) {
    const Value& value = arg(index);
    switch (value.kind()) {
    case ValueKind::Reference:
        for (size_t a = 0; a < value.areaCount(); ++a) {
            forEachCell(evaluator_, value.area(a), [&](int32_t, int32_t, const Value& v) { visit(v, false); });
        }
        break;
    case ValueKind::Array: {
        const Matrix& m = value.matrix();
        for (size_t i = 0; i < m.size(); ++i) visit(m.at(i), false);
        break;
    }
    case ValueKind::Lambda: fail(ecCalc);
    default: visit(value, true); break;
    }
}

}  // namespace kes::calc
