// The grid's editing habits: cut (the cells move on paste), fill down and right, the fill
// handle, inserting and deleting rows and columns, auto-fit by a double-click on a column
// header's border, and zoom by Ctrl+wheel. The rules are the portable ones of sheet/editing;
// this file binds them to keys and the mouse and draws their marks.
#include <windowsx.h>

#include <algorithm>
#include <string>

#include "sheet/editing/column_width.h"
#include "sheet/editing/line_edit.h"
#include "sheet/editing/move_cells.h"
#include "sheet/sheet_bounds.h"
#include "ui/grid_control_win32.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

constexpr int kZoomStep = 10, kMinZoom = 10, kMaxZoom = 400;   // percent, as Excel allows
constexpr COLORREF kMarkColor = RGB(0x21, 0x73, 0x46);
constexpr COLORREF kDashColor = RGB(0x60, 0x60, 0x60);

bool wholeColumns(const CellRect& area) { return area.top == 0 && area.bottom == kMaxRow; }
bool wholeRows(const CellRect& area) { return area.left == 0 && area.right == kMaxColumn; }

void dashedFrame(HDC dc, RECT r, COLORREF color) {
    HPEN pen = CreatePen(PS_DASH, 1, color);
    HGDIOBJ oldPen = SelectObject(dc, pen);
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(NULL_BRUSH));
    SetBkMode(dc, OPAQUE);
    for (int i = 0; i < 2; ++i) Rectangle(dc, r.left - 1 + i, r.top - 1 + i, r.right - i, r.bottom - i);
    SetBkMode(dc, TRANSPARENT);
    SelectObject(dc, oldBrush);
    SelectObject(dc, oldPen);
    DeleteObject(pen);
}

}  // namespace

bool GridControl::handleEditingKey(WPARAM key) {
    if (key == VK_ESCAPE && cut_.sheet) {
        cut_ = {};
        InvalidateRect(window_, nullptr, FALSE);
        return true;
    }
    if (!keyDown(VK_CONTROL)) return false;
    switch (key) {
    case 'X': cutSelection(); return true;
    case 'D': fillSelection(FillDirection::Down); return true;
    case 'R': fillSelection(FillDirection::Right); return true;
    case VK_OEM_PLUS:   // Ctrl+Shift+=, that is Ctrl++
        if (!keyDown(VK_SHIFT)) return false;
        [[fallthrough]];
    case VK_ADD: editLines(true); return true;
    case VK_OEM_MINUS:
    case VK_SUBTRACT: editLines(false); return true;
    }
    return false;
}

void GridControl::cutSelection() {
    copySelection();
    cut_ = {&sheet(), sheet().selection().area(), GetClipboardSequenceNumber(), book_.contentVersion()};
    InvalidateRect(window_, nullptr, FALSE);
}

// The paste that completes a cut; false when no cut waits (or it lapsed), for a plain paste.
bool GridControl::pasteCut() {
    const PendingCut cut = cut_;
    cut_ = {};
    if (!cut.sheet || cut.sheet != &sheet() || cut.clipboardSequence != GetClipboardSequenceNumber() ||
        cut.contentVersion != book_.contentVersion())
        return false;
    const SheetSelection& s = sheet().selection();
    const int32_t row = s.focusedRow(), column = s.focusedColumn();
    guarded([&] { sheet().selection().selectRange(moveCells(sheet(), cut.area, row, column), row, column); });
    refresh();
    return true;
}

void GridControl::fillSelection(FillDirection direction) {
    guarded([&] { fillFromEdge(sheet(), sheet().selection().area(), direction); });
    refresh();
}

// Whole columns selected by their headers insert or delete columns; anything else, rows: a
// label is a row, and shifting cells inside a column would mix the fields of two labels.
void GridControl::editLines(bool insert) {
    const CellRect area = sheet().selection().area();
    const bool columns = wholeColumns(area) && !wholeRows(area);
    const LineKind kind = columns ? LineKind::Columns : LineKind::Rows;
    const int32_t at = columns ? area.left : area.top;
    const int32_t count = columns ? area.right - area.left + 1 : area.bottom - area.top + 1;
    guarded([&] {
        if (insert) insertLines(sheet(), kind, at, count);
        else deleteLines(sheet(), kind, at, count);
    });
    refresh();
}

// The double-clicked column, or every selected whole column when it is one of them, as Excel.
void GridControl::autoFit(int32_t column) {
    const CellRect area = sheet().selection().area();
    const bool selected = wholeColumns(area) && column >= area.left && column <= area.right;
    HDC dc = GetDC(window_);
    HGDIOBJ oldFont = SelectObject(dc, font_);
    const TextWidth measure = [&](std::u16string_view text) {
        SIZE extent{};
        GetTextExtentPoint32W(dc, reinterpret_cast<const wchar_t*>(text.data()), static_cast<int>(text.size()), &extent);
        return static_cast<int32_t>(unscaled(extent.cx));
    };
    guarded([&] { autoFitColumns(sheet(), selected ? area.left : column, selected ? area.right : column, measure); });
    SelectObject(dc, oldFont);
    ReleaseDC(window_, dc);
    refresh();
}

