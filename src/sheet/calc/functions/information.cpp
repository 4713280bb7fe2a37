// Information functions: what a value is (ISNUMBER, ISBLANK, TYPE, ERROR.TYPE...), N and T,
// and what a reference is (ISREF, ISFORMULA, SHEET, SHEETS, CELL, INFO).
#include <cmath>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/cell_formula.h"
#include "sheet/formula/cell_address.h"
#include "sheet/workbook.h"

namespace kes::calc {
namespace {

Value isBlank(Call& call) { return Value::boolean(call.scalar(0).isBlank() && !call.isMissing(0)); }
Value isNumber(Call& call) { return Value::boolean(call.scalar(0).isNumber()); }
Value isText(Call& call) { return Value::boolean(call.scalar(0).isText()); }
Value isNonText(Call& call) { return Value::boolean(!call.scalar(0).isText()); }
Value isLogical(Call& call) { return Value::boolean(call.scalar(0).isBoolean()); }
Value isError(Call& call) { return Value::boolean(call.scalar(0).isError()); }
Value isErr(Call& call) {
    const Value v = call.scalar(0);
    return Value::boolean(v.isError() && v.error() != ecNA);
}
Value isNa(Call& call) {
    const Value v = call.scalar(0);
    return Value::boolean(v.isError() && v.error() == ecNA);
}
Value isRef(Call& call) { return Value::boolean(call.arg(0).isReference()); }

// ISEVEN and ISODD take numbers (and numeric text); a boolean is #VALUE!.
Value isEvenOrOdd(Call& call, bool even) {
    const Value v = call.scalar(0);
    if (v.isBoolean()) return Value::error(ecValue);
    const double x = std::trunc(toNumber(v, call.settings()));
    return Value::boolean((std::fmod(std::fabs(x), 2.0) == 0) == even);
}
Value isEven(Call& call) { return isEvenOrOdd(call, true); }
Value isOdd(Call& call) { return isEvenOrOdd(call, false); }

bool holdsFormula(SheetTable& sheet, int32_t row, int32_t column) {
    const CellRef cell = sheet.getCell(row, column);
    return cell && cell.dataType() == cdtFormula &&
           (cell.cell()->formula->role != FormulaRole::ArrayMember || !cell.cell()->formula->dynamic);
}

// In an array formula, ISFORMULA answers for each cell of a range.
Value isFormula(Call& call) {
    const Value& ref = call.arg(0);
    if (ref.isError()) return ref;
    if (!ref.isReference()) return Value::error(ecValue);
    const Area& area = ref.area();
    if (call.mode() == Mode::Value || area.isCell()) {
        return Value::boolean(holdsFormula(*area.sheet, area.rect.top, area.rect.left));
    }
    const int64_t rows = int64_t(area.rect.bottom) - area.rect.top + 1, columns = int64_t(area.rect.right) - area.rect.left + 1;
    if (rows * columns > kMaxArrayElements) return Value::error(ecNUM);
    Matrix out{int32_t(rows), int32_t(columns)};
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < columns; ++c) {
            out.set(r, c, Value::boolean(holdsFormula(*area.sheet, area.rect.top + r, area.rect.left + c)));
        }
    }
    return Value::array(std::move(out));
}

// N and T read the first cell of a reference, wherever the formula stands.
Value firstValue(Call& call) {
    const Value& v = call.arg(0);
    if (!v.isReference()) return call.scalar(0);
    const Area& area = v.area();
    return call.evaluator().readCell(*area.sheet, area.rect.top, area.rect.left);
}

Value n(Call& call) {
    const Value v = firstValue(call);
    switch (v.kind()) {
    case ValueKind::Number: return v;
    case ValueKind::Boolean: return Value::number(v.number());
    case ValueKind::Error: return v;
    default: return Value::number(0);
    }
}

Value t(Call& call) {
    const Value v = firstValue(call);
    if (v.isError() || v.isText()) return v;
    return Value::text(u"");
}

Value na(Call&) { return Value::error(ecNA); }

Value type(Call& call) {
    const Value& v = call.arg(0);
    switch (v.kind()) {
    case ValueKind::Reference: {
        if (v.areaCount() > 1) return Value::error(ecValue);
        if (!v.area().isCell()) return Value::number(64);
        return Value::number([&] {
            const Value cell = call.scalar(0);
            switch (cell.kind()) {
            case ValueKind::Text: return 2;
            case ValueKind::Boolean: return 4;
            case ValueKind::Error: return 16;
            default: return 1;
            }
        }());
    }
    case ValueKind::Array: return Value::number(64);
    case ValueKind::Lambda: return Value::number(128);
    case ValueKind::Text: return Value::number(2);
    case ValueKind::Boolean: return Value::number(4);
    case ValueKind::Error: return Value::number(16);
    default: return Value::number(1);
    }
}

Value errorType(Call& call) {
    const Value v = call.scalar(0);
    if (!v.isError()) return Value::error(ecNA);
    switch (v.error()) {
    case ecSpill: return Value::number(9);
    case ecCalc: return Value::number(14);
    default: return Value::number(v.error());
    }
}

