// Matrices: MMULT, MDETERM, MINVERSE and MUNIT.
#include <cmath>
#include <utility>

#include "sheet/calc/functions/math_support.h"

namespace kes::calc {
namespace {

// A matrix of numbers, row by row.
struct Numbers {
    int32_t rows = 0;
    int32_t columns = 0;
    std::vector<double> values;

    double& at(int32_t r, int32_t c) { return values[size_t(r) * size_t(columns) + size_t(c)]; }
};

// The argument as numbers: an error is thrown where it stands, anything else that is no number
// (a blank cell, a text, a boolean) is #VALUE!.
Numbers numbersOf(Call& call, size_t index) {
    const auto m = call.matrix(index);
    Numbers out{m->rows(), m->columns(), std::vector<double>(m->size())};
    for (size_t i = 0; i < m->size(); ++i) {
        switch (m->kindAt(i)) {
        case ValueKind::Number: out.values[i] = m->numberAt(i); break;
        case ValueKind::Error: fail(m->at(i).error());
        default: fail(ecValue);
        }
    }
    return out;
}

Numbers squareOf(Call& call, size_t index) {
    Numbers m = numbersOf(call, index);
    if (m.rows != m.columns) fail(ecValue);
    return m;
}

// The identity matrix of a size; `whole` false gives its top left value only.
Value identity(double size, bool whole) {
    const double n = std::trunc(size);
    if (n < 1) return Value::error(ecValue);
    if (n * n > double(kMaxArrayElements)) return Value::error(ecNUM);
    if (!whole) return Value::number(1);
    const auto count = static_cast<int32_t>(n);
    Matrix out(count, count);
    for (int32_t r = 0; r < count; ++r) {
        for (int32_t c = 0; c < count; ++c) out.set(r, c, Value::number(r == c ? 1 : 0));
    }
    return Value::array(std::move(out));
}

Value arrayOf(Numbers& m) {
    Matrix out(m.rows, m.columns);
    for (size_t i = 0; i < m.values.size(); ++i) out.set(i, Value::number(m.values[i]));
    return Value::array(std::move(out));
}

Value mmult(Call& call) {
    Numbers a = numbersOf(call, 0);
    Numbers b = numbersOf(call, 1);
    if (a.columns != b.rows) return Value::error(ecValue);
    if (int64_t(a.rows) * b.columns > kMaxArrayElements) return Value::error(ecNUM);
    Numbers product{a.rows, b.columns, std::vector<double>(size_t(a.rows) * size_t(b.columns))};
    for (int32_t r = 0; r < a.rows; ++r) {
        for (int32_t c = 0; c < b.columns; ++c) {
            double total = 0;
            for (int32_t k = 0; k < a.columns; ++k) total += a.at(r, k) * b.at(k, c);
            product.at(r, c) = total;
        }
    }
    return arrayOf(product);
}

// An LU factorisation with partial pivoting, Doolittle's: the multipliers below the diagonal,
// U on and above it. Excel's MDETERM and MINVERSE factor the same way, which shows in the
// last bits of their results (MDETERM({1,2,3;4,5,6;7,8,9}) is 6.66E-16, not 0).
struct Factored {
    Numbers lu;
    std::vector<int32_t> rows;   // the original row of each row of lu
    bool swappedOddly = false;
    bool singular = false;
};

Factored factor(Numbers m) {
    Factored f{std::move(m), {}, false, false};
    Numbers& a = f.lu;
    const int32_t n = a.rows;
    f.rows.resize(size_t(n));
    for (int32_t i = 0; i < n; ++i) f.rows[size_t(i)] = i;
    for (int32_t k = 0; k < n; ++k) {
        int32_t pivot = k;
        for (int32_t r = k + 1; r < n; ++r) {
            if (std::fabs(a.at(r, k)) > std::fabs(a.at(pivot, k))) pivot = r;
        }
        if (a.at(pivot, k) == 0) {
            f.singular = true;
            return f;
        }
        if (pivot != k) {
            for (int32_t c = 0; c < n; ++c) std::swap(a.at(k, c), a.at(pivot, c));
            std::swap(f.rows[size_t(k)], f.rows[size_t(pivot)]);
            f.swappedOddly = !f.swappedOddly;
        }
        for (int32_t r = k + 1; r < n; ++r) {
            a.at(r, k) /= a.at(k, k);
            for (int32_t c = k + 1; c < n; ++c) a.at(r, c) -= a.at(r, k) * a.at(k, c);
        }
    }
    return f;
}

Value mdeterm(Call& call) {
    Factored f = factor(squareOf(call, 0));
    if (f.singular) return Value::number(0);
    double determinant = f.swappedOddly ? -1 : 1;
    for (int32_t k = 0; k < f.lu.rows; ++k) determinant *= f.lu.at(k, k);
    return Value::number(determinant);
}

// The inverse column by column: L y = P e, then U x = y.
Value minverse(Call& call) {
    Factored f = factor(squareOf(call, 0));
    if (f.singular) return Value::error(ecNUM);
    Numbers& a = f.lu;
    const int32_t n = a.rows;
    Numbers inverse{n, n, std::vector<double>(size_t(n) * size_t(n))};
    std::vector<double> x(static_cast<size_t>(n));
    for (int32_t column = 0; column < n; ++column) {
        for (int32_t i = 0; i < n; ++i) {
            double v = f.rows[size_t(i)] == column ? 1 : 0;
            for (int32_t j = 0; j < i; ++j) v -= a.at(i, j) * x[size_t(j)];
            x[size_t(i)] = v;
        }
        for (int32_t i = n; i-- > 0;) {
            double v = x[size_t(i)];
            for (int32_t j = i + 1; j < n; ++j) v -= a.at(i, j) * x[size_t(j)];
            x[size_t(i)] = v / a.at(i, i);
        }
        for (int32_t i = 0; i < n; ++i) inverse.at(i, column) = x[size_t(i)];
    }
    return arrayOf(inverse);
}

Value munit(Call& call) {
    return arrayResultCall(call, [](Call& call, std::span<const Value> args, bool whole) {
        return identity(toNumber(args[0], call.settings()), whole);
    });
}

constexpr FunctionSpec kFunctions[] = {
    {u"MMULT", 2, 2, "A", mmult, 165},
    {u"MDETERM", 1, 1, "A", mdeterm, 163},
    {u"MINVERSE", 1, 1, "A", minverse, 164},
    {u"MUNIT", 1, 1, "R", munit, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> matrixFunctions() { return kFunctions; }

}  // namespace kes::calc
