#include "ui/grid_control_win32.h"

#include <imm.h>
#include <windowsx.h>

#include <algorithm>
#include <string>

#include "sheet/clipboard_text.h"
#include "sheet/navigation.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

const wchar_t kGridClass[] = L"KesSpreadGrid";
const wchar_t kFindClass[] = L"KesGridFind";
constexpr COLORREF kGridLine = RGB(0xD4, 0xD4, 0xD4);
constexpr COLORREF kHeaderFill = RGB(0xF3, 0xF3, 0xF3);
constexpr COLORREF kHeaderSelected = RGB(0xD2, 0xE4, 0xD9);
constexpr COLORREF kSelectionFill = RGB(0xDC, 0xEA, 0xF7);
constexpr COLORREF kFocusFrame = RGB(0x21, 0x73, 0x46);
constexpr int kFindEdit = 101, kFindCase = 102, kFindNext = 103, kFindClose = 104;

std::wstring columnName(int32_t column) {
    std::wstring name;
    for (int32_t c = column + 1; c > 0; c = (c - 1) / 26) name.insert(name.begin(), wchar_t(L'A' + (c - 1) % 26));
    return name;
}

bool keyDown(int key) { return (GetKeyState(key) & 0x8000) != 0; }

std::u16string windowText(HWND window) {
    const int length = GetWindowTextLengthW(window);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<size_t>(length));
    return fromWide(text.c_str());
}

}  // namespace

GridControl::GridControl(HWND parent, Workbook& book, CellWriter writer, ErrorHandler onError)
    : book_(book), writer_(std::move(writer)), onError_(std::move(onError)) {
    registerWindowClass(kGridClass, CS_DBLCLKS, nullptr);
    registerWindowClass(kFindClass, 0, GetSysColorBrush(COLOR_BTNFACE));
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
}

SheetTable& GridControl::sheet() { return *book_.activeSheet(); }

