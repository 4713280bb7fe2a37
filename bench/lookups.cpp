// Lookups over a table of 20,000 rows: exact and sorted VLOOKUP, INDEX/MATCH and XLOOKUP, one
// formula per row, then the dynamic-array functions over the whole table.
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

// Every formula of a column computed once, its results read.
double computeColumn(SheetTable& sheet, int32_t rows, int32_t column) {
    double check = 0;
    for (int32_t r = 0; r < rows; ++r) check += sheet.getCell(r, column).formulaResult().asFloat();
    return check;
}

}  // namespace

int main() {
    constexpr int32_t kRows = 20000;
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    for (int32_t r = 0; r < kRows; ++r) {
        const std::string n = std::to_string(r + 1);
        // Keys in a shuffled order, sorted numbers, and the values looked up.
        sheet.createCell(r, 0).setText(bench::ascii("K" + std::to_string((r * 7919) % kRows)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string(r * 3)), 1);
        sheet.createCell(r, 2).setText(bench::ascii(std::to_string(r % 101)), 1);
        sheet.createCell(r, 4).setText(bench::ascii("=VLOOKUP(\"K" + n + "\",$A$1:$C$20000,3,FALSE)"), 1);
        sheet.createCell(r, 5).setText(bench::ascii("=VLOOKUP(" + std::to_string(r * 3 + 1) + ",$B:$C,2)"), 1);
        sheet.createCell(r, 6).setText(bench::ascii("=INDEX($C:$C,MATCH(\"K" + n + "\",$A:$A,0))"), 1);
        sheet.createCell(r, 7).setText(bench::ascii("=XLOOKUP(\"K" + n + "\",$A$1:$A$20000,$C$1:$C$20000,0)"), 1);
    }
    std::printf("lookups, %d rows of data and a formula of each kind on each row\n", kRows);
    const char* names[] = {"VLOOKUP exact, text keys", "VLOOKUP sorted, whole columns", "INDEX/MATCH exact, whole columns",
                           "XLOOKUP exact"};
    double check = 0;
    for (int32_t c = 4; c <= 7; ++c) {
        const double s = bench::seconds([&] { check += computeColumn(sheet, kRows, c); });
        bench::report(names[c - 4], s * 1000, "ms", 0);
    }
    const char* arrays[] = {"=SUM(SORT(C1:C20000))", "=ROWS(UNIQUE(A1:A20000))", "=SUM(FILTER(C:C,C:C>50))",
                            "=ROWS(GROUPBY(C1:C20000,B1:B20000,SUM))"};
    for (const char* formula : arrays) {
        CellRef cell = sheet.createCell(kRows + 1, 0);
        cell.setText(bench::ascii(formula), 1);
        const double s = bench::seconds([&] { check += cell.formulaResult().asFloat(); });
        bench::report(formula, s * 1000, "ms", 0);
    }
    std::printf("  (check %.0f, peak %ld KiB)\n", check, bench::peakResidentKiB());
    return 0;
}
