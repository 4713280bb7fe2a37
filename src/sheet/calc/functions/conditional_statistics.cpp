// Statistics over the cells that meet criteria: COUNTIF, COUNTIFS, AVERAGEIF, AVERAGEIFS, MAXIFS,
// MINIFS, and COUNTBLANK.
#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "sheet/calc/functions/statistics_support.h"
#include "sheet/sheet_bounds.h"

namespace kes::calc {
namespace {

// A criterion argument; an empty cell given as the criterion stands for 0, not for blank cells.
Criterion criterionOf(Call& call, size_t index) {
    const Value value = call.scalar(index);
    return Criterion(value.isBlank() ? Value::number(0) : value, call.settings());
}

Value countIf(Call& call) {
    const Value& range = call.arg(0);
    if (range.isError()) return range;
    const Criterion criterion = criterionOf(call, 1);
    double n = 0;
    if (range.isReference()) {
        const bool blanksMatch = criterion.matches(Value());
        for (size_t a = 0; a < range.areaCount(); ++a) {
            const Area& area = range.area(a);
            int64_t seen = 0;
            forEachCell(call.evaluator(), area, [&](int32_t, int32_t, const Value& v) {
                ++seen;
                if (criterion.matches(v)) n += 1;
            });
            // The cells that hold nothing, counted at once.
            if (blanksMatch) n += double(area.cells() - seen);
        }
        return Value::number(n);
    }
    const auto m = call.matrix(0);
    for (size_t i = 0; i < m->size(); ++i) {
        if (criterion.matches(m->at(i))) n += 1;
    }
    return Value::number(n);
}

Value countBlank(Call& call) {
    const Value& range = call.arg(0);
    if (range.isError()) return range;
    const auto isBlank = [](const Value& v) { return v.isBlank() || (v.isText() && v.text().empty()); };
    double n = 0;
    if (range.isReference()) {
        for (size_t a = 0; a < range.areaCount(); ++a) {
            int64_t seen = 0;
            forEachCell(call.evaluator(), range.area(a), [&](int32_t, int32_t, const Value& v) {
                ++seen;
                if (isBlank(v)) n += 1;
            });
            n += double(range.area(a).cells() - seen);
        }
        return Value::number(n);
    }
    const auto m = call.matrix(0);
    for (size_t i = 0; i < m->size(); ++i) {
        if (isBlank(m->at(i))) n += 1;
    }
    return Value::number(n);
}

// Ranges of one shape scanned position by position. A range is a reference of one area or an
// array; ranges of whole columns are read only where some of them hold cells, the rest being
// blank in all of them at once.
class RangeScan {
public:
    void add(Call& call, const Value& range) {
        if (range.isError()) fail(range.error());
        if (range.isReference() && range.areaCount() != 1) fail(ecValue);
        int32_t rows, columns;
        if (range.isReference()) {
            rows = range.area().rows();
            columns = range.area().columns();
        } else {
            const auto matrix = matrixOf(call, range);
            rows = matrix->rows();
            columns = matrix->columns();
        }
        if (ranges_.empty()) {
            rows_ = rows;
            columns_ = columns;
        } else if (rows != rows_ || columns != columns_) {
            fail(ecValue);
        }
        ranges_.push_back(range);
    }

    int32_t rows() const { return rows_; }
    int32_t columns() const { return columns_; }

    // Calls visit(position, values) for each position of the box where some range holds a cell,
    // values being those of every range there; returns how many positions lie outside the box.
    template <class Visit>
    int64_t scan(Call& call, Visit&& visit) {
        int32_t bottom = -1, right = -1;
        for (const Value& range : ranges_) {
            if (!range.isReference()) {
                bottom = rows_ - 1;
                right = columns_ - 1;
                continue;
            }
            const Area& area = range.area();
            forEachCell(call.evaluator(), area, [&](int32_t row, int32_t column, const Value&) {
                bottom = std::max(bottom, row - area.rect.top);
                right = std::max(right, column - area.rect.left);
            });
        }
        const int64_t total = int64_t(rows_) * columns_;
        if (bottom < 0) return total;
        std::vector<std::shared_ptr<const Matrix>> matrices;
        for (const Value& range : ranges_) {
            if (!range.isReference()) {
                matrices.push_back(matrixOf(call, range));
                continue;
            }
            Area box = range.area();
            box.rect.bottom = box.rect.top + bottom;
            box.rect.right = box.rect.left + right;
            matrices.push_back(call.evaluator().toMatrix(Value::reference(box)));
        }
        std::vector<Value> values(ranges_.size());
        for (int32_t r = 0; r <= bottom; ++r) {
            for (int32_t c = 0; c <= right; ++c) {
                for (size_t i = 0; i < matrices.size(); ++i) values[i] = matrices[i]->at(r, c);
                visit(values);
            }
        }
        return total - int64_t(bottom + 1) * (right + 1);
    }

private:
    static std::shared_ptr<const Matrix> matrixOf(Call& call, const Value& range) {
        return call.evaluator().toMatrix(range);
    }

