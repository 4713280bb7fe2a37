#include "sheet/editing/column_width.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "sheet/editing/edit_action.h"

namespace kes {
namespace {

// Room left and right of a cell's text, in pixels at 96 dpi.
constexpr int32_t kCellMargins = 8;
constexpr int32_t kWidestColumn = 255 * 8;

class WidthChange : public SheetChange {
public:
    WidthChange(SheetTable& sheet, int32_t column, int32_t before, int32_t after)
        : sheet_(sheet), column_(column), before_(before), after_(after) {}
    void apply(bool forward) override { sheet_.setColumnWidth(column_, forward ? after_ : before_); }

private:
    SheetTable& sheet_;
    int32_t column_;
    int32_t before_;   // 0: the sheet's default
    int32_t after_;
};

void changeWidth(SheetTable& sheet, int32_t column, int32_t pixels) {
    const SheetColumn* item = sheet.getColumn(column);
    const int32_t before = item ? item->width : 0;
    if (before == pixels) return;
    auto change = std::make_shared<WidthChange>(sheet, column, before, pixels);
    change->apply(true);
    sheet.workbook().history().recordChange(std::move(change));
}

int32_t widestLine(std::u16string_view text, const TextWidth& measure) {
    int32_t widest = 0;
    while (true) {
        const size_t end = text.find_first_of(u"\r\n");
        widest = std::max(widest, measure(text.substr(0, end)));
        if (end == std::u16string_view::npos) return widest;
        text.remove_prefix(end + 1);
    }
}

}  // namespace

void setColumnWidths(SheetTable& sheet, int32_t first, int32_t last, int32_t pixels) {
    EditAction action(sheet.workbook());
    for (int32_t column = first; column <= last; ++column) changeWidth(sheet, column, std::clamp(pixels, 0, kWidestColumn));
}

int32_t fittingColumnWidth(SheetTable& sheet, int32_t column, const TextWidth& measure) {
    int32_t widest = 0;
    const bool anyMerged = !sheet.mergedAreas().empty();
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        SheetCell* cell = row->cells.getItem(column);
        if (!cell || cell->type == cdtBlank) continue;
        if (anyMerged && sheet.mergedAreaAt(row->index, column)) continue;
        widest = std::max(widest, widestLine(CellRef(&sheet, row, cell).displayText(), measure));
    }
    if (widest == 0) return sheet.defaultColumnWidth;
    return std::min(widest + kCellMargins, kWidestColumn);
}

void autoFitColumns(SheetTable& sheet, int32_t first, int32_t last, const TextWidth& measure) {
    // Only columns that hold cells or a width of their own can change: a selection of every
    // column costs what the sheet holds, not sixteen thousand walks over its rows.
    std::vector<int32_t> columns;
    sheet.columns().forEach(first, last, true, [&](SheetColumn* column) { columns.push_back(column->index); });
    EditAction action(sheet.workbook());
    for (int32_t column : columns) changeWidth(sheet, column, fittingColumnWidth(sheet, column, measure));
}

}  // namespace kes
