#include "sheet/formula/formula_parser.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <system_error>

#include "sheet/formula/cell_address.h"
#include "sheet/formula/error_words.h"
#include "sheet/formula/name_chars.h"

namespace kes::formula {

namespace {

// Excel's own limits: Excel refuses such formulas too, and the nesting limit bounds the
// parser's recursion whatever the text.
constexpr int kMaxNesting = 64;
constexpr uint32_t kMaxArguments = 255;
constexpr size_t kMaxTextLength = 255;
constexpr size_t kMaxSheetNameLength = 31;

// Binary operators from the loosest to the tightest; all of them group from the left, ^ too.
enum BinaryLevel { kComparison, kConcatenation, kAdditive, kMultiplicative, kPower, kBinaryLevels };

bool isForbiddenInSheetName(char16_t c) {
    return c == u'\\' || c == u'/' || c == u'?' || c == u'*' || c == u'[' || c == u']';
}

}  // namespace

// A recursive-descent parser writing the nodes straight into the expression in postfix order.
// Every parse step returns false after recording the first error; nothing throws.
class Parser {
public:
    Parser(std::u16string_view text, Expression& expression)
        : text_(text), nodes_(expression.nodes_), strings_(expression.strings_) {}

    bool parse();
    const ParseError& error() const { return error_; }

private:
    bool atEnd() const { return pos_ >= text_.size(); }
    char16_t at(size_t offset) const { return offset < text_.size() ? text_[offset] : u'\0'; }
    char16_t current() const { return at(pos_); }
    void skipSpaces() {
        while (!atEnd() && isFormulaSpace(text_[pos_])) ++pos_;
    }
    char16_t peek() {
        skipSpaces();
        return current();
    }
    bool fail(size_t offset, std::string message);
    bool failUnexpected();
    bool enterNesting(size_t offset);

    uint32_t nodeCount() const { return static_cast<uint32_t>(nodes_.size()); }
    Node& pushNode(NodeKind kind, uint32_t subtreeStart);
    Node& pushLeaf(NodeKind kind) { return pushNode(kind, nodeCount()); }
    Node& pushReference(ReferenceShape shape, TextSpan sheet, TextSpan lastSheet);
    TextSpan storeText(std::u16string_view text);
    TextSpan storeUpperCase(std::u16string_view text);

    bool parseExpression() { return parseBinary(kComparison); }
    bool parseBinary(int level);
    size_t binaryOperatorAt(int level, Operator& op);
    bool parsePercent();
    bool parseUnary();
    bool parseUnion();
    bool parseIntersection();
    bool parseRange();
    bool foldRange(uint32_t leftStart, uint32_t rightStart);
    bool yieldsReference(uint32_t index) const;

    bool parsePrimary();
    bool parseParen();
    bool parseString();
    bool parseNumber();
    bool parseErrorLiteral();
    bool parseArray();
    bool parseArrayValue(size_t open);
    bool parseWord();
    bool parseFunction(size_t nameBegin, size_t nameEnd);
    bool parseArguments(size_t open, uint32_t& count);
    bool parseCalls(uint32_t start);
    void foldFileForms(uint32_t start);
    bool parseUnquotedSheets(size_t firstBegin, size_t firstEnd, size_t lastBegin, size_t lastEnd, TextSpan book);
    bool parseQuotedSheets();
    bool parseBracket();
    bool parseExternalBook(TextSpan& book);
    bool parseTable(TextSpan table);
    bool parseTableColumns(TextSpan& first, TextSpan& last);
    bool parseTableColumn(TextSpan& column);
    bool parseTableItem(uint32_t& items);
    bool parseReferenceBody(TextSpan sheet, TextSpan lastSheet, TextSpan book = {});
    bool tryWholeRows(TextSpan sheet, TextSpan lastSheet);
    bool tryWholeColumns(TextSpan sheet, TextSpan lastSheet);
    bool endsReference(size_t offset) const;

