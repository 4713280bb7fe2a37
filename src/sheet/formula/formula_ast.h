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
enum class ErrorCode : uint8_t { Null = 1, DivByZero, Value, Ref, Name, Num, NA, Spill, Calc };

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
    Table,       // a structured reference: Table1[Col], Table1[[#This Row],[Jan]:[Dec]], [@Col]
    Call,        // a call of what its first child gives (a LAMBDA) with the other children
};

enum class Operator : uint8_t {
    Negate, Plus, Percent,   // unary; Percent is written after its operand
    Power, Multiply, Divide, Add, Subtract, Concat,
    Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
    Range, Intersect, Union,
    Single,                  // unary @: implicit intersection
};

enum class ReferenceShape : uint8_t {
    Cell,      // first
    Area,      // first (top left) to last (bottom right)
    Columns,   // whole columns first.column to last.column; the rows are unused
    Rows,      // whole rows first.row to last.row; the columns are unused
    Invalid,   // Sheet1!#REF!, a reference that no longer points anywhere
};

// The parts of a table a structured reference names; none given means the data rows.
enum TableItem : uint32_t {
    kTableAll = 1,
    kTableData = 2,
    kTableHeaders = 4,
    kTableTotals = 8,
    kTableThisRow = 16,
};

// What a node carries besides its kind, as bits of Node::flags.
enum NodeFlag : uint8_t {
    kFlagFilePrefix = 1,        // Function: written with _xlfn. in workbook files
    kFlagWorksheetPrefix = 2,   // Function: written with _xlfn._xlws. (SORT, FILTER)
    kFlagExternal = 4,          // Reference, Name: in another workbook; text (Name: lastSheet) names it
    kFlagSpill = 8,             // Reference: A1#, the whole result the formula at A1 spills
    kFlagLambdaParameter = 16,  // Name, Function: a parameter of LET or LAMBDA, written with _xlpm. in files
    kFlagFunctionName = 32,     // Name: a built-in passed as a function, BYROW(A1:B2, SUM): _xleta. in files
    kFlagOptionalParameter = 64,   // Name: a LAMBDA parameter a call may omit, written with _xlop. in files
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
    uint8_t flags = 0;                     // NodeFlag bits
    uint16_t function = 0;       // Function: the built-in it calls, as bound by the evaluator; 0 unbound
    uint32_t subtreeStart = 0;   // index of the first node of this node's subtree
    uint32_t count = 0;          // Function, Call: arguments; Array: columns; Table: TableItem bits
    uint32_t rows = 0;           // Array: rows
    double number = 0;           // Number
    TextSpan text;               // String: the value; Name and Function: the name; Table: the table
                                 // (empty inside the table); external Reference: the workbook
    TextSpan sheet;              // Reference, Name: empty for the formula's own sheet; Table: first column
    TextSpan lastSheet;          // Reference: the last sheet of Sheet1:Sheet3!A1, else empty;
                                 // Table: last column of a column range; external Name: the workbook
    CellAddress first;           // Reference
    CellAddress last;            // Reference; equal to first for a cell
};

class Parser;
struct ParseError;
struct ReferenceRewrite;

// A parsed formula. Made by parseFormula; changed only by offsetReferences and by the rewrites
// of references when cells move (reference_shift.h).
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

    // For the evaluator, which binds function nodes to its built-ins once per formula and marks
    // the names that LET and LAMBDA bind; nothing else of a parsed formula changes.
    void bindFunction(uint32_t index, uint16_t function, uint8_t prefixFlags) {
        nodes_[index].function = function;
        nodes_[index].flags |= prefixFlags;
    }
    void markLambdaParameter(uint32_t index) { nodes_[index].flags |= kFlagLambdaParameter; }
    void markFunctionName(uint32_t index) { nodes_[index].flags |= kFlagFunctionName; }

private:
    friend class Parser;
    friend void offsetReferences(Expression& expression, int32_t rows, int32_t columns);
    friend struct ReferenceRewrite;
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
    case NodeKind::Call: return node.count + 1;
    case NodeKind::Array: return node.count * node.rows;
    default: return 0;
    }
}

}  // namespace kes::formula
