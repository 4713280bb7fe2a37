#pragma once
// The items of a sheet: cells, rows and columns, as the item lists hold them.
#include <cstdint>

#include "sheet/cell_value.h"
#include "sheet/item_list.h"

namespace kes {

class SharedString;
struct CellFormula;

enum class ShowFormula : uint8_t { Off, On, Default };

// 32 bytes on 64-bit builds: a million cells fit in 32 MB. The value lives inline; texts live
// in the workbook's shared string table, formulas in their own object.
struct SheetCell : ListItem<SheetCell> {
    explicit SheetCell(int32_t column) : ListItem(column), integer(0) {}

    CellDataType type = cdtBlank;
    ShowFormula showFormula : 2 = ShowFormula::Default;
    bool inArray : 1 = false;        // part of an array formula's range
    uint8_t spareBits : 5 = 0;       // set too, so that a new cell is written without reading its memory first
    uint16_t style = 0;              // index into the workbook's cell styles
    union {
        bool boolean;
        FormulaErrorCode error;
        int64_t currency;
        double number;
        int32_t integer;
        SharedString* string;
        CellFormula* formula;
    };
};

static_assert(sizeof(void*) != 8 || sizeof(SheetCell) == 32, "a cell must stay 32 bytes");

struct SheetRow : ListItem<SheetRow> {
    explicit SheetRow(int32_t row) : ListItem(row) {}

    // Beside the list item's index, in what would be padding: a row costs nothing more for them.
    uint16_t height = 0;   // in pixels at 96 dpi; 0 means the sheet's default height
    bool hidden = false;
    ItemList<SheetCell> cells;
    // Index of the last cell + 1, or 0 when the row holds no cell.
    int32_t cellCount() const { return cells.last() ? cells.last()->index + 1 : 0; }
};

// Starts fetching the text entries that a row's cells name, for writers that walk a whole
// sheet: the entries of a million rows lie far apart, and each would be a wait of its own.
inline void prefetchTexts(const SheetRow* row) {
    if (!row) return;
    for (const SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
        if (cell->type == cdtString) __builtin_prefetch(cell->string);
    }
}

struct SheetColumn : ListItem<SheetColumn> {
    explicit SheetColumn(int32_t column) : ListItem(column) {}

    int32_t width = 0;   // in pixels at 96 dpi; 0 means the sheet's default width
    bool hidden = false;
};

}  // namespace kes
