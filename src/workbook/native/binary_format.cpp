#include "workbook/native/binary_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "sheet/sheet_bounds.h"
#include "sheet/shared_strings.h"
#include "text/prefault.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

static_assert(std::endian::native == std::endian::little, "the native format is written in memory order");

constexpr std::string_view kSignature{"KESBOOK\x1A", 8};
// Version 2 writes each distinct string once: a string cell holds the index of an earlier one,
// or kNewString and the text. Version 1 wrote every string in full. Version 3 ends each sheet
// with its merged areas. Version 4 gives each formula its place in an array formula and keeps
// formulas that do not parse as formulas, and ends the workbook with its defined names and
// tables. Version 5 keeps whole cell styles (font, fill, borders, alignment) and the workbook's
// default font, row heights, hidden rows and hidden columns. The older versions are still read.
constexpr uint32_t kVersion = 5;
constexpr uint32_t kNewString = UINT32_MAX;

// The texts of a file in the order it names them: a list in pages that never moves what it
// holds, since a large workbook has hundreds of thousands and a vector would copy them all
// again at each doubling.
class TextList {
public:
    void push_back(SharedString* entry) {
        if (size_ % kPage == 0) pages_.push_back(std::make_unique_for_overwrite<SharedString*[]>(kPage));
        pages_.back()[size_ % kPage] = entry;
        ++size_;
    }
    SharedString* operator[](size_t i) const { return pages_[i / kPage][i % kPage]; }
    size_t size() const { return size_; }

private:
    static constexpr size_t kPage = 16384;
    std::vector<std::unique_ptr<SharedString*[]>> pages_;
    size_t size_ = 0;
};

// --- writing ---------------------------------------------------------------------------------

// The bytes go into chunks of growing size and reach the caller's string in one piece at the
// end: a string grown by appends would copy tens of megabytes again at each doubling and fault
// its fresh pages in one by one. Each distinct text is written once; the workbook's table keeps
// its index in the file while the file is written (SharedString::writerIndex, one more than
// the index), and the output sets the indexes back when done.
class Output {
public:
    explicit Output(std::string& out) : out_(out) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() {
        for (size_t i = 0; i < strings_.size(); ++i) strings_[i]->writerIndex = 0;
    }
    // Appends what was written to the caller's string.
    void finish() {
        size_t total = out_.size();
        for (const Chunk& chunk : chunks_) total += chunk.used;
        total += size_t(at_ - chunkStart());
        const size_t from = out_.size();
        out_.reserve(total);
        prefaultForWriting(out_.data() + from, total - from);
        for (const Chunk& chunk : chunks_) out_.append(chunk.bytes.get(), chunk.used);
        out_.append(chunkStart(), size_t(at_ - chunkStart()));
    }
    void string(SharedString* entry) {
        if (entry->writerIndex != 0) return put(entry->writerIndex - 1);
        strings_.push_back(entry);
        entry->writerIndex = static_cast<uint32_t>(strings_.size());
        put(kNewString);
        text(entry->text());
    }
    template <class T>
    void put(T value) {
        bytes(&value, sizeof(T));
    }
    void text(std::u16string_view s) {
        put(static_cast<uint32_t>(s.size()));
        bytes(s.data(), s.size() * sizeof(char16_t));
    }

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        size_t used;
    };
    static constexpr size_t kFirstChunk = size_t(64) << 10;
    static constexpr size_t kLargestChunk = size_t(4) << 20;

    void bytes(const void* data, size_t n) {
        if (n == 0) return;
        if (n > size_t(end_ - at_)) nextChunk(n);
        std::memcpy(at_, data, n);
        at_ += n;
    }
    char* chunkStart() const { return current_.get(); }
    void nextChunk(size_t atLeast) {
        size_t size = kFirstChunk;
        if (current_) {
            const size_t used = size_t(at_ - current_.get());
            chunks_.push_back({std::move(current_), used});
            size = std::min(currentSize_ * 2, kLargestChunk);
        }
        size = std::max(size, atLeast);
        current_ = std::make_unique_for_overwrite<char[]>(size);
        prefaultForWriting(current_.get(), size);
        currentSize_ = size;
        at_ = current_.get();
        end_ = at_ + size;
    }

    std::string& out_;
    std::vector<Chunk> chunks_;
    std::unique_ptr<char[]> current_;
    size_t currentSize_ = 0;
    char* at_ = nullptr;
    char* end_ = nullptr;
    TextList strings_;
};

