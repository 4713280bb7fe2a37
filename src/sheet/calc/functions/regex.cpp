// The matcher of regular expressions: a backtracking machine over the programs regex_compile.cpp
// makes, with its own stack (no recursion but for the nesting of lookarounds and atomic groups in
// the pattern) and a budget of steps.
#include "sheet/calc/functions/regex.h"

#include <algorithm>

#include "sheet/calc/functions/regex_program.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc {
namespace regex {
namespace {

constexpr size_t npos = std::u16string_view::npos;
// A bound on the memory of going back.
constexpr size_t kMaxBacktrack = 2'000'000;

bool between(char32_t c, char32_t low, char32_t high) { return c >= low && c <= high; }

bool isAsciiWord(char32_t c) {
    return between(c, U'a', U'z') || between(c, U'A', U'Z') || between(c, U'0', U'9') || c == U'_';
}

bool isHan(char32_t c) {
    return between(c, 0x2E80, 0x2FDF) || c == 0x3005 || c == 0x3007 || between(c, 0x3021, 0x3029) ||
           between(c, 0x3038, 0x303B) || between(c, 0x3400, 0x4DBF) || between(c, 0x4E00, 0x9FFF) ||
           between(c, 0xF900, 0xFAFF) || between(c, 0x20000, 0x2FA1F);
}

bool isCased(char32_t c) { return c <= 0xFFFF && isCasedLetter(char16_t(c)); }

// Letters without case: CJK, kana, Hangul, Thai, Arabic, Hebrew.
bool isUncasedLetter(char32_t c) {
    return isHan(c) || between(c, 0x3041, 0x3096) || between(c, 0x30A1, 0x30FA) || between(c, 0xAC00, 0xD7A3) ||
           between(c, 0x0E01, 0x0E30) || between(c, 0x0E40, 0x0E46) || between(c, 0x0621, 0x064A) ||
           between(c, 0x05D0, 0x05EA);
}

bool isAsciiPunct(char32_t c) {
    return between(c, U'!', U'/') || between(c, U':', U'@') || between(c, U'[', U'`') || between(c, U'{', U'~');
}

// Punctuation as Unicode's P category has it, ASCII's $+<=>^`|~ being symbols there.
bool isPunctuation(char32_t c) {
    if (c < 0x80) return isAsciiPunct(c) && c != U'$' && c != U'+' && c != U'<' && c != U'=' && c != U'>' &&
                         c != U'^' && c != U'`' && c != U'|' && c != U'~';
    return c == 0xA1 || c == 0xA7 || c == 0xAB || c == 0xB6 || c == 0xB7 || c == 0xBB || c == 0xBF ||
           between(c, 0x2010, 0x2027) || between(c, 0x2030, 0x205E) || between(c, 0x3001, 0x3003) ||
           between(c, 0x3008, 0x3011) || between(c, 0x3014, 0x301F) || between(c, 0xFE10, 0xFE19) ||
           between(c, 0xFE30, 0xFE4F) || (between(c, 0xFF01, 0xFF0F) && c != 0xFF04 && c != 0xFF0B) ||
           c == 0xFF1A || c == 0xFF1B || c == 0xFF1F || c == 0xFF20 || between(c, 0xFF3B, 0xFF3D) || c == 0xFF3F ||
           c == 0xFF5B || c == 0xFF5D || between(c, 0xFF5F, 0xFF65);
}

bool isSeparator(char32_t c) {
    return c == U' ' || c == 0xA0 || c == 0x1680 || between(c, 0x2000, 0x200A) || c == 0x2028 || c == 0x2029 ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

}  // namespace

bool inSet(Set set, char32_t c) {
    switch (set) {
    case Set::Digit: return between(c, U'0', U'9');
    case Set::Word: return isAsciiWord(c);
    case Set::Space: return c == U' ' || between(c, U'\t', U'\r');
    case Set::HorizontalSpace:
        return c == U'\t' || c == U' ' || c == 0xA0 || c == 0x1680 || c == 0x180E || between(c, 0x2000, 0x200A) ||
               c == 0x202F || c == 0x205F || c == 0x3000;
    case Set::VerticalSpace: return between(c, U'\n', U'\r') || c == 0x85 || c == 0x2028 || c == 0x2029;
    case Set::Alpha: return between(c, U'a', U'z') || between(c, U'A', U'Z');
    case Set::Alnum: return between(c, U'a', U'z') || between(c, U'A', U'Z') || between(c, U'0', U'9');
    case Set::Upper: return between(c, U'A', U'Z');
    case Set::Lower: return between(c, U'a', U'z');
    case Set::Punct: return isAsciiPunct(c);
    case Set::XDigit: return between(c, U'0', U'9') || between(c, U'a', U'f') || between(c, U'A', U'F');
    case Set::Blank: return c == U' ' || c == U'\t';
    case Set::Cntrl: return c < 0x20 || c == 0x7F;
    case Set::Print: return between(c, 0x20, 0x7E);
    case Set::Graph: return between(c, 0x21, 0x7E);
    case Set::Letter: return isCased(c) || isUncasedLetter(c);
    case Set::UpperLetter: return isCased(c) && toLower(char16_t(c)) != char16_t(c);
    case Set::LowerLetter: return isCased(c) && (toUpper(char16_t(c)) != char16_t(c) || c == 0xDF);
    case Set::Number:
        return between(c, U'0', U'9') || between(c, 0xFF10, 0xFF19) || between(c, 0x0660, 0x0669) ||
               between(c, 0x06F0, 0x06F9) || between(c, 0x0966, 0x096F);
    case Set::Punctuation: return isPunctuation(c);
    case Set::Separator: return isSeparator(c);
    case Set::Han: return isHan(c);
    case Set::Any: return true;
    }
    return false;
}

char32_t foldCase(char32_t c) { return c > 0xFFFF ? c : toLower(toUpper(char16_t(c))); }

bool CharClass::contains(char32_t c) const {
    const auto inRanges = [&](char32_t x) {
        for (const auto& [low, high] : ranges) {
            if (x >= low && x <= high) return true;
        }
        for (const auto& [set, negatedSet] : sets) {
            if (inSet(set, x) != negatedSet) return true;
        }
        return false;
    };
    bool in = inRanges(c);
    if (!in && ignoreCase && c <= 0xFFFF) {
        const char16_t upper = toUpper(char16_t(c)), lower = toLower(char16_t(c));
        in = (upper != c && inRanges(upper)) || (lower != c && inRanges(lower));
    }
    return in != negated;
}

namespace {

class Matcher {
public:
    Matcher(const Compiled& re, std::u16string_view text, size_t& budget) : re_(re), text_(text), budget_(budget) {}

