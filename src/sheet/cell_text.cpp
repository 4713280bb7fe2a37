// Cell text both ways: setting a cell from typed text, and the texts a cell shows.
#include <charconv>
#include <cmath>
#include <cstring>

#include "sheet/cell_formula.h"
#include "sheet/cell_ref.h"
#include "sheet/format/number_format.h"
#include "sheet/sheet_error.h"
#include "sheet/sheet_table.h"
#include "sheet/text_to_value.h"
#include "sheet/workbook.h"

namespace kes {
namespace {

char16_t upper(char16_t c) { return (c >= u'a' && c <= u'z') ? c - 32 : c; }

// The error code whose word equals the text, ignoring case; ecNone for the empty text and for
// every other text.
FormulaErrorCode errorWordOf(std::u16string_view text) {
    if (text.size() < 4 || text.front() != u'#') return ecNone;
    for (uint8_t code = ecNull; code <= ecNA; ++code) {
        const std::u16string_view word = errorText(FormulaErrorCode(code));
        if (word.size() != text.size()) continue;
        size_t i = 0;
        while (i < word.size() && upper(text[i]) == word[i]) ++i;
        if (i == word.size()) return FormulaErrorCode(code);
    }
    return ecNone;
}

std::u16string asciiText(std::string_view s) { return std::u16string(s.begin(), s.end()); }

// The shortest decimal text that reads back as the same double, with Excel's "E" exponent.
std::u16string shortestText(double value) {
    if (value == 0) return u"0";
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::u16string text = asciiText(std::string_view(buffer, static_cast<size_t>(end - buffer)));
    for (char16_t& c : text) if (c == u'e') c = u'E';
    return text;
}

std::u16string currencyPlainText(int64_t scaled) {
    const bool negative = scaled < 0;
    const uint64_t magnitude = negative ? 0 - static_cast<uint64_t>(scaled) : static_cast<uint64_t>(scaled);
    std::u16string text = asciiText(std::to_string(magnitude / 10000));
    if (uint64_t fraction = magnitude % 10000) {
        std::string digits = std::to_string(10000 + fraction).substr(1);
        while (digits.back() == '0') digits.pop_back();
        text += u'.' + asciiText(digits);
    }
    return negative ? u'-' + text : text;
}

std::u16string dateTimeText(double serial, const FormatSettings& settings) {
    return formatNumber(serial, u"", settings, NumberHint::DateTime).text;
}

// The plain text of a value, as the "as string" of a cell gives it.
std::u16string plainText(const CellValue& v, bool dateFormat, const FormatSettings& settings) {
    switch (v.type) {
    case cdtBlank:
    case cdtError: return {};
    case cdtBoolean: return std::u16string(booleanText(v.boolean));
    case cdtCurrency: return currencyPlainText(v.currency);
    case cdtFloat: return dateFormat ? dateTimeText(v.number, settings) : shortestText(v.number);
    case cdtDateTime: return dateTimeText(v.number, settings);
    case cdtInteger: return asciiText(std::to_string(v.integer));
    case cdtString:
    case cdtFormula: return v.text;
    }
    return {};
}

uint64_t valueBits(const CellValue& v) {
    uint64_t bits = 0;
    switch (v.type) {
    case cdtFloat:
    case cdtDateTime: std::memcpy(&bits, &v.number, sizeof bits); break;
    case cdtCurrency: bits = static_cast<uint64_t>(v.currency); break;
    case cdtInteger: bits = static_cast<uint32_t>(v.integer); break;
    default: break;
    }
    return bits;
}

NumberHint hintOf(CellDataType type) {
    if (type == cdtDateTime) return NumberHint::DateTime;
    if (type == cdtCurrency) return NumberHint::Currency;
    return NumberHint::Plain;
}

}  // namespace

void CellRef::setText(std::u16string_view text, uint8_t flag) {
    Workbook& book = sheet_->workbook();
    if (cell_->inArray && !book.suspendArrayCheck) throw ESheetError("You cannot change part of an array.");
    if (const FormulaErrorCode error = errorWordOf(text); error != ecNone) {
        setError(error);
        return;
    }
    if (isTextFormat(numberFormat())) {
        setString(text);
        return;
    }
    if (auto value = textToValue(text, book.settings())) {
        replaceValue(*value);
        return;
    }
    if (flag == 0) {
        setString(text);
        return;
    }
    if (cell_->type == cdtFormula && cell_->formula->text == text) return;
    if (!setFormula(text)) setString(text);
}

std::u16string CellRef::asString() const {
    if (cell_->type == cdtFormula) {
        if (showsFormula()) return cell_->formula->text;
        return plainText(formulaResult(), false, sheet_->workbook().settings());
    }
    const bool dateFormat = cell_->type == cdtFloat && isDateTimeFormat(numberFormat());
    return plainText(value(), dateFormat, sheet_->workbook().settings());
}

std::u16string CellRef::displayText() const {
    if (cell_->type == cdtBlank) return {};
    if (cell_->type == cdtString) {
        const std::u16string& code = numberFormat();
        if (code.empty()) return std::u16string(cell_->string->text());
        return formatText(cell_->string->text(), code).text;
    }
    if (cell_->type == cdtFormula) {
        if (showsFormula()) return cell_->formula->text;
        const CellValue result = formulaResult();
        switch (result.type) {
        case cdtBlank: return {};
        case cdtBoolean: return std::u16string(booleanText(result.boolean));
        case cdtError: return std::u16string(errorText(result.error));
        case cdtString: return formatText(result.text, numberFormat()).text;
        default: return numberText(result.type, result.asFloat(), valueBits(result));
        }
    }
    switch (cell_->type) {
    case cdtBoolean: return std::u16string(booleanText(cell_->boolean));
    case cdtError: return std::u16string(errorText(cell_->error));
    case cdtCurrency: return numberText(cdtCurrency, double(cell_->currency) / 10000.0, uint64_t(cell_->currency));
    case cdtInteger: return numberText(cdtInteger, cell_->integer, uint32_t(cell_->integer));
    default: {
        uint64_t bits;
        std::memcpy(&bits, &cell_->number, sizeof bits);
        return numberText(cell_->type, cell_->number, bits);
    }
    }
}

std::optional<uint32_t> CellRef::displayColour() const {
    const std::u16string& code = numberFormat();
    // Only a bracket names a colour; most cells need no second pass through the formatter.
    if (code.find(u'[') == std::u16string::npos || cell_->type == cdtBlank) return std::nullopt;
    const Workbook& book = sheet_->workbook();
    const CellValue shown = cell_->type == cdtFormula ? formulaResult() : value();
    switch (shown.type) {
    case cdtString: return formatText(shown.text, code).color;
    case cdtBlank:
    case cdtBoolean:
    case cdtError: return std::nullopt;
    default: return formatNumber(shown.asFloat(), code, book.settings(), hintOf(shown.type)).color;
    }
}

// A number through the cell's format, remembered by value, style and settings.
std::u16string CellRef::numberText(CellDataType type, double number, uint64_t bits) const {
    if (number == 0 && !sheet_->showsZeroValues()) return {};
    Workbook& book = sheet_->workbook();
    const DisplayCache::Key key{type, cell_->style, book.settingsGeneration(), bits};
    if (const std::u16string* cached = book.displayCache().find(key)) return *cached;
    std::u16string text = formatNumber(number, numberFormat(), book.settings(), hintOf(type)).text;
    book.displayCache().store(key, text);
    return text;
}

}  // namespace kes
