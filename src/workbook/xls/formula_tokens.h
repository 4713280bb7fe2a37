#pragma once
// Formulas as Excel's binary workbooks store them: parsed-expression tokens in reverse Polish
// order, with the numbers of Excel's built-in functions from the evaluator's table of functions.
// Tokens are read in the layout of each version from BIFF2 to BIFF8 (the sizes of references,
// function numbers and texts changed), written as BIFF8. Every token of a cell or name formula
// is read: references on this and other sheets and workbooks, ranges of
// sheets, defined names, add-in and newer functions called by name, array constants, memory
// areas and Excel's shortcuts (the SUM attribute, IF and CHOOSE jumps). Writing covers what
// label sheets use; a formula outside it (names, arrays, unions, functions that have no BIFF
// number) has no tokens, and the writer stores its result instead.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/formula/formula_ast.h"
#include "text/code_page.h"
#include "workbook/xls/biff_records.h"

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

// What the indexes of a workbook's formula tokens stand for: the workbooks (SUPBOOK records,
// each with its EXTERNNAME records; before BIFF8 one per EXTERNSHEET record), the EXTERNSHEET
// entries that name a workbook and a range of its sheets, and the defined names (NAME records,
// in order); with the version whose token layout the formulas use and the code page of their
// 8-bit texts before BIFF8.
struct TokenNames {
    struct Book {
        enum class Kind : uint8_t { Own, AddIn, Other } kind = Kind::Other;
        std::u16string reference;             // how a formula names another workbook: "[1]"
        std::vector<std::u16string> sheets;   // the sheet names of another workbook
        std::vector<std::u16string> names;    // its EXTERNNAME records: add-in functions, names
    };
    struct ExternSheet {
        uint16_t book;
        int32_t first;   // sheet indexes in that workbook; negative for none (a deleted sheet)
        int32_t last;
    };
    std::vector<Book> books;
    std::vector<ExternSheet> externSheets;
    std::vector<std::u16string> ownSheets;      // this workbook's sheet names, by index
    std::vector<std::u16string> definedNames;   // the NAME records' names, in order
    biff::Version version = biff::Version::Biff8;
    CodePage codePage;
};

// The formula text, "=" included, of tokens and the extra data after them (array constants and
// memory areas, rgcb). None for malformed tokens, and for relative references when no `cell`
// is given.
std::optional<std::u16string> formulaFromTokens(std::string_view tokens, std::string_view extra,
                                                const TokenNames& names,
                                                std::optional<TokenCell> cell = std::nullopt);

}  // namespace kes
