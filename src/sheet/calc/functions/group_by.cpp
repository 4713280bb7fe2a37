// GROUPBY and PIVOTBY: values aggregated by the distinct keys of rows (and columns).
#include "sheet/calc/functions/lookup_support.h"

namespace kes::calc {

std::span<const FunctionSpec> groupFunctions() { return {}; }

}  // namespace kes::calc
