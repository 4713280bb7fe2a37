#pragma once
// The formats the library knows, in registry order: native, xlsx, xltx, xls, xlt, csv, htm,
// html, ods, txt, xml. Formats whose reader or writer is not built answer none for it.
#include "workbook/spreadsheet_format.h"

namespace kes {

class BinaryFormat final : public SpreadSheetFormat {
public:
    bool CanReadFromStream(ByteStream& stream) const override;
    std::optional<FormatSettings> CreateFormatSettings() const override { return FormatSettings{}; }
    std::u16string_view GetExt() const override { return u".bin"; }
    ReaderFactory GetReader() const override;
    WriterFactory GetWriter() const override;
};

class XLSXFormat : public SpreadSheetFormat {
public:
    bool CanReadFromStream(ByteStream& stream) const override;
    ReaderFactory GetReader() const override;
    WriterFactory GetWriter() const override;
    std::optional<FormatSettings> CreateFormatSettings() const override { return FormatSettings{}; }
    std::u16string_view GetDescription() const override { return u"Excel Workbook"; }
    std::u16string_view GetExt() const override { return u".xlsx"; }
};

class XLTXFormat final : public XLSXFormat {
public:
    std::u16string_view GetDescription() const override { return u"Excel Template"; }
    std::u16string_view GetExt() const override { return u".xltx"; }
    WriterFactory GetWriter() const override;
};

class XLSFormat : public SpreadSheetFormat {
public:
    bool CanReadFromStream(ByteStream& stream) const override;
    ReaderFactory GetReader() const override;
    // The same writer for templates: an .xlt differs from an .xls only by its name.
    WriterFactory GetWriter() const override;
    std::u16string_view GetDescription() const override { return u"Excel 97-2003 Workbook"; }
    std::u16string_view GetExt() const override { return u".xls"; }
};

class XLTFormat final : public XLSFormat {
public:
    std::u16string_view GetDescription() const override { return u"Excel 97-2003 Template"; }
    std::u16string_view GetExt() const override { return u".xlt"; }
};

class CSVFormat final : public SpreadSheetFormat {
public:
    bool CanCheckByContent() const override { return false; }
    std::optional<FormatSettings> CreateFormatSettings() const override { return FormatSettings{}; }
    std::u16string_view GetDescription() const override { return u"Comma delimited"; }
    std::u16string_view GetExt() const override { return u".csv"; }
    ReaderFactory GetReader() const override;
    WriterFactory GetWriter() const override;
};

class HTMFormat : public SpreadSheetFormat {
public:
    WriterFactory GetWriter() const override;
    std::u16string_view GetDescription() const override { return u"Web Page"; }
    std::u16string_view GetExt() const override { return u".htm"; }
};

class HTMLFormat final : public HTMFormat {
public:
    std::u16string_view GetExt() const override { return u".html"; }
};

class ODSFormat final : public SpreadSheetFormat {
public:
    bool CanReadFromStream(ByteStream& stream) const override;
    ReaderFactory GetReader() const override;
    std::optional<FormatSettings> CreateFormatSettings() const override { return FormatSettings{}; }
    std::u16string_view GetDescription() const override { return u"OpenDocument SpreadSheet"; }
    std::u16string_view GetExt() const override { return u".ods"; }
};

class TXTFormat final : public SpreadSheetFormat {
public:
    WriterFactory GetWriter() const override;
    std::u16string_view GetDescription() const override { return u"Text Document"; }
    std::u16string_view GetExt() const override { return u".txt"; }
};

class XMLFormat final : public SpreadSheetFormat {
public:
    WriterFactory GetWriter() const override;
    std::u16string_view GetDescription() const override { return u"XML Document"; }
    std::u16string_view GetExt() const override { return u".xml"; }
};

// The one instance of each format, as the registry holds them.
const BinaryFormat& binaryFormat();

void registerBuiltinFormats(SpreadSheetFormatsRepository& repository);

}  // namespace kes
