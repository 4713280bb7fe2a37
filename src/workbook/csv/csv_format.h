#pragma once
// Comma-separated text: read as Chinese spreadsheets write it (UTF-8 with or without a byte
// order mark, UTF-16 with one, or the ANSI code page when the bytes are not UTF-8), written as
// UTF-8 with a byte order mark so that spreadsheets open the Chinese text as such.
#include "workbook/spreadsheet_format.h"

namespace kes {

class CsvReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

class CsvWriter final : public SpreadSheetWriter {
public:
    void Write(Workbook& book, std::string& out) override;
};

// The text of CSV bytes by the rules above.
std::u16string decodeCsvText(std::string_view bytes);

}  // namespace kes
