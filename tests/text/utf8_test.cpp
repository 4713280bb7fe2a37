#include "text/utf8.h"

#include <gtest/gtest.h>

namespace kes {
namespace {

TEST(Utf8, EncodesEveryLengthAndReplacesUnpairedSurrogates) {
    struct Case { std::u16string in; std::string out; };
    const Case cases[] = {
        {u"", ""},
        {u"A1", "A1"},
        {u"\u00A5", "\xC2\xA5"},
        {u"\u54C1\u540D", "\xE5\x93\x81\xE5\x90\x8D"},           // 品名
        {u"\U0001F600", "\xF0\x9F\x98\x80"},
        {std::u16string(1, char16_t(0xD83D)) + u"x", "\xEF\xBF\xBDx"},
        {std::u16string(1, char16_t(0xDE00)), "\xEF\xBF\xBD"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(toUtf8(c.in), c.out);
    }
}

TEST(Utf8, DecodesAndReplacesMalformedSequences) {
    struct Case { std::string in; std::u16string out; bool valid; };
    const Case cases[] = {
        {"abc", u"abc", true},
        {"\xE5\x93\x81", u"\u54C1", true},
        {"\xF0\x9F\x98\x80", u"\U0001F600", true},
        {"\xEF\xBF\xBD", u"\uFFFD", true},
        {"\xC0\xAF", u"\uFFFD\uFFFD", false},           // overlong
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},  // encoded surrogate
        {"\xE5\x93", u"\uFFFD", false},                  // truncated at the end
        {"\xE5\x93x", u"\uFFFDx", false},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},  // beyond U+10FFFF
        {"\xFF", u"\uFFFD", false},
        {"\xD6\xD0\xCE\xC4", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},  // 中文 in GBK
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fromUtf8(c.in), c.out) << c.in;
        EXPECT_EQ(isValidUtf8(c.in), c.valid) << c.in;
    }
}

TEST(Utf8, RoundTripsAllBmpAndSomeSupplementaryCharacters) {
    std::u16string all;
    for (char32_t u = 1; u < 0x10000; ++u) {
        if (u < 0xD800 || u > 0xDFFF) all.push_back(static_cast<char16_t>(u));
    }
    all += u"\U00010000\U0010FFFF";
    const std::string bytes = toUtf8(all);
    EXPECT_TRUE(isValidUtf8(bytes));
    EXPECT_EQ(fromUtf8(bytes), all);
}

}  // namespace
}  // namespace kes
