#pragma once
// Reading a ZIP archive held in memory: the central directory found from the end, entries
// stored or deflated, ZIP64 sizes, and guards against damaged and hostile archives.
#include <cstdint>
#include <memory>
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

class ZipEntryReader;

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
    // The same bytes piece by piece, for parts too big to hold whole.
    ZipEntryReader open(const ZipEntry& entry) const;

    // True when the bytes start as an archive does.
    static bool looksLikeZip(std::string_view bytes);

private:
    std::string_view data_;
    std::vector<ZipEntry> entries_;
    mutable uint64_t inflated_ = 0;   // what the entries opened so far may inflate to
};

// An entry's bytes as they inflate. The last read checks them against the entry's size and CRC,
// and an entry that inflates beyond its size fails as soon as it does.
class ZipEntryReader {
public:
    ZipEntryReader(std::string_view packed, const ZipEntry& entry);
    ~ZipEntryReader();
    ZipEntryReader(ZipEntryReader&& other) noexcept;
    ZipEntryReader(const ZipEntryReader&) = delete;
    ZipEntryReader& operator=(const ZipEntryReader&) = delete;
    ZipEntryReader& operator=(ZipEntryReader&&) = delete;

    // Fills `into` with up to `capacity` bytes; 0 once the entry has been read whole and checked.
    size_t read(char* into, size_t capacity);

private:
    void finish();

    std::string_view packed_;
    std::string name_;
    uint16_t method_;
    uint32_t expectedCrc_;
    uint64_t size_;
    uint64_t produced_ = 0;
    uint32_t crc_ = 0;
    bool done_ = false;
    struct Inflater;
    std::unique_ptr<Inflater> inflater_;
};

}  // namespace kes
