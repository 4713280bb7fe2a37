#include "sheet/calc/functions/array_support.h"

#include <cmath>

namespace kes::calc {

std::shared_ptr<const Matrix> elementsOf(Call& call, size_t index) {
    return call.evaluator().toMatrix(call.arg(index));
}

std::vector<int64_t> integerList(Call& call, size_t index) {
    const auto m = call.matrix(index);
    if (m->rows() != 1 && m->columns() != 1) fail(ecValue);
    std::vector<int64_t> out;
    out.reserve(m->size());
    for (size_t i = 0; i < m->size(); ++i) {
        const double x = std::trunc(toNumber(m->at(i), call.settings()));
        if (!(x > -9e15 && x < 9e15)) fail(ecValue);
        out.push_back(int64_t(x));
    }
    return out;
}

void appendKey(std::u16string& key, const Value& value) {
    key += char16_t(u'0' + int(value.kind()));
    switch (value.kind()) {
    case ValueKind::Number: key += numberToText(round15(value.number())); break;
    case ValueKind::Text: key += upperCase(value.text()); break;
    case ValueKind::Boolean: key += value.boolean() ? u'1' : u'0'; break;
    case ValueKind::Error: key += char16_t(value.error()); break;
    default: break;
    }
    key += u'\x1F';
}

Matrix subMatrix(const Matrix& m, int32_t top, int32_t left, int32_t height, int32_t width) {
    Matrix out(height, width);
    for (int32_t r = 0; r < height; ++r) {
        for (int32_t c = 0; c < width; ++c) out.set(r, c, m.at(top + r, left + c));
    }
    return out;
}

bool fitsArray(int64_t rows, int64_t columns) {
    return rows <= kMaxArrayElements && columns <= kMaxArrayElements && rows * columns <= kMaxArrayElements;
}

Value arrayResult(Matrix matrix) {
    if (matrix.size() == 0) return Value::error(ecCalc);
    return Value::array(std::move(matrix));
}

}  // namespace kes::calc
