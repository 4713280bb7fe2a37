#include "workbook/zip/zip_writer.h"

#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

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

// A part this large is deflated in pieces on two threads.
constexpr size_t kPieceSize = 4 << 20;
constexpr size_t kWindow = 32 * 1024;

struct Deflated {
    std::string bytes;
    uint32_t crc;
};

// One piece of a raw deflate stream: primed with the window of data before it, and ended on a
// byte boundary (a sync flush) unless it is the last, so that the pieces joined are one stream.
Deflated deflatePiece(std::string_view window, std::string_view piece, int level, bool last) {
    Deflated out;
    out.crc = static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(piece.data()), static_cast<uInt>(piece.size())));
    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw EZipError("zip: the deflater cannot start");
    if (!window.empty()) {
        deflateSetDictionary(&z, reinterpret_cast<const Bytef*>(window.data()), static_cast<uInt>(window.size()));
    }
    out.bytes.resize(deflateBound(&z, static_cast<uLong>(piece.size())) + 16);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
    z.avail_in = static_cast<uInt>(piece.size());
    z.next_out = reinterpret_cast<Bytef*>(out.bytes.data());
    z.avail_out = static_cast<uInt>(out.bytes.size());
    const int status = deflate(&z, last ? Z_FINISH : Z_SYNC_FLUSH);
    out.bytes.resize(z.total_out);
    deflateEnd(&z);
    if (status != (last ? Z_STREAM_END : Z_OK) || z.avail_in != 0) throw EZipError("zip: deflating failed");
    return out;
}

// The window of data before offset `begin`.
std::string_view windowBefore(std::string_view data, size_t begin) {
    const size_t from = begin - std::min(begin, kWindow);
    return data.substr(from, begin - from);
}

// The data as one raw deflate stream, with its CRC. A large part is cut in pieces that two
// threads deflate side by side, as pigz does; the stream is a few bytes longer for it.
Deflated deflateAll(std::string_view data, int level) {
    const size_t pieces = std::max<size_t>(1, (data.size() + kPieceSize - 1) / kPieceSize);
    if (pieces == 1) return deflatePiece({}, data, level, true);
    std::vector<Deflated> done(pieces);
    std::vector<std::exception_ptr> errors(pieces);
    std::atomic<size_t> next{0};
    const auto work = [&] {
        for (size_t i; (i = next++) < pieces;) {
            try {
                const size_t begin = i * kPieceSize, end = std::min(data.size(), begin + kPieceSize);
                done[i] = deflatePiece(windowBefore(data, begin), data.substr(begin, end - begin), level, end == data.size());
            } catch (...) {
                errors[i] = std::current_exception();
            }
        }
    };
    std::thread helper(work);
    work();
    helper.join();
    Deflated out{{}, 0};
    size_t total = 0;
    for (const Deflated& d : done) total += d.bytes.size();
    out.bytes.reserve(total);
    for (size_t i = 0; i < pieces; ++i) {
        if (errors[i]) std::rethrow_exception(errors[i]);
        out.bytes += done[i].bytes;
        const size_t length = std::min(data.size(), (i + 1) * kPieceSize) - i * kPieceSize;
        out.crc = static_cast<uint32_t>(crc32_combine(out.crc, done[i].crc, static_cast<z_off_t>(length)));
    }
    return out;
}

}  // namespace

// From "version needed" to "extra field length": the same in the local and the central header.
void ZipWriter::putCommonFields(std::string& out, const Written& w) {
    put<uint16_t>(out, 20);
    put<uint16_t>(out, kUtf8Names);
    put<uint16_t>(out, w.method);
    put<uint16_t>(out, kDosTime);
    put<uint16_t>(out, kDosDate);
    put<uint32_t>(out, w.crc);
    put<uint32_t>(out, w.compressedSize);
    put<uint32_t>(out, w.size);
    put<uint16_t>(out, static_cast<uint16_t>(w.name.size()));
    put<uint16_t>(out, 0);
}

void ZipWriter::putCommonFields(const Written& w) { putCommonFields(out_, w); }

