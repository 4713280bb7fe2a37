#pragma once
// What the records of a workbook stream tell the reading of its cells, gathered as they come:
// the version, the code page of its 8-bit texts, the shared strings, the fonts, palette and
// number formats of its cell formats, and what formula tokens refer to.
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sheet/workbook.h"
#include "workbook/xls/biff_cell_formats.h"
#include "workbook/xls/biff_records.h"
#include "workbook/xls/formula_tokens.h"

namespace kes::biff {

class WorkbookState {
public:
    WorkbookState(Workbook& book, Version version) : book(book) { tokenNames.version = version; }

    Version version() const { return tokenNames.version; }
    bool biff8() const { return version() == Version::Biff8; }

    // A text at `at`: BIFF8's XLUnicodeString with a count of `countBytes` and a flags byte, or
    // before BIFF8 a count and bytes in the file's code page.
    std::u16string text(std::string_view data, size_t at, size_t countBytes, const char* record) const;

    // A number format: by its index, or (BIFF2-4, whose FORMAT records carry none) by order.
    void addFormat(std::u16string code, std::optional<uint16_t> index = std::nullopt);
    void addFont(FontRecord font);
    // FONTCOLOR: BIFF2's colour of the font before it.
    void setLastFontColour(uint16_t colour);
    void addXf(const XfRecord& xf);
    // PALETTE: the entries from index 8 on.
    void setPaletteEntry(size_t index, Rgb colour);
    // The cell store's style of a cell format, made when a cell first uses it.
    uint16_t styleOfXf(uint16_t xf);
    // Every cell format given a style, as the cell store keeps them, whether cells use it or not.
    void addStylesOfAllXfs();

    Workbook& book;
    TokenNames tokenNames;
    std::vector<std::u16string> strings;   // the shared strings (SST)

private:
    std::u16string formatCode(uint16_t format) const;
    const FontRecord* font(uint16_t index) const;

    std::unordered_map<uint16_t, std::u16string> formats_;
    uint16_t nextFormat_ = 0;
    std::vector<FontRecord> fonts_;
    std::vector<XfRecord> xfs_;
    std::vector<int32_t> stylesOfXfs_;   // -1 until a cell uses the format
    Palette palette_ = kDefaultPalette;
};

// A number as a cell keeps it: NaN and infinities, which Excel never stores, show as #NUM!.
CellValue numberValue(double number);

}  // namespace kes::biff
