// The time value of money: annuities (PV, FV, PMT, NPER, RATE and the interest and principal
// parts of a payment), compounding (EFFECT, NOMINAL, FVSCHEDULE, PDURATION, RRI) and the
// fractional dollar prices DOLLARDE and DOLLARFR.
#include <cmath>

#include "sheet/calc/functions/finance_support.h"

namespace kes::calc {
namespace {

// (1 + rate)^periods, failing as Excel does: a zero growth raised to a negative power divides by
// zero, a negative one to a fractional power has no real value.
double growth(double rate, double periods) {
    const double base = 1 + rate;
    if (base == 0 && periods < 0) fail(ecDivByZero);
    if (base < 0 && periods != std::trunc(periods)) fail(ecNUM);
    return std::pow(base, periods);
}

// An annuity: a present value grows at `rate` for `periods` periods with a payment each period,
// at its end or its start, into a future value. The functions below solve it for one term.
struct Annuity {
    double rate, periods, payment, present, future;
    bool atStart;
};

double futureValue(const Annuity& a) {
    if (a.rate == 0) return -(a.present + a.payment * a.periods);
    const double q = growth(a.rate, a.periods);
    return -(a.present * q + a.payment * (1 + a.rate * a.atStart) * (q - 1) / a.rate);
}

double presentValue(const Annuity& a) {
    if (a.rate == 0) return -(a.future + a.payment * a.periods);
    const double q = growth(a.rate, a.periods);
    if (q == 0) fail(ecDivByZero);
    return -(a.future + a.payment * (1 + a.rate * a.atStart) * (q - 1) / a.rate) / q;
}

double payment(const Annuity& a) {
    if (a.periods == 0) fail(ecNUM);
    if (a.rate == 0) return -(a.present + a.future) / a.periods;
    const double q = growth(a.rate, a.periods);
    const double divisor = (1 + a.rate * a.atStart) * (q - 1);
    if (divisor == 0) fail(ecNUM);
    return -(a.future + a.present * q) * a.rate / divisor;
}

// The interest part of payment `period` (from 1): the rate on the balance after the payments
// before it; nothing for the first payment made at the start.
double interestPart(const Annuity& a, double period) {
    if (a.atStart && period == 1) return 0;
    Annuity before = a;
    before.periods = period - 1;
    before.payment = payment(a);
    const double interest = futureValue(before) * a.rate;
    return a.atStart ? interest / (1 + a.rate) : interest;
}

// The principal part of payment `period`, written so that it does not cancel when the payment
// and the interest are almost equal: (pv + fv) * rate * (1 + rate)^(period - 1) / ((1 + rate)^n - 1).
double principalPart(const Annuity& a, double period) {
    if (a.rate == 0) return payment(a);
    if (a.atStart && period == 1) return payment(a);
    const double q = growth(a.rate, a.periods);
    if (q == 1) fail(ecNUM);
    const double part = -(a.present + a.future) * a.rate * growth(a.rate, period - 1) / (q - 1);
    return a.atStart ? part / (1 + a.rate) : part;
}

Value pv(Call& call) {
    const double rate = call.number(0), periods = call.number(1), pmt = call.number(2);
    const double future = call.number(3, 0);
    return Value::number(presentValue({rate, periods, pmt, 0, future, paymentAtStart(call, 4)}));
}

Value fv(Call& call) {
    const double rate = call.number(0), periods = call.number(1), pmt = call.number(2);
    const double present = call.number(3, 0);
    return Value::number(futureValue({rate, periods, pmt, present, 0, paymentAtStart(call, 4)}));
}

Value pmt(Call& call) {
    const double rate = call.number(0), periods = call.number(1), present = call.number(2);
    const double future = call.number(3, 0);
    return Value::number(payment({rate, periods, 0, present, future, paymentAtStart(call, 4)}));
}

// IPMT and PPMT: one part of payment `period` (from 1 to the number of periods).
template <class Part>
Value paymentPart(Call& call, Part&& part) {
    const double rate = call.number(0), period = call.number(1), periods = call.number(2), present = call.number(3);
    const double future = call.number(4, 0);
    const Annuity a{rate, periods, 0, present, future, paymentAtStart(call, 5)};
    if (period < 1 || period > periods) return Value::error(ecNUM);
    return Value::number(part(a, period));
}

Value ipmt(Call& call) { return paymentPart(call, interestPart); }
Value ppmt(Call& call) { return paymentPart(call, principalPart); }

Value nper(Call& call) {
    const double rate = call.number(0), pmt = call.number(1), present = call.number(2);
    const double future = call.number(3, 0);
    const bool atStart = paymentAtStart(call, 4);
    if (rate == 0) {
        if (pmt == 0) return Value::error(ecNUM);
        return Value::number(-(present + future) / pmt);
    }
    if (rate <= -1) return Value::error(ecNUM);
    // log(numerator / denominator), written as log1p of their difference so that a tiny rate
    // keeps its digits.
    const double weighted = pmt * (1 + rate * atStart);
    const double numerator = weighted - future * rate, denominator = weighted + present * rate;
    if (denominator == 0 || !(numerator / denominator > 0)) return Value::error(ecNUM);
    return Value::number(std::log1p(-rate * (future + present) / denominator) / std::log1p(rate));
}

// RATE solves the annuity for its rate by Newton's method from the guess (10%), as Excel does,
// giving up after a bounded number of steps; a rate of -100% or less is no answer.
Value rate(Call& call) {
    const double periods = call.number(0), pmt = call.number(1), present = call.number(2);
    const double future = call.number(3, 0);
    const double weight = paymentAtStart(call, 4) ? 1 : 0;
    double r = call.number(5, 0.1);
    constexpr int kMaxSteps = 100;
    const auto balance = [&](double x, double& slope) {
        if (x == 0) {
            slope = present * periods + pmt * (periods * (periods - 1) / 2 + weight * periods);
            return present + pmt * periods + future;
        }
        const double q = std::pow(1 + x, periods), dq = periods * std::pow(1 + x, periods - 1);
        const double annuityFactor = (q - 1) / x;
        slope = present * dq + pmt * (weight * annuityFactor + (1 + x * weight) * (dq * x - (q - 1)) / (x * x));
        return present * q + pmt * (1 + x * weight) * annuityFactor + future;
    };
    for (int step = 0; step < kMaxSteps; ++step) {
        double slope = 0;
        const double value = balance(r, slope);
        if (!std::isfinite(value) || !std::isfinite(slope) || slope == 0) return Value::error(ecNUM);
        const double next = r - value / slope;
        if (!std::isfinite(next)) return Value::error(ecNUM);
        if (std::fabs(next - r) < 1e-10) {
            if (next <= -1) return Value::error(ecNUM);
            return Value::number(next);
        }
        r = next;
    }
    return Value::error(ecNUM);
}

// The principal parts of payments `first` to `last` of a loan without a future value: after
// the first payment they grow by (1 + rate) a period, so they sum as a geometric series.
double principalBetween(const Annuity& a, double first, double last) {
    double total = 0;
    if (a.atStart && first == 1) {
        total = payment(a);
        first = 2;
    }
    if (first > last) return total;
    const double q = growth(a.rate, a.periods);
    const double scale = -a.present * a.rate / (q - 1) / (a.atStart ? 1 + a.rate : 1);
    return total + scale * (growth(a.rate, last) - growth(a.rate, first - 1)) / a.rate;
}

// CUMIPMT and CUMPRINC read a loan's rate, periods and present value, then the payments to sum
// and when they fall.
Value cumulative(Call& call, bool interest) {
    Annuity a{};
    a.rate = addInNumber(call, 0);
    a.periods = addInNumber(call, 1);
    a.present = addInNumber(call, 2);
    const double first = std::trunc(addInNumber(call, 3)), last = std::trunc(addInNumber(call, 4));
    const int64_t type = addInInteger(call, 5);
    if (a.rate <= 0 || a.periods <= 0 || a.present <= 0) return Value::error(ecNUM);
    if (first < 1 || last < 1 || first > last || last > a.periods) return Value::error(ecNUM);
    if (type != 0 && type != 1) return Value::error(ecNUM);
    a.atStart = type == 1;
    const double principal = principalBetween(a, first, last);
    return Value::number(interest ? payment(a) * (last - first + 1) - principal : principal);
}

Value cumIpmt(Call& call) { return cumulative(call, true); }
Value cumPrinc(Call& call) { return cumulative(call, false); }

Value isPmt(Call& call) {
    const double rate = call.number(0), period = call.number(1), periods = call.number(2), present = call.number(3);
    if (periods == 0) return Value::error(ecDivByZero);
    return Value::number(present * rate * (period / periods - 1));
}

Value effect(Call& call) {
    const double nominal = addInNumber(call, 0);
    const double periods = std::trunc(addInNumber(call, 1));
    if (nominal <= 0 || periods < 1) return Value::error(ecNUM);
    return Value::number(std::pow(1 + nominal / periods, periods) - 1);
}

Value nominal(Call& call) {
    const double effective = addInNumber(call, 0);
    const double periods = std::trunc(addInNumber(call, 1));
    if (effective <= 0 || periods < 1) return Value::error(ecNUM);
    return Value::number(periods * (std::pow(1 + effective, 1 / periods) - 1));
}

// The schedule's rates compound on the principal; blank cells are 0%, anything but a number is
// #VALUE!.
Value fvSchedule(Call& call) {
    double value = addInNumber(call, 0);
    const auto schedule = call.matrix(1);
    for (size_t i = 0; i < schedule->size(); ++i) {
        switch (schedule->kindAt(i)) {
        case ValueKind::Number: value *= 1 + schedule->numberAt(i); break;
        case ValueKind::Blank: break;
        case ValueKind::Error: return schedule->at(i);
        default: return Value::error(ecValue);
        }
    }
    return Value::number(value);
}

Value pDuration(Call& call) {
    const double rate = call.number(0), present = call.number(1), future = call.number(2);
    if (rate <= 0 || present <= 0 || future <= 0) return Value::error(ecNUM);
    return Value::number((std::log(future) - std::log(present)) / std::log1p(rate));
}

Value rri(Call& call) {
    const double periods = call.number(0), present = call.number(1), future = call.number(2);
    if (periods <= 0 || present == 0) return Value::error(ecNUM);
    const double ratio = future / present;
    if (ratio < 0) return Value::error(ecNUM);
    return Value::number(std::pow(ratio, 1 / periods) - 1);
}

// DOLLARDE and DOLLARFR read the digits after the point as a count of 1/fraction parts: with a
// fraction of 16, 1.02 is 1 and 2/16. The fraction's digits fix how many decimals that takes.
template <class Convert>
Value dollar(Call& call, Convert&& convert) {
    const double value = addInNumber(call, 0);
    const double fraction = std::trunc(addInNumber(call, 1));
    if (fraction < 0) return Value::error(ecNUM);
    if (fraction < 1) return Value::error(ecDivByZero);
    const double scale = std::pow(10.0, std::ceil(std::log10(fraction)));
    const double whole = std::trunc(value);
    return Value::number(whole + convert(value - whole, fraction, scale));
}

Value dollarDe(Call& call) {
    return dollar(call, [](double part, double fraction, double scale) { return part * scale / fraction; });
}
Value dollarFr(Call& call) {
    return dollar(call, [](double part, double fraction, double scale) { return part * fraction / scale; });
}

constexpr FunctionSpec kFunctions[] = {
    {u"PV", 3, 5, "VVVVV", pv, 56},
    {u"FV", 3, 5, "VVVVV", fv, 57},
    {u"PMT", 3, 5, "VVVVV", pmt, 59},
    {u"NPER", 3, 5, "VVVVV", nper, 58},
    {u"RATE", 3, 6, "VVVVVV", rate, 60},
    {u"IPMT", 4, 6, "VVVVVV", ipmt, 167},
    {u"PPMT", 4, 6, "VVVVVV", ppmt, 168},
    {u"CUMIPMT", 6, 6, "VVVVVV", cumIpmt, kNoBiffId, kAddIn},
    {u"CUMPRINC", 6, 6, "VVVVVV", cumPrinc, kNoBiffId, kAddIn},
    {u"ISPMT", 4, 4, "VVVV", isPmt, 350},
    {u"EFFECT", 2, 2, "VV", effect, kNoBiffId, kAddIn},
    {u"NOMINAL", 2, 2, "VV", nominal, kNoBiffId, kAddIn},
    {u"FVSCHEDULE", 2, 2, "VA", fvSchedule, kNoBiffId, kAddIn},
    {u"PDURATION", 3, 3, "VVV", pDuration, kNoBiffId, kFilePrefix},
    {u"RRI", 3, 3, "VVV", rri, kNoBiffId, kFilePrefix},
    {u"DOLLARDE", 2, 2, "VV", dollarDe, kNoBiffId, kAddIn},
    {u"DOLLARFR", 2, 2, "VV", dollarFr, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> timeValueFunctions() { return kFunctions; }

}  // namespace kes::calc
