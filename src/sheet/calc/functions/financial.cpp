// Financial functions: the family's files each contribute a list, joined here once.
#include <vector>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/finance_support.h"

namespace kes::calc {

bool paymentAtStart(Call& call, size_t index) { return call.number(index, 0) != 0; }

std::span<const FunctionSpec> financialFunctions() {
    static const std::vector<FunctionSpec> functions = [] {
        std::vector<FunctionSpec> all;
        for (auto part : {timeValueFunctions, cashFlowFunctions, depreciationFunctions, dayCountFunctions,
                          discountSecurityFunctions, couponBondFunctions, oddPeriodBondFunctions}) {
            const auto list = part();
            all.insert(all.end(), list.begin(), list.end());
        }
        return all;
    }();
    return functions;
}

}  // namespace kes::calc
