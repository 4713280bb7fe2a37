#include "sheet/cell_styles.h"

#include <functional>
#include <string_view>

#include "sheet/sheet_error.h"

namespace kes {
namespace {

size_t mix(size_t seed, size_t value) { return seed ^ (value + 0x9E3779B97F4A7C15ull + (seed << 6) + (seed >> 2)); }

size_t hashOf(const BorderLine& line) { return (size_t(line.style) << 32) ^ line.colour; }

}  // namespace

size_t CellStyles::Hash::operator()(const CellStyle& s) const {
    size_t h = std::hash<std::u16string_view>()(s.numberFormat);
    h = mix(h, std::hash<std::u16string_view>()(s.font.name));
    h = mix(h, (size_t(s.font.size) << 40) ^ (size_t(s.font.bold) << 36) ^ (size_t(s.font.italic) << 35) ^
                   (size_t(s.font.strike) << 34) ^ (size_t(s.font.underline) << 32) ^ s.font.colour);
    h = mix(h, (size_t(s.pattern) << 32) ^ s.patternColour);
    h = mix(h, s.backgroundColour);
    for (const BorderLine* line : {&s.left, &s.right, &s.top, &s.bottom}) h = mix(h, hashOf(*line));
    return mix(h, (size_t(s.horizontal) << 24) ^ (size_t(s.vertical) << 20) ^ (size_t(s.wrap) << 17) ^
                      (size_t(s.shrinkToFit) << 16) ^ (size_t(s.indent) << 8) ^ s.rotation);
}

CellStyles::CellStyles() { clear(); }

void CellStyles::clear() {
    styles_.assign(1, CellStyle{});
    index_.clear();
    index_.emplace(CellStyle{}, kDefault);
    defaultFont_ = DefaultFont{};
    ++generation_;
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
