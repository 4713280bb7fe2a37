#pragma once
// Delete as Excel does it: the contents of the selected cells go, their formats stay.
#include <vector>

#include "sheet/selection.h"
#include "sheet/sheet_table.h"

namespace kes {

// One undo step; refused as a whole (ESheetError) when any area holds part of an array formula.
void clearContents(SheetTable& sheet, const std::vector<CellRect>& areas);

}  // namespace kes
