#include "workbook/xls/biff_writer.h"

#include <cmath>
#include <cstring>
#include <deque>
#include <unordered_map>

#include "sheet/cell_formula.h"
#include "sheet/format/number_format.h"
#include "sheet/shared_strings.h"
#include "workbook/workbook_errors.h"
#include "workbook/xls/biff_format_writer.h"
#include "workbook/xls/compound_file_writer.h"
#include "workbook/xls/formula_tokens.h"

namespace kes {
namespace {

// Record ids of the file format documentation ([MS-XLS] 2.3).
enum : uint16_t {
    kFormula = 0x0006,
    kEof = 0x000A,
    kDateMode = 0x0022,
    kWindow1 = 0x003D,
    kContinue = 0x003C,
    kExternSheet = 0x0017,
    kCodePage = 0x0042,
    kColInfo = 0x007D,
    kSupBook = 0x01AE,
    kBoundSheet = 0x0085,
    kSst = 0x00FC,
    kLabelSst = 0x00FD,
    kExtSst = 0x00FF,
    kDimensions = 0x0200,
    kBlank = 0x0201,
    kNumber = 0x0203,
    kBoolErr = 0x0205,
    kString = 0x0207,
    kRow = 0x0208,
    kWindow2 = 0x023E,
    kRk = 0x027E,
    kDefaultRowHeight = 0x0225,
    kBof = 0x0809,
    kMergedCells = 0x00E5,
};

constexpr size_t kMaxRecordData = 8224;
constexpr int32_t kLastRow = 65535, kLastColumn = 255;
constexpr size_t kMaxText = 32767;
constexpr size_t kMergedRangesPerRecord = 1026;   // as Excel writes them: 2 + 1026 * 8 bytes fit a record
constexpr uint16_t kDefaultCellXf = biff::CellFormatWriter::kDefaultCellXf;

[[noreturn]] void refuse(const std::string& what) { throw ESpreadSheetWriterError("xls: " + what); }

class Bytes {
public:
    Bytes& u8(uint8_t v) {
        data.push_back(char(v));
        return *this;
    }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& u32(uint32_t v) { return u16(uint16_t(v)).u16(uint16_t(v >> 16)); }
    Bytes& f64(double v) {
        uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        return u32(uint32_t(bits)).u32(uint32_t(bits >> 32));
    }
    // The characters of a string as its flags byte says: one byte each when all fit, else UTF-16.
    Bytes& chars(std::u16string_view text, bool wide) {
        for (char16_t c : text) wide ? u16(c) : u8(uint8_t(c));
        return *this;
    }
    std::string data;
};

bool needsWide(std::u16string_view text) {
    for (char16_t c : text) {
        if (c > 0xFF) return true;
    }
    return false;
}

// XLUnicodeString (16-bit count) or ShortXLUnicodeString (8-bit count).
Bytes& unicodeString(Bytes& b, std::u16string_view text, bool shortCount) {
    const bool wide = needsWide(text);
    shortCount ? b.u8(uint8_t(text.size())) : b.u16(uint16_t(text.size()));
    return b.u8(wide ? 1 : 0).chars(text, wide);
}

// A record, split into CONTINUE records past the size limit.
void record(std::string& out, uint16_t id, std::string_view data) {
    size_t at = 0;
    do {
        const size_t n = std::min(kMaxRecordData, data.size() - at);
        Bytes header;
        header.u16(at == 0 ? id : uint16_t(kContinue)).u16(uint16_t(n));
        out += header.data;
        out.append(data.substr(at, n));
        at += n;
    } while (at < data.size());
}

void record(std::string& out, uint16_t id, const Bytes& b) { record(out, id, b.data); }

std::string cellName(int32_t row, int32_t column) {
    std::string letters;
    for (int32_t c = column + 1; c > 0; c = (c - 1) / 26)
        letters.insert(letters.begin(), char('A' + (c - 1) % 26));
    return letters + std::to_string(int64_t(row) + 1);
}

std::string utf8(std::u16string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | c >> 6);
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | c >> 12);
            out += char(0x80 | (c >> 6 & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | c >> 18);
            out += char(0x80 | (c >> 12 & 0x3F));
            out += char(0x80 | (c >> 6 & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

uint8_t errorByte(FormulaErrorCode code) {
    switch (code) {
    case ecNull: return 0x00;
    case ecDivByZero: return 0x07;
    case ecValue:
    case ecSpill:   // the format has no word for the newer errors: Excel stores them as #VALUE!
    case ecCalc: return 0x0F;
    case ecRefErr: return 0x17;
    case ecName: return 0x1D;
    case ecNUM: return 0x24;
    default: return 0x2A;
    }
}

// An RK value when the number survives it exactly: a 30-bit integer, or a double whose low 34
// bits are zero. The scaled-by-100 forms are not used, since dividing back may not be exact.
std::optional<uint32_t> rkOf(double value) {
    if (value >= -536870912.0 && value <= 536870911.0 && value == std::floor(value) &&
        !(value == 0 && std::signbit(value)))
        return (uint32_t(int32_t(value)) << 2) | 2;
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    if ((bits & 0x3FFFFFFFFull) == 0) return uint32_t(bits >> 32);
    return std::nullopt;
}

// The shared string table: each text once, in order of first use.
class SharedStrings {
public:
    uint32_t indexOf(const SharedString* entry) {
        ++references_;
        auto [it, added] = index_.emplace(entry, uint32_t(texts_.size()));
        if (added) texts_.push_back(entry->text());
        return it->second;
    }
    // A text that is no entry of the workbook's table, such as a formula's result.
    uint32_t indexOf(std::u16string_view text) {
        ++references_;
        const std::u16string& kept = owned_.emplace_back(text);
        auto [it, added] = byText_.emplace(kept, uint32_t(texts_.size()));
        if (added)
            texts_.push_back(kept);
        else
            owned_.pop_back();
        return it->second;
    }

    // SST with its CONTINUE records and the EXTSST that indexes it, for an SST that starts at
    // `position` in the stream. A string never splits inside its count and flags; characters that
    // go on in a CONTINUE record are preceded there by the flags byte again.
    void write(std::string& out) const {
        const size_t position = out.size();
        const uint16_t perBucket = uint16_t(std::max<size_t>(8, (texts_.size() + 127) / 128));
        Bytes extsst;
        extsst.u16(perBucket);
        std::string records;
        Bytes current;
        current.u32(references_).u32(uint32_t(texts_.size()));
        bool first = true;
        const auto flush = [&] {
            record(records, first ? kSst : kContinue, current);
            first = false;
            current.data.clear();
        };
        for (size_t i = 0; i < texts_.size(); ++i) {
            const std::u16string_view text = texts_[i];
            const bool wide = needsWide(text);
            const size_t unit = wide ? 2 : 1;
            if (current.data.size() + 3 + (text.empty() ? 0 : unit) > kMaxRecordData) flush();
            if (i % perBucket == 0) {
                extsst.u32(uint32_t(position + records.size() + 4 + current.data.size()));
                extsst.u16(uint16_t(4 + current.data.size())).u16(0);
            }
            current.u16(uint16_t(text.size())).u8(wide ? 1 : 0);
            size_t done = 0;
            while (done < text.size()) {
                size_t room = (kMaxRecordData - current.data.size()) / unit;
                if (room == 0) {
                    flush();
                    current.u8(wide ? 1 : 0);
                    room = (kMaxRecordData - 1) / unit;
                }
                const size_t take = std::min(room, text.size() - done);
                current.chars(text.substr(done, take), wide);
                done += take;
            }
        }
        flush();
        out += records;
        record(out, kExtSst, extsst);
    }

private:
    std::unordered_map<const SharedString*, uint32_t> index_;
    std::deque<std::u16string> owned_;
    std::unordered_map<std::u16string_view, uint32_t> byText_;
    std::vector<std::u16string_view> texts_;
    uint32_t references_ = 0;
};

// The format of a date or money value whose own style leaves it General, chosen so that the
// cell shows what it shows in the grid: the date, the time of day, or both.
std::u16string dateFormatOf(double serial, const FormatSettings& settings) {
    switch (dateTimeParts(serial, settings)) {
    case DateTimeParts::Date: return settings.shortDateFormat;
    case DateTimeParts::Time: return settings.longTimeFormat;
    case DateTimeParts::Both: break;
    }
    return settings.shortDateFormat + u' ' + settings.longTimeFormat;
}

std::u16string currencyFormatOf(const FormatSettings& settings) {
    std::u16string symbol = u"\"" + settings.currencySymbol + u"\"";
    std::u16string code = symbol + u"#,##0.00";
    return code + u';' + u'-' + code;
}

// The sheets formulas refer to, one EXTERNSHEET entry each, in order of first use.
class ExternSheets {
public:
    explicit ExternSheets(Workbook& book) : book_(book) {}
    std::optional<uint16_t> indexOf(std::u16string_view name) {
        for (int32_t i = 0; i < book_.sheetCount(); ++i) {
            if (compareEntryNames(book_.sheet(i).name(), name) != 0)
                continue;   // Excel's sheet names ignore case too
            for (size_t k = 0; k < sheets_.size(); ++k) {
                if (sheets_[k] == i) return uint16_t(k);
            }
            sheets_.push_back(i);
            return uint16_t(sheets_.size() - 1);
        }
        return std::nullopt;
    }
    const std::vector<int32_t>& sheets() const { return sheets_; }

private:
    Workbook& book_;
    std::vector<int32_t> sheets_;
};

struct SheetOutput {
    std::u16string name;
    std::string body;   // everything after BOF
};

class SheetWriter {
public:
    SheetWriter(Workbook& book, SheetTable& sheet, SharedStrings& strings, biff::CellFormatWriter& formats,
                ExternSheets& externSheets)
        : book_(book), sheet_(sheet), strings_(strings), formats_(formats), externSheets_(externSheets) {}

    std::string write(bool selected) {
        std::string out;
        for (SheetColumn* c = sheet_.columns().first(); c; c = c->next) {
            // A width past the last column has no cell to show (cells there are refused).
            if ((c->width <= 0 && !c->hidden) || c->index > kLastColumn) continue;
            const double characters = std::max(0.0, (sheet_.columnWidth(c->index) - 5) / 7.0);
            Bytes b;
            b.u16(uint16_t(c->index))
                .u16(uint16_t(c->index))
                .u16(uint16_t(std::min(65535.0, std::round(characters * 256))));
            // fUserSet: a width of its own; fHidden.
            b.u16(kDefaultCellXf).u16(uint16_t((c->width > 0 ? 0x0002 : 0) | (c->hidden ? 0x0001 : 0))).u16(0);
            record(out, kColInfo, b);
        }
        if (sheet_.defaultRowHeight != SheetTable::kDefaultRowHeight)
            record(out, kDefaultRowHeight, Bytes().u16(0x0001).u16(uint16_t(sheet_.defaultRowHeight * 15)));   // fUnsynced
        std::string cells = rowsAndCells();
        Bytes dimensions;
        if (lastRow_ < 0)
            dimensions.u32(0).u32(0).u16(0).u16(0).u16(0);
        else
            dimensions.u32(uint32_t(firstRow_))
                .u32(uint32_t(lastRow_ + 1))
                .u16(uint16_t(firstColumn_))
                .u16(uint16_t(lastColumn_ + 1))
                .u16(0);
        record(out, kDimensions, dimensions);
        out += cells;
        uint16_t flags = 0x0002 | 0x0004 | 0x0020 |
                         0x0080;   // grid lines, headers, default header colour, outline symbols
        if (sheet_.showFormulas) flags |= 0x0001;
        if (sheet_.showsZeroValues()) flags |= 0x0010;
        if (selected) flags |= 0x0200 | 0x0400;
        Bytes window;
        window.u16(flags).u16(0).u16(0).u32(0x40).u16(0).u16(0).u32(0);
        record(out, kWindow2, window);
        writeMergedAreas(out);
        record(out, kEof, std::string_view());
        return out;
    }

private:
    // Where Excel puts them, after the window settings. An area reaching past A1:IV65536 (a
    // title merged across a whole .xlsx row) keeps the part the format holds; an area that
    // starts beyond it has no cell there and goes.
    void writeMergedAreas(std::string& out) {
        std::vector<CellRect> areas;
        for (CellRect area : sheet_.mergedAreas()) {
            if (area.top > kLastRow || area.left > kLastColumn) continue;
            area.bottom = std::min(area.bottom, kLastRow);
            area.right = std::min(area.right, kLastColumn);
            if (area.top != area.bottom || area.left != area.right) areas.push_back(area);
        }
        for (size_t first = 0; first < areas.size(); first += kMergedRangesPerRecord) {
            const size_t count = std::min(kMergedRangesPerRecord, areas.size() - first);
            Bytes b;
            b.u16(uint16_t(count));
            for (size_t i = first; i < first + count; ++i) {
                b.u16(uint16_t(areas[i].top)).u16(uint16_t(areas[i].bottom));
                b.u16(uint16_t(areas[i].left)).u16(uint16_t(areas[i].right));
            }
            record(out, kMergedCells, b);
        }
    }

    // Rows in blocks of up to 32, each block's ROW records before its cells, as Excel writes them.
    std::string rowsAndCells() {
        std::string out;
        std::vector<SheetRow*> block;
        const auto flush = [&] {
            for (SheetRow* row : block) {
                Bytes b;
                const bool empty = !row->cells.first();
                b.u16(uint16_t(row->index))
                    .u16(uint16_t(empty ? 0 : row->cells.first()->index))
                    .u16(uint16_t(empty ? 0 : row->cells.last()->index + 1));
                // The height in twips, and flags: bit 5 hidden, bit 6 a height of its own.
                const int32_t height = row->height ? row->height : sheet_.defaultRowHeight;
                uint32_t flags = 0x000F0100;
                if (row->hidden) flags |= 0x20;
                if (row->height) flags |= 0x40;
                b.u16(uint16_t(height * 15)).u16(0).u16(0).u32(flags);
                record(out, kRow, b);
            }
            for (SheetRow* row : block) {
                for (SheetCell* cell = row->cells.first(); cell; cell = cell->next)
                    writeCell(out, *row, *cell);
            }
            block.clear();
        };
        for (SheetRow* row = sheet_.rows().first(); row; row = row->next) {
            if (!row->cells.first()) {
                if ((row->height || row->hidden) && row->index <= kLastRow) block.push_back(row);
                if (block.size() == 32) flush();
                continue;
            }
            if (row->index > kLastRow || row->cells.last()->index > kLastColumn) {
                const int32_t column =
                    row->index > kLastRow ? row->cells.first()->index : row->cells.last()->index;
                refuse("cell " + cellName(row->index, column) + " of sheet \"" + utf8(sheet_.name()) +
                       "\" lies beyond the 65,536 rows and 256 columns (A1:IV65536) an .xls workbook holds; "
                       "save as .xlsx");
            }
            if (lastRow_ < 0) firstRow_ = row->index;
            lastRow_ = row->index;
            firstColumn_ = std::min(firstColumn_, row->cells.first()->index);
            lastColumn_ = std::max(lastColumn_, row->cells.last()->index);
            block.push_back(row);
            if (block.size() == 32) flush();
        }
        flush();
        return out;
    }

    // The cell format of a value: the style's number format, or for a date or money value
    // whose style has none, a date or currency format.
    uint16_t xfOf(const SheetCell& cell, CellDataType type, double number) {
        const std::u16string& code = book_.styles()[cell.style].numberFormat;
        if (code.empty() && type == cdtDateTime) return formats_.xfOf(cell.style, dateFormatOf(number, book_.settings()));
        if (code.empty() && type == cdtCurrency) return formats_.xfOf(cell.style, currencyFormatOf(book_.settings()));
        return formats_.xfOf(cell.style, code);
    }

    static Bytes cellHeader(const SheetRow& row, const SheetCell& cell, uint16_t xf) {
        Bytes b;
        b.u16(uint16_t(row.index)).u16(uint16_t(cell.index)).u16(xf);
        return b;
    }

    void writeNumber(std::string& out, const SheetRow& row, const SheetCell& cell, uint16_t xf,
                     double value) {
        if (!std::isfinite(value)) {
            record(out, kBoolErr, cellHeader(row, cell, xf).u8(errorByte(ecNUM)).u8(1));
        } else if (const auto rk = rkOf(value)) {
            record(out, kRk, cellHeader(row, cell, xf).u32(*rk));
        } else {
            record(out, kNumber, cellHeader(row, cell, xf).f64(value));
        }
    }

    template <class Text>
    void writeText(std::string& out, const SheetRow& row, const SheetCell& cell, uint16_t xf,
                   std::u16string_view view, Text text) {
        if (view.size() > kMaxText)
            refuse("the text in cell " + cellName(row.index, cell.index) + " of sheet \"" +
                   utf8(sheet_.name()) + "\" has " + std::to_string(view.size()) +
                   " characters; an .xls cell holds at most 32,767");
        record(out, kLabelSst, cellHeader(row, cell, xf).u32(strings_.indexOf(text)));
    }

    void writeValue(std::string& out, const SheetRow& row, const SheetCell& cell, const CellValue& value) {
        const uint16_t xf = xfOf(cell, value.type, value.asFloat());
        switch (value.type) {
        case cdtBlank: record(out, kBlank, cellHeader(row, cell, xf)); return;
        case cdtBoolean:
            record(out, kBoolErr, cellHeader(row, cell, xf).u8(value.boolean ? 1 : 0).u8(0));
            return;
        case cdtError:
            record(out, kBoolErr, cellHeader(row, cell, xf).u8(errorByte(value.error)).u8(1));
            return;
        case cdtString: writeText(out, row, cell, xf, value.text, std::u16string_view(value.text)); return;
        default: writeNumber(out, row, cell, xf, value.asFloat()); return;
        }
    }

    // FORMULA with its last result; a text result follows in a STRING record.
    void writeFormula(std::string& out, const SheetRow& row, const SheetCell& cell, const CellValue& result,
                      const std::string& tokens) {
        Bytes b = cellHeader(row, cell, xfOf(cell, result.type, result.asFloat()));
        const bool text = result.type == cdtString && !result.text.empty();
        switch (result.type) {
        case cdtString: b.u8(text ? 0 : 3).u8(0).u32(0).u16(0xFFFF); break;
        case cdtBoolean: b.u8(1).u8(0).u8(result.boolean ? 1 : 0).u8(0).u16(0).u16(0xFFFF); break;
        case cdtError: b.u8(2).u8(0).u8(errorByte(result.error)).u8(0).u16(0).u16(0xFFFF); break;
        default:
            if (!std::isfinite(result.asFloat()))
                b.u8(2).u8(0).u8(errorByte(ecNUM)).u8(0).u16(0).u16(0xFFFF);
            else
                b.f64(result.asFloat());
            break;
        }
        b.u16(0x0001).u32(0).u16(uint16_t(tokens.size()));   // fAlwaysCalc: Excel works the result out anew
        b.data += tokens;
        record(out, kFormula, b);
        if (text) {
            if (result.text.size() > kMaxText)
                refuse("the result of the formula in cell " + cellName(row.index, cell.index) +
                       " of sheet \"" + utf8(sheet_.name()) + "\" has more than 32,767 characters");
            Bytes s;
            unicodeString(s, result.text, false);
            record(out, kString, s);
        }
    }

    void writeCell(std::string& out, SheetRow& row, SheetCell& cell) {
        switch (cell.type) {
        case cdtString:
            writeText(out, row, cell, xfOf(cell, cdtString, 0), cell.string->text(), cell.string);
            return;
        case cdtFormula: {
            CellValue result = CellRef(&sheet_, &row, &cell).formulaResult();
            if (result.type == cdtBlank)
                result = CellValue::makeFloat(0);   // as the grid shows a formula of an empty cell
            std::optional<std::string> tokens;
            if (cell.formula->expression) {
                tokens = formulaTokens(*cell.formula->expression, [this](std::u16string_view name) {
                    return externSheets_.indexOf(name);
                });
            }
            // A formula outside what is written as tokens keeps its result, as a plain value.
            if (!tokens)
                writeValue(out, row, cell, result);
            else
                writeFormula(out, row, cell, result, *tokens);
            return;
        }
        default: writeValue(out, row, cell, CellRef(&sheet_, &row, &cell).value()); return;
        }
    }

    Workbook& book_;
    SheetTable& sheet_;
    SharedStrings& strings_;
    biff::CellFormatWriter& formats_;
    ExternSheets& externSheets_;
    int32_t firstRow_ = 0, lastRow_ = -1, firstColumn_ = INT32_MAX, lastColumn_ = -1;
};

}  // namespace

std::u16string xlsSheetName(std::u16string_view name, int32_t index,
                            const std::vector<std::u16string>& taken) {
    std::u16string base(name);
    for (char16_t& c : base) {
        if (c == u'[' || c == u']' || c == u':' || c == u'*' || c == u'?' || c == u'/' || c == u'\\')
            c = u'_';
    }
    if (!base.empty() && base.front() == u'\'') base.front() = u'_';
    if (!base.empty() && base.back() == u'\'') base.back() = u'_';
    if (base.empty()) {
        base = u"Sheet";
        for (char c : std::to_string(index + 1)) base += char16_t(c);
    }
    const auto sameName = [](std::u16string_view a, std::u16string_view b) {
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i) {
            const char16_t x = a[i] >= u'a' && a[i] <= u'z' ? char16_t(a[i] - 32) : a[i];
            const char16_t y = b[i] >= u'a' && b[i] <= u'z' ? char16_t(b[i] - 32) : b[i];
            if (x != y) return false;
        }
        return true;
    };
    const auto isTaken = [&](std::u16string_view candidate) {
        for (const std::u16string& t : taken) {
            if (sameName(t, candidate)) return true;
        }
        return false;
    };
    std::u16string candidate = base.substr(0, 31);
    for (int n = 2; isTaken(candidate); ++n) {
        std::u16string suffix = u" (";
        for (char c : std::to_string(n)) suffix += char16_t(c);
        suffix += u')';
        candidate = base.substr(0, 31 - suffix.size()) + suffix;
    }
    return candidate;
}

void BiffWriter::Write(Workbook& book, std::string& out) {
    SharedStrings strings;
    biff::CellFormatWriter formats(book.styles());
    ExternSheets externSheets(book);
    std::vector<SheetOutput> sheets;
    std::vector<std::u16string> names;
    for (int32_t i = 0; i < book.sheetCount(); ++i) {
        SheetTable& sheet = book.sheet(i);
        names.push_back(xlsSheetName(sheet.name(), i, names));
        SheetWriter writer(book, sheet, strings, formats, externSheets);
        sheets.push_back({names.back(), writer.write(i == std::max(0, book.activeSheetIndex()))});
    }

    std::string stream;
    Bytes bof;
    bof.u16(0x0600).u16(0x0005).u16(0x0DBB).u16(0x07CC).u32(0).u32(0x06);
    record(stream, kBof, bof);
    record(stream, kCodePage, Bytes().u16(1200));   // UTF-16: every text is Unicode
    Bytes window;
    const int32_t active = book.activeSheetIndex() >= 0 && book.activeSheetIndex() < book.sheetCount()
                               ? book.activeSheetIndex()
                               : 0;
    window.u16(0).u16(0).u16(0x3A5C).u16(0x2328).u16(0x0038).u16(uint16_t(active)).u16(0).u16(1).u16(600);
    record(stream, kWindow1, window);
    record(stream, kDateMode, Bytes().u16(book.settings().date1904 ? 1 : 0));
    formats.write([&stream](uint16_t id, std::string_view data) { record(stream, id, data); });
    std::vector<size_t> sheetPositions;
    for (const SheetOutput& s : sheets) {
        Bytes b;
        b.u32(0).u8(0).u8(0);   // the position is set below, once the globals are complete
        unicodeString(b, s.name, true);
        sheetPositions.push_back(stream.size() + 4);
        record(stream, kBoundSheet, b);
    }
    if (!externSheets.sheets().empty()) {
        // One supporting book, this workbook itself, and an entry per sheet formulas name.
        record(stream, kSupBook, Bytes().u16(uint16_t(sheets.size())).u16(0x0401));
        Bytes b;
        b.u16(uint16_t(externSheets.sheets().size()));
        for (int32_t sheet : externSheets.sheets()) b.u16(0).u16(uint16_t(sheet)).u16(uint16_t(sheet));
        record(stream, kExternSheet, b);
    }
    strings.write(stream);
    record(stream, kEof, std::string_view());
    Bytes sheetBof;
    sheetBof.u16(0x0600).u16(0x0010).u16(0x0DBB).u16(0x07CC).u32(0).u32(0x06);
    for (size_t i = 0; i < sheets.size(); ++i) {
        if (stream.size() > UINT32_MAX) refuse("the workbook stream grows beyond 4 GB");
        const uint32_t position = uint32_t(stream.size());
        std::memcpy(stream.data() + sheetPositions[i], &position, 4);
        record(stream, kBof, sheetBof);
        stream += sheets[i].body;
    }
    CompoundFileWriter file;
    file.add(u"Workbook", std::move(stream));
    out += file.finish();
}

}  // namespace kes
