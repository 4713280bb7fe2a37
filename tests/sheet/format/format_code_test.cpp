#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <vector>

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
        // the date codes Chinese Excel writes: a text section after the date, locale tags, the
        // system's long date and time whatever the letters after them say
        {u"yyyy/m/d;@", 45321, u"2024/1/30"},
        {u"[$-804]yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\" aaaa", 45321,
         u"2024\u5E741\u670830\u65E5 \u661F\u671F\u4E8C"},
        {u"[$-F800]dddd, mmmm dd, yyyy", 45321, u"2024\u5E741\u670830\u65E5"},
        {u"[$-F400]h:mm:ss AM/PM", 45321.75, u"18:00:00"},
        {u"[$-F400]h:mm:ss AM/PM;\"neg\"", -1, u"neg"},
        // scientific and fractions
        {u"0.00E+00", 12345, u"1.23E+04"},
        {u"# ?/?", 1.25, u"1 1/4"},
        // a comma after a placeholder groups when more of the whole part follow, scales when
        // none do, and is dropped between decimals; others are literal
        {u"0,## ##, ##", 1234567890, u"1,234,56 7,8 90"},
        {u"#,##0.0,", 1234567, u"1,234.6"},
        {u"0 .  # ,0.00.0,00", 1000000.555, u"1000000 .  5 ,5.50.000"},
        // mmm and longer are the month's name even after an hour
        {u"hm hmm hmmm", 130.33332, u"759 759 7May"},
        // codes Excel refuses show the value in General
        {u"0.00E+x", 1.5, u"1.5"},
        {u"0.00\"unclosed", 1.5, u"1.5"},
        {u"0;0;0;0;0", 1.5, u"1.5"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(formatNumber(c.value, c.code, settings).text, c.text)
            << std::string(c.code.begin(), c.code.end()) << " on " << c.value;
    }
}

TEST(FormatCodes, SectionColoursAreReportedAndNeverShown) {
    const FormatSettings settings;
    struct Case { std::u16string code; double value; std::u16string text; std::optional<uint32_t> color; };
    const Case cases[] = {
        {u"[Red]0", 5, u"5", 0xFF0000},
        {u"0;[Red]-0", -5, u"-5", 0xFF0000},
        {u"0;[Red]-0", 5, u"5", std::nullopt},
        {u"[BLUE]0.0", 1, u"1.0", 0x0000FF},
        {u"[Color10]0", 1, u"1", 0x008000},
        {u"[Color56]0", 1, u"1", 0x333333},
        {u"[Color57]0", 1, u"1", std::nullopt},     // beyond the palette: ignored, as the tag is
        {u"[Green][>=100]0;[Magenta][<0]0;[Cyan]0", 150, u"150", 0x00FF00},
        {u"[Green][>=100]0;[Magenta][<0]0;[Cyan]0", -1, u"1", 0xFF00FF},
        {u"[Green][>=100]0;[Magenta][<0]0;[Cyan]0", 5, u"5", 0x00FFFF},
        {u"[Yellow]yyyy-mm-dd", 1, u"1900-01-01", 0xFFFF00},
    };
    for (const Case& c : cases) {
        const FormattedText shown = formatNumber(c.value, c.code, settings);
        EXPECT_EQ(shown.text, c.text) << std::string(c.code.begin(), c.code.end());
        EXPECT_EQ(shown.color, c.color) << std::string(c.code.begin(), c.code.end());
    }
    EXPECT_EQ(formatText(u"abc", u"0;0;0;[Red]@").color, 0xFF0000u);
}

// Codes typed by users or read from files: none may crash, hang or make a text out of
// proportion to the code.
TEST(FormatCodes, OddCodesGiveBoundedTexts) {
    const FormatSettings settings;
    std::vector<std::u16string> codes = {
        u"[", u"\"", u"\\", u"*", u"_", u";;;;", u";;;", u"[<", u"[<abc]0", u"[Color]0", u"[Color999]0",
        u"# ?/0", u"?/", u"/", u"E+", u"0/", u"[h", u"0E+", u"0.E-", u".", u",", u"%", u"@@", u"[$]0",
        u"0/0/0", u"# ?/? ?/?", u"?" u"?/?" u"?/?" u"?", u"0.0.0", u"yyyy.000", u"[ss].000000",
        u"ggg e b2yyyy",
        u"0 ?/99999999999999999999", u"#,,,,,,,,,,0", u"0.0000000000000000000000000000000000000000",
        std::u16string(400, u'%') + u"0", u"0" + std::u16string(400, u'%'),
        std::u16string(500, u'0') + u"E+0", u"0E+" + std::u16string(500, u'0'),
        std::u16string(300, u'#') + u",##0.00" + std::u16string(300, u','),
    };
    using limits = std::numeric_limits<double>;
    const double values[] = {0, -0.0, 1, -1, 0.5, 1e308, -1e308, 5e-324, 2958466, 1e15, -1e-300,
                             limits::infinity(), limits::quiet_NaN()};
    for (const std::u16string& code : codes) {
        for (double value : values) {
            const std::u16string text = formatNumber(value, code, settings).text;
            EXPECT_LE(text.size(), 2 * code.size() + 400) << std::string(code.begin(), code.end());
        }
        EXPECT_EQ(formatText(u"abc", code).text.size() <= code.size() + 10, true);
    }
}

// The parsed codes are kept in a bounded cache; a code used again after many others is read again.
TEST(FormatCodes, CodesShowTheSameAfterTheCacheStartsOver) {
    const FormatSettings settings;
    EXPECT_EQ(formatNumber(1234.5, u"#,##0.00", settings).text, u"1,234.50");
    for (int i = 0; i < 1000; ++i) {
        const std::u16string code = u"0.00\"" + std::u16string(1, char16_t(u'A' + i % 26)) + u"\"" +
                                    std::u16string(size_t(i / 26), u'#');
        ASSERT_EQ(formatNumber(1, code, settings).text.substr(0, 5), u"1.00" + code.substr(5, 1));
    }
    EXPECT_EQ(formatNumber(1234.5, u"#,##0.00", settings).text, u"1,234.50");
    EXPECT_EQ(formatNumber(45321, u"yyyy-mm-dd", settings).text, u"2024-01-30");
}

TEST(FormatCodes, TextSectionsWrapText) {
    EXPECT_EQ(formatText(u"abc", u"@").text, u"abc");
    EXPECT_EQ(formatText(u"abc", u"0;0;0;\"[\"@\"]\"").text, u"[abc]");
    EXPECT_EQ(formatText(u"abc", u"0.00").text, u"abc");
}

}  // namespace
}  // namespace kes
