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

uint16_t WorkbookState::styleOfFormat(uint16_t format) {
    if (auto it = stylesOfFormats_.find(format); it != stylesOfFormats_.end()) return it->second;
    std::u16string code;
    if (auto it = formats_.find(format); it != formats_.end()) code = it->second;
    else code = std::u16string(builtinFormatCode(format));
    if (code == u"General") code.clear();
    const uint16_t style = book.styles().add(CellStyle{code});
    stylesOfFormats_.emplace(format, style);
    return style;
}

uint16_t WorkbookState::styleOfXf(uint16_t xf) { return xf < xfFormats_.size() ? styleOfFormat(xfFormats_[xf]) : 0; }

void WorkbookState::addStylesOfAllXfs() {
    for (uint16_t format : xfFormats_) styleOfFormat(format);
}

CellValue numberValue(double number) {
    return std::isfinite(number) ? CellValue::makeFloat(number) : CellValue::makeError(ecNUM);
}

}  // namespace kes::biff
