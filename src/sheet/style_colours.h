#pragma once
// The colours that files name indirectly, resolved to RGB when they are read: BIFF's indexed
// palette and the theme colours of Office files, with their tints.
#include <array>
#include <cstdint>

#include "sheet/cell_styles.h"
#include "sheet/format/default_palette.h"

namespace kes {

// A workbook's palette, indexes 8..63 of a BIFF colour: the default one unless a PALETTE record
// replaces it.
using Palette = std::array<Rgb, 56>;

// A BIFF colour index: 0..7 the fixed eight, 8..63 the palette, anything else (64 the window
// text, 65 the window background, 0x7FFF automatic) kAutoColour.
Rgb paletteColour(uint16_t index, const Palette& palette = kDefaultPalette);
// The palette entry (8..63) nearest to a colour, for writers of indexed colours.
uint16_t nearestPaletteIndex(Rgb colour, const Palette& palette = kDefaultPalette);

// A theme's twelve colours in the order a theme part lists them: dk1, lt1, dk2, lt2,
// accent1..accent6, hlink, folHlink.
using ThemeColours = std::array<Rgb, 12>;
extern const ThemeColours kOfficeTheme;
// A theme colour as a cell format names it (0 lt1, 1 dk1, 2 lt2, 3 dk2, then in order),
// lightened (tint > 0) or darkened (tint < 0) the way Excel does it, in HLS; kAutoColour past 11.
Rgb themeColour(int index, double tint, const ThemeColours& theme = kOfficeTheme);
Rgb tinted(Rgb colour, double tint);

}  // namespace kes
