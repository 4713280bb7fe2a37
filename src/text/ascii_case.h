#pragma once
// ASCII letter case, as Excel compares names, function names, format words and list items:
// only a-z and A-Z fold, every other character stands for itself.
#include <string_view>

namespace kes {

inline char16_t asciiUpper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }
inline char16_t asciiLower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

inline bool equalsIgnoringAsciiCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (asciiUpper(a[i]) != asciiUpper(b[i])) return false;
    }
    return true;
}

}  // namespace kes
