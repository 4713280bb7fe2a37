#pragma once
// Evaluating a formula cell: its result from the cells it refers to, computed when asked for
// and kept until any cell of the workbook changes.
#include <cstdint>

#include "sheet/cell_value.h"

namespace kes {

class SheetTable;
struct CellFormula;

CellValue evaluateFormula(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula);

}  // namespace kes
