#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <optional>
#include <random>

#include "sheet/cell_formula.h"
#include "sheet/sheet_bounds.h"
#include "text/utf8.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"
#include "workbook/xls/biff_writer.h"
#include "workbook/xls/compound_file.h"
#include "workbook/xls/compound_file_writer.h"

namespace kes {
namespace {

const SpreadSheetFormat& xls() { return *SpreadSheetFormatsRepository::instance().Find(u"a.xls"); }

std::string saved(Workbook& book, const SpreadSheetFormat& format = xls()) {
    std::string bytes;
    SaveToStream(book, bytes, &format);
    return bytes;
}

void load(Workbook& book, const std::string& bytes) {
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream);   // by content: the file must be taken for an .xls
}

// The record ids of the workbook stream, in order.
std::vector<uint16_t> recordIds(const std::string& file) {
    const std::string stream = *CompoundFile(file).stream(u"Workbook");
    std::vector<uint16_t> ids;
    for (size_t at = 0; at + 4 <= stream.size();) {
        uint16_t id, size;
        std::memcpy(&id, stream.data() + at, 2);
        std::memcpy(&size, stream.data() + at + 2, 2);
        EXPECT_LE(size, 8224);
        ids.push_back(id);
        at += 4 + size_t(size);
    }
    return ids;
}

std::u16string chinese(size_t length, char16_t from) {
    std::u16string text;
    for (size_t i = 0; i < length; ++i) text += char16_t(from + i % 500);
    return text;
}

// Every value kind comes back with its value and the text the grid shows, in both date systems.
TEST(XlsWriter, EveryValueKindComesBackAsTheGridShowsIt) {
    for (bool date1904 : {false, true}) {
        Workbook book;
        FormatSettings settings = book.settings();
        settings.date1904 = date1904;
        book.setSettings(settings);
        SheetTable& sheet = *book.activeSheet();
        sheet.setName(u"Values");
        const std::u16string typed[] = {
            u"\u54C1\u540D",
            u"0012345",
            u"6901234567890",
            u"12.5",
            u"-0.001",
            u"1E+300",
            u"TRUE",
            u"FALSE",
            u"#NULL!",
            u"#DIV/0!",
            u"#VALUE!",
            u"#REF!",
            u"#NAME?",
            u"#NUM!",
            u"#N/A",
            u"2026-11-22",
            u"2026-11-22 13:45:10",
            u"13:45",
            u"\u00A51,234.5",
            u"-\u00A50.25",
            u"=C1*2",
            u"=\"a\"&\"b\"",
            u"=1/0",
            u"=1>2",
            u"",
            u"  spaced  ",
            u"line1\nline2",
        };
        for (int32_t i = 0; i < int32_t(std::size(typed)); ++i) sheet.createCell(i, 2).setText(typed[i], 1);
        sheet.createCell(0, 0).setValue(CellValue::makeInteger(-42));
        sheet.createCell(1, 0).setValue(CellValue::makeInteger(600000000));   // beyond an RK integer
        sheet.createCell(2, 0).setValue(CellValue::makeFloat(0.1));
        CellRef styled = sheet.createCell(3, 0);
        styled.setValue(CellValue::makeFloat(46348.5));
        styled.setStyle(book.styles().add(CellStyle{u"yyyy-mm-dd hh:mm"}));
        sheet.createCell(4, 0).setStyle(book.styles().add(CellStyle{u"@"}));   // a style and no value
        sheet.createCell(5, 255).setString(u"last column");
        sheet.createCell(65535, 1).setString(u"last row");
        sheet.setColumnWidth(2, 180);
        sheet.setColumnWidth(3, 40);

        Workbook loaded;
        load(loaded, saved(book));
        EXPECT_EQ(loaded.settings().date1904, date1904);
        SheetTable& back = loaded.sheet(0);
        EXPECT_EQ(back.name(), u"Values");
        for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
            for (SheetCell* c = row->cells.first(); c; c = c->next) {
                const CellRef ours = sheet.getCell(row->index, c->index),
                              theirs = back.getCell(row->index, c->index);
                ASSERT_TRUE(theirs) << row->index << "," << c->index;
                // A time typed alone in a 1904 workbook counts from 1904 too: a negative serial,
                // which the grid shows as the time and Excel's time formats as a negative time.
                const bool negativeTime = date1904 && ours.dataType() == cdtDateTime && ours.asFloat() < 0;
                if (!negativeTime) {
                    EXPECT_EQ(theirs.displayText(), ours.displayText()) << row->index << "," << c->index;
                }
                EXPECT_EQ(theirs.asFloat(), ours.isNumeric() ? ours.asFloat() : theirs.asFloat())
                    << row->index;
                // Dates and money left General in the grid get a format that shows them so.
                if (ours.dataType() == cdtDateTime || ours.dataType() == cdtCurrency) {
                    EXPECT_FALSE(theirs.numberFormat().empty());
                } else if (ours.dataType() != cdtFormula) {
                    EXPECT_EQ(theirs.numberFormat(), ours.numberFormat());
                }
            }
        }
        EXPECT_EQ(back.getCell(4, 0).dataType(), cdtBlank);
        EXPECT_EQ(back.getCell(4, 0).numberFormat(), u"@");
        EXPECT_EQ(back.getCell(0, 2).dataType(), cdtString);
        EXPECT_EQ(back.getCell(6, 2).dataType(), cdtBoolean);
        EXPECT_EQ(back.getCell(13, 2).dataType(), cdtError);
        EXPECT_EQ(back.getCell(15, 2).asFloat(), date1904 ? 46348.0 - 1462 : 46348.0);
        EXPECT_EQ(back.columnWidth(2), 180);
        EXPECT_EQ(back.columnWidth(3), 40);
        EXPECT_EQ(back.columnWidth(4), back.defaultColumnWidth);
    }
}

