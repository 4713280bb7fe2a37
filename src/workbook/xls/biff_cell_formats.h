#pragma once
// The look of BIFF cell formats as the records give it: fonts (FONT, FONTCOLOR) and cell
// formats (XF) of every version, with colours still as palette indexes, since the PALETTE record
// comes after the formats that use it. Resolved into cell styles once a cell needs one.
#include <cstdint>
#include <string>
#include <string_view>

#include "sheet/cell_styles.h"
#include "sheet/style_colours.h"
#include "workbook/xls/biff_records.h"

namespace kes::biff {

constexpr uint16_t kAutoFontColour = 0x7FFF;
constexpr uint16_t kAutoLineColour = 0x40;   // the window text
constexpr uint16_t kAutoBackColour = 0x41;   // the window background

struct FontRecord {
    CellFont font;               // colour unresolved
    uint16_t colour = kAutoFontColour;
};

struct XfRecord {
    uint16_t font = 0;
    uint16_t format = 0;
    CellStyle look;             // alignment, fill pattern and border styles; no font, no format
    uint16_t patternColour = kAutoLineColour, backgroundColour = kAutoBackColour;
    uint16_t left = kAutoLineColour, right = kAutoLineColour, top = kAutoLineColour, bottom = kAutoLineColour;
};

// FONT (0x0031, 0x0231) of any version, its name given by the caller who knows the text encoding.
FontRecord readFontRecord(std::string_view data, Version version);
// Where the font's name starts in the record.
size_t fontNameOffset(Version version);
// XF (0x0043, 0x0243, 0x0443, 0x00E0) of any version.
XfRecord readXfRecord(std::string_view data, Version version);

// The cell style of a format: its look with colours resolved, its font and number format.
CellStyle resolveXf(const XfRecord& xf, const FontRecord* font, std::u16string numberFormat, const Palette& palette,
                    const DefaultFont& defaultFont);

}  // namespace kes::biff
