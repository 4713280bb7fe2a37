#pragma once
// Loading and saving a whole workbook. A load replaces every sheet; when it fails part-way the
// workbook is put back exactly as it was from a native snapshot, and the error goes on to the
// caller. All of these raise; none returns a status.
#include <string>
#include <string_view>

#include "sheet/workbook.h"
#include "workbook/spreadsheet_format.h"

namespace kes {

// The format follows the extension unless the content says otherwise; a ".csv" file is read as
// CSV whatever it holds.
void LoadFromFile(Workbook& book, std::u16string_view fileName);
// By content alone: the first registered format that reads the bytes.
void LoadFromStream(Workbook& book, ByteStream& stream);
void LoadFromStream(Workbook& book, ByteStream& stream, const SpreadSheetFormat& format);

// The format follows the extension; an unknown one raises before any file is made.
void SaveToFile(Workbook& book, std::u16string_view fileName);
// With no format, the native one.
void SaveToStream(Workbook& book, std::string& out, const SpreadSheetFormat* format = nullptr);

}  // namespace kes
