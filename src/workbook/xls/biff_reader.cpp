#include "workbook/xls/biff_reader.h"

#include <cmath>
#include <cstring>
#include <map>
#include <unordered_map>

#include "text/ansi_code_page.h"
#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "sheet/format/number_format.h"
#include "sheet/sheet_error.h"
#include "sheet/sheet_bounds.h"
#include "workbook/workbook_errors.h"
#include "workbook/xls/compound_file.h"
#include "workbook/xls/formula_tokens.h"

namespace kes {
namespace {

// Record ids of the file format documentation ([MS-XLS] 2.3).
enum : uint16_t {
    kFormula = 0x0006, kEof = 0x000A, kExternSheet = 0x0017, kSupBook = 0x01AE, kDateMode = 0x0022,
    kFilePass = 0x002F, kContinue = 0x003C, kColInfo = 0x007D, kBoundSheet = 0x0085, kMulRk = 0x00BD,
    kMulBlank = 0x00BE, kXf = 0x00E0, kBlank = 0x0201, kSst = 0x00FC, kLabelSst = 0x00FD, kNumber = 0x0203,
    kLabel = 0x0204, kBoolErr = 0x0205, kString = 0x0207, kRk = 0x027E, kFormat = 0x041E, kBof = 0x0809,
    kShrFmla = 0x04BC, kMergedCells = 0x00E5, kName = 0x0018, kExternName = 0x0023, kArray = 0x0221,
};
constexpr uint8_t kExp = 0x01;   // the token of a cell whose formula is shared: the first cell's position

struct Record {
    uint16_t id;
    std::string_view data;
    std::vector<std::string_view> continues;   // the CONTINUE records that follow
};

[[noreturn]] void fail(const std::string& what) { throw ESpreadSheetReaderError("xls: " + what); }

template <class T>
T get(std::string_view data, size_t at, const char* record) {
    if (at > data.size() || data.size() - at < sizeof(T))
        fail(std::string(record) + " record is too short (" + std::to_string(data.size()) + " bytes)");
    T value;
    std::memcpy(&value, data.data() + at, sizeof(T));
    return value;
}

class RecordStream {
public:
    explicit RecordStream(std::string_view stream, size_t position = 0) : stream_(stream), position_(position) {}

    bool next(Record& r) {
        if (position_ + 4 > stream_.size()) return false;
        r.id = get<uint16_t>(stream_, position_, "record header");
        const uint16_t length = get<uint16_t>(stream_, position_ + 2, "record header");
        if (position_ + 4 + length > stream_.size()) fail("record " + std::to_string(r.id) + " runs past the end of the stream");
        r.data = stream_.substr(position_ + 4, length);
        position_ += 4 + size_t(length);
        r.continues.clear();
        while (position_ + 4 <= stream_.size() && get<uint16_t>(stream_, position_, "record header") == kContinue) {
            const uint16_t more = get<uint16_t>(stream_, position_ + 2, "record header");
            if (position_ + 4 + more > stream_.size()) fail("CONTINUE runs past the end of the stream");
            r.continues.push_back(stream_.substr(position_ + 4, more));
            position_ += 4 + size_t(more);
        }
        return true;
    }
    size_t position() const { return position_; }

private:
    std::string_view stream_;
    size_t position_;
};

// Reads the strings of an SST record and its CONTINUE records; a string's characters may go on
// in the next record, which then starts with a new flags byte.
class SegmentReader {
public:
    explicit SegmentReader(const Record& r) : segments_{r.data} { segments_.insert(segments_.end(), r.continues.begin(), r.continues.end()); }

