#include "sheet/formula_eval.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "sheet/cell_formula.h"
#include "sheet/format/format_code.h"
#include "sheet/format/number_format.h"
#include "sheet/sheet_bounds.h"
#include "sheet/text_to_value.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

using formula::Expression;
using formula::Node;
using formula::NodeKind;
using formula::Operator;

// A value during evaluation: a single value, or a rectangle of cells of one sheet.
struct Value {
    CellValue single;
    SheetTable* sheet = nullptr;
    CellRect area{};
    bool isRange = false;
};

Value error(FormulaErrorCode code) { return {CellValue::makeError(code)}; }
Value number(double d) { return {std::isfinite(d) ? CellValue::makeFloat(d) : CellValue::makeError(ecNUM)}; }
Value text(std::u16string s) { return {CellValue::makeString(s)}; }
Value boolean(bool b) { return {CellValue::makeBoolean(b)}; }

std::u16string upper(std::u16string_view s) {
    std::u16string out(s);
    for (char16_t& c : out) {
        if (c >= u'a' && c <= u'z') c -= 32;
    }
    return out;
}

class Evaluator {
public:
    Evaluator(SheetTable& sheet, int32_t row, int32_t column, const Expression& expression)
        : sheet_(sheet), row_(row), column_(column), e_(expression) {}

    CellValue run() {
        Value v = evaluate(e_.rootIndex());
        if (v.isRange) v = {cellValue(*v.sheet, v.area.top, v.area.left)};
        if (v.single.type == cdtBlank) return CellValue::makeFloat(0);   // a formula that points at nothing shows 0
        return v.single;
    }

private:
    std::vector<uint32_t> children(uint32_t index) const {
        const Node& node = e_.nodes()[index];
        std::vector<uint32_t> out(Expression::childCount(node));
        uint32_t child = index - 1;
        for (size_t k = out.size(); k-- > 0;) {
            out[k] = child;
            if (k > 0) child = e_.previousSibling(child);
        }
        return out;
    }

    SheetTable* sheetNamed(std::u16string_view name) {
        return name.empty() ? &sheet_ : sheet_.workbook().findSheet(name);
    }

    static CellValue cellValue(SheetTable& sheet, int32_t row, int32_t column) {
        CellRef cell = sheet.getCell(row, column);
        return cell ? cell.formulaResult() : CellValue{};
    }

    // A single value from a range by implicit intersection with the formula's row or column.
    Value single(const Value& v) {
        if (!v.isRange) return v;
        const CellRect& a = v.area;
        if (a.top == a.bottom && a.left == a.right) return {cellValue(*v.sheet, a.top, a.left)};
        if (a.left == a.right && row_ >= a.top && row_ <= a.bottom) return {cellValue(*v.sheet, row_, a.left)};
        if (a.top == a.bottom && column_ >= a.left && column_ <= a.right) return {cellValue(*v.sheet, a.top, column_)};
        return error(ecValue);
    }

    static bool toNumber(const CellValue& v, double& out, FormulaErrorCode& failure) {
        switch (v.type) {
        case cdtBlank: out = 0; return true;
        case cdtError: failure = v.error; return false;
        case cdtString: {
            if (v.text.empty()) { out = 0; return true; }
            auto parsed = textToValue(v.text, FormatSettings{});
            if (parsed && isNumericType(parsed->type)) { out = parsed->asFloat(); return true; }
            failure = ecValue;
            return false;
        }
        default: out = v.asFloat(); return true;
        }
    }

    static std::u16string toText(const CellValue& v) {
        switch (v.type) {
        case cdtBlank: return u"";
        case cdtBoolean: return std::u16string(booleanText(v.boolean));
        case cdtString: return v.text;
        case cdtError: return std::u16string(errorText(v.error));
        default: return formatGeneral(v.asFloat(), FormatSettings{});
        }
    }

    // Every value a range or a single argument holds, for SUM and its kind.
    void each(const Value& v, const std::function<void(const CellValue&, bool fromRange)>& visit) {
        if (!v.isRange) {
            visit(v.single, false);
            return;
        }
        SheetTable& sheet = *v.sheet;
        sheet.rows().forEach(v.area.top, v.area.bottom, true, [&](SheetRow* row) {
            row->cells.forEach(v.area.left, v.area.right, true,
                               [&](SheetCell* cell) { visit(CellRef(&sheet, row, cell).formulaResult(), true); });
        });
    }

    Value reference(const Node& node) {
        SheetTable* sheet = sheetNamed(e_.text(node.sheet));
        if (!sheet || node.shape == formula::ReferenceShape::Invalid) return error(ecRefErr);
        CellRect area{node.first.column, node.first.row, node.last.column, node.last.row};
        if (node.shape == formula::ReferenceShape::Columns) area.top = 0, area.bottom = kMaxRow;
        if (node.shape == formula::ReferenceShape::Rows) area.left = 0, area.right = kMaxColumn;
        return {CellValue{}, sheet, area, true};
    }

