#pragma once
// The cell formats a BIFF8 workbook we write needs: one XF per cell style and number format in
// use (a date or money value in a General style takes a date or currency format), with the
// fonts, FORMAT records and palette that they name.
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/cell_styles.h"

namespace kes::biff {

class CellFormatWriter {
public:
    // Cell formats 0-14 are the style formats Excel expects, 15 the default cell format, 16-20
    // the built-in Comma, Currency and Percent styles; the workbook's own follow.
    static constexpr uint16_t kDefaultCellXf = 15;
    static constexpr uint16_t kFirstOwnXf = 21;
    static constexpr size_t kMaxOwnXfs = 4000;   // Excel reads no more than 4,050 in all

    explicit CellFormatWriter(const CellStyles& styles) : styles_(styles) {}

    // Throws ESpreadSheetWriterError past kMaxOwnXfs.
    uint16_t xfOf(uint16_t style, const std::u16string& numberFormat);

    using RecordSink = std::function<void(uint16_t id, std::string_view data)>;
    // FONT, FORMAT, XF, STYLE and PALETTE records, in the order Excel writes them.
    void write(const RecordSink& record) const;

private:
    const CellStyles& styles_;
    std::map<std::pair<uint16_t, std::u16string>, uint16_t> xfs_;
    std::vector<std::pair<uint16_t, std::u16string>> used_;
    std::map<std::u16string, uint16_t> formats_;
    std::vector<const std::u16string*> formatOrder_;
};

}  // namespace kes::biff
