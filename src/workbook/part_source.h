#pragma once
// What the readers of ZIP packages share: a part as the XML reader takes it, inflated as it is
// read, a big part (a sheet of many rows, its shared strings) on a second thread a few chunks
// ahead; and the errors of the layers below turned into the reader's.
#include <cstdint>
#include <optional>

#include "sheet/sheet_error.h"
#include "workbook/read_ahead.h"
#include "workbook/workbook_errors.h"
#include "workbook/xml/xml_reader.h"
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

// Runs a package reader: what the archive, the XML and the cell store refuse (a 65,537th style,
// say) comes out as the reader's error.
template <class Read>
void readPackage(Read&& read) {
    try {
        read();
    } catch (const EZipError& e) {
        throw ESpreadSheetReaderError(e.what());
    } catch (const EXmlError& e) {
        throw ESpreadSheetReaderError(e.what());
    } catch (const ESheetError& e) {
        throw ESpreadSheetReaderError(e.what());
    }
}

}  // namespace kes
