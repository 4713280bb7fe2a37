#include "sheet/editing/fill.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

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

// A fill written in one go: the cells the area held before are recorded one by one, the
// written ones are not. Undo empties the area and puts those cells back; redo writes it
// again. A fill of a hundred thousand rows thus records only what it overwrote.
class AreaWrite : public SheetChange {
public:
    AreaWrite(SheetTable& sheet, const CellRect& area, std::function<void()> write)
        : sheet_(sheet), area_(area), write_(std::move(write)) {}

    void apply(bool forward) override {
        UndoHistory& history = sheet_.workbook().history();
        history.lock();
        try {
            if (forward) write_();
            else empty();
        } catch (...) {
            history.unlock();
            throw;
        }
        history.unlock();
    }

private:
    void empty() {
        sheet_.rows().forEach(area_.top, area_.bottom, true, [&](SheetRow* row) {
            row->cells.forEach(area_.left, area_.right, true, [&](SheetCell* cell) { sheet_.deleteCell(row->index, cell->index); });
        });
    }

    SheetTable& sheet_;
    CellRect area_;
    std::function<void()> write_;
};

void writeArea(SheetTable& sheet, const CellRect& area, std::function<void()> write) {
    UndoHistory& history = sheet.workbook().history();
    EditAction action(sheet.workbook());
    if (history.acceptsCommands()) {
        sheet.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
            row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) {
                history.record(sheet, row->index, cell->index, sheet.cellState(row->index, cell->index));
            });
        });
    }
    auto change = std::make_shared<AreaWrite>(sheet, area, std::move(write));
    change->apply(true);
    history.recordChange(std::move(change));
}

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
    const int32_t firstCross = down ? area.left : area.top, lastCross = down ? area.right : area.bottom;
    auto sources = std::make_shared<std::vector<CellCopier>>();
    for (int32_t cross = firstCross; cross <= lastCross; ++cross)
        sources->emplace_back(down ? sheet.cellState(sourceLine, cross) : sheet.cellState(cross, sourceLine));
    writeArea(sheet, target, [&sheet, target, down, sourceLine, firstCross, sources] {
        const int32_t firstAlong = down ? target.top : target.left, lastAlong = down ? target.bottom : target.right;
        for (size_t i = 0; i < sources->size(); ++i) {
            const int32_t cross = firstCross + int32_t(i);
            for (int32_t along = firstAlong; along <= lastAlong; ++along) {
                const int32_t moved = along - sourceLine;
                if (down) sheet.restoreCellState(along, cross, (*sources)[i].movedBy(moved, 0));
                else sheet.restoreCellState(cross, along, (*sources)[i].movedBy(0, moved));
            }
        }
    });
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
    Workbook& book = sheet.workbook();
    // Each line of the selection across the fill: its source cells and what continues them.
    struct Line {
        std::vector<CellCopier> copiers;
        FillSeries series;
    };
    auto lines = std::make_shared<std::vector<Line>>();
    for (int32_t cross = firstCross; cross <= lastCross; ++cross) {
        std::vector<CellCopier> copiers;
        std::vector<SeriesSource> sources;
        for (int32_t along = sourceStart; along <= sourceEnd; ++along) {
            CellState state = down ? sheet.cellState(along, cross) : sheet.cellState(cross, along);
            sources.push_back({state.value, isDateTimeFormat(book.styles()[state.style].numberFormat)});
            copiers.emplace_back(std::move(state));
        }
        lines->push_back({std::move(copiers), FillSeries(std::move(sources), toggled)});
    }
    // The cells the fill writes: the target less the source.
    CellRect filled = target;
    switch (direction) {
    case FillDirection::Down: filled.top = source.bottom + 1; break;
    case FillDirection::Up: filled.bottom = source.top - 1; break;
    case FillDirection::Right: filled.left = source.right + 1; break;
    case FillDirection::Left: filled.right = source.left - 1; break;
    }
    const int32_t fillStart = down ? filled.top : filled.left, fillEnd = down ? filled.bottom : filled.right;
    writeArea(sheet, filled, [&sheet, lines, down, firstCross, sourceStart, sourceEnd, fillStart, fillEnd] {
        const int64_t length = sourceEnd - sourceStart + 1;
        for (size_t i = 0; i < lines->size(); ++i) {
            const Line& line = (*lines)[i];
            const int32_t cross = firstCross + int32_t(i);
            for (int32_t along = fillStart; along <= fillEnd; ++along) {
                const SeriesValue next = line.series.at(along - sourceStart);
                const int32_t moved = int32_t(next.cycle * length);
                CellState state = line.copiers[next.source].movedBy(down ? moved : 0, down ? 0 : moved);
                if (next.value) state.value = *next.value;
                if (down) sheet.restoreCellState(along, cross, state);
                else sheet.restoreCellState(cross, along, state);
            }
        }
    });
}

}  // namespace kes
