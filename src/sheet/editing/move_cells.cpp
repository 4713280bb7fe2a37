#include "sheet/editing/move_cells.h"

#include <vector>

#include "sheet/cell_formula.h"
#include "sheet/editing/edit_action.h"
#include "sheet/editing/formula_rewrite.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"

namespace kes {
namespace {

struct MovedCell {
    int32_t row;
    int32_t column;
    CellState state;
};

void deleteCells(SheetTable& sheet, const CellRect& area) {
    sheet.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
        row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) { sheet.deleteCell(row->index, cell->index); });
    });
}

}  // namespace

CellRect moveCells(SheetTable& sheet, const CellRect& from, int32_t row, int32_t column) {
    const int64_t bottom = int64_t(row) + (from.bottom - from.top), right = int64_t(column) + (from.right - from.left);
    if (row < 0 || column < 0 || bottom > kMaxRow || right > kMaxColumn)
        throw ESheetError("The paste area must lie inside the sheet.");
    const CellRect to{column, row, int32_t(right), int32_t(bottom)};
    refuseArrayCells(sheet, from);
    refuseArrayCells(sheet, to);

    const formula::BlockMove move{from.top, from.left, from.bottom, from.right, row - from.top, column - from.left};
    const ReferenceRewriter rewrite = [&](formula::Expression& e, const formula::MovedSheetTest& onMoved) {
        return formula::moveReferences(e, move, onMoved);
    };
    const auto inSource = [&](SheetTable& s, int32_t r, int32_t c) { return &s == &sheet && from.contains(r, c); };
    const std::vector<FormulaRewrite> rewrites = planFormulaRewrites(sheet, rewrite, inSource);

    // The block as it will stand, its own formulas rewritten too: =A1 moved with A1 still reads it.
    std::vector<MovedCell> block;
    sheet.rows().forEach(from.top, from.bottom, true, [&](SheetRow* r) {
        r->cells.forEach(from.left, from.right, true, [&](SheetCell* cell) {
            CellState state = sheet.cellState(r->index, cell->index);
            if (cell->type == cdtFormula && cell->formula->expression) {
                if (auto text = rewrittenText(*cell->formula->expression, sheet, sheet, rewrite)) state.value.text = *text;
            }
            block.push_back({r->index + move.rows, cell->index + move.columns, std::move(state)});
        });
    });

    EditAction action(sheet.workbook());
    applyFormulaRewrites(rewrites);
    deleteCells(sheet, from);
    deleteCells(sheet, to);
    for (const MovedCell& cell : block) sheet.restoreCellState(cell.row, cell.column, cell.state);
    return to;
}

}  // namespace kes
