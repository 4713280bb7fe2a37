// The math aggregates over a sheet of 100,000 rows (a category, an amount, a quantity): a
// summary of 100 SUMIF formulas over whole columns, the same with SUMIFS of two criteria,
// SUMPRODUCT of a condition, SUBTOTAL and AGGREGATE, and MINVERSE of a 200 x 200 matrix.
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

constexpr int32_t kRows = 100000;
constexpr int32_t kSummaryRows = 100;

// Enters `formula(i)` in kSummaryRows cells of column `column` and reads their results.
template <class Formula>
double summary(SheetTable& sheet, int32_t column, Formula&& formula) {
    double check = 0;
    const double time = bench::seconds([&] {
        for (int32_t i = 0; i < kSummaryRows; ++i) {
            CellRef cell = sheet.createCell(i, column);
            cell.setText(bench::ascii(formula(i)), 1);
            check += cell.formulaResult().number;
        }
    });
    std::printf("  (check %.2f)\n", check);
    return time * 1000;
}

}  // namespace

int main() {
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    for (int32_t r = 0; r < kRows; ++r) {
        sheet.createCell(r, 0).setText(bench::ascii("cat" + std::to_string(r % kSummaryRows)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string((r % 977) * 0.25)), 1);
        sheet.createCell(r, 2).setText(bench::ascii(std::to_string(r % 7)), 1);
    }
    const std::string all = std::to_string(kRows);
    std::printf("math aggregates over %d rows\n", kRows);

    bench::report("100 SUMIF over whole columns", summary(sheet, 5, [](int32_t i) {
        return "=SUMIF(A:A,\"cat" + std::to_string(i) + "\",B:B)";
    }), "ms", 0);
    bench::report("100 SUMIFS of two criteria", summary(sheet, 6, [](int32_t i) {
        return "=SUMIFS(B:B,A:A,\"cat" + std::to_string(i) + "\",C:C,\">2\")";
    }), "ms", 0);
    bench::report("100 SUMPRODUCT of a condition", summary(sheet, 7, [&](int32_t i) {
        return "=SUMPRODUCT((A1:A" + all + "=\"cat" + std::to_string(i) + "\")*B1:B" + all + ")";
    }), "ms", 0);
    bench::report("100 SUBTOTAL(9) and AGGREGATE(14)", summary(sheet, 8, [](int32_t i) {
        return "=SUBTOTAL(9,B:B)+AGGREGATE(14,6,B:B," + std::to_string(i + 1) + ")";
    }), "ms", 0);

    // A 200 x 200 matrix that is far from singular: a dominant diagonal.
    for (int32_t r = 0; r < 200; ++r) {
        for (int32_t c = 0; c < 200; ++c) {
            sheet.createCell(r, 10 + c).setText(bench::ascii(r == c ? "4" : std::to_string((r * c) % 5 * 0.01)), 1);
        }
    }
    CellRef inverse = sheet.createCell(0, 9);
    const double time = bench::seconds([&] {
        inverse.setText(u"=SUM(MINVERSE(K1:HB200))+LOG10(MDETERM(K1:HB200))", 1);
        std::printf("  (check %.9f)\n", inverse.formulaResult().number);
    });
    bench::report("MINVERSE and MDETERM of 200 x 200", time * 1000, "ms", 0);
    bench::report("peak resident memory", double(bench::peakResidentKiB()) / 1024, "MB", 0);
    return 0;
}
