#pragma once
// Column widths as edits: set by dragging a header border or fitted to the contents by a
// double-click on it, each one undo step.
#include <cstdint>
#include <functional>
#include <string_view>

#include "sheet/sheet_table.h"

namespace kes {

// The width in pixels at 96 dpi that a text needs in the grid's font.
using TextWidth = std::function<int32_t(std::u16string_view text)>;

// Sets the widths of the columns from `first` to `last`; one undo step.
void setColumnWidths(SheetTable& sheet, int32_t first, int32_t last, int32_t pixels);

// The width that shows the column's widest display text whole (its longest line, for texts
// with line breaks), plus the cell's margins; the sheet's default width for an empty column.
// Merged areas do not count, as in Excel.
int32_t fittingColumnWidth(SheetTable& sheet, int32_t column, const TextWidth& measure);

// Fits each column from `first` to `last` to its contents; one undo step.
void autoFitColumns(SheetTable& sheet, int32_t first, int32_t last, const TextWidth& measure);

}  // namespace kes
