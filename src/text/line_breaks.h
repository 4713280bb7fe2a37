#pragma once
// Where a wrapped cell text breaks into lines, as Excel breaks it: at line breaks, after
// spaces, on either side of a CJK character, and inside a word only when the word alone is
// wider than the line.
#include <span>
#include <string_view>
#include <vector>

namespace kes {

struct LineSpan {
    size_t begin = 0, end = 0;   // [begin, end) of the text; spaces at the break are left out
};

// `ends[i]` is the width of text[0..i] as drawn, as the text measuring calls give it (so a
// character's own width is ends[i] - ends[i - 1]); `width` is the room for one line. Every
// line holds at least one character, so a column narrower than a character still shows it.
std::vector<LineSpan> breakLines(std::u16string_view text, std::span<const int> ends, int width);

}  // namespace kes
