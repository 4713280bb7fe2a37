#include "sheet/editing/edit_action.h"

#include "sheet/sheet_error.h"

namespace kes {

void refuseArrayCells(SheetTable& sheet, const CellRect& area) {
    sheet.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
        row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) {
            if (cell->inArray) throw ESheetError("You cannot change part of an array.");
        });
    });
}

std::u16string cellEditText(SheetTable& sheet, int32_t row, int32_t column) {
    const CellRef cell = sheet.getCell(row, column);
    if (!cell) return {};
    if (cell.dataType() == cdtFormula) return cell.formulaText();
    if (cell.dataType() == cdtString) return cell.asString();
    return cell.displayText();
}

}  // namespace kes