TEST(XlsWriter, SheetsKeepTheirOrderNamesAndActiveSheet) {
    Workbook book;
    book.activeSheet()->setName(u"First");
    book.addSheet(u"\u7B2C\u4E8C\u9875").createCell(0, 0).setString(u"\u54C1\u540D");
    book.addSheet(u"Third").createCell(3, 3).setValue(CellValue::makeFloat(3));
    book.setActiveSheetIndex(1);
    const std::string xlsBytes = saved(book);
    const std::string xltBytes = saved(book, *SpreadSheetFormatsRepository::instance().Find(u"a.xlt"));
    EXPECT_EQ(xltBytes, xlsBytes);
    Workbook loaded;
    load(loaded, xlsBytes);
    ASSERT_EQ(loaded.sheetCount(), 3);
    EXPECT_EQ(loaded.sheet(0).name(), u"First");
    EXPECT_EQ(loaded.sheet(1).name(), u"\u7B2C\u4E8C\u9875");
    EXPECT_EQ(loaded.sheet(2).name(), u"Third");
    EXPECT_EQ(loaded.sheet(1).getCell(0, 0).asString(), u"\u54C1\u540D");
    EXPECT_EQ(loaded.sheet(2).getCell(3, 3).asFloat(), 3.0);
    EXPECT_FALSE(loaded.sheet(0).getCell(0, 0));
}

TEST(XlsWriter, SheetNamesExcelRefusesAreMadeValidAndUnique) {
    const struct {
        std::u16string name;
        std::u16string expected;
    } cases[] = {
        {u"Plain", u"Plain"},
        {u"a[b]c:d*e?f/g\\h", u"a_b_c_d_e_f_g_h"},
        {u"'quoted'", u"_quoted_"},
        {u"", u"Sheet4"},
        {u"0123456789012345678901234567890123456789", u"0123456789012345678901234567890"},
        {u"plain", u"plain (2)"},
        {u"PLAIN", u"PLAIN (3)"},
        {u"0123456789012345678901234567890XYZ", u"012345678901234567890123456 (2)"},
    };
    std::vector<std::u16string> taken;
    for (const auto& c : cases) {
        const std::u16string name = xlsSheetName(c.name, 3, taken);
        EXPECT_EQ(name, c.expected);
        EXPECT_LE(name.size(), 31u);
        taken.push_back(name);
    }
}

