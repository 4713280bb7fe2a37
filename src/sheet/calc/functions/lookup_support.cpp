#include "sheet/calc/functions/lookup_support.h"

#include <algorithm>
#include <cmath>

#include "sheet/calc/functions/regex.h"
#include "sheet/calc/unicode_case.h"
#include "sheet/shared_strings.h"

namespace kes::calc {
namespace {

// The sheet's last row and column that hold a cell, so that whole columns and rows end there.
int32_t lastRowOf(SheetTable& sheet) { return sheet.rows().empty() ? -1 : sheet.rows().last()->index; }
int32_t lastColumnOf(SheetTable& sheet) { return sheet.columns().empty() ? -1 : sheet.columns().last()->index; }

// The classic lookups compare a key only with values of its own kind.
bool sameKind(const Value& candidate, const Value& key) {
    return candidate.kind() == key.kind() && (key.isNumber() || key.isText() || key.isBoolean());
}

int kindRank(const Value& v) {
    switch (v.kind()) {
    case ValueKind::Number: return 0;
    case ValueKind::Text: return 1;
    case ValueKind::Boolean: return 2;
    case ValueKind::Error: return 3;
    default: return 4;
    }
}

// A key compared with cells as the sheet stores them, so that a search through a long column
// makes no value of each cell.
class CellMatcher {
public:
    explicit CellMatcher(const Value& key) : key_(key) {
        if (key.isText()) upper_ = upperCase(key.text());
    }

    bool matches(Evaluator& evaluator, SheetTable& sheet, int32_t row, const SheetCell& cell) const {
        switch (cell.type) {
        case cdtFloat:
        case cdtDateTime: return key_.isNumber() && nearlyEqual(cell.number, key_.number());
        case cdtInteger: return key_.isNumber() && nearlyEqual(cell.integer, key_.number());
        case cdtCurrency: return key_.isNumber() && nearlyEqual(double(cell.currency) / 10000.0, key_.number());
        case cdtBoolean: return key_.isBoolean() && cell.boolean == key_.boolean();
        case cdtString: return key_.isText() && sameText(cell.string->text());
        case cdtFormula: {
            const Value v = evaluator.readCell(sheet, row, cell.index);
            return sameKind(v, key_) && compareValues(v, key_) == 0;
        }
        default: return false;
        }
    }

private:
    bool sameText(std::u16string_view text) const {
        if (text.size() != upper_.size()) return false;
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] != upper_[i] && toUpper(text[i]) != upper_[i]) return false;
        }
        return true;
    }

    const Value& key_;
    std::u16string upper_;
};

// The first (or, searching backward, the last) value the test accepts; blanks are never
// offered.
template <class Accept>
int32_t findLinear(const LookupLine& line, bool backward, Accept&& accept) {
    int32_t found = -1;
    line.scan([&](int32_t i, const Value& v) {
        if (accept(v)) found = i;
        return backward || found < 0;
    });
    return found;
}

// An empty key finds an empty cell.
int32_t findBlank(const LookupLine& line, bool backward) {
    if (backward && line.searched() < line.length()) return line.length() - 1;
    for (int32_t k = 0; k < line.searched(); ++k) {
        const int32_t i = backward ? line.searched() - 1 - k : k;
        if (line.at(i).isBlank()) return i;
    }
    return line.searched() < line.length() ? line.searched() : -1;
}

int32_t findEqualModern(const LookupLine& line, const Value& key, bool backward) {
    if (key.isBlank()) return findBlank(line, backward);
    return line.findEqual(key, backward);
}

// The nearest value below (or above) the key, an exact match first; of equal ones the first
// met in the direction of the search.
int32_t findNearest(const LookupLine& line, const Value& key, bool larger, bool backward) {
    const int32_t exact = key.isBlank() ? -1 : line.findEqual(key, backward);
    if (exact >= 0) return exact;
    int32_t best = -1;
    Value bestValue;
    line.scan([&](int32_t i, const Value& v) {
        if (v.isError()) return true;
        const int order = compareForSort(v, key);
        if (order == 0 || (order > 0) != larger) return true;
        const int versus = best < 0 ? -1 : compareForSort(v, bestValue) * (larger ? 1 : -1);
        if (versus < 0 || (versus == 0 && backward)) {
            best = i;
            bestValue = v;
        }
        return true;
    });
    return best;
}

