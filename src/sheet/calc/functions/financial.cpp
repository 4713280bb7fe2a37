// Financial functions.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> financialFunctions() { return {}; }

}  // namespace kes::calc
