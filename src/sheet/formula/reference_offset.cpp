#include "sheet/formula/cell_address.h"
#include "sheet/formula/formula_parser.h"

namespace kes::formula {

namespace {

bool moveCoordinate(int32_t& value, bool absolute, int32_t by, int32_t limit) {
    if (absolute) return true;
    const int64_t moved = static_cast<int64_t>(value) + by;
    if (moved < 0 || moved > limit) return false;
    value = static_cast<int32_t>(moved);
    return true;
}

bool moveRow(CellAddress& address, int32_t rows) { return moveCoordinate(address.row, address.rowAbsolute, rows, kLastRow); }
bool moveColumn(CellAddress& address, int32_t columns) {
    return moveCoordinate(address.column, address.columnAbsolute, columns, kLastColumn);
}

bool moveReference(Node& node, int32_t rows, int32_t columns) {
    switch (node.shape) {
    case ReferenceShape::Cell:
        if (!moveRow(node.first, rows) || !moveColumn(node.first, columns)) return false;
        node.last = node.first;
        return true;
    case ReferenceShape::Area:
        return moveRow(node.first, rows) && moveColumn(node.first, columns) && moveRow(node.last, rows) &&
               moveColumn(node.last, columns);
    case ReferenceShape::Columns: return moveColumn(node.first, columns) && moveColumn(node.last, columns);
    case ReferenceShape::Rows: return moveRow(node.first, rows) && moveRow(node.last, rows);
    case ReferenceShape::Invalid: return true;
    }
    return true;
}

}  // namespace

void offsetReferences(Expression& expression, int32_t rows, int32_t columns) {
    for (Node& node : expression.nodes_) {
        if (node.kind != NodeKind::Reference) continue;
        if (moveReference(node, rows, columns)) {
            // A$1:B1 moved by a column can turn its corners around when only one is absolute.
            orderCorners(node.first, node.last);
            continue;
        }
        // Unqualified, Excel writes a lost reference as the plain error #REF!; with a sheet
        // name it keeps the name: Sheet1!#REF!.
        if (node.sheet.empty()) {
            node.kind = NodeKind::Error;
            node.error = ErrorCode::Ref;
        } else {
            node.shape = ReferenceShape::Invalid;
        }
    }
}

}  // namespace kes::formula
