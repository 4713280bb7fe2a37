// Engineering functions.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> engineeringFunctions() { return {}; }

}  // namespace kes::calc
