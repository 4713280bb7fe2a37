// Reading a format code into sections of tokens: quotes, escapes, brackets (colours, conditions,
// currency and locale tags, elapsed time), digit placeholders and date letters.
#include "sheet/format/format_parse.h"

#include <charconv>
#include <string>
#include <unordered_map>

#include "sheet/format/default_palette.h"

namespace kes {
namespace {

char16_t lower(char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

bool startsWithIgnoringCase(std::u16string_view s, size_t at, std::u16string_view word) {
    if (s.size() - at < word.size()) return false;
    for (size_t i = 0; i < word.size(); ++i) {
        if (lower(s[at + i]) != lower(word[i])) return false;
    }
    return true;
}

// General as a Chinese Excel writes it in codes and in TEXT's format argument.
constexpr std::u16string_view kChineseGeneral = u"G/\u901A\u7528\u683C\u5F0F";   // G/通用格式

bool isPlaceholder(char16_t c) { return c == u'0' || c == u'#' || c == u'?'; }


// The eight named colours, and [Color1]..[Color56] from Excel's default palette.
std::optional<uint32_t> colorNamed(std::u16string_view name) {
    struct Named { std::u16string_view name; uint32_t rgb; };
    static constexpr Named kNamed[] = {
        {u"black", 0x000000}, {u"blue", 0x0000FF}, {u"cyan", 0x00FFFF}, {u"green", 0x00FF00},
        {u"magenta", 0xFF00FF}, {u"red", 0xFF0000}, {u"white", 0xFFFFFF}, {u"yellow", 0xFFFF00},
    };
    for (const Named& n : kNamed) {
        if (name.size() == n.name.size() && startsWithIgnoringCase(name, 0, n.name)) return n.rgb;
    }
    if (startsWithIgnoringCase(name, 0, u"color") && name.size() > 5 && name.size() <= 7) {
        int index = 0;
        for (char16_t c : name.substr(5)) {
            if (c < u'0' || c > u'9') return std::nullopt;
            index = index * 10 + (c - u'0');
        }
        if (index >= 1 && index <= 56) return kDefaultPalette[size_t(index - 1)];
    }
    return std::nullopt;
}

bool parseCondition(std::u16string_view inner, FormatSection& section) {
    using Op = FormatSection::Op;
    size_t at = 0;
    Op op;
    if (inner.starts_with(u"<=")) op = Op::LessEqual, at = 2;
    else if (inner.starts_with(u">=")) op = Op::GreaterEqual, at = 2;
    else if (inner.starts_with(u"<>")) op = Op::NotEqual, at = 2;
    else if (inner.starts_with(u"<")) op = Op::Less, at = 1;
    else if (inner.starts_with(u">")) op = Op::Greater, at = 1;
    else if (inner.starts_with(u"=")) op = Op::Equal, at = 1;
    else return false;
    std::string number;
    for (char16_t c : inner.substr(at)) {
        if (c > 0x7F) return false;
        if (c != u' ') number.push_back(char(c));
    }
    double limit = 0;
    const auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), limit);
    if (ec != std::errc() || end != number.data() + number.size()) return false;
    section.op = op;
    section.limit = limit;
    return true;
}

void addLiteral(FormatSection& section, std::u16string_view text) {
    if (!section.tokens.empty() && section.tokens.back().kind == FormatToken::Literal) {
        section.tokens.back().text += text;
    } else {
        section.tokens.push_back({FormatToken::Literal, 0, 0, 0, std::u16string(text)});
    }
}

void readBracket(std::u16string_view inner, FormatSection& section) {
    if (inner.empty()) return;
    if (startsWithIgnoringCase(inner, 0, u"$-F800") && inner.size() == 6) {
        section.system = FormatSection::System::LongDate;
        return;
    }
    if (startsWithIgnoringCase(inner, 0, u"$-F400") && inner.size() == 6) {
        section.system = FormatSection::System::LongTime;
        return;
    }
    if (inner.size() == 6 && startsWithIgnoringCase(inner, 0, u"dbnum") && inner[5] >= u'1' && inner[5] <= u'3') {
        section.chineseNumerals = uint8_t(inner[5] - u'0');
        return;
    }
    if (inner[0] == u'$') {   // [$¥-804]: the currency text before the locale id; [$-409] has none
        const size_t dash = inner.find(u'-');
        const std::u16string_view symbol = inner.substr(1, dash == inner.npos ? dash : dash - 1);
        if (!symbol.empty()) addLiteral(section, symbol);
        return;
    }
    const char16_t unit = lower(inner[0]);
    if (unit == u'h' || unit == u'm' || unit == u's') {
        bool same = true;
        for (char16_t c : inner) same &= lower(c) == unit;
        if (same) {
            section.tokens.push_back({FormatToken::Elapsed, unit, int(inner.size())});
            return;
        }
    }
    if (parseCondition(inner, section)) return;
    if (auto rgb = colorNamed(inner)) section.color = rgb;
    // other tags (locale ids) leave the text as it is
}

bool isDateLetter(char16_t l) {
    return l == u'y' || l == u'm' || l == u'd' || l == u'h' || l == u's' || l == u'e';
}

// A run of m is the minute when an hour stands before it or a second after it (other tokens
// between them do not count); otherwise it is the month.
void resolveMinutes(FormatSection& section) {
    std::vector<FormatToken>& t = section.tokens;
    auto isTimePart = [](const FormatToken& k) {
        return k.kind == FormatToken::DatePart || k.kind == FormatToken::Elapsed;
    };
    for (size_t i = 0; i < t.size(); ++i) {
        // Only m and mm can be minutes: mmm and longer are the month's name wherever they stand.
        if (t[i].kind != FormatToken::DatePart || t[i].ch != u'M' || t[i].width > 2) continue;
        bool minute = false;
        for (size_t k = i; k-- > 0;) {
            if (!isTimePart(t[k])) continue;
            minute = t[k].ch == u'h';
            break;
        }
        for (size_t k = i + 1; k < t.size() && !minute; ++k) {
            if (!isTimePart(t[k])) continue;
            minute = t[k].ch == u's';
            break;
        }
        if (minute) t[i].ch = u'm';
    }
}

// A comma after a placeholder of the whole part groups thousands when more placeholders of the
// whole part follow it ("#,##0", "0,## ##"), and scales by a thousand when none do ("0,", "0,.0");
// after the point it scales when it ends the decimals ("0.0,") and is dropped when it does not.
void resolveCommas(FormatSection& section, const std::vector<size_t>& commas) {
    const std::vector<FormatToken>& t = section.tokens;
    size_t point = t.size(), end = t.size();
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i].kind == FormatToken::Point && point == t.size()) point = i;
        if (t[i].kind == FormatToken::Exponent || t[i].kind == FormatToken::Slash) {
            end = i;
            break;
        }
    }
    point = std::min(point, end);
    for (const size_t at : commas) {
        const size_t limit = at <= point ? point : end;
        bool digitsFollow = false;
        for (size_t i = at; i < limit && !digitsFollow; ++i) digitsFollow = t[i].kind == FormatToken::Digit;
        if (!digitsFollow) ++section.scaleThousands;
        else if (at <= point) section.thousands = true;
    }
}

