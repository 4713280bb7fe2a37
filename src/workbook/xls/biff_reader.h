#pragma once
// The reader of Excel 97-2003 workbooks (.xls, BIFF8): the cells of every worksheet with their
// values, shared strings split over CONTINUE records, formulas by their tokens (of the subset
// formula_tokens.h reads; the others by their last results), dates by the
// number formats of their cell formats, the 1904 date system, merged areas.
#include "workbook/spreadsheet_format.h"

namespace kes {

class BiffReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

}  // namespace kes
