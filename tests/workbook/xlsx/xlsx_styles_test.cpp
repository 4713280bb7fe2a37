#include <gtest/gtest.h>

#include "workbook/xlsx/xlsx_styles_reader.h"
#include "workbook/xlsx/xlsx_styles_writer.h"
#include "workbook/xml/xml_reader.h"

namespace kes {
namespace {

// A styles part as Excel writes one: theme colours with tints, indexed colours replaced by a
// custom palette listed after the formats that use it, a gradient, formats of conditional
// formatting (dxfs) whose fonts and fills are no cell's.
constexpr std::string_view kExcelStyles = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">
<numFmts count="1"><numFmt numFmtId="176" formatCode="0.000_ "/></numFmts>
<fonts count="3">
 <font><sz val="11"/><color theme="1"/><name val="&#x5B8B;&#x4F53;"/><family val="2"/><charset val="134"/><scheme val="minor"/></font>
 <font><b/><i val="0"/><u val="double"/><sz val="14"/><color rgb="FFFF0000"/><name val="Arial"/></font>
 <font><strike/><sz val="11"/><color indexed="10"/><name val="&#x5B8B;&#x4F53;"/></font>
</fonts>
<fills count="5">
 <fill><patternFill patternType="none"/></fill>
 <fill><patternFill patternType="gray125"/></fill>
 <fill><patternFill patternType="solid"><fgColor theme="5" tint="0.59999389629810485"/><bgColor indexed="64"/></patternFill></fill>
 <fill><gradientFill degree="90"><stop position="0"><color rgb="FF92D050"/></stop><stop position="1"><color theme="0"/></stop></gradientFill></fill>
 <fill><patternFill patternType="lightGrid"><fgColor indexed="12"/><bgColor auto="1"/></patternFill></fill>
</fills>
<borders count="2">
 <border><left/><right/><top/><bottom/><diagonal/></border>
 <border><left style="thin"><color indexed="64"/></left><right style="medium"><color rgb="FF0070C0"/></right><top style="dashDot"><color theme="5" tint="-0.249977111117893"/></top><bottom style="double"><color auto="1"/></bottom><diagonal/></border>
</borders>
<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"><alignment vertical="center"/></xf></cellStyleXfs>
<cellXfs count="5">
 <xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"><alignment vertical="center"/></xf>
 <xf numFmtId="176" fontId="1" fillId="2" borderId="1" xfId="0" applyNumberFormat="1"><alignment horizontal="center" vertical="top" wrapText="1" indent="2" textRotation="255"/></xf>
 <xf numFmtId="14" fontId="2" fillId="3" borderId="0" xfId="0"/>
 <xf numFmtId="0" fontId="0" fillId="4" borderId="0" xfId="0"><alignment horizontal="right" shrinkToFit="1"/></xf>
 <xf numFmtId="0" fontId="9" fillId="9" borderId="9" xfId="0"/>
</cellXfs>
<cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles>
<dxfs count="1"><dxf><font><b/><color rgb="FF9C0006"/></font><fill><patternFill><bgColor rgb="FFFFC7CE"/></patternFill></fill></dxf></dxfs>
<colors><indexedColors>
 <rgbColor rgb="FF000000"/><rgbColor rgb="FFFFFFFF"/><rgbColor rgb="FFFF0000"/><rgbColor rgb="FF00FF00"/>
 <rgbColor rgb="FF0000FF"/><rgbColor rgb="FFFFFF00"/><rgbColor rgb="FFFF00FF"/><rgbColor rgb="FF00FFFF"/>
 <rgbColor rgb="FF000000"/><rgbColor rgb="FFFFFFFF"/><rgbColor rgb="FF123456"/>
</indexedColors></colors>
</styleSheet>)";

TEST(XlsxStyles, ReadsExcelsCellFormatsWithEveryColourResolved) {
    CellStyles styles;
    const std::vector<uint16_t> xfs = readXlsxStyles(kExcelStyles, kOfficeTheme, styles);
    ASSERT_EQ(xfs.size(), 5u);
    EXPECT_EQ(styles.defaultFont(), (DefaultFont{u"\u5B8B\u4F53", 220}));

    // The first format, in the default font and only vertically centred.
    CellStyle first;
    first.vertical = VerticalAlignment::Center;
    first.font.colour = 0x000000;   // dk1
    EXPECT_EQ(styles[xfs[0]], first);

    CellStyle second;
    second.numberFormat = u"0.000_ ";
    second.font = {u"Arial", 280, true, false, false, Underline::Double, 0xFF0000};
    second.pattern = kPatternSolid;
    second.patternColour = 0xF8CBAD;   // Accent 2, lighter 60%
    second.left = {BorderStyle::Thin, kAutoColour};
    second.right = {BorderStyle::Medium, 0x0070C0};
    second.top = {BorderStyle::DashDot, 0xC55A11};
    second.bottom = {BorderStyle::Double, kAutoColour};
    second.horizontal = HorizontalAlignment::Center;
    second.vertical = VerticalAlignment::Top;
    second.wrap = true;
    second.indent = 2;
    second.rotation = 255;
    EXPECT_EQ(styles[xfs[1]], second);

    const CellStyle& third = styles[xfs[2]];
    EXPECT_EQ(third.numberFormat, u"yyyy/m/d");
    EXPECT_TRUE(third.font.name.empty()) << "the default font's name is left to the default";
    EXPECT_TRUE(third.font.strike);
    EXPECT_EQ(third.font.colour, 0x123456u) << "indexed 10 from the file's own palette";
    EXPECT_EQ(third.fillColour(), 0x92D050u) << "a gradient shows in its first colour";

    const CellStyle& fourth = styles[xfs[3]];
    EXPECT_EQ(fourth.pattern, 15);   // lightGrid
    EXPECT_EQ(fourth.patternColour, 0x0000FFu);
    EXPECT_EQ(fourth.horizontal, HorizontalAlignment::Right);
    EXPECT_TRUE(fourth.shrinkToFit);

    // Ids beyond the lists fall back to the defaults rather than failing the file.
    EXPECT_EQ(styles[xfs[4]], CellStyle{});
}

TEST(XlsxStyles, ThemePartsGiveTheirOwnColoursAndDamagedOnesTheOfficeTheme) {
    const std::string theme =
        R"(<a:theme xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"><a:themeElements><a:clrScheme name="Office">)"
        R"(<a:dk1><a:sysClr val="windowText" lastClr="000000"/></a:dk1><a:lt1><a:sysClr val="window" lastClr="FFFFFF"/></a:lt1>)"
        R"(<a:dk2><a:srgbClr val="1F497D"/></a:dk2><a:lt2><a:srgbClr val="EEECE1"/></a:lt2><a:accent1><a:srgbClr val="4F81BD"/></a:accent1>)"
        R"(</a:clrScheme><a:fontScheme name="x"><a:majorFont><a:latin typeface="Cambria"/></a:majorFont></a:fontScheme></a:themeElements></a:theme>)";
    const ThemeColours colours = readThemeColours(theme);
    EXPECT_EQ(colours[2], 0x1F497Du);
    EXPECT_EQ(colours[4], 0x4F81BDu);
    EXPECT_EQ(colours[5], kOfficeTheme[5]) << "slots the theme leaves out keep the Office colours";
    EXPECT_EQ(themeColour(4, 0, colours), 0x4F81BDu);
    EXPECT_EQ(readThemeColours("<a:theme><a:dk2><a:srgbClr val=\"1F497D\"/>"), kOfficeTheme);
}

