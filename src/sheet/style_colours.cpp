#include "sheet/style_colours.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kes {

// The Office theme of Excel 2013 and later, which files without a theme part are shown in.
const ThemeColours kOfficeTheme = {
    0x000000, 0xFFFFFF, 0x44546A, 0xE7E6E6, 0x5B9BD5, 0xED7D31,
    0xA5A5A5, 0xFFC000, 0x4472C4, 0x70AD47, 0x0563C1, 0x954F72,
};

Rgb paletteColour(uint16_t index, const Palette& palette) {
    if (index < 8) return kDefaultPalette[index];
    if (index < 64) return palette[index - 8];
    return kAutoColour;
}

uint16_t nearestPaletteIndex(Rgb colour, const Palette& palette) {
    uint16_t best = 8;
    int64_t bestDistance = std::numeric_limits<int64_t>::max();
    for (size_t i = 0; i < palette.size(); ++i) {
        int64_t distance = 0;
        for (int shift : {16, 8, 0}) {
            const int64_t d = int64_t((colour >> shift) & 0xFF) - int64_t((palette[i] >> shift) & 0xFF);
            distance += d * d;
        }
        if (distance < bestDistance) {
            bestDistance = distance;
            best = uint16_t(8 + i);
        }
    }
    return best;
}

Rgb tinted(Rgb colour, double tint) {
    if (colour == kAutoColour || !std::isfinite(tint) || tint == 0) return colour;
    tint = std::clamp(tint, -1.0, 1.0);
    const double r = ((colour >> 16) & 0xFF) / 255.0, g = ((colour >> 8) & 0xFF) / 255.0, b = (colour & 0xFF) / 255.0;
    const double high = std::max({r, g, b}), low = std::min({r, g, b});
    double hue = 0, saturation = 0, luminance = (high + low) / 2;
    if (high != low) {
        const double d = high - low;
        saturation = luminance > 0.5 ? d / (2 - high - low) : d / (high + low);
        if (high == r) hue = (g - b) / d + (g < b ? 6 : 0);
        else if (high == g) hue = (b - r) / d + 2;
        else hue = (r - g) / d + 4;
        hue /= 6;
    }
    luminance = tint < 0 ? luminance * (1 + tint) : luminance * (1 - tint) + tint;
    const auto channel = [](double p, double q, double t) {
        if (t < 0) t += 1;
        if (t > 1) t -= 1;
        if (t < 1.0 / 6) return p + (q - p) * 6 * t;
        if (t < 0.5) return q;
        if (t < 2.0 / 3) return p + (q - p) * (2.0 / 3 - t) * 6;
        return p;
    };
    double outR = luminance, outG = luminance, outB = luminance;
    if (saturation != 0) {
        const double q = luminance < 0.5 ? luminance * (1 + saturation) : luminance + saturation - luminance * saturation;
        const double p = 2 * luminance - q;
        outR = channel(p, q, hue + 1.0 / 3);
        outG = channel(p, q, hue);
        outB = channel(p, q, hue - 1.0 / 3);
    }
    const auto byte = [](double v) { return Rgb(std::lround(std::clamp(v, 0.0, 1.0) * 255)); };
    return (byte(outR) << 16) | (byte(outG) << 8) | byte(outB);
}

Rgb themeColour(int index, double tint, const ThemeColours& theme) {
    // Cell formats count light before dark: 0 and 1, 2 and 3 are swapped against the theme.
    static constexpr int kOrder[12] = {1, 0, 3, 2, 4, 5, 6, 7, 8, 9, 10, 11};
    if (index < 0 || index >= 12) return kAutoColour;
    return tinted(theme[size_t(kOrder[index])], tint);
}

}  // namespace kes
