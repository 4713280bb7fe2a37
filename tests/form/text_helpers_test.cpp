#include "form/text_helpers.h"

#include <gtest/gtest.h>

namespace kes {
namespace {

TEST(TextHelpers, IsEmptyStrTrimsEveryControlCharacter) {
    EXPECT_TRUE(IsEmptyStr(u""));
    EXPECT_TRUE(IsEmptyStr(u"   "));
    EXPECT_TRUE(IsEmptyStr(u"\t\n\r\x01"));
    EXPECT_FALSE(IsEmptyStr(u"a"));
    EXPECT_FALSE(IsEmptyStr(u" a "));
    EXPECT_FALSE(IsEmptyStr(u"\u3000")) << "an ideographic space is not trimmed";
    EXPECT_EQ(TrimText(u" \t x y \r\n"), u"x y");
}

TEST(TextHelpers, SubStrCountCountsSeparatorsPlusOneOrZero) {
    struct Case { std::u16string text, separator; int32_t count; };
    const Case cases[] = {
        {u"", u",", 0},
        {u"abc", u",", 0},
        {u"a,b", u",", 2},
        {u"a,b,c", u",", 3},
        {u",a", u",", 2},
        {u"a,", u",", 2},
        {u",", u",", 2},
        {u"a,,b", u",", 3},
        {u"a,b", u"", 0},
        {u"a;b,c", u",;", 3},                                 // every character separates
        {std::u16string(u"a\0b", 3), u",", 2},               // a zero always separates
        {u"\U0001F600,x", u",\xD83D", 2},                     // surrogate halves never separate
    };
    for (const Case& c : cases) {
        EXPECT_EQ(SubStrCount(c.text, c.separator), c.count) << "item count";
    }
}

TEST(TextHelpers, GetSubStrReturnsTheNthItemUntrimmed) {
    struct Case { std::u16string text, separator; int32_t index; std::u16string item; };
    const Case cases[] = {
        {u"a,b,c", u",", 1, u"a"},
        {u"a,b,c", u",", 2, u"b"},
        {u"a,b,c", u",", 3, u"c"},
        {u"a,b,c", u",", 4, u""},
        {u"a,b,c", u",", 0, u"c"},
        {u"a,b,c", u",", -3, u"c"},
        {u"abc", u",", 1, u""},
        {u" x , y ", u",", 2, u" y "},
        {u"a,,b", u",", 2, u""},
        {u"a,b;c", u",;", 2, u""},     // the whole separator ",;" does not occur
        {u"a,;b", u",;", 3, u"b"},
        {u"\u54C1\u540D,\u6570\u91CF", u",", 2, u"\u6570\u91CF"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(GetSubStr(c.text, c.separator, c.index), c.item);
    }
}

}  // namespace
}  // namespace kes
