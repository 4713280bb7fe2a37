#include "tree_dump.h"

#include <charconv>
#include <vector>

#include "sheet/formula/cell_address.h"

namespace kes::formula {

namespace {

std::u16string ascii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

std::u16string numberText(double value) {
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return ascii(std::string_view(buffer, static_cast<size_t>(result.ptr - buffer)));
}

std::u16string addressText(const CellAddress& address, bool column, bool row) {
    std::u16string text;
    if (column) text += (address.columnAbsolute ? u"$" : u"") + columnLetters(address.column);
    if (row) text += (address.rowAbsolute ? u"$" : u"") + numberText(address.row + 1);
    return text;
}

std::u16string sheetText(const Expression& expression, const Node& node) {
    if (node.sheet.empty()) return {};
    std::u16string text = u"<" + std::u16string(expression.text(node.sheet));
    // A name's lastSheet holds its workbook, shown after it.
    if (!node.lastSheet.empty() && node.kind != NodeKind::Name) text += u":" + std::u16string(expression.text(node.lastSheet));
    return text + u">";
}

std::u16string referenceText(const Expression& expression, const Node& node) {
    std::u16string text = sheetText(expression, node);
    if (node.flags & kFlagExternal) text = u"ext" + std::u16string(expression.text(node.text)) + text;
    if (node.flags & kFlagSpill) return text + addressText(node.first, true, true) + u"#";
    switch (node.shape) {
    case ReferenceShape::Cell: return text + addressText(node.first, true, true);
    case ReferenceShape::Area: return text + addressText(node.first, true, true) + u":" + addressText(node.last, true, true);
    case ReferenceShape::Columns: return text + addressText(node.first, true, false) + u":" + addressText(node.last, true, false);
    case ReferenceShape::Rows: return text + addressText(node.first, false, true) + u":" + addressText(node.last, false, true);
    case ReferenceShape::Invalid: return text + u"#REF!";
    }
    return text;
}

const char16_t* operatorName(Operator op) {
    constexpr const char16_t* kNames[] = {u"u-", u"u+", u"%",  u"^",  u"*",  u"/",     u"+",     u"-",    u"&",
                                          u"=",  u"<>", u"<",  u"<=", u">",  u">=",    u":",     u"isect", u"union", u"@"};
    return kNames[static_cast<size_t>(op)];
}

const char16_t* errorName(ErrorCode code) {
    constexpr const char16_t* kNames[] = {u"#NULL!", u"#DIV/0!", u"#VALUE!", u"#REF!", u"#NAME?",
                                          u"#NUM!",  u"#N/A",    u"#SPILL!", u"#CALC!"};
    return kNames[static_cast<size_t>(code) - 1];
}

std::u16string joinTop(std::vector<std::u16string>& stack, size_t count, char16_t separator) {
    std::u16string joined;
    for (size_t i = stack.size() - count; i < stack.size(); ++i) joined += separator + stack[i];
    stack.resize(stack.size() - count);
    return joined;
}

}  // namespace

std::u16string dumpTree(const Expression& expression) {
    std::vector<std::u16string> stack;
    for (const Node& node : expression.nodes()) {
        std::u16string piece;
        switch (node.kind) {
        case NodeKind::Number: piece = numberText(node.number); break;
        case NodeKind::String: piece = u"\"" + std::u16string(expression.text(node.text)) + u"\""; break;
        case NodeKind::Boolean: piece = node.boolean ? u"TRUE" : u"FALSE"; break;
        case NodeKind::Error: piece = errorName(node.error); break;
        case NodeKind::Missing: piece = u"_"; break;
        case NodeKind::Reference: piece = referenceText(expression, node); break;
        case NodeKind::Name:
            piece = u"name:" + sheetText(expression, node) + std::u16string(expression.text(node.text));
            if (node.flags & kFlagExternal) piece += u"@" + std::u16string(expression.text(node.lastSheet));
            if (node.flags & kFlagLambdaParameter) piece += u"(param)";
            if (node.flags & kFlagFunctionName) piece += u"(function)";
            break;
        case NodeKind::Function:
            piece = u"(" + std::u16string(expression.text(node.text)) + joinTop(stack, node.count, u' ') + u")";
            if (node.flags & kFlagFilePrefix) piece = u"xlfn" + piece;
            break;
        case NodeKind::Call: {
            std::u16string arguments = joinTop(stack, node.count, u' ');
            piece = u"(call " + stack.back() + arguments + u")";
            stack.pop_back();
            break;
        }
        case NodeKind::Table: {
            piece = u"table:" + std::u16string(expression.text(node.text)) + u"/" + numberText(node.count);
            if (!node.sheet.empty()) piece += u"/" + std::u16string(expression.text(node.sheet));
            if (!node.lastSheet.empty()) piece += u":" + std::u16string(expression.text(node.lastSheet));
            break;
        }
        case NodeKind::Array: {
            piece = u"{";
            for (uint32_t row = 0; row < node.rows; ++row) {
                const size_t rowStart = stack.size() - static_cast<size_t>(node.rows - row) * node.count;
                for (uint32_t column = 0; column < node.count; ++column) {
                    piece += (column ? u"," : row ? u";" : u"") + stack[rowStart + column];
                }
            }
            stack.resize(stack.size() - static_cast<size_t>(node.rows) * node.count);
            piece += u"}";
            break;
        }
        case NodeKind::Unary:
        case NodeKind::Binary:
            piece = u"(" + std::u16string(operatorName(node.op)) +
                    joinTop(stack, node.kind == NodeKind::Unary ? 1 : 2, u' ') + u")";
            break;
        case NodeKind::Paren: piece = u"(paren" + joinTop(stack, 1, u' ') + u")"; break;
        }
        stack.push_back(std::move(piece));
    }
    return stack.size() == 1 ? stack.back() : u"malformed tree";
}

bool isWellFormed(const Expression& expression) {
    const auto& nodes = expression.nodes();
    std::vector<uint32_t> starts;
    for (uint32_t index = 0; index < nodes.size(); ++index) {
        const uint32_t children = Expression::childCount(nodes[index]);
        if (children > starts.size()) return false;
        const uint32_t start = children == 0 ? index : starts[starts.size() - children];
        if (nodes[index].subtreeStart != start) return false;
        starts.resize(starts.size() - children);
        starts.push_back(start);
    }
    return starts.size() == 1;
}

std::u16string dumpFormula(std::u16string_view text) {
    const auto expression = parseFormula(text);
    return expression ? dumpTree(*expression) : u"refused";
}

}  // namespace kes::formula
