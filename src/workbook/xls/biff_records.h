#pragma once
// The record layer of Excel's binary workbooks, every version from BIFF2 (Excel 2.1) to BIFF8
// (Excel 97-2003): record ids, the records with the CONTINUE records that go on with them, and
// the checked reads every record field goes through.
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/workbook_errors.h"

namespace kes::biff {

// The versions whose layouts differ. Excel 95's BIFF7 is laid out as Excel 5's BIFF5.
enum class Version : uint8_t { Biff2 = 2, Biff3 = 3, Biff4 = 4, Biff5 = 5, Biff8 = 8 };

// Record ids of the file format documentation; where a record changed its id between versions
// the name carries the first version of that id.
enum : uint16_t {
    kBlank2 = 0x0001, kInteger2 = 0x0002, kNumber2 = 0x0003, kLabel2 = 0x0004,
    kBoolErr2 = 0x0005, kFormula = 0x0006, kString2 = 0x0007, kBof2 = 0x0009, kEof = 0x000A,
    kExternSheet = 0x0017, kName = 0x0018, kFormat2 = 0x001E, kArray2 = 0x0021, kDateMode = 0x0022,
    kExternName = 0x0023, kColWidth2 = 0x0024, kFilePass = 0x002F, kContinue = 0x003C, kCodePage = 0x0042,
    kXf2 = 0x0043, kIxfe2 = 0x0044, kColInfo = 0x007D, kBoundSheet = 0x0085, kBundleSheet4 = 0x008F,
    kMulRk = 0x00BD, kMulBlank = 0x00BE, kRString = 0x00D6, kXf = 0x00E0, kSst = 0x00FC, kLabelSst = 0x00FD,
    kMergedCells = 0x00E5, kFont = 0x0031, kFont3 = 0x0231, kFontColour2 = 0x0045, kPalette = 0x0092,
    kRow2 = 0x0008, kRow = 0x0208, kDefaultRowHeight2 = 0x0025, kDefaultRowHeight = 0x0225, kSupBook = 0x01AE, kBlank = 0x0201, kNumber = 0x0203, kLabel = 0x0204,
    kBoolErr = 0x0205, kFormula3 = 0x0206, kString = 0x0207, kBof3 = 0x0209, kName3 = 0x0218,
    kArray = 0x0221, kExternName3 = 0x0223, kXf3 = 0x0243, kRk = 0x027E, kFormula4 = 0x0406,
    kBof4 = 0x0409, kFormat = 0x041E, kXf4 = 0x0443, kShrFmla = 0x04BC, kBof = 0x0809,
};

// BOF's substream types; any other of BIFF5 and BIFF8 is taken for the workbook's globals.
enum : uint16_t { kWorksheetSubstream = 0x0010, kWorkbookSubstream4 = 0x0100 };

inline bool isBof(uint16_t id) { return id == kBof2 || id == kBof3 || id == kBof4 || id == kBof; }

[[noreturn]] inline void fail(const std::string& what) { throw ESpreadSheetReaderError("xls: " + what); }

// A field of a record, refused with the record's name when the record is too short for it.
template <class T>
T get(std::string_view data, size_t at, const char* record) {
    if (at > data.size() || data.size() - at < sizeof(T))
        fail(std::string(record) + " record is too short (" + std::to_string(data.size()) + " bytes)");
    T value;
    std::memcpy(&value, data.data() + at, sizeof(T));
    return value;
}

struct Record {
    uint16_t id = 0;
    std::string_view data;
    std::vector<std::string_view> continues;   // the CONTINUE records that follow

    // The record's data and its CONTINUE records' as one, for records whose continuation is
    // plain bytes (formula tokens, EXTERNSHEET entries, NAME).
    std::string joined() const;
};

class RecordStream {
public:
    explicit RecordStream(std::string_view stream, size_t position = 0) : stream_(stream), position_(position) {}

    bool next(Record& r);
    // Passes over the rest of a substream whose BOF was just read, the substreams nested in it
    // included; a stream that ends first ends it.
    void skipSubstream();
    size_t position() const { return position_; }

private:
    std::string_view stream_;
    size_t position_;
};

// Reads fields and texts across a record and its CONTINUE records. A BIFF8 string whose
// characters go on in the next record repeats its flags byte there, so a string may change
// between 8 and 16 bits a character at each record boundary.
class ContinuedReader {
public:
    ContinuedReader(const Record& r, const char* name);

    bool atEnd() const;
    uint8_t byte();
    uint16_t word() { const uint16_t lo = byte(); return uint16_t(lo | byte() << 8); }
    uint32_t dword() { const uint32_t lo = word(); return lo | uint32_t(word()) << 16; }
    void skip(size_t n);
    // XLUnicodeRichExtendedString (SST) and XLUnicodeString (STRING, LABEL): a 16-bit count,
    // flags, the characters; formatting runs and phonetic data are passed over.
    std::u16string unicodeString();

private:
    void ensure(size_t n);

    std::vector<std::string_view> segments_;
    const char* name_;
    size_t segment_ = 0;
    size_t at_ = 0;
};

}  // namespace kes::biff
