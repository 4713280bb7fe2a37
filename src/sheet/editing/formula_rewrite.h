#pragma once
// The formulas of a workbook that follow cells moved on one sheet: planned first, so that a
// command can be refused before anything changed, then written as edits of their cells.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sheet/formula/reference_shift.h"
#include "sheet/sheet_table.h"

namespace kes {

struct FormulaRewrite {
    SheetTable* sheet;
    int32_t row;
    int32_t column;
    std::u16string text;   // the new formula text
};

// Rewrites the expression's references into the moved sheet; true when any changed.
using ReferenceRewriter = std::function<bool(formula::Expression&, const formula::MovedSheetTest&)>;

// Every formula of the workbook that the rewrite changes, with its new text; a formula of a
// cell for which `skip(sheet, row, column)` is true is left out. Throws ESheetError when an
// array formula would change.
std::vector<FormulaRewrite> planFormulaRewrites(SheetTable& moved, const ReferenceRewriter& rewrite,
                                                const std::function<bool(SheetTable&, int32_t, int32_t)>& skip);

void applyFormulaRewrites(const std::vector<FormulaRewrite>& rewrites);

// The formula text of `expression` after the rewrite, as a formula in (row, column) of `sheet`
// sees the moved sheet; none when nothing changed.
std::optional<std::u16string> rewrittenText(const formula::Expression& expression, SheetTable& sheet,
                                            SheetTable& moved, const ReferenceRewriter& rewrite);

}  // namespace kes
