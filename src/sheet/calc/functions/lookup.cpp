// Lookup functions: VLOOKUP, HLOOKUP, LOOKUP and MATCH with Excel's searches, XLOOKUP and
// XMATCH with their match and search modes. The reference functions (INDEX, OFFSET...) are in
// reference.cpp and join this family's list.
#include <cmath>
#include <vector>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/lookup_support.h"
#include "sheet/sheet_bounds.h"

namespace kes::calc {
namespace {

// Longer texts are refused as keys by the classic lookups.
constexpr size_t kMaxKeyLength = 255;

// The key of a classic lookup: an empty cell counts as 0.
Value classicKey(Call& call) {
    Value key = call.scalar(0);
    if (key.isError()) fail(key.error());
    if (key.isBlank()) return Value::number(0);
    if (key.isText() && key.text().size() > kMaxKeyLength) fail(ecValue);
    return key;
}

struct Shape {
    int32_t rows, columns;
};

Shape shapeOf(const Value& v) {
    if (v.isReference()) {
        if (v.areaCount() != 1) fail(ecValue);
        return {v.area().rows(), v.area().columns()};
    }
    if (v.isArray()) return {v.matrix().rows(), v.matrix().columns()};
    return {1, 1};
}

// The value at (row, column) of a reference or an array.
Value valueAt(Call& call, const Value& source, int32_t row, int32_t column) {
    if (source.isReference()) {
        const Area& area = source.area();
        return call.evaluator().readCell(*area.sheet, area.rect.top + row, area.rect.left + column);
    }
    if (source.isArray()) return source.matrix().at(row, column);
    return source;
}

const Value& tableArgument(Call& call, size_t index) {
    const Value& table = call.arg(index);
    if (table.isError()) fail(table.error());
    if (table.isLambda()) fail(ecValue);
    return table;
}

Value lookupInTable(Call& call, bool vertical) {
    const Value key = classicKey(call);
    const Value& table = tableArgument(call, 1);
    const Shape shape = shapeOf(table);
    const int64_t index = call.integer(2);
    // An empty fourth argument, as in VLOOKUP(A1,B:C,2,), asks for an exact match.
    const bool sorted = call.count() > 3 ? call.boolean(3) : true;
    if (index < 1) return Value::error(ecValue);
    if (index > (vertical ? shape.columns : shape.rows)) return Value::error(ecRefErr);
    const LookupLine line = lookupLine(call, table, vertical, 0);
    const int32_t found = sorted ? findSorted(line, key) : findFirst(line, key, true);
    if (found < 0) return Value::error(ecNA);
    const int32_t offset = int32_t(index - 1);
    return vertical ? valueAt(call, table, found, offset) : valueAt(call, table, offset, found);
}

Value vlookup(Call& call) { return lookupInTable(call, true); }
Value hlookup(Call& call) { return lookupInTable(call, false); }

// LOOKUP searches the first row of an array wider than tall, else its first column, and gives
// the same place of the result vector or of the array's last row or column.
Value lookup(Call& call) {
    const Value key = classicKey(call);
    const Value& searched = tableArgument(call, 1);
    const Shape shape = shapeOf(searched);
    const bool vertical = shape.columns <= shape.rows;
    const int32_t found = findSorted(lookupLine(call, searched, vertical, 0), key);
    if (found < 0) return Value::error(ecNA);
    if (call.count() < 3) {
        return vertical ? valueAt(call, searched, found, shape.columns - 1) : valueAt(call, searched, shape.rows - 1, found);
    }
    const Value& result = tableArgument(call, 2);
    const Shape resultShape = shapeOf(result);
    const bool resultVertical = resultShape.columns == 1 && resultShape.rows != 1 ? true
                              : resultShape.rows == 1 && resultShape.columns != 1 ? false
                                                                                   : vertical;
    if (result.isReference()) {
        // A result range shorter than the lookup vector reads on past its end, as in Excel.
        const Area& area = result.area();
        const int64_t row = int64_t(area.rect.top) + (resultVertical ? found : 0);
        const int64_t column = int64_t(area.rect.left) + (resultVertical ? 0 : found);
        if (row > kMaxRow || column > kMaxColumn) return Value::error(ecRefErr);
        return call.evaluator().readCell(*area.sheet, int32_t(row), int32_t(column));
    }
    if (found >= (resultVertical ? resultShape.rows : resultShape.columns)) return Value::error(ecNA);
    return resultVertical ? valueAt(call, result, found, 0) : valueAt(call, result, 0, found);
}

Value match(Call& call) {
    const Value key = classicKey(call);
    const Value& list = tableArgument(call, 1);
    const Shape shape = shapeOf(list);
    // An empty third argument, as in MATCH(A1,B:B,), is an exact match.
    const double type = call.count() > 2 ? call.number(2) : 1;
    if (shape.rows != 1 && shape.columns != 1) return Value::error(ecNA);
    const LookupLine line = lookupLine(call, list, shape.columns == 1, 0);
    const int32_t found = type == 0 ? findFirst(line, key, true)
                        : type > 0  ? findSorted(line, key)
                                    : findSortedDescending(line, key);
    return found < 0 ? Value::error(ecNA) : Value::number(found + 1);
}

// A match or search mode is rounded down: a search mode of -1.1 is a halving search.
int64_t modeArgument(Call& call, size_t index, int64_t ifMissing) {
    if (call.isMissing(index)) return ifMissing;
    const double mode = std::floor(call.number(index));
    return mode >= -10 && mode <= 10 ? int64_t(mode) : 10;
}

// The lookup array of XLOOKUP and XMATCH: one row or one column.
struct ModernSearch {
    bool vertical;
    int32_t length;
    int32_t found;
};

ModernSearch modernSearch(Call& call, const Value& list, size_t matchIndex, int32_t returnRows) {
    const Value key = call.scalar(0);
    if (key.isError()) fail(key.error());
    const Shape shape = shapeOf(list);
    if (shape.rows != 1 && shape.columns != 1) fail(ecValue);
    const bool vertical = shape.columns == 1 && (shape.rows > 1 || returnRows == 1);
    const MatchMode match = matchModeOf(modeArgument(call, matchIndex, 0));
    const SearchMode search = searchModeOf(modeArgument(call, matchIndex + 1, 1), match);
    const LookupLine line = lookupLine(call, list, vertical, 0);
    return {vertical, line.length(), findModern(line, key, match, search)};
}

Value xlookup(Call& call) {
    const Value& list = tableArgument(call, 1);
    const Value& result = tableArgument(call, 2);
    const Shape shape = shapeOf(result);
    const ModernSearch search = modernSearch(call, list, 4, shape.rows);
    if ((search.vertical ? shape.rows : shape.columns) != search.length) return Value::error(ecValue);
    if (search.found < 0) {
        if (call.isMissing(3)) return Value::error(ecNA);
        return call.arg(3);
    }
    // The row (or column) of the result at the place found: a reference stays one.
    if (result.isReference()) {
        Area area = result.area();
        if (search.vertical) area.rect.top = area.rect.bottom = area.rect.top + search.found;
        else area.rect.left = area.rect.right = area.rect.left + search.found;
        return Value::reference(area);
    }
    if (!result.isArray()) return result;
    const Matrix& m = result.matrix();
    Matrix slice(search.vertical ? 1 : m.rows(), search.vertical ? m.columns() : 1);
    for (size_t i = 0; i < slice.size(); ++i) {
        slice.set(i, search.vertical ? m.at(search.found, int32_t(i)) : m.at(int32_t(i), search.found));
    }
    if (slice.size() == 1) return slice.at(0);
    return Value::array(std::move(slice));
}

Value xmatch(Call& call) {
    const ModernSearch search = modernSearch(call, tableArgument(call, 1), 2, 1);
    return search.found < 0 ? Value::error(ecNA) : Value::number(search.found + 1);
}

// Only the key of VLOOKUP and HLOOKUP runs over an array; of an array of column (row) numbers
// the first is taken.
constexpr FunctionSpec kFunctions[] = {
    {u"VLOOKUP", 3, 4, "VRAV", vlookup, 102},
    {u"HLOOKUP", 3, 4, "VRAV", hlookup, 101},
    {u"LOOKUP", 2, 3, "VAA", lookup, 28},
    {u"MATCH", 2, 3, "VRV", match, 64},
    {u"XLOOKUP", 3, 6, "VAALVV", xlookup, kNoBiffId, kFilePrefix | kReturnsReference},
    {u"XMATCH", 2, 4, "VAVV", xmatch, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> lookupFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> out(std::begin(kFunctions), std::end(kFunctions));
        for (const FunctionSpec& spec : referenceFunctions()) out.push_back(spec);
        return out;
    }();
    return all;
}

}  // namespace kes::calc
