// The grid's painting: cells, merged areas, the selection, the focus frame and the headers,
// drawn off screen and copied in one go.
#include "ui/grid_control_win32.h"

#include <algorithm>
#include <string>

#include "sheet/sheet_bounds.h"
#include "ui/grid_colours_win32.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

constexpr COLORREF kGridLine = RGB(0xD4, 0xD4, 0xD4);
constexpr COLORREF kHeaderSelected = RGB(0xD2, 0xE4, 0xD9);
constexpr COLORREF kSelectionFill = RGB(0xDC, 0xEA, 0xF7);
constexpr COLORREF kFreezeLine = RGB(0x9B, 0x9B, 0x9B);

bool isSelected(const SheetSelection& selection, int32_t row, int32_t column) {
    const std::vector<CellRect>& areas = selection.areas();
    // One cell alone is shown by the focus frame, not as a selection.
    if (areas.size() == 1 && areas[0].left == areas[0].right && areas[0].top == areas[0].bottom) return false;
    for (const CellRect& area : areas) {
        if (area.contains(row, column)) return true;
    }
    return false;
}

// A cell whose style does not wrap shows one line: its line breaks and tabs show as spaces.
void onOneLine(std::u16string& text) {
    std::replace_if(text.begin(), text.end(), [](char16_t c) { return c == u'\n' || c == u'\r' || c == u'\t'; }, u' ');
}

std::wstring columnName(int32_t column) {
    std::wstring name;
    for (int32_t c = column + 1; c > 0; c = (c - 1) / 26) name.insert(name.begin(), wchar_t(L'A' + (c - 1) % 26));
    return name;
}

}  // namespace

HDC GridControl::BackBuffer::prepare(HDC target, int w, int h) {
    w = std::max(w, 1);
    h = std::max(h, 1);
    if (dc && w == width && h == height) return dc;
    release();
    // A new bitmap's memory is fresh pages that the first paint touches one by one: keeping the
    // picture between paints saves that on every paint.
    dc = CreateCompatibleDC(target);
    bitmap = CreateCompatibleBitmap(target, w, h);
    if (!dc || !bitmap) {
        release();
        return nullptr;
    }
    oldBitmap = SelectObject(dc, bitmap);
    width = w;
    height = h;
    return dc;
}

void GridControl::BackBuffer::release() {
    if (dc && oldBitmap) SelectObject(dc, oldBitmap);
    if (bitmap) DeleteObject(bitmap);
    if (dc) DeleteDC(dc);
    *this = {};
}

// A text of a cell or of a merged area, waiting for the text pass of a paint.
struct GridControl::TextJob {
    HFONT font;
    CellRef ref;
    SheetRow* row;   // the cell's row, for text that runs on; none for a merged area
    RECT box;        // the cell, or the area inside its border lines
    RECT clip;       // the band the text shows in
};

void GridControl::paint(HDC target) {
    const int width = clientWidth(), height = clientHeight();
    HDC dc = back_.prepare(target, width, height);
    if (!dc) return;   // out of GDI resources: the window keeps its old picture
    // The parts of a paint choose the font they need and leave it chosen (choosing a font costs
    // more than drawing with it); the DC gets its own font back at the end, so that the fonts
    // can be let go of between paints. Pens and brushes each part gives back itself.
    RECT all{0, 0, width, height};
    FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    looks_.beginPaint();

    const int32_t lastRow = std::min<int32_t>(kMaxRow, topRow_ + visibleRows());
    int32_t lastColumn = leftColumn_;
    for (int x = headerWidth_ + columnWidth(lastColumn); x < width && lastColumn < kMaxColumn; x += columnWidth(lastColumn))
        ++lastColumn;

    // Merged areas on screen: most sheets have none and pay nothing for them.
    std::vector<CellRect> merged;
    for (const CellRect& area : sheet().mergedAreas()) {
        const bool onScreen = area.top < kFrozenRows || (area.bottom >= topRow_ && area.top <= lastRow);
        if (onScreen && area.right >= leftColumn_ && area.left <= lastColumn) merged.push_back(area);
    }
    // The frozen rows over the rows that scroll, each band clipped to its own place; the texts
    // of both bands in one pass, a font at a time, and the border lines over fills and texts,
    // as Excel draws them.
    const RECT bands[] = {{0, headerHeight_, width, scrollingTop()}, {0, scrollingTop(), width, cellsBottom()}};
    std::vector<TextJob> texts;
    paintBand(dc, 0, kFrozenRows - 1, lastColumn, bands[0], merged, texts);
    paintBand(dc, topRow_, lastRow, lastColumn, bands[1], merged, texts);
    paintTexts(dc, texts, merged);
    {
        const ClipTo cells(dc, {headerWidth_, headerHeight_, width, cellsBottom()});
        looks_.drawBorders(dc);
    }
    for (const RECT& band : bands) paintFocus(dc, band);
    HPEN freeze = CreatePen(PS_SOLID, 1, kFreezeLine);
    HGDIOBJ oldPen = SelectObject(dc, freeze);
    MoveToEx(dc, 0, scrollingTop() - 1, nullptr);
    LineTo(dc, width, scrollingTop() - 1);
    SelectObject(dc, oldPen);
    DeleteObject(freeze);
    paintHeaders(dc, lastRow, lastColumn);
    paintEditingMarks(dc);
    paintTabBar(dc);

    BitBlt(target, 0, 0, width, height, dc, 0, 0, SRCCOPY);
    SelectObject(dc, GetStockObject(SYSTEM_FONT));
}

