#pragma once
// Regular expressions as Excel's REGEXTEST, REGEXEXTRACT and REGEXREPLACE read them (the syntax
// of PCRE): classes, anchors, greedy, lazy and possessive quantifiers, groups named and
// numbered, backreferences, lookahead and lookbehind, atomic groups, inline flags (?i) (?s)
// (?m) (?x). Texts are matched by code point, so a character beyond U+FFFF counts as one.
//
// Matching backtracks, within a budget of steps: a pattern that would take too long on a text
// (as (a+)+b on a long run of a's) throws RegexTooComplex instead of hanging the sheet.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::calc {

namespace regex {
struct Compiled;
}

struct RegexTooComplex {};

class Regex {
public:
    // None for a pattern that is not valid.
    static std::optional<Regex> compile(std::u16string_view pattern, bool ignoreCase);

    struct Match {
        // Start and end of the whole match, then of each group; npos for a group that took no part.
        std::vector<size_t> bounds;

        size_t start() const { return bounds[0]; }
        size_t end() const { return bounds[1]; }
        bool took(size_t group) const { return bounds[2 * group] != std::u16string_view::npos; }
        std::u16string_view group(std::u16string_view text, size_t group) const {
            if (!took(group)) return {};
            return text.substr(bounds[2 * group], bounds[2 * group + 1] - bounds[2 * group]);
        }
    };

    // The first match that starts at or after `from`.
    std::optional<Match> search(std::u16string_view text, size_t from) const;
    // The same within a budget of steps shared with other searches, so that a function that
    // searches a text many times (every match to replace) is bounded as a whole.
    std::optional<Match> search(std::u16string_view text, size_t from, size_t& budget) const;

    // The steps a search may take: about PCRE's default match limit.
    static constexpr size_t kStepBudget = 10'000'000;

    size_t groupCount() const;
    // The number of the group of that name; none when no group has it.
    std::optional<size_t> groupNamed(std::u16string_view name) const;

private:
    explicit Regex(std::shared_ptr<const regex::Compiled> compiled) : compiled_(std::move(compiled)) {}
    std::shared_ptr<const regex::Compiled> compiled_;
};

}  // namespace kes::calc
