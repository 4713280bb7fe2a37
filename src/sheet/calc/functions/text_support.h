#pragma once
// What the text functions share: the longest text a cell holds, counts of characters, searching
// with and without wildcards, and the lists of the files the text family is split into.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "sheet/calc/call.h"

namespace kes::calc {

// The longest text a cell holds; a function whose result would be longer gives #VALUE!.
constexpr size_t kMaxTextLength = 32767;
Value textResult(std::u16string text);

// A count of characters (LEFT's, MID's...) as given: truncated toward zero, #VALUE! below 0, and
// at most one more than the longest text, which every count beyond means the same as. Handlers
// convert all their arguments first, so that an error in an argument wins over a count out of range.
size_t characterCount(double n);
// A position counted from 1 (MID's start, FIND's start): #VALUE! below 1.
size_t characterPosition(double n);

// Where `needle` first stands in `text` at or after `from`: exactly (FIND), or ignoring case with
// Excel's wildcards (SEARCH). An empty needle stands at `from`.
std::optional<size_t> findText(std::u16string_view text, std::u16string_view needle, size_t from, bool wildcards);

// Every value of an argument in order, a reference's empty cells included as blanks, for
// TEXTJOIN that joins them. A reference of more cells than an array may hold is #VALUE!: its
// blanks alone would pass the longest text.
template <class Visit>
void forEachValueWithBlanks(Call& call, size_t index, Visit&& visit);

// The text family's files, joined by textFunctions().
std::span<const FunctionSpec> textSearchFunctions();
std::span<const FunctionSpec> textCodePageFunctions();
std::span<const FunctionSpec> textConversionFunctions();
std::span<const FunctionSpec> textNumeralFunctions();
std::span<const FunctionSpec> textRegexFunctions();

template <class Visit>
void forEachValueWithBlanks(Call& call, size_t index, Visit&& visit) {
    const Value& value = call.arg(index);
    if (!value.isReference()) {
        if (value.isArray()) {
            const Matrix& m = value.matrix();
            for (size_t i = 0; i < m.size(); ++i) visit(m.at(i));
        } else if (value.isLambda()) {
            fail(ecCalc);
        } else {
            visit(value);
        }
        return;
    }
    for (size_t a = 0; a < value.areaCount(); ++a) {
        const Area& area = value.area(a);
        if (area.cells() > kMaxArrayElements) fail(ecValue);
        // Cells that hold nothing are not stored: the gaps between the ones visited are blanks.
        int64_t next = 0;
        const auto fillTo = [&](int64_t position) {
            for (; next < position; ++next) visit(Value());
        };
        forEachCell(call.evaluator(), area, [&](int32_t row, int32_t column, const Value& v) {
            fillTo(int64_t(row - area.rect.top) * area.columns() + (column - area.rect.left));
            visit(v);
            ++next;
        });
        fillTo(area.cells());
    }
}

}  // namespace kes::calc