void classify(FormatSection& section) {
    bool date = false, exponent = false, slash = false, general = false, digits = false;
    for (const FormatToken& t : section.tokens) {
        switch (t.kind) {
        case FormatToken::DatePart: case FormatToken::Elapsed: case FormatToken::AmPm: date = true; break;
        case FormatToken::Exponent: exponent = true; break;
        case FormatToken::Slash: slash = true; break;
        case FormatToken::General: general = true; break;
        case FormatToken::Digit: digits = true; break;
        case FormatToken::Text: section.hasText = true; break;
        case FormatToken::Percent: ++section.percents; break;
        default: break;
        }
    }
    if (date) {
        section.kind = FormatSection::Date;
        // Placeholders, points and percent signs mean nothing in a date: they are shown as typed.
        for (FormatToken& t : section.tokens) {
            if (t.kind == FormatToken::Digit) t = {FormatToken::Literal, 0, 0, 0, std::u16string(1, t.ch)};
            else if (t.kind == FormatToken::Point) t = {FormatToken::Literal, 0, 0, 0, u"."};
            else if (t.kind == FormatToken::Percent) t = {FormatToken::Literal, 0, 0, 0, u"%"};
            else if (t.kind == FormatToken::AmPm) section.hasAmPm = true;
            else if (t.kind == FormatToken::DatePart && t.ch == u'f') section.secondDecimals = t.width;
        }
        section.percents = 0;
        resolveMinutes(section);
        return;
    }
    if (general) section.kind = FormatSection::General;
    else if (exponent) section.kind = FormatSection::Scientific;
    else if (slash) section.kind = FormatSection::Fraction;
    else if (section.hasText && !digits) section.kind = FormatSection::Text;
    bool afterPoint = false, afterExponent = false;
    for (FormatToken& t : section.tokens) {
        if (t.kind == FormatToken::Exponent) afterExponent = true;
        if (t.kind == FormatToken::Point) {
            if (afterPoint || afterExponent) t = {FormatToken::Literal, 0, 0, 0, u"."};
            afterPoint = true;
        }
        if (t.kind == FormatToken::Digit && !afterExponent) {
            ++(afterPoint ? section.decimalPlaces : section.integerPlaces);
        }
    }
}

