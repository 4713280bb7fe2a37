#include "workbook/spreadsheet_format.h"

#include "workbook/formats.h"
#include "workbook/workbook_errors.h"

namespace kes {

std::unique_ptr<SpreadSheetReader> SpreadSheetFormat::CreateReader() const {
    const ReaderFactory make = GetReader();
    if (!make) throw ESpreadSheetFormatError();
    return make();
}

std::unique_ptr<SpreadSheetWriter> SpreadSheetFormat::CreateWriter() const {
    const WriterFactory make = GetWriter();
    if (!make) throw ESpreadSheetFormatError();
    return make();
}

SpreadSheetFormatsRepository& SpreadSheetFormatsRepository::instance() {
    static SpreadSheetFormatsRepository repository = [] {
        SpreadSheetFormatsRepository r;
        registerBuiltinFormats(r);
        return r;
    }();
    return repository;
}

std::u16string_view fileExtension(std::u16string_view fileName) {
    const size_t delimiter = fileName.find_last_of(u"\\/:");
    const size_t dot = fileName.rfind(u'.');
    if (dot == std::u16string_view::npos || (delimiter != std::u16string_view::npos && dot < delimiter)) return {};
    return fileName.substr(dot);
}

const SpreadSheetFormat* SpreadSheetFormatsRepository::Find(std::u16string_view fileName) const {
    const std::u16string_view ext = fileExtension(fileName);
    if (ext.empty()) return nullptr;
    const auto fold = [](char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; };
    for (const SpreadSheetFormat* format : formats_) {
        const std::u16string_view candidate = format->GetExt();
        if (candidate.size() != ext.size()) continue;
        bool equal = true;
        for (size_t i = 0; i < ext.size() && equal; ++i) equal = fold(candidate[i]) == fold(ext[i]);
        if (equal) return format;
    }
    return nullptr;
}

}  // namespace kes