void writeArea(Output& out, const CellRect& a) {
    out.put(a.left);
    out.put(a.top);
    out.put(a.right);
    out.put(a.bottom);
}

// What every cell starts with: its column, style, type and flags.
struct CellHeader {
    int32_t index;
    uint16_t style;
    uint8_t type;
    uint8_t flags;
};
static_assert(sizeof(CellHeader) == 8, "a cell's header is written as it lies in memory");

void writeCell(Output& out, const SheetCell& cell) {
    out.put(CellHeader{cell.index, cell.style, static_cast<uint8_t>(cell.type),
                       static_cast<uint8_t>(static_cast<uint8_t>(cell.showFormula) | (cell.inArray ? 4 : 0))});
    switch (cell.type) {
    case cdtBlank: break;
    case cdtBoolean: out.put(static_cast<uint8_t>(cell.boolean)); break;
    case cdtError: out.put(static_cast<uint8_t>(cell.error)); break;
    case cdtCurrency: out.put(cell.currency); break;
    case cdtFloat:
    case cdtDateTime: out.put(cell.number); break;
    case cdtInteger: out.put(cell.integer); break;
    case cdtString: out.string(cell.string); break;
    case cdtFormula: {
        const CellFormula& formula = *cell.formula;
        out.text(formula.text);
        out.put(static_cast<uint8_t>(static_cast<uint8_t>(formula.role) | (formula.dynamic ? 4 : 0)));
        if (formula.role != FormulaRole::Cell) writeArea(out, formula.array);
        break;
    }
    }
}

void writeBorder(Output& out, const BorderLine& line) {
    out.put(static_cast<uint8_t>(line.style));
    out.put(line.colour);
}

void writeStyle(Output& out, const CellStyle& style) {
    out.text(style.numberFormat);
    out.text(style.font.name);
    out.put(style.font.size);
    out.put(static_cast<uint8_t>(style.font.bold | style.font.italic << 1 | style.font.strike << 2 | style.wrap << 3 |
                                 style.shrinkToFit << 4));
    out.put(static_cast<uint8_t>(style.font.underline));
    out.put(style.font.colour);
    out.put(style.pattern);
    out.put(style.patternColour);
    out.put(style.backgroundColour);
    for (const BorderLine* line : {&style.left, &style.right, &style.top, &style.bottom}) writeBorder(out, *line);
    out.put(static_cast<uint8_t>(style.horizontal));
    out.put(static_cast<uint8_t>(style.vertical));
    out.put(style.indent);
    out.put(style.rotation);
}

void writeSheet(Output& out, SheetTable& sheet) {
    out.text(sheet.name());
    out.put(static_cast<uint8_t>(sheet.zeroValues));
    out.put(static_cast<uint8_t>(sheet.showFormulas));
    out.put(sheet.defaultColumnWidth);
    out.put(sheet.defaultRowHeight);
    const SheetSelection& selection = sheet.selection();
    out.put(selection.focusedRow());
    out.put(selection.focusedColumn());
    out.put(static_cast<uint32_t>(selection.areas().size()));
    for (const CellRect& a : selection.areas()) writeArea(out, a);
    uint32_t columns = 0;
    for (SheetColumn* c = sheet.columns().first(); c; c = c->next) columns += c->width > 0 || c->hidden;
    out.put(columns);
    for (SheetColumn* c = sheet.columns().first(); c; c = c->next) {
        if (c->width <= 0 && !c->hidden) continue;
        out.put(c->index);
        out.put(c->width);
        out.put(static_cast<uint8_t>(c->hidden));
    }
    uint32_t rows = 0;
    for (SheetRow* r = sheet.rows().first(); r; r = r->next) ++rows;
    out.put(rows);
    for (SheetRow* r = sheet.rows().first(); r; r = r->next) {
        prefetchTexts(r->next ? r->next->next : nullptr);
        uint32_t cells = 0;
        for (SheetCell* c = r->cells.first(); c; c = c->next) ++cells;
        out.put(r->index);
        out.put(r->height);
        out.put(static_cast<uint8_t>(r->hidden));
        out.put(cells);
        for (SheetCell* c = r->cells.first(); c; c = c->next) writeCell(out, *c);
    }
    out.put(static_cast<uint32_t>(sheet.mergedAreas().size()));
    for (const CellRect& a : sheet.mergedAreas()) writeArea(out, a);
}

