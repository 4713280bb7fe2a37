#include "sheet/editing/find_replace.h"

#include <algorithm>
#include <vector>

namespace kes {
namespace {

char16_t folded(char16_t c) { return (c >= u'A' && c <= u'Z') ? c + 32 : c; }

bool sameText(std::u16string_view a, std::u16string_view b, bool matchCase) {
    if (a.size() != b.size()) return false;
    return matchCase ? a == b : std::equal(a.begin(), a.end(), b.begin(), [](char16_t x, char16_t y) { return folded(x) == folded(y); });
}

size_t findIn(std::u16string_view text, const FindOptions& options, size_t from) {
    if (options.matchCase) return text.find(options.text, from);
    const auto it = std::search(text.begin() + std::ptrdiff_t(from), text.end(), options.text.begin(), options.text.end(),
                                [](char16_t a, char16_t b) { return folded(a) == folded(b); });
    return it == text.end() ? std::u16string_view::npos : size_t(it - text.begin());
}

bool textMatches(std::u16string_view text, const FindOptions& options) {
    if (options.wholeCell) return sameText(text, options.text, options.matchCase);
    return findIn(text, options, 0) != std::u16string_view::npos;
}

bool cellMatches(SheetTable& sheet, SheetRow* row, SheetCell* cell, const FindOptions& options) {
    if (cell->type == cdtBlank) return false;
    if (textMatches(cellEditText(sheet, row->index, cell->index), options)) return true;
    return textMatches(CellRef(&sheet, row, cell).displayText(), options);
}

}  // namespace

std::optional<CellPosition> findMatch(SheetTable& sheet, const FindOptions& options, CellPosition from) {
    if (options.text.empty()) return std::nullopt;
    // Two passes: from the cell after `from` to the end, then from the top back to `from`.
    for (int pass = 0; pass < 2; ++pass) {
        for (SheetRow* r = pass == 0 ? sheet.rows().lowerBound(from.row) : sheet.rows().first(); r; r = r->next) {
            if (pass == 1 && r->index > from.row) break;
            for (SheetCell* c = r->cells.first(); c; c = c->next) {
                const bool after = r->index > from.row || c->index > from.column;
                if (pass == 0 ? !after : after) continue;
                if (cellMatches(sheet, r, c, options)) return CellPosition{r->index, c->index};
            }
        }
    }
    return std::nullopt;
}

std::optional<std::u16string> replaceMatches(std::u16string_view text, const FindOptions& options,
                                             std::u16string_view replacement) {
    if (options.text.empty()) return std::nullopt;
    if (options.wholeCell) {
        if (!sameText(text, options.text, options.matchCase)) return std::nullopt;
        return std::u16string(replacement);
    }
    size_t at = findIn(text, options, 0);
    if (at == std::u16string_view::npos) return std::nullopt;
    std::u16string result;
    size_t done = 0;
    for (; at != std::u16string_view::npos; at = findIn(text, options, done)) {
        result.append(text.substr(done, at - done)).append(replacement);
        done = at + options.text.size();
    }
    result.append(text.substr(done));
    return result;
}

int64_t replaceAll(SheetTable& sheet, const FindOptions& options, std::u16string_view replacement,
                   const CellTextWriter& write) {
    // Collected first: writing makes and changes cells under the walk.
    std::vector<std::pair<CellPosition, std::u16string>> changes;
    for (SheetRow* r = sheet.rows().first(); r; r = r->next) {
        for (SheetCell* c = r->cells.first(); c; c = c->next) {
            if (c->type == cdtBlank) continue;
            if (auto text = replaceMatches(cellEditText(sheet, r->index, c->index), options, replacement))
                changes.push_back({{r->index, c->index}, std::move(*text)});
        }
    }
    EditAction action(sheet.workbook());
    for (const auto& [at, text] : changes) write(sheet, at.row, at.column, text);
    return int64_t(changes.size());
}

std::optional<CellPosition> replaceNext(SheetTable& sheet, const FindOptions& options, std::u16string_view replacement,
                                        CellPosition current, const CellTextWriter& write) {
    if (auto text = replaceMatches(cellEditText(sheet, current.row, current.column), options, replacement)) {
        EditAction action(sheet.workbook());
        write(sheet, current.row, current.column, *text);
    }
    return findMatch(sheet, options, current);
}

}  // namespace kes
