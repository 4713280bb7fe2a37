#pragma once
// Formulas as BIFF8 stores them: parsed-expression tokens in reverse Polish order. Written and
// read for the subset label sheets use: numbers, texts, booleans, errors, cell and area
// references (also on other sheets of the workbook), the arithmetic, text and comparison
// operators, parentheses and the common functions by their Excel numbers. A formula outside
// it (names, arrays, unions, 3-D spans, functions Excel 97 did not have...) has no tokens, and
// the writer stores its result instead.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/formula/formula_ast.h"

namespace kes {

// The EXTERNSHEET index for a sheet a formula names, or none when the workbook has no such sheet.
using ExternSheetOf = std::function<std::optional<uint16_t>(std::u16string_view sheet)>;

// The tokens (rgce) of a formula, or none when it is outside the written subset or refers
// beyond the 65,536 rows and 256 columns of the format.
std::optional<std::string> formulaTokens(const formula::Expression& expression,
                                         const ExternSheetOf& externSheet);

// The cell the tokens of a shared formula (SHRFMLA) are read for: their relative references
// (tRefN, tAreaN) are offsets from it.
struct TokenCell {
    uint16_t row;
    uint16_t column;
};

// The formula text, "=" included, of tokens; `externSheets` names the sheet of each
// EXTERNSHEET index (empty for one that is no sheet of this workbook). None for tokens outside
// the subset, for malformed ones, and for formulas calling a function the grid does not compute;
// also for relative references when no `cell` is given.
std::optional<std::u16string> formulaFromTokens(std::string_view tokens,
                                                const std::vector<std::u16string>& externSheets,
                                                std::optional<TokenCell> cell = std::nullopt);

}  // namespace kes
