#include "workbook/formats.h"

#include "workbook/native/binary_format.h"
#include "workbook/csv/csv_format.h"
#include "workbook/html/html_writer.h"
#include "workbook/txt/txt_writer.h"
#include "workbook/xmlss/xml_spreadsheet_writer.h"
#include "workbook/ods/ods_reader.h"
#include "workbook/xlsx/xlsx_reader.h"
#include "workbook/xlsx/xlsx_writer.h"
#include "workbook/xls/biff_reader.h"
#include "workbook/xls/biff_writer.h"

namespace kes {
namespace {

constexpr std::string_view kCompoundFileSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8};

}  // namespace

const BinaryFormat& binaryFormat() {
    static const BinaryFormat format;
    return format;
}

bool BinaryFormat::CanReadFromStream(ByteStream& stream) const { return hasNativeHeader(stream.rest()); }

SpreadSheetFormat::ReaderFactory BinaryFormat::GetReader() const {
    return [] { return std::unique_ptr<SpreadSheetReader>(new NativeReader()); };
}

SpreadSheetFormat::WriterFactory BinaryFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new NativeWriter()); };
}

bool XLSXFormat::CanReadFromStream(ByteStream& stream) const { return xlsxWorkbookPart(stream.rest()).has_value(); }

SpreadSheetFormat::ReaderFactory XLSXFormat::GetReader() const {
    return [] { return std::unique_ptr<SpreadSheetReader>(new XlsxReader()); };
}

SpreadSheetFormat::WriterFactory XLSXFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new XlsxWriter()); };
}

SpreadSheetFormat::WriterFactory XLTXFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new XlsxWriter(true)); };
}

bool XLSFormat::CanReadFromStream(ByteStream& stream) const {
    return stream.size() > 1024 && stream.data.compare(0, kCompoundFileSignature.size(), kCompoundFileSignature) == 0;
}

SpreadSheetFormat::ReaderFactory XLSFormat::GetReader() const {
    return [] { return std::unique_ptr<SpreadSheetReader>(new BiffReader()); };
}

SpreadSheetFormat::WriterFactory XLSFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new BiffWriter()); };
}

SpreadSheetFormat::ReaderFactory CSVFormat::GetReader() const {
    return [] { return std::unique_ptr<SpreadSheetReader>(new CsvReader()); };
}

SpreadSheetFormat::WriterFactory CSVFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new CsvWriter()); };
}

bool ODSFormat::CanReadFromStream(ByteStream& stream) const { return isOdsPackage(stream.rest()); }

SpreadSheetFormat::ReaderFactory ODSFormat::GetReader() const {
    return [] { return std::unique_ptr<SpreadSheetReader>(new OdsReader()); };
}

SpreadSheetFormat::WriterFactory HTMFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new HtmlWriter()); };
}

SpreadSheetFormat::WriterFactory TXTFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new TxtWriter()); };
}

SpreadSheetFormat::WriterFactory XMLFormat::GetWriter() const {
    return [] { return std::unique_ptr<SpreadSheetWriter>(new XmlSpreadsheetWriter()); };
}

void registerBuiltinFormats(SpreadSheetFormatsRepository& repository) {
    static const XLSXFormat xlsx;
    static const XLTXFormat xltx;
    static const XLSFormat xls;
    static const XLTFormat xlt;
    static const CSVFormat csv;
    static const HTMFormat htm;
    static const HTMLFormat html;
    static const ODSFormat ods;
    static const TXTFormat txt;
    static const XMLFormat xml;
    const SpreadSheetFormat* const inOrder[] = {&binaryFormat(), &xlsx, &xltx, &xls, &xlt, &csv, &htm, &html, &ods, &txt, &xml};
    for (const SpreadSheetFormat* format : inOrder) repository.Register(*format);
}

}  // namespace kes
