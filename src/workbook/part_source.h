#pragma once
// A part of a ZIP package as the XML reader takes it: inflated as it is read. A big part (a
// sheet of many rows, its shared strings) inflates on a second thread, a few chunks ahead.
#include <cstdint>
#include <optional>

#include "workbook/read_ahead.h"
#include "workbook/zip/zip_reader.h"

namespace kes {

class PartSource {
public:
    static constexpr uint64_t kReadAheadSize = 4 << 20;
    // Large, so that the threads meet seldom: waking a thread costs much on some virtual machines.
    static constexpr size_t kChunkSize = 1 << 20;

    PartSource(const ZipReader& zip, const ZipEntry& entry) : bytes_(zip.open(entry)) {
        if (entry.size >= kReadAheadSize)
            ahead_.emplace([this](char* into, size_t capacity) { return bytes_.read(into, capacity); }, kChunkSize, 4);
    }
    PartSource(const PartSource&) = delete;
    PartSource& operator=(const PartSource&) = delete;

    size_t read(char* into, size_t capacity) { return ahead_ ? ahead_->read(into, capacity) : bytes_.read(into, capacity); }

private:
    ZipEntryReader bytes_;
    std::optional<ReadAhead> ahead_;   // stopped before bytes_ goes
};

}  // namespace kes
