#include "sheet/editing/formula_rewrite.h"

#include "sheet/cell_formula.h"
#include "sheet/formula/formula_parser.h"
#include "sheet/sheet_error.h"
#include "sheet/workbook.h"

namespace kes {

std::optional<std::u16string> rewrittenText(const formula::Expression& expression, SheetTable& sheet,
                                            SheetTable& moved, const ReferenceRewriter& rewrite) {
    Workbook& book = moved.workbook();
    // A reference into a span of sheets (Sheet1:Sheet3!A1) stays: Excel moves it only when the
    // edit is made on all those sheets at once.
    const formula::MovedSheetTest onMoved = [&](const formula::Expression& e, const formula::Node& node) {
        if (node.sheet.empty()) return &sheet == &moved;
        return node.lastSheet.empty() && book.findSheet(e.text(node.sheet)) == &moved;
    };
    formula::Expression copy = expression;
    if (!rewrite(copy, onMoved)) return std::nullopt;
    return formula::formulaText(copy);
}

std::vector<FormulaRewrite> planFormulaRewrites(SheetTable& moved, const ReferenceRewriter& rewrite,
                                                const std::function<bool(SheetTable&, int32_t, int32_t)>& skip) {
    std::vector<FormulaRewrite> plan;
    Workbook& book = moved.workbook();
    for (int32_t s = 0; s < book.sheetCount(); ++s) {
        SheetTable& sheet = book.sheet(s);
        for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
            for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
                if (cell->type != cdtFormula || !cell->formula->expression) continue;
                if (skip && skip(sheet, row->index, cell->index)) continue;
                auto text = rewrittenText(*cell->formula->expression, sheet, moved, rewrite);
                if (!text) continue;
                if (cell->formula->role != FormulaRole::Cell) throw ESheetError("You cannot change part of an array.");
                plan.push_back({&sheet, row->index, cell->index, std::move(*text)});
            }
        }
    }
    return plan;
}

void applyFormulaRewrites(const std::vector<FormulaRewrite>& rewrites) {
    for (const FormulaRewrite& r : rewrites) {
        CellRef cell = r.sheet->getCell(r.row, r.column);
        if (cell && !cell.setFormula(r.text)) cell.setFileFormula(r.text);
    }
}

}  // namespace kes
