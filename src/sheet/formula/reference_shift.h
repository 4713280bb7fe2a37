#pragma once
// References rewritten when cells move: rows or columns inserted or deleted, a block of cells
// cut and pasted elsewhere. Unlike offsetReferences, which moves the relative references of a
// copied formula, these follow the cells: every reference to a cell that moved moves with it,
// $ or not, wherever the formula stands.
#include <cstdint>
#include <functional>

#include "sheet/formula/formula_ast.h"

namespace kes::formula {

// Lines of one sheet: `count` > 0 inserts that many before line `at`; `count` < 0 deletes
// -count lines from `at` on. A reference to deleted cells only becomes #REF!; an area loses
// the deleted part and grows by lines inserted inside it.
struct LineShift {
    bool rows = true;   // rows, else columns
    int32_t at = 0;
    int32_t count = 0;
};

// The cells of [top, bottom] x [left, right] moved by (rows, columns). A reference to a cell
// inside, or to an area wholly inside, moves along.
struct BlockMove {
    int32_t top = 0, left = 0, bottom = 0, right = 0;
    int32_t rows = 0, columns = 0;
};

// Whether a reference node of the expression points into the sheet whose cells move.
using MovedSheetTest = std::function<bool(const Expression&, const Node&)>;

// Each returns whether any reference changed.
bool shiftReferences(Expression& expression, const LineShift& shift, const MovedSheetTest& onMovedSheet);
bool moveReferences(Expression& expression, const BlockMove& move, const MovedSheetTest& onMovedSheet);

// The new [first, last] of a span of lines after the shift; false when every line of it was
// deleted. Areas of cells (merged areas) follow the same rule as references.
bool shiftSpan(int32_t& first, int32_t& last, const LineShift& shift, int32_t limit);

}  // namespace kes::formula
