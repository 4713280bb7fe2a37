#include "workbook/xlsx/xlsx_reader.h"

#include <gtest/gtest.h>

#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"
#include "workbook/zip/zip_writer.h"

namespace kes {
namespace {

// A package around one worksheet's sheetData, with two shared strings and two cell styles.
const char* const kTwoStyles = "<styleSheet><numFmts><numFmt numFmtId=\"164\" formatCode=\"0000\"/></numFmts>"
                               "<cellXfs><xf numFmtId=\"0\"/><xf numFmtId=\"164\"/></cellXfs></styleSheet>";

std::string package(const std::string& sheetData, const std::string& contentType =
                        "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml",
                    const std::string& styles = kTwoStyles, const std::string& afterSheetData = "",
                    const std::string& sharedStrings = "<sst><si><t>first</t></si><si><r><t>ri</t></r><r><t>ch</t></r></si></sst>") {
    ZipWriter zip;
    zip.add("[Content_Types].xml",
            "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
            "<Override PartName=\"/xl/workbook.xml\" ContentType=\"" + contentType + "\"/></Types>");
    zip.add("_rels/.rels",
            "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
            "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
            "Target=\"xl/workbook.xml\"/></Relationships>");
    zip.add("xl/workbook.xml",
            "<workbook xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
            "<sheets><sheet name=\"S\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>");
    zip.add("xl/_rels/workbook.xml.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"x/worksheet\" Target=\"worksheets/sheet1.xml\"/>"
            "<Relationship Id=\"rId2\" Type=\"x/sharedStrings\" Target=\"sharedStrings.xml\"/>"
            "<Relationship Id=\"rId3\" Type=\"x/styles\" Target=\"styles.xml\"/></Relationships>");
    zip.add("xl/sharedStrings.xml", sharedStrings);
    zip.add("xl/styles.xml", styles);
    zip.add("xl/worksheets/sheet1.xml", "<worksheet><sheetData>" + sheetData + "</sheetData>" + afterSheetData + "</worksheet>");
    return zip.finish();
}

std::u16string shown(Workbook& book, int32_t row, int32_t column) {
    const CellRef cell = book.activeSheet()->getCell(row, column);
    return cell ? cell.displayText() : u"(none)";
}

TEST(XlsxReader, ReadsCellsByTheTypeTable) {
    const std::string bytes = package(
        "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c><c r=\"C1\"><v>1.5</v></c>"
        "<c r=\"D1\"><v>abc</v></c><c r=\"E1\" t=\"b\"><v>1</v></c><c r=\"F1\" t=\"b\"><v>TRUE</v></c>"
        "<c r=\"G1\" t=\"e\"><v>#N/A</v></c><c r=\"H1\" s=\"1\"><v>42</v></c></row>"
        "<row r=\"2\"><c r=\"A2\" t=\"str\"><f>1+1</f><v>2</v></c><c r=\"B2\" t=\"str\"><v>cached</v></c>"
        "<c r=\"C2\" t=\"N\"><v>5</v></c><c r=\"D2\" t=\"inlineStr\"><is><t>inline</t></is></c><c r=\"E2\" t=\"n\"/></row>"
        "<row><c r=\"C3\"><v>7</v></c><c><v>8</v></c></row>");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);
    EXPECT_EQ(shown(book, 0, 0), u"first");
    EXPECT_EQ(shown(book, 0, 1), u"rich");
    EXPECT_EQ(book.activeSheet()->getCell(0, 2).dataType(), cdtFloat);
    EXPECT_EQ(book.activeSheet()->getCell(0, 3).dataType(), cdtString);
    EXPECT_EQ(shown(book, 0, 4), u"TRUE");
    EXPECT_EQ(shown(book, 0, 5), u"TRUE");
    EXPECT_EQ(shown(book, 0, 6), u"#N/A");
    EXPECT_EQ(shown(book, 0, 7), u"0042") << "the style's number format";
    EXPECT_EQ(book.activeSheet()->getCell(1, 0).formulaText(), u"=1+1") << "only the formula is kept";
    EXPECT_EQ(book.activeSheet()->getCell(1, 1).dataType(), cdtBlank) << "str without a formula keeps no value";
    EXPECT_EQ(book.activeSheet()->getCell(1, 2).dataType(), cdtBlank) << "type names are case-sensitive";
    EXPECT_EQ(shown(book, 1, 3), u"inline");
    EXPECT_EQ(book.activeSheet()->getCell(1, 4).dataType(), cdtBlank);
    EXPECT_EQ(shown(book, 2, 2), u"7") << "a row without r follows the previous one";
    EXPECT_EQ(shown(book, 2, 3), u"8") << "a cell without r follows the row's last cell";
}

// Cells and rows without a reference go where the row's and the sheet's lists end, which is not
// after the element before them when the file lists them out of order; an inline string may sit
// inside v. A cell that comes twice keeps what the file gives it last, inline texts included.
TEST(XlsxReader, PlacesCellsAndRowsWithoutReferencesWhereTheirListsEnd) {
    const std::string bytes = package(
        "<row r=\"5\"><c r=\"C5\"><v>1</v></c><c r=\"A5\"><v>2</v></c><c><v>3</v></c>"
        "<c r=\"F5\" t=\"inlineStr\"><is><t>first</t></is></c><c r=\"F5\"><v>9</v></c>"
        "<c r=\"H5\" t=\"inlineStr\"><is><t>h</t></is></c><c r=\"G5\" t=\"inlineStr\"><is><t>g</t></is></c>"
        "<c r=\"G5\" t=\"inlineStr\"><is><t>again</t></is></c><c t=\"inlineStr\"><is><t>i</t></is></c></row>"
        "<row r=\"2\"><c r=\"A2\" t=\"inlineStr\"><v><is><t>inside</t></is></v></c></row>"
        "<row><c><v>4</v></c></row>"
        "<row r=\"9\"><c r=\"A9\" t=\"inlineStr\"><is><t>x</t></is></c></row><row r=\"9\"><c r=\"A9\"><v>5</v></c></row>");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);
    EXPECT_EQ(shown(book, 4, 3), u"3") << "after the row's last cell (C), not after A";
    EXPECT_EQ(shown(book, 4, 1), u"(none)");
    EXPECT_EQ(shown(book, 4, 5), u"9");
    EXPECT_EQ(shown(book, 4, 6), u"again");
    EXPECT_EQ(shown(book, 4, 7), u"h");
    EXPECT_EQ(shown(book, 4, 8), u"i");
    EXPECT_EQ(shown(book, 1, 0), u"inside");
    EXPECT_EQ(shown(book, 5, 0), u"4") << "after the sheet's last row (5), not after row 2";
    EXPECT_EQ(shown(book, 8, 0), u"5") << "a row that comes again";
}

