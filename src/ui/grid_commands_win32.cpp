// The grid's edit commands on the selection: clear, copy, paste, undo and redo.
#include "ui/grid_control_win32.h"

#include <algorithm>
#include <string>

#include "sheet/clipboard_text.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "ui/window_support_win32.h"

namespace kes {

// After typing or pasting, a column too narrow for a number it now holds grows to fit it, as
// Excel does, so that a barcode shows its digits rather than #s.
void GridControl::widenForNumbers(const CellRect& area) {
    SheetTable& table = sheet();
    HDC dc = GetDC(window_);
    HGDIOBJ oldFont = SelectObject(dc, font_);
    for (int32_t column = area.left; column <= area.right; ++column) {
        int widest = 0;
        table.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
            const CellRef cell = table.getCell(row->index, column);
            if (!cell || !cell.isNumeric()) return;
            const std::u16string text = cell.displayText();
            SIZE extent{};
            GetTextExtentPoint32W(dc, wide(text), static_cast<int>(text.size()), &extent);
            widest = std::max<int>(widest, extent.cx);
        });
        const int needed = MulDiv(widest + scaled(8), 96, dpi_);
        if (widest > 0 && needed > table.columnWidth(column)) table.setColumnWidth(column, needed);
    }
    SelectObject(dc, oldFont);
    ReleaseDC(window_, dc);
}

void GridControl::clearSelection() {
    undoable([&] {
        SheetTable& table = sheet();
        // Cells of an array formula change only together; the grid does not know an array's
        // extent, so a selection that holds any of them is refused before anything changes.
        for (const CellRect& area : table.selection().areas()) {
            table.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
                row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) {
                    if (cell->inArray) throw ESheetError("You cannot change part of an array.");
                });
            });
        }
        for (const CellRect& area : table.selection().areas()) {
            table.rows().forEach(area.top, area.bottom, true, [&](SheetRow* row) {
                row->cells.forEach(area.left, area.right, true, [&](SheetCell* cell) {
                    if (cell->type != cdtBlank) CellRef(&table, row, cell).clear();
                });
            });
        }
    });
    afterChange();
}

void GridControl::copySelection() {
    const std::u16string text = clipboardText(sheet(), sheet().selection().area());
    if (!OpenClipboard(window_)) return;
    EmptyClipboard();
    if (HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(char16_t))) {
        auto* target = static_cast<char16_t*>(GlobalLock(memory));
        std::copy(text.begin(), text.end(), target);
        target[text.size()] = 0;
        GlobalUnlock(memory);
        if (!SetClipboardData(CF_UNICODETEXT, memory)) GlobalFree(memory);
    }
    CloseClipboard();
}

void GridControl::pasteClipboard() {
    std::u16string text;
    if (!OpenClipboard(window_)) return;
    if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        if (const auto* chars = static_cast<const char16_t*>(GlobalLock(data))) {
            text = chars;
            GlobalUnlock(data);
        }
    }
    CloseClipboard();
    const TextBlock block = parseClipboardText(text);
    if (block.empty()) return;
    SheetTable& table = sheet();
    const int32_t top = table.selection().focusedRow(), left = table.selection().focusedColumn();
    int32_t right = left;
    undoable([&] {
        for (size_t r = 0; r < block.size() && top + int64_t(r) <= kMaxRow; ++r) {
            for (size_t c = 0; c < block[r].size() && left + int64_t(c) <= kMaxColumn; ++c) {
                writer_(table, top + int32_t(r), left + int32_t(c), block[r][c]);
                right = std::max(right, left + int32_t(c));
            }
        }
    });
    const int32_t bottom = std::min<int64_t>(kMaxRow, top + int64_t(block.size()) - 1);
    table.selection().selectRange({left, top, right, bottom}, top, left);
    widenForNumbers({left, top, right, bottom});
    refresh();
}

void GridControl::undo(bool redo) {
    guarded([&] {
        if (redo) book_.history().redo();
        else book_.history().undo();
    });
    afterChange();
}

}  // namespace kes
