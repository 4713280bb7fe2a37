// Functions that need the world outside the workbook (web services, cubes, add-ins, stock data, images): without it they give the error Excel gives.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> webFunctions() { return {}; }

}  // namespace kes::calc
