#include "workbook/xmlss/xml_spreadsheet_writer.h"

#include <gtest/gtest.h>

#include "sheet/calc/compile.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

TEST(XmlSpreadsheetWriter, WritesValuesTypesFormatsAndR1C1Formulas) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setText(u"12.5", 1);
    sheet.createCell(0, 1).setText(u"=A1*2", 1);
    sheet.createCell(0, 2).setText(u"2026-11-23 13:45", 1);
    sheet.createCell(1, 0).setText(u"TRUE", 1);
    sheet.createCell(1, 1).setText(u"#N/A", 1);
    sheet.createCell(1, 3).setString(u"a<b>\n\u54C1");
    CellRef priced = sheet.createCell(2, 0);
    priced.setText(u"3", 1);
    priced.setStyle(book.styles().add(CellStyle{u"0.00"}));
    sheet.createCell(3, 0).setArrayFormula(u"A1:A2*{1,2}", {0, 3, 1, 3}, false);
    sheet.createCell(3, 1).setArrayMember({0, 3, 1, 3}, false);
    sheet.createCell(5, 0).setText(u"merged", 1);
    sheet.addMergedArea({0, 5, 2, 5});
    sheet.setColumnWidth(1, 120);
    book.names().define({u"Rate", -1, u"=Sheet1!$A$1", calc::compileFormula(u"=Sheet1!$A$1")});
    std::string xml;
    SaveToStream(book, xml, SpreadSheetFormatsRepository::instance().Find(u"a.xml"));
    const auto has = [&](const std::string& part) { EXPECT_NE(xml.find(part), std::string::npos) << part; };
    has("<?mso-application progid=\"Excel.Sheet\"?>");
    has("<Column ss:Index=\"2\" ss:AutoFitWidth=\"0\" ss:Width=\"90\"/>");
    has("<Cell><Data ss:Type=\"Number\">12.5</Data></Cell><Cell ss:Formula=\"=RC[-1]*2\"><Data ss:Type=\"Number\">25</Data></Cell>");
    has("<Data ss:Type=\"DateTime\">2026-11-23T13:45:00.000</Data>");
    has("<Cell><Data ss:Type=\"Boolean\">1</Data></Cell><Cell><Data ss:Type=\"Error\">#N/A</Data></Cell>");
    has("<Cell ss:Index=\"4\"><Data ss:Type=\"String\">a&lt;b&gt;\n\xE5\x93\x81</Data></Cell>");
    has("<NumberFormat ss:Format=\"0.00\"/>");
    has("ss:ArrayRange=\"R4C1:R4C2\" ss:Formula=\"=R[-3]C:R[-2]C*{1,2}\"><Data ss:Type=\"Number\">12.5</Data>");
    has("<Cell><Data ss:Type=\"Number\">25</Data></Cell></Row>");   // the array's second element
    has("<Cell ss:MergeAcross=\"2\"><Data ss:Type=\"String\">merged</Data></Cell>");
    has("<NamedRange ss:Name=\"Rate\" ss:RefersTo=\"=Sheet1!R1C1\"/>");
}

}  // namespace
}  // namespace kes
