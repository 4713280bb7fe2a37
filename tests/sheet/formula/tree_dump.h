#pragma once
// A tree in prefix notation, every operator parenthesised, so that tests can see how a
// formula was grouped: "=-2^2" dumps as (^ (u- 2) 2). Two trees are the same when their dumps
// are: the dump shows every field the evaluator reads.
#include <string>

#include "sheet/formula/formula_parser.h"

namespace kes::formula {

std::u16string dumpTree(const Expression& expression);

// True when every node's subtreeStart and child count agree with the postfix layout.
bool isWellFormed(const Expression& expression);

// The dump of a formula's tree, or "refused" when it does not parse.
std::u16string dumpFormula(std::u16string_view text);

}  // namespace kes::formula
