// The in-place editor: an EDIT control that waits at the current cell, so that typing and IME
// compositions start an edit, and commits what was typed through the grid's cell writer.
#include "ui/grid_control_win32.h"

#include <imm.h>

#include <algorithm>
#include <string>

#include "sheet/editing/edit_action.h"
#include "sheet/sheet_bounds.h"
#include "ui/window_support_win32.h"

namespace kes {

std::u16string GridControl::editText(int32_t row, int32_t column) { return cellEditText(sheet(), row, column); }

// While idle the editor waits, empty and zero-sized, at the current cell with the keyboard
// focus, so that the first keystroke, or the first stroke of an IME composition, lands in it.
void GridControl::placeEditor() {
    const SheetSelection& s = sheet().selection();
    RECT r = cellRect(s.focusedRow(), s.focusedColumn());
    if (editState_ == EditState::Idle) {
        MoveWindow(editor_, r.left, r.top, 0, 0, FALSE);
    } else {
        const int height = std::max<int>(rowHeight_, r.bottom - r.top);
        const int width = std::max<int>(r.right - r.left, scaled(120));
        MoveWindow(editor_, r.left + 1, r.top + 1, width - 2, height - 2, TRUE);
    }
    if (HIMC context = ImmGetContext(editor_)) {
        COMPOSITIONFORM form{CFS_POINT, {r.left + scaled(2), r.top + scaled(2)}, {}};
        ImmSetCompositionWindow(context, &form);
        ImmReleaseContext(editor_, context);
    }
}

void GridControl::startEditing(EditState state, const std::u16string& text) {
    editState_ = state;
    // The editor shows the cell's own font, as Excel edits in place.
    const SheetSelection& at = sheet().selection();
    const CellRef cell = sheet().getCell(at.focusedRow(), at.focusedColumn());
    const HFONT font = looks_.fontOf(book_.styles(), cell ? cell.style() : CellStyles::kDefault);
    SendMessageW(editor_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SetWindowTextW(editor_, wide(text));
    placeEditor();
    const int length = static_cast<int>(text.size());
    SendMessageW(editor_, EM_SETSEL, length, length);
    ShowWindow(editor_, SW_SHOW);
    SetFocus(editor_);
}

void GridControl::commitEdit() {
    if (editState_ == EditState::Idle) return;
    std::u16string text = windowText(editor_);
    std::erase(text, u'\r');   // the edit control's CRLF is a plain line break in a cell
    editState_ = EditState::Idle;
    SetWindowTextW(editor_, L"");
    placeEditor();
    const SheetSelection& s = sheet().selection();
    const int32_t row = s.focusedRow(), column = s.focusedColumn();
    undoable([&] { writer_(sheet(), row, column, text); });
    widenForNumbers({column, row, column, row});
    pageRowsChanged(row);
    redraw();
}

void GridControl::cancelEdit() {
    editState_ = EditState::Idle;
    SetWindowTextW(editor_, L"");
    placeEditor();
    InvalidateRect(window_, nullptr, FALSE);
}

LRESULT CALLBACK GridControl::editorProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self->handleEditor(message, wParam, lParam);
}

LRESULT GridControl::handleEditor(UINT message, WPARAM wParam, LPARAM lParam) {
    const bool control = keyDown(VK_CONTROL);
    switch (message) {
    case WM_GETDLGCODE: return DLGC_WANTALLKEYS | DLGC_WANTCHARS | DLGC_WANTTAB;
    case WM_IME_STARTCOMPOSITION:
        if (editState_ == EditState::Idle) startEditing(EditState::Entering, u"");
        break;
    case WM_KEYDOWN:
        if (editState_ == EditState::Idle) {
            if (handleEditingKey(wParam)) return 0;
            if (control) {
                switch (wParam) {
                case 'C': copySelection(); return 0;
                case 'V': pasteClipboard(); return 0;
                case 'Z': undo(false); return 0;
                case 'Y': undo(true); return 0;
                case 'F': findOrReplace(false); return 0;
                case 'H': findOrReplace(true); return 0;
                case 'A': sheet().selection().selectRange({0, 0, kMaxColumn, kMaxRow}, sheet().selection().focusedRow(),
                                                          sheet().selection().focusedColumn());
                    InvalidateRect(window_, nullptr, FALSE);
                    return 0;
                }
            }
            if (wParam == VK_DELETE) {
                clearSelection();
                return 0;
            }
            if (wParam == VK_F2) {
                const SheetSelection& s = sheet().selection();
                startEditing(EditState::Editing, editText(s.focusedRow(), s.focusedColumn()));
                return 0;
            }
            if (handleNavigationKey(wParam)) return 0;
            break;
        }
        switch (wParam) {
        case VK_ESCAPE: cancelEdit(); return 0;
        case VK_RETURN:
            if (keyDown(VK_MENU)) break;
            commitEdit();
            handleNavigationKey(VK_RETURN);
            return 0;
        case VK_TAB:
            commitEdit();
            handleNavigationKey(VK_TAB);
            return 0;
        case VK_UP:
        case VK_DOWN:
        case VK_LEFT:
        case VK_RIGHT:
            if (editState_ == EditState::Entering) {
                commitEdit();
                handleNavigationKey(wParam);
                return 0;
            }
            break;
        }
        break;
    case WM_SYSKEYDOWN:
        if (wParam == VK_RETURN && editState_ != EditState::Idle) {   // Alt+Enter: a line break in the cell
            SendMessageW(editor_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"\r\n"));
            return 0;
        }
        break;
    case WM_CHAR:
        if (wParam == '\r' || wParam == '\t' || wParam == 0x1B || (control && wParam < 0x20)) return 0;
        if (editState_ == EditState::Idle) {
            // Ctrl+Shift+= and the like are commands, not the first character of an entry.
            if (wParam < 0x20 || (control && !keyDown(VK_MENU))) return 0;
            startEditing(EditState::Entering, u"");
        }
        break;
    case WM_KILLFOCUS:
        if (editState_ != EditState::Idle && reinterpret_cast<HWND>(wParam) != editor_) commitEdit();
        break;
    }
    return CallWindowProcW(editorDefault_, editor_, message, wParam, lParam);
}

}  // namespace kes