    Value binary(Operator op, Value left, Value right) {
        if (op == Operator::Range) {
            if (!left.isRange || !right.isRange || left.sheet != right.sheet) return error(ecValue);
            CellRect a{std::min(left.area.left, right.area.left), std::min(left.area.top, right.area.top),
                       std::max(left.area.right, right.area.right), std::max(left.area.bottom, right.area.bottom)};
            return {CellValue{}, left.sheet, a, true};
        }
        const CellValue a = single(left).single, b = single(right).single;
        if (op == Operator::Concat) {
            if (a.type == cdtError) return {a};
            if (b.type == cdtError) return {b};
            return text(toText(a) + toText(b));
        }
        if (op >= Operator::Equal && op <= Operator::GreaterEqual) {
            if (a.type == cdtError) return {a};
            if (b.type == cdtError) return {b};
            const int order = compare(a, b);
            switch (op) {
            case Operator::Equal: return boolean(order == 0);
            case Operator::NotEqual: return boolean(order != 0);
            case Operator::Less: return boolean(order < 0);
            case Operator::LessEqual: return boolean(order <= 0);
            case Operator::Greater: return boolean(order > 0);
            default: return boolean(order >= 0);
            }
        }
        double x, y;
        FormulaErrorCode failure = ecValue;
        if (!toNumber(a, x, failure) || !toNumber(b, y, failure)) return error(failure);
        switch (op) {
        case Operator::Add: return number(x + y);
        case Operator::Subtract: return number(x - y);
        case Operator::Multiply: return number(x * y);
        case Operator::Divide: return y == 0 ? error(ecDivByZero) : number(x / y);
        case Operator::Power: return number(std::pow(x, y));
        default: return error(ecValue);
        }
    }

    // Excel's order for comparisons: numbers < texts < booleans; texts without case.
    static int compare(const CellValue& a, const CellValue& b) {
        const auto rank = [](const CellValue& v) { return v.type == cdtString ? 1 : v.type == cdtBoolean ? 2 : 0; };
        CellValue x = a, y = b;
        if (x.type == cdtBlank) x = y.type == cdtString ? CellValue::makeString(u"") : y.type == cdtBoolean ? CellValue::makeBoolean(false) : CellValue::makeFloat(0);
        if (y.type == cdtBlank) y = x.type == cdtString ? CellValue::makeString(u"") : x.type == cdtBoolean ? CellValue::makeBoolean(false) : CellValue::makeFloat(0);
        if (rank(x) != rank(y)) return rank(x) < rank(y) ? -1 : 1;
        if (rank(x) == 1) {
            const std::u16string p = upper(x.text), q = upper(y.text);
            return p < q ? -1 : p > q ? 1 : 0;
        }
        const double p = x.asFloat(), q = y.asFloat();
        return p < q ? -1 : p > q ? 1 : 0;
    }

    // Excel's wildcards in a text looked for: * any run, ? one character, ~ the next literally;
    // ASCII case ignored.
    static bool wildcardMatch(std::u16string_view text, std::u16string_view pattern) {
        const auto fold = [](char16_t c) { return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c; };
        size_t t = 0, p = 0, starPattern = std::u16string_view::npos, starText = 0;
        while (t < text.size()) {
            if (p < pattern.size() && pattern[p] == u'*') {
                starPattern = ++p;
                starText = t;
                continue;
            }
            if (p < pattern.size()) {
                const bool escaped = pattern[p] == u'~' && p + 1 < pattern.size();
                const char16_t want = escaped ? pattern[p + 1] : pattern[p];
                if ((!escaped && want == u'?') || fold(want) == fold(text[t])) {
                    p += escaped ? 2 : 1;
                    ++t;
                    continue;
                }
            }
            if (starPattern == std::u16string_view::npos) return false;
            p = starPattern;   // let the last * take one more character
            t = ++starText;
        }
        while (p < pattern.size() && pattern[p] == u'*') ++p;
        return p == pattern.size();
    }

    static bool hasWildcards(const CellValue& v) {
        return v.type == cdtString && v.text.find_first_of(u"*?~") != std::u16string::npos;
    }

    // An exact match as the lookups make it: by value, or by wildcard for a text key.
    static bool exactMatch(const CellValue& candidate, const CellValue& key) {
        if (hasWildcards(key)) return candidate.type == cdtString && wildcardMatch(candidate.text, key.text);
        return candidate.type != cdtBlank && compare(candidate, key) == 0;
    }

