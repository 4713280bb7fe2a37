#pragma once
// What the editing commands share: one command is one undo step, also when it fails half-way;
// texts go through the caller's writer, so that the product keeps one cell-text path; and no
// command changes part of an array formula.
#include <cstdint>
#include <functional>
#include <string>

#include "sheet/selection.h"
#include "sheet/sheet_table.h"
#include "sheet/workbook.h"

namespace kes {

// Writes a text as typed into (row, column) of the sheet.
using CellTextWriter = std::function<void(SheetTable&, int32_t row, int32_t column, const std::u16string& text)>;

// Groups what is recorded while it lives into one undo step.
class EditAction {
public:
    explicit EditAction(Workbook& book) : history_(book.history()) { history_.beginAction(); }
    ~EditAction() { history_.endAction(); }
    EditAction(const EditAction&) = delete;
    EditAction& operator=(const EditAction&) = delete;

private:
    UndoHistory& history_;
};

// Throws ESheetError when a cell of an array formula lies in the area, before anything changed.
void refuseArrayCells(SheetTable& sheet, const CellRect& area);

// The text the in-place editor starts with: a formula's text, a string as it is, any other
// value as the grid shows it.
std::u16string cellEditText(SheetTable& sheet, int32_t row, int32_t column);

}  // namespace kes
