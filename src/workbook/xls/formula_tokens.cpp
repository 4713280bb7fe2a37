#include "workbook/xls/formula_tokens.h"

#include <charconv>
#include <cmath>
#include <cstring>

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
    kErr = 0x1C,
    kBool,
    kInt,
    kNum,
    kFunc = 0x21,
    kFuncVar = 0x22,
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
    kRef3d = 0x3A,
    kArea3d = 0x3B,
    kRefErr3d = 0x3C,
    kAreaErr3d = 0x3D,
};
constexpr uint8_t kReferenceClass = 0x00, kValueClass = 0x20;   // added to the 0x2X ids
constexpr int32_t kLastRow = 65535, kLastColumn = 255;
constexpr size_t kMaxTokens = 1800;   // Excel's limit for a cell formula

struct Function {
    uint16_t index;
    std::u16string_view name;
    uint8_t minArgs, maxArgs;   // equal for the functions of a fixed count, which take kFunc
    bool returnsReference;
    // The grid computes it. A formula read with any other function would show #NAME? where
    // Excel showed a value, so such a formula is read as its result instead.
    bool computed;
};

// Excel's function numbers (the built-in function table of BIFF8).
constexpr Function kFunctions[] = {
    {0, u"COUNT", 0, 30, false, true}, {1, u"IF", 2, 3, false, true}, {2, u"ISNA", 1, 1, false, false},
    {3, u"ISERROR", 1, 1, false, true}, {4, u"SUM", 1, 30, false, true}, {5, u"AVERAGE", 1, 30, false, true},
    {6, u"MIN", 1, 30, false, true}, {7, u"MAX", 1, 30, false, true}, {8, u"ROW", 0, 1, false, true},
    {9, u"COLUMN", 0, 1, false, true}, {10, u"NA", 0, 0, false, true}, {12, u"STDEV", 1, 30, false, false},
    {13, u"DOLLAR", 1, 2, false, false}, {14, u"FIXED", 1, 3, false, false}, {15, u"SIN", 1, 1, false, false},
    {16, u"COS", 1, 1, false, false}, {17, u"TAN", 1, 1, false, false}, {19, u"PI", 0, 0, false, false},
    {20, u"SQRT", 1, 1, false, false}, {21, u"EXP", 1, 1, false, false}, {22, u"LN", 1, 1, false, false},
    {23, u"LOG10", 1, 1, false, false}, {24, u"ABS", 1, 1, false, true}, {25, u"INT", 1, 1, false, true},
    {26, u"SIGN", 1, 1, false, false}, {27, u"ROUND", 2, 2, false, true}, {28, u"LOOKUP", 2, 3, false, false},
    {29, u"INDEX", 2, 4, true, true}, {30, u"REPT", 2, 2, false, true}, {31, u"MID", 3, 3, false, true},
    {32, u"LEN", 1, 1, false, true}, {33, u"VALUE", 1, 1, false, true}, {36, u"AND", 1, 30, false, true},
    {37, u"OR", 1, 30, false, true}, {38, u"NOT", 1, 1, false, true}, {39, u"MOD", 2, 2, false, true},
    {46, u"VAR", 1, 30, false, false}, {48, u"TEXT", 2, 2, false, true}, {63, u"RAND", 0, 0, false, false},
    {64, u"MATCH", 2, 3, false, true}, {65, u"DATE", 3, 3, false, true}, {66, u"TIME", 3, 3, false, false},
    {67, u"DAY", 1, 1, false, true}, {68, u"MONTH", 1, 1, false, true}, {69, u"YEAR", 1, 1, false, true},
    {70, u"WEEKDAY", 1, 2, false, true}, {71, u"HOUR", 1, 1, false, true}, {72, u"MINUTE", 1, 1, false, true},
    {73, u"SECOND", 1, 1, false, true}, {74, u"NOW", 0, 0, false, true}, {76, u"ROWS", 1, 1, false, false},
    {77, u"COLUMNS", 1, 1, false, false}, {78, u"OFFSET", 3, 5, true, false},
    {82, u"SEARCH", 2, 3, false, true}, {86, u"TYPE", 1, 1, false, false},
    {100, u"CHOOSE", 2, 30, false, true}, {101, u"HLOOKUP", 3, 4, false, true},
    {102, u"VLOOKUP", 3, 4, false, true}, {105, u"ISREF", 1, 1, false, false},
    {109, u"LOG", 1, 2, false, false}, {111, u"CHAR", 1, 1, false, false}, {112, u"LOWER", 1, 1, false, true},
    {113, u"UPPER", 1, 1, false, true}, {114, u"PROPER", 1, 1, false, true},
    {115, u"LEFT", 1, 2, false, true}, {116, u"RIGHT", 1, 2, false, true},
    {117, u"EXACT", 2, 2, false, false}, {118, u"TRIM", 1, 1, false, true},
    {119, u"REPLACE", 4, 4, false, true}, {120, u"SUBSTITUTE", 3, 4, false, true},
    {121, u"CODE", 1, 1, false, false}, {124, u"FIND", 2, 3, false, true},
    {126, u"ISERR", 1, 1, false, false}, {127, u"ISTEXT", 1, 1, false, true},
    {128, u"ISNUMBER", 1, 1, false, true}, {129, u"ISBLANK", 1, 1, false, true},
    {130, u"T", 1, 1, false, false}, {131, u"N", 1, 1, false, false}, {140, u"DATEVALUE", 1, 1, false, false},
    {141, u"TIMEVALUE", 1, 1, false, false}, {148, u"INDIRECT", 1, 2, true, false},
    {162, u"CLEAN", 1, 1, false, false}, {169, u"COUNTA", 1, 30, false, true},
    {183, u"PRODUCT", 1, 30, false, false}, {184, u"FACT", 1, 1, false, false},
    {190, u"ISNONTEXT", 1, 1, false, false}, {197, u"TRUNC", 1, 2, false, false},
    {198, u"ISLOGICAL", 1, 1, false, false}, {212, u"ROUNDUP", 2, 2, false, true},
    {213, u"ROUNDDOWN", 2, 2, false, true}, {216, u"RANK", 2, 3, false, false},
    {221, u"TODAY", 0, 0, false, true}, {227, u"MEDIAN", 1, 30, false, false},
    {228, u"SUMPRODUCT", 1, 30, false, false}, {261, u"ERROR.TYPE", 1, 1, false, false},
    {276, u"COMBIN", 2, 2, false, false}, {279, u"EVEN", 1, 1, false, false},
    {285, u"FLOOR", 2, 2, false, false}, {288, u"CEILING", 2, 2, false, false},
    {298, u"ODD", 1, 1, false, false}, {336, u"CONCATENATE", 1, 30, false, true},
    {337, u"POWER", 2, 2, false, false}, {342, u"RADIANS", 1, 1, false, false},
    {343, u"DEGREES", 1, 1, false, false}, {344, u"SUBTOTAL", 2, 30, false, false},
    {345, u"SUMIF", 2, 3, false, true}, {346, u"COUNTIF", 2, 2, false, true},
    {347, u"COUNTBLANK", 1, 1, false, false}, {351, u"DATEDIF", 3, 3, false, true},
};

