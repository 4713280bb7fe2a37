#pragma once
// The lists of the engineering family's files, which engineeringFunctions() joins.
#include <span>

#include "sheet/calc/functions.h"

namespace kes::calc {

std::span<const FunctionSpec> comparisonAndBitFunctions();
std::span<const FunctionSpec> errorFunctions();
std::span<const FunctionSpec> numberBaseFunctions();
std::span<const FunctionSpec> besselFunctions();
std::span<const FunctionSpec> complexFunctions();
std::span<const FunctionSpec> unitConversionFunctions();

}  // namespace kes::calc
