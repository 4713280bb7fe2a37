#pragma once
// Small routines on UTF-16 texts that the form uses to read the host's column list and to
// tell empty values apart. Positions are 1-based as in the rules they follow.
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

// Drops every code unit of 32 or less (space and all control characters) from both ends.
std::u16string TrimText(std::u16string_view text);

// True when the trimmed text is empty.
bool IsEmptyStr(std::u16string_view text);

// The number of separators plus one, or 0 for an empty text and for a text without any.
// Every character of `separator` separates; a zero code unit always does; a surrogate half
// never does.
int32_t SubStrCount(std::u16string_view text, std::u16string_view separator);

// The index-th item (1-based), untrimmed; empty when the whole separator does not occur in the
// text, when the index lies beyond the count; the last item for an index of 0 or below.
std::u16string GetSubStr(std::u16string_view text, std::u16string_view separator, int32_t index);

}  // namespace kes
