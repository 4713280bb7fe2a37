#include "workbook/xls/biff_cell_formats.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kes::biff {
namespace {

std::string bytes(std::initializer_list<uint8_t> list) { return std::string(list.begin(), list.end()); }

// The same look (centred, wrapped, a thin red top line, a solid yellow fill, font 5, format 14)
// as each version packs it into its XF record.
TEST(BiffCellFormats, EachVersionsXfRecordGivesTheSameLook) {
    struct Case {
        Version version;
        std::string record;
        bool vertical;   // the version keeps a vertical alignment (top here)
    };
    const Case cases[] = {
        // BIFF3 and BIFF4: font, format, type, used, alignment; a fill word of pattern, foreground
        // (5, yellow) and background (25, the window's) in five bits each; the top line and its
        // colour (2, red) in the low bits of the border dword.
        {Version::Biff3, bytes({5, 14, 0, 0, 0x0A, 0, 0x41, 0xC9, 0x11, 0, 0, 0}), false},
        {Version::Biff4, bytes({5, 14, 0, 0, 0x1A, 0, 0x41, 0xC9, 0x11, 0, 0, 0}), true},
        // BIFF5: words of font and format, type, alignment byte, orientation, then fill and
        // bottom line in one dword and the other lines in another.
        {Version::Biff5, bytes({5, 0, 14, 0, 0, 0, 0x1A, 0, 13, 0x20, 0x01, 0, 0x01, 0x14, 0, 0}), true},
        // BIFF8: alignment, rotation, indent, used; lines and their colours; pattern; fill colours.
        {Version::Biff8, bytes({5, 0, 14, 0, 0, 0, 0x1A, 0, 0, 0, 0x00, 0x01, 0, 0, 0x0A, 0, 0, 0x04, 13, 0x20}), true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int(c.version));
        const XfRecord xf = readXfRecord(c.record, c.version);
        EXPECT_EQ(xf.font, 5);
        EXPECT_EQ(xf.format, 14);
        const CellStyle style = resolveXf(xf, nullptr, u"", kDefaultPalette, DefaultFont{});
        EXPECT_EQ(style.horizontal, HorizontalAlignment::Center);
        EXPECT_TRUE(style.wrap);
        EXPECT_EQ(style.vertical, c.vertical ? VerticalAlignment::Top : VerticalAlignment::Bottom);
        EXPECT_EQ(style.top, (BorderLine{BorderStyle::Thin, 0xFF0000}));
        EXPECT_EQ(style.fillColour(), 0xFFFF00u);
    }
}

TEST(BiffCellFormats, FontRecordsOfOldAndNewVersions) {
    std::string modern = bytes({0xF0, 0, 0x0A, 0, 10, 0, 0xBC, 0x02, 0, 0, 0x22, 0, 0, 0});
    const FontRecord font8 = readFontRecord(modern, Version::Biff8);
    EXPECT_EQ(font8.font.size, 240);
    EXPECT_TRUE(font8.font.italic);
    EXPECT_TRUE(font8.font.strike);
    EXPECT_TRUE(font8.font.bold);   // weight 700
    EXPECT_EQ(font8.font.underline, Underline::DoubleAccounting);
    EXPECT_EQ(font8.colour, 10);
    const FontRecord font2 = readFontRecord(bytes({0xC8, 0, 0x05, 0}), Version::Biff2);
    EXPECT_TRUE(font2.font.bold);
    EXPECT_EQ(font2.font.underline, Underline::Single);
    EXPECT_EQ(font2.colour, kAutoFontColour);
    EXPECT_THROW(readFontRecord(bytes({0xC8}), Version::Biff8), ESpreadSheetReaderError);
    EXPECT_THROW(readXfRecord(bytes({0, 0, 0, 0}), Version::Biff8), ESpreadSheetReaderError);
}

}  // namespace
}  // namespace kes::biff
