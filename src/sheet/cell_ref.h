#pragma once
// A cell together with the row and sheet it lives in: what the sheet hands out for a cell
// position. The cell itself does not know its row, which keeps it small; every operation that
// records undo steps or signals changes goes through this handle. Cheap to copy; valid while
// the cell exists.
#include <cstdint>
#include <optional>
#include <memory>
#include <string>
#include <string_view>

#include "sheet/cell_value.h"
#include "sheet/selection.h"
#include "sheet/sheet_items.h"

namespace kes {

class SheetTable;

class CellRef {
public:
    CellRef() = default;
    CellRef(SheetTable* sheet, SheetRow* row, SheetCell* cell) : sheet_(sheet), row_(row), cell_(cell) {}

    explicit operator bool() const { return cell_ != nullptr; }
    SheetCell* cell() const { return cell_; }
    SheetTable& sheet() const { return *sheet_; }
    int32_t row() const { return row_->index; }
    int32_t column() const { return cell_->index; }

    CellDataType dataType() const { return cell_->type; }
    bool isNumeric() const;

    // Writes a text as typed: error words, then (unless the cell is formatted as text) numbers,
    // money, booleans and dates become values; the rest is a string, or with `flag` 1 a formula
    // when the formula parser accepts it. Throws ESheetError on a cell inside an array formula.
    void setText(std::u16string_view text, uint8_t flag);

    // The text as the user sees it in the grid, through the cell's number format.
    std::u16string displayText() const;
    // The colour a [Red] or [ColorN] section of the cell's number format gives what it shows;
    // none when the section names no colour.
    std::optional<uint32_t> displayColour() const;

    // The plain text of the value; empty for errors.
    std::u16string asString() const;
    double asFloat() const;

    // A copy of the value; for a formula, its text (see formulaResult for what it computes).
    CellValue value() const;
    CellValue formulaResult() const;
    const std::u16string& formulaText() const;

    // Stores a value by its kind; a string goes through setText with flag 1.
    void setValue(const CellValue& value);
    // Stores the value exactly as it is, a string as a string and a formula by its text: for
    // readers of files and snapshots, which must not reinterpret what they read.
    void assign(const CellValue& value) { replaceValue(value); }
    void setError(FormulaErrorCode code);
    void setString(std::u16string_view text);
    // Stores a string entry of this workbook's table that another cell holds: for readers
    // whose files name each distinct text once.
    void setSharedString(SharedString* entry);
    // Parses `text` ("=" and an expression) as a formula; false (and nothing changed) when the
    // parser refuses it.
    bool setFormula(std::u16string_view text);
    // A formula as a workbook file gives it ("=" optional, _xlfn. prefixes and all). One the
    // parser refuses stays a formula that shows #NAME?, its text kept for saving: a cell never
    // shows a formula's text as if it were data.
    void setFileFormula(std::u16string_view text);
    // The top left cell of an array formula that fills `area`; a dynamic one spills its result.
    void setArrayFormula(std::u16string_view fileText, const CellRect& area, bool dynamic);
    // Another cell of such an area: it shows its element of the top left cell's result.
    void setArrayMember(const CellRect& area, bool dynamic);
    // The formula object of a formula cell, none for other cells.
    const CellFormula* formula() const;
    void clear();

    uint16_t style() const { return cell_->style; }
    void setStyle(uint16_t style);
    const std::u16string& numberFormat() const;

    void setShowFormula(ShowFormula show) { cell_->showFormula = show; }

private:
    friend class SheetTable;
    void recordChange();
    void finishChange();
    void replaceValue(const CellValue& value);
    void installFormula(std::unique_ptr<CellFormula> formula);
    void storeValue(const CellValue& value);
    void releaseValue();
    bool showsFormula() const;
    std::u16string numberText(CellDataType type, double number, uint64_t bits) const;

    SheetTable* sheet_ = nullptr;
    SheetRow* row_ = nullptr;
    SheetCell* cell_ = nullptr;
};

}  // namespace kes
