#include "ui/cell_look_painter_win32.h"

#include <algorithm>
#include <functional>

#include "text/line_breaks.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

COLORREF colourRef(Rgb rgb) { return RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF); }

// `share` parts in 256 of `a`, the rest of `b`.
COLORREF mix(COLORREF a, COLORREF b, int share) {
    const auto channel = [&](int shift) { return ((((a >> shift) & 0xFF) * share + ((b >> shift) & 0xFF) * (256 - share)) / 256) & 0xFF; };
    return RGB(channel(0), channel(8), channel(16));
}

// How much of a pattern's foreground shows, in 256ths, for the shades and hatches that are
// painted as a flat colour.
int patternShare(uint8_t pattern) {
    static constexpr int kShares[kLastPattern + 1] = {0, 256, 128, 192, 64, 128, 128, 128, 128, 192, 192, 64, 64, 64, 64, 96, 96, 32, 16};
    return pattern <= kLastPattern ? kShares[pattern] : 256;
}

int penWidth(BorderStyle style) {
    switch (style) {
    case BorderStyle::Medium:
    case BorderStyle::MediumDashed:
    case BorderStyle::MediumDashDot:
    case BorderStyle::MediumDashDotDot:
    case BorderStyle::SlantDashDot: return 2;
    case BorderStyle::Thick: return 3;
    default: return 1;
    }
}

int penStyle(BorderStyle style) {
    switch (style) {
    case BorderStyle::Dotted:
    case BorderStyle::Hair: return PS_DOT;
    case BorderStyle::Dashed:
    case BorderStyle::MediumDashed: return PS_DASH;
    case BorderStyle::DashDot:
    case BorderStyle::MediumDashDot:
    case BorderStyle::SlantDashDot: return PS_DASHDOT;
    case BorderStyle::DashDotDot:
    case BorderStyle::MediumDashDotDot: return PS_DASHDOTDOT;
    default: return PS_SOLID;
    }
}

}  // namespace

size_t CellLookPainter::FontKeyHash::operator()(const FontKey& k) const {
    return std::hash<std::wstring>()(k.face) ^ (size_t(k.height) << 4) ^ (size_t(k.bold) | size_t(k.italic) << 1 |
                                                                          size_t(k.underline) << 2 | size_t(k.strike) << 3);
}

CellLookPainter::~CellLookPainter() {
    clearPens();
    clearFonts();
}

void CellLookPainter::clearFonts() {
    for (auto& [key, held] : fonts_) {
        if (held.holder) DeleteDC(held.holder);
        if (held.canvas) DeleteObject(held.canvas);
        DeleteObject(held.font);
    }
    fonts_.clear();
    fontsByStyle_.clear();
}

void CellLookPainter::setGridFont(const wchar_t* face, int pixelHeight, int dpi, BYTE quality) {
    gridFace_ = face;
    quality_ = quality;
    gridHeight_ = pixelHeight;
    dpi_ = dpi;
    clearFonts();
}

CellLookPainter::FontKey CellLookPainter::keyOf(const CellStyles& styles, const CellStyle& style) const {
    // A workbook that names no default font of its own shows in the grid's font.
    const bool gridDefault = styles.defaultFont() == DefaultFont{};
    FontKey key;
    if (style.font.name.empty() && gridDefault) key.face = gridFace_;
    else key.face = wide(std::u16string(styles.fontName(style.font)));
    if (style.font.size == 0 && gridDefault) key.height = -MulDiv(gridHeight_, dpi_, 96);
    else key.height = -MulDiv(styles.fontSize(style.font), dpi_, 1440);
    key.bold = style.font.bold;
    key.italic = style.font.italic;
    key.underline = style.font.underline != Underline::None;
    key.strike = style.font.strike;
    return key;
}

HFONT CellLookPainter::fontOf(const CellStyles& styles, uint16_t style) { return heldOf(styles, style).font; }

