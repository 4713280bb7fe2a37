// Loads and saves the label workbook that bench/make_label_workbook.py writes (100,000 rows x
// 12 columns): xlsx load (with the rollback snapshot), xlsx save, native snapshot save and load;
// the first 65,536 rows (what an .xls holds) saved as .xls and loaded back; and, when it is
// given, the same workbook as LibreOffice saves it in .ods.
// The load is timed three times, each into a fresh workbook, and the median is the figure: the
// machines here are shared, and one run can take half as long again as the next.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "bench_util.h"
#include "text/utf8.h"
#include "workbook/workbook_files.h"

using namespace kes;

namespace {

// The median of three timed loads of the file, and each of them.
double medianLoad(const std::u16string& file, double runs[3]) {
    for (int i = 0; i < 3; ++i) {
        Workbook book;
        runs[i] = bench::seconds([&] { LoadFromFile(book, file); });
    }
    double sorted[3] = {runs[0], runs[1], runs[2]};
    std::sort(sorted, sorted + 3);
    return sorted[1];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: bench_workbook_files WORKBOOK.xlsx [WORKBOOK.ods]\n");
        return 2;
    }
    const std::u16string input = fromUtf8(argv[1]);
    const std::u16string output = input + u".saved.xlsx";
    const long before = bench::residentKiB();
    Workbook book;
    const double firstLoad = bench::seconds([&] { LoadFromFile(book, input); });
    const long peak = bench::peakResidentKiB();
    double loads[3];
    const double load = medianLoad(input, loads);
    const double save = bench::seconds([&] { SaveToFile(book, output); });
    std::string snapshot;
    const double snapshotSave = bench::seconds([&] { SaveToStream(book, snapshot); });
    Workbook restored;
    ByteStream stream{snapshot, 0};
    const double snapshotLoad = bench::seconds([&] { LoadFromStream(restored, stream); });

    // An .xls holds 65,536 rows: the first ones of the label sheet, copied value by value.
    Workbook labels;
    SheetTable& source = book.sheet(0);
    SheetTable& target = *labels.activeSheet();
    for (SheetRow* row = source.rows().first(); row && row->index <= 65535; row = row->next) {
        for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
            target.createCell(row->index, cell->index).assign(CellRef(&source, row, cell).value());
        }
    }
    const SpreadSheetFormat& xls = *SpreadSheetFormatsRepository::instance().Find(u"a.xls");
    std::string xlsBytes;
    const double xlsSave = bench::seconds([&] { SaveToStream(labels, xlsBytes, &xls); });
    Workbook xlsLoaded;
    ByteStream xlsStream{xlsBytes, 0};
    const double xlsLoad = bench::seconds([&] { LoadFromStream(xlsLoaded, xlsStream, xls); });

    const auto inputSize = std::filesystem::file_size(argv[1]);
    const auto outputSize = std::filesystem::file_size(std::filesystem::path(argv[1]).string() + ".saved.xlsx");
    std::printf("workbook files: %s, %.1f MB packed; ours saved %.1f MB\n", argv[1], inputSize / 1e6, outputSize / 1e6);
    bench::report("xlsx load (LoadFromFile, snapshot included)", load * 1000, "ms", 600);
    std::printf("    median of %.0f, %.0f and %.0f ms; the process's first load took %.0f ms\n", loads[0] * 1000, loads[1] * 1000,
                loads[2] * 1000, firstLoad * 1000);
    bench::report("peak memory during the load", (peak - before) / 1024.0, "MB", 250);
    bench::report("xlsx save (SaveToFile)", save * 1000, "ms", 1500);
    bench::report("native snapshot save", snapshotSave * 1000, "ms", 150);
    bench::report("native snapshot load", snapshotLoad * 1000, "ms", 150);
    std::printf("xls: 65,536 rows x 12 columns, %.1f MB\n", xlsBytes.size() / 1e6);
    bench::report("xls save (SaveToStream)", xlsSave * 1000, "ms", 1000);
    bench::report("xls load (LoadFromStream, snapshot included)", xlsLoad * 1000, "ms", 1000);
    if (argc == 3) {
        const double odsLoad = medianLoad(fromUtf8(argv[2]), loads);
        std::printf("ods: %s, %.1f MB packed\n", argv[2], std::filesystem::file_size(argv[2]) / 1e6);
        bench::report("ods load (LoadFromFile, snapshot included)", odsLoad * 1000, "ms", 0);
    }
    std::filesystem::remove(std::filesystem::path(argv[1]).string() + ".saved.xlsx");
    return 0;
}
