// Logical functions: IF and its kin, AND/OR/XOR/NOT, SWITCH, and LET, LAMBDA with the
// functions that call a LAMBDA over an array (BYROW, BYCOL, MAP, REDUCE, SCAN, MAKEARRAY).
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/formula/formula_ast.h"

namespace kes::calc {
namespace {

// A condition as IF reads it: numbers are true unless 0, the texts TRUE and FALSE, blank false.
bool condition(Call& call, size_t index) { return toBoolean(call.scalar(index), call.settings()); }

// A branch IF gives: as written, a reference staying a reference; an empty one is 0.
Value branch(Call& call, size_t index) {
    if (call.isMissing(index)) return Value::number(0);
    return call.arg(index);
}

Value ifFunction(Call& call) {
    const Value test = call.scalar(0);
    if (test.isError()) return test;
    if (toBoolean(test, call.settings())) return branch(call, 1);
    if (call.count() < 3) return Value::boolean(false);
    return branch(call, 2);
}

Value ifs(Call& call) {
    if (call.count() % 2 != 0) return Value::error(ecValue);
    for (size_t i = 0; i + 1 < call.count(); i += 2) {
        const Value test = call.scalar(i);
        if (test.isError()) return test;
        if (toBoolean(test, call.settings())) return branch(call, i + 1);
    }
    return Value::error(ecNA);
}

Value ifError(Call& call) {
    const Value& value = call.arg(0);
    if (value.isError()) return branch(call, 1);
    return call.isMissing(0) ? Value::number(0) : value;
}

Value ifNa(Call& call) {
    const Value& value = call.arg(0);
    if (value.isError() && value.error() == ecNA) return branch(call, 1);
    return call.isMissing(0) ? Value::number(0) : value;
}

// AND, OR and XOR over every value: numbers and booleans count, and so does a text TRUE or
// FALSE given directly; other texts are skipped. Nothing to count is #VALUE!.
template <class Fold>
Value logicalFold(Call& call, bool start, Fold&& fold) {
    bool result = start;
    bool any = false;
    for (size_t i = 0; i < call.count(); ++i) {
        call.forEachValue(i, [&](const Value& v, bool direct) {
            switch (v.kind()) {
            case ValueKind::Number:
            case ValueKind::Boolean:
                result = fold(result, v.number() != 0);
                any = true;
                break;
            case ValueKind::Text: {
                if (!direct) break;
                const bool isTrue = equalsIgnoringAsciiCase(v.text(), u"TRUE");
                if (!isTrue && !equalsIgnoringAsciiCase(v.text(), u"FALSE")) break;
                result = fold(result, isTrue);
                any = true;
                break;
            }
            case ValueKind::Error: fail(v.error());
            case ValueKind::Blank:
                if (direct && v.isOmitted()) {
                    result = fold(result, false);
                    any = true;
                }
                break;
            default: fail(ecValue);
            }
        });
    }
    if (!any) return Value::error(ecValue);
    return Value::boolean(result);
}

Value andFunction(Call& call) { return logicalFold(call, true, [](bool a, bool b) { return a && b; }); }
Value orFunction(Call& call) { return logicalFold(call, false, [](bool a, bool b) { return a || b; }); }
Value xorFunction(Call& call) { return logicalFold(call, false, [](bool a, bool b) { return a != b; }); }
Value notFunction(Call& call) { return Value::boolean(!condition(call, 0)); }
Value trueFunction(Call&) { return Value::boolean(true); }
Value falseFunction(Call&) { return Value::boolean(false); }

Value switchFunction(Call& call) {
    const Value subject = call.scalar(0);
    if (subject.isError()) return subject;
    size_t i = 1;
    for (; i + 1 < call.count(); i += 2) {
        if (call.isMissing(i)) {   // an empty case is 0, and matches an empty cell too: SWITCH(x,,"zero")
            if (subject.isBlank() || (subject.isNumber() && subject.number() == 0)) return branch(call, i + 1);
            continue;
        }
        const Value candidate = call.scalar(i);
        if (candidate.isError()) return candidate;
        if (!candidate.isBlank() || subject.isBlank()) {
            if (candidate.kind() == subject.kind() && compareValues(subject, candidate) == 0) return branch(call, i + 1);
        }
    }
    if (i < call.count()) return branch(call, i);   // the default
    return Value::error(ecNA);
}

// The name a LET or LAMBDA argument declares; none for anything but a plain name.
const std::u16string_view* parameterName(Call& call, size_t index, std::u16string_view& out) {
    const formula::Node& node = call.evaluator().expression().nodes()[call.node(index)];
    if (node.kind != formula::NodeKind::Name || !node.sheet.empty()) return nullptr;
    out = call.evaluator().expression().text(node.text);
    return &out;
}

Value let(Call& call) {
    if (call.count() < 3 || call.count() % 2 == 0) return Value::error(ecValue);
    Evaluator& evaluator = call.evaluator();
    const std::shared_ptr<const Bindings> outer = evaluator.bindings();
    std::shared_ptr<const Bindings> scope = outer;
    Value result;
    try {
        for (size_t i = 0; i + 1 < call.count(); i += 2) {
            std::u16string_view name;
            if (!parameterName(call, i, name)) {
                evaluator.setBindings(outer);
                return Value::error(ecName);
            }
            Value value = call.evaluate(i + 1, call.mode());
            auto frame = std::make_shared<Bindings>();
            frame->parent = scope;
            frame->values.emplace_back(std::u16string(name), std::move(value));
            scope = std::move(frame);
            evaluator.setBindings(scope);
        }
        result = call.evaluate(call.count() - 1, call.mode());
    } catch (...) {
        evaluator.setBindings(outer);
        throw;
    }
    evaluator.setBindings(outer);
    return result;
}

Value lambda(Call& call) {
    Evaluator& evaluator = call.evaluator();
    auto function = std::make_shared<Lambda>();
    for (size_t i = 0; i + 1 < call.count(); ++i) {
        std::u16string_view name;
        if (!parameterName(call, i, name)) return Value::error(ecValue);
        function->parameters.emplace_back(name);
    }
    function->expression = &evaluator.expression();
    function->body = call.node(call.count() - 1);
    function->closure = evaluator.bindings();
    function->sheet = &evaluator.sheet();
    function->row = evaluator.row();
    function->column = evaluator.column();
    function->rowOffset = evaluator.rowOffset();
    function->columnOffset = evaluator.columnOffset();
    return Value::lambda(std::move(function));
}

Value isOmitted(Call& call) { return Value::boolean(call.arg(0).isOmitted()); }

// The LAMBDA a function of this family is given: its last argument, taking `parameters` values.
Value lambdaArgument(Call& call, size_t index, size_t parameters) {
    const Value function = call.evaluate(index, Mode::Value);
    if (function.isError()) fail(function.error());
    if (!function.isLambda() || !function.lambda().takes(parameters)) fail(ecValue);
    return function;
}

// A LAMBDA's result where one value is wanted: arrays and ranges of more than one value are
// #CALC!.
Value single(Evaluator& evaluator, const Value& value) {
    if (value.isReference()) {
        if (value.areaCount() == 1 && value.area().isCell()) return evaluator.dereference(value, Mode::Array);
        return Value::error(ecCalc);
    }
    if (value.isArray()) return value.matrix().size() == 1 ? value.matrix().at(0) : Value::error(ecCalc);
    if (value.isLambda()) return Value::error(ecCalc);
    return value;
}

Value byRowOrColumn(Call& call, bool byRow) {
    const auto m = call.matrix(0);
    const Value function = lambdaArgument(call, 1, 1);
    Evaluator& evaluator = call.evaluator();
    const int32_t count = byRow ? m->rows() : m->columns();
    Matrix out(byRow ? count : 1, byRow ? 1 : count);
    for (int32_t k = 0; k < count; ++k) {
        Matrix line(byRow ? 1 : m->rows(), byRow ? m->columns() : 1);
        for (size_t j = 0; j < line.size(); ++j) {
            line.set(j, byRow ? m->at(k, int32_t(j)) : m->at(int32_t(j), k));
        }
        const Value argument = Value::array(std::move(line));
        out.set(size_t(k), single(evaluator, evaluator.callLambda(function, {&argument, 1}, Mode::Array)));
    }
    return Value::array(std::move(out));
}

Value byRow(Call& call) { return byRowOrColumn(call, true); }
Value byCol(Call& call) { return byRowOrColumn(call, false); }

Value map(Call& call) {
    const size_t arrays = call.count() - 1;
    std::vector<std::shared_ptr<const Matrix>> inputs;
    int32_t rows = 1, columns = 1;
    for (size_t i = 0; i < arrays; ++i) {
        if (call.arg(i).isLambda()) return Value::error(ecValue);
        inputs.push_back(call.matrix(i));
        rows = std::max(rows, inputs.back()->rows());
        columns = std::max(columns, inputs.back()->columns());
    }
    const Value function = lambdaArgument(call, arrays, arrays);
    Evaluator& evaluator = call.evaluator();
    Matrix out(rows, columns);
    std::vector<Value> arguments(arrays);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            for (size_t i = 0; i < arrays; ++i) arguments[i] = inputs[i]->broadcast(r, c);
            out.set(r, c, single(evaluator, evaluator.callLambda(function, arguments, Mode::Array)));
        }
    }
    return Value::array(std::move(out));
}

