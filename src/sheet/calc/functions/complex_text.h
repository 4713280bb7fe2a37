#pragma once
// Complex numbers as the engineering functions exchange them: texts such as "3+4i", "-2.5j",
// "i" or "7", written back with up to 15 significant digits the way Excel writes them.
#include <optional>
#include <string>
#include <string_view>

#include "sheet/calc/call.h"

namespace kes::calc {

struct Complex {
    double re = 0;
    double im = 0;
};

// A complex number read from its text, with the suffix its imaginary part carries (0 when it
// has none); none when the text is no complex number.
struct ComplexText {
    Complex value;
    char16_t suffix = 0;
};
std::optional<ComplexText> parseComplex(std::u16string_view text);

// The text of a complex number with the suffix `i` or `j`; the parts of 1 and -1 in front of
// the suffix are left out ("i", "3-j"), a zero part entirely.
std::u16string formatComplex(const Complex& value, char16_t suffix);

// A complex argument: a text as above (#NUM! when it is none), a number as a real one, blank
// as 0; a boolean is #VALUE!.
ComplexText complexArgument(Call& call, size_t index);
ComplexText complexOf(const Value& value);

}  // namespace kes::calc