    std::u16string_view text_;
    std::vector<Node>& nodes_;
    std::u16string& strings_;
    size_t pos_ = 0;
    int nesting_ = 0;
    bool unionAllowed_ = false;   // inside parentheses of our own, where "," is not an argument separator
    std::string numberChars_;
    ParseError error_;
    bool failed_ = false;
};

bool Parser::fail(size_t offset, std::string message) {
    if (!failed_) {
        failed_ = true;
        error_.offset = offset;
        error_.message = std::move(message);
    }
    return false;
}

bool Parser::failUnexpected() {
    if (atEnd()) return fail(pos_, "the formula ends where an operand should follow");
    const char16_t c = text_[pos_];
    if (c > u' ' && c < 0x7F) return fail(pos_, std::string("unexpected '") + static_cast<char>(c) + "'");
    char message[40];
    std::snprintf(message, sizeof message, "unexpected character U+%04X", static_cast<unsigned>(c));
    return fail(pos_, message);
}

bool Parser::enterNesting(size_t offset) {
    if (++nesting_ > kMaxNesting) return fail(offset, "more than 64 levels of nested parentheses and functions");
    return true;
}

Node& Parser::pushNode(NodeKind kind, uint32_t subtreeStart) {
    Node& node = nodes_.emplace_back();
    node.kind = kind;
    node.subtreeStart = subtreeStart;
    return node;
}

Node& Parser::pushReference(ReferenceShape shape, TextSpan sheet, TextSpan lastSheet) {
    Node& node = pushLeaf(NodeKind::Reference);
    node.shape = shape;
    node.sheet = sheet;
    node.lastSheet = lastSheet;
    return node;
}

TextSpan Parser::storeText(std::u16string_view text) {
    const TextSpan span{static_cast<uint32_t>(strings_.size()), static_cast<uint32_t>(text.size())};
    strings_.append(text);
    return span;
}

TextSpan Parser::storeUpperCase(std::u16string_view text) {
    const TextSpan span{static_cast<uint32_t>(strings_.size()), static_cast<uint32_t>(text.size())};
    for (char16_t c : text) strings_ += asciiUpper(c);
    return span;
}

bool Parser::parse() {
    if (text_.empty() || text_[0] != u'=') return fail(0, "a formula starts with =");
    if (text_.size() > kMaxFormulaLength) return fail(kMaxFormulaLength, "a formula holds at most 8192 characters");
    // Every node and every stored text comes from at least one character of the formula, so
    // these reservations are never outgrown for the strings and rarely for the nodes of the
    // short formulas that most cells hold; longer ones grow as they go.
    nodes_.reserve(std::min<size_t>(text_.size() / 2 + 4, 16));
    strings_.reserve(text_.size());
    pos_ = 1;
    if (!parseExpression()) return false;
    skipSpaces();
    return atEnd() || failUnexpected();
}

bool Parser::parseBinary(int level) {
    if (level == kBinaryLevels) return parsePercent();
    const uint32_t start = nodeCount();
    if (!parseBinary(level + 1)) return false;
    Operator op{};
    while (size_t length = binaryOperatorAt(level, op)) {
        pos_ += length;
        if (!parseBinary(level + 1)) return false;
        pushNode(NodeKind::Binary, start).op = op;
    }
    return true;
}

size_t Parser::binaryOperatorAt(int level, Operator& op) {
    const char16_t c = peek();
    const char16_t next = at(pos_ + 1);
    if (atEnd()) return 0;
    switch (level) {
    case kComparison:
        if (c == u'<' && next == u'>') { op = Operator::NotEqual; return 2; }
        if (c == u'<' && next == u'=') { op = Operator::LessEqual; return 2; }
        if (c == u'>' && next == u'=') { op = Operator::GreaterEqual; return 2; }
        if (c == u'<') { op = Operator::Less; return 1; }
        if (c == u'>') { op = Operator::Greater; return 1; }
        if (c == u'=') { op = Operator::Equal; return 1; }
        return 0;
    case kConcatenation:
        if (c == u'&') { op = Operator::Concat; return 1; }
        return 0;
    case kAdditive:
        if (c == u'+') { op = Operator::Add; return 1; }
        if (c == u'-') { op = Operator::Subtract; return 1; }
        return 0;
    case kMultiplicative:
        if (c == u'*') { op = Operator::Multiply; return 1; }
        if (c == u'/') { op = Operator::Divide; return 1; }
        return 0;
    case kPower:
        if (c == u'^') { op = Operator::Power; return 1; }
        return 0;
    default:
        return 0;
    }
}

bool Parser::parsePercent() {
    const uint32_t start = nodeCount();
    if (!parseUnary()) return false;
    while (peek() == u'%') {
        ++pos_;
        pushNode(NodeKind::Unary, start).op = Operator::Percent;
    }
    return true;
}

// Signs bind tighter than ^ and %, so that -2^2 is 4 as in Excel. They are read in a loop, not
// by recursion, and applied from the innermost (the one nearest the operand) outwards.
bool Parser::parseUnary() {
    const uint32_t start = nodeCount();
    skipSpaces();
    const size_t signsBegin = pos_;
    size_t signsEnd = pos_;
    int singles = 0;
    for (char16_t c = peek(); !atEnd() && (c == u'-' || c == u'+' || c == u'@'); c = peek()) {
        singles += c == u'@';
        signsEnd = ++pos_;
    }
    // Files write each @ as a function, _xlfn.SINGLE(...): it nests as deep as one.
    nesting_ += singles;
    if (nesting_ > kMaxNesting) return fail(signsBegin, "more than 64 levels of nested parentheses and functions");
    if (!parseUnion()) return false;
    nesting_ -= singles;
    for (size_t i = signsEnd; i > signsBegin; --i) {
        const char16_t c = text_[i - 1];
        if (c == u'-' || c == u'+') pushNode(NodeKind::Unary, start).op = c == u'-' ? Operator::Negate : Operator::Plus;
        if (c == u'@') pushNode(NodeKind::Unary, start).op = Operator::Single;
    }
    return true;
}

bool Parser::parseUnion() {
    const uint32_t start = nodeCount();
    if (!parseIntersection()) return false;
    while (unionAllowed_ && peek() == u',') {
        if (!yieldsReference(nodeCount() - 1)) return fail(pos_, "a union (,) joins references only");
        ++pos_;
        skipSpaces();
        const size_t rightOffset = pos_;
        if (!parseIntersection()) return false;
        if (!yieldsReference(nodeCount() - 1)) return fail(rightOffset, "a union (,) joins references only");
        pushNode(NodeKind::Binary, start).op = Operator::Union;
    }
    return true;
}

// A space between two references is Excel's intersection operator; anywhere else spaces are
// only layout. The left operand decides: after a value such as 1, a following operand is an
// error that the caller reports.
bool Parser::parseIntersection() {
    const uint32_t start = nodeCount();
    if (!parseRange()) return false;
    for (;;) {
        skipSpaces();
        if (atEnd() || !isFormulaSpace(text_[pos_ - 1])) return true;
        const char16_t c = text_[pos_];
        const bool operandFollows = c == u'(' || c == u'$' || c == u'\'' || c == u'"' || c == u'{' || c == u'#' ||
                                    c == u'.' || isDigit(c) || startsName(text_, pos_);
        if (!operandFollows || !yieldsReference(nodeCount() - 1)) return true;
        const size_t rightOffset = pos_;
        if (!parseRange()) return false;
        if (!yieldsReference(nodeCount() - 1)) return fail(rightOffset, "an intersection (space) joins references only");
        pushNode(NodeKind::Binary, start).op = Operator::Intersect;
    }
}

bool Parser::parseRange() {
    const uint32_t start = nodeCount();
    if (!parsePrimary()) return false;
    while (peek() == u':') {
        if (!yieldsReference(nodeCount() - 1)) return fail(pos_, "a range (:) joins references only");
        ++pos_;
        skipSpaces();
        const size_t rightOffset = pos_;
        const uint32_t rightStart = nodeCount();
        if (!parsePrimary()) return false;
        if (!yieldsReference(nodeCount() - 1)) return fail(rightOffset, "a range (:) joins references only");
        if (!foldRange(start, rightStart)) pushNode(NodeKind::Binary, start).op = Operator::Range;
    }
    return true;
}

// A1:B2 becomes one area node (and A :C whole columns) whether or not spaces surround the
// colon, so that the text written back parses to the same tree.
bool Parser::foldRange(uint32_t leftStart, uint32_t rightStart) {
    if (rightStart != leftStart + 1 || nodeCount() != rightStart + 1) return false;
    Node& left = nodes_[leftStart];
    const Node& right = nodes_[rightStart];
    if (!right.sheet.empty()) return false;
    if (left.kind == NodeKind::Reference && right.kind == NodeKind::Reference && left.shape == ReferenceShape::Cell &&
        right.shape == ReferenceShape::Cell) {
        left.shape = ReferenceShape::Area;
        left.last = right.first;
    } else if (left.kind == NodeKind::Name && right.kind == NodeKind::Name && !(right.flags & kFlagExternal)) {
        const auto firstColumn = columnIndex(std::u16string_view(strings_).substr(left.text.offset, left.text.length));
        const auto lastColumn = columnIndex(std::u16string_view(strings_).substr(right.text.offset, right.text.length));
        if (!firstColumn || !lastColumn) return false;
        // Another workbook's name keeps its workbook in lastSheet; a reference keeps it in text.
        const bool external = left.flags & kFlagExternal;
        left.kind = NodeKind::Reference;
        left.shape = ReferenceShape::Columns;
        left.flags &= kFlagExternal;
        left.text = external ? left.lastSheet : TextSpan{};
        left.lastSheet = {};
        left.first = CellAddress{0, *firstColumn, false, false};
        left.last = CellAddress{0, *lastColumn, false, false};
    } else {
        return false;
    }
    orderCorners(left.first, left.last);
    nodes_.pop_back();
    return true;
}

// Whether the node can stand for a reference where :, space and , need one. Names and
// functions (INDEX, OFFSET, INDIRECT...) may; what they give is the evaluator's business.
bool Parser::yieldsReference(uint32_t index) const {
    for (;;) {
        const Node& node = nodes_[index];
        switch (node.kind) {
        case NodeKind::Reference:
        case NodeKind::Name:
        case NodeKind::Table:
        case NodeKind::Call:
        case NodeKind::Function: return true;
        case NodeKind::Error: return node.error == ErrorCode::Ref;
        case NodeKind::Binary:
            return node.op == Operator::Range || node.op == Operator::Intersect || node.op == Operator::Union;
        case NodeKind::Paren: --index; break;
        default: return false;
        }
    }
}

bool Parser::parsePrimary() {
    skipSpaces();
    if (atEnd()) return fail(pos_, "the formula ends where an operand should follow");
    const char16_t c = text_[pos_];
    switch (c) {
    case u'(': return parseParen();
    case u'"': return parseString();
    case u'{': return parseArray();
    case u'#': return parseErrorLiteral();
    case u'\'': return parseQuotedSheets();
    case u'$': return parseReferenceBody({}, {});
    case u'[': return parseBracket();
    default: break;
    }
    if (isDigit(c)) return tryWholeRows({}, {}) || parseNumber();
    if (c == u'.') return parseNumber();
    if (startsName(text_, pos_)) return parseWord();
    return failUnexpected();
}

bool Parser::parseParen() {
    const size_t open = pos_;
    if (!enterNesting(open)) return false;
    ++pos_;
    const uint32_t start = nodeCount();
    const bool outerUnionAllowed = unionAllowed_;
    unionAllowed_ = true;
    if (!parseExpression()) return false;
    if (peek() != u')' || atEnd()) return atEnd() ? fail(open, "this ( is not closed") : failUnexpected();
    ++pos_;
    unionAllowed_ = outerUnionAllowed;
    --nesting_;
    pushNode(NodeKind::Paren, start);
    return parseCalls(start);
}

bool Parser::parseString() {
    const size_t open = pos_++;
    const uint32_t offset = static_cast<uint32_t>(strings_.size());
    for (;;) {
        if (atEnd()) return fail(open, "this text in quotes is not closed");
        const char16_t c = text_[pos_++];
        if (c == u'"') {
            if (atEnd() || text_[pos_] != u'"') break;
            ++pos_;   // "" stands for one quote
        }
        strings_ += c;
    }
    const TextSpan span{offset, static_cast<uint32_t>(strings_.size() - offset)};
    if (span.length > kMaxTextLength) return fail(open, "a text in a formula holds at most 255 characters");
    pushLeaf(NodeKind::String).text = span;
    return true;
}

bool Parser::parseNumber() {
    const size_t begin = pos_;
    size_t end = pos_;
    while (isDigit(at(end))) ++end;
    const size_t integerEnd = end;
    if (at(end) == u'.') {
        ++end;
        while (isDigit(at(end))) ++end;
    }
    const size_t mantissaEnd = end;
    const size_t pointCount = mantissaEnd > integerEnd ? 1 : 0;
    if (mantissaEnd - begin == pointCount) return failUnexpected();   // a lone "."
    int64_t exponent = 0;
    if (at(end) == u'e' || at(end) == u'E') {
        const size_t marker = end++;
        const bool negative = at(end) == u'-';
        if (at(end) == u'+' || at(end) == u'-') ++end;
        const size_t digitsBegin = end;
        for (; isDigit(at(end)); ++end) {
            if (exponent < 100000) exponent = exponent * 10 + (text_[end] - u'0');
        }
        if (end == digitsBegin) return fail(marker, "the exponent of this number has no digits");
        if (negative) exponent = -exponent;
    }
    numberChars_.clear();
    for (size_t i = begin; i < end; ++i) numberChars_ += static_cast<char>(text_[i]);
    double value = 0;
    const auto [stop, status] = std::from_chars(numberChars_.data(), numberChars_.data() + numberChars_.size(), value);
    if (status == std::errc::result_out_of_range) {
        // Too large or too small for a double: the place of the first significant digit tells
        // which. Tiny values are zero, as in Excel.
        size_t significant = begin;
        while (significant < mantissaEnd && (text_[significant] == u'0' || text_[significant] == u'.')) ++significant;
        const int64_t magnitude = significant < integerEnd ? static_cast<int64_t>(integerEnd - significant)
                                                           : -static_cast<int64_t>(significant - integerEnd - 1);
        if (magnitude + exponent > 0) return fail(begin, "this number is too large");
        value = 0;
    } else if (status != std::errc() || stop != numberChars_.data() + numberChars_.size()) {
        return fail(begin, "not a number");
    }
    pushLeaf(NodeKind::Number).number = value;
    pos_ = end;
    return true;
}

bool Parser::parseErrorLiteral() {
    const ErrorWord* word = errorWordAt(text_, pos_);
    if (!word) return fail(pos_, "not an error value; they are #NULL! #DIV/0! #VALUE! #REF! #NAME? #NUM! #N/A");
    pushLeaf(NodeKind::Error).error = word->code;
    pos_ += word->text.size();
    return true;
}

bool Parser::parseArray() {
    const size_t open = pos_++;
    const uint32_t start = nodeCount();
    uint32_t columns = 0;
    uint32_t rows = 0;
    uint32_t inRow = 0;
    for (;;) {
        if (!parseArrayValue(open)) return false;
        ++inRow;
        const char16_t c = peek();
        if (atEnd()) return fail(open, "this { is not closed");
        if (c == u',') {
            ++pos_;
            continue;
        }
        if (c != u';' && c != u'}') return failUnexpected();
        if (rows == 0) columns = inRow;
        if (inRow != columns) return fail(pos_, "every row of an array constant needs as many values as the first");
        ++rows;
        inRow = 0;
        ++pos_;
        if (c == u'}') break;
    }
    Node& node = pushNode(NodeKind::Array, start);
    node.count = columns;
    node.rows = rows;
    return true;
}

bool Parser::parseArrayValue(size_t open) {
    const char16_t c = peek();
    if (atEnd()) return fail(open, "this { is not closed");
    if (c == u'-') {
        ++pos_;
        if (!isDigit(current()) && current() != u'.') return fail(pos_, "a number must follow - in an array constant");
        if (!parseNumber()) return false;
        double& number = nodes_.back().number;
        if (number != 0) number = -number;   // no -0, which would be written back as "-0"
        return true;
    }
    if (isDigit(c) || c == u'.') return parseNumber();
    if (c == u'"') return parseString();
    if (c == u'#') return parseErrorLiteral();
    if (startsName(text_, pos_)) {
        const size_t end = scanNameChars(text_, pos_);
        const std::u16string_view word = text_.substr(pos_, end - pos_);
        const bool isTrue = equalsIgnoringAsciiCase(word, u"TRUE");
        if (isTrue || equalsIgnoringAsciiCase(word, u"FALSE")) {
            pushLeaf(NodeKind::Boolean).boolean = isTrue;
            pos_ = end;
            return true;
        }
    }
    return fail(pos_, "an array constant holds only numbers, texts, TRUE, FALSE and error values");
}

// A word is a function name before "(", a sheet name before "!" (or "Sheet1:Sheet3!"), and
// otherwise a reference, a boolean or a defined name.
bool Parser::parseWord() {
    const size_t begin = pos_;
    const size_t end = scanNameChars(text_, begin);
    const char16_t next = at(end);
    if (next == u'(') return parseFunction(begin, end);
    if (next == u'!') return parseUnquotedSheets(begin, end, end, end, {});
    if (next == u':') {
        const size_t lastEnd = scanNameChars(text_, end + 1);
        if (lastEnd > end + 1 && at(lastEnd) == u'!') return parseUnquotedSheets(begin, end, end + 1, lastEnd, {});
    }
    if (next == u'[') {
        CellAddress address;
        if (scanCellAddress(text_, begin, address) == end) return fail(begin, "a table name cannot read as a cell");
        const TextSpan table = storeText(text_.substr(begin, end - begin));
        pos_ = end;
        return parseTable(table);
    }
    return parseReferenceBody({}, {});
}

// The prefixes workbook files give newer functions (_xlfn., _xlfn._xlws.) and the parameters
// of LET and LAMBDA (_xlpm.): the formula keeps them as flags, its text shows the plain names.
namespace {

size_t prefixLength(std::u16string_view name, std::u16string_view prefix) {
    if (name.size() <= prefix.size()) return 0;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (asciiUpper(name[i]) != asciiUpper(prefix[i])) return 0;
    }
    return prefix.size();
}

}  // namespace