    Value function(const Node& node, uint32_t index) {
        const std::u16string name = upper(e_.text(node.text));
        const std::u16string_view bare = std::u16string_view(name).starts_with(u"_XLFN.") ? std::u16string_view(name).substr(6) : std::u16string_view(name);
        const std::vector<uint32_t> args = children(index);
        const auto arg = [&](size_t i) { return evaluate(args[i]); };
        const auto numberArg = [&](size_t i, double& out) -> std::optional<Value> {
            FormulaErrorCode failure = ecValue;
            if (!toNumber(single(arg(i)).single, out, failure)) return error(failure);
            return std::nullopt;
        };
        const size_t n = args.size();

        if (bare == u"IF") {
            if (n < 2 || n > 3) return error(ecValue);
            const CellValue condition = single(arg(0)).single;
            double truth;
            FormulaErrorCode failure = ecValue;
            if (!toNumber(condition.type == cdtBoolean ? CellValue::makeFloat(condition.boolean) : condition, truth, failure)) return error(failure);
            if (truth != 0) return single(arg(1));
            return n == 3 ? single(arg(2)) : boolean(false);
        }
        if (bare == u"IFERROR") {
            if (n != 2) return error(ecValue);
            const Value v = single(arg(0));
            return v.single.type == cdtError ? single(arg(1)) : v;
        }
        if (bare == u"SUM" || bare == u"AVERAGE" || bare == u"MIN" || bare == u"MAX" || bare == u"COUNT" || bare == u"COUNTA") {
            double sum = 0, low = INFINITY, high = -INFINITY;
            size_t count = 0, filled = 0;
            std::optional<FormulaErrorCode> failure;
            for (size_t i = 0; i < n; ++i) {
                each(arg(i), [&](const CellValue& v, bool fromRange) {
                    if (v.type != cdtBlank) ++filled;
                    if (v.type == cdtError) {
                        if (!failure && bare != u"COUNT" && bare != u"COUNTA") failure = v.error;
                        return;
                    }
                    double x;
                    if (isNumericType(v.type)) x = v.asFloat();
                    else if (!fromRange && v.type == cdtBoolean) x = v.boolean;
                    else if (!fromRange && v.type == cdtString && bare != u"COUNT") {
                        FormulaErrorCode f = ecValue;
                        if (!toNumber(v, x, f)) {
                            if (!failure) failure = f;
                            return;
                        }
                    } else {
                        return;
                    }
                    sum += x;
                    low = std::min(low, x);
                    high = std::max(high, x);
                    ++count;
                });
            }
            if (bare == u"COUNTA") return number(double(filled));
            if (bare == u"COUNT") return number(double(count));
            if (failure) return error(*failure);
            if (bare == u"SUM") return number(sum);
            if (bare == u"AVERAGE") return count ? number(sum / double(count)) : error(ecDivByZero);
            if (bare == u"MIN") return number(count ? low : 0);
            return number(count ? high : 0);
        }
        if (bare == u"AND" || bare == u"OR") {
            bool all = true, any = false;
            for (size_t i = 0; i < n; ++i) {
                const CellValue v = single(arg(i)).single;
                if (v.type == cdtError) return {v};
                const bool truth = v.asFloat() != 0;
                all = all && truth;
                any = any || truth;
            }
            return boolean(bare == u"AND" ? all : any);
        }
        if (bare == u"NOT" && n == 1) return boolean(single(arg(0)).single.asFloat() == 0);
        if (bare == u"CONCATENATE" || bare == u"CONCAT") {
            std::u16string out;
            for (size_t i = 0; i < n; ++i) {
                std::optional<CellValue> failure;
                each(arg(i), [&](const CellValue& v, bool) {
                    if (v.type == cdtError && !failure) failure = v;
                    out += toText(v);
                });
                if (failure) return {*failure};
            }
            return text(out);
        }
        if ((bare == u"ROUND" || bare == u"ROUNDUP" || bare == u"ROUNDDOWN") && n == 2) {
            double x, digits;
            if (auto e = numberArg(0, x)) return *e;
            if (auto e = numberArg(1, digits)) return *e;
            const double scale = std::pow(10.0, std::trunc(digits));
            const double scaled = std::stod(std::to_string(x * scale));   // the decimal value, not its binary neighbour
            double r = bare == u"ROUND" ? std::round(scaled) : bare == u"ROUNDUP" ? (x < 0 ? std::floor(scaled) : std::ceil(scaled)) : std::trunc(scaled);
            return number(r / scale);
        }
        if ((bare == u"INT" || bare == u"ABS") && n == 1) {
            double x;
            if (auto e = numberArg(0, x)) return *e;
            return number(bare == u"INT" ? std::floor(x) : std::fabs(x));
        }
        if (bare == u"MOD" && n == 2) {
            double x, y;
            if (auto e = numberArg(0, x)) return *e;
            if (auto e = numberArg(1, y)) return *e;
            if (y == 0) return error(ecDivByZero);
            return number(x - y * std::floor(x / y));
        }
        if ((bare == u"LEFT" || bare == u"RIGHT") && (n == 1 || n == 2)) {
            const CellValue v = single(arg(0)).single;
            if (v.type == cdtError) return {v};
            double count = 1;
            if (n == 2) {
                if (auto e = numberArg(1, count)) return *e;
            }
            if (count < 0) return error(ecValue);
            const std::u16string s = toText(v);
            const size_t take = std::min(s.size(), size_t(count));
            return text(bare == u"LEFT" ? s.substr(0, take) : s.substr(s.size() - take));
        }
        if (bare == u"MID" && n == 3) {
            const CellValue v = single(arg(0)).single;
            if (v.type == cdtError) return {v};
            double start, count;
            if (auto e = numberArg(1, start)) return *e;
            if (auto e = numberArg(2, count)) return *e;
            if (start < 1 || count < 0) return error(ecValue);
            const std::u16string s = toText(v);
            return text(size_t(start) - 1 < s.size() ? s.substr(size_t(start) - 1, size_t(count)) : u"");
        }
        if ((bare == u"LEN" || bare == u"TRIM" || bare == u"UPPER" || bare == u"LOWER") && n == 1) {
            const CellValue v = single(arg(0)).single;
            if (v.type == cdtError) return {v};
            std::u16string s = toText(v);
            if (bare == u"LEN") return number(double(s.size()));
            if (bare == u"UPPER") return text(upper(s));
            if (bare == u"LOWER") {
                for (char16_t& c : s) {
                    if (c >= u'A' && c <= u'Z') c += 32;
                }
                return text(s);
            }
            std::u16string trimmed;
            for (char16_t c : s) {
                if (c == u' ' && (trimmed.empty() || trimmed.back() == u' ')) continue;
                trimmed += c;
            }
            if (!trimmed.empty() && trimmed.back() == u' ') trimmed.pop_back();
            return text(trimmed);
        }
        if (bare == u"TEXT" && n == 2) {
            const CellValue v = single(arg(0)).single;
            const CellValue code = single(arg(1)).single;
            if (v.type == cdtError) return {v};
            if (code.type == cdtError) return {code};
            double x;
            FormulaErrorCode failure = ecValue;
            if (!toNumber(v, x, failure)) return text(formatText(toText(v), toText(code)).text);
            return text(formatNumber(x, toText(code), sheet_.workbook().settings()).text);
        }
        if (bare == u"VALUE" && n == 1) {
            double x;
            if (auto e = numberArg(0, x)) return *e;
            return number(x);
        }
        if ((bare == u"ISBLANK" || bare == u"ISNUMBER" || bare == u"ISTEXT" || bare == u"ISERROR") && n == 1) {
            const CellValue v = single(arg(0)).single;
            if (bare == u"ISBLANK") return boolean(v.type == cdtBlank);
            if (bare == u"ISNUMBER") return boolean(isNumericType(v.type));
            if (bare == u"ISTEXT") return boolean(v.type == cdtString);
            return boolean(v.type == cdtError);
        }
        if (bare == u"NA" && n == 0) return error(ecNA);
        // LibreOffice saves a logical value as one of these formulas.
        if ((bare == u"TRUE" || bare == u"FALSE") && n == 0) return boolean(bare == u"TRUE");
        if ((bare == u"ROW" || bare == u"COLUMN") && n <= 1) {
            if (n == 0) return number(double(bare == u"ROW" ? row_ : column_) + 1);
            const Value r = arg(0);
            if (!r.isRange) return error(ecValue);
            return number(double(bare == u"ROW" ? r.area.top : r.area.left) + 1);
        }
        if ((bare == u"TODAY" || bare == u"NOW") && n == 0) {
            const auto now = std::chrono::system_clock::now();
            const double days = std::chrono::duration<double>(now.time_since_epoch()).count() / 86400.0 + 25569.0;
            return {CellValue::makeDateTime(bare == u"TODAY" ? std::floor(days) : days)};
        }
        if (bare == u"DATE" && n == 3) {
            double y, m, d;
            if (auto e = numberArg(0, y)) return *e;
            if (auto e = numberArg(1, m)) return *e;
            if (auto e = numberArg(2, d)) return *e;
            // Months and days beyond their range carry over, as in Excel.
            int year = int(y) + int(std::floor((m - 1) / 12));
            const int month = int(m - 1 - 12 * std::floor((m - 1) / 12)) + 1;
            auto first = dateSerial(year < 100 ? year + 1900 : year, month, 1);
            if (!first) return error(ecNUM);
            return {CellValue::makeDateTime(*first + std::floor(d) - 1)};
        }
        if ((bare == u"YEAR" || bare == u"MONTH" || bare == u"DAY" || bare == u"HOUR" || bare == u"MINUTE" || bare == u"SECOND" ||
             bare == u"WEEKDAY") && (n == 1 || (bare == u"WEEKDAY" && n == 2))) {
            double serial;
            if (auto e = numberArg(0, serial)) return *e;
            if (serial < 0) return error(ecNUM);
            const int64_t seconds = std::llround(serial * 86400.0);
            const int64_t days = seconds / 86400;
            if (bare == u"HOUR") return number(double(seconds % 86400 / 3600));
            if (bare == u"MINUTE") return number(double(seconds % 3600 / 60));
            if (bare == u"SECOND") return number(double(seconds % 60));
            if (bare == u"WEEKDAY") {
                double type = 1;
                if (n == 2) {
                    if (auto e = numberArg(1, type)) return *e;
                }
                // The day counted as first and the number it gets: 1 Sunday=1, 2 Monday=1,
                // 3 Monday=0, 11-17 Monday=1 to Sunday=1.
                int first, base = 1;
                if (type == 1) first = 0;
                else if (type == 2) first = 1;
                else if (type == 3) first = 1, base = 0;
                else if (type >= 11 && type <= 17 && type == std::floor(type)) first = (int(type) - 10) % 7;
                else return error(ecNUM);
                const int sunday0 = int((days + 6) % 7);   // serial 1, 1900-01-01, was a Sunday
                return number(double((sunday0 - first + 7) % 7 + base));
            }
            const Date date = dateOfSerial(days);
            return number(bare == u"YEAR" ? date.year : bare == u"MONTH" ? date.month : date.day);
        }
        if ((bare == u"EDATE" || bare == u"EOMONTH") && n == 2) {
            double serial, months;
            if (auto e = numberArg(0, serial)) return *e;
            if (auto e = numberArg(1, months)) return *e;
            const Date date = dateOfSerial(int64_t(std::floor(serial)));
            const int total = date.year * 12 + (date.month - 1) + int(std::trunc(months));
            const int year = total / 12, month = total % 12 + 1;
            const int last = daysInMonth(year, month);
            const auto result = dateSerial(year, month, bare == u"EOMONTH" ? last : std::min(date.day, last));
            return result ? number(*result) : error(ecNUM);
        }
        if (bare == u"CHOOSE" && n >= 2) {
            double pick;
            if (auto e = numberArg(0, pick)) return *e;
            if (pick < 1 || pick >= double(n)) return error(ecValue);
            return single(arg(size_t(pick)));
        }
        if (bare == u"IFS" && n >= 2 && n % 2 == 0) {
            for (size_t i = 0; i + 1 < n; i += 2) {
                const CellValue condition = single(arg(i)).single;
                if (condition.type == cdtError) return {condition};
                if (condition.asFloat() != 0) return single(arg(i + 1));
            }
            return error(ecNA);
        }
        if ((bare == u"FIND" || bare == u"SEARCH") && (n == 2 || n == 3)) {
            const CellValue needle = single(arg(0)).single, haystack = single(arg(1)).single;
            if (needle.type == cdtError) return {needle};
            if (haystack.type == cdtError) return {haystack};
            double start = 1;
            if (n == 3) {
                if (auto e = numberArg(2, start)) return *e;
            }
            std::u16string what = toText(needle), where = toText(haystack);
            if (bare == u"SEARCH") {
                what = upper(what);
                where = upper(where);
            }
            if (start < 1 || size_t(start) > where.size() + 1) return error(ecValue);
            const size_t at = where.find(what, size_t(start) - 1);
            return at == std::u16string::npos ? error(ecValue) : number(double(at) + 1);
        }
        if ((bare == u"SUBSTITUTE" && (n == 3 || n == 4)) || (bare == u"REPLACE" && n == 4) || (bare == u"REPT" && n == 2)) {
            const CellValue first = single(arg(0)).single;
            if (first.type == cdtError) return {first};
            std::u16string subject = toText(first);
            if (bare == u"REPT") {
                double times;
                if (auto e = numberArg(1, times)) return *e;
                if (times < 0 || subject.size() * size_t(times) > 32767) return error(ecValue);
                std::u16string out;
                for (size_t i = 0; i < size_t(times); ++i) out += subject;
                return text(out);
            }
            if (bare == u"REPLACE") {
                double start, count;
                if (auto e = numberArg(1, start)) return *e;
                if (auto e = numberArg(2, count)) return *e;
                if (start < 1 || count < 0) return error(ecValue);
                const size_t from = std::min(subject.size(), size_t(start) - 1);
                return text(subject.replace(from, size_t(count), toText(single(arg(3)).single)));
            }
            const std::u16string old = toText(single(arg(1)).single), replacement = toText(single(arg(2)).single);
            double instance = 0;
            if (n == 4) {
                if (auto e = numberArg(3, instance)) return *e;
            }
            if (old.empty()) return text(subject);
            std::u16string out;
            size_t at = 0, seen = 0;
            for (size_t found; (found = subject.find(old, at)) != std::u16string::npos; at = found + old.size()) {
                ++seen;
                out += subject.substr(at, found - at);
                out += (instance == 0 || double(seen) == instance) ? replacement : old;
            }
            return text(out + subject.substr(at));
        }
        if ((bare == u"SUMIF" || bare == u"COUNTIF") && (n == 2 || (bare == u"SUMIF" && n == 3))) {
            const Value range = arg(0);
            if (!range.isRange) return error(ecValue);
            const CellValue criterion = single(arg(1)).single;
            const Value sumRange = n == 3 ? arg(2) : range;
            if (!sumRange.isRange) return error(ecValue);
            double total = 0;
            for (int32_t r = range.area.top; r <= std::min(range.area.bottom, lastUsedRow(*range.sheet)); ++r) {
                for (int32_t c = range.area.left; c <= range.area.right; ++c) {
                    if (!matches(cellValue(*range.sheet, r, c), criterion)) continue;
                    if (bare == u"COUNTIF") {
                        total += 1;
                        continue;
                    }
                    const CellValue v = cellValue(*sumRange.sheet, sumRange.area.top + (r - range.area.top), sumRange.area.left + (c - range.area.left));
                    if (isNumericType(v.type)) total += v.asFloat();
                }
            }
            return number(total);
        }
        if ((bare == u"VLOOKUP" || bare == u"HLOOKUP") && (n == 3 || n == 4)) {
            const CellValue key = single(arg(0)).single;
            if (key.type == cdtError) return {key};
            const Value table = arg(1);
            if (!table.isRange) return error(ecValue);
            double index;
            if (auto e = numberArg(2, index)) return *e;
            const bool exact = n == 4 && single(arg(3)).single.asFloat() == 0;
            const bool vertical = bare == u"VLOOKUP";
            const int32_t count = vertical ? std::min(table.area.bottom, lastUsedRow(*table.sheet)) - table.area.top + 1
                                           : table.area.right - table.area.left + 1;
            const int32_t width = vertical ? table.area.right - table.area.left + 1 : table.area.bottom - table.area.top + 1;
            if (index < 1 || index > width) return error(index < 1 ? ecValue : ecRefErr);
            int32_t found = -1;
            for (int32_t i = 0; i < count; ++i) {
                const CellValue candidate = vertical ? cellValue(*table.sheet, table.area.top + i, table.area.left)
                                                     : cellValue(*table.sheet, table.area.top, table.area.left + i);
                if (exact) {
                    if (exactMatch(candidate, key)) {
                        found = i;
                        break;
                    }
                    continue;
                }
                const int order = compare(candidate, key);
                if (order == 0) {
                    found = i;
                    break;
                }
                if (order < 0 && candidate.type == key.type) found = i;
            }
            if (found < 0) return error(ecNA);
            const int32_t offset = int32_t(index) - 1;
            return {vertical ? cellValue(*table.sheet, table.area.top + found, table.area.left + offset)
                             : cellValue(*table.sheet, table.area.top + offset, table.area.left + found)};
        }
        if (bare == u"MATCH" && (n == 2 || n == 3)) {
            const CellValue key = single(arg(0)).single;
            if (key.type == cdtError) return {key};
            const Value list = arg(1);
            if (!list.isRange) return error(ecNA);
            double type = 1;   // the largest value not above the key, in a list sorted ascending
            if (n == 3) {
                if (auto e = numberArg(2, type)) return *e;
            }
            const bool column = list.area.left == list.area.right;
            const int32_t count = column ? std::min(list.area.bottom, lastUsedRow(*list.sheet)) - list.area.top + 1
                                         : list.area.right - list.area.left + 1;
            int32_t found = -1;
            for (int32_t i = 0; i < count; ++i) {
                const CellValue v = column ? cellValue(*list.sheet, list.area.top + i, list.area.left)
                                           : cellValue(*list.sheet, list.area.top, list.area.left + i);
                if (type == 0) {
                    if (exactMatch(v, key)) return number(double(i) + 1);
                    continue;
                }
                if (v.type == cdtBlank || (v.type == cdtString) != (key.type == cdtString)) continue;
                const int order = compare(v, key);
                if (type > 0 ? order > 0 : order < 0) break;   // past the key in a sorted list
                found = i;
                if (order == 0 && type > 0) continue;          // the last of equal values
                if (order == 0) break;
            }
            return found < 0 ? error(ecNA) : number(double(found) + 1);
        }
        if (bare == u"INDEX" && (n == 2 || n == 3)) {
            const Value table = arg(0);
            if (!table.isRange) return error(ecValue);
            double r, c = 1;
            if (auto e = numberArg(1, r)) return *e;
            if (n == 3) {
                if (auto e = numberArg(2, c)) return *e;
            }
            if (table.area.top == table.area.bottom && n == 2) std::swap(r, c);   // a single row is indexed by column
            if (r < 1 || c < 1 || table.area.top + r - 1 > table.area.bottom || table.area.left + c - 1 > table.area.right) return error(ecRefErr);
            return {cellValue(*table.sheet, table.area.top + int32_t(r) - 1, table.area.left + int32_t(c) - 1)};
        }
        if (bare == u"PROPER" && n == 1) {
            const CellValue v = single(arg(0)).single;
            if (v.type == cdtError) return {v};
            std::u16string s = toText(v);
            bool wordStart = true;
            for (char16_t& c : s) {
                const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
                if (letter) c = wordStart ? (c >= u'a' ? char16_t(c - 32) : c) : (c <= u'Z' ? char16_t(c + 32) : c);
                wordStart = !letter;
            }
            return text(s);
        }
        if (bare == u"TEXTJOIN" && n >= 3) {
            const std::u16string delimiter = toText(single(arg(0)).single);
            const bool skipEmpty = single(arg(1)).single.asFloat() != 0;
            std::u16string out;
            bool first = true;
            std::optional<CellValue> failure;
            for (size_t i = 2; i < n; ++i) {
                each(arg(i), [&](const CellValue& v, bool) {
                    if (v.type == cdtError && !failure) failure = v;
                    const std::u16string part = toText(v);
                    if (skipEmpty && part.empty()) return;
                    if (!first) out += delimiter;
                    out += part;
                    first = false;
                });
            }
            if (failure) return {*failure};
            return text(out);
        }
        if (bare == u"DATEDIF" && n == 3) {
            double from, to;
            if (auto e = numberArg(0, from)) return *e;
            if (auto e = numberArg(1, to)) return *e;
            if (from > to) return error(ecNUM);
            const Date a = dateOfSerial(int64_t(std::floor(from))), b = dateOfSerial(int64_t(std::floor(to)));
            const std::u16string unit = upper(toText(single(arg(2)).single));
            int months = (b.year - a.year) * 12 + (b.month - a.month) - (b.day < a.day ? 1 : 0);
            if (unit == u"Y") return number(months / 12);
            if (unit == u"M") return number(months);
            if (unit == u"D") return number(std::floor(to) - std::floor(from));
            if (unit == u"YM") return number(months % 12);
            if (unit == u"MD") return number(b.day >= a.day ? b.day - a.day : daysInMonth(b.year, b.month == 1 ? 0 : b.month - 1) - a.day + b.day);
            if (unit == u"YD") {
                // Days since the last anniversary of the start date, the day kept within its month.
                int year = b.year;
                auto anniversary = dateSerial(year, a.month, std::min(a.day, daysInMonth(year, a.month)));
                if (anniversary && *anniversary > std::floor(to)) {
                    --year;
                    anniversary = dateSerial(year, a.month, std::min(a.day, daysInMonth(year, a.month)));
                }
                return anniversary ? number(std::floor(to) - *anniversary) : error(ecNUM);
            }
            return error(ecNUM);
        }
        if (bare == u"XLOOKUP" && (n == 3 || n == 4)) {
            const CellValue key = single(arg(0)).single;
            if (key.type == cdtError) return {key};
            const Value keys = arg(1), results = arg(2);
            if (!keys.isRange || !results.isRange) return error(ecValue);
            const bool column = keys.area.left == keys.area.right;
            const int32_t count = column ? std::min(keys.area.bottom, lastUsedRow(*keys.sheet)) - keys.area.top + 1
                                         : keys.area.right - keys.area.left + 1;
            for (int32_t i = 0; i < count; ++i) {
                const CellValue v = column ? cellValue(*keys.sheet, keys.area.top + i, keys.area.left) : cellValue(*keys.sheet, keys.area.top, keys.area.left + i);
                if (compare(v, key) != 0 || v.type == cdtBlank) continue;
                return {column ? cellValue(*results.sheet, results.area.top + i, results.area.left)
                               : cellValue(*results.sheet, results.area.top, results.area.left + i)};
            }
            return n == 4 ? single(arg(3)) : error(ecNA);
        }
        return error(ecName);
    }