    bool atEnd() { return segment_ >= segments_.size() || (segment_ == segments_.size() - 1 && at_ >= segments_[segment_].size()); }
    uint8_t byte() { ensure(1); return static_cast<uint8_t>(segments_[segment_][at_++]); }
    uint16_t word() { const uint16_t lo = byte(); return uint16_t(lo | byte() << 8); }
    uint32_t dword() { const uint32_t lo = word(); return lo | uint32_t(word()) << 16; }
    void skip(size_t n) {
        while (n > 0) {
            ensure(1);
            const size_t take = std::min(n, segments_[segment_].size() - at_);
            at_ += take;
            n -= take;
        }
    }
    std::u16string string() {
        const uint16_t count = word();
        uint8_t flags = byte();
        uint16_t runs = 0;
        uint32_t phonetic = 0;
        if (flags & 0x08) runs = word();
        if (flags & 0x04) phonetic = dword();
        std::u16string out;
        out.reserve(count);
        while (out.size() < count) {
            if (at_ >= segments_[segment_].size()) {   // the characters go on in the next record
                if (++segment_ >= segments_.size()) fail("SST string runs past its records");
                at_ = 0;
                flags = byte();
            }
            if (flags & 0x01) {
                if (at_ + 2 > segments_[segment_].size()) fail("SST character split across records");
                out.push_back(char16_t(uint8_t(segments_[segment_][at_]) | uint8_t(segments_[segment_][at_ + 1]) << 8));
                at_ += 2;
            } else {
                out.push_back(char16_t(uint8_t(segments_[segment_][at_++])));
            }
        }
        skip(size_t(runs) * 4 + phonetic);
        return out;
    }

private:
    void ensure(size_t n) {
        while (segment_ < segments_.size() && at_ + n > segments_[segment_].size()) {
            if (at_ < segments_[segment_].size()) fail("SST field split across records");
            ++segment_;
            at_ = 0;
        }
        if (segment_ >= segments_.size()) fail("SST ends early");
    }

    std::vector<std::string_view> segments_;
    size_t segment_ = 0;
    size_t at_ = 0;
};

// XLUnicodeString: a 16-bit count, a flags byte, the characters (BIFF8).
std::u16string unicodeString(std::string_view data, size_t at, bool shortCount, const char* record) {
    const uint16_t count = shortCount ? get<uint8_t>(data, at, record) : get<uint16_t>(data, at, record);
    at += shortCount ? 1 : 2;
    const uint8_t flags = get<uint8_t>(data, at++, record);
    std::u16string out;
    for (uint16_t i = 0; i < count; ++i) {
        if (flags & 1) out.push_back(get<char16_t>(data, at + 2 * size_t(i), record));
        else out.push_back(char16_t(get<uint8_t>(data, at + i, record)));
    }
    return out;
}

double rkValue(uint32_t rk) {
    double value;
    if (rk & 2) {
        value = double(int32_t(rk) >> 2);
    } else {
        const uint64_t bits = uint64_t(rk & 0xFFFFFFFC) << 32;
        std::memcpy(&value, &bits, sizeof value);
    }
    return (rk & 1) ? value / 100 : value;
}

struct Sheet {
    std::u16string name;
    uint32_t position;
    uint8_t type;
};

// A NAME record: its name, the sheet it belongs to (1-based, 0 for the workbook), its tokens.
struct NameRecord {
    std::u16string name;
    uint16_t sheet;
    bool hidden;
    std::string tokens;
    std::string extra;
};

// The names Excel gives its built-in defined names (a NAME record with fBuiltin holds one
// character of this list instead of a name).
std::u16string builtinName(uint8_t code) {
    static constexpr std::u16string_view kNames[] = {
        u"Consolidate_Area", u"Auto_Open",   u"Auto_Close",   u"Extract",       u"Database",
        u"Criteria",         u"Print_Area",  u"Print_Titles", u"Recorder",      u"Data_Form",
        u"Auto_Activate",    u"Auto_Deactivate", u"Sheet_Title", u"_FilterDatabase"};
    const std::u16string_view name = code < std::size(kNames) ? kNames[code] : std::u16string_view(u"Builtin");
    return u"_xlnm." + std::u16string(name);
}

class WorkbookReader {
public:
    WorkbookReader(Workbook& book, std::string_view stream) : book_(book), stream_(stream) {}

