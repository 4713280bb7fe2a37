#pragma once
// Where each value stands in one row or column of a sheet, for exact lookups that search the
// same line of unchanged cells again and again: a VLOOKUP down 100,000 label rows into one price
// list finds each code at once instead of reading the list for every row.
#include <cstdint>
#include <optional>

#include "sheet/calc/value.h"
#include "sheet/sheet_table.h"

namespace kes::calc {

// The first and last position (from the line's start) holding a value equal to a key.
struct LineHits {
    int32_t first = -1;
    int32_t last = -1;
};

// A line of cells: a column (vertical) or a row, from `start` to `end` inclusive.
struct SheetLine {
    SheetTable* sheet;
    bool vertical;
    int32_t line;    // the column of a vertical line, the row of the other
    int32_t start;
    int32_t end;
};

// Each cell the line holds, first to last, until `visit(position, row, cell)` returns false;
// the position counts from the line's start, the row is the cell's own.
template <class Visit>
void forEachCellOf(const SheetLine& line, Visit&& visit) {
    SheetTable& sheet = *line.sheet;
    if (line.vertical) {
        for (SheetRow* row = sheet.rows().lowerBound(line.start); row && row->index <= line.end; row = row->next) {
            const SheetCell* cell = row->cells.getItem(line.line);
            if (cell && !visit(row->index - line.start, row->index, *cell)) return;
        }
        return;
    }
    SheetRow* row = sheet.getRow(line.line);
    if (!row) return;
    for (SheetCell* cell = row->cells.lowerBound(line.start); cell && cell->index <= line.end; cell = cell->next) {
        if (!visit(cell->index - line.start, row->index, *cell)) return;
    }
}

// Where the key stands in the line as lookups compare values (numbers nearly equal, texts
// ignoring case, booleans), from an index kept while the sheet is unchanged; nullopt when the
// line has no index: searched only a few times since the sheet changed, holding formulas (whose
// values reading the whole line would compute), or longer than an index is worth. Hits are
// candidates: a text's hash may be shared, so the caller checks the cells they name.
std::optional<LineHits> indexedHits(const SheetLine& line, const Value& key);

}  // namespace kes::calc
