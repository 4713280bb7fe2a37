#pragma once
// The cell formats of an Office Open XML styles part (fonts, fills, borders, number formats and
// the alignment of each cellXfs entry), added to the workbook's cell styles with their colours
// resolved against the package's theme.
#include <cstdint>
#include <string_view>
#include <vector>

#include "sheet/cell_styles.h"
#include "sheet/style_colours.h"

namespace kes {

// The theme's colour scheme; the Office theme for a part that has none or is unreadable.
ThemeColours readThemeColours(std::string_view themeXml);

// The style index of each cellXfs entry, in file order. The first font becomes the workbook's
// default font. Throws EXmlError for markup that is not XML.
std::vector<uint16_t> readXlsxStyles(std::string_view stylesXml, const ThemeColours& theme, CellStyles& styles);

}  // namespace kes
