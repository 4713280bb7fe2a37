#pragma once
// The error values as formulas write them: #NULL! #DIV/0! #VALUE! #REF! #NAME? #NUM! #N/A, and
// the newer #SPILL! and #CALC!.
#include <cstddef>
#include <string_view>

#include "sheet/formula/formula_ast.h"

namespace kes::formula {

struct ErrorWord {
    std::u16string_view text;
    ErrorCode code;
};

// The error value written at `pos`, in any case; nullptr when there is none.
const ErrorWord* errorWordAt(std::u16string_view text, size_t pos);

// The canonical (upper-case) text of an error value.
std::u16string_view errorWordText(ErrorCode code);

}  // namespace kes::formula
