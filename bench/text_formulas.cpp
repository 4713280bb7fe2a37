// Text and date formulas as label sheets use them, over 50,000 rows: a date in Chinese numerals,
// an amount in upper-case numerals, a product code checked and reshaped by regular expressions,
// pieces cut by bytes, and a due date counted in working days.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

int main() {
    constexpr int32_t kRows = 50000;
    Workbook book;
    book.history().lock();
    SheetTable& sheet = *book.activeSheet();
    const std::u16string formulas[] = {
        u"=TEXT(A#,\"[DBNum1]yyyy\"\"\u5E74\"\"m\"\"\u6708\"\"d\"\"\u65E5\"\"\")",
        u"=TEXT(B#*100,\"[DBNum2]0\"\"\u5143\"\"0\"\"\u89D2\"\"0\"\"\u5206\"\"\")",
        u"=IF(REGEXTEST(C#,\"^[A-Z]{2}-\\d{4}$\"),REGEXREPLACE(C#,\"(\\w+)-(\\d+)\",\"$2/$1\"),\"bad\")",
        u"=LEFTB(D#,6)&\"|\"&TEXTJOIN(\"-\",TRUE,TEXTSPLIT(C#,\"-\"))",
        u"=WORKDAY(A#,B#,$A$1:$A$20)&\" \"&NUMBERSTRING(B#,2)",
    };
    for (int32_t r = 0; r < kRows; ++r) {
        const std::u16string row = bench::ascii(std::to_string(r + 1));
        sheet.createCell(r, 0).setText(bench::ascii(std::to_string(45000 + r % 3000)), 1);
        sheet.createCell(r, 1).setText(bench::ascii(std::to_string(r % 997) + ".25"), 1);
        sheet.createCell(r, 2).setText(bench::ascii((r % 10 ? "AB-" : "A-") + std::to_string(1000 + r % 9000)), 1);
        sheet.createCell(r, 3).setText(u"\u87BA\u4E1D M" + row, 1);
        for (int32_t k = 0; k < 5; ++k) {
            std::u16string f = formulas[k];
            for (size_t at = f.find(u'#'); at != std::u16string::npos; at = f.find(u'#', at)) {
                f.replace(at, 1, row);
                at += row.size();
            }
            sheet.createCell(r, 4 + k).setText(f, 1);
        }
    }
    double checks = 0;
    const double seconds = bench::seconds([&] {
        for (int32_t r = 0; r < kRows; ++r) {
            for (int32_t c = 4; c < 9; ++c) checks += double(sheet.getCell(r, c).formulaResult().type);
        }
    });
    std::printf("text and date formulas, %d rows x 5 (check %.0f)\n", kRows, checks);
    bench::report("full calculation", seconds * 1000, "ms", 0);
    bench::report("per formula", seconds * 1e6 / (kRows * 5.0), "us", 0);
    bench::report("peak resident memory", double(bench::peakResidentKiB()) / 1024, "MiB", 0);
    return 0;
}