void GridControl::paintBand(HDC dc, int32_t firstRow, int32_t lastRow, int32_t lastColumn, const RECT& band,
                            const std::vector<CellRect>& merged, std::vector<TextJob>& texts) {
    const ClipTo clip(dc, band);
    paintSelection(dc, firstRow, lastRow);
    const int width = clientWidth(), height = clientHeight();
    HPEN pen = CreatePen(PS_SOLID, 1, kGridLine);
    HGDIOBJ oldPen = SelectObject(dc, pen);
    for (int32_t row = firstRow, y = rowTop(firstRow); y < height && row <= lastRow; ++row) {
        const int rowPixels = rowHeight(row);
        if (rowPixels == 0) continue;
        y += rowPixels;
        MoveToEx(dc, headerWidth_, y - 1, nullptr);
        LineTo(dc, width, y - 1);
    }
    for (int32_t c = leftColumn_, x = headerWidth_; c <= lastColumn; ++c) {
        x += columnWidth(c);
        MoveToEx(dc, x - 1, headerHeight_, nullptr);
        LineTo(dc, x - 1, height);
    }
    SelectObject(dc, oldPen);
    DeleteObject(pen);

    // Fills and borders cell by cell; the texts wait for the text pass.
    SheetTable& table = sheet();
    const SheetSelection& selection = table.selection();
    for (SheetRow* row = table.rows().lowerBound(firstRow); row && row->index <= lastRow; row = row->next) {
        if (row->hidden) continue;
        for (SheetCell* cell = row->cells.lowerBound(leftColumn_); cell && cell->index <= lastColumn; cell = cell->next) {
            // A merged area's cells show nothing of their own: its top left cell's text is drawn for it.
            if (!merged.empty() && inMergedArea(merged, row->index, cell->index)) continue;
            const RECT box = cellRect(row->index, cell->index);
            if (box.right <= box.left) continue;   // a hidden column
            if (cell->style != CellStyles::kDefault) {
                const CellStyle& look = book_.styles()[cell->style];
                const RECT under{box.left - 1, box.top - 1, box.right, box.bottom};
                looks_.paintFill(dc, under, look, kSelectionFill, isSelected(selection, row->index, cell->index));
                looks_.addBorders(box, look);
            }
            const CellRef ref(&table, row, cell);
            if (ref.formulaResult().type != cdtBlank) texts.push_back({looks_.fontOf(book_.styles(), cell->style), ref, row, box, band});
        }
    }
    if (!merged.empty()) paintMergedAreas(dc, firstRow, lastRow, band, merged, texts);
}

bool GridControl::inMergedArea(const std::vector<CellRect>& areas, int32_t row, int32_t column) {
    for (const CellRect& area : areas) {
        if (area.contains(row, column)) return true;
    }
    return false;
}

