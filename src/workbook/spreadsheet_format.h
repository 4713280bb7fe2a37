#pragma once
// Workbook formats and their registry. Each format is one object of its own class; the
// registry holds them in a fixed order, which decides every first match when a file is
// matched by extension or by content.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/format/format_settings.h"
#include "sheet/workbook.h"
#include "workbook/byte_stream.h"

namespace kes {

class SpreadSheetReader {
public:
    virtual ~SpreadSheetReader() = default;
    // Fills the (cleared) workbook from the stream; throws on a file it cannot read.
    virtual void Read(Workbook& book, ByteStream& stream) = 0;
};

class SpreadSheetWriter {
public:
    virtual ~SpreadSheetWriter() = default;
    virtual void Write(Workbook& book, std::string& out) = 0;
};

class SpreadSheetFormat {
public:
    using ReaderFactory = std::unique_ptr<SpreadSheetReader> (*)();
    using WriterFactory = std::unique_ptr<SpreadSheetWriter> (*)();

    virtual ~SpreadSheetFormat() = default;

    virtual bool CanCheckByContent() const { return true; }
    // Must leave the stream's position where it found it.
    virtual bool CanReadFromStream(ByteStream&) const { return false; }
    // The settings a load or save in this format works with, or none to keep the workbook's.
    virtual std::optional<FormatSettings> CreateFormatSettings() const { return std::nullopt; }
    virtual std::u16string_view GetDescription() const { return u""; }
    virtual std::u16string_view GetExt() const = 0;
    virtual ReaderFactory GetReader() const { return nullptr; }
    virtual WriterFactory GetWriter() const { return nullptr; }

    std::unique_ptr<SpreadSheetReader> CreateReader() const;
    std::unique_ptr<SpreadSheetWriter> CreateWriter() const;
};

class SpreadSheetFormatsRepository {
public:
    // The registry of the library, filled in the fixed order at first use.
    static SpreadSheetFormatsRepository& instance();

    void Register(const SpreadSheetFormat& format) { formats_.push_back(&format); }
    void Unregister(const SpreadSheetFormat& format) { std::erase(formats_, &format); }
    const SpreadSheetFormat& GetItem(size_t index) const { return *formats_.at(index); }
    size_t count() const { return formats_.size(); }

    // The first format whose extension equals the file name's, ignoring the case of ASCII
    // letters; none when the name has no extension or no format has it.
    const SpreadSheetFormat* Find(std::u16string_view fileName) const;

private:
    std::vector<const SpreadSheetFormat*> formats_;
};

// The extension of a file name: from the last "." after the last path delimiter, dot included.
std::u16string_view fileExtension(std::u16string_view fileName);

}  // namespace kes
