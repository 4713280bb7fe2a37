// GROUPBY and PIVOTBY: values aggregated by the distinct keys of rows (and of columns), with
// headers, totals and subtotals, sorting and a filter. The function is a LAMBDA or a built-in
// named as such (SUM, AVERAGE, PERCENTOF...), which files write as _xleta.SUM.
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "sheet/calc/compile.h"
#include "sheet/calc/functions/array_support.h"
#include "sheet/calc/functions/lookup_support.h"
#include "sheet/formula/formula_ast.h"

namespace kes::calc {
namespace {

using Records = std::vector<int32_t>;   // rows of the data, ascending

// The hierarchy of key fields is walked level by level on the stack; this many levels are more
// than any report asks for.
constexpr int32_t kMaxFields = 255;

// The function each group's values go through.
class Aggregator {
public:
    Aggregator(Call& call, size_t index) : evaluator_(call.evaluator()) {
        const formula::Node& node = call.evaluator().expression().nodes()[call.node(index)];
        if (node.kind == formula::NodeKind::Name && node.sheet.empty()) {
            if (equalsIgnoringAsciiCase(call.evaluator().expression().text(node.text), u"PERCENTOF")) {
                percentOf_ = true;
                return;
            }
        }
        function_ = call.evaluator().dereference(call.evaluate(index, Mode::Value), Mode::Value);
        if (function_.isError()) fail(function_.error());
        if (!function_.isLambda()) fail(ecValue);
        const Lambda& lambda = function_.lambda();
        // A built-in takes the group's values, and the whole as well when it needs two.
        count_ = lambda.function ? (lambda.function->minArgs >= 2 ? 2 : 1) : lambda.parameters.size();
        if (count_ == 0 || count_ > 2 || !lambda.takes(count_)) fail(ecValue);
    }

    // The result for the values of a group; `all` are the values it is a part of, which
    // PERCENTOF and LAMBDAs of two parameters take as well.
    Value apply(const Matrix& subset, const Matrix& all) const {
        if (percentOf_) return percentOf(subset, all);
        const Value arguments[] = {Value::array(subset), Value::array(all)};
        Value result = evaluator_.callLambda(function_, {arguments, count_}, Mode::Array);
        if (result.isReference()) result = evaluator_.dereference(result, Mode::Array);
        if (result.isArray()) return result.matrix().size() == 1 ? result.matrix().at(0) : Value::error(ecCalc);
        if (result.isLambda()) return Value::error(ecCalc);
        return result;
    }

private:
    static Value percentOf(const Matrix& subset, const Matrix& all) {
        const auto sum = [](const Matrix& m, double& out) {
            out = 0;
            for (size_t i = 0; i < m.size(); ++i) {
                if (m.kindAt(i) == ValueKind::Error) return m.at(i);
                if (m.kindAt(i) == ValueKind::Number) out += m.numberAt(i);
            }
            return Value();
        };
        double part, whole;
        if (Value e = sum(subset, part); e.isError()) return e;
        if (Value e = sum(all, whole); e.isError()) return e;
        return whole == 0 ? Value::error(ecDivByZero) : Value::number(part / whole);
    }

