#pragma once
// Blocks of cells as Excel puts them on the clipboard: fields separated by tabs, rows by line
// breaks, a field holding a tab, a line break or a quote written in quotes with quotes doubled.
#include <string>
#include <string_view>
#include <vector>

#include "sheet/selection.h"
#include "sheet/sheet_table.h"

namespace kes {

using TextBlock = std::vector<std::vector<std::u16string>>;

// CRLF, LF and CR all end a row; a line break after the last row adds no empty row.
TextBlock parseClipboardText(std::u16string_view text);

// The same reading with another field separator, as CSV files use it.
TextBlock parseDelimitedText(std::u16string_view text, char16_t separator);

// The display texts of the rectangle, each row ended by CRLF, as Excel copies them.
std::u16string clipboardText(SheetTable& sheet, const CellRect& area);

}  // namespace kes
