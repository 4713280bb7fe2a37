#include "ui/grid_control_win32.h"

#include <windowsx.h>

#include <algorithm>
#include <string>

#include "sheet/navigation.h"
#include "sheet/sheet_bounds.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

const wchar_t kGridClass[] = L"KesSpreadGrid";

}  // namespace

GridControl::GridControl(HWND parent, Workbook& book, CellWriter writer, ErrorHandler onError)
    : book_(book), writer_(std::move(writer)), onError_(std::move(onError)) {
    registerWindowClass(kGridClass, CS_DBLCLKS, nullptr);
    window_ = CreateWindowExW(0, kGridClass, L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_HSCROLL | WS_CLIPCHILDREN, 0, 0,
                              100, 100, parent, nullptr, moduleInstance(), nullptr);
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&GridControl::gridProc));
    HDC dc = GetDC(window_);
    dpi_ = GetDeviceCaps(dc, LOGPIXELSY);
    ReleaseDC(window_, dc);
    editor_ = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_AUTOVSCROLL, 0, 0, 0, 0,
                              window_, nullptr, moduleInstance(), nullptr);
    SetWindowLongPtrW(editor_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    editorDefault_ = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(editor_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&GridControl::editorProc)));
    setFont(L"\u5B8B\u4F53", 14);   // 宋体
}

GridControl::~GridControl() {
    if (findWindow_) DestroyWindow(findWindow_);
    if (window_) DestroyWindow(window_);
    if (font_) DeleteObject(font_);
    if (headerFont_) DeleteObject(headerFont_);
    back_.release();
}

SheetTable& GridControl::sheet() { return *book_.activeSheet(); }