Value sheet(Call& call) {
    Workbook& book = call.evaluator().workbook();
    if (call.isMissing(0)) return Value::number(book.indexOf(call.evaluator().sheet()) + 1);
    const Value& v = call.arg(0);
    if (v.isReference()) return Value::number(book.indexOf(*v.area().sheet) + 1);
    if (v.isText()) {
        SheetTable* sheet = book.findSheet(v.text());
        return sheet ? Value::number(book.indexOf(*sheet) + 1) : Value::error(ecNA);
    }
    if (v.isError()) return v;
    return Value::error(ecNA);
}

Value sheets(Call& call) {
    if (call.isMissing(0)) return Value::number(call.evaluator().workbook().sheetCount());
    const Value& v = call.arg(0);
    if (v.isError()) return v;
    if (!v.isReference()) return Value::error(ecNA);
    std::vector<const SheetTable*> seen;
    for (size_t i = 0; i < v.areaCount(); ++i) {
        if (std::find(seen.begin(), seen.end(), v.area(i).sheet) == seen.end()) seen.push_back(v.area(i).sheet);
    }
    return Value::number(double(seen.size()));
}

// CELL for what a print room may ask of a cell: where it is and what it holds.
Value cell(Call& call) {
    const std::u16string what = lowerCase(call.text(0));
    Area area{&call.evaluator().sheet(), {call.evaluator().column(), call.evaluator().row(), call.evaluator().column(),
                                          call.evaluator().row()}};
    if (!call.isMissing(1)) {
        const Value& ref = call.arg(1);
        if (ref.isError()) return ref;
        if (!ref.isReference()) return Value::error(ecValue);
        area = ref.area();
    }
    const int32_t row = area.rect.top, column = area.rect.left;
    const Value content = call.evaluator().readCell(*area.sheet, row, column);
    if (what == u"row") return Value::number(row + 1);
    if (what == u"col") return Value::number(column + 1);
    if (what == u"address") {
        std::u16string text = u"$" + formula::columnLetters(column) + u"$" + numberToText(row + 1);
        return Value::text(std::move(text));
    }
    if (what == u"contents") return content.isBlank() ? Value::number(0) : content;
    if (what == u"type") return Value::text(content.isBlank() ? u"b" : content.isText() ? u"l" : u"v");
    if (what == u"filename") return Value::text(u"");
    if (what == u"sheetname") return Value::text(area.sheet->name());
    if (what == u"width") return Value::number(std::round(area.sheet->columnWidth(column) / 7.0));
    if (what == u"protect") return Value::number(1);
    if (what == u"prefix") return Value::text(content.isText() ? u"'" : u"");
    if (what == u"format") return Value::text(u"G");
    if (what == u"color" || what == u"parentheses") return Value::number(0);
    return Value::error(ecValue);
}

Value info(Call& call) {
    const std::u16string what = lowerCase(call.text(0));
    if (what == u"numfile") return Value::number(call.evaluator().workbook().sheetCount());
    if (what == u"recalc") return Value::text(u"Automatic");
    if (what == u"system") return Value::text(u"pcdos");
    if (what == u"release") return Value::text(u"16.0");
    if (what == u"osversion") return Value::text(u"Windows (32-bit) NT 10.00");
    if (what == u"origin") return Value::text(u"$A:$A$1");
    if (what == u"directory") return Value::text(u"");
    return Value::error(ecValue);
}

constexpr FunctionSpec kFunctions[] = {
    {u"ISBLANK", 1, 1, "V", isBlank, 129, kAnswersPastTheEnd},
    {u"ISNUMBER", 1, 1, "V", isNumber, 128, kAnswersPastTheEnd},
    {u"ISTEXT", 1, 1, "V", isText, 127, kAnswersPastTheEnd},
    {u"ISNONTEXT", 1, 1, "V", isNonText, 190, kAnswersPastTheEnd},
    {u"ISLOGICAL", 1, 1, "V", isLogical, 198, kAnswersPastTheEnd},
    {u"ISERROR", 1, 1, "V", isError, 3, kAnswersPastTheEnd},
    {u"ISERR", 1, 1, "V", isErr, 126, kAnswersPastTheEnd},
    {u"ISNA", 1, 1, "V", isNa, 2, kAnswersPastTheEnd},
    {u"ISREF", 1, 1, "R", isRef, 105},
    {u"ISEVEN", 1, 1, "V", isEven, kNoBiffId, kAddIn},
    {u"ISODD", 1, 1, "V", isOdd, kNoBiffId, kAddIn},
    {u"ISFORMULA", 1, 1, "R", isFormula, kNoBiffId, kFilePrefix},
    {u"N", 1, 1, "R", n, 131},
    {u"T", 1, 1, "R", t, 130},
    {u"NA", 0, 0, "V", na, 10},
    {u"TYPE", 1, 1, "R", type, 86},
    {u"ERROR.TYPE", 1, 1, "V", errorType, 261},
    {u"SHEET", 0, 1, "R", sheet, kNoBiffId, kFilePrefix},
    {u"SHEETS", 0, 1, "R", sheets, kNoBiffId, kFilePrefix},
    {u"CELL", 1, 2, "VR", cell, 125, kVolatile},
    {u"INFO", 1, 1, "V", info, 244, kVolatile},
};

}  // namespace

std::span<const FunctionSpec> informationFunctions() { return kFunctions; }

}  // namespace kes::calc
