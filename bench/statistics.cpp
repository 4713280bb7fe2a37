// Statistical functions over a column of 100,000 rows: criteria over whole columns, sorted
// statistics, correlation and a fit of the column, and a thousand cells of inverse
// distributions, each of which searches for its root.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

// The time to compute one formula entered in a free cell.
double msOf(SheetTable& sheet, const std::string& formula, double& check) {
    CellRef cell = sheet.createCell(0, 10);
    const auto start = std::chrono::steady_clock::now();
    cell.setText(bench::ascii(formula), 1);
    check += cell.formulaResult().number;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
    constexpr int32_t kRows = 100000;
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    for (int32_t r = 0; r < kRows; ++r) {
        sheet.createCell(r, 0).setText(bench::ascii(std::to_string((r * 7919) % 1000)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(r % 3 ? "north" : "south"), 1);
        sheet.createCell(r, 2).setText(bench::ascii(std::to_string(r % 17 + 0.5 * (r % 5))), 1);
    }
    double check = 0;
    std::printf("statistical functions over %d rows\n", kRows);
    bench::report("COUNTIFS over whole columns", msOf(sheet, "=COUNTIFS(B:B,\"north\",A:A,\">500\")", check), "ms", 0);
    bench::report("AVERAGEIFS over whole columns", msOf(sheet, "=AVERAGEIFS(C:C,B:B,\"south\",A:A,\"<250\")", check), "ms", 0);
    bench::report("MEDIAN of a column", msOf(sheet, "=MEDIAN(A:A)", check), "ms", 0);
    bench::report("PERCENTRANK.INC of a column", msOf(sheet, "=PERCENTRANK.INC(A:A,333.3)", check), "ms", 0);
    bench::report("MODE.SNGL of a column", msOf(sheet, "=MODE.SNGL(A:A)", check), "ms", 0);
    bench::report("CORREL of two columns", msOf(sheet, "=CORREL(A1:A100000,C1:C100000)", check), "ms", 0);
    bench::report("LINEST of a column on two variables", msOf(sheet, "=INDEX(LINEST(C1:C100000,A1:A100000^{1,2},TRUE,TRUE),3,1)", check), "ms", 0);

    const auto start = std::chrono::steady_clock::now();
    for (int32_t r = 0; r < 1000; ++r) {
        const std::string p = std::to_string((r + 0.5) / 1000);
        sheet.createCell(r, 4).setText(bench::ascii("=NORM.S.INV(" + p + ")"), 1);
        sheet.createCell(r, 5).setText(bench::ascii("=T.INV(" + p + "," + std::to_string(r % 50 + 1) + ")"), 1);
        sheet.createCell(r, 6).setText(bench::ascii("=CHISQ.INV(" + p + "," + std::to_string(r % 200 + 1) + ")"), 1);
        sheet.createCell(r, 7).setText(bench::ascii("=BETA.INV(" + p + ",2.5," + std::to_string(r % 30 + 1) + ")"), 1);
        for (int32_t c = 4; c <= 7; ++c) check += sheet.getCell(r, c).formulaResult().number;
    }
    const double inverses = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    bench::report("4,000 inverse distributions", inverses, "ms", 0);
    std::printf("  (check %.6g)\n", check);
    return 0;
}
