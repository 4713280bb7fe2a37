// The bar under the cells: the workbook's sheet tabs, as Excel draws them (the active one white
// with a green underline and green text), and on the right the number of rows that "print page"
// would send, beside a swatch of the colour that marks those rows in the row headers.
#include "ui/grid_control_win32.h"

#include <algorithm>
#include <string>

#include "ui/grid_colours_win32.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

// "将打印 N 行": N rows will print.
std::wstring pageCountText(int32_t rows) { return L"\u5C06\u6253\u5370 " + std::to_wstring(rows) + L" \u884C"; }

SIZE textExtent(HDC dc, const std::wstring& text) {
    SIZE extent{};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &extent);
    return extent;
}

}  // namespace

void GridControl::setPageEnd(PageEnd pageEnd) {
    pageEnd_ = std::move(pageEnd);
    refresh();
}

void GridControl::showSheet(int32_t index) {
    if (index < 0 || index >= book_.sheetCount()) return;
    commitEdit();
    if (index != book_.activeSheetIndex()) {
        book_.setActiveSheetIndex(index);
        topRow_ = kFrozenRows;
        leftColumn_ = 0;
        const SheetSelection& s = sheet().selection();
        ensureVisible(s.focusedRow(), s.focusedColumn());
    }
    refresh();
}

void GridControl::pageRowsChanged(int32_t fromRow) {
    if (fromRow > pageEndRow_) return;   // below the row where the page stops: never looked at
    pageScanFrom_ = std::clamp(std::min(pageScanFrom_, fromRow), 1, pageEndRow_);
    pageEndStale_ = true;
}

int32_t GridControl::pageEndRow() {
    if (!pageEnd_) return 1;
    if (pageEndStale_) {
        pageEndRow_ = std::max(1, pageEnd_(pageScanFrom_));
        pageScanFrom_ = pageEndRow_;
        pageEndStale_ = false;
        // The count is the grid window's text too, for screen readers and tests.
        SetWindowTextW(window_, pageCountText(pageEndRow_ - 1).c_str());
    }
    return pageEndRow_;
}

int32_t GridControl::tabAt(int x, int y) const {
    const POINT p{x, y};
    for (const Tab& tab : tabs_) {
        if (PtInRect(&tab.bounds, p)) return tab.sheet;
    }
    return -1;
}

void GridControl::paintTabBar(HDC dc) {
    const int top = cellsBottom(), width = clientWidth(), bottom = clientHeight();
    RECT bar{0, top, width, bottom};
    HBRUSH fill = CreateSolidBrush(kHeaderFill);
    FillRect(dc, &bar, fill);
    DeleteObject(fill);
    HPEN line = CreatePen(PS_SOLID, 1, kHeaderLine);
    HPEN accent = CreatePen(PS_SOLID, scaled(2), kAccent);
    HGDIOBJ oldPen = SelectObject(dc, line);
    MoveToEx(dc, 0, top, nullptr);
    LineTo(dc, width, top);
    SelectObject(dc, font_);   // paint() gives the DC its own font back at the end

    // The count, right-aligned, with its swatch; the tabs take the room left of it.
    int tabsRight = width;
    if (pageEnd_) {
        const std::wstring count = pageCountText(pageEndRow() - 1);
        const SIZE extent = textExtent(dc, count);
        RECT text{width - scaled(10) - extent.cx, top, width - scaled(10), bottom};
        SetTextColor(dc, kHeaderText);
        DrawTextW(dc, count.c_str(), static_cast<int>(count.size()), &text, DT_RIGHT | DT_VCENTER | DT_SINGLELINE);
        const int side = scaled(8);
        RECT swatch{text.left - scaled(6) - side, (top + bottom - side) / 2, text.left - scaled(6), (top + bottom + side) / 2};
        HBRUSH mark = CreateSolidBrush(kPrintMark);
        FillRect(dc, &swatch, mark);
        DeleteObject(mark);
        tabsRight = swatch.left - scaled(16);
    }

    // Tabs from firstTab_ on; the first moves so that the active tab is always shown whole.
    const int32_t count = book_.sheetCount(), active = book_.activeSheetIndex();
    const int start = scaled(8), padding = scaled(12);
    const auto tabWidth = [&](int32_t index) {
        return textExtent(dc, reinterpret_cast<const wchar_t*>(book_.sheet(index).name().c_str())).cx + 2 * padding;
    };
    firstTab_ = std::clamp(firstTab_, 0, std::max(0, count - 1));
    if (active < firstTab_) firstTab_ = active;
    for (;;) {
        int right = start;
        for (int32_t i = firstTab_; i <= active; ++i) right += tabWidth(i);
        if (right <= tabsRight || firstTab_ >= active) break;
        ++firstTab_;
    }
    tabs_.clear();
    {
        const ClipTo tabsOnly(dc, {0, top, tabsRight, bottom});
        for (int32_t i = firstTab_, x = start; i < count && x < tabsRight; ++i) {
            const std::wstring name = reinterpret_cast<const wchar_t*>(book_.sheet(i).name().c_str());
            RECT r{x, top + 1, x + tabWidth(i), bottom};
            if (i == active) {
                FillRect(dc, &r, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
                SelectObject(dc, accent);
                MoveToEx(dc, r.left + padding / 2, r.bottom - scaled(3), nullptr);
                LineTo(dc, r.right - padding / 2, r.bottom - scaled(3));
                SetTextColor(dc, kAccent);
            } else {
                SetTextColor(dc, kHeaderText);
            }
            SelectObject(dc, line);
            MoveToEx(dc, r.right, top + scaled(4), nullptr);
            LineTo(dc, r.right, bottom - scaled(4));
            RECT text = r;
            DrawTextW(dc, name.c_str(), static_cast<int>(name.size()), &text, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
            tabs_.push_back({i, r});
            x = r.right + 1;
        }
    }

    SelectObject(dc, oldPen);
    DeleteObject(accent);
    DeleteObject(line);
}

}  // namespace kes
