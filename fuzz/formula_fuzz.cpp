// Fuzz target: the formula parser, which never throws. A formula it accepts must give a
// canonical text that it reads back as the same formula, and must survive the move of its
// references that copying makes: the moved text parses again, unless moving lengthened it past
// the longest formula the parser reads.
#include <cstdint>
#include <string>

#include "fuzz_common.h"
#include "sheet/formula/formula_parser.h"
#include "text/utf8.h"

using namespace kes;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const int32_t rows = int8_t(data[0]) * 4099, columns = int8_t(data[1]) * 131;
    const std::u16string text = u"=" + fromUtf8(std::string_view(reinterpret_cast<const char*>(data) + 2, size - 2));
    formula::ParseError error;
    std::unique_ptr<formula::Expression> expression = formula::parseFormula(text, &error);
    if (!expression) {
        if (error.offset > text.size()) fuzz::broken("a parse error offset beyond the text");
        return 0;
    }
    const std::u16string canonical = formula::formulaText(*expression, formula::TextStyle::File);
    std::unique_ptr<formula::Expression> again = formula::parseFormula(canonical);
    if (!again) fuzz::broken("the canonical text of a formula does not parse");
    if (formula::formulaText(*again, formula::TextStyle::File) != canonical) fuzz::broken("the canonical text is not stable");
    formula::offsetReferences(*expression, rows, columns);
    const std::u16string moved = formula::formulaText(*expression, formula::TextStyle::File);
    if (!formula::parseFormula(moved) && moved.size() <= formula::kMaxFormulaLength)
        fuzz::broken("the text of a moved formula does not parse");
    return 0;
}
