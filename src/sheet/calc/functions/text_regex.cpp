// Text functions of regular expressions: REGEXTEST, REGEXEXTRACT and REGEXREPLACE.
#include <cmath>
#include <vector>

#include "sheet/calc/functions/regex.h"
#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"

namespace kes::calc {
namespace {

// The case_sensitivity argument: 0 (the default) matches case, 1 ignores it.
bool ignoresCase(Call& call, size_t index) {
    const double mode = std::trunc(call.number(index, 0));
    if (mode != 0 && mode != 1) fail(ecValue);
    return mode == 1;
}

Regex compiled(const std::u16string& pattern, bool ignoreCase) {
    auto re = Regex::compile(pattern, ignoreCase);
    if (!re) fail(ecValue);
    return std::move(*re);
}

// Every match from the start, left to right; after an empty match the search goes on one
// character further.
std::vector<Regex::Match> allMatches(const Regex& re, std::u16string_view text) {
    std::vector<Regex::Match> out;
    size_t budget = Regex::kStepBudget;
    for (size_t from = 0; from <= text.size();) {
        auto m = re.search(text, from, budget);
        if (!m) break;
        from = m->end() > m->start() ? m->end() : m->end() + 1;
        out.push_back(std::move(*m));
    }
    return out;
}

// A runaway pattern gives #VALUE! rather than the sheet waiting for it.
template <class Body>
Value guarded(Body&& body) {
    try {
        return body();
    } catch (const RegexTooComplex&) {
        return Value::error(ecValue);
    }
}

Value regexTest(Call& call) {
    const std::u16string text = call.text(0), pattern = call.text(1);
    const Regex re = compiled(pattern, ignoresCase(call, 2));
    return guarded([&] { return Value::boolean(re.search(text, 0).has_value()); });
}

Value row(const std::vector<std::u16string>& texts) {
    Matrix out(1, int32_t(texts.size()));
    for (size_t i = 0; i < texts.size(); ++i) out.set(i, Value::text(texts[i]));
    return Value::array(std::move(out));
}

Value regexExtract(Call& call) {
    const std::u16string text = call.text(0), pattern = call.text(1);
    const double mode = std::trunc(call.number(2, 0));
    const bool ignoreCase = ignoresCase(call, 3);
    if (mode != 0 && mode != 1 && mode != 2) return Value::error(ecValue);
    const Regex re = compiled(pattern, ignoreCase);
    return guarded([&]() -> Value {
        if (mode == 1) {
            std::vector<std::u16string> texts;
            for (const auto& m : allMatches(re, text)) texts.emplace_back(m.group(text, 0));
            return texts.empty() ? Value::error(ecNA) : row(texts);
        }
        const auto m = re.search(text, 0);
        if (!m) return Value::error(ecNA);
        if (mode == 0) return Value::text(std::u16string(m->group(text, 0)));
        std::vector<std::u16string> groups;
        for (size_t g = 1; g <= re.groupCount(); ++g) groups.emplace_back(m->group(text, g));
        return groups.empty() ? Value::error(ecValue) : row(groups);
    });
}

// The replacement with $n, ${n} and ${name} replaced by the groups of the match, $$ by $.
std::u16string expand(std::u16string_view replacement, const Regex& re, const Regex::Match& m,
                      std::u16string_view text) {
    std::u16string out;
    for (size_t i = 0; i < replacement.size(); ++i) {
        const char16_t c = replacement[i];
        if (c != u'$' || i + 1 == replacement.size()) {
            out += c;
            continue;
        }
        const char16_t next = replacement[i + 1];
        if (next == u'$') {
            out += u'$';
            ++i;
            continue;
        }
        std::optional<size_t> group;
        if (next >= u'0' && next <= u'9') {
            size_t number = size_t(next - u'0');
            ++i;
            // A second digit belongs to the number when there is a group of that number.
            if (i + 1 < replacement.size() && replacement[i + 1] >= u'0' && replacement[i + 1] <= u'9' &&
                number * 10 + size_t(replacement[i + 1] - u'0') <= re.groupCount()) {
                number = number * 10 + size_t(replacement[++i] - u'0');
            }
            group = number;
        } else if (next == u'{') {
            const size_t close = replacement.find(u'}', i + 2);
            if (close == std::u16string_view::npos) fail(ecValue);
            const std::u16string_view name = replacement.substr(i + 2, close - i - 2);
            bool numeric = !name.empty();
            size_t number = 0;
            for (char16_t d : name) {
                numeric = numeric && d >= u'0' && d <= u'9';
                if (numeric) number = std::min<size_t>(number * 10 + size_t(d - u'0'), 1000);
            }
            group = numeric ? std::optional<size_t>(number) : re.groupNamed(name);
            i = close;
        } else {
            out += c;
            continue;
        }
        if (!group || *group > re.groupCount()) fail(ecValue);
        out += m.group(text, *group);
    }
    return out;
}

Value regexReplace(Call& call) {
    const std::u16string text = call.text(0), pattern = call.text(1), replacement = call.text(2);
    const double occurrence = std::trunc(call.number(3, 0));
    const Regex re = compiled(pattern, ignoresCase(call, 4));
    return guarded([&]() -> Value {
        const std::vector<Regex::Match> matches = allMatches(re, text);
        const double count = double(matches.size());
        std::u16string out;
        size_t from = 0;
        for (size_t k = 0; k < matches.size(); ++k) {
            const bool chosen = occurrence == 0 || (occurrence > 0 && occurrence == double(k + 1)) ||
                                (occurrence < 0 && count + occurrence == double(k));
            if (!chosen) continue;
            const Regex::Match& m = matches[k];
            out.append(text, from, m.start() - from);
            out += expand(replacement, re, m, text);
            from = m.end();
            if (out.size() > kMaxTextLength) return Value::error(ecValue);
        }
        out.append(text, from);
        return textResult(std::move(out));
    });
}

constexpr FunctionSpec kFunctions[] = {
    {u"REGEXTEST", 2, 3, "VVV", regexTest, kNoBiffId, kFilePrefix},
    {u"REGEXEXTRACT", 2, 4, "VVVV", regexExtract, kNoBiffId, kFilePrefix},
    {u"REGEXREPLACE", 3, 5, "VVVVV", regexReplace, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> textRegexFunctions() { return kFunctions; }

}  // namespace kes::calc
