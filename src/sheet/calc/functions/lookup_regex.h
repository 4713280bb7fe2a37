#pragma once
// Regular expressions as XLOOKUP and XMATCH take them in match mode 3: the PCRE syntax of
// everyday patterns (classes, \d \w \s \b, anchors, groups, alternation, greedy and lazy
// quantifiers with counts, (?i)). The matcher runs every alternative in step over the text, so
// a search costs at most the text's length times the pattern's size: no pattern makes it hang
// or recurse.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::calc {

class LookupRegex {
public:
    // None for a pattern that is malformed, uses what is not supported (back references,
    // look-around) or grows beyond a bounded program.
    static std::optional<LookupRegex> compile(std::u16string_view pattern);

    // True when the pattern matches anywhere in the text.
    bool search(std::u16string_view text) const;

    enum class Op : uint8_t { Char, Any, Set, Split, Jump, Begin, End, WordBoundary, NotWordBoundary, Match };
    struct Range {
        char16_t first, last;
    };
    struct Set {
        std::vector<Range> ranges;
        bool digits = false, notDigits = false, words = false, notWords = false, spaces = false, notSpaces = false;
        bool negated = false;
        bool contains(char16_t c, bool ignoreCase) const;
    };
    struct Instruction {
        Op op;
        char16_t c = 0;
        int32_t x = 0, y = 0;   // Split: both targets; Jump: x; Set: x is the set
    };

private:
    friend class RegexCompiler;
    bool step(char16_t c, const Instruction& instruction) const;

    std::vector<Instruction> program_;
    std::vector<Set> sets_;
    bool ignoreCase_ = false;
};

}  // namespace kes::calc