// Excel refuses a styles part whose first two fills are not none and gray125, and counts must
// match their lists.
TEST(XlsxStyles, WrittenPartsKeepExcelsFixedEntriesAndCounts) {
    CellStyles styles;
    CellStyle filled;
    filled.pattern = kPatternSolid;
    filled.patternColour = 0x00FF00;
    filled.font.bold = true;
    styles.add(filled);
    const std::string xml = xlsxStylesPart(styles);
    XmlReader reader(xml);
    std::vector<std::string> fills;
    int fontsCount = -1, fonts = 0, xfsCount = -1, xfs = 0;
    bool inCellXfs = false;
    std::string_view value;
    for (XmlReader::Token t; (t = reader.next()) != XmlReader::Token::End;) {
        if (t == XmlReader::Token::EndElement && reader.name() == "cellXfs") inCellXfs = false;
        if (t != XmlReader::Token::StartElement) continue;
        if (reader.name() == "patternFill" && reader.attribute("patternType", value)) fills.emplace_back(value);
        if (reader.name() == "fonts" && reader.attribute("count", value)) fontsCount = std::stoi(std::string(value));
        if (reader.name() == "font") ++fonts;
        if (reader.name() == "cellXfs" && reader.attribute("count", value)) xfsCount = std::stoi(std::string(value)), inCellXfs = true;
        if (reader.name() == "xf" && inCellXfs) ++xfs;
    }
    ASSERT_GE(fills.size(), 3u);
    EXPECT_EQ(fills[0], "none");
    EXPECT_EQ(fills[1], "gray125");
    EXPECT_EQ(fontsCount, fonts);
    EXPECT_EQ(fonts, 2);
    EXPECT_EQ(xfsCount, 2);
    EXPECT_EQ(xfs, 2);
}

}  // namespace
}  // namespace kes
