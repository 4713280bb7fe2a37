#include <gtest/gtest.h>

#include "text/code_page.h"

namespace kes {
namespace {

// Each code page old Excel files name, by the bytes Windows writes for a few characters: a
// wrong table, a lead byte taken for a character or a trail byte lost shows as other text.
TEST(CodePage, DecodesTheCodePagesOldWorkbooksName) {
    const struct {
        uint16_t codePage;
        std::string bytes;
        std::u16string text;
    } cases[] = {
        {936, "\xC6\xB7\xC3\xFB", u"\u54C1\u540D"},                      // GBK
        {936, "A\x80 \x81\x40", u"A\u20AC \u4E02"},                      // the euro sign, a GBK extension character
        {932, "\x8A\xBF\x8E\x9A\xB1", u"\u6F22\u5B57\uFF71"},           // Shift-JIS with a half-width katakana
        {949, "\xC7\xD1\xB1\xB9", u"\uD55C\uAD6D"},                      // Korean
        {950, "\xA4\xA4\xA4\xE5", u"\u4E2D\u6587"},                      // Big5
        {1252, "\xE9\x80\x81", u"\u00E9\u20AC\u0081"},                   // an undefined byte keeps its value
        {1251, "\xC6", u"\u0416"},
        {10000, "\x8A\x8E", u"\u00E4\u00E9"},                            // Mac Roman
        {0x8000, "\x8A", u"\u00E4"},                                     // BIFF2-4's number for Mac Roman
        {0x8001, "\x80", u"\u20AC"},                                     // and for Windows' 1252
        {437, "\x82", u"\u00E9"},
        {850, "\xA4", u"\u00F1"},
        {1200, "\xE9", u"\u00E9"},                                       // UTF-16 files' 8-bit texts are Latin-1
        {12345, "\x80", u"\u20AC"},                                      // unknown: 1252
        {936, "ab\xC6", u"ab?"},                                         // a lead byte without its trail
        {936, "\xC6\x20", u"? "},                                        // a lead byte before no trail byte
        {932, "\x85\x40", u"?"},                                         // a pair without a character
    };
    for (const auto& c : cases) EXPECT_EQ(CodePage(c.codePage).decode(c.bytes), c.text) << c.codePage << " " << c.bytes;
}

}  // namespace
}  // namespace kes
