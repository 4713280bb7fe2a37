#pragma once
// The XML Spreadsheet 2003 format (SpreadsheetML 2003) that Excel and LibreOffice open: every
// sheet with its values and their types, number formats, formulas in R1C1 notation beside the
// results they give, array formulas over their ranges, merged areas, column widths and the
// defined names.
#include "workbook/spreadsheet_format.h"

namespace kes {

class XmlSpreadsheetWriter final : public SpreadSheetWriter {
public:
    void Write(Workbook& book, std::string& out) override;
};

}  // namespace kes
