#pragma once
// The records of a workbook's globals: the date system, the code page, number formats and cell
// formats, the sheets, shared strings, the workbooks, sheets and names formulas refer to. Before
// BIFF5 a file may be one worksheet whose stream holds these records among its cells.
#include <optional>
#include <string>
#include <vector>

#include "workbook/xls/biff_workbook_state.h"

namespace kes::biff {

struct SheetEntry {
    std::u16string name;
    uint32_t position;   // of its BOF in the stream (BIFF5 and BIFF8)
    uint8_t type;        // 0 for a worksheet
};

// A NAME record: its name, the sheet it belongs to (1-based, 0 for the workbook), its tokens.
struct NameRecord {
    std::u16string name;
    uint16_t sheet;
    bool hidden;
    std::string tokens;
    std::string extra;
};

class GlobalsReader {
public:
    explicit GlobalsReader(WorkbookState& state) : state_(state) {}

    // Reads the record when it is one of the globals'; false for any other.
    bool read(const Record& r);
    // Once every record is read: what BIFF5's EXTERNSHEET records name by sheet name.
    void finish();

    std::vector<SheetEntry> sheets;
    std::vector<NameRecord> names;

private:
    void readSupBook(const Record& r);
    void readExternSheet(const Record& r);
    void readExternName(const Record& r);
    NameRecord readName(const Record& r);

    WorkbookState& state_;
    int externalBooks_ = 0;
    // BIFF5: the EXTERNSHEET entries of this workbook's sheets, by the sheet's name.
    std::vector<std::pair<size_t, std::u16string>> ownSheetEntries_;
};

}  // namespace kes::biff
