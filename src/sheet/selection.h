#pragma once
// Where the user is in a sheet: the focused cell and the selected areas.
#include <cstdint>
#include <vector>

namespace kes {

struct CellRect {
    int32_t left = 0, top = 0, right = 0, bottom = 0;   // inclusive

    bool contains(int32_t row, int32_t column) const {
        return row >= top && row <= bottom && column >= left && column <= right;
    }
    friend bool operator==(const CellRect&, const CellRect&) = default;
};

class SheetSelection {
public:
    int32_t focusedRow() const { return focusedRow_; }
    int32_t focusedColumn() const { return focusedColumn_; }
    const std::vector<CellRect>& areas() const { return areas_; }

    // The bounding rectangle the form works with: its top is the current row and its left
    // the current column. With exactly one area that area is the answer, wherever the focus.
    CellRect area() const;

    // Moves the focus, clamped to the sheet. Without `extend` the selection becomes the
    // focused cell; with it the last area stretches from its anchor to the new focus.
    void setFocused(int32_t row, int32_t column, bool extend = false);

    // Selects one rectangle (clamped) and puts the focus on `row`, `column` inside it.
    void selectRange(const CellRect& range, int32_t row, int32_t column);

    // Adds an area, as Ctrl+click does, and moves the focus and the anchor to its corner.
    void addArea(const CellRect& range);

    int32_t anchorRow() const { return anchorRow_; }
    int32_t anchorColumn() const { return anchorColumn_; }

private:
    int32_t focusedColumn_ = 0;
    int32_t focusedRow_ = 0;
    int32_t anchorColumn_ = 0;
    int32_t anchorRow_ = 0;
    std::vector<CellRect> areas_{CellRect{}};
};

}  // namespace kes
