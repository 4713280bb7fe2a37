#pragma once
// The spreadsheet grid: draws the workbook's active sheet with row and column headers and
// lets the user move, select, edit in place (IME included), copy, paste, undo and find, as
// in Excel. It holds no data of its own; every typed or pasted text goes to the writer it is
// given, so that one cell-text path serves the whole product. The window procedure, scrolling
// and focus live in grid_control; drawing in grid_paint, the in-place editor and IME in
// grid_editor, the find dialog in grid_find, clipboard and undo commands in grid_commands.
#include <windows.h>

#include <cstdint>
#include <exception>
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "sheet/editing/fill.h"
#include "sheet/editing/find_replace.h"
#include "sheet/workbook.h"
#include "ui/cell_look_painter_win32.h"

namespace kes {

class GridControl {
public:
    // Writes a text typed or pasted into (row, column) of the sheet.
    using CellWriter = std::function<void(SheetTable&, int32_t row, int32_t column, const std::u16string& text)>;
    // Reports an error of a command (such as writing into an array formula) to the user.
    using ErrorHandler = std::function<void(const std::exception&)>;

    GridControl(HWND parent, Workbook& book, CellWriter writer, ErrorHandler onError);
    ~GridControl();
    GridControl(const GridControl&) = delete;
    GridControl& operator=(const GridControl&) = delete;

    HWND hwnd() const { return window_; }
    void setBounds(const RECT& bounds);
    void setFont(const wchar_t* face, int pixelHeight);
    // Makes the fonts again, after the zoom or the system's text smoothing changed.
    void remakeFonts();
    // Takes the keyboard focus (into the in-place editor, which waits at the current cell).
    void focus();
    // Repaints after the workbook changed from outside (a load, a command).
    void refresh();
    // Moves the current cell to (row, column) and scrolls it into view.
    void showCell(int32_t row, int32_t column) { moveFocus(row, column, false); }
    // Ends any in-place editing, keeping what was typed.
    void commitEdit();
    // The find dialog's window, for the modal loop's dialog navigation; null when closed.
    HWND findWindow() const { return findWindow_; }

    // Where "print page" stops on the active sheet: given a row from which on rows are to be
    // looked at (every row above it, from row 1, known to print), the first row that does not
    // print. The grid marks the rows above it in the row headers and shows their count.
    using PageEnd = std::function<int32_t(int32_t fromRow)>;
    void setPageEnd(PageEnd pageEnd);
    // Makes sheet `index` the active one, the one shown and printed, as a click on its tab does.
    void showSheet(int32_t index);

private:
    enum class EditState { Idle, Entering, Editing };
    enum class Drag { None, Cells, ColumnWidth, FillHandle };

