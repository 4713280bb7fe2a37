#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"
#include "workbook/xls/compound_file_writer.h"

namespace kes {
namespace {

const SpreadSheetFormat& xls() { return *SpreadSheetFormatsRepository::instance().Find(u"a.xls"); }

std::string u16(uint16_t v) { return std::string{char(v & 0xFF), char(v >> 8)}; }
std::string u32(uint32_t v) { return u16(uint16_t(v)) + u16(uint16_t(v >> 16)); }
std::string f64(double v) {
    std::string out(8, '\0');
    std::memcpy(out.data(), &v, 8);
    return out;
}
// Bytes written as a literal, zeros included.
template <size_t N>
std::string raw(const char (&bytes)[N]) {
    return std::string(bytes, N - 1);
}
std::string record(uint16_t id, const std::string& data) { return u16(id) + u16(uint16_t(data.size())) + data; }

// Loaded through the .xls format itself, as the registry does not take a bare stream by content.
void load(Workbook& book, const std::string& bytes) {
    ByteStream stream{bytes, 0};
    LoadFromStream(book, stream, xls());
}

std::string inCompoundFile(const std::string& stream, std::u16string name = u"Book") {
    CompoundFileWriter file;
    file.add(std::move(name), stream);
    return file.finish();
}

// The records of one worksheet in the layout of BIFF2, BIFF3 or BIFF4.
struct OldSheet {
    int version;

