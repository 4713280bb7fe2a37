#pragma once
// The formula object a formula cell owns: the text as entered, the parsed expression and the
// last result.
#include <cstdint>
#include <memory>
#include <string>

#include "sheet/cell_value.h"
#include "sheet/formula/formula_parser.h"
#include "sheet/selection.h"

namespace kes {

class SheetTable;
namespace calc {
class Matrix;
}

// An array formula fills an area: its top left cell, the anchor, holds the expression and the
// whole result; every other cell of the area holds a member formula that shows its element.
enum class FormulaRole : uint8_t { Cell, ArrayAnchor, ArrayMember };

struct CellFormula {
    std::u16string text;   // "=" followed by the expression, as the grid shows it
    // None for a formula from a file that the parser refuses, and for array members: the cell
    // then shows #NAME?, and the text is kept for saving.
    std::unique_ptr<formula::Expression> expression;
    CellValue result;
    bool stale = true;         // the result must be computed (again) before it is shown
    bool evaluating = false;   // on the stack of an evaluation: met again, it is a circular reference
    // The result waits on a circular reference: like Excel without iteration, it shows 0, and so
    // does every formula that reads it.
    bool circular = false;
    FormulaRole role = FormulaRole::Cell;
    // A dynamic array spills its result (elements it no longer has are blank); an array formula
    // entered over a fixed area shows #N/A where its result has no element.
    bool dynamic = false;
    CellRect array;            // ArrayAnchor, ArrayMember: the area, its anchor at top left
    std::shared_ptr<const calc::Matrix> arrayResult;   // ArrayAnchor: the last result
    // Kept by FormulaDependencies: the epoch the formula was entered in, and its cell.
    uint64_t trackedEpoch = 0;
    SheetTable* sheet = nullptr;
    int32_t row = 0;
    int32_t column = 0;
};

}  // namespace kes
