#pragma once
// Filling cells from others, each command one undo step: Ctrl+D and Ctrl+R copy the first row
// (column) of the selection over the rest of it, and the fill handle continues the selection
// into the cells it is dragged over (see fill_series.h). Values and formats are copied;
// formulas keep their relative references relative, as Excel moves them.
#include <cstdint>

#include "sheet/selection.h"
#include "sheet/sheet_table.h"

namespace kes {

enum class FillDirection : uint8_t { Down, Right, Up, Left };

// Ctrl+D (Down) and Ctrl+R (Right): an area one row high takes the row above it (one column
// wide, the column to its left). An area reaching the sheet's end stops at the last row
// (column) that holds a cell. Refused (ESheetError) when an array formula lies in the area.
void fillFromEdge(SheetTable& sheet, const CellRect& area, FillDirection direction);

// The area the fill handle of `source` covers when dragged to (row, column): the source
// stretched down, up, right or left, whichever way the pointer went further out of it; the
// source itself while the pointer is inside it.
CellRect fillHandleTarget(const CellRect& source, int32_t row, int32_t column);

// Fills `target` (the source stretched one way) from `source`; `toggled` is Ctrl held.
void fillSeries(SheetTable& sheet, const CellRect& source, const CellRect& target, bool toggled);

}  // namespace kes
