#pragma once
// Formula tests that look at a whole array result: the formula is computed as an array formula
// in a cell of its own and its result written as Excel writes an array constant, rows split by
// ";" and elements by "," (texts bare, blanks empty, errors as their words).
#include <memory>
#include <string>

#include "calc_fixture.h"
#include "sheet/calc/coerce.h"
#include "sheet/calc/compile.h"
#include "sheet/calc/evaluator.h"

namespace kes::calc::testing {

class ArrayFixture : public CalcFixture {
protected:
    std::u16string spilled(std::u16string_view formula) {
        const std::unique_ptr<formula::Expression> expression = compileFormula(formula);
        if (!expression) return u"(not a formula)";
        const Value result = Evaluator(book.sheet(0), 999, 25, *expression).run(true);
        if (!result.isArray()) return scalarToText(result);
        const Matrix& m = result.matrix();
        std::u16string out;
        for (int32_t r = 0; r < m.rows(); ++r) {
            if (r > 0) out += u';';
            for (int32_t c = 0; c < m.columns(); ++c) {
                if (c > 0) out += u',';
                out += scalarToText(m.at(r, c));
            }
        }
        return out;
    }
};

// Runs a table of {formula, expected} cases through `compute`, naming the formula that fails.
template <class Cases, class Compute>
void expectAll(const Cases& cases, Compute&& compute) {
    for (const auto& c : cases) {
        EXPECT_EQ(compute(c.formula), c.expected) << std::string(c.formula.begin(), c.formula.end());
    }
}

struct Case {
    std::u16string_view formula, expected;
};

}  // namespace kes::calc::testing