void writeNamesAndTables(Output& out, Workbook& book) {
    out.put(static_cast<uint32_t>(book.names().size()));
    for (const DefinedName& name : book.names().all()) {
        out.text(name.name);
        out.put(name.sheet);
        out.text(name.formula);
        out.put(static_cast<uint8_t>(name.hidden));
    }
    out.put(static_cast<uint32_t>(book.tables().size()));
    for (const TableDefinition& table : book.tables().all()) {
        out.text(table.name);
        out.put(table.sheet);
        writeArea(out, table.area);
        out.put(static_cast<uint8_t>((table.headerRow ? 1 : 0) | (table.totalsRow ? 2 : 0)));
        out.put(static_cast<uint32_t>(table.columns.size()));
        for (const std::u16string& column : table.columns) out.text(column);
    }
}

// --- reading ---------------------------------------------------------------------------------

class Input {
public:
    Input(std::string_view bytes, uint32_t version) : bytes_(bytes), version_(version) {}

    uint32_t version() const { return version_; }

    // A string cell's text: its own, or (version 2) the entry of an earlier cell. From version 2
    // on, the texts reach the workbook's table a row after they are read, their slots asked for
    // in between (see SharedStringTable::prefetch), and the cells that name them wait for them.
    void string(SheetTable& sheet, SheetRow& row, CellRef& cell) {
        if (version_ < 2) return cell.setString(text("string"));
        uint32_t index = get<uint32_t>("string");
        if (index == kNewString) {
            reading_.add(text("string"));
            index = known_++;
        } else if (index >= known_) {
            fail("string", "refers to no earlier string");
        }
        if (index < strings_.size()) cell.setSharedString(strings_[index]);
        else waitingCells_.push_back({&sheet, &row, cell.cell(), index});
    }
    // At the end of a row: the slots of its new texts are asked for, the texts of the row
    // before go into the table.
    void endRow(SharedStringTable& table) {
        reading_.prefetch(table);
        takeTexts(waiting_, table);
        std::swap(reading_, waiting_);
    }
    // At the end of a sheet: every cell has its text.
    void endSheet(SharedStringTable& table) {
        takeTexts(waiting_, table);
        takeTexts(reading_, table);
    }

    template <class T>
    T get(const char* what) {
        need(sizeof(T), what);
        T value;
        std::memcpy(&value, bytes_.data() + position_, sizeof(T));
        position_ += sizeof(T);
        return value;
    }
    std::u16string_view text(const char* what) {
        const uint32_t length = get<uint32_t>(what);
        need(size_t(length) * sizeof(char16_t), what);
        scratch_.resize(length);
        std::memcpy(scratch_.data(), bytes_.data() + position_, size_t(length) * sizeof(char16_t));
        position_ += size_t(length) * sizeof(char16_t);
        return scratch_;
    }
    // A count of items of at least `itemBytes` each, which the rest of the file must be able to hold.
    uint32_t count(size_t itemBytes, const char* what) {
        const uint32_t n = get<uint32_t>(what);
        if (size_t(n) * itemBytes > bytes_.size() - position_) fail(what, "count beyond the end of the file");
        return n;
    }
    [[noreturn]] void fail(const char* what, const char* why) const {
        throw ESpreadSheetReaderError(std::string("native workbook: ") + what + ": " + why + " at byte " +
                                      std::to_string(position_));
    }

private:
    void need(size_t n, const char* what) const {
        if (n > bytes_.size() - position_) fail(what, "truncated");
    }

    struct WaitingCell {
        SheetTable* sheet;
        SheetRow* row;
        SheetCell* cell;
        uint32_t index;
    };

    void takeTexts(SharedStringBatch& batch, SharedStringTable& table) {
        if (batch.empty()) return;
        const size_t first = strings_.size();
        entries_.resize(batch.size());
        batch.acquire(table, entries_.data());
        for (SharedString* entry : entries_) strings_.push_back(entry);
        size_t kept = 0;
        for (const WaitingCell& waiting : waitingCells_) {
            if (waiting.index < strings_.size()) CellRef(waiting.sheet, waiting.row, waiting.cell).setSharedString(strings_[waiting.index]);
            else waitingCells_[kept++] = waiting;
        }
        waitingCells_.resize(kept);
        for (size_t i = first; i < strings_.size(); ++i) table.release(strings_[i]);   // the cells hold them now
    }

