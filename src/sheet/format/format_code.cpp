#include "sheet/format/format_code.h"

#include <charconv>
#include <cmath>
#include <string>
#include <vector>

namespace kes {
namespace {

char16_t lower(char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

std::u16string ascii(std::string_view s) { return std::u16string(s.begin(), s.end()); }

std::u16string padded(int64_t value, int width) {
    std::u16string digits = ascii(std::to_string(value));
    if (static_cast<int>(digits.size()) < width) digits.insert(0, size_t(width) - digits.size(), u'0');
    return digits;
}

// The sections of a code, split at semicolons outside quotes, escapes and brackets.
std::vector<std::u16string_view> splitSections(std::u16string_view code) {
    std::vector<std::u16string_view> sections;
    size_t start = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        const char16_t c = code[i];
        if (c == u'"') {
            const size_t close = code.find(u'"', i + 1);
            i = close == std::u16string_view::npos ? code.size() : close;
        } else if (c == u'\\' || c == u'_' || c == u'*') {
            ++i;
        } else if (c == u'[') {
            const size_t close = code.find(u']', i + 1);
            i = close == std::u16string_view::npos ? code.size() : close;
        } else if (c == u';') {
            sections.push_back(code.substr(start, i - start));
            start = i + 1;
        }
    }
    sections.push_back(code.substr(start));
    return sections;
}

// One piece of a section: a literal text or a placeholder character.
struct Piece {
    enum Kind { Literal, Digit, Point, Percent, Text, DatePart, AmPm } kind;
    std::u16string text;   // Literal: the text; Digit: "0", "#" or "?"; DatePart: the run, such as "yyyy"
};

struct Section {
    std::vector<Piece> pieces;
    bool isDate = false;
    bool elapsedHours = false, elapsedMinutes = false, elapsedSeconds = false;
    bool thousands = false;
    int scaleThousands = 0;   // trailing commas divide by 1000 each
    bool unsupported = false;
};

Section parseSection(std::u16string_view s) {
    Section section;
    bool sawDigit = false;
    for (size_t i = 0; i < s.size(); ++i) {
        const char16_t c = s[i];
        const char16_t l = lower(c);
        if (c == u'"') {
            const size_t close = s.find(u'"', i + 1);
            const size_t end = close == std::u16string_view::npos ? s.size() : close;
            section.pieces.push_back({Piece::Literal, std::u16string(s.substr(i + 1, end - i - 1))});
            i = end;
        } else if (c == u'\\' || c == u'!') {
            if (i + 1 < s.size()) section.pieces.push_back({Piece::Literal, std::u16string(1, s[++i])});
        } else if (c == u'_') {
            if (i + 1 < s.size()) ++i;
            section.pieces.push_back({Piece::Literal, u" "});
        } else if (c == u'*') {
            if (i + 1 < s.size()) ++i;   // fill to the column width: a label has none
        } else if (c == u'[') {
            const size_t close = s.find(u']', i + 1);
            const std::u16string_view inner = s.substr(i + 1, (close == std::u16string_view::npos ? s.size() : close) - i - 1);
            i = close == std::u16string_view::npos ? s.size() : close;
            if (!inner.empty() && inner[0] == u'$') {   // [$¥-804]: the currency text before the locale
                const size_t dash = inner.find(u'-');
                section.pieces.push_back({Piece::Literal, std::u16string(inner.substr(1, dash == std::u16string_view::npos ? std::u16string_view::npos : dash - 1))});
            } else if (!inner.empty() && (lower(inner[0]) == u'h' || lower(inner[0]) == u'm' || lower(inner[0]) == u's')) {
                section.isDate = true;
                const char16_t unit = lower(inner[0]);
                (unit == u'h' ? section.elapsedHours : unit == u'm' ? section.elapsedMinutes : section.elapsedSeconds) = true;
                section.pieces.push_back({Piece::DatePart, u"[" + std::u16string(1, unit) + u"]" + std::u16string(inner.size() - 1, unit)});
            }
            // colours, conditions and plain locales change nothing in the text
        } else if (c == u'0' || c == u'#' || c == u'?') {
            section.pieces.push_back({Piece::Digit, std::u16string(1, c)});
            sawDigit = true;
        } else if (c == u'.') {
            section.pieces.push_back({Piece::Point, u"."});
        } else if (c == u',') {
            // Between digit placeholders a comma groups thousands; after the last one it scales.
            const bool digitAfter = i + 1 < s.size() && (s[i + 1] == u'0' || s[i + 1] == u'#' || s[i + 1] == u'?');
            if (sawDigit && digitAfter) section.thousands = true;
            else if (sawDigit) ++section.scaleThousands;
            else section.pieces.push_back({Piece::Literal, u","});
        } else if (c == u'%') {
            section.pieces.push_back({Piece::Percent, u"%"});
        } else if (c == u'@') {
            section.pieces.push_back({Piece::Text, u"@"});
        } else if (l == u'e' && i + 1 < s.size() && (s[i + 1] == u'+' || s[i + 1] == u'-')) {
            section.unsupported = true;
            return section;
        } else if (c == u'/' && sawDigit) {
            section.unsupported = true;   // fractions
            return section;
        } else if (l == u'a' && (s.substr(i, 5) == u"AM/PM" || s.substr(i, 5) == u"am/pm")) {
            section.pieces.push_back({Piece::AmPm, u"AM/PM"});
            section.isDate = true;
            i += 4;
        } else if (l == u'a' && i + 2 < s.size() && lower(s[i + 2]) == u'p' && s[i + 1] == u'/') {
            section.pieces.push_back({Piece::AmPm, u"A/P"});
            section.isDate = true;
            i += 2;
        } else if (s.substr(i, 5) == u"\u4E0A\u5348/\u4E0B\u5348") {   // 上午/下午
            section.pieces.push_back({Piece::AmPm, u"CN"});
            section.isDate = true;
            i += 4;
        } else if (l == u'y' || l == u'm' || l == u'd' || l == u'h' || l == u's' || (l == u'e' && !sawDigit)) {
            size_t run = 1;
            while (i + run < s.size() && lower(s[i + run]) == l) ++run;
            section.pieces.push_back({Piece::DatePart, std::u16string(run, l == u'e' ? u'y' : l)});
            section.isDate = true;
            i += run - 1;
        } else {
            section.pieces.push_back({Piece::Literal, std::u16string(1, c)});
        }
    }
    return section;
}

// --- numbers -----------------------------------------------------------------------------------

// The value rounded half away from zero to `decimals` places, after the 15 significant digits
// that a spreadsheet keeps: its integer digits and its decimal digits.
void decimalDigits(double value, int decimals, std::string& whole, std::string& fraction) {
    char buffer[64];
    auto [end15, ec15] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    double rounded15 = 0;
    std::from_chars(buffer, end15, rounded15);
    decimals = std::min(decimals, 20);
    // Rounded by hand on the decimal text, half away from zero, as a spreadsheet shows it.
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, rounded15, std::chars_format::fixed, decimals + 3);
    const std::string longer(buffer, end);
    const size_t point = longer.find('.');
    std::string digits = longer.substr(0, point) + longer.substr(point + 1, size_t(decimals));
    if (longer[point + 1 + size_t(decimals)] >= '5') {
        int k = static_cast<int>(digits.size()) - 1;
        while (k >= 0 && digits[size_t(k)] == '9') digits[size_t(k--)] = '0';
        if (k < 0) digits.insert(digits.begin(), '1');
        else ++digits[size_t(k)];
    }
    whole = digits.substr(0, digits.size() - size_t(decimals));
    fraction = digits.substr(whole.size());
    whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
}

std::u16string formatNumberSection(const Section& section, double value, const FormatSettings& settings) {
    int integerPlaces = 0, decimalPlaces = 0;
    bool afterPoint = false, percent = false;
    for (const Piece& p : section.pieces) {
        if (p.kind == Piece::Point) afterPoint = true;
        else if (p.kind == Piece::Digit) (afterPoint ? decimalPlaces : integerPlaces)++;
        else if (p.kind == Piece::Percent) percent = true;
    }
    if (percent) value *= 100;
    for (int i = 0; i < section.scaleThousands; ++i) value /= 1000;
    std::string whole, fraction;
    decimalDigits(std::fabs(value), decimalPlaces, whole, fraction);

    // Integer digits fill the placeholders from the right; the first one takes any extra digits.
    std::vector<std::u16string> integerOut(static_cast<size_t>(integerPlaces));
    int digitIndex = static_cast<int>(whole.size()) - 1;
    int placeIndex = integerPlaces - 1;
    std::vector<const Piece*> integerPieces;
    for (const Piece& p : section.pieces) {
        if (p.kind == Piece::Point) break;
        if (p.kind == Piece::Digit) integerPieces.push_back(&p);
    }
    for (; placeIndex >= 0; --placeIndex) {
        const Piece& p = *integerPieces[size_t(placeIndex)];
        std::u16string& out = integerOut[size_t(placeIndex)];
        if (digitIndex >= 0) {
            out = char16_t(whole[size_t(digitIndex--)]);
            if (placeIndex == 0) {
                while (digitIndex >= 0) out.insert(out.begin(), char16_t(whole[size_t(digitIndex--)]));
            }
        } else if (p.text == u"0") {
            out = u"0";
        } else if (p.text == u"?") {
            out = u" ";
        }
    }
    if (section.thousands) {
        std::u16string all;
        for (const std::u16string& part : integerOut) all += part;
        std::u16string grouped;
        int count = 0;
        for (auto it = all.rbegin(); it != all.rend(); ++it) {
            if (*it >= u'0' && *it <= u'9') {
                if (count > 0 && count % 3 == 0) grouped.insert(grouped.begin(), settings.thousandSeparator);
                ++count;
            }
            grouped.insert(grouped.begin(), *it);
        }
        for (std::u16string& part : integerOut) part.clear();
        if (!integerOut.empty()) integerOut.front() = grouped;
    }

    std::u16string out;
    size_t integerSlot = 0, fractionSlot = 0;
    afterPoint = false;
    for (const Piece& p : section.pieces) {
        switch (p.kind) {
        case Piece::Literal: out += p.text; break;
        case Piece::Percent: out += u'%'; break;
        case Piece::Text: break;
        case Piece::Point:
            afterPoint = true;
            out += settings.decimalSeparator;
            break;
        case Piece::Digit:
            if (!afterPoint) {
                out += integerOut[integerSlot++];
            } else {
                const char16_t digit = fractionSlot < fraction.size() ? char16_t(fraction[fractionSlot]) : u'0';
                ++fractionSlot;
                // A "#" decimal shows no trailing zero; a "?" shows a space for it.
                const bool trailingZero = fraction.find_first_not_of('0', fractionSlot - 1) == std::string::npos;
                if (trailingZero && p.text == u"#") break;
                out += trailingZero && p.text == u"?" ? u' ' : digit;
            }
            break;
        default: break;
        }
    }
    return out;
}

// --- dates and times -----------------------------------------------------------------------------

const char16_t* const kMonths[] = {u"January", u"February", u"March", u"April", u"May", u"June", u"July",
                                   u"August", u"September", u"October", u"November", u"December"};
const char16_t* const kDays[] = {u"Sunday", u"Monday", u"Tuesday", u"Wednesday", u"Thursday", u"Friday", u"Saturday"};

std::optional<std::u16string> formatDateSection(const Section& section, double serial, const FormatSettings& settings) {
    if (settings.date1904) serial += 1462;
    if (serial < 0 || serial >= 2958466.0) return std::nullopt;
    bool hasAmPm = false;
    for (const Piece& p : section.pieces) hasAmPm |= p.kind == Piece::AmPm;
    const int64_t totalSeconds = std::llround(serial * 86400.0);
    const int64_t days = totalSeconds / 86400;
    const int64_t secondsOfDay = totalSeconds % 86400;
    const Date date = dateOfSerial(days);
    int hour = int(secondsOfDay / 3600);
    const int minute = int(secondsOfDay / 60 % 60), second = int(secondsOfDay % 60);
    const bool pm = hour >= 12;
    if (hasAmPm) hour = hour % 12 == 0 ? 12 : hour % 12;
    const int weekday = int((days + 6) % 7);   // serial 1 (1900-01-01) was a Sunday in the spreadsheet calendar

    std::u16string out;
    for (size_t i = 0; i < section.pieces.size(); ++i) {
        const Piece& p = section.pieces[i];
        if (p.kind == Piece::Literal) {
            out += p.text;
            continue;
        }
        if (p.kind == Piece::AmPm) {
            if (p.text == u"AM/PM") out += pm ? u"PM" : u"AM";
            else if (p.text == u"A/P") out += pm ? u"P" : u"A";
            else out += pm ? settings.pmText : settings.amText;
            continue;
        }
        if (p.kind != Piece::DatePart) continue;
        const std::u16string& t = p.text;
        const int width = static_cast<int>(t.size());
        if (t.starts_with(u"[")) {
            const char16_t unit = t[1];
            const int64_t elapsed = unit == u'h' ? totalSeconds / 3600 : unit == u'm' ? totalSeconds / 60 : totalSeconds;
            out += padded(elapsed, int(t.size()) - 2);
            continue;
        }
        switch (t[0]) {
        case u'y': out += width <= 2 ? padded(date.year % 100, 2) : padded(date.year, 4); break;
        case u'd':
            if (width <= 2) out += padded(date.day, width);
            else out += width == 3 ? std::u16string(kDays[weekday]).substr(0, 3) : std::u16string(kDays[weekday]);
            break;
        case u'h': out += padded(hour, std::min(width, 2)); break;
        case u's': out += padded(second, std::min(width, 2)); break;
        case u'm': {
            // Minutes when an hour stands before it or seconds after it, else the month.
            bool minutes = false;
            for (size_t k = i; k-- > 0;) {
                if (section.pieces[k].kind != Piece::DatePart) continue;
                minutes = section.pieces[k].text[0] == u'h' || section.pieces[k].text.starts_with(u"[h");
                break;
            }
            for (size_t k = i + 1; k < section.pieces.size() && !minutes; ++k) {
                if (section.pieces[k].kind != Piece::DatePart) continue;
                minutes = section.pieces[k].text[0] == u's';
                break;
            }
            if (minutes) out += padded(minute, std::min(width, 2));
            else if (width <= 2) out += padded(date.month, width);
            else if (width == 3) out += std::u16string(kMonths[date.month - 1]).substr(0, 3);
            else if (width == 5) out += std::u16string(kMonths[date.month - 1]).substr(0, 1);
            else out += kMonths[date.month - 1];
            break;
        }
        default: break;
        }
    }
    return out;
}

}  // namespace