FormatSection parseSection(std::u16string_view s, bool& valid) {
    FormatSection section;
    std::vector<size_t> digitCommas;   // where commas after placeholders stand among the tokens
    bool sawDigit = false;      // a digit placeholder so far
    bool afterDigit = false;    // the previous token was a digit placeholder or a scaling comma
    bool sawSeconds = false;
    for (size_t i = 0; i < s.size(); ++i) {
        const char16_t c = s[i];
        const char16_t l = lower(c);
        const bool wasAfterDigit = afterDigit;
        afterDigit = false;
        if (c == u'"') {
            const size_t close = s.find(u'"', i + 1);
            addLiteral(section, s.substr(i + 1, close - i - 1));
            i = close;
        } else if (c == u'\\' || c == u'!') {
            if (i + 1 < s.size()) addLiteral(section, s.substr(++i, 1));
        } else if (c == u'_') {
            ++i;
            addLiteral(section, u" ");   // the width of the next character: one space
        } else if (c == u'*') {
            // Repeated to fill the column in Excel; a label has no column to fill, so the
            // character shows once, as in spreadsheets that format without a width.
            if (i + 1 < s.size()) addLiteral(section, s.substr(++i, 1));
        } else if (c == u'[') {
            const size_t close = s.find(u']', i + 1);
            readBracket(s.substr(i + 1, close - i - 1), section);
            if (section.tokens.size() && section.tokens.back().kind == FormatToken::Elapsed) {
                sawSeconds |= section.tokens.back().ch == u's';
            }
            i = close;
        } else if (startsWithIgnoringCase(s, i, u"general")) {
            section.tokens.push_back({FormatToken::General});
            i += 6;
        } else if (s.substr(i).starts_with(kChineseGeneral)) {
            section.tokens.push_back({FormatToken::General});
            i += kChineseGeneral.size() - 1;
        } else if (isPlaceholder(c)) {
            section.tokens.push_back({FormatToken::Digit, c, 1});
            sawDigit = afterDigit = true;
        } else if (c == u'.') {
            size_t zeros = 0;
            while (sawSeconds && i + 1 + zeros < s.size() && s[i + 1 + zeros] == u'0') ++zeros;
            if (zeros > 0) {
                section.tokens.push_back({FormatToken::DatePart, u'f', int(std::min<size_t>(zeros, 3))});
                i += zeros;
            } else {
                section.tokens.push_back({FormatToken::Point, c});
            }
        } else if (c == u',') {
            // After a placeholder a comma groups thousands or scales, as resolveCommas decides
            // once the whole section is read; elsewhere it is shown as written.
            if (wasAfterDigit) {
                digitCommas.push_back(section.tokens.size());
                afterDigit = true;
            } else {
                addLiteral(section, u",");
            }
        } else if (c == u'%') {
            section.tokens.push_back({FormatToken::Percent});
        } else if (c == u'@') {
            section.tokens.push_back({FormatToken::Text});
        } else if (l == u'e' && sawDigit && i + 1 < s.size() && (s[i + 1] == u'+' || s[i + 1] == u'-')) {
            section.tokens.push_back({FormatToken::Exponent, s[++i]});
            // The exponent's digits follow the sign at once; Excel refuses a code without them.
            if (i + 1 >= s.size() || !isPlaceholder(s[i + 1])) valid = false;
        } else if (c == u'/' && sawDigit && !sawSeconds) {
            section.tokens.push_back({FormatToken::Slash});
            size_t end = i + 1;
            int64_t denominator = 0;
            while (end < s.size() && s[end] >= u'0' && s[end] <= u'9' && denominator < 100000000) {
                denominator = denominator * 10 + (s[end++] - u'0');
            }
            if (end > i + 1 && s[i + 1] != u'0') {
                section.tokens.push_back({FormatToken::Denominator, 0, int(end - i - 1), denominator});
                i = end - 1;
            }
        } else if (startsWithIgnoringCase(s, i, u"am/pm")) {
            section.tokens.push_back({FormatToken::AmPm, 0, 0, 0, u"AM/PM"});
            i += 4;
        } else if (startsWithIgnoringCase(s, i, u"a/p")) {
            section.tokens.push_back({FormatToken::AmPm, 0, 0, 0, std::u16string(s.substr(i, 3))});
            i += 2;
        } else if (s.substr(i, 5) == u"\u4E0A\u5348/\u4E0B\u5348") {   // 上午/下午
            section.tokens.push_back({FormatToken::AmPm, 0, 0, 0, std::u16string(s.substr(i, 5))});
            i += 4;
        } else if (isDateLetter(l) || (l == u'a' && startsWithIgnoringCase(s, i, u"aaa"))) {
            size_t run = 1;
            while (i + run < s.size() && lower(s[i + run]) == l) ++run;
            // e is the year of the era: for the Gregorian calendar, the year in four digits.
            const char16_t part = l == u'e' ? u'y' : l == u'm' ? u'M' : l;
            section.tokens.push_back({FormatToken::DatePart, part, l == u'e' ? 4 : int(run)});
            sawSeconds |= l == u's';
            i += run - 1;
        } else {
            addLiteral(section, s.substr(i, 1));
        }
    }
    // [DBNum2] alone, as Chinese users write TEXT(A1,"[DBNum2]"), is the General format in numerals.
    if (section.tokens.empty() && section.chineseNumerals) section.tokens.push_back({FormatToken::General});
    resolveCommas(section, digitCommas);
    classify(section);
    return section;
}