bool Parser::parseFunction(size_t nameBegin, size_t nameEnd) {
    if (!enterNesting(nameBegin)) return false;
    std::u16string_view name = text_.substr(nameBegin, nameEnd - nameBegin);
    uint8_t flags = 0;
    if (const size_t length = prefixLength(name, u"_xlfn.")) {
        name.remove_prefix(length);
        flags |= kFlagFilePrefix;
    }
    if (const size_t length = prefixLength(name, u"_xlws.")) {
        name.remove_prefix(length);
        flags |= kFlagWorksheetPrefix;
    }
    if (const size_t length = prefixLength(name, u"_xlpm."); length && !flags) {   // LET(f, LAMBDA(...), f(1))
        name.remove_prefix(length);
        flags = kFlagLambdaParameter;
    }
    if (name.empty() || !startsName(name, 0)) return fail(nameBegin, "not a function name");
    const TextSpan nameSpan = storeUpperCase(name);
    pos_ = nameEnd + 1;
    const uint32_t start = nodeCount();
    const bool outerUnionAllowed = unionAllowed_;
    unionAllowed_ = false;
    uint32_t arguments = 0;
    if (!parseArguments(nameEnd, arguments)) return false;
    unionAllowed_ = outerUnionAllowed;
    --nesting_;
    Node& node = pushNode(NodeKind::Function, start);
    node.count = arguments;
    node.text = nameSpan;
    node.flags = flags;
    foldFileForms(start);
    return parseCalls(start);
}

