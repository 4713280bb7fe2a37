#include "workbook/xls/biff_workbook_state.h"

#include <cmath>

#include "sheet/format/number_format.h"

namespace kes::biff {

std::u16string WorkbookState::text(std::string_view data, size_t at, size_t countBytes, const char* record) const {
    const size_t count = countBytes == 1 ? get<uint8_t>(data, at, record) : get<uint16_t>(data, at, record);
    at += countBytes;
    std::u16string out;
    if (!biff8()) {
        if (data.size() - std::min(data.size(), at) < count) fail(std::string(record) + " record is too short for its text");
        tokenNames.codePage.decodeAppend(data.substr(at, count), out);
        return out;
    }
    const bool wide = get<uint8_t>(data, at++, record) & 1;
    if (data.size() - std::min(data.size(), at) < count * (wide ? 2 : 1)) fail(std::string(record) + " record is too short for its text");
    out.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        if (wide) out.push_back(get<char16_t>(data, at + 2 * i, record));
        else out.push_back(char16_t(get<uint8_t>(data, at + i, record)));
    }
    return out;
}

void WorkbookState::addFormat(std::u16string code, std::optional<uint16_t> index) {
    const uint16_t at = index.value_or(nextFormat_);
    nextFormat_ = uint16_t(at + 1);
    formats_[at] = std::move(code);
}

// More fonts and cell formats than Excel allows; a hostile file stops growing here.
constexpr size_t kMaxFormats = 65536;

void WorkbookState::addFont(FontRecord font) {
    if (fonts_.size() >= kMaxFormats) return;
    if (fonts_.empty() && font.font.size && !font.font.name.empty()) book.styles().setDefaultFont({font.font.name, font.font.size});
    fonts_.push_back(std::move(font));
}

void WorkbookState::setLastFontColour(uint16_t colour) {
    if (!fonts_.empty()) fonts_.back().colour = colour;
}

void WorkbookState::addXf(const XfRecord& xf) {
    if (xfs_.size() >= kMaxFormats) return;
    xfs_.push_back(xf);
    stylesOfXfs_.push_back(-1);
}

void WorkbookState::setPaletteEntry(size_t index, Rgb colour) {
    if (index < palette_.size()) palette_[index] = colour;
}

std::u16string WorkbookState::formatCode(uint16_t format) const {
    std::u16string code;
    if (auto it = formats_.find(format); it != formats_.end()) code = it->second;
    else code = std::u16string(builtinFormatCode(format));
    if (code == u"General") code.clear();
    return code;
}

// Fonts are numbered without an index 4, a gap the first Excel versions left.
const FontRecord* WorkbookState::font(uint16_t index) const {
    const size_t at = index >= 4 ? size_t(index) - 1 : index;
    return at < fonts_.size() ? &fonts_[at] : nullptr;
}

uint16_t WorkbookState::styleOfXf(uint16_t xf) {
    if (xf >= xfs_.size()) return 0;
    if (stylesOfXfs_[xf] < 0) {
        const XfRecord& record = xfs_[xf];
        stylesOfXfs_[xf] = book.styles().add(resolveXf(record, font(record.font), formatCode(record.format), palette_,
                                                       book.styles().defaultFont()));
    }
    return uint16_t(stylesOfXfs_[xf]);
}

void WorkbookState::addStylesOfAllXfs() {
    for (size_t xf = 0; xf < xfs_.size(); ++xf) styleOfXf(uint16_t(xf));
}

CellValue numberValue(double number) {
    return std::isfinite(number) ? CellValue::makeFloat(number) : CellValue::makeError(ecNUM);
}

}  // namespace kes::biff