void GridControl::setZoom(int percent) {
    percent = std::clamp(percent, kMinZoom, kMaxZoom);
    if (percent == zoom_) return;
    zoom_ = percent;
    remakeFonts();
}

// The small square at the bottom right of a single selected area.
bool GridControl::fillHandleAt(int x, int y) {
    const SheetSelection& s = sheet().selection();
    if (s.areas().size() != 1) return false;
    const CellRect area = s.areas().front();
    if (area.bottom == kMaxRow || area.right == kMaxColumn || area.bottom < topRow_ || area.right < leftColumn_) return false;
    const RECT r = areaRect(area);
    const int reach = std::max(3, scaled(4));
    return std::abs(x - (r.right - 1)) <= reach && std::abs(y - (r.bottom - 1)) <= reach;
}

bool GridControl::handleEditingMouse(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_MOUSEWHEEL:
        if ((GET_KEYSTATE_WPARAM(wParam) & MK_CONTROL) == 0) return false;
        setZoom(zoom_ + (GET_WHEEL_DELTA_WPARAM(wParam) > 0 ? kZoomStep : -kZoomStep));
        return true;
    case WM_SETCURSOR: {
        if (LOWORD(lParam) != HTCLIENT) return false;
        POINT p;
        GetCursorPos(&p);
        ScreenToClient(window_, &p);
        if (drag_ != Drag::FillHandle && (drag_ != Drag::None || !fillHandleAt(p.x, p.y))) return false;
        SetCursor(LoadCursorW(nullptr, IDC_CROSS));
        return true;
    }
    case WM_LBUTTONDOWN:
        if (!fillHandleAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))) return false;
        commitEdit();
        SetFocus(editor_);
        drag_ = Drag::FillHandle;
        fillTarget_ = sheet().selection().areas().front();
        SetCapture(window_);
        return true;
    case WM_MOUSEMOVE: {
        if (drag_ != Drag::FillHandle) return false;
        const int x = std::max<int>(GET_X_LPARAM(lParam), headerWidth_);
        const int y = std::max<int>(GET_Y_LPARAM(lParam), headerHeight_);
        const int32_t row = rowAt(y), column = columnAt(x);
        const CellRect target = fillHandleTarget(sheet().selection().areas().front(), row, column);
        if (!(target == fillTarget_)) {
            fillTarget_ = target;
            ensureVisible(row, column);
            InvalidateRect(window_, nullptr, FALSE);
        }
        return true;
    }
    case WM_LBUTTONUP:
        if (drag_ == Drag::ColumnWidth) {
            // The drag changed the width as it went; the whole drag becomes one undo step.
            const int32_t width = sheet().columnWidth(resizeColumn_);
            if (width != resizeStartWidth_) {
                sheet().setColumnWidth(resizeColumn_, resizeStartWidth_);
                guarded([&] { setColumnWidths(sheet(), resizeColumn_, resizeColumn_, width); });
            }
            return false;   // the grid ends the drag
        }
        if (drag_ != Drag::FillHandle) return false;
        ReleaseCapture();
        drag_ = Drag::None;
        if (const CellRect source = sheet().selection().areas().front(); !(fillTarget_ == source)) {
            // Ctrl at the release decides, as in Excel, where it can be pressed during the drag.
            guarded([&] { fillSeries(sheet(), source, fillTarget_, (wParam & MK_CONTROL) != 0); });
            const SheetSelection& s = sheet().selection();
            sheet().selection().selectRange(fillTarget_, s.focusedRow(), s.focusedColumn());
        }
        refresh();
        return true;
    case WM_LBUTTONDBLCLK: {
        const int border = columnBorderAt(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
        if (border < 0) return false;
        autoFit(border);
        return true;
    }
    }
    return false;
}

void GridControl::paintEditingMarks(HDC dc) {
    if (zoom_ != 100) {
        // The zoom in the corner above the row numbers, where Excel's select-all button is.
        const std::wstring text = std::to_wstring(zoom_) + L"%";
        RECT corner{0, 0, headerWidth_ - 1, headerHeight_ - 1};
        SelectObject(dc, headerFont_);
        SetTextColor(dc, kMarkColor);
        DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &corner, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    }
    const ClipTo cells(dc, {headerWidth_, headerHeight_, clientWidth(), clientHeight()});
    if (cut_.sheet == &sheet() && cut_.contentVersion == book_.contentVersion()) dashedFrame(dc, areaRect(cut_.area), kDashColor);
    if (drag_ == Drag::FillHandle) dashedFrame(dc, areaRect(fillTarget_), kDashColor);
    const SheetSelection& s = sheet().selection();
    if (s.areas().size() == 1) {
        const CellRect area = s.areas().front();
        if (area.bottom < kMaxRow && area.right < kMaxColumn && area.bottom >= topRow_ && area.right >= leftColumn_) {
            const RECT r = areaRect(area);
            const int half = std::max(2, scaled(3));
            RECT square{r.right - 1 - half, r.bottom - 1 - half, r.right + half, r.bottom + half};
            FillRect(dc, &square, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
            InflateRect(&square, -1, -1);
            HBRUSH mark = CreateSolidBrush(kMarkColor);
            FillRect(dc, &square, mark);
            DeleteObject(mark);
        }
    }
}

}  // namespace kes
