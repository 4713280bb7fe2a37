#pragma once
// The value kinds of a cell and a self-contained copy of a cell's value.
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

enum CellDataType : uint8_t {
    cdtBlank,
    cdtBoolean,
    cdtError,
    cdtCurrency,   // the amount times 10000 in a signed 64-bit integer
    cdtFloat,
    cdtDateTime,   // days since 1899-12-30, the fraction being the time of day
    cdtInteger,
    cdtString,
    cdtFormula,
};

// The last two are the errors of newer Excel: a result that cannot spill (#SPILL!) and a
// calculation the engine cannot do, such as an empty FILTER (#CALC!).
enum FormulaErrorCode : uint8_t { ecNone, ecNull, ecDivByZero, ecValue, ecRefErr, ecName, ecNUM, ecNA, ecSpill, ecCalc };

inline bool isNumericType(CellDataType type) { return type >= cdtCurrency && type <= cdtInteger; }

// A cell's value detached from the cell: what the undo history keeps, what a formula results
// in and what the display cache compares. For a formula, `text` is its formula text.
struct CellValue {
    CellDataType type = cdtBlank;
    union {
        bool boolean;
        FormulaErrorCode error;
        int64_t currency;
        double number;
        int32_t integer;
    };
    std::u16string text;

    CellValue() : currency(0) {}
    static CellValue makeBoolean(bool b) { CellValue v; v.type = cdtBoolean; v.boolean = b; return v; }
    static CellValue makeError(FormulaErrorCode e) { CellValue v; v.type = cdtError; v.error = e; return v; }
    static CellValue makeCurrency(int64_t scaled) { CellValue v; v.type = cdtCurrency; v.currency = scaled; return v; }
    static CellValue makeFloat(double d) { CellValue v; v.type = cdtFloat; v.number = d; return v; }
    static CellValue makeDateTime(double d) { CellValue v; v.type = cdtDateTime; v.number = d; return v; }
    static CellValue makeInteger(int32_t i) { CellValue v; v.type = cdtInteger; v.integer = i; return v; }
    static CellValue makeString(std::u16string_view s) { CellValue v; v.type = cdtString; v.text = s; return v; }
    static CellValue makeFormula(std::u16string_view f) { CellValue v; v.type = cdtFormula; v.text = f; return v; }

    // The value as a double: booleans 0/1, money unscaled, 0 for blank, error and text.
    double asFloat() const;

    friend bool operator==(const CellValue& a, const CellValue& b);
};

// The sheet's words for values: "TRUE"/"FALSE" and the error texts ("#DIV/0!"...).
std::u16string_view booleanText(bool value);
std::u16string_view errorText(FormulaErrorCode code);

}  // namespace kes
