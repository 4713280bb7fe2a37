// The regular expressions of the REGEX functions, matched as PCRE matches them.
#include <gtest/gtest.h>

#include <string>

#include "sheet/calc/functions/regex.h"

namespace kes::calc {
namespace {

std::string narrow(std::u16string_view s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? char(c) : '?';
    return out;
}

// The first match of the pattern, its groups joined by '|'; "-" for no match, "!" for a pattern
// that is not valid.
std::u16string firstMatch(std::u16string_view pattern, std::u16string_view text, bool ignoreCase = false) {
    const auto re = Regex::compile(pattern, ignoreCase);
    if (!re) return u"!";
    const auto m = re->search(text, 0);
    if (!m) return u"-";
    std::u16string out(m->group(text, 0));
    for (size_t g = 1; g <= re->groupCount(); ++g) {
        out += u'|';
        out += m->took(g) ? std::u16string(m->group(text, g)) : u"(none)";
    }
    return out;
}

TEST(Regex, MatchesAsPcreDoes) {
    const struct {
        std::u16string_view pattern, text, match;
    } cases[] = {
        // quantifiers: greedy, lazy, possessive, counted
        {u"a+", u"baaa", u"aaa"},
        {u"a+?", u"baaa", u"a"},
        {u"<.+>", u"<a><b>", u"<a><b>"},
        {u"<.+?>", u"<a><b>", u"<a>"},
        {u"a++a", u"aaa", u"-"},
        {u"\\d{2,3}", u"12345", u"123"},
        {u"\\d{2,}?", u"12345", u"12"},
        {u"x{,2}y", u"xxxy", u"xxy"},
        {u"a{2}{", u"aa{", u"aa{"},   // a brace that is no quantifier is a literal
        // classes, escapes and dots
        {u"[^\\d\\s]+", u"12 ab3", u"ab"},
        {u"[a-c-]+", u"x-ab-z", u"-ab-"},
        {u"[]a]+", u"x]a]", u"]a]"},
        {u"[[:alpha:]]+[[:^alpha:]]", u"1ab2", u"ab2"},
        {u"\\x41\\x{4E2D}\\u6587", u"A\u4E2D\u6587", u"A\u4E2D\u6587"},
        {u"a.c", u"a\nc abc", u"abc"},
        {u"(?s)a.c", u"a\nc", u"a\nc"},
        {u"\\Qa.b\\E+", u"a.bb axb", u"a.bb"},
        {u"\\p{Han}+", u"ab\u4E2D\u6587cd", u"\u4E2D\u6587"},
        {u"\\p{Lu}\\p{Ll}+", u"abc Def", u"Def"},
        {u".", u"\U0001F600x", u"\U0001F600"},   // a character beyond U+FFFF is one
        // anchors and boundaries
        {u"^b", u"ab", u"-"},
        {u"(?m)^b", u"a\nb", u"b"},
        {u"a$", u"a\n", u"a"},          // $ before a last newline
        {u"a\\z", u"a\n", u"-"},
        {u"\\bcat\\b", u"concat cat", u"cat"},
        {u"\\Bcat", u"cat concat", u"cat"},
        // groups, alternation and backreferences
        {u"(a|ab)(c|bcd)(d*)", u"abcd", u"abcd|a|bcd|"},
        {u"(\\w)\\1", u"abccd", u"cc|c"},
        {u"(?<x>[a-z])-\\k<x>", u"a-b b-b", u"b-b|b"},
        {u"(a)?b", u"b", u"b|(none)"},
        {u"(a)|\\1b", u"b", u"-"},    // a group that took no part matches nothing
        {u"(?:ab)+", u"ababa", u"abab"},
        {u"(a*)*b", u"aab", u"aab|"},  // an empty iteration ends the loop
        // lookaround and atomic groups
        {u"\\d+(?=%)", u"5 10%", u"10"},
        {u"\\d+(?!\\d|%)", u"10% 7", u"7"},
        {u"(?<=\\$)\\d+", u"5 $12", u"12"},
        {u"(?<!\\$)\\b\\d+", u"$5 12", u"12"},
        {u"(?<=ab|c)d", u"abd", u"d"},
        {u"(?>a+)b", u"aab", u"aab"},
        {u"(?>a|ab)c", u"abc", u"-"},
        // inline flags and extended mode
        {u"(?i)ABC", u"xabc", u"abc"},
        {u"a(?i:B)c", u"aBc abC", u"aBc"},
        {u"(?x) a b # comment\n c", u"abc", u"abc"},
        // patterns PCRE refuses
        {u"(", u"", u"!"},
        {u"a{3,2}", u"", u"!"},
        {u"*a", u"", u"!"},
        {u"(?<=a+)b", u"", u"!"},   // a lookbehind of unbounded length
        {u"\\1(a)", u"aa", u"-"},
        {u"\\2(a)", u"", u"!"},
        {u"\\y", u"", u"!"},
        {u"[b-a]", u"", u"!"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(firstMatch(c.pattern, c.text), c.match) << narrow(c.pattern);
    }
}

TEST(Regex, IgnoringCaseFoldsLettersBeyondAscii) {
    EXPECT_EQ(firstMatch(u"\u00C9t\u00E9", u"\u00E9T\u00C9", true), u"\u00E9T\u00C9");
    EXPECT_EQ(firstMatch(u"[\u0410-\u042F]+", u"\u0430\u0431", true), u"\u0430\u0431");
    EXPECT_EQ(firstMatch(u"(\\w)\\1", u"aA", true), u"aA|a");
    EXPECT_EQ(firstMatch(u"(?-i)a", u"A", true), u"-");
}

TEST(Regex, SearchesFromAPositionAndGivesUpOnRunawayPatterns) {
    const auto re = Regex::compile(u"\\d+", false);
    ASSERT_TRUE(re);
    const std::u16string text = u"a1b22";
    const auto second = re->search(text, 2);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->start(), 3u);
    EXPECT_FALSE(re->search(text, 5));
    const auto anchored = Regex::compile(u"^a", false);
    EXPECT_FALSE(anchored->search(u"aa", 1));

    // Searches that share a budget stop together once it is spent.
    size_t budget = 40;
    EXPECT_TRUE(re->search(text, 0, budget));
    EXPECT_LT(budget, 40u);
    const auto searchOnAndOn = [&] {
        for (int i = 0; i < 40; ++i) re->search(text, 0, budget);
    };
    EXPECT_THROW(searchOnAndOn(), RegexTooComplex);

    const auto runaway = Regex::compile(u"(a|aa)+$", false);
    const std::u16string as = std::u16string(60, u'a') + u"b";
    EXPECT_THROW(runaway->search(as, 0), RegexTooComplex);
    // A counted repetition too large to compile is refused rather than expanded.
    EXPECT_FALSE(Regex::compile(u"((a{1000}){1000}){1000}", false));
}

}  // namespace
}  // namespace kes::calc
