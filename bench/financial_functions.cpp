// The financial and engineering functions that loop, at the sizes their arguments allow: cash
// flows of 100,000 rows for IRR, XIRR and NPV, schedules of a million periods, bonds maturing
// thousands of coupons away, Bessel functions of high order; and CONVERT down a column. Each
// figure but the last is the time one formula takes to compute.
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
    // A: flows, one outflow then small inflows; B: their dates, a day apart.
    for (int32_t r = 0; r < kRows; ++r) {
        sheet.createCell(r, 0).setText(bench::ascii(r == 0 ? "-100000" : std::to_string(1 + r % 7)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string(40000 + r)), 1);
    }
    const std::string rows = std::to_string(kRows);
    const struct {
        const char* what;
        std::string formula;
    } cases[] = {
        {"IRR of 100,000 flows", "=IRR(A1:A" + rows + ",0.00001)"},
        {"XIRR of 100,000 dated flows", "=XIRR(A1:A" + rows + ",B1:B" + rows + ")"},
        {"NPV of 100,000 flows", "=NPV(0.01,A1:A" + rows + ")"},
        {"VDB over a million periods", "=VDB(1000000,0,1000000,0,1000000)"},
        {"CUMIPMT over a million periods", "=CUMIPMT(0.00001,1000000,1000,1,1000000,0)"},
        {"PRICE, quarterly coupons 1900..9999", "=PRICE(100,2958000,0.05,0.06,100,4)"},
        {"YIELD, quarterly coupons 1900..9999", "=YIELD(100,2958000,0.05,90,100,4)"},
        {"ACCRINT, quarterly coupons 1900..9999", "=ACCRINT(100,2958000,2957000,0.05,100,4,1)"},
        {"BESSELJ of order 10,000,000", "=BESSELJ(20000000,10000000)"},
        {"BESSELK of order 10,000,000", "=BESSELK(20000000,10000000)"},
    };
    std::printf("financial and engineering functions at their largest arguments\n");
    CellRef cell = sheet.createCell(kRows + 1, 3);
    for (const auto& c : cases) {
        std::u16string shown;
        const double seconds = bench::seconds([&] {
            cell.setText(bench::ascii(c.formula), 1);
            cell.formulaResult();
        });
        shown = cell.displayText();
        char label[96];
        std::snprintf(label, sizeof label, "%s (%s)", c.what, std::string(shown.begin(), shown.end()).c_str());
        bench::report(label, seconds * 1000, "ms", 0);
    }
    // CONVERT looks its units up by name in every cell of a column.
    for (int32_t r = 0; r < kRows; ++r) {
        sheet.createCell(r, 2).setText(bench::ascii("=CONVERT(A" + std::to_string(r + 1) + ",\"Nmi\",\"km\")"), 1);
    }
    double total = 0;
    const double seconds = bench::seconds([&] {
        for (int32_t r = 0; r < kRows; ++r) total += sheet.getCell(r, 2).formulaResult().number;
    });
    char label[96];
    std::snprintf(label, sizeof label, "100,000 CONVERTs (%g)", total);
    bench::report(label, seconds * 1000, "ms", 0);
    bench::report("peak resident memory", double(bench::peakResidentKiB()) / 1024, "MiB", 0);
    return 0;
}