ZipWriter::Part ZipWriter::open(std::string_view name) {
    if (partOpen_) throw EZipError("zip: a part is open already");
    if (out_.size() > UINT32_MAX / 2) throw EZipError("zip: the archive is too large");
    partOpen_ = true;
    Written w{std::string(name), 0, 0, 0, static_cast<uint32_t>(out_.size()), 8};
    put<uint32_t>(out_, 0x04034b50);
    putCommonFields(w);   // the CRC and sizes are filled in when the part closes
    out_ += w.name;
    entries_.push_back(std::move(w));
    return Part(*this, entries_.size() - 1);
}

void ZipWriter::Part::write(std::string_view data) {
    if (closed_) throw EZipError("zip: writing a closed part");
    while (!data.empty()) {
        const size_t take = std::min(data.size(), kPieceSize - pending_.size());
        if (pending_.capacity() < kPieceSize) pending_.reserve(kPieceSize);
        pending_.append(data.substr(0, take));
        data.remove_prefix(take);
        if (pending_.size() == kPieceSize) submit(false);
    }
}

// The pending piece goes to a thread of its own; at most two are deflated at a time, and the
// oldest is joined to the archive as soon as it is done.
void ZipWriter::Part::submit(bool last) {
    std::string data = std::move(pending_);
    pending_ = std::string();
    std::string window = std::move(window_);
    if (data.size() >= kWindow) {
        window_ = data.substr(data.size() - kWindow);
    } else {
        window_ = window + data;
        if (window_.size() > kWindow) window_.erase(0, window_.size() - kWindow);
    }
    const int level = zip_->level_;
    inFlight_.push_back(std::async(std::launch::async, [data = std::move(data), window = std::move(window), last, level] {
        Deflated d = deflatePiece(window, data, level, last);
        return Piece{std::move(d.bytes), d.crc, data.size()};
    }));
    while (inFlight_.size() > (last ? 0 : 1)) {
        Piece piece = inFlight_.front().get();
        inFlight_.pop_front();
        collect(std::move(piece));
    }
}

void ZipWriter::Part::collect(Piece piece) {
    crc_ = static_cast<uint32_t>(crc32_combine(crc_, piece.crc, static_cast<z_off_t>(piece.size)));
    size_ += piece.size;
    packed_ += piece.bytes.size();
    if (size_ > UINT32_MAX / 2 || zip_->out_.size() + piece.bytes.size() > UINT32_MAX / 2)
        throw EZipError("zip: a part or the archive is too large");
    zip_->out_ += piece.bytes;
}

void ZipWriter::Part::close() {
    if (closed_) return;
    closed_ = true;
    try {
        submit(true);
    } catch (...) {
        for (auto& f : inFlight_) f.wait();
        zip_->partOpen_ = false;
        throw;
    }
    Written& w = zip_->entries_[entry_];
    w.crc = crc_;
    w.compressedSize = static_cast<uint32_t>(packed_);
    w.size = static_cast<uint32_t>(size_);
    std::string header;
    ZipWriter::putCommonFields(header, w);   // over the placeholder, after the 4-byte signature
    zip_->out_.replace(w.offset + 4, header.size(), header);
    zip_->partOpen_ = false;
}

void ZipWriter::add(std::string_view name, std::string_view data) {
    if (partOpen_) throw EZipError("zip: a part is open");
    if (data.size() > UINT32_MAX / 2 || out_.size() > UINT32_MAX / 2) throw EZipError("zip: a part or the archive is too large");
    Deflated packed;
    try {
        packed = deflateAll(data, level_);
    } catch (const EZipError&) {
        throw EZipError("zip: deflating " + std::string(name) + " failed");
    }
    const bool store = packed.bytes.size() >= data.size();
    const std::string_view body = store ? data : std::string_view(packed.bytes);
    Written w{std::string(name), packed.crc, static_cast<uint32_t>(body.size()), static_cast<uint32_t>(data.size()),
              static_cast<uint32_t>(out_.size()), static_cast<uint16_t>(store ? 0 : 8)};
    put<uint32_t>(out_, 0x04034b50);
    putCommonFields(w);
    out_ += w.name;
    out_ += body;
    entries_.push_back(std::move(w));
}

std::string ZipWriter::finish() {
    if (partOpen_) throw EZipError("zip: a part is still open");
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
