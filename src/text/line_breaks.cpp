#include "text/line_breaks.h"

namespace kes {
namespace {

// Ideographs, kana, hangul, CJK punctuation and full-width forms: a line may break on either side.
bool breaksAround(char16_t c) {
    return (c >= 0x2E80 && c <= 0x9FFF) || (c >= 0xAC00 && c <= 0xD7AF) || (c >= 0xF900 && c <= 0xFAFF) ||
           (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFFEF);
}

bool isLineBreak(char16_t c) { return c == u'\n' || c == u'\r'; }

}  // namespace

std::vector<LineSpan> breakLines(std::u16string_view text, std::span<const int> ends, int width) {
    std::vector<LineSpan> lines;
    const size_t n = std::min(text.size(), ends.size());
    const auto widthOf = [&](size_t begin, size_t end) { return ends[end - 1] - (begin ? ends[begin - 1] : 0); };
    size_t start = 0;
    while (start <= n) {
        // The longest run from `start` that fits, stopping at a line break.
        size_t fit = start;
        while (fit < n && !isLineBreak(text[fit]) && widthOf(start, fit + 1) <= width) ++fit;
        if (fit == n || isLineBreak(text[fit])) {
            lines.push_back({start, fit});
            if (fit == n) break;
            start = fit + (text[fit] == u'\r' && fit + 1 < n && text[fit + 1] == u'\n' ? 2 : 1);
            if (start == n) break;   // a break at the very end adds no empty line
            continue;
        }
        // text[fit] does not fit: break at the last place a break is allowed, at most at `fit`.
        size_t at = fit;
        while (at > start && !(text[at] == u' ' || breaksAround(text[at]) || breaksAround(text[at - 1]))) --at;
        if (at == start) at = std::max(fit, start + 1);   // one word wider than the line
        size_t end = at;
        while (end > start && text[end - 1] == u' ') --end;
        lines.push_back({start, end == start ? at : end});
        start = at;
        while (start < n && text[start] == u' ') ++start;
        if (start == n) break;
    }
    return lines;
}

}  // namespace kes
