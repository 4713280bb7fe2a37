#include "workbook/zip/zip_writer.h"

#include <zlib.h>

#include <cstring>

#include "workbook/zip/zip_reader.h"

namespace kes {
namespace {

template <class T>
void put(std::string& out, T value) {
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    out.append(bytes, sizeof(T));
}

constexpr uint16_t kUtf8Names = 1 << 11;
constexpr uint16_t kDosTime = 0, kDosDate = (2026 - 1980) << 9 | 1 << 5 | 1;   // a fixed stamp: same input, same bytes

}  // namespace

// From "version needed" to "extra field length": the same in the local and the central header.
void ZipWriter::putCommonFields(const Written& w) {
    put<uint16_t>(out_, 20);
    put<uint16_t>(out_, kUtf8Names);
    put<uint16_t>(out_, w.method);
    put<uint16_t>(out_, kDosTime);
    put<uint16_t>(out_, kDosDate);
    put<uint32_t>(out_, w.crc);
    put<uint32_t>(out_, w.compressedSize);
    put<uint32_t>(out_, w.size);
    put<uint16_t>(out_, static_cast<uint16_t>(w.name.size()));
    put<uint16_t>(out_, 0);
}

void ZipWriter::add(std::string_view name, std::string_view data) {
    if (data.size() > UINT32_MAX / 2 || out_.size() > UINT32_MAX / 2) throw EZipError("zip: a part or the archive is too large");
    std::string packed(compressBound(static_cast<uLong>(data.size())) + 16, '\0');
    z_stream z{};
    if (deflateInit2(&z, level_, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw EZipError("zip: the deflater cannot start");
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = static_cast<uInt>(packed.size());
    const int status = deflate(&z, Z_FINISH);
    packed.resize(z.total_out);
    deflateEnd(&z);
    if (status != Z_STREAM_END) throw EZipError("zip: deflating " + std::string(name) + " failed");
    const bool store = packed.size() >= data.size();
    const std::string_view body = store ? data : std::string_view(packed);
    Written w{std::string(name), static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()))),
              static_cast<uint32_t>(body.size()), static_cast<uint32_t>(data.size()), static_cast<uint32_t>(out_.size()),
              static_cast<uint16_t>(store ? 0 : 8)};
    put<uint32_t>(out_, 0x04034b50);
    putCommonFields(w);
    out_ += w.name;
    out_ += body;
    entries_.push_back(std::move(w));
}

std::string ZipWriter::finish() {
    const uint32_t directoryOffset = static_cast<uint32_t>(out_.size());
    for (const Written& w : entries_) {
        put<uint32_t>(out_, 0x02014b50);
        put<uint16_t>(out_, 20);   // made by
        putCommonFields(w);
        put<uint16_t>(out_, 0);
        put<uint16_t>(out_, 0);
        put<uint16_t>(out_, 0);
        put<uint32_t>(out_, 0);
        put<uint32_t>(out_, w.offset);
        out_ += w.name;
    }
    const uint32_t directorySize = static_cast<uint32_t>(out_.size() - directoryOffset);
    if (entries_.size() > 0xFFFF) throw EZipError("zip: too many parts");
    put<uint32_t>(out_, 0x06054b50);
    put<uint16_t>(out_, 0);
    put<uint16_t>(out_, 0);
    put<uint16_t>(out_, static_cast<uint16_t>(entries_.size()));
    put<uint16_t>(out_, static_cast<uint16_t>(entries_.size()));
    put<uint32_t>(out_, directorySize);
    put<uint32_t>(out_, directoryOffset);
    put<uint16_t>(out_, 0);
    return std::move(out_);
}

}  // namespace kes
