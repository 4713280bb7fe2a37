// Renumbering rows and columns. An item list keeps its items in index order, and adding the
// same amount to every index from a point on keeps that order, so the items stay where they
// are in memory and only their indexes change.
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_table.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

// Drops the items of [from, to] with `dispose`, then renumbers the items from `at` on.
template <class Item, class Dispose>
void shiftItems(ItemList<Item>& list, int32_t at, int32_t count, int32_t limit, Dispose&& dispose) {
    if (count < 0) {
        list.forEach(at, at - count - 1, true, [&](Item* item) { list.deleteItem(item, dispose); });
    } else {
        list.forEach(limit - count + 1, limit, true, [&](Item* item) { list.deleteItem(item, dispose); });
    }
    list.forEach(at, limit, true, [&](Item* item) { item->index += count; });
}

}  // namespace

void SheetTable::replaceMergedAreas(std::vector<CellRect> areas) {
    mergedAreas_ = std::move(areas);
    changed();
}

void SheetTable::shiftRows(int32_t at, int32_t count) {
    if (count == 0) return;
    workbook_.formulas().invalidateAll();
    shiftItems(rows_, at, count, kMaxRow, [this](SheetRow* row) { disposeRow(row); });
    changed();
}

void SheetTable::shiftColumns(int32_t at, int32_t count) {
    if (count == 0) return;
    workbook_.formulas().invalidateAll();
    for (SheetRow* row = rows_.first(); row; row = row->next) {
        shiftItems(row->cells, at, count, kMaxColumn, [&](SheetCell* cell) { disposeCell(*row, cell); });
    }
    shiftItems(columns_, at, count, kMaxColumn, [](SheetColumn* column) { delete column; });
    changed();
}

}  // namespace kes