// The arguments after "(", up to and with the closing ")".
bool Parser::parseArguments(size_t open, uint32_t& count) {
    count = 0;
    if (peek() == u')' && !atEnd()) {
        ++pos_;
        return true;
    }
    for (;;) {
        const char16_t c = peek();
        if (!atEnd() && (c == u',' || c == u')')) pushLeaf(NodeKind::Missing);
        else if (!parseExpression()) return false;
        if (++count > kMaxArguments) return fail(pos_, "a function takes at most 255 arguments");
        const char16_t after = peek();
        if (atEnd()) return fail(open, "this ( is not closed");
        if (after != u',' && after != u')') return failUnexpected();
        ++pos_;
        if (after == u')') return true;
    }
}

// LAMBDA(x, x + 1)(2): what a function or parentheses give, called with arguments.
bool Parser::parseCalls(uint32_t start) {
    while (!atEnd() && current() == u'(') {
        const size_t open = pos_;
        if (!enterNesting(open)) return false;
        ++pos_;
        const bool outerUnionAllowed = unionAllowed_;
        unionAllowed_ = false;
        uint32_t arguments = 0;
        if (!parseArguments(open, arguments)) return false;
        unionAllowed_ = outerUnionAllowed;
        --nesting_;
        pushNode(NodeKind::Call, start).count = arguments;
    }
    return true;
}

