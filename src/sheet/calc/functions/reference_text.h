#pragma once
// References written as text, the way ADDRESS writes them and INDIRECT reads them: A1 and
// R1C1 notation, with a sheet name quoted where a formula would need quotes.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/calc/evaluator.h"

namespace kes::calc {

// How ADDRESS marks the row and the column: 1 both absolute, 2 the row, 3 the column, 4 none.
std::u16string addressText(int32_t row, int32_t column, int absolute, bool a1);
// "Sheet1!" or "'My Sheet'!" in front of an address; "!" for an empty name, as Excel writes it.
std::u16string sheetPrefix(std::u16string_view sheet);

// A reference in R1C1 notation (R2C3, R[-1]C, R1:R3, C[2], Sheet2!R1C1:R2C2), relative parts
// counted from the cell at (row, column); none when the text is no such reference or points
// off the sheet. The sheet name, when the text gives one, goes to *sheet.
struct R1C1Reference {
    std::u16string sheet;
    bool hasSheet = false;
    int32_t top, left, bottom, right;   // inclusive, ordered
};
std::optional<R1C1Reference> parseR1C1(std::u16string_view text, int32_t row, int32_t column);

// The reference INDIRECT gives for a text, as the formula at the evaluator's cell reads it:
// an A1 reference, a sheet's, a defined name or a table's columns; or the R1C1 form. #REF!
// for anything else.
Value referenceFromText(Evaluator& evaluator, std::u16string_view text, bool a1);

}  // namespace kes::calc
