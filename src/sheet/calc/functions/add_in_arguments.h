#pragma once
// How the Analysis ToolPak functions (the financial securities, the engineering functions...)
// read numbers: numbers and numeric text, blank as 0; a boolean, given or in a cell, is #VALUE!.
#include <cstdint>

#include "sheet/calc/call.h"

namespace kes::calc {

double addInNumber(Call& call, size_t index);
double addInNumber(Call& call, size_t index, double ifMissing);
// The same truncated toward zero, for counts, frequencies and bases; #NUM! when huge.
int64_t addInInteger(Call& call, size_t index);
int64_t addInInteger(Call& call, size_t index, int64_t ifMissing);

}  // namespace kes::calc
