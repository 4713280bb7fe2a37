#include "sheet/calc/functions/add_in_arguments.h"

#include <cmath>

namespace kes::calc {

double addInNumber(Call& call, size_t index) {
    const Value value = call.scalar(index);
    if (value.isBoolean()) fail(ecValue);
    return toNumber(value, call.settings());
}

double addInNumber(Call& call, size_t index, double ifMissing) {
    return call.isMissing(index) ? ifMissing : addInNumber(call, index);
}

int64_t addInInteger(Call& call, size_t index) {
    const double value = std::trunc(addInNumber(call, index));
    if (!(std::fabs(value) < 9.2e18)) fail(ecNUM);
    return int64_t(value);
}

int64_t addInInteger(Call& call, size_t index, int64_t ifMissing) {
    return call.isMissing(index) ? ifMissing : addInInteger(call, index);
}

}  // namespace kes::calc
