#include "workbook/zip/zip_reader.h"

#include "text/prefault.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace kes {
namespace {

constexpr uint32_t kLocalHeader = 0x04034b50, kCentralHeader = 0x02014b50, kEndOfDirectory = 0x06054b50;
constexpr uint32_t kZip64Locator = 0x07064b50, kZip64End = 0x06064b50;

template <class T>
T readAt(std::string_view data, uint64_t at, const char* what) {
    if (at > data.size() || data.size() - at < sizeof(T)) throw EZipError(std::string("zip: ") + what + " lies beyond the end of the file");
    T value;
    std::memcpy(&value, data.data() + at, sizeof(T));
    return value;
}

char folded(char c) { return (c >= 'A' && c <= 'Z') ? char(c + 32) : c; }

bool sameName(std::string_view a, std::string_view b) {
    if (!a.empty() && a.front() == '/') a.remove_prefix(1);
    if (!b.empty() && b.front() == '/') b.remove_prefix(1);
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return folded(x) == folded(y); });
}

// Replaces the 32-bit fields that are all ones by their 64-bit values from the ZIP64 extra field.
void applyZip64(std::string_view extra, ZipEntry& entry, bool sizeMarked, bool compressedMarked, bool offsetMarked) {
    for (size_t at = 0; at + 4 <= extra.size();) {
        const uint16_t id = readAt<uint16_t>(extra, at, "extra field");
        const uint16_t length = readAt<uint16_t>(extra, at + 2, "extra field");
        if (at + 4 + length > extra.size()) throw EZipError("zip: extra field of " + entry.name + " runs past its end");
        if (id == 0x0001) {
            const std::string_view field = extra.substr(at + 4, length);
            size_t p = 0;
            if (sizeMarked) entry.size = readAt<uint64_t>(field, (p += 8) - 8, "zip64 size");
            if (compressedMarked) entry.compressedSize = readAt<uint64_t>(field, (p += 8) - 8, "zip64 size");
            if (offsetMarked) entry.localHeaderOffset = readAt<uint64_t>(field, (p += 8) - 8, "zip64 offset");
            return;
        }
        at += 4 + size_t(length);
    }
}

}  // namespace

bool ZipReader::looksLikeZip(std::string_view bytes) {
    return bytes.size() >= 4 && readAt<uint32_t>(bytes, 0, "signature") == kLocalHeader;
}

