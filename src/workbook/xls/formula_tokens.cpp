#include "workbook/xls/formula_tokens.h"

#include <charconv>
#include <cstdlib>
#include <cmath>
#include <cstring>

#include "sheet/calc/functions.h"
#include "sheet/formula/cell_address.h"
#include "sheet/formula/error_words.h"
#include "sheet/formula/name_chars.h"

namespace kes {
namespace {

using formula::CellAddress;
using formula::Expression;
using formula::Node;
using formula::NodeKind;
using formula::Operator;
using formula::ReferenceShape;

// Token ids of the file format documentation ([MS-XLS] 2.5.198); operand tokens come in a
// reference (0x20), value (0x40) and array (0x60) class.
enum : uint8_t {
    kAdd = 0x03,
    kSub,
    kMul,
    kDiv,
    kPower,
    kConcat,
    kLt,
    kLe,
    kEq,
    kGe,
    kGt,
    kNe,
    kIsect,
    kUnion,
    kRange,
    kUplus,
    kUminus,
    kPercent,
    kParen,
    kMissArg,
    kStr,
    kAttr = 0x19,
    kSheet = 0x1A,      // BIFF2-4: the references up to tEndSheet are to another file's sheet
    kEndSheet = 0x1B,
    kErr = 0x1C,
    kBool,
    kInt,
    kNum,
    kArray = 0x20,
    kFunc = 0x21,
    kFuncVar = 0x22,
    kName = 0x23,
    kRef = 0x24,
    kArea = 0x25,
    kMemArea = 0x26,
    kMemErr = 0x27,
    kMemNoMem = 0x28,
    kMemFunc = 0x29,
    kRefErr = 0x2A,
    kAreaErr = 0x2B,
    kRefN = 0x2C,
    kAreaN = 0x2D,
    kNameX = 0x39,
    kRef3d = 0x3A,
    kArea3d = 0x3B,
    kRefErr3d = 0x3C,
    kAreaErr3d = 0x3D,
};
constexpr uint8_t kReferenceClass = 0x00, kValueClass = 0x20;   // added to the 0x2X ids
constexpr int32_t kLastRow = 65535, kLastColumn = 255;
constexpr size_t kMaxTokens = 1800;   // Excel's limit for a cell formula

// A built-in function as .xls files call it: by its number, with a fixed argument count
// (tFunc) or a given one (tFuncVar).
const calc::FunctionSpec* biffFunction(std::u16string_view name) {
    const calc::FunctionSpec* f = calc::findFunction(name);
    return f && f->biffId != calc::kNoBiffId ? f : nullptr;
}

bool fixedArity(const calc::FunctionSpec& f) { return f.minArgs == f.maxArgs; }

// Error values as BIFF8 codes them.
constexpr struct {
    formula::ErrorCode code;
    uint8_t byte;
} kErrors[] = {
    {formula::ErrorCode::Null, 0x00},  {formula::ErrorCode::DivByZero, 0x07},
    {formula::ErrorCode::Value, 0x0F}, {formula::ErrorCode::Ref, 0x17},
    {formula::ErrorCode::Name, 0x1D},  {formula::ErrorCode::Num, 0x24},
    {formula::ErrorCode::NA, 0x2A},
};

class Tokens {
public:
    void u8(uint8_t v) { data.push_back(char(v)); }
    void u16(uint16_t v) {
        u8(uint8_t(v));
        u8(uint8_t(v >> 8));
    }
    void f64(double v) { data.append(reinterpret_cast<const char*>(&v), 8); }
    std::string data;
};

uint16_t columnField(const CellAddress& a, int32_t column) {
    return uint16_t(column | (a.columnAbsolute ? 0 : 0x4000) | (a.rowAbsolute ? 0 : 0x8000));
}

bool writeReference(Tokens& t, const Expression& e, const Node& node, uint8_t tokenClass,
                    const ExternSheetOf& externSheet) {
    if (node.shape == ReferenceShape::Invalid || !node.lastSheet.empty()) return false;
    CellAddress first = node.first, last = node.last;
    if (node.shape == ReferenceShape::Columns) {
        first.row = 0, last.row = kLastRow;
        first.rowAbsolute = last.rowAbsolute = true;
    } else if (node.shape == ReferenceShape::Rows) {
        first.column = 0, last.column = kLastColumn;
        first.columnAbsolute = last.columnAbsolute = true;
    }
    if (last.row > kLastRow || last.column > kLastColumn || first.row > kLastRow ||
        first.column > kLastColumn)
        return false;
    const bool cell = node.shape == ReferenceShape::Cell;
    std::optional<uint16_t> sheet;
    if (!node.sheet.empty()) {
        sheet = externSheet(e.text(node.sheet));
        if (!sheet) return false;
        t.u8(uint8_t((cell ? kRef3d : kArea3d) + tokenClass));
        t.u16(*sheet);
    } else {
        t.u8(uint8_t((cell ? kRef : kArea) + tokenClass));
    }
    if (cell) {
        t.u16(uint16_t(first.row));
        t.u16(columnField(first, first.column));
    } else {
        t.u16(uint16_t(first.row));
        t.u16(uint16_t(last.row));
        t.u16(columnField(first, first.column));
        t.u16(columnField(last, last.column));
    }
    return true;
}

std::optional<uint8_t> binaryToken(Operator op) {
    switch (op) {
    case Operator::Power: return kPower;
    case Operator::Multiply: return kMul;
    case Operator::Divide: return kDiv;
    case Operator::Add: return kAdd;
    case Operator::Subtract: return kSub;
    case Operator::Concat: return kConcat;
    case Operator::Equal: return kEq;
    case Operator::NotEqual: return kNe;
    case Operator::Less: return kLt;
    case Operator::LessEqual: return kLe;
    case Operator::Greater: return kGt;
    case Operator::GreaterEqual: return kGe;
    default: return std::nullopt;   // ranges, intersections and unions of references are not written
    }
}

// --- Reading -----------------------------------------------------------------------------------

class TokenReader {
public:
    explicit TokenReader(std::string_view data) : data_(data) {}
    bool atEnd() const { return at_ >= data_.size(); }
    bool has(size_t n) const { return data_.size() - at_ >= n; }
    uint8_t u8() { return uint8_t(data_[at_++]); }
    uint16_t u16() {
        const uint16_t lo = u8();
        return uint16_t(lo | u8() << 8);
    }
    double f64() {
        double v;
        std::memcpy(&v, data_.data() + at_, 8);
        at_ += 8;
        return v;
    }
    void skip(size_t n) { at_ += n; }

private:
    std::string_view data_;
    size_t at_ = 0;
};

std::u16string addressText(uint16_t row, uint16_t columnField) {
    CellAddress a;
    a.row = row;
    a.column = columnField & 0x3FFF;
    a.columnAbsolute = !(columnField & 0x4000);
    a.rowAbsolute = !(columnField & 0x8000);
    std::u16string out;
    formula::appendCellAddress(out, a);
    return out;
}

std::u16string areaText(uint16_t row1, uint16_t row2, uint16_t col1, uint16_t col2) {
    const bool wholeColumns = row1 == 0 && row2 == kLastRow && (col1 & 0x3FFF) <= kLastColumn;
    const bool wholeRows = (col1 & 0x3FFF) == 0 && (col2 & 0x3FFF) == kLastColumn;
    std::u16string out;
    const auto corner = [](uint16_t row, uint16_t column) {
        CellAddress a;
        a.row = row;
        a.column = column & 0x3FFF;
        a.columnAbsolute = !(column & 0x4000);
        a.rowAbsolute = !(column & 0x8000);
        return a;
    };
    const CellAddress first = corner(row1, col1), last = corner(row2, col2);
    if (wholeColumns) {
        formula::appendColumn(out, first);
        out += u':';
        formula::appendColumn(out, last);
    } else if (wholeRows) {
        formula::appendRow(out, first);
        out += u':';
        formula::appendRow(out, last);
    } else {
        formula::appendCellAddress(out, first);
        out += u':';
        formula::appendCellAddress(out, last);
    }
    return out;
}

// A number of a formula's tokens; NaN and infinities, which Excel never stores, as #NUM!.
std::u16string numberText(double value) {
    if (!std::isfinite(value)) return u"#NUM!";
    char buffer[40];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::u16string out;
    for (const char* c = buffer; c != end; ++c) out += char16_t(*c == 'e' ? 'E' : *c);
    return out;
}

}  // namespace

std::optional<std::string> formulaTokens(const Expression& expression, const ExternSheetOf& externSheet) {
    const std::vector<Node>& nodes = expression.nodes();
    if (nodes.empty()) return std::nullopt;
    // Which nodes are arguments of a function: references there are passed as references (SUM
    // adds a whole area), elsewhere as values (an operator takes one cell of an area).
    std::vector<bool> argument(nodes.size(), false);
    for (size_t i = nodes.size(); i-- > 0;) {
        const Node& n = nodes[i];
        const uint32_t children = Expression::childCount(n);
        uint32_t child = uint32_t(i) - 1;
        for (uint32_t k = 0; k < children; ++k) {
            argument[child] = n.kind == NodeKind::Function || (n.kind == NodeKind::Paren && argument[i]);
            if (k + 1 < children) child = expression.previousSibling(child);
        }
    }
    Tokens t;
    for (size_t i = 0; i < nodes.size(); ++i) {
        const Node& n = nodes[i];
        const uint8_t operandClass = argument[i] ? kReferenceClass : kValueClass;
        switch (n.kind) {
        case NodeKind::Number:
            if (n.number >= 0 && n.number <= 65535 && n.number == std::floor(n.number) &&
                !std::signbit(n.number)) {
                t.u8(kInt);
                t.u16(uint16_t(n.number));
            } else {
                t.u8(kNum);
                t.f64(n.number);
            }
            break;
        case NodeKind::String: {
            const std::u16string_view text = expression.text(n.text);
            if (text.size() > 255) return std::nullopt;
            bool wide = false;
            for (char16_t c : text) wide = wide || c > 0xFF;
            t.u8(kStr);
            t.u8(uint8_t(text.size()));
            t.u8(wide ? 1 : 0);
            for (char16_t c : text) wide ? t.u16(c) : t.u8(uint8_t(c));
            break;
        }
        case NodeKind::Boolean:
            t.u8(kBool);
            t.u8(n.boolean ? 1 : 0);
            break;
        case NodeKind::Error: {
            t.u8(kErr);
            uint8_t code = 0x2A;
            for (const auto& e : kErrors) {
                if (e.code == n.error) code = e.byte;
            }
            t.u8(code);
            break;
        }
        case NodeKind::Missing: t.u8(kMissArg); break;
        case NodeKind::Reference:
            if (!writeReference(t, expression, n, operandClass, externSheet)) return std::nullopt;
            break;
        case NodeKind::Function: {
            const calc::FunctionSpec* f = biffFunction(expression.text(n.text));
            if (!f || n.count < f->minArgs || n.count > f->maxArgs) return std::nullopt;
            const bool returnsReference = f->flags & calc::kReturnsReference;
            const uint8_t functionClass = argument[i] && returnsReference ? kReferenceClass : kValueClass;
            if (fixedArity(*f)) {
                t.u8(uint8_t(kFunc + functionClass));
            } else {
                t.u8(uint8_t(kFuncVar + functionClass));
                t.u8(uint8_t(n.count));
            }
            t.u16(f->biffId);
            break;
        }
        case NodeKind::Unary:
            if (n.op == Operator::Single) return std::nullopt;
            t.u8(n.op == Operator::Negate ? kUminus : n.op == Operator::Percent ? kPercent : kUplus);
            break;
        case NodeKind::Binary: {
            const auto token = binaryToken(n.op);
            if (!token) return std::nullopt;
            t.u8(*token);
            break;
        }
        case NodeKind::Paren: t.u8(kParen); break;
        case NodeKind::Name:
        case NodeKind::Array:
        case NodeKind::Table:
        case NodeKind::Call: return std::nullopt;
        }
    }
    if (t.data.size() > kMaxTokens) return std::nullopt;
    return std::move(t.data);
}

// A corner of a relative reference of a shared formula made absolute for CELL: a relative row is
// a signed 16-bit offset, a relative column a signed 8-bit one, both wrapping round the sheet as
// in Excel. The relative flags stay, so that the text keeps its "$" signs.
void resolveRelative(uint16_t& row, uint16_t& columnField, TokenCell cell) {
    if (columnField & 0x8000) row = uint16_t(cell.row + int16_t(row));
    if (columnField & 0x4000) {
        const uint16_t column = uint16_t((cell.column + int8_t(columnField & 0xFF)) & kLastColumn);
        columnField = uint16_t((columnField & 0xC000) | column);
    }
}

namespace {

using biff::Version;

// How the tokens of a version are laid out where they differ from BIFF8's.
struct Layout {
    Version version;