// 10,000 different texts, long Chinese ones among them, fill several CONTINUE records; texts
// that cross a record boundary must come back whole.
TEST(XlsWriter, ALargeStringTableSplitsIntoContinueRecordsAndReadsBack) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    std::vector<std::u16string> texts;
    for (int i = 0; i < 10000; ++i) {
        std::u16string text;
        if (i % 97 == 0)
            text = chinese(3000 + size_t(i % 13), u'\u4E00');
        else if (i % 5 == 0)
            text = u"Latin-1 caf\u00E9 " + std::u16string(size_t(i % 300), u'z');
        else
            text =
                u"label " + std::u16string(1, char16_t(u'0' + i % 10)) + std::u16string(size_t(i % 40), u'x');
        text += char16_t(u'A' + i % 26);
        text += char16_t(0x3000 + i / 26 % 1000);
        texts.push_back(text);
        sheet.createCell(i, 0).setString(text);
    }
    const std::string bytes = saved(book);
    const std::vector<uint16_t> ids = recordIds(bytes);
    EXPECT_GT(std::count(ids.begin(), ids.end(), uint16_t(0x003C)), 10) << "CONTINUE records";
    EXPECT_EQ(std::count(ids.begin(), ids.end(), uint16_t(0x00FF)), 1) << "EXTSST";
    Workbook loaded;
    load(loaded, bytes);
    for (int i = 0; i < 10000; ++i)
        ASSERT_EQ(loaded.sheet(0).getCell(i, 0).asString(), texts[size_t(i)]) << i;
}

// Enough cells over several sheets for a file of many allocation table sectors.
TEST(XlsWriter, AWorkbookOfManyRowsOverSeveralSheetsReadsBack) {
    Workbook book;
    book.addSheet(u"Two");
    book.addSheet(u"Three");
    for (int32_t s = 0; s < 3; ++s) {
        SheetTable& sheet = book.sheet(s);
        for (int32_t r = 0; r < 25000; ++r) {
            sheet.createCell(r, 0).setValue(CellValue::makeInteger(r * 3 + s));
            sheet.createCell(r, 1).setValue(CellValue::makeFloat(r + 0.1 * s));
        }
    }
    const std::string bytes = saved(book);
    uint32_t fatSectors;
    std::memcpy(&fatSectors, bytes.data() + 0x2C, 4);
    EXPECT_GT(fatSectors, 10u);
    Workbook loaded;
    load(loaded, bytes);
    for (int32_t s = 0; s < 3; ++s) {
        for (int32_t r = 0; r < 25000; r += 997) {
            EXPECT_EQ(loaded.sheet(s).getCell(r, 0).asFloat(), double(r * 3 + s));
            EXPECT_EQ(loaded.sheet(s).getCell(r, 1).asFloat(), r + 0.1 * s);
        }
        EXPECT_EQ(loaded.sheet(s).getCell(24999, 1).asFloat(), 24999 + 0.1 * s);
    }
}