// XLOOKUP's halving search over a list sorted ascending (or descending): an exact match, or
// where the key would go.
int32_t findHalving(const LookupLine& line, const Value& key, MatchMode match, bool descending) {
    int32_t low = 0, high = line.searched() - 1;
    while (low <= high) {
        const int32_t middle = low + (high - low) / 2;
        int order = compareForSort(line.at(middle), key);
        if (order == 0) return middle;
        if (descending) order = -order;
        if (order < 0) low = middle + 1;
        else high = middle - 1;
    }
    // `high` is the last value before the key's place and `low` the first after it.
    int32_t found = -1;
    if (match == MatchMode::NextSmaller) found = descending ? low : high;
    if (match == MatchMode::NextLarger) found = descending ? high : low;
    return found >= 0 && found < line.searched() ? found : -1;
}

}  // namespace

LookupLine::LookupLine(std::shared_ptr<const Matrix> matrix, bool vertical, int32_t fixed)
    : matrix_(std::move(matrix)), vertical_(vertical), fixed_(fixed) {
    length_ = searched_ = vertical ? matrix_->rows() : matrix_->columns();
}

LookupLine::LookupLine(Evaluator& evaluator, const Area& area, bool vertical, int32_t fixed)
    : evaluator_(&evaluator), area_(area), vertical_(vertical), fixed_(fixed) {
    length_ = vertical ? area.rows() : area.columns();
    const int32_t last = vertical ? lastRowOf(*area.sheet) : lastColumnOf(*area.sheet);
    const int32_t first = vertical ? area.rect.top : area.rect.left;
    searched_ = std::clamp(last - first + 1, 0, length_);
}

Value LookupLine::at(int32_t position) const {
    if (matrix_) return vertical_ ? matrix_->at(position, fixed_) : matrix_->at(fixed_, position);
    const int32_t row = area_.rect.top + (vertical_ ? position : fixed_);
    const int32_t column = area_.rect.left + (vertical_ ? fixed_ : position);
    return evaluator_->readCell(*area_.sheet, row, column);
}

int32_t LookupLine::findEqual(const Value& key, bool last) const {
    int32_t found = -1;
    if (matrix_) {
        for (int32_t i = 0; i < searched_ && (last || found < 0); ++i) {
            const Value v = at(i);
            if (sameKind(v, key) && compareValues(v, key) == 0) found = i;
        }
        return found;
    }
    const CellMatcher matcher(key);
    SheetTable& sheet = *area_.sheet;
    const SheetLine line = sheetLine();
    if (const std::optional<LineHits> hits = indexedHits(line, key)) {
        const int32_t candidate = last ? hits->last : hits->first;
        if (candidate < 0) return -1;
        const int32_t row = vertical_ ? line.start + candidate : line.line;
        const int32_t column = vertical_ ? line.line : line.start + candidate;
        const SheetCell* cell = sheet.getCell(row, column).cell();
        if (cell && matcher.matches(*evaluator_, sheet, row, *cell)) return candidate;
        // Two texts of one hash: the line is read as below.
    }
    forEachCellOf(line, [&](int32_t position, int32_t row, const SheetCell& cell) {
        if (matcher.matches(*evaluator_, sheet, row, cell)) found = position;
        return last || found < 0;
    });
    return found;
}

SheetLine LookupLine::sheetLine() const {
    const CellRect& r = area_.rect;
    return vertical_ ? SheetLine{area_.sheet, true, r.left + fixed_, r.top, r.top + searched_ - 1}
                     : SheetLine{area_.sheet, false, r.top + fixed_, r.left, r.left + searched_ - 1};
}

LookupLine lookupLine(Call& call, const Value& source, bool vertical, int32_t fixed) {
    if (source.isReference()) {
        if (source.areaCount() != 1) fail(ecValue);
        return LookupLine(call.evaluator(), source.area(), vertical, fixed);
    }
    return LookupLine(call.evaluator().toMatrix(source), vertical, fixed);
}