    // Days of a month; month 0 is December of the year before.
    static int daysInMonth(int year, int month) {
        if (month == 0) return 31;
        static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
    }

    static int32_t lastUsedRow(SheetTable& sheet) { return sheet.rows().last() ? sheet.rows().last()->index : 0; }

    // SUMIF and COUNTIF criteria: a value, or a text starting with =, <>, <, <=, > or >=.
    static bool matches(const CellValue& v, const CellValue& criterion) {
        if (criterion.type != cdtString) return v.type != cdtBlank && compare(v, criterion) == 0;
        std::u16string_view c = criterion.text;
        int op = 0;   // 0 =, 1 <>, 2 <, 3 <=, 4 >, 5 >=
        if (c.starts_with(u"<>")) op = 1, c.remove_prefix(2);
        else if (c.starts_with(u"<=")) op = 3, c.remove_prefix(2);
        else if (c.starts_with(u">=")) op = 5, c.remove_prefix(2);
        else if (c.starts_with(u"=")) c.remove_prefix(1);
        else if (c.starts_with(u"<")) op = 2, c.remove_prefix(1);
        else if (c.starts_with(u">")) op = 4, c.remove_prefix(1);
        CellValue target = CellValue::makeString(c);
        if (auto parsed = textToValue(c, FormatSettings{}); parsed && parsed->type != cdtBlank) target = *parsed;
        if (v.type == cdtBlank) return op == 1 ? !c.empty() : (op == 0 && c.empty());
        if ((target.type == cdtString) != (v.type == cdtString) && op != 1) return false;
        if ((op == 0 || op == 1) && hasWildcards(target)) {
            return (v.type == cdtString && wildcardMatch(v.text, target.text)) == (op == 0);
        }
        const int order = compare(v, target);
        switch (op) {
        case 1: return order != 0;
        case 2: return order < 0;
        case 3: return order <= 0;
        case 4: return order > 0;
        case 5: return order >= 0;
        default: return order == 0;
        }
    }