// Merged areas come back, several MERGEDCELLS records of at most 1,026 ranges when there are
// many; an area reaching past A1:IV65536 keeps the part the format holds.
TEST(XlsWriter, MergedAreasComeBackCutToTheFormatsLimits) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setString(u"\u51FA\u5E93\u5355");   // 出库单
    std::vector<CellRect> expected = {{0, 0, 255, 0}, {4, 65534, 5, 65535}};
    ASSERT_TRUE(sheet.addMergedArea({0, 0, kMaxColumn, 0}));            // a whole .xlsx row: A1:IV1
    ASSERT_TRUE(sheet.addMergedArea({4, 65534, 5, kMaxRow}));            // E65535:F65536
    ASSERT_TRUE(sheet.addMergedArea({256, 3, 300, 3}));                  // starts past IV: gone
    ASSERT_TRUE(sheet.addMergedArea({0, 65535, 0, 65536}));              // one cell once cut: gone
    for (int32_t i = 0; i < 2100; ++i) {
        const CellRect area{i % 100 * 2, 10 + i / 100, i % 100 * 2 + 1, 10 + i / 100};
        ASSERT_TRUE(sheet.addMergedArea(area));
        expected.push_back(area);
    }
    book.addSheet(u"Plain").createCell(0, 0).setString(u"x");
    const std::string bytes = saved(book);
    const std::string stream = *CompoundFile(bytes).stream(u"Workbook");
    std::vector<uint16_t> counts;   // of the MERGEDCELLS records, in order
    uint16_t previous = 0;
    for (size_t at = 0; at + 4 <= stream.size();) {
        uint16_t id, size;
        std::memcpy(&id, stream.data() + at, 2);
        std::memcpy(&size, stream.data() + at + 2, 2);
        if (id == 0x00E5) {
            EXPECT_TRUE(previous == 0x023E || previous == 0x00E5) << "after the window settings";
            uint16_t count;
            std::memcpy(&count, stream.data() + at + 4, 2);
            EXPECT_EQ(size, 2 + 8 * count);
            counts.push_back(count);
        }
        previous = id;
        at += 4 + size_t(size);
    }
    EXPECT_EQ(counts, (std::vector<uint16_t>{1026, 1026, 50}));

    Workbook loaded;
    load(loaded, bytes);
    EXPECT_EQ(loaded.sheet(0).mergedAreas(), expected);
    EXPECT_TRUE(loaded.sheet(1).mergedAreas().empty());
    EXPECT_EQ(loaded.sheet(0).getCell(0, 0).asString(), u"\u51FA\u5E93\u5355");
}

// A cell the format cannot hold fails the save with the limit in its message; nothing is written.
TEST(XlsWriter, CellsBeyondTheFormatsLimitsFailTheSaveAndWriteNothing) {
    const struct {
        int32_t row, column;
        const char* cell;
    } cases[] = {{65536, 0, "A65537"}, {0, 256, "IW1"}, {1048575, 16383, "XFD1048576"}};
    for (const auto& c : cases) {
        Workbook book;
        book.activeSheet()->createCell(0, 0).setString(u"kept");
        book.addSheet(u"Big").createCell(c.row, c.column).setValue(CellValue::makeFloat(1));
        std::string out = "before";
        try {
            SaveToStream(book, out, &xls());
            ADD_FAILURE() << c.cell << " was saved";
        } catch (const ESpreadSheetWriterError& e) {
            const std::string message = e.what();
            EXPECT_NE(message.find(c.cell), std::string::npos) << message;
            EXPECT_NE(message.find("65,536 rows and 256 columns"), std::string::npos) << message;
            EXPECT_NE(message.find("\"Big\""), std::string::npos) << message;
        }
        EXPECT_EQ(out, "before");
    }
    Workbook book;
    book.activeSheet()->createCell(0, 0).setString(std::u16string(32768, u'x'));
    std::string out;
    EXPECT_THROW(SaveToStream(book, out, &xls()), ESpreadSheetWriterError);
    EXPECT_TRUE(out.empty());
}