// The package is entered as the packaging conventions say: the officeDocument relationship of
// either standard exactly, content types by part name in any case, else by extension.
TEST(XlsxReader, EntersThePackageByTheStandardsRelationshipAndContentTypes) {
    const auto make = [](const std::string& relType, const std::string& types) {
        ZipWriter zip;
        zip.add("[Content_Types].xml", "<Types>" + types + "</Types>");
        zip.add("_rels/.rels", "<Relationships><Relationship Id=\"rId1\" Type=\"" + relType +
                               "\" Target=\"xl/workbook.xml\"/></Relationships>");
        zip.add("xl/workbook.xml", "<workbook><sheets/></workbook>");
        return zip.finish();
    };
    const std::string transitional = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";
    const std::string strict = "http://purl.oclc.org/ooxml/officeDocument/relationships/officeDocument";
    const std::string main = "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml";
    EXPECT_TRUE(xlsxWorkbookPart(make(transitional, "")));
    EXPECT_TRUE(xlsxWorkbookPart(make(strict, "<Override PartName=\"/XL/Workbook.xml\" ContentType=\"" + main + "\"/>")));
    EXPECT_FALSE(xlsxWorkbookPart(make("http://example.com/relationships/officeDocument", "")))
        << "only the standard types, not any that ends so";
    EXPECT_FALSE(xlsxWorkbookPart(make(transitional, "<Default Extension=\"XML\" ContentType=\"application/xml\"/>")))
        << "the content type by extension when no override names the part";
    EXPECT_TRUE(xlsxWorkbookPart(make(transitional, "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                                                    "<Override PartName=\"/xl/workbook.xml\" ContentType=\"" + main + "\"/>")));
}