    void read() {
        RecordStream records(stream_);
        Record r;
        if (!records.next(r) || r.id != kBof) fail("the workbook stream does not start with BOF");
        const uint16_t version = get<uint16_t>(r.data, 0, "BOF");
        if (version != 0x0600)
            fail("Excel 5.0/95 and older workbooks are not read; save the file as Excel 97-2003 (.xls) or .xlsx");
        std::unordered_map<uint16_t, std::u16string> formats;
        std::vector<uint16_t> xfFormats;
        std::vector<Sheet> sheets;
        std::vector<NameRecord> nameRecords;
        while (records.next(r) && r.id != kEof) {
            switch (r.id) {
            case kFilePass: fail("the workbook is protected with a password");
            case kDateMode: {
                FormatSettings settings = book_.settings();
                settings.date1904 = get<uint16_t>(r.data, 0, "DATEMODE") == 1;
                book_.setSettings(settings);
                break;
            }
            case kFormat: formats[get<uint16_t>(r.data, 0, "FORMAT")] = unicodeString(r.data, 2, false, "FORMAT"); break;
            case kXf: xfFormats.push_back(get<uint16_t>(r.data, 2, "XF")); break;
            case kBoundSheet:
                if (sheets.size() >= size_t(kMaxSheets))
                    fail("the workbook has more than " + std::to_string(kMaxSheets) + " sheets");
                sheets.push_back({unicodeString(r.data, 6, true, "BOUNDSHEET"), get<uint32_t>(r.data, 0, "BOUNDSHEET"),
                                  get<uint8_t>(r.data, 5, "BOUNDSHEET")});
                break;
            case kSupBook: readSupBook(r); break;
            case kExternName: {
                // An add-in function's or another workbook's name, under the SUPBOOK before it.
                if (tokenNames_.books.empty() || r.data.size() < 8) break;
                tokenNames_.books.back().names.push_back(unicodeString(r.data, 6, true, "EXTERNNAME"));
                break;
            }
            case kExternSheet: {
                const uint16_t count = get<uint16_t>(r.data, 0, "EXTERNSHEET");
                std::string data(r.data);
                for (std::string_view more : r.continues) data += more;
                for (uint16_t i = 0; i < count; ++i) {
                    const size_t at = 2 + size_t(i) * 6;
                    const uint16_t book = get<uint16_t>(data, at, "EXTERNSHEET");
                    const int16_t first = get<int16_t>(data, at + 2, "EXTERNSHEET");
                    const int16_t last = get<int16_t>(data, at + 4, "EXTERNSHEET");
                    tokenNames_.externSheets.push_back({book, first, last});
                }
                break;
            }
            case kName: nameRecords.push_back(readName(r)); break;
            case kSst: {
                SegmentReader in(r);
                in.dword();
                const uint32_t unique = in.dword();
                for (uint32_t i = 0; i < unique && !in.atEnd(); ++i) strings_.push_back(in.string());
                break;
            }
            default: break;
            }
        }
        for (uint16_t format : xfFormats) {
            std::u16string code;
            if (auto it = formats.find(format); it != formats.end()) code = it->second;
            else code = std::u16string(builtinFormatCode(format));
            if (code == u"General") code.clear();
            styles_.push_back(book_.styles().add(CellStyle{code}));
        }
        for (const Sheet& s : sheets) tokenNames_.ownSheets.push_back(s.name);
        for (const NameRecord& name : nameRecords) tokenNames_.definedNames.push_back(name.name);
        // Names of a sheet count that sheet among all sheets; the grid keeps worksheets only.
        std::vector<int32_t> gridSheet(sheets.size(), -1);
        for (size_t i = 0; i < sheets.size(); ++i) {
            if (sheets[i].type != 0) continue;   // charts, macro and dialog sheets hold no cells for us
            gridSheet[i] = book_.sheetCount();
            readSheet(book_.addSheet(sheets[i].name), sheets[i].position);
        }
        for (const NameRecord& name : nameRecords) {
            const int32_t scope = name.sheet == 0 ? -1 : name.sheet <= gridSheet.size() ? gridSheet[name.sheet - 1] : -2;
            if (scope < -1 || name.name.empty()) continue;
            const auto text = formulaFromTokens(name.tokens, name.extra, tokenNames_, TokenCell{0, 0});
            std::u16string formula = text ? *text : u"=#REF!";
            std::shared_ptr<const formula::Expression> expression = calc::compileFormula(formula);
            if (expression) formula = formula::formulaText(*expression);
            book_.names().define({name.name, scope, std::move(formula), std::move(expression), name.hidden});
        }
        book_.namesChanged();
    }

private:
    uint16_t style(uint16_t xf) const { return xf < styles_.size() ? styles_[xf] : 0; }