void GridControl::setFont(const wchar_t* face, int pixelHeight) {
    if (font_) DeleteObject(font_);
    if (headerFont_) DeleteObject(headerFont_);
    font_ = CreateFontW(-scaled(pixelHeight), 0, 0, 0, FW_NORMAL, 0, 0, 0, GB2312_CHARSET, 0, 0, CLEARTYPE_QUALITY, 0, face);
    headerFont_ = CreateFontW(-scaled(12), 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, CLEARTYPE_QUALITY, 0,
                              L"Segoe UI");
    SendMessageW(editor_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    rowHeight_ = scaled(20);
    headerHeight_ = scaled(20);
    headerWidth_ = scaled(52);
    refresh();
}

void GridControl::setBounds(const RECT& r) {
    MoveWindow(window_, r.left, r.top, r.right - r.left, r.bottom - r.top, TRUE);
}

void GridControl::focus() {
    placeEditor();
    SetFocus(editor_);
}

void GridControl::refresh() {
    topRow_ = std::clamp(topRow_, 0, kMaxRow);
    leftColumn_ = std::clamp(leftColumn_, 0, kMaxColumn);
    updateScrollBars();
    placeEditor();
    InvalidateRect(window_, nullptr, FALSE);
}

// --- geometry --------------------------------------------------------------------------------

int GridControl::columnWidth(int32_t column) { return scaled(sheet().columnWidth(column)); }

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

int GridControl::visibleRows() const { return std::max(1, (clientHeight() - headerHeight_) / rowHeight_); }

RECT GridControl::cellRect(int32_t row, int32_t column) {
    RECT r{headerWidth_, headerHeight_ + (row - topRow_) * rowHeight_, 0, 0};
    if (column >= leftColumn_) {
        for (int32_t c = leftColumn_; c < column && r.left < clientWidth(); ++c) r.left += columnWidth(c);
    } else {
        for (int32_t c = column; c < leftColumn_; ++c) r.left -= columnWidth(c);
    }
    r.right = r.left + columnWidth(column);
    r.bottom = r.top + rowHeight_;
    return r;
}

RECT GridControl::areaRect(const CellRect& area) {
    const RECT first = cellRect(area.top, area.left);
    return {first.left, first.top, cellRect(area.top, area.right).right,
            headerHeight_ + (area.bottom + 1 - topRow_) * rowHeight_};
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
    return std::clamp(topRow_ + std::max(0, y - headerHeight_) / rowHeight_, 0, kMaxRow);
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

// --- painting --------------------------------------------------------------------------------

void GridControl::paint(HDC target) {
    const int width = clientWidth(), height = clientHeight();
    HDC dc = CreateCompatibleDC(target);
    HBITMAP bitmap = CreateCompatibleBitmap(target, std::max(width, 1), std::max(height, 1));
    HGDIOBJ oldBitmap = SelectObject(dc, bitmap);
    RECT all{0, 0, width, height};
    FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    SetBkMode(dc, TRANSPARENT);

    const int32_t lastRow = std::min<int32_t>(kMaxRow, topRow_ + visibleRows());
    int32_t lastColumn = leftColumn_;
    for (int x = headerWidth_ + columnWidth(lastColumn); x < width && lastColumn < kMaxColumn; x += columnWidth(lastColumn))
        ++lastColumn;

    paintSelection(dc);
    paintCells(dc, lastRow, lastColumn);
    paintHeaders(dc, lastRow, lastColumn);

    BitBlt(target, 0, 0, width, height, dc, 0, 0, SRCCOPY);
    SelectObject(dc, oldBitmap);
    DeleteObject(bitmap);
    DeleteDC(dc);
}

void GridControl::paintSelection(HDC dc) {
    const SheetSelection& selection = sheet().selection();
    HBRUSH fill = CreateSolidBrush(kSelectionFill);
    for (const CellRect& area : selection.areas()) {
        if (area.left == area.right && area.top == area.bottom && selection.areas().size() == 1) break;
        RECT from = cellRect(std::max(area.top, topRow_), std::max(area.left, leftColumn_));
        RECT to = cellRect(std::min(area.bottom, topRow_ + visibleRows()), area.right);
        if (area.bottom < topRow_ || area.right < leftColumn_) continue;
        RECT r{from.left, from.top, std::min<LONG>(to.right, clientWidth()), to.bottom};
        FillRect(dc, &r, fill);
    }
    DeleteObject(fill);
}

void GridControl::paintCells(HDC dc, int32_t lastRow, int32_t lastColumn) {
    const int width = clientWidth(), height = clientHeight();
    HPEN pen = CreatePen(PS_SOLID, 1, kGridLine);
    HGDIOBJ oldPen = SelectObject(dc, pen);
    for (int y = headerHeight_ + rowHeight_ - 1; y < height; y += rowHeight_) {
        MoveToEx(dc, headerWidth_, y, nullptr);
        LineTo(dc, width, y);
    }
    for (int32_t c = leftColumn_, x = headerWidth_; c <= lastColumn; ++c) {
        x += columnWidth(c);
        MoveToEx(dc, x - 1, headerHeight_, nullptr);
        LineTo(dc, x - 1, height);
    }
    SelectObject(dc, oldPen);
    DeleteObject(pen);

    SheetTable& table = sheet();
    // Merged areas on screen: most sheets have none and pay nothing for them.
    std::vector<CellRect> merged;
    if (!table.mergedAreas().empty()) {
        for (const CellRect& area : table.mergedAreas()) {
            if (area.bottom >= topRow_ && area.top <= lastRow && area.right >= leftColumn_ &&
                area.left <= lastColumn)
                merged.push_back(area);
        }
    }

    HGDIOBJ oldFont = SelectObject(dc, font_);
    SetTextColor(dc, RGB(0, 0, 0));
    std::vector<const CellRect*> rowMerged;   // the areas on screen that hold the row
    for (SheetRow* row = table.rows().lowerBound(topRow_); row && row->index <= lastRow; row = row->next) {
        if (!merged.empty()) {
            rowMerged.clear();
            for (const CellRect& area : merged) {
                if (row->index >= area.top && row->index <= area.bottom) rowMerged.push_back(&area);
            }
        }
        const auto inMerged = [&rowMerged](int32_t column) {
            for (const CellRect* area : rowMerged) {
                if (column >= area->left && column <= area->right) return true;
            }
            return false;
        };
        for (SheetCell* cell = row->cells.lowerBound(leftColumn_); cell && cell->index <= lastColumn; cell = cell->next) {
            // A merged area's cells show nothing of their own: its top left cell's text is drawn below.
            if (!rowMerged.empty() && inMerged(cell->index)) continue;
            const CellRef ref(&table, row, cell);
            std::u16string text = ref.displayText();
            if (text.empty()) continue;
            // One line per cell: line breaks and tabs inside a text show as spaces.
            std::replace_if(text.begin(), text.end(), [](char16_t c) { return c == u'\n' || c == u'\r' || c == u'\t'; }, u' ');
            RECT r = cellRect(row->index, cell->index);
            InflateRect(&r, -scaled(3), 0);
            const CellDataType type = ref.formulaResult().type;
            SIZE extent{};
            GetTextExtentPoint32W(dc, wide(text), static_cast<int>(text.size()), &extent);
            if (!isNumericType(type) && type != cdtBoolean && type != cdtError && extent.cx > r.right - r.left) {
                // Text runs on over empty neighbours to its right, as in Excel, up to a merged area.
                for (SheetCell* next = cell->next; r.right - r.left < extent.cx && r.right < width;) {
                    const int32_t column = columnAt(r.right + scaled(4));
                    if (next && next->index == column && CellRef(&table, row, next).formulaResult().type != cdtBlank) break;
                    if (!rowMerged.empty() && inMerged(column)) break;
                    r.right += columnWidth(column);
                    if (next && next->index <= column) next = next->next;
                }
            }
            drawCellText(dc, text, type, extent, r);
        }
    }
    if (!merged.empty()) paintMergedAreas(dc, merged);
    SelectObject(dc, oldFont);

    const SheetSelection& selection = table.selection();
    RECT focus = cellRect(selection.focusedRow(), selection.focusedColumn());
    if (!merged.empty()) {
        // The focus on a merged cell frames the whole area, as one cell.
        if (const CellRect* area = table.mergedAreaAt(selection.focusedRow(), selection.focusedColumn()))
            focus = areaRect(*area);
    }
    if (selection.focusedRow() >= topRow_ && selection.focusedColumn() >= leftColumn_) {
        HBRUSH frame = CreateSolidBrush(kFocusFrame);
        for (int i = 0; i < 2; ++i) {
            RECT f{focus.left - 1 + i, focus.top - 1 + i, focus.right - i, focus.bottom - i};
            FrameRect(dc, &f, frame);
        }
        DeleteObject(frame);
    }
}

// Each area as one cell: its background filled once over the grid lines inside it (its own
// border lines stay), then its top left cell's text across the whole area, clipped to it. The
// text keeps its place in the whole area when part of the area is scrolled off.
void GridControl::paintMergedAreas(HDC dc, const std::vector<CellRect>& areas) {
    const SheetSelection& selection = sheet().selection();
    const std::vector<CellRect>& chosen = selection.areas();
    // As paintSelection: a selection of one cell is shown by the focus frame alone.
    const bool singleCell =
        chosen.size() == 1 && chosen[0].left == chosen[0].right && chosen[0].top == chosen[0].bottom;
    HBRUSH selectedFill = CreateSolidBrush(kSelectionFill);
    const int saved = SaveDC(dc);
    IntersectClipRect(dc, headerWidth_, headerHeight_, clientWidth(), clientHeight());
    for (const CellRect& area : areas) {
        const RECT whole = areaRect(area);
        bool selected = false;
        for (const CellRect& s : chosen) {
            selected = selected || (!singleCell && s.left <= area.right && area.left <= s.right &&
                                    s.top <= area.bottom && area.top <= s.bottom);
        }
        const RECT inside{whole.left, whole.top, whole.right - 1, whole.bottom - 1};
        FillRect(dc, &inside, selected ? selectedFill : static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));

        const CellRef ref = sheet().getCell(area.top, area.left);
        if (!ref) continue;
        std::u16string text = ref.displayText();
        if (text.empty()) continue;
        std::replace_if(
            text.begin(), text.end(), [](char16_t c) { return c == u'\n' || c == u'\r' || c == u'\t'; }, u' ');
        SIZE extent{};
        GetTextExtentPoint32W(dc, wide(text), static_cast<int>(text.size()), &extent);
        RECT r = inside;
        InflateRect(&r, -scaled(3), 0);
        drawCellText(dc, text, ref.formulaResult().type, extent, r);
    }
    RestoreDC(dc, saved);
    DeleteObject(selectedFill);
}

// A cell's text in `r`: numbers to the right, truth values and errors centred, text to the left.
void GridControl::drawCellText(HDC dc, const std::u16string& text, CellDataType type, SIZE extent, RECT r) {
    UINT align = DT_LEFT;
    if (isNumericType(type)) {
        align = DT_RIGHT;
        // A number never shows cut: like Excel, a column too narrow for it shows #s.
        if (extent.cx > r.right - r.left) {
            std::wstring hashes(static_cast<size_t>(std::max<LONG>(1, (r.right - r.left) / std::max(1, scaled(7)))), L'#');
            DrawTextW(dc, hashes.c_str(), static_cast<int>(hashes.size()), &r, DT_RIGHT | DT_VCENTER | DT_SINGLELINE);
            return;
        }
    } else if (type == cdtBoolean || type == cdtError) {
        align = DT_CENTER;
    }
    DrawTextW(dc, wide(text), static_cast<int>(text.size()), &r,
              align | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
}

void GridControl::paintHeaders(HDC dc, int32_t lastRow, int32_t lastColumn) {
    const CellRect area = sheet().selection().area();
    HBRUSH fill = CreateSolidBrush(kHeaderFill);
    HBRUSH selected = CreateSolidBrush(kHeaderSelected);
    HPEN pen = CreatePen(PS_SOLID, 1, RGB(0xC0, 0xC0, 0xC0));
    HGDIOBJ oldPen = SelectObject(dc, pen);
    HGDIOBJ oldFont = SelectObject(dc, headerFont_);
    SetTextColor(dc, RGB(0x44, 0x44, 0x44));

    RECT top{0, 0, clientWidth(), headerHeight_};
    FillRect(dc, &top, fill);
    for (int32_t c = leftColumn_, x = headerWidth_; c <= lastColumn; ++c) {
        RECT r{x, 0, x + columnWidth(c), headerHeight_};
        if (c >= area.left && c <= area.right) FillRect(dc, &r, selected);
        const std::wstring name = columnName(c);
        DrawTextW(dc, name.c_str(), static_cast<int>(name.size()), &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        MoveToEx(dc, r.right - 1, 0, nullptr);
        LineTo(dc, r.right - 1, headerHeight_);
        x = r.right;
    }
    RECT left{0, headerHeight_, headerWidth_, clientHeight()};
    FillRect(dc, &left, fill);
    for (int32_t row = topRow_; row <= lastRow; ++row) {
        RECT r{0, headerHeight_ + (row - topRow_) * rowHeight_, headerWidth_, 0};
        r.bottom = r.top + rowHeight_;
        if (row >= area.top && row <= area.bottom) FillRect(dc, &r, selected);
        const std::wstring number = std::to_wstring(row + 1);
        DrawTextW(dc, number.c_str(), static_cast<int>(number.size()), &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        MoveToEx(dc, 0, r.bottom - 1, nullptr);
        LineTo(dc, headerWidth_, r.bottom - 1);
    }
    MoveToEx(dc, 0, headerHeight_ - 1, nullptr);
    LineTo(dc, clientWidth(), headerHeight_ - 1);
    MoveToEx(dc, headerWidth_ - 1, 0, nullptr);
    LineTo(dc, headerWidth_ - 1, clientHeight());

    SelectObject(dc, oldFont);
    SelectObject(dc, oldPen);
    DeleteObject(pen);
    DeleteObject(selected);
    DeleteObject(fill);
}

// --- scrolling and moving --------------------------------------------------------------------

void GridControl::updateScrollBars() {
    SCROLLINFO vertical{sizeof vertical, SIF_RANGE | SIF_PAGE | SIF_POS, 0, kMaxRow, UINT(visibleRows()), topRow_, 0};
    SetScrollInfo(window_, SB_VERT, &vertical, TRUE);
    SCROLLINFO horizontal{sizeof horizontal, SIF_RANGE | SIF_PAGE | SIF_POS, 0, kMaxColumn, 1, leftColumn_, 0};
    SetScrollInfo(window_, SB_HORZ, &horizontal, TRUE);
}

void GridControl::scrollTo(int32_t topRow, int32_t leftColumn) {
    topRow = std::clamp(topRow, 0, kMaxRow);
    leftColumn = std::clamp(leftColumn, 0, kMaxColumn);
    if (topRow == topRow_ && leftColumn == leftColumn_) return;
    topRow_ = topRow;
    leftColumn_ = leftColumn;
    refresh();
}

void GridControl::ensureVisible(int32_t row, int32_t column) {
    int32_t top = topRow_, left = leftColumn_;
    if (row < top) top = row;
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
    case VK_PRIOR: moveFocus(at.row - visibleRows(), at.column, shift); return true;
    case VK_NEXT: moveFocus(at.row + visibleRows(), at.column, shift); return true;
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

// --- editing ---------------------------------------------------------------------------------

std::u16string GridControl::editText(int32_t row, int32_t column) {
    const CellRef cell = sheet().getCell(row, column);
    if (!cell) return {};
    if (cell.dataType() == cdtFormula) return cell.formulaText();
    if (cell.dataType() == cdtString) return cell.asString();
    return cell.displayText();
}

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
    refresh();
}

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

void GridControl::cancelEdit() {
    editState_ = EditState::Idle;
    SetWindowTextW(editor_, L"");
    placeEditor();
    InvalidateRect(window_, nullptr, FALSE);
}

template <class Action>
void GridControl::guarded(Action&& action) {
    try {
        action();
    } catch (const std::exception& e) {
        onError_(e);
    }
}

// One user command is one undo step, also when it fails half-way.
template <class Action>
void GridControl::undoable(Action&& action) {
    guarded([&] {
        book_.history().beginAction();
        try {
            action();
        } catch (...) {
            book_.history().endAction();
            throw;
        }
        book_.history().endAction();
    });
}

// --- commands --------------------------------------------------------------------------------

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

// --- find ------------------------------------------------------------------------------------

void GridControl::openFind() {
    if (findWindow_) {
        SetFocus(findEdit_);
        return;
    }
    HWND top = GetAncestor(window_, GA_ROOT);
    RECT r;
    GetWindowRect(window_, &r);
    findWindow_ = CreateWindowExW(WS_EX_TOOLWINDOW, kFindClass, L"\u67E5\u627E", WS_POPUP | WS_CAPTION | WS_SYSMENU,
                                  r.left + scaled(80), r.top + scaled(60), scaled(360), scaled(120), top, nullptr,
                                  moduleInstance(), nullptr);   // 查找
    SetWindowLongPtrW(findWindow_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(findWindow_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&GridControl::findProc));
    HFONT uiFont = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    const auto child = [&](const wchar_t* cls, const wchar_t* text, DWORD style, int x, int y, int w, int h, int id) {
        HWND c = CreateWindowExW(0, cls, text, WS_CHILD | WS_VISIBLE | style, scaled(x), scaled(y), scaled(w), scaled(h),
                                 findWindow_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
        SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(uiFont), FALSE);
        return c;
    };
    child(L"STATIC", L"\u67E5\u627E\u5185\u5BB9:", 0, 10, 14, 70, 20, 0);   // 查找内容:
    findEdit_ = child(L"EDIT", L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 80, 10, 170, 22, kFindEdit);
    findCase_ = child(L"BUTTON", L"\u533A\u5206\u5927\u5C0F\u5199", WS_TABSTOP | BS_AUTOCHECKBOX, 80, 42, 170, 20, kFindCase);  // 区分大小写
    child(L"BUTTON", L"\u67E5\u627E\u4E0B\u4E00\u4E2A", WS_TABSTOP | BS_DEFPUSHBUTTON, 260, 9, 84, 24, kFindNext);  // 查找下一个
    child(L"BUTTON", L"\u5173\u95ED", WS_TABSTOP, 260, 40, 84, 24, kFindClose);   // 关闭
    ShowWindow(findWindow_, SW_SHOW);
    SetFocus(findEdit_);
}

void GridControl::findNext() {
    const std::u16string text = windowText(findEdit_);
    const bool matchCase = SendMessageW(findCase_, BM_GETCHECK, 0, 0) == BST_CHECKED;
    const SheetSelection& s = sheet().selection();
    if (auto found = findText(sheet(), text, matchCase, {s.focusedRow(), s.focusedColumn()})) {
        moveFocus(found->row, found->column, false);
    } else {
        MessageBoxW(findWindow_, L"\u627E\u4E0D\u5230\u6B63\u5728\u641C\u7D22\u7684\u6570\u636E\u3002", L"\u67E5\u627E",
                    MB_OK | MB_ICONINFORMATION);   // 找不到正在搜索的数据。
    }
}

LRESULT CALLBACK GridControl::findProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_COMMAND:
        if (LOWORD(wParam) == kFindNext || LOWORD(wParam) == IDOK) self->findNext();
        else if (LOWORD(wParam) == kFindClose || LOWORD(wParam) == IDCANCEL) DestroyWindow(window);
        return 0;
    case WM_CLOSE: DestroyWindow(window); return 0;
    case WM_DESTROY:
        self->findWindow_ = nullptr;
        self->focus();
        return 0;
    default: return DefWindowProcW(window, message, wParam, lParam);
    }
}

// --- window procedures -----------------------------------------------------------------------

LRESULT CALLBACK GridControl::gridProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->handleGrid(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK GridControl::editorProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self->handleEditor(message, wParam, lParam);
}

LRESULT GridControl::handleGrid(UINT message, WPARAM wParam, LPARAM lParam) {
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
        case SB_TOP: top = 0; break;
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
            const int pixels = resizeStartWidth_ + MulDiv(GET_X_LPARAM(lParam) - resizeStartX_, 96, dpi_);
            sheet().setColumnWidth(resizeColumn_, std::max(4, pixels));
            refresh();
        } else if (drag_ == Drag::Cells) {
            const int x = std::max<int>(GET_X_LPARAM(lParam), headerWidth_);
            const int y = std::max<int>(GET_Y_LPARAM(lParam), headerHeight_);
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
        if (x >= headerWidth_ && y >= headerHeight_) {
            moveFocus(rowAt(y), columnAt(x), false);
            const SheetSelection& s = sheet().selection();
            startEditing(EditState::Editing, editText(s.focusedRow(), s.focusedColumn()));
        }
        return 0;
    }
    }
    return DefWindowProcW(window_, message, wParam, lParam);
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
            if (control) {
                switch (wParam) {
                case 'C': copySelection(); return 0;
                case 'V': pasteClipboard(); return 0;
                case 'Z': undo(false); return 0;
                case 'Y': undo(true); return 0;
                case 'F': openFind(); return 0;
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
            if (wParam < 0x20) return 0;
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