TEST(XlsxReader, ArrayFormulasGuardTheirCellsAndSharedStringsShareEntries) {
    const std::string bytes = package(
        "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"C1\"><v>1.5</v></c></row>"
        "<row r=\"4\"><c r=\"A4\"><f t=\"array\" ref=\"A4:B5\">C1*2</f><v>3</v></c><c r=\"B4\"><v>3</v></c>"
        "<c r=\"C4\" t=\"s\"><v>0</v></c></row><row r=\"5\"><c r=\"A5\"><v>3</v></c><c r=\"B5\"><v>3</v></c></row>");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);
    SheetTable& sheet = *book.activeSheet();
    EXPECT_EQ(shown(book, 3, 0), u"3");
    for (auto [row, column] : {std::pair{3, 0}, {3, 1}, {4, 0}, {4, 1}}) {
        EXPECT_TRUE(sheet.getCell(row, column).cell()->inArray) << row << "," << column;
    }
    EXPECT_FALSE(sheet.getCell(3, 2).cell()->inArray);
    try {
        sheet.getCell(4, 1).setText(u"9", 1);
        ADD_FAILURE() << "a cell of an array was changed";
    } catch (const ESheetError& e) {
        EXPECT_STREQ(e.what(), "You cannot change part of an array.");
    }
    EXPECT_EQ(sheet.getCell(3, 2).cell()->string, sheet.getCell(0, 0).cell()->string) << "one entry for one text";
    EXPECT_EQ(book.strings().size(), 1u);
}

// A package whose workbook defines names and whose sheet holds a table, as Excel writes them.
std::string packageWithNamesAndTable(const std::string& sheetData) {
    ZipWriter zip;
    zip.add("_rels/.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
            "relationships/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>");
    zip.add("xl/workbook.xml",
            "<workbook><sheets><sheet name=\"Data\" sheetId=\"1\" r:id=\"rId1\"/><sheet name=\"Other\" sheetId=\"2\" "
            "r:id=\"rId2\"/></sheets><definedNames><definedName name=\"Rate\">0.5</definedName>"
            "<definedName name=\"Items\">Data!$A$2:$A$4</definedName><definedName name=\"Local\" localSheetId=\"1\">2"
            "</definedName><definedName name=\"Local\">3</definedName><definedName name=\"Broken\">Data!$A$1+*"
            "</definedName><definedName name=\"_xlnm.Print_Area\" localSheetId=\"0\" hidden=\"1\">Data!$A$1:$B$4"
            "</definedName></definedNames></workbook>");
    zip.add("xl/_rels/workbook.xml.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"x/worksheet\" Target=\"worksheets/sheet1.xml\"/>"
            "<Relationship Id=\"rId2\" Type=\"x/worksheet\" Target=\"worksheets/sheet2.xml\"/></Relationships>");
    zip.add("xl/worksheets/sheet1.xml", "<worksheet><sheetData>" + sheetData + "</sheetData><tableParts count=\"1\">"
                                        "<tablePart r:id=\"rId1\"/></tableParts></worksheet>");
    zip.add("xl/worksheets/_rels/sheet1.xml.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
            "relationships/table\" Target=\"../tables/table1.xml\"/></Relationships>");
    zip.add("xl/tables/table1.xml",
            "<table id=\"1\" name=\"Table1\" displayName=\"Sales\" ref=\"A1:B5\" totalsRowCount=\"1\">"
            "<tableColumns count=\"2\"><tableColumn id=\"1\" name=\"Item\"/><tableColumn id=\"2\" "
            "name=\"Unit_x0020_Qty\"/></tableColumns></table>");
    zip.add("xl/worksheets/sheet2.xml", "<worksheet><sheetData><row r=\"1\"><c r=\"A1\"><f>Local*10</f></c></row>"
                                        "</sheetData></worksheet>");
    return zip.finish();
}