void GridControl::paintSelection(HDC dc, int32_t firstRow, int32_t lastRow) {
    const SheetSelection& selection = sheet().selection();
    HBRUSH fill = CreateSolidBrush(kSelectionFill);
    for (const CellRect& area : selection.areas()) {
        if (area.left == area.right && area.top == area.bottom && selection.areas().size() == 1) break;
        if (area.bottom < firstRow || area.top > lastRow || area.right < leftColumn_) continue;
        RECT from = cellRect(std::max(area.top, firstRow), std::max(area.left, leftColumn_));
        RECT to = cellRect(std::min(area.bottom, lastRow), area.right);
        RECT r{from.left, from.top, std::min<LONG>(to.right, clientWidth()), to.bottom};
        FillRect(dc, &r, fill);
    }
    DeleteObject(fill);
}

// Each area of the band as one cell: its background filled once over the grid lines inside it
// (its own border lines stay), and its top left cell's text across the whole area, clipped to
// the cells. The text keeps its place in the whole area when part of the area is scrolled off.
void GridControl::paintMergedAreas(HDC dc, int32_t firstRow, int32_t lastRow, const RECT& band,
                                   const std::vector<CellRect>& areas, std::vector<TextJob>& texts) {
    const SheetSelection& selection = sheet().selection();
    const std::vector<CellRect>& chosen = selection.areas();
    // As paintSelection: a selection of one cell is shown by the focus frame alone.
    const bool singleCell =
        chosen.size() == 1 && chosen[0].left == chosen[0].right && chosen[0].top == chosen[0].bottom;
    HBRUSH selectedFill = CreateSolidBrush(kSelectionFill);
    const RECT cells{headerWidth_, headerHeight_, clientWidth(), clientHeight()};
    RECT clip{};
    IntersectRect(&clip, &band, &cells);
    const ClipTo inCells(dc, clip);
    for (const CellRect& area : areas) {
        if (area.bottom < firstRow || area.top > lastRow) continue;
        const RECT whole = areaRect(area);
        bool selected = false;
        for (const CellRect& s : chosen) {
            selected = selected || (!singleCell && s.left <= area.right && area.left <= s.right &&
                                    s.top <= area.bottom && area.top <= s.bottom);
        }
        const RECT inside{whole.left, whole.top, whole.right - 1, whole.bottom - 1};
        const CellRef ref = sheet().getCell(area.top, area.left);
        const uint16_t style = ref ? ref.style() : CellStyles::kDefault;
        const CellStyle& look = book_.styles()[style];
        if (!looks_.paintFill(dc, inside, look, kSelectionFill, selected))
            FillRect(dc, &inside, selected ? selectedFill : static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
        if (style != CellStyles::kDefault) looks_.addBorders(whole, look);
        if (ref && ref.formulaResult().type != cdtBlank) texts.push_back({looks_.fontOf(book_.styles(), style), ref, nullptr, inside, clip});
    }
    DeleteObject(selectedFill);
}

// The texts of a paint, a font at a time, since choosing a font into the DC costs more than
// drawing with it.
void GridControl::paintTexts(HDC dc, std::vector<TextJob>& texts, const std::vector<CellRect>& merged) {
    std::stable_sort(texts.begin(), texts.end(), [](const TextJob& a, const TextJob& b) { return a.font < b.font; });
    const int width = clientWidth();
    SheetTable& table = sheet();
    HFONT chosen = nullptr;
    for (const TextJob& job : texts) {
        std::u16string text = job.ref.displayText();
        if (text.empty()) continue;
        if (job.font != chosen) SelectObject(dc, chosen = job.font);
        const uint16_t style = job.ref.cell()->style;
        const CellStyle& look = book_.styles()[style];
        if (!look.wrap) onOneLine(text);
        RECT r = job.box;
        InflateRect(&r, -scaled(3), 0);
        const CellDataType type = job.ref.formulaResult().type;
        const bool runsOn = look.horizontal == HorizontalAlignment::General || look.horizontal == HorizontalAlignment::Left;
        int measured = -1;
        if (job.row && !look.wrap && runsOn && !isNumericType(type) && type != cdtBoolean && type != cdtError) {
            SIZE extent{};
            GetTextExtentPoint32W(dc, wide(text), static_cast<int>(text.size()), &extent);
            measured = extent.cx;
            // Text runs on over empty neighbours to its right, as in Excel, up to a merged area.
            for (SheetCell* next = job.ref.cell()->next; r.right - r.left < extent.cx && r.right < width;) {
                const int32_t column = columnAt(r.right + scaled(4));
                if (next && next->index == column && CellRef(&table, job.row, next).formulaResult().type != cdtBlank) break;
                if (!merged.empty() && inMergedArea(merged, job.row->index, column)) break;
                r.right += columnWidth(column);
                if (next && next->index <= column) next = next->next;
            }
        }
        looks_.paintText(dc, r, job.clip, book_.styles(), style, {std::move(text), type, job.ref.displayColour(), measured}, zoomedDpi());
    }
}

// The focus frame, in the band it shows in; on a merged cell it frames the whole area, as one cell.
void GridControl::paintFocus(HDC dc, const RECT& band) {
    const SheetSelection& selection = sheet().selection();
    if (!rowShown(selection.focusedRow()) || selection.focusedColumn() < leftColumn_) return;
    RECT focus = cellRect(selection.focusedRow(), selection.focusedColumn());
    if (const CellRect* area = sheet().mergedAreaAt(selection.focusedRow(), selection.focusedColumn())) focus = areaRect(*area);
    RECT framed{};
    const RECT outer{focus.left - 1, focus.top - 1, focus.right, focus.bottom};
    if (!IntersectRect(&framed, &outer, &band)) return;
    const ClipTo clip(dc, band);
    HBRUSH frame = CreateSolidBrush(kAccent);
    for (int i = 0; i < 2; ++i) {
        RECT f{focus.left - 1 + i, focus.top - 1 + i, focus.right - i, focus.bottom - i};
        FrameRect(dc, &f, frame);
    }
    DeleteObject(frame);
}

// A row's number; a strip at its left edge when "print page" would send the row.
void GridControl::paintRowHeader(HDC dc, int32_t row, const CellRect& selected, HBRUSH selectedFill, HBRUSH mark) {
    const int height = rowHeight(row);
    if (height == 0) return;   // hidden
    RECT r{0, rowTop(row), headerWidth_, rowTop(row) + height};
    if (row >= selected.top && row <= selected.bottom) FillRect(dc, &r, selectedFill);
    if (row >= 1 && row < pageEndRow()) {
        RECT strip{0, r.top, scaled(4), r.bottom - 1};
        FillRect(dc, &strip, mark);
    }
    const std::wstring number = std::to_wstring(row + 1);
    DrawTextW(dc, number.c_str(), static_cast<int>(number.size()), &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    MoveToEx(dc, 0, r.bottom - 1, nullptr);
    LineTo(dc, headerWidth_, r.bottom - 1);
}

void GridControl::paintHeaders(HDC dc, int32_t lastRow, int32_t lastColumn) {
    const CellRect area = sheet().selection().area();
    HBRUSH fill = CreateSolidBrush(kHeaderFill);
    HBRUSH selected = CreateSolidBrush(kHeaderSelected);
    HBRUSH mark = CreateSolidBrush(kPrintMark);
    HPEN pen = CreatePen(PS_SOLID, 1, kHeaderLine);
    HGDIOBJ oldPen = SelectObject(dc, pen);
    SelectObject(dc, headerFont_);
    SetTextColor(dc, kHeaderText);

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
    RECT left{0, headerHeight_, headerWidth_, cellsBottom()};
    FillRect(dc, &left, fill);
    {
        const ClipTo rowNumbers(dc, {0, headerHeight_, headerWidth_, cellsBottom()});
        for (int32_t row = 0; row < kFrozenRows; ++row) paintRowHeader(dc, row, area, selected, mark);
        for (int32_t row = topRow_; row <= lastRow; ++row) paintRowHeader(dc, row, area, selected, mark);
    }
    MoveToEx(dc, 0, headerHeight_ - 1, nullptr);
    LineTo(dc, clientWidth(), headerHeight_ - 1);
    MoveToEx(dc, headerWidth_ - 1, 0, nullptr);
    LineTo(dc, headerWidth_ - 1, cellsBottom());

    SelectObject(dc, oldPen);
    DeleteObject(pen);
    DeleteObject(mark);
    DeleteObject(selected);
    DeleteObject(fill);
}

}  // namespace kes
