#pragma once
// The formula object a formula cell owns: the text as entered, the parsed expression and the
// last result.
#include <memory>
#include <string>

#include "sheet/cell_value.h"
#include "sheet/formula/formula_parser.h"

namespace kes {

struct CellFormula {
    std::u16string text;   // "=" followed by the expression
    std::unique_ptr<formula::Expression> expression;
    CellValue result;
    // The workbook's content version the result was computed at; any change makes it stale.
    uint64_t evaluatedAt = UINT64_MAX;
    bool evaluating = false;   // on the stack of an evaluation: met again, it is a circular reference
};

}  // namespace kes
