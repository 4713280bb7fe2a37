#pragma once
// A workbook for formula tests: fill cells as a user types them, then compute formulas in a
// free cell and look at the result as the cell holds it and as the grid shows it.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <string_view>

#include "sheet/formula/cell_address.h"
#include "sheet/workbook.h"

namespace kes::calc::testing {

class CalcFixture : public ::testing::Test {
protected:
    // Types `text` into the cell at an A1 address ("B3", or "Other!B3" on another sheet, which
    // is made when missing), as the grid does with the formula switch on.
    void set(std::u16string_view address, std::u16string_view text) { cellAt(address, true).setText(text, 1); }

    // Fills a block from its top left cell, one row per string, cells separated by tabs.
    void fill(std::u16string_view topLeft, std::initializer_list<std::u16string_view> rows) {
        CellRef corner = cellAt(topLeft, true);
        SheetTable& sheet = corner.sheet();
        int32_t r = corner.row();
        for (std::u16string_view line : rows) {
            int32_t c = corner.column();
            size_t start = 0;
            for (;;) {
                const size_t tab = line.find(u'\t', start);
                sheet.createCell(r, c++).setText(line.substr(start, tab == std::u16string_view::npos ? tab : tab - start), 1);
                if (tab == std::u16string_view::npos) break;
                start = tab + 1;
            }
            ++r;
        }
    }

    // The result of a formula entered in a cell of its own (Z1000 of the first sheet).
    CellValue result(std::u16string_view formula) {
        CellRef cell = book.sheet(0).createCell(999, 25);
        cell.setText(formula, 1);
        return cell.formulaResult();
    }
    // The same formula as the grid shows it: through the cell's number format, errors as words.
    std::u16string shown(std::u16string_view formula) {
        CellRef cell = book.sheet(0).createCell(999, 25);
        cell.setText(formula, 1);
        return cell.displayText();
    }
    // A number result, NaN when the result is not a number.
    double number(std::u16string_view formula) {
        const CellValue v = result(formula);
        return isNumericType(v.type) ? v.asFloat() : std::nan("");
    }

    CellRef cellAt(std::u16string_view address, bool create) {
        SheetTable* sheet = &book.sheet(0);
        if (const size_t bang = address.find(u'!'); bang != std::u16string_view::npos) {
            const std::u16string name(address.substr(0, bang));
            sheet = book.findSheet(name);
            if (!sheet) sheet = &book.addSheet(name);
            address.remove_prefix(bang + 1);
        }
        formula::CellAddress a;
        if (formula::scanCellAddress(address, 0, a) != address.size()) ADD_FAILURE() << "not an address";
        return create ? sheet->createCell(a.row, a.column) : sheet->getCell(a.row, a.column);
    }

    Workbook book;
};

// Compares a number result with Excel's to the 15 significant digits Excel shows.
inline ::testing::AssertionResult closeTo(double actual, double expected) {
    if (actual == expected) return ::testing::AssertionSuccess();
    const double tolerance = 1e-12 * std::max(std::fabs(expected), 1e-300);
    if (std::fabs(actual - expected) <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << actual << " is not " << expected;
}

}  // namespace kes::calc::testing
