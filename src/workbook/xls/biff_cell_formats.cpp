#include "workbook/xls/biff_cell_formats.h"

#include <algorithm>
#include <utility>

namespace kes::biff {
namespace {

Underline underlineOf(uint8_t code) {
    switch (code) {
    case 0x01: return Underline::Single;
    case 0x02: return Underline::Double;
    case 0x21: return Underline::SingleAccounting;
    case 0x22: return Underline::DoubleAccounting;
    default: return Underline::None;
    }
}

// Alignment as BIFF3 and later keep it: horizontal in bits 0-2, wrap in bit 3, vertical above.
void readAlignment(uint8_t bits, CellStyle& look, bool vertical) {
    look.horizontal = HorizontalAlignment(std::min<uint8_t>(bits & 7, uint8_t(HorizontalAlignment::Distributed)));
    look.wrap = bits & 8;
    if (vertical) look.vertical = VerticalAlignment(std::min<uint8_t>((bits >> 4) & 7, uint8_t(VerticalAlignment::Distributed)));
}

BorderStyle lineOf(uint32_t bits) {
    return bits <= uint32_t(BorderStyle::SlantDashDot) ? BorderStyle(bits) : BorderStyle::Thin;
}

// BIFF3 and BIFF4 keep colours in five bits: 24 and up are the system colours.
uint16_t shortColour(uint32_t index) { return uint16_t(index >= 24 ? kAutoLineColour + (index - 24) : index); }

Rgb colourOf(uint16_t index, const Palette& palette) { return paletteColour(index, palette); }

}  // namespace

size_t fontNameOffset(Version version) {
    switch (version) {
    case Version::Biff2: return 4;
    case Version::Biff3:
    case Version::Biff4: return 6;
    default: return 14;
    }
}

FontRecord readFontRecord(std::string_view data, Version version) {
    FontRecord out;
    const uint16_t height = get<uint16_t>(data, 0, "FONT");
    const uint16_t flags = get<uint16_t>(data, 2, "FONT");
    if (height >= 20 && height <= 409 * 20) out.font.size = height;
    out.font.italic = flags & 0x02;
    out.font.strike = flags & 0x08;
    if (version == Version::Biff2 || version == Version::Biff3 || version == Version::Biff4) {
        // The old records keep bold and underline as flags.
        out.font.bold = flags & 0x01;
        if (flags & 0x04) out.font.underline = Underline::Single;
        if (version != Version::Biff2) out.colour = get<uint16_t>(data, 4, "FONT");
        return out;
    }
    out.colour = get<uint16_t>(data, 4, "FONT");
    out.font.bold = get<uint16_t>(data, 6, "FONT") >= 600;
    out.font.underline = underlineOf(get<uint8_t>(data, 10, "FONT"));
    return out;
}

XfRecord readXfRecord(std::string_view data, Version version) {
    XfRecord xf;
    CellStyle& look = xf.look;
    switch (version) {
    case Version::Biff2:
        xf.font = get<uint8_t>(data, 0, "XF");
        xf.format = get<uint8_t>(data, 2, "XF") & 0x3F;
        {
            const uint8_t bits = get<uint8_t>(data, 3, "XF");
            readAlignment(bits & 7, look, false);
            // Borders are thin lines or none, and the only fill a grey shading.
            if (bits & 0x08) look.left.style = BorderStyle::Thin;
            if (bits & 0x10) look.right.style = BorderStyle::Thin;
            if (bits & 0x20) look.top.style = BorderStyle::Thin;
            if (bits & 0x40) look.bottom.style = BorderStyle::Thin;
            if (bits & 0x80) {
                look.pattern = 17;
                xf.patternColour = 0;
                xf.backgroundColour = 1;
            }
        }
        break;
    case Version::Biff3:
    case Version::Biff4: {
        xf.font = get<uint8_t>(data, 0, "XF");
        xf.format = get<uint8_t>(data, 1, "XF");
        const uint8_t alignment = get<uint8_t>(data, 4, "XF");
        readAlignment(alignment, look, version == Version::Biff4);
        const uint16_t fill = get<uint16_t>(data, 6, "XF");
        look.pattern = std::min<uint8_t>(fill & 0x3F, kLastPattern);
        xf.patternColour = shortColour((fill >> 6) & 0x1F);
        xf.backgroundColour = shortColour((fill >> 11) & 0x1F);
        const uint32_t border = get<uint32_t>(data, 8, "XF");
        look.top.style = lineOf(border & 7);
        xf.top = shortColour((border >> 3) & 0x1F);
        look.left.style = lineOf((border >> 8) & 7);
        xf.left = shortColour((border >> 11) & 0x1F);
        look.bottom.style = lineOf((border >> 16) & 7);
        xf.bottom = shortColour((border >> 19) & 0x1F);
        look.right.style = lineOf((border >> 24) & 7);
        xf.right = shortColour((border >> 27) & 0x1F);
        break;
    }
    case Version::Biff5: {
        xf.font = get<uint16_t>(data, 0, "XF");
        xf.format = get<uint16_t>(data, 2, "XF");
        readAlignment(get<uint8_t>(data, 6, "XF"), look, true);
        const uint32_t fill = get<uint32_t>(data, 8, "XF");
        xf.patternColour = fill & 0x7F;
        xf.backgroundColour = (fill >> 7) & 0x7F;
        look.pattern = std::min<uint8_t>((fill >> 16) & 0x3F, kLastPattern);
        look.bottom.style = lineOf((fill >> 22) & 7);
        xf.bottom = (fill >> 25) & 0x7F;
        const uint32_t border = get<uint32_t>(data, 12, "XF");
        look.top.style = lineOf(border & 7);
        look.left.style = lineOf((border >> 3) & 7);
        look.right.style = lineOf((border >> 6) & 7);
        xf.top = (border >> 9) & 0x7F;
        xf.left = (border >> 16) & 0x7F;
        xf.right = (border >> 23) & 0x7F;
        break;
    }
    case Version::Biff8: {
        xf.font = get<uint16_t>(data, 0, "XF");
        xf.format = get<uint16_t>(data, 2, "XF");
        readAlignment(get<uint8_t>(data, 6, "XF"), look, true);
        const uint8_t rotation = get<uint8_t>(data, 7, "XF");
        if (rotation <= 180 || rotation == 255) look.rotation = rotation;
        const uint8_t indent = get<uint8_t>(data, 8, "XF");
        look.indent = indent & 0x0F;
        look.shrinkToFit = indent & 0x10;
        const uint32_t border1 = get<uint32_t>(data, 10, "XF");
        const uint32_t border2 = get<uint32_t>(data, 14, "XF");
        const uint16_t fill = get<uint16_t>(data, 18, "XF");
        look.left.style = lineOf(border1 & 0x0F);
        look.right.style = lineOf((border1 >> 4) & 0x0F);
        look.top.style = lineOf((border1 >> 8) & 0x0F);
        look.bottom.style = lineOf((border1 >> 12) & 0x0F);
        xf.left = (border1 >> 16) & 0x7F;
        xf.right = (border1 >> 23) & 0x7F;
        xf.top = border2 & 0x7F;
        xf.bottom = (border2 >> 7) & 0x7F;
        look.pattern = std::min<uint8_t>((border2 >> 26) & 0x3F, kLastPattern);
        xf.patternColour = fill & 0x7F;
        xf.backgroundColour = (fill >> 7) & 0x7F;
        break;
    }
    }
    return xf;
}

CellStyle resolveXf(const XfRecord& xf, const FontRecord* font, std::u16string numberFormat, const Palette& palette,
                    const DefaultFont& defaultFont) {
    CellStyle style = xf.look;
    style.numberFormat = std::move(numberFormat);
    if (font) {
        style.font = font->font;
        style.font.colour = font->colour == kAutoFontColour ? kAutoColour : colourOf(font->colour, palette);
        if (style.font.name == defaultFont.name) style.font.name.clear();
        if (style.font.size == defaultFont.size) style.font.size = 0;
    }
    if (style.pattern != kPatternNone) {
        style.patternColour = colourOf(xf.patternColour, palette);
        style.backgroundColour = colourOf(xf.backgroundColour, palette);
        // A solid fill in the window background is how old files say "no fill".
        if (style.pattern == kPatternSolid && style.patternColour == kAutoColour) style.pattern = kPatternNone;
        if (style.pattern == kPatternNone) style.backgroundColour = kAutoColour;
    }
    const std::pair<BorderLine*, uint16_t> lines[] = {
        {&style.left, xf.left}, {&style.right, xf.right}, {&style.top, xf.top}, {&style.bottom, xf.bottom}};
    for (const auto& [line, colour] : lines) {
        if (line->style != BorderStyle::None) line->colour = colourOf(colour, palette);
    }
    return style;
}

}  // namespace kes::biff