void GridControl::setFont(const wchar_t* face, int pixelHeight) {
    fontFace_ = face;
    fontPixels_ = pixelHeight;
    if (font_) DeleteObject(font_);
    if (headerFont_) DeleteObject(headerFont_);
    const BYTE quality = textQuality();
    font_ = CreateFontW(-scaled(pixelHeight), 0, 0, 0, FW_NORMAL, 0, 0, 0, GB2312_CHARSET, 0, 0, quality, 0, face);
    headerFont_ = CreateFontW(-scaled(12), 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, quality, 0,
                              L"Segoe UI");
    SendMessageW(editor_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    looks_.setGridFont(face, pixelHeight, zoomedDpi(), quality);
    rowHeight_ = scaled(20);
    headerHeight_ = scaled(20);
    headerWidth_ = scaled(52);
    tabBarHeight_ = scaled(24);
    refresh();
}

void GridControl::remakeFonts() {
    const std::wstring face = fontFace_;
    setFont(face.c_str(), fontPixels_);
}

void GridControl::setBounds(const RECT& r) {
    MoveWindow(window_, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
}

void GridControl::focus() {
    placeEditor();
    SetFocus(editor_);
}

void GridControl::refresh() {
    pageRowsChanged(1);
    redraw();
}

void GridControl::redraw() {
    topRow_ = std::clamp(topRow_, kFrozenRows, kMaxRow);
    leftColumn_ = std::clamp(leftColumn_, 0, kMaxColumn);
    updateScrollBars();
    placeEditor();
    InvalidateRect(window_, nullptr, FALSE);
}

// --- geometry --------------------------------------------------------------------------------

int GridControl::columnWidth(int32_t column) { return sheet().columnHidden(column) ? 0 : scaled(sheet().columnWidth(column)); }

int GridControl::clientWidth() const {
    RECT r;
    GetClientRect(window_, &r);
    return r.right;
}

int GridControl::clientHeight() const {
    RECT r;
    GetClientRect(window_, &r);
    return r.bottom;
}

// Rows have the sheet's heights; hidden rows and columns take no room.
int GridControl::rowHeight(int32_t row) const {
    SheetTable& table = *book_.activeSheet();
    return table.rowHidden(row) ? 0 : scaled(table.rowHeight(row));
}

// Where the rows that scroll begin: under the headers and the frozen rows.
int GridControl::scrollingTop() const {
    int y = headerHeight_;
    for (int32_t r = 0; r < kFrozenRows; ++r) y += rowHeight(r);
    return y;
}

// The rows from the top scrolling one that fit whole above the tabs.
int GridControl::visibleRows() const {
    int32_t rows = 0;
    for (int y = scrollingTop() + rowHeight(topRow_); y <= cellsBottom() && topRow_ + rows < kMaxRow; ++rows)
        y += rowHeight(topRow_ + rows + 1);
    return std::max(1, rows);
}

// The top of a row on screen; a row scrolled off above the frozen rows lies above the scrolling
// band, where it is clipped. Rows more than a screen away are taken at the default height, so
// that no answer walks over a million rows.
int GridControl::rowTop(int32_t row) const {
    if (row < kFrozenRows) {
        int y = headerHeight_;
        for (int32_t r = 0; r < row; ++r) y += rowHeight(r);
        return y;
    }
    int y = scrollingTop();
    const int reach = clientHeight() + headerHeight_;
    for (int32_t r = topRow_; r < row; ++r) {
        if (y > reach) return y + (row - r) * rowHeight_;
        y += rowHeight(r);
    }
    for (int32_t r = topRow_ - 1; r >= row; --r) {
        if (y < -reach) return y - (r - row + 1) * rowHeight_;
        y -= rowHeight(r);
    }
    return y;
}

RECT GridControl::cellRect(int32_t row, int32_t column) {
    RECT r{headerWidth_, rowTop(row), 0, 0};
    if (column >= leftColumn_) {
        for (int32_t c = leftColumn_; c < column && r.left < clientWidth(); ++c) r.left += columnWidth(c);
    } else {
        for (int32_t c = column; c < leftColumn_; ++c) r.left -= columnWidth(c);
    }
    r.right = r.left + columnWidth(column);
    r.bottom = r.top + rowHeight(row);
    return r;
}

RECT GridControl::areaRect(const CellRect& area) {
    const RECT first = cellRect(area.top, area.left);
    return {first.left, first.top, cellRect(area.top, area.right).right, rowTop(area.bottom) + rowHeight(area.bottom)};
}

int32_t GridControl::columnAt(int x) {
    int32_t c = leftColumn_;
    for (int left = headerWidth_; c < kMaxColumn; ++c) {
        left += columnWidth(c);
        if (x < left) break;
    }
    return c;
}

int32_t GridControl::rowAt(int y) {
    if (y < scrollingTop()) {
        int32_t row = 0;
        for (int bottom = headerHeight_ + rowHeight(row); bottom <= y && row < kFrozenRows - 1; bottom += rowHeight(row)) ++row;
        return row;
    }
    int32_t row = topRow_;
    for (int bottom = scrollingTop() + rowHeight(row); bottom <= y && row < kMaxRow; bottom += rowHeight(row)) ++row;
    return row;
}

int GridControl::columnBorderAt(int x, int y) {
    if (y >= headerHeight_ || x < headerWidth_) return -1;
    int right = headerWidth_;
    for (int32_t c = leftColumn_; c <= kMaxColumn && right < clientWidth() + scaled(4); ++c) {
        right += columnWidth(c);
        if (std::abs(x - right) <= scaled(3)) return c;
    }
    return -1;
}

// --- scrolling and moving --------------------------------------------------------------------

void GridControl::updateScrollBars() {
    SCROLLINFO vertical{sizeof vertical, SIF_RANGE | SIF_PAGE | SIF_POS, kFrozenRows, kMaxRow, UINT(visibleRows()), topRow_, 0};
    SetScrollInfo(window_, SB_VERT, &vertical, TRUE);
    SCROLLINFO horizontal{sizeof horizontal, SIF_RANGE | SIF_PAGE | SIF_POS, 0, kMaxColumn, 1, leftColumn_, 0};
    SetScrollInfo(window_, SB_HORZ, &horizontal, TRUE);
}

void GridControl::scrollTo(int32_t topRow, int32_t leftColumn) {
    topRow = std::clamp(topRow, kFrozenRows, kMaxRow);
    leftColumn = std::clamp(leftColumn, 0, kMaxColumn);
    if (topRow == topRow_ && leftColumn == leftColumn_) return;
    topRow_ = topRow;
    leftColumn_ = leftColumn;
    redraw();
}

void GridControl::ensureVisible(int32_t row, int32_t column) {
    int32_t top = topRow_, left = leftColumn_;
    if (row >= kFrozenRows && row < top) top = row;   // a frozen row is always in view
    else if (row >= top + visibleRows()) top = row - visibleRows() + 1;
    if (column < left) {
        left = column;
    } else {
        int right = cellRect(row, column).right;
        while (right > clientWidth() && left < column) right -= columnWidth(left++);
    }
    scrollTo(top, left);
}

void GridControl::moveFocus(int32_t row, int32_t column, bool extend) {
    sheet().selection().setFocused(row, column, extend);
    const SheetSelection& selection = sheet().selection();
    ensureVisible(selection.focusedRow(), selection.focusedColumn());
    placeEditor();
    InvalidateRect(window_, nullptr, FALSE);
}

void GridControl::afterChange() {
    pageRowsChanged(1);
    InvalidateRect(window_, nullptr, FALSE);
}

bool GridControl::handleNavigationKey(WPARAM key) {
    const bool shift = keyDown(VK_SHIFT), control = keyDown(VK_CONTROL);
    const SheetSelection& s = sheet().selection();
    const CellPosition at{s.focusedRow(), s.focusedColumn()};
    int32_t dr = 0, dc = 0;
    switch (key) {
    case VK_UP: dr = -1; break;
    case VK_DOWN: dr = 1; break;
    case VK_LEFT: dc = -1; break;
    case VK_RIGHT: dc = 1; break;
    case VK_PRIOR:
        if (control) showSheet(std::max(0, book_.activeSheetIndex() - 1));
        else moveFocus(at.row - visibleRows(), at.column, shift);
        return true;
    case VK_NEXT:
        if (control) showSheet(std::min(book_.sheetCount() - 1, book_.activeSheetIndex() + 1));
        else moveFocus(at.row + visibleRows(), at.column, shift);
        return true;
    case VK_HOME:
        if (control) moveFocus(0, 0, shift);
        else moveFocus(at.row, 0, shift);
        return true;
    case VK_END:
        if (!control) return false;
        {
            const CellPosition last = lastUsedCell(sheet());
            moveFocus(last.row, last.column, shift);
        }
        return true;
    case VK_RETURN: moveFocus(at.row + (shift ? -1 : 1), at.column, false); return true;
    case VK_TAB: moveFocus(at.row, at.column + (shift ? -1 : 1), false); return true;
    default: return false;
    }
    if (control) {
        const CellPosition to = dataEdge(sheet(), at, dr, dc);
        moveFocus(to.row, to.column, shift);
    } else {
        moveFocus(at.row + dr, at.column + dc, shift);
    }
    return true;
}

// --- window procedures -----------------------------------------------------------------------

LRESULT CALLBACK GridControl::gridProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->handleGrid(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT GridControl::handleGrid(UINT message, WPARAM wParam, LPARAM lParam) {
    if (handleEditingMouse(message, wParam, lParam)) return message == WM_SETCURSOR ? TRUE : 0;
    switch (message) {
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(window_, &ps);
        paint(dc);
        EndPaint(window_, &ps);
        return 0;
    }
    case WM_ERASEBKGND: return 1;
    case WM_SIZE: refresh(); return 0;
    case WM_SETFOCUS: SetFocus(editor_); return 0;
    case WM_VSCROLL: {
        SCROLLINFO info{sizeof info, SIF_ALL};
        GetScrollInfo(window_, SB_VERT, &info);
        int32_t top = topRow_;
        switch (LOWORD(wParam)) {
        case SB_LINEUP: --top; break;
        case SB_LINEDOWN: ++top; break;
        case SB_PAGEUP: top -= visibleRows(); break;
        case SB_PAGEDOWN: top += visibleRows(); break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION: top = info.nTrackPos; break;
        case SB_TOP: top = kFrozenRows; break;
        case SB_BOTTOM: top = kMaxRow; break;
        }
        scrollTo(top, leftColumn_);
        return 0;
    }
    case WM_HSCROLL: {
        SCROLLINFO info{sizeof info, SIF_ALL};
        GetScrollInfo(window_, SB_HORZ, &info);
        int32_t left = leftColumn_;
        switch (LOWORD(wParam)) {
        case SB_LINELEFT: --left; break;
        case SB_LINERIGHT: ++left; break;
        case SB_PAGELEFT: left -= 5; break;
        case SB_PAGERIGHT: left += 5; break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION: left = info.nTrackPos; break;
        }
        scrollTo(topRow_, left);
        return 0;
    }
    case WM_MOUSEWHEEL:
        scrollTo(topRow_ - GET_WHEEL_DELTA_WPARAM(wParam) / WHEEL_DELTA * 3, leftColumn_);
        return 0;
    case WM_SETCURSOR:
        if (LOWORD(lParam) == HTCLIENT) {
            POINT p;
            GetCursorPos(&p);
            ScreenToClient(window_, &p);
            if (drag_ == Drag::ColumnWidth || columnBorderAt(p.x, p.y) >= 0) {
                SetCursor(LoadCursorW(nullptr, IDC_SIZEWE));
                return TRUE;
            }
        }
        break;
    case WM_LBUTTONDOWN: {
        commitEdit();
        const int x = GET_X_LPARAM(lParam), y = GET_Y_LPARAM(lParam);
        SetFocus(editor_);
        if (y >= cellsBottom()) {
            if (const int32_t tab = tabAt(x, y); tab >= 0) showSheet(tab);
            return 0;
        }
        if (const int border = columnBorderAt(x, y); border >= 0) {
            drag_ = Drag::ColumnWidth;
            resizeColumn_ = border;
            resizeStartX_ = x;
            resizeStartWidth_ = sheet().columnWidth(border);
            SetCapture(window_);
            return 0;
        }
        SheetSelection& s = sheet().selection();
        if (y < headerHeight_ && x < headerWidth_) {
            s.selectRange({0, 0, kMaxColumn, kMaxRow}, topRow_, leftColumn_);
        } else if (y < headerHeight_) {
            const int32_t c = columnAt(x);
            s.selectRange({c, 0, c, kMaxRow}, topRow_, c);
        } else if (x < headerWidth_) {
            const int32_t r = rowAt(y);
            s.selectRange({0, r, kMaxColumn, r}, r, leftColumn_);
        } else {
            moveFocus(rowAt(y), columnAt(x), (wParam & MK_SHIFT) != 0);
            drag_ = Drag::Cells;
            SetCapture(window_);
        }
        placeEditor();
        InvalidateRect(window_, nullptr, FALSE);
        return 0;
    }
    case WM_MOUSEMOVE:
        if (drag_ == Drag::ColumnWidth) {
            const int pixels = resizeStartWidth_ + unscaled(GET_X_LPARAM(lParam) - resizeStartX_);
            sheet().setColumnWidth(resizeColumn_, std::max(4, pixels));
            refresh();
        } else if (drag_ == Drag::Cells) {
            const int x = std::max<int>(GET_X_LPARAM(lParam), headerWidth_);
            const int y = std::clamp<int>(GET_Y_LPARAM(lParam), headerHeight_, cellsBottom() - 1);
            const SheetSelection& s = sheet().selection();
            const int32_t row = rowAt(y), column = columnAt(x);
            if (row != s.focusedRow() || column != s.focusedColumn()) {
                // Extend without moving the anchor: the focus follows the mouse.
                sheet().selection().setFocused(row, column, true);
                ensureVisible(row, column);
                InvalidateRect(window_, nullptr, FALSE);
            }
        }
        return 0;
    case WM_LBUTTONUP:
        if (drag_ != Drag::None) ReleaseCapture();
        drag_ = Drag::None;
        return 0;
    case WM_LBUTTONDBLCLK: {
        const int x = GET_X_LPARAM(lParam), y = GET_Y_LPARAM(lParam);
        if (x >= headerWidth_ && y >= headerHeight_ && y < cellsBottom()) {
            moveFocus(rowAt(y), columnAt(x), false);
            const SheetSelection& s = sheet().selection();
            startEditing(EditState::Editing, editText(s.focusedRow(), s.focusedColumn()));
        }
        return 0;
    }
    }
    return DefWindowProcW(window_, message, wParam, lParam);
}

}  // namespace kes
