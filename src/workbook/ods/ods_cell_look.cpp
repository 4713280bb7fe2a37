#include "workbook/ods/ods_cell_look.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "text/utf8.h"
#include "workbook/xml/xml_reader.h"

namespace kes {
namespace {

std::optional<Rgb> hashColour(std::string_view text) {
    if (text.size() != 7 || text[0] != '#') return std::nullopt;
    Rgb value = 0;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + 7, value, 16);
    if (error != std::errc() || end != text.data() + 7) return std::nullopt;
    return value;
}

template <class T>
void take(std::optional<T>& mine, const std::optional<T>& theirs) {
    if (!mine && theirs) mine = theirs;
}

void readCellProperties(XmlReader& reader, OdsLook& look) {
    std::string_view value;
    if (reader.attribute("background-color", value)) look.background = value == "transparent" ? kAutoColour : hashColour(value).value_or(kAutoColour);
    if (reader.attribute("wrap-option", value)) look.wrap = value == "wrap";
    if (reader.attribute("vertical-align", value)) {
        if (value == "top") look.vertical = VerticalAlignment::Top;
        else if (value == "middle") look.vertical = VerticalAlignment::Center;
        else if (value == "bottom" || value == "automatic") look.vertical = VerticalAlignment::Bottom;
    }
    if (reader.attribute("rotation-angle", value)) {
        int degrees = 0;
        std::from_chars(value.data(), value.data() + value.size(), degrees);
        degrees = ((degrees % 360) + 360) % 360;
        if (degrees <= 90) look.rotation = uint8_t(degrees);
        else if (degrees >= 270) look.rotation = uint8_t(90 + (360 - degrees));
    }
    if (reader.attribute("border", value)) {
        const auto line = odsBorderLine(value).value_or(BorderLine{});
        look.left = look.right = look.top = look.bottom = line;
    }
    const std::pair<const char*, std::optional<BorderLine>*> sides[] = {
        {"border-left", &look.left}, {"border-right", &look.right}, {"border-top", &look.top}, {"border-bottom", &look.bottom}};
    for (const auto& [name, line] : sides) {
        if (reader.attribute(name, value)) *line = odsBorderLine(value).value_or(BorderLine{});
    }
}

void readParagraphProperties(XmlReader& reader, OdsLook& look) {
    std::string_view value;
    if (reader.attribute("text-align", value)) {
        if (value == "start" || value == "left") look.horizontal = HorizontalAlignment::Left;
        else if (value == "center") look.horizontal = HorizontalAlignment::Center;
        else if (value == "end" || value == "right") look.horizontal = HorizontalAlignment::Right;
        else if (value == "justify") look.horizontal = HorizontalAlignment::Justify;
    }
    if (reader.attribute("margin-left", value)) {
        // Excel's indent step is three character widths, about 10 points in a default font.
        if (const auto points = odsPoints(value)) look.indent = uint8_t(std::clamp<long>(std::lround(*points / 20 / 10), 0, 15));
    }
}

void readTextProperties(XmlReader& reader, OdsLook& look) {
    std::string_view value;
    if (reader.attribute("font-name", value) || reader.attribute("font-family", value)) {
        std::u16string name = fromUtf8(value);
        if (name.size() >= 2 && name.front() == u'\'' && name.back() == u'\'') name = name.substr(1, name.size() - 2);
        if (!name.empty()) look.fontName = std::move(name);
    }
    if (reader.attribute("font-size", value)) {
        if (const auto twentieths = odsPoints(value); twentieths && *twentieths >= 20 && *twentieths <= 409 * 20)
            look.fontSize = uint16_t(std::lround(*twentieths));
    }
    if (reader.attribute("font-weight", value)) look.bold = value == "bold" || (value.size() == 3 && value >= "600");
    if (reader.attribute("font-style", value)) look.italic = value == "italic" || value == "oblique";
    if (reader.attribute("text-underline-style", value)) {
        look.underline = value == "none" ? Underline::None : Underline::Single;
        std::string_view type;
        if (value != "none" && reader.attribute("text-underline-type", type) && type == "double") look.underline = Underline::Double;
    }
    if (reader.attribute("text-line-through-style", value)) look.strike = value != "none";
    if (reader.attribute("color", value)) {
        if (const auto rgb = hashColour(value)) look.colour = *rgb;
    }
}

}  // namespace

