// Engineering functions: the family's files each contribute a list, joined here once.
#include <vector>

#include "sheet/calc/functions/engineering_support.h"
#include "sheet/calc/functions/families.h"

namespace kes::calc {

std::span<const FunctionSpec> engineeringFunctions() {
    static const std::vector<FunctionSpec> functions = [] {
        std::vector<FunctionSpec> all;
        for (auto part : {comparisonAndBitFunctions, errorFunctions, numberBaseFunctions, besselFunctions,
                          complexFunctions, unitConversionFunctions}) {
            const auto list = part();
            all.insert(all.end(), list.begin(), list.end());
        }
        return all;
    }();
    return functions;
}

}  // namespace kes::calc
