#include "workbook/csv/csv_format.h"

#include "workbook/csv/delimited_text.h"
#include <algorithm>

#include "text/ansi_code_page.h"
#include "sheet/clipboard_text.h"
#include "sheet/sheet_bounds.h"
#include "text/utf8.h"

namespace kes {

std::u16string decodeCsvText(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return fromUtf8(bytes.substr(3));
    if (bytes.starts_with("\xFF\xFE")) {
        std::u16string text((bytes.size() - 2) / 2, u'\0');
        for (size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<char16_t>(static_cast<uint8_t>(bytes[2 + 2 * i]) | static_cast<uint8_t>(bytes[3 + 2 * i]) << 8);
        return text;
    }
    if (isValidUtf8(bytes)) return fromUtf8(bytes);
    return systemAnsiCodePage().decode(bytes);
}

void CsvReader::Read(Workbook& book, ByteStream& stream) {
    const TextBlock rows = parseDelimitedText(decodeCsvText(stream.rest()), u',');
    SheetTable& sheet = book.addSheet(u"Sheet1");
    const size_t rowCount = std::min<size_t>(rows.size(), size_t(kMaxRow) + 1);
    for (size_t r = 0; r < rowCount; ++r) {
        const size_t columns = std::min<size_t>(rows[r].size(), size_t(kMaxColumn) + 1);
        for (size_t c = 0; c < columns; ++c) {
            if (rows[r][c].empty()) continue;
            sheet.createCell(int32_t(r), int32_t(c)).setText(rows[r][c], 1);
        }
    }
}

void CsvWriter::Write(Workbook& book, std::string& out) {
    out += "\xEF\xBB\xBF";
    SheetTable* sheet = book.activeSheet();
    if (!sheet) return;
    writeDelimitedLines(*sheet, u',', [&](std::u16string_view line) {
        appendUtf8(out, line);
        out += "\r\n";
    });
}

}  // namespace kes
