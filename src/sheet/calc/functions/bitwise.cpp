// DELTA and GESTEP, and the bitwise functions on whole numbers below 2^48 (BITAND, BITOR,
// BITXOR, BITLSHIFT, BITRSHIFT).
#include <cmath>
#include <cstdint>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/engineering_support.h"

namespace kes::calc {
namespace {

constexpr double kBitLimit = 281474976710656.0;   // 2^48
constexpr int64_t kMaxShift = 53;

Value delta(Call& call) {
    const double a = addInNumber(call, 0), b = addInNumber(call, 1, 0);
    return Value::number(a == b ? 1 : 0);
}

Value geStep(Call& call) {
    const double number = addInNumber(call, 0), step = addInNumber(call, 1, 0);
    return Value::number(number >= step ? 1 : 0);
}

// An operand of the bitwise functions: a whole number from 0 to 2^48 - 1, checked before the
// next argument is read.
uint64_t bits(Call& call, size_t index) {
    const double value = addInNumber(call, index);
    if (value < 0 || value >= kBitLimit || value != std::trunc(value)) fail(ecNUM);
    return uint64_t(value);
}

template <class Op>
Value bitwise(Call& call, Op&& op) {
    const uint64_t a = bits(call, 0);
    const uint64_t b = bits(call, 1);
    return Value::number(double(op(a, b)));
}

Value bitAnd(Call& call) { return bitwise(call, [](uint64_t a, uint64_t b) { return a & b; }); }
Value bitOr(Call& call) { return bitwise(call, [](uint64_t a, uint64_t b) { return a | b; }); }
Value bitXor(Call& call) { return bitwise(call, [](uint64_t a, uint64_t b) { return a ^ b; }); }

// Shifts left by `shift` places (right when negative); the result must stay below 2^48.
Value shifted(Call& call, int sign) {
    const uint64_t number = bits(call, 0);
    const int64_t shift = sign * addInInteger(call, 1);
    if (shift > kMaxShift || shift < -kMaxShift) return Value::error(ecNUM);
    const double result = shift >= 0 ? std::ldexp(double(number), int(shift)) : double(number >> -shift);
    if (result >= kBitLimit) return Value::error(ecNUM);
    return Value::number(result);
}

Value bitLShift(Call& call) { return shifted(call, 1); }
Value bitRShift(Call& call) { return shifted(call, -1); }

constexpr FunctionSpec kFunctions[] = {
    {u"DELTA", 1, 2, "VV", delta, kNoBiffId, kAddIn},
    {u"GESTEP", 1, 2, "VV", geStep, kNoBiffId, kAddIn},
    {u"BITAND", 2, 2, "VV", bitAnd, kNoBiffId, kFilePrefix},
    {u"BITOR", 2, 2, "VV", bitOr, kNoBiffId, kFilePrefix},
    {u"BITXOR", 2, 2, "VV", bitXor, kNoBiffId, kFilePrefix},
    {u"BITLSHIFT", 2, 2, "VV", bitLShift, kNoBiffId, kFilePrefix},
    {u"BITRSHIFT", 2, 2, "VV", bitRShift, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> comparisonAndBitFunctions() { return kFunctions; }

}  // namespace kes::calc
