#pragma once
// The formula parser of the cell store: Excel's formula grammar (en-US function names, A1
// references) into an Expression, the canonical text back, and the move of relative
// references that copying a formula makes.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sheet/formula/formula_ast.h"

namespace kes::formula {

// The longest formula text, "=" included, that the parser reads, as in Excel.
constexpr size_t kMaxFormulaLength = 8192;

struct ParseError {
    size_t offset = 0;     // in UTF-16 units from the start of the text, "=" included
    std::string message;   // English, UTF-8
};

// `text` is the whole cell text, starting with "=". Returns nullptr, and fills *error when
// given, when the text is not a formula. Never throws for any text.
std::unique_ptr<Expression> parseFormula(std::u16string_view text, ParseError* error = nullptr);

// Display is the text the grid shows and takes; File is the text workbook files carry, with the
// prefixes of newer functions (_xlfn.), of LET and LAMBDA parameters (_xlpm.), and
// _xlfn.SINGLE(x) and _xlfn.ANCHORARRAY(A1) for @x and A1#.
enum class TextStyle : uint8_t { Display, File };

// The formula's text rebuilt from the tree, with "=", in Excel's canonical spelling: no spaces
// but those of intersections, function names, references, booleans and errors upper case,
// names and sheet names as written, the parentheses the user wrote.
std::u16string formulaText(const Expression& expression, TextStyle style = TextStyle::Display);

// The file text with references in R1C1 notation relative to the cell at (row, column), as the
// XML Spreadsheet 2003 format writes formulas: RC[-1], R1C1:R2C2, C1:C3.
std::u16string formulaTextR1C1(const Expression& expression, int32_t row, int32_t column);

// Moves every relative reference by (rows, columns), as Excel does when a formula is copied
// or a shared formula is expanded; a reference moved off the sheet becomes #REF!.
void offsetReferences(Expression& expression, int32_t rows, int32_t columns);

}  // namespace kes::formula
