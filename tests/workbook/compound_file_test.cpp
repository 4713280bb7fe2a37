#include "workbook/xls/compound_file.h"

#include <gtest/gtest.h>

#include <cstring>

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

}  // namespace
}  // namespace kes
