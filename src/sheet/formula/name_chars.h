#pragma once
// Which characters make up names, words and unquoted sheet names in a formula.
#include <cstddef>
#include <string_view>

#include "text/ascii_case.h"

namespace kes::formula {

inline bool isAsciiLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }
inline bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool isFormulaSpace(char16_t c) { return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t'; }

// A letter beyond ASCII (Chinese, accented Latin...), or the first half of a surrogate pair.
bool isWideLetter(char16_t c);

// Code units of the name character at `pos`: 0 when there is none, 2 for a surrogate pair.
size_t nameCharLength(std::u16string_view text, size_t pos);
// A character that may start a name: a letter, _ or \.
bool startsName(std::u16string_view text, size_t pos);
// The offset just past the name characters that begin at `pos`.
size_t scanNameChars(std::u16string_view text, size_t pos);

// True for sheet names that formulas must quote, as 'My Sheet'!A1: names with other
// characters than a name's, starting with a digit or a dot, or that read as a reference.
bool sheetNameNeedsQuotes(std::u16string_view name);

}  // namespace kes::formula
