#pragma once
// The native workbook format: the whole workbook as the cell store holds it, fast to write and
// read, for the snapshot that a failed load rolls back to and for ".bin" files.
#include <string_view>

#include "workbook/spreadsheet_format.h"

namespace kes {

// The 12-byte header: an 8-byte signature and a version from 1 to 12.
bool hasNativeHeader(std::string_view bytes);

class NativeReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

class NativeWriter final : public SpreadSheetWriter {
public:
    void Write(Workbook& book, std::string& out) override;
};

}  // namespace kes
