#pragma once
// The reader of Excel's binary workbooks (.xls), every version from Excel 2.1 to Excel 2003:
// BIFF8 and BIFF5/7 in a compound file's Workbook or Book stream, BIFF2-4 worksheets and BIFF4
// workbooks as a bare record stream (or inside a compound file, as some programs write them).
// The cells of every worksheet with their values, texts in the file's code page, formulas by
// their tokens (damaged ones by their last results), dates by the number formats of their cell
// formats, the 1904 date system, column widths and merged areas. Writing is BIFF8 only.
#include "workbook/spreadsheet_format.h"

namespace kes {

class BiffReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

}  // namespace kes