ZipReader::ZipReader(std::string_view archive) : data_(archive) {
    if (data_.size() < 22) throw EZipError("zip: the file is too short for an archive");
    // The end record is found backwards, within the 65,535 bytes a comment may take.
    const uint64_t lowest = data_.size() >= 22 + 65535 ? data_.size() - 22 - 65535 : 0;
    uint64_t end = data_.size() - 22;
    while (readAt<uint32_t>(data_, end, "end of directory") != kEndOfDirectory) {
        if (end == lowest) throw EZipError("zip: no end of central directory record");
        --end;
    }
    uint64_t count = readAt<uint16_t>(data_, end + 10, "entry count");
    uint64_t directorySize = readAt<uint32_t>(data_, end + 12, "directory size");
    uint64_t directoryOffset = readAt<uint32_t>(data_, end + 16, "directory offset");
    if (count == 0xFFFF || directorySize == 0xFFFFFFFF || directoryOffset == 0xFFFFFFFF) {
        if (end < 20 || readAt<uint32_t>(data_, end - 20, "zip64 locator") != kZip64Locator)
            throw EZipError("zip: a zip64 archive without its locator");
        const uint64_t record = readAt<uint64_t>(data_, end - 12, "zip64 end record");
        if (readAt<uint32_t>(data_, record, "zip64 end record") != kZip64End) throw EZipError("zip: bad zip64 end record");
        count = readAt<uint64_t>(data_, record + 32, "zip64 entry count");
        directorySize = readAt<uint64_t>(data_, record + 40, "zip64 directory size");
        directoryOffset = readAt<uint64_t>(data_, record + 48, "zip64 directory offset");
    }
    if (directoryOffset > end || directorySize > end - directoryOffset)
        throw EZipError("zip: the central directory (offset " + std::to_string(directoryOffset) + ", size " +
                        std::to_string(directorySize) + ") does not fit before its end record at " + std::to_string(end));
    if (count > kMaxEntries || count * 46 > directorySize) throw EZipError("zip: " + std::to_string(count) + " entries do not fit the directory");
    entries_.reserve(count);
    uint64_t at = directoryOffset;
    for (uint64_t i = 0; i < count; ++i) {
        if (readAt<uint32_t>(data_, at, "central header") != kCentralHeader)
            throw EZipError("zip: entry " + std::to_string(i) + " of the central directory is damaged");
        ZipEntry entry;
        entry.flags = readAt<uint16_t>(data_, at + 8, "central header");
        entry.method = readAt<uint16_t>(data_, at + 10, "central header");
        entry.crc = readAt<uint32_t>(data_, at + 16, "central header");
        entry.compressedSize = readAt<uint32_t>(data_, at + 20, "central header");
        entry.size = readAt<uint32_t>(data_, at + 24, "central header");
        const uint16_t nameLength = readAt<uint16_t>(data_, at + 28, "central header");
        const uint16_t extraLength = readAt<uint16_t>(data_, at + 30, "central header");
        const uint16_t commentLength = readAt<uint16_t>(data_, at + 32, "central header");
        entry.localHeaderOffset = readAt<uint32_t>(data_, at + 42, "central header");
        if (at + 46 + nameLength + extraLength > directoryOffset + directorySize) throw EZipError("zip: a central header runs past the directory");
        entry.name.assign(data_.substr(at + 46, nameLength));
        std::replace(entry.name.begin(), entry.name.end(), '\\', '/');   // some writers separate with backslashes
        applyZip64(data_.substr(at + 46 + nameLength, extraLength), entry, entry.size == 0xFFFFFFFF,
                   entry.compressedSize == 0xFFFFFFFF, entry.localHeaderOffset == 0xFFFFFFFF);
        entries_.push_back(std::move(entry));
        at += 46 + uint64_t(nameLength) + extraLength + commentLength;
    }
}

const ZipEntry* ZipReader::find(std::string_view name) const {
    for (const ZipEntry& entry : entries_) {
        if (sameName(entry.name, name)) return &entry;
    }
    return nullptr;
}

ZipEntryReader ZipReader::open(const ZipEntry& entry) const {
    if (entry.flags & 1) throw EZipError("zip: " + entry.name + " is encrypted");
    if (readAt<uint32_t>(data_, entry.localHeaderOffset, "local header") != kLocalHeader)
        throw EZipError("zip: the local header of " + entry.name + " is missing at offset " + std::to_string(entry.localHeaderOffset));
    const uint64_t start = entry.localHeaderOffset + 30 + readAt<uint16_t>(data_, entry.localHeaderOffset + 26, "local header") +
                           readAt<uint16_t>(data_, entry.localHeaderOffset + 28, "local header");
    if (start > data_.size() || entry.compressedSize > data_.size() - start)
        throw EZipError("zip: the data of " + entry.name + " (" + std::to_string(entry.compressedSize) + " bytes at " +
                        std::to_string(start) + ") runs past the end of the file");
    if (entry.size > kMaxEntrySize || entry.size > kMaxTotalSize - inflated_)
        throw EZipError("zip: " + entry.name + " would inflate to " + std::to_string(entry.size) + " bytes, beyond the limit");
    if (entry.method == 0 && entry.compressedSize != entry.size)
        throw EZipError("zip: stored entry " + entry.name + " has two different sizes");
    // Deflate gives at most 1032 bytes for each byte it reads: a larger size is a lie that
    // would have the reader allocate up to the limit for a few bytes of input.
    if (entry.method == 8 && entry.size / 1032 > entry.compressedSize)
        throw EZipError("zip: " + entry.name + " claims " + std::to_string(entry.size) + " bytes from " +
                        std::to_string(entry.compressedSize) + ", more than deflate can give");
    if (entry.method != 0 && entry.method != 8)
        throw EZipError("zip: " + entry.name + " uses compression method " + std::to_string(entry.method));
    ZipEntryReader reader(data_.substr(start, entry.compressedSize), entry);
    inflated_ += entry.size;
    return reader;
}