    Value evaluate(uint32_t index) {
        const Node& node = e_.nodes()[index];
        switch (node.kind) {
        case NodeKind::Number: return number(node.number);
        case NodeKind::String: return text(std::u16string(e_.text(node.text)));
        case NodeKind::Boolean: return boolean(node.boolean);
        case NodeKind::Error: return error(static_cast<FormulaErrorCode>(node.error));
        case NodeKind::Missing: return {CellValue{}};
        case NodeKind::Reference: return reference(node);
        case NodeKind::Name: return error(ecName);
        case NodeKind::Paren: return evaluate(index - 1);
        case NodeKind::Function: return function(node, index);
        case NodeKind::Array: return evaluate(children(index).front());
        case NodeKind::Unary: {
            const CellValue v = single(evaluate(index - 1)).single;
            double x;
            FormulaErrorCode failure = ecValue;
            if (!toNumber(v, x, failure)) return error(failure);
            if (node.op == Operator::Negate) return number(-x);
            if (node.op == Operator::Percent) return number(x / 100);
            return {v};
        }
        case NodeKind::Binary: {
            const std::vector<uint32_t> operands = children(index);
            return binary(node.op, evaluate(operands[0]), evaluate(operands[1]));
        }
        }
        return error(ecValue);
    }

    SheetTable& sheet_;
    int32_t row_;
    int32_t column_;
    const Expression& e_;
};

}  // namespace

