// Ctrl+D over 100,000 rows x 12 columns: the first row of label data (texts, numbers, a date,
// a formula) copied down the selection, recorded for undo, then undone.
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/editing/fill.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

struct Figures {
    double fillMs;
    double undoMs;
};

Figures fillDown(int32_t rows, bool withFormula) {
    Workbook book;
    SheetTable& sheet = *book.activeSheet();
    const char16_t* first[] = {u"\u5185\u516D\u89D2\u87BA\u6813", u"M6\u00D720", u"GB/T 70.1", u"200", u"6901234567890",
                               u"2026-11-22", u"B1", u"\u4E2A", u"12.5", u"SKU-1", u"\u4E0A\u6D77A\u5382",
                               withFormula ? u"=D2*I2" : u"\u5907\u6CE8"};
    for (int32_t c = 0; c < 12; ++c) sheet.createCell(1, c).setText(first[c], 1);
    book.history().clear();
    const double fill = bench::seconds([&] { fillFromEdge(sheet, {0, 1, 11, rows}, FillDirection::Down); });
    const double undo = bench::seconds([&] { book.history().undo(); });
    return {fill * 1000, undo * 1000};
}

}  // namespace

int main() {
    std::printf("fill down (Ctrl+D) of 100,000 rows x 12 columns, undo recorded\n");
    const Figures values = fillDown(100000, false);
    bench::report("fill down, values", values.fillMs, "ms", 1000);
    bench::report("undo of that fill", values.undoMs, "ms", 1000);
    const Figures formula = fillDown(100000, true);
    bench::report("fill down, a formula column among them", formula.fillMs, "ms", 0);
    return 0;
}
