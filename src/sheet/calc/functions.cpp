#include "sheet/calc/functions.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "sheet/calc/functions/families.h"

namespace kes::calc {
namespace {

struct Table {
    std::vector<FunctionSpec> functions;
    std::unordered_map<std::u16string, uint16_t> byName;   // upper-case name -> number
    std::vector<uint16_t> byBiffId;                        // BIFF id -> number, 0 for none

    Table() {
        for (auto family : {logicalFunctions, informationFunctions, mathFunctions, statisticalFunctions, textFunctions,
                            dateTimeFunctions, lookupFunctions, dynamicArrayFunctions, financialFunctions,
                            engineeringFunctions, databaseFunctions, webFunctions}) {
            for (const FunctionSpec& spec : family()) functions.push_back(spec);
        }
        for (size_t i = 0; i < functions.size(); ++i) {
            const uint16_t number = static_cast<uint16_t>(i + 1);
            byName.emplace(std::u16string(functions[i].name), number);
            const uint16_t id = functions[i].biffId;
            if (id == kNoBiffId) continue;
            if (id >= byBiffId.size()) byBiffId.resize(size_t(id) + 1, 0);
            byBiffId[id] = number;
        }
    }
};

const Table& table() {
    static const Table instance;
    return instance;
}

bool startsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix) {
    return text.size() > prefix.size() && equalsIgnoringAsciiCase(text.substr(0, prefix.size()), prefix);
}

}  // namespace

char FunctionSpec::argumentClass(size_t index) const {
    const std::string_view classes(arguments);
    if (classes.empty()) return 'V';
    if (classes.back() == '*') return classes[index % (classes.size() - 1)];
    return index < classes.size() ? classes[index] : classes.back();
}

const FunctionSpec* findFunction(std::u16string_view name) {
    if (startsWithIgnoringCase(name, u"_xlfn.")) name.remove_prefix(6);
    if (startsWithIgnoringCase(name, u"_xlws.")) name.remove_prefix(6);
    const std::u16string upper = upperCase(name);
    const Table& t = table();
    const auto it = t.byName.find(upper);
    return it == t.byName.end() ? nullptr : &t.functions[it->second - 1];
}

uint16_t functionNumber(const FunctionSpec& function) {
    return static_cast<uint16_t>(&function - table().functions.data() + 1);
}

const FunctionSpec& functionOfNumber(uint16_t number) { return table().functions[size_t(number) - 1]; }

const FunctionSpec* functionOfBiffId(uint16_t id) {
    const Table& t = table();
    if (id >= t.byBiffId.size() || t.byBiffId[id] == 0) return nullptr;
    return &t.functions[t.byBiffId[id] - 1];
}

std::span<const FunctionSpec> allFunctions() { return table().functions; }

}  // namespace kes::calc
