#pragma once
// The writer of Excel 97-2003 workbooks (.xls, BIFF8 in a compound file): the globals (fonts,
// number formats, cell formats, sheets, shared strings) and one worksheet substream per sheet,
// every cell with its value and its number format, and the sheet's merged areas. Dates and
// money get a date or currency format when their style has none, so that other programs see
// them as such.
#include <string>
#include <string_view>
#include <vector>

#include "workbook/spreadsheet_format.h"

namespace kes {

class BiffWriter final : public SpreadSheetWriter {
public:
    // Throws ESpreadSheetWriterError, before anything is written to `out`, for a workbook the
    // format cannot hold (a cell beyond 65,536 rows or 256 columns, a text over 32,767 characters).
    void Write(Workbook& book, std::string& out) override;
};

// The name a sheet gets in the file: Excel refuses names over 31 characters, with any of
// [ ] : * ? / \, starting or ending with an apostrophe, or equal (any case) to another sheet's.
// Such characters become "_", long names are cut, and a repeated name gets " (2)", " (3)"...
// `taken` holds the names given so far.
std::u16string xlsSheetName(std::u16string_view name, int32_t index,
                            const std::vector<std::u16string>& taken);

}  // namespace kes
