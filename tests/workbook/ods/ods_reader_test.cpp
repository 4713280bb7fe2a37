#include "workbook/ods/ods_reader.h"

#include <gtest/gtest.h>

#include "sheet/sheet_bounds.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"
#include "workbook/zip/zip_writer.h"

namespace kes {
namespace {

// An OpenDocument package around the body of one content.xml, as LibreOffice lays it out.
std::string package(const std::string& body, const std::string& automaticStyles = "",
                    const std::string& mimetype = "application/vnd.oasis.opendocument.spreadsheet",
                    const std::string& settings = "") {
    ZipWriter zip;
    if (!mimetype.empty()) zip.add("mimetype", mimetype);
    zip.add("styles.xml",
            "<office:document-styles xmlns:office=\"o\" xmlns:style=\"s\" xmlns:number=\"n\"><office:styles>"
            "<number:number-style style:name=\"N4\"><number:number number:decimal-places=\"2\" number:min-integer-digits=\"1\" "
            "number:grouping=\"true\"/></number:number-style>"
            "<style:style style:name=\"Grouped\" style:family=\"table-cell\" style:data-style-name=\"N4\"/>"
            "</office:styles></office:document-styles>");
    zip.add("content.xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content xmlns:office=\"o\" xmlns:table=\"t\" "
            "xmlns:text=\"x\" xmlns:style=\"s\" xmlns:number=\"n\" xmlns:calcext=\"c\" xmlns:fo=\"f\">"
            "<office:automatic-styles>" + automaticStyles + "</office:automatic-styles>"
            "<office:body><office:spreadsheet>" + body + "</office:spreadsheet></office:body></office:document-content>");
    if (!settings.empty()) zip.add("settings.xml", settings);
    return zip.finish();
}

std::string table(const std::string& name, const std::string& rows) {
    return "<table:table table:name=\"" + name + "\"><table:table-column table:number-columns-repeated=\"16384\"/>" + rows +
           "</table:table>";
}

std::string cell(const std::string& attributes, const std::string& text = "") {
    return "<table:table-cell " + attributes + ">" + (text.empty() ? "" : "<text:p>" + text + "</text:p>") + "</table:table-cell>";
}

Workbook& load(Workbook& book, const std::string& bytes) {
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);   // by content: the package says what it is
    return book;
}

std::u16string shown(Workbook& book, int sheet, int32_t row, int32_t column) {
    const CellRef c = book.sheet(sheet).getCell(row, column);
    return c ? c.displayText() : u"(none)";
}

TEST(OdsReader, TurnsOpenFormulasIntoTheGridsFormulas) {
    const struct { const char16_t* open; const char16_t* grid; } cases[] = {
        {u"of:=SUM([.A1:.B2];[.C3])", u"SUM(A1:B2,C3)"},
        {u"of:=[$Sheet2.$A$1]&\"x;y\"", u"'Sheet2'!$A$1&\"x;y\""},
        {u"of:=['My ''sheet'''.A1:.B2]", u"'My ''sheet'''!A1:B2"},
        {u"of:=SUM([$First.A1:$Third.A1])", u"SUM('First:Third'!A1:A1)"},
        {u"of:=SUM([.A:.A])+[.#REF!]", u"SUM(A:A)+#REF!"},
        {u"of:=IF(ISERROR([.A1]);#N/A;{1;2|3;4})", u"IF(ISERROR(A1),#N/A,{1,2;3,4})"},
        {u"oooc:=[.A1]*2", u"A1*2"},
        {u"msoxl:=A1+B1", u"A1+B1"},
        {u"=1+1", u"1+1"},
    };
    for (const auto& c : cases) EXPECT_EQ(formulaOfOpenFormula(c.open), std::u16string(c.grid)) << std::string(c.open, c.open + 12);
    for (const char16_t* bad : {u"of:SUM(1)", u"of:=\"open", u"of:=[.A1", u"of:=[$'x.A1]", u"xx:=1"})
        EXPECT_FALSE(formulaOfOpenFormula(bad));
}

TEST(OdsReader, ReadsValuesTextsAndRepeatsAsLibreOfficeWritesThem) {
    const std::string styles =
        "<number:date-style style:name=\"N49\"><number:year number:style=\"long\"/><number:text>-</number:text>"
        "<number:month number:style=\"long\"/><number:text>-</number:text><number:day number:style=\"long\"/></number:date-style>"
        "<number:percentage-style style:name=\"N11\"><number:number number:decimal-places=\"1\" number:min-integer-digits=\"1\"/>"
        "<number:text>%</number:text></number:percentage-style>"
        "<number:currency-style style:name=\"N6P0\"><number:currency-symbol>\xC2\xA5</number:currency-symbol>"
        "<number:number number:decimal-places=\"2\" number:min-integer-digits=\"1\" number:grouping=\"true\"/></number:currency-style>"
        "<number:currency-style style:name=\"N6\"><style:text-properties fo:color=\"#ff0000\"/><number:text>-</number:text>"
        "<number:currency-symbol>\xC2\xA5</number:currency-symbol><number:number number:decimal-places=\"2\" "
        "number:min-integer-digits=\"1\" number:grouping=\"true\"/><style:map style:condition=\"value()&gt;=0\" "
        "style:apply-style-name=\"N6P0\"/></number:currency-style>"
        "<style:style style:name=\"ce1\" style:family=\"table-cell\" style:data-style-name=\"N49\"/>"
        "<style:style style:name=\"ce2\" style:family=\"table-cell\" style:data-style-name=\"N11\"/>"
        "<style:style style:name=\"ce3\" style:family=\"table-cell\" style:data-style-name=\"N6\"/>"
        "<style:style style:name=\"ce4\" style:family=\"table-cell\" style:parent-style-name=\"Grouped\"/>";
    const std::string rows =
        "<table:table-row>" + cell("office:value-type=\"string\"", "<text:s text:c=\"2\"/>two  spaces <text:s/>") +
        cell("office:value-type=\"string\"", "0012345</text:p><text:p>line 2") +
        cell("office:value-type=\"float\" office:value=\"6901234567890\"", "6.9E+12") +
        cell("office:value-type=\"boolean\" office:boolean-value=\"true\"", "TRUE") +
        cell("office:value-type=\"float\" office:value=\"0\" calcext:value-type=\"error\"", "#DIV/0!") +
        "<table:table-cell office:value-type=\"string\"><office:annotation><text:p>note</text:p></office:annotation>"
        "<text:p>a<text:span>b</text:span><text:tab/>c<text:line-break/>d</text:p></table:table-cell></table:table-row>"
        "<table:table-row>" + cell("table:style-name=\"ce1\" office:value-type=\"date\" office:date-value=\"2026-11-22\"") +
        cell("office:value-type=\"date\" office:date-value=\"2026-11-22T13:45:10\"") +
        cell("office:value-type=\"time\" office:time-value=\"PT13H45M00S\"") +
        cell("table:style-name=\"ce2\" office:value-type=\"percentage\" office:value=\"0.125\"") +
        cell("table:style-name=\"ce3\" office:value-type=\"currency\" office:value=\"-1234.5\"") +
        cell("table:style-name=\"ce4\" office:value-type=\"float\" office:value=\"1234.5\"") + "</table:table-row>"
        "<table:table-row table:number-rows-repeated=\"3\">" + cell("table:number-columns-repeated=\"2\"") +
        cell("table:number-columns-repeated=\"2\" office:value-type=\"float\" office:value=\"7\"") +
        "<table:table-cell table:number-columns-repeated=\"16380\"/></table:table-row>"
        "<table:table-row table:number-rows-repeated=\"1048569\"><table:table-cell table:number-columns-repeated=\"16384\"/>"
        "</table:table-row>";
    Workbook book;
    load(book, package(table("First", rows) + table("第二页", "<table:table-row>" + cell("office:value-type=\"string\"", "x") +
                                                                  "</table:table-row>"), styles));
    ASSERT_EQ(book.sheetCount(), 2);
    EXPECT_EQ(book.sheet(1).name(), u"第二页");
    EXPECT_EQ(shown(book, 0, 0, 0), u"  two spaces  ") << "white space runs count once, text:s as written";
    EXPECT_EQ(shown(book, 0, 0, 1), u"0012345\nline 2") << "a text keeps its zeros; paragraphs are lines";
    EXPECT_EQ(book.sheet(0).getCell(0, 2).dataType(), cdtFloat);
    EXPECT_EQ(shown(book, 0, 0, 2), u"6901234567890");
    EXPECT_EQ(book.sheet(0).getCell(0, 3).dataType(), cdtBoolean);
    EXPECT_EQ(shown(book, 0, 0, 4), u"#DIV/0!");
    EXPECT_EQ(shown(book, 0, 0, 5), u"ab\tc\nd") << "annotations are not the cell's text";
    EXPECT_EQ(shown(book, 0, 1, 0), u"2026-11-22") << "the date style's format";
    EXPECT_EQ(book.sheet(0).getCell(1, 0).value().number, 46348);
    EXPECT_EQ(shown(book, 0, 1, 1), u"2026-11-22 13:45:10") << "a date without a style shows as its peers show it";
    EXPECT_EQ(shown(book, 0, 1, 2), u"13:45:00");
    EXPECT_NEAR(book.sheet(0).getCell(1, 2).value().number, (13 * 60 + 45) / 1440.0, 1e-12);
    EXPECT_EQ(shown(book, 0, 1, 3), u"12.5%");
    EXPECT_EQ(shown(book, 0, 1, 4), u"-\u00A51,234.50") << "the negative section the map leaves";
    EXPECT_EQ(shown(book, 0, 1, 5), u"1,234.50") << "a data style through the parent style";
    for (int32_t row = 2; row <= 4; ++row) {
        EXPECT_FALSE(book.sheet(0).getCell(row, 1)) << "empty repeated cells make nothing";
        EXPECT_EQ(shown(book, 0, row, 2), u"7");
        EXPECT_EQ(shown(book, 0, row, 3), u"7");
    }
    EXPECT_EQ(book.sheet(0).rows().last()->index, 4) << "the trailing empty rows make nothing";
}

TEST(OdsReader, ReadsFormulasSpansThe1904SystemAndTheActiveTable) {
    const std::string first =
        "<table:table-row>" + cell("office:value-type=\"float\" office:value=\"2\"") +
        cell("table:formula=\"of:=[.A1]*[$Second.A1]\" office:value-type=\"float\" office:value=\"0\"") +
        cell("table:formula=\"of:=1+*\" office:value-type=\"float\" office:value=\"42\"") +
        cell("office:value-type=\"string\" table:number-columns-spanned=\"2\" table:number-rows-spanned=\"2\"", "merged") +
        "<table:covered-table-cell/>" + cell("office:value-type=\"date\" office:date-value=\"1904-01-02\"") + "</table:table-row>";
    const std::string second = "<table:table-row>" + cell("office:value-type=\"float\" office:value=\"21\"") + "</table:table-row>";
    const std::string settings =
        "<office:document-settings xmlns:office=\"o\" xmlns:config=\"c\"><config:config-item-set>"
        "<config:config-item config:name=\"ActiveTable\" config:type=\"string\">Second</config:config-item>"
        "</config:config-item-set></office:document-settings>";
    Workbook book;
    load(book, package("<table:calculation-settings><table:null-date table:date-value=\"1904-01-01\"/></table:calculation-settings>" +
                           table("First", first) + table("Second", second),
                       "", "application/vnd.oasis.opendocument.spreadsheet", settings));
    EXPECT_EQ(book.sheet(0).getCell(0, 1).formulaText(), u"=A1*Second!A1");
    EXPECT_EQ(shown(book, 0, 0, 1), u"42") << "computed, not the file's stale result";
    EXPECT_EQ(shown(book, 0, 0, 2), u"#NAME?") << "a formula the grid cannot read stays a formula";
    EXPECT_EQ(book.sheet(0).getCell(0, 2).formulaText(), u"=1+*");
    ASSERT_EQ(book.sheet(0).mergedAreas().size(), 1u);
    EXPECT_EQ(book.sheet(0).mergedAreas()[0], (CellRect{3, 0, 4, 1}));
    EXPECT_TRUE(book.settings().date1904);
    EXPECT_EQ(book.sheet(0).getCell(0, 5).value().number, 1) << "counted from 1904-01-01";
    EXPECT_EQ(shown(book, 0, 0, 6), u"(none)") << "the covered cell moves the next one along";
    EXPECT_EQ(book.activeSheetIndex(), 1);
}

// Automatic styles as LibreOffice writes them: a cell style over a parent, with its table-cell,
// paragraph and text properties; row styles with heights; collapsed rows and columns.
TEST(OdsReader, ReadsCellLooksRowHeightsAndHiddenRowsAndColumns) {
    const std::string styles =
        "<style:style style:name=\"Base\" style:family=\"table-cell\"><style:text-properties style:font-name=\"Arial\" "
        "fo:font-size=\"14pt\" fo:color=\"#c00000\"/></style:style>"
        "<style:style style:name=\"ce1\" style:family=\"table-cell\" style:parent-style-name=\"Base\">"
        "<style:table-cell-properties fo:background-color=\"#ffff00\" fo:border=\"0.74pt solid #000000\" "
        "fo:border-bottom=\"2.49pt solid #0070c0\" fo:wrap-option=\"wrap\" style:vertical-align=\"top\"/>"
        "<style:paragraph-properties fo:text-align=\"center\"/>"
        "<style:text-properties fo:font-weight=\"bold\" fo:font-style=\"italic\" style:text-underline-style=\"solid\"/>"
        "</style:style>"
        "<style:style style:name=\"ce2\" style:family=\"table-cell\"><style:table-cell-properties fo:border=\"none\"/>"
        "</style:style>"
        "<style:style style:name=\"ro1\" style:family=\"table-row\"><style:table-row-properties style:row-height=\"0.5in\" "
        "style:use-optimal-row-height=\"false\"/></style:style>";
    const std::string body =
        "<table:table table:name=\"S\"><table:table-column table:number-columns-repeated=\"2\"/>"
        "<table:table-column table:visibility=\"collapsed\"/><table:table-column table:number-columns-repeated=\"16381\"/>"
        "<table:table-row table:style-name=\"ro1\">" + cell("table:style-name=\"ce1\"", "x") + cell("table:style-name=\"ce1\"") +
        cell("table:style-name=\"ce2\"", "plain") + "</table:table-row>"
        "<table:table-row table:visibility=\"collapsed\">" + cell("", "hidden") + "</table:table-row>"
        "<table:table-row table:number-rows-repeated=\"1048574\">" + cell("table:number-columns-repeated=\"16384\"") +
        "</table:table-row></table:table>";
    Workbook book;
    load(book, package(body, styles));
    SheetTable& sheet = book.sheet(0);
    CellStyle expected;
    expected.font = {u"Arial", 280, true, true, false, Underline::Single, 0xC00000};
    expected.pattern = kPatternSolid;
    expected.patternColour = 0xFFFF00;
    expected.left = expected.right = expected.top = {BorderStyle::Thin, 0x000000};
    expected.bottom = {BorderStyle::Thick, 0x0070C0};
    expected.wrap = true;
    expected.vertical = VerticalAlignment::Top;
    expected.horizontal = HorizontalAlignment::Center;
    EXPECT_EQ(book.styles()[sheet.getCell(0, 0).style()], expected);
    ASSERT_TRUE(sheet.getCell(0, 1)) << "a styled blank is kept";
    EXPECT_EQ(sheet.getCell(0, 1).style(), sheet.getCell(0, 0).style());
    EXPECT_EQ(sheet.getCell(0, 2).style(), CellStyles::kDefault) << "a style that changes nothing is the default";
    EXPECT_EQ(sheet.rowHeight(0), 48);
    EXPECT_TRUE(sheet.rowHidden(1));
    EXPECT_FALSE(sheet.rowHidden(2));
    EXPECT_TRUE(sheet.columnHidden(2));
    EXPECT_FALSE(sheet.columnHidden(1));
    EXPECT_FALSE(sheet.getRow(5)) << "the sheet's empty tail makes no rows";
}

TEST(OdsReader, RefusesWhatItCannotReadKeepingTheWorkbook) {
    const std::string hostile =
        "<table:table-row table:number-rows-repeated=\"1048576\">"
        "<table:table-cell table:number-columns-repeated=\"16384\" office:value-type=\"float\" office:value=\"1\"/></table:table-row>";
    struct Case { std::string bytes; const char* error; };
    const Case cases[] = {
        {package(table("S", hostile)), "repeats its cells more than"},
        {package(table("S", "<table:table-row>" + cell("office:value-type=\"string\"", "open"))), "xml:"},
        {package(table("S", "")).substr(0, 200), "Unsupported document format"},
        {package(table("S", ""), "", "application/vnd.oasis.opendocument.text"), "Unsupported document format"},
    };
    for (const Case& c : cases) {
        Workbook book;
        book.activeSheet()->createCell(0, 0).setText(u"kept", 0);
        try {
            load(book, c.bytes);
            ADD_FAILURE() << c.error << ": loaded";
        } catch (const std::exception& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
        EXPECT_EQ(shown(book, 0, 0, 0), u"kept");
    }
    EXPECT_TRUE(isOdsPackage(package("", "", "application/vnd.oasis.opendocument.spreadsheet-template")));
    EXPECT_FALSE(isOdsPackage("PK\x03\x04 not really"));
}

}  // namespace
}  // namespace kes
