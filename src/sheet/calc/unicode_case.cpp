#include "sheet/calc/unicode_case.h"

namespace kes::calc {
namespace {

// Blocks where capital and small letters alternate, the capital at the even code point.
bool inAlternatingBlock(char16_t c) {
    return (c >= 0x0100 && c <= 0x012F) || (c >= 0x0132 && c <= 0x0137) || (c >= 0x014A && c <= 0x0177) ||
           (c >= 0x0182 && c <= 0x0185) || (c >= 0x01A0 && c <= 0x01A5) || (c >= 0x01DE && c <= 0x01EF) ||
           (c >= 0x01F8 && c <= 0x021F) || (c >= 0x0222 && c <= 0x0233) || (c >= 0x03D8 && c <= 0x03EF) ||
           (c >= 0x0460 && c <= 0x0481) || (c >= 0x048A && c <= 0x04BF) || (c >= 0x04D0 && c <= 0x052F) ||
           (c >= 0x1E00 && c <= 0x1E95) || (c >= 0x1EA0 && c <= 0x1EFF);
}

// Blocks where the capital is at the odd code point.
bool inOddCapitalBlock(char16_t c) {
    return (c >= 0x0139 && c <= 0x0148) || (c >= 0x0179 && c <= 0x017E) || (c >= 0x01CD && c <= 0x01DC) ||
           (c >= 0x04C1 && c <= 0x04CE);
}

}  // namespace

char16_t toUpper(char16_t c) {
    if (c < 0x80) return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c;
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return char16_t(c - 32);
    if (c == 0xFF) return 0x0178;
    if (c == 0xB5) return 0x039C;
    if (inAlternatingBlock(c)) return (c & 1) ? char16_t(c - 1) : c;
    if (inOddCapitalBlock(c)) return (c & 1) ? c : char16_t(c - 1);
    if (c == 0x0131) return u'I';
    if (c == 0x017F) return u'S';
    if (c >= 0x03B1 && c <= 0x03C9 && c != 0x03C2) return char16_t(c - 32);
    if (c == 0x03C2) return 0x03A3;
    if (c == 0x03AC) return 0x0386;
    if (c >= 0x03AD && c <= 0x03AF) return char16_t(c - 37);
    if (c == 0x03CC) return 0x038C;
    if (c == 0x03CD || c == 0x03CE) return char16_t(c - 63);
    if (c >= 0x03CA && c <= 0x03CB) return char16_t(c - 32);
    if (c >= 0x0430 && c <= 0x044F) return char16_t(c - 32);
    if (c >= 0x0450 && c <= 0x045F) return char16_t(c - 80);
    if (c == 0x04CF) return 0x04C0;
    if (c >= 0x0561 && c <= 0x0586) return char16_t(c - 48);
    if (c >= 0xFF41 && c <= 0xFF5A) return char16_t(c - 32);
    return c;
}

char16_t toLower(char16_t c) {
    if (c < 0x80) return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return char16_t(c + 32);
    if (c == 0x0178) return 0xFF;
    if (inAlternatingBlock(c)) return (c & 1) ? c : char16_t(c + 1);
    if (inOddCapitalBlock(c)) return (c & 1) ? char16_t(c + 1) : c;
    if (c == 0x0130) return u'i';
    if (c >= 0x0391 && c <= 0x03A9 && c != 0x03A2) return char16_t(c + 32);
    if (c == 0x0386) return 0x03AC;
    if (c >= 0x0388 && c <= 0x038A) return char16_t(c + 37);
    if (c == 0x038C) return 0x03CC;
    if (c == 0x038E || c == 0x038F) return char16_t(c + 63);
    if (c >= 0x03AA && c <= 0x03AB) return char16_t(c + 32);
    if (c >= 0x0410 && c <= 0x042F) return char16_t(c + 32);
    if (c >= 0x0400 && c <= 0x040F) return char16_t(c + 80);
    if (c == 0x04C0) return 0x04CF;
    if (c >= 0x0531 && c <= 0x0556) return char16_t(c + 48);
    if (c >= 0xFF21 && c <= 0xFF3A) return char16_t(c + 32);
    return c;
}

bool isCasedLetter(char16_t c) { return toUpper(c) != c || toLower(c) != c || c == 0xDF; }

}  // namespace kes::calc
