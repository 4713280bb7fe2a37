#include "sheet/formula/reference_shift.h"

#include <algorithm>

#include "sheet/formula/cell_address.h"

namespace kes::formula {

struct ReferenceRewrite {
    // Calls `rewrite(node)` for every reference of our workbook on the moved sheet; a false
    // answer turns the reference into #REF!, as offsetReferences does.
    template <class Rewrite>
    static bool run(Expression& expression, const MovedSheetTest& onMovedSheet, Rewrite&& rewrite) {
        bool changed = false;
        for (Node& node : expression.nodes_) {
            if (node.kind != NodeKind::Reference || node.shape == ReferenceShape::Invalid) continue;
            if ((node.flags & kFlagExternal) != 0 || !onMovedSheet(expression, node)) continue;
            const Node before = node;
            if (!rewrite(node)) {
                if (node.sheet.empty()) {
                    node.kind = NodeKind::Error;
                    node.error = ErrorCode::Ref;
                } else {
                    node.first = before.first;
                    node.last = before.last;
                    node.shape = ReferenceShape::Invalid;
                }
                changed = true;
                continue;
            }
            if (node.shape == ReferenceShape::Cell) node.last = node.first;
            changed = changed || !(node.first == before.first) || !(node.last == before.last);
        }
        return changed;
    }
};

bool shiftSpan(int32_t& first, int32_t& last, const LineShift& shift, int32_t limit) {
    if (shift.count > 0) {
        if (first >= shift.at) first += shift.count;
        if (last >= shift.at) last += shift.count;
        if (first > limit) return false;
        last = std::min(last, limit);
        return true;
    }
    const int32_t end = shift.at - shift.count;   // the first line after the deleted ones
    const int32_t newFirst = first < shift.at ? first : first >= end ? first + shift.count : shift.at;
    const int32_t newLast = last < shift.at ? last : last >= end ? last + shift.count : shift.at - 1;
    if (newFirst > newLast) return false;
    first = newFirst;
    last = newLast;
    return true;
}

namespace {

int32_t& coordinate(CellAddress& address, bool rows) { return rows ? address.row : address.column; }

bool onAxis(ReferenceShape shape, bool rows) {
    switch (shape) {
    case ReferenceShape::Cell:
    case ReferenceShape::Area: return true;
    case ReferenceShape::Rows: return rows;
    case ReferenceShape::Columns: return !rows;
    case ReferenceShape::Invalid: return false;
    }
    return false;
}

bool inside(const CellAddress& address, const BlockMove& move) {
    return address.row >= move.top && address.row <= move.bottom && address.column >= move.left &&
           address.column <= move.right;
}

}  // namespace

bool shiftReferences(Expression& expression, const LineShift& shift, const MovedSheetTest& onMovedSheet) {
    if (shift.count == 0) return false;
    const int32_t limit = shift.rows ? kLastRow : kLastColumn;
    return ReferenceRewrite::run(expression, onMovedSheet, [&](Node& node) {
        if (!onAxis(node.shape, shift.rows)) return true;
        int32_t& first = coordinate(node.first, shift.rows);
        int32_t& last = coordinate(node.last, shift.rows);
        if (node.shape == ReferenceShape::Cell) {
            int32_t only = first;
            if (!shiftSpan(first, only, shift, limit) || first != only) return false;
            return true;
        }
        return shiftSpan(first, last, shift, limit);
    });
}

bool moveReferences(Expression& expression, const BlockMove& move, const MovedSheetTest& onMovedSheet) {
    if (move.rows == 0 && move.columns == 0) return false;
    return ReferenceRewrite::run(expression, onMovedSheet, [&](Node& node) {
        const bool cellOrArea = node.shape == ReferenceShape::Cell || node.shape == ReferenceShape::Area;
        if (cellOrArea && inside(node.first, move) && inside(node.last, move)) {
            node.first.row += move.rows;
            node.first.column += move.columns;
            node.last.row += move.rows;
            node.last.column += move.columns;
        }
        return true;
    });
}

}  // namespace kes::formula
