#pragma once
// Inserting and deleting whole rows and columns, as Excel does: the cells after them move,
// merged areas and every formula's references follow (a reference to deleted cells becomes
// #REF!), and the whole edit is one undo step.
#include <cstdint>

#include "sheet/sheet_table.h"

namespace kes {

enum class LineKind : uint8_t { Rows, Columns };

// Inserts `count` empty lines before line `at`. Refused (ESheetError, nothing changed) when it
// would push cells that hold something off the sheet, or move part of an array formula.
void insertLines(SheetTable& sheet, LineKind kind, int32_t at, int32_t count);

// Deletes `count` lines from `at` on; refused when that moves or cuts an array formula.
void deleteLines(SheetTable& sheet, LineKind kind, int32_t at, int32_t count);

}  // namespace kes
