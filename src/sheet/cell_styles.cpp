#include "sheet/cell_styles.h"

#include <functional>
#include <string_view>

#include "sheet/sheet_error.h"

namespace kes {

size_t CellStyles::Hash::operator()(const CellStyle& s) const {
    return std::hash<std::u16string_view>()(s.numberFormat);
}

CellStyles::CellStyles() { clear(); }

void CellStyles::clear() {
    styles_.assign(1, CellStyle{});
    index_.clear();
    index_.emplace(CellStyle{}, kDefault);
}

uint16_t CellStyles::add(const CellStyle& style) {
    if (auto it = index_.find(style); it != index_.end()) return it->second;
    if (styles_.size() >= kMaxStyles) throw ESheetError("too many different cell styles in one workbook");
    const auto index = static_cast<uint16_t>(styles_.size());
    styles_.push_back(style);
    index_.emplace(style, index);
    return index;
}

}  // namespace kes
