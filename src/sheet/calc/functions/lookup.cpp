// Lookup and reference functions.
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {
namespace {

Value row(Call& call) {
    if (call.isMissing(0)) return Value::number(call.evaluator().row() + 1);
    const Value& ref = call.arg(0);
    if (ref.isError()) return ref;
    if (!ref.isReference()) return Value::error(ecValue);
    return Value::number(ref.area().rect.top + 1);
}

Value column(Call& call) {
    if (call.isMissing(0)) return Value::number(call.evaluator().column() + 1);
    const Value& ref = call.arg(0);
    if (ref.isError()) return ref;
    if (!ref.isReference()) return Value::error(ecValue);
    return Value::number(ref.area().rect.left + 1);
}

// An exact match as the lookups make it: equal values, texts ignoring case and with wildcards.
bool exactMatch(const Value& candidate, const Value& key) {
    if (key.isText() && hasWildcards(key.text())) return candidate.isText() && wildcardMatch(candidate.text(), key.text());
    if (candidate.isBlank() || candidate.kind() != key.kind()) return false;
    return compareValues(candidate, key) == 0;
}

// The position of the key in a list sorted ascending (the last value not above the key), or -1.
int32_t approximateMatch(const Matrix& list, bool vertical, int32_t count, const Value& key) {
    int32_t found = -1;
    for (int32_t i = 0; i < count; ++i) {
        const Value v = vertical ? list.at(i, 0) : list.at(0, i);
        if (v.isBlank() || v.isError() || v.kind() != key.kind()) continue;
        if (compareValues(v, key) > 0) break;
        found = i;
    }
    return found;
}

Value lookupIn(Call& call, bool vertical) {
    const Value key = call.scalar(0);
    if (key.isError()) return key;
    const auto table = call.matrix(1);
    const int64_t index = call.integer(2);
    const bool approximate = call.boolean(3, true);
    const int32_t count = vertical ? table->rows() : table->columns();
    const int32_t width = vertical ? table->columns() : table->rows();
    if (index < 1) return Value::error(ecValue);
    if (index > width) return Value::error(ecRefErr);
    int32_t found = -1;
    if (approximate) {
        found = approximateMatch(*table, vertical, count, key);
    } else {
        for (int32_t i = 0; i < count && found < 0; ++i) {
            if (exactMatch(vertical ? table->at(i, 0) : table->at(0, i), key)) found = i;
        }
    }
    if (found < 0) return Value::error(ecNA);
    const int32_t offset = int32_t(index - 1);
    return vertical ? table->at(found, offset) : table->at(offset, found);
}

Value vlookup(Call& call) { return lookupIn(call, true); }
Value hlookup(Call& call) { return lookupIn(call, false); }

Value match(Call& call) {
    const Value key = call.scalar(0);
    if (key.isError()) return key;
    const auto list = call.matrix(1);
    const double type = call.number(2, 1);
    if (list->rows() != 1 && list->columns() != 1) return Value::error(ecNA);
    const bool vertical = list->columns() == 1;
    const int32_t count = vertical ? list->rows() : list->columns();
    if (type == 0) {
        for (int32_t i = 0; i < count; ++i) {
            if (exactMatch(vertical ? list->at(i, 0) : list->at(0, i), key)) return Value::number(i + 1);
        }
        return Value::error(ecNA);
    }
    int32_t found = -1;
    for (int32_t i = 0; i < count; ++i) {
        const Value v = vertical ? list->at(i, 0) : list->at(0, i);
        if (v.isBlank() || v.kind() != key.kind()) continue;
        const int order = compareValues(v, key);
        if (type > 0 ? order > 0 : order < 0) break;
        found = i;
        if (order == 0 && type < 0) break;
    }
    return found < 0 ? Value::error(ecNA) : Value::number(found + 1);
}

Value index(Call& call) {
    const Value& source = call.arg(0);
    if (source.isError()) return source;
    int64_t r = call.integer(1, 0), c = call.integer(2, 0);
    if (source.isReference()) {
        const Area& area = source.area();
        if (call.count() == 2 && area.rows() == 1) std::swap(r, c);
        if (r < 0 || c < 0 || r > area.rows() || c > area.columns()) return Value::error(ecRefErr);
        CellRect rect = area.rect;
        if (r > 0) rect.top = rect.bottom = area.rect.top + int32_t(r) - 1;
        if (c > 0) rect.left = rect.right = area.rect.left + int32_t(c) - 1;
        return Value::reference({area.sheet, rect});
    }
    const auto m = call.matrix(0);
    if (call.count() == 2 && m->rows() == 1) std::swap(r, c);
    if (r < 0 || c < 0 || r > m->rows() || c > m->columns()) return Value::error(ecRefErr);
    if (r == 0) r = 1;
    if (c == 0) c = 1;
    return m->at(int32_t(r - 1), int32_t(c - 1));
}

Value choose(Call& call) {
    const int64_t which = call.integer(0);
    if (which < 1 || size_t(which) >= call.count()) return Value::error(ecValue);
    return call.arg(size_t(which));
}

constexpr FunctionSpec kFunctions[] = {
    {u"ROW", 0, 1, "R", row, 8},
    {u"COLUMN", 0, 1, "R", column, 9},
    {u"VLOOKUP", 3, 4, "VRVV", vlookup, 102},
    {u"HLOOKUP", 3, 4, "VRVV", hlookup, 101},
    {u"MATCH", 2, 3, "VRV", match, 64},
    {u"INDEX", 2, 4, "RVVV", index, 29, kReturnsReference},
    {u"CHOOSE", 2, kManyArgs, "VL", choose, 100, kReturnsReference},
};

}  // namespace

std::span<const FunctionSpec> lookupFunctions() { return kFunctions; }

}  // namespace kes::calc