    static LRESULT CALLBACK gridProc(HWND, UINT, WPARAM, LPARAM);
    static LRESULT CALLBACK editorProc(HWND, UINT, WPARAM, LPARAM);
    static LRESULT CALLBACK findProc(HWND, UINT, WPARAM, LPARAM);
    LRESULT handleGrid(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT handleEditor(UINT message, WPARAM wParam, LPARAM lParam);

    SheetTable& sheet();
    // Screen pixels of 96-dpi pixels at the zoom, and back.
    int scaled(int pixels) const { return MulDiv(pixels, dpi_ * zoom_, 96 * 100); }
    int unscaled(int pixels) const { return MulDiv(pixels, 96 * 100, dpi_ * zoom_); }
    // The dots per inch cell texts are drawn at: the screen's, zoomed.
    int zoomedDpi() const { return MulDiv(dpi_, zoom_, 100); }
    int columnWidth(int32_t column);
    int clientWidth() const;
    int clientHeight() const;
    int visibleRows() const;
    int rowHeight(int32_t row) const;
    int rowTop(int32_t row) const;
    RECT cellRect(int32_t row, int32_t column);
    RECT areaRect(const CellRect& area);   // the whole area, parts off screen included
    int32_t columnAt(int x);
    int32_t rowAt(int y);
    int columnBorderAt(int x, int y);   // the column whose right border lies under (x, y), or -1
    // Row 0, the field names, stays under the column headers while the rows below it scroll.
    static constexpr int32_t kFrozenRows = 1;
    int scrollingTop() const;
    int cellsBottom() const { return std::max(scrollingTop() + rowHeight_, clientHeight() - tabBarHeight_); }
    bool rowShown(int32_t row) const { return row < kFrozenRows || row >= topRow_; }

    void paint(HDC dc);
    struct TextJob;
    // One band of rows (the frozen rows, the rows that scroll), clipped to `band`: the
    // selection, grid lines, fills and borders, merged areas; its texts join `texts`.
    void paintBand(HDC dc, int32_t firstRow, int32_t lastRow, int32_t lastColumn, const RECT& band,
                   const std::vector<CellRect>& merged, std::vector<TextJob>& texts);
    void paintSelection(HDC dc, int32_t firstRow, int32_t lastRow);
    void paintMergedAreas(HDC dc, int32_t firstRow, int32_t lastRow, const RECT& band, const std::vector<CellRect>& areas,
                          std::vector<TextJob>& texts);
    void paintTexts(HDC dc, std::vector<TextJob>& texts, const std::vector<CellRect>& merged);
    void paintFocus(HDC dc, const RECT& band);
    static bool inMergedArea(const std::vector<CellRect>& areas, int32_t row, int32_t column);
    void paintHeaders(HDC dc, int32_t lastRow, int32_t lastColumn);
    void paintRowHeader(HDC dc, int32_t row, const CellRect& selected, HBRUSH selectedFill, HBRUSH mark);

    // The sheet tabs and the count of rows that print, under the cells (grid_tabs_win32.cpp).
    void paintTabBar(HDC dc);
    int32_t tabAt(int x, int y) const;
    // Rows from `fromRow` on may have changed: where the page stops is looked for again.
    void pageRowsChanged(int32_t fromRow);
    int32_t pageEndRow();
    void redraw();

    void updateScrollBars();
    void scrollTo(int32_t topRow, int32_t leftColumn);
    void ensureVisible(int32_t row, int32_t column);
    void moveFocus(int32_t row, int32_t column, bool extend);
    void afterChange();

    bool handleNavigationKey(WPARAM key);
    void startEditing(EditState state, const std::u16string& text);
    void placeEditor();
    void cancelEdit();
    std::u16string editText(int32_t row, int32_t column);

    void widenForNumbers(const CellRect& area);
    void clearSelection();
    void copySelection();
    void pasteClipboard();
    void undo(bool redo);
    void findNext();
    void findOrReplace(bool replace);
    void replaceCurrent();
    void replaceEverywhere();
    FindOptions findOptions();

    // The editing habits (grid_editing): cut, fill, the fill handle, inserting and deleting
    // lines, auto-fit and zoom. Each answers whether it took the key or the mouse message.
    bool handleEditingKey(WPARAM key);
    bool handleEditingMouse(UINT message, WPARAM wParam, LPARAM lParam);
    void paintEditingMarks(HDC dc);
    void cutSelection();
    bool pasteCut();
    void fillSelection(FillDirection direction);
    void editLines(bool insert);
    void autoFit(int32_t column);
    void setZoom(int percent);
    bool fillHandleAt(int x, int y);
    template <class Action>
    void guarded(Action&& action);
    template <class Action>
    void undoable(Action&& action);

    HWND window_ = nullptr;
    HWND editor_ = nullptr;
    HWND findWindow_ = nullptr;
    HWND findEdit_ = nullptr;
    HWND findCase_ = nullptr;
    HWND findWhole_ = nullptr;
    HWND replaceEdit_ = nullptr;
    WNDPROC editorDefault_ = nullptr;
    HFONT font_ = nullptr;
    CellLookPainter looks_;
    HFONT headerFont_ = nullptr;
    // The off-screen picture a paint draws into, kept while the grid's size stays.
    struct BackBuffer {
        HDC dc = nullptr;
        HBITMAP bitmap = nullptr;
        HGDIOBJ oldBitmap = nullptr;
        int width = 0, height = 0;
        HDC prepare(HDC target, int width, int height);
        void release();
    } back_;
    Workbook& book_;
    CellWriter writer_;
    ErrorHandler onError_;
    int dpi_ = 96;
    int rowHeight_ = 20;
    int headerHeight_ = 20;
    int headerWidth_ = 48;
    int tabBarHeight_ = 24;
    struct Tab {
        int32_t sheet;
        RECT bounds;
    };
    std::vector<Tab> tabs_;   // as last painted
    int32_t firstTab_ = 0;
    PageEnd pageEnd_;
    int32_t pageEndRow_ = 1;
    int32_t pageScanFrom_ = 1;   // every row from 1 up to this one is known to print
    bool pageEndStale_ = true;
    int32_t topRow_ = kFrozenRows;   // the first of the rows that scroll
    int32_t leftColumn_ = 0;
    EditState editState_ = EditState::Idle;
    Drag drag_ = Drag::None;
    int32_t resizeColumn_ = -1;
    int resizeStartX_ = 0;
    int resizeStartWidth_ = 0;
    std::wstring fontFace_;
    int fontPixels_ = 14;
    int zoom_ = 100;   // percent
    CellRect fillTarget_{};
    // Cut cells wait for the paste that moves them; a change of any cell or of the clipboard
    // in between turns the cut into a copy, as in Excel.
    struct PendingCut {
        SheetTable* sheet = nullptr;
        CellRect area{};
        DWORD clipboardSequence = 0;
        uint64_t contentVersion = 0;
    };
    PendingCut cut_;
};

template <class Action>
inline void GridControl::guarded(Action&& action) {
    try {
        action();
    } catch (const std::exception& e) {
        onError_(e);
    }
}

// One user command is one undo step, also when it fails half-way.
template <class Action>
inline void GridControl::undoable(Action&& action) {
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

}  // namespace kes
