#include "sheet/navigation.h"

#include <algorithm>

#include "sheet/sheet_bounds.h"

namespace kes {
namespace {

bool filled(SheetTable& sheet, int32_t row, int32_t column) {
    const CellRef cell = sheet.getCell(row, column);
    return cell && cell.dataType() != cdtBlank;
}

}  // namespace

CellPosition dataEdge(SheetTable& sheet, CellPosition from, int32_t rowStep, int32_t columnStep) {
    const auto inside = [](CellPosition p) { return p.row >= 0 && p.row <= kMaxRow && p.column >= 0 && p.column <= kMaxColumn; };
    const auto step = [&](CellPosition p) { return CellPosition{p.row + rowStep, p.column + columnStep}; };
    const auto edge = [&] {
        CellPosition p = from;
        if (rowStep) p.row = rowStep > 0 ? kMaxRow : 0;
        if (columnStep) p.column = columnStep > 0 ? kMaxColumn : 0;
        return p;
    };
    CellPosition next = step(from);
    if (!inside(next)) return from;
    if (filled(sheet, from.row, from.column) && filled(sheet, next.row, next.column)) {
        while (inside(step(next)) && filled(sheet, step(next).row, step(next).column)) next = step(next);
        return next;
    }
    // Jump over the gap to the next filled cell. Going down a column or right along a row, the
    // sparse lists tell where it is without visiting every empty position.
    if (rowStep > 0) {
        for (SheetRow* r = sheet.rows().lowerBound(next.row); r; r = r->next) {
            if (filled(sheet, r->index, from.column)) return {r->index, from.column};
        }
        return edge();
    }
    if (columnStep > 0) {
        if (SheetRow* r = sheet.getRow(from.row)) {
            for (SheetCell* c = r->cells.lowerBound(next.column); c; c = c->next) {
                if (c->type != cdtBlank) return {from.row, c->index};
            }
        }
        return edge();
    }
    if (rowStep < 0) {
        SheetRow* r = sheet.rows().lowerBound(next.row);
        for (r = r ? (r->index == next.row ? r : r->prev) : sheet.rows().last(); r; r = r->prev) {
            if (filled(sheet, r->index, from.column)) return {r->index, from.column};
        }
        return edge();
    }
    if (SheetRow* r = sheet.getRow(from.row)) {
        SheetCell* c = r->cells.lowerBound(next.column);
        for (c = c ? (c->index == next.column ? c : c->prev) : r->cells.last(); c; c = c->prev) {
            if (c->type != cdtBlank) return {from.row, c->index};
        }
    }
    return edge();
}

CellPosition lastUsedCell(SheetTable& sheet) {
    CellPosition last;
    for (SheetRow* r = sheet.rows().first(); r; r = r->next) {
        for (SheetCell* c = r->cells.last(); c; c = c->prev) {
            if (c->type == cdtBlank) continue;
            last.row = std::max(last.row, r->index);
            last.column = std::max(last.column, c->index);
            break;
        }
    }
    return last;
}

}  // namespace kes