const Function* functionNamed(std::u16string_view name) {
    for (const Function& f : kFunctions) {
        if (f.name.size() != name.size()) continue;
        size_t i = 0;
        while (i < name.size() && formula::asciiUpper(name[i]) == f.name[i]) ++i;
        if (i == name.size()) return &f;
    }
    return nullptr;
}

const Function* functionNumbered(uint16_t index) {
    for (const Function& f : kFunctions) {
        if (f.index == index) return &f;
    }
    return nullptr;
}

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

std::u16string sheetPrefix(std::u16string_view name) {
    if (!formula::sheetNameNeedsQuotes(name)) return std::u16string(name) + u'!';
    std::u16string out = u"'";
    for (char16_t c : name) {
        out += c;
        if (c == u'\'') out += c;
    }
    return out + u"'!";
}

std::u16string numberText(double value) {
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
            const Function* f = functionNamed(expression.text(n.text));
            if (!f || n.count < f->minArgs || n.count > f->maxArgs) return std::nullopt;
            const uint8_t functionClass = argument[i] && f->returnsReference ? kReferenceClass : kValueClass;
            if (f->minArgs == f->maxArgs) {
                t.u8(uint8_t(kFunc + functionClass));
            } else {
                t.u8(uint8_t(kFuncVar + functionClass));
                t.u8(uint8_t(n.count));
            }
            t.u16(f->index);
            break;
        }
        case NodeKind::Unary:
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

