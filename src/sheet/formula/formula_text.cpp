#include <algorithm>
#include <charconv>
#include <vector>

#include "sheet/formula/cell_address.h"
#include "sheet/formula/error_words.h"
#include "sheet/formula/formula_parser.h"
#include "sheet/formula/name_chars.h"

namespace kes::formula {

namespace {

// How a text is made: display or file spelling, and references in A1 notation or in R1C1
// notation relative to a cell.
struct TextOptions {
    TextStyle style = TextStyle::Display;
    bool r1c1 = false;
    int32_t row = 0;
    int32_t column = 0;
};

std::u16string_view operatorText(Operator op) {
    switch (op) {
    case Operator::Negate: return u"-";
    case Operator::Plus: return u"+";
    case Operator::Percent: return u"%";
    case Operator::Single: return u"@";
    case Operator::Power: return u"^";
    case Operator::Multiply: return u"*";
    case Operator::Divide: return u"/";
    case Operator::Add: return u"+";
    case Operator::Subtract: return u"-";
    case Operator::Concat: return u"&";
    case Operator::Equal: return u"=";
    case Operator::NotEqual: return u"<>";
    case Operator::Less: return u"<";
    case Operator::LessEqual: return u"<=";
    case Operator::Greater: return u">";
    case Operator::GreaterEqual: return u">=";
    case Operator::Range: return u":";
    case Operator::Intersect: return u" ";
    case Operator::Union: return u",";
    }
    return u"";
}

void appendAscii(std::u16string& out, const char* begin, const char* end) {
    for (const char* c = begin; c != end; ++c) out += static_cast<char16_t>(*c);
}

// The shortest digits that read back as the same double, laid out as Excel writes numbers in
// formulas: plain from 1E-9 up to 1E+15, scientific beyond (1.5E+20, 1E-10).
void appendNumber(std::u16string& out, double value) {
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
    const char* text = buffer;
    if (*text == '-') {
        out += u'-';
        ++text;
    }
    const char* exponentMark = text;
    while (exponentMark != result.ptr && *exponentMark != 'e') ++exponentMark;
    char digits[24];
    size_t digitCount = 0;
    for (const char* c = text; c != exponentMark && digitCount < sizeof digits; ++c) {
        if (*c != '.') digits[digitCount++] = *c;
    }
    int exponent = 0;
    if (exponentMark != result.ptr) {
        const char* digit = exponentMark + 1;
        const bool negative = *digit == '-';
        if (*digit == '-' || *digit == '+') ++digit;
        for (; digit != result.ptr; ++digit) exponent = exponent * 10 + (*digit - '0');
        if (negative) exponent = -exponent;
    }
    if (value == 0) {
        out += u'0';
    } else if (exponent >= -9 && exponent < 15) {
        if (exponent < 0) {
            out += u"0.";
            out.append(static_cast<size_t>(-exponent - 1), u'0');
            appendAscii(out, digits, digits + digitCount);
        } else {
            const size_t integerDigits = static_cast<size_t>(exponent) + 1;
            for (size_t i = 0; i < integerDigits; ++i) out += i < digitCount ? static_cast<char16_t>(digits[i]) : u'0';
            if (digitCount > integerDigits) {
                out += u'.';
                appendAscii(out, digits + integerDigits, digits + digitCount);
            }
        }
    } else {
        out += static_cast<char16_t>(digits[0]);
        if (digitCount > 1) {
            out += u'.';
            appendAscii(out, digits + 1, digits + digitCount);
        }
        out += exponent < 0 ? u"E-" : u"E+";
        const int magnitude = exponent < 0 ? -exponent : exponent;
        char exponentDigits[8];
        const auto written = std::to_chars(exponentDigits, exponentDigits + sizeof exponentDigits, magnitude);
        appendAscii(out, exponentDigits, written.ptr);
    }
}

void appendQuoted(std::u16string& out, std::u16string_view text, char16_t quote) {
    out += quote;
    for (char16_t c : text) {
        out += c;
        if (c == quote) out += c;
    }
    out += quote;
}

// The workbook part of an external reference as it was read: "[1]", "[Book1.xlsx]",
// "C:\\Data\\[Book1.xlsx]".
std::u16string_view bookOf(const Expression& expression, const Node& node) {
    if (!(node.flags & kFlagExternal)) return {};
    return expression.text(node.kind == NodeKind::Name ? node.lastSheet : node.text);
}

void appendSheetPrefix(std::u16string& out, const Expression& expression, const Node& node) {
    const std::u16string_view book = bookOf(expression, node);
    if (node.sheet.empty()) {
        if (!book.empty()) out.append(book).append(u"!");
        return;
    }
    const std::u16string_view first = expression.text(node.sheet);
    // A name's lastSheet holds its workbook: a name is never taken from a range of sheets.
    const std::u16string_view last = node.kind == NodeKind::Name ? std::u16string_view() : expression.text(node.lastSheet);
    // [1] and [Book1.xlsx] stand bare; a workbook of other characters, or with a path, is quoted.
    const std::u16string_view inner =
        book.size() >= 2 && book.front() == u'[' && book.back() == u']' ? book.substr(1, book.size() - 2) : book;
    const bool plainBook = std::all_of(inner.begin(), inner.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; }) ||
                           scanNameChars(inner, 0) == inner.size();
    const bool bookNeedsQuotes = book.find_first_of(u" \\/:'") != std::u16string_view::npos ||
                                 (!book.empty() && (book.front() != u'[' || !plainBook));
    if (bookNeedsQuotes || sheetNameNeedsQuotes(first) || (!last.empty() && sheetNameNeedsQuotes(last))) {
        std::u16string names(book);
        names.append(first);
        if (!last.empty()) names.append(u":").append(last);
        appendQuoted(out, names, u'\'');
    } else {
        out += book;
        out += first;
        if (!last.empty()) out.append(u":").append(last);
    }
    out += u'!';
}

void appendOffset(std::u16string& out, char16_t axis, int32_t value, bool absolute, int32_t base) {
    out += axis;
    if (absolute) {
        appendNumber(out, double(value) + 1);
    } else if (value != base) {
        out += u'[';
        appendNumber(out, double(value) - double(base));
        out += u']';
    }
}

// R2C3, R[-1]C, R1C1:R2C2, C1:C3, R[1]: a reference in R1C1 notation from the cell of the options.
void appendR1C1(std::u16string& out, const Node& node, const TextOptions& options) {
    const auto cell = [&](const CellAddress& a) {
        appendOffset(out, u'R', a.row, a.rowAbsolute, options.row);
        appendOffset(out, u'C', a.column, a.columnAbsolute, options.column);
    };
    switch (node.shape) {
    case ReferenceShape::Cell: cell(node.first); break;
    case ReferenceShape::Area:
        cell(node.first);
        out += u':';
        cell(node.last);
        break;
    case ReferenceShape::Columns:
        appendOffset(out, u'C', node.first.column, node.first.columnAbsolute, options.column);
        if (!(node.first == node.last)) {
            out += u':';
            appendOffset(out, u'C', node.last.column, node.last.columnAbsolute, options.column);
        }
        break;
    case ReferenceShape::Rows:
        appendOffset(out, u'R', node.first.row, node.first.rowAbsolute, options.row);
        if (!(node.first == node.last)) {
            out += u':';
            appendOffset(out, u'R', node.last.row, node.last.rowAbsolute, options.row);
        }
        break;
    case ReferenceShape::Invalid: out += errorWordText(ErrorCode::Ref); break;
    }
}

void appendReference(std::u16string& out, const Expression& expression, const Node& node, const TextOptions& options) {
    const TextStyle style = options.style;
    const bool spillInFile = (node.flags & kFlagSpill) && style == TextStyle::File;
    if (spillInFile) out += u"_xlfn.ANCHORARRAY(";
    appendSheetPrefix(out, expression, node);
    if (options.r1c1) {
        appendR1C1(out, node, options);
        if (spillInFile) out += u')';
        return;
    }
    switch (node.shape) {
    case ReferenceShape::Cell: appendCellAddress(out, node.first); break;
    case ReferenceShape::Area:
        appendCellAddress(out, node.first);
        out += u':';
        appendCellAddress(out, node.last);
        break;
    case ReferenceShape::Columns:
        appendColumn(out, node.first);
        out += u':';
        appendColumn(out, node.last);
        break;
    case ReferenceShape::Rows:
        appendRow(out, node.first);
        out += u':';
        appendRow(out, node.last);
        break;
    case ReferenceShape::Invalid: out += errorWordText(ErrorCode::Ref); break;
    }
    if (spillInFile) out += u')';
    else if (node.flags & kFlagSpill) out += u'#';
}

// A column name inside the brackets of a structured reference, its special characters
// escaped with ': also a leading @, which would read as "this row".
void appendTableColumn(std::u16string& out, std::u16string_view column) {
    out += u'[';
    for (size_t i = 0; i < column.size(); ++i) {
        const char16_t c = column[i];
        if (c == u'[' || c == u']' || c == u'#' || c == u'\'' || (c == u'@' && i == 0)) out += u'\'';
        out += c;
    }
    out += u']';
}

void appendTable(std::u16string& out, const Expression& expression, const Node& node, TextStyle style) {
    out += expression.text(node.text);
    const std::u16string_view first = expression.text(node.sheet), last = expression.text(node.lastSheet);
    static constexpr struct {
        TableItem item;
        std::u16string_view word;
    } kItems[] = {{kTableAll, u"#All"},         {kTableData, u"#Data"},          {kTableHeaders, u"#Headers"},
                  {kTableTotals, u"#Totals"}, {kTableThisRow, u"#This Row"}};
    if (style == TextStyle::Display && node.count == kTableThisRow) {
        out += u"[@";
        if (!first.empty() && last.empty() &&
            first.find_first_of(u" []#'@") == std::u16string_view::npos) {
            out += first;
        } else if (!first.empty()) {
            appendTableColumn(out, first);
            if (!last.empty()) {
                out += u':';
                appendTableColumn(out, last);
            }
        }
        out += u']';
        return;
    }
    std::vector<std::u16string> parts;
    for (const auto& [item, word] : kItems) {
        if (node.count & item) parts.emplace_back(std::u16string(u"[").append(word).append(u"]"));
    }
    if (!first.empty()) {
        std::u16string columns;
        appendTableColumn(columns, first);
        if (!last.empty()) {
            columns += u':';
            appendTableColumn(columns, last);
        }
        parts.push_back(std::move(columns));
    }
    if (parts.size() == 1 && (last.empty() || node.count != 0)) {
        // One part goes straight into the brackets: Table1[#All], Table1[Qty].
        if (node.count == 0 && last.empty()) {
            out += parts[0];
        } else {
            out += u'[';
            out.append(std::u16string_view(parts[0]).substr(1, parts[0].size() - 2));
            out += u']';
        }
        return;
    }
    out += u'[';
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) out += u',';
        out += parts[i];
    }
    out += u']';
}

