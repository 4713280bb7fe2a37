#include "sheet/workbook.h"

#include <algorithm>

namespace kes {

Workbook::Workbook() { addSheet(u"Sheet1"); }

Workbook::~Workbook() {
    formulas_.invalidateAll();
    history_.clear();
    sheets_.clear();   // cells release their strings before the string table goes
}

SheetTable* Workbook::activeSheet() {
    if (activeSheet_ < 0 || activeSheet_ >= sheetCount()) return nullptr;
    return sheets_[static_cast<size_t>(activeSheet_)].get();
}

SheetTable& Workbook::addSheet(std::u16string name) {
    formulas_.invalidateAll();   // a formula may refer to a sheet of this name
    sheets_.push_back(std::make_unique<SheetTable>(*this, std::move(name)));
    return *sheets_.back();
}

SheetTable* Workbook::findSheet(std::u16string_view name) {
    const auto fold = [](char16_t c) { return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c; };
    for (const auto& sheet : sheets_) {
        const std::u16string& own = sheet->name();
        if (own.size() == name.size() &&
            std::equal(own.begin(), own.end(), name.begin(), [&](char16_t a, char16_t b) { return fold(a) == fold(b); })) {
            return sheet.get();
        }
    }
    return nullptr;
}

int32_t Workbook::indexOf(const SheetTable& sheet) const {
    for (size_t i = 0; i < sheets_.size(); ++i) {
        if (sheets_[i].get() == &sheet) return static_cast<int32_t>(i);
    }
    return -1;
}

void Workbook::clearAll() {
    formulas_.invalidateAll();
    history_.clear();
    sheets_.clear();
    names_.clear();
    tables_.clear();
    styles_.clear();
    displayCache_.clear();
    activeSheet_ = 0;
}

void Workbook::setSettings(FormatSettings settings) {
    settings_ = std::move(settings);
    ++settingsGeneration_;
}

}  // namespace kes
