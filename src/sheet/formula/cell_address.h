#pragma once
// Cell addresses in A1 notation: column letters, row numbers and the sheet's bounds.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/formula/formula_ast.h"

namespace kes::formula {

// The same bounds as the cell store's: rows 1 to 1,048,576, columns A to XFD.
constexpr int32_t kLastRow = 1048575;
constexpr int32_t kLastColumn = 16383;

// "A" for 0, "XFD" for 16383.
std::u16string columnLetters(int32_t column);
// The zero-based column of letters in either case; nothing for "", "XFE", "ABCD" or non-letters.
std::optional<int32_t> columnIndex(std::u16string_view letters);

// The scanners read one piece at `pos` and return the offset just past it, or 0 when the text
// there is not that piece. They look no further than the piece: the caller decides what may
// follow it.
// $?letters$?digits, within the sheet: A1, $XFD$1048576.
size_t scanCellAddress(std::u16string_view text, size_t pos, CellAddress& address);
// $?letters: the column part of a whole-column range.
size_t scanColumn(std::u16string_view text, size_t pos, CellAddress& address);
// $?digits: the row part of a whole-row range.
size_t scanRow(std::u16string_view text, size_t pos, CellAddress& address);

// Puts the corners of an area in order, first top left, each keeping its $ flags with its
// coordinate; Excel turns B2:A1 into A1:B2 the same way.
void orderCorners(CellAddress& first, CellAddress& last);

// The text of an address: A1, $A$1, A$1, $A1.
void appendCellAddress(std::u16string& out, const CellAddress& address);
void appendColumn(std::u16string& out, const CellAddress& address);
void appendRow(std::u16string& out, const CellAddress& address);

}  // namespace kes::formula
