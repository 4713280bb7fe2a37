#include "sheet/calc/functions/reference_text.h"

#include <algorithm>

#include "sheet/calc/compile.h"
#include "sheet/calc/coerce.h"
#include "sheet/formula/cell_address.h"
#include "sheet/formula/name_chars.h"
#include "sheet/sheet_bounds.h"
#include "sheet/workbook.h"

namespace kes::calc {
namespace {

using formula::Node;
using formula::NodeKind;
using formula::Operator;

std::u16string digits(int64_t value) { return numberToText(double(value)); }

// One coordinate of R1C1 notation after its letter: 5 (absolute), [-2] (relative) or nothing
// (the formula's own row or column).
bool readCoordinate(std::u16string_view text, size_t& pos, int32_t origin, int32_t limit, int32_t& out) {
    const bool relative = pos < text.size() && text[pos] == u'[';
    if (relative) ++pos;
    bool negative = false;
    if (relative && pos < text.size() && (text[pos] == u'-' || text[pos] == u'+')) negative = text[pos++] == u'-';
    int64_t value = 0;
    const size_t start = pos;
    while (pos < text.size() && formula::isDigit(text[pos]) && value <= limit + 1) value = value * 10 + (text[pos++] - u'0');
    const bool any = pos > start;
    if (relative) {
        if (!any || pos >= text.size() || text[pos] != u']') return false;
        ++pos;
        value = origin + (negative ? -value : value);
    } else if (any) {
        value -= 1;
    } else {
        value = origin;
    }
    if (value < 0 || value > limit) return false;
    out = int32_t(value);
    return true;
}

// R1C1, R (a whole row) or C (a whole column); `kind` is 'X' for a cell.
bool readPart(std::u16string_view text, size_t& pos, int32_t row, int32_t column, char& kind, int32_t& r, int32_t& c) {
    const auto letter = [&](char16_t want) {
        if (pos < text.size() && asciiUpper(text[pos]) == want) {
            ++pos;
            return true;
        }
        return false;
    };
    if (letter(u'R')) {
        if (!readCoordinate(text, pos, row, kMaxRow, r)) return false;
        if (letter(u'C')) {
            kind = 'X';
            return readCoordinate(text, pos, column, kMaxColumn, c);
        }
        kind = 'R';
        return true;
    }
    if (letter(u'C')) {
        kind = 'C';
        return readCoordinate(text, pos, column, kMaxColumn, c);
    }
    return false;
}

// A formula that names a reference and nothing else: references, names, tables, and the range,
// union and intersection of such.
bool namesOnlyReferences(const formula::Expression& expression) {
    for (const Node& node : expression.nodes()) {
        switch (node.kind) {
        case NodeKind::Reference:
        case NodeKind::Name:
        case NodeKind::Table:
        case NodeKind::Paren: break;
        case NodeKind::Binary:
            if (node.op != Operator::Range && node.op != Operator::Union && node.op != Operator::Intersect) return false;
            break;
        default: return false;
        }
    }
    return true;
}

}  // namespace

std::u16string addressText(int32_t row, int32_t column, int absolute, bool a1) {
    const bool absoluteRow = absolute == 1 || absolute == 2;
    const bool absoluteColumn = absolute == 1 || absolute == 3;
    if (a1) {
        std::u16string out;
        if (absoluteColumn) out += u'$';
        out += formula::columnLetters(column);
        if (absoluteRow) out += u'$';
        out += digits(int64_t(row) + 1);
        return out;
    }
    // ADDRESS writes a relative R1C1 part with the number it is given: R[3]C[4].
    const auto part = [](char16_t letter, int32_t index, bool isAbsolute) {
        std::u16string out(1, letter);
        out += isAbsolute ? digits(int64_t(index) + 1) : u"[" + digits(int64_t(index) + 1) + u"]";
        return out;
    };
    return part(u'R', row, absoluteRow) + part(u'C', column, absoluteColumn);
}

std::u16string sheetPrefix(std::u16string_view sheet) {
    // A workbook in brackets in front of the sheet needs no quotes of its own.
    std::u16string_view name = sheet;
    if (const size_t close = sheet.find(u']'); sheet.starts_with(u'[') && close != std::u16string_view::npos) {
        name = sheet.substr(close + 1);
    }
    if (sheet.empty() || !formula::sheetNameNeedsQuotes(name)) return std::u16string(sheet) + u"!";
    std::u16string out = u"'";
    for (char16_t c : sheet) {
        if (c == u'\'') out += u'\'';
        out += c;
    }
    return out + u"'!";
}

std::optional<R1C1Reference> parseR1C1(std::u16string_view text, int32_t row, int32_t column) {
    R1C1Reference out;
    size_t pos = 0;
    if (const size_t bang = text.rfind(u'!'); bang != std::u16string_view::npos) {
        std::u16string_view sheet = text.substr(0, bang);
        if (sheet.size() >= 2 && sheet.front() == u'\'' && sheet.back() == u'\'') {
            sheet = sheet.substr(1, sheet.size() - 2);
            for (size_t i = 0; i < sheet.size(); ++i) {
                if (sheet[i] == u'\'' && i + 1 < sheet.size() && sheet[i + 1] == u'\'') ++i;
                out.sheet += sheet[i];
            }
        } else {
            out.sheet = sheet;
        }
        out.hasSheet = true;
        pos = bang + 1;
    }
    char kind1 = 0, kind2 = 0;
    int32_t r1 = 0, c1 = 0, r2 = 0, c2 = 0;
    if (!readPart(text, pos, row, column, kind1, r1, c1)) return std::nullopt;
    if (pos < text.size() && text[pos] == u':') {
        ++pos;
        if (!readPart(text, pos, row, column, kind2, r2, c2) || kind2 != kind1) return std::nullopt;
    } else {
        kind2 = kind1;
        r2 = r1;
        c2 = c1;
    }
    if (pos != text.size()) return std::nullopt;
    switch (kind1) {
    case 'R': c1 = 0, c2 = kMaxColumn; break;
    case 'C': r1 = 0, r2 = kMaxRow; break;
    default: break;
    }
    out.top = std::min(r1, r2);
    out.bottom = std::max(r1, r2);
    out.left = std::min(c1, c2);
    out.right = std::max(c1, c2);
    return out;
}

Value referenceFromText(Evaluator& evaluator, std::u16string_view text, bool a1) {
    if (!a1) {
        if (const auto r1c1 = parseR1C1(text, evaluator.row(), evaluator.column())) {
            SheetTable* sheet = r1c1->hasSheet ? evaluator.workbook().findSheet(r1c1->sheet) : &evaluator.sheet();
            if (!sheet) return Value::error(ecRefErr);
            return Value::reference({sheet, {r1c1->left, r1c1->top, r1c1->right, r1c1->bottom}});
        }
    }
    if (text.empty() || text.size() >= formula::kMaxFormulaLength) return Value::error(ecRefErr);
    const auto expression = compileFormula(u"=" + std::u16string(text));
    if (!expression || !namesOnlyReferences(*expression)) return Value::error(ecRefErr);
    // In R1C1 mode only names are read this way: an A1 address is not R1C1.
    if (!a1 && expression->root().kind != NodeKind::Name && expression->root().kind != NodeKind::Table) {
        return Value::error(ecRefErr);
    }
    Evaluator inner(evaluator.sheet(), evaluator.row(), evaluator.column(), *expression);
    const Value result = inner.evaluate(expression->rootIndex(), Mode::Value);
    return result.isReference() ? result : Value::error(ecRefErr);
}

}  // namespace kes::calc
