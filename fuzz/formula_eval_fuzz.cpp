// Fuzz target: the evaluator. Any text typed into a cell of a workbook with values of every kind,
// a defined name, a LAMBDA under a name and a table is computed as a cell formula and as an array
// formula, and a formula reading that cell is computed after it. Nothing may crash, hang or
// leave the evaluation with an exception.
#include <cstdint>
#include <string>

#include "fuzz_common.h"
#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "text/utf8.h"

using namespace kes;

namespace {

Workbook& prepared() {
    static Workbook book;
    static bool filled = false;
    if (filled) return book;
    filled = true;
    fuzz::fillKnown(book);
    SheetTable& sheet = *book.activeSheet();
    const char16_t* const rows[][4] = {{u"Item", u"Qty", u"Price", u"When"},
                                       {u"Bolt", u"12", u"0.5", u"2026-11-23"},
                                       {u"Nut", u"", u"#N/A", u"TRUE"},
                                       {u"螺丝", u"-3", u"abc", u"=B2*C2"}};
    for (int32_t r = 0; r < 4; ++r) {
        for (int32_t c = 0; c < 4; ++c) sheet.createCell(r + 20, c).setText(rows[r][c], 1);
    }
    book.tables().add({u"Stock", 0, {0, 20, 3, 23}, true, false, {u"Item", u"Qty", u"Price", u"When"}});
    for (const auto& [name, text] : {std::pair{u"Rate", u"=0.13"}, {u"Items", u"=Sheet1!$A$21:$A$24"},
                                     {u"Twice", u"=LAMBDA(x,x*2)"}, {u"Loop", u"=Loop+1"}}) {
        book.names().define({name, -1, text, std::shared_ptr<const formula::Expression>(calc::compileFormula(text))});
    }
    book.namesChanged();
    return book;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 4096) return 0;
    Workbook& book = prepared();
    SheetTable& sheet = *book.activeSheet();
    const std::u16string text = u"=" + fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    CellRef cell = sheet.createCell(30, 5);
    CellRef reader = sheet.createCell(31, 5);
    reader.setText(u"=F31&\"\"", 1);
    cell.setText(text, 1);
    (void)cell.displayText();
    (void)reader.displayText();
    if (cell.dataType() == cdtFormula) {
        CellRef array = sheet.createCell(40, 5);
        array.setArrayFormula(text, {5, 40, 6, 41}, true);
        sheet.createCell(41, 6).setArrayMember({5, 40, 6, 41}, true);
        (void)sheet.getCell(41, 6).displayText();
        array.clear();
        sheet.getCell(41, 6).clear();
    }
    cell.clear();
    return 0;
}
