#include "workbook/xls/biff_format_writer.h"

#include <algorithm>
#include <unordered_map>

#include "sheet/style_colours.h"
#include "workbook/workbook_errors.h"

namespace kes::biff {
namespace {

enum : uint16_t { kFont = 0x0031, kPalette = 0x0092, kXf = 0x00E0, kStyle = 0x0293, kFormat = 0x041E };
constexpr uint16_t kFirstCustomFormat = 164;
constexpr uint16_t kAutoFontColour = 0x7FFF, kWindowText = 0x40, kWindowBackground = 0x41;

class Bytes {
public:
    Bytes& u8(uint8_t v) { data.push_back(char(v)); return *this; }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& u32(uint32_t v) { return u16(uint16_t(v)).u16(uint16_t(v >> 16)); }
    // An XLUnicodeString, always in UTF-16, with an 8-bit or a 16-bit count.
    Bytes& text(std::u16string_view s, bool shortCount) {
        const size_t limit = shortCount ? 255 : 32767;
        s = s.substr(0, std::min(s.size(), limit));
        if (shortCount) u8(uint8_t(s.size()));
        else u16(uint16_t(s.size()));
        u8(1);
        for (char16_t c : s) u16(c);
        return *this;
    }
    std::string data;
};

// The palette a file needs: Excel's default, with the entries that no cell uses given to
// colours it lacks. Past 56 colours the rest take the nearest entry.
class PaletteBuilder {
public:
    void use(Rgb colour) {
        if (colour != kAutoColour) colours_.push_back(colour & 0xFFFFFF);
    }
    void build() {
        std::sort(colours_.begin(), colours_.end());
        colours_.erase(std::unique(colours_.begin(), colours_.end()), colours_.end());
        std::vector<bool> taken(palette_.size(), false);
        std::vector<Rgb> missing;
        for (Rgb colour : colours_) {
            const auto at = std::find(palette_.begin(), palette_.end(), colour);
            if (at == palette_.end()) missing.push_back(colour);
            else taken[size_t(at - palette_.begin())] = true;
        }
        for (size_t slot = palette_.size(); slot-- > 0 && !missing.empty();) {
            if (taken[slot]) continue;
            palette_[slot] = missing.back();
            missing.pop_back();
            changed_ = true;
        }
    }
    uint16_t indexOf(Rgb colour, uint16_t automatic) const {
        if (colour == kAutoColour) return automatic;
        const auto at = std::find(palette_.begin(), palette_.end(), colour & 0xFFFFFF);
        return at != palette_.end() ? uint16_t(8 + (at - palette_.begin())) : nearestPaletteIndex(colour, palette_);
    }
    bool changed() const { return changed_; }
    const Palette& palette() const { return palette_; }

private:
    std::vector<Rgb> colours_;
    Palette palette_ = kDefaultPalette;
    bool changed_ = false;
};

uint8_t underlineCode(Underline underline) {
    static constexpr uint8_t kCodes[] = {0x00, 0x01, 0x02, 0x21, 0x22};
    return kCodes[size_t(underline)];
}

std::string fontRecord(const CellFont& font, const CellStyles& styles, const PaletteBuilder& palette) {
    Bytes b;
    b.u16(styles.fontSize(font)).u16(uint16_t((font.italic ? 0x02 : 0) | (font.strike ? 0x08 : 0)));
    b.u16(palette.indexOf(font.colour, kAutoFontColour)).u16(font.bold ? 700 : 400).u16(0);
    b.u8(underlineCode(font.underline)).u8(0).u8(1).u8(0);   // no family, the default character set
    b.text(styles.fontName(font), true);
    return b.data;
}

std::string xfRecord(uint16_t font, uint16_t format, bool styleXf, uint8_t used, const CellStyle& look,
                     const PaletteBuilder& palette) {
    Bytes b;
    b.u16(font).u16(format).u16(styleXf ? 0xFFF5 : 0x0001);   // locked; a style has no parent
    b.u8(uint8_t(uint8_t(look.horizontal) | (look.wrap ? 0x08 : 0) | uint8_t(look.vertical) << 4));
    b.u8(look.rotation).u8(uint8_t(std::min<uint8_t>(look.indent, 15) | (look.shrinkToFit ? 0x10 : 0))).u8(used);
    const auto line = [&](const BorderLine& l) { return uint32_t(l.style == BorderStyle::None ? 0 : palette.indexOf(l.colour, kWindowText)); };
    b.u32(uint32_t(look.left.style) | uint32_t(look.right.style) << 4 | uint32_t(look.top.style) << 8 |
          uint32_t(look.bottom.style) << 12 | line(look.left) << 16 | line(look.right) << 23);
    b.u32(line(look.top) | line(look.bottom) << 7 | uint32_t(look.pattern) << 26);
    const uint16_t fore = look.pattern == kPatternNone ? kWindowText : palette.indexOf(look.patternColour, kWindowText);
    const uint16_t back = look.pattern == kPatternNone ? kWindowBackground : palette.indexOf(look.backgroundColour, kWindowBackground);
    b.u16(uint16_t(fore | back << 7));
    return b.data;
}

}  // namespace

uint16_t CellFormatWriter::xfOf(uint16_t style, const std::u16string& numberFormat) {
    if (style >= styles_.size()) style = CellStyles::kDefault;
    if (style == CellStyles::kDefault && numberFormat.empty()) return kDefaultCellXf;
    const auto [at, added] = xfs_.try_emplace({style, numberFormat}, uint16_t(kFirstOwnXf + used_.size()));
    if (!added) return at->second;
    if (used_.size() >= kMaxOwnXfs) throw ESpreadSheetWriterError("xls: more than 4,000 different cell formats");
    used_.push_back(at->first);
    if (!numberFormat.empty()) {
        const auto [format, addedFormat] = formats_.try_emplace(numberFormat, uint16_t(kFirstCustomFormat + formats_.size()));
        if (addedFormat) formatOrder_.push_back(&format->first);
    }
    return at->second;
}

void CellFormatWriter::write(const RecordSink& record) const {
    PaletteBuilder palette;
    for (const auto& [style, code] : used_) {
        const CellStyle& s = styles_[style];
        palette.use(s.font.colour);
        if (s.pattern != kPatternNone) {
            palette.use(s.patternColour);
            palette.use(s.backgroundColour);
        }
        for (const BorderLine* line : {&s.left, &s.right, &s.top, &s.bottom}) {
            if (line->style != BorderStyle::None) palette.use(line->colour);
        }
    }
    palette.build();

    // Fonts 0-3 are the default font, as Excel writes them; there is no font 4.
    const std::string defaultFont = fontRecord(CellFont{}, styles_, palette);
    for (int i = 0; i < 4; ++i) record(kFont, defaultFont);
    std::unordered_map<std::string, uint16_t> fonts{{defaultFont, 0}};
    std::vector<uint16_t> fontOf;
    for (const auto& [style, code] : used_) {
        const std::string font = fontRecord(styles_[style].font, styles_, palette);
        const auto [at, added] = fonts.try_emplace(font, uint16_t(fonts.size() + 4));
        if (added) record(kFont, font);
        fontOf.push_back(at->second);
    }

    for (const std::u16string* code : formatOrder_) {
        Bytes b;
        b.u16(formats_.at(*code)).text(*code, false);
        record(kFormat, b.data);
    }

    const CellStyle plain;
    record(kXf, xfRecord(0, 0, true, 0, plain, palette));
    for (int i = 1; i < 15; ++i) record(kXf, xfRecord(uint16_t(i <= 2 ? 1 : i <= 4 ? 2 : 0), 0, true, 0xF4, plain, palette));
    record(kXf, xfRecord(0, 0, false, 0, plain, palette));
    for (uint16_t format : {0x2B, 0x29, 0x2C, 0x2A, 0x09})   // Comma, Comma [0], Currency, Currency [0], Percent
        record(kXf, xfRecord(0, format, true, 0xF8, plain, palette));
    for (size_t i = 0; i < used_.size(); ++i) {
        const auto& [style, code] = used_[i];
        const uint16_t format = code.empty() ? 0 : formats_.at(code);
        record(kXf, xfRecord(fontOf[i], format, false, 0x7C, styles_[style], palette));   // every attribute its own
    }
    const uint8_t builtinStyles[][2] = {{0x00, 0}, {0x10, 3}, {0x11, 6}, {0x12, 4}, {0x13, 7}, {0x14, 5}};
    for (const auto& [xfIndex, style] : builtinStyles) {
        Bytes b;
        b.u16(uint16_t(0x8000 | xfIndex)).u8(style).u8(0xFF);
        record(kStyle, b.data);
    }
    if (palette.changed()) {
        Bytes b;
        b.u16(uint16_t(palette.palette().size()));
        for (Rgb colour : palette.palette()) b.u8(uint8_t(colour >> 16)).u8(uint8_t(colour >> 8)).u8(uint8_t(colour)).u8(0);
        record(kPalette, b.data);
    }
}

}  // namespace kes::biff
