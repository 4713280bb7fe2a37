#pragma once
// The formula object a formula cell owns: the text as entered, the parsed expression and the
// last result.
#include <cstdint>
#include <memory>
#include <string>

#include "sheet/cell_value.h"
#include "sheet/formula/formula_parser.h"

namespace kes {

class SheetTable;

struct CellFormula {
    std::u16string text;   // "=" followed by the expression
    std::unique_ptr<formula::Expression> expression;
    CellValue result;
    bool stale = true;         // the result must be computed (again) before it is shown
    bool evaluating = false;   // on the stack of an evaluation: met again, it is a circular reference
    // Kept by FormulaDependencies: the epoch the formula was entered in, and its cell.
    uint64_t trackedEpoch = 0;
    SheetTable* sheet = nullptr;
    int32_t row = 0;
    int32_t column = 0;
};

}  // namespace kes