std::optional<std::u16string> formulaFromTokens(std::string_view tokens,
                                                const std::vector<std::u16string>& externSheets,
                                                std::optional<TokenCell> cell) {
    TokenReader in(tokens);
    std::vector<std::u16string> stack;
    const auto pop = [&](std::u16string& out) {
        if (stack.empty()) return false;
        out = std::move(stack.back());
        stack.pop_back();
        return true;
    };
    const auto sheetName = [&](uint16_t index) -> const std::u16string* {
        return index < externSheets.size() && !externSheets[index].empty() ? &externSheets[index] : nullptr;
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
            if (!in.has(2)) return std::nullopt;
            const uint8_t count = in.u8(), flags = in.u8();
            if (!in.has(size_t(count) * ((flags & 1) ? 2 : 1))) return std::nullopt;
            std::u16string text = u"\"";
            for (uint8_t i = 0; i < count; ++i) {
                const char16_t c = (flags & 1) ? char16_t(in.u16()) : char16_t(in.u8());
                text += c;
                if (c == u'"') text += c;
            }
            stack.push_back(text + u'"');
            break;
        }
        case kAttr: {
            if (!in.has(3)) return std::nullopt;
            const uint8_t flags = in.u8();
            const uint16_t data = in.u16();
            if (flags & 0x04) {   // CHOOSE's jump table
                if (!in.has((size_t(data) + 1) * 2)) return std::nullopt;
                in.skip((size_t(data) + 1) * 2);
            }
            if (flags & 0x10) {   // SUM of one argument
                if (!pop(a)) return std::nullopt;
                stack.push_back(u"SUM(" + a + u')');
            }
            break;   // the others (volatile, IF and skip jumps, spaces) only speed up or lay out
        }
        case kErr: {
            if (!in.has(1)) return std::nullopt;
            const uint8_t code = in.u8();
            std::u16string word = u"#N/A";
            for (const auto& e : kErrors) {
                if (e.byte == code) word = formula::errorWordText(e.code);
            }
            stack.push_back(word);
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
        case kFunc:
        case kFuncVar: {
            if (!in.has(ptg == kFunc ? 2 : 3)) return std::nullopt;
            const uint8_t given = ptg == kFuncVar ? uint8_t(in.u8() & 0x7F) : 0;
            const uint16_t index = in.u16();
            const Function* f = functionNumbered(index);
            if (!f || !f->computed)
                return std::nullopt;   // an add-in, a macro function or one the grid lacks
            const size_t count = ptg == kFunc ? f->minArgs : given;
            if (count > stack.size()) return std::nullopt;
            std::u16string call = std::u16string(f->name) + u'(';
            for (size_t k = stack.size() - count; k < stack.size(); ++k) {
                if (k > stack.size() - count) call += u',';
                call += stack[k];
            }
            stack.resize(stack.size() - count);
            stack.push_back(call + u')');
            break;
        }
        case kRef: {
            if (!in.has(4)) return std::nullopt;
            const uint16_t row = in.u16();
            stack.push_back(addressText(row, in.u16()));
            break;
        }
        case kArea: {
            if (!in.has(8)) return std::nullopt;
            const uint16_t r1 = in.u16(), r2 = in.u16(), c1 = in.u16();
            stack.push_back(areaText(r1, r2, c1, in.u16()));
            break;
        }
        case kRefN: {
            if (!cell || !in.has(4)) return std::nullopt;
            uint16_t row = in.u16(), column = in.u16();
            resolveRelative(row, column, *cell);
            stack.push_back(addressText(row, column));
            break;
        }
        case kAreaN: {
            if (!cell || !in.has(8)) return std::nullopt;
            uint16_t r1 = in.u16(), r2 = in.u16(), c1 = in.u16(), c2 = in.u16();
            resolveRelative(r1, c1, *cell);
            resolveRelative(r2, c2, *cell);
            stack.push_back(areaText(r1, r2, c1, c2));
            break;
        }
        case kRef3d:
        case kArea3d: {
            if (!in.has(ptg == kRef3d ? 6 : 10)) return std::nullopt;
            const std::u16string* sheet = sheetName(in.u16());
            if (!sheet) return std::nullopt;
            if (ptg == kRef3d) {
                const uint16_t row = in.u16();
                stack.push_back(sheetPrefix(*sheet) + addressText(row, in.u16()));
            } else {
                const uint16_t r1 = in.u16(), r2 = in.u16(), c1 = in.u16();
                stack.push_back(sheetPrefix(*sheet) + areaText(r1, r2, c1, in.u16()));
            }
            break;
        }
        case kRefErr:
        case kAreaErr:
        case kRefErr3d:
        case kAreaErr3d: {
            const size_t size = ptg == kRefErr ? 4 : ptg == kAreaErr ? 8 : ptg == kRefErr3d ? 6 : 10;
            if (!in.has(size)) return std::nullopt;
            in.skip(size);
            stack.push_back(u"#REF!");
            break;
        }
        case kMemArea:
        case kMemErr:
        case kMemNoMem:
        case kMemFunc: {
            // The expression the memory token stands for follows it and is read as usual.
            const size_t size = ptg == kMemFunc ? 2 : 6;
            if (!in.has(size)) return std::nullopt;
            in.skip(size);
            break;
        }
        default: return std::nullopt;   // tExp (the reader follows it), arrays, names, array constants...
        }
    }
    if (stack.size() != 1) return std::nullopt;
    return u'=' + stack.back();
}

}  // namespace kes