// Formulas of the written subset come back as the same formulas; the others as their results.
TEST(XlsWriter, FormulasComeBackAsFormulasOrAsTheirResults) {
    const struct {
        std::u16string text;
        bool asFormula;
    } cases[] = {
        {u"=A1+B1*2-C1/4", true},
        {u"=(A1+B1)*-C1^2%", true},
        {u"=SUM(A1:C1)", true},
        {u"=SUM($A$1:C$1,A1,5)", true},
        {u"=IF(A1>1,\"big\",\"small \"\"q\"\"\")", true},
        {u"=A1&\"\u54C1\u540D\"&TRUE", true},
        {u"=VLOOKUP(2,A1:C3,2,FALSE)", true},
        {u"=ROUND(AVERAGE(A1:C1),2)+MAX(A1:A3)+MIN(1,2)+COUNT(A:A)+COUNTA(1:1)", true},
        {u"=LEN(UPPER(LEFT(\"abc\",2)))+MID(\"abcd\",2,2)", true},   // #VALUE! as its result
        {u"=DATE(2026,11,22)+TODAY()*0", true},
        {u"=1/0", true},
        {u"=#N/A", true},
        {u"=1.5E+300*2", true},
        {u"=A1<>B1", true},
        {u"=Data!B2*2", true},
        {u"=\u7B2C\u4E8C\u9875!A1&\"x\"", true},
        {u"='My ''Sheet'' A'!A1+1", true},
        {u"=SUM(Data!A1:B3)", true},
        {u"=IFERROR(1/0,7)", false},   // no function of Excel 97
        {u"=XLOOKUP(1,A1:A3,B1:B3)", false},
        {u"=SUM((A1,B1))", false},       // a union
        {u"=SUM(A1:B1 B1:C1)", false},   // an intersection
        {u"=A70000", false},             // beyond the rows of the format
        {u"=Missing!A1", false},
    };
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    sheet.createCell(0, 0).setValue(CellValue::makeFloat(1.5));
    sheet.createCell(0, 1).setValue(CellValue::makeFloat(2));
    sheet.createCell(0, 2).setValue(CellValue::makeFloat(4));
    sheet.createCell(1, 0).setValue(CellValue::makeFloat(2));
    sheet.createCell(1, 1).setString(u"two");
    SheetTable& data = book.addSheet(u"Data");
    data.createCell(1, 1).setValue(CellValue::makeFloat(21));
    book.addSheet(u"\u7B2C\u4E8C\u9875").createCell(0, 0).setString(u"\u54C1");
    book.addSheet(u"My 'Sheet' A").createCell(0, 0).setValue(CellValue::makeFloat(8));
    for (size_t i = 0; i < std::size(cases); ++i)
        ASSERT_TRUE(sheet.createCell(int32_t(10 + i), 0).setFormula(cases[i].text)) << i;

    Workbook loaded;
    load(loaded, saved(book));
    for (size_t i = 0; i < std::size(cases); ++i) {
        const CellRef ours = sheet.getCell(int32_t(10 + i), 0),
                      theirs = loaded.sheet(0).getCell(int32_t(10 + i), 0);
        ASSERT_TRUE(theirs) << i;
        EXPECT_EQ(theirs.displayText(), ours.displayText()) << i;
        if (!cases[i].asFormula) {
            EXPECT_NE(theirs.dataType(), cdtFormula) << i;
            continue;
        }
        ASSERT_EQ(theirs.dataType(), cdtFormula) << i;
        EXPECT_EQ(theirs.formulaText(), ours.formulaText()) << i;
    }
}

std::string u16(uint16_t v) { return {char(v & 0xFF), char(v >> 8)}; }

std::string record(uint16_t id, const std::string& data) {
    return u16(id) + u16(uint16_t(data.size())) + data;
}

// An .xls file of one sheet "Data" holding RECORDS, as other programs write it.
std::string xlsOfSheetRecords(const std::string& records) {
    const std::string bof = u16(0x0600) + u16(0x0005) + std::string(12, '\0');
    const std::string name = "Data";
    const auto globals = [&](uint32_t sheetAt) {
        std::string at(4, '\0');
        std::memcpy(at.data(), &sheetAt, 4);
        const std::string boundSheet = at + std::string(2, '\0') + char(name.size()) + '\0' + name;
        return record(0x0809, bof) + record(0x0085, boundSheet) + record(0x000A, "");
    };
    const std::string sheetBof = u16(0x0600) + u16(0x0010) + std::string(12, '\0');
    std::string stream = globals(uint32_t(globals(0).size()));
    stream += record(0x0809, sheetBof) + records + record(0x000A, "");
    CompoundFileWriter file;
    file.add(u"Workbook", stream);
    return file.finish();
}