void appendLeaf(std::u16string& out, const Expression& expression, const Node& node, const TextOptions& options) {
    const TextStyle style = options.style;
    switch (node.kind) {
    case NodeKind::Number: appendNumber(out, node.number); break;
    case NodeKind::String: appendQuoted(out, expression.text(node.text), u'"'); break;
    case NodeKind::Boolean: out += node.boolean ? u"TRUE" : u"FALSE"; break;
    case NodeKind::Error: out += errorWordText(node.error); break;
    case NodeKind::Reference: appendReference(out, expression, node, options); break;
    case NodeKind::Table: appendTable(out, expression, node, style); break;
    case NodeKind::Name:
        appendSheetPrefix(out, expression, node);
        if ((node.flags & kFlagLambdaParameter) && style == TextStyle::File) {
            out += (node.flags & kFlagOptionalParameter) ? u"_xlop." : u"_xlpm.";
        }
        if ((node.flags & kFlagFunctionName) && style == TextStyle::File) out += u"_xleta.";
        out += expression.text(node.text);
        break;
    default: break;
    }
}

// Joins the last `count` pieces of the stack, in order, with the separator of their place.
std::u16string joinTop(std::vector<std::u16string>& stack, size_t count, const Node& node) {
    std::u16string joined;
    const size_t first = stack.size() - count;
    for (size_t i = first; i < stack.size(); ++i) {
        if (i > first) {
            const bool rowEnds = node.kind == NodeKind::Array && (i - first) % node.count == 0;
            joined += rowEnds ? u';' : u',';
        }
        joined += stack[i];
    }
    stack.resize(first);
    return joined;
}

