#include <gtest/gtest.h>

#include "sheet/cell_formula.h"
#include "workbook/workbook_files.h"
#include "workbook/xml/xml_reader.h"
#include "workbook/zip/zip_reader.h"

namespace kes {
namespace {

const SpreadSheetFormat& xlsx() { return *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"); }

std::string partOf(const std::string& package, const char* name) {
    const ZipReader zip(package);
    return zip.extract(*zip.find(name));
}

TEST(XlsxWriter, WritesWhatTheReaderReadsBack) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    const std::u16string texts[] = {u"\u54C1\u540D", u"  spaced  ", u"line1\r\nline2", u"a&b<c>\"d\"", u"_x0041_ stays", u"\x01\x1F ctl"};
    for (int32_t i = 0; i < int32_t(std::size(texts)); ++i) sheet.createCell(i, 0).setString(texts[i]);
    sheet.createCell(0, 1).setText(u"6901234567890", 1);
    sheet.createCell(1, 1).setText(u"0.1", 1);
    sheet.createCell(2, 1).setText(u"2026-11-22", 1);
    sheet.createCell(3, 1).setText(u"TRUE", 1);
    sheet.createCell(4, 1).setText(u"#DIV/0!", 1);
    sheet.createCell(5, 1).setText(u"=SUM(B1:B2)*2", 1);
    sheet.createCell(6, 1).setValue(CellValue::makeInteger(-42));
    CellRef styled = sheet.createCell(7, 1);
    styled.setStyle(book.styles().add(CellStyle{u"0000000"}));
    sheet.createCell(8, 2).setStyle(book.styles().add(CellStyle{u"@"}));   // a style and no value
    sheet.setColumnWidth(0, 180);
    book.addSheet(u"\u7B2C\u4E8C\u9875 & more").createCell(0, 0).setString(u"\u54C1\u540D");

    std::string package;
    SaveToStream(book, package, &xlsx());
    Workbook loaded;
    ByteStream stream{package, 0};
    LoadFromStream(loaded, stream);   // by content: the package must be taken for a workbook

    ASSERT_EQ(loaded.sheetCount(), 2);
    EXPECT_EQ(loaded.sheet(1).name(), u"\u7B2C\u4E8C\u9875 & more");
    SheetTable& back = loaded.sheet(0);
    for (int32_t i = 0; i < int32_t(std::size(texts)); ++i) EXPECT_EQ(back.getCell(i, 0).asString(), texts[i]) << i;
    EXPECT_EQ(back.getCell(0, 1).displayText(), u"6901234567890");
    EXPECT_EQ(back.getCell(1, 1).asFloat(), 0.1);
    EXPECT_EQ(back.getCell(2, 1).asFloat(), 46348.0);
    EXPECT_EQ(back.getCell(3, 1).dataType(), cdtBoolean);
    EXPECT_EQ(back.getCell(4, 1).displayText(), u"#DIV/0!");
    EXPECT_EQ(back.getCell(5, 1).formulaText(), u"=SUM(B1:B2)*2");
    EXPECT_EQ(back.getCell(6, 1).asFloat(), -42.0);
    EXPECT_EQ(back.getCell(8, 2).numberFormat(), u"@");
    EXPECT_EQ(back.getCell(8, 2).dataType(), cdtBlank);
    EXPECT_EQ(back.columnWidth(0), 180);
}

// Merged areas go right after sheetData, where Excel expects them, and come back as they were.
TEST(XlsxWriter, MergedAreasFollowTheSheetDataAndReadBack) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setString(u"\u51FA\u5E93\u5355");   // 出库单
    const std::vector<CellRect> areas = {{0, 0, 11, 0}, {26, 2, 27, 5}, {16382, 1048575, 16383, 1048575}};
    for (const CellRect& area : areas) ASSERT_TRUE(sheet.addMergedArea(area));
    book.addSheet(u"Plain").createCell(0, 0).setString(u"x");
    std::string package;
    SaveToStream(book, package, &xlsx());

    const std::string worksheet = partOf(package, "xl/worksheets/sheet1.xml");
    EXPECT_NE(worksheet.find("</sheetData><mergeCells count=\"3\"><mergeCell ref=\"A1:L1\"/><mergeCell ref=\"AA3:AB6\"/>"
                             "<mergeCell ref=\"XFC1048576:XFD1048576\"/></mergeCells></worksheet>"),
              std::string::npos)
        << worksheet;
    EXPECT_EQ(partOf(package, "xl/worksheets/sheet2.xml").find("mergeCells"), std::string::npos)
        << "a sheet without merges has no empty mergeCells, which Excel repairs";

    Workbook loaded;
    ByteStream stream{package, 0};
    LoadFromStream(loaded, stream);
    EXPECT_EQ(loaded.sheet(0).mergedAreas(), areas);
    EXPECT_TRUE(loaded.sheet(1).mergedAreas().empty());
    EXPECT_EQ(loaded.sheet(0).getCell(0, 0).asString(), u"\u51FA\u5E93\u5355");
}

TEST(XlsxWriter, SharesEqualTextsAndWritesEveryCellAsSpecified) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setString(u"same");
    sheet.createCell(1, 0).setString(u"same");
    sheet.createCell(1, 1).setText(u"2026-11-22", 1);
    sheet.createCell(1, 2).setText(u"=A1", 1);
    sheet.createCell(2, 27).setStyle(book.styles().add(CellStyle{u"0.00"}));
    std::string package;
    SaveToStream(book, package, &xlsx());

    const std::string strings = partOf(package, "xl/sharedStrings.xml");
    EXPECT_NE(strings.find("uniqueCount=\"1\""), std::string::npos) << strings;
    const std::string worksheet = partOf(package, "xl/worksheets/sheet1.xml");
    EXPECT_NE(worksheet.find("<c r=\"A2\" s=\"0\" t=\"s\"><v>0</v></c>"), std::string::npos) << worksheet;
    EXPECT_NE(worksheet.find("<c r=\"B2\" s=\"0\" t=\"n\"><v>46348</v></c>"), std::string::npos) << worksheet;
    EXPECT_NE(worksheet.find("<c r=\"C2\" s=\"0\" t=\"str\"><f>A1</f></c>"), std::string::npos) << worksheet;
    EXPECT_NE(worksheet.find("<c r=\"AB3\" s=\"1\"/>"), std::string::npos) << worksheet;
    EXPECT_NE(partOf(package, "docProps/app.xml").find("KesDataPrint"), std::string::npos);
    std::string workbook = partOf(package, "[Content_Types].xml");
    EXPECT_NE(workbook.find("spreadsheetml.sheet.main"), std::string::npos);

    std::string templatePackage;
    SaveToStream(book, templatePackage, SpreadSheetFormatsRepository::instance().Find(u"a.xltx"));
    EXPECT_NE(partOf(templatePackage, "[Content_Types].xml").find("spreadsheetml.template.main"), std::string::npos);
}

}  // namespace
}  // namespace kes
