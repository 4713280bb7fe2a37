// Depreciation of an asset: straight-line (SLN), sum-of-years' digits (SYD), fixed- and
// double-declining balance (DB, DDB, VDB) and the French degressive and linear schedules
// (AMORDEGRC, AMORLINC).
#include <cmath>

#include "sheet/calc/functions/day_count.h"

namespace kes::calc {
namespace {

// VDB walks its periods one by one; an asset depreciated over more periods than this is no
// asset.
constexpr double kMaxPeriods = 1e6;

Value sln(Call& call) {
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    if (life == 0) return Value::error(ecDivByZero);
    return Value::number((cost - salvage) / life);
}

Value syd(Call& call) {
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2), period = call.number(3);
    if (life <= 0 || period <= 0 || period > life) return Value::error(ecNUM);
    return Value::number((cost - salvage) * (life - period + 1) * 2 / (life * (life + 1)));
}

// DB: a fixed rate, rounded to three decimals, on the book value; the first year counts its
// months only, and the year after the last takes the rest of them.
Value db(Call& call) {
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    const double period = std::trunc(call.number(3));
    const double months = std::trunc(call.number(4, 12));
    if (cost < 0 || salvage < 0 || life <= 0 || period <= 0 || months < 1 || months > 12) return Value::error(ecNUM);
    if (period > life + 1 || (period > life && months == 12)) return Value::error(ecNUM);
    if (cost == 0) return Value::number(0);
    const double rate = roundDigits(1 - std::pow(salvage / cost, 1 / life), 3);
    const double first = cost * rate * months / 12;
    if (period == 1) return Value::number(first);
    const double bookValue = (cost - first) * std::pow(1 - rate, period - 2);
    if (period > life) return Value::number(bookValue * rate * (12 - months) / 12);
    return Value::number(bookValue * rate);
}

// The declining-balance depreciation of one period: `factor` / life of the book value, never
// taking the book value below the salvage.
double declining(double cost, double salvage, double life, double period, double factor) {
    const double rate = std::min(factor / life, 1.0);
    const double before = rate == 1 ? (period <= 1 ? cost : 0) : cost * std::pow(1 - rate, period - 1);
    const double after = cost * std::pow(1 - rate, period);
    return std::max(after < salvage ? before - salvage : before - after, 0.0);
}

Value ddb(Call& call) {
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2), period = call.number(3);
    const double factor = call.number(4, 2);
    if (cost < 0 || salvage < 0 || life <= 0 || period <= 0 || factor <= 0 || period > life) return Value::error(ecNUM);
    return Value::number(declining(cost, salvage, life, period, factor));
}

// The depreciation from the start up to `time` (periods, fractional ones prorated): declining
// balance, switching to straight-line over the remaining life once that gives more, unless
// told not to.
double depreciatedBy(double cost, double salvage, double life, double time, double factor, bool noSwitch) {
    double total = 0, bookValue = cost, straight = 0;
    bool switched = false;
    for (double period = 1; period - 1 < time; ++period) {
        double amount;
        if (noSwitch) {
            amount = declining(cost, salvage, life, period, factor);
        } else {
            if (!switched) {
                const double decliningAmount = std::min(bookValue * std::min(factor / life, 1.0),
                                                        std::max(bookValue - salvage, 0.0));
                straight = std::max(bookValue - salvage, 0.0) / (life - period + 1);
                switched = straight > decliningAmount;
                amount = switched ? straight : decliningAmount;
            } else {
                amount = std::min(straight, std::max(bookValue - salvage, 0.0));
            }
            bookValue -= amount;
        }
        total += amount * std::min(1.0, time - (period - 1));
    }
    return total;
}

