// A label sheet of 100,000 rows whose eight formula columns use two dozen functions the way ERP
// exports do: exact lookups into a 1,000-row price list (VLOOKUP, XLOOKUP, INDEX/MATCH),
// conditional sums and counts over it, texts built from codes and dates, and date arithmetic.
// The full calculation computes every formula; one changed code then recalculates its row.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

std::string code(int n) {
    char text[16];
    std::snprintf(text, sizeof text, "SKU-%05d", n);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    const int32_t kRows = argc > 1 ? std::atoi(argv[1]) : 100000;
    constexpr int32_t kPrices = 1000;
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    const char* const categories[] = {"bolt", "nut", "washer", "screw", "pin"};
    // The price list at P1:R1000: code, price, category.
    for (int32_t r = 0; r < kPrices; ++r) {
        sheet.createCell(r, 15).setText(bench::ascii(code(r * 3)), 1);
        sheet.createCell(r, 16).setText(bench::ascii(std::to_string(1 + r % 97)), 1);
        sheet.createCell(r, 17).setText(bench::ascii(categories[r % 5]), 1);
    }
    const std::string list = "$P$1:$P$1000", prices = "$Q$1:$Q$1000", kinds = "$R$1:$R$1000";
    const std::string formulas[] = {
        "=IFERROR(VLOOKUP(A#,$P$1:$Q$1000,2,FALSE),\"?\")",
        "=XLOOKUP(A#," + list + "," + kinds + ",\"none\")",
        "=IFNA(INDEX(" + prices + ",MATCH(A#," + list + ",0))*B#,0)",
        "=SUMIFS(" + prices + "," + kinds + ",E#)+COUNTIFS(" + kinds + ",E#," + prices + ",\">50\")",
        "=TEXT(D#,\"yyyy-mm-dd\")&\" \"&UPPER(LEFT(E#,3))&\"-\"&RIGHT(A#,4)",
        "=SUBSTITUTE(TRIM(A#),\"-\",\"\")&TEXTJOIN(\"/\",TRUE,E#,B#)",
        "=EOMONTH(D#,1)-EDATE(D#,-1)+WEEKDAY(D#,2)+NETWORKDAYS(D#,D#+30)",
        "=ROUND(MOD(B#*C#,7),2)+INT(ABS(C#))+LEN(E#)+YEAR(D#)",
    };
    for (int32_t r = 0; r < kRows; ++r) {
        const std::string n = std::to_string(r + 1);
        sheet.createCell(r, 0).setText(bench::ascii(code(r % 3500)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string(1 + r % 12)), 1);
        sheet.createCell(r, 2).setText(bench::ascii(std::to_string((r % 400) * 0.25)), 1);
        sheet.createCell(r, 3).setText(bench::ascii(std::to_string(45000 + r % 700)), 1);
        sheet.createCell(r, 4).setText(bench::ascii(categories[r % 5]), 1);
        for (int32_t f = 0; f < 8; ++f) {
            std::string text = formulas[f];
            for (size_t at; (at = text.find('#')) != std::string::npos;) text.replace(at, 1, n);
            sheet.createCell(r, 5 + f).setText(bench::ascii(text), 1);
        }
    }
    const auto readAll = [&] {
        double sum = 0;
        for (int32_t r = 0; r < kRows; ++r) {
            for (int32_t c = 5; c < 13; ++c) sum += int(sheet.getCell(r, c).formulaResult().type);
        }
        return sum;
    };

    auto start = std::chrono::steady_clock::now();
    const double first = readAll();
    const double full = bench::msSince(start);

    start = std::chrono::steady_clock::now();
    sheet.getCell(5000, 0).setText(u"SKU-00003", 1);
    double after = 0;
    for (int32_t c = 5; c < 13; ++c) after += int(sheet.getCell(5000, c).formulaResult().type);
    const double change = bench::msSince(start);

    std::printf("label functions, %d rows x 8 formulas of 24 functions, a 1,000-row price list (checks %.0f %.0f)\n",
                kRows, first, after);
    bench::report("full calculation", full, "ms", 0);
    bench::report("one code changed: its row", change, "ms", 0);
    bench::report("peak resident", bench::peakResidentKiB() / 1024.0, "MB", 0);
    return 0;
}
