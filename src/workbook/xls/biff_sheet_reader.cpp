#include "workbook/xls/biff_sheet_reader.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "sheet/sheet_bounds.h"

namespace kes::biff {
namespace {

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

FormulaErrorCode errorOf(uint8_t code) {
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

// Where a version keeps the parts of FORMULA and ARRAY records.
struct FormulaLayout {
    size_t result;      // the last result, 8 bytes
    size_t size;        // the tokens' length, 8 bits in BIFF2
    size_t tokens;
};

FormulaLayout formulaLayout(Version v) {
    if (v == Version::Biff2) return {7, 16, 17};
    if (v <= Version::Biff4) return {6, 16, 18};
    return {6, 20, 22};
}

FormulaLayout arrayLayout(Version v) {
    if (v == Version::Biff2) return {0, 7, 8};
    if (v <= Version::Biff4) return {0, 8, 10};
    return {0, 12, 14};
}

class SheetReader {
public:
    SheetReader(SheetTable& sheet, WorkbookState& state, GlobalsReader* globals)
        : sheet_(sheet), state_(state), globals_(globals), biff2_(state.version() == Version::Biff2) {}

    void read(RecordStream& records) {
        Record r;
        while (records.next(r) && r.id != kEof) {
            if (isBof(r.id)) {
                records.skipSubstream();
                continue;
            }
            if (!readCellRecord(r) && globals_) globals_->read(r);
        }
    }

private:
    // The cell of a record that starts with its row, column and cell format: BIFF2's three bytes
    // of cell attributes, whose first names the XF (63: the IXFE record before it does), or a
    // 16-bit XF index. The layout goes by the record's id: a BIFF2 file may hold the later
    // records too.
    CellRef cell(const Record& r, const char* record) {
        const uint16_t row = get<uint16_t>(r.data, 0, record), column = get<uint16_t>(r.data, 2, record);
        if (column > kMaxColumn) fail(std::string(record) + " column " + std::to_string(column) + " outside the sheet");
        CellRef c = sheet_.createCell(row, column);
        if (hasAttributes(r)) {
            get<uint8_t>(r.data, 6, record);   // the record holds all three attribute bytes
            const uint8_t xf = get<uint8_t>(r.data, 4, record) & 0x3F;
            c.setStyle(state_.styleOfXf(xf == 63 ? ixfe_ : xf));
        } else {
            c.setStyle(state_.styleOfXf(get<uint16_t>(r.data, 4, record)));
        }
        return c;
    }
    bool hasAttributes(const Record& r) const {
        switch (r.id) {
        case kBlank2:
        case kInteger2:
        case kNumber2:
        case kLabel2:
        case kBoolErr2: return true;
        case kFormula: return biff2_;
        default: return false;
        }
    }
    size_t valueAt(const Record& r) const { return hasAttributes(r) ? 7 : 6; }

    std::u16string stringRecord(const Record& r) const {
        if (state_.biff8()) {
            ContinuedReader in(r, "STRING");
            return in.unicodeString();
        }
        const std::string data = r.joined();
        return state_.text(data, 0, r.id == kString2 ? 1 : 2, "STRING");
    }

    std::u16string labelText(const Record& r, const char* record) const {
        if (!state_.biff8() || r.id == kLabel2) return state_.text(r.data, valueAt(r), r.id == kLabel2 ? 1 : 2, record);
        ContinuedReader in(r, record);
        in.skip(6);
        return in.unicodeString();
    }

    bool readCellRecord(const Record& r) {
        switch (r.id) {
        case kIxfe2: ixfe_ = get<uint16_t>(r.data, 0, "IXFE"); return true;
        case kLabelSst: {
            CellRef c = cell(r, "LABELSST");
            const uint32_t index = get<uint32_t>(r.data, 6, "LABELSST");
            if (index >= state_.strings.size()) fail("LABELSST index " + std::to_string(index) + " beyond the shared strings");
            c.setString(state_.strings[index]);
            return true;
        }
        case kBlank2:
        case kBlank: cell(r, "BLANK"); return true;
        case kMulBlank: {
            const uint16_t row = get<uint16_t>(r.data, 0, "MULBLANK");
            const uint16_t first = get<uint16_t>(r.data, 2, "MULBLANK");
            const size_t count = r.data.size() >= 6 ? (r.data.size() - 6) / 2 : 0;
            for (size_t i = 0; i < count; ++i) {
                if (first + i > size_t(kMaxColumn)) fail("MULBLANK runs past the last column");
                sheet_.createCell(row, int32_t(first + i)).setStyle(state_.styleOfXf(get<uint16_t>(r.data, 4 + i * 2, "MULBLANK")));
            }
            return true;
        }
        case kColWidth2: {
            if (!biff2_) return false;
            const uint8_t first = get<uint8_t>(r.data, 0, "COLWIDTH"), last = get<uint8_t>(r.data, 1, "COLWIDTH");
            setWidths(first, last, get<uint16_t>(r.data, 2, "COLWIDTH"));
            return true;
        }
        case kColInfo: {
            const uint16_t first = get<uint16_t>(r.data, 0, "COLINFO"), last = get<uint16_t>(r.data, 2, "COLINFO");
            setWidths(first, last, get<uint16_t>(r.data, 4, "COLINFO"));
            if (get<uint16_t>(r.data, 8, "COLINFO") & 1) {
                for (int c = first; c <= std::min<int>(last, 255); ++c) sheet_.setColumnHidden(c, true);
            }
            return true;
        }
        case kDefaultRowHeight: {
            // BIFF3 and later: flags, then the height; BIFF2: the height alone.
            const uint16_t twips = get<uint16_t>(r.data, 2, "DEFAULTROWHEIGHT") & 0x7FFF;
            if (twips) sheet_.defaultRowHeight = std::clamp(twips / 15, 1, SheetTable::kMaxRowHeight);
            return true;
        }
        case kRow: readRow(r); return true;
        case kLabel2: cell(r, "LABEL").setString(labelText(r, "LABEL"));
            return true;
        case kLabel: cell(r, "LABEL").setString(labelText(r, "LABEL")); return true;
        case kRString: cell(r, "RSTRING").setString(labelText(r, "RSTRING")); return true;
        case kInteger2: cell(r, "INTEGER").assign(CellValue::makeFloat(get<uint16_t>(r.data, 7, "INTEGER")));
            return true;
        case kNumber2: cell(r, "NUMBER").assign(numberValue(get<double>(r.data, 7, "NUMBER")));
            return true;
        case kNumber: cell(r, "NUMBER").assign(numberValue(get<double>(r.data, 6, "NUMBER"))); return true;
        case kRk: cell(r, "RK").assign(numberValue(rkValue(get<uint32_t>(r.data, 6, "RK")))); return true;
        case kMulRk: {
            const uint16_t row = get<uint16_t>(r.data, 0, "MULRK");
            const uint16_t first = get<uint16_t>(r.data, 2, "MULRK");
            const size_t count = r.data.size() >= 6 ? (r.data.size() - 6) / 6 : 0;
            for (size_t i = 0; i < count; ++i) {
                const size_t at = 4 + i * 6;
                if (first + i > size_t(kMaxColumn)) fail("MULRK runs past the last column");
                CellRef c = sheet_.createCell(row, int32_t(first + i));
                c.setStyle(state_.styleOfXf(get<uint16_t>(r.data, at, "MULRK")));
                c.assign(numberValue(rkValue(get<uint32_t>(r.data, at + 2, "MULRK"))));
            }
            return true;
        }
        case kBoolErr2:
        case kBoolErr: {
            CellRef c = cell(r, "BOOLERR");
            const uint8_t value = get<uint8_t>(r.data, valueAt(r), "BOOLERR");
            if (get<uint8_t>(r.data, valueAt(r) + 1, "BOOLERR") == 0) c.assign(CellValue::makeBoolean(value != 0));
            else c.assign(CellValue::makeError(errorOf(value)));
            return true;
        }
        case kFormula:
        case kFormula3:
        case kFormula4: readFormula(r); return true;
        case kShrFmla: readSharedFormula(r); return true;
        case kArray2:
            if (!biff2_) return false;
            [[fallthrough]];
        case kArray: readArray(r); return true;
        case kMergedCells: readMergedCells(r); return true;
        case kString2:
        case kString:
            if (pendingString_) pendingString_.setString(stringRecord(r));
            pendingString_ = CellRef();
            return true;
        default: return false;
        }
    }

    // ROW: a height in twips (bit 15 before BIFF5: the default height) and, from BIFF5 on, flags
    // whose bit 5 hides the row.
    void readRow(const Record& r) {
        const uint16_t index = get<uint16_t>(r.data, 0, "ROW");
        const uint16_t height = get<uint16_t>(r.data, 6, "ROW");
        const bool modern = state_.version() == Version::Biff5 || state_.biff8();
        const bool hidden = modern && (get<uint32_t>(r.data, 12, "ROW") & 0x20);
        const bool defaultHeight = !modern && (height & 0x8000);
        const int32_t pixels = std::clamp((height & 0x7FFF) / 15, 1, SheetTable::kMaxRowHeight);
        if (!hidden && (defaultHeight || pixels == sheet_.defaultRowHeight)) return;
        SheetRow& row = *sheet_.createRow(index);
        row.hidden = hidden;
        if (!defaultHeight && pixels != sheet_.defaultRowHeight && (height & 0x7FFF)) row.height = uint16_t(pixels);
    }

    // Widths are in 1/256 of the width of "0" in the default font, 7 pixels wide with 5 of padding.
    void setWidths(int first, int last, uint16_t width) {
        const int pixels = static_cast<int>(std::lround(width / 256.0 * 7 + 5));
        for (int c = first; c <= std::min<int>(last, 255) && width > 0; ++c) sheet_.setColumnWidth(c, pixels);
    }

    void setFormula(CellRef c, std::string_view tokens, std::string_view extra, std::optional<TokenCell> at = std::nullopt) {
        const auto text = formulaFromTokens(tokens, extra, state_.tokenNames, at);
        if (!text) return;   // damaged tokens: the cell keeps the result the file saved
        c.setFileFormula(*text);
        pendingString_ = CellRef();
    }

    void readFormula(const Record& r) {
        const std::string data = r.joined();
        const Record whole{r.id, data, {}};
        CellRef c = cell(whole, "FORMULA");
        const FormulaLayout layout = formulaLayout(state_.version());
        // The last result, kept unless the formula's tokens are read.
        const std::string_view result = std::string_view(data).substr(std::min(layout.result, data.size()));
        if (result.size() < 8) fail("FORMULA record is too short");
        if (get<uint16_t>(result, 6, "FORMULA") != 0xFFFF) {
            c.assign(numberValue(get<double>(result, 0, "FORMULA")));
        } else {
            switch (get<uint8_t>(result, 0, "FORMULA")) {
            case 0: pendingString_ = c; break;
            case 1: c.assign(CellValue::makeBoolean(get<uint8_t>(result, 2, "FORMULA") != 0)); break;
            case 2: c.assign(CellValue::makeError(errorOf(get<uint8_t>(result, 2, "FORMULA")))); break;
            case 3: c.setString(u""); break;
            default: break;
            }
        }
        if (data.size() <= layout.tokens) return;
        const size_t size = biff2_ ? get<uint8_t>(data, layout.size, "FORMULA") : get<uint16_t>(data, layout.size, "FORMULA");
        if (layout.tokens + size > data.size()) return;
        const std::string_view tokens = std::string_view(data).substr(layout.tokens, size);
        const std::string_view extra = std::string_view(data).substr(layout.tokens + size);
        // tExp: the cell belongs to a shared or array formula, named by its first cell (before
        // BIFF5 an array formula's only, its column one byte).
        const size_t expSize = state_.version() >= Version::Biff5 ? 5 : 4;
        if (size == expSize && uint8_t(tokens[0]) == kExpToken) {
            const TokenCell at{get<uint16_t>(data, 0, "FORMULA"), get<uint16_t>(data, 2, "FORMULA")};
            const Anchor first{get<uint16_t>(tokens, 1, "FORMULA"),
                               expSize == 5 ? get<uint16_t>(tokens, 3, "FORMULA") : get<uint8_t>(tokens, 3, "FORMULA")};
            if (auto it = arrays_.find(first); it != arrays_.end()) {
                if (it->second.contains(at.row, at.column)) {
                    c.setArrayMember(it->second, false);
                    pendingString_ = CellRef();
                }
            } else if (auto it = shared_.find(first); it != shared_.end()) {
                setFormula(c, it->second.first, it->second.second, at);
            } else {
                waiting_ = {c, at, first};
            }
            return;
        }
        setFormula(c, tokens, extra);
    }

    // The range (rows, columns), a reserved byte, a use count, then the tokens.
    void readSharedFormula(const Record& r) {
        const std::string data = r.joined();
        const Anchor first{get<uint16_t>(data, 0, "SHRFMLA"), get<uint8_t>(data, 4, "SHRFMLA")};
        const uint16_t size = get<uint16_t>(data, 8, "SHRFMLA");
        if (10 + size_t(size) > data.size()) return;   // its cells keep their results
        auto& stored = shared_[first] = {data.substr(10, size), data.substr(10 + size_t(size))};
        if (waiting_.cell && waiting_.first == first) setFormula(waiting_.cell, stored.first, stored.second, waiting_.at);
        waiting_ = {};
    }

    // The area (rows, then columns of one byte), flags, (BIFF5 and BIFF8) a reserved dword,
    // the tokens.
    void readArray(const Record& r) {
        const std::string data = r.joined();
        const FormulaLayout layout = arrayLayout(state_.version());
        CellRect area;
        area.top = get<uint16_t>(data, 0, "ARRAY");
        area.bottom = get<uint16_t>(data, 2, "ARRAY");
        area.left = get<uint8_t>(data, 4, "ARRAY");
        area.right = get<uint8_t>(data, 5, "ARRAY");
        const size_t size = biff2_ ? get<uint8_t>(data, layout.size, "ARRAY") : get<uint16_t>(data, layout.size, "ARRAY");
        if (layout.tokens + size > data.size() || area.top > area.bottom || area.left > area.right) {
            waiting_ = {};
            return;
        }
        const auto text = formulaFromTokens(std::string_view(data).substr(layout.tokens, size),
                                            std::string_view(data).substr(layout.tokens + size), state_.tokenNames);
        const Anchor anchor{uint16_t(area.top), uint16_t(area.left)};
        if (text && waiting_.cell && waiting_.first == anchor) {
            waiting_.cell.setArrayFormula(*text, area, false);
            arrays_[anchor] = area;
            pendingString_ = CellRef();
        }
        waiting_ = {};
    }

    // A count, then that many ranges of first row, last row, first column, last column. Merges
    // are only looks: a count beyond the record's end takes the ranges it does hold, and the
    // ranges the sheet refuses (overlapping, one cell) stay unmerged.
    void readMergedCells(const Record& r) {
        const uint16_t count = get<uint16_t>(r.data, 0, "MERGEDCELLS");
        const size_t ranges = std::min<size_t>(count, (r.data.size() - 2) / 8);
        for (size_t i = 0; i < ranges; ++i) {
            const size_t at = 2 + i * 8;
            CellRect area;
            area.top = get<uint16_t>(r.data, at, "MERGEDCELLS");
            area.bottom = get<uint16_t>(r.data, at + 2, "MERGEDCELLS");
            area.left = get<uint16_t>(r.data, at + 4, "MERGEDCELLS");
            area.right = get<uint16_t>(r.data, at + 6, "MERGEDCELLS");
            sheet_.addMergedArea(area);
        }
    }

    static constexpr uint8_t kExpToken = 0x01;   // a cell of a shared or array formula: its first cell's position
    using Anchor = std::pair<uint16_t, uint16_t>;
    // A cell whose shared or array formula's record is still to come: the first cell's own
    // FORMULA comes before the SHRFMLA or ARRAY record with the tokens.
    struct Waiting {
        CellRef cell;
        TokenCell at;
        Anchor first;
    };

    SheetTable& sheet_;
    WorkbookState& state_;
    GlobalsReader* globals_;
    const bool biff2_;
    uint16_t ixfe_ = 0;
    CellRef pendingString_;   // a formula whose text result follows in a STRING record
    std::map<Anchor, std::pair<std::string, std::string>> shared_;   // tokens and extra by first cell
    std::map<Anchor, CellRect> arrays_;
    Waiting waiting_{};
};

}  // namespace

void readSheetRecords(RecordStream& records, SheetTable& sheet, WorkbookState& state, GlobalsReader* globals) {
    SheetReader(sheet, state, globals).read(records);
}

}  // namespace kes::biff