    Evaluator& evaluator_;
    Value function_;
    size_t count_ = 1;
    bool percentOf_ = false;
};

// The keys, values and headers of the data, headers split off as field_headers says.
struct Data {
    int32_t first = 0;   // the first data row: 1 when the top row holds headers
    bool showHeaders = false;
    bool generateHeaders = false;
};

bool looksLikeHeaders(const Matrix& values) {
    if (values.rows() < 2) return false;
    for (int32_t c = 0; c < values.columns(); ++c) {
        if (values.kindAt(size_t(c)) != ValueKind::Text) return false;
    }
    for (int32_t c = 0; c < values.columns(); ++c) {
        if (!values.at(1, c).isText()) return true;
    }
    return false;
}

// field_headers: 0 none, 1 present and hidden, 2 none but made up, 3 present and shown;
// left out, present when the values start with a row of texts.
void readHeaders(Call& call, size_t index, const Matrix& values, Data& data) {
    const int64_t mode = call.isMissing(index) ? (looksLikeHeaders(values) ? 1 : 0) : call.integer(index);
    if (mode < 0 || mode > 3) fail(ecValue);
    data.first = mode == 1 || mode == 3 ? 1 : 0;
    data.showHeaders = mode >= 2;
    data.generateHeaders = mode == 2;
}

// The records the filter keeps: all of them without one.
Records filtered(Call& call, size_t index, const Data& data, int32_t totalRows) {
    Records out;
    std::shared_ptr<const Matrix> filter;
    if (!call.isMissing(index)) {
        filter = call.matrix(index);
        if (filter->rows() != totalRows) fail(ecValue);
    }
    for (int32_t r = data.first; r < totalRows; ++r) {
        if (filter) {
            const Value v = filter->at(r, 0);
            if (v.isError()) fail(v.error());
            if (v.isText()) fail(ecValue);
            if (v.number() == 0) continue;
        }
        out.push_back(r);
    }
    return out;
}

std::u16string keyOf(const Value& v) {
    std::u16string key;
    appendKey(key, v);
    return key;
}

struct Group {
    std::vector<Value> labels;   // the keys of its levels; deeper ones blank
    Records records;
    std::vector<Group> children;
};

// The groups of the records by the key columns from `level` on: a hierarchy, or with
// `flat` one level of whole key rows.
std::vector<Group> groupsOf(const Matrix& keys, const Records& records, int32_t level, bool flat,
                            const std::vector<Value>& parentLabels) {
    std::vector<Group> out;
    std::map<std::u16string, size_t> index;
    const int32_t width = keys.columns();
    for (const int32_t r : records) {
        std::u16string key;
        for (int32_t c = level; c < (flat ? width : level + 1); ++c) appendKey(key, keys.at(r, c));
        auto [it, added] = index.emplace(key, out.size());
        if (added) {
            Group g;
            g.labels = parentLabels;
            g.labels.resize(size_t(width), Value::text(u""));
            for (int32_t c = level; c < (flat ? width : level + 1); ++c) g.labels[size_t(c)] = keys.at(r, c);
            out.push_back(std::move(g));
        }
        out[it->second].records.push_back(r);
    }
    if (!flat && level + 1 < width) {
        for (Group& g : out) {
            std::vector<Value> labels(g.labels.begin(), g.labels.begin() + level + 1);
            g.children = groupsOf(keys, g.records, level + 1, false, labels);
        }
    }
    return out;
}

// How siblings are ordered: by a key column, or by what the function gives for them.
struct SortKey {
    int32_t keyColumn = -1;   // a key field, or -1 for a computed one
    bool descending = false;
    std::function<Value(const Records&)> computed;
};

int compareSorted(const Value& a, const Value& b, bool descending) {
    // Groups without a value sort first.
    const bool emptyA = a.isText() && a.text().empty(), emptyB = b.isText() && b.text().empty();
    if (emptyA || emptyB) return emptyA == emptyB ? 0 : emptyA ? -1 : 1;
    if (a.isBlank() || b.isBlank()) return a.isBlank() == b.isBlank() ? 0 : a.isBlank() ? 1 : -1;
    const int order = compareForSort(a, b);
    return descending ? -order : order;
}

void sortGroups(std::vector<Group>& groups, int32_t level, int32_t fields, bool flat, const std::vector<SortKey>& keys) {
    std::vector<std::pair<Group*, std::vector<Value>>> decorated;
    for (Group& g : groups) {
        std::vector<Value> values;
        for (const SortKey& k : keys) {
            if (k.keyColumn < 0) values.push_back(k.computed(g.records));
            else values.push_back(g.labels[size_t(k.keyColumn)]);
        }
        decorated.emplace_back(&g, std::move(values));
    }
    std::vector<size_t> order(groups.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        for (size_t k = 0; k < keys.size(); ++k) {
            // A key field sorts its own level, a value field the innermost one; a flat list
            // sorts by all of them.
            const int32_t sorted = keys[k].keyColumn >= 0 ? keys[k].keyColumn : fields - 1;
            if (!flat && sorted != level) continue;
            const int c = compareSorted(decorated[x].second[k], decorated[y].second[k], keys[k].descending);
            if (c != 0) return c < 0;
        }
        return false;
    });
    std::vector<Group> sorted;
    for (size_t i : order) sorted.push_back(std::move(groups[i]));
    groups = std::move(sorted);
    for (Group& g : groups) sortGroups(g.children, level + 1, fields, flat, keys);
}

// One row (or column) of the result: a group, a subtotal or the grand total.
struct Line {
    std::vector<Value> labels;
    Records records;
    int32_t depth;   // the key fields it stands for: 0 the grand total, all of them a group
};

// The lines of the groups with totals: `depth` 1 a grand total, 2 and more subtotals of the
// top levels too; negative puts them before what they total.
void appendLines(const std::vector<Group>& groups, int32_t level, int32_t depth, int32_t fields, std::vector<Line>& out) {
    const bool before = depth < 0;
    const bool subtotals = level + 1 < std::abs(depth) && level + 1 < fields;
    for (const Group& g : groups) {
        if (g.children.empty()) {
            out.push_back({g.labels, g.records, fields});
            continue;
        }
        if (subtotals && before) out.push_back({g.labels, g.records, level + 1});
        appendLines(g.children, level + 1, depth, fields, out);
        if (subtotals && !before) out.push_back({g.labels, g.records, level + 1});
    }
}

std::vector<Line> linesOf(std::vector<Group>& groups, const Records& all, int32_t depth, int32_t fields) {
    std::vector<Line> out;
    std::vector<Value> totalLabels(size_t(fields), Value::text(u""));
    if (fields > 0) totalLabels[0] = Value::text(std::abs(depth) > 1 && fields > 1 ? u"Grand Total" : u"Total");
    if (depth < 0) out.push_back({totalLabels, all, 0});
    appendLines(groups, 0, depth, fields, out);
    if (depth > 0) out.push_back({totalLabels, all, 0});
    return out;
}

Records intersection(const Records& a, const Records& b) {
    Records out;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
    return out;
}

Matrix column(const Matrix& values, int32_t c, const Records& records) {
    Matrix out(int32_t(records.size()), 1);
    for (size_t i = 0; i < records.size(); ++i) out.set(i, values.at(records[i], c));
    return out;
}

// sort_order: a field by its number, or a value field by what the function gives for a whole
// group (its total), negative for descending. Fields not named sort ascending after them.
std::vector<SortKey> sortKeysOf(Call& call, size_t index, int32_t fields, const Aggregator& aggregate, const Matrix& values,
                                const Records& all) {
    std::vector<SortKey> keys;
    const int32_t measures = values.columns();
    for (const int64_t s : call.isMissing(index) ? std::vector<int64_t>{} : integerList(call, index)) {
        const int64_t k = std::llabs(s);
        if (k == 0 || k > fields + measures) fail(ecValue);
        SortKey key;
        key.descending = s < 0;
        if (k <= fields) {
            key.keyColumn = int32_t(k - 1);
        } else {
            const int32_t c = int32_t(k - fields - 1);
            key.computed = [&aggregate, &values, &all, c](const Records& r) {
                return aggregate.apply(column(values, c, r), column(values, c, all));
            };
        }
        keys.push_back(std::move(key));
    }
    for (int32_t f = 0; f < fields; ++f) {
        if (std::none_of(keys.begin(), keys.end(), [&](const SortKey& k) { return k.keyColumn == f; })) keys.push_back({f, false, {}});
    }
    return keys;
}

int32_t totalDepth(Call& call, size_t index, int32_t fields) {
    const int64_t depth = call.integer(index, 1);
    if (depth < -fields || depth > fields) fail(ecValue);
    return int32_t(depth);
}

int64_t relationship(Call& call, size_t index) {
    const int64_t value = call.integer(index, 0);
    if (value != 0 && value != 1) fail(ecValue);
    return value;
}

// The headers a field_headers of 2 makes up.
Value madeUpHeader(const char16_t* kind, int32_t number) {
    return Value::text(std::u16string(kind) + numberToText(number));
}

Value groupBy(Call& call) {
    const auto keys = call.matrix(0);
    const auto values = call.matrix(1);
    if (keys->rows() != values->rows() || keys->columns() > kMaxFields) return Value::error(ecValue);
    const Aggregator aggregate(call, 2);
    Data data;
    readHeaders(call, 3, *values, data);
    const int32_t fields = keys->columns(), measures = values->columns();
    const int32_t depth = totalDepth(call, 4, fields);
    const bool flat = relationship(call, 7) == 1;
    const Records all = filtered(call, 6, data, keys->rows());
    std::vector<Matrix> allValues;
    for (int32_t c = 0; c < measures; ++c) allValues.push_back(column(*values, c, all));
    const std::vector<SortKey> sortKeys = sortKeysOf(call, 5, fields, aggregate, *values, all);
    std::vector<Group> groups = groupsOf(*keys, all, 0, flat, {});
    sortGroups(groups, 0, fields, flat, sortKeys);
    const std::vector<Line> lines = linesOf(groups, all, flat ? std::clamp(depth, -1, 1) : depth, fields);
    const int32_t headerRows = data.showHeaders ? 1 : 0;
    if (int64_t(lines.size() + size_t(headerRows)) * (fields + measures) > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out(int32_t(lines.size()) + headerRows, fields + measures);
    if (data.showHeaders) {
        for (int32_t c = 0; c < fields; ++c) out.set(0, c, data.generateHeaders ? madeUpHeader(u"Row Field ", c + 1) : keys->at(0, c));
        for (int32_t c = 0; c < measures; ++c) {
            out.set(0, fields + c, data.generateHeaders ? madeUpHeader(u"Value ", c + 1) : values->at(0, c));
        }
    }
    for (size_t i = 0; i < lines.size(); ++i) {
        const int32_t r = int32_t(i) + headerRows;
        for (int32_t c = 0; c < fields; ++c) out.set(r, c, lines[i].labels[size_t(c)]);
        for (int32_t c = 0; c < measures; ++c) {
            out.set(r, fields + c, aggregate.apply(column(*values, c, lines[i].records), allValues[size_t(c)]));
        }
    }
    return Value::array(std::move(out));
}

// PIVOTBY's relative_to for PERCENTOF and two-parameter LAMBDAs: what a cell is a part of.
enum class RelativeTo { ColumnTotal, RowTotal, GrandTotal, ParentColumn, ParentRow };

Value pivotBy(Call& call) {
    const auto rowKeys = call.matrix(0);
    const auto columnKeys = call.matrix(1);
    const auto values = call.matrix(2);
    if (rowKeys->rows() != values->rows() || columnKeys->rows() != values->rows()) return Value::error(ecValue);
    if (rowKeys->columns() > kMaxFields || columnKeys->columns() > kMaxFields) return Value::error(ecValue);
    const Aggregator aggregate(call, 3);
    Data data;
    readHeaders(call, 4, *values, data);
    const int32_t rowFields = rowKeys->columns(), columnFields = columnKeys->columns(), measures = values->columns();
    const int32_t rowDepth = totalDepth(call, 5, rowFields);
    const int32_t columnDepth = totalDepth(call, 7, columnFields);
    const Records all = filtered(call, 9, data, values->rows());
    const int64_t relative = call.integer(10, 0);
    if (relative < 0 || relative > 4) return Value::error(ecValue);
    const auto relativeTo = RelativeTo(relative);

    std::vector<Group> rowGroups = groupsOf(*rowKeys, all, 0, false, {});
    std::vector<Group> columnGroups = groupsOf(*columnKeys, all, 0, false, {});

    const std::vector<SortKey> rowSorts = sortKeysOf(call, 6, rowFields, aggregate, *values, all);
    sortGroups(rowGroups, 0, rowFields, false, rowSorts);
    const std::vector<SortKey> columnSorts = sortKeysOf(call, 8, columnFields, aggregate, *values, all);
    sortGroups(columnGroups, 0, columnFields, false, columnSorts);
    const std::vector<Line> rows = linesOf(rowGroups, all, rowDepth, rowFields);
    const std::vector<Line> columns = linesOf(columnGroups, all, columnDepth, columnFields);

    // Shown headers: the column fields' names above their keys, and below them the row
    // fields' and the values' names.
    const int32_t titleRows = data.showHeaders ? 1 : 0;
    const int32_t headerRows = titleRows + columnFields + (data.showHeaders ? 1 : 0);
    const int64_t width = rowFields + int64_t(columns.size()) * measures;
    const int64_t height = headerRows + int64_t(rows.size());
    if (width * height > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out{int32_t(height), int32_t(width)};
    for (size_t i = 0; i < out.size(); ++i) out.set(i, Value::text(u""));
    if (data.showHeaders) {
        std::u16string names;
        for (int32_t f = 0; f < columnFields; ++f) {
            if (f > 0) names += u", ";
            names += data.generateHeaders ? madeUpHeader(u"Col Field ", f + 1).text() : scalarToText(columnKeys->at(0, f));
        }
        if (width > rowFields) out.set(0, rowFields, Value::text(std::move(names)));
        for (int32_t c = 0; c < rowFields; ++c) {
            out.set(headerRows - 1, c, data.generateHeaders ? madeUpHeader(u"Row Field ", c + 1) : rowKeys->at(0, c));
        }
    }
    for (size_t j = 0; j < columns.size(); ++j) {
        for (int32_t m = 0; m < measures; ++m) {
            const int32_t c = rowFields + int32_t(j) * measures + m;
            for (int32_t f = 0; f < columnFields; ++f) out.set(titleRows + f, c, columns[j].labels[size_t(f)]);
            if (data.showHeaders) out.set(headerRows - 1, c, data.generateHeaders ? madeUpHeader(u"Value ", m + 1) : values->at(0, m));
        }
    }
    // The records of the group one level up from a line's, for PERCENTOF.
    const auto parentOf = [&](const Line& line, const Matrix& keys) {
        if (line.depth <= 1) return all;
        Records out;
        for (const int32_t r : all) {
            bool same = true;
            for (int32_t f = 0; f < line.depth - 1 && same; ++f) same = keyOf(keys.at(r, f)) == keyOf(line.labels[size_t(f)]);
            if (same) out.push_back(r);
        }
        return out;
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        const int32_t r = headerRows + int32_t(i);
        for (int32_t f = 0; f < rowFields; ++f) out.set(r, f, rows[i].labels[size_t(f)]);
        for (size_t j = 0; j < columns.size(); ++j) {
            const Records cell = intersection(rows[i].records, columns[j].records);
            if (cell.empty()) continue;
            Records whole;
            switch (relativeTo) {
            case RelativeTo::ColumnTotal: whole = columns[j].records; break;
            case RelativeTo::RowTotal: whole = rows[i].records; break;
            case RelativeTo::GrandTotal: whole = all; break;
            case RelativeTo::ParentColumn: whole = intersection(rows[i].records, parentOf(columns[j], *columnKeys)); break;
            case RelativeTo::ParentRow: whole = intersection(parentOf(rows[i], *rowKeys), columns[j].records); break;
            }
            for (int32_t m = 0; m < measures; ++m) {
                out.set(r, rowFields + int32_t(j) * measures + m, aggregate.apply(column(*values, m, cell), column(*values, m, whole)));
            }
        }
    }
    return Value::array(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"GROUPBY", 3, 8, "AALVVAAV", groupBy, kNoBiffId, kFilePrefix},
    {u"PIVOTBY", 4, 11, "AAALVVAVAAV", pivotBy, kNoBiffId, kFilePrefix},
};

}  // namespace

std::span<const FunctionSpec> groupFunctions() { return kFunctions; }

}  // namespace kes::calc
