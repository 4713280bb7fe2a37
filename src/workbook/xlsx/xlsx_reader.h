#pragma once
// The reader of Office Open XML workbooks (.xlsx, .xltx): the package entered through its
// root relationships, shared strings, number formats of the cell styles, and every worksheet's
// cells and merged areas, with formulas turned into formulas once all sheets are read.
#include <optional>
#include <string>

#include "workbook/spreadsheet_format.h"

namespace kes {

class XlsxReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

// The workbook part's name when the bytes are a package whose main document is a workbook or
// a template; none otherwise. Never throws.
std::optional<std::string> xlsxWorkbookPart(std::string_view bytes);

}  // namespace kes