    std::string_view bytes_;
    uint32_t version_;
    size_t position_ = 0;
    std::u16string scratch_;
    TextList strings_;                  // in the table, held by the cells that name them
    uint32_t known_ = 0;                // texts read: those in the table, then those waiting
    SharedStringBatch reading_;         // new texts of the row being read
    SharedStringBatch waiting_;         // new texts of the row before, their slots asked for
    std::vector<SharedString*> entries_;
    std::vector<WaitingCell> waitingCells_;
};

CellRect readArea(Input& in, const char* what) {
    CellRect r;
    r.left = in.get<int32_t>(what);
    r.top = in.get<int32_t>(what);
    r.right = in.get<int32_t>(what);
    r.bottom = in.get<int32_t>(what);
    if (r.left < 0 || r.top < 0 || r.left > r.right || r.top > r.bottom || r.right > kMaxColumn || r.bottom > kMaxRow)
        in.fail(what, "outside the sheet");
    return r;
}

void readNamesAndTables(Input& in, Workbook& book) {
    const uint32_t names = in.count(13, "names");
    for (uint32_t i = 0; i < names; ++i) {
        DefinedName name;
        name.name = in.text("name");
        name.sheet = in.get<int32_t>("name scope");
        if (name.sheet < -1 || name.sheet >= book.sheetCount()) in.fail("name scope", "no such sheet");
        name.formula = in.text("name formula");
        name.hidden = in.get<uint8_t>("name hidden") != 0;
        name.expression = calc::compileFormula(name.formula);
        if (!book.names().define(std::move(name))) in.fail("names", "too many");
    }
    const uint32_t tables = in.count(29, "tables");
    for (uint32_t i = 0; i < tables; ++i) {
        TableDefinition table;
        table.name = in.text("table");
        table.sheet = in.get<int32_t>("table sheet");
        if (table.sheet < 0 || table.sheet >= book.sheetCount()) in.fail("table sheet", "no such sheet");
        table.area = readArea(in, "table area");
        const uint8_t rows = in.get<uint8_t>("table rows");
        table.headerRow = rows & 1;
        table.totalsRow = rows & 2;
        const uint32_t columns = in.count(4, "table columns");
        for (uint32_t c = 0; c < columns; ++c) table.columns.emplace_back(in.text("table column"));
        if (!book.tables().add(std::move(table))) in.fail("table", "does not fit its area or is named twice");
    }
    book.namesChanged();
}

void readCell(Input& in, SheetTable& sheet, SheetRow& row, int32_t& lastColumn, uint32_t styleCount) {
    const int32_t column = in.get<int32_t>("cell column");
    if (column <= lastColumn || column > kMaxColumn) in.fail("cell column", "out of order or outside the sheet");
    lastColumn = column;
    const uint16_t style = in.get<uint16_t>("cell style");
    if (style >= styleCount) in.fail("cell style", "no such style");
    const uint8_t type = in.get<uint8_t>("cell type");
    const uint8_t flags = in.get<uint8_t>("cell flags");
    if (type > cdtFormula || (flags & 3) > 2) in.fail("cell type", "unknown");
    CellRef cell = sheet.createCell(row, column);
    switch (static_cast<CellDataType>(type)) {
    case cdtBlank: break;
    case cdtBoolean: cell.assign(CellValue::makeBoolean(in.get<uint8_t>("boolean") != 0)); break;
    case cdtError: {
        const uint8_t code = in.get<uint8_t>("error");
        if (code > ecCalc) in.fail("error", "unknown code");
        cell.assign(CellValue::makeError(static_cast<FormulaErrorCode>(code)));
        break;
    }
    case cdtCurrency: cell.assign(CellValue::makeCurrency(in.get<int64_t>("currency"))); break;
    case cdtFloat: cell.assign(CellValue::makeFloat(in.get<double>("number"))); break;
    case cdtDateTime: cell.assign(CellValue::makeDateTime(in.get<double>("date"))); break;
    case cdtInteger: cell.assign(CellValue::makeInteger(in.get<int32_t>("integer"))); break;
    case cdtString: in.string(sheet, row, cell); break;
    case cdtFormula: {
        const std::u16string text(in.text("formula"));
        if (in.version() < 4) {
            if (!cell.setFormula(text)) cell.setString(text);
            break;
        }
        const uint8_t role = in.get<uint8_t>("formula role");
        if ((role & 3) > 2) in.fail("formula role", "unknown");
        if ((role & 3) == 0) {
            cell.setFileFormula(text);
            break;
        }
        const CellRect area = readArea(in, "array area");
        if (!area.contains(row.index, column)) in.fail("array area", "does not hold its cell");
        if ((role & 3) == 1) cell.setArrayFormula(text, area, role & 4);
        else cell.setArrayMember(area, role & 4);
        break;
    }
    }
    cell.setStyle(style);
    cell.cell()->showFormula = static_cast<ShowFormula>(flags & 3);
    cell.cell()->inArray = (flags & 4) != 0;
}

