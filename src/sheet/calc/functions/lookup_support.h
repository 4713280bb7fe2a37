#pragma once
// What the lookup, reference and dynamic-array functions share: a row or column of values to
// search, Excel's ways of searching it, and the function lists that lookupFunctions() and
// dynamicArrayFunctions() join.
#include <cstdint>
#include <memory>
#include <span>

#include "sheet/calc/functions/lookup_index.h"
#include "sheet/calc/functions/support.h"
#include "sheet/sheet_table.h"

namespace kes::calc {

// One row or column to search: a slice of an array, or of a reference read cell by cell, so
// that a lookup over whole columns reads only the rows that hold something.
class LookupLine {
public:
    LookupLine(std::shared_ptr<const Matrix> matrix, bool vertical, int32_t fixed);
    LookupLine(Evaluator& evaluator, const Area& area, bool vertical, int32_t fixed);

    // The positions of the line.
    int32_t length() const { return length_; }
    // The positions that may hold a value: those of a reference end at the sheet's last cell.
    int32_t searched() const { return searched_; }
    Value at(int32_t position) const;
    // The values of the searched positions that are not blank, first to last, until `visit`
    // returns false; a reference's cells are walked as the sheet holds them.
    template <class Visit>
    void scan(Visit&& visit) const;
    // The first (or last) position whose value equals the key as the lookups compare values
    // (texts ignoring case), or -1. The key is a number, a text or a boolean; a reference's
    // cells are compared as they are stored.
    int32_t findEqual(const Value& key, bool last) const;
    // The reference the line reads; none for an array.
    const Area* area() const { return matrix_ ? nullptr : &area_; }
    bool vertical() const { return vertical_; }
    int32_t fixed() const { return fixed_; }

private:
    // The reference's row or column as the sheet holds it.
    SheetLine sheetLine() const;

    std::shared_ptr<const Matrix> matrix_;
    Evaluator* evaluator_ = nullptr;
    Area area_;
    bool vertical_;
    int32_t fixed_;
    int32_t length_;
    int32_t searched_;
};

template <class Visit>
void LookupLine::scan(Visit&& visit) const {
    if (matrix_) {
        for (int32_t i = 0; i < searched_; ++i) {
            const Value v = at(i);
            if (!v.isBlank() && !visit(i, v)) return;
        }
        return;
    }
    forEachCellOf(sheetLine(), [&](int32_t position, int32_t row, const SheetCell& cell) {
        if (cell.type == cdtBlank) return true;
        const Value v = evaluator_->readCell(*area_.sheet, row, cell.index);
        return v.isBlank() || visit(position, v);
    });
}

// The row or column `fixed` (0-based) of an argument: a reference (one area) or an array.
LookupLine lookupLine(Call& call, const Value& source, bool vertical, int32_t fixed);

// The classic lookups (VLOOKUP, HLOOKUP and MATCH): the first exact match, or -1. Equal means
// the same kind and value, texts ignoring case; with `wildcards`, a text key's * ? ~ work as in
// COUNTIF.
int32_t findFirst(const LookupLine& line, const Value& key, bool wildcards);
// The last value not above the key in a list sorted ascending, by Excel's halving search, or
// -1. Values of another kind than the key's are stepped over, so that on unsorted data the
// result is Excel's.
int32_t findSorted(const LookupLine& line, const Value& key);
// MATCH type -1: the last of the leading values not below the key, in a list sorted
// descending; values of another kind are stepped over.
int32_t findSortedDescending(const LookupLine& line, const Value& key);

// XLOOKUP and XMATCH: how to match and where to search from.
enum class MatchMode { Exact, NextSmaller, NextLarger, Wildcard, Regex };
enum class SearchMode { FirstToLast, LastToFirst, BinaryAscending, BinaryDescending };
// The modes from their numbers (0, -1, 1, 2, 3 and 1, -1, 2, -2); #VALUE! for others and for
// a wildcard or regular expression with a halving search.
MatchMode matchModeOf(int64_t number);
SearchMode searchModeOf(int64_t number, MatchMode match);
// The position XLOOKUP and XMATCH find, or -1.
int32_t findModern(const LookupLine& line, const Value& key, MatchMode match, SearchMode search);

// The order XLOOKUP, SORT and GROUPBY give values: numbers, texts ignoring case, FALSE, TRUE,
// then errors and last blanks.
int compareForSort(const Value& a, const Value& b);

// The reference functions (ROW, INDEX, OFFSET, INDIRECT...) join the lookup family; the array
// orderers (SORT, UNIQUE, FILTER) and GROUPBY and PIVOTBY the dynamic-array family.
std::span<const FunctionSpec> referenceFunctions();
std::span<const FunctionSpec> arrayOrderFunctions();
std::span<const FunctionSpec> groupFunctions();

}  // namespace kes::calc
