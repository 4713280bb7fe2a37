// Text functions: lengths and pieces of texts, case, spaces, repeating and joining, and the
// characters of Unicode. The rest of the family is in the other text_*.cpp files; the list
// returned here joins them all.
#include <cmath>
#include <vector>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc {

Value textResult(std::u16string text) {
    if (text.size() > kMaxTextLength) return Value::error(ecValue);
    return Value::text(std::move(text));
}

size_t characterCount(double n) {
    n = std::trunc(n);
    if (n < 0) fail(ecValue);
    return size_t(std::min(n, double(kMaxTextLength) + 1));
}

size_t characterPosition(double n) {
    n = std::trunc(n);
    if (n < 1) fail(ecValue);
    return size_t(std::min(n, double(kMaxTextLength) + 2));
}

std::optional<size_t> findText(std::u16string_view text, std::u16string_view needle, size_t from, bool wildcards) {
    if (from > text.size()) return std::nullopt;
    if (wildcards) return wildcardFind(text, needle, from);
    const size_t at = text.find(needle, from);
    if (at == std::u16string_view::npos) return std::nullopt;
    return at;
}

namespace {

Value len(Call& call) { return Value::number(double(call.text(0).size())); }

Value left(Call& call) {
    const std::u16string s = call.text(0);
    return Value::text(s.substr(0, characterCount(call.number(1, 1))));
}

Value right(Call& call) {
    const std::u16string s = call.text(0);
    const size_t n = std::min(characterCount(call.number(1, 1)), s.size());
    return Value::text(s.substr(s.size() - n));
}

Value mid(Call& call) {
    const std::u16string s = call.text(0);
    const double from = call.number(1), count = call.number(2);
    const size_t start = characterPosition(from);
    const size_t n = characterCount(count);
    if (start > s.size()) return Value::text(u"");
    return Value::text(s.substr(start - 1, n));
}

Value upper(Call& call) { return Value::text(upperCase(call.text(0))); }
Value lower(Call& call) { return Value::text(lowerCase(call.text(0))); }

// A letter after anything but a letter starts a word, digits and apostrophes included:
// PROPER("76budget") is 76Budget and PROPER("it's") It'S, as in Excel.
Value proper(Call& call) {
    std::u16string s = call.text(0);
    bool inWord = false;
    for (char16_t& c : s) {
        const bool letter = isCasedLetter(c);
        if (letter) c = inWord ? toLower(c) : toUpper(c);
        inWord = letter;
    }
    return Value::text(std::move(s));
}

// Only the space of ASCII: Excel's TRIM leaves no-break and ideographic spaces alone.
Value trim(Call& call) {
    const std::u16string s = call.text(0);
    std::u16string out;
    out.reserve(s.size());
    for (char16_t c : s) {
        if (c == u' ' && (out.empty() || out.back() == u' ')) continue;
        out += c;
    }
    if (!out.empty() && out.back() == u' ') out.pop_back();
    return Value::text(std::move(out));
}

Value clean(Call& call) {
    std::u16string s = call.text(0);
    std::erase_if(s, [](char16_t c) { return c < 0x20; });
    return Value::text(std::move(s));
}

Value rept(Call& call) {
    const std::u16string s = call.text(0);
    const double times = std::trunc(call.number(1));
    if (times < 0) return Value::error(ecValue);
    if (s.empty() || times == 0) return Value::text(u"");
    if (times * double(s.size()) > double(kMaxTextLength)) return Value::error(ecValue);
    std::u16string out;
    out.reserve(s.size() * size_t(times));
    for (size_t i = 0; i < size_t(times); ++i) out += s;
    return Value::text(std::move(out));
}

Value exact(Call& call) {
    const std::u16string a = call.text(0);
    return Value::boolean(a == call.text(1));
}

Value concatenate(Call& call) {
    std::u16string out;
    for (size_t i = 0; i < call.count(); ++i) {
        out += call.text(i);
        if (out.size() > kMaxTextLength) return Value::error(ecValue);
    }
    return Value::text(std::move(out));
}

Value concat(Call& call) {
    std::u16string out;
    for (size_t i = 0; i < call.count(); ++i) {
        call.forEachValue(i, [&](const Value& v, bool) {
            out += toText(v);
            if (out.size() > kMaxTextLength) fail(ecValue);
        });
    }
    return Value::text(std::move(out));
}

// TEXTJOIN's delimiters: one text, or the values of a range or array taken in turn.
std::vector<std::u16string> delimiters(Call& call) {
    std::vector<std::u16string> out;
    call.forEachValue(0, [&](const Value& v, bool) { out.push_back(toText(v)); });
    if (out.empty()) out.emplace_back();
    return out;
}

Value textJoin(Call& call) {
    const std::vector<std::u16string> separators = delimiters(call);
    const bool ignoreEmpty = call.boolean(1);
    std::u16string out;
    size_t joined = 0;
    const auto add = [&](const Value& v) {
        std::u16string piece = toText(v);
        if (ignoreEmpty && piece.empty()) return;
        if (joined > 0) out += separators[(joined - 1) % separators.size()];
        out += piece;
        ++joined;
        if (out.size() > kMaxTextLength) fail(ecValue);
    };
    for (size_t i = 2; i < call.count(); ++i) {
        if (ignoreEmpty) call.forEachValue(i, [&](const Value& v, bool) { add(v); });
        else forEachValueWithBlanks(call, i, add);
    }
    return Value::text(std::move(out));
}

Value unichar(Call& call) {
    const double n = std::trunc(call.number(0));
    if (n < 1 || n > 0x10FFFF) return Value::error(ecValue);
    const auto code = char32_t(n);
    if (code >= 0xD800 && code <= 0xDFFF) return Value::error(ecNA);
    if (code < 0x10000) return Value::text(std::u16string(1, char16_t(code)));
    const char32_t v = code - 0x10000;
    return Value::text({char16_t(0xD800 + (v >> 10)), char16_t(0xDC00 + (v & 0x3FF))});
}

Value unicode(Call& call) {
    const std::u16string s = call.text(0);
    if (s.empty()) return Value::error(ecValue);
    const char16_t first = s[0];
    if (first >= 0xD800 && first <= 0xDBFF && s.size() > 1 && s[1] >= 0xDC00 && s[1] <= 0xDFFF) {
        return Value::number(double(0x10000 + ((first - 0xD800) << 10) + (s[1] - 0xDC00)));
    }
    return Value::number(first);
}

// PHONETIC gives the reading guides of Japanese text; cells keep none, so what remains is what a
// Chinese Excel makes of it: the texts typed into the cells of a range, joined (numbers and
// formulas left out).
Value phonetic(Call& call) {
    const Value& v = call.arg(0);
    if (!v.isReference()) return Value::text(call.text(0));
    std::u16string out;
    for (size_t a = 0; a < v.areaCount(); ++a) {
        const Area& area = v.area(a);
        forEachCell(call.evaluator(), area, [&](int32_t row, int32_t column, const Value& cell) {
            if (!cell.isText() || area.sheet->getCell(row, column).dataType() == cdtFormula) return;
            out += cell.text();
            if (out.size() > kMaxTextLength) fail(ecValue);
        });
    }
    return Value::text(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"LEN", 1, 1, "V", len, 32},
    {u"LEFT", 1, 2, "VV", left, 115},
    {u"RIGHT", 1, 2, "VV", right, 116},
    {u"MID", 3, 3, "VVV", mid, 31},
    {u"UPPER", 1, 1, "V", upper, 113},
    {u"LOWER", 1, 1, "V", lower, 112},
    {u"PROPER", 1, 1, "V", proper, 114},
    {u"TRIM", 1, 1, "V", trim, 118},
    {u"CLEAN", 1, 1, "V", clean, 162},
    {u"REPT", 2, 2, "VV", rept, 30},
    {u"EXACT", 2, 2, "VV", exact, 117},
    {u"CONCATENATE", 1, kManyArgs, "V", concatenate, 336},
    {u"CONCAT", 1, kManyArgs, "R", concat, kNoBiffId, kFilePrefix},
    {u"TEXTJOIN", 3, kManyArgs, "RVR", textJoin, kNoBiffId, kFilePrefix},
    {u"UNICHAR", 1, 1, "V", unichar, kNoBiffId, kFilePrefix},
    {u"UNICODE", 1, 1, "V", unicode, kNoBiffId, kFilePrefix},
    {u"PHONETIC", 1, 1, "R", phonetic, 360},
};

}  // namespace

std::span<const FunctionSpec> textFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> out(std::begin(kFunctions), std::end(kFunctions));
        for (auto part : {textSearchFunctions, textCodePageFunctions, textConversionFunctions, textNumeralFunctions,
                          textRegexFunctions}) {
            const std::span<const FunctionSpec> functions = part();
            out.insert(out.end(), functions.begin(), functions.end());
        }
        return out;
    }();
    return all;
}

}  // namespace kes::calc