// Files write the @ operator as _xlfn.SINGLE(x) and A1# as _xlfn.ANCHORARRAY(A1): both become
// the forms typed in the grid.
void Parser::foldFileForms(uint32_t start) {
    Node& node = nodes_.back();
    if (!(node.flags & kFlagFilePrefix) || node.count != 1) return;
    const std::u16string_view name = std::u16string_view(strings_).substr(node.text.offset, node.text.length);
    if (name == u"SINGLE") {
        node = Node{};
        node.kind = NodeKind::Unary;
        node.op = Operator::Single;
        node.subtreeStart = start;
        return;
    }
    Node& argument = nodes_[nodes_.size() - 2];
    if (name == u"ANCHORARRAY" && argument.kind == NodeKind::Reference && argument.shape == ReferenceShape::Cell &&
        !(argument.flags & kFlagSpill)) {
        argument.flags |= kFlagSpill;
        nodes_.pop_back();
    }
}

bool Parser::parseUnquotedSheets(size_t firstBegin, size_t firstEnd, size_t lastBegin, size_t lastEnd, TextSpan book) {
    const std::u16string_view first = text_.substr(firstBegin, firstEnd - firstBegin);
    const std::u16string_view last = text_.substr(lastBegin, lastEnd - lastBegin);
    if (sheetNameNeedsQuotes(first)) return fail(firstBegin, "this sheet name must be in quotes, as 'name'!");
    if (!last.empty() && sheetNameNeedsQuotes(last)) return fail(lastBegin, "this sheet name must be in quotes, as 'name'!");
    if (first.size() > kMaxSheetNameLength || last.size() > kMaxSheetNameLength) {
        return fail(firstBegin, "a sheet name holds at most 31 characters");
    }
    const TextSpan sheet = storeText(first);
    const TextSpan lastSheet = last.empty() ? TextSpan{} : storeText(last);
    pos_ = (last.empty() ? firstEnd : lastEnd) + 1;
    return parseReferenceBody(sheet, lastSheet, book);
}

