#include "sheet/selection.h"

#include <algorithm>

#include "sheet/sheet_bounds.h"

namespace kes {
namespace {

int32_t clampRow(int32_t row) { return std::clamp(row, 0, kMaxRow); }
int32_t clampColumn(int32_t column) { return std::clamp(column, 0, kMaxColumn); }

CellRect spanning(int32_t row1, int32_t column1, int32_t row2, int32_t column2) {
    return {std::min(column1, column2), std::min(row1, row2), std::max(column1, column2), std::max(row1, row2)};
}

CellRect clamped(const CellRect& r) {
    return spanning(clampRow(r.top), clampColumn(r.left), clampRow(r.bottom), clampColumn(r.right));
}

}  // namespace

CellRect SheetSelection::area() const {
    if (areas_.size() == 1) return areas_.front();
    CellRect result{focusedColumn_, focusedRow_, focusedColumn_, focusedRow_};
    for (const CellRect& a : areas_) {
        result.left = std::min(result.left, a.left);
        result.top = std::min(result.top, a.top);
        result.right = std::max(result.right, a.right);
        result.bottom = std::max(result.bottom, a.bottom);
    }
    return result;
}

void SheetSelection::setFocused(int32_t row, int32_t column, bool extend) {
    focusedRow_ = clampRow(row);
    focusedColumn_ = clampColumn(column);
    if (extend && !areas_.empty()) {
        areas_.back() = spanning(anchorRow_, anchorColumn_, focusedRow_, focusedColumn_);
        return;
    }
    anchorRow_ = focusedRow_;
    anchorColumn_ = focusedColumn_;
    areas_.assign(1, CellRect{focusedColumn_, focusedRow_, focusedColumn_, focusedRow_});
}

void SheetSelection::selectRange(const CellRect& range, int32_t row, int32_t column) {
    const CellRect r = clamped(range);
    focusedRow_ = std::clamp(row, r.top, r.bottom);
    focusedColumn_ = std::clamp(column, r.left, r.right);
    anchorRow_ = r.top;
    anchorColumn_ = r.left;
    areas_.assign(1, r);
}

void SheetSelection::addArea(const CellRect& range) {
    const CellRect r = clamped(range);
    areas_.push_back(r);
    focusedRow_ = anchorRow_ = r.top;
    focusedColumn_ = anchorColumn_ = r.left;
}

}  // namespace kes