    // Runs a program from `pos`; on a match its end is in `end` and `slots` hold its groups.
    // With `requiredEnd` only a match that ends there counts (lookbehind).
    bool run(uint32_t program, size_t pos, std::vector<size_t>& slots, size_t requiredEnd, size_t& end) {
        const std::vector<Instruction>& code = re_.programs[program];
        struct Frame {
            uint32_t pc;      // where to go on, or the slot to restore when `restore`
            bool restore;
            size_t value;     // the position to go on from, or the slot's old value
        };
        std::vector<Frame> stack;
        uint32_t pc = 0;
        for (;;) {
            if (budget_ == 0 || stack.size() > kMaxBacktrack) throw RegexTooComplex{};
            --budget_;
            const Instruction& in = code[pc];
            bool ok = true;
            switch (in.op) {
            case Op::Char: {
                size_t length;
                const char32_t c = at(pos, length);
                ok = length && (c == in.c || (in.flag && foldCase(c) == foldCase(in.c)));
                if (ok) pos += length, ++pc;
                break;
            }
            case Op::Any: {
                size_t length;
                const char32_t c = at(pos, length);
                ok = length && (in.flag || c != U'\n');
                if (ok) pos += length, ++pc;
                break;
            }
            case Op::Class: {
                size_t length;
                const char32_t c = at(pos, length);
                ok = length && re_.classes[in.a].contains(c);
                if (ok) pos += length, ++pc;
                break;
            }
            case Op::Split:
                stack.push_back({in.b, false, pos});
                pc = in.a;
                break;
            case Op::Jump: pc = in.a; break;
            case Op::Save:
                stack.push_back({in.a, true, slots[in.a]});
                slots[in.a] = pos;
                ++pc;
                break;
            case Op::Progress: pc = slots[in.a] == pos ? in.b : pc + 1; break;
            case Op::Assert:
                ok = holds(Assertion(in.a), pos);
                ++pc;
                break;
            case Op::BackRef: ok = backReference(in, slots, pos); ++pc; break;
            case Op::Look: ok = look(in, pos, slots, stack); ++pc; break;
            case Op::Atomic: {
                std::vector<size_t> inner = slots;
                size_t innerEnd;
                ok = run(in.a, pos, inner, npos, innerEnd);
                if (ok) {
                    adopt(inner, slots, stack);
                    pos = innerEnd;
                }
                ++pc;
                break;
            }
            case Op::Match:
                if (requiredEnd == npos || pos == requiredEnd) {
                    end = pos;
                    return true;
                }
                ok = false;
                break;
            }
            if (ok) continue;
            // Back to the last choice, undoing the groups set since.
            for (;;) {
                if (stack.empty()) return false;
                const Frame f = stack.back();
                stack.pop_back();
                if (f.restore) {
                    slots[f.pc] = f.value;
                } else {
                    pc = f.pc;
                    pos = f.value;
                    break;
                }
            }
        }
    }

private:
    // The code point at `pos` and its length in UTF-16 units; length 0 at the end.
    char32_t at(size_t pos, size_t& length) const {
        if (pos >= text_.size()) {
            length = 0;
            return 0;
        }
        const char16_t c = text_[pos];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && pos + 1 < text_.size() && text_[pos + 1] >= 0xDC00 &&
                          text_[pos + 1] <= 0xDFFF;
        if (pair) {
            length = 2;
            return 0x10000 + ((char32_t(c) - 0xD800) << 10) + (text_[pos + 1] - 0xDC00);
        }
        length = 1;
        return c;
    }