// 'My Sheet'!A1, 'It''s'!A1, 'Jan:Mar'!A1 (a colon cannot be part of a sheet name, so inside
// the quotes it separates the first and last sheets), and a sheet of another workbook:
// '[Book1.xlsx]Sheet 1'!A1, 'C:\Data\[Book1.xlsx]Sheet1'!A1, '[1]Sheet 1'!A1.
bool Parser::parseQuotedSheets() {
    const size_t open = pos_++;
    TextSpan book;
    const size_t close = text_.find(u']', pos_);
    const size_t bracket = text_.find(u'[', pos_);
    const size_t quote = text_.find(u'\'', pos_);
    if (bracket != std::u16string_view::npos && close != std::u16string_view::npos && bracket < close && close < quote) {
        book = storeText(text_.substr(pos_, close - pos_ + 1));
        pos_ = close + 1;
    }
    const uint32_t offset = static_cast<uint32_t>(strings_.size());
    uint32_t split = 0;
    for (;;) {
        if (atEnd()) return fail(open, "this sheet name in quotes is not closed");
        const char16_t c = text_[pos_++];
        if (c == u'\'') {
            if (atEnd() || text_[pos_] != u'\'') break;
            ++pos_;
        } else if (c == u':') {
            if (split != 0) return fail(pos_ - 1, "only two sheet names can be joined by :");
            split = static_cast<uint32_t>(strings_.size());
            continue;
        } else if (isForbiddenInSheetName(c)) {
            return fail(pos_ - 1, "a sheet name cannot hold \\ / ? * [ or ]");
        }
        strings_ += c;
    }
    const uint32_t end = static_cast<uint32_t>(strings_.size());
    const TextSpan sheet{offset, (split != 0 ? split : end) - offset};
    const TextSpan lastSheet = split != 0 ? TextSpan{split, end - split} : TextSpan{};
    if (sheet.empty() || (split != 0 && lastSheet.empty())) return fail(open, "a sheet name cannot be empty");
    if (sheet.length > kMaxSheetNameLength || lastSheet.length > kMaxSheetNameLength) {
        return fail(open, "a sheet name holds at most 31 characters");
    }
    if (current() != u'!' || atEnd()) return fail(pos_, "a sheet name in quotes must be followed by !");
    ++pos_;
    return parseReferenceBody(sheet, lastSheet, book);
}

// "[" starts a sheet or name of another workbook ([1]Sheet1!A1, [Book1.xlsx]Sheet1!A1, [1]!Name)
// or a structured reference inside a table ([@Qty], [[#This Row],[Qty]]).
bool Parser::parseBracket() {
    const size_t open = pos_;
    const size_t close = text_.find(u']', open + 1);
    if (close != std::u16string_view::npos && close > open + 1) {
        const std::u16string_view inside = text_.substr(open + 1, close - open - 1);
        const bool plain = inside.find_first_of(u"[]@#'") == std::u16string_view::npos;
        const size_t wordEnd = scanNameChars(text_, close + 1);
        const bool sheetFollows = wordEnd > close + 1 && (at(wordEnd) == u'!' || at(wordEnd) == u':');
        if (plain && (at(close + 1) == u'!' || sheetFollows)) {
            TextSpan book;
            if (!parseExternalBook(book)) return false;
            if (current() == u'!') {
                ++pos_;
                if (!startsName(text_, pos_)) return fail(pos_, "a name must follow the workbook");
                const size_t end = scanNameChars(text_, pos_);
                Node& node = pushLeaf(NodeKind::Name);
                node.text = storeText(text_.substr(pos_, end - pos_));
                node.lastSheet = book;
                node.flags |= kFlagExternal;
                pos_ = end;
                return true;
            }
            const size_t firstBegin = pos_;
            const size_t firstEnd = scanNameChars(text_, firstBegin);
            if (at(firstEnd) == u'!') return parseUnquotedSheets(firstBegin, firstEnd, firstEnd, firstEnd, book);
            const size_t lastEnd = scanNameChars(text_, firstEnd + 1);
            if (at(firstEnd) == u':' && lastEnd > firstEnd + 1 && at(lastEnd) == u'!') {
                return parseUnquotedSheets(firstBegin, firstEnd, firstEnd + 1, lastEnd, book);
            }
            return fail(firstBegin, "a sheet name and ! must follow the workbook");
        }
    }
    return parseTable({});
}

