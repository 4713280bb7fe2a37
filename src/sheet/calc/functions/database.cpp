// Database functions: DSUM, DAVERAGE, DCOUNT, DGET and their kin over a table whose first row
// names its fields, with the records a criteria range selects. A criteria row asks for all of
// its conditions, the rows for any of them; a condition under a header that names no field is
// a formula computed for each record, its relative references moved down to the record.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/cell_formula.h"
#include "sheet/sheet_table.h"

namespace kes::calc {
namespace {

// A database or criteria range read whole; the bottom of a range of whole columns is the
// sheet's last row.
struct Table {
    std::shared_ptr<const Matrix> values;
    std::optional<Area> area;   // when it is a reference
};

Table tableArgument(Call& call, size_t index) {
    const Value& v = call.arg(index);
    if (v.isError()) fail(v.error());
    if (v.isReference()) {
        if (v.areaCount() != 1) fail(ecValue);
        Area area = v.area();
        SheetTable& sheet = *area.sheet;
        const int32_t lastRow = sheet.rows().empty() ? area.rect.top : sheet.rows().last()->index;
        area.rect.bottom = std::max(area.rect.top, std::min(area.rect.bottom, lastRow));
        return {call.evaluator().toMatrix(Value::reference(area)), area};
    }
    if (!v.isArray()) fail(ecValue);
    return {v.sharedMatrix(), std::nullopt};
}

bool sameName(const Value& a, const Value& b) {
    if (a.isBlank() || b.isBlank() || a.isError() || b.isError()) return false;
    return equalsIgnoringAsciiCase(scalarToText(a), scalarToText(b));
}

// The column of the field: a header's name (case ignored) or its number from 1.
int32_t fieldColumn(Call& call, const Matrix& database) {
    const Value field = call.scalar(1);
    if (field.isError()) fail(field.error());
    if (field.isText()) {
        for (int32_t c = 0; c < database.columns(); ++c) {
            if (sameName(database.at(0, c), field)) return c;
        }
        fail(ecValue);
    }
    const double n = std::trunc(toNumber(field, call.settings()));
    if (n < 1 || n > database.columns()) fail(ecValue);
    return int32_t(n - 1);
}

// One condition of a criteria row.
struct Condition {
    int32_t column = -1;                             // the database field it tests
    std::optional<Criterion> criterion;              // a value to compare with
    const formula::Expression* computed = nullptr;   // or a formula computed for each record
    SheetTable* sheet = nullptr;
    int32_t row = 0, cellColumn = 0;
    bool impossible = false;                         // a value under a header that names no field
};

// A text condition with no comparison in front finds the texts that begin with it.
Criterion criterionOf(const Value& value, const FormatSettings& settings) {
    if (value.isText() && !value.text().empty()) {
        const char16_t first = value.text().front();
        if (first != u'=' && first != u'<' && first != u'>' && !textToNumber(value.text(), settings)) {
            return Criterion(Value::text(value.text() + u"*"), settings);
        }
    }
    return Criterion(value, settings);
}

std::vector<std::vector<Condition>> conditionsOf(Call& call, const Matrix& database, const Table& criteria) {
    const Matrix& c = *criteria.values;
    std::vector<std::vector<Condition>> rows;
    for (int32_t r = 1; r < c.rows(); ++r) {
        std::vector<Condition> row;
        for (int32_t k = 0; k < c.columns(); ++k) {
            const Value value = c.at(r, k);
            Condition condition;
            const Value header = c.at(0, k);
            for (int32_t d = 0; d < database.columns() && condition.column < 0; ++d) {
                if (sameName(database.at(0, d), header)) condition.column = d;
            }
            CellRef cell;
            if (criteria.area) cell = criteria.area->sheet->getCell(criteria.area->rect.top + r, criteria.area->rect.left + k);
            const bool formula = cell && cell.dataType() == cdtFormula && cell.cell()->formula->expression;
            if (condition.column >= 0) {
                if (value.isBlank()) continue;
                condition.criterion = criterionOf(value, call.settings());
            } else if (formula) {
                condition.computed = cell.cell()->formula->expression.get();
                condition.sheet = criteria.area->sheet;
                condition.row = cell.row();
                condition.cellColumn = cell.column();
            } else if (value.isBlank()) {
                continue;
            } else {
                condition.impossible = true;
            }
            row.push_back(std::move(condition));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

bool holds(Call& call, const Condition& condition, const Matrix& database, int32_t record) {
    if (condition.impossible) return false;
    if (condition.criterion) return condition.criterion->matches(database.at(record, condition.column));
    Evaluator inner(*condition.sheet, condition.row, condition.cellColumn, *condition.computed);
    inner.setReferenceOffset(record - 1, 0);
    const Value result = inner.evaluate(condition.computed->rootIndex(), Mode::Value);
    const Value v = inner.dereference(result, Mode::Value);
    return (v.isBoolean() || v.isNumber()) && v.number() != 0;
}

// The records (rows of the database after its header) that meet the criteria.
std::vector<int32_t> selectedRecords(Call& call, const Matrix& database) {
    const Table criteria = tableArgument(call, 2);
    const auto rows = conditionsOf(call, database, criteria);
    std::vector<int32_t> out;
    for (int32_t record = 1; record < database.rows(); ++record) {
        const bool selected = rows.empty() || std::any_of(rows.begin(), rows.end(), [&](const auto& row) {
            return std::all_of(row.begin(), row.end(), [&](const Condition& c) { return holds(call, c, database, record); });
        });
        if (selected) out.push_back(record);
    }
    return out;
}

// The numbers of the field in the selected records; errors there are the result.
std::vector<double> selectedNumbers(Call& call) {
    const Table database = tableArgument(call, 0);
    const int32_t column = fieldColumn(call, *database.values);
    std::vector<double> out;
    for (const int32_t record : selectedRecords(call, *database.values)) {
        const Value v = database.values->at(record, column);
        if (v.isError()) fail(v.error());
        if (v.isNumber()) out.push_back(v.number());
    }
    return out;
}

double sumOf(const std::vector<double>& x) {
    double s = 0;
    for (double v : x) s += v;
    return s;
}

// The sum of squared deviations divided by n - `lost` (1 for a sample, 0 for a population).
Value variance(const std::vector<double>& x, size_t lost) {
    if (x.size() <= lost) return Value::error(ecDivByZero);
    const double mean = sumOf(x) / double(x.size());
    double squares = 0;
    for (double v : x) squares += (v - mean) * (v - mean);
    return Value::number(squares / double(x.size() - lost));
}

Value dsum(Call& call) { return Value::number(sumOf(selectedNumbers(call))); }

Value daverage(Call& call) {
    const auto x = selectedNumbers(call);
    if (x.empty()) return Value::error(ecDivByZero);
    return Value::number(sumOf(x) / double(x.size()));
}

Value dmax(Call& call) {
    const auto x = selectedNumbers(call);
    return Value::number(x.empty() ? 0 : *std::max_element(x.begin(), x.end()));
}

Value dmin(Call& call) {
    const auto x = selectedNumbers(call);
    return Value::number(x.empty() ? 0 : *std::min_element(x.begin(), x.end()));
}

Value dproduct(Call& call) {
    const auto x = selectedNumbers(call);
    if (x.empty()) return Value::number(0);
    double p = 1;
    for (double v : x) p *= v;
    return Value::number(p);
}

Value dvar(Call& call) { return variance(selectedNumbers(call), 1); }
Value dvarp(Call& call) { return variance(selectedNumbers(call), 0); }

Value dstdev(Call& call) {
    const Value v = variance(selectedNumbers(call), 1);
    return v.isNumber() ? Value::number(std::sqrt(v.number())) : v;
}

Value dstdevp(Call& call) {
    const Value v = variance(selectedNumbers(call), 0);
    return v.isNumber() ? Value::number(std::sqrt(v.number())) : v;
}

// DCOUNT counts numbers of the field and DCOUNTA values that are not blank; without a field
// (or with field 0), the records selected.
Value dcountWith(Call& call, bool anyValue) {
    const Table database = tableArgument(call, 0);
    const Value field = call.scalar(1);
    const bool all = call.isMissing(1) || (field.isNumber() && field.number() == 0);
    const int32_t column = all ? -1 : fieldColumn(call, *database.values);
    double count = 0;
    for (const int32_t record : selectedRecords(call, *database.values)) {
        if (all) {
            ++count;
            continue;
        }
        const Value v = database.values->at(record, column);
        if (anyValue ? !v.isBlank() : v.isNumber()) ++count;
    }
    return Value::number(count);
}

Value dcount(Call& call) { return dcountWith(call, false); }
Value dcounta(Call& call) { return dcountWith(call, true); }

// DGET: the field of the one record selected; none is #VALUE!, several #NUM!.
Value dget(Call& call) {
    const Table database = tableArgument(call, 0);
    const int32_t column = fieldColumn(call, *database.values);
    const auto records = selectedRecords(call, *database.values);
    if (records.empty()) return Value::error(ecValue);
    if (records.size() > 1) return Value::error(ecNUM);
    return database.values->at(records.front(), column);
}

constexpr FunctionSpec kFunctions[] = {
    {u"DAVERAGE", 3, 3, "RVR", daverage, 42},
    {u"DCOUNT", 3, 3, "RVR", dcount, 40},
    {u"DCOUNTA", 3, 3, "RVR", dcounta, 199},
    {u"DGET", 3, 3, "RVR", dget, 235},
    {u"DMAX", 3, 3, "RVR", dmax, 44},
    {u"DMIN", 3, 3, "RVR", dmin, 43},
    {u"DPRODUCT", 3, 3, "RVR", dproduct, 189},
    {u"DSTDEV", 3, 3, "RVR", dstdev, 45},
    {u"DSTDEVP", 3, 3, "RVR", dstdevp, 195},
    {u"DSUM", 3, 3, "RVR", dsum, 41},
    {u"DVAR", 3, 3, "RVR", dvar, 47},
    {u"DVARP", 3, 3, "RVR", dvarp, 196},
};

}  // namespace

std::span<const FunctionSpec> databaseFunctions() { return kFunctions; }

}  // namespace kes::calc
