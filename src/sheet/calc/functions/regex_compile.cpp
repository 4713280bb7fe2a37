// Regular expressions in the syntax of PCRE, which Excel's REGEX functions use: a pattern is
// read into a tree, then compiled into programs for the matcher in regex.cpp.
#include <algorithm>
#include <limits>
#include <memory>

#include "sheet/calc/functions/regex_program.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc::regex {
namespace {

constexpr uint32_t kUnbounded = std::numeric_limits<uint32_t>::max();
// Limits that keep a pattern from taking unbounded time or memory to compile.
constexpr int kMaxDepth = 200;
constexpr uint32_t kMaxRepeat = 65535;
constexpr size_t kMaxInstructions = 200000;

struct Node {
    enum Kind : uint8_t { Empty, Char, Any, Class, Concat, Alternation, Group, Repeat, Assert, BackRef, Look, Atomic };
    Kind kind = Empty;
    bool flag = false;          // Char, BackRef: ignore case; Any: dot-all; Look: negated; Repeat: lazy
    bool possessive = false;    // Repeat
    bool behind = false;        // Look
    char32_t c = 0;
    int32_t index = -1;         // Class: the class; Group: the group (-1 not capturing); BackRef; Assert
    uint32_t min = 0, max = 0;  // Repeat
    std::u16string name;        // BackRef by name, resolved after parsing
    std::vector<std::unique_ptr<Node>> children;
};

using NodePtr = std::unique_ptr<Node>;

NodePtr make(Node::Kind kind) {
    auto n = std::make_unique<Node>();
    n->kind = kind;
    return n;
}

struct Flags {
    bool ignoreCase = false, dotAll = false, multiline = false, extended = false;
};

struct Invalid {};

class Parser {
public:
    Parser(std::u16string_view pattern, bool ignoreCase) : p_(pattern) { flags_.ignoreCase = ignoreCase; }

    NodePtr parse() {
        NodePtr root = alternation(0);
        if (i_ != p_.size()) throw Invalid{};
        for (const auto& [node, name] : namedReferences_) {
            node->index = -1;
            for (const auto& [groupName, number] : names_) {
                if (groupName == name) node->index = int32_t(number);
            }
            if (node->index < 0) throw Invalid{};
        }
        for (Node* node : numberedReferences_) {
            if (uint32_t(node->index) > groups_) throw Invalid{};
        }
        return root;
    }

    uint32_t groups() const { return groups_; }
    std::vector<std::pair<std::u16string, uint32_t>> names() const { return names_; }
    std::vector<CharClass> takeClasses() { return std::move(classes_); }

private:
    bool atEnd() const { return i_ >= p_.size(); }
    char16_t peek() const { return p_[i_]; }
    bool accept(char16_t c) {
        if (!atEnd() && p_[i_] == c) {
            ++i_;
            return true;
        }
        return false;
    }
    void expect(char16_t c) {
        if (!accept(c)) throw Invalid{};
    }

    char32_t codePoint() {
        char32_t c = p_[i_++];
        if (c >= 0xD800 && c <= 0xDBFF && !atEnd() && p_[i_] >= 0xDC00 && p_[i_] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (p_[i_++] - 0xDC00);
        }
        return c;
    }

    // Whitespace and # comments are not part of the pattern in extended mode (?x).
    void skipExtended() {
        if (!flags_.extended) return;
        while (!atEnd()) {
            const char16_t c = peek();
            if (c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f' || c == u'\v') {
                ++i_;
            } else if (c == u'#') {
                while (!atEnd() && peek() != u'\n') ++i_;
            } else {
                break;
            }
        }
    }

    NodePtr alternation(int depth) {
        if (depth > kMaxDepth) throw Invalid{};
        const Flags saved = flags_;
        NodePtr first = sequence(depth);
        if (atEnd() || peek() != u'|') {
            flags_ = saved;
            return first;
        }
        NodePtr alt = make(Node::Alternation);
        alt->children.push_back(std::move(first));
        while (accept(u'|')) alt->children.push_back(sequence(depth));
        flags_ = saved;
        return alt;
    }