std::optional<double> odsPoints(std::string_view text) {
    static constexpr struct { std::string_view unit; double points; } kUnits[] = {
        {"pt", 1}, {"in", 72}, {"cm", 72 / 2.54}, {"mm", 72 / 25.4}, {"pc", 12}, {"px", 0.75}};
    for (const auto& [unit, points] : kUnits) {
        if (!text.ends_with(unit)) continue;
        const std::optional<double> amount = xmlNumber(text.substr(0, text.size() - unit.size()));
        if (!amount || *amount < 0 || *amount > 10000) return std::nullopt;
        return *amount * points * 20;
    }
    return std::nullopt;
}

std::optional<BorderLine> odsBorderLine(std::string_view text) {
    BorderLine line;
    double width = 0.75 * 20;
    std::string_view kind;
    while (!text.empty()) {
        const size_t space = text.find(' ');
        const std::string_view word = text.substr(0, space);
        text = space == std::string_view::npos ? std::string_view() : text.substr(space + 1);
        if (word.empty()) continue;
        if (word == "none" || word == "hidden") return std::nullopt;
        if (const auto rgb = hashColour(word)) line.colour = *rgb;
        else if (const auto points = odsPoints(word)) width = *points;
        else kind = word;
    }
    if (kind == "double") line.style = BorderStyle::Double;
    else if (kind == "dashed") line.style = width >= 1.5 * 20 ? BorderStyle::MediumDashed : BorderStyle::Dashed;
    else if (kind == "dotted") line.style = BorderStyle::Dotted;
    else if (kind == "solid" || kind.empty()) {
        line.style = width >= 2.25 * 20 ? BorderStyle::Thick : width >= 1.25 * 20 ? BorderStyle::Medium
                   : width < 0.5 * 20 ? BorderStyle::Hair : BorderStyle::Thin;
        if (width <= 0.06 * 20 + 0.001) line.style = BorderStyle::Thin;   // LibreOffice's hairline is Excel's thin line
    } else {
        line.style = BorderStyle::Thin;
    }
    return line;
}

void readOdsLook(XmlReader& reader, OdsLook& look) {
    const int depth = reader.depth();
    while (reader.nextStartWithin(depth)) {
        const std::string_view name = reader.name();
        if (name == "table-cell-properties") readCellProperties(reader, look);
        else if (name == "paragraph-properties") readParagraphProperties(reader, look);
        else if (name == "text-properties") readTextProperties(reader, look);
    }
}

void OdsLook::inherit(const OdsLook& parent) {
    take(fontName, parent.fontName);
    take(fontSize, parent.fontSize);
    take(bold, parent.bold);
    take(italic, parent.italic);
    take(strike, parent.strike);
    take(wrap, parent.wrap);
    take(underline, parent.underline);
    take(colour, parent.colour);
    take(background, parent.background);
    take(left, parent.left);
    take(right, parent.right);
    take(top, parent.top);
    take(bottom, parent.bottom);
    take(horizontal, parent.horizontal);
    take(vertical, parent.vertical);
    take(indent, parent.indent);
    take(rotation, parent.rotation);
}

void OdsLook::applyTo(CellStyle& style, const DefaultFont& defaultFont) const {
    if (fontName && *fontName != defaultFont.name) style.font.name = *fontName;
    if (fontSize && *fontSize != defaultFont.size) style.font.size = *fontSize;
    style.font.bold = bold.value_or(false);
    style.font.italic = italic.value_or(false);
    style.font.strike = strike.value_or(false);
    style.font.underline = underline.value_or(Underline::None);
    style.font.colour = colour.value_or(kAutoColour);
    if (background && *background != kAutoColour) {
        style.pattern = kPatternSolid;
        style.patternColour = *background;
    }
    style.left = left.value_or(BorderLine{});
    style.right = right.value_or(BorderLine{});
    style.top = top.value_or(BorderLine{});
    style.bottom = bottom.value_or(BorderLine{});
    style.horizontal = horizontal.value_or(HorizontalAlignment::General);
    style.vertical = vertical.value_or(VerticalAlignment::Bottom);
    style.wrap = wrap.value_or(false);
    style.indent = indent.value_or(0);
    style.rotation = rotation.value_or(0);
}

}  // namespace kes
