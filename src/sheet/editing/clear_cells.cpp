#include "sheet/editing/clear_cells.h"

#include "sheet/editing/edit_action.h"

namespace kes {

void clearContents(SheetTable& sheet, const std::vector<CellRect>& areas) {
    for (const CellRect& area : areas) refuseArrayCells(sheet, area);
    EditAction action(sheet.workbook());
    for (const CellRect& area : areas) {
        sheet.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
            row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) {
                if (cell->type != cdtBlank) CellRef(&sheet, row, cell).clear();
            });
        });
    }
}

}  // namespace kes
