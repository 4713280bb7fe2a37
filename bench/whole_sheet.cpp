// Excel's whole sheet: 1,048,576 rows x 12 columns of label data, loaded from .xlsx and saved
// again, with the time and the peak memory of each, next to the 100,000-row figures of
// bench_workbook_files. The save's peak counts from the loaded workbook: what a save needs on top
// of what the workbook holds anyway.
#include <cstdio>
#include <filesystem>
#include <fstream>

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
    const auto measure = [](const char* path, double& load, double& save, long& loadPeak, long& loaded, long& savePeak) {
        const std::u16string input = fromUtf8(path);
        const std::u16string output = input + u".saved.xlsx";
        const long before = bench::residentKiB();
        resetPeak();
        Workbook book;
        load = bench::seconds([&] { LoadFromFile(book, input); });
        loadPeak = bench::peakResidentKiB() - before;
        loaded = bench::residentKiB() - before;
        resetPeak();
        const long atSave = bench::residentKiB();
        save = bench::seconds([&] { SaveToFile(book, output); });
        savePeak = bench::peakResidentKiB() - atSave;
        std::filesystem::remove(std::filesystem::path(path).string() + ".saved.xlsx");
    };
    double smallLoad, smallSave, load, save;
    long smallPeak, smallLoaded, smallSavePeak, peak, loaded, savePeak;
    measure(argv[2], smallLoad, smallSave, smallPeak, smallLoaded, smallSavePeak);
    measure(argv[1], load, save, peak, loaded, savePeak);
    std::printf("whole sheet: %s, %.1f MB packed, against %s\n", argv[1], std::filesystem::file_size(argv[1]) / 1e6, argv[2]);
    bench::report("xlsx load, whole sheet", load * 1000, "ms", 0);
    bench::report("  times the 100,000-row load", load / smallLoad, "x", 11);
    bench::report("  peak memory of the load", peak / 1024.0, "MB", 700);
    bench::report("  the loaded workbook", loaded / 1024.0, "MB", 0);
    bench::report("xlsx save, whole sheet", save * 1000, "ms", 0);
    bench::report("  times the 100,000-row save", save / smallSave, "x", 12);
    bench::report("  peak memory of the save above the workbook", savePeak / 1024.0, "MB", 300);
    std::printf("    the 100,000 rows: load %.0f ms, %.0f MB at its peak; save %.0f ms, %.0f MB above the workbook\n",
                smallLoad * 1000, smallPeak / 1024.0, smallSave * 1000, smallSavePeak / 1024.0);
    return 0;
}