    NodePtr sequence(int depth) {
        NodePtr seq = make(Node::Concat);
        for (;;) {
            skipExtended();
            if (atEnd() || peek() == u'|' || peek() == u')') break;
            NodePtr atom = p_.substr(i_).starts_with(u"\\Q") ? quoted(*seq) : this->atom(depth);
            if (!atom) continue;   // an inline flag or a comment
            skipExtended();
            seq->children.push_back(quantified(std::move(atom)));
        }
        return seq;
    }

    std::optional<uint32_t> number() {
        const size_t start = i_;
        uint64_t value = 0;
        while (!atEnd() && peek() >= u'0' && peek() <= u'9') {
            value = std::min<uint64_t>(value * 10 + (p_[i_++] - u'0'), uint64_t(kMaxRepeat) + 1);
        }
        if (i_ == start) return std::nullopt;
        return uint32_t(value);
    }

    // {n}, {n,}, {n,m} and {,m}; a brace that starts none of them is a literal.
    bool braces(uint32_t& min, uint32_t& max) {
        const size_t start = i_;
        ++i_;
        const auto low = number();
        std::optional<uint32_t> high = low;
        if (accept(u',')) high = number();
        if (!accept(u'}') || (!low && !high)) {
            i_ = start;
            return false;
        }
        min = low.value_or(0);
        max = p_[i_ - 2] == u',' ? kUnbounded : high.value_or(0);
        if (min > kMaxRepeat || (max != kUnbounded && (max > kMaxRepeat || max < min))) throw Invalid{};
        return true;
    }

    NodePtr quantified(NodePtr atom) {
        if (atEnd()) return atom;
        uint32_t min, max;
        const char16_t c = peek();
        if (c == u'*') min = 0, max = kUnbounded, ++i_;
        else if (c == u'+') min = 1, max = kUnbounded, ++i_;
        else if (c == u'?') min = 0, max = 1, ++i_;
        else if (c == u'{' && braces(min, max)) {}
        else return atom;
        if (atom->kind == Node::Assert || atom->kind == Node::Look) {
            // A quantified assertion asserts once or not at all.
            return min == 0 ? make(Node::Empty) : std::move(atom);
        }
        NodePtr repeat = make(Node::Repeat);
        repeat->min = min;
        repeat->max = max;
        if (accept(u'?')) repeat->flag = true;
        else if (accept(u'+')) repeat->possessive = true;
        repeat->children.push_back(std::move(atom));
        return repeat;
    }

    // \Q...\E: characters taken as they stand. All but the last go into the sequence; the last is
    // returned, for a quantifier after \E applies to it alone.
    NodePtr quoted(Node& seq) {
        i_ += 2;
        NodePtr last;
        while (!atEnd() && !(peek() == u'\\' && i_ + 1 < p_.size() && p_[i_ + 1] == u'E')) {
            if (last) seq.children.push_back(std::move(last));
            last = character(codePoint());
        }
        if (!atEnd()) i_ += 2;
        return last;
    }

    NodePtr character(char32_t c) {
        NodePtr n = make(Node::Char);
        n->c = c;
        n->flag = flags_.ignoreCase;
        return n;
    }

    NodePtr classNode(CharClass cls) {
        cls.ignoreCase = flags_.ignoreCase;
        classes_.push_back(std::move(cls));
        NodePtr n = make(Node::Class);
        n->index = int32_t(classes_.size() - 1);
        return n;
    }

    NodePtr assertion(Assertion a) {
        NodePtr n = make(Node::Assert);
        n->index = int32_t(a);
        return n;
    }