bool Parser::parseExternalBook(TextSpan& book) {
    const size_t close = text_.find(u']', pos_);
    book = storeText(text_.substr(pos_, close - pos_ + 1));
    pos_ = close + 1;
    return true;
}

// Table1[], Table1[#All], Table1[Qty], Table1[@Qty], Table1[@[Unit Price]],
// Table1[[#Headers],[#Data],[Jan]:[Dec]]. pos_ is at the opening bracket.
bool Parser::parseTable(TextSpan table) {
    const size_t open = pos_++;
    uint32_t items = 0;
    TextSpan first, last;
    const char16_t c = current();
    if (atEnd()) return fail(open, "this [ is not closed");
    if (c == u'@') {
        ++pos_;
        items = kTableThisRow;
        if (current() == u'[') {
            if (!parseTableColumns(first, last)) return false;
        } else if (current() != u']' && !parseTableColumn(first)) {
            return false;
        }
    } else if (c == u'#') {
        if (!parseTableItem(items)) return false;
    } else if (c == u'[') {
        for (;;) {
            skipSpaces();
            if (current() != u'[' || atEnd()) return failUnexpected();
            if (at(pos_ + 1) == u'#') {
                ++pos_;
                if (!parseTableItem(items)) return false;
                if (current() != u']') return failUnexpected();
                ++pos_;
            } else {
                if (!first.empty()) return fail(pos_, "a structured reference names one column or one range of columns");
                if (!parseTableColumns(first, last)) return false;
            }
            skipSpaces();
            if (current() == u',' && !atEnd()) {
                ++pos_;
                continue;
            }
            break;
        }
    } else if (c != u']' && !parseTableColumn(first)) {
        return false;
    }
    if (current() != u']' || atEnd()) return atEnd() ? fail(open, "this [ is not closed") : failUnexpected();
    ++pos_;
    Node& node = pushLeaf(NodeKind::Table);
    node.text = table;
    node.count = items;
    node.sheet = first;
    node.lastSheet = last;
    return true;
}

// [Jan] or [Jan]:[Dec], pos_ at the first bracket.
bool Parser::parseTableColumns(TextSpan& first, TextSpan& last) {
    ++pos_;
    if (!parseTableColumn(first)) return false;
    if (current() != u']' || atEnd()) return fail(pos_, "this column name is not closed");
    ++pos_;
    if (current() == u':' && at(pos_ + 1) == u'[') {
        pos_ += 2;
        if (!parseTableColumn(last)) return false;
        if (current() != u']' || atEnd()) return fail(pos_, "this column name is not closed");
        ++pos_;
    }
    return true;
}

// A column name up to the next ] that no ' escapes.
bool Parser::parseTableColumn(TextSpan& column) {
    const uint32_t offset = static_cast<uint32_t>(strings_.size());
    while (!atEnd() && current() != u']') {
        char16_t c = text_[pos_++];
        if (c == u'[') return fail(pos_ - 1, "a [ in a column name is written '[");
        if (c == u'\'') {
            if (atEnd()) break;
            c = text_[pos_++];
        }
        strings_ += c;
    }
    column = {offset, static_cast<uint32_t>(strings_.size()) - offset};
    if (column.empty()) return fail(pos_, "a column name cannot be empty");
    if (column.length > kMaxTextLength) return fail(pos_, "a column name holds at most 255 characters");
    return true;
}

bool Parser::parseTableItem(uint32_t& items) {
    static constexpr struct {
        std::u16string_view word;
        TableItem item;
    } kItems[] = {{u"#ALL", kTableAll},         {u"#DATA", kTableData},          {u"#HEADERS", kTableHeaders},
                  {u"#TOTALS", kTableTotals}, {u"#THIS ROW", kTableThisRow}};
    for (const auto& [word, item] : kItems) {
        if (prefixLength(text_.substr(pos_), word) == word.size() && (at(pos_ + word.size()) == u']')) {
            items |= item;
            pos_ += word.size();
            return true;
        }
    }
    return fail(pos_, "not a part of a table; they are #All #Data #Headers #Totals #This Row");
}

