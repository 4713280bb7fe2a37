#include "workbook/xlsx/xlsx_styles_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <unordered_map>

#include "sheet/format/number_format.h"
#include "text/utf8.h"
#include "workbook/xml/xml_reader.h"

namespace kes {
namespace {

using Token = XmlReader::Token;

// More entries than any real styles part has; a hostile one stops growing here.
constexpr size_t kMaxEntries = 100000;

int intOf(std::string_view text, int fallback = 0) {
    int value = fallback;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::optional<Rgb> hexColour(std::string_view hex) {
    if (hex.size() == 8) hex.remove_prefix(2);   // ARGB: the alpha is not shown by Excel either
    if (hex.size() != 6) return std::nullopt;
    Rgb value = 0;
    const auto [end, error] = std::from_chars(hex.data(), hex.data() + 6, value, 16);
    if (error != std::errc() || end != hex.data() + 6) return std::nullopt;
    return value;
}

// An on/off child such as <b/>, <b val="1"/>, <b val="false"/>.
bool flagOf(XmlReader& reader) {
    std::string_view value;
    return !reader.attribute("val", value) || !(value == "0" || value == "false");
}

class StylesReader {
public:
    StylesReader(std::string_view xml, const ThemeColours& theme) : xml_(xml), theme_(theme) {}

    std::vector<uint16_t> read(CellStyles& styles) {
        readPalette();
        XmlReader reader(xml_);
        std::vector<uint16_t> indexes;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement || reader.depth() != 2) continue;
            const std::string_view name = reader.name();
            const int depth = reader.depth();
            if (name == "numFmts") {
                while (reader.nextStartWithin(depth)) readNumberFormat(reader);
            } else if (name == "fonts") {
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() == "font" && fonts_.size() < kMaxEntries) fonts_.push_back(readFont(reader));
                }
            } else if (name == "fills") {
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() == "fill" && fills_.size() < kMaxEntries) fills_.push_back(readFill(reader));
                }
            } else if (name == "borders") {
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() == "border" && borders_.size() < kMaxEntries) borders_.push_back(readBorder(reader));
                }
            } else if (name == "cellXfs") {
                if (!fonts_.empty()) styles.setDefaultFont({fonts_[0].name.empty() ? u"Calibri" : fonts_[0].name,
                                                            fonts_[0].size ? fonts_[0].size : uint16_t(220)});
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() == "xf" && indexes.size() < kMaxEntries) indexes.push_back(styles.add(readXf(reader, styles)));
                }
            } else {
                reader.skipElement();
            }
        }
        return indexes;
    }

