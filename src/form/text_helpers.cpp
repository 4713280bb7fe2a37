#include "form/text_helpers.h"

namespace kes {
namespace {

bool isBlank(char16_t c) { return c <= u' '; }

// The separator test at the 0-based position i.
bool separatesAt(std::u16string_view text, std::u16string_view separator, size_t i) {
    const char16_t c = text[i];
    if (c >= 0xD800 && c <= 0xDFFF) return false;
    return c == 0 || separator.find(c) != std::u16string_view::npos;
}

}  // namespace

std::u16string TrimText(std::u16string_view text) {
    size_t begin = 0, end = text.size();
    while (begin < end && isBlank(text[begin])) ++begin;
    while (end > begin && isBlank(text[end - 1])) --end;
    return std::u16string(text.substr(begin, end - begin));
}

bool IsEmptyStr(std::u16string_view text) {
    for (char16_t c : text) {
        if (!isBlank(c)) return false;
    }
    return true;
}

int32_t SubStrCount(std::u16string_view text, std::u16string_view separator) {
    if (text.empty()) return 0;
    int32_t count = 1;
    for (size_t i = 0; i < text.size(); ++i) {
        if (separatesAt(text, separator, i)) ++count;
    }
    return count >= 2 ? count : 0;
}

std::u16string GetSubStr(std::u16string_view text, std::u16string_view separator, int32_t index) {
    std::u16string item;
    if (separator.empty() || text.find(separator) == std::u16string_view::npos) return item;
    int32_t counter = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (separatesAt(text, separator, i)) {
            if (counter + 1 == index) break;
            ++counter;
            item.clear();
        } else {
            item.push_back(text[i]);
        }
    }
    if (counter + 1 < index) return {};
    return item;
}

}  // namespace kes