    uint16_t bofId() const { return version == 2 ? 0x0009 : version == 3 ? 0x0209 : 0x0409; }
    std::string bof(uint16_t type = 0x0010) const { return record(bofId(), u16(0) + u16(type)); }
    // Row, column, and BIFF2's three attribute bytes or a 16-bit cell format.
    std::string cell(uint16_t row, uint16_t column, uint8_t xf) const {
        return u16(row) + u16(column) + (version == 2 ? std::string{char(xf), '\0', '\0'} : u16(xf));
    }
    std::string format(const std::string& code) const {
        const std::string text = char(code.size()) + code;
        return version == 4 ? record(0x041E, u16(0) + text) : record(0x001E, text);
    }
    std::string xf(uint8_t format) const {
        if (version == 2) return record(0x0043, std::string{'\0', '\0', char(format), '\0'});
        return record(version == 3 ? 0x0243 : 0x0443, std::string{'\0', char(format)} + std::string(10, '\0'));
    }
    std::string number(uint16_t row, uint16_t column, uint8_t xf, double value) const {
        return record(version == 2 ? 0x0003 : 0x0203, cell(row, column, xf) + f64(value));
    }
    std::string label(uint16_t row, uint16_t column, const std::string& bytes) const {
        return version == 2 ? record(0x0004, cell(row, column, 0) + char(bytes.size()) + bytes)
                            : record(0x0204, cell(row, column, 0) + u16(uint16_t(bytes.size())) + bytes);
    }
    std::string formula(uint16_t row, uint16_t column, const std::string& result, const std::string& tokens) const {
        if (version == 2) return record(0x0006, cell(row, column, 0) + result + '\0' + char(tokens.size()) + tokens);
        return record(version == 3 ? 0x0206 : 0x0406, cell(row, column, 0) + result + u16(0) + u16(uint16_t(tokens.size())) + tokens);
    }
    std::string string(const std::string& bytes) const {
        return version == 2 ? record(0x0007, char(bytes.size()) + bytes) : record(0x0207, u16(uint16_t(bytes.size())) + bytes);
    }
    std::string boolean(uint16_t row, uint16_t column, bool value) const {
        return record(version == 2 ? 0x0005 : 0x0205, cell(row, column, 0) + char(value) + '\0');
    }
    // A reference to a relative cell: the row with the relative flags, a one-byte column.
    static std::string ref(uint16_t row, uint8_t column) { return '\x44' + u16(uint16_t(row | 0xC000)) + char(column); }
    std::string function(uint16_t number) const { return '\x41' + (version <= 3 ? std::string(1, char(number)) : u16(number)); }
};

// The same worksheet written as Excel 2.1, 3 and 4 wrote it, bare or in a compound file: texts in
// the file's code page, dates by the cell format's number format, formulas by their tokens with
// their results, the 1904 date system, column widths; an embedded chart's numbers do not become
// cells.
TEST(OldBiff, Biff2To4WorksheetsReadAlike) {
    for (int version : {2, 3, 4}) {
        const OldSheet s{version};
        const std::string stringResult = std::string(6, '\0') + "\xFF\xFF";
        const std::string stream =
            s.bof() + record(0x0042, u16(version == 4 ? 1252 : 0x8001)) + record(0x0022, u16(1)) + s.format("General") +
            s.format("yyyy-mm-dd") + s.xf(0) + s.xf(1) + s.number(0, 0, 1, 45366) + s.label(1, 0, "Gr\xF6\xDF" "e \x80") +
            s.formula(2, 0, f64(45367), OldSheet::ref(0, 0) + raw("\x1E\x01\x00\x03")) +
            s.formula(3, 0, f64(7), OldSheet::ref(1, 0) + s.function(32)) +
            s.formula(4, 0, stringResult, OldSheet::ref(1, 0) + "\x17\x01!" + "\x08") + s.string("Gr\xF6\xDF" "e \x80!") +
            s.boolean(5, 0, true) + s.bof(0x0020) + s.number(0, 0, 0, 999) + record(0x000A, "") +
            (version == 2 ? record(0x0002, s.cell(0, 1, 0) + u16(42)) : record(0x027E, s.cell(0, 1, 0) + u32(42 << 2 | 2))) +
            // Columns C and D 20 characters wide: 145 pixels.
            (version == 2 ? record(0x0024, raw("\x02\x03") + u16(20 * 256)) : record(0x007D, u16(2) + u16(3) + u16(20 * 256) + u16(0) + u16(0))) +
            record(0x000A, "");
        Workbook bare, wrapped;
        load(bare, stream);
        // Some programs put such a stream in a compound file, which the registry takes by content.
        ByteStream compound{inCompoundFile(stream), 0};
        LoadFromStream(wrapped, compound);
        for (Workbook* book : {&bare, &wrapped}) {
            ASSERT_EQ(book->sheetCount(), 1) << version;
            EXPECT_TRUE(book->settings().date1904) << version;
            SheetTable& sheet = book->sheet(0);
            EXPECT_EQ(sheet.getCell(0, 0).displayText(), u"2028-03-16") << version;
            EXPECT_EQ(sheet.getCell(1, 0).asString(), u"Gr\u00F6\u00DFe \u20AC") << version;
            EXPECT_EQ(sheet.getCell(2, 0).formulaText(), u"=A1+1") << version;
            EXPECT_EQ(sheet.getCell(2, 0).displayText(), u"45367") << version;
            EXPECT_EQ(sheet.getCell(3, 0).formulaText(), u"=LEN(A2)") << version;
            EXPECT_EQ(sheet.getCell(3, 0).displayText(), u"7") << version;
            EXPECT_EQ(sheet.getCell(4, 0).formulaText(), u"=A2&\"!\"") << version;
            EXPECT_EQ(sheet.getCell(4, 0).displayText(), u"Gr\u00F6\u00DFe \u20AC!") << version;
            EXPECT_EQ(sheet.getCell(5, 0).displayText(), u"TRUE") << version;
            EXPECT_EQ(sheet.getCell(0, 1).asFloat(), 42) << version;
            EXPECT_EQ(sheet.columnWidth(3), 145) << version;
            EXPECT_EQ(sheet.columnWidth(4), sheet.defaultColumnWidth) << version;
        }
    }
}

// An Excel 4 workbook: its sheets' substreams follow the globals in the order the BUNDLESHEET
// records name them; a chart sheet among them is passed over and the sheets after it are read.
TEST(OldBiff, Biff4WorkbookSheetsFollowTheirGlobalsInOrder) {
    const OldSheet s{4};
    const auto bundle = [](const std::string& name) { return record(0x008F, u32(0) + u16(0) + char(name.size()) + name); };
    const std::string stream = s.bof(0x0100) + record(0x0042, u16(1252)) + bundle("First") + bundle("Chart") + bundle("Third") +
                               record(0x000A, "") + s.bof() + s.number(0, 0, 0, 1) + record(0x000A, "") + s.bof(0x0020) +
                               s.number(0, 0, 0, 2) + record(0x000A, "") + s.bof() + s.label(0, 0, "\xE9") + record(0x000A, "");
    Workbook book;
    load(book, stream);
    ASSERT_EQ(book.sheetCount(), 2);
    EXPECT_EQ(book.sheet(0).name(), u"First");
    EXPECT_EQ(book.sheet(0).getCell(0, 0).asFloat(), 1);
    EXPECT_EQ(book.sheet(1).name(), u"Third");
    EXPECT_EQ(book.sheet(1).getCell(0, 0).asString(), u"\u00E9");
}

// An Excel 95 workbook of a Chinese Windows: sheet names and texts in code page 936, a formula
// on another sheet by a 3-D reference, a chart embedded in a sheet whose numbers stay its own.
TEST(OldBiff, Excel95WorkbookInItsCodePage) {
    const std::string bof5 = u16(0x0500) + u16(0x0005) + std::string(4, '\0');
    const std::string sheetBof = u16(0x0500) + u16(0x0010) + std::string(4, '\0');
    const std::string chartBof = u16(0x0500) + u16(0x0020) + std::string(4, '\0');
    const std::string name1 = "\xC6\xB7\xC3\xFB", name2 = "Sheet2";   // 品名
    const auto globals = [&](uint32_t first, uint32_t second) {
        return record(0x0809, bof5) + record(0x0042, u16(936)) + record(0x00E0, std::string(16, '\0')) +
               record(0x0085, u32(first) + std::string(2, '\0') + char(name1.size()) + name1) +
               record(0x0085, u32(second) + std::string(2, '\0') + char(name2.size()) + name2) +
               record(0x0017, char(name1.size() + 1) + ("\x03" + name1)) + record(0x000A, "");
    };
    const std::string cellHead = u16(0) + u16(1) + u16(0);
    const std::string first = record(0x0809, sheetBof) + record(0x0204, u16(0) + u16(0) + u16(0) + u16(4) + "\xC6\xBB\xB9\xFB") +
                              record(0x0203, cellHead + f64(12.5)) + record(0x0809, chartBof) + record(0x0203, u16(0) + u16(0) + u16(0) + f64(999)) +
                              record(0x0809, chartBof) + record(0x000A, "") + record(0x000A, "") +
                              record(0x00D6, u16(1) + u16(0) + u16(0) + u16(4) + "\xC2\xCC\xB2\xE8" + '\x01' + u16(0) + u16(0)) +
                              record(0x000A, "");
    // ='品名'!B1*2: tRef3d of this workbook (a negative EXTERNSHEET), sheets 0 to 0.
    const std::string tokens = "\x5A" + u16(0xFFFF) + std::string(8, '\0') + u16(0) + u16(0) + u16(0xC000) + '\x01' + raw("\x1E\x02\x00\x05");
    const std::string second = record(0x0809, sheetBof) +
                               record(0x0006, u16(0) + u16(0) + u16(0) + f64(25) + u16(0) + u32(0) + u16(uint16_t(tokens.size())) + tokens) +
                               record(0x000A, "");
    const size_t globalsSize = globals(0, 0).size();
    const std::string stream = globals(uint32_t(globalsSize), uint32_t(globalsSize + first.size())) + first + second;

    Workbook book;
    load(book, inCompoundFile(stream));
    ASSERT_EQ(book.sheetCount(), 2);
    EXPECT_EQ(book.sheet(0).name(), u"\u54C1\u540D");
    EXPECT_EQ(book.sheet(0).getCell(0, 0).asString(), u"\u82F9\u679C");
    EXPECT_EQ(book.sheet(0).getCell(0, 1).asFloat(), 12.5);
    EXPECT_EQ(book.sheet(0).getCell(1, 0).asString(), u"\u7EFF\u8336");
    EXPECT_EQ(book.sheet(1).getCell(0, 0).formulaText(), u"=\u54C1\u540D!B1*2");
    EXPECT_EQ(book.sheet(1).getCell(0, 0).displayText(), u"25");
}

// An Excel 95 file converted by another program, with its texts in code page 1252, dates and
// formulas across sheets.
TEST(OldBiff, AnotherProgramsExcel95FileReadsAsItsWriterSavedIt) {
    const auto path = std::filesystem::path(KES_SOURCE_DIR) / "tests" / "workbook" / "xls" / "fixtures" / "biff7_latin.xls";
    Workbook book;
    LoadFromFile(book, path.u16string());
    ASSERT_EQ(book.sheetCount(), 2);
    SheetTable& first = book.sheet(0);
    SheetTable& second = book.sheet(1);
    EXPECT_EQ(first.name(), u"Gr\u00F6\u00DFe");
    EXPECT_EQ(first.getCell(1, 0).asString(), u"Caf\u00E9 cr\u00E8me");
    EXPECT_EQ(first.getCell(2, 0).asString(), u"Preis in \u20AC");
    EXPECT_EQ(first.getCell(1, 2).displayText(), u"2024-03-15");
    EXPECT_EQ(first.getCell(3, 0).displayText(), u"Caf\u00E9 cr\u00E8me (Summe)");
    EXPECT_EQ(first.getCell(2, 3).displayText(), u"#DIV/0!");
    EXPECT_EQ(second.getCell(0, 0).formulaText(), u"=Gr\u00F6\u00DFe!B2*2");
    EXPECT_EQ(second.getCell(0, 0).displayText(), u"25");
    EXPECT_EQ(second.getCell(0, 1).displayText(), u"viel");
    EXPECT_EQ(second.getCell(0, 2).displayText(), u"19.5");
}

// A BIFF8 workbook of one sheet "Data" holding RECORDS.
std::string biff8Workbook(const std::string& records) {
    const std::string bof = u16(0x0600) + u16(0x0005) + std::string(12, '\0');
    const auto globals = [&](uint32_t sheetAt) {
        return record(0x0809, bof) + record(0x0085, u32(sheetAt) + std::string(2, '\0') + raw("\x04\x00" "Data")) + record(0x000A, "");
    };
    const std::string sheetBof = u16(0x0600) + u16(0x0010) + std::string(12, '\0');
    return inCompoundFile(globals(uint32_t(globals(0).size())) + record(0x0809, sheetBof) + records + record(0x000A, ""),
                          u"Workbook");
}

std::string biff8Formula(uint16_t row, const std::string& result, const std::string& tokens) {
    return record(0x0006, u16(row) + u16(0) + u16(0) + result + u16(0) + u32(0) + u16(uint16_t(tokens.size())) + tokens);
}

// What Excel writes at record boundaries and in numbers it never stores: a formula's long text
// result (kept as the cell's value, its tokens being damaged) goes on in CONTINUE records, each starting with its own character-width flag; NaN and
// infinities (a damaged cell, a chart's cache) read as #NUM!; an embedded chart, even one whose
// EOF is missing, leaves the sheet's cells alone.
TEST(OldBiff, Biff8ContinuedStringsNonFiniteNumbersAndEmbeddedCharts) {
    const std::string textResult = std::string(6, '\0') + "\xFF\xFF";
    double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const std::string chartBof = u16(0x0600) + u16(0x0020) + std::string(12, '\0');
    const std::string records =
        biff8Formula(0, textResult, raw("\x17\x01")) + record(0x0207, u16(6) + '\0' + "abc") + record(0x003C, "\x01" + u16(0x54C1) + u16(0x540D) + u16(0x7532)) +
        record(0x0203, u16(1) + u16(0) + u16(0) + f64(nan)) + record(0x027E, u16(2) + u16(0) + u16(0) + u32(0x7FF00000)) +
        biff8Formula(3, f64(-inf), "") + record(0x0203, u16(4) + u16(0) + u16(0) + f64(1.5)) + record(0x0809, chartBof) +
        record(0x0203, u16(4) + u16(0) + u16(0) + f64(999)) + record(0x0809, chartBof) + record(0x0203, u16(5) + u16(0) + u16(0) + f64(998));
    Workbook book;
    load(book, biff8Workbook(records));
    SheetTable& sheet = book.sheet(0);
    EXPECT_EQ(sheet.getCell(0, 0).displayText(), u"abc\u54C1\u540D\u7532");
    for (int32_t row : {1, 2, 3}) EXPECT_EQ(sheet.getCell(row, 0).displayText(), u"#NUM!") << row;
    EXPECT_EQ(sheet.getCell(4, 0).asFloat(), 1.5);
    EXPECT_FALSE(sheet.getCell(5, 0));
}

// Damaged records of every version fail the load with an error naming the record, and leave
// the workbook as it was.
TEST(OldBiff, DamagedRecordsFailCleanlyAndNameTheRecord) {
    const OldSheet biff2{2}, biff3{3};
    const struct {
        std::string bytes;
        std::string error;
    } cases[] = {
        {biff2.bof() + record(0x0003, biff2.cell(0, 0, 0) + "\x01\x02"), "NUMBER record is too short"},
        {biff3.bof() + record(0x0204, biff3.cell(0, 0, 0) + u16(40) + "abc"), "LABEL record is too short for its text"},
        {biff3.bof() + record(0x0206, biff3.cell(0, 0, 0) + "\x01"), "FORMULA record is too short"},
        {biff2.bof() + record(0x0018, raw("\x00\x00\x00\x09\x00" "ab")), "NAME record is too short for its name"},
        {biff3.bof(0x0040), "holds no worksheet"},
        {record(0x0809, u16(0x0300) + u16(0x0005)), "unknown version"},
        {inCompoundFile(record(0x0809, u16(0x0500) + u16(0x0005)) + record(0x0085, u32(999999) + raw("\x00\x00\x01S")) + record(0x000A, "")),
         "beyond the end of the stream"},
    };
    for (const auto& c : cases) {
        Workbook book;
        book.activeSheet()->createCell(0, 0).setString(u"kept");
        try {
            load(book, c.bytes);
            ADD_FAILURE() << c.error << ": loaded";
        } catch (const ESpreadSheetReaderError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
        ASSERT_EQ(book.sheetCount(), 1);
        EXPECT_EQ(book.activeSheet()->getCell(0, 0).asString(), u"kept") << c.error;
    }
}

}  // namespace
}  // namespace kes
