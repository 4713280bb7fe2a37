#include "sheet/formula/cell_address.h"

#include <iterator>
#include <utility>

namespace kes::formula {

namespace {

bool isAsciiLetter(char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
int letterValue(char16_t c) { return (c >= u'a' ? c - u'a' : c - u'A') + 1; }

// Letters at `pos` as a zero-based column; the offset past them, or 0.
size_t scanLetters(std::u16string_view text, size_t pos, int32_t& column) {
    size_t end = pos;
    int32_t value = 0;
    while (end < text.size() && isAsciiLetter(text[end])) {
        if (end - pos == 3) return 0;   // four letters are past XFD whatever they are
        value = value * 26 + letterValue(text[end]);
        ++end;
    }
    if (end == pos || value - 1 > kLastColumn) return 0;
    column = value - 1;
    return end;
}

// Digits at `pos` as a zero-based row; leading zeros are allowed as Excel allows them.
size_t scanDigits(std::u16string_view text, size_t pos, int32_t& row) {
    size_t end = pos;
    int64_t value = 0;
    while (end < text.size() && isDigit(text[end])) {
        if (value <= kLastRow + 1) value = value * 10 + (text[end] - u'0');
        ++end;
    }
    if (end == pos || value < 1 || value > kLastRow + 1) return 0;
    row = static_cast<int32_t>(value - 1);
    return end;
}

size_t skipDollar(std::u16string_view text, size_t pos, bool& absolute) {
    absolute = pos < text.size() && text[pos] == u'$';
    return absolute ? pos + 1 : pos;
}

}  // namespace

std::u16string columnLetters(int32_t column) {
    char16_t letters[3];
    size_t count = 0;
    for (int32_t n = column + 1; n > 0 && count < 3; n = (n - 1) / 26) {
        letters[count++] = static_cast<char16_t>(u'A' + (n - 1) % 26);
    }
    return std::u16string(std::make_reverse_iterator(letters + count), std::make_reverse_iterator(letters));
}

std::optional<int32_t> columnIndex(std::u16string_view letters) {
    int32_t column = 0;
    if (scanLetters(letters, 0, column) != letters.size() || letters.empty()) return std::nullopt;
    return column;
}

size_t scanColumn(std::u16string_view text, size_t pos, CellAddress& address) {
    return scanLetters(text, skipDollar(text, pos, address.columnAbsolute), address.column);
}

size_t scanRow(std::u16string_view text, size_t pos, CellAddress& address) {
    return scanDigits(text, skipDollar(text, pos, address.rowAbsolute), address.row);
}

size_t scanCellAddress(std::u16string_view text, size_t pos, CellAddress& address) {
    const size_t columnEnd = scanColumn(text, pos, address);
    return columnEnd == 0 ? 0 : scanRow(text, columnEnd, address);
}

void orderCorners(CellAddress& first, CellAddress& last) {
    if (first.row > last.row) {
        std::swap(first.row, last.row);
        std::swap(first.rowAbsolute, last.rowAbsolute);
    }
    if (first.column > last.column) {
        std::swap(first.column, last.column);
        std::swap(first.columnAbsolute, last.columnAbsolute);
    }
}

void appendColumn(std::u16string& out, const CellAddress& address) {
    if (address.columnAbsolute) out += u'$';
    out += columnLetters(address.column);
}

void appendRow(std::u16string& out, const CellAddress& address) {
    if (address.rowAbsolute) out += u'$';
    char16_t digits[8];
    size_t count = 0;
    for (int32_t n = address.row + 1; n > 0 && count < 8; n /= 10) digits[count++] = static_cast<char16_t>(u'0' + n % 10);
    while (count > 0) out += digits[--count];
}

void appendCellAddress(std::u16string& out, const CellAddress& address) {
    appendColumn(out, address);
    appendRow(out, address);
}

}  // namespace kes::formula