    std::vector<Value> ranges_;
    int32_t rows_ = 0, columns_ = 0;
};

// The range to aggregate of AVERAGEIF: as large as the criteria range, from its own top left.
Value resized(const Value& target, const Value& like) {
    if (!target.isReference() || !like.isReference() || target.areaCount() != 1 || like.areaCount() != 1) return target;
    Area area = target.area();
    area.rect.bottom = std::min<int64_t>(kMaxRow, int64_t(area.rect.top) + like.area().rows() - 1);
    area.rect.right = std::min<int64_t>(kMaxColumn, int64_t(area.rect.left) + like.area().columns() - 1);
    return Value::reference(area);
}

// The values of the target range (argument `target`, or none) where every criterion holds:
// criteria ranges and criteria alternate from argument `first` on.
template <class Visit>
void forEachMatch(Call& call, std::optional<size_t> target, size_t first, Visit&& visit) {
    if ((call.count() - first) % 2 != 0) fail(ecValue);
    RangeScan scan;
    std::vector<Criterion> criteria;
    if (target) scan.add(call, call.arg(*target));
    for (size_t i = first; i < call.count(); i += 2) {
        scan.add(call, call.arg(i));
        criteria.push_back(criterionOf(call, i + 1));
    }
    const size_t offset = target ? 1 : 0;
    const int64_t outside = scan.scan(call, [&](const std::vector<Value>& values) {
        for (size_t k = 0; k < criteria.size(); ++k) {
            if (!criteria[k].matches(values[k + offset])) return;
        }
        visit(target ? values[0] : Value(), int64_t(1));
    });
    if (outside == 0) return;
    for (const Criterion& criterion : criteria) {
        if (!criterion.matches(Value())) return;
    }
    visit(Value(), outside);
}

Value countIfs(Call& call) {
    double n = 0;
    forEachMatch(call, std::nullopt, 0, [&](const Value&, int64_t times) { n += double(times); });
    return Value::number(n);
}

// The numbers among the matched values; an error among them is the result.
struct Matched {
    double sum = 0, min = std::numeric_limits<double>::infinity(), max = -std::numeric_limits<double>::infinity();
    int64_t count = 0;
    void add(const Value& v) {
        if (v.isError()) fail(v.error());
        if (!v.isNumber()) return;
        sum += v.number();
        min = std::min(min, v.number());
        max = std::max(max, v.number());
        ++count;
    }
};

Value averageIf(Call& call) {
    const Value& range = call.arg(0);
    if (range.isError()) return range;
    const Value target = call.isMissing(2) ? range : resized(call.arg(2), range);
    if (target.isError()) return target;
    RangeScan scan;
    scan.add(call, range);
    const Criterion criterion = criterionOf(call, 1);
    Matched matched;
    if (target.isReference() && range.isReference()) {
        scan.add(call, target);
        scan.scan(call, [&](const std::vector<Value>& values) {
            if (criterion.matches(values[0])) matched.add(values[1]);
        });
    } else {
        const auto keys = call.evaluator().toMatrix(range);
        const auto values = call.evaluator().toMatrix(target);
        for (int32_t r = 0; r < keys->rows(); ++r) {
            for (int32_t c = 0; c < keys->columns(); ++c) {
                if (criterion.matches(keys->at(r, c)) && r < values->rows() && c < values->columns())
                    matched.add(values->at(r, c));
            }
        }
    }
    if (matched.count == 0) return Value::error(ecDivByZero);
    return Value::number(matched.sum / double(matched.count));
}

Value averageIfs(Call& call) {
    Matched matched;
    forEachMatch(call, 0, 1, [&](const Value& v, int64_t) { matched.add(v); });
    if (matched.count == 0) return Value::error(ecDivByZero);
    return Value::number(matched.sum / double(matched.count));
}

Value maxIfs(Call& call) {
    Matched matched;
    forEachMatch(call, 0, 1, [&](const Value& v, int64_t) { matched.add(v); });
    return Value::number(matched.count ? matched.max : 0);
}

Value minIfs(Call& call) {
    Matched matched;
    forEachMatch(call, 0, 1, [&](const Value& v, int64_t) { matched.add(v); });
    return Value::number(matched.count ? matched.min : 0);
}

// Argument classes of functions taking (range, criterion) pairs, after `lead` ranges.
template <size_t lead>
constexpr std::array<char, 256> pairClasses() {
    std::array<char, 256> classes{};
    for (size_t i = 0; i < 255; ++i) classes[i] = i < lead || (i - lead) % 2 == 0 ? 'R' : 'V';
    return classes;
}
constexpr auto kPairs = pairClasses<0>();
constexpr auto kTargetAndPairs = pairClasses<1>();

constexpr FunctionSpec kFunctions[] = {
    {u"COUNTIF", 2, 2, "RV", countIf, 346},
    {u"COUNTIFS", 2, 254, kPairs.data(), countIfs},
    {u"COUNTBLANK", 1, 1, "R", countBlank, 347},
    {u"AVERAGEIF", 2, 3, "RVR", averageIf},
    {u"AVERAGEIFS", 3, 255, kTargetAndPairs.data(), averageIfs},
    {u"MAXIFS", 3, 255, kTargetAndPairs.data(), maxIfs, kNoBiffId, kFilePrefix},
    {u"MINIFS", 3, 255, kTargetAndPairs.data(), minIfs, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> conditionalStatisticsFunctions() { return kFunctions; }

}  // namespace kes::calc
