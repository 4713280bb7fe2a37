// Dynamic-array functions that order and select: SORT, SORTBY, UNIQUE and FILTER.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "sheet/calc/functions/array_support.h"
#include "sheet/calc/functions/lookup_support.h"

namespace kes::calc {
namespace {

// The rows of an array, or its columns, as the lines the ordering functions move.
struct Lines {
    const Matrix& m;
    bool columns;
    int32_t count() const { return columns ? m.columns() : m.rows(); }
    int32_t width() const { return columns ? m.rows() : m.columns(); }
    Value at(int32_t line, int32_t position) const { return columns ? m.at(position, line) : m.at(line, position); }
};

Matrix reorder(const Lines& lines, const std::vector<int32_t>& order) {
    Matrix out(lines.columns ? lines.m.rows() : int32_t(order.size()), lines.columns ? int32_t(order.size()) : lines.m.columns());
    for (size_t k = 0; k < order.size(); ++k) {
        for (int32_t p = 0; p < lines.width(); ++p) {
            if (lines.columns) out.set(p, int32_t(k), lines.at(order[k], p));
            else out.set(int32_t(k), p, lines.at(order[k], p));
        }
    }
    return out;
}

// Ascending or descending, blanks come last either way.
int compareKeys(const Value& a, const Value& b, bool descending) {
    if (a.isBlank() || b.isBlank()) return a.isBlank() == b.isBlank() ? 0 : a.isBlank() ? 1 : -1;
    const int order = compareForSort(a, b);
    return descending ? -order : order;
}

// A sort order argument: 1 ascending, -1 descending.
bool descendingOf(int64_t order) {
    if (order != 1 && order != -1) fail(ecValue);
    return order == -1;
}

Value sort(Call& call) {
    const auto m = call.matrix(0);
    const bool byColumn = call.boolean(3, false);
    const Lines lines{*m, byColumn};
    const std::vector<int64_t> keys = call.isMissing(1) ? std::vector<int64_t>{1} : integerList(call, 1);
    const std::vector<int64_t> orders = call.isMissing(2) ? std::vector<int64_t>{1} : integerList(call, 2);
    if (orders.size() != 1 && orders.size() != keys.size()) return Value::error(ecValue);
    std::vector<std::pair<int32_t, bool>> by;
    for (size_t k = 0; k < keys.size(); ++k) {
        if (keys[k] < 1 || keys[k] > lines.width()) return Value::error(ecValue);
        by.emplace_back(int32_t(keys[k] - 1), descendingOf(orders[orders.size() == 1 ? 0 : k]));
    }
    std::vector<int32_t> order(size_t(lines.count()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int32_t x, int32_t y) {
        for (const auto& [position, descending] : by) {
            const int c = compareKeys(lines.at(x, position), lines.at(y, position), descending);
            if (c != 0) return c < 0;
        }
        return false;
    });
    return Value::array(reorder(lines, order));
}

// SORTBY's keys are whole rows or columns of their own, one value for each line sorted.
Value sortBy(Call& call) {
    const auto m = call.matrix(0);
    struct Key {
        std::shared_ptr<const Matrix> values;
        bool descending;
    };
    std::vector<Key> keys;
    int orientation = -1;   // 0 rows, 1 columns
    for (size_t i = 1; i < call.count(); i += 2) {
        auto values = call.matrix(i);
        const bool descending = i + 1 < call.count() && !call.isMissing(i + 1) && descendingOf(call.integer(i + 1));
        int thisOrientation;
        if (values->columns() == 1 && values->rows() == m->rows()) thisOrientation = 0;
        else if (values->rows() == 1 && values->columns() == m->columns()) thisOrientation = 1;
        else return Value::error(ecValue);
        if (orientation >= 0 && thisOrientation != orientation) return Value::error(ecValue);
        orientation = thisOrientation;
        keys.push_back({std::move(values), descending});
    }
    const Lines lines{*m, orientation == 1};
    std::vector<int32_t> order(size_t(lines.count()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int32_t x, int32_t y) {
        for (const Key& key : keys) {
            const int c = compareKeys(key.values->at(size_t(x)), key.values->at(size_t(y)), key.descending);
            if (c != 0) return c < 0;
        }
        return false;
    });
    return Value::array(reorder(lines, order));
}

std::u16string lineKey(const Lines& lines, int32_t line) {
    std::u16string key;
    for (int32_t p = 0; p < lines.width(); ++p) appendKey(key, lines.at(line, p));
    return key;
}

Value unique(Call& call) {
    const auto m = call.matrix(0);
    const bool byColumn = call.boolean(1, false);
    const bool exactlyOnce = call.boolean(2, false);
    const Lines lines{*m, byColumn};
    std::unordered_map<std::u16string, int32_t> seen;   // key -> times
    std::vector<std::pair<int32_t, std::u16string>> firsts;
    for (int32_t line = 0; line < lines.count(); ++line) {
        std::u16string key = lineKey(lines, line);
        if (++seen[key] == 1) firsts.emplace_back(line, std::move(key));
    }
    std::vector<int32_t> order;
    for (const auto& [line, key] : firsts) {
        if (!exactlyOnce || seen[key] == 1) order.push_back(line);
    }
    return arrayResult(reorder(lines, order));
}

// FILTER keeps the rows (or columns) whose include value is true: a number not 0, TRUE; a
// text is #VALUE!, an error its own.
Value filter(Call& call) {
    const auto m = call.matrix(0);
    const auto include = call.matrix(1);
    bool byColumn;
    if (include->columns() == 1 && include->rows() == m->rows()) byColumn = false;
    else if (include->rows() == 1 && include->columns() == m->columns()) byColumn = true;
    else return Value::error(ecValue);
    const Lines lines{*m, byColumn};
    std::vector<int32_t> order;
    for (int32_t line = 0; line < lines.count(); ++line) {
        const Value v = include->at(size_t(line));
        if (v.isError()) return v;
        if (v.isText()) return Value::error(ecValue);
        if (v.number() != 0) order.push_back(line);
    }
    if (order.empty()) return call.isMissing(2) ? Value::error(ecCalc) : call.arg(2);
    return Value::array(reorder(lines, order));
}

constexpr FunctionSpec kFunctions[] = {
    {u"SORT", 1, 4, "AAAV", sort, kNoBiffId, kFilePrefix | kWorksheetPrefix},
    {u"SORTBY", 2, kManyArgs, "A", sortBy, kNoBiffId, kFilePrefix},
    {u"UNIQUE", 1, 3, "AVV", unique, kNoBiffId, kFilePrefix},
    {u"FILTER", 2, 3, "AAL", filter, kNoBiffId, kFilePrefix | kWorksheetPrefix},
};

}  // namespace

std::span<const FunctionSpec> arrayOrderFunctions() { return kFunctions; }

}  // namespace kes::calc
