// Paints one full screen of the grid (1001 x 625 pixels, about 30 rows x 10 columns of label
// data) at the top of a sheet and at row 1,000,000, and reports the time per paint; then the
// same screens once the sheet has merged areas: the most a sheet keeps, with a title merged
// across the top and a screen where every other pair of cells is merged; then screens of styled
// cells (fonts, fills, borders, wrapped text) in a workbook of 10,000 styles. Each figure is the
// median of ten batches of paints.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "ui/grid_control_win32.h"

using namespace kes;

namespace {

std::u16string ascii(const std::string& s) { return std::u16string(s.begin(), s.end()); }

void fillRows(SheetTable& sheet, int32_t first, int32_t count) {
    for (int32_t r = first; r < first + count; ++r) {
        const std::u16string n = ascii(std::to_string(r));
        const std::u16string texts[10] = {u"\u5185\u516D\u89D2\u87BA\u6813", u"M6\u00D7" + n, u"GB/T 70.1", n,
                                          ascii(std::to_string(6901234500000LL + r)), u"2026-11-22", u"B" + n, u"\u4E2A",
                                          u"12.5", u"SKU-" + n};
        for (int32_t c = 0; c < 10; ++c) sheet.createCell(r, c).setText(texts[c], 1);
    }
}

// A look for each cell of a screen: fonts of several faces and sizes, bold and italic, fills,
// borders of each kind, a wrapped column, a [Red] format.
CellStyle screenLook(int32_t row, int32_t column) {
    static const char16_t* const kFaces[] = {u"Arial", u"\u5B8B\u4F53", u"Tahoma", u"Courier New"};
    CellStyle s;
    const int k = int(row * 7 + column * 3);
    s.font.name = kFaces[k % 4];
    s.font.size = uint16_t(180 + 20 * (k % 5));
    s.font.bold = row == 0 || k % 3 == 0;
    s.font.italic = k % 7 == 0;
    s.font.colour = k % 5 == 0 ? 0x1F4E79 : kAutoColour;
    if (row == 0 || k % 2 == 0) {
        s.pattern = kPatternSolid;
        s.patternColour = row == 0 ? 0xDDEBF7 : 0xFFF2CC + Rgb(k % 16);
    }
    s.left = s.right = s.top = s.bottom = {BorderStyle(1 + k % 13), k % 4 == 0 ? 0x808080 : kAutoColour};
    s.wrap = column == 9;
    s.horizontal = HorizontalAlignment(k % 4);
    s.vertical = VerticalAlignment(k % 3);
    if (column == 8) s.numberFormat = u"[Red]0.00;[Blue]-0.00";
    return s;
}

void styleRows(Workbook& book, SheetTable& sheet, int32_t first, int32_t count) {
    for (int32_t r = first; r < first + count; ++r) {
        sheet.setRowHeight(r, r % 5 == 0 ? 36 : 22);
        for (int32_t c = 0; c < 10; ++c) {
            CellRef cell = sheet.createCell(r, c);
            cell.setStyle(book.styles().add(screenLook(r - first, c)));
            if (c == 9) cell.setString(u"\u5185\u516D\u89D2\u87BA\u6813 M6 GB/T 70.1 \u4E0D\u9508\u94A2 wrapped text");
        }
    }
}

// The median of ten batches of paints, in microseconds per paint: a batch that another process
// on the machine interrupted does not count.
double paintMicroseconds(HWND window, int repeats) {
    constexpr int kBatches = 10;
    std::vector<double> batches;
    for (int b = 0; b < kBatches; ++b) {
        const int count = std::max(1, repeats / kBatches);
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        batches.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() / count);
    }
    std::sort(batches.begin(), batches.end());
    return (batches[kBatches / 2 - 1] + batches[kBatches / 2]) / 2;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    fillRows(sheet, 0, 100000);
    fillRows(sheet, 999980, 60);

    WNDCLASSW wc{};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = instance;
    wc.lpszClassName = L"KesPaintBench";
    RegisterClassW(&wc);
    HWND frame = CreateWindowW(L"KesPaintBench", L"paint", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 1040, 700, nullptr,
                               nullptr, instance, nullptr);
    GridControl grid(frame, book, [](SheetTable& t, int32_t r, int32_t c, const std::u16string& text) {
        t.createCell(r, c).setText(text, 1);
    }, [](const std::exception&) {});
    grid.setBounds({0, 0, 1001, 625});
    grid.refresh();
    paintMicroseconds(grid.hwnd(), 5);   // warm up: fonts, caches
    const double top = paintMicroseconds(grid.hwnd(), 200);
    grid.showCell(1000000, 0);
    const double deep = paintMicroseconds(grid.hwnd(), 200);
    std::printf("grid paint, one screen of label cells (1001 x 625 px):\n");
    std::printf("  %-44s %10.1f us/paint\n", "at the top of the sheet", top);
    std::printf("  %-44s %10.1f us/paint\n", "at row 1,000,000", deep);

    sheet.addMergedArea({0, 0, 9, 0});   // a title row, as ERP exports have
    for (int32_t r = 999980; r < 1000040; ++r) {
        for (int32_t c = r % 2; c + 1 < 10; c += 4) sheet.addMergedArea({c, r, c + 1, r});
    }
    for (int32_t i = 0; sheet.mergedAreas().size() < SheetTable::kMaxMergedAreas; ++i)
        sheet.addMergedArea({0, 200000 + 2 * i, 1, 200000 + 2 * i});   // off screen, looked at each paint
    grid.showCell(0, 0);
    const double mergedTop = paintMicroseconds(grid.hwnd(), 200);
    grid.showCell(1000000, 0);
    const double mergedDeep = paintMicroseconds(grid.hwnd(), 200);
    std::printf("  %-44s %10.1f us/paint\n", "merged title, 10,000 areas in the sheet", mergedTop);
    std::printf("  %-44s %10.1f us/paint\n", "a screen of merged pairs at row 1,000,000", mergedDeep);

    Workbook styled;
    styled.history().lock();
    SheetTable& styledSheet = *styled.activeSheet();
    fillRows(styledSheet, 0, 100);
    fillRows(styledSheet, 999980, 60);
    for (int i = 0; styled.styles().size() < 10000; ++i) {   // styles of the workbook no screen shows
        CellStyle unused;
        unused.pattern = kPatternSolid;
        unused.patternColour = Rgb(i);
        styled.styles().add(unused);
    }
    styleRows(styled, styledSheet, 0, 100);
    styleRows(styled, styledSheet, 999980, 60);
    GridControl styledGrid(frame, styled, [](SheetTable& t, int32_t r, int32_t c, const std::u16string& text) {
        t.createCell(r, c).setText(text, 1);
    }, [](const std::exception&) {});
    ShowWindow(grid.hwnd(), SW_HIDE);
    styledGrid.setBounds({0, 0, 1001, 625});
    styledGrid.refresh();
    paintMicroseconds(styledGrid.hwnd(), 5);
    const double styledTop = paintMicroseconds(styledGrid.hwnd(), 200);
    styledGrid.showCell(1000000, 0);
    const double styledDeep = paintMicroseconds(styledGrid.hwnd(), 200);
    std::printf("  %-44s %10.1f us/paint\n", "styled cells, 10,000 styles, at the top", styledTop);
    std::printf("  %-44s %10.1f us/paint\n", "styled cells, 10,000 styles, at row 1,000,000", styledDeep);
    std::fflush(stdout);
    DestroyWindow(frame);
    return 0;
}
