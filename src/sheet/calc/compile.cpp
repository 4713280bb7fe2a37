#include "sheet/calc/compile.h"

#include <vector>

#include "sheet/calc/functions.h"
#include "sheet/calc/value.h"

namespace kes::calc {
namespace {

using formula::Expression;
using formula::Node;
using formula::NodeKind;

// The names a LET or LAMBDA call binds are its parameters: LET(x, 1, y, 2, x + y) binds x and
// y, LAMBDA(a, b, a * b) binds a and b. Every plain name of the same spelling inside the call
// is one of them, and is written with _xlpm. in files.
void markParameters(Expression& expression, uint32_t call, bool isLet) {
    const std::vector<Node>& nodes = expression.nodes();
    const Node& node = nodes[call];
    std::vector<uint32_t> arguments(node.count);
    uint32_t child = call - 1;
    for (size_t k = arguments.size(); k-- > 0;) {
        arguments[k] = child;
        if (k > 0) child = expression.previousSibling(child);
    }
    std::vector<std::u16string_view> parameters;
    for (size_t k = 0; k + 1 < arguments.size(); ++k) {
        if (isLet && k % 2 == 1) continue;
        const Node& parameter = nodes[arguments[k]];
        if (parameter.kind != NodeKind::Name || !parameter.sheet.empty()) continue;
        parameters.push_back(expression.text(parameter.text));
    }
    for (uint32_t i = node.subtreeStart; i < call; ++i) {
        const Node& n = nodes[i];
        // A parameter holding a LAMBDA is called by name: LET(f, LAMBDA(x, x + 1), f(2)).
        const bool called = n.kind == NodeKind::Function && n.function == 0 && !(n.flags & formula::kFlagFilePrefix);
        if (!called && (n.kind != NodeKind::Name || !n.sheet.empty() || (n.flags & formula::kFlagExternal))) continue;
        for (std::u16string_view parameter : parameters) {
            if (equalsIgnoringAsciiCase(expression.text(n.text), parameter)) expression.markLambdaParameter(i);
        }
    }
}

}  // namespace

std::unique_ptr<formula::Expression> compileFormula(std::u16string_view text, formula::ParseError* error) {
    std::unique_ptr<Expression> expression = formula::parseFormula(text, error);
    if (!expression) return nullptr;
    const std::vector<Node>& nodes = expression->nodes();
    for (uint32_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        if (node.kind != NodeKind::Function) continue;
        const FunctionSpec* spec = findFunction(expression->text(node.text));
        if (!spec) continue;
        uint8_t prefixes = 0;
        if (spec->flags & kFilePrefix) prefixes |= formula::kFlagFilePrefix;
        if (spec->flags & kWorksheetPrefix) prefixes |= formula::kFlagWorksheetPrefix;
        expression->bindFunction(i, functionNumber(*spec), prefixes);
        if (spec->name == u"LET" || spec->name == u"LAMBDA") markParameters(*expression, i, spec->name == u"LET");
    }
    // A plain name that is a built-in's, and no parameter, is that function as a value.
    for (uint32_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        if (node.kind != NodeKind::Name || !node.sheet.empty() ||
            (node.flags & (formula::kFlagExternal | formula::kFlagLambdaParameter))) {
            continue;
        }
        if (findFunction(expression->text(node.text))) expression->markFunctionName(i);
    }
    return expression;
}

}  // namespace kes::calc
