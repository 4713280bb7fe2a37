#include "workbook/xls/biff_records.h"

namespace kes::biff {

std::string Record::joined() const {
    std::string out(data);
    for (std::string_view more : continues) out += more;
    return out;
}

bool RecordStream::next(Record& r) {
    if (position_ + 4 > stream_.size()) return false;
    r.id = get<uint16_t>(stream_, position_, "record header");
    const uint16_t length = get<uint16_t>(stream_, position_ + 2, "record header");
    if (position_ + 4 + length > stream_.size()) fail("record " + std::to_string(r.id) + " runs past the end of the stream");
    r.data = stream_.substr(position_ + 4, length);
    position_ += 4 + size_t(length);
    r.continues.clear();
    while (position_ + 4 <= stream_.size() && get<uint16_t>(stream_, position_, "record header") == kContinue) {
        const uint16_t more = get<uint16_t>(stream_, position_ + 2, "record header");
        if (position_ + 4 + more > stream_.size()) fail("CONTINUE runs past the end of the stream");
        r.continues.push_back(stream_.substr(position_ + 4, more));
        position_ += 4 + size_t(more);
    }
    return true;
}

void RecordStream::skipSubstream() {
    // Depth counted rather than recursed: a hostile file may nest as deep as it likes.
    size_t depth = 1;
    Record r;
    while (depth > 0 && next(r)) {
        if (isBof(r.id)) ++depth;
        else if (r.id == kEof) --depth;
    }
}

ContinuedReader::ContinuedReader(const Record& r, const char* name) : segments_{r.data}, name_(name) {
    segments_.insert(segments_.end(), r.continues.begin(), r.continues.end());
}

bool ContinuedReader::atEnd() const {
    for (size_t s = segment_; s < segments_.size(); ++s) {
        if ((s == segment_ ? at_ : 0) < segments_[s].size()) return false;
    }
    return true;
}

uint8_t ContinuedReader::byte() {
    ensure(1);
    return static_cast<uint8_t>(segments_[segment_][at_++]);
}

void ContinuedReader::skip(size_t n) {
    while (n > 0) {
        ensure(1);
        const size_t take = std::min(n, segments_[segment_].size() - at_);
        at_ += take;
        n -= take;
    }
}

void ContinuedReader::ensure(size_t n) {
    while (segment_ < segments_.size() && at_ + n > segments_[segment_].size()) {
        if (at_ < segments_[segment_].size()) fail(std::string(name_) + " field split across records");
        ++segment_;
        at_ = 0;
    }
    if (segment_ >= segments_.size()) fail(std::string(name_) + " record is too short");
}

std::u16string ContinuedReader::unicodeString() {
    const uint16_t count = word();
    uint8_t flags = byte();
    uint16_t runs = 0;
    uint32_t phonetic = 0;
    if (flags & 0x08) runs = word();
    if (flags & 0x04) phonetic = dword();
    std::u16string out;
    out.reserve(count);
    while (out.size() < count) {
        if (at_ >= segments_[segment_].size()) {   // the characters go on in the next record
            if (++segment_ >= segments_.size()) fail(std::string(name_) + " string runs past its records");
            at_ = 0;
            flags = byte();
        }
        const std::string_view segment = segments_[segment_];
        if (flags & 0x01) {
            if (at_ + 2 > segment.size()) fail(std::string(name_) + " character split across records");
            out.push_back(char16_t(uint8_t(segment[at_]) | uint8_t(segment[at_ + 1]) << 8));
            at_ += 2;
        } else {
            out.push_back(char16_t(uint8_t(segment[at_++])));
        }
    }
    skip(size_t(runs) * 4 + phonetic);
    return out;
}

}  // namespace kes::biff
