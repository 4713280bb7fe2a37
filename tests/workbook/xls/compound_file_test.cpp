#include "workbook/xls/compound_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "sheet/sheet_bounds.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"

namespace kes {
namespace {

template <class T>
void putAt(std::string& bytes, size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof(T));
}

// A compound file of 512-byte sectors: sector 0 holds the allocation table, sector 1 the
// directory with its root entry and one stream "Workbook" in sectors 2 and 3.
std::string compoundFile(uint32_t afterSector2, uint32_t directoryNext) {
    std::string bytes(512 * 5, '\0');
    std::memcpy(bytes.data(), "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    putAt<uint16_t>(bytes, 0x1A, 3);
    putAt<uint16_t>(bytes, 0x1C, 0xFFFE);
    putAt<uint16_t>(bytes, 0x1E, 9);
    putAt<uint16_t>(bytes, 0x20, 6);
    putAt<uint32_t>(bytes, 0x2C, 1);             // one table sector
    putAt<uint32_t>(bytes, 0x30, 1);             // the directory starts in sector 1
    putAt<uint32_t>(bytes, 0x38, 4096);
    putAt<uint32_t>(bytes, 0x3C, 0xFFFFFFFE);    // no mini table
    putAt<uint32_t>(bytes, 0x44, 0xFFFFFFFE);
    putAt<uint32_t>(bytes, 0x4C, 0);             // the table is sector 0
    for (size_t i = 1; i < 109; ++i) putAt<uint32_t>(bytes, 0x4C + i * 4, 0xFFFFFFFF);
    const size_t table = 512;
    putAt<uint32_t>(bytes, table + 0, 0xFFFFFFFD);
    putAt<uint32_t>(bytes, table + 4, directoryNext);
    putAt<uint32_t>(bytes, table + 8, afterSector2);
    putAt<uint32_t>(bytes, table + 12, 0xFFFFFFFE);
    for (size_t i = 4; i < 128; ++i) putAt<uint32_t>(bytes, table + i * 4, 0xFFFFFFFF);
    const auto entry = [&](size_t at, std::u16string_view name, uint8_t type, uint32_t start, uint32_t size) {
        for (size_t i = 0; i < name.size(); ++i) putAt<char16_t>(bytes, at + i * 2, name[i]);
        putAt<uint16_t>(bytes, at + 64, uint16_t((name.size() + 1) * 2));
        bytes[at + 66] = char(type);
        putAt<uint32_t>(bytes, at + 116, start);
        putAt<uint32_t>(bytes, at + 120, size);
    };
    const size_t directory = 1024;
    entry(directory, u"Root Entry", 5, 0xFFFFFFFE, 0);
    entry(directory + 128, u"Workbook", 2, 2, 5000);
    return bytes;
}

TEST(CompoundFile, CyclicOrBrokenChainsEndInAnError) {
    std::string bytes = compoundFile(3, 0xFFFFFFFE);
    bytes.resize(512 * 11 + 512, 'x');   // room for the stream's ten sectors... which the table does not chain
    EXPECT_THROW(CompoundFile(bytes).stream(u"Workbook"), ECompoundFileError) << "a stream longer than its chain";

    const std::string cyclicStream = compoundFile(2, 0xFFFFFFFE);
    EXPECT_THROW(CompoundFile(cyclicStream).stream(u"workbook"), ECompoundFileError);
    const std::string cyclicDirectory = compoundFile(3, 1);
    EXPECT_THROW(CompoundFile{cyclicDirectory}, ECompoundFileError);
}

TEST(CompoundFile, ADamagedXlsFailsAndLeavesTheWorkbookAsItWas) {
    Workbook book;
    book.activeSheet()->createCell(0, 0).setText(u"kept", 0);
    ByteStream stream{compoundFile(2, 0xFFFFFFFE), 0};
    EXPECT_THROW(LoadFromStream(book, stream), ESpreadSheetReaderError);
    ASSERT_TRUE(book.activeSheet()->getCell(0, 0));
    EXPECT_EQ(book.activeSheet()->getCell(0, 0).displayText(), u"kept");
}

// A compound file of 4096-byte sectors whose "Workbook" stream holds the given bytes (at least
// 4096 of them, which keeps it out of the mini stream): sector 0 the table, 1 the directory,
// 2.. the stream.
std::string compoundFileWith(std::string stream) {
    constexpr size_t kSector = 4096;
    stream.resize(std::max<size_t>((stream.size() + kSector - 1) / kSector * kSector, kSector), '\0');
    const uint32_t sectors = uint32_t(stream.size() / kSector);
    EXPECT_LE(sectors + 2, kSector / 4) << "one table sector";
    std::string bytes(kSector * 3, '\0');
    std::memcpy(bytes.data(), "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    putAt<uint16_t>(bytes, 0x1A, 4);
    putAt<uint16_t>(bytes, 0x1C, 0xFFFE);
    putAt<uint16_t>(bytes, 0x1E, 12);
    putAt<uint16_t>(bytes, 0x20, 6);
    putAt<uint32_t>(bytes, 0x2C, 1);
    putAt<uint32_t>(bytes, 0x30, 1);
    putAt<uint32_t>(bytes, 0x38, 4096);
    putAt<uint32_t>(bytes, 0x3C, 0xFFFFFFFE);
    putAt<uint32_t>(bytes, 0x44, 0xFFFFFFFE);
    for (size_t i = 0; i < 109; ++i) putAt<uint32_t>(bytes, 0x4C + i * 4, i == 0 ? 0 : 0xFFFFFFFF);
    const size_t table = kSector;
    for (size_t i = 0; i < kSector / 4; ++i) putAt<uint32_t>(bytes, table + i * 4, 0xFFFFFFFF);
    putAt<uint32_t>(bytes, table, 0xFFFFFFFD);
    putAt<uint32_t>(bytes, table + 4, 0xFFFFFFFE);
    for (uint32_t i = 0; i < sectors; ++i) putAt<uint32_t>(bytes, table + (2 + i) * 4, i + 1 < sectors ? 3 + i : 0xFFFFFFFE);
    const auto entry = [&](size_t at, std::u16string_view name, uint8_t type, uint32_t start, uint64_t size) {
        for (size_t i = 0; i < name.size(); ++i) putAt<char16_t>(bytes, at + i * 2, name[i]);
        putAt<uint16_t>(bytes, at + 64, uint16_t((name.size() + 1) * 2));
        bytes[at + 66] = char(type);
        putAt<uint32_t>(bytes, at + 116, start);
        putAt<uint64_t>(bytes, at + 120, size);
    };
    entry(2 * kSector, u"Root Entry", 5, 0xFFFFFFFE, 0);
    entry(2 * kSector + 128, u"Workbook", 2, 2, stream.size());
    return bytes + stream;
}

void record(std::string& out, uint16_t id, const std::string& data) {
    const size_t at = out.size();
    out.resize(at + 4);
    putAt<uint16_t>(out, at, id);
    putAt<uint16_t>(out, at + 2, uint16_t(data.size()));
    out += data;
}

// A BIFF8 workbook stream: the globals name `sheets` worksheets that all start at the one sheet
// of 150 numbers that follows them.
std::string workbookStream(int sheets) {
    std::string bof(16, '\0');
    putAt<uint16_t>(bof, 0, 0x0600);
    std::string out;
    record(out, 0x0809, bof);
    const size_t sheetAt = 20 + size_t(sheets) * 15 + 4;
    for (int i = 0; i < sheets; ++i) {
        std::string boundSheet = std::string(6, '\0') + std::string("\x03\0S", 3) + char('1' + i) + "x";
        putAt<uint32_t>(boundSheet, 0, uint32_t(sheetAt));
        record(out, 0x0085, boundSheet);
    }
    record(out, 0x000A, "");
    EXPECT_EQ(out.size(), sheetAt);
    record(out, 0x0809, bof);
    for (uint16_t row = 0; row < 150; ++row) {
        std::string number(14, '\0');
        putAt<uint16_t>(number, 0, row);
        putAt<double>(number, 6, row * 1.5);
        record(out, 0x0203, number);
    }
    record(out, 0x000A, "");
    return out;
}

// Every sheet of a hostile file may point at the same records; read once per sheet they would
// make a few kilobytes cost as many passes over the stream as it names sheets.
TEST(XlsReader, SheetsSharingTheirRecordsAreRefusedAndTheWorkbookKept) {
    Workbook book;
    ByteStream sound{compoundFileWith(workbookStream(1)), 0};
    LoadFromStream(book, sound);
    ASSERT_EQ(book.sheetCount(), 1);
    EXPECT_EQ(book.sheet(0).getCell(149, 0).asFloat(), 223.5);

    book.sheet(0).createCell(0, 0).setText(u"kept", 0);
    ByteStream shared{compoundFileWith(workbookStream(2)), 0};
    try {
        LoadFromStream(book, shared);
        ADD_FAILURE() << "two sheets on the same records were read";
    } catch (const ESpreadSheetReaderError& e) {
        EXPECT_NE(std::string(e.what()).find("overlap"), std::string::npos) << e.what();
    }
    ASSERT_EQ(book.sheetCount(), 1);
    EXPECT_EQ(book.sheet(0).getCell(0, 0).displayText(), u"kept");
}

// Each sheet costs kilobytes however empty; a file may not make the cell store hold more than
// kMaxSheets of them.
TEST(XlsReader, RefusesMoreSheetsThanAWorkbookHolds) {
    std::string bof(16, '\0');
    putAt<uint16_t>(bof, 0, 0x0600);
    std::string stream;
    record(stream, 0x0809, bof);
    for (int i = 0; i <= kMaxSheets; ++i) record(stream, 0x0085, std::string(6, '\0') + std::string("\x01\0S", 3));
    record(stream, 0x000A, "");
    Workbook book;
    book.activeSheet()->createCell(0, 0).setText(u"kept", 0);
    ByteStream tooMany{compoundFileWith(stream), 0};
    try {
        LoadFromStream(book, tooMany);
        ADD_FAILURE() << "loaded";
    } catch (const ESpreadSheetReaderError& e) {
        EXPECT_NE(std::string(e.what()).find("more than 10000 sheets"), std::string::npos) << e.what();
    }
    ASSERT_EQ(book.sheetCount(), 1);
    EXPECT_EQ(book.sheet(0).getCell(0, 0).displayText(), u"kept");
}

// More different number formats than the cell store holds styles: its refusal comes out as the
// reader's error, like every other fault of the file.
TEST(XlsReader, MoreNumberFormatsThanStylesIsAReaderError) {
    std::string bof(16, '\0');
    putAt<uint16_t>(bof, 0, 0x0600);
    std::string stream;
    record(stream, 0x0809, bof);
    for (uint32_t i = 0; i < 65536; ++i) {
        const std::string code = "0\"" + std::to_string(i) + "\"";
        std::string format(5, '\0');   // the index, then the code's length and 8-bit characters
        putAt<uint16_t>(format, 0, uint16_t(i));
        putAt<uint16_t>(format, 2, uint16_t(code.size()));
        record(stream, 0x041E, format + code);
    }
    for (uint32_t i = 0; i < 65536; ++i) {
        std::string xf(20, '\0');   // a BIFF8 XF record: font, format, then the look
        putAt<uint16_t>(xf, 2, uint16_t(i));
        record(stream, 0x00E0, xf);
    }
    record(stream, 0x000A, "");
    Workbook book;
    ByteStream bytes{compoundFileWith(stream), 0};
    try {
        LoadFromStream(book, bytes);
        ADD_FAILURE() << "loaded";
    } catch (const ESpreadSheetReaderError& e) {
        EXPECT_NE(std::string(e.what()).find("too many different cell styles"), std::string::npos) << e.what();
    }
}

}  // namespace
}  // namespace kes
