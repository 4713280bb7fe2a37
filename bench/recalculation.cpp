// Recalculation over a sheet of 100,000 rows: each row has two inputs and three formulas on its
// own row, and one cell sums a formula column. The full calculation computes every formula; a
// change of one input then recalculates what reads it, and the sum.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

int main() {
    constexpr int32_t kRows = 100000;
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    for (int32_t r = 0; r < kRows; ++r) {
        const std::string n = std::to_string(r + 1);
        sheet.createCell(r, 0).setText(bench::ascii(std::to_string(r % 97)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string((r % 13) * 0.25)), 1);
        sheet.createCell(r, 2).setText(bench::ascii("=A" + n + "*B" + n), 1);
        sheet.createCell(r, 3).setText(bench::ascii("=ROUND(C" + n + "*1.13,2)"), 1);
        sheet.createCell(r, 4).setText(bench::ascii("=IF(D" + n + ">100,\"bulk\",\"unit\")&\"-\"&A" + n), 1);
    }
    CellRef total = sheet.createCell(kRows, 3);
    total.setText(bench::ascii("=SUM(D1:D" + std::to_string(kRows) + ")"), 1);

    const auto readAll = [&] {
        double sum = 0;
        for (int32_t r = 0; r < kRows; ++r) {
            for (int32_t c = 2; c <= 4; ++c) sum += int(sheet.getCell(r, c).formulaResult().type);
        }
        return sum + total.formulaResult().number;
    };

    auto start = std::chrono::steady_clock::now();
    const double first = readAll();
    const double full = bench::msSince(start);

    // One input changes; the sum and the changed row's formulas are all that is computed again.
    start = std::chrono::steady_clock::now();
    sheet.getCell(5000, 0).setText(u"1000", 1);
    const double after = total.formulaResult().number + int(sheet.getCell(5000, 4).formulaResult().type);
    const double change = bench::msSince(start);

    start = std::chrono::steady_clock::now();
    const double again = readAll();
    const double reread = bench::msSince(start);

    std::printf("recalculation, %d rows x 3 formulas and a SUM (checks %.0f %.0f %.0f)\n", kRows, first, after, again);
    bench::report("full calculation", full, "ms", 0);
    bench::report("one input changed: the sum and its row", change, "ms", 0);
    bench::report("reading every result after the change", reread, "ms", 0);
    bench::report("formulas tracked", double(book.formulas().trackedFormulas()), "", 0);
    return 0;
}
