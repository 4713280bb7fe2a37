#include <gtest/gtest.h>

#include "sheet/format/number_format.h"

namespace kes {
namespace {

TEST(GeneralFormat, ShowsLabelNumbersExactlyUpTo15Digits) {
    const FormatSettings settings;
    struct Case { double value; std::u16string text; };
    const Case cases[] = {
        {0, u"0"},
        {-0.0, u"0"},
        {6901234567890, u"6901234567890"},
        {123456789012345, u"123456789012345"},
        {1234567890123456, u"1.23456789012346E+15"},
        {1e15, u"1E+15"},
        {0.1 + 0.2, u"0.3"},
        {-12.5, u"-12.5"},
        {1e-9, u"0.000000001"},
        {1e-10, u"1E-10"},
        {1.5e-10, u"1.5E-10"},
        {100, u"100"},
        {2.0 / 3.0, u"0.666666666666667"},
        {1e300, u"1E+300"},
    };
    for (const Case& c : cases) EXPECT_EQ(formatGeneral(c.value, settings), c.text) << c.value;
}

TEST(GeneralFormat, DateTimeAndMoneyShowAsTypedInAChineseSpreadsheet) {
    FormatSettings settings;
    struct Case { double value; NumberHint hint; std::u16string text; };
    const Case cases[] = {
        {46348, NumberHint::DateTime, u"2026/11/22"},
        {46348.5, NumberHint::DateTime, u"2026/11/22 12:00:00"},
        {0.354166666666667, NumberHint::DateTime, u"8:30:00"},
        {60, NumberHint::DateTime, u"1900/2/29"},
        {61, NumberHint::DateTime, u"1900/3/1"},
        {1, NumberHint::DateTime, u"1900/1/1"},
        {-1, NumberHint::DateTime, u"########"},
        {12.5, NumberHint::Currency, u"\u00A512.50"},
        {-1234.5, NumberHint::Currency, u"-\u00A51,234.50"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(formatNumber(c.value, u"General", settings, c.hint).text, c.text) << c.value;
    }
    settings.date1904 = true;
    EXPECT_EQ(formatNumber(46348 - 1462, u"", settings, NumberHint::DateTime).text, u"2026/11/22");
}

TEST(GeneralFormat, RecognisesDateAndTextCodes) {
    for (std::u16string_view code : {u"yyyy/m/d", u"h:mm", u"[h]:mm:ss", u"mm:ss.0", u"[h]",
                                     u"[Red][<0]yyyy;0", u"yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"",
                                     u"\u4E0A\u5348/\u4E0B\u5348h\"\u65F6\""})
        EXPECT_TRUE(isDateTimeFormat(code));
    for (std::u16string_view code : {u"General", u"0.00", u"#,##0", u"\"day\"0", u"[Red]0", u"@", u"",
                                     u"0.00E+00", u"# ?/?", u"\"ymd\"0", u"0;yyyy", u"[$-409]0.00",
                                     u"General;[h]"})
        EXPECT_FALSE(isDateTimeFormat(code));
    EXPECT_TRUE(isTextFormat(u"@"));
    EXPECT_EQ(builtinFormatCode(14), u"yyyy/m/d");
    EXPECT_EQ(builtinFormatCode(49), u"@");
    EXPECT_TRUE(builtinFormatCode(200).empty());
}

}  // namespace
}  // namespace kes
