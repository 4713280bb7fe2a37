#include "workbook/xls/compound_file_writer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>

#include "workbook/xls/compound_file.h"

namespace kes {
namespace {

constexpr size_t kSector = 512, kMiniSector = 64, kMiniCutoff = 4096;
constexpr size_t kEntriesPerSector = kSector / 4;   // allocation table entries
constexpr size_t kDifatInHeader = 109;
constexpr uint32_t kEndOfChain = 0xFFFFFFFE, kFree = 0xFFFFFFFF, kFatSector = 0xFFFFFFFD,
                   kDifatSector = 0xFFFFFFFC;
constexpr uint32_t kNoStream = 0xFFFFFFFF;

template <class T>
void putAt(std::string& bytes, size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof(T));
}

size_t sectorsFor(size_t bytes, size_t unit) { return (bytes + unit - 1) / unit; }

// The case folding of directory names: ASCII and Latin-1 letters, which covers the names
// compound files are given in practice; other characters compare as they are.
char16_t upper(char16_t c) {
    if (c >= u'a' && c <= u'z') return char16_t(c - 32);
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return char16_t(c - 32);
    return c;
}

struct DirectoryEntry {
    std::u16string name;
    uint8_t type = 0;    // 0 unused, 2 stream, 5 root storage
    uint8_t color = 1;   // 0 red, 1 black
    uint32_t left = kNoStream, right = kNoStream, child = kNoStream;
    uint32_t start = kEndOfChain;
    uint64_t size = 0;
};

}  // namespace