// FORMULA of a cell whose result is text (it follows in a STRING record) or a number.
std::string formulaRecord(uint16_t row, uint16_t column, const std::string& tokens,
                          std::optional<double> number) {
    std::string result(8, '\0');
    if (number) std::memcpy(result.data(), &*number, 8);
    else result[6] = result[7] = char(0xFF);
    return record(0x0006, u16(row) + u16(column) + u16(0) + result + u16(0) + std::string(4, '\0') +
                              u16(uint16_t(tokens.size())) + tokens);
}

std::string sharedFormula(uint16_t firstRow, uint16_t lastRow, uint8_t column, const std::string& tokens) {
    return record(0x04BC, u16(firstRow) + u16(lastRow) + char(column) + char(column) + '\0' + char(3) +
                              u16(uint16_t(tokens.size())) + tokens);
}

std::string stringRecord(const std::string& text) {
    return record(0x0207, u16(uint16_t(text.size())) + '\0' + text);
}

std::string expToken(uint16_t row, uint16_t column) { return '\x01' + u16(row) + u16(column); }

// LibreOffice writes a column of formulas filled down as one shared formula: each cell's FORMULA
// points at the first cell, whose FORMULA comes before the SHRFMLA with the tokens and before
// the STRING with its text result. Every cell comes back as its own formula.
TEST(XlsReader, ASharedFormulaComesBackAsTheFormulaOfEachOfItsCells) {
    std::string records;
    for (uint16_t r = 0; r < 3; ++r) {
        const double number = r + 1;
        std::string data = u16(r) + u16(3) + u16(0) + std::string(8, '\0');
        std::memcpy(data.data() + 6, &number, 8);
        records += record(0x0203, data);
    }
    const std::string concatenated("\x4C\x00\x00\xFD\xC0\x17\x01\x00x\x08", 10);   // D1&"x" in G1
    records += formulaRecord(0, 6, expToken(0, 6), std::nullopt) + sharedFormula(0, 2, 6, concatenated) +
               stringRecord("1x");
    for (uint16_t r = 1; r < 3; ++r)
        records += formulaRecord(r, 6, expToken(0, 6), std::nullopt) +
                   stringRecord(std::to_string(r + 1) + "x");
    // Tokens we do not read (a defined name) leave the results; so does a first cell never shared.
    records += formulaRecord(0, 7, expToken(0, 7), 7) +
               sharedFormula(0, 1, 7, std::string("\x43\x01\x00\x00\x00", 5));
    records += formulaRecord(1, 7, expToken(0, 7), 8) + formulaRecord(0, 8, expToken(0, 8), 9);

    Workbook book;
    load(book, xlsOfSheetRecords(records));
    SheetTable& sheet = book.sheet(0);
    for (int32_t r = 0; r < 3; ++r) {
        const CellRef cell = sheet.getCell(r, 6);
        ASSERT_TRUE(cell) << r;
        ASSERT_EQ(cell.dataType(), cdtFormula) << r;
        EXPECT_EQ(cell.formulaText(), u"=D" + fromUtf8(std::to_string(r + 1)) + u"&\"x\"") << r;
        EXPECT_EQ(cell.displayText(), fromUtf8(std::to_string(r + 1)) + u"x") << r;
    }
    EXPECT_EQ(sheet.getCell(0, 7).dataType(), cdtFloat);
    EXPECT_EQ(sheet.getCell(1, 7).displayText(), u"8");
    EXPECT_EQ(sheet.getCell(0, 8).displayText(), u"9");

    Workbook kept;
    kept.activeSheet()->createCell(0, 0).setString(u"kept");
    const std::string shortShared = record(0x04BC, std::string(5, '\0'));
    EXPECT_THROW(load(kept, xlsOfSheetRecords(shortShared)), ESpreadSheetReaderError);
    EXPECT_EQ(kept.activeSheet()->getCell(0, 0).asString(), u"kept");
}