Value vdb(Call& call) {
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    const double start = call.number(3), end = call.number(4);
    const double factor = call.number(5, 2);
    const bool noSwitch = call.boolean(6, false);
    if (cost < 0 || salvage < 0 || life <= 0 || factor <= 0 || start < 0 || end < start || end > life) {
        return Value::error(ecNUM);
    }
    if (end > kMaxPeriods) return Value::error(ecNUM);
    return Value::number(depreciatedBy(cost, salvage, life, end, factor, noSwitch) -
                         depreciatedBy(cost, salvage, life, start, factor, noSwitch));
}

// What AMORLINC and AMORDEGRC read: the cost, the purchase and the end of its first period,
// the salvage, the period asked for, the rate and the basis (actual/360 is not one of theirs).
struct Asset {
    double cost, firstYears, salvage, period, rate;
};

Asset assetArguments(Call& call) {
    Asset a{};
    a.cost = addInNumber(call, 0);
    const Day purchased = dateArgument(call, 1), firstPeriod = dateArgument(call, 2);
    a.salvage = addInNumber(call, 3);
    a.period = std::trunc(addInNumber(call, 4));
    a.rate = addInNumber(call, 5);
    const Basis basis = basisArgument(call, 6);
    if (basis == Basis::Actual360 || purchased.serial > firstPeriod.serial) fail(ecNUM);
    if (a.cost < 0 || a.salvage < 0 || a.salvage > a.cost || a.period < 0 || a.rate <= 0) fail(ecNUM);
    a.firstYears = yearFraction(purchased, firstPeriod, basis);
    return a;
}

// AMORLINC: the rate of the cost each period, the first prorated to its part of a year, until
// the cost less the salvage is used up.
Value amorLinc(Call& call) {
    const Asset a = assetArguments(call);
    const double yearly = a.cost * a.rate, depreciable = a.cost - a.salvage;
    const double first = std::min(a.firstYears * yearly, depreciable);
    if (a.period == 0) return Value::number(first);
    const double fullPeriods = std::floor((depreciable - first) / yearly);
    if (a.period <= fullPeriods) return Value::number(yearly);
    if (a.period == fullPeriods + 1) return Value::number(depreciable - first - yearly * fullPeriods);
    return Value::number(0);
}

// The coefficient AMORDEGRC raises the rate by, from the asset's life in years (1 / rate).
double degressiveCoefficient(double rate) {
    const double life = 1 / rate;
    if (life >= 3 && life <= 4) return 1.5;
    if (life >= 5 && life <= 6) return 2;
    if (life > 6) return 2.5;
    fail(ecNUM);
}

// AMORDEGRC: the raised rate on the remaining value, rounded to whole units; the period before
// the value would fall under the salvage takes half of what remains, the last one the rest.
Value amorDegrc(Call& call) {
    const Asset a = assetArguments(call);
    const double rate = a.rate * degressiveCoefficient(a.rate);
    double amount = roundDigits(a.firstYears * rate * a.cost, 0);
    if (a.period == 0) return Value::number(amount);
    double value = a.cost - amount;
    double remaining = value - a.salvage;
    for (double n = 0; n < a.period; ++n) {
        amount = roundDigits(rate * value, 0);
        remaining -= amount;
        if (remaining < 0) return Value::number(a.period - n <= 1 ? roundDigits(value * 0.5, 0) : 0);
        if (amount == 0) break;
        value -= amount;
    }
    return Value::number(amount);
}

constexpr FunctionSpec kFunctions[] = {
    {u"SLN", 3, 3, "VVV", sln, 142},
    {u"SYD", 4, 4, "VVVV", syd, 143},
    {u"DB", 4, 5, "VVVVV", db, 247},
    {u"DDB", 4, 5, "VVVVV", ddb, 144},
    {u"VDB", 5, 7, "VVVVVVV", vdb, 222},
    {u"AMORLINC", 6, 7, "VVVVVVV", amorLinc, kNoBiffId, kAddIn},
    {u"AMORDEGRC", 6, 7, "VVVVVVV", amorDegrc, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> depreciationFunctions() { return kFunctions; }

}  // namespace kes::calc
