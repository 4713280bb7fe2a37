#include "text/line_breaks.h"

#include <gtest/gtest.h>

#include <string>

namespace kes {
namespace {

// Lines of `text` where every character is 10 wide, as strings.
std::vector<std::u16string> linesOf(const std::u16string& text, int width) {
    std::vector<int> ends(text.size());
    for (size_t i = 0; i < text.size(); ++i) ends[i] = int(10 * (i + 1));
    std::vector<std::u16string> out;
    for (const LineSpan& line : breakLines(text, ends, width)) out.push_back(text.substr(line.begin, line.end - line.begin));
    return out;
}

using Lines = std::vector<std::u16string>;

TEST(LineBreaks, BreakAfterSpacesAndDropThemAtTheBreak) {
    EXPECT_EQ(linesOf(u"M6 GB/T 70.1", 200), Lines{u"M6 GB/T 70.1"});
    EXPECT_EQ(linesOf(u"M6 GB/T 70.1", 60), (Lines{u"M6", u"GB/T", u"70.1"}));
    EXPECT_EQ(linesOf(u"M6 GB/T 70.1", 40), (Lines{u"M6", u"GB/T", u"70.1"}));
    EXPECT_EQ(linesOf(u"ab    cd", 30), (Lines{u"ab", u"cd"}));
    EXPECT_EQ(linesOf(u"", 50), Lines{u""});
}

TEST(LineBreaks, LongWordsBreakWhereTheyOverflowAndEveryLineHoldsACharacter) {
    EXPECT_EQ(linesOf(u"SKU-000123", 40), (Lines{u"SKU-", u"0001", u"23"}));
    EXPECT_EQ(linesOf(u"ab", 5), (Lines{u"a", u"b"}));   // narrower than one character
    EXPECT_EQ(linesOf(u"x SKU-000123", 40), (Lines{u"x", u"SKU-", u"0001", u"23"}));
}

TEST(LineBreaks, CjkBreaksBetweenAnyCharacters) {
    // 内六角螺栓 不锈钢
    EXPECT_EQ(linesOf(u"\u5185\u516D\u89D2\u87BA\u6813", 30), (Lines{u"\u5185\u516D\u89D2", u"\u87BA\u6813"}));
    EXPECT_EQ(linesOf(u"M6\u87BA\u6813", 25), (Lines{u"M6", u"\u87BA\u6813"}));
    EXPECT_EQ(linesOf(u"\u4E0D\u9508\u94A2 M6", 30), (Lines{u"\u4E0D\u9508\u94A2", u"M6"}));
}

TEST(LineBreaks, LineBreaksAlwaysBreakAndEmptyLinesStay) {
    EXPECT_EQ(linesOf(u"a\nb", 200), (Lines{u"a", u"b"}));
    EXPECT_EQ(linesOf(u"a\r\nb", 200), (Lines{u"a", u"b"}));
    EXPECT_EQ(linesOf(u"a\n\nb", 200), (Lines{u"a", u"", u"b"}));
    EXPECT_EQ(linesOf(u"a\n", 200), Lines{u"a"});
    EXPECT_EQ(linesOf(u"\nab cd", 30), (Lines{u"", u"ab", u"cd"}));
}

}  // namespace
}  // namespace kes
