#include "sheet/sheet_table.h"

#include <algorithm>
#include <atomic>

#include "sheet/cell_formula.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes {

SheetTable::SheetTable(Workbook& workbook, std::u16string name) : workbook_(workbook), name_(std::move(name)) {
    static std::atomic<uint64_t> sheetsMade{0};
    serial_ = ++sheetsMade;
}

SheetTable::~SheetTable() { clearCells(); }

void SheetTable::setName(std::u16string name) {
    workbook_.formulas().invalidateAll();   // references by the old and the new name read anew
    name_ = std::move(name);
}

SheetRow* SheetTable::createRow(int32_t row) {
    return rows_.createItem(row, [this](int32_t index) { return rowPool_.make(index); }, [](SheetRow*) {});
}

CellRef SheetTable::getCell(int32_t row, int32_t column) {
    SheetRow* r = rows_.getItem(row);
    if (!r) return {};
    SheetCell* c = r->cells.getItem(column);
    return c ? CellRef(this, r, c) : CellRef();
}

CellRef SheetTable::createCell(int32_t row, int32_t column) {
    UndoHistory& history = workbook_.history();
    if (history.acceptsCommands() && !getCell(row, column)) history.record(*this, row, column, CellState{});
    return createCell(*createRow(row), column);
}

CellRef SheetTable::createCell(SheetRow& row, int32_t column) {
    SheetCell* cell = row.cells.createItem(
        column, [this](int32_t index) { return makeCell(index); },
        [this](SheetCell* made) {
            columns_.createItem(made->index, [](int32_t index) { return new SheetColumn(index); }, [](SheetColumn*) {});
        });
    return CellRef(this, &row, cell);
}

void SheetTable::changed() {
    ++version_;
    workbook_.contentChanged();
}

SheetCell* SheetTable::makeCell(int32_t column) {
    changed();
    return cellPool_.make(column);
}

void SheetTable::deleteCell(int32_t row, int32_t column) {
    CellRef ref = getCell(row, column);
    if (!ref) return;
    workbook_.history().record(*this, row, column, cellState(row, column));
    ref.row_->cells.deleteItem(ref.cell_, [&](SheetCell* cell) { disposeCell(*ref.row_, cell); });
    changed();
    workbook_.formulas().cellChanged(*this, row, column);
}

void SheetTable::disposeCell(SheetRow& row, SheetCell* cell) {
    CellRef(this, &row, cell).releaseValue();
    cellPool_.dispose(cell);
}

void SheetTable::disposeRow(SheetRow* row) {
    row->cells.clear([&](SheetCell* cell) { disposeCell(*row, cell); });
    rowPool_.dispose(row);
}

void SheetTable::clearCells() {
    workbook_.formulas().invalidateAll();
    rows_.clear([this](SheetRow* row) { disposeRow(row); });
    columns_.clear([](SheetColumn* column) { delete column; });
    cellPool_.reset();
    rowPool_.reset();
    mergedAreas_.clear();
    changed();
}

bool SheetTable::addMergedArea(const CellRect& area) {
    if (area.left < 0 || area.top < 0 || area.right > kMaxColumn || area.bottom > kMaxRow || area.left > area.right ||
        area.top > area.bottom || (area.left == area.right && area.top == area.bottom) || mergedAreas_.size() >= kMaxMergedAreas)
        return false;
    for (const CellRect& kept : mergedAreas_) {
        if (kept.left <= area.right && area.left <= kept.right && kept.top <= area.bottom && area.top <= kept.bottom) return false;
    }
    mergedAreas_.push_back(area);
    changed();
    return true;
}

const CellRect* SheetTable::mergedAreaAt(int32_t row, int32_t column) const {
    for (const CellRect& area : mergedAreas_) {
        if (area.contains(row, column)) return &area;
    }
    return nullptr;
}

bool SheetTable::showsZeroValues() const {
    return zeroValues == TriState::Default ? workbook_.zeroValues : zeroValues == TriState::On;
}

int32_t SheetTable::columnWidth(int32_t column) {
    const SheetColumn* c = columns_.getItem(column);
    return c && c->width > 0 ? c->width : defaultColumnWidth;
}

void SheetTable::setColumnWidth(int32_t column, int32_t pixels) {
    SheetColumn* c = columns_.createItem(column, [](int32_t index) { return new SheetColumn(index); }, [](SheetColumn*) {});
    c->width = pixels;
    changed();
}

bool SheetTable::columnHidden(int32_t column) {
    const SheetColumn* c = columns_.getItem(column);
    return c && c->hidden;
}

void SheetTable::setColumnHidden(int32_t column, bool hidden) {
    SheetColumn* c = columns_.createItem(column, [](int32_t index) { return new SheetColumn(index); }, [](SheetColumn*) {});
    c->hidden = hidden;
    changed();
}

int32_t SheetTable::rowHeight(int32_t row) {
    const SheetRow* r = rows_.getItem(row);
    return r && r->height > 0 ? r->height : defaultRowHeight;
}

void SheetTable::setRowHeight(int32_t row, int32_t pixels) {
    createRow(row)->height = uint16_t(std::clamp(pixels, 0, kMaxRowHeight));
    changed();
}

bool SheetTable::rowHidden(int32_t row) {
    const SheetRow* r = rows_.getItem(row);
    return r && r->hidden;
}

void SheetTable::setRowHidden(int32_t row, bool hidden) {
    createRow(row)->hidden = hidden;
    changed();
}

CellState SheetTable::cellState(int32_t row, int32_t column) {
    CellRef ref = getCell(row, column);
    if (!ref) return {};
    return CellState{true, ref.value(), ref.style()};
}

void SheetTable::restoreCellState(int32_t row, int32_t column, const CellState& state) {
    if (!state.exists) {
        deleteCell(row, column);
        return;
    }
    CellRef ref = createCell(row, column);
    ref.replaceValue(state.value);
    ref.cell_->style = state.style;
}

}  // namespace kes
