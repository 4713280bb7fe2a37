#pragma once
// Letter case beyond ASCII, as UPPER, LOWER and PROPER change it: Latin with its accents,
// Greek, Cyrillic, Armenian and the full-width Latin letters of East Asian text. Characters
// without a case (Chinese among them) stay as they are.
namespace kes::calc {

char16_t toUpper(char16_t c);
char16_t toLower(char16_t c);
// A character with a case: what PROPER treats as part of a word.
bool isCasedLetter(char16_t c);

}  // namespace kes::calc