std::string ZipReader::extract(const ZipEntry& entry) const {
    ZipEntryReader reader = open(entry);
    std::string out;
    out.reserve(entry.size);
    prefaultForWriting(out.data(), entry.size);   // every byte is written: map the pages in one go
    out.resize(entry.size);
    size_t filled = 0;
    while (filled < out.size()) {
        const size_t added = reader.read(out.data() + filled, out.size() - filled);
        if (added == 0) break;
        filled += added;
    }
    // One byte more room tells an entry that inflates beyond its declared size from one that
    // fits, and has the reader check its size and CRC.
    char probe;
    if (reader.read(&probe, 1) != 0 || filled != out.size())
        throw EZipError("zip: " + entry.name + " is damaged (inflated " + std::to_string(filled) + " of " + std::to_string(entry.size) +
                        " bytes)");
    return out;
}

struct ZipEntryReader::Inflater {
    z_stream z{};
};

ZipEntryReader::ZipEntryReader(std::string_view packed, const ZipEntry& entry)
    : packed_(packed), name_(entry.name), method_(entry.method), expectedCrc_(entry.crc), size_(entry.size) {
    if (method_ == 8) {
        inflater_ = std::make_unique<Inflater>();
        if (inflateInit2(&inflater_->z, -MAX_WBITS) != Z_OK) {
            inflater_.reset();
            throw EZipError("zip: the inflater cannot start");
        }
    }
}

ZipEntryReader::ZipEntryReader(ZipEntryReader&& other) noexcept
    : packed_(other.packed_), name_(std::move(other.name_)), method_(other.method_), expectedCrc_(other.expectedCrc_),
      size_(other.size_), produced_(other.produced_), crc_(other.crc_), done_(other.done_), inflater_(std::move(other.inflater_)) {}

ZipEntryReader::~ZipEntryReader() {
    if (inflater_) inflateEnd(&inflater_->z);
}

void ZipEntryReader::finish() {
    done_ = true;
    if (produced_ != size_)
        throw EZipError("zip: " + name_ + " is damaged (inflated " + std::to_string(produced_) + " of " + std::to_string(size_) + " bytes)");
    if (crc_ != expectedCrc_) throw EZipError("zip: " + name_ + " fails its CRC check");
}

size_t ZipEntryReader::read(char* into, size_t capacity) {
    if (done_ || capacity == 0) return 0;
    capacity = std::min<size_t>(capacity, UINT32_MAX);
    size_t added = 0;
    if (method_ == 0) {
        added = std::min<size_t>(capacity, packed_.size());
        std::memcpy(into, packed_.data(), added);
        packed_.remove_prefix(added);
    } else {
        z_stream& z = inflater_->z;
        z.next_out = reinterpret_cast<Bytef*>(into);
        z.avail_out = static_cast<uInt>(capacity);
        int status = Z_OK;
        while (z.avail_out > 0 && status == Z_OK) {
            if (z.avail_in == 0) {
                if (packed_.empty()) break;
                z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed_.data()));
                z.avail_in = static_cast<uInt>(std::min<size_t>(packed_.size(), UINT32_MAX));
                packed_.remove_prefix(z.avail_in);
            }
            status = inflate(&z, Z_NO_FLUSH);
        }
        added = capacity - z.avail_out;
        if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR)
            throw EZipError("zip: " + name_ + " is damaged (inflated " + std::to_string(produced_ + added) + " of " +
                            std::to_string(size_) + " bytes)");
        if (added == 0 && status != Z_STREAM_END) {
            // No progress with room to write: the input ran out before the stream ended.
            finish();
            return 0;
        }
        if (status == Z_STREAM_END && added == 0) {
            finish();
            return 0;
        }
    }
    if (added > size_ - produced_)
        throw EZipError("zip: " + name_ + " inflates beyond its declared " + std::to_string(size_) + " bytes");
    produced_ += added;
    crc_ = static_cast<uint32_t>(crc32(crc_, reinterpret_cast<const Bytef*>(into), static_cast<uInt>(added)));
    if (added == 0) finish();
    return added;
}

}  // namespace kes
