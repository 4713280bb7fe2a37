#include "sheet/editing/find_replace.h"

#include "sheet_fixture.h"

namespace kes {
namespace {

using FindReplace = EditingTest;

TEST(ReplaceMatches, ReplacesEveryMatchAsAsked) {
    struct Case { std::u16string_view text; FindOptions options; std::u16string_view replacement; std::optional<std::u16string> result; };
    const Case cases[] = {
        {u"Screw screw", {u"screw"}, u"bolt", u"bolt bolt"},
        {u"Screw screw", {u"screw", true}, u"bolt", u"Screw bolt"},
        {u"aaa", {u"aa"}, u"b", u"ba"},
        {u"M6", {u"m6", false, true}, u"M8", u"M8"},
        {u"M6 x", {u"M6", false, true}, u"M8", std::nullopt},
        {u"nut", {u"bolt"}, u"x", std::nullopt},
        {u"=A1*2", {u"A1"}, u"B1", u"=B1*2"},
        {u"x", {u""}, u"y", std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(replaceMatches(c.text, c.options, c.replacement), c.result) << std::string(c.text.begin(), c.text.end());
    }
}

TEST_F(FindReplace, FindGoesOnFromTheCurrentCellAndWraps) {
    put(1, 0, u"Screw M6");
    put(3, 2, u"screw m8");
    put(5, 1, u"nut");
    put(6, 1, u"=5*2");
    EXPECT_EQ(findMatch(sheet, {u"screw"}, {1, 0}), (CellPosition{3, 2}));
    EXPECT_EQ(findMatch(sheet, {u"screw"}, {3, 2}), (CellPosition{1, 0}));
    EXPECT_EQ(findMatch(sheet, {u"Screw", true}, {1, 0}), (CellPosition{1, 0}));
    EXPECT_EQ(findMatch(sheet, {u"nu", false, true}, {0, 0}), std::nullopt);
    EXPECT_EQ(findMatch(sheet, {u"10"}, {0, 0}), (CellPosition{6, 1}));    // what it shows
    EXPECT_EQ(findMatch(sheet, {u"5*"}, {0, 0}), (CellPosition{6, 1}));    // what it holds
    EXPECT_FALSE(findMatch(sheet, {u"bolt"}, {0, 0}));
}

TEST_F(FindReplace, ReplacedTextsAreTypedAgainAndUndoneTogether) {
    put(0, 0, u"SN-100");
    put(1, 0, u"100");
    put(2, 0, u"=100+1");
    put(3, 0, u"no");
    const std::u16string before = dump();
    EXPECT_EQ(replaceAll(sheet, {u"100"}, u"200", writer()), 3);
    EXPECT_EQ(edit(0, 0), u"SN-200");
    EXPECT_TRUE(sheet.getCell(1, 0).isNumeric());
    EXPECT_EQ(shown(2, 0), u"201");
    book.history().undo();
    EXPECT_EQ(dump(), before);

    // Replace: the current cell when it matches, then on to the next match.
    EXPECT_EQ(replaceNext(sheet, {u"100"}, u"7", {3, 0}, writer()), (CellPosition{0, 0}));
    EXPECT_EQ(dump(), before);
    EXPECT_EQ(replaceNext(sheet, {u"100"}, u"7", {0, 0}, writer()), (CellPosition{1, 0}));
    EXPECT_EQ(edit(0, 0), u"SN-7");
    EXPECT_EQ(replaceNext(sheet, {u"100"}, u"7", {1, 0}, writer()), (CellPosition{2, 0}));
    EXPECT_EQ(replaceNext(sheet, {u"100"}, u"7", {2, 0}, writer()), std::nullopt);
    EXPECT_EQ(shown(2, 0), u"8");
}

}  // namespace
}  // namespace kes
