// Fills a label sheet of 100,000 rows x 10 columns through create cell + set text, reads every
// display text back in order, then looks cells up at random rows; and makes whole rows of
// cells in a random column order, as a file may list them.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

constexpr int32_t kRows = 100000;
constexpr int32_t kColumns = 10;

const char16_t* const kNames[] = {u"\u87BA\u4E1D", u"\u87BA\u6BCD", u"\u5783\u5708", u"\u8F74\u627F", u"\u6CD5\u5170"};
const char16_t* const kUnits[] = {u"\u4E2A", u"\u7BB1", u"\u5305"};

// The ten texts of one label row: id, code, name, size, barcode, quantity, price, date, unit, batch.
void rowTexts(int32_t i, std::u16string (&texts)[kColumns]) {
    char code[16];
    std::snprintf(code, sizeof code, "SKU-%06d", i);
    texts[0] = bench::ascii(std::to_string(i));
    texts[1] = bench::ascii(code);
    texts[2] = std::u16string(kNames[i % 5]) + u"\u4EA7\u54C1" + bench::ascii(std::to_string(i % 40));
    texts[3] = u"M" + bench::ascii(std::to_string(4 + i % 8)) + u"\u00D7" + bench::ascii(std::to_string(10 + i % 30));
    texts[4] = bench::ascii(std::to_string(6901234500000LL + i));
    texts[5] = bench::ascii(std::to_string(1 + i % 500));
    texts[6] = bench::ascii(std::to_string(i % 1000)) + u"." + bench::ascii(std::to_string(10 + i % 90));
    texts[7] = u"2026-" + bench::ascii(std::to_string(1 + i % 12)) + u"-" + bench::ascii(std::to_string(1 + i % 28));
    texts[8] = kUnits[i % 3];
    texts[9] = u"B2611-" + bench::ascii(std::to_string(i / 1000));
}

}  // namespace

int main() {
    const long rssBefore = bench::residentKiB();
    Workbook book;
    book.history().lock();   // as a load fills a sheet; typing records undo steps instead
    SheetTable& sheet = *book.activeSheet();

    std::u16string texts[kColumns];
    double fillNs = 0;
    for (int32_t r = 0; r < kRows; ++r) {
        rowTexts(r, texts);
        const auto start = std::chrono::steady_clock::now();
        for (int32_t c = 0; c < kColumns; ++c) sheet.createCell(r, c).setText(texts[c], 1);
        fillNs += std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    }
    const double cells = double(kRows) * kColumns;
    const long rssFilled = bench::residentKiB();

    size_t checksum = 0;
    const auto readStart = std::chrono::steady_clock::now();
    for (int32_t r = 0; r < kRows; ++r) {
        for (int32_t c = 0; c < kColumns; ++c) {
            const CellRef cell = sheet.getCell(r, c);
            checksum += cell ? cell.displayText().size() : 0;
        }
    }
    const double readNs = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - readStart).count();
    const long peak = bench::peakResidentKiB();

    std::mt19937 random(42);
    std::uniform_int_distribution<int32_t> row(0, kRows - 1);
    std::uniform_int_distribution<int32_t> column(0, kColumns - 1);
    const int lookups = 100000;
    const auto randomStart = std::chrono::steady_clock::now();
    for (int i = 0; i < lookups; ++i) checksum += sheet.getCell(row(random), column(random)) ? 1 : 0;
    const double randomNs = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - randomStart).count();

    std::printf("cell store: %d rows x %d columns, checksum %zu\n", kRows, kColumns, checksum);
    bench::report("set text (create cell + set text)", fillNs / cells, "ns/cell", 250);
    bench::report("display text read in order", readNs / cells, "ns/cell", 60);
    bench::report("memory after fill", (rssFilled - rssBefore) * 1024.0 / cells, "bytes/cell", 64);
    bench::report("peak memory after reading", (peak - rssBefore) * 1024.0 / cells, "bytes/cell", 64);
    bench::report("get cell at random rows", randomNs / lookups, "ns/call", 0);

    Workbook shuffledBook;
    SheetTable& shuffled = *shuffledBook.activeSheet();
    std::vector<int32_t> order(16384);
    for (int32_t c = 0; c < 16384; ++c) order[size_t(c)] = c;
    const auto shuffledStart = std::chrono::steady_clock::now();
    for (int32_t r = 0; r < 20; ++r) {
        std::shuffle(order.begin(), order.end(), random);
        for (int32_t c : order) shuffled.createCell(r, c);
    }
    const double shuffledNs = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - shuffledStart).count();
    bench::report("create 20 rows of 16,384 cells, random order", shuffledNs / (20 * 16384), "ns/cell", 0);
    return 0;
}
