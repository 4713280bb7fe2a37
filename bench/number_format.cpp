// Formats 1,000,000 values through the number-format engine with the codes label sheets use
// most (a date and time, money with grouping, General) and reports the cost of one value.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/format/number_format.h"

using namespace kes;

namespace {

constexpr int kValues = 1000000;

double valueFor(int i, bool date) {
    // Dates of the years around now with a time of day; amounts with cents up to ten million.
    if (date) return 44000.0 + (i % 3650) + double(i % 1440) / 1440.0;
    return double((i * 7919LL) % 1000000000) / 100.0;
}

// The best of three rounds: the machine is shared, and the slower rounds measure the neighbours.
double nsPerValue(std::u16string_view code, bool date, size_t& checksum) {
    const FormatSettings settings;
    double best = 0;
    for (int round = 0; round < 3; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < kValues; ++i) checksum += formatNumber(valueFor(i, date), code, settings).text.size();
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const double ns = std::chrono::duration<double, std::nano>(elapsed).count() / kValues;
        if (round == 0 || ns < best) best = ns;
    }
    return best;
}

}  // namespace

int main() {
    size_t checksum = 0;
    std::printf("number formats, %d values each\n", kValues);
    bench::report("\"yyyy/m/d h:mm\"", nsPerValue(u"yyyy/m/d h:mm", true, checksum), "ns/value", 0);
    bench::report("\"yyyy-mm-dd\"", nsPerValue(u"yyyy-mm-dd", true, checksum), "ns/value", 0);
    bench::report("\"#,##0.00\"", nsPerValue(u"#,##0.00", false, checksum), "ns/value", 0);
    bench::report("\"0.00E+00\"", nsPerValue(u"0.00E+00", false, checksum), "ns/value", 0);
    bench::report("\"# ?/?\"", nsPerValue(u"# ?/?", false, checksum), "ns/value", 0);
    bench::report("General", nsPerValue(u"General", false, checksum), "ns/value", 0);
    std::printf("  (checksum %zu)\n", checksum);
    return 0;
}