// Where each section ends: at semicolons outside quotes, escapes and brackets. False when a
// quote or a bracket is left open.
bool splitSections(std::u16string_view code, std::vector<std::u16string_view>& sections) {
    size_t start = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        const char16_t c = code[i];
        if (c == u'"' || c == u'[') {
            const size_t close = code.find(c == u'"' ? u'"' : u']', i + 1);
            if (close == std::u16string_view::npos) return false;
            i = close;
        } else if (c == u'\\' || c == u'!' || c == u'_' || c == u'*') {
            if (++i == code.size()) return false;
        } else if (c == u';') {
            sections.push_back(code.substr(start, i - start));
            start = i + 1;
        }
    }
    sections.push_back(code.substr(start));
    return true;
}

}  // namespace

bool FormatSection::holds(double value) const {
    switch (op) {
    case Op::None: return false;
    case Op::Less: return value < limit;
    case Op::LessEqual: return value <= limit;
    case Op::Greater: return value > limit;
    case Op::GreaterEqual: return value >= limit;
    case Op::Equal: return value == limit;
    case Op::NotEqual: return value != limit;
    }
    return false;
}

namespace {

ParsedFormat parseFormat(std::u16string_view code) {
    ParsedFormat parsed;
    std::vector<std::u16string_view> parts;
    if (!splitSections(code, parts) || parts.size() > 4) {
        parsed.valid = false;
        parts.assign(1, std::u16string_view());
    }
    for (std::u16string_view part : parts) parsed.sections.push_back(parseSection(part, parsed.valid));
    return parsed;
}

struct CodeHash {
    using is_transparent = void;
    size_t operator()(std::u16string_view s) const { return std::hash<std::u16string_view>()(s); }
};

struct CodeEqual {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const { return a == b; }
};

// A sheet uses a handful of codes; formulas (TEXT) can make any number, so the cache starts
// over when it is full rather than growing without bound.
constexpr size_t kCacheLimit = 256;

}  // namespace

const ParsedFormat& parsedFormat(std::u16string_view code) {
    // Cells are formatted on the window's thread only. Not thread_local: its destructors would run
    // at thread exit, after a host may have unloaded the library.
    static std::unordered_map<std::u16string, ParsedFormat, CodeHash, CodeEqual> cache;
    static const std::pair<const std::u16string, ParsedFormat>* last = nullptr;
    if (last && last->first == code) return last->second;
    auto found = cache.find(code);
    if (found == cache.end()) {
        if (cache.size() >= kCacheLimit) cache.clear();
        found = cache.emplace(std::u16string(code), parseFormat(code)).first;
    }
    last = &*found;
    return found->second;
}

}  // namespace kes
