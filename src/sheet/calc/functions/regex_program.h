#pragma once
// The compiled form of a regular expression, shared by its compiler (regex_compile.cpp) and its
// matcher (regex.cpp): programs of instructions for a backtracking machine, one for the pattern
// and one for each lookaround and atomic group in it.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kes::calc::regex {

// The predefined sets of \d, \w, \s, \h, POSIX [:name:] classes and \p{...} properties.
enum class Set : uint8_t {
    Digit, Word, Space, HorizontalSpace, VerticalSpace,   // as PCRE without Unicode properties: ASCII only
    Alpha, Alnum, Upper, Lower, Punct, XDigit, Blank, Cntrl, Print, Graph,   // POSIX, ASCII
    Letter, UpperLetter, LowerLetter, Number, Punctuation, Separator, Han, Any,   // \p{L}, \p{Lu}...
};
bool inSet(Set set, char32_t c);

struct CharClass {
    std::vector<std::pair<char32_t, char32_t>> ranges;
    std::vector<std::pair<Set, bool>> sets;   // a set and whether it is negated (\D, [:^digit:], \P{L})
    bool negated = false;
    bool ignoreCase = false;

    bool contains(char32_t c) const;
};

enum class Assertion : uint8_t {
    LineStart,          // ^ with (?m)
    TextStart,          // ^ and \A
    LineEnd,            // $ with (?m)
    TextEndOrNewline,   // $ and \Z: the end, or before a last newline
    TextEnd,            // \z
    WordBoundary,
    NotWordBoundary,
};

enum class Op : uint8_t {
    Char,       // c; flag: ignore case
    Any,        // flag: a newline matches too (?s)
    Class,      // a: the class
    Split,      // try a, then b
    Jump,       // a
    Save,       // a: the slot that takes the position (group bounds, loop marks)
    Progress,   // a: the mark of a loop's iteration; b: where the loop ends, taken when the
                // iteration matched nothing, so that an empty body cannot loop for ever
    Assert,     // a: the Assertion
    BackRef,    // a: the group; flag: ignore case
    Look,       // a: the program; flag: negated; b: 1 for lookbehind, min and max: its widths
    Atomic,     // a: the program, matched once without going back into it
    Match,
};

struct Instruction {
    Op op;
    bool flag = false;
    char32_t c = 0;
    uint32_t a = 0, b = 0;
    uint32_t min = 0, max = 0;
};

struct Compiled {
    std::vector<std::vector<Instruction>> programs;   // the first is the pattern's
    std::vector<CharClass> classes;
    size_t groups = 0;                                // capturing groups, without the whole match
    size_t slots = 0;                                 // 2 for the whole match and each group, then marks
    std::vector<std::pair<std::u16string, uint32_t>> names;
    bool anchored = false;                            // starts with \A or ^ without (?m)
};

// None for a pattern that is not valid or too large.
std::optional<Compiled> compile(std::u16string_view pattern, bool ignoreCase);

// Letter case as the matcher compares it.
char32_t foldCase(char32_t c);

}  // namespace kes::calc::regex
