#include "sheet/calc/evaluator.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <cmath>
#include <vector>

#include "sheet/calc/call.h"
#include "sheet/calc/coerce.h"
#include "sheet/calc/compile.h"
#include "sheet/calc/functions.h"
#include "sheet/cell_formula.h"
#include "sheet/formula/formula_ast.h"
#include "sheet/formula_eval.h"
#include "sheet/shared_strings.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes::calc {
namespace {

using formula::Node;
using formula::NodeKind;
using formula::Operator;
using formula::ReferenceShape;

// Names that refer to names, and LAMBDAs that call themselves, stop here: a definition that
// refers to itself ends in an error instead of a stack overflow.
constexpr int kMaxNameDepth = 32;
constexpr int kMaxLambdaDepth = 256;
thread_local int nameDepth = 0;
thread_local int lambdaDepth = 0;

struct DepthGuard {
    int& depth;
    explicit DepthGuard(int& d) : depth(d) { ++depth; }
    ~DepthGuard() { --depth; }
};

// A relative coordinate of a defined name moves with the cell that uses it, round the edge of
// the sheet as in Excel.
int32_t moveCoordinate(int32_t value, bool absolute, int32_t by, int32_t limit) {
    if (absolute || by == 0) return value;
    int64_t moved = (int64_t(value) + by) % (int64_t(limit) + 1);
    if (moved < 0) moved += int64_t(limit) + 1;
    return int32_t(moved);
}

// The argument indices of a function node, without allocating for the usual few.
class ArgumentNodes {
public:
    ArgumentNodes(const formula::Expression& expression, uint32_t index, uint32_t count) : size_(count) {
        uint32_t* out = count <= inline_.size() ? inline_.data() : (heap_.resize(count), heap_.data());
        uint32_t child = index - 1;
        for (uint32_t k = count; k-- > 0;) {
            out[k] = child;
            if (k > 0) child = expression.previousSibling(child);
        }
        data_ = out;
    }
    std::span<const uint32_t> span() const { return {data_, size_}; }

private:
    std::array<uint32_t, 8> inline_;
    std::vector<uint32_t> heap_;
    uint32_t* data_ = nullptr;
    uint32_t size_;
};

// A value as a number, or none where it is no number (an error, a text that reads as none, an
// array); toNumber throws on top of it. Without an exception, since an operator over a whole
// column meets a text that is no number in each of a million elements (="x"-A:C), and as many
// exceptions take seconds.
std::optional<double> operandNumber(const Value& value, const FormatSettings& settings) {
    switch (value.kind()) {
    case ValueKind::Blank: return 0.0;
    case ValueKind::Number:
    case ValueKind::Boolean: return value.number();
    case ValueKind::Text: return textToNumber(value.text(), settings);
    default: return std::nullopt;
    }
}

Value arithmetic(Operator op, const Value& a, const Value& b, const FormatSettings& settings, bool final) {
    if (a.isError()) return a;
    if (b.isError()) return b;
    const std::optional<double> first = operandNumber(a, settings), second = operandNumber(b, settings);
    if (!first || !second) return Value::error(ecValue);
    const double x = *first, y = *second;
    switch (op) {
    case Operator::Add:
    case Operator::Subtract: {
        double r = op == Operator::Add ? x + y : x - y;
        // Excel drops the rounding noise of a last addition that cancels: 0.3-0.2-0.1 is 0.
        if (final && r != 0 && std::fabs(r) < std::max(std::fabs(x), std::fabs(y)) * 1e-15) r = 0;
        // A date and a time add up to a date-time; a date less a date is a number of days.
        const bool date = op == Operator::Add ? a.isDate() || b.isDate() : a.isDate() && !b.isDate();
        return date ? Value::date(r) : Value::number(r);
    }
    case Operator::Multiply: return Value::number(x * y);
    case Operator::Divide: return y == 0 ? Value::error(ecDivByZero) : Value::number(x / y);
    case Operator::Power: {
        if (x == 0 && y == 0) return Value::error(ecNUM);
        if (x == 0 && y < 0) return Value::error(ecDivByZero);
        if (x < 0 && y != std::trunc(y)) {
            // A root of a negative number: Excel allows the odd ones, as (-8)^(1/3).
            const double inverse = 1 / y;
            if (std::fabs(inverse - std::round(inverse)) < 1e-10 && std::fmod(std::round(inverse), 2.0) != 0)
                return Value::number(-std::pow(-x, y));
            return Value::error(ecNUM);
        }
        return Value::number(std::pow(x, y));
    }
    default: return Value::error(ecValue);
    }
}

Value scalarOperator(Operator op, const Value& a, const Value& b, const FormatSettings& settings, bool final) {
    if (op == Operator::Concat) {
        if (a.isError()) return a;
        if (b.isError()) return b;
        return Value::text(toText(a) + toText(b));
    }
    if (op >= Operator::Equal && op <= Operator::GreaterEqual) {
        if (a.isError()) return a;
        if (b.isError()) return b;
        const int order = compareValues(a, b);
        switch (op) {
        case Operator::Equal: return Value::boolean(order == 0);
        case Operator::NotEqual: return Value::boolean(order != 0);
        case Operator::Less: return Value::boolean(order < 0);
        case Operator::LessEqual: return Value::boolean(order <= 0);
        case Operator::Greater: return Value::boolean(order > 0);
        default: return Value::boolean(order >= 0);
        }
    }
    return arithmetic(op, a, b, settings, final);
}

// An operator over arrays, element by element: a single row or column repeats, elements beyond
// the smaller array are #N/A.
template <class Op>
Value elementwise(const Matrix& a, const Matrix& b, Op&& op) {
    const int32_t rows = std::max(a.rows(), b.rows()), columns = std::max(a.columns(), b.columns());
    if (int64_t(rows) * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows, columns);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            out.set(r, c, op(a.broadcast(r, c), b.broadcast(r, c)));
        }
    }
    return Value::array(std::move(out));
}

}  // namespace

