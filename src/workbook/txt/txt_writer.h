#pragma once
// Text as Excel's "Text (Tab delimited)" saves it on a Chinese system: the active sheet's display
// texts in the ANSI code page (GBK), cells separated by tabs, lines ended by CR LF.
#include "workbook/spreadsheet_format.h"

namespace kes {

class TxtWriter final : public SpreadSheetWriter {
public:
    void Write(Workbook& book, std::string& out) override;
};

}  // namespace kes
