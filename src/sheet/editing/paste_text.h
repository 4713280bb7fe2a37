#pragma once
// Pasting a block of texts (the clipboard's tab-separated rows) at a cell: each text is
// written as if typed, through the caller's writer. Rows and columns beyond the sheet's edge
// are left out.
#include "sheet/clipboard_text.h"
#include "sheet/editing/edit_action.h"

namespace kes {

// One undo step. Returns the area the block covers on the sheet, its top left at (row,
// column); for an empty block, that cell alone.
CellRect pasteText(SheetTable& sheet, int32_t row, int32_t column, const TextBlock& block, const CellTextWriter& write);

}  // namespace kes
