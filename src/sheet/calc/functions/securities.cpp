// Securities without coupons: discounted ones (DISC, PRICEDISC, YIELDDISC, INTRATE, RECEIVED),
// those paying their interest at maturity (ACCRINTM, PRICEMAT, YIELDMAT) and Treasury bills.
#include <cmath>

#include "sheet/calc/functions/day_count.h"

namespace kes::calc {
namespace {

// The arguments every function here starts with: settlement and maturity, the settlement first.
struct Term {
    Day settlement, maturity;
};

Term termArguments(Call& call) {
    const Day settlement = dateArgument(call, 0), maturity = dateArgument(call, 1);
    return {settlement, maturity};
}

void requireOrder(const Term& term) {
    if (term.settlement.serial >= term.maturity.serial) fail(ecNUM);
}

// The functions of a discounted security read two amounts and the basis, then give a result of
// the years between settlement and maturity.
template <class Formula>
Value discounted(Call& call, Formula&& formula) {
    const Term term = termArguments(call);
    const double first = addInNumber(call, 2), second = addInNumber(call, 3);
    const Basis basis = basisArgument(call, 4);
    requireOrder(term);
    if (first <= 0 || second <= 0) return Value::error(ecNUM);
    return Value::number(formula(first, second, yearFraction(term.settlement, term.maturity, basis)));
}

Value disc(Call& call) {
    return discounted(call, [](double price, double redemption, double years) { return (1 - price / redemption) / years; });
}

Value priceDisc(Call& call) {
    return discounted(call, [](double rate, double redemption, double years) { return redemption * (1 - rate * years); });
}

Value yieldDisc(Call& call) {
    return discounted(call, [](double price, double redemption, double years) { return (redemption / price - 1) / years; });
}

Value intRate(Call& call) {
    return discounted(call, [](double investment, double redemption, double years) {
        return (redemption / investment - 1) / years;
    });
}

Value received(Call& call) {
    return discounted(call, [](double investment, double rate, double years) {
        const double kept = 1 - rate * years;
        if (kept <= 0) fail(ecNUM);
        return investment / kept;
    });
}

Value accrIntM(Call& call) {
    const Day issue = dateArgument(call, 0), settlement = dateArgument(call, 1);
    const double rate = addInNumber(call, 2), par = addInNumber(call, 3, 1000);
    const Basis basis = basisArgument(call, 4);
    if (issue.serial >= settlement.serial || rate <= 0 || par <= 0) return Value::error(ecNUM);
    return Value::number(par * rate * yearFraction(issue, settlement, basis));
}

// PRICEMAT and YIELDMAT: a security issued at `issue` that pays its interest at maturity; the
// three spans between issue, settlement and maturity, in years.
struct InterestAtMaturity {
    double issueToMaturity, settlementToMaturity, issueToSettlement, rate, other;
};

InterestAtMaturity interestAtMaturity(Call& call) {
    const Term term = termArguments(call);
    const Day issue = dateArgument(call, 2);
    const double rate = addInNumber(call, 3), other = addInNumber(call, 4);
    const Basis basis = basisArgument(call, 5);
    requireOrder(term);
    if (issue.serial > term.settlement.serial || rate < 0 || other < 0) fail(ecNUM);
    return {yearFraction(issue, term.maturity, basis), yearFraction(term.settlement, term.maturity, basis),
            yearFraction(issue, term.settlement, basis), rate, other};
}

Value priceMat(Call& call) {
    const InterestAtMaturity s = interestAtMaturity(call);
    const double yield = s.other;
    return Value::number(100 * (1 + s.issueToMaturity * s.rate) / (1 + s.settlementToMaturity * yield) -
                         100 * s.issueToSettlement * s.rate);
}

Value yieldMat(Call& call) {
    const InterestAtMaturity s = interestAtMaturity(call);
    const double price = s.other;
    if (price <= 0) return Value::error(ecNUM);
    const double paid = price / 100 + s.issueToSettlement * s.rate;
    return Value::number((1 + s.issueToMaturity * s.rate - paid) / paid / s.settlementToMaturity);
}

// A Treasury bill matures within a year of its settlement; its days count actual days.
double billDays(Call& call, const Term& term) {
    requireOrder(term);
    if (term.maturity.serial > addMonths(call, term.settlement, 12, false).serial) fail(ecNUM);
    return term.maturity.serial - term.settlement.serial;
}

// The price of 100 of a bill bought at a discount rate, which must leave a price above 0.
double billPrice(double discount, double days) {
    if (discount <= 0) fail(ecNUM);
    const double price = 100 * (1 - discount * days / 360);
    if (price <= 0) fail(ecNUM);
    return price;
}

Value tbillPrice(Call& call) {
    const Term term = termArguments(call);
    const double discount = addInNumber(call, 2);
    return Value::number(billPrice(discount, billDays(call, term)));
}

Value tbillYield(Call& call) {
    const Term term = termArguments(call);
    const double price = addInNumber(call, 2);
    const double days = billDays(call, term);
    if (price <= 0) return Value::error(ecNUM);
    return Value::number((100 - price) / price * 360 / days);
}

// TBILLEQ: the bond-equivalent yield. Within half a year it is simple interest on 365 days; a
// longer bill compounds once, half a year in.
Value tbillEq(Call& call) {
    const Term term = termArguments(call);
    const double discount = addInNumber(call, 2);
    const double days = billDays(call, term);
    const double price = billPrice(discount, days);
    if (days <= 182) return Value::number(365 * discount / (360 - discount * days));
    const double years = days / 365;
    const double root = years * years - (2 * years - 1) * (1 - 100 / price);
    if (root < 0) return Value::error(ecNUM);
    return Value::number((-2 * years + 2 * std::sqrt(root)) / (2 * years - 1));
}

constexpr FunctionSpec kFunctions[] = {
    {u"DISC", 4, 5, "VVVVV", disc, kNoBiffId, kAddIn},
    {u"PRICEDISC", 4, 5, "VVVVV", priceDisc, kNoBiffId, kAddIn},
    {u"YIELDDISC", 4, 5, "VVVVV", yieldDisc, kNoBiffId, kAddIn},
    {u"INTRATE", 4, 5, "VVVVV", intRate, kNoBiffId, kAddIn},
    {u"RECEIVED", 4, 5, "VVVVV", received, kNoBiffId, kAddIn},
    {u"ACCRINTM", 3, 5, "VVVVV", accrIntM, kNoBiffId, kAddIn},
    {u"PRICEMAT", 5, 6, "VVVVVV", priceMat, kNoBiffId, kAddIn},
    {u"YIELDMAT", 5, 6, "VVVVVV", yieldMat, kNoBiffId, kAddIn},
    {u"TBILLPRICE", 3, 3, "VVV", tbillPrice, kNoBiffId, kAddIn},
    {u"TBILLYIELD", 3, 3, "VVV", tbillYield, kNoBiffId, kAddIn},
    {u"TBILLEQ", 3, 3, "VVV", tbillEq, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> discountSecurityFunctions() { return kFunctions; }

}  // namespace kes::calc
