#include "sheet/workbook.h"

namespace kes {

Workbook::Workbook() { addSheet(u"Sheet1"); }

Workbook::~Workbook() {
    history_.clear();
    sheets_.clear();   // cells release their strings before the string table goes
}

SheetTable* Workbook::activeSheet() {
    if (activeSheet_ < 0 || activeSheet_ >= sheetCount()) return nullptr;
    return sheets_[static_cast<size_t>(activeSheet_)].get();
}

SheetTable& Workbook::addSheet(std::u16string name) {
    sheets_.push_back(std::make_unique<SheetTable>(*this, std::move(name)));
    return *sheets_.back();
}

void Workbook::clearAll() {
    history_.clear();
    sheets_.clear();
    styles_.clear();
    displayCache_.clear();
    activeSheet_ = 0;
}

void Workbook::setSettings(FormatSettings settings) {
    settings_ = std::move(settings);
    ++settingsGeneration_;
}

}  // namespace kes
