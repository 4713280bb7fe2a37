// Text functions that search: FIND and SEARCH, SUBSTITUTE and REPLACE, and the pieces around
// delimiters (TEXTBEFORE, TEXTAFTER, TEXTSPLIT).
#include <cmath>
#include <vector>

#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc {
namespace {

Value findOrSearch(Call& call, bool search) {
    const std::u16string needle = call.text(0), text = call.text(1);
    const size_t start = characterPosition(call.number(2, 1));
    if (start > text.size() + 1) return Value::error(ecValue);
    const auto at = findText(text, needle, start - 1, search);
    return at ? Value::number(double(*at + 1)) : Value::error(ecValue);
}

Value find(Call& call) { return findOrSearch(call, false); }
Value search(Call& call) { return findOrSearch(call, true); }

Value substitute(Call& call) {
    const std::u16string text = call.text(0), old = call.text(1), replacement = call.text(2);
    double instance = 0;
    if (!call.isMissing(3)) {
        instance = std::trunc(call.number(3));
        if (instance < 1) return Value::error(ecValue);
    }
    if (old.empty()) return Value::text(text);
    std::u16string out;
    size_t from = 0, seen = 0;
    for (size_t at = text.find(old); at != std::u16string::npos; at = text.find(old, from)) {
        ++seen;
        out.append(text, from, at - from);
        out += instance == 0 || double(seen) == instance ? replacement : old;
        from = at + old.size();
        if (out.size() > kMaxTextLength) return Value::error(ecValue);
    }
    out.append(text, from);
    return textResult(std::move(out));
}

Value replace(Call& call) {
    const std::u16string text = call.text(0);
    const double from = call.number(1), count = call.number(2);
    const std::u16string replacement = call.text(3);
    const size_t start = std::min(characterPosition(from) - 1, text.size());
    const size_t n = std::min(characterCount(count), text.size() - start);
    return textResult(text.substr(0, start) + replacement + text.substr(start + n));
}

// The delimiters of TEXTBEFORE, TEXTAFTER and TEXTSPLIT: a text, or the texts of a range or array.
std::vector<std::u16string> delimitersOf(Call& call, size_t index) {
    std::vector<std::u16string> out;
    if (call.isMissing(index)) return out;
    call.forEachValue(index, [&](const Value& v, bool) { out.push_back(toText(v)); });
    return out;
}

// Delimiters matched exactly or ignoring case.
class Delimiters {
public:
    Delimiters(std::vector<std::u16string> texts, bool ignoreCase)
        : texts_(std::move(texts)), ignoreCase_(ignoreCase) {}

