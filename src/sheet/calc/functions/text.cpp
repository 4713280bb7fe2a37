// Text functions.
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/format/number_format.h"

namespace kes::calc {
namespace {

// A count of characters: truncated, #VALUE! below 0.
size_t characterCount(Call& call, size_t index, int64_t ifMissing) {
    const int64_t n = call.integer(index, ifMissing);
    if (n < 0) fail(ecValue);
    return size_t(n);
}

Value concatenate(Call& call) {
    std::u16string out;
    for (size_t i = 0; i < call.count(); ++i) out += call.text(i);
    return Value::text(std::move(out));
}

Value concat(Call& call) {
    std::u16string out;
    for (size_t i = 0; i < call.count(); ++i) {
        call.forEachValue(i, [&](const Value& v, bool) { out += toText(v); });
    }
    return Value::text(std::move(out));
}

Value left(Call& call) {
    const std::u16string s = call.text(0);
    return Value::text(s.substr(0, characterCount(call, 1, 1)));
}

Value right(Call& call) {
    const std::u16string s = call.text(0);
    const size_t n = std::min(characterCount(call, 1, 1), s.size());
    return Value::text(s.substr(s.size() - n));
}

Value mid(Call& call) {
    const std::u16string s = call.text(0);
    const int64_t start = call.integer(1);
    const size_t n = characterCount(call, 2, 0);
    if (start < 1) return Value::error(ecValue);
    if (size_t(start) > s.size()) return Value::text(u"");
    return Value::text(s.substr(size_t(start) - 1, n));
}

Value len(Call& call) { return Value::number(double(call.text(0).size())); }

Value textFunction(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError()) return v;
    const std::u16string code = call.text(1);
    if (v.isText()) return Value::text(formatText(v.text(), code).text);
    if (v.isBlank()) return Value::text(formatNumber(0, code, call.settings()).text);
    return Value::text(formatNumber(toNumber(v, call.settings()), code, call.settings()).text);
}

Value upper(Call& call) { return Value::text(upperCase(call.text(0))); }
Value lower(Call& call) { return Value::text(lowerCase(call.text(0))); }

Value value(Call& call) {
    const Value v = call.scalar(0);
    if (v.isError() || v.isNumber()) return v;
    if (v.isBlank()) return Value::number(0);
    if (v.isBoolean()) return Value::error(ecValue);
    const auto number = textToNumber(v.text(), call.settings());
    return number ? Value::number(*number) : Value::error(ecValue);
}

constexpr FunctionSpec kFunctions[] = {
    {u"CONCATENATE", 1, kManyArgs, "V", concatenate, 336},
    {u"CONCAT", 1, kManyArgs, "R", concat, kNoBiffId, kFilePrefix},
    {u"LEFT", 1, 2, "VV", left, 115},
    {u"RIGHT", 1, 2, "VV", right, 116},
    {u"MID", 3, 3, "VVV", mid, 31},
    {u"LEN", 1, 1, "V", len, 32},
    {u"TEXT", 2, 2, "VV", textFunction, 48},
    {u"UPPER", 1, 1, "V", upper, 113},
    {u"LOWER", 1, 1, "V", lower, 112},
    {u"VALUE", 1, 1, "V", value, 33},
};

}  // namespace

std::span<const FunctionSpec> textFunctions() { return kFunctions; }

}  // namespace kes::calc