private:
    // A custom palette (<colors><indexedColors>) comes after the formats that use it.
    void readPalette() {
        XmlReader reader(xml_);
        size_t at = 0;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view value;
            if (reader.name() == "rgbColor" && at < palette_.size() + 8 && reader.attribute("rgb", value)) {
                // The list starts at index 0 (the fixed eight); the palette proper at 8.
                if (const auto rgb = hexColour(value); rgb && at >= 8) palette_[at - 8] = *rgb;
                ++at;
            }
        }
    }

    Rgb colourOf(XmlReader& reader) {
        std::string_view value;
        if (reader.attribute("auto", value) && (value == "1" || value == "true")) return kAutoColour;
        if (reader.attribute("rgb", value)) return hexColour(value).value_or(kAutoColour);
        double tint = 0;
        if (reader.attribute("tint", value)) tint = xmlNumber(value).value_or(0);
        if (reader.attribute("theme", value)) return themeColour(intOf(value, -1), tint, theme_);
        if (reader.attribute("indexed", value)) return tinted(paletteColour(uint16_t(std::clamp(intOf(value, 64), 0, 0xFFFF)), palette_), tint);
        return kAutoColour;
    }

    void readNumberFormat(XmlReader& reader) {
        std::string_view id, code;
        if (reader.name() == "numFmt" && reader.attribute("numFmtId", id) && reader.attribute("formatCode", code)) {
            numberFormats_[intOf(id, -1)] = fromUtf8(code);
        }
    }

    CellFont readFont(XmlReader& reader) {
        CellFont font;
        const int depth = reader.depth();
        std::string_view value;
        while (reader.nextStartWithin(depth)) {
            const std::string_view name = reader.name();
            if (name == "b") font.bold = flagOf(reader);
            else if (name == "i") font.italic = flagOf(reader);
            else if (name == "strike") font.strike = flagOf(reader);
            else if (name == "u") {
                font.underline = Underline::Single;
                if (reader.attribute("val", value)) {
                    if (value == "double") font.underline = Underline::Double;
                    else if (value == "singleAccounting") font.underline = Underline::SingleAccounting;
                    else if (value == "doubleAccounting") font.underline = Underline::DoubleAccounting;
                    else if (value == "none") font.underline = Underline::None;
                }
            } else if (name == "sz" && reader.attribute("val", value)) {
                const double points = xmlNumber(value).value_or(0);
                if (points >= 1 && points <= 409) font.size = uint16_t(std::lround(points * 20));
            } else if (name == "color") {
                font.colour = colourOf(reader);
            } else if ((name == "name" || name == "rFont") && reader.attribute("val", value)) {
                font.name = fromUtf8(value);
            }
        }
        return font;
    }

    struct Fill {
        uint8_t pattern = kPatternNone;
        Rgb foreground = kAutoColour;
        Rgb background = kAutoColour;
    };

    Fill readFill(XmlReader& reader) {
        static constexpr std::string_view kPatterns[] = {
            "none", "solid", "mediumGray", "darkGray", "lightGray", "darkHorizontal", "darkVertical",
            "darkDown", "darkUp", "darkGrid", "darkTrellis", "lightHorizontal", "lightVertical",
            "lightDown", "lightUp", "lightGrid", "lightTrellis", "gray125", "gray0625"};
        Fill fill;
        const int depth = reader.depth();
        std::string_view value;
        bool gradient = false;
        while (reader.nextStartWithin(depth)) {
            const std::string_view name = reader.name();
            if (name == "patternFill") {
                // A patternFill without a type is solid when it names a colour.
                fill.pattern = kPatternSolid;
                if (reader.attribute("patternType", value)) {
                    const auto at = std::find(std::begin(kPatterns), std::end(kPatterns), value);
                    fill.pattern = at == std::end(kPatterns) ? kPatternNone : uint8_t(at - std::begin(kPatterns));
                }
            } else if (name == "gradientFill") {
                gradient = true;   // shown, as an old Excel shows it, in its first colour
            } else if (name == "fgColor") {
                fill.foreground = colourOf(reader);
            } else if (name == "bgColor") {
                fill.background = colourOf(reader);
            } else if (name == "color" && gradient && fill.pattern == kPatternNone) {
                fill.pattern = kPatternSolid;
                fill.foreground = colourOf(reader);
            }
        }
        if (fill.pattern == kPatternSolid && fill.foreground == kAutoColour) {
            // Excel writes some solid fills with their colour as the background only.
            fill.foreground = fill.background;
            if (fill.foreground == kAutoColour) fill.pattern = kPatternNone;
        }
        if (fill.pattern == kPatternNone) fill = Fill{};
        return fill;
    }

    struct Borders {
        BorderLine left, right, top, bottom;
    };

    Borders readBorder(XmlReader& reader) {
        static constexpr std::string_view kStyles[] = {
            "none", "thin", "medium", "dashed", "dotted", "thick", "double", "hair",
            "mediumDashed", "dashDot", "mediumDashDot", "dashDotDot", "mediumDashDotDot", "slantDashDot"};
        Borders borders;
        const int depth = reader.depth();
        std::string_view value;
        while (reader.nextStartWithin(depth)) {
            const std::string_view name = reader.name();
            BorderLine* line = name == "left" || name == "start" ? &borders.left
                             : name == "right" || name == "end" ? &borders.right
                             : name == "top"                    ? &borders.top
                             : name == "bottom"                 ? &borders.bottom
                                                                : nullptr;
            if (!line) continue;
            if (reader.attribute("style", value)) {
                const auto at = std::find(std::begin(kStyles), std::end(kStyles), value);
                line->style = at == std::end(kStyles) ? BorderStyle::None : BorderStyle(at - std::begin(kStyles));
            }
            const int lineDepth = reader.depth();
            while (reader.nextStartWithin(lineDepth)) {
                if (reader.name() == "color") line->colour = colourOf(reader);
            }
            if (line->style == BorderStyle::None) *line = BorderLine{};
        }
        return borders;
    }

    CellStyle readXf(XmlReader& reader, const CellStyles& styles) {
        CellStyle style;
        std::string_view value;
        if (reader.attribute("numFmtId", value)) {
            const int id = intOf(value);
            if (auto it = numberFormats_.find(id); it != numberFormats_.end()) style.numberFormat = it->second;
            else style.numberFormat = std::u16string(builtinFormatCode(id));
            if (style.numberFormat == u"General") style.numberFormat.clear();
        }
        if (reader.attribute("fontId", value)) {
            const int id = intOf(value, -1);
            if (id >= 0 && size_t(id) < fonts_.size()) {
                style.font = fonts_[size_t(id)];
                if (style.font.name == styles.defaultFont().name) style.font.name.clear();
                if (style.font.size == styles.defaultFont().size) style.font.size = 0;
            }
        }
        if (reader.attribute("fillId", value)) {
            const int id = intOf(value, -1);
            if (id >= 0 && size_t(id) < fills_.size()) {
                style.pattern = fills_[size_t(id)].pattern;
                style.patternColour = fills_[size_t(id)].foreground;
                style.backgroundColour = fills_[size_t(id)].background;
            }
        }
        if (reader.attribute("borderId", value)) {
            const int id = intOf(value, -1);
            if (id >= 0 && size_t(id) < borders_.size()) {
                const Borders& b = borders_[size_t(id)];
                style.left = b.left;
                style.right = b.right;
                style.top = b.top;
                style.bottom = b.bottom;
            }
        }
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            if (reader.name() == "alignment") readAlignment(reader, style);
        }
        return style;
    }

    static void readAlignment(XmlReader& reader, CellStyle& style) {
        static constexpr std::string_view kHorizontal[] = {"general", "left", "center", "right", "fill",
                                                           "justify", "centerContinuous", "distributed"};
        static constexpr std::string_view kVertical[] = {"bottom", "top", "center", "justify", "distributed"};
        std::string_view value;
        if (reader.attribute("horizontal", value)) {
            const auto at = std::find(std::begin(kHorizontal), std::end(kHorizontal), value);
            if (at != std::end(kHorizontal)) style.horizontal = HorizontalAlignment(at - std::begin(kHorizontal));
        }
        if (reader.attribute("vertical", value)) {
            const auto at = std::find(std::begin(kVertical), std::end(kVertical), value);
            if (at != std::end(kVertical)) style.vertical = VerticalAlignment(at - std::begin(kVertical));
        }
        style.wrap = reader.attribute("wrapText", value) && (value == "1" || value == "true");
        style.shrinkToFit = reader.attribute("shrinkToFit", value) && (value == "1" || value == "true");
        if (reader.attribute("indent", value)) style.indent = uint8_t(std::clamp(intOf(value), 0, 15));
        if (reader.attribute("textRotation", value)) {
            const int rotation = intOf(value);
            if ((rotation >= 0 && rotation <= 180) || rotation == 255) style.rotation = uint8_t(rotation);
        }
    }

    std::string_view xml_;
    const ThemeColours& theme_;
    Palette palette_ = kDefaultPalette;
    std::unordered_map<int, std::u16string> numberFormats_;
    std::vector<CellFont> fonts_;
    std::vector<Fill> fills_;
    std::vector<Borders> borders_;
};

}  // namespace

