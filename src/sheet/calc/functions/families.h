#pragma once
// The function families, one file each; the table in functions.cpp joins their lists.
#include <span>

#include "sheet/calc/functions.h"

namespace kes::calc {

std::span<const FunctionSpec> logicalFunctions();
std::span<const FunctionSpec> informationFunctions();
std::span<const FunctionSpec> mathFunctions();
std::span<const FunctionSpec> statisticalFunctions();
std::span<const FunctionSpec> textFunctions();
std::span<const FunctionSpec> dateTimeFunctions();
std::span<const FunctionSpec> lookupFunctions();
std::span<const FunctionSpec> dynamicArrayFunctions();
std::span<const FunctionSpec> financialFunctions();
std::span<const FunctionSpec> engineeringFunctions();
std::span<const FunctionSpec> databaseFunctions();
std::span<const FunctionSpec> webFunctions();

}  // namespace kes::calc