    bool empty() const { return texts_.empty(); }
    bool anyEmpty() const {
        for (const auto& t : texts_) {
            if (t.empty()) return true;
        }
        return false;
    }
    // The length of the first delimiter that stands at `at` in `text`; none when none does.
    std::optional<size_t> at(std::u16string_view text, size_t at) const {
        for (const std::u16string& d : texts_) {
            if (d.size() > text.size() - at) continue;
            bool same = true;
            for (size_t i = 0; i < d.size() && same; ++i) {
                same = ignoreCase_ ? toUpper(text[at + i]) == toUpper(d[i]) : text[at + i] == d[i];
            }
            if (same) return d.size();
        }
        return std::nullopt;
    }

private:
    std::vector<std::u16string> texts_;
    bool ignoreCase_;
};

// Match modes 0 (case counts) and 1 (case ignored); anything else is #VALUE!.
bool ignoresCase(Call& call, size_t index) {
    const double mode = std::trunc(call.number(index, 0));
    if (mode != 0 && mode != 1) fail(ecValue);
    return mode == 1;
}

struct Match {
    size_t at, length;
};

// The instance-th delimiter of the text, counted from the start or, for a negative instance,
// from the end; with matchEnd the end (or the start) of the text counts as one more.
std::optional<Match> nthDelimiter(std::u16string_view text, const Delimiters& delimiters, int64_t instance,
                                  bool matchEnd) {
    int64_t seen = 0;
    const int64_t wanted = instance < 0 ? -instance : instance;
    if (instance > 0) {
        for (size_t at = 0; at <= text.size();) {
            const auto length = delimiters.at(text, at);
            if (!length) {
                ++at;
                continue;
            }
            if (++seen == wanted) return Match{at, *length};
            at += std::max<size_t>(*length, 1);
        }
        if (matchEnd && seen == wanted - 1) return Match{text.size(), 0};
    } else {
        // From the right: each delimiter ends at or before the start of the one found after it.
        size_t limit = text.size();
        for (size_t at = text.size() + 1; at-- > 0;) {
            const auto length = delimiters.at(text, at);
            if (!length || at + *length > limit) continue;
            if (++seen == wanted) return Match{at, *length};
            limit = at;
        }
        if (matchEnd && seen == wanted - 1) return Match{0, 0};
    }
    return std::nullopt;
}

Value textAround(Call& call, bool before) {
    const std::u16string text = call.text(0);
    std::vector<std::u16string> texts = delimitersOf(call, 1);
    const double instanceNumber = std::trunc(call.number(2, 1));
    const bool ignoreCase = ignoresCase(call, 3);
    const bool matchEnd = call.boolean(4, false);
    if (instanceNumber == 0 || std::fabs(instanceNumber) > double(std::max<size_t>(text.size(), 1))) {
        return Value::error(ecValue);
    }
    if (texts.empty()) texts.emplace_back();
    const Delimiters delimiters(std::move(texts), ignoreCase);
    const auto match = nthDelimiter(text, delimiters, int64_t(instanceNumber), matchEnd);
    if (!match) return call.isMissing(5) ? Value::error(ecNA) : call.scalar(5);
    if (before) return Value::text(text.substr(0, match->at));
    return Value::text(text.substr(match->at + match->length));
}

Value textBefore(Call& call) { return textAround(call, true); }
Value textAfter(Call& call) { return textAround(call, false); }

Value textSplit(Call& call) {
    const std::u16string text = call.text(0);
    const bool ignoreCase = ignoresCase(call, 4);
    const Delimiters columns(delimitersOf(call, 1), ignoreCase);
    const Delimiters rows(delimitersOf(call, 2), ignoreCase);
    const bool ignoreEmpty = call.boolean(3, false);
    const Value pad = call.isMissing(5) ? Value::error(ecNA) : call.scalar(5);
    if ((columns.empty() && rows.empty()) || columns.anyEmpty() || rows.anyEmpty()) return Value::error(ecValue);

    std::vector<std::vector<std::u16string>> lines(1);
    std::u16string piece;
    const auto endPiece = [&] {
        if (!(ignoreEmpty && piece.empty())) lines.back().push_back(std::move(piece));
        piece.clear();
    };
    const auto endLine = [&] {
        endPiece();
        if (ignoreEmpty && lines.back().empty()) return;
        lines.emplace_back();
    };
    for (size_t at = 0; at < text.size();) {
        if (const auto length = rows.at(text, at)) {
            endLine();
            at += *length;
        } else if (const auto width = columns.at(text, at)) {
            endPiece();
            at += *width;
        } else {
            piece += text[at++];
        }
    }
    endPiece();
    if (lines.size() > 1 && lines.back().empty()) lines.pop_back();
    size_t width = 1;
    for (const auto& line : lines) width = std::max(width, line.size());
    if (double(lines.size()) * double(width) > double(kMaxArrayElements)) return Value::error(ecNUM);
    Matrix out(int32_t(lines.size()), int32_t(width));
    for (size_t r = 0; r < lines.size(); ++r) {
        for (size_t c = 0; c < width; ++c) {
            out.set(int32_t(r), int32_t(c), c < lines[r].size() ? Value::text(std::move(lines[r][c])) : pad);
        }
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"FIND", 2, 3, "VVV", find, 124},
    {u"SEARCH", 2, 3, "VVV", search, 82},
    {u"SUBSTITUTE", 3, 4, "VVVV", substitute, 120},
    {u"REPLACE", 4, 4, "VVVV", replace, 119},
    {u"TEXTBEFORE", 2, 6, "VRVVVV", textBefore, kNoBiffId, kFilePrefix},
    {u"TEXTAFTER", 2, 6, "VRVVVV", textAfter, kNoBiffId, kFilePrefix},
    {u"TEXTSPLIT", 2, 6, "VRRVVV", textSplit, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> textSearchFunctions() { return kFunctions; }

}  // namespace kes::calc
