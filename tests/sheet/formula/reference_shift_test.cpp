#include "sheet/formula/reference_shift.h"

#include <gtest/gtest.h>

#include "sheet/formula/formula_parser.h"

namespace kes::formula {
namespace {

// Unqualified references and those naming "Data" point at the sheet whose cells move.
bool onData(const Expression& e, const Node& node) { return node.sheet.empty() || e.text(node.sheet) == u"Data"; }

std::u16string shifted(std::u16string_view text, LineShift shift) {
    auto expression = parseFormula(text);
    EXPECT_TRUE(expression) << std::string(text.begin(), text.end());
    if (!expression) return {};
    const std::u16string before = formulaText(*expression);
    const bool changed = shiftReferences(*expression, shift, onData);
    const std::u16string after = formulaText(*expression);
    EXPECT_EQ(changed, after != before) << std::string(text.begin(), text.end());
    return after;
}

TEST(ReferenceShift, InsertedAndDeletedLinesMoveEveryReferenceToTheCellsAfterThem) {
    struct Case { std::u16string_view text; LineShift shift; std::u16string_view result; };
    const Case cases[] = {
        // Two rows inserted before row 5 (index 4): absolute or not, references from row 5 on move.
        {u"=A4+A5+$B$9", {true, 4, 2}, u"=A4+A7+$B$11"},
        {u"=SUM(A1:A4)", {true, 4, 2}, u"=SUM(A1:A4)"},
        {u"=SUM(A3:B6)", {true, 4, 2}, u"=SUM(A3:B8)"},         // inserted inside: the area grows
        {u"=SUM(C:C)+SUM(5:6)", {true, 4, 1}, u"=SUM(C:C)+SUM(6:7)"},
        {u"=Data!A9+Other!A9", {true, 0, 1}, u"=Data!A10+Other!A9"},
        {u"=A1048576", {true, 0, 1}, u"=#REF!"},                 // pushed off the sheet
        {u"=SUM(A2:A1048576)", {true, 0, 1}, u"=SUM(A3:A1048576)"},
        // Rows 3 and 4 (indexes 2, 3) deleted.
        {u"=A3", {true, 2, -2}, u"=#REF!"},
        {u"=Data!A4", {true, 2, -2}, u"=Data!#REF!"},
        {u"=A5*2", {true, 2, -2}, u"=A3*2"},
        {u"=SUM(A1:A10)", {true, 2, -2}, u"=SUM(A1:A8)"},        // the area shrinks
        {u"=SUM(A3:A4)", {true, 2, -2}, u"=SUM(#REF!)"},         // all of it deleted
        {u"=SUM(A4:B9)", {true, 2, -2}, u"=SUM(A3:B7)"},         // its top deleted: it starts where they were
        {u"=SUM(A1:A3)", {true, 2, -2}, u"=SUM(A1:A2)"},
        // Columns: B (index 1) inserted, then B:C deleted.
        {u"=A1+B1+$C$2+SUM(A:C)", {false, 1, 1}, u"=A1+C1+$D$2+SUM(A:D)"},
        {u"=SUM(2:2)+B1", {false, 1, 1}, u"=SUM(2:2)+C1"},
        {u"=B1+D1+SUM(A1:E1)", {false, 1, -2}, u"=#REF!+B1+SUM(A1:C1)"},
    };
    for (const Case& c : cases) EXPECT_EQ(shifted(c.text, c.shift), c.result) << std::string(c.text.begin(), c.text.end());
}

TEST(ReferenceShift, AMovedBlockTakesTheReferencesInsideItAlong) {
    struct Case { std::u16string_view text; std::u16string_view result; };
    // B2:C3 moved three rows down and one column right.
    const BlockMove move{1, 1, 2, 2, 3, 1};
    const Case cases[] = {
        {u"=B2+$C$3", u"=C5+$D$6"},
        {u"=SUM(B2:C3)", u"=SUM(C5:D6)"},
        {u"=SUM(A1:C3)", u"=SUM(A1:C3)"},   // only partly inside: stays
        {u"=A1+D4", u"=A1+D4"},
        {u"=Other!B2", u"=Other!B2"},
    };
    for (const Case& c : cases) {
        auto expression = parseFormula(c.text);
        ASSERT_TRUE(expression);
        moveReferences(*expression, move, onData);
        EXPECT_EQ(formulaText(*expression), c.result) << std::string(c.text.begin(), c.text.end());
    }
}

}  // namespace
}  // namespace kes::formula