    NodePtr atom(int depth) {
        const char16_t c = peek();
        switch (c) {
        case u'(': return group(depth);
        case u'[': ++i_; return classNode(bracketClass());
        case u'.': {
            ++i_;
            NodePtr n = make(Node::Any);
            n->flag = flags_.dotAll;
            return n;
        }
        case u'^': ++i_; return assertion(flags_.multiline ? Assertion::LineStart : Assertion::TextStart);
        case u'$': ++i_; return assertion(flags_.multiline ? Assertion::LineEnd : Assertion::TextEndOrNewline);
        case u'\\': return escape();
        case u'*': case u'+': case u'?': throw Invalid{};
        case u'{': {
            uint32_t min, max;
            if (braces(min, max)) throw Invalid{};   // a quantifier with nothing to repeat
            ++i_;
            return character(u'{');
        }
        default: return character(codePoint());
        }
    }

    std::u16string groupName(char16_t close) {
        std::u16string name;
        while (!atEnd() && peek() != close) {
            const char16_t c = p_[i_++];
            const bool word = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' ||
                              (c >= u'0' && c <= u'9' && !name.empty());
            if (!word) throw Invalid{};
            name += c;
        }
        expect(close);
        if (name.empty()) throw Invalid{};
        return name;
    }

    NodePtr capturing(int depth, std::u16string name) {
        const uint32_t number = ++groups_;
        if (!name.empty()) {
            for (const auto& existing : names_) {
                if (existing.first == name) throw Invalid{};
            }
            names_.emplace_back(std::move(name), number);
        }
        NodePtr n = make(Node::Group);
        n->index = int32_t(number);
        n->children.push_back(alternation(depth + 1));
        expect(u')');
        return n;
    }

    NodePtr wrapped(Node::Kind kind, int depth) {
        NodePtr n = make(kind);
        n->children.push_back(alternation(depth + 1));
        expect(u')');
        return n;
    }

    NodePtr group(int depth) {
        ++i_;
        if (!accept(u'?')) return capturing(depth, {});
        if (atEnd()) throw Invalid{};
        const char16_t c = p_[i_++];
        switch (c) {
        case u':': return wrapped(Node::Group, depth);
        case u'>': return wrapped(Node::Atomic, depth);
        case u'=': case u'!': {
            NodePtr n = wrapped(Node::Look, depth);
            n->flag = c == u'!';
            return n;
        }
        case u'#':
            while (!atEnd() && peek() != u')') ++i_;
            expect(u')');
            return nullptr;
        case u'\'': return capturing(depth, groupName(u'\''));
        case u'P':
            if (accept(u'<')) return capturing(depth, groupName(u'>'));
            if (accept(u'=')) return namedReference(groupName(u')'));
            throw Invalid{};
        case u'<':
            if (accept(u'=') || accept(u'!')) {
                const bool negated = p_[i_ - 1] == u'!';
                NodePtr n = wrapped(Node::Look, depth);
                n->flag = negated;
                n->behind = true;
                return n;
            }
            return capturing(depth, groupName(u'>'));
        default: --i_; return inlineFlags(depth);
        }
    }

    // (?i), (?-s), (?im-sx) for the rest of the enclosing group, or (?i:...) for the group it opens.
    NodePtr inlineFlags(int depth) {
        Flags flags = flags_;
        bool on = true;
        while (!atEnd() && peek() != u')' && peek() != u':') {
            const char16_t c = p_[i_++];
            switch (c) {
            case u'-': on = false; break;
            case u'i': flags.ignoreCase = on; break;
            case u's': flags.dotAll = on; break;
            case u'm': flags.multiline = on; break;
            case u'x': flags.extended = on; break;
            case u'n': case u'U': case u'J': break;
            default: throw Invalid{};
            }
        }
        if (accept(u')')) {
            flags_ = flags;
            return nullptr;
        }
        expect(u':');
        const Flags saved = flags_;
        flags_ = flags;
        NodePtr n = wrapped(Node::Group, depth);
        flags_ = saved;
        return n;
    }

    NodePtr namedReference(std::u16string name) {
        NodePtr n = make(Node::BackRef);
        n->flag = flags_.ignoreCase;
        namedReferences_.emplace_back(n.get(), std::move(name));
        return n;
    }

