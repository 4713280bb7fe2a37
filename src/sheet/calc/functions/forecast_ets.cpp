// Forecasts by exponential smoothing: FORECAST.ETS and its companions.
#include "sheet/calc/functions/statistics_support.h"

namespace kes::calc {

std::span<const FunctionSpec> exponentialSmoothingFunctions() { return {}; }

}  // namespace kes::calc