Value reduceOrScan(Call& call, bool scan) {
    Value accumulator = call.isMissing(0) ? Value::omitted() : call.scalar(0);
    const auto m = call.matrix(1);
    const Value function = lambdaArgument(call, 2, 2);
    Evaluator& evaluator = call.evaluator();
    Matrix out(m->rows(), m->columns());
    for (size_t i = 0; i < m->size(); ++i) {
        const Value arguments[] = {accumulator, m->at(i)};
        Value next = evaluator.callLambda(function, arguments, Mode::Array);
        if (scan) {
            next = single(evaluator, next);
            out.set(i, next);
        }
        accumulator = std::move(next);
    }
    if (scan) return Value::array(std::move(out));
    if (accumulator.isReference()) return evaluator.dereference(accumulator, Mode::Array);
    return accumulator;
}

Value reduce(Call& call) { return reduceOrScan(call, false); }
Value scan(Call& call) { return reduceOrScan(call, true); }

Value makeArray(Call& call) {
    // The sizes are numbers: MAKEARRAY(2,"1",...) is #VALUE!.
    if (call.scalar(0).isText() || call.scalar(1).isText()) return Value::error(ecValue);
    const int64_t rows = call.integer(0), columns = call.integer(1);
    if (rows < 1 || columns < 1) return Value::error(ecValue);
    if (rows > kMaxArrayElements || columns > kMaxArrayElements || rows * columns > kMaxArrayElements) {
        return Value::error(ecNUM);
    }
    const Value function = lambdaArgument(call, 2, 2);
    Evaluator& evaluator = call.evaluator();
    Matrix out{int32_t(rows), int32_t(columns)};
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            const Value arguments[] = {Value::number(r + 1), Value::number(c + 1)};
            out.set(r, c, single(evaluator, evaluator.callLambda(function, arguments, Mode::Array)));
        }
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"IF", 2, 3, "VL", ifFunction, 1, kReturnsReference},
    {u"IFS", 2, kManyArgs, "VL*", ifs, kNoBiffId, kFilePrefix | kReturnsReference},
    {u"IFERROR", 2, 2, "VV", ifError, kNoBiffId},
    {u"IFNA", 2, 2, "VV", ifNa, kNoBiffId, kFilePrefix},
    {u"AND", 1, kManyArgs, "R", andFunction, 36},
    {u"OR", 1, kManyArgs, "R", orFunction, 37},
    {u"XOR", 1, kManyArgs, "R", xorFunction, kNoBiffId, kFilePrefix},
    {u"NOT", 1, 1, "V", notFunction, 38},
    {u"TRUE", 0, 0, "V", trueFunction, 34},
    {u"FALSE", 0, 0, "V", falseFunction, 35},
    {u"SWITCH", 3, kManyArgs, "VL", switchFunction, kNoBiffId, kFilePrefix | kReturnsReference},
    {u"LET", 3, kManyArgs, "L", let, kNoBiffId, kFilePrefix | kReturnsReference},
    {u"LAMBDA", 1, kManyArgs, "L", lambda, kNoBiffId, kFilePrefix},
    {u"ISOMITTED", 1, 1, "L", isOmitted, kNoBiffId, kFilePrefix},
    {u"BYROW", 2, 2, "AL", byRow, kNoBiffId, kFilePrefix},
    {u"BYCOL", 2, 2, "AL", byCol, kNoBiffId, kFilePrefix},
    {u"MAP", 2, kManyArgs, "A", map, kNoBiffId, kFilePrefix},
    {u"REDUCE", 3, 3, "VAL", reduce, kNoBiffId, kFilePrefix},
    {u"SCAN", 3, 3, "VAL", scan, kNoBiffId, kFilePrefix},
    {u"MAKEARRAY", 3, 3, "VVL", makeArray, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> logicalFunctions() { return kFunctions; }

}  // namespace kes::calc
