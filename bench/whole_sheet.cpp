// Excel's whole sheet: 1,048,576 rows x 12 columns of label data, loaded from .xlsx and saved
// again, with the time and the peak memory of each, next to the 100,000-row figures of
// bench_workbook_files. The save's peak counts from the loaded workbook: what a save needs on top
// of what the workbook holds anyway. Each figure is the median of three runs.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "bench_util.h"
#include "text/utf8.h"
#include "workbook/workbook_files.h"

using namespace kes;

namespace {

// Starts the peak-memory reading over from what is resident now.
void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_whole_sheet WHOLE.xlsx SMALL.xlsx\n");
        return 2;
    }
    struct Figures {
        std::vector<double> load, save;
        long loadPeak = 0, loaded = 0, savePeak = 0;   // the largest of the runs
    };
    const auto measure = [](const char* path, Figures& figures) {
        const std::u16string input = fromUtf8(path);
        const std::u16string output = input + u".saved.xlsx";
        const long before = bench::residentKiB();
        resetPeak();
        Workbook book;
        figures.load.push_back(bench::seconds([&] { LoadFromFile(book, input); }));
        figures.loadPeak = std::max(figures.loadPeak, bench::peakResidentKiB() - before);
        figures.loaded = std::max(figures.loaded, bench::residentKiB() - before);
        resetPeak();
        const long atSave = bench::residentKiB();
        figures.save.push_back(bench::seconds([&] { SaveToFile(book, output); }));
        figures.savePeak = std::max(figures.savePeak, bench::peakResidentKiB() - atSave);
        std::filesystem::remove(std::filesystem::path(path).string() + ".saved.xlsx");
    };
    // Three runs, the two sizes side by side in each, and the median of each figure: a ratio
    // of two single runs on a shared machine says more about the machine than about the code.
    Figures small, whole;
    for (int run = 0; run < 3; ++run) {
        measure(argv[2], small);
        measure(argv[1], whole);
    }
    const auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    const double load = median(whole.load), save = median(whole.save);
    const double smallLoad = median(small.load), smallSave = median(small.save);
    std::printf("whole sheet: %s, %.1f MB packed, against %s (medians of 3 runs)\n", argv[1],
                std::filesystem::file_size(argv[1]) / 1e6, argv[2]);
    bench::report("xlsx load, whole sheet", load * 1000, "ms", 0);
    bench::report("  times the 100,000-row load", load / smallLoad, "x", 11);
    bench::report("  peak memory of the load", whole.loadPeak / 1024.0, "MB", 700);
    bench::report("  the loaded workbook", whole.loaded / 1024.0, "MB", 0);
    bench::report("xlsx save, whole sheet", save * 1000, "ms", 0);
    bench::report("  times the 100,000-row save", save / smallSave, "x", 12);
    bench::report("  peak memory of the save above the workbook", whole.savePeak / 1024.0, "MB", 300);
    std::printf("    the 100,000 rows: load %.0f ms, %.0f MB at its peak; save %.0f ms, %.0f MB above the workbook\n",
                smallLoad * 1000, small.loadPeak / 1024.0, smallSave * 1000, small.savePeak / 1024.0);
    return 0;
}