BorderLine readBorder(Input& in) {
    BorderLine line;
    const uint8_t style = in.get<uint8_t>("border");
    if (style > uint8_t(BorderStyle::SlantDashDot)) in.fail("border", "unknown line style");
    line.style = BorderStyle(style);
    line.colour = in.get<Rgb>("border colour");
    return line;
}

CellStyle readStyle(Input& in) {
    CellStyle style;
    style.numberFormat = in.text("number format");
    style.font.name = in.text("font name");
    style.font.size = in.get<uint16_t>("font size");
    const uint8_t flags = in.get<uint8_t>("style flags");
    style.font.bold = flags & 1;
    style.font.italic = flags & 2;
    style.font.strike = flags & 4;
    style.wrap = flags & 8;
    style.shrinkToFit = flags & 16;
    const uint8_t underline = in.get<uint8_t>("underline");
    if (underline > uint8_t(Underline::DoubleAccounting)) in.fail("underline", "unknown kind");
    style.font.underline = Underline(underline);
    style.font.colour = in.get<Rgb>("font colour");
    style.pattern = in.get<uint8_t>("fill pattern");
    if (style.pattern > kLastPattern) in.fail("fill pattern", "unknown pattern");
    style.patternColour = in.get<Rgb>("fill colour");
    style.backgroundColour = in.get<Rgb>("fill background");
    for (BorderLine* line : {&style.left, &style.right, &style.top, &style.bottom}) *line = readBorder(in);
    const uint8_t horizontal = in.get<uint8_t>("horizontal alignment");
    const uint8_t vertical = in.get<uint8_t>("vertical alignment");
    if (horizontal > uint8_t(HorizontalAlignment::Distributed) || vertical > uint8_t(VerticalAlignment::Distributed))
        in.fail("alignment", "unknown alignment");
    style.horizontal = HorizontalAlignment(horizontal);
    style.vertical = VerticalAlignment(vertical);
    style.indent = in.get<uint8_t>("indent");
    style.rotation = in.get<uint8_t>("rotation");
    if (style.indent > 15 || (style.rotation > 180 && style.rotation != 255)) in.fail("alignment", "indent or rotation out of range");
    return style;
}

void readSheet(Input& in, Workbook& book, uint32_t styleCount) {
    SheetTable& sheet = book.addSheet(std::u16string(in.text("sheet name")));
    const uint8_t zeroValues = in.get<uint8_t>("zero values");
    if (zeroValues > 2) in.fail("zero values", "unknown setting");
    sheet.zeroValues = static_cast<TriState>(zeroValues);
    sheet.showFormulas = in.get<uint8_t>("show formulas") != 0;
    sheet.defaultColumnWidth = in.get<int32_t>("default column width");
    if (in.version() >= 5) {
        sheet.defaultRowHeight = in.get<int32_t>("default row height");
        if (sheet.defaultRowHeight < 1 || sheet.defaultRowHeight > SheetTable::kMaxRowHeight) in.fail("default row height", "out of range");
    }
    const int32_t focusedRow = in.get<int32_t>("focused row");
    const int32_t focusedColumn = in.get<int32_t>("focused column");
    const uint32_t areas = in.count(16, "selection");
    sheet.selection().setFocused(focusedRow, focusedColumn);
    for (uint32_t i = 0; i < areas; ++i) {
        CellRect r;
        r.left = in.get<int32_t>("area");
        r.top = in.get<int32_t>("area");
        r.right = in.get<int32_t>("area");
        r.bottom = in.get<int32_t>("area");
        if (i == 0) sheet.selection().selectRange(r, focusedRow, focusedColumn);
        else sheet.selection().addArea(r);
    }
    const bool formats = in.version() >= 5;
    const uint32_t widths = in.count(formats ? 9 : 8, "column widths");
    for (uint32_t i = 0; i < widths; ++i) {
        const int32_t column = in.get<int32_t>("column");
        const int32_t width = in.get<int32_t>("column width");
        const bool hidden = formats && in.get<uint8_t>("column hidden") != 0;
        if (column < 0 || column > kMaxColumn || width < 0 || (width == 0 && !hidden)) in.fail("column width", "outside the sheet");
        if (width > 0) sheet.setColumnWidth(column, width);
        if (hidden) sheet.setColumnHidden(column, true);
    }
    const uint32_t rows = in.count(formats ? 11 : 8, "rows");
    int32_t lastRow = -1;
    for (uint32_t i = 0; i < rows; ++i) {
        const int32_t index = in.get<int32_t>("row");
        if (index <= lastRow || index > kMaxRow) in.fail("row", "out of order or outside the sheet");
        lastRow = index;
        SheetRow& row = *sheet.createRow(index);
        if (formats) {
            row.height = in.get<uint16_t>("row height");
            row.hidden = in.get<uint8_t>("row hidden") != 0;
            if (row.height > SheetTable::kMaxRowHeight) in.fail("row height", "out of range");
        }
        const uint32_t cells = in.count(8, "cells");
        int32_t lastColumn = -1;
        for (uint32_t c = 0; c < cells; ++c) readCell(in, sheet, row, lastColumn, styleCount);
        in.endRow(book.strings());
    }
    in.endSheet(book.strings());
    if (in.version() < 3) return;
    const uint32_t merged = in.count(16, "merged areas");
    for (uint32_t i = 0; i < merged; ++i) {
        CellRect r;
        r.left = in.get<int32_t>("merged area");
        r.top = in.get<int32_t>("merged area");
        r.right = in.get<int32_t>("merged area");
        r.bottom = in.get<int32_t>("merged area");
        // The writer only writes areas the sheet took: any other is damage.
        if (!sheet.addMergedArea(r)) in.fail("merged area", "overlapping, of one cell or outside the sheet");
    }
}

}  // namespace

