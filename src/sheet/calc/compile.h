#pragma once
// A formula text made ready for the evaluator: parsed, its function calls bound to the
// built-ins, and the names LET and LAMBDA bind told apart from defined names.
#include <memory>
#include <string_view>

#include "sheet/formula/formula_parser.h"

namespace kes::calc {

// None, with *error filled when given, for a text the parser refuses.
std::unique_ptr<formula::Expression> compileFormula(std::u16string_view text, formula::ParseError* error = nullptr);

}  // namespace kes::calc
