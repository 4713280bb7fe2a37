#pragma once
// The locale a workbook formats and reads values with. The defaults are those of a
// Chinese (zh-CN) Windows, where the product's users are.
#include <string>

namespace kes {

struct FormatSettings {
    char16_t decimalSeparator = u'.';
    char16_t thousandSeparator = u',';
    std::u16string currencySymbol = u"\u00A5";   // ¥
    char16_t dateSeparator = u'/';
    char16_t timeSeparator = u':';
    std::u16string shortDateFormat = u"yyyy/m/d";
    std::u16string longDateFormat = u"yyyy\"\u5E74\"m\"\u6708\"d\"\u65E5\"";   // yyyy"年"m"月"d"日"
    std::u16string longTimeFormat = u"h:mm:ss";
    std::u16string amText = u"\u4E0A\u5348";      // 上午
    std::u16string pmText = u"\u4E0B\u5348";      // 下午
    bool date1904 = false;                      // serials count from 1904-01-01 instead of 1899-12-30
};

}  // namespace kes