int compareEntryNames(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (size_t i = 0; i < a.size(); ++i) {
        const char16_t x = upper(a[i]), y = upper(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

void CompoundFileWriter::add(std::u16string name, std::string bytes) {
    if (name.empty() || name.size() > 31 || name.find_first_of(u"/\\:!") != std::u16string::npos)
        throw ECompoundFileError("compound file: a stream name must have 1 to 31 characters and no / \\ : !");
    for (const Stream& s : streams_) {
        if (compareEntryNames(s.name, name) == 0)
            throw ECompoundFileError("compound file: two streams of the same name");
    }
    streams_.push_back({std::move(name), std::move(bytes)});
}

std::string CompoundFileWriter::finish() const {
    // The sizes of every area first: the allocation table must cover itself and the DIFAT.
    size_t bigSectors = 0, miniBytes = 0;
    for (const Stream& s : streams_) {
        if (s.bytes.size() >= kMiniCutoff)
            bigSectors += sectorsFor(s.bytes.size(), kSector);
        else
            miniBytes += sectorsFor(s.bytes.size(), kMiniSector) * kMiniSector;
    }
    const size_t miniSectors = miniBytes / kMiniSector;
    const size_t miniStreamSectors = sectorsFor(miniBytes, kSector);
    const size_t miniFatSectors = sectorsFor(miniSectors * 4, kSector);
    const size_t directorySectors = sectorsFor((streams_.size() + 1) * 128, kSector);
    const size_t content = bigSectors + miniStreamSectors + miniFatSectors + directorySectors;
    size_t fatSectors = 1, difatSectors = 0;
    for (;;) {
        const size_t fat = sectorsFor(content + fatSectors + difatSectors, kEntriesPerSector);
        const size_t difat =
            fat > kDifatInHeader ? sectorsFor(fat - kDifatInHeader, kEntriesPerSector - 1) : 0;
        if (fat == fatSectors && difat == difatSectors) break;
        fatSectors = std::max(fat, fatSectors);
        difatSectors = std::max(difat, difatSectors);
    }
    const size_t totalSectors = fatSectors + difatSectors + content;
    if (totalSectors >= kDifatSector)
        throw ECompoundFileError("compound file: the streams are too large for a compound file");

    std::vector<uint32_t> fat(fatSectors * kEntriesPerSector, kFree);
    uint32_t next = 0;
    const auto chain = [&](size_t count) -> uint32_t {
        if (count == 0) return kEndOfChain;
        const uint32_t start = next;
        for (size_t i = 0; i + 1 < count; ++i) fat[next + i] = next + uint32_t(i) + 1;
        fat[next + count - 1] = kEndOfChain;
        next += uint32_t(count);
        return start;
    };
    for (size_t i = 0; i < fatSectors; ++i) fat[next++] = kFatSector;
    const uint32_t firstDifat = difatSectors ? next : kEndOfChain;
    for (size_t i = 0; i < difatSectors; ++i) fat[next++] = kDifatSector;
    const uint32_t firstDirectory = chain(directorySectors);
    const uint32_t firstMiniFat = chain(miniFatSectors);
    const uint32_t miniStreamStart = chain(miniStreamSectors);

    std::vector<DirectoryEntry> entries(directorySectors * 4);
    entries[0].name = u"Root Entry";
    entries[0].type = 5;
    entries[0].start = miniStreamStart;
    entries[0].size = miniBytes;
    std::vector<uint32_t> miniFat(miniFatSectors * kEntriesPerSector, kFree);
    std::string miniStream;
    miniStream.reserve(miniStreamSectors * kSector);
    for (size_t i = 0; i < streams_.size(); ++i) {
        const Stream& s = streams_[i];
        DirectoryEntry& e = entries[i + 1];
        e.name = s.name;
        e.type = 2;
        e.size = s.bytes.size();
        if (s.bytes.empty()) continue;
        if (s.bytes.size() >= kMiniCutoff) {
            e.start = chain(sectorsFor(s.bytes.size(), kSector));
            continue;
        }
        const size_t count = sectorsFor(s.bytes.size(), kMiniSector);
        const uint32_t first = uint32_t(miniStream.size() / kMiniSector);
        for (size_t k = 0; k + 1 < count; ++k) miniFat[first + k] = first + uint32_t(k) + 1;
        miniFat[first + count - 1] = kEndOfChain;
        e.start = first;
        miniStream += s.bytes;
        miniStream.resize(miniStream.size() + (count * kMiniSector - s.bytes.size()), '\0');
    }

    // The streams hang under the root as a balanced tree in name order. Its levels are full but
    // the last, which is coloured red: every path then counts the same black nodes, no red node
    // has a red child, and the tree is a valid red-black tree as readers check it.
    std::vector<uint32_t> order(streams_.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = uint32_t(i + 1);
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        return compareEntryNames(entries[a].name, entries[b].name) < 0;
    });
    int fullDepth = 0;
    while ((size_t(2) << fullDepth) <= order.size()) ++fullDepth;   // floor(log2(n))
    const bool perfect = ((order.size() + 1) & order.size()) == 0;
    std::function<uint32_t(size_t, size_t, int)> build = [&](size_t from, size_t to, int depth) -> uint32_t {
        if (from >= to) return kNoStream;
        const size_t middle = from + (to - from) / 2;
        DirectoryEntry& e = entries[order[middle]];
        e.color = (depth == fullDepth && depth > 0 && !perfect) ? 0 : 1;
        e.left = build(from, middle, depth + 1);
        e.right = build(middle + 1, to, depth + 1);
        return order[middle];
    };
    entries[0].child = build(0, order.size(), 0);

    std::string out((totalSectors + 1) * kSector, '\0');
    std::memcpy(out.data(), "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    putAt<uint16_t>(out, 0x18, 0x003E);   // minor version
    putAt<uint16_t>(out, 0x1A, 3);        // major version: 512-byte sectors
    putAt<uint16_t>(out, 0x1C, 0xFFFE);   // little-endian
    putAt<uint16_t>(out, 0x1E, 9);
    putAt<uint16_t>(out, 0x20, 6);
    putAt<uint32_t>(out, 0x2C, uint32_t(fatSectors));
    putAt<uint32_t>(out, 0x30, firstDirectory);
    putAt<uint32_t>(out, 0x38, uint32_t(kMiniCutoff));
    putAt<uint32_t>(out, 0x3C, miniFatSectors ? firstMiniFat : kEndOfChain);
    putAt<uint32_t>(out, 0x40, uint32_t(miniFatSectors));
    putAt<uint32_t>(out, 0x44, firstDifat);
    putAt<uint32_t>(out, 0x48, uint32_t(difatSectors));
    for (size_t i = 0; i < kDifatInHeader; ++i)
        putAt<uint32_t>(out, 0x4C + i * 4, i < fatSectors ? uint32_t(i) : kFree);

    const auto sectorAt = [](uint32_t index) { return (size_t(index) + 1) * kSector; };
    for (size_t i = 0; i < fat.size(); ++i)
        putAt<uint32_t>(out, sectorAt(0) + i * 4, fat[i]);   // FAT sectors are 0..n-1
    for (size_t d = 0; d < difatSectors; ++d) {
        const size_t at = sectorAt(uint32_t(fatSectors + d));
        for (size_t k = 0; k < kEntriesPerSector - 1; ++k) {
            const size_t fatIndex = kDifatInHeader + d * (kEntriesPerSector - 1) + k;
            putAt<uint32_t>(out, at + k * 4, fatIndex < fatSectors ? uint32_t(fatIndex) : kFree);
        }
        putAt<uint32_t>(out, at + kSector - 4,
                        d + 1 < difatSectors ? uint32_t(fatSectors + d + 1) : kEndOfChain);
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        const DirectoryEntry& e = entries[i];
        const size_t at = sectorAt(firstDirectory) + i * 128;
        for (size_t k = 0; k < e.name.size(); ++k) putAt<char16_t>(out, at + k * 2, e.name[k]);
        if (e.type != 0) putAt<uint16_t>(out, at + 64, uint16_t((e.name.size() + 1) * 2));
        out[at + 66] = char(e.type);
        out[at + 67] = char(e.type != 0 ? e.color : 0);
        putAt<uint32_t>(out, at + 68, e.left);
        putAt<uint32_t>(out, at + 72, e.right);
        putAt<uint32_t>(out, at + 76, e.child);
        putAt<uint32_t>(out, at + 116, e.type != 0 ? e.start : 0);
        putAt<uint64_t>(out, at + 120, e.size);
    }
    if (miniFatSectors) {
        for (size_t i = 0; i < miniFat.size(); ++i)
            putAt<uint32_t>(out, sectorAt(firstMiniFat) + i * 4, miniFat[i]);
    }
    if (!miniStream.empty())
        std::memcpy(out.data() + sectorAt(miniStreamStart), miniStream.data(), miniStream.size());
    for (size_t i = 0; i < streams_.size(); ++i) {
        const Stream& s = streams_[i];
        if (s.bytes.size() >= kMiniCutoff)
            std::memcpy(out.data() + sectorAt(entries[i + 1].start), s.bytes.data(), s.bytes.size());
    }
    return out;
}

}  // namespace kes
