#include "sheet/formula/name_chars.h"

#include "sheet/formula/cell_address.h"

namespace kes::formula {

namespace {

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

struct CodeRange { char16_t first, last; };

// Punctuation, symbols and spaces outside ASCII. Without the Unicode tables this is the list
// that matters in practice: full-width punctuation typed with a Chinese IME (，（）＋＝：；)
// must not slip into a name, where it would hide a typing mistake.
constexpr CodeRange kNotLetters[] = {
    {0x0080, 0x00A9}, {0x00AB, 0x00B4}, {0x00B6, 0x00B9}, {0x00BB, 0x00BF},
    {0x00D7, 0x00D7}, {0x00F7, 0x00F7},
    {0x2000, 0x206F},   // general punctuation and spaces
    {0x20A0, 0x20CF},   // currency signs
    {0x2190, 0x2BFF},   // arrows, mathematical operators, box drawing, shapes, symbols
    {0x2E00, 0x2E7F},   // supplemental punctuation
    {0x3000, 0x3004}, {0x3008, 0x303F},   // CJK punctuation; 々〆〇 are letters
    {0xE000, 0xF8FF},   // private use
    {0xFE10, 0xFE1F}, {0xFE30, 0xFE6F},   // vertical, compatibility and small forms
    {0xFF00, 0xFF0F}, {0xFF1A, 0xFF20}, {0xFF3B, 0xFF40}, {0xFF5B, 0xFF65},   // full-width punctuation
    {0xFFF0, 0xFFFF},
};

bool looksLikeR1C1(std::u16string_view name) {
    size_t i = 0;
    auto digits = [&] { while (i < name.size() && isDigit(name[i])) ++i; };
    if (i < name.size() && asciiUpper(name[i]) == u'R') { ++i; digits(); }
    if (i < name.size() && asciiUpper(name[i]) == u'C') { ++i; digits(); }
    return i > 0 && i == name.size();
}

}  // namespace

bool isWideLetter(char16_t c) {
    if (c < 0x80 || isLowSurrogate(c)) return false;
    if (isHighSurrogate(c)) return true;
    for (const CodeRange& range : kNotLetters) {
        if (c >= range.first && c <= range.last) return false;
    }
    return true;
}

size_t nameCharLength(std::u16string_view text, size_t pos) {
    if (pos >= text.size()) return 0;
    const char16_t c = text[pos];
    if (isAsciiLetter(c) || isDigit(c) || c == u'_' || c == u'.' || c == u'\\') return 1;
    if (!isWideLetter(c)) return 0;
    if (!isHighSurrogate(c)) return 1;
    return pos + 1 < text.size() && isLowSurrogate(text[pos + 1]) ? 2 : 0;
}

bool startsName(std::u16string_view text, size_t pos) {
    if (pos >= text.size()) return false;
    const char16_t c = text[pos];
    return isAsciiLetter(c) || c == u'_' || c == u'\\' || (isWideLetter(c) && nameCharLength(text, pos) > 0);
}

size_t scanNameChars(std::u16string_view text, size_t pos) {
    while (size_t length = nameCharLength(text, pos)) pos += length;
    return pos;
}

bool sheetNameNeedsQuotes(std::u16string_view name) {
    if (!startsName(name, 0) || scanNameChars(name, 0) != name.size()) return true;
    if (name.find(u'\\') != std::u16string_view::npos) return true;   // not allowed, quoted or not
    CellAddress address;
    return scanCellAddress(name, 0, address) == name.size() || looksLikeR1C1(name);
}

}  // namespace kes::formula
