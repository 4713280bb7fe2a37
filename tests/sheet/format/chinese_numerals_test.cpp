// Chinese numerals as the [DBNum1], [DBNum2] and [DBNum3] codes of a Chinese Excel show them:
// labels and delivery notes print amounts in them.
#include <gtest/gtest.h>

#include "sheet/format/chinese_numerals.h"
#include "sheet/format/number_format.h"

namespace kes {
namespace {

TEST(ChineseNumerals, WholeNumbersReadWithUnitsAndZerosOnce) {
    const struct {
        std::string_view digits;
        ChineseNumerals style;
        std::u16string_view text;
    } cases[] = {
        {"0", ChineseNumerals::Lower, u"\u3007"},                                    // 〇
        {"", ChineseNumerals::Upper, u"\u96F6"},                                     // 零
        {"10", ChineseNumerals::Lower, u"\u4E00\u5341"},                             // 一十
        {"110", ChineseNumerals::Lower, u"\u4E00\u767E\u4E00\u5341"},                // 一百一十
        {"1001", ChineseNumerals::Lower, u"\u4E00\u5343\u3007\u4E00"},               // 一千〇一
        {"10010", ChineseNumerals::Lower, u"\u4E00\u4E07\u3007\u4E00\u5341"},        // 一万〇一十
        {"100000", ChineseNumerals::Lower, u"\u4E00\u5341\u4E07"},                   // 一十万
        {"1000001", ChineseNumerals::Upper, u"\u58F9\u4F70\u4E07\u96F6\u58F9"},      // 壹佰万零壹
        {"100010000", ChineseNumerals::Lower, u"\u4E00\u4EBF\u3007\u4E00\u4E07"},    // 一亿〇一万
        {"0123", ChineseNumerals::Upper, u"\u58F9\u4F70\u8D30\u62FE\u53C1"},         // 壹佰贰拾叁
        {"1000000000000", ChineseNumerals::Lower, u"\u4E00\u4E07\u4EBF"},            // 一万亿
        {"0507", ChineseNumerals::FullWidth, u"\uFF15\uFF10\uFF17"},                 // ５０７
    };
    for (const auto& c : cases) EXPECT_EQ(chineseNumber(c.digits, c.style), c.text) << c.digits;
    EXPECT_EQ(chineseNumber("15", ChineseNumerals::Lower, true), u"\u5341\u4E94");   // 十五
    EXPECT_EQ(chineseNumber("115", ChineseNumerals::Lower, true), u"\u4E00\u767E\u4E00\u5341\u4E94");
}

TEST(ChineseNumerals, DbNumCodesShowNumbersAndDatesInNumerals) {
    const FormatSettings settings;
    const struct {
        std::u16string_view code;
        double value;
        std::u16string_view text;
    } cases[] = {
        {u"[DBNum1][$-804]General", 123, u"\u4E00\u767E\u4E8C\u5341\u4E09"},                        // 一百二十三
        {u"[DBNum2][$-804]General", 123, u"\u58F9\u4F70\u8D30\u62FE\u53C1"},                        // 壹佰贰拾叁
        {u"[DBNum3][$-804]General", 123, u"\uFF11\uFF12\uFF13"},                                    // １２３
        {u"[DBNum2]", 10, u"\u58F9\u62FE"},                                                         // 壹拾
        {u"[DBNum1]G/\u901A\u7528\u683C\u5F0F", -5, u"-\u4E94"},                                   // -五
        {u"[DBNum2]0.00", 123.45, u"\u58F9\u4F70\u8D30\u62FE\u53C1.\u8086\u4F0D"},                 // 壹佰贰拾叁.肆伍
        {u"[DBNum2]#,##0", 12345, u"\u58F9\u4E07\u8D30\u4EDF\u53C1\u4F70\u8086\u62FE\u4F0D"},     // 壹万贰仟叁佰肆拾伍
        // amounts in words: each placeholder its own digit, between the units written as literals
        {u"[DBNum2]0\"\u5143\"0\"\u89D2\"0\"\u5206\"", 12345,
         u"\u58F9\u4F70\u8D30\u62FE\u53C1\u5143\u8086\u89D2\u4F0D\u5206"},                         // 壹佰贰拾叁元肆角伍分
        {u"[DBNum2][$-804]General\"\u5143\u6574\"", 100, u"\u58F9\u4F70\u5143\u6574"},            // 壹佰元整
        // dates: the year digit by digit, the other parts read with units
        {u"[DBNum1][$-804]yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"", 46349,
         u"\u4E8C\u3007\u4E8C\u516D\u5E74\u5341\u4E00\u6708\u4E8C\u5341\u4E09\u65E5"},             // 二〇二六年十一月二十三日
        {u"[DBNum2][$-804]yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"", 40461,
         u"\u8D30\u96F6\u58F9\u96F6\u5E74\u62FE\u6708\u62FE\u65E5"},                               // 贰零壹零年拾月拾日
        {u"[DBNum3][$-804]yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"", 46349,
         u"\uFF12\uFF10\uFF12\uFF16\u5E74\uFF11\uFF11\u6708\uFF12\uFF13\u65E5"},                   // ２０２６年１１月２３日
        {u"[DBNum1]h\"\u65F6\"mm\"\u5206\"", 0.5 + 5.0 / 1440, u"\u5341\u4E8C\u65F6\u4E94\u5206"}, // 十二时五分
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatNumber(c.value, c.code, settings).text, c.text)
            << std::string(c.code.begin(), c.code.end()) << " on " << c.value;
    }
}

TEST(ChineseNumerals, EachSectionKeepsItsOwnStyle) {
    const FormatSettings settings;
    const std::u16string_view code = u"[DBNum1]0;[DBNum2]-0;\"-\";@\"\u53F7\"";   // 号 after a text
    EXPECT_EQ(formatNumber(12, code, settings).text, u"\u4E00\u5341\u4E8C");      // 一十二
    EXPECT_EQ(formatNumber(-12, code, settings).text, u"-\u58F9\u62FE\u8D30");    // -壹拾贰
    EXPECT_EQ(formatNumber(0, code, settings).text, u"-");
    EXPECT_EQ(formatText(u"A12", code).text, u"A12\u53F7");                         // texts keep their digits
    EXPECT_EQ(formatNumber(0.256, u"[DBNum1]0.0%", settings).text, u"\u4E8C\u5341\u4E94.\u516D%");   // 二十五.六%
    EXPECT_EQ(formatNumber(12, u"0", settings).text, u"12");                          // no tag, no numerals
}

}  // namespace
}  // namespace kes
