#include "sheet/calc/functions/lookup_regex.h"

#include <memory>

#include "sheet/calc/unicode_case.h"

namespace kes::calc {
namespace {

using Op = LookupRegex::Op;

constexpr size_t kMaxProgram = 20000;
constexpr int kMaxNesting = 64;
constexpr int kMaxCount = 1000;
constexpr int kUnbounded = -1;

bool isDigitChar(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isWordChar(char16_t c) {
    return isDigitChar(c) || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
}
bool isSpaceChar(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

struct Node {
    enum Kind { Char, Any, Set, Begin, End, WordBoundary, NotWordBoundary, Concat, Alternation, Repeat } kind;
    char16_t c = 0;
    int32_t set = 0;
    int min = 0, max = 0;
    std::vector<std::unique_ptr<Node>> children;
};

}  // namespace

class RegexCompiler {
public:
    RegexCompiler(std::u16string_view pattern, LookupRegex& out) : pattern_(pattern), out_(out) {}

    bool run() {
        if (pattern_.starts_with(u"(?i)")) {
            out_.ignoreCase_ = true;
            pos_ = 4;
        }
        std::unique_ptr<Node> root = alternation();
        if (!root || pos_ != pattern_.size()) return false;
        emit(*root);
        out_.program_.push_back({Op::Match});
        return out_.program_.size() <= kMaxProgram;
    }

private:
    bool atEnd() const { return pos_ >= pattern_.size(); }
    char16_t peek() const { return pattern_[pos_]; }

    std::unique_ptr<Node> make(Node::Kind kind) {
        auto node = std::make_unique<Node>();
        node->kind = kind;
        return node;
    }

    std::unique_ptr<Node> alternation() {
        if (++depth_ > kMaxNesting) return nullptr;
        auto node = make(Node::Alternation);
        for (;;) {
            auto branch = sequence();
            if (!branch) return nullptr;
            node->children.push_back(std::move(branch));
            if (atEnd() || peek() != u'|') break;
            ++pos_;
        }
        --depth_;
        return node;
    }

    std::unique_ptr<Node> sequence() {
        auto node = make(Node::Concat);
        while (!atEnd() && peek() != u'|' && peek() != u')') {
            auto item = atom();
            if (!item) return nullptr;
            item = quantified(std::move(item));
            if (!item) return nullptr;
            node->children.push_back(std::move(item));
        }
        return node;
    }

    // One quantifier may follow an atom (with ? for lazy or + for possessive, which match the
    // same texts); a second is an error, as in PCRE.
    std::unique_ptr<Node> quantified(std::unique_ptr<Node> item) {
        if (atEnd()) return item;
        int min = 0, max = 0;
        const char16_t c = peek();
        if (c == u'*') min = 0, max = kUnbounded, ++pos_;
        else if (c == u'+') min = 1, max = kUnbounded, ++pos_;
        else if (c == u'?') min = 0, max = 1, ++pos_;
        else if (c != u'{') return item;
        else if (const Count count = counts(min, max); count != Count::Given) return count == Count::Bad ? nullptr : std::move(item);
        if (!atEnd() && (peek() == u'?' || peek() == u'+')) ++pos_;
        if (item->kind == Node::Begin || item->kind == Node::End) return nullptr;
        if (!atEnd() && (peek() == u'*' || peek() == u'+' || peek() == u'?')) return nullptr;
        int nextMin, nextMax;
        const size_t here = pos_;
        if (!atEnd() && peek() == u'{' && counts(nextMin, nextMax) != Count::None) return nullptr;
        pos_ = here;
        auto repeat = make(Node::Repeat);
        repeat->min = min;
        repeat->max = max;
        repeat->children.push_back(std::move(item));
        return repeat;
    }

    // {n}, {n,} or {n,m}; a brace that is none of these is a literal, as in PCRE.
    enum class Count { None, Given, Bad };
    Count counts(int& min, int& max) {
        size_t p = pos_ + 1;
        const auto number = [&](int& out) {
            const size_t start = p;
            out = 0;
            while (p < pattern_.size() && isDigitChar(pattern_[p])) {
                out = out * 10 + (pattern_[p++] - u'0');
                if (out > kMaxCount) return false;
            }
            return p > start;
        };
        if (!number(min)) return p < pattern_.size() && isDigitChar(pattern_[p]) ? Count::Bad : Count::None;
        max = min;
        if (p < pattern_.size() && pattern_[p] == u',') {
            ++p;
            if (p < pattern_.size() && pattern_[p] == u'}') max = kUnbounded;
            else if (!number(max)) return p < pattern_.size() && isDigitChar(pattern_[p]) ? Count::Bad : Count::None;
        }
        if (p >= pattern_.size() || pattern_[p] != u'}') return Count::None;
        if (max != kUnbounded && max < min) return Count::Bad;
        pos_ = p + 1;
        return Count::Given;
    }

    std::unique_ptr<Node> atom() {
        const char16_t c = pattern_[pos_++];
        switch (c) {
        case u'.': return make(Node::Any);
        case u'^': return make(Node::Begin);
        case u'$': return make(Node::End);
        case u'[': return characterClass();
        case u'(': return group();
        case u'\\': return escape();
        case u'*':
        case u'+':
        case u'?': return nullptr;
        default: return literal(c);
        }
    }

    std::unique_ptr<Node> literal(char16_t c) {
        auto node = make(Node::Char);
        node->c = c;
        return node;
    }

    std::unique_ptr<Node> group() {
        if (!atEnd() && peek() == u'?') {
            // (?:...) and named groups are plain groups; look-around is not supported.
            ++pos_;
            if (atEnd()) return nullptr;
            if (peek() == u':') {
                ++pos_;
            } else if (peek() == u'<' || peek() == u'P' || peek() == u'\'') {
                if (peek() == u'P') ++pos_;
                if (atEnd() || (peek() != u'<' && peek() != u'\'')) return nullptr;
                const char16_t close = peek() == u'<' ? u'>' : u'\'';
                ++pos_;
                if (!atEnd() && (peek() == u'=' || peek() == u'!')) return nullptr;
                while (!atEnd() && peek() != close) ++pos_;
                if (atEnd()) return nullptr;
                ++pos_;
            } else {
                return nullptr;
            }
        }
        auto inner = alternation();
        if (!inner || atEnd() || peek() != u')') return nullptr;
        ++pos_;
        return inner;
    }

    // The character an escape stands for, or 0 when it names a class (filled into `set`).
    bool escapedCharacter(char16_t& out, LookupRegex::Set* set) {
        if (atEnd()) return false;
        const char16_t c = pattern_[pos_++];
        switch (c) {
        case u'd': case u'D': case u'w': case u'W': case u's': case u'S':
            if (!set) return false;
            if (c == u'd') set->digits = true;
            if (c == u'D') set->notDigits = true;
            if (c == u'w') set->words = true;
            if (c == u'W') set->notWords = true;
            if (c == u's') set->spaces = true;
            if (c == u'S') set->notSpaces = true;
            out = 0;
            return true;
        case u'n': out = u'\n'; return true;
        case u't': out = u'\t'; return true;
        case u'r': out = u'\r'; return true;
        case u'f': out = u'\f'; return true;
        case u'v': out = u'\v'; return true;
        case u'x': {
            // \xhh, or \x{hhhh} for any UTF-16 unit.
            const bool braced = !atEnd() && peek() == u'{';
            if (braced) ++pos_;
            int value = 0, digits = 0;
            while (!atEnd() && digits < (braced ? 4 : 2)) {
                const char16_t h = peek();
                const int d = isDigitChar(h) ? h - u'0'
                            : (h >= u'a' && h <= u'f') ? h - u'a' + 10
                            : (h >= u'A' && h <= u'F') ? h - u'A' + 10
                                                       : -1;
                if (d < 0) break;
                value = value * 16 + d;
                ++pos_, ++digits;
            }
            if (digits == 0 || (braced && (atEnd() || pattern_[pos_++] != u'}'))) return false;
            out = char16_t(value);
            return true;
        }
        default:
            // Back references and the letters PCRE reserves are not supported.
            if (isWordChar(c)) return false;
            out = c;
            return true;
        }
    }

    std::unique_ptr<Node> escape() {
        if (atEnd()) return nullptr;
        if (peek() == u'b' || peek() == u'B') {
            return make(pattern_[pos_++] == u'b' ? Node::WordBoundary : Node::NotWordBoundary);
        }
        LookupRegex::Set set;
        char16_t c;
        if (!escapedCharacter(c, &set)) return nullptr;
        if (c) return literal(c);
        return setNode(std::move(set));
    }

    std::unique_ptr<Node> setNode(LookupRegex::Set set) {
        auto node = make(Node::Set);
        node->set = int32_t(out_.sets_.size());
        out_.sets_.push_back(std::move(set));
        return node;
    }

    std::unique_ptr<Node> characterClass() {
        LookupRegex::Set set;
        if (!atEnd() && peek() == u'^') {
            set.negated = true;
            ++pos_;
        }
        bool first = true;
        for (;;) {
            if (atEnd()) return nullptr;
            char16_t c = pattern_[pos_++];
            if (c == u']' && !first) break;
            first = false;
            if (c == u'\\') {
                if (!escapedCharacter(c, &set)) return nullptr;
                if (!c) continue;
            }
            char16_t last = c;
            if (pos_ + 1 < pattern_.size() && peek() == u'-' && pattern_[pos_ + 1] != u']') {
                ++pos_;
                last = pattern_[pos_++];
                if (last == u'\\' && !escapedCharacter(last, nullptr)) return nullptr;
                if (last < c) return nullptr;
            }
            set.ranges.push_back({c, last});
        }
        return setNode(std::move(set));
    }

    void push(Op op, int32_t x = 0, int32_t y = 0, char16_t c = 0) { out_.program_.push_back({op, c, x, y}); }
    int32_t here() const { return int32_t(out_.program_.size()); }
    bool full() const { return out_.program_.size() > kMaxProgram; }

    void emit(const Node& node) {
        if (full()) return;
        switch (node.kind) {
        case Node::Char: push(Op::Char, 0, 0, node.c); break;
        case Node::Any: push(Op::Any); break;
        case Node::Set: push(Op::Set, node.set); break;
        case Node::Begin: push(Op::Begin); break;
        case Node::End: push(Op::End); break;
        case Node::WordBoundary: push(Op::WordBoundary); break;
        case Node::NotWordBoundary: push(Op::NotWordBoundary); break;
        case Node::Concat:
            for (const auto& child : node.children) emit(*child);
            break;
        case Node::Alternation: {
            std::vector<int32_t> jumps;
            for (size_t i = 0; i < node.children.size(); ++i) {
                if (i + 1 < node.children.size()) {
                    const int32_t split = here();
                    push(Op::Split);
                    out_.program_[split].x = here();
                    emit(*node.children[i]);
                    jumps.push_back(here());
                    push(Op::Jump);
                    out_.program_[split].y = here();
                } else {
                    emit(*node.children[i]);
                }
                if (full()) return;
            }
            for (int32_t jump : jumps) out_.program_[jump].x = here();
            break;
        }
        case Node::Repeat: {
            const Node& body = *node.children.front();
            for (int i = 0; i < node.min && !full(); ++i) emit(body);
            if (node.max == kUnbounded) {
                const int32_t loop = here();
                push(Op::Split);
                out_.program_[loop].x = here();
                emit(body);
                push(Op::Jump, loop);
                out_.program_[loop].y = here();
                break;
            }
            std::vector<int32_t> splits;
            for (int i = node.min; i < node.max && !full(); ++i) {
                splits.push_back(here());
                push(Op::Split);
                out_.program_[splits.back()].x = here();
                emit(body);
            }
            for (int32_t split : splits) out_.program_[split].y = here();
            break;
        }
        }
    }

    std::u16string_view pattern_;
    LookupRegex& out_;
    size_t pos_ = 0;
    int depth_ = 0;
};

bool LookupRegex::Set::contains(char16_t c, bool ignoreCase) const {
    const auto inRanges = [&](char16_t x) {
        for (const Range& r : ranges) {
            if (x >= r.first && x <= r.last) return true;
        }
        return false;
    };
    bool found = inRanges(c) || (ignoreCase && (inRanges(toUpper(c)) || inRanges(toLower(c))));
    found = found || (digits && isDigitChar(c)) || (notDigits && !isDigitChar(c)) || (words && isWordChar(c)) ||
            (notWords && !isWordChar(c)) || (spaces && isSpaceChar(c)) || (notSpaces && !isSpaceChar(c));
    return found != negated;
}

std::optional<LookupRegex> LookupRegex::compile(std::u16string_view pattern) {
    LookupRegex regex;
    RegexCompiler compiler(pattern, regex);
    if (!compiler.run()) return std::nullopt;
    return regex;
}

bool LookupRegex::step(char16_t c, const Instruction& instruction) const {
    switch (instruction.op) {
    case Op::Char: return c == instruction.c || (ignoreCase_ && toUpper(c) == toUpper(instruction.c));
    case Op::Any: return c != u'\n';
    case Op::Set: return sets_[size_t(instruction.x)].contains(c, ignoreCase_);
    default: return false;
    }
}

bool LookupRegex::search(std::u16string_view text) const {
    const size_t size = program_.size();
    std::vector<int32_t> current, next, stack;
    std::vector<size_t> seen(size, SIZE_MAX);   // the closure that last reached each instruction
    size_t closure = 0;
    const auto wordAt = [&](size_t i) { return i < text.size() && isWordChar(text[i]); };
    // Follows jumps, splits and assertions from `pc` at text position `at`, collecting the
    // instructions that read a character; true when the pattern has matched.
    const auto add = [&](std::vector<int32_t>& list, int32_t pc, size_t at) {
        stack.assign(1, pc);
        while (!stack.empty()) {
            const int32_t p = stack.back();
            stack.pop_back();
            if (seen[size_t(p)] == closure) continue;
            seen[size_t(p)] = closure;
            const Instruction& in = program_[size_t(p)];
            const bool boundary = (at > 0 && wordAt(at - 1)) != wordAt(at);
            switch (in.op) {
            case Op::Match: return true;
            case Op::Jump: stack.push_back(in.x); break;
            case Op::Split:
                stack.push_back(in.y);
                stack.push_back(in.x);
                break;
            case Op::Begin:
                if (at == 0) stack.push_back(p + 1);
                break;
            case Op::End:
                if (at == text.size()) stack.push_back(p + 1);
                break;
            case Op::WordBoundary:
                if (boundary) stack.push_back(p + 1);
                break;
            case Op::NotWordBoundary:
                if (!boundary) stack.push_back(p + 1);
                break;
            default: list.push_back(p); break;
            }
        }
        return false;
    };
    for (size_t at = 0;; ++at) {
        // Each position starts a new attempt, after the threads already running.
        ++closure;
        for (int32_t pc : current) {
            if (add(next, pc, at)) return true;
        }
        if (add(next, 0, at)) return true;
        if (at == text.size()) return false;
        current.clear();
        for (int32_t pc : next) {
            if (step(text[at], program_[size_t(pc)])) current.push_back(pc + 1);
        }
        next.clear();
    }
}

}  // namespace kes::calc
