#pragma once
// Values as formulas compute them: the scalars a cell can hold, references to areas of cells,
// arrays of scalars, and LAMBDA functions. A cell's value (CellValue) is what a formula's result
// becomes when it is stored; this is what flows between operators and functions on the way.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/cell_value.h"
#include "sheet/selection.h"
#include "text/ascii_case.h"

namespace kes {
class SheetTable;
}

namespace kes::formula {
class Expression;
}

namespace kes::calc {

enum class ValueKind : uint8_t { Blank, Number, Text, Boolean, Error, Reference, Array, Lambda };

// A rectangle of cells of one sheet.
struct Area {
    SheetTable* sheet = nullptr;
    CellRect rect;

    int32_t rows() const { return rect.bottom - rect.top + 1; }
    int32_t columns() const { return rect.right - rect.left + 1; }
    int64_t cells() const { return int64_t(rows()) * columns(); }
    bool isCell() const { return rect.top == rect.bottom && rect.left == rect.right; }
    friend bool operator==(const Area&, const Area&) = default;
};

class Matrix;
struct Lambda;

class Value {
public:
    Value() = default;

    static Value number(double value);   // a number that is not finite is #NUM!, as in Excel
    static Value date(double serial);    // a number that shows as a date or time
    static Value text(std::u16string value);
    static Value boolean(bool value);
    static Value error(FormulaErrorCode code);
    // An argument left out, as in IF(A1,,1) or a LAMBDA called with fewer values: blank, and
    // ISOMITTED can tell it.
    static Value omitted();
    static Value reference(const Area& area);
    // A union or a reference across sheets; a single area is a plain reference.
    static Value references(std::vector<Area> areas);
    static Value array(Matrix matrix);
    static Value array(std::shared_ptr<const Matrix> matrix);
    static Value lambda(std::shared_ptr<const Lambda> lambda);

    ValueKind kind() const { return kind_; }
    bool isBlank() const { return kind_ == ValueKind::Blank; }
    bool isNumber() const { return kind_ == ValueKind::Number; }
    bool isText() const { return kind_ == ValueKind::Text; }
    bool isBoolean() const { return kind_ == ValueKind::Boolean; }
    bool isError() const { return kind_ == ValueKind::Error; }
    bool isReference() const { return kind_ == ValueKind::Reference; }
    bool isArray() const { return kind_ == ValueKind::Array; }
    bool isLambda() const { return kind_ == ValueKind::Lambda; }
    bool isScalar() const { return kind_ <= ValueKind::Error; }
    bool isOmitted() const { return omitted_; }

    // Number and Boolean (0 or 1).
    double number() const { return number_; }
    bool boolean() const { return number_ != 0; }
    bool isDate() const { return date_; }
    FormulaErrorCode error() const { return error_; }
    const std::u16string& text() const { return text_; }

    size_t areaCount() const;
    const Area& area(size_t index = 0) const;
    const Matrix& matrix() const;
    const std::shared_ptr<const Matrix>& sharedMatrix() const;
    const Lambda& lambda() const;

    friend bool operator==(const Value& a, const Value& b);

private:
    ValueKind kind_ = ValueKind::Blank;
    bool date_ = false;
    bool omitted_ = false;
    FormulaErrorCode error_ = ecNone;
    double number_ = 0;
    std::u16string text_;
    Area area_;
    std::shared_ptr<const std::vector<Area>> areas_;   // a reference of more than one area
    std::shared_ptr<const Matrix> matrix_;
    std::shared_ptr<const Lambda> lambda_;
};

// The most elements an array may hold: 4,194,304 (a whole column is a million), so that a
// formula cannot take more memory than a 32-bit host can give.
constexpr int64_t kMaxArrayElements = int64_t(1) << 22;

// A rectangle of scalars, stored compactly: a million elements take 16 MB.
class Matrix {
public:
    Matrix() = default;
    // Every element blank. The caller keeps rows * columns within kMaxArrayElements.
    Matrix(int32_t rows, int32_t columns);

    int32_t rows() const { return rows_; }
    int32_t columns() const { return columns_; }
    size_t size() const { return elements_.size(); }

    Value at(size_t index) const;
    Value at(int32_t row, int32_t column) const { return at(size_t(row) * size_t(columns_) + size_t(column)); }
    // The element Excel pairs with (row, column) when this array meets a larger one: a single
    // row or column repeats along the other side; beyond the array is #N/A.
    Value broadcast(int32_t row, int32_t column) const;
    // The same rule for any rows x columns block (an array, a referenced area): moves (row,
    // column) to the element it pairs with; false when that lies beyond the block.
    static bool pairedElement(int32_t rows, int32_t columns, int32_t& row, int32_t& column) {
        if (rows == 1) row = 0;
        if (columns == 1) column = 0;
        return row < rows && column < columns;
    }
    ValueKind kindAt(size_t index) const { return elements_[index].kind; }
    double numberAt(size_t index) const { return elements_[index].number; }

    // Scalars only; a reference or an array here is an error of the caller.
    void set(size_t index, const Value& value);
    void set(int32_t row, int32_t column, const Value& value) {
        set(size_t(row) * size_t(columns_) + size_t(column), value);
    }

private:
    struct Element {
        ValueKind kind = ValueKind::Blank;
        bool date = false;
        FormulaErrorCode error = ecNone;
        uint32_t text = 0;   // index into texts_
        double number = 0;
    };
    int32_t rows_ = 0;
    int32_t columns_ = 0;
    std::vector<Element> elements_;
    std::vector<std::u16string> texts_;
};

// The names LET and LAMBDA bind, innermost first.
struct Bindings {
    std::shared_ptr<const Bindings> parent;
    std::vector<std::pair<std::u16string, Value>> values;

    // The value bound to `name` (ASCII case ignored) here or in a parent; nullptr when none is.
    const Value* find(std::u16string_view name) const;
};

// A LAMBDA: its parameters and body, where it was written, and the names bound around it.
struct FunctionSpec;

struct Lambda {
    // A built-in passed by name, BYROW(A1:B2, SUM): it takes as many values as it is given.
    const FunctionSpec* function = nullptr;
    const formula::Expression* expression = nullptr;
    std::vector<std::u16string> parameters;
    uint32_t body = 0;
    std::shared_ptr<const Bindings> closure;
    SheetTable* sheet = nullptr;   // the cell whose formula wrote it, for its references
    int32_t row = 0;
    int32_t column = 0;
    int32_t rowOffset = 0;       // how the relative references of a defined name move
    int32_t columnOffset = 0;

    // True when a call with `count` values suits it.
    bool takes(size_t count) const;
};

// A cell's stored value as a formula reads it, and a result as a cell stores it.
Value fromCellValue(const CellValue& value);
CellValue toCellValue(const Value& value);

std::u16string upperCase(std::u16string_view text);
std::u16string lowerCase(std::u16string_view text);

}  // namespace kes::calc
