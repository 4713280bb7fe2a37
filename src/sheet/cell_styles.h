#pragma once
// Cell styles: shared, deduplicated, addressed by a 16-bit index held in each cell. Index 0 is
// the default style (number format General). Entries never change once added, so an index
// names the same look for the life of the workbook.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace kes {

struct CellStyle {
    std::u16string numberFormat;   // an Excel format code; empty means General

    friend bool operator==(const CellStyle&, const CellStyle&) = default;
};

class CellStyles {
public:
    static constexpr uint16_t kDefault = 0;
    static constexpr size_t kMaxStyles = 65536;

    CellStyles();

    // The index of an equal style, added when missing. Throws ESheetError past kMaxStyles.
    uint16_t add(const CellStyle& style);
    const CellStyle& operator[](uint16_t index) const { return styles_[index < styles_.size() ? index : 0]; }
    size_t size() const { return styles_.size(); }
    void clear();

private:
    struct Hash { size_t operator()(const CellStyle& s) const; };
    std::vector<CellStyle> styles_;
    std::unordered_map<CellStyle, uint16_t, Hash> index_;
};

}  // namespace kes
