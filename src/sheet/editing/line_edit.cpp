#include "sheet/editing/line_edit.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "sheet/editing/edit_action.h"
#include "sheet/editing/formula_rewrite.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"

namespace kes {
namespace {

int32_t lastLine(LineKind kind) { return kind == LineKind::Rows ? kMaxRow : kMaxColumn; }

CellRect linesArea(LineKind kind, int32_t from, int32_t to) {
    return kind == LineKind::Rows ? CellRect{0, from, kMaxColumn, to} : CellRect{from, 0, to, kMaxRow};
}

std::vector<CellRect> shiftedAreas(const std::vector<CellRect>& areas, const formula::LineShift& shift) {
    std::vector<CellRect> result;
    for (CellRect area : areas) {
        const bool kept = shift.rows ? formula::shiftSpan(area.top, area.bottom, shift, kMaxRow)
                                     : formula::shiftSpan(area.left, area.right, shift, kMaxColumn);
        if (kept && (area.left != area.right || area.top != area.bottom)) result.push_back(area);
    }
    return result;
}

// The move itself: cells, column widths and merged areas; forward is the edit, backward its undo.
class LineMove : public SheetChange {
public:
    LineMove(SheetTable& sheet, formula::LineShift shift) : sheet_(sheet), shift_(shift) {
        mergedBefore_ = sheet.mergedAreas();
        mergedAfter_ = shiftedAreas(mergedBefore_, shift);
        if (!shift.rows && shift.count < 0) {
            sheet.columns().forEach(shift.at, shift.at - shift.count - 1, true, [&](SheetColumn* column) {
                if (column->width > 0) deletedWidths_.emplace_back(column->index, column->width);
            });
        }
    }

    void apply(bool forward) override {
        const int32_t count = forward ? shift_.count : -shift_.count;
        if (shift_.rows) sheet_.shiftRows(shift_.at, count);
        else sheet_.shiftColumns(shift_.at, count);
        if (!forward) {
            for (const auto& [column, width] : deletedWidths_) sheet_.setColumnWidth(column, width);
        }
        sheet_.replaceMergedAreas(forward ? mergedAfter_ : mergedBefore_);
        sheet_.workbook().modified = true;
    }

private:
    SheetTable& sheet_;
    formula::LineShift shift_;
    std::vector<CellRect> mergedBefore_;
    std::vector<CellRect> mergedAfter_;
    std::vector<std::pair<int32_t, int32_t>> deletedWidths_;
};

// A non-empty cell in the lines from `from` to the sheet's end.
bool holdsValues(SheetTable& sheet, LineKind kind, int32_t from) {
    bool found = false;
    const CellRect area = linesArea(kind, from, lastLine(kind));
    sheet.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
        row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) { found = found || cell->type != cdtBlank; });
    });
    return found;
}

void editLines(SheetTable& sheet, LineKind kind, formula::LineShift shift) {
    // Everything from the first line touched to the sheet's end moves: no array may lie there.
    refuseArrayCells(sheet, linesArea(kind, shift.at, lastLine(kind)));
    // The lines whose cells go: the deleted ones, or those an insert pushes off the sheet
    // (empty but for formats, as insertLines checked).
    const CellRect gone = shift.count < 0 ? linesArea(kind, shift.at, shift.at - shift.count - 1)
                                          : linesArea(kind, lastLine(kind) - shift.count + 1, lastLine(kind));
    const auto inGone = [&](SheetTable& s, int32_t row, int32_t column) { return &s == &sheet && gone.contains(row, column); };
    const std::vector<FormulaRewrite> rewrites = planFormulaRewrites(
        sheet,
        [&](formula::Expression& e, const formula::MovedSheetTest& onMoved) { return formula::shiftReferences(e, shift, onMoved); },
        inGone);

    EditAction action(sheet.workbook());
    applyFormulaRewrites(rewrites);
    sheet.rows().forEach(gone.top, gone.bottom, true, [&](SheetRow* row) {
        row->cells.forEach(gone.left, gone.right, true, [&](SheetCell* cell) { sheet.deleteCell(row->index, cell->index); });
    });
    auto move = std::make_shared<LineMove>(sheet, shift);
    move->apply(true);
    sheet.workbook().history().recordChange(std::move(move));
}

formula::LineShift checkedShift(LineKind kind, int32_t at, int32_t count) {
    const int32_t last = lastLine(kind);
    if (at < 0 || at > last || count <= 0) throw ESheetError("The lines to insert or delete lie outside the sheet.");
    return {kind == LineKind::Rows, at, std::min(count, last - at + 1)};
}

}  // namespace

void insertLines(SheetTable& sheet, LineKind kind, int32_t at, int32_t count) {
    formula::LineShift shift = checkedShift(kind, at, count);
    if (holdsValues(sheet, kind, lastLine(kind) - shift.count + 1))
        throw ESheetError("To prevent possible loss of data, cells that hold values cannot be shifted off the sheet.");
    editLines(sheet, kind, shift);
}

void deleteLines(SheetTable& sheet, LineKind kind, int32_t at, int32_t count) {
    formula::LineShift shift = checkedShift(kind, at, count);
    shift.count = -shift.count;
    editLines(sheet, kind, shift);
}

}  // namespace kes
