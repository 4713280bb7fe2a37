#include "workbook/zip/zip_reader.h"
#include "workbook/zip/zip_writer.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace kes {
namespace {

template <class T>
void put(std::string& out, T value) {
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    out.append(bytes, sizeof(T));
}

std::string rawDeflate(const std::string& data) {
    z_stream z{};
    deflateInit2(&z, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, data.size()), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

struct Part {
    std::string name;
    std::string data;
    uint16_t flags = 0;
    int64_t declaredSize = -1;   // what the headers claim, when it should differ from the truth
    int64_t crcDelta = 0;
};

// An archive of deflated parts, with the headers saying what each part asks for.
std::string makeZip(const std::vector<Part>& parts) {
    std::string zip, directory;
    for (const Part& p : parts) {
        const std::string packed = rawDeflate(p.data);
        const uint32_t crc = static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(p.data.data()), static_cast<uInt>(p.data.size())) + p.crcDelta);
        const uint32_t size = static_cast<uint32_t>(p.declaredSize >= 0 ? p.declaredSize : int64_t(p.data.size()));
        const uint32_t offset = static_cast<uint32_t>(zip.size());
        put<uint32_t>(zip, 0x04034b50); put<uint16_t>(zip, 20); put<uint16_t>(zip, p.flags); put<uint16_t>(zip, 8);
        put<uint32_t>(zip, 0); put<uint32_t>(zip, crc); put<uint32_t>(zip, uint32_t(packed.size())); put<uint32_t>(zip, size);
        put<uint16_t>(zip, uint16_t(p.name.size())); put<uint16_t>(zip, 0);
        zip += p.name + packed;
        put<uint32_t>(directory, 0x02014b50); put<uint16_t>(directory, 20); put<uint16_t>(directory, 20);
        put<uint16_t>(directory, p.flags); put<uint16_t>(directory, 8); put<uint32_t>(directory, 0); put<uint32_t>(directory, crc);
        put<uint32_t>(directory, uint32_t(packed.size())); put<uint32_t>(directory, size);
        put<uint16_t>(directory, uint16_t(p.name.size())); put<uint16_t>(directory, 0); put<uint16_t>(directory, 0);
        put<uint16_t>(directory, 0); put<uint16_t>(directory, 0); put<uint32_t>(directory, 0); put<uint32_t>(directory, offset);
        directory += p.name;
    }
    const uint32_t directoryOffset = static_cast<uint32_t>(zip.size());
    zip += directory;
    put<uint32_t>(zip, 0x06054b50); put<uint16_t>(zip, 0); put<uint16_t>(zip, 0);
    put<uint16_t>(zip, uint16_t(parts.size())); put<uint16_t>(zip, uint16_t(parts.size()));
    put<uint32_t>(zip, uint32_t(directory.size())); put<uint32_t>(zip, directoryOffset); put<uint16_t>(zip, 0);
    return zip;
}

// An entry read as a stream, `piece` bytes at a time.
std::string readInPieces(const ZipReader& reader, const ZipEntry& entry, size_t piece) {
    ZipEntryReader bytes = reader.open(entry);
    std::string out, buffer(piece, '\0');
    while (const size_t n = bytes.read(buffer.data(), piece)) out.append(buffer, 0, n);
    EXPECT_EQ(bytes.read(buffer.data(), piece), 0u) << "the end is read again as the end";
    return out;
}

TEST(ZipReader, ReadsPartsByNameIgnoringCaseAndALeadingSlash) {
    const std::string zip = makeZip({{"xl/workbook.xml", "<workbook/>"}, {"xl/sharedStrings.xml", std::string(100000, 'x')}});
    const ZipReader reader(zip);
    ASSERT_EQ(reader.entries().size(), 2u);
    const ZipEntry* strings = reader.find("/xl/SharedStrings.xml");
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(reader.extract(*strings), std::string(100000, 'x'));
    EXPECT_EQ(reader.find("xl/styles.xml"), nullptr);
    for (size_t piece : {1, 7, 4096, 1 << 20}) EXPECT_EQ(readInPieces(reader, *strings, piece), std::string(100000, 'x'));
}

// Our writer's parts read back whole: a large one is deflated in pieces joined into one stream,
// an incompressible one is stored, an empty one is empty.
TEST(ZipReader, ReadsBackWhatOurWriterWrites) {
    std::string large, noise;
    uint32_t state = 12345;
    for (int row = 0; large.size() < (9u << 20) + 777; ++row)
        large += "<row r=\"" + std::to_string(row) + "\"><c t=\"s\"><v>" + std::to_string(row * 7919 % 100003) + "</v></c></row>";
    for (int i = 0; i < 100000; ++i) noise.push_back(char((state = state * 1103515245 + 12345) >> 24));
    ZipWriter writer;
    writer.add("xl/worksheets/sheet1.xml", large);
    writer.add("media/noise.bin", noise);
    writer.add("empty.xml", "");
    const std::string zip = writer.finish();
    const ZipReader reader(zip);
    ASSERT_EQ(reader.entries().size(), 3u);
    EXPECT_EQ(reader.extract(reader.entries()[0]), large);
    EXPECT_LT(reader.entries()[0].compressedSize, large.size() / 4);
    EXPECT_EQ(reader.entries()[1].method, 0) << "stored: deflate would make it larger";
    EXPECT_EQ(reader.extract(reader.entries()[1]), noise);
    EXPECT_EQ(reader.extract(reader.entries()[2]), "");
}

