#include "workbook/xls/biff_reader.h"

#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "sheet/sheet_error.h"
#include "workbook/xls/biff_sheet_reader.h"
#include "workbook/xls/compound_file.h"

namespace kes {
namespace {

using namespace biff;

constexpr std::string_view kCompoundFileSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8};

// The version a BOF record starts, by its id and (BIFF5 on) its version field.
Version versionOf(const Record& bof) {
    switch (bof.id) {
    case kBof2: return Version::Biff2;
    case kBof3: return Version::Biff3;
    case kBof4: return Version::Biff4;
    default: break;
    }
    const uint16_t version = get<uint16_t>(bof.data, 0, "BOF");
    if (version == 0x0500) return Version::Biff5;
    if (version == 0x0600) return Version::Biff8;
    fail("the workbook stream's BOF names an unknown version (" + std::to_string(version) + ")");
}

class WorkbookReader {
public:
    WorkbookReader(Workbook& book, std::string_view stream) : book_(book), stream_(stream) {}

    void read() {
        RecordStream records(stream_);
        Record bof;
        if (!records.next(bof) || !isBof(bof.id)) fail("the workbook stream does not start with BOF");
        WorkbookState state(book_, versionOf(bof));
        GlobalsReader globals(state);
        const uint16_t type = get<uint16_t>(bof.data, 2, "BOF");
        const bool bare = state.version() <= Version::Biff4;
        if (bare && type != kWorkbookSubstream4 && type != kWorksheetSubstream && type != 0)
            fail("the stream holds no worksheet (its BOF is of type " + std::to_string(type) + ")");
        if (type == kWorksheetSubstream || (bare && type == 0)) {
            // One worksheet, the globals' records among its cells.
            readSheetRecords(records, book_.addSheet(u"Sheet1"), state, &globals);
            globals.finish();
        } else {
            Record r;
            while (records.next(r) && r.id != kEof) {
                if (isBof(r.id)) records.skipSubstream();
                else globals.read(r);
            }
            globals.finish();
            state.addStylesOfAllXfs();
            if (bare) readSheetsInOrder(records, state, globals);
            else readSheetsByPosition(state, globals);
        }
        defineNames(state, globals);
    }

private:
    // BIFF5 and BIFF8: each BOUNDSHEET gives where its sheet's BOF is.
    void readSheetsByPosition(WorkbookState& state, GlobalsReader& globals) {
        gridSheet_.assign(globals.sheets.size(), -1);
        for (size_t i = 0; i < globals.sheets.size(); ++i) {
            const SheetEntry& entry = globals.sheets[i];
            if (entry.type != 0) continue;   // charts, macro and dialog sheets hold no cells for us
            gridSheet_[i] = book_.sheetCount();
            SheetTable& sheet = book_.addSheet(entry.name);
            if (entry.position >= stream_.size()) fail("a sheet starts beyond the end of the stream");
            RecordStream records(stream_, entry.position);
            Record bof;
            if (!records.next(bof) || !isBof(bof.id)) fail("a sheet does not start with BOF");
            readSheetRecords(records, sheet, state);
            // Sheets of a sound file never share records; a file whose sheets all start at the
            // same place would have every sheet read the whole stream again.
            sheetBytes_ += records.position() - entry.position;
            if (sheetBytes_ > stream_.size()) fail("the sheets overlap in the workbook stream");
        }
    }

    // A BIFF4 workbook: the sheets' substreams follow the globals in the order of their
    // BUNDLESHEET records.
    void readSheetsInOrder(RecordStream& records, WorkbookState& state, GlobalsReader& globals) {
        gridSheet_.assign(globals.sheets.size(), -1);
        Record bof;
        for (size_t i = 0; i < globals.sheets.size() && records.next(bof); ++i) {
            if (!isBof(bof.id)) fail("a sheet of the workbook does not start with BOF");
            if (get<uint16_t>(bof.data, 2, "BOF") != kWorksheetSubstream) {
                records.skipSubstream();
                continue;
            }
            gridSheet_[i] = book_.sheetCount();
            readSheetRecords(records, book_.addSheet(globals.sheets[i].name), state, &globals);
        }
    }

    // Names of a sheet count that sheet among all sheets; the grid keeps worksheets only.
    void defineNames(WorkbookState& state, const GlobalsReader& globals) {
        for (const NameRecord& name : globals.names) {
            const int32_t scope = name.sheet == 0 ? -1 : name.sheet <= gridSheet_.size() ? gridSheet_[name.sheet - 1] : -2;
            // A name without a formula (a macro's, or damaged) stands for nothing: #NAME? as in Excel.
            if (scope < -1 || name.name.empty() || name.tokens.empty()) continue;
            const auto text = formulaFromTokens(name.tokens, name.extra, state.tokenNames, TokenCell{0, 0});
            std::u16string formula = text ? *text : u"=#REF!";
            std::shared_ptr<const formula::Expression> expression = calc::compileFormula(formula);
            if (expression) formula = formula::formulaText(*expression);
            book_.names().define({name.name, scope, std::move(formula), std::move(expression), name.hidden});
        }
        book_.namesChanged();
    }

    Workbook& book_;
    std::string_view stream_;
    std::vector<int32_t> gridSheet_;   // the grid's sheet of each BOUNDSHEET, -1 for none
    size_t sheetBytes_ = 0;            // read by the sheets so far
};

}  // namespace

void BiffReader::Read(Workbook& book, ByteStream& stream) {
    try {
        const std::string_view bytes = stream.rest();
        if (bytes.substr(0, kCompoundFileSignature.size()) != kCompoundFileSignature) {
            WorkbookReader(book, bytes).read();   // a bare BIFF2-4 stream
            return;
        }
        const CompoundFile file(bytes);
        std::optional<std::string> workbook = file.stream(u"Workbook");
        if (!workbook) workbook = file.stream(u"Book");
        if (!workbook) {
            if (file.hasStream(u"EncryptionInfo")) fail("the workbook is protected with a password");
            fail("the compound file holds no workbook stream");
        }
        WorkbookReader(book, *workbook).read();
    } catch (const ECompoundFileError& e) {
        throw ESpreadSheetReaderError(std::string("xls: ") + e.what());
    } catch (const ESheetError& e) {   // what the cell store refuses, such as a 65,537th style
        throw ESpreadSheetReaderError(std::string("xls: ") + e.what());
    }
}

}  // namespace kes
