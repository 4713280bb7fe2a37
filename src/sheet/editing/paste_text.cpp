#include "sheet/editing/paste_text.h"

#include <algorithm>

#include "sheet/sheet_bounds.h"

namespace kes {

CellRect pasteText(SheetTable& sheet, int32_t row, int32_t column, const TextBlock& block, const CellTextWriter& write) {
    CellRect covered{column, row, column, row};
    EditAction action(sheet.workbook());
    for (size_t r = 0; r < block.size() && row + int64_t(r) <= kMaxRow; ++r) {
        const int32_t target = row + int32_t(r);
        for (size_t c = 0; c < block[r].size() && column + int64_t(c) <= kMaxColumn; ++c) {
            write(sheet, target, column + int32_t(c), block[r][c]);
            covered.right = std::max(covered.right, column + int32_t(c));
        }
        covered.bottom = target;
    }
    return covered;
}

}  // namespace kes