namespace {

// Formulas that refer to formulas are evaluated on the stack. A chain deeper than this stops
// there: the formula at the limit is put aside, the chain above it is not kept, and the
// outermost evaluation computes the one put aside first and then tries again. A chain of any
// length is computed that way, 400 links at a time, without overflowing the stack.
constexpr int kDepthLimit = 400;

struct EvaluationStack {
    int depth = 0;
    bool cutShort = false;   // a formula on the stack met the limit: the results above it are not kept
    struct Deferred {
        SheetTable* sheet;
        int32_t row;
        int32_t column;
        CellFormula* formula;
    };
    std::vector<Deferred> deferred;
};

thread_local EvaluationStack stack;

CellValue evaluateOnce(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula) {
    FormulaDependencies& dependencies = sheet.workbook().formulas();
    if (dependencies.isCurrent(formula)) return formula.result;
    if (formula.evaluating) return CellValue::makeError(ecRefErr);   // a circular reference
    if (stack.depth >= kDepthLimit) {
        stack.cutShort = true;
        stack.deferred.push_back({&sheet, row, column, &formula});
        return CellValue::makeError(ecValue);
    }
    ++stack.depth;
    formula.evaluating = true;
    CellValue result;
    try {
        result = Evaluator(sheet, row, column, *formula.expression).run();
    } catch (...) {
        formula.evaluating = false;
        --stack.depth;
        throw;
    }
    formula.evaluating = false;
    --stack.depth;
    if (!stack.cutShort) {
        formula.result = result;
        dependencies.computed(formula, sheet, row, column);
    }
    return result;
}

}  // namespace

CellValue evaluateFormula(SheetTable& sheet, int32_t row, int32_t column, CellFormula& formula) {
    if (stack.depth > 0) return evaluateOnce(sheet, row, column, formula);
    for (;;) {
        stack.cutShort = false;
        stack.deferred.clear();
        const CellValue result = evaluateOnce(sheet, row, column, formula);
        if (!stack.cutShort) return result;
        // The deepest formula reached first, from the bottom of a fresh stack; each round
        // keeps up to kDepthLimit more results, so this ends.
        const EvaluationStack::Deferred next = stack.deferred.back();
        evaluateFormula(*next.sheet, next.row, next.column, *next.formula);
    }
}

}  // namespace kes
