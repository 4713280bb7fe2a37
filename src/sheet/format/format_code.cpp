// Which section of a code shows a value, with its colour and whether the value's sign goes
// before it; and the text section that shows text values.
#include "sheet/format/format_code.h"

#include <cmath>

#include "sheet/format/chinese_numerals.h"
#include "sheet/format/format_parse.h"
#include "sheet/format/format_sections.h"

namespace kes {
namespace {

using Op = FormatSection::Op;

// A last section holding @ in a code of fewer than four sections is for text only.
size_t numberSectionCount(const ParsedFormat& parsed) {
    const size_t count = parsed.sections.size();
    if (count == 4) return 3;
    return parsed.sections.back().hasText ? count - 1 : count;
}

struct Choice {
    const FormatSection* section;
    bool signShown;
};

// Without conditions: positive (and zero, and all values of a one-section code); negative,
// shown without its sign; zero. With a condition in the first or the second section, the
// first whose condition holds; when neither does, the third section is the "else" of two
// conditions, the second the "else" of one. Sections picked by a condition show the value
// without its sign, as Excel does; the "else" after two conditions and one-section codes
// show it.
Choice chooseSection(const ParsedFormat& parsed, double value) {
    const size_t count = numberSectionCount(parsed);
    const std::vector<FormatSection>& s = parsed.sections;
    const FormatSection& first = s[0];
    const FormatSection& second = count >= 2 ? s[1] : s[0];
    const FormatSection& third = count >= 3 ? s[2] : s[0];
    if (first.op != Op::None || second.op != Op::None) {
        if (first.holds(value)) return {&first, count == 1};
        if (second.holds(value)) return {&second, count == 1};
        if (first.op != Op::None && second.op != Op::None) return {&third, true};
        return {&second, count == 1};
    }
    if (value < 0 && count >= 2) return {&second, false};
    if (value == 0 && count >= 3) return {&third, false};
    return {&first, true};
}

const std::u16string kHashes = u"########";   // a date Excel cannot show fills the cell with #

// Literals as written, @ replaced by `text` and General by the magnitude in General.
void appendLiteralSection(const FormatSection& section, std::u16string_view text, double magnitude,
                          const FormatSettings& settings, std::u16string& out) {
    for (const FormatToken& t : section.tokens) {
        switch (t.kind) {
        case FormatToken::Literal: out += t.text; break;
        case FormatToken::Percent: out += u'%'; break;
        case FormatToken::Text: out += text; break;
        case FormatToken::General: out += formatGeneral(magnitude, settings); break;
        default: break;
        }
    }
}

std::optional<FormattedText> formatValue(double value, std::u16string_view code,
                                         const FormatSettings& settings, bool systemFormats) {
    const ParsedFormat& parsed = parsedFormat(code);
    if (!parsed.valid) return std::nullopt;
    if (!std::isfinite(value)) value = 0;   // a cell never holds one; General shows them as 0 too
    if (numberSectionCount(parsed) == 0) return FormattedText{formatGeneral(value, settings), {}};
    const Choice choice = chooseSection(parsed, value);
    const FormatSection& section = *choice.section;
    if (section.system != FormatSection::System::None && systemFormats) {
        // Formatting the system's code may start the cache over, so nothing of `section` is used after.
        const std::optional<uint32_t> color = section.color;
        const bool longDate = section.system == FormatSection::System::LongDate;
        const std::u16string& system = longDate ? settings.longDateFormat : settings.longTimeFormat;
        auto shown = formatValue(value, system, settings, false);
        if (shown) shown->color = color;
        return shown;
    }
    FormattedText result{{}, section.color};
    std::u16string& out = result.text;
    out.reserve(23);   // one allocation for most texts, instead of growing one character at a time
    const bool negative = value < 0;
    const double magnitude = std::fabs(value);
    if (section.kind == FormatSection::Date) {
        // A negative date or time shows only in the 1904 system, as its magnitude with a sign;
        // in the 1900 system even a negative section gives way to the hashes.
        if (negative && !settings.date1904) return FormattedText{kHashes, section.color};
        if (negative && choice.signShown) out += u'-';
        if (!appendDateSection(section, magnitude, settings, out)) out = kHashes;
        return result;
    }
    if (negative && choice.signShown) out += u'-';
    switch (section.kind) {
    case FormatSection::Number:
        if (section.integerPlaces + section.decimalPlaces == 0) {
            appendLiteralSection(section, u"", magnitude, settings, out);
        } else {
            appendNumberSection(section, magnitude, settings, out);
        }
        break;
    case FormatSection::Scientific: appendScientificSection(section, magnitude, settings, out); break;
    case FormatSection::Fraction: appendFractionSection(section, magnitude, settings, out); break;
    case FormatSection::General:
    case FormatSection::Text: {
        appendLiteralSection(section, formatGeneral(magnitude, settings), magnitude, settings, out);
        break;
    }
    case FormatSection::Date: break;
    }
    if (section.chineseNumerals) {
        out = chineseNumeralsInText(out, ChineseNumerals(section.chineseNumerals - 1), settings.decimalSeparator,
                                    settings.thousandSeparator);
    }
    return result;
}

}  // namespace

std::optional<FormattedText> formatWithCode(double value, std::u16string_view code,
                                            const FormatSettings& settings) {
    return formatValue(value, code, settings, true);
}

FormattedText formatTextWithCode(std::u16string_view text, std::u16string_view code) {
    const ParsedFormat& parsed = parsedFormat(code);
    if (!parsed.valid) return {std::u16string(text), {}};
    const std::vector<FormatSection>& s = parsed.sections;
    const FormatSection* section = s.size() == 4 ? &s[3] : s.back().hasText ? &s.back() : nullptr;
    if (!section) return {std::u16string(text), {}};
    FormattedText result{{}, section->color};
    for (const FormatToken& t : section->tokens) {
        if (t.kind == FormatToken::Literal) result.text += t.text;
        else if (t.kind == FormatToken::Text) result.text += text;
    }
    return result;
}

bool isDateTimeCode(std::u16string_view code) {
    const ParsedFormat& parsed = parsedFormat(code);
    return parsed.valid && parsed.sections[0].kind == FormatSection::Date;
}

}  // namespace kes