const CellLookPainter::HeldFont& CellLookPainter::heldOf(const CellStyles& styles, uint16_t style) {
    if (stylesOfCache_ != &styles || generation_ != styles.generation()) {
        fontsByStyle_.clear();
        stylesOfCache_ = &styles;
        generation_ = styles.generation();
    }
    if (fontsByStyle_.size() < styles.size()) fontsByStyle_.resize(styles.size(), nullptr);
    if (style >= fontsByStyle_.size()) style = CellStyles::kDefault;
    if (const HeldFont* known = fontsByStyle_[style]) return *known;
    const FontKey key = keyOf(styles, styles[style]);
    HeldFont& held = fonts_[key];
    if (!held.font) {
        held.font = CreateFontW(key.height, 0, 0, 0, key.bold ? FW_BOLD : FW_NORMAL, key.italic, key.underline,
                                key.strike, DEFAULT_CHARSET, 0, 0, quality_, 0, key.face.c_str());
        HDC screen = GetDC(nullptr);
        held.holder = CreateCompatibleDC(screen);
        held.canvas = CreateCompatibleBitmap(screen, 1, 1);
        ReleaseDC(nullptr, screen);
        held.lineHeight = std::abs(key.height);
        if (held.holder) {
            if (held.canvas) SelectObject(held.holder, held.canvas);
            SelectObject(held.holder, held.font);
            TEXTMETRICW metrics{};
            if (GetTextMetricsW(held.holder, &metrics)) held.lineHeight = metrics.tmHeight;
        }
    }
    return *(fontsByStyle_[style] = &held);
}

void CellLookPainter::beginPaint() {
    textColour_ = backColour_ = CLR_INVALID;
    if (lines_.size() > kMaxPens) clearPens();
    if (fonts_.size() > kMaxFonts) clearFonts();
}

void CellLookPainter::clearPens() {
    for (auto& [key, lines] : lines_) DeleteObject(lines.pen);
    lines_.clear();
}

bool CellLookPainter::paintFill(HDC dc, const RECT& r, const CellStyle& style, COLORREF selection, bool selected) {
    if (style.pattern == kPatternNone || style.patternColour == kAutoColour) return false;
    const COLORREF back = style.backgroundColour == kAutoColour ? RGB(0xFF, 0xFF, 0xFF) : colourRef(style.backgroundColour);
    COLORREF colour = mix(colourRef(style.patternColour), back, patternShare(style.pattern));
    if (selected) colour = mix(colour, selection, 128);
    if (colour != backColour_) SetBkColor(dc, backColour_ = colour);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &r, nullptr, 0, nullptr);   // a fill without a brush of its own
    return true;
}

CellLookPainter::Lines& CellLookPainter::linesOf(int style, COLORREF colour) {
    Lines& lines = lines_[uint64_t(style) << 32 | colour];
    if (!lines.pen) lines.pen = CreatePen(style, 1, colour);
    return lines;
}

void CellLookPainter::addBorders(const RECT& r, const CellStyle& style) {
    struct Side {
        const BorderLine* line;
        bool vertical;
        int at;        // the grid line's coordinate
        int inward;    // where thicker lines grow
    };
    const Side sides[] = {{&style.left, true, int(r.left) - 1, 1}, {&style.right, true, int(r.right) - 1, -1},
                          {&style.top, false, int(r.top) - 1, 1}, {&style.bottom, false, int(r.bottom) - 1, -1}};
    for (const Side& side : sides) {
        const BorderLine& line = *side.line;
        if (line.style == BorderStyle::None) continue;
        const COLORREF colour = line.colour == kAutoColour ? RGB(0, 0, 0) : colourRef(line.colour);
        // A thick line is drawn as parallel lines one pixel wide, growing into its cell: axis
        // lines of a one-pixel pen are the cheapest thing to draw, and a wide pen's are not.
        // A double line is two lines with a pixel between them.
        const int width = penWidth(line.style);
        const bool twoLines = line.style == BorderStyle::Double;
        std::vector<POINT>& points = linesOf(width > 1 ? PS_SOLID : penStyle(line.style), colour).points;
        for (int pass = 0; pass < (twoLines ? 2 : width); ++pass) {
            const int at = side.at + pass * (twoLines ? 2 : 1) * side.inward;
            if (side.vertical) {
                points.push_back({at, r.top - 1});
                points.push_back({at, r.bottom});
            } else {
                points.push_back({r.left - 1, at});
                points.push_back({r.right, at});
            }
        }
    }
}

void CellLookPainter::drawBorders(HDC dc) {
    const int oldMode = SetBkMode(dc, TRANSPARENT);
    HGDIOBJ oldPen = nullptr;
    std::vector<DWORD> counts;
    for (auto& [key, lines] : lines_) {
        if (lines.points.empty()) continue;
        HGDIOBJ previous = SelectObject(dc, lines.pen);
        if (!oldPen) oldPen = previous;
        counts.assign(lines.points.size() / 2, 2);
        PolyPolyline(dc, lines.points.data(), counts.data(), DWORD(counts.size()));
        lines.points.clear();
    }
    if (oldPen) SelectObject(dc, oldPen);
    SetBkMode(dc, oldMode);
}

