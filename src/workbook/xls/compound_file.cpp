#include "workbook/xls/compound_file.h"

#include <cstring>

namespace kes {
namespace {

constexpr std::string_view kSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8};
constexpr uint32_t kEndOfChain = 0xFFFFFFFE, kFree = 0xFFFFFFFF;

template <class T>
T readAt(std::string_view data, size_t at) {
    if (at > data.size() || data.size() - at < sizeof(T)) throw ECompoundFileError("compound file: a structure lies beyond the end of the file");
    T value;
    std::memcpy(&value, data.data() + at, sizeof(T));
    return value;
}

char16_t folded(char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

}  // namespace

bool CompoundFile::hasSignature(std::string_view bytes) { return bytes.substr(0, 8) == kSignature; }

// The last sector may be cut short: programs that write the file's bytes up to the end of its
// last stream leave it so, and what it does hold is still read (a stream that needs more ends
// early, with its error).
std::string_view CompoundFile::sector(uint32_t index) const {
    const uint64_t offset = (uint64_t(index) + 1) * sectorSize_;
    if (offset >= data_.size()) throw ECompoundFileError("compound file: sector " + std::to_string(index) + " lies beyond the end of the file");
    return data_.substr(offset, sectorSize_);
}

std::string CompoundFile::chain(const std::vector<uint32_t>& table, uint32_t start, size_t sectorSize, std::string_view area,
                                uint64_t limit, const char* what) const {
    std::string out;
    std::vector<bool> visited(table.size(), false);   // a sector met twice means a cycle
    for (uint32_t s = start; s != kEndOfChain;) {
        if (s >= table.size() || visited[s]) throw ECompoundFileError(std::string("compound file: the chain of ") + what + " is broken or cyclic");
        visited[s] = true;
        if (area.empty()) {
            out += sector(s);
        } else {
            if ((uint64_t(s) + 1) * sectorSize > area.size()) throw ECompoundFileError(std::string("compound file: ") + what + " leaves the mini stream");
            out += area.substr(size_t(s) * sectorSize, sectorSize);
        }
        if (out.size() >= limit) break;
        s = table[s];
    }
    if (out.size() > limit) out.resize(limit);
    return out;
}

CompoundFile::CompoundFile(std::string_view bytes) : data_(bytes) {
    if (data_.size() < 512 || !hasSignature(data_)) throw ECompoundFileError("compound file: no compound file header");
    const uint16_t sectorShift = readAt<uint16_t>(data_, 0x1E);
    const uint16_t miniShift = readAt<uint16_t>(data_, 0x20);
    if ((sectorShift != 9 && sectorShift != 12) || miniShift != 6) throw ECompoundFileError("compound file: unknown sector sizes");
    sectorSize_ = size_t(1) << sectorShift;
    miniSectorSize_ = size_t(1) << miniShift;
    const uint32_t fatSectors = readAt<uint32_t>(data_, 0x2C);
    const uint32_t firstDirectory = readAt<uint32_t>(data_, 0x30);
    miniCutoff_ = readAt<uint32_t>(data_, 0x38);
    const uint32_t firstMiniFat = readAt<uint32_t>(data_, 0x3C);
    const uint32_t firstDifat = readAt<uint32_t>(data_, 0x44);
    const uint32_t difatSectors = readAt<uint32_t>(data_, 0x48);
    const size_t sectorCount = data_.size() / sectorSize_;
    if (fatSectors > sectorCount || difatSectors > sectorCount) throw ECompoundFileError("compound file: more table sectors than the file holds");

    std::vector<uint32_t> fatSectorList;
    for (size_t i = 0; i < 109 && fatSectorList.size() < fatSectors; ++i) fatSectorList.push_back(readAt<uint32_t>(data_, 0x4C + i * 4));
    uint32_t difat = firstDifat;
    for (uint32_t n = 0; n < difatSectors && difat != kEndOfChain && difat != kFree; ++n) {
        const std::string_view s = sector(difat);
        for (size_t i = 0; i + 4 < sectorSize_ && fatSectorList.size() < fatSectors; i += 4) fatSectorList.push_back(readAt<uint32_t>(s, i));
        difat = readAt<uint32_t>(s, sectorSize_ - 4);
    }
    for (uint32_t f : fatSectorList) {
        const std::string_view s = sector(f);
        for (size_t i = 0; i < sectorSize_; i += 4) fat_.push_back(readAt<uint32_t>(s, i));
    }

    const std::string directory = chain(fat_, firstDirectory, sectorSize_, {}, uint64_t(fat_.size()) * sectorSize_, "the directory");
    for (size_t at = 0; at + 128 <= directory.size(); at += 128) {
        const uint16_t nameBytes = readAt<uint16_t>(directory, at + 64);
        Entry e;
        for (size_t i = 0; i + 2 <= std::min<size_t>(nameBytes, 64) && i < 62; i += 2) {
            const char16_t c = readAt<char16_t>(directory, at + i);
            if (c == 0) break;
            e.name.push_back(c);
        }
        e.type = readAt<uint8_t>(directory, at + 66);
        e.start = readAt<uint32_t>(directory, at + 116);
        e.size = readAt<uint64_t>(directory, at + 120);
        if (sectorShift == 9) e.size &= 0xFFFFFFFF;   // version 3 files leave the high half undefined
        entries_.push_back(std::move(e));
    }
    if (entries_.empty() || entries_[0].type != 5) throw ECompoundFileError("compound file: no root entry");

    const std::string miniFatBytes = chain(fat_, firstMiniFat, sectorSize_, {}, uint64_t(fat_.size()) * sectorSize_, "the mini table");
    for (size_t i = 0; i + 4 <= miniFatBytes.size(); i += 4) miniFat_.push_back(readAt<uint32_t>(miniFatBytes, i));
    if (entries_[0].start != kEndOfChain)
        miniStream_ = chain(fat_, entries_[0].start, sectorSize_, {}, entries_[0].size, "the mini stream");
}

const CompoundFile::Entry* CompoundFile::find(std::u16string_view name) const {
    for (const Entry& e : entries_) {
        if (e.type != 2 || e.name.size() != name.size()) continue;
        bool same = true;
        for (size_t i = 0; i < name.size() && same; ++i) same = folded(e.name[i]) == folded(name[i]);
        if (same) return &e;
    }
    return nullptr;
}

bool CompoundFile::hasStream(std::u16string_view name) const { return find(name) != nullptr; }

std::optional<std::string> CompoundFile::stream(std::u16string_view name) const {
    const Entry* e = find(name);
    if (!e) return std::nullopt;
    if (e->size > data_.size() * 2 + miniStream_.size()) throw ECompoundFileError("compound file: a stream larger than the file");
    if (e->size == 0) return std::string();
    if (e->size < miniCutoff_ && miniStream_.empty()) throw ECompoundFileError("compound file: a small stream without a mini stream");
    std::string bytes = e->size < miniCutoff_ ? chain(miniFat_, e->start, miniSectorSize_, miniStream_, e->size, "a stream")
                                              : chain(fat_, e->start, sectorSize_, {}, e->size, "a stream");
    if (bytes.size() < e->size) throw ECompoundFileError("compound file: a stream ends early");
    return bytes;
}

}  // namespace kes
