#pragma once
// Moving over a sheet's data as Excel's keys do.
#include <cstdint>

#include "sheet/sheet_table.h"

namespace kes {

struct CellPosition {
    int32_t row = 0;
    int32_t column = 0;
    friend bool operator==(const CellPosition&, const CellPosition&) = default;
};

// Ctrl+arrow: from `from`, one step of (rowStep, columnStep) (one of them 0, the other +1 or
// -1) to the edge of the data: the last filled cell of a filled run, else the next filled
// cell, else the sheet's edge.
CellPosition dataEdge(SheetTable& sheet, CellPosition from, int32_t rowStep, int32_t columnStep);

// The last row and column that hold a cell with a value; (0, 0) on an empty sheet.
CellPosition lastUsedCell(SheetTable& sheet);

}  // namespace kes
