#pragma once
// One worksheet: a sparse table of rows, each a sparse list of cells, plus the columns that
// hold at least one cell, and the selection.
#include <cstdint>
#include <string>
#include <vector>

#include "sheet/cell_ref.h"
#include "sheet/item_list.h"
#include "sheet/object_pool.h"
#include "sheet/selection.h"
#include "sheet/sheet_items.h"
#include "sheet/undo_history.h"

namespace kes {

class Workbook;

enum class TriState : uint8_t { Off, On, Default };

class SheetTable {
public:
    SheetTable(Workbook& workbook, std::u16string name);
    ~SheetTable();
    SheetTable(const SheetTable&) = delete;
    SheetTable& operator=(const SheetTable&) = delete;

    Workbook& workbook() const { return workbook_; }
    const std::u16string& name() const { return name_; }
    void setName(std::u16string name);

    ItemList<SheetRow>& rows() { return rows_; }
    ItemList<SheetColumn>& columns() { return columns_; }
    SheetSelection& selection() { return selection_; }
    const SheetSelection& selection() const { return selection_; }

    SheetRow* getRow(int32_t row) { return rows_.getItem(row); }
    SheetRow* createRow(int32_t row);
    SheetColumn* getColumn(int32_t column) { return columns_.getItem(column); }

    // None (a false handle) when the row or the cell does not exist; never makes anything.
    CellRef getCell(int32_t row, int32_t column);
    // The cell at (row, column), made together with its row and column when missing.
    CellRef createCell(int32_t row, int32_t column);
    // The row's own create cell, for readers that walk a row.
    CellRef createCell(SheetRow& row, int32_t column);
    void deleteCell(int32_t row, int32_t column);
    // Frees every row, cell, column and merged area; records nothing.
    void clearCells();

    // Display settings: `ZeroValues` Default takes the workbook's setting.
    TriState zeroValues = TriState::Default;
    bool showFormulas = false;
    bool showsZeroValues() const;

    int32_t columnWidth(int32_t column);
    void setColumnWidth(int32_t column, int32_t pixels);
    int32_t defaultColumnWidth = 96;
    bool columnHidden(int32_t column);
    void setColumnHidden(int32_t column, bool hidden);

    // Row heights in pixels at 96 dpi, as column widths are; a row of height 0 is the default.
    static constexpr int32_t kMaxRowHeight = 546;   // 409.5 points, Excel's limit
    int32_t rowHeight(int32_t row);
    void setRowHeight(int32_t row, int32_t pixels);
    static constexpr int32_t kDefaultRowHeight = 20;   // 15 points, a row of Calibri 11
    int32_t defaultRowHeight = kDefaultRowHeight;
    bool rowHidden(int32_t row);
    void setRowHidden(int32_t row, bool hidden);

    // Merged areas: each is shown as one cell, whose content is its top left cell's. Workbook
    // files bring them and take them back. An area of one cell, one reaching beyond the sheet,
    // one overlapping an area kept before and any beyond kMaxMergedAreas are refused (false).
    static constexpr size_t kMaxMergedAreas = 10000;
    bool addMergedArea(const CellRect& area);
    const std::vector<CellRect>& mergedAreas() const { return mergedAreas_; }
    // The merged area that holds the cell; null when none does.
    const CellRect* mergedAreaAt(int32_t row, int32_t column) const;
    // For edits that move cells: the areas as they stand after the move. Records nothing.
    void replaceMergedAreas(std::vector<CellRect> areas);

    // Renumbers the rows (columns) from `at` on by `count`, as inserting (count > 0) or
    // deleting (count < 0) lines does. Deleted lines lose their cells and their widths; lines
    // pushed past the sheet's end are dropped. Records nothing: the editing commands record
    // the cells they take and the move itself.
    void shiftRows(int32_t at, int32_t count);
    void shiftColumns(int32_t at, int32_t count);

    // Counts every change of the sheet's content, so that views know when to repaint.
    uint64_t version() const { return version_; }
    void changed();
    // Tells this sheet from every other the process has made, also one made at the same address.
    uint64_t serial() const { return serial_; }

    // The state of a cell for the undo history, and putting such a state back.
    CellState cellState(int32_t row, int32_t column);
    void restoreCellState(int32_t row, int32_t column, const CellState& state);

private:
    friend class CellRef;
    SheetCell* makeCell(int32_t column);
    void disposeCell(SheetRow& row, SheetCell* cell);
    void disposeRow(SheetRow* row);

    Workbook& workbook_;
    std::u16string name_;
    ObjectPool<SheetCell> cellPool_;
    ObjectPool<SheetRow> rowPool_;
    ItemList<SheetRow> rows_;
    ItemList<SheetColumn> columns_;
    SheetSelection selection_;
    std::vector<CellRect> mergedAreas_;
    uint64_t version_ = 0;
    uint64_t serial_;
};

}  // namespace kes
