// Reference functions: where a reference is (ROW, COLUMN, ROWS, COLUMNS, AREAS), references
// made from others (INDEX, OFFSET, CHOOSE, INDIRECT, TRIMRANGE, ANCHORARRAY) and from or to
// text (ADDRESS, FORMULATEXT), HYPERLINK and GETPIVOTDATA.
#include <algorithm>
#include <cmath>
#include <map>

#include "sheet/calc/functions/lookup_support.h"
#include "sheet/calc/functions/reference_text.h"
#include "sheet/cell_formula.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_table.h"

namespace kes::calc {
namespace {

// The one area of a reference argument: #VALUE! for a value, #REF! for several areas.
const Area& singleArea(Call& call, size_t index) {
    const Value& ref = call.arg(index);
    if (ref.isError()) fail(ref.error());
    if (!ref.isReference()) fail(ecValue);
    if (ref.areaCount() != 1) fail(ecRefErr);
    return ref.area();
}

// ROW and COLUMN of a reference of several rows or columns give each of them.
Value rowOrColumn(Call& call, bool row) {
    if (call.isMissing(0)) return Value::number((row ? call.evaluator().row() : call.evaluator().column()) + 1);
    const Area& area = singleArea(call, 0);
    const int32_t first = row ? area.rect.top : area.rect.left;
    const int32_t count = row ? area.rows() : area.columns();
    if (count == 1) return Value::number(first + 1);
    Matrix out(row ? count : 1, row ? 1 : count);
    for (int32_t i = 0; i < count; ++i) out.set(size_t(i), Value::number(first + i + 1));
    return Value::array(std::move(out));
}

Value row(Call& call) { return rowOrColumn(call, true); }
Value column(Call& call) { return rowOrColumn(call, false); }

Value rowsOrColumns(Call& call, bool rows) {
    const Value& v = call.arg(0);
    switch (v.kind()) {
    case ValueKind::Error: return v;
    case ValueKind::Reference:
        if (v.areaCount() != 1) return Value::error(ecRefErr);
        return Value::number(rows ? v.area().rows() : v.area().columns());
    case ValueKind::Array: return Value::number(rows ? v.matrix().rows() : v.matrix().columns());
    case ValueKind::Lambda: return Value::error(ecValue);
    default: return Value::number(1);
    }
}

Value rows(Call& call) { return rowsOrColumns(call, true); }
Value columns(Call& call) { return rowsOrColumns(call, false); }

Value areas(Call& call) {
    const Value& v = call.arg(0);
    if (v.isError()) return v;
    if (!v.isReference()) return Value::error(ecValue);
    return Value::number(double(v.areaCount()));
}

// An index of INDEX: 0 (or left out) for the whole row or column, negative is #VALUE!.
int64_t indexArgument(Call& call, size_t index) {
    if (call.isMissing(index)) return 0;
    const int64_t value = call.integer(index);
    if (value < 0) fail(ecValue);
    return value;
}

Value indexOfArray(const Matrix& m, int64_t r, int64_t c, bool oneIndex) {
    if (oneIndex) {
        // One index picks along a single row or column; in a table it picks a row.
        if (m.rows() == 1) std::swap(r, c), r = 1;
        else if (m.columns() == 1) c = 1;
    }
    if (r > m.rows() || c > m.columns()) return Value::error(ecRefErr);
    if (r > 0 && c > 0) return m.at(int32_t(r - 1), int32_t(c - 1));
    const int32_t rows = r > 0 ? 1 : m.rows(), columns = c > 0 ? 1 : m.columns();
    Matrix out(rows, columns);
    for (int32_t i = 0; i < rows; ++i) {
        for (int32_t j = 0; j < columns; ++j) out.set(i, j, m.at(r > 0 ? int32_t(r - 1) : i, c > 0 ? int32_t(c - 1) : j));
    }
    if (out.size() == 1) return out.at(0);
    return Value::array(std::move(out));
}

Value index(Call& call) {
    const Value& source = call.arg(0);
    if (source.isError()) return source;
    const int64_t r = indexArgument(call, 1);
    const int64_t c = indexArgument(call, 2);
    const int64_t areaNumber = call.isMissing(3) ? 1 : call.integer(3);
    if (areaNumber < 1) return Value::error(ecValue);
    const bool oneIndex = call.count() == 2;
    if (!source.isReference()) {
        if (areaNumber != 1) return Value::error(ecRefErr);
        return indexOfArray(*call.matrix(0), r, c, oneIndex);
    }
    if (size_t(areaNumber) > source.areaCount()) return Value::error(ecRefErr);
    const Area& area = source.area(size_t(areaNumber - 1));
    int64_t row = r, col = c;
    if (oneIndex) {
        // A single index goes along a reference of one row or one column only.
        if (area.rows() == 1) std::swap(row, col);
        else if (area.columns() != 1) return Value::error(ecRefErr);
    }
    if (row > area.rows() || col > area.columns()) return Value::error(ecRefErr);
    CellRect rect = area.rect;
    if (row > 0) rect.top = rect.bottom = area.rect.top + int32_t(row - 1);
    if (col > 0) rect.left = rect.right = area.rect.left + int32_t(col - 1);
    return Value::reference({area.sheet, rect});
}

// OFFSET moves a reference and sizes it anew; a negative height or width reaches up or left.
Value offset(Call& call) {
    const Value& ref = call.arg(0);
    if (ref.isError()) return ref;
    if (!ref.isReference() || ref.areaCount() != 1) return Value::error(ecValue);
    const Area& area = ref.area();
    const int64_t rows = call.integer(1), columns = call.integer(2);
    const int64_t height = call.isMissing(3) ? area.rows() : call.integer(3);
    const int64_t width = call.isMissing(4) ? area.columns() : call.integer(4);
    if (height == 0 || width == 0) return Value::error(ecRefErr);
    const auto span = [](int64_t start, int64_t size, int64_t limit, int32_t& first, int32_t& last) {
        int64_t a = start, b = start + size - 1;
        if (size < 0) a = start + size + 1, b = start;
        if (a < 0 || b > limit) return false;
        first = int32_t(a);
        last = int32_t(b);
        return true;
    };
    CellRect rect;
    if (!span(int64_t(area.rect.top) + rows, height, kMaxRow, rect.top, rect.bottom) ||
        !span(int64_t(area.rect.left) + columns, width, kMaxColumn, rect.left, rect.right)) {
        return Value::error(ecRefErr);
    }
    return Value::reference({area.sheet, rect});
}

// CHOOSE with an array of indexes picks element by element, over the size of the index array
// and of the values it picks: CHOOSE({1,2},A1:A3,B1:B3) is A1:B3.
Value chooseEach(Call& call, const Matrix& indexes) {
    Evaluator& evaluator = call.evaluator();
    std::map<size_t, std::shared_ptr<const Matrix>> picked;
    int32_t rows = indexes.rows(), columns = indexes.columns();
    for (size_t i = 0; i < indexes.size(); ++i) {
        const Value k = indexes.at(i);
        if (!k.isNumber() && !k.isBoolean()) continue;
        const double which = std::trunc(k.number());
        if (which < 1 || which >= double(call.count()) || picked.count(size_t(which))) continue;
        try {
            const auto m = evaluator.toMatrix(call.arg(size_t(which)));
            picked[size_t(which)] = m;
            rows = std::max(rows, m->rows());
            columns = std::max(columns, m->columns());
        } catch (const CalcError&) {
            picked[size_t(which)] = nullptr;
        }
    }
    if (int64_t(rows) * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(rows, columns);
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            const Value k = indexes.broadcast(r, c);
            Value element = Value::error(ecValue);
            if (k.isError()) {
                element = k;
            } else if (const auto number = k.isText() ? textToNumber(k.text(), call.settings()) : std::optional(k.number())) {
                const auto it = picked.find(size_t(std::trunc(*number)));
                if (*number >= 1 && it != picked.end()) element = it->second ? it->second->broadcast(r, c) : Value::error(ecValue);
            }
            out.set(r, c, element);
        }
    }
    return Value::array(std::move(out));
}

Value choose(Call& call) {
    Evaluator& evaluator = call.evaluator();
    Value which = call.arg(0);
    if (which.isReference()) which = evaluator.dereference(which, call.mode());
    if (which.isArray() && which.matrix().size() == 1) which = which.matrix().at(0);
    if (which.isArray()) return chooseEach(call, which.matrix());
    if (which.isError()) return which;
    const double k = std::trunc(toNumber(which, call.settings()));
    if (k < 1 || k >= double(call.count())) return Value::error(ecValue);
    return call.arg(size_t(k));
}

Value indirect(Call& call) {
    const std::u16string text = call.text(0);
    const bool a1 = call.boolean(1, true);
    return referenceFromText(call.evaluator(), text, a1);
}

Value address(Call& call) {
    const int64_t row = call.integer(0), column = call.integer(1);
    const int64_t absolute = call.isMissing(2) ? 1 : call.integer(2);
    const bool a1 = call.boolean(3, true);
    if (row < 1 || row > int64_t(kMaxRow) + 1 || column < 1 || column > int64_t(kMaxColumn) + 1) return Value::error(ecValue);
    if (absolute < 1 || absolute > 4) return Value::error(ecValue);
    std::u16string out = call.isMissing(4) ? std::u16string() : sheetPrefix(call.text(4));
    out += addressText(int32_t(row - 1), int32_t(column - 1), int(absolute), a1);
    return Value::text(std::move(out));
}

// The formula of the top left cell; a cell of an array formula shows the anchor's, in braces
// when it is an array formula of the old kind.
Value formulaText(Call& call) {
    const Area& area = singleArea(call, 0);
    SheetTable& sheet = *area.sheet;
    CellRef cell = sheet.getCell(area.rect.top, area.rect.left);
    if (!cell || cell.dataType() != cdtFormula) return Value::error(ecNA);
    const CellFormula* formula = cell.cell()->formula;
    if (formula->role == FormulaRole::ArrayMember) {
        cell = sheet.getCell(formula->array.top, formula->array.left);
        if (!cell || cell.dataType() != cdtFormula) return Value::error(ecNA);
        formula = cell.cell()->formula;
    }
    if (formula->role == FormulaRole::ArrayAnchor && !formula->dynamic) return Value::text(u"{" + formula->text + u"}");
    return Value::text(formula->text);
}

Value hyperlink(Call& call) {
    const Value link = call.scalar(0);
    if (link.isError()) return link;
    if (call.isMissing(1)) return link;
    return call.scalar(1);
}

// Pivot tables are not read: every GETPIVOTDATA refers to none.
Value getPivotData(Call&) { return Value::error(ecRefErr); }

// The area a dynamic array or array formula fills, from its top left cell.
Value anchorArray(Call& call) {
    const Area& area = singleArea(call, 0);
    return call.evaluator().spill(*area.sheet, area.rect.top, area.rect.left);
}

// TRIMRANGE's choice: 0 keeps all, 1 trims the leading blank rows (or columns), 2 the
// trailing, 3 both. Only those whole numbers are taken.
int trimArgument(Call& call, size_t index) {
    if (call.isMissing(index)) return 3;
    const Value& v = call.arg(index);
    if (v.isArray() && v.matrix().size() != 1) fail(ecValue);
    const double x = toNumber(call.scalar(index), call.settings());
    if (x != std::trunc(x) || x < 0 || x > 3) fail(ecValue);
    return int(x);
}

Value trimRange(Call& call) {
    const Value& ref = call.arg(0);
    if (ref.isError()) return ref;
    if (!ref.isReference() || ref.areaCount() != 1) return Value::error(ecValue);
    const int trimRows = trimArgument(call, 1), trimColumns = trimArgument(call, 2);
    const Area& area = ref.area();
    CellRect used{kMaxColumn + 1, kMaxRow + 1, -1, -1};
    forEachCell(call.evaluator(), area, [&](int32_t r, int32_t c, const Value& v) {
        if (v.isBlank()) return;
        used.top = std::min(used.top, r);
        used.bottom = std::max(used.bottom, r);
        used.left = std::min(used.left, c);
        used.right = std::max(used.right, c);
    });
    if (used.bottom < 0) return Value::error(ecRefErr);
    CellRect rect = area.rect;
    if (trimRows & 1) rect.top = used.top;
    if (trimRows & 2) rect.bottom = used.bottom;
    if (trimColumns & 1) rect.left = used.left;
    if (trimColumns & 2) rect.right = used.right;
    return Value::reference({area.sheet, rect});
}

constexpr FunctionSpec kFunctions[] = {
    {u"ROW", 0, 1, "R", row, 8},
    {u"COLUMN", 0, 1, "R", column, 9},
    {u"ROWS", 1, 1, "A", rows, 76},
    {u"COLUMNS", 1, 1, "A", columns, 77},
    {u"AREAS", 1, 1, "R", areas, 75},
    {u"INDEX", 2, 4, "AVVV", index, 29, kReturnsReference},
    {u"OFFSET", 3, 5, "RVVVV", offset, 78, kVolatile | kReturnsReference},
    {u"CHOOSE", 2, kManyArgs, "L", choose, 100, kReturnsReference},
    {u"INDIRECT", 1, 2, "VV", indirect, 148, kVolatile | kReturnsReference},
    {u"ADDRESS", 2, 5, "VVVVV", address, 219},
    {u"FORMULATEXT", 1, 1, "R", formulaText, kNoBiffId, kFilePrefix},
    {u"HYPERLINK", 1, 2, "VV", hyperlink, 359},
    {u"GETPIVOTDATA", 2, kManyArgs, "VR", getPivotData, 358},
    {u"ANCHORARRAY", 1, 1, "R", anchorArray, kNoBiffId, kFilePrefix | kReturnsReference},
    {u"TRIMRANGE", 1, 3, "RAA", trimRange, kNoBiffId, kFilePrefix | kReturnsReference},
};

}  // namespace

std::span<const FunctionSpec> referenceFunctions() { return kFunctions; }

}  // namespace kes::calc
