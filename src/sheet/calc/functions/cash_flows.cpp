// Cash flows: their net present value (NPV, XNPV) and internal rate of return (IRR, MIRR, XIRR).
#include <cmath>
#include <vector>

#include "sheet/calc/functions/finance_support.h"

namespace kes::calc {
namespace {

// The iterative rates stop after this many steps, as Excel gives up on a guess that leads
// nowhere; so does the search for a bracket.
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

// Newton's method on the discount factor x = 1 / (1 + rate), in which a present value is a
// sum of powers of x: from a guess far from the answer it still finds its way, where the same
// steps on the rate overshoot below -100%. `valueAndSlope` gives the value at x and its slope.
template <class ValueAndSlope>
Value solveDiscountFactor(double guess, ValueAndSlope&& valueAndSlope) {
    double factor = 1 / (1 + guess), rate = guess;
    for (int step = 0; step < kMaxSteps; ++step) {
        double slope = 0;
        const double value = valueAndSlope(factor, slope);
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

Value irr(Call& call) {
    const std::vector<double> values = flows(call, 0);
    const double guess = call.number(1, 0.1);
    if (!hasBothSigns(values) || guess == -1) return Value::error(ecNUM);
    return solveDiscountFactor(guess, [&](double factor, double& slope) {
        double value = 0, power = 1;
        slope = 0;
        for (size_t k = 0; k < values.size(); ++k) {
            if (k > 0) {
                slope += double(k) * values[k] * power;
                power *= factor;
            }
            value += values[k] * power;
        }
        return value;
    });
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

double datedValue(const DatedFlows& flows, double rate) {
    double total = 0;
    for (size_t i = 0; i < flows.values.size(); ++i) total += flows.values[i] / std::pow(1 + rate, flows.years[i]);
    return total;
}

Value xnpv(Call& call) {
    const double rate = addInNumber(call, 0);
    const DatedFlows flows = datedFlows(call, 1, 2);
    if (rate <= 0 || flows.values.empty()) return Value::error(ecNUM);
    return Value::number(datedValue(flows, rate));
}

// XIRR brackets the rate as Excel does: while the value at the guess is positive it doubles the
// guess, while negative it halves it; then it halves the bracket until it is narrower than 1e-8
// and gives the end where the value is positive (the lower one, for a positive rate). A guess
// that doubling or halving cannot take across the answer (0, or the answer on the other side of
// 0) falls back to Newton's method; doubling to -100% or below is #NUM!.
Value xirr(Call& call) {
    const double guess = addInNumber(call, 2, 0.1);
    const DatedFlows flows = datedFlows(call, 0, 1);
    if (guess <= -1 || !hasBothSigns(flows.values)) return Value::error(ecNUM);
    const auto value = [&](double rate) { return datedValue(flows, rate); };
    const auto newton = [&] {
        return solveDiscountFactor(guess, [&](double factor, double& slope) {
            double total = 0;
            slope = 0;
            for (size_t i = 0; i < flows.values.size(); ++i) {
                const double term = flows.values[i] * std::pow(factor, flows.years[i]);
                total += term;
                slope += flows.years[i] * term / factor;
            }
            return total;
        });
    };
    constexpr double kWidth = 1e-8;
    const double atGuess = value(guess);
    if (!std::isfinite(atGuess)) return Value::error(ecNUM);
    // `above` keeps a positive value, `below` a value of zero or less.
    double above = guess, below = guess;
    if (atGuess > 0) {
        for (int step = 0; value(below) > 0; ++step) {
            if (below == 0 || step == kMaxSteps) return newton();
            above = below;
            below *= 2;
            if (below <= -1) return Value::error(ecNUM);
        }
    } else {
        for (int step = 0; value(above) <= 0; ++step) {
            if (step > 0 && std::fabs(below - above) < kWidth) return newton();
            below = above;
            above /= 2;
        }
    }
    while (std::fabs(below - above) >= kWidth) {
        const double middle = (above + below) / 2;
        (value(middle) > 0 ? above : below) = middle;
    }
    return Value::number(above);
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
