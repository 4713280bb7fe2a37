#include <gtest/gtest.h>

#include "sheet/formula/formula_parser.h"
#include "tree_dump.h"

namespace kes::formula {
namespace {

TEST(ReferenceOffset, MovesRelativePartsAndLosesReferencesOffTheSheet) {
    struct Case { std::u16string_view text; int32_t rows; int32_t columns; std::u16string_view moved; };
    const Case cases[] = {
        {u"=A1", 1, 1, u"=B2"},
        {u"=$A$1", 5, 5, u"=$A$1"},
        {u"=A$1", 2, 3, u"=D$1"},
        {u"=$A1", 2, 3, u"=$A3"},
        {u"=B3", -1, -1, u"=A2"},
        {u"=SUM(A1:B2)*C3", 1, 0, u"=SUM(A2:B3)*C4"},
        {u"=A:A", 5, 0, u"=A:A"},
        {u"=A:$C", 9, 1, u"=B:$C"},
        {u"=1:1", 0, 3, u"=1:1"},
        {u"=$1:2", 1, 0, u"=$1:3"},
        {u"=Sheet1!A1+'My Sheet'!B2", 1, 0, u"=Sheet1!A2+'My Sheet'!B3"},
        {u"=Sheet1:Sheet3!A1", 0, 1, u"=Sheet1:Sheet3!B1"},
        {u"=$C1:D1", 0, -2, u"=B1:$C1"},
        {u"=Rate*A1+SUM({1,2})", 1, 0, u"=Rate*A2+SUM({1,2})"},
        // Off the sheet, in every direction and shape.
        {u"=A1", -1, 0, u"=#REF!"},
        {u"=A1", 0, -1, u"=#REF!"},
        {u"=XFD1", 0, 1, u"=#REF!"},
        {u"=A1048576", 1, 0, u"=#REF!"},
        {u"=A1+B1", 0, -1, u"=#REF!+A1"},
        {u"=SUM(A1:B2)", 0, -1, u"=SUM(#REF!)"},
        {u"=SUM($A1:B2)", -1, 0, u"=SUM(#REF!)"},
        {u"=A:A", 0, -1, u"=#REF!"},
        {u"=1:1", -1, 0, u"=#REF!"},
        {u"=Sheet1!A1", -1, 0, u"=Sheet1!#REF!"},
        {u"='My Sheet'!A1:B2", 0, -5, u"='My Sheet'!#REF!"},
        {u"=Rate:A1", 0, -1, u"=Rate:#REF!"},
        {u"=A1 B1", 0, -1, u"=#REF! A1"},
        {u"=SUM((A1,B1))", 0, -1, u"=SUM((#REF!,A1))"},
        {u"=Sheet1!#REF!+A1", 1, 0, u"=Sheet1!#REF!+A2"},
        {u"=A1", 2147483647, 0, u"=#REF!"},
        {u"=A1", -2147483647 - 1, 0, u"=#REF!"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
        auto expression = parseFormula(c.text);
        ASSERT_NE(expression, nullptr);
        offsetReferences(*expression, c.rows, c.columns);
        const std::u16string moved = formulaText(*expression);
        EXPECT_EQ(moved, c.moved);
        // What a moved formula says is what its text says.
        EXPECT_EQ(dumpFormula(moved), dumpTree(*expression));
    }
}

TEST(ReferenceOffset, MovingThereAndBackRestoresTheFormula) {
    const std::u16string_view text = u"=SUM(B2:C3,$D4,E$5)/Sheet2!F6";
    auto expression = parseFormula(text);
    ASSERT_NE(expression, nullptr);
    offsetReferences(*expression, 100, 7);
    offsetReferences(*expression, -100, -7);
    EXPECT_EQ(formulaText(*expression), text);
}

}  // namespace
}  // namespace kes::formula