    bool biff8() const { return version == Version::Biff8; }
    size_t cell() const { return biff8() ? 4 : 3; }
    size_t area() const { return biff8() ? 8 : 6; }
    size_t sheetPart() const { return biff8() ? 2 : 14; }   // BIFF5: the EXTERNSHEET, 8 reserved, two sheets
    size_t functionNumber() const { return version <= Version::Biff3 ? 1 : 2; }
    size_t name() const {
        switch (version) {
        case Version::Biff2: return 7;
        case Version::Biff3:
        case Version::Biff4: return 10;
        case Version::Biff5: return 14;
        case Version::Biff8: return 4;
        }
        return 4;
    }
    size_t attrData() const { return version == Version::Biff2 ? 1 : 2; }
    size_t memSize() const { return version == Version::Biff2 ? 1 : 2; }
    size_t arrayReserved() const { return version == Version::Biff2 ? 6 : 7; }
};

// A 16-bit or an 8-bit field, as the version lays it out.
size_t readSized(TokenReader& in, size_t bytes) { return bytes == 1 ? in.u8() : in.u16(); }

// Before BIFF8 a reference's relative flags are the top bits of its 14-bit row and its column is
// one byte; made into BIFF8's row and flagged column, a relative row of a shared formula (whose
// rows are `offsets`) a signed one.
void readCorner(TokenReader& in, const Layout& layout, bool offsets, uint16_t& row, uint16_t& columnField) {
    if (layout.biff8()) {
        row = in.u16();
        columnField = in.u16();
        return;
    }
    const uint16_t field = in.u16();
    columnField = uint16_t(in.u8() | (field & 0xC000));
    row = uint16_t(field & 0x3FFF);
    if (offsets && (field & 0x8000) && (row & 0x2000)) row |= 0xC000;   // a negative offset
}

void readArea(TokenReader& in, const Layout& layout, bool offsets, uint16_t& r1, uint16_t& r2, uint16_t& c1,
              uint16_t& c2) {
    if (layout.biff8()) {
        r1 = in.u16(), r2 = in.u16(), c1 = in.u16(), c2 = in.u16();
        return;
    }
    const uint16_t f1 = in.u16(), f2 = in.u16();
    c1 = uint16_t(in.u8() | (f1 & 0xC000));
    c2 = uint16_t(in.u8() | (f2 & 0xC000));
    r1 = uint16_t(f1 & 0x3FFF), r2 = uint16_t(f2 & 0x3FFF);
    if (offsets && (f1 & 0x8000) && (r1 & 0x2000)) r1 |= 0xC000;
    if (offsets && (f2 & 0x8000) && (r2 & 0x2000)) r2 |= 0xC000;
}

// A text of 8-bit characters (in the code page before BIFF8) or of 16-bit ones.
std::optional<std::u16string> readText(TokenReader& in, size_t count, const TokenNames& names, bool wideFlagFollows) {
    bool wide = false;
    if (wideFlagFollows) {
        if (!in.has(1)) return std::nullopt;
        wide = in.u8() & 1;
    }
    if (!in.has(count * (wide ? 2 : 1))) return std::nullopt;
    std::u16string out;
    if (wide) {
        for (size_t i = 0; i < count; ++i) out += char16_t(in.u16());
    } else if (names.version == Version::Biff8) {
        for (size_t i = 0; i < count; ++i) out += char16_t(in.u8());
    } else {
        std::string bytes;
        for (size_t i = 0; i < count; ++i) bytes += char(in.u8());
        names.codePage.decodeAppend(bytes, out);
    }
    return out;
}

std::u16string quoted(std::u16string_view text) {
    std::u16string out = u"\"";
    for (char16_t c : text) {
        out += c;
        if (c == u'"') out += c;
    }
    return out + u'"';
}

// Reads the extra data of array constants (PtgExtraArray) and memory areas (PtgExtraMem) in the
// order their tokens come.
class ExtraReader {
public:
    ExtraReader(std::string_view data, const TokenNames& names) : in_(data), names_(names) {}

