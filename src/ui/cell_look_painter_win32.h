#pragma once
// Draws what a cell style adds to a cell: its fill, its borders, and its text in the style's
// font, colour and alignment. Fonts and pens are made once per look and kept, a bounded number
// of them.
#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "sheet/cell_styles.h"
#include "sheet/cell_value.h"

namespace kes {

class CellLookPainter {
public:
    // Fonts kept at most; past it the cache starts over (a paint needs a few dozen at most).
    static constexpr size_t kMaxFonts = 256;
    // Border pens kept at most, one per line style and colour.
    static constexpr size_t kMaxPens = 256;

    CellLookPainter() = default;
    ~CellLookPainter();
    CellLookPainter(const CellLookPainter&) = delete;
    CellLookPainter& operator=(const CellLookPainter&) = delete;

    // The grid's own font, which cells show while the workbook names no default font of its
    // own; `dpi` scales point sizes; every font is made with the text smoothing `quality`.
    void setGridFont(const wchar_t* face, int pixelHeight, int dpi, BYTE quality);

    // The font of a style: a handle the painter owns, valid until the next setGridFont or
    // until the cache starts over, so callers select it for one paint at most.
    HFONT fontOf(const CellStyles& styles, uint16_t style);

    // Called once before a paint. From then on the painter alone sets the DC's text and
    // background colours until the cells are painted (it sets them only when they change).
    void beginPaint();
    // The fill of a style over `r`, blended with `selection` when the cell is selected; false
    // when the style has no fill and nothing was painted.
    bool paintFill(HDC dc, const RECT& r, const CellStyle& style, COLORREF selection, bool selected);
    // The borders of a style on the edges of `r` (right and bottom over the grid lines), kept
    // until drawBorders draws all of a paint's lines in one call per pen.
    void addBorders(const RECT& r, const CellStyle& style);
    void drawBorders(HDC dc);

    struct Text {
        std::u16string text;
        CellDataType type = cdtBlank;
        std::optional<uint32_t> sectionColour;   // from the number format's [Red] section
        int width = -1;                          // in pixels when the caller measured it
    };
    // The text of a cell of style `style` in `r`, already inset from the grid lines, with
    // fontOf(styles, style) chosen into `dc`, shown only inside `clip`. Numbers too wide show
    // #s; other texts are cut at the edges of `r`.
    void paintText(HDC dc, const RECT& r, const RECT& clip, const CellStyles& styles, uint16_t style, const Text& text,
                   int dpi);

private:
    struct FontKey {
        std::wstring face;
        int height;
        bool bold, italic, underline, strike;
        friend bool operator==(const FontKey&, const FontKey&) = default;
    };
    struct FontKeyHash {
        size_t operator()(const FontKey& k) const;
    };
    FontKey keyOf(const CellStyles& styles, const CellStyle& style) const;
    struct Lines {
        HPEN pen = nullptr;
        std::vector<POINT> points;   // pairs: each line's two ends
    };
    Lines& linesOf(int penStyle, COLORREF colour);
    void clearFonts();
    void clearPens();

    std::wstring gridFace_ = L"SimSun";
    int gridHeight_ = 14;
    int dpi_ = 96;
    BYTE quality_ = DEFAULT_QUALITY;
    // Each font stays selected in a small DC of its own, over a bitmap of the screen's format,
    // while it is cached: a font that no such DC holds is one the system may let go of between
    // paints, and realizing it again (loading the face, rendering its glyphs) costs more than
    // the whole paint.
    struct HeldFont {
        HFONT font = nullptr;
        HDC holder = nullptr;
        HBITMAP canvas = nullptr;
        int lineHeight = 0;   // the font's cell height, in pixels
    };
    const HeldFont& heldOf(const CellStyles& styles, uint16_t style);
    std::unordered_map<FontKey, HeldFont, FontKeyHash> fonts_;
    std::vector<const HeldFont*> fontsByStyle_;   // by style index, null until asked for
    const CellStyles* stylesOfCache_ = nullptr;
    uint32_t generation_ = 0;
    std::unordered_map<uint64_t, Lines> lines_;   // by pen style and colour
    COLORREF textColour_ = CLR_INVALID, backColour_ = CLR_INVALID;   // as last set on the DC
};

}  // namespace kes
