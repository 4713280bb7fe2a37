#pragma once
// Reading a ZIP archive held in memory: the central directory found from the end, entries
// stored or deflated, ZIP64 sizes, and guards against damaged and hostile archives.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class EZipError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ZipEntry {
    std::string name;
    uint16_t flags = 0;
    uint16_t method = 0;
    uint32_t crc = 0;
    uint64_t compressedSize = 0;
    uint64_t size = 0;
    uint64_t localHeaderOffset = 0;
};

class ZipReader {
public:
    static constexpr uint64_t kMaxEntrySize = uint64_t(1) << 30;    // what one part may inflate to
    static constexpr uint64_t kMaxTotalSize = uint64_t(2) << 30;    // what all parts together may
    static constexpr size_t kMaxEntries = 100000;

    // Reads the central directory; throws EZipError when the bytes are no sound archive. The
    // bytes must outlive the reader.
    explicit ZipReader(std::string_view archive);

    const std::vector<ZipEntry>& entries() const { return entries_; }
    // By name, ignoring ASCII case and a leading "/"; null when there is no such entry.
    const ZipEntry* find(std::string_view name) const;
    // The entry's bytes, inflated and checked against its size and CRC.
    std::string extract(const ZipEntry& entry) const;

    // True when the bytes start as an archive does.
    static bool looksLikeZip(std::string_view bytes);

private:
    std::string_view data_;
    std::vector<ZipEntry> entries_;
    mutable uint64_t inflated_ = 0;
};

}  // namespace kes