    NodePtr numberedReference(uint32_t number) {
        NodePtr n = make(Node::BackRef);
        n->flag = flags_.ignoreCase;
        n->index = int32_t(number);
        numberedReferences_.push_back(n.get());
        return n;
    }

    uint32_t hexDigits(size_t atMost) {
        uint32_t value = 0;
        size_t count = 0;
        while (count < atMost && !atEnd()) {
            const char16_t c = peek();
            const int d = c >= u'0' && c <= u'9'   ? c - u'0'
                          : c >= u'a' && c <= u'f' ? c - u'a' + 10
                          : c >= u'A' && c <= u'F' ? c - u'A' + 10
                                                   : -1;
            if (d < 0) break;
            value = value * 16 + uint32_t(d);
            if (value > 0x10FFFF) throw Invalid{};
            ++i_, ++count;
        }
        if (count == 0 && atMost != 2) throw Invalid{};
        return value;
    }

    // An escape that stands for one character, inside or outside a class; none when it is not one.
    std::optional<char32_t> characterEscape(char16_t c) {
        switch (c) {
        case u't': return U'\t';
        case u'n': return U'\n';
        case u'r': return U'\r';
        case u'f': return U'\f';
        case u'a': return U'\a';
        case u'e': return U'\x1B';
        case u'0': {
            char32_t value = 0;
            for (int k = 0; k < 2 && !atEnd() && peek() >= u'0' && peek() <= u'7'; ++k) {
                value = value * 8 + (p_[i_++] - u'0');
            }
            return value;
        }
        case u'x':
            if (accept(u'{')) {
                const char32_t value = hexDigits(8);
                expect(u'}');
                return value;
            }
            return hexDigits(2);
        case u'u': return hexDigits(4);
        case u'c': {
            if (atEnd()) throw Invalid{};
            return char32_t(toUpper(p_[i_++]) ^ 0x40);
        }
        default: break;
        }
        const bool alphanumeric = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
        if (alphanumeric) return std::nullopt;
        return char32_t(c);   // an escaped punctuation or other character stands for itself
    }

    // \d, \w, \s, \h, \v and their negations, \p{...} and \P{...}; none for other escapes.
    std::optional<std::pair<Set, bool>> setEscape(char16_t c) {
        switch (c) {
        case u'd': return std::pair{Set::Digit, false};
        case u'D': return std::pair{Set::Digit, true};
        case u'w': return std::pair{Set::Word, false};
        case u'W': return std::pair{Set::Word, true};
        case u's': return std::pair{Set::Space, false};
        case u'S': return std::pair{Set::Space, true};
        case u'h': return std::pair{Set::HorizontalSpace, false};
        case u'H': return std::pair{Set::HorizontalSpace, true};
        case u'v': return std::pair{Set::VerticalSpace, false};
        case u'V': return std::pair{Set::VerticalSpace, true};
        case u'N': return std::pair{Set::VerticalSpace, true};
        case u'p': case u'P': {
            bool negated = c == u'P';
            std::u16string name;
            if (accept(u'{')) {
                if (accept(u'^')) negated = !negated;
                while (!atEnd() && peek() != u'}') name += p_[i_++];
                expect(u'}');
            } else if (!atEnd()) {
                name += p_[i_++];
            }
            return std::pair{property(name), negated};
        }
        default: return std::nullopt;
        }
    }

    static Set property(std::u16string_view name) {
        struct Named {
            std::u16string_view name;
            Set set;
        };
        static constexpr Named kProperties[] = {
            {u"L", Set::Letter},      {u"L&", Set::Letter},       {u"Lu", Set::UpperLetter}, {u"Ll", Set::LowerLetter},
            {u"N", Set::Number},      {u"Nd", Set::Number},       {u"P", Set::Punctuation},  {u"Z", Set::Separator},
            {u"Zs", Set::Separator},  {u"Han", Set::Han},         {u"Any", Set::Any},
        };
        for (const Named& p : kProperties) {
            if (p.name == name) return p.set;
        }
        throw Invalid{};
    }

