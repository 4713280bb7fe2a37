#pragma once
// The writer of Office Open XML workbooks: content types, relationships, workbook, styles,
// shared strings (each text once, in order of first use) and one worksheet part per sheet,
// every cell written with its reference, its style and its type, then the sheet's merged areas.
#include "workbook/spreadsheet_format.h"

namespace kes {

class XlsxWriter final : public SpreadSheetWriter {
public:
    explicit XlsxWriter(bool asTemplate = false) : asTemplate_(asTemplate) {}
    void Write(Workbook& book, std::string& out) override;

private:
    bool asTemplate_;
};

}  // namespace kes
