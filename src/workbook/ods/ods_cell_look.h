#pragma once
// The look an OpenDocument cell style gives (its table-cell, paragraph and text properties), as
// far as a cell style keeps it. Each property is set or inherited: a style takes from its
// parents only what it does not set itself.
#include <cstdint>
#include <optional>
#include <string>

#include "sheet/cell_styles.h"

namespace kes {

class XmlReader;

struct OdsLook {
    std::optional<std::u16string> fontName;
    std::optional<uint16_t> fontSize;   // twentieths of a point
    std::optional<bool> bold, italic, strike, wrap;
    std::optional<Underline> underline;
    std::optional<Rgb> colour, background;
    std::optional<BorderLine> left, right, top, bottom;
    std::optional<HorizontalAlignment> horizontal;
    std::optional<VerticalAlignment> vertical;
    std::optional<uint8_t> indent, rotation;

    // Takes what this look leaves unset from `parent`.
    void inherit(const OdsLook& parent);
    // The style's look with these properties; the font's name and size stay empty where they
    // are the default font's.
    void applyTo(CellStyle& style, const DefaultFont& defaultFont) const;
};

// Reads the property elements inside the style element the reader stands on, to its end.
void readOdsLook(XmlReader& reader, OdsLook& look);

// "0.06pt solid #000000" as a border line; none for "none" and what cannot be read.
std::optional<BorderLine> odsBorderLine(std::string_view text);
// "12pt", "0.5cm" in twentieths of a point.
std::optional<double> odsPoints(std::string_view text);

}  // namespace kes