// Formulas come whole: with the names and tables they use, newer functions' prefixes, arrays
// over their areas, and a formula the parser refuses stays a formula that shows #NAME?.
TEST(XlsxReader, FormulasComeWithTheirNamesTablesAndArrays) {
    const std::string bytes = packageWithNamesAndTable(
        "<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>Item</t></is></c><c r=\"B1\" t=\"inlineStr\"><is><t>Unit Qty</t></is></c>"
        "<c r=\"D1\"><f>SUM(Sales[Unit Qty])*Rate</f><v>0</v></c><c r=\"E1\"><f>_xlfn.CONCAT(\"a\",Local)</f></c>"
        "<c r=\"F1\"><f>1+*</f><v>7</v></c><c r=\"G1\"><f>SUM(Items)</f></c><c r=\"H1\"><f>Broken</f></c></row>"
        "<row r=\"2\"><c r=\"A2\"><v>10</v></c><c r=\"B2\"><v>1</v></c>"
        "<c r=\"D2\"><f t=\"array\" ref=\"D2:E3\">A2:A3*{1,2}</f><v>10</v></c><c r=\"E2\"><v>20</v></c>"
        "<c r=\"F2\" cm=\"1\"><f t=\"array\" ref=\"F2:F4\">A2:A4+1</f><v>11</v></c>"
        "<c r=\"G2\"><f t=\"shared\" ref=\"G2:G3\" si=\"0\">_xlfn.IFNA(B2*2,0)</f></c></row>"
        "<row r=\"3\"><c r=\"A3\"><v>20</v></c><c r=\"B3\"><v>2</v></c><c r=\"D3\"><v>20</v></c><c r=\"E3\"><v>40</v></c>"
        "<c r=\"F3\"><v>21</v></c><c r=\"G3\"><f t=\"shared\" si=\"0\"/></c></row>"
        "<row r=\"4\"><c r=\"A4\"><v>30</v></c><c r=\"B4\"><v>3</v></c><c r=\"F4\"><v>31</v></c></row>"
        "<row r=\"5\"><c r=\"A5\" t=\"inlineStr\"><is><t>Total</t></is></c><c r=\"B5\"><f>SUBTOTAL(109,Sales[Unit Qty])</f></c></row>");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream, *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"));
    SheetTable& sheet = book.sheet(0);
    const auto at = [&](int32_t row, int32_t column) { return sheet.getCell(row, column); };
    EXPECT_EQ(at(0, 3).displayText(), u"3") << "a table column named with an escape, and a name";
    EXPECT_EQ(at(0, 4).displayText(), u"a3") << "the workbook's Local, not the other sheet's";
    EXPECT_EQ(book.sheet(1).getCell(0, 0).displayText(), u"20") << "the sheet's own Local";
    EXPECT_EQ(at(0, 4).formulaText(), u"=CONCAT(\"a\",Local)") << "shown without the file's prefix";
    EXPECT_EQ(at(0, 5).dataType(), cdtFormula);
    EXPECT_EQ(at(0, 5).displayText(), u"#NAME?");
    EXPECT_EQ(at(0, 5).formulaText(), u"=1+*");
    EXPECT_EQ(at(0, 6).displayText(), u"60");
    EXPECT_EQ(at(0, 7).displayText(), u"#NAME?");
    EXPECT_EQ(at(1, 3).displayText(), u"10");
    EXPECT_EQ(at(1, 4).displayText(), u"20");
    EXPECT_EQ(at(2, 4).displayText(), u"40");
    EXPECT_EQ(at(2, 4).formulaText(), u"=A2:A3*{1,2}") << "an array's cells show its formula";
    EXPECT_EQ(at(3, 5).displayText(), u"31") << "a dynamic array spills over its area";
    EXPECT_EQ(at(2, 6).formulaText(), u"=IFNA(B3*2,0)");
    EXPECT_EQ(at(2, 6).displayText(), u"4");
    EXPECT_EQ(book.names().size(), 6u);
    ASSERT_EQ(book.tables().size(), 1u);
    EXPECT_EQ(book.tables().all()[0].columns[1], u"Unit Qty");

    // Saved and read again, all of it comes back: names, tables, arrays, prefixes.
    std::string saved;
    SaveToStream(book, saved, SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"));
    EXPECT_NE(saved.size(), 0u);
    Workbook again;
    ByteStream savedStream{saved, 0};
    LoadFromStream(again, savedStream, *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"));
    SheetTable& copy = again.sheet(0);
    for (int32_t row = 0; row < 5; ++row) {
        for (int32_t column = 0; column < 8; ++column) {
            const CellRef a = sheet.getCell(row, column), b = copy.getCell(row, column);
            ASSERT_EQ(bool(a), bool(b)) << row << "," << column;
            if (!a) continue;
            EXPECT_EQ(a.displayText(), b.displayText()) << row << "," << column;
            EXPECT_EQ(a.formulaText(), b.formulaText()) << row << "," << column;
        }
    }
    EXPECT_EQ(again.names().size(), 6u);
    EXPECT_EQ(again.tables().size(), 1u);
    EXPECT_TRUE(copy.getCell(2, 4).cell()->inArray);
}

// A few kilobytes of archive can list millions of shared strings: equal ones take one entry.
TEST(XlsxReader, EqualSharedStringsTakeOneEntry) {
    std::string items;
    for (int i = 0; i < 200000; ++i) items += i % 2 ? "<si/>" : "<si><t>x</t></si>";
    const std::string bytes = package("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>199999</v></c><c r=\"B1\" t=\"s\"><v>4</v></c></row>",
                                      "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml",
                                      kTwoStyles, "", "<sst uniqueCount=\"2000000000\">" + items + "</sst>");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);
    EXPECT_EQ(shown(book, 0, 0), u"");
    EXPECT_EQ(shown(book, 0, 1), u"x");
    EXPECT_EQ(book.strings().size(), 2u) << "what the cells hold, nothing of the reader's is left";
}

// Merges are only looks: those the sheet cannot keep, or whose reference cannot be read, go
// unmerged and the rest of the file loads.
TEST(XlsxReader, KeepsTheMergedAreasItCanAndSkipsTheOthers) {
    const std::string merges =
        "<mergeCells count=\"12\">"
        "<mergeCell ref=\"A1:L1\"/><mergeCell ref=\"$C$3:$D$4\"/><mergeCell ref=\"F6:E5\"/>"
        "<mergeCell ref=\"B2\"/><mergeCell ref=\"K1:M2\"/><mergeCell ref=\"A:A\"/><mergeCell ref=\"garbage\"/>"
        "<mergeCell ref=\"A1048576:B1048577\"/><mergeCell ref=\"XFD1:XFE1\"/><mergeCell/><mergeCell ref=\"\"/>"
        "<mergeCell ref=\"xfc1048576:XFD1048576\"/></mergeCells>";
    const std::string bytes =
        package("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c></row>", "application/vnd.openxmlformats-officedocument."
                "spreadsheetml.sheet.main+xml", kTwoStyles, merges);
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream, *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"));
    EXPECT_EQ(shown(book, 0, 0), u"first");
    const std::vector<CellRect> expected = {{0, 0, 11, 0}, {2, 2, 3, 3}, {4, 4, 5, 5}, {16382, 1048575, 16383, 1048575}};
    EXPECT_EQ(book.activeSheet()->mergedAreas(), expected);
}

// More different number formats than the cell store holds styles.
std::string tooManyStyles() {
    std::string numFmts, xfs;
    for (int i = 0; i <= 65536; ++i) {
        numFmts += "<numFmt numFmtId=\"" + std::to_string(164 + i) + "\" formatCode=\"0 &quot;" + std::to_string(i) + "&quot;\"/>";
        xfs += "<xf numFmtId=\"" + std::to_string(164 + i) + "\"/>";
    }
    return "<styleSheet><numFmts>" + numFmts + "</numFmts><cellXfs>" + xfs + "</cellXfs></styleSheet>";
}

TEST(XlsxReader, RefusesBadIndexesAndForeignPackagesKeepingTheWorkbook) {
    struct Case { std::string bytes; const char* error; };
    const Case cases[] = {
        {package("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>9</v></c></row>"), "The \"9\" shared string index is invalid"},
        {package("<row r=\"1\"><c r=\"A1\" s=\"5\"><v>1</v></c></row>"), "The \"5\" style index is invalid"},
        {package("<row r=\"1\"><c r=\"1A\"><v>1</v></c></row>"), "The \"1A\" column index is invalid"},
        {package("<row r=\"1\"><c r=\"A1\" t=\"n\"><v>x1</v></c></row>"), "is not a valid floating point value"},
        {package("<row r=\"1\"><c r=\"A1\"><v>1</v></c>"), "xml:"},
        {package("", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml", tooManyStyles()),
         "too many different cell styles"},
        {package("<row r=\"1\"><c r=\"A1\" s=\"0\"><v>1</v></c></row>",
                 "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml", ""),
         "The \"0\" style index is invalid"},
    };
    for (const Case& c : cases) {
        Workbook book;
        book.activeSheet()->createCell(0, 0).setText(u"kept", 0);
        ByteStream stream{c.bytes, 0};
        try {
            LoadFromStream(book, stream, *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx"));
            ADD_FAILURE() << c.error << ": loaded";
        } catch (const ESpreadSheetReaderError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
        EXPECT_EQ(shown(book, 0, 0), u"kept");
    }
    EXPECT_FALSE(xlsxWorkbookPart(package("", "application/vnd.ms-word.document.main+xml")));
    EXPECT_TRUE(xlsxWorkbookPart(package("", "application/vnd.openxmlformats-officedocument.spreadsheetml.template.main+xml")));
}

// A workbook part naming `sheets` sheets, every one the same small worksheet: a few kilobytes of
// archive for as many sheets as one likes.
std::string manySheets(int sheets) {
    ZipWriter zip;
    zip.add("_rels/.rels", "<Relationships><Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/"
                           "officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/>"
                           "</Relationships>");
    std::string workbook = "<workbook><sheets>";
    for (int i = 0; i < sheets; ++i) workbook += "<sheet name=\"S\" r:id=\"rId1\"/>";
    zip.add("xl/workbook.xml", workbook + "</sheets></workbook>");
    zip.add("xl/_rels/workbook.xml.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"x/worksheet\" Target=\"sheet.xml\"/></Relationships>");
    zip.add("xl/sheet.xml", "<worksheet><sheetData><row><c><v>1</v></c></row></sheetData></worksheet>");
    return zip.finish();
}

TEST(XlsxReader, RefusesMoreSheetsThanAWorkbookHoldsKeepingTheWorkbook) {
    const SpreadSheetFormat& xlsx = *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx");
    Workbook book;
    ByteStream most{manySheets(kMaxSheets), 0};
    LoadFromStream(book, most, xlsx);
    EXPECT_EQ(book.sheetCount(), kMaxSheets);
    EXPECT_EQ(book.sheet(kMaxSheets - 1).getCell(0, 0).asFloat(), 1.0);

    ByteStream tooMany{manySheets(kMaxSheets + 1), 0};
    try {
        LoadFromStream(book, tooMany, xlsx);
        ADD_FAILURE() << "loaded";
    } catch (const ESpreadSheetReaderError& e) {
        EXPECT_NE(std::string(e.what()).find("more than 10000 sheets"), std::string::npos) << e.what();
    }
    EXPECT_EQ(book.sheetCount(), kMaxSheets);
}

// Errors newer than the format are stored as #VALUE! with value metadata leading to a rich value
// of the _error structure; the cell shows the error Excel shows. Written back, they are #VALUE!.
TEST(XlsxReader, ReadsSpillAndCalcErrorsFromRichValueMetadata) {
    ZipWriter zip;
    zip.add("[Content_Types].xml", "<Types/>");
    zip.add("_rels/.rels", "<Relationships><Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/"
                           "officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>");
    zip.add("xl/workbook.xml", "<workbook><sheets><sheet name=\"S\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>");
    zip.add("xl/_rels/workbook.xml.rels",
            "<Relationships><Relationship Id=\"rId1\" Type=\"x/worksheet\" Target=\"worksheets/sheet1.xml\"/>"
            "<Relationship Id=\"rId2\" Type=\"x/sheetMetadata\" Target=\"metadata.xml\"/>"
            "<Relationship Id=\"rId3\" Type=\"x/rdRichValue\" Target=\"richData/rdrichvalue.xml\"/>"
            "<Relationship Id=\"rId4\" Type=\"x/rdRichValueStructure\" Target=\"richData/rdrichvaluestructure.xml\"/>"
            "</Relationships>");
    zip.add("xl/richData/rdrichvaluestructure.xml",
            "<rvStructures count=\"2\"><s t=\"_error\"><k n=\"colOffset\" t=\"i\"/><k n=\"errorType\" t=\"i\"/>"
            "<k n=\"rwOffset\" t=\"i\"/></s><s t=\"_error\"><k n=\"errorType\" t=\"i\"/></s></rvStructures>");
    zip.add("xl/richData/rdrichvalue.xml",
            "<rvData count=\"2\"><rv s=\"0\"><v>0</v><v>8</v><v>1</v></rv><rv s=\"1\"><v>13</v></rv></rvData>");
    zip.add("xl/metadata.xml",
            "<metadata><metadataTypes count=\"1\"><metadataType name=\"XLRICHVALUE\"/></metadataTypes>"
            "<futureMetadata name=\"XLRICHVALUE\" count=\"2\"><bk><extLst><ext><xlrd:rvb i=\"0\"/></ext></extLst></bk>"
            "<bk><extLst><ext><xlrd:rvb i=\"1\"/></ext></extLst></bk></futureMetadata>"
            "<valueMetadata count=\"2\"><bk><rc t=\"1\" v=\"0\"/></bk><bk><rc t=\"1\" v=\"1\"/></bk></valueMetadata></metadata>");
    zip.add("xl/worksheets/sheet1.xml",
            "<worksheet><sheetData><row r=\"1\"><c r=\"A1\" t=\"e\" vm=\"1\"><v>#VALUE!</v></c>"
            "<c r=\"B1\" t=\"e\" vm=\"2\"><v>#VALUE!</v></c><c r=\"C1\" t=\"e\"><v>#VALUE!</v></c>"
            "<c r=\"D1\" t=\"e\" vm=\"9\"><v>#DIV/0!</v></c></row></sheetData></worksheet>");
    const std::string bytes = zip.finish();
    const SpreadSheetFormat& xlsx = *SpreadSheetFormatsRepository::instance().Find(u"a.xlsx");
    Workbook book;
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream, xlsx);
    EXPECT_EQ(shown(book, 0, 0), u"#SPILL!");
    EXPECT_EQ(shown(book, 0, 1), u"#CALC!");
    EXPECT_EQ(shown(book, 0, 2), u"#VALUE!");
    EXPECT_EQ(shown(book, 0, 3), u"#DIV/0!") << "metadata out of range is ignored";

    std::string saved;
    SaveToStream(book, saved, &xlsx);
    Workbook again;
    ByteStream savedStream{saved, 0};
    LoadFromStream(again, savedStream, xlsx);
    EXPECT_EQ(shown(again, 0, 0), u"#VALUE!");
    EXPECT_EQ(shown(again, 0, 1), u"#VALUE!");
}

}  // namespace
}  // namespace kes
