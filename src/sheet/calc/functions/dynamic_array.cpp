// Dynamic-array functions: arrays made, filtered, sorted and reshaped.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> dynamicArrayFunctions() { return {}; }

}  // namespace kes::calc
