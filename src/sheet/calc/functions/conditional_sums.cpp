// SUMIF and SUMIFS: sums of the cells whose partners meet criteria. Only cells that exist can add
// anything, so both walk the cells of the sum range that exist and look up the partners at the
// same offsets: a whole column costs what its filled cells cost.
#include <algorithm>
#include <array>

#include "sheet/calc/functions/math_support.h"
#include "sheet/sheet_bounds.h"

namespace kes::calc {
namespace {

// A range or an array read by offsets from its top left corner.
class Block {
public:
    Block(Call& call, const Value& value) : evaluator_(call.evaluator()) {
        if (value.isError()) fail(value.error());
        if (value.isReference()) {
            if (value.areaCount() != 1) fail(ecValue);
            area_ = value.area();
            rows_ = area_.rows();
            columns_ = area_.columns();
        } else {
            matrix_ = evaluator_.toMatrix(value);
            rows_ = matrix_->rows();
            columns_ = matrix_->columns();
        }
    }

    int32_t rows() const { return rows_; }
    int32_t columns() const { return columns_; }
    bool isReference() const { return !matrix_; }

    // The same top left corner with another size; a range stops at the edge of the sheet.
    void resize(int32_t rows, int32_t columns) {
        rows_ = rows;
        columns_ = columns;
        if (isReference()) {
            area_.rect.bottom = std::min(kMaxRow, area_.rect.top + rows - 1);
            area_.rect.right = std::min(kMaxColumn, area_.rect.left + columns - 1);
        }
    }

    Value at(int32_t row, int32_t column) {
        if (row >= rows_ || column >= columns_) return {};
        if (!isReference()) {
            if (row >= matrix_->rows() || column >= matrix_->columns()) return {};
            return matrix_->at(row, column);
        }
        return evaluator_.readCell(*area_.sheet, area_.rect.top + row, area_.rect.left + column);
    }

    // Every value that may add to a sum, with its offsets: the cells that exist of a range,
    // every element of an array.
    template <class Visit>
    void forEachPresent(Visit&& visit) {
        if (isReference()) {
            forEachCell(evaluator_, area_, [&](int32_t row, int32_t column, const Value& v) {
                visit(row - area_.rect.top, column - area_.rect.left, v);
            });
            return;
        }
        for (int32_t r = 0; r < std::min(rows_, matrix_->rows()); ++r) {
            for (int32_t c = 0; c < std::min(columns_, matrix_->columns()); ++c) visit(r, c, matrix_->at(r, c));
        }
    }

private:
    Evaluator& evaluator_;
    Area area_;
    std::shared_ptr<const Matrix> matrix_;
    int32_t rows_ = 0;
    int32_t columns_ = 0;
};

// A criterion taken from an empty cell means 0, as Excel documents for COUNTIFS.
Criterion criterionOf(Call& call, size_t index) {
    Value criterion = call.scalar(index);
    if (criterion.isBlank()) criterion = Value::number(0);
    return Criterion(criterion, call.settings());
}

// The numbers of `sum` whose partners pass `test`; a passing error is the result.
template <class Test>
Value sumWhere(Block& sum, Test&& test) {
    double total = 0;
    sum.forEachPresent([&](int32_t row, int32_t column, const Value& v) {
        if (!v.isNumber() && !v.isError()) return;
        if (!test(row, column, v)) return;
        if (v.isError()) fail(v.error());
        total += v.number();
    });
    return Value::number(total);
}

// SUMIF's sum range starts at its own top left cell but takes the criteria range's size.
Value sumIf(Call& call) {
    Block range(call, call.arg(0));
    const Criterion criterion = criterionOf(call, 1);
    if (call.isMissing(2)) {
        return sumWhere(range, [&](int32_t, int32_t, const Value& v) { return criterion.matches(v); });
    }
    Block sum(call, call.arg(2));
    sum.resize(range.rows(), range.columns());
    return sumWhere(sum, [&](int32_t row, int32_t column, const Value&) {
        return criterion.matches(range.at(row, column));
    });
}

// SUMIFS pairs ranges of one size: any other size is #VALUE!.
Value sumIfs(Call& call) {
    if (call.count() % 2 == 0) return Value::error(ecValue);
    Block sum(call, call.arg(0));
    std::vector<Block> ranges;
    std::vector<Criterion> criteria;
    for (size_t i = 1; i + 1 < call.count(); i += 2) {
        ranges.emplace_back(call, call.arg(i));
        if (ranges.back().rows() != sum.rows() || ranges.back().columns() != sum.columns()) return Value::error(ecValue);
        criteria.push_back(criterionOf(call, i + 1));
    }
    return sumWhere(sum, [&](int32_t row, int32_t column, const Value&) {
        for (size_t k = 0; k < ranges.size(); ++k) {
            if (!criteria[k].matches(ranges[k].at(row, column))) return false;
        }
        return true;
    });
}

// SUMIFS's arguments: the sum range, then pairs of a range (kept) and a criterion (a value,
// which an array runs element by element).
constexpr auto kSumIfsClasses = [] {
    std::array<char, kManyArgs + 1> classes{};
    for (size_t i = 0; i < kManyArgs; ++i) classes[i] = i % 2 == 0 && i > 0 ? 'V' : 'R';
    return classes;
}();

constexpr FunctionSpec kFunctions[] = {
    {u"SUMIF", 2, 3, "RVR", sumIf, 345},
    {u"SUMIFS", 3, kManyArgs, kSumIfsClasses.data(), sumIfs, kNoBiffId},
};

}  // namespace

std::span<const FunctionSpec> conditionalSumFunctions() { return kFunctions; }

}  // namespace kes::calc
