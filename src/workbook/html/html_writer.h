#pragma once
// A web page of the workbook: each sheet a table of the texts its cells show, merged areas
// spanning their cells, numbers aligned right as the grid aligns them. UTF-8.
#include "workbook/spreadsheet_format.h"

namespace kes {

class HtmlWriter final : public SpreadSheetWriter {
public:
    void Write(Workbook& book, std::string& out) override;
};

}  // namespace kes