// A range written as "left:right" must not read back as something else: after a defined name,
// "Name:B" would be whole columns; after any word, "E3:Sheet2!E28" a range of sheets.
bool needsSpaceBeforeColon(std::u16string_view left, bool leftIsName, std::u16string_view right) {
    if (right.empty()) return false;
    if (leftIsName && (startsName(right, 0) || right[0] == u'$' || isDigit(right[0]))) return true;
    const size_t word = scanNameChars(right, 0);
    if (word == 0 || word >= right.size() || right[word] != u'!') return false;
    // The left piece ends with a bare word, not one that follows a sheet ("Sheet1!A1") or a $.
    size_t start = left.size();
    const auto wordChar = [](char16_t c) {
        return isAsciiLetter(c) || isDigit(c) || c == u'_' || c == u'.' || isWideLetter(c) || (c >= 0xDC00 && c <= 0xDFFF);
    };
    while (start > 0 && wordChar(left[start - 1])) --start;
    return start < left.size() && (start == 0 || (left[start - 1] != u'!' && left[start - 1] != u'$'));
}

}  // namespace

namespace {

// The nodes are in postfix order, so the text is built with a stack of pieces rather than by
// recursion: a formula nested thousands of operators deep costs no call stack.
std::u16string buildText(const Expression& expression, const TextOptions& options) {
    const TextStyle style = options.style;
    std::vector<std::u16string> stack;
    // Whether each piece ends with a defined name. "Name:" followed by a word would read back as
    // whole columns or a range of sheets ("BC:D", "A:Sheet2!B1"), so such a range keeps a space
    // before its colon, as it must have had to parse as it did.
    std::vector<bool> endsWithName;
    for (const Node& node : expression.nodes()) {
        std::u16string piece;
        bool nameEnds = node.kind == NodeKind::Name;
        switch (node.kind) {
        case NodeKind::Unary: {
            nameEnds = node.op != Operator::Percent && endsWithName.back();
            std::u16string operand = std::move(stack.back());
            stack.pop_back();
            if (node.op == Operator::Percent) {
                piece = std::move(operand);
                piece += u'%';
            } else if (node.op == Operator::Single && style == TextStyle::File) {
                piece.append(u"_xlfn.SINGLE(").append(operand).append(u")");
            } else {
                piece.append(operatorText(node.op)).append(operand);
            }
            break;
        }
        case NodeKind::Binary: {
            const bool leftNameEnds = endsWithName[endsWithName.size() - 2];
            nameEnds = endsWithName.back();
            std::u16string right = std::move(stack.back());
            stack.pop_back();
            piece = std::move(stack.back());
            stack.pop_back();
            if (node.op == Operator::Range && needsSpaceBeforeColon(piece, leftNameEnds, right)) piece += u' ';
            piece.append(operatorText(node.op)).append(right);
            break;
        }
        case NodeKind::Paren:
            piece.append(u"(").append(stack.back()).append(u")");
            stack.pop_back();
            break;
        case NodeKind::Function:
            if (style == TextStyle::File && (node.flags & kFlagFilePrefix)) piece += u"_xlfn.";
            if (style == TextStyle::File && (node.flags & kFlagWorksheetPrefix)) piece += u"_xlws.";
            if (style == TextStyle::File && (node.flags & kFlagLambdaParameter)) piece += u"_xlpm.";
            piece.append(expression.text(node.text)).append(u"(").append(joinTop(stack, node.count, node)).append(u")");
            break;
        case NodeKind::Call: {
            std::u16string arguments = joinTop(stack, node.count, node);
            piece = std::move(stack.back());
            stack.pop_back();
            piece.append(u"(").append(arguments).append(u")");
            break;
        }
        case NodeKind::Array:
            piece.append(u"{").append(joinTop(stack, static_cast<size_t>(node.count) * node.rows, node)).append(u"}");
            break;
        default: appendLeaf(piece, expression, node, options); break;
        }
        stack.push_back(std::move(piece));
        endsWithName.resize(stack.size() - 1);
        endsWithName.push_back(nameEnds);
    }
    std::u16string text = u"=";
    if (!stack.empty()) text += stack.back();
    return text;
}

}  // namespace

std::u16string formulaText(const Expression& expression, TextStyle style) { return buildText(expression, {style}); }

std::u16string formulaTextR1C1(const Expression& expression, int32_t row, int32_t column) {
    return buildText(expression, {TextStyle::File, true, row, column});
}

}  // namespace kes::formula
