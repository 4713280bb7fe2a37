// Cash flows: their net present value (NPV, XNPV) and internal rate of return (IRR, MIRR, XIRR).
#include <cmath>
#include <vector>

#include "sheet/calc/functions/finance_support.h"

namespace kes::calc {
namespace {

// The iterative rates stop after this many steps, as Excel gives up on a guess that leads
// nowhere.
constexpr int kMaxSteps = 50;

Value npv(Call& call) {
    const double rate = call.number(0);
    if (rate == -1) return Value::error(ecDivByZero);
    double total = 0, discount = 1;
    for (const double value : collectNumbers(call, 1)) {
        discount *= 1 + rate;
        total += value / discount;
    }
    return Value::number(total);
}

// The numbers of a list of cash flows; texts, booleans and blanks are skipped, an error is
// #VALUE!.
std::vector<double> flows(Call& call, size_t index) {
    const auto values = call.matrix(index);
    std::vector<double> out;
    for (size_t i = 0; i < values->size(); ++i) {
        switch (values->kindAt(i)) {
        case ValueKind::Number: out.push_back(values->numberAt(i)); break;
        case ValueKind::Error: fail(ecValue);
        default: break;
        }
    }
    return out;
}

bool hasBothSigns(const std::vector<double>& values) {
    bool positive = false, negative = false;
    for (const double v : values) {
        positive |= v > 0;
        negative |= v < 0;
    }
    return positive && negative;
}

// Newton's method on a rate, from the guess; #NUM! when it leaves the rates above -100% or does
// not settle.
template <class Value_>
Value solveRate(double guess, Value_&& valueAndSlope) {
    double rate = guess;
    for (int step = 0; step < kMaxSteps; ++step) {
        double slope = 0;
        const double value = valueAndSlope(rate, slope);
        if (!std::isfinite(value) || !std::isfinite(slope) || slope == 0) break;
        const double next = rate - value / slope;
        if (!std::isfinite(next) || next <= -1) break;
        if (std::fabs(next - rate) <= 1e-10 * std::max(1.0, std::fabs(next))) return Value::number(next);
        rate = next;
    }
    return Value::error(ecNUM);
}

// IRR runs Newton's method on the discount factor 1 / (1 + rate), in which the net present
// value is a polynomial: from a guess far from the answer it still finds its way, where the
// same steps on the rate would overshoot below -100%.
Value irr(Call& call) {
    const std::vector<double> values = flows(call, 0);
    const double guess = call.number(1, 0.1);
    if (!hasBothSigns(values) || guess == -1) return Value::error(ecNUM);
    double factor = 1 / (1 + guess), rate = guess;
    for (int step = 0; step < kMaxSteps; ++step) {
        double value = 0, slope = 0, power = 1;
        for (size_t k = 0; k < values.size(); ++k) {
            if (k > 0) slope += double(k) * values[k] * power;
            if (k > 0) power *= factor;
            value += values[k] * power;
        }
        if (!std::isfinite(value) || !std::isfinite(slope) || slope == 0) break;
        factor -= value / slope;
        if (factor == 0 || !std::isfinite(factor)) break;
        const double next = 1 / factor - 1;
        if (std::fabs(next - rate) <= 1e-10 * std::max(1.0, std::fabs(next))) {
            return next > -1 ? Value::number(next) : Value::error(ecNUM);
        }
        rate = next;
    }
    return Value::error(ecNUM);
}

// MIRR: the rate that grows the outflows, financed at one rate, into the inflows reinvested at
// another; without outflows there is nothing to grow (#DIV/0!), without inflows it is -100%.
Value mirr(Call& call) {
    const std::vector<double> values = flows(call, 0);
    const double financeRate = call.number(1), reinvestRate = call.number(2);
    const double n = double(values.size());
    double inflows = 0, outflows = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i] > 0) inflows += values[i] * std::pow(1 + reinvestRate, n - 1 - double(i));
        else outflows += values[i] / std::pow(1 + financeRate, double(i));
    }
    if (outflows == 0) return Value::error(ecDivByZero);
    return Value::number(std::pow(-inflows / outflows, 1 / (n - 1)) - 1);
}

// The dated cash flows of XNPV and XIRR, paired by position: a pair whose value is text or
// blank is left out; booleans are #VALUE!, and so are lists of different sizes. Errors of the
// dates come before those of the values. Dates count in whole days.
struct DatedFlows {
    std::vector<double> values;
    std::vector<double> years;   // from the first date
};

DatedFlows datedFlows(Call& call, size_t valuesIndex, size_t datesIndex) {
    const auto values = call.matrix(valuesIndex);
    const auto dates = call.matrix(datesIndex);
    if (values->size() != dates->size()) fail(ecValue);
    for (size_t i = 0; i < dates->size(); ++i) {
        if (dates->kindAt(i) == ValueKind::Error) fail(dates->at(i).error());
    }
    DatedFlows out;
    double first = 0;
    for (size_t i = 0; i < values->size(); ++i) {
        const ValueKind kind = values->kindAt(i);
        if (kind == ValueKind::Error) fail(values->at(i).error());
        if (kind == ValueKind::Boolean || dates->kindAt(i) == ValueKind::Boolean) fail(ecValue);
        if (kind != ValueKind::Number) continue;
        const Value date = dates->at(i);
        const double day = std::trunc(toNumber(date, call.settings()));
        if (out.values.empty()) first = day;
        if (day < first || day < 0) fail(ecNUM);
        out.values.push_back(values->numberAt(i));
        out.years.push_back((day - first) / 365);
    }
    return out;
}

double datedValue(const DatedFlows& flows, double rate, double& slope) {
    double total = 0;
    slope = 0;
    for (size_t i = 0; i < flows.values.size(); ++i) {
        const double discounted = flows.values[i] / std::pow(1 + rate, flows.years[i]);
        total += discounted;
        slope -= flows.years[i] * discounted / (1 + rate);
    }
    return total;
}

Value xnpv(Call& call) {
    const double rate = addInNumber(call, 0);
    const DatedFlows flows = datedFlows(call, 1, 2);
    if (rate <= 0 || flows.values.empty()) return Value::error(ecNUM);
    double slope = 0;
    return Value::number(datedValue(flows, rate, slope));
}

Value xirr(Call& call) {
    const double guess = addInNumber(call, 2, 0.1);
    const DatedFlows flows = datedFlows(call, 0, 1);
    if (guess <= -1 || !hasBothSigns(flows.values)) return Value::error(ecNUM);
    return solveRate(guess, [&](double rate, double& slope) { return datedValue(flows, rate, slope); });
}

constexpr FunctionSpec kFunctions[] = {
    {u"NPV", 2, kManyArgs, "VR", npv, 11},
    {u"IRR", 1, 2, "AV", irr, 62},
    {u"MIRR", 3, 3, "AVV", mirr, 61},
    {u"XNPV", 3, 3, "VAA", xnpv, kNoBiffId, kAddIn},
    {u"XIRR", 2, 3, "AAV", xirr, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> cashFlowFunctions() { return kFunctions; }

}  // namespace kes::calc