    NodePtr escape() {
        ++i_;
        if (atEnd()) throw Invalid{};
        const char16_t c = p_[i_++];
        switch (c) {
        case u'A': return assertion(Assertion::TextStart);
        case u'z': return assertion(Assertion::TextEnd);
        case u'Z': return assertion(Assertion::TextEndOrNewline);
        case u'b': return assertion(Assertion::WordBoundary);
        case u'B': return assertion(Assertion::NotWordBoundary);
        case u'G': return assertion(Assertion::TextStart);
        case u'E': return nullptr;
        case u'k': {
            const char16_t open = atEnd() ? 0 : p_[i_++];
            const char16_t close = open == u'<' ? u'>' : open == u'{' ? u'}' : open == u'\'' ? u'\'' : 0;
            if (!close) throw Invalid{};
            return namedReference(groupName(close));
        }
        case u'g': {
            const bool braced = accept(u'{');
            const auto n = number();
            if (!n || *n == 0) throw Invalid{};
            if (braced) expect(u'}');
            return numberedReference(*n);
        }
        default: break;
        }
        if (c >= u'1' && c <= u'9') {
            --i_;
            return numberedReference(*number());
        }
        if (const auto set = setEscape(c)) {
            CharClass cls;
            cls.sets.push_back(*set);
            return classNode(std::move(cls));
        }
        if (const auto ch = characterEscape(c)) return character(*ch);
        throw Invalid{};
    }

    // [...] after the opening bracket: items, ranges, escapes and POSIX classes.
    CharClass bracketClass() {
        CharClass cls;
        if (accept(u'^')) cls.negated = true;
        bool first = true;
        while (!atEnd() && (peek() != u']' || first)) {
            first = false;
            if (p_.substr(i_).starts_with(u"[:")) {
                const size_t close = p_.find(u":]", i_ + 2);
                if (close != std::u16string_view::npos) {
                    std::u16string_view name = p_.substr(i_ + 2, close - i_ - 2);
                    const bool negated = name.starts_with(u'^');
                    if (negated) name.remove_prefix(1);
                    cls.sets.emplace_back(posixClass(name), negated);
                    i_ = close + 2;
                    continue;
                }
            }
            char32_t low;
            if (accept(u'\\')) {
                if (atEnd()) throw Invalid{};
                const char16_t c = p_[i_++];
                if (const auto set = setEscape(c)) {
                    cls.sets.push_back(*set);
                    continue;
                }
                if (c == u'b') low = U'\b';
                else if (const auto ch = characterEscape(c)) low = *ch;
                else throw Invalid{};
            } else {
                low = codePoint();
            }
            char32_t high = low;
            if (i_ + 1 < p_.size() && peek() == u'-' && p_[i_ + 1] != u']') {
                ++i_;
                if (accept(u'\\')) {
                    if (atEnd()) throw Invalid{};
                    const auto ch = characterEscape(p_[i_++]);
                    if (!ch) throw Invalid{};
                    high = *ch;
                } else {
                    high = codePoint();
                }
                if (high < low) throw Invalid{};
            }
            cls.ranges.emplace_back(low, high);
        }
        expect(u']');
        return cls;
    }

    static Set posixClass(std::u16string_view name) {
        struct Named {
            std::u16string_view name;
            Set set;
        };
        static constexpr Named kClasses[] = {
            {u"alpha", Set::Alpha}, {u"digit", Set::Digit}, {u"alnum", Set::Alnum}, {u"upper", Set::Upper},
            {u"lower", Set::Lower}, {u"space", Set::Space}, {u"punct", Set::Punct}, {u"xdigit", Set::XDigit},
            {u"word", Set::Word},   {u"blank", Set::Blank}, {u"cntrl", Set::Cntrl}, {u"print", Set::Print},
            {u"graph", Set::Graph},
        };
        for (const Named& c : kClasses) {
            if (c.name == name) return c.set;
        }
        throw Invalid{};
    }