ThemeColours readThemeColours(std::string_view themeXml) {
    static constexpr std::string_view kSlots[] = {"dk1", "lt1", "dk2", "lt2", "accent1", "accent2",
                                                  "accent3", "accent4", "accent5", "accent6", "hlink", "folHlink"};
    ThemeColours colours = kOfficeTheme;
    if (themeXml.empty()) return colours;
    try {
        XmlReader reader(themeXml);
        int slot = -1;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t == Token::EndElement && reader.name() == "clrScheme") break;
            if (t != Token::StartElement) continue;
            const auto at = std::find(std::begin(kSlots), std::end(kSlots), reader.name());
            if (at != std::end(kSlots)) {
                slot = int(at - std::begin(kSlots));
                continue;
            }
            std::string_view value;
            if (slot < 0) continue;
            if ((reader.name() == "srgbClr" && reader.attribute("val", value)) ||
                (reader.name() == "sysClr" && reader.attribute("lastClr", value))) {
                if (const auto rgb = hexColour(value)) colours[size_t(slot)] = *rgb;
                slot = -1;
            }
        }
    } catch (const EXmlError&) {
        return kOfficeTheme;   // a damaged theme only changes colours, never the cells
    }
    return colours;
}

std::vector<uint16_t> readXlsxStyles(std::string_view stylesXml, const ThemeColours& theme, CellStyles& styles) {
    return StylesReader(stylesXml, theme).read(styles);
}

}  // namespace kes