    // {1,2;"a",TRUE}: columns - 1, rows - 1, then each value with its type byte.
    std::optional<std::u16string> array() {
        if (!in_.has(3)) return std::nullopt;
        const size_t columns = size_t(in_.u8()) + 1, rows = size_t(in_.u16()) + 1;
        std::u16string out = u"{";
        for (size_t r = 0; r < rows; ++r) {
            for (size_t c = 0; c < columns; ++c) {
                if (c > 0) out += u',';
                else if (r > 0) out += u';';
                if (!in_.has(1)) return std::nullopt;
                switch (in_.u8()) {
                case 0x00:   // empty, written as 0 as Excel shows it
                    if (!in_.has(8)) return std::nullopt;
                    in_.skip(8);
                    out += u'0';
                    break;
                case 0x01:
                    if (!in_.has(8)) return std::nullopt;
                    out += numberText(in_.f64());
                    break;
                case 0x02: {
                    const bool biff8 = names_.version == Version::Biff8;
                    if (!in_.has(biff8 ? 2 : 1)) return std::nullopt;
                    const size_t count = biff8 ? in_.u16() : in_.u8();
                    auto text = readText(in_, count, names_, biff8);
                    if (!text) return std::nullopt;
                    out += quoted(*text);
                    break;
                }
                case 0x04:
                    if (!in_.has(8)) return std::nullopt;
                    out += in_.u8() ? u"TRUE" : u"FALSE";
                    in_.skip(7);
                    break;
                case 0x10: {
                    if (!in_.has(8)) return std::nullopt;
                    const uint8_t code = in_.u8();
                    in_.skip(7);
                    out += errorWord(code);
                    break;
                }
                default: return std::nullopt;
                }
            }
        }
        return out + u'}';
    }