    std::u16string_view p_;
    size_t i_ = 0;
    Flags flags_;
    uint32_t groups_ = 0;
    std::vector<std::pair<std::u16string, uint32_t>> names_;
    std::vector<std::pair<Node*, std::u16string>> namedReferences_;
    std::vector<Node*> numberedReferences_;
    std::vector<CharClass> classes_;
};

// The shortest and longest text a node matches, in UTF-16 units, for lookbehinds.
struct Width {
    uint32_t min = 0, max = 0;
};

uint32_t addWidths(uint32_t a, uint32_t b) {
    if (a == kUnbounded || b == kUnbounded) return kUnbounded;
    return uint32_t(std::min<uint64_t>(uint64_t(a) + b, kUnbounded - 1));
}

Width widthOf(const Node& n) {
    switch (n.kind) {
    case Node::Char: return n.c > 0xFFFF ? Width{2, 2} : Width{1, 1};
    case Node::Any: case Node::Class: return {1, 2};
    case Node::Concat: case Node::Group: case Node::Atomic: {
        Width w;
        for (const auto& child : n.children) {
            const Width c = widthOf(*child);
            w.min = addWidths(w.min, c.min);
            w.max = addWidths(w.max, c.max);
        }
        return w;
    }
    case Node::Alternation: {
        Width w{kUnbounded, 0};
        for (const auto& child : n.children) {
            const Width c = widthOf(*child);
            w.min = std::min(w.min, c.min);
            w.max = std::max(w.max, c.max);
        }
        return w;
    }
    case Node::Repeat: {
        const Width c = widthOf(*n.children[0]);
        const uint64_t min = uint64_t(c.min) * n.min;
        const uint64_t max = n.max == kUnbounded || c.max == kUnbounded ? kUnbounded : uint64_t(c.max) * n.max;
        return {uint32_t(std::min<uint64_t>(min, kUnbounded - 1)), uint32_t(std::min<uint64_t>(max, kUnbounded))};
    }
    case Node::BackRef: return {0, kUnbounded};
    default: return {0, 0};
    }
}

bool matchesEmpty(const Node& n) { return widthOf(n).min == 0; }

class Compiler {
public:
    explicit Compiler(Compiled& out) : out_(out) {}

    uint32_t program(const Node& root) {
        return subprogram([&](std::vector<Instruction>& code) { emit(root, code); });
    }

private:
    // A program of its own, for a lookaround or an atomic group: matched by the matcher apart.
    template <class Emit>
    uint32_t subprogram(Emit&& emit) {
        const auto index = uint32_t(out_.programs.size());
        out_.programs.emplace_back();
        std::vector<Instruction> code;
        emit(code);
        push(code, {Op::Match});
        out_.programs[index] = std::move(code);
        return index;
    }

    uint32_t here(const std::vector<Instruction>& code) const { return uint32_t(code.size()); }

    void push(std::vector<Instruction>& code, Instruction i) {
        if (++total_ > kMaxInstructions) throw Invalid{};
        code.push_back(i);
    }

