#include "sheet/calc/value.h"

#include <cmath>

#include "sheet/calc/functions.h"
#include "sheet/calc/unicode_case.h"

namespace kes::calc {

Value Value::number(double value) {
    if (!std::isfinite(value)) return error(ecNUM);
    Value v;
    v.kind_ = ValueKind::Number;
    v.number_ = value == 0 ? 0.0 : value;   // no -0: Excel has none
    return v;
}

Value Value::date(double serial) {
    Value v = number(serial);
    v.date_ = v.isNumber();
    return v;
}

Value Value::text(std::u16string value) {
    Value v;
    v.kind_ = ValueKind::Text;
    v.text_ = std::move(value);
    return v;
}

Value Value::boolean(bool value) {
    Value v;
    v.kind_ = ValueKind::Boolean;
    v.number_ = value ? 1 : 0;
    return v;
}

Value Value::error(FormulaErrorCode code) {
    Value v;
    v.kind_ = ValueKind::Error;
    v.error_ = code;
    return v;
}

Value Value::omitted() {
    Value v;
    v.omitted_ = true;
    return v;
}

Value Value::reference(const Area& area) {
    Value v;
    v.kind_ = ValueKind::Reference;
    v.area_ = area;
    return v;
}

Value Value::references(std::vector<Area> areas) {
    if (areas.empty()) return error(ecNull);
    if (areas.size() == 1) return reference(areas.front());
    Value v;
    v.kind_ = ValueKind::Reference;
    v.area_ = areas.front();
    v.areas_ = std::make_shared<const std::vector<Area>>(std::move(areas));
    return v;
}

Value Value::array(Matrix matrix) { return array(std::make_shared<const Matrix>(std::move(matrix))); }

Value Value::array(std::shared_ptr<const Matrix> matrix) {
    Value v;
    v.kind_ = ValueKind::Array;
    v.matrix_ = std::move(matrix);
    return v;
}

Value Value::lambda(std::shared_ptr<const Lambda> lambda) {
    Value v;
    v.kind_ = ValueKind::Lambda;
    v.lambda_ = std::move(lambda);
    return v;
}

size_t Value::areaCount() const {
    if (kind_ != ValueKind::Reference) return 0;
    return areas_ ? areas_->size() : 1;
}

const Area& Value::area(size_t index) const { return areas_ ? (*areas_)[index] : area_; }

const Matrix& Value::matrix() const { return *matrix_; }

const std::shared_ptr<const Matrix>& Value::sharedMatrix() const { return matrix_; }

const Lambda& Value::lambda() const { return *lambda_; }

bool operator==(const Value& a, const Value& b) {
    if (a.kind_ != b.kind_) return false;
    switch (a.kind_) {
    case ValueKind::Blank: return true;
    case ValueKind::Number:
    case ValueKind::Boolean: return a.number_ == b.number_;
    case ValueKind::Text: return a.text_ == b.text_;
    case ValueKind::Error: return a.error_ == b.error_;
    case ValueKind::Reference:
        if (a.areaCount() != b.areaCount()) return false;
        for (size_t i = 0; i < a.areaCount(); ++i) {
            if (!(a.area(i) == b.area(i))) return false;
        }
        return true;
    case ValueKind::Array: return a.matrix_ == b.matrix_;
    case ValueKind::Lambda: return a.lambda_ == b.lambda_;
    }
    return false;
}

Matrix::Matrix(int32_t rows, int32_t columns)
    : rows_(rows), columns_(columns), elements_(size_t(rows) * size_t(columns)) {}

Value Matrix::at(size_t index) const {
    const Element& e = elements_[index];
    switch (e.kind) {
    case ValueKind::Number: return e.date ? Value::date(e.number) : Value::number(e.number);
    case ValueKind::Text: return Value::text(texts_[e.text]);
    case ValueKind::Boolean: return Value::boolean(e.number != 0);
    case ValueKind::Error: return Value::error(e.error);
    default: return {};
    }
}

Value Matrix::broadcast(int32_t row, int32_t column) const {
    if (!pairedElement(rows_, columns_, row, column)) return Value::error(ecNA);
    return at(row, column);
}

void Matrix::set(size_t index, const Value& value) {
    Element& e = elements_[index];
    e.kind = value.isScalar() ? value.kind() : ValueKind::Error;
    e.date = value.isDate();
    e.error = value.isScalar() ? value.error() : ecValue;
    e.number = value.number();
    if (value.isText()) {
        e.text = static_cast<uint32_t>(texts_.size());
        texts_.push_back(value.text());
    }
}

const Value* Bindings::find(std::u16string_view name) const {
    for (const Bindings* frame = this; frame; frame = frame->parent.get()) {
        for (auto it = frame->values.rbegin(); it != frame->values.rend(); ++it) {
            if (equalsIgnoringAsciiCase(it->first, name)) return &it->second;
        }
    }
    return nullptr;
}

Value fromCellValue(const CellValue& value) {
    switch (value.type) {
    case cdtBlank: return {};
    case cdtBoolean: return Value::boolean(value.boolean);
    case cdtError: return Value::error(value.error);
    case cdtCurrency: return Value::number(double(value.currency) / 10000.0);
    case cdtFloat: return Value::number(value.number);
    case cdtDateTime: return Value::date(value.number);
    case cdtInteger: return Value::number(value.integer);
    case cdtString: return Value::text(value.text);
    case cdtFormula: return {};   // a formula's result is read, never its text
    }
    return {};
}

CellValue toCellValue(const Value& value) {
    switch (value.kind()) {
    case ValueKind::Blank: return {};
    case ValueKind::Number:
        return value.isDate() ? CellValue::makeDateTime(value.number()) : CellValue::makeFloat(value.number());
    case ValueKind::Text: return CellValue::makeString(value.text());
    case ValueKind::Boolean: return CellValue::makeBoolean(value.boolean());
    case ValueKind::Error: return CellValue::makeError(value.error());
    default: return CellValue::makeError(ecValue);
    }
}

bool Lambda::takes(size_t count) const {
    if (function) return count >= function->minArgs && count <= function->maxArgs;
    return count == parameters.size();
}

std::u16string upperCase(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) c = toUpper(c);
    return out;
}

std::u16string lowerCase(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) c = toLower(c);
    return out;
}

}  // namespace kes::calc
