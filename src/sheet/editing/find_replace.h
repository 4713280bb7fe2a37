#pragma once
// Find and replace, as Excel's dialog does them: a cell matches when the text it shows or the
// text it holds (a formula's text) contains the searched text, or with "whole cell" equals it;
// case counts only when asked. Replacing works on the text the cell holds, written back as if
// typed, so that a replaced number stays a number.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sheet/editing/edit_action.h"
#include "sheet/navigation.h"

namespace kes {

struct FindOptions {
    std::u16string text;
    bool matchCase = false;
    bool wholeCell = false;
};

// The next matching cell after `from`, row by row and wrapping to the top (`from` itself
// last); none when no cell matches or the text is empty.
std::optional<CellPosition> findMatch(SheetTable& sheet, const FindOptions& options, CellPosition from);

// The text with every match replaced; none when it has no match.
std::optional<std::u16string> replaceMatches(std::u16string_view text, const FindOptions& options,
                                             std::u16string_view replacement);

// Replaces in every cell; one undo step. Returns how many cells changed.
int64_t replaceAll(SheetTable& sheet, const FindOptions& options, std::u16string_view replacement,
                   const CellTextWriter& write);

// The dialog's Replace: replaces in the cell at `current` when it matches, then answers the
// next match (where the dialog moves the focus), or none when no match is left.
std::optional<CellPosition> replaceNext(SheetTable& sheet, const FindOptions& options, std::u16string_view replacement,
                                        CellPosition current, const CellTextWriter& write);

}  // namespace kes
