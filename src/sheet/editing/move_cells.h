#pragma once
// Cut and paste within a sheet, as Excel does it: the cut cells stay until the paste, which
// moves them (values, formulas as they stand, formats) and leaves their old place empty;
// every reference to a moved cell, or to an area wholly inside the moved block, follows it.
#include <cstdint>

#include "sheet/selection.h"
#include "sheet/sheet_table.h"

namespace kes {

// Moves the cells of `from` so that its top left lands on (row, column); one undo step.
// Returns the area they now fill. Refused (ESheetError, nothing changed) when the block
// would reach off the sheet or either place holds part of an array formula.
CellRect moveCells(SheetTable& sheet, const CellRect& from, int32_t row, int32_t column);

}  // namespace kes
