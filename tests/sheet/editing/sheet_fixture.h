#pragma once
// A workbook to edit in the tests, with cells written as typed and read back as the editor
// shows them, and the whole sheet as one text to compare before and after an undo.
#include <gtest/gtest.h>

#include <string>

#include "sheet/editing/edit_action.h"
#include "sheet/workbook.h"

namespace kes {

class EditingTest : public ::testing::Test {
protected:
    void put(int32_t row, int32_t column, std::u16string_view text) { sheet.createCell(row, column).setText(text, 1); }
    std::u16string edit(int32_t row, int32_t column) { return cellEditText(sheet, row, column); }
    std::u16string shown(int32_t row, int32_t column) {
        const CellRef cell = sheet.getCell(row, column);
        return cell ? cell.displayText() : std::u16string();
    }
    // Every cell that holds something as "row,column=text|", with its style when it has one.
    std::u16string dump(SheetTable& table) {
        std::u16string out;
        for (SheetRow* row = table.rows().first(); row; row = row->next) {
            for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
                if (cell->type == cdtBlank && cell->style == 0) continue;
                out += toU16(std::to_string(row->index) + "," + std::to_string(cell->index) + "=");
                out += cellEditText(table, row->index, cell->index);
                if (cell->style != 0) out += toU16("#" + std::to_string(cell->style));
                out += u'|';
            }
        }
        return out;
    }
    std::u16string dump() { return dump(sheet); }
    // A writer as the form's: every text written as typed, formulas included.
    CellTextWriter writer() {
        return [](SheetTable& table, int32_t row, int32_t column, const std::u16string& text) {
            table.createCell(row, column).setText(text, 1);
        };
    }
    static std::u16string toU16(const std::string& s) { return std::u16string(s.begin(), s.end()); }

    Workbook book;
    SheetTable& sheet = *book.activeSheet();
};

}  // namespace kes
