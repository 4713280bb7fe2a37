// Dynamic-array functions that make and reshape arrays: SEQUENCE and RANDARRAY, TAKE, DROP,
// EXPAND, CHOOSEROWS, CHOOSECOLS, HSTACK, VSTACK, TOROW, TOCOL, WRAPROWS, WRAPCOLS and
// TRANSPOSE. The sorting and filtering ones (array_order.cpp) and GROUPBY and PIVOTBY
// (group_by.cpp) join this family's list.
#include <cmath>
#include <random>
#include <vector>

#include "sheet/calc/functions/array_support.h"
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/lookup_support.h"

namespace kes::calc {
namespace {

// A count of rows or columns: the whole size when left out.
int64_t countArgument(Call& call, size_t index, int64_t whole) { return call.isMissing(index) ? whole : call.integer(index); }

// The part of the array a count keeps: the first `count` (the last ones when negative).
void span(int64_t count, int32_t size, int32_t& first, int32_t& length) {
    const int64_t kept = std::min<int64_t>(std::llabs(count), size);
    first = count < 0 ? size - int32_t(kept) : 0;
    length = int32_t(kept);
}

Value takeOrDrop(Call& call, bool take) {
    const auto m = call.matrix(0);
    const int64_t rows = countArgument(call, 1, take ? m->rows() : 0);
    const int64_t columns = countArgument(call, 2, take ? m->columns() : 0);
    if (take && (rows == 0 || columns == 0)) return Value::error(ecCalc);
    int32_t top, height, left, width;
    span(rows, m->rows(), top, height);
    span(columns, m->columns(), left, width);
    if (!take) {
        // What TAKE would keep of the other end.
        top = rows >= 0 ? height : 0;
        height = m->rows() - height;
        left = columns >= 0 ? width : 0;
        width = m->columns() - width;
    }
    return arrayResult(subMatrix(*m, top, left, height, width));
}

Value take(Call& call) { return takeOrDrop(call, true); }
Value drop(Call& call) { return takeOrDrop(call, false); }

Value expand(Call& call) {
    const auto m = call.matrix(0);
    const int64_t rows = countArgument(call, 1, m->rows());
    const int64_t columns = countArgument(call, 2, m->columns());
    if (rows < m->rows() || columns < m->columns()) return Value::error(ecValue);
    if (!fitsArray(rows, columns)) return Value::error(ecNUM);
    const Value pad = call.isMissing(3) ? Value::error(ecNA) : call.scalar(3);
    Matrix out{int32_t(rows), int32_t(columns)};
    for (int32_t r = 0; r < out.rows(); ++r) {
        for (int32_t c = 0; c < out.columns(); ++c) {
            out.set(r, c, r < m->rows() && c < m->columns() ? m->at(r, c) : pad);
        }
    }
    return Value::array(std::move(out));
}

// CHOOSEROWS and CHOOSECOLS take numbers in lists as well; negative ones count from the end.
Value chooseLines(Call& call, bool rows) {
    const auto m = call.matrix(0);
    const int32_t size = rows ? m->rows() : m->columns();
    std::vector<int32_t> picked;
    for (size_t i = 1; i < call.count(); ++i) {
        for (const int64_t n : integerList(call, i)) {
            if (n == 0 || std::llabs(n) > size) return Value::error(ecValue);
            picked.push_back(n > 0 ? int32_t(n - 1) : size + int32_t(n));
        }
    }
    if (int64_t(picked.size()) * (rows ? m->columns() : m->rows()) > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows ? int32_t(picked.size()) : m->rows(), rows ? m->columns() : int32_t(picked.size()));
    for (int32_t r = 0; r < out.rows(); ++r) {
        for (int32_t c = 0; c < out.columns(); ++c) out.set(r, c, rows ? m->at(picked[size_t(r)], c) : m->at(r, picked[size_t(c)]));
    }
    return Value::array(std::move(out));
}

Value chooseRows(Call& call) { return chooseLines(call, true); }
Value chooseCols(Call& call) { return chooseLines(call, false); }

// HSTACK and VSTACK: the arrays side by side (or one below the other); where one is shorter
// than the longest, #N/A.
Value stack(Call& call, bool horizontal) {
    std::vector<std::shared_ptr<const Matrix>> parts;
    int64_t along = 0, across = 0;
    for (size_t i = 0; i < call.count(); ++i) {
        parts.push_back(elementsOf(call, i));
        along += horizontal ? parts.back()->columns() : parts.back()->rows();
        across = std::max<int64_t>(across, horizontal ? parts.back()->rows() : parts.back()->columns());
    }
    if (along * across > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(horizontal ? int32_t(across) : int32_t(along), horizontal ? int32_t(along) : int32_t(across));
    int32_t offset = 0;
    for (const auto& part : parts) {
        for (int32_t r = 0; r < (horizontal ? out.rows() : part->rows()); ++r) {
            for (int32_t c = 0; c < (horizontal ? part->columns() : out.columns()); ++c) {
                const bool inside = r < part->rows() && c < part->columns();
                out.set(horizontal ? r : offset + r, horizontal ? offset + c : c, inside ? part->at(r, c) : Value::error(ecNA));
            }
        }
        offset += horizontal ? part->columns() : part->rows();
    }
    return Value::array(std::move(out));
}

Value hstack(Call& call) { return stack(call, true); }
Value vstack(Call& call) { return stack(call, false); }

// TOROW and TOCOL: every element in one line, row by row or column by column; `ignore` 1
// leaves out blanks, 2 errors, 3 both.
Value flatten(Call& call, bool toRow) {
    const auto m = call.matrix(0);
    const int64_t ignore = call.integer(1, 0);
    const bool byColumn = call.boolean(2, false);
    if (ignore < 0 || ignore > 3) return Value::error(ecValue);
    std::vector<Value> kept;
    const int32_t outer = byColumn ? m->columns() : m->rows(), inner = byColumn ? m->rows() : m->columns();
    for (int32_t i = 0; i < outer; ++i) {
        for (int32_t j = 0; j < inner; ++j) {
            Value v = byColumn ? m->at(j, i) : m->at(i, j);
            if (((ignore & 1) && v.isBlank()) || ((ignore & 2) && v.isError())) continue;
            kept.push_back(std::move(v));
        }
    }
    Matrix out(toRow ? 1 : int32_t(kept.size()), toRow ? int32_t(kept.size()) : 1);
    for (size_t i = 0; i < kept.size(); ++i) out.set(i, kept[i]);
    return arrayResult(std::move(out));
}

Value toRow(Call& call) { return flatten(call, true); }
Value toCol(Call& call) { return flatten(call, false); }

// WRAPROWS and WRAPCOLS: a row or column cut into lines of `count` elements, the last one
// padded (with #N/A unless told otherwise).
Value wrap(Call& call, bool rows) {
    const auto m = call.matrix(0);
    if (m->rows() != 1 && m->columns() != 1) return Value::error(ecValue);
    const int64_t count = call.integer(1);
    if (count < 1) return Value::error(ecNUM);
    const Value pad = call.isMissing(2) ? Value::error(ecNA) : call.scalar(2);
    const int64_t n = int64_t(m->size());
    if (count > kMaxArrayElements) return Value::error(ecNUM);
    const int64_t lines = std::max<int64_t>(1, (n + count - 1) / count);
    if (!fitsArray(lines, count)) return Value::error(ecNUM);
    Matrix out(rows ? int32_t(lines) : int32_t(count), rows ? int32_t(count) : int32_t(lines));
    for (int64_t i = 0; i < lines * count; ++i) {
        const int32_t line = int32_t(i / count), at = int32_t(i % count);
        out.set(rows ? line : at, rows ? at : line, i < n ? m->at(size_t(i)) : pad);
    }
    return Value::array(std::move(out));
}

Value wrapRows(Call& call) { return wrap(call, true); }
Value wrapCols(Call& call) { return wrap(call, false); }

Value transpose(Call& call) {
    const auto m = elementsOf(call, 0);
    Matrix out(m->columns(), m->rows());
    for (int32_t r = 0; r < m->rows(); ++r) {
        for (int32_t c = 0; c < m->columns(); ++c) out.set(c, r, m->at(r, c));
    }
    return Value::array(std::move(out));
}

// The size of an array SEQUENCE or RANDARRAY makes: none at all is #CALC!, negative #VALUE!.
bool arraySize(int64_t rows, int64_t columns, Value& error) {
    if (rows < 0 || columns < 0) error = Value::error(ecValue);
    else if (rows == 0 || columns == 0) error = Value::error(ecCalc);
    else if (!fitsArray(rows, columns)) error = Value::error(ecNUM);
    else return true;
    return false;
}

Value sequence(Call& call) {
    const int64_t rows = call.integer(0), columns = call.integer(1, 1);
    const double start = call.number(2, 1), step = call.number(3, 1);
    Value error;
    if (!arraySize(rows, columns, error)) return error;
    Matrix out{int32_t(rows), int32_t(columns)};
    for (size_t i = 0; i < out.size(); ++i) out.set(i, Value::number(start + double(i) * step));
    return Value::array(std::move(out));
}

Value randArray(Call& call) {
    thread_local std::mt19937_64 generator{std::random_device{}()};
    const int64_t rows = call.integer(0, 1), columns = call.integer(1, 1);
    const double low = call.number(2, 0), high = call.number(3, 1);
    const bool whole = call.boolean(4, false);
    Value error;
    if (!arraySize(rows, columns, error)) return error;
    if (low > high) return Value::error(ecValue);
    if (whole && (low != std::trunc(low) || high != std::trunc(high))) return Value::error(ecValue);
    Matrix out{int32_t(rows), int32_t(columns)};
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (size_t i = 0; i < out.size(); ++i) {
        const double u = unit(generator);
        out.set(i, Value::number(whole ? std::min(high, low + std::floor(u * (high - low + 1))) : low + u * (high - low)));
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"SEQUENCE", 1, 4, "VVVV", sequence, kNoBiffId, kFilePrefix},
    {u"RANDARRAY", 0, 5, "VVVVV", randArray, kNoBiffId, kFilePrefix | kVolatile},
    {u"TAKE", 2, 3, "AVV", take, kNoBiffId, kFilePrefix},
    {u"DROP", 2, 3, "AVV", drop, kNoBiffId, kFilePrefix},
    {u"EXPAND", 2, 4, "AVVV", expand, kNoBiffId, kFilePrefix},
    {u"CHOOSEROWS", 2, kManyArgs, "A", chooseRows, kNoBiffId, kFilePrefix},
    {u"CHOOSECOLS", 2, kManyArgs, "A", chooseCols, kNoBiffId, kFilePrefix},
    {u"HSTACK", 1, kManyArgs, "A", hstack, kNoBiffId, kFilePrefix},
    {u"VSTACK", 1, kManyArgs, "A", vstack, kNoBiffId, kFilePrefix},
    {u"TOROW", 1, 3, "AVV", toRow, kNoBiffId, kFilePrefix},
    {u"TOCOL", 1, 3, "AVV", toCol, kNoBiffId, kFilePrefix},
    {u"WRAPROWS", 2, 3, "AVV", wrapRows, kNoBiffId, kFilePrefix},
    {u"WRAPCOLS", 2, 3, "AVV", wrapCols, kNoBiffId, kFilePrefix},
    {u"TRANSPOSE", 1, 1, "A", transpose, 83},
};

}  // namespace

std::span<const FunctionSpec> dynamicArrayFunctions() {
    static const std::vector<FunctionSpec> all = [] {
        std::vector<FunctionSpec> out(std::begin(kFunctions), std::end(kFunctions));
        for (const FunctionSpec& spec : arrayOrderFunctions()) out.push_back(spec);
        for (const FunctionSpec& spec : groupFunctions()) out.push_back(spec);
        return out;
    }();
    return all;
}

}  // namespace kes::calc