std::optional<FormattedText> formatWithCode(double value, std::u16string_view code, const FormatSettings& settings) {
    const std::vector<std::u16string_view> sections = splitSections(code);
    std::u16string_view chosen = sections[0];
    bool negativeSection = false;
    if (value < 0 && sections.size() >= 2) {
        chosen = sections[1];
        negativeSection = true;
    } else if (value == 0 && sections.size() >= 3) {
        chosen = sections[2];
    }
    const Section section = parseSection(chosen);
    if (section.unsupported) return std::nullopt;
    if (section.isDate) {
        if (auto text = formatDateSection(section, value, settings)) return FormattedText{*text, {}};
        return FormattedText{u"########", {}};
    }
    bool hasDigits = false;
    for (const Piece& p : section.pieces) hasDigits |= p.kind == Piece::Digit;
    std::u16string text;
    if (hasDigits) {
        text = formatNumberSection(section, value, settings);
        // A negative value in the first section shows its sign, unless nothing but zeros remain.
        if (value < 0 && !negativeSection && text.find_first_of(u"123456789") != std::u16string::npos) text.insert(0, 1, u'-');
    } else {
        for (const Piece& p : section.pieces) {
            if (p.kind == Piece::Literal) text += p.text;
            else if (p.kind == Piece::Text) return std::nullopt;
        }
        if (value < 0 && !negativeSection) text.insert(0, 1, u'-');
    }
    return FormattedText{text, {}};
}

FormattedText formatTextWithCode(std::u16string_view text, std::u16string_view code) {
    const std::vector<std::u16string_view> sections = splitSections(code);
    std::u16string_view chosen;
    if (sections.size() >= 4) chosen = sections[3];
    else if (sections[0].find(u'@') != std::u16string_view::npos) chosen = sections[0];
    else return {std::u16string(text), {}};
    std::u16string out;
    for (const Piece& p : parseSection(chosen).pieces) {
        if (p.kind == Piece::Text) out += text;
        else if (p.kind == Piece::Literal) out += p.text;
    }
    return {out, {}};
}

}  // namespace kes