std::string mergedCells(uint16_t count, const std::vector<std::array<uint16_t, 4>>& ranges) {
    std::string data = u16(count);
    for (const auto& [firstRow, lastRow, firstColumn, lastColumn] : ranges)
        data += u16(firstRow) + u16(lastRow) + u16(firstColumn) + u16(lastColumn);
    return record(0x00E5, data);
}

// MERGEDCELLS as other programs write it, and damaged: a count beyond the record takes the
// ranges the record holds, ranges the sheet refuses stay unmerged, and a record too short for
// its count of ranges fails the load cleanly.
TEST(XlsReader, MergedCellsAreReadWithinTheirRecord) {
    const std::string records =
        mergedCells(3, {{0, 0, 0, 7}, {2, 5, 1, 1}, {0, 1, 3, 3}}) +      // A1:H1, B3:B6, D1:D2 overlapping
        mergedCells(9, {{9, 9, 0, 1}, {10, 10, 4, 4}}) +                  // A10:B10, a one-cell E11
        mergedCells(1, {{20, 21, 300, 301}}) + mergedCells(0, {}) +       // beyond .xls columns, still a sheet's
        mergedCells(2, {{30, 31, 2, 2}}) + record(0x00E5, u16(1) + std::string(5, '\x01'));
    Workbook book;
    load(book, xlsOfSheetRecords(records));
    const std::vector<CellRect> expected = {
        {0, 0, 7, 0}, {1, 2, 1, 5}, {0, 9, 1, 9}, {300, 20, 301, 21}, {2, 30, 2, 31}};
    EXPECT_EQ(book.sheet(0).mergedAreas(), expected);

    Workbook kept;
    kept.activeSheet()->createCell(0, 0).setString(u"kept");
    ASSERT_TRUE(kept.activeSheet()->addMergedArea({0, 0, 3, 0}));
    EXPECT_THROW(load(kept, xlsOfSheetRecords(mergedCells(1, {{0, 0, 0, 1}}) + record(0x00E5, "\x01"))),
                 ESpreadSheetReaderError);
    EXPECT_EQ(kept.activeSheet()->getCell(0, 0).asString(), u"kept");
    EXPECT_EQ(kept.activeSheet()->mergedAreas(), (std::vector<CellRect>{{0, 0, 3, 0}}));
}

// Our own files, damaged: every load either succeeds or fails with a reader error, and a failed
// load leaves the workbook as it was.
TEST(XlsWriter, DamagedFilesFailCleanly) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    for (int32_t r = 0; r < 40; ++r) {
        sheet.createCell(r, 0).setString(u"\u54C1\u540D " + std::u16string(size_t(r), u'x'));
        sheet.createCell(r, 1).setValue(CellValue::makeFloat(r * 1.25));
        sheet.createCell(r, 2).setFormula(u"=SUM(B1:B2)&A1");
    }
    const std::string bytes = saved(book);
    std::mt19937 random(11);
    for (int i = 0; i < 300; ++i) {
        std::string damaged = bytes;
        if (i % 3 == 0) {
            damaged.resize(1025 + random() % (bytes.size() - 1025));
        } else {
            for (int k = 0; k < 4; ++k) damaged[512 + random() % (damaged.size() - 512)] = char(random());
        }
        Workbook target;
        target.activeSheet()->createCell(0, 0).setString(u"kept");
        try {
            load(target, damaged);
        } catch (const ESpreadSheetReaderError&) {
            ASSERT_TRUE(target.activeSheet()->getCell(0, 0)) << i;
            EXPECT_EQ(target.activeSheet()->getCell(0, 0).asString(), u"kept") << i;
        } catch (const ESpreadSheetFormatError&) {
        }
    }
}

}  // namespace
}  // namespace kes