void fail(FormulaErrorCode code) { throw CalcError{code}; }

double toNumber(const Value& value, const FormatSettings& settings) {
    if (value.isError()) fail(value.error());
    if (const std::optional<double> number = operandNumber(value, settings)) return *number;
    fail(ecValue);
}

std::u16string toText(const Value& value) {
    if (value.isError()) fail(value.error());
    if (!value.isScalar()) fail(ecValue);
    return scalarToText(value);
}

bool toBoolean(const Value& value, const FormatSettings& settings) {
    switch (value.kind()) {
    case ValueKind::Blank: return false;
    case ValueKind::Number:
    case ValueKind::Boolean: return value.number() != 0;
    case ValueKind::Text:
        if (equalsIgnoringAsciiCase(value.text(), u"TRUE")) return true;
        if (equalsIgnoringAsciiCase(value.text(), u"FALSE")) return false;
        fail(ecValue);
    case ValueKind::Error: fail(value.error());
    default: fail(ecValue);
    }
}

Evaluator::Evaluator(SheetTable& sheet, int32_t row, int32_t column, const formula::Expression& expression)
    : sheet_(sheet), row_(row), column_(column), expression_(expression) {}

Workbook& Evaluator::workbook() const { return sheet_.workbook(); }

const FormatSettings& Evaluator::settings() const { return sheet_.workbook().settings(); }

void Evaluator::children(uint32_t index, std::vector<uint32_t>& out) const {
    const Node& node = expression_.nodes()[index];
    out.resize(formula::Expression::childCount(node));
    uint32_t child = index - 1;
    for (size_t k = out.size(); k-- > 0;) {
        out[k] = child;
        if (k > 0) child = expression_.previousSibling(child);
    }
}

