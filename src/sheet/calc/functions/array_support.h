#pragma once
// What the dynamic-array functions share: their arguments as arrays and lists, and their
// results.
#include <cstdint>
#include <memory>
#include <vector>

#include "sheet/calc/functions/support.h"

namespace kes::calc {

// An argument's values as an array, a value given directly as an array of one; an error given
// directly is an element like any other (HSTACK(1/0,2) holds #DIV/0!).
std::shared_ptr<const Matrix> elementsOf(Call& call, size_t index);

// The whole numbers of an argument that is one number or a row or column of them (numeric
// text and booleans taken); #VALUE! for a table, an error for an error element.
std::vector<int64_t> integerList(Call& call, size_t index);

// A value as UNIQUE and GROUPBY tell values apart (texts ignoring case, numbers to 15 digits),
// appended to a key of several values.
void appendKey(std::u16string& key, const Value& value);

// The part of an array from (top, left), height by width.
Matrix subMatrix(const Matrix& m, int32_t top, int32_t left, int32_t height, int32_t width);

// True for a size an array may have: at most kMaxArrayElements, without overflow however large
// the counts.
bool fitsArray(int64_t rows, int64_t columns);

// An array result; an array of nothing is #CALC!, as Excel shows an empty result.
Value arrayResult(Matrix matrix);

}  // namespace kes::calc