    bool skipAreas() {
        if (!in_.has(2)) return false;
        const size_t count = in_.u16();
        const size_t area = names_.version == Version::Biff8 ? 8 : 6;
        if (!in_.has(count * area)) return false;
        in_.skip(count * area);
        return true;
    }

    static std::u16string errorWord(uint8_t code) {
        for (const auto& e : kErrors) {
            if (e.byte == code) return std::u16string(formula::errorWordText(e.code));
        }
        return u"#N/A";
    }

private:
    TokenReader in_;
    const TokenNames& names_;
};

// Sheet1!, 'My Sheet'!, Sheet1:Sheet3!, [1]Sheet1!: the prefix of a reference to sheets of a
// workbook; none for sheets that do not exist.
std::optional<std::u16string> sheetsPrefix(const std::vector<std::u16string>& sheets, int32_t firstIndex, int32_t lastIndex,
                                           std::u16string_view bookText) {
    const auto sheetAt = [&](int32_t i) -> const std::u16string* {
        return i >= 0 && size_t(i) < sheets.size() ? &sheets[size_t(i)] : nullptr;
    };
    const std::u16string* first = sheetAt(firstIndex);
    const std::u16string* last = sheetAt(lastIndex);
    if (!first || !last) return std::nullopt;
    std::u16string range = *first;
    if (lastIndex != firstIndex) range += u':' + *last;
    const bool quote = formula::sheetNameNeedsQuotes(*first) || (lastIndex != firstIndex && formula::sheetNameNeedsQuotes(*last));
    if (!quote) return std::u16string(bookText) + range + u'!';
    std::u16string out = u"'" + std::u16string(bookText);
    for (char16_t c : range) {
        out += c;
        if (c == u'\'') out += c;
    }
    return out + u"'!";
}

// The prefix of a reference by EXTERNSHEET entry; none for an entry that names nothing.
std::optional<std::u16string> externPrefix(const TokenNames& names, uint16_t index) {
    if (index >= names.externSheets.size()) return std::nullopt;
    const TokenNames::ExternSheet& entry = names.externSheets[index];
    if (entry.book >= names.books.size()) return std::nullopt;
    const TokenNames::Book& book = names.books[entry.book];
    const bool own = book.kind == TokenNames::Book::Kind::Own;
    return sheetsPrefix(own ? names.ownSheets : book.sheets, entry.first, entry.last, own ? u"" : book.reference);
}

// The sheet part of a 3-D reference: BIFF8's EXTERNSHEET index; BIFF5's EXTERNSHEET record
// (negative for this workbook, whose sheets follow by index) and the first and last sheet.
std::optional<std::u16string> readSheetPart(TokenReader& in, const Layout& layout, const TokenNames& names) {
    if (layout.biff8()) return externPrefix(names, in.u16());
    const int16_t externSheet = int16_t(in.u16());
    in.skip(8);
    const int16_t first = int16_t(in.u16()), last = int16_t(in.u16());
    if (externSheet < 0) return sheetsPrefix(names.ownSheets, first, last, u"");
    return externSheet > 0 ? externPrefix(names, uint16_t(externSheet - 1)) : std::nullopt;
}

}  // namespace

std::optional<std::u16string> formulaFromTokens(std::string_view tokens, std::string_view extra, const TokenNames& names,
                                                std::optional<TokenCell> cell) {
    const Layout layout{names.version};
    TokenReader in(tokens);
    std::u16string otherSheet;   // the prefix of references between tSheet and tEndSheet
    const TokenNames::Book* otherBook = nullptr;
    ExtraReader more(extra, names);
    std::vector<std::u16string> stack;
    const auto pop = [&](std::u16string& out) {
        if (stack.empty()) return false;
        out = std::move(stack.back());
        stack.pop_back();
        return true;
    };
    const auto call = [&](std::u16string_view name, size_t count) {
        if (count > stack.size()) return false;
        std::u16string text = std::u16string(name) + u'(';
        for (size_t k = stack.size() - count; k < stack.size(); ++k) {
            if (k > stack.size() - count) text += u',';
            text += stack[k];
        }
        stack.resize(stack.size() - count);
        stack.push_back(text + u')');
        return true;
    };
    while (!in.atEnd()) {
        const uint8_t raw = in.u8();
        const uint8_t ptg = raw < 0x20 ? raw : uint8_t(0x20 | (raw & 0x1F));
        std::u16string a, b;
        switch (ptg) {
        case kAdd:
        case kSub:
        case kMul:
        case kDiv:
        case kPower:
        case kConcat:
        case kLt:
        case kLe:
        case kEq:
        case kGe:
        case kGt:
        case kNe:
        case kIsect:
        case kUnion:
        case kRange: {
            static constexpr std::u16string_view kOperators[] = {
                u"+", u"-", u"*", u"/", u"^", u"&", u"<", u"<=", u"=", u">=", u">", u"<>", u" ", u",", u":"};
            if (!pop(b) || !pop(a)) return std::nullopt;
            stack.push_back(a + std::u16string(kOperators[ptg - kAdd]) + b);
            break;
        }
        case kUplus:
        case kUminus:
        case kPercent:
            if (!pop(a)) return std::nullopt;
            stack.push_back(ptg == kPercent ? a + u'%' : (ptg == kUminus ? u"-" : u"+") + a);
            break;
        case kParen:
            if (!pop(a)) return std::nullopt;
            stack.push_back(u'(' + a + u')');
            break;
        case kMissArg: stack.emplace_back(); break;
        case kStr: {
            if (!in.has(1)) return std::nullopt;
            auto text = readText(in, in.u8(), names, layout.biff8());
            if (!text) return std::nullopt;
            stack.push_back(quoted(*text));
            break;
        }
        case kAttr: {
            if (!in.has(1 + layout.attrData())) return std::nullopt;
            const uint8_t flags = in.u8();
            const size_t data = readSized(in, layout.attrData());
            if (flags & 0x04) {   // CHOOSE's jump table
                const size_t table = (data + 1) * layout.attrData();
                if (!in.has(table)) return std::nullopt;
                in.skip(table);
            }
            if (flags & 0x10) {   // SUM of one argument
                if (!pop(a)) return std::nullopt;
                stack.push_back(u"SUM(" + a + u')');
            }
            break;   // the others (volatile, IF and skip jumps, spaces) only speed up or lay out
        }
        case kErr: {
            if (!in.has(1)) return std::nullopt;
            stack.push_back(ExtraReader::errorWord(in.u8()));
            break;
        }
        case kBool:
            if (!in.has(1)) return std::nullopt;
            stack.push_back(in.u8() ? u"TRUE" : u"FALSE");
            break;
        case kInt:
            if (!in.has(2)) return std::nullopt;
            stack.push_back(numberText(in.u16()));
            break;
        case kNum:
            if (!in.has(8)) return std::nullopt;
            stack.push_back(numberText(in.f64()));
            break;
        case kArray: {
            if (!in.has(layout.arrayReserved())) return std::nullopt;
            in.skip(layout.arrayReserved());
            auto constant = more.array();
            if (!constant) return std::nullopt;
            stack.push_back(std::move(*constant));
            break;
        }
        case kFunc:
        case kFuncVar: {
            const size_t numberSize = layout.functionNumber();
            if (!in.has(numberSize + (ptg == kFuncVar ? 1 : 0))) return std::nullopt;
            const uint8_t given = ptg == kFuncVar ? uint8_t(in.u8() & 0x7F) : 0;
            const uint16_t index = uint16_t(readSized(in, numberSize) & 0x7FFF);
            if (index == 0xFF && ptg == kFuncVar) {
                // A function called by name: an add-in's or a newer Excel's (_xlfn.), its name
                // the first argument.
                if (given == 0 || given > stack.size()) return std::nullopt;
                const std::u16string name = stack[stack.size() - given];
                stack.erase(stack.end() - given);
                if (!call(name, size_t(given) - 1)) return std::nullopt;
                break;
            }
            const calc::FunctionSpec* f = calc::functionOfBiffId(index);
            if (!f) return std::nullopt;   // a macro sheet's function: no formula of a worksheet
            if (!call(f->name, ptg == kFunc ? f->minArgs : given)) return std::nullopt;
            break;
        }
        case kSheet: {
            // 4 reserved bytes, the EXTERNSHEET record (1-based), 4 reserved; BIFF3 and BIFF4.
            if (layout.version != Version::Biff3 && layout.version != Version::Biff4) return std::nullopt;
            if (!in.has(10)) return std::nullopt;
            in.skip(4);
            const uint16_t externSheet = in.u16();
            in.skip(4);
            const auto prefix = externSheet > 0 ? externPrefix(names, uint16_t(externSheet - 1)) : std::nullopt;
            if (!prefix) return std::nullopt;
            otherSheet = *prefix;
            otherBook = &names.books[names.externSheets[externSheet - 1].book];
            break;
        }
        case kEndSheet:
            if (layout.version != Version::Biff3 && layout.version != Version::Biff4) return std::nullopt;
            if (!in.has(4)) return std::nullopt;
            in.skip(4);
            otherSheet.clear();
            otherBook = nullptr;
            break;
        case kName: {
            if (!in.has(layout.name())) return std::nullopt;
            const uint16_t index = in.u16();
            in.skip(layout.name() - 2);
            // Within tSheet a name of the other file, one of its EXTERNNAME records.
            const std::vector<std::u16string>& list = otherBook ? otherBook->names : names.definedNames;
            if (index == 0 || index > list.size()) return std::nullopt;
            stack.push_back(otherSheet + list[index - 1]);
            break;
        }
        case kNameX: {
            // BIFF8: the EXTERNSHEET entry, the name, 2 reserved; BIFF5: the EXTERNSHEET record
            // (1-based, negative for this workbook's), 8 reserved, the name, 12 reserved.
            if (layout.version < Version::Biff5 || !in.has(layout.biff8() ? 6 : 24)) return std::nullopt;
            int32_t sheet = int16_t(in.u16());
            if (!layout.biff8()) {
                sheet = std::abs(sheet) - 1;
                in.skip(8);
            }
            const uint16_t index = in.u16();
            in.skip(layout.biff8() ? 2 : 12);
            if (sheet < 0 || size_t(sheet) >= names.externSheets.size() || index == 0) return std::nullopt;
            const uint16_t bookIndex = names.externSheets[size_t(sheet)].book;
            if (bookIndex >= names.books.size()) return std::nullopt;
            const TokenNames::Book& book = names.books[bookIndex];
            if (book.kind == TokenNames::Book::Kind::Own) {
                if (index > names.definedNames.size()) return std::nullopt;
                stack.push_back(names.definedNames[index - 1]);
            } else {
                if (index > book.names.size()) return std::nullopt;
                const std::u16string& name = book.names[index - 1];
                stack.push_back(book.kind == TokenNames::Book::Kind::AddIn ? name : book.reference + u'!' + name);
            }
            break;
        }
        case kRef:
        case kRefN: {
            if (!in.has(layout.cell()) || (ptg == kRefN && !cell)) return std::nullopt;
            uint16_t row, column;
            readCorner(in, layout, ptg == kRefN, row, column);
            if (ptg == kRefN) resolveRelative(row, column, *cell);
            stack.push_back(otherSheet + addressText(row, column));
            break;
        }
        case kArea:
        case kAreaN: {
            if (!in.has(layout.area()) || (ptg == kAreaN && !cell)) return std::nullopt;
            uint16_t r1, r2, c1, c2;
            readArea(in, layout, ptg == kAreaN, r1, r2, c1, c2);
            if (ptg == kAreaN) {
                resolveRelative(r1, c1, *cell);
                resolveRelative(r2, c2, *cell);
            }
            stack.push_back(otherSheet + areaText(r1, r2, c1, c2));
            break;
        }
        case kRef3d:
        case kArea3d: {
            if (layout.version < Version::Biff5) return std::nullopt;
            if (!in.has(layout.sheetPart() + (ptg == kRef3d ? layout.cell() : layout.area()))) return std::nullopt;
            const auto prefix = readSheetPart(in, layout, names);
            std::u16string body;
            if (ptg == kRef3d) {
                uint16_t row, column;
                readCorner(in, layout, cell.has_value(), row, column);
                if (cell) resolveRelative(row, column, *cell);
                body = addressText(row, column);
            } else {
                uint16_t r1, r2, c1, c2;
                readArea(in, layout, cell.has_value(), r1, r2, c1, c2);
                if (cell) {
                    resolveRelative(r1, c1, *cell);
                    resolveRelative(r2, c2, *cell);
                }
                body = areaText(r1, r2, c1, c2);
            }
            stack.push_back(prefix ? *prefix + body : u"#REF!");
            break;
        }
        case kRefErr:
        case kAreaErr: {
            const size_t size = ptg == kRefErr ? layout.cell() : layout.area();
            if (!in.has(size)) return std::nullopt;
            in.skip(size);
            stack.push_back(u"#REF!");
            break;
        }
        case kRefErr3d:
        case kAreaErr3d: {
            if (layout.version < Version::Biff5) return std::nullopt;
            const size_t size = ptg == kRefErr3d ? layout.cell() : layout.area();
            if (!in.has(layout.sheetPart() + size)) return std::nullopt;
            const std::u16string prefix = readSheetPart(in, layout, names).value_or(u"");
            in.skip(size);
            stack.push_back(prefix + u"#REF!");
            break;
        }
        case kMemArea:
            if (!in.has(4 + layout.memSize())) return std::nullopt;
            in.skip(4 + layout.memSize());
            if (!more.skipAreas()) return std::nullopt;
            break;
        case kMemErr:
        case kMemNoMem:
        case kMemFunc: {
            // The expression the memory token stands for follows it and is read as usual.
            const size_t size = (ptg == kMemFunc ? 0 : 4) + layout.memSize();
            if (!in.has(size)) return std::nullopt;
            in.skip(size);
            break;
        }
        default: return std::nullopt;   // tExp and tTbl, which the reader follows; tokens of no worksheet formula
        }
    }
    if (stack.size() != 1) return std::nullopt;
    return u'=' + stack.back();
}

}  // namespace kes
