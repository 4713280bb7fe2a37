#include "sheet/cell_ref.h"

#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "sheet/formula_eval.h"
#include "sheet/sheet_table.h"
#include "sheet/workbook.h"

namespace kes {

bool CellRef::isNumeric() const {
    return isNumericType(cell_->type == cdtFormula ? formulaResult().type : cell_->type);
}

CellValue CellRef::value() const {
    const SheetCell& c = *cell_;
    switch (c.type) {
    case cdtBlank: return {};
    case cdtBoolean: return CellValue::makeBoolean(c.boolean);
    case cdtError: return CellValue::makeError(c.error);
    case cdtCurrency: return CellValue::makeCurrency(c.currency);
    case cdtFloat: return CellValue::makeFloat(c.number);
    case cdtDateTime: return CellValue::makeDateTime(c.number);
    case cdtInteger: return CellValue::makeInteger(c.integer);
    case cdtString: return CellValue::makeString(c.string->text());
    case cdtFormula: return CellValue::makeFormula(c.formula->text);
    }
    return {};
}

CellValue CellRef::formulaResult() const {
    return cell_->type == cdtFormula ? evaluateFormula(*sheet_, row(), column(), *cell_->formula) : value();
}

const std::u16string& CellRef::formulaText() const {
    static const std::u16string none;
    if (cell_->type != cdtFormula) return none;
    const CellFormula& formula = *cell_->formula;
    if (formula.role == FormulaRole::ArrayMember) {
        // The other cells of an array formula show the formula of its top left cell.
        const CellRef anchor = sheet_->getCell(formula.array.top, formula.array.left);
        return anchor && anchor.dataType() == cdtFormula ? anchor.cell()->formula->text : none;
    }
    return formula.text;
}

double CellRef::asFloat() const { return formulaResult().asFloat(); }

void CellRef::releaseValue() {
    if (cell_->type == cdtString) sheet_->workbook().strings().release(cell_->string);
    else if (cell_->type == cdtFormula) {
        sheet_->workbook().formulas().forget(*cell_->formula);
        delete cell_->formula;
    }
    cell_->type = cdtBlank;
    cell_->currency = 0;
}

void CellRef::storeValue(const CellValue& value) {
    SheetCell& c = *cell_;
    switch (value.type) {
    case cdtBlank: break;
    case cdtBoolean: c.boolean = value.boolean; break;
    case cdtError: c.error = value.error; break;
    case cdtCurrency: c.currency = value.currency; break;
    case cdtFloat:
    case cdtDateTime: c.number = value.number; break;
    case cdtInteger: c.integer = value.integer; break;
    case cdtString: c.string = sheet_->workbook().strings().acquire(value.text); break;
    case cdtFormula:
        // Only a formula text that parsed once arrives here (undo, snapshots).
        if (auto expression = calc::compileFormula(value.text)) {
            c.formula = new CellFormula{value.text, std::move(expression), {}};
        } else {
            c.string = sheet_->workbook().strings().acquire(value.text);
            c.type = cdtString;
            return;
        }
        break;
    }
    c.type = value.type;
}

void CellRef::recordChange() {
    UndoHistory& history = sheet_->workbook().history();
    if (history.acceptsCommands()) history.record(*sheet_, row(), column(), sheet_->cellState(row(), column()));
}

void CellRef::finishChange() {
    sheet_->changed();
    sheet_->workbook().formulas().cellChanged(*sheet_, row(), column());
    sheet_->workbook().modified = true;
}

void CellRef::replaceValue(const CellValue& value) {
    recordChange();
    releaseValue();
    storeValue(value);
    finishChange();
}

void CellRef::setValue(const CellValue& value) {
    if (value.type == cdtString) setText(value.text, 1);
    else if (value.type == cdtFormula) setFormula(value.text);
    else replaceValue(value);
}

void CellRef::setError(FormulaErrorCode code) { replaceValue(CellValue::makeError(code)); }
void CellRef::setString(std::u16string_view text) {
    recordChange();
    // Acquire before releasing: the text may be the cell's own shared string.
    SharedString* entry = sheet_->workbook().strings().acquire(text);
    releaseValue();
    cell_->string = entry;
    cell_->type = cdtString;
    finishChange();
}
void CellRef::setSharedString(SharedString* entry) {
    recordChange();
    sheet_->workbook().strings().addRef(entry);
    releaseValue();
    cell_->string = entry;
    cell_->type = cdtString;
    finishChange();
}
void CellRef::clear() { replaceValue(CellValue{}); }

bool CellRef::setFormula(std::u16string_view text) {
    auto expression = calc::compileFormula(text);
    if (!expression) return false;
    recordChange();
    releaseValue();
    cell_->formula = new CellFormula{std::u16string(text), std::move(expression), {}};
    cell_->type = cdtFormula;
    finishChange();
    return true;
}

namespace {

std::unique_ptr<CellFormula> formulaFromFile(std::u16string_view text) {
    auto formula = std::make_unique<CellFormula>();
    std::u16string full = text.starts_with(u'=') ? std::u16string(text) : u"=" + std::u16string(text);
    formula->expression = calc::compileFormula(full);
    formula->text = formula->expression ? formula::formulaText(*formula->expression) : std::move(full);
    return formula;
}

}  // namespace

void CellRef::installFormula(std::unique_ptr<CellFormula> formula) {
    recordChange();
    releaseValue();
    cell_->formula = formula.release();
    cell_->type = cdtFormula;
    finishChange();
}

void CellRef::setFileFormula(std::u16string_view text) { installFormula(formulaFromFile(text)); }

void CellRef::setArrayFormula(std::u16string_view fileText, const CellRect& area, bool dynamic) {
    std::unique_ptr<CellFormula> formula = formulaFromFile(fileText);
    formula->role = FormulaRole::ArrayAnchor;
    formula->array = area;
    formula->dynamic = dynamic;
    installFormula(std::move(formula));
    cell_->inArray = true;
}

void CellRef::setArrayMember(const CellRect& area, bool dynamic) {
    auto formula = std::make_unique<CellFormula>();
    formula->role = FormulaRole::ArrayMember;
    formula->array = area;
    formula->dynamic = dynamic;
    installFormula(std::move(formula));
    cell_->inArray = true;
}

const CellFormula* CellRef::formula() const { return cell_->type == cdtFormula ? cell_->formula : nullptr; }

void CellRef::setStyle(uint16_t style) {
    if (cell_->style == style) return;
    recordChange();
    cell_->style = style;
    finishChange();
}

const std::u16string& CellRef::numberFormat() const { return sheet_->workbook().styles()[cell_->style].numberFormat; }

bool CellRef::showsFormula() const {
    switch (cell_->showFormula) {
    case ShowFormula::On: return true;
    case ShowFormula::Off: return false;
    case ShowFormula::Default: break;
    }
    return sheet_->showFormulas;
}

}  // namespace kes
