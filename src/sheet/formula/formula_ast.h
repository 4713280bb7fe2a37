#pragma once
// The syntax tree of a formula, laid out for evaluation: one flat array of nodes in postfix
// order (every node comes after its operands). An evaluator can run it front to back as a
// stack machine, or walk it from the root (the last node) when it must skip operands, as IF
// and CHOOSE do: a node's last child sits just before it, and each child's previous sibling
// just before that child's subtree.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kes::formula {

// Numbered as the cell store's FormulaErrorCode, so that a result converts by a cast.
enum class ErrorCode : uint8_t { Null = 1, DivByZero, Value, Ref, Name, Num, NA };

enum class NodeKind : uint8_t {
    Number,
    String,
    Boolean,
    Error,
    Missing,     // an empty function argument, as in IF(A1,,1)
    Reference,   // a cell, an area, whole columns or rows, or a sheet's #REF!
    Name,        // a defined name, possibly sheet-scoped
    Function,    // its arguments are its children
    Array,       // an array constant; its values are leaf children in row order
    Unary,
    Binary,
    Paren,       // parentheses as written, so that the text comes back as the user wrote it
};

enum class Operator : uint8_t {
    Negate, Plus, Percent,   // unary; Percent is written after its operand
    Power, Multiply, Divide, Add, Subtract, Concat,
    Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
    Range, Intersect, Union,
};

enum class ReferenceShape : uint8_t {
    Cell,      // first
    Area,      // first (top left) to last (bottom right)
    Columns,   // whole columns first.column to last.column; the rows are unused
    Rows,      // whole rows first.row to last.row; the columns are unused
    Invalid,   // Sheet1!#REF!, a reference that no longer points anywhere
};

// A piece of Expression::text(): a string literal's value, a name, a sheet name.
struct TextSpan {
    uint32_t offset = 0;
    uint32_t length = 0;
    bool empty() const { return length == 0; }
};

struct CellAddress {
    int32_t row = 0;      // zero-based
    int32_t column = 0;   // zero-based
    bool rowAbsolute = false;
    bool columnAbsolute = false;
    friend bool operator==(const CellAddress&, const CellAddress&) = default;
};

struct Node {
    NodeKind kind = NodeKind::Missing;
    Operator op = Operator::Plus;          // Unary, Binary
    ErrorCode error = ErrorCode::Value;    // Error
    ReferenceShape shape = ReferenceShape::Cell;   // Reference
    bool boolean = false;                  // Boolean
    uint32_t subtreeStart = 0;   // index of the first node of this node's subtree
    uint32_t count = 0;          // Function: arguments; Array: columns
    uint32_t rows = 0;           // Array: rows
    double number = 0;           // Number
    TextSpan text;               // String: the value; Name and Function: the name
    TextSpan sheet;              // Reference, Name: empty for the formula's own sheet
    TextSpan lastSheet;          // Reference: the last sheet of Sheet1:Sheet3!A1, else empty
    CellAddress first;           // Reference
    CellAddress last;            // Reference; equal to first for a cell
};

class Parser;
struct ParseError;

// A parsed formula. Made by parseFormula; changed only by offsetReferences.
class Expression {
public:
    const std::vector<Node>& nodes() const { return nodes_; }
    uint32_t rootIndex() const { return static_cast<uint32_t>(nodes_.size() - 1); }
    const Node& root() const { return nodes_.back(); }
    std::u16string_view text(TextSpan span) const {
        return std::u16string_view(strings_).substr(span.offset, span.length);
    }

    // Operands of an operator, arguments of a function, values of an array.
    static uint32_t childCount(const Node& node);
    // The sibling written before the child at `index`; the last child is at parent index - 1.
    uint32_t previousSibling(uint32_t index) const { return nodes_[index].subtreeStart - 1; }

private:
    friend class Parser;
    friend void offsetReferences(Expression& expression, int32_t rows, int32_t columns);
    friend std::unique_ptr<Expression> parseFormula(std::u16string_view text, ParseError* error);

    std::vector<Node> nodes_;
    std::u16string strings_;
};

inline uint32_t Expression::childCount(const Node& node) {
    switch (node.kind) {
    case NodeKind::Unary:
    case NodeKind::Paren: return 1;
    case NodeKind::Binary: return 2;
    case NodeKind::Function: return node.count;
    case NodeKind::Array: return node.count * node.rows;
    default: return 0;
    }
}

}  // namespace kes::formula
