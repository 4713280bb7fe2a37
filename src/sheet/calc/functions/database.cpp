// Database functions: DSUM, DGET, DCOUNT and their kin over a table with a criteria range.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> databaseFunctions() { return {}; }

}  // namespace kes::calc