// What may follow a sheet name, or stand alone: whole rows, whole columns, a cell, #REF!
// after a sheet name, TRUE and FALSE when alone, or a defined name.
bool Parser::parseReferenceBody(TextSpan sheet, TextSpan lastSheet, TextSpan book) {
    const size_t begin = pos_;
    const bool qualified = !sheet.empty();
    const char16_t c = current();
    const uint32_t start = nodeCount();
    // What a reference of another workbook carries beside its cells.
    const auto external = [&] {
        if (book.empty() || nodeCount() == start) return true;
        Node& node = nodes_.back();
        node.flags |= kFlagExternal;
        if (node.kind == NodeKind::Reference) node.text = book;
        else node.lastSheet = book;
        return true;
    };
    if (qualified && c == u'#') {
        const ErrorWord* word = errorWordAt(text_, pos_);
        if (!word || word->code != ErrorCode::Ref) return fail(begin, "after a sheet name only #REF! can stand for an error");
        pushReference(ReferenceShape::Invalid, sheet, lastSheet);
        pos_ += word->text.size();
        return external();
    }
    if (tryWholeRows(sheet, lastSheet) || tryWholeColumns(sheet, lastSheet)) return external();
    CellAddress address;
    if (const size_t end = scanCellAddress(text_, begin, address)) {
        const char16_t next = at(end);
        if (nameCharLength(text_, end) == 0 && next != u'$') {
            Node& node = pushReference(ReferenceShape::Cell, sheet, lastSheet);
            node.first = address;
            node.last = address;
            pos_ = end;
            if (next == u'#' && !errorWordAt(text_, end)) {
                node.flags |= kFlagSpill;
                ++pos_;
            }
            return external();
        }
        // A1B is a mistyped reference rather than a name; Q1_Sales and Q1.Sales are names.
        if (c == u'$' || next == u'$' || isAsciiLetter(next) || isWideLetter(next)) {
            return fail(begin, "not a valid cell reference");
        }
    }
    if (c == u'$') return fail(begin, "not a valid cell reference");
    if (!startsName(text_, begin)) {
        return qualified ? fail(begin, "a reference or a name must follow the sheet name") : failUnexpected();
    }
    const size_t end = scanNameChars(text_, begin);
    if (at(end) == u'$') return fail(begin, "not a valid cell reference");
    std::u16string_view word = text_.substr(begin, end - begin);
    if (!lastSheet.empty()) return fail(begin, "a name cannot be taken from a range of sheets");
    const bool isTrue = equalsIgnoringAsciiCase(word, u"TRUE");
    if (!qualified && book.empty() && (isTrue || equalsIgnoringAsciiCase(word, u"FALSE"))) {
        pushLeaf(NodeKind::Boolean).boolean = isTrue;
    } else {
        uint8_t flags = 0;
        const size_t parameter = prefixLength(word, u"_xlpm."), optional = prefixLength(word, u"_xlop.");
        if ((parameter || optional) && !qualified) {
            word.remove_prefix(parameter + optional);
            flags = optional ? kFlagLambdaParameter | kFlagOptionalParameter : kFlagLambdaParameter;
            if (!startsName(word, 0)) return fail(begin, "not a parameter name");
        } else if (const size_t eta = prefixLength(word, u"_xleta."); eta && !qualified) {
            word.remove_prefix(eta);
            flags = kFlagFunctionName;
            if (!startsName(word, 0)) return fail(begin, "not a function name");
        }
        Node& node = pushLeaf(NodeKind::Name);
        node.text = storeText(word);
        node.sheet = sheet;
        node.flags = flags;
    }
    pos_ = end;
    return external();
}

// A whole-column or whole-row range stops where a name or a reference could not go on.
bool Parser::endsReference(size_t offset) const {
    const char16_t c = at(offset);
    return nameCharLength(text_, offset) == 0 && c != u'$' && c != u'!' && c != u'(';
}

bool Parser::tryWholeRows(TextSpan sheet, TextSpan lastSheet) {
    CellAddress first;
    CellAddress last;
    size_t end = scanRow(text_, pos_, first);
    if (end == 0 || at(end) != u':') return false;
    end = scanRow(text_, end + 1, last);
    if (end == 0 || !endsReference(end)) return false;
    orderCorners(first, last);
    Node& node = pushReference(ReferenceShape::Rows, sheet, lastSheet);
    node.first = first;
    node.last = last;
    pos_ = end;
    return true;
}

bool Parser::tryWholeColumns(TextSpan sheet, TextSpan lastSheet) {
    CellAddress first;
    CellAddress last;
    size_t end = scanColumn(text_, pos_, first);
    if (end == 0 || at(end) != u':') return false;
    end = scanColumn(text_, end + 1, last);
    if (end == 0 || !endsReference(end)) return false;
    orderCorners(first, last);
    Node& node = pushReference(ReferenceShape::Columns, sheet, lastSheet);
    node.first = first;
    node.last = last;
    pos_ = end;
    return true;
}

std::unique_ptr<Expression> parseFormula(std::u16string_view text, ParseError* error) {
    if (text.empty() || text.front() != u'=') {   // most cell texts: refused before any allocation
        if (error) *error = ParseError{0, "a formula starts with \"=\""};
        return nullptr;
    }
    auto expression = std::make_unique<Expression>();
    Parser parser(text, *expression);
    if (parser.parse()) {
        // A sheet may hold hundreds of thousands of formulas: each keeps only what it uses.
        if (expression->nodes_.capacity() > expression->nodes_.size() + 4) expression->nodes_.shrink_to_fit();
        if (expression->strings_.capacity() > expression->strings_.size() + 16) expression->strings_.shrink_to_fit();
        return expression;
    }
    if (error) *error = parser.error();
    return nullptr;
}

}  // namespace kes::formula
