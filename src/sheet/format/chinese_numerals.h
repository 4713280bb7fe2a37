#pragma once
// Numbers written in Chinese numerals, as the [DBNum1], [DBNum2] and [DBNum3] format codes and
// NUMBERSTRING show them: lower-case 一百二十三, the financial upper-case 壹佰贰拾叁 that amounts on
// cheques and delivery notes are written in, and full-width digits １２３.
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

enum class ChineseNumerals : uint8_t {
    Lower,       // 〇一二三, with 十百千 and 万亿
    Upper,       // 零壹贰叁, with 拾佰仟 and 万亿
    FullWidth,   // ０１２３
};

// A whole number given by its ASCII digits, read with units: 120 is 一百二十, 1001 一千〇一, 10010
// 一万〇一十. Leading zeros are ignored; no digits, or only zeros, read as the zero numeral.
// `shortTen` drops the 一 of a leading 一十 (十一月, not 一十一月), as dates and NUMBERSTRING write
// it. Full-width numerals have no units: each digit is written as it stands.
std::u16string chineseNumber(std::string_view digits, ChineseNumerals style, bool shortTen = false);

// Digits one by one: 2026 as 二〇二六, 贰零贰陆 or ２０２６; other characters are kept.
std::u16string chineseDigits(std::u16string_view text, ChineseNumerals style);

// A formatted number with its digit runs in Chinese: the whole part ("1,234" grouping included)
// read with units, the digits after `decimalSeparator` one by one, everything else kept.
std::u16string chineseNumeralsInText(std::u16string_view text, ChineseNumerals style, char16_t decimalSeparator,
                                     char16_t thousandSeparator);

}  // namespace kes