    // SUPBOOK: this workbook's own sheets (0x0401), the add-in functions (0x3A01), or another
    // workbook with its path and sheet names; what EXTERNSHEET entries and names refer to.
    void readSupBook(const Record& r) {
        TokenNames::Book book;
        const uint16_t sheets = get<uint16_t>(r.data, 0, "SUPBOOK");
        if (r.data.size() == 4 && get<uint16_t>(r.data, 2, "SUPBOOK") == 0x0401) {
            book.kind = TokenNames::Book::Kind::Own;
        } else if (r.data.size() == 4 && get<uint16_t>(r.data, 2, "SUPBOOK") == 0x3A01) {
            book.kind = TokenNames::Book::Kind::AddIn;
        } else {
            ++externalBooks_;
            book.reference = u"[" + std::u16string(1, char16_t(u'0' + std::min(externalBooks_, 9))) + u"]";
            if (externalBooks_ > 9) {
                std::string digits = std::to_string(externalBooks_);
                book.reference = u"[" + std::u16string(digits.begin(), digits.end()) + u"]";
            }
            if (r.data.size() >= 5) {
                size_t at = 2;
                const auto skipString = [&] {
                    const uint16_t count = get<uint16_t>(r.data, at, "SUPBOOK");
                    const uint8_t flags = get<uint8_t>(r.data, at + 2, "SUPBOOK");
                    at += 3 + size_t(count) * ((flags & 1) ? 2 : 1);
                };
                skipString();   // the path
                for (uint16_t i = 0; i < sheets && at < r.data.size(); ++i) {
                    const std::u16string name = unicodeString(r.data, at, false, "SUPBOOK");
                    book.sheets.push_back(name);
                    skipString();
                }
            }
        }
        tokenNames_.books.push_back(std::move(book));
    }

    // NAME (Lbl): flags, a key, the name's length, the formula's, the sheet, then the name and
    // its tokens, then the extra data of its array constants.
    NameRecord readName(const Record& r) {
        std::string data(r.data);
        for (std::string_view more : r.continues) data += more;
        const uint16_t flags = get<uint16_t>(data, 0, "NAME");
        const uint8_t length = get<uint8_t>(data, 3, "NAME");
        const uint16_t size = get<uint16_t>(data, 4, "NAME");
        NameRecord name{{}, get<uint16_t>(data, 8, "NAME"), (flags & 1) != 0, {}, {}};
        const uint8_t nameFlags = get<uint8_t>(data, 14, "NAME");
        size_t at = 15;
        for (uint8_t i = 0; i < length; ++i) {
            if (nameFlags & 1) {
                name.name.push_back(get<char16_t>(data, at, "NAME"));
                at += 2;
            } else {
                name.name.push_back(char16_t(get<uint8_t>(data, at++, "NAME")));
            }
        }
        if (flags & 0x20) name.name = builtinName(name.name.empty() ? 0 : uint8_t(name.name[0]));
        if (at + size <= data.size()) {
            name.tokens = data.substr(at, size);
            name.extra = data.substr(at + size);
        }
        return name;
    }