// A part written piece by piece, in writes of every size across the 4 MB pieces the writer
// deflates on a second thread, reads back as the same bytes: one deflate stream, one CRC.
TEST(ZipReader, ReadsBackPartsWrittenPieceByPiece) {
    std::string data;
    for (int64_t row = 0; data.size() < (13u << 20) + 3; ++row)
        data += "<row r=\"" + std::to_string(row) + "\"><c><v>" + std::to_string(row * 7919 % 100003) + "</v></c></row>";
    ZipWriter writer;
    writer.add("first.xml", "<a/>");
    ZipWriter::Part part = writer.open("xl/worksheets/sheet1.xml");
    size_t at = 0;
    for (size_t step = 1; at < data.size(); step = step * 3 % 5000011 + 1) {
        const size_t n = std::min(step, data.size() - at);
        part.write(std::string_view(data).substr(at, n));
        at += n;
    }
    part.close();
    ZipWriter::Part empty = writer.open("empty.xml");
    empty.close();
    ZipWriter::Part exact = writer.open("exact.xml");
    exact.write(std::string_view(data).substr(0, 4 << 20));
    exact.close();
    writer.add("last.xml", "<b/>");
    const std::string zip = writer.finish();
    const ZipReader reader(zip);
    ASSERT_EQ(reader.entries().size(), 5u);
    EXPECT_EQ(reader.extract(reader.entries()[0]), "<a/>");
    EXPECT_EQ(reader.extract(reader.entries()[1]), data);
    EXPECT_LT(reader.entries()[1].compressedSize, data.size() / 4);
    EXPECT_EQ(reader.extract(reader.entries()[2]), "");
    EXPECT_EQ(reader.extract(reader.entries()[3]), data.substr(0, 4 << 20));
    EXPECT_EQ(reader.extract(reader.entries()[4]), "<b/>");
}

TEST(ZipReader, RefusesDamagedAndHostileArchives) {
    struct Case { std::vector<Part> parts; const char* error; };
    const Case cases[] = {
        {{{"bomb.xml", std::string(1 << 20, 'a'), 0, 1000}}, "inflates beyond"},
        {{{"short.xml", std::string(1000, 'a'), 0, 5000}}, "damaged"},
        {{{"crc.xml", "hello", 0, -1, 1}}, "CRC"},
        {{{"secret.xml", "hello", 1}}, "encrypted"},
        {{{"huge.xml", "hello", 0, int64_t(3) << 30}}, "beyond the limit"},
        {{{"claims.xml", "hello", 0, int64_t(900) << 20}}, "more than deflate can give"},
    };
    for (const Case& c : cases) {
        const std::string zip = makeZip(c.parts);
        const ZipReader reader(zip);
        try {
            reader.extract(reader.entries().front());
            ADD_FAILURE() << c.parts.front().name << " was extracted";
        } catch (const EZipError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
        // Read as a stream, the same entry fails the same way, at the latest with its last bytes.
        try {
            readInPieces(ZipReader(zip), reader.entries().front(), 1000);
            ADD_FAILURE() << c.parts.front().name << " was read as a stream";
        } catch (const EZipError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
    }
}

// Every prefix of a real workbook, each at the end of its own allocation so that a read past
// it is caught under a sanitizer: a clear error or, for the whole file, success.
TEST(ZipReader, EveryTruncationFailsWithAnError) {
    const auto path = std::filesystem::path(KES_SOURCE_DIR) / ".." / "shared" / "corpus" / "files" / "calamine_date.xlsx";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus beside the project";
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    const std::string whole = s.str();
    for (size_t length = 0; length < whole.size(); length += 3) {
        auto copy = std::make_unique<char[]>(length + 1);
        std::memcpy(copy.get(), whole.data(), length);
        try {
            const ZipReader reader(std::string_view(copy.get(), length));
            for (const ZipEntry& entry : reader.entries()) reader.extract(entry);
        } catch (const EZipError&) {
        }
    }
    const ZipReader reader(whole);
    for (const ZipEntry& entry : reader.entries()) EXPECT_NO_THROW(reader.extract(entry)) << entry.name;
}

}  // namespace
}  // namespace kes
