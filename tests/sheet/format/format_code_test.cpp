#include <gtest/gtest.h>

#include "sheet/format/number_format.h"

namespace kes {
namespace {

TEST(FormatCodes, ShowNumbersDatesAndTextAsSpreadsheetsDo) {
    const FormatSettings settings;
    struct Case { std::u16string code; double value; std::u16string text; };
    const Case cases[] = {
        // numbers: placeholders, grouping, scaling, percent, rounding half away from zero
        {u"0.00", 12.5, u"12.50"},
        {u"#,##0.00", 1234567.891, u"1,234,567.89"},
        {u"#,##0", -1234, u"-1,234"},
        {u"#,##0,", 1234567, u"1,235"},
        {u"0%", 0.125, u"13%"},
        {u"0.00%", 0.12345, u"12.35%"},
        {u"0.00", 1.005, u"1.01"},
        {u"0", 2.5, u"3"},
        {u"0.0#", 1.25, u"1.25"},
        {u"0.0#", 1.5, u"1.5"},
        {u"0.0#", 1, u"1.0"},
        {u"#", 0, u""},
        // leading zeros and literals, as label codes and barcodes use them
        {u"0000000000000", 690123456789, u"0690123456789"},
        {u"000-0000", 1234567, u"123-4567"},
        {u"\"SKU\"000", 7, u"SKU007"},
        {u"[$\u00A5-804]#,##0.00", 1234.5, u"\u00A51,234.50"},
        // sections
        {u"0.00;(0.00)", -3.456, u"(3.46)"},
        {u"#,##0;-#,##0;\"zero\"", 0, u"zero"},
        {u"0.00_);[Red](0.00)", -2, u"(2.00)"},
        {u"0.00_);[Red](0.00)", 2, u"2.00 "},
        // dates and times
        {u"yyyy-mm-dd", 46348, u"2026-11-22"},
        {u"yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"", 46348, u"2026\u5E7411\u670822\u65E5"},
        {u"mmm d, yyyy", 46348, u"Nov 22, 2026"},
        {u"dddd", 46348, u"Sunday"},
        {u"m/d/yy h:mm", 46348.5, u"11/22/26 12:00"},
        {u"h:mm AM/PM", 0.75, u"6:00 PM"},
        {u"hh:mm:ss", 0.5 + 1.0 / 86400, u"12:00:01"},
        {u"[h]:mm:ss", 1.5, u"36:00:00"},
        {u"yyyy/m/d", 60, u"1900/2/29"},
        {u"yyyy-mm-dd", -1, u"########"},
        // what the engine does not read falls back to General
        {u"0.00E+00", 12345, u"12345"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(formatNumber(c.value, c.code, settings).text, c.text)
            << std::string(c.code.begin(), c.code.end()) << " on " << c.value;
    }
}

TEST(FormatCodes, TextSectionsWrapText) {
    EXPECT_EQ(formatText(u"abc", u"@").text, u"abc");
    EXPECT_EQ(formatText(u"abc", u"0;0;0;\"[\"@\"]\"").text, u"[abc]");
    EXPECT_EQ(formatText(u"abc", u"0.00").text, u"abc");
}

}  // namespace
}  // namespace kes