    CellRef cell(SheetTable& sheet, std::string_view data, const char* record) {
        const uint16_t row = get<uint16_t>(data, 0, record), column = get<uint16_t>(data, 2, record);
        if (column > kMaxColumn) fail(std::string(record) + " column " + std::to_string(column) + " outside the sheet");
        CellRef c = sheet.createCell(row, column);
        c.setStyle(style(get<uint16_t>(data, 4, record)));
        return c;
    }

    void readSheet(SheetTable& sheet, uint32_t position) {
        if (position >= stream_.size()) fail("a sheet starts beyond the end of the stream");
        RecordStream records(stream_, position);
        Record r;
        if (!records.next(r) || r.id != kBof) fail("a sheet does not start with BOF");
        CellRef pendingString;   // a formula whose text result follows in a STRING record
        // Shared formulas by the position of their first cell, array formulas by their top left
        // cell. The first cell's own FORMULA comes before the SHRFMLA or ARRAY record with the
        // tokens, so that cell waits for it.
        std::map<std::pair<uint16_t, uint16_t>, std::pair<std::string_view, std::string_view>> shared;
        std::map<std::pair<uint16_t, uint16_t>, CellRect> arrays;
        struct SharedUser {
            CellRef cell;
            TokenCell at;
            std::pair<uint16_t, uint16_t> first;
        } waiting{};
        const auto setFormula = [&](CellRef c, std::string_view tokens, std::string_view extra,
                                    std::optional<TokenCell> at = std::nullopt) {
            const auto text = formulaFromTokens(tokens, extra, tokenNames_, at);
            if (!text) return;   // damaged tokens: the cell keeps the result the file saved
            c.setFileFormula(*text);
            pendingString = CellRef();
        };
        while (records.next(r) && r.id != kEof) {
            switch (r.id) {
            case kLabelSst: {
                CellRef c = cell(sheet, r.data, "LABELSST");
                const uint32_t index = get<uint32_t>(r.data, 6, "LABELSST");
                if (index >= strings_.size()) fail("LABELSST index " + std::to_string(index) + " beyond the shared strings");
                c.setString(strings_[index]);
                break;
            }
            case kBlank: cell(sheet, r.data, "BLANK"); break;
            case kMulBlank: {
                const uint16_t row = get<uint16_t>(r.data, 0, "MULBLANK");
                const uint16_t first = get<uint16_t>(r.data, 2, "MULBLANK");
                const size_t count = r.data.size() >= 6 ? (r.data.size() - 6) / 2 : 0;
                for (size_t i = 0; i < count; ++i) {
                    if (first + i > size_t(kMaxColumn)) fail("MULBLANK runs past the last column");
                    sheet.createCell(row, int32_t(first + i)).setStyle(style(get<uint16_t>(r.data, 4 + i * 2, "MULBLANK")));
                }
                break;
            }
            case kColInfo: {
                // Widths are in 1/256 of the width of "0" in the default font, 7 pixels wide with 5 of padding.
                const uint16_t first = get<uint16_t>(r.data, 0, "COLINFO"), last = get<uint16_t>(r.data, 2, "COLINFO");
                const uint16_t width = get<uint16_t>(r.data, 4, "COLINFO");
                const int pixels = static_cast<int>(std::lround(width / 256.0 * 7 + 5));
                for (int c = first; c <= std::min<int>(last, 255) && width > 0; ++c) sheet.setColumnWidth(c, pixels);
                break;
            }
            case kLabel: cell(sheet, r.data, "LABEL").setString(unicodeString(r.data, 6, false, "LABEL")); break;
            case kNumber: cell(sheet, r.data, "NUMBER").assign(CellValue::makeFloat(get<double>(r.data, 6, "NUMBER"))); break;
            case kRk: cell(sheet, r.data, "RK").assign(CellValue::makeFloat(rkValue(get<uint32_t>(r.data, 6, "RK")))); break;
            case kMulRk: {
                const uint16_t row = get<uint16_t>(r.data, 0, "MULRK");
                const uint16_t first = get<uint16_t>(r.data, 2, "MULRK");
                const size_t count = r.data.size() >= 6 ? (r.data.size() - 6) / 6 : 0;
                for (size_t i = 0; i < count; ++i) {
                    const size_t at = 4 + i * 6;
                    if (first + i > size_t(kMaxColumn)) fail("MULRK runs past the last column");
                    CellRef c = sheet.createCell(row, int32_t(first + i));
                    c.setStyle(style(get<uint16_t>(r.data, at, "MULRK")));
                    c.assign(CellValue::makeFloat(rkValue(get<uint32_t>(r.data, at + 2, "MULRK"))));
                }
                break;
            }
            case kBoolErr: {
                CellRef c = cell(sheet, r.data, "BOOLERR");
                const uint8_t value = get<uint8_t>(r.data, 6, "BOOLERR");
                if (get<uint8_t>(r.data, 7, "BOOLERR") == 0) c.assign(CellValue::makeBoolean(value != 0));
                else c.assign(CellValue::makeError(errorOf(value)));
                break;
            }
            case kFormula: {
                CellRef c = cell(sheet, r.data, "FORMULA");
                // The formula's tokens are not read; its last result is kept as the cell's value.
                const std::string_view result = r.data.substr(6, std::min<size_t>(8, r.data.size() > 6 ? r.data.size() - 6 : 0));
                if (result.size() < 8) fail("FORMULA record is too short");
                if (get<uint16_t>(result, 6, "FORMULA") != 0xFFFF) {
                    c.assign(CellValue::makeFloat(get<double>(result, 0, "FORMULA")));
                } else {
                    switch (get<uint8_t>(result, 0, "FORMULA")) {
                    case 0: pendingString = c; break;
                    case 1: c.assign(CellValue::makeBoolean(get<uint8_t>(result, 2, "FORMULA") != 0)); break;
                    case 2: c.assign(CellValue::makeError(errorOf(get<uint8_t>(result, 2, "FORMULA")))); break;
                    case 3: c.setString(u""); break;
                    default: break;
                    }
                }
                // The formula itself; only damaged tokens leave the result the file saved.
                if (r.data.size() >= 22) {
                    const uint16_t size = get<uint16_t>(r.data, 20, "FORMULA");
                    if (22 + size_t(size) > r.data.size()) break;
                    const std::string_view tokens = r.data.substr(22, size);
                    const std::string_view extra = r.data.substr(22 + size_t(size));
                    if (size == 5 && uint8_t(tokens[0]) == kExp) {
                        const TokenCell at{get<uint16_t>(r.data, 0, "FORMULA"),
                                           get<uint16_t>(r.data, 2, "FORMULA")};
                        const std::pair<uint16_t, uint16_t> first{get<uint16_t>(tokens, 1, "FORMULA"),
                                                                  get<uint16_t>(tokens, 3, "FORMULA")};
                        if (auto it = arrays.find(first); it != arrays.end()) {
                            if (it->second.contains(at.row, at.column)) {
                                c.setArrayMember(it->second, false);
                                pendingString = CellRef();
                            }
                        } else if (auto it = shared.find(first); it != shared.end()) {
                            setFormula(c, it->second.first, it->second.second, at);
                        } else {
                            waiting = {c, at, first};
                        }
                        break;
                    }
                    setFormula(c, tokens, extra);
                }
                break;
            }
            case kShrFmla: {
                // The range (rows, columns), a reserved byte, a use count, then the tokens.
                const std::pair<uint16_t, uint16_t> first{get<uint16_t>(r.data, 0, "SHRFMLA"),
                                                          get<uint8_t>(r.data, 4, "SHRFMLA")};
                const uint16_t size = get<uint16_t>(r.data, 8, "SHRFMLA");
                if (10 + size_t(size) > r.data.size()) break;   // its cells keep their results
                shared[first] = {r.data.substr(10, size), r.data.substr(10 + size_t(size))};
                if (waiting.cell && waiting.first == first)
                    setFormula(waiting.cell, shared[first].first, shared[first].second, waiting.at);
                waiting = {};
                break;
            }
            case kArray: {
                // The area (rows, then columns of one byte), flags, a reserved dword, the tokens.
                CellRect area;
                area.top = get<uint16_t>(r.data, 0, "ARRAY");
                area.bottom = get<uint16_t>(r.data, 2, "ARRAY");
                area.left = get<uint8_t>(r.data, 4, "ARRAY");
                area.right = get<uint8_t>(r.data, 5, "ARRAY");
                const uint16_t size = get<uint16_t>(r.data, 12, "ARRAY");
                if (14 + size_t(size) > r.data.size() || area.top > area.bottom || area.left > area.right) break;
                const auto text = formulaFromTokens(r.data.substr(14, size), r.data.substr(14 + size_t(size)), tokenNames_);
                const std::pair<uint16_t, uint16_t> anchor{uint16_t(area.top), uint16_t(area.left)};
                if (text && waiting.cell && waiting.first == anchor) {
                    waiting.cell.setArrayFormula(*text, area, false);
                    arrays[anchor] = area;
                    pendingString = CellRef();
                }
                waiting = {};
                break;
            }
            case kMergedCells: {
                // A count, then that many ranges of first row, last row, first column, last column.
                // Merges are only looks: a count beyond the record's end takes the ranges it does
                // hold, and the ranges the sheet refuses (overlapping, one cell) stay unmerged.
                const uint16_t count = get<uint16_t>(r.data, 0, "MERGEDCELLS");
                const size_t ranges = std::min<size_t>(count, (r.data.size() - 2) / 8);
                for (size_t i = 0; i < ranges; ++i) {
                    const size_t at = 2 + i * 8;
                    CellRect area;
                    area.top = get<uint16_t>(r.data, at, "MERGEDCELLS");
                    area.bottom = get<uint16_t>(r.data, at + 2, "MERGEDCELLS");
                    area.left = get<uint16_t>(r.data, at + 4, "MERGEDCELLS");
                    area.right = get<uint16_t>(r.data, at + 6, "MERGEDCELLS");
                    sheet.addMergedArea(area);
                }
                break;
            }
            case kString:
                if (pendingString) pendingString.setString(unicodeString(r.data, 0, false, "STRING"));
                pendingString = CellRef();
                break;
            default: break;
            }
        }
        // Sheets of a sound file never share records; a file whose sheets all start at the same
        // place would have every sheet read the whole stream again.
        sheetBytes_ += records.position() - position;
        if (sheetBytes_ > stream_.size()) fail("the sheets overlap in the workbook stream");
    }

    static FormulaErrorCode errorOf(uint8_t code) {
        switch (code) {
        case 0x00: return ecNull;
        case 0x07: return ecDivByZero;
        case 0x0F: return ecValue;
        case 0x17: return ecRefErr;
        case 0x1D: return ecName;
        case 0x24: return ecNUM;
        default: return ecNA;
        }
    }

    Workbook& book_;
    std::string_view stream_;
    std::vector<std::u16string> strings_;
    std::vector<uint16_t> styles_;
    TokenNames tokenNames_;
    int externalBooks_ = 0;
    size_t sheetBytes_ = 0;   // read by the sheets so far
};

}  // namespace

void BiffReader::Read(Workbook& book, ByteStream& stream) {
    try {
        const CompoundFile file(stream.rest());
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