bool hasNativeHeader(std::string_view bytes) {
    if (bytes.size() < 12 || bytes.substr(0, 8) != kSignature) return false;
    uint32_t version;
    std::memcpy(&version, bytes.data() + 8, sizeof version);
    return version >= 1 && version <= 12;
}

void NativeWriter::Write(Workbook& book, std::string& out) {
    Output o(out);
    out.append(kSignature);
    o.put(kVersion);
    o.put(static_cast<uint8_t>(book.settings().date1904));
    o.text(book.styles().defaultFont().name);
    o.put(book.styles().defaultFont().size);
    o.put(static_cast<uint32_t>(book.styles().size()));
    for (size_t i = 0; i < book.styles().size(); ++i) writeStyle(o, book.styles()[static_cast<uint16_t>(i)]);
    o.put(static_cast<uint32_t>(book.sheetCount()));
    o.put(book.activeSheetIndex());
    for (int32_t i = 0; i < book.sheetCount(); ++i) writeSheet(o, book.sheet(i));
    writeNamesAndTables(o, book);
    o.finish();
}

void NativeReader::Read(Workbook& book, ByteStream& stream) {
    const std::string_view bytes = stream.rest();
    if (!hasNativeHeader(bytes)) throw ESpreadSheetReaderError("native workbook: no native header");
    uint32_t version;
    std::memcpy(&version, bytes.data() + 8, sizeof version);
    Input in(bytes.substr(12), version);
    if (version > kVersion) in.fail("version", "written by a newer program");
    FormatSettings settings = book.settings();
    settings.date1904 = in.get<uint8_t>("date system") != 0;
    book.setSettings(settings);
    if (version >= 5) {
        DefaultFont font;
        font.name = in.text("default font");
        font.size = in.get<uint16_t>("default font size");
        if (font.name.empty() || font.size == 0) in.fail("default font", "no name or no size");
        book.styles().setDefaultFont(std::move(font));
    }
    const uint32_t styles = in.count(4, "styles");
    if (styles == 0 || styles > CellStyles::kMaxStyles) in.fail("styles", "count outside 1..65536");
    for (uint32_t i = 0; i < styles; ++i) {
        const uint16_t index = book.styles().add(version >= 5 ? readStyle(in) : CellStyle{std::u16string(in.text("style"))});
        if (index != i) in.fail("style", "repeated");
    }
    const uint32_t sheets = in.count(4, "sheets");
    const int32_t active = in.get<int32_t>("active sheet");
    for (uint32_t i = 0; i < sheets; ++i) readSheet(in, book, styles);
    if (version >= 4) readNamesAndTables(in, book);
    book.setActiveSheetIndex(active >= 0 && active < book.sheetCount() ? active : 0);
}

}  // namespace kes