Value Evaluator::run(bool arrayFormula) {
    const std::vector<Node>& nodes = expression_.nodes();
    finalNode_ = expression_.rootIndex();
    while (nodes[finalNode_].kind == NodeKind::Paren) --finalNode_;
    Value result = evaluate(expression_.rootIndex(), arrayFormula ? Mode::Array : Mode::Value);
    if (result.isLambda()) return Value::error(ecCalc);
    if (arrayFormula) {
        if (!result.isReference()) return result;
        try {
            return Value::array(toMatrix(result));
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    }
    if (result.isReference()) return intersect(result);
    if (result.isArray()) return result.matrix().size() ? result.matrix().at(0) : Value::error(ecValue);
    return result;
}

Value Evaluator::evaluate(uint32_t index, Mode mode) {
    const Node& node = expression_.nodes()[index];
    switch (node.kind) {
    case NodeKind::Number: return Value::number(node.number);
    case NodeKind::String: return Value::text(std::u16string(expression_.text(node.text)));
    case NodeKind::Boolean: return Value::boolean(node.boolean);
    case NodeKind::Error: return Value::error(static_cast<FormulaErrorCode>(node.error));
    case NodeKind::Missing: return Value::omitted();
    case NodeKind::Reference: return reference(node);
    case NodeKind::Name: return name(node, mode);
    case NodeKind::Table: return table(node);
    case NodeKind::Paren: return evaluate(index - 1, mode);
    case NodeKind::Array: return arrayConstant(index);
    case NodeKind::Unary: return unary(node, index, mode);
    case NodeKind::Binary: return binary(node, index, mode);
    case NodeKind::Function: return function(node, index, mode);
    case NodeKind::Call: return call(index, mode);
    }
    return Value::error(ecValue);
}

Value Evaluator::reference(const Node& node) {
    if (node.shape == ReferenceShape::Invalid) return Value::error(ecRefErr);
    if ((node.flags & formula::kFlagExternal) && expression_.text(node.text) != u"[0]") return Value::error(ecRefErr);
    Workbook& book = workbook();
    SheetTable* first = node.sheet.empty() ? &sheet_ : book.findSheet(expression_.text(node.sheet));
    if (!first) return Value::error(ecRefErr);
    CellRect rect{moveCoordinate(node.first.column, node.first.columnAbsolute, columnOffset_, kMaxColumn),
                  moveCoordinate(node.first.row, node.first.rowAbsolute, rowOffset_, kMaxRow),
                  moveCoordinate(node.last.column, node.last.columnAbsolute, columnOffset_, kMaxColumn),
                  moveCoordinate(node.last.row, node.last.rowAbsolute, rowOffset_, kMaxRow)};
    if (rect.left > rect.right) std::swap(rect.left, rect.right);
    if (rect.top > rect.bottom) std::swap(rect.top, rect.bottom);
    if (node.shape == ReferenceShape::Columns) rect.top = 0, rect.bottom = kMaxRow;
    if (node.shape == ReferenceShape::Rows) rect.left = 0, rect.right = kMaxColumn;
    if (node.flags & formula::kFlagSpill) return spill(*first, rect.top, rect.left);
    if (node.lastSheet.empty()) return Value::reference({first, rect});
    // Sheet1:Sheet3!A1, the same cells on every sheet from the first to the last.
    SheetTable* last = book.findSheet(expression_.text(node.lastSheet));
    if (!last) return Value::error(ecRefErr);
    int32_t from = book.indexOf(*first), to = book.indexOf(*last);
    if (from > to) std::swap(from, to);
    std::vector<Area> areas;
    for (int32_t i = from; i <= to; ++i) areas.push_back({&book.sheet(i), rect});
    return Value::references(std::move(areas));
}

Value Evaluator::spill(SheetTable& sheet, int32_t row, int32_t column) {
    CellRef cell = sheet.getCell(row, column);
    if (!cell || cell.dataType() != cdtFormula) return Value::error(ecRefErr);
    const CellFormula& formula = *cell.cell()->formula;
    if (formula.role != FormulaRole::ArrayAnchor) return Value::error(ecRefErr);
    cell.formulaResult();
    int32_t rows = formula.array.bottom - formula.array.top + 1, columns = formula.array.right - formula.array.left + 1;
    if (formula.dynamic && formula.arrayResult) {
        rows = formula.arrayResult->rows();
        columns = formula.arrayResult->columns();
    }
    return Value::reference({&sheet, {column, row, std::min(kMaxColumn, column + columns - 1), std::min(kMaxRow, row + rows - 1)}});
}

Value Evaluator::name(const Node& node, Mode mode) {
    const std::u16string_view text = expression_.text(node.text);
    const bool external = node.flags & formula::kFlagExternal;
    if (external && expression_.text(node.lastSheet) != u"[0]") return Value::error(ecRefErr);
    if (node.sheet.empty() && !external && bindings_) {
        if (const Value* bound = bindings_->find(text)) return *bound;
    }
    Workbook& book = workbook();
    int32_t scope = book.indexOf(sheet_);
    if (!node.sheet.empty()) {
        SheetTable* qualifier = book.findSheet(expression_.text(node.sheet));
        if (!qualifier) return Value::error(ecRefErr);
        scope = book.indexOf(*qualifier);
    }
    const DefinedName* defined = book.names().find(text, scope);
    if (!defined || !defined->expression) {
        if (node.sheet.empty() && !external) {
            if (const FunctionSpec* spec = findFunction(text)) {
                auto function = std::make_shared<Lambda>();
                function->function = spec;
                function->sheet = &sheet_;
                function->row = row_;
                function->column = column_;
                return Value::lambda(std::move(function));
            }
        }
        return Value::error(ecName);
    }
    if (nameDepth >= kMaxNameDepth) return Value::error(ecRefErr);
    DepthGuard guard(nameDepth);
    // Unqualified references of a sheet's own name are on that sheet.
    SheetTable& home = defined->sheet >= 0 && defined->sheet < book.sheetCount() ? book.sheet(defined->sheet) : sheet_;
    Evaluator inner(home, row_, column_, *defined->expression);
    inner.setReferenceOffset(row_, column_);
    return inner.evaluate(defined->expression->rootIndex(), mode);
}

Value Evaluator::table(const Node& node) {
    Workbook& book = workbook();
    const std::u16string_view name = expression_.text(node.text);
    const TableDefinition* table = name.empty() ? book.tables().at(book.indexOf(sheet_), row_, column_) : book.tables().find(name);
    if (!table || table->sheet < 0 || table->sheet >= book.sheetCount()) return Value::error(ecRefErr);
    CellRect rect = table->area;
    // Columns by name, in any case; a range of them in either order.
    if (!node.sheet.empty()) {
        const auto columnOf = [&](std::u16string_view column) -> int32_t {
            for (size_t i = 0; i < table->columns.size(); ++i) {
                if (equalsIgnoringAsciiCase(table->columns[i], column)) return table->area.left + int32_t(i);
            }
            return -1;
        };
        int32_t first = columnOf(expression_.text(node.sheet));
        int32_t last = node.lastSheet.empty() ? first : columnOf(expression_.text(node.lastSheet));
        if (first < 0 || last < 0) return Value::error(ecRefErr);
        if (first > last) std::swap(first, last);
        rect.left = first;
        rect.right = last;
    }
    const int32_t headerTop = table->area.top;
    const int32_t dataTop = table->area.top + (table->headerRow ? 1 : 0);
    const int32_t dataBottom = table->area.bottom - (table->totalsRow ? 1 : 0);
    uint32_t items = node.count;
    if (items == 0) items = formula::kTableData;
    if (items & formula::kTableThisRow) {
        if (row_ < dataTop || row_ > dataBottom) return Value::error(ecValue);
        rect.top = rect.bottom = row_;
    } else if (items & formula::kTableAll) {
        rect.top = table->area.top;
        rect.bottom = table->area.bottom;
    } else {
        const bool headers = items & formula::kTableHeaders, data = items & formula::kTableData,
                   totals = items & formula::kTableTotals;
        if ((headers && !table->headerRow) || (totals && !table->totalsRow)) return Value::error(ecRefErr);
        if (headers && totals && !data) return Value::error(ecRefErr);
        rect.top = headers ? headerTop : data ? dataTop : table->area.bottom;
        rect.bottom = totals ? table->area.bottom : data ? dataBottom : headerTop;
        if (rect.top > rect.bottom) return Value::error(ecRefErr);
    }
    return Value::reference({&book.sheet(table->sheet), rect});
}

Value Evaluator::arrayConstant(uint32_t index) {
    const Node& node = expression_.nodes()[index];
    Matrix matrix(int32_t(node.rows), int32_t(node.count));
    std::vector<uint32_t> values;
    children(index, values);
    for (size_t i = 0; i < values.size(); ++i) matrix.set(i, evaluate(values[i], Mode::Value));
    return Value::array(std::move(matrix));
}

Value Evaluator::unary(const Node& node, uint32_t index, Mode mode) {
    const Value operand = evaluate(index - 1, mode);
    if (node.op == Operator::Single) {
        if (operand.isReference()) return intersect(operand);
        if (operand.isArray()) return operand.matrix().size() ? operand.matrix().at(0) : Value::error(ecValue);
        return operand;
    }
    Value value = dereference(operand, mode);
    if (node.op == Operator::Plus) return value;
    const FormatSettings& s = settings();
    const auto apply = [&](const Value& v) -> Value {
        if (v.isError()) return v;
        try {
            const double x = toNumber(v, s);
            return Value::number(node.op == Operator::Negate ? -x : x / 100);
        } catch (const CalcError& e) {
            return Value::error(e.code);
        }
    };
    if (value.isLambda()) return Value::error(ecValue);
    if (!value.isArray()) return apply(value);
    const Matrix& m = value.matrix();
    Matrix out(m.rows(), m.columns());
    for (size_t i = 0; i < m.size(); ++i) out.set(i, apply(m.at(i)));
    return Value::array(std::move(out));
}

Value Evaluator::binary(const Node& node, uint32_t index, Mode mode) {
    if (node.op == Operator::Range || node.op == Operator::Intersect || node.op == Operator::Union) {
        return referenceOperator(node, index, mode);
    }
    const uint32_t right = index - 1, left = expression_.previousSibling(right);
    const Value a = dereference(evaluate(left, mode), mode);
    const Value b = dereference(evaluate(right, mode), mode);
    if (a.isLambda() || b.isLambda()) return Value::error(ecValue);
    const FormatSettings& s = settings();
    const bool final = index == finalNode_;
    if (a.isScalar() && b.isScalar()) return scalarOperator(node.op, a, b, s, final);
    try {
        const std::shared_ptr<const Matrix> leftMatrix = toMatrix(a), rightMatrix = toMatrix(b);
        const Matrix &left = *leftMatrix, &right = *rightMatrix;
        if (node.op >= Operator::Power && node.op <= Operator::Subtract) {
            // A text that repeats over the whole array (="x"-A:C) is read as a number once, not
            // once per element: the number it is, or where it is none, #VALUE! for each element
            // whose other operand is no error (an error there comes first, as arithmetic has it).
            const auto readOnce = [&](const Matrix& m) -> std::optional<Value> {
                if (m.size() != 1 || !m.at(0).isText()) return std::nullopt;
                const std::optional<double> number = operandNumber(m.at(0), s);
                return number ? Value::number(*number) : Value::error(ecValue);
            };
            const std::optional<Value> once[2] = {readOnce(left), readOnce(right)};
            if (once[0] || once[1]) {
                return elementwise(left, right, [&](const Value& x, const Value& y) {
                    if (once[0] && once[0]->isError()) return y.isError() ? y : *once[0];
                    if (once[1] && once[1]->isError()) return x.isError() ? x : *once[1];
                    return arithmetic(node.op, once[0] ? *once[0] : x, once[1] ? *once[1] : y, s, false);
                });
            }
        }
        return elementwise(left, right,
                           [&](const Value& x, const Value& y) { return scalarOperator(node.op, x, y, s, false); });
    } catch (const CalcError& e) {
        return Value::error(e.code);
    }
}

Value Evaluator::referenceOperator(const Node& node, uint32_t index, Mode mode) {
    const uint32_t right = index - 1, left = expression_.previousSibling(right);
    const Value a = evaluate(left, mode);
    if (a.isError()) return a;
    const Value b = evaluate(right, mode);
    if (b.isError()) return b;
    if (!a.isReference() || !b.isReference()) return Value::error(ecValue);
    std::vector<Area> areas;
    if (node.op == Operator::Union) {
        for (size_t i = 0; i < a.areaCount(); ++i) areas.push_back(a.area(i));
        for (size_t i = 0; i < b.areaCount(); ++i) areas.push_back(b.area(i));
        return Value::references(std::move(areas));
    }
    if (node.op == Operator::Range) {
        // The smallest area that holds both; on one sheet only.
        Area bounds = a.area();
        for (const Value* v : {&a, &b}) {
            for (size_t i = 0; i < v->areaCount(); ++i) {
                const Area& area = v->area(i);
                if (area.sheet != bounds.sheet) return Value::error(ecValue);
                bounds.rect.left = std::min(bounds.rect.left, area.rect.left);
                bounds.rect.top = std::min(bounds.rect.top, area.rect.top);
                bounds.rect.right = std::max(bounds.rect.right, area.rect.right);
                bounds.rect.bottom = std::max(bounds.rect.bottom, area.rect.bottom);
            }
        }
        return Value::reference(bounds);
    }
    for (size_t i = 0; i < a.areaCount(); ++i) {
        for (size_t j = 0; j < b.areaCount(); ++j) {
            const Area& x = a.area(i);
            const Area& y = b.area(j);
            if (x.sheet != y.sheet) continue;
            const CellRect r{std::max(x.rect.left, y.rect.left), std::max(x.rect.top, y.rect.top),
                             std::min(x.rect.right, y.rect.right), std::min(x.rect.bottom, y.rect.bottom)};
            if (r.left <= r.right && r.top <= r.bottom) areas.push_back({x.sheet, r});
        }
    }
    return areas.empty() ? Value::error(ecNull) : Value::references(std::move(areas));
}

Value Evaluator::function(const Node& node, uint32_t index, Mode mode) {
    if (node.function == 0) return namedFunction(node, index, mode);
    const FunctionSpec& spec = functionOfNumber(node.function);
    if (node.count < spec.minArgs || node.count > spec.maxArgs) return Value::error(ecValue);
    const ArgumentNodes arguments(expression_, index, node.count);
    Call call(*this, spec, arguments.span(), mode);
    return call.run();
}

// A name called as a function: a LAMBDA that LET bound, or one a defined name holds.
Value Evaluator::namedFunction(const Node& node, uint32_t index, Mode mode) {
    Node asName = node;
    asName.kind = NodeKind::Name;
    asName.sheet = {};
    asName.flags = 0;
    const Value callee = name(asName, Mode::Value);
    if (callee.isError() && callee.error() == ecName) return callee;
    if (!callee.isLambda()) return Value::error(callee.isError() ? callee.error() : ecValue);
    const ArgumentNodes arguments(expression_, index, node.count);
    std::vector<Value> values;
    for (uint32_t argument : arguments.span()) values.push_back(evaluate(argument, mode));
    return callLambda(callee, values, mode);
}

Value Evaluator::call(uint32_t index, Mode mode) {
    std::vector<uint32_t> parts;
    children(index, parts);
    const Value callee = evaluate(parts.front(), mode);
    if (callee.isError()) return callee;
    if (!callee.isLambda()) return Value::error(ecValue);
    std::vector<Value> values;
    for (size_t i = 1; i < parts.size(); ++i) values.push_back(evaluate(parts[i], mode));
    return callLambda(callee, values, mode);
}

Value Evaluator::callLambda(const Value& function, std::span<const Value> arguments, Mode mode) {
    if (!function.isLambda()) return Value::error(ecValue);
    const Lambda& lambda = function.lambda();
    if (lambda.function) return callBuiltIn(*lambda.function, arguments, mode);
    if (arguments.size() > lambda.parameters.size()) return Value::error(ecValue);
    if (lambdaDepth >= kMaxLambdaDepth) return Value::error(ecNUM);
    DepthGuard guard(lambdaDepth);
    auto frame = std::make_shared<Bindings>();
    frame->parent = lambda.closure;
    for (size_t i = 0; i < lambda.parameters.size(); ++i) {
        frame->values.emplace_back(lambda.parameters[i], i < arguments.size() ? arguments[i] : Value::omitted());
    }
    Evaluator inner(*lambda.sheet, lambda.row, lambda.column, *lambda.expression);
    inner.setReferenceOffset(lambda.rowOffset, lambda.columnOffset);
    inner.setBindings(std::move(frame));
    return inner.evaluate(lambda.body, mode);
}

// A built-in called as a function value: NAME(_1, _2...) over the values, compiled once for
// each function and count of values on a thread.
Value Evaluator::callBuiltIn(const FunctionSpec& spec, std::span<const Value> arguments, Mode mode) {
    if (arguments.size() < spec.minArgs || arguments.size() > spec.maxArgs) return Value::error(ecValue);
    static constexpr std::u16string_view kParameters[] = {u"_1", u"_2", u"_3", u"_4", u"_5", u"_6", u"_7", u"_8"};
    if (arguments.size() > std::size(kParameters)) return Value::error(ecValue);
    thread_local std::map<std::pair<const FunctionSpec*, size_t>, std::unique_ptr<formula::Expression>> compiled;
    std::unique_ptr<formula::Expression>& call = compiled[{&spec, arguments.size()}];
    if (!call) {
        std::u16string text = u"=" + std::u16string(spec.name) + u"(";
        for (size_t i = 0; i < arguments.size(); ++i) text.append(i ? u"," : u"").append(kParameters[i]);
        call = compileFormula(text + u")");
        if (!call) return Value::error(ecName);
    }
    auto frame = std::make_shared<Bindings>();
    for (size_t i = 0; i < arguments.size(); ++i) frame->values.emplace_back(kParameters[i], arguments[i]);
    Evaluator inner(sheet_, row_, column_, *call);
    inner.setBindings(std::move(frame));
    return inner.evaluate(call->rootIndex(), mode);
}

Value Evaluator::intersect(const Value& value) {
    if (!value.isReference()) return value;
    if (value.areaCount() != 1) return Value::error(ecValue);
    const Area& area = value.area();
    const CellRect& r = area.rect;
    if (area.isCell()) return readCell(*area.sheet, r.top, r.left);
    if (r.left == r.right && row_ >= r.top && row_ <= r.bottom) return readCell(*area.sheet, row_, r.left);
    if (r.top == r.bottom && column_ >= r.left && column_ <= r.right) return readCell(*area.sheet, r.top, column_);
    return Value::error(ecValue);
}

std::shared_ptr<const Matrix> Evaluator::toMatrix(const Value& value) {
    switch (value.kind()) {
    case ValueKind::Array: return value.sharedMatrix();
    case ValueKind::Reference: {
        if (value.areaCount() != 1) fail(ecValue);
        const Area& area = value.area();
        if (area.cells() > kMaxArrayElements) fail(ecNUM);
        auto matrix = std::make_shared<Matrix>(area.rows(), area.columns());
        forEachCell(*this, area, [&](int32_t row, int32_t column, const Value& v) {
            matrix->set(row - area.rect.top, column - area.rect.left, v);
        });
        return matrix;
    }
    case ValueKind::Lambda: fail(ecCalc);
    default: {
        auto matrix = std::make_shared<Matrix>(1, 1);
        matrix->set(0, value);
        return matrix;
    }
    }
}

Value Evaluator::dereference(const Value& value, Mode mode) {
    if (!value.isReference()) return value;
    if (mode == Mode::Value) return intersect(value);
    if (value.areaCount() == 1 && value.area().isCell()) return readCell(*value.area().sheet, value.area().rect.top, value.area().rect.left);
    try {
        return Value::array(toMatrix(value));
    } catch (const CalcError& e) {
        return Value::error(e.code);
    }
}

Value Evaluator::readCell(SheetTable& sheet, int32_t row, int32_t column) {
    const CellRef cell = sheet.getCell(row, column);
    if (!cell) return {};
    const SheetCell& c = *cell.cell();
    switch (c.type) {
    case cdtBlank: return {};
    case cdtBoolean: return Value::boolean(c.boolean);
    case cdtError: return Value::error(c.error);
    case cdtCurrency: return Value::number(double(c.currency) / 10000.0);
    case cdtFloat: return Value::number(c.number);
    case cdtDateTime: return Value::date(c.number);
    case cdtInteger: return Value::number(c.integer);
    case cdtString: return Value::text(std::u16string(c.string->text()));
    case cdtFormula: return fromCellValue(evaluateFormula(sheet, row, column, *c.formula));
    }
    return {};
}

}  // namespace kes::calc
