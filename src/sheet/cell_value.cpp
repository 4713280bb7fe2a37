#include "sheet/cell_value.h"

namespace kes {

double CellValue::asFloat() const {
    switch (type) {
    case cdtBoolean: return boolean ? 1.0 : 0.0;
    case cdtCurrency: return double(currency) / 10000.0;
    case cdtFloat:
    case cdtDateTime: return number;
    case cdtInteger: return integer;
    default: return 0.0;
    }
}

bool operator==(const CellValue& a, const CellValue& b) {
    if (a.type != b.type) return false;
    switch (a.type) {
    case cdtBlank: return true;
    case cdtBoolean: return a.boolean == b.boolean;
    case cdtError: return a.error == b.error;
    case cdtCurrency: return a.currency == b.currency;
    case cdtFloat:
    case cdtDateTime: return a.number == b.number;
    case cdtInteger: return a.integer == b.integer;
    case cdtString:
    case cdtFormula: return a.text == b.text;
    }
    return false;
}

std::u16string_view booleanText(bool value) { return value ? u"TRUE" : u"FALSE"; }

std::u16string_view errorText(FormulaErrorCode code) {
    static constexpr std::u16string_view texts[] = {
        u"", u"#NULL!", u"#DIV/0!", u"#VALUE!", u"#REF!", u"#NAME?", u"#NUM!", u"#N/A", u"#SPILL!", u"#CALC!",
    };
    return code <= ecCalc ? texts[code] : texts[ecNone];
}

}  // namespace kes
