#include "workbook/xls/compound_file_writer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "workbook/xls/compound_file.h"

namespace kes {
namespace {

template <class T>
T at(const std::string& bytes, size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

std::string pattern(size_t size, uint32_t seed) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = char((i * 131 + seed * 7) >> 3);
    return bytes;
}

std::u16string nameOf(const std::string& file, size_t entry) {
    std::u16string name;
    for (size_t i = 0; i < 31; ++i) {
        const char16_t c = at<char16_t>(file, entry + i * 2);
        if (!c) break;
        name += c;
    }
    return name;
}

// Streams of every size class (empty, mini stream, exactly the cutoff, many sectors) come back
// byte for byte through our reader.
TEST(CompoundFileWriter, StreamsOfEverySizeReadBack) {
    const size_t sizes[] = {0, 1, 63, 64, 65, 4095, 4096, 4097, 70000};
    CompoundFileWriter writer;
    for (size_t i = 0; i < std::size(sizes); ++i)
        writer.add(u"S" + std::u16string(i + 1, u'x'), pattern(sizes[i], uint32_t(i)));
    const std::string file = writer.finish();
    EXPECT_EQ(file.size() % 512, 0u);
    const CompoundFile reader(file);
    for (size_t i = 0; i < std::size(sizes); ++i) {
        const auto stream = reader.stream(u"s" + std::u16string(i + 1, u'X'));
        ASSERT_TRUE(stream) << sizes[i];
        EXPECT_EQ(*stream, pattern(sizes[i], uint32_t(i))) << sizes[i];
    }
}

// Past 109 allocation table sectors the table's sectors are listed in DIFAT sectors.
TEST(CompoundFileWriter, BigFilesListTheirTablesInDifatSectors) {
    CompoundFileWriter writer;
    const std::string big = pattern(9'000'000, 3);
    writer.add(u"Workbook", big);
    const std::string file = writer.finish();
    EXPECT_GT(at<uint32_t>(file, 0x2C), 109u) << "FAT sectors";
    EXPECT_GE(at<uint32_t>(file, 0x48), 1u) << "DIFAT sectors";
    EXPECT_NE(at<uint32_t>(file, 0x44), 0xFFFFFFFEu);
    EXPECT_EQ(*CompoundFile(file).stream(u"Workbook"), big);
}

// The directory is a binary search tree by (length, upper case) and a valid red-black tree:
// no red node has a red child and every path from the root counts the same black nodes.
TEST(CompoundFileWriter, DirectoryIsAValidRedBlackTreeInNameOrder) {
    for (size_t count : {1u, 2u, 3u, 6u, 7u, 8u, 20u}) {
        CompoundFileWriter writer;
        std::vector<std::u16string> names;
        for (size_t i = 0; i < count; ++i)
            names.push_back(std::u16string(1 + i % 5, char16_t(u'a' + (i * 7) % 26)) + char16_t(u'A' + i));
        for (const auto& n : names) writer.add(n, "x");
        const std::string file = writer.finish();
        const size_t directory = (size_t(at<uint32_t>(file, 0x30)) + 1) * 512;
        const auto entry = [&](uint32_t id) { return directory + size_t(id) * 128; };
        EXPECT_EQ(uint8_t(file[entry(0) + 66]), 5);
        size_t seen = 0;
        int blackDepth = -1;
        std::function<void(uint32_t, int, bool, std::u16string*, std::u16string*)> walk =
            [&](uint32_t id, int blacks, bool parentRed, std::u16string* low, std::u16string* high) {
                if (id == 0xFFFFFFFF) {
                    if (blackDepth < 0) blackDepth = blacks;
                    EXPECT_EQ(blacks, blackDepth) << count;
                    return;
                }
                ++seen;
                std::u16string name = nameOf(file, entry(id));
                const bool red = file[entry(id) + 67] == 0;
                EXPECT_FALSE(red && parentRed) << count;
                if (low) {
                    EXPECT_LT(compareEntryNames(*low, name), 0);
                }
                if (high) {
                    EXPECT_GT(compareEntryNames(*high, name), 0);
                }
                walk(at<uint32_t>(file, entry(id) + 68), blacks + !red, red, low, &name);
                walk(at<uint32_t>(file, entry(id) + 72), blacks + !red, red, &name, high);
            };
        const uint32_t root = at<uint32_t>(file, entry(0) + 76);
        EXPECT_EQ(file[entry(root) + 67], 1) << "the tree's root is black";
        walk(root, 0, false, nullptr, nullptr);
        EXPECT_EQ(seen, count);
    }
}

TEST(CompoundFileWriter, NamesCompareByLengthThenUpperCaseAndBadNamesAreRefused) {
    EXPECT_LT(compareEntryNames(u"Zz", u"aaa"), 0);
    EXPECT_EQ(compareEntryNames(u"Workbook", u"WORKBOOK"), 0);
    EXPECT_LT(compareEntryNames(u"abc", u"ABD"), 0);
    CompoundFileWriter writer;
    writer.add(u"Workbook", "");
    EXPECT_THROW(writer.add(u"WORKBOOK", ""), ECompoundFileError);
    EXPECT_THROW(writer.add(std::u16string(32, u'n'), ""), ECompoundFileError);
    EXPECT_THROW(writer.add(u"a/b", ""), ECompoundFileError);
    EXPECT_THROW(writer.add(u"", ""), ECompoundFileError);
}

}  // namespace
}  // namespace kes