int32_t findFirst(const LookupLine& line, const Value& key, bool wildcards) {
    if (!(wildcards && key.isText() && hasWildcards(key.text()))) return line.findEqual(key, false);
    int32_t found = -1;
    line.scan([&](int32_t i, const Value& v) {
        if (!v.isText() || !wildcardMatch(v.text(), key.text())) return true;
        found = i;
        return false;
    });
    return found;
}

int32_t findSorted(const LookupLine& line, const Value& key) {
    int32_t low = 0, high = line.searched() - 1, found = -1;
    while (low <= high) {
        const int32_t middle = low + (high - low) / 2;
        // A value of another kind in the middle: the nearest one of the key's kind below it
        // decides, and when the lower half holds none the search goes on above.
        int32_t at = middle;
        Value v = line.at(at);
        while (!sameKind(v, key) && --at >= low) v = line.at(at);
        if (at < low) {
            low = middle + 1;
            continue;
        }
        const int order = compareValues(v, key);
        if (order > 0) {
            high = at - 1;
            continue;
        }
        found = at;
        if (order == 0 && at == middle) {
            // A hit: the last of the equal values that follow it.
            while (found + 1 < line.searched()) {
                const Value next = line.at(found + 1);
                if (!sameKind(next, key) || compareValues(next, key) != 0) break;
                ++found;
            }
            return found;
        }
        low = middle + 1;
    }
    return found;
}

int32_t findSortedDescending(const LookupLine& line, const Value& key) {
    int32_t found = -1;
    line.scan([&](int32_t i, const Value& v) {
        if (!sameKind(v, key)) return true;
        if (compareValues(v, key) < 0) return false;
        found = i;
        return true;
    });
    return found;
}

MatchMode matchModeOf(int64_t number) {
    switch (number) {
    case 0: return MatchMode::Exact;
    case -1: return MatchMode::NextSmaller;
    case 1: return MatchMode::NextLarger;
    case 2: return MatchMode::Wildcard;
    case 3: return MatchMode::Regex;
    default: fail(ecValue);
    }
}

SearchMode searchModeOf(int64_t number, MatchMode match) {
    const bool halving = number == 2 || number == -2;
    if (halving && (match == MatchMode::Wildcard || match == MatchMode::Regex)) fail(ecValue);
    switch (number) {
    case 1: return SearchMode::FirstToLast;
    case -1: return SearchMode::LastToFirst;
    case 2: return SearchMode::BinaryAscending;
    case -2: return SearchMode::BinaryDescending;
    default: fail(ecValue);
    }
}

int32_t findModern(const LookupLine& line, const Value& key, MatchMode match, SearchMode search) {
    if (search == SearchMode::BinaryAscending || search == SearchMode::BinaryDescending) {
        return findHalving(line, key, match, search == SearchMode::BinaryDescending);
    }
    const bool backward = search == SearchMode::LastToFirst;
    switch (match) {
    case MatchMode::Exact: return findEqualModern(line, key, backward);
    case MatchMode::Wildcard:
        if (!key.isText()) return findEqualModern(line, key, backward);
        return findLinear(line, backward, [&](const Value& v) { return v.isText() && wildcardMatch(v.text(), key.text()); });
    case MatchMode::Regex: {
        // Case counts; numbers and booleans are matched by their text. One budget of steps
        // bounds the whole search.
        const auto regex = Regex::compile(scalarToText(key), false);
        if (!regex) fail(ecValue);
        size_t budget = Regex::kStepBudget;
        try {
            return findLinear(line, backward, [&](const Value& v) {
                return !v.isError() && regex->search(scalarToText(v), 0, budget).has_value();
            });
        } catch (const RegexTooComplex&) {
            fail(ecValue);
        }
    }
    case MatchMode::NextSmaller: return findNearest(line, key, false, backward);
    case MatchMode::NextLarger: return findNearest(line, key, true, backward);
    }
    return -1;
}

int compareForSort(const Value& a, const Value& b) {
    const int ra = kindRank(a), rb = kindRank(b);
    if (ra != rb) return ra < rb ? -1 : 1;
    switch (a.kind()) {
    case ValueKind::Number:
    case ValueKind::Text:
    case ValueKind::Boolean: return compareValues(a, b);
    case ValueKind::Error: return a.error() == b.error() ? 0 : a.error() < b.error() ? -1 : 1;
    default: return 0;
    }
}

}  // namespace kes::calc