void CellLookPainter::paintText(HDC dc, const RECT& cell, const RECT& clip, const CellStyles& styles, uint16_t styleIndex,
                                const Text& text, int dpi) {
    RECT shownIn{};
    if (!IntersectRect(&shownIn, &cell, &clip)) return;
    const CellStyle& style = styles[styleIndex];
    RECT r = cell;
    const bool numeric = isNumericType(text.type);
    HorizontalAlignment horizontal = style.horizontal;
    if (horizontal == HorizontalAlignment::General) {
        horizontal = numeric ? HorizontalAlignment::Right
                   : text.type == cdtBoolean || text.type == cdtError ? HorizontalAlignment::Center
                                                                     : HorizontalAlignment::Left;
    }
    const bool centred = horizontal == HorizontalAlignment::Center || horizontal == HorizontalAlignment::CenterAcrossSelection;
    // Where a line `lineWidth` wide starts.
    const auto lineStart = [&](int lineWidth) {
        return horizontal == HorizontalAlignment::Right ? r.right - lineWidth
             : centred                                  ? r.left + (r.right - r.left - lineWidth) / 2
                                                        : r.left;
    };
    // Each indent step is three characters of the default font wide, about 9 pixels.
    const int indent = MulDiv(9 * style.indent, dpi, 96);
    if (horizontal == HorizontalAlignment::Left) r.left += indent;
    if (horizontal == HorizontalAlignment::Right) r.right -= indent;

    const Rgb colour = text.sectionColour ? *text.sectionColour : style.font.colour;
    const COLORREF ink = colour == kAutoColour ? RGB(0, 0, 0) : colourRef(colour);
    if (ink != textColour_) SetTextColor(dc, textColour_ = ink);
    const wchar_t* const shown = wide(text.text);   // the whole text, also past a NUL in it
    const int length = int(text.text.size());
    const int lineHeight = heldOf(styles, styleIndex).lineHeight;
    if (!style.wrap) {
        if (style.vertical == VerticalAlignment::Bottom) r.bottom -= 1;
        int textWidth = text.width;
        if (textWidth < 0) {
            SIZE extent{};
            GetTextExtentPoint32W(dc, shown, length, &extent);
            textWidth = extent.cx;
        }
        const int y = style.vertical == VerticalAlignment::Top      ? r.top
                    : style.vertical == VerticalAlignment::Bottom ? r.bottom - lineHeight
                                                                  : r.top + (r.bottom - r.top - lineHeight) / 2;
        IntersectRect(&shownIn, &shownIn, &r);
        if (numeric && textWidth > r.right - r.left) {
            // A number never shows cut: like Excel, a column too narrow for it shows #s.
            const std::wstring hashes(size_t(std::max<LONG>(1, (r.right - r.left) / std::max(1, MulDiv(7, dpi, 96)))), L'#');
            SIZE extent{};
            GetTextExtentPoint32W(dc, hashes.c_str(), int(hashes.size()), &extent);
            ExtTextOutW(dc, r.right - extent.cx, y, ETO_CLIPPED, &shownIn, hashes.c_str(), UINT(hashes.size()), nullptr);
            return;
        }
        // Laid out here rather than by DrawText, which would measure the text again. A text wider
        // than its cell is cut at the cell's edges, as in Excel: a left-aligned one shows its
        // start, a right-aligned one its end.
        ExtTextOutW(dc, lineStart(textWidth), y, ETO_CLIPPED, &shownIn, shown, UINT(length), nullptr);
        return;
    }
    IntersectRect(&shownIn, &shownIn, &r);
    // Wrapped: measured once, broken into lines here, each line drawn by itself.
    std::vector<int> ends(size_t(length), 0);
    SIZE whole{};
    if (length > 0) GetTextExtentExPointW(dc, shown, length, 0, nullptr, ends.data(), &whole);
    const std::vector<LineSpan> lines = breakLines(text.text, ends, std::max<int>(1, r.right - r.left));
    const int spare = (r.bottom - r.top) - lineHeight * int(lines.size());
    int y = r.top;
    if (spare > 0 && style.vertical == VerticalAlignment::Bottom) y += spare - 1;
    else if (spare > 0 && style.vertical != VerticalAlignment::Top) y += spare / 2;
    for (const LineSpan& line : lines) {
        if (y >= shownIn.bottom) break;
        if (line.end > line.begin) {
            const int lineWidth = ends[line.end - 1] - (line.begin ? ends[line.begin - 1] : 0);
            ExtTextOutW(dc, lineStart(lineWidth), y, ETO_CLIPPED, &shownIn, shown + line.begin, UINT(line.end - line.begin), nullptr);
        }
        y += lineHeight;
    }
}

}  // namespace kes