    void emit(const Node& n, std::vector<Instruction>& code) {
        switch (n.kind) {
        case Node::Empty: break;
        case Node::Char: push(code, {Op::Char, n.flag, n.c}); break;
        case Node::Any: push(code, {Op::Any, n.flag}); break;
        case Node::Class: push(code, {Op::Class, false, 0, uint32_t(n.index)}); break;
        case Node::Concat:
            for (const auto& child : n.children) emit(*child, code);
            break;
        case Node::Alternation: {
            std::vector<uint32_t> exits;
            for (size_t k = 0; k < n.children.size(); ++k) {
                const bool last = k + 1 == n.children.size();
                const uint32_t split = here(code);
                if (!last) push(code, {Op::Split});
                emit(*n.children[k], code);
                if (!last) {
                    exits.push_back(here(code));
                    push(code, {Op::Jump});
                    code[split].a = split + 1;
                    code[split].b = here(code);
                }
            }
            for (uint32_t e : exits) code[e].a = here(code);
            break;
        }
        case Node::Group:
            if (n.index >= 0) push(code, {Op::Save, false, 0, uint32_t(2 * n.index)});
            emit(*n.children[0], code);
            if (n.index >= 0) push(code, {Op::Save, false, 0, uint32_t(2 * n.index + 1)});
            break;
        case Node::Repeat: repeat(n, code); break;
        case Node::Assert: push(code, {Op::Assert, false, 0, uint32_t(n.index)}); break;
        case Node::BackRef: push(code, {Op::BackRef, n.flag, 0, uint32_t(n.index)}); break;
        case Node::Look: {
            const Width w = widthOf(*n.children[0]);
            if (n.behind && w.max == kUnbounded) throw Invalid{};   // as PCRE: a lookbehind has a bounded length
            const uint32_t sub = program(*n.children[0]);
            push(code, {Op::Look, n.flag, 0, sub, n.behind ? 1u : 0u, w.min, w.max});
            break;
        }
        case Node::Atomic: push(code, {Op::Atomic, false, 0, program(*n.children[0])}); break;
        }
    }

    void repeat(const Node& n, std::vector<Instruction>& code) {
        if (n.possessive) {
            // X*+ is (?>X*): the repetition is matched once, greedily, and never given back.
            const uint32_t sub = subprogram([&](std::vector<Instruction>& inner) { repeatBody(n, false, inner); });
            push(code, {Op::Atomic, false, 0, sub});
            return;
        }
        repeatBody(n, n.flag, code);
    }

    void repeatBody(const Node& n, bool lazy, std::vector<Instruction>& code) {
        const Node& body = *n.children[0];
        for (uint32_t k = 0; k < n.min; ++k) emit(body, code);
        if (n.max == kUnbounded) {
            const bool guard = matchesEmpty(body);
            const uint32_t mark = guard ? uint32_t(out_.slots++) : 0;
            const uint32_t loop = here(code);
            push(code, {Op::Split});
            if (guard) push(code, {Op::Save, false, 0, mark});
            emit(body, code);
            const uint32_t progress = here(code);
            if (guard) push(code, {Op::Progress, false, 0, mark});
            push(code, {Op::Jump, false, 0, loop});
            const uint32_t exit = here(code);
            code[loop].a = lazy ? exit : loop + 1;
            code[loop].b = lazy ? loop + 1 : exit;
            if (guard) code[progress].b = exit;
            return;
        }
        std::vector<uint32_t> splits;
        for (uint32_t k = n.min; k < n.max; ++k) {
            splits.push_back(here(code));
            push(code, {Op::Split});
            emit(body, code);
        }
        const uint32_t exit = here(code);
        for (uint32_t s : splits) {
            code[s].a = lazy ? exit : s + 1;
            code[s].b = lazy ? s + 1 : exit;
        }
    }

    Compiled& out_;
    size_t total_ = 0;
};

bool startsAnchored(const Node& n) {
    switch (n.kind) {
    case Node::Assert: return n.index == int32_t(Assertion::TextStart);
    case Node::Concat: return !n.children.empty() && startsAnchored(*n.children[0]);
    case Node::Group: case Node::Atomic: return startsAnchored(*n.children[0]);
    case Node::Alternation:
        return std::all_of(n.children.begin(), n.children.end(), [](const auto& c) { return startsAnchored(*c); });
    default: return false;
    }
}

}  // namespace

std::optional<Compiled> compile(std::u16string_view pattern, bool ignoreCase) {
    try {
        Parser parser(pattern, ignoreCase);
        const NodePtr root = parser.parse();
        Compiled out;
        out.groups = parser.groups();
        out.names = parser.names();
        out.classes = parser.takeClasses();
        out.slots = 2 * (out.groups + 1);
        out.anchored = startsAnchored(*root);
        Compiler(out).program(*root);
        return out;
    } catch (const Invalid&) {
        return std::nullopt;
    }
}

}  // namespace kes::calc::regex