    bool isWordAt(size_t pos) const { return pos < text_.size() && isAsciiWord(text_[pos]); }

    bool holds(Assertion a, size_t pos) const {
        const size_t n = text_.size();
        switch (a) {
        case Assertion::LineStart: return pos == 0 || text_[pos - 1] == u'\n';
        case Assertion::TextStart: return pos == 0;
        case Assertion::LineEnd: return pos == n || text_[pos] == u'\n';
        case Assertion::TextEndOrNewline: return pos == n || (pos + 1 == n && text_[pos] == u'\n');
        case Assertion::TextEnd: return pos == n;
        case Assertion::WordBoundary:
        case Assertion::NotWordBoundary: {
            const bool boundary = (pos > 0 && isWordAt(pos - 1)) != isWordAt(pos);
            return boundary == (a == Assertion::WordBoundary);
        }
        }
        return false;
    }

    bool backReference(const Instruction& in, const std::vector<size_t>& slots, size_t& pos) const {
        const size_t start = slots[2 * in.a], stop = slots[2 * in.a + 1];
        if (start == npos || stop == npos) return false;   // a group that took no part matches nothing
        const size_t length = stop - start;
        if (length > text_.size() - pos) return false;
        for (size_t k = 0; k < length; ++k) {
            const char16_t x = text_[start + k], y = text_[pos + k];
            if (x != y && !(in.flag && foldCase(x) == foldCase(y))) return false;
        }
        pos += length;
        return true;
    }

    template <class Stack>
    bool look(const Instruction& in, size_t pos, std::vector<size_t>& slots, Stack& stack) {
        std::vector<size_t> inner = slots;
        size_t end;
        bool found = false;
        if (in.b == 0) {
            found = run(in.a, pos, inner, npos, end);
        } else {
            for (size_t width = in.min; width <= in.max && width <= pos && !found; ++width) {
                inner = slots;
                found = run(in.a, pos - width, inner, pos, end);
            }
        }
        if (found == in.flag) return false;
        if (found) adopt(inner, slots, stack);   // the groups of a positive lookaround are kept
        return true;
    }

    // Groups set by a part matched apart become the match's, undone if the match goes back.
    template <class Stack>
    static void adopt(const std::vector<size_t>& inner, std::vector<size_t>& slots, Stack& stack) {
        for (size_t k = 0; k < slots.size(); ++k) {
            if (inner[k] == slots[k]) continue;
            stack.push_back({uint32_t(k), true, slots[k]});
            slots[k] = inner[k];
        }
    }

    const Compiled& re_;
    std::u16string_view text_;
    size_t& budget_;
};

}  // namespace
}  // namespace regex

std::optional<Regex> Regex::compile(std::u16string_view pattern, bool ignoreCase) {
    auto compiled = regex::compile(pattern, ignoreCase);
    if (!compiled) return std::nullopt;
    return Regex(std::make_shared<const regex::Compiled>(std::move(*compiled)));
}

std::optional<Regex::Match> Regex::search(std::u16string_view text, size_t from) const {
    size_t budget = kStepBudget;
    return search(text, from, budget);
}

std::optional<Regex::Match> Regex::search(std::u16string_view text, size_t from, size_t& budget) const {
    regex::Matcher matcher(*compiled_, text, budget);
    std::vector<size_t> slots(compiled_->slots, regex::npos);
    // A pattern anchored at the start of the text can match there only.
    if (compiled_->anchored && from > 0) return std::nullopt;
    for (size_t start = from; start <= text.size(); ++start) {
        std::fill(slots.begin(), slots.end(), regex::npos);
        size_t end;
        if (matcher.run(0, start, slots, regex::npos, end)) {
            Match m;
            m.bounds.assign(slots.begin(), slots.begin() + ptrdiff_t(2 * (compiled_->groups + 1)));
            m.bounds[0] = start;
            m.bounds[1] = end;
            return m;
        }
        if (compiled_->anchored) break;
        // A start inside a surrogate pair is no start.
        if (start + 1 < text.size() && text[start] >= 0xD800 && text[start] <= 0xDBFF && text[start + 1] >= 0xDC00 &&
            text[start + 1] <= 0xDFFF) {
            ++start;
        }
    }
    return std::nullopt;
}

size_t Regex::groupCount() const { return compiled_->groups; }

std::optional<size_t> Regex::groupNamed(std::u16string_view name) const {
    for (const auto& [groupName, number] : compiled_->names) {
        if (groupName == name) return number;
    }
    return std::nullopt;
}

}  // namespace kes::calc
