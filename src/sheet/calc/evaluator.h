#pragma once
// The evaluator: computes one formula for one cell, walking its tree from the root. Operators
// and functions work on values, references and arrays as Excel's do: a reference where one value
// is wanted gives the value in the formula's own row or column (implicit intersection), while an
// array formula runs element by element over its ranges and arrays.
#include <cstdint>
#include <memory>
#include <span>

#include "sheet/calc/value.h"
#include "sheet/format/format_settings.h"

namespace kes {
class Workbook;
}

namespace kes::formula {
class Expression;
struct Node;
}  // namespace kes::formula

namespace kes::calc {

struct FunctionSpec;

// How an expression is evaluated: for one value (a cell's formula), or as an array (an array
// formula, or an argument a function takes as an array).
enum class Mode : uint8_t { Value, Array };

// Thrown by argument conversions (a text where a number is needed, an error in an argument);
// the function call it leaves gives the error as its result.
struct CalcError {
    FormulaErrorCode code;
};
[[noreturn]] void fail(FormulaErrorCode code);

class Evaluator {
public:
    Evaluator(SheetTable& sheet, int32_t row, int32_t column, const formula::Expression& expression);

    // The formula's result: one value for a cell (the value a reference intersects, the first
    // element of an array); for an array formula, an array or a single value.
    Value run(bool arrayFormula);

    Value evaluate(uint32_t node, Mode mode);

    // The fixed area of an array formula, for functions that answer past the end of their array
    // argument (kAnswersPastTheEnd). An argument a function takes whole (SUM's) is not
    // stretched to it.
    void setArrayArea(int32_t rows, int32_t columns) {
        areaRows_ = rows;
        areaColumns_ = columns;
    }
    int32_t areaRows() const { return areaRows_; }
    int32_t areaColumns() const { return areaColumns_; }
    // While alive, nothing is stretched to the area.
    class WholeArgument {
    public:
        explicit WholeArgument(Evaluator& e) : e_(e), rows_(e.areaRows_), columns_(e.areaColumns_) {
            e.areaRows_ = e.areaColumns_ = 0;
        }
        ~WholeArgument() { e_.setArrayArea(rows_, columns_); }
        WholeArgument(const WholeArgument&) = delete;
        WholeArgument& operator=(const WholeArgument&) = delete;

    private:
        Evaluator& e_;
        int32_t rows_, columns_;
    };

    // A reference where one value is wanted: a single cell, or the cell of the range in the
    // formula's own row or column; #VALUE! for anything else.
    Value intersect(const Value& reference);
    // The values of a reference or array as an array; a scalar as an array of one. Fails with
    // #VALUE! for a reference of several areas and #NUM! beyond kMaxArrayElements.
    std::shared_ptr<const Matrix> toMatrix(const Value& value);
    // A value as `mode` uses it: references become one value or an array of their values.
    Value dereference(const Value& value, Mode mode);
    // A cell's value, its formula computed first; blank for a cell that does not exist.
    Value readCell(SheetTable& sheet, int32_t row, int32_t column);

    // Calls a LAMBDA; fewer arguments than parameters leave the rest omitted, more are #VALUE!.
    Value callLambda(const Value& function, std::span<const Value> arguments, Mode mode);
    Value callBuiltIn(const FunctionSpec& function, std::span<const Value> arguments, Mode mode);

    // The cell whose formula this is.
    SheetTable& sheet() const { return sheet_; }
    int32_t row() const { return row_; }
    int32_t column() const { return column_; }
    Workbook& workbook() const;
    const FormatSettings& settings() const;
    const formula::Expression& expression() const { return expression_; }

    // The names LET and LAMBDA bind where evaluation stands.
    const std::shared_ptr<const Bindings>& bindings() const { return bindings_; }
    void setBindings(std::shared_ptr<const Bindings> bindings) { bindings_ = std::move(bindings); }

    // Relative references of a defined name move with the cell that uses it.
    void setReferenceOffset(int32_t rows, int32_t columns) {
        rowOffset_ = rows;
        columnOffset_ = columns;
    }
    int32_t rowOffset() const { return rowOffset_; }
    int32_t columnOffset() const { return columnOffset_; }

    // The children of a node, first to last.
    void children(uint32_t node, std::vector<uint32_t>& out) const;
    // The area the array formula anchored at the cell fills (A1#, ANCHORARRAY); #REF! when the
    // cell anchors none.
    Value spill(SheetTable& sheet, int32_t row, int32_t column);

private:
    Value reference(const formula::Node& node);
    Value name(const formula::Node& node, Mode mode);
    Value table(const formula::Node& node);
    Value arrayConstant(uint32_t index);
    Value unary(const formula::Node& node, uint32_t index, Mode mode);
    Value binary(const formula::Node& node, uint32_t index, Mode mode);
    Value referenceOperator(const formula::Node& node, uint32_t index, Mode mode);
    Value function(const formula::Node& node, uint32_t index, Mode mode);
    Value call(uint32_t index, Mode mode);
    Value namedFunction(const formula::Node& node, uint32_t index, Mode mode);

    SheetTable& sheet_;
    int32_t row_;
    int32_t column_;
    const formula::Expression& expression_;
    std::shared_ptr<const Bindings> bindings_;
    int32_t rowOffset_ = 0;
    int32_t columnOffset_ = 0;
    uint32_t finalNode_ = 0;   // the operator that gives the result, past parentheses
    int32_t areaRows_ = 0;     // see setArrayArea
    int32_t areaColumns_ = 0;
};

// Excel's conversions of one scalar, throwing CalcError where Excel gives an error: blank is
// 0, "" and FALSE; TRUE is 1; a text is a number only when it reads as one; an error is itself.
double toNumber(const Value& value, const FormatSettings& settings);
std::u16string toText(const Value& value);
bool toBoolean(const Value& value, const FormatSettings& settings);

}  // namespace kes::calc
