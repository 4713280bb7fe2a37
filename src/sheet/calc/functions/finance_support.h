#pragma once
// What the financial functions share: when payments fall, and the lists of the family's files,
// which financialFunctions() joins.
#include <span>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

// Payments fall at the end of a period (0, the default) or at its start (anything else).
bool paymentAtStart(Call& call, size_t index);

std::span<const FunctionSpec> timeValueFunctions();
std::span<const FunctionSpec> cashFlowFunctions();
std::span<const FunctionSpec> depreciationFunctions();
std::span<const FunctionSpec> dayCountFunctions();
std::span<const FunctionSpec> discountSecurityFunctions();
std::span<const FunctionSpec> couponBondFunctions();
std::span<const FunctionSpec> oddPeriodBondFunctions();

}  // namespace kes::calc
