#include "sheet/style_colours.h"

#include <gtest/gtest.h>

#include "sheet/cell_styles.h"
#include "sheet/sheet_error.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

// Colours as Excel's colour picker shows them for the Office theme's tints.
TEST(StyleColours, ThemeColoursWithTintsAreExcels) {
    struct Case { int theme; double tint; Rgb expected; };
    const Case cases[] = {
        {0, 0, 0xFFFFFF},                      // lt1 comes first in cell formats
        {1, 0, 0x000000},                      // dk1 second
        {2, 0, 0xE7E6E6},
        {3, 0, 0x44546A},
        {4, 0, 0x5B9BD5},
        {1, 0.499984740745262, 0x7F7F7F},      // Text 1, lighter 50%
        {5, 0.5999938962981048, 0xF8CBAD},     // Accent 2, lighter 60%
        {9, -0.249977111117893, 0x548235},     // Accent 6, darker 25%
        {0, -0.1499984740745262, 0xD9D9D9},    // Background 1, darker 15%
        {12, 0, kAutoColour},
        {-1, 0, kAutoColour},
    };
    for (const Case& c : cases) EXPECT_EQ(themeColour(c.theme, c.tint), c.expected) << c.theme << " " << c.tint;
}

TEST(StyleColours, PaletteIndexesAndNearestEntries) {
    EXPECT_EQ(paletteColour(2), 0xFF0000u);        // the fixed eight
    EXPECT_EQ(paletteColour(8), 0x000000u);        // the palette proper
    EXPECT_EQ(paletteColour(22), 0xC0C0C0u);
    EXPECT_EQ(paletteColour(64), kAutoColour);     // window text
    EXPECT_EQ(paletteColour(0x7FFF), kAutoColour);
    Palette custom = kDefaultPalette;
    custom[22 - 8] = 0x123456;
    EXPECT_EQ(paletteColour(22, custom), 0x123456u);
    EXPECT_EQ(nearestPaletteIndex(0xFE0101), 10);  // red
    EXPECT_EQ(nearestPaletteIndex(0x123457, custom), 22);
}

TEST(CellStyles, EqualLooksShareOneIndexAndEveryFieldTellsStylesApart) {
    CellStyles styles;
    const auto variant = [](int which) {
        CellStyle s;
        switch (which) {
        case 0: s.font.bold = true; break;
        case 1: s.font.italic = true; break;
        case 2: s.font.underline = Underline::Double; break;
        case 3: s.font.colour = 0xFF0000; break;
        case 4: s.font.name = u"\u5B8B\u4F53"; break;
        case 5: s.font.size = 240; break;
        case 6: s.pattern = kPatternSolid; s.patternColour = 0xFFFF00; break;
        case 7: s.left.style = BorderStyle::Thin; break;
        case 8: s.bottom = {BorderStyle::Double, 0x0000FF}; break;
        case 9: s.horizontal = HorizontalAlignment::Center; break;
        case 10: s.vertical = VerticalAlignment::Top; break;
        case 11: s.wrap = true; break;
        case 12: s.indent = 2; break;
        case 13: s.rotation = 90; break;
        case 14: s.numberFormat = u"0.00"; break;
        case 15: s.font.strike = true; break;
        }
        return s;
    };
    std::vector<uint16_t> indexes;
    for (int i = 0; i < 16; ++i) indexes.push_back(styles.add(variant(i)));
    for (int i = 0; i < 16; ++i) {
        EXPECT_NE(indexes[size_t(i)], CellStyles::kDefault) << i;
        EXPECT_EQ(styles.add(variant(i)), indexes[size_t(i)]) << i;
        EXPECT_EQ(styles[indexes[size_t(i)]], variant(i)) << i;
    }
    EXPECT_EQ(styles.size(), 17u);
    styles.setDefaultFont({u"Arial", 200});
    EXPECT_EQ(styles.fontName(CellFont{}), u"Arial");
    EXPECT_EQ(styles.fontSize(variant(5).font), 240);
    styles.clear();
    EXPECT_EQ(styles.size(), 1u);
    EXPECT_EQ(styles.defaultFont(), DefaultFont{});
}

TEST(SheetTable, RowHeightsAndHiddenRowsAndColumnsAreSparse) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.setRowHeight(999999, 40);
    sheet.setRowHidden(5, true);
    sheet.setColumnHidden(3, true);
    sheet.setRowHeight(7, 100000);   // beyond Excel's limit: kept at the limit
    EXPECT_EQ(sheet.rowHeight(999999), 40);
    EXPECT_EQ(sheet.rowHeight(999998), SheetTable::kDefaultRowHeight);
    EXPECT_EQ(sheet.rowHeight(7), SheetTable::kMaxRowHeight);
    EXPECT_TRUE(sheet.rowHidden(5));
    EXPECT_FALSE(sheet.rowHidden(6));
    EXPECT_TRUE(sheet.columnHidden(3));
    EXPECT_FALSE(sheet.columnHidden(2));
    EXPECT_EQ(sheet.columnWidth(3), sheet.defaultColumnWidth);
    // A row's height stays when its last cell goes.
    sheet.createCell(999999, 0).setString(u"x");
    sheet.deleteCell(999999, 0);
    EXPECT_EQ(sheet.rowHeight(999999), 40);
}

}  // namespace
}  // namespace kes
