#pragma once
// The reader of OpenDocument spreadsheets (.ods, as LibreOffice, WPS and Google Sheets save
// them): every table's cells with their values, the number formats of their data styles turned
// into format codes, formulas turned from OpenFormula into the grid's own, spanned cells as
// merged areas, and column widths.
#include <optional>
#include <string>
#include <string_view>

#include "workbook/spreadsheet_format.h"

namespace kes {

class OdsReader final : public SpreadSheetReader {
public:
    void Read(Workbook& book, ByteStream& stream) override;
};

// True when the bytes are a package whose mime type is an OpenDocument spreadsheet or
// spreadsheet template. Never throws.
bool isOdsPackage(std::string_view bytes);

// An OpenFormula ("of:=SUM([.A1:.A3];[$Sheet2.B1])") in the grid's syntax without its "="
// ("SUM(A1:A3,'Sheet2'!B1)"); none when it has no recognised namespace or is not well formed.
std::optional<std::u16string> formulaOfOpenFormula(std::u16string_view formula);

}  // namespace kes
