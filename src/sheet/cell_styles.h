#pragma once
// Cell styles: shared, deduplicated, addressed by a 16-bit index held in each cell. Index 0 is
// the default style (the workbook's default font, no fill, no borders, General). Entries never
// change once added, so an index names the same look for the life of the workbook.
//
// A style keeps what Excel keeps for a cell format, with every colour already resolved to RGB:
// theme and palette colours are looked up when a file is read, so painting and writing need no
// theme. A font whose name is empty, or whose size is 0, takes the workbook's default font (the
// Normal style's), which is how a style stays the default when a file names its default font.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace kes {

// 0x00RRGGBB; kAutoColour is "automatic": window text for fonts and borders, none for fills.
using Rgb = uint32_t;
constexpr Rgb kAutoColour = 0xFF000000;

enum class Underline : uint8_t { None, Single, Double, SingleAccounting, DoubleAccounting };

// The line styles in the order both file formats number them.
enum class BorderStyle : uint8_t {
    None, Thin, Medium, Dashed, Dotted, Thick, Double, Hair,
    MediumDashed, DashDot, MediumDashDot, DashDotDot, MediumDashDotDot, SlantDashDot,
};

enum class HorizontalAlignment : uint8_t { General, Left, Center, Right, Fill, Justify, CenterAcrossSelection, Distributed };
enum class VerticalAlignment : uint8_t { Bottom, Top, Center, Justify, Distributed };

// Fill patterns numbered as BIFF numbers them: 0 none, 1 solid, 2.. the shaded and hatched ones.
constexpr uint8_t kPatternNone = 0;
constexpr uint8_t kPatternSolid = 1;
constexpr uint8_t kLastPattern = 18;

struct CellFont {
    std::u16string name;          // empty: the workbook's default font
    uint16_t size = 0;            // in twentieths of a point; 0: the default font's size
    bool bold = false;
    bool italic = false;
    bool strike = false;
    Underline underline = Underline::None;
    Rgb colour = kAutoColour;

    friend bool operator==(const CellFont&, const CellFont&) = default;
};

struct BorderLine {
    BorderStyle style = BorderStyle::None;
    Rgb colour = kAutoColour;

    friend bool operator==(const BorderLine&, const BorderLine&) = default;
};

struct CellStyle {
    std::u16string numberFormat;   // an Excel format code; empty means General
    CellFont font;
    uint8_t pattern = kPatternNone;
    Rgb patternColour = kAutoColour;      // the pattern's foreground: a solid fill's colour
    Rgb backgroundColour = kAutoColour;   // behind a pattern's gaps
    BorderLine left, right, top, bottom;
    HorizontalAlignment horizontal = HorizontalAlignment::General;
    VerticalAlignment vertical = VerticalAlignment::Bottom;
    bool wrap = false;
    bool shrinkToFit = false;
    uint8_t indent = 0;            // in steps of three character widths, at most 15
    uint8_t rotation = 0;          // 0..90 up, 91..180 down (90 + degrees), 255 stacked letters

    // The colour a fill paints, none (kAutoColour) when the cell has no fill.
    Rgb fillColour() const { return pattern == kPatternNone ? kAutoColour : patternColour; }

    friend bool operator==(const CellStyle&, const CellStyle&) = default;
};

// The default font of a workbook, what the Normal style names.
struct DefaultFont {
    std::u16string name = u"Calibri";
    uint16_t size = 220;

    friend bool operator==(const DefaultFont&, const DefaultFont&) = default;
};

class CellStyles {
public:
    static constexpr uint16_t kDefault = 0;
    static constexpr size_t kMaxStyles = 65536;

    CellStyles();

    // The index of an equal style, added when missing. Throws ESheetError past kMaxStyles.
    uint16_t add(const CellStyle& style);
    const CellStyle& operator[](uint16_t index) const { return styles_[index < styles_.size() ? index : 0]; }
    size_t size() const { return styles_.size(); }
    // Back to the default style alone and the default font.
    void clear();

    const DefaultFont& defaultFont() const { return defaultFont_; }
    void setDefaultFont(DefaultFont font) {
        defaultFont_ = std::move(font);
        ++generation_;
    }
    // Changes whenever an index may come to mean another look (clear) or the default font
    // changes, so that views drop what they made of the styles.
    uint32_t generation() const { return generation_; }
    // The font's name and size with the default's filled in.
    std::u16string_view fontName(const CellFont& font) const { return font.name.empty() ? defaultFont_.name : font.name; }
    uint16_t fontSize(const CellFont& font) const { return font.size ? font.size : defaultFont_.size; }

private:
    struct Hash { size_t operator()(const CellStyle& s) const; };
    std::vector<CellStyle> styles_;
    std::unordered_map<CellStyle, uint16_t, Hash> index_;
    DefaultFont defaultFont_;
    uint32_t generation_ = 0;
};

}  // namespace kes
