#pragma once
// A sheet as lines of delimited text, the way spreadsheets save CSV and tab-separated text:
// each cell's display text, quoted when it holds the delimiter, a quote or a line break.
#include <functional>
#include <string_view>

#include "sheet/sheet_table.h"

namespace kes {

// Calls `line` for every row from the first to the last that holds a cell, an empty line for a
// row without cells; cells of a row up to its last one, missing ones empty.
void writeDelimitedLines(SheetTable& sheet, char16_t delimiter, const std::function<void(std::u16string_view)>& line);

}  // namespace kes
