#include "sheet/editing/fill.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

#include "sheet/editing/edit_action.h"
#include "sheet/editing/fill_series.h"
#include "sheet/format/number_format.h"
#include "sheet/formula/formula_parser.h"
#include "sheet/navigation.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

// A source cell's state, and for a formula its parsed form, so that each copy only moves it.
class CellCopier {
public:
    explicit CellCopier(CellState state) : state_(std::move(state)) {
        if (state_.exists && state_.value.type == cdtFormula) expression_ = formula::parseFormula(state_.value.text);
    }

    // The state `rows`, `columns` away from the source.
    CellState movedBy(int32_t rows, int32_t columns) const {
        if (!expression_ || (rows == 0 && columns == 0)) return state_;
        formula::Expression moved = *expression_;
        formula::offsetReferences(moved, rows, columns);
        CellState state = state_;
        state.value.text = formula::formulaText(moved);
        return state;
    }

private:
    CellState state_;
    std::unique_ptr<formula::Expression> expression_;
};

bool vertical(FillDirection direction) { return direction == FillDirection::Down || direction == FillDirection::Up; }

}  // namespace

void fillFromEdge(SheetTable& sheet, const CellRect& area, FillDirection direction) {
    const bool down = vertical(direction);
    CellRect target = area;
    int32_t sourceLine;
    if (down) {
        sourceLine = area.top == area.bottom ? area.top - 1 : area.top;
        if (area.top != area.bottom) ++target.top;
        if (area.bottom == kMaxRow) target.bottom = std::max(target.top, lastUsedCell(sheet).row);
    } else {
        sourceLine = area.left == area.right ? area.left - 1 : area.left;
        if (area.left != area.right) ++target.left;
        if (area.right == kMaxColumn) target.right = std::max(target.left, lastUsedCell(sheet).column);
    }
    if (sourceLine < 0) return;
    refuseArrayCells(sheet, target);
    EditAction action(sheet.workbook());
    const int32_t firstCross = down ? area.left : area.top, lastCross = down ? area.right : area.bottom;
    const int32_t firstAlong = down ? target.top : target.left, lastAlong = down ? target.bottom : target.right;
    for (int32_t cross = firstCross; cross <= lastCross; ++cross) {
        const CellCopier source(down ? sheet.cellState(sourceLine, cross) : sheet.cellState(cross, sourceLine));
        for (int32_t along = firstAlong; along <= lastAlong; ++along) {
            const int32_t moved = along - sourceLine;
            if (down) sheet.restoreCellState(along, cross, source.movedBy(moved, 0));
            else sheet.restoreCellState(cross, along, source.movedBy(0, moved));
        }
    }
}

CellRect fillHandleTarget(const CellRect& source, int32_t row, int32_t column) {
    const int32_t below = row - source.bottom, above = source.top - row;
    const int32_t right = column - source.right, left = source.left - column;
    const int32_t vertical = std::max(below, above), horizontal = std::max(right, left);
    CellRect target = source;
    if (vertical <= 0 && horizontal <= 0) return target;
    if (vertical >= horizontal) {
        if (below > 0) target.bottom = std::min(row, kMaxRow);
        else target.top = std::max(row, 0);
    } else {
        if (right > 0) target.right = std::min(column, kMaxColumn);
        else target.left = std::max(column, 0);
    }
    return target;
}

void fillSeries(SheetTable& sheet, const CellRect& source, const CellRect& target, bool toggled) {
    FillDirection direction;
    if (target.bottom > source.bottom) direction = FillDirection::Down;
    else if (target.top < source.top) direction = FillDirection::Up;
    else if (target.right > source.right) direction = FillDirection::Right;
    else if (target.left < source.left) direction = FillDirection::Left;
    else return;
    refuseArrayCells(sheet, target);
    const bool down = vertical(direction);
    const int32_t firstCross = down ? source.left : source.top, lastCross = down ? source.right : source.bottom;
    const int32_t sourceStart = down ? source.top : source.left, sourceEnd = down ? source.bottom : source.right;
    const int32_t fillStart = down ? target.top : target.left, fillEnd = down ? target.bottom : target.right;
    const auto at = [&](int32_t along, int32_t cross) { return down ? std::pair(along, cross) : std::pair(cross, along); };
    Workbook& book = sheet.workbook();

    EditAction action(book);
    for (int32_t cross = firstCross; cross <= lastCross; ++cross) {
        std::vector<CellCopier> copiers;
        std::vector<SeriesSource> sources;
        for (int32_t along = sourceStart; along <= sourceEnd; ++along) {
            const auto [row, column] = at(along, cross);
            CellState state = sheet.cellState(row, column);
            sources.push_back({state.value, isDateTimeFormat(book.styles()[state.style].numberFormat)});
            copiers.emplace_back(std::move(state));
        }
        const FillSeries series(std::move(sources), toggled);
        const int64_t length = sourceEnd - sourceStart + 1;
        for (int32_t along = fillStart; along <= fillEnd; ++along) {
            if (along >= sourceStart && along <= sourceEnd) continue;
            const SeriesValue next = series.at(along - sourceStart);
            const CellCopier& copier = copiers[next.source];
            CellState state = copier.movedBy(down ? int32_t(next.cycle * length) : 0, down ? 0 : int32_t(next.cycle * length));
            if (next.value) state.value = *next.value;
            const auto [row, column] = at(along, cross);
            sheet.restoreCellState(row, column, state);
        }
    }
}

}  // namespace kes
