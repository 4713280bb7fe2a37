#include "sheet/formula_eval.h"

#include <algorithm>
#include <vector>

#include "sheet/calc/evaluator.h"
#include "sheet/calc/value.h"
#include "sheet/cell_formula.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

// A formula's result as its cell shows it. A formula that points at an empty cell shows 0.
CellValue shown(const calc::Value& value) {
    if (value.isBlank()) return CellValue::makeFloat(0);
    return calc::toCellValue(value);
}

// The element of an array formula's result that the cell at (row, column) of its area shows.
CellValue element(const CellFormula& anchor, int32_t row, int32_t column) {
    if (!anchor.arrayResult) return anchor.result;
    const calc::Matrix& m = *anchor.arrayResult;
    const int32_t r = row - anchor.array.top, c = column - anchor.array.left;
    if (anchor.dynamic && (r >= m.rows() || c >= m.columns())) return {};
    return shown(m.broadcast(r, c));
}

CellValue compute(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula) {
    switch (formula.role) {
    case FormulaRole::ArrayMember: {
        CellRef anchor = sheet.getCell(formula.array.top, formula.array.left);
        if (!anchor || anchor.dataType() != cdtFormula || anchor.cell()->formula->role != FormulaRole::ArrayAnchor)
            return CellValue::makeError(ecRefErr);
        CellFormula& anchorFormula = *anchor.cell()->formula;
        evaluateFormula(sheet, formula.array.top, formula.array.left, anchorFormula);
        return element(anchorFormula, row, column);
    }
    case FormulaRole::ArrayAnchor: {
        if (!formula.expression) return CellValue::makeError(ecName);
        calc::Evaluator evaluator(sheet, row, column, *formula.expression);
        if (!formula.dynamic) evaluator.setArrayArea(formula.array.bottom - formula.array.top + 1, formula.array.right - formula.array.left + 1);
        const calc::Value value = evaluator.run(true);
        if (value.isArray()) {
            formula.arrayResult = value.sharedMatrix();
        } else {
            calc::Matrix one(1, 1);
            one.set(0, value);
            formula.arrayResult = std::make_shared<const calc::Matrix>(std::move(one));
        }
        return element(formula, row, column);
    }
    case FormulaRole::Cell: break;
    }
    if (!formula.expression) return CellValue::makeError(ecName);
    return shown(calc::Evaluator(sheet, row, column, *formula.expression).run(false));
}

// Formulas that refer to formulas are evaluated on the stack. A chain deeper than this stops
// there: the formula at the limit is put aside, the chain above it is not kept, and the
// outermost evaluation computes the one put aside first and then tries again. A chain of any
// length is computed that way, 400 links at a time, without overflowing the stack.
constexpr int kDepthLimit = 400;

struct EvaluationStack {
    int depth = 0;
    // The frames below this depth read a circular reference, directly or through another
    // formula: their results are 0.
    int circularBelow = 0;
    bool cutShort = false;   // a formula on the stack met the limit: the results above it are not kept
    struct Deferred {
        SheetTable* sheet;
        int32_t row;
        int32_t column;
        CellFormula* formula;
    };
    std::vector<Deferred> deferred;
};

thread_local EvaluationStack stack;

CellValue evaluateOnce(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula) {
    FormulaDependencies& dependencies = sheet.workbook().formulas();
    if (dependencies.isCurrent(formula)) {
        if (formula.circular) stack.circularBelow = stack.depth;
        return formula.result;
    }
    if (formula.evaluating) {
        stack.circularBelow = stack.depth;
        return CellValue::makeFloat(0);
    }
    if (stack.depth >= kDepthLimit) {
        stack.cutShort = true;
        stack.deferred.push_back({&sheet, row, column, &formula});
        return CellValue::makeError(ecValue);
    }
    const int frame = stack.depth++;
    formula.evaluating = true;
    CellValue result;
    try {
        result = compute(sheet, row, column, formula);
    } catch (...) {
        formula.evaluating = false;
        --stack.depth;
        stack.circularBelow = std::min(stack.circularBelow, frame);
        throw;
    }
    formula.evaluating = false;
    --stack.depth;
    formula.circular = frame < stack.circularBelow;
    if (formula.circular) {
        result = CellValue::makeFloat(0);
        stack.circularBelow = frame;
    }
    if (!stack.cutShort) {
        formula.result = result;
        dependencies.computed(formula, sheet, row, column);
    }
    return result;
}

}  // namespace

CellValue evaluateFormula(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula) {
    if (stack.depth > 0) return evaluateOnce(sheet, row, column, formula);
    for (;;) {
        stack.cutShort = false;
        stack.circularBelow = 0;
        stack.deferred.clear();
        const CellValue result = evaluateOnce(sheet, row, column, formula);
        if (!stack.cutShort) return result;
        // The deepest formula reached first, from the bottom of a fresh stack; each round
        // keeps up to kDepthLimit more results, so this ends.
        const EvaluationStack::Deferred next = stack.deferred.back();
        evaluateFormula(*next.sheet, next.row, next.column, *next.formula);
    }
}

}  // namespace kes
