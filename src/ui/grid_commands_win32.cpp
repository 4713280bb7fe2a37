// The grid's edit commands on the selection: clear, copy, paste, undo and redo. The rules
// themselves are the portable ones of sheet/editing.
#include "ui/grid_control_win32.h"

#include <algorithm>
#include <string>

#include "sheet/clipboard_text.h"
#include "sheet/editing/clear_cells.h"
#include "sheet/editing/paste_text.h"
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
        const int needed = unscaled(widest + scaled(8));
        if (widest > 0 && needed > table.columnWidth(column)) table.setColumnWidth(column, needed);
    }
    SelectObject(dc, oldFont);
    ReleaseDC(window_, dc);
}

void GridControl::clearSelection() {
    guarded([&] { clearContents(sheet(), sheet().selection().areas()); });
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
    if (pasteCut()) return;
    const TextBlock block = parseClipboardText(text);
    if (block.empty()) return;
    SheetTable& table = sheet();
    const int32_t top = table.selection().focusedRow(), left = table.selection().focusedColumn();
    CellRect pasted{left, top, left, top};
    guarded([&] { pasted = pasteText(table, top, left, block, writer_); });
    table.selection().selectRange(pasted, top, left);
    widenForNumbers(pasted);
    pageRowsChanged(top);
    redraw();
}

void GridControl::undo(bool redo) {
    guarded([&] {
        if (redo) book_.history().redo();
        else book_.history().undo();
    });
    afterChange();
}

}  // namespace kes
