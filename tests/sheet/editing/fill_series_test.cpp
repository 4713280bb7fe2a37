#include "sheet/editing/fill_series.h"

#include <gtest/gtest.h>

#include "sheet/text_to_value.h"

namespace kes {
namespace {

SeriesSource text(std::u16string_view s) { return {CellValue::makeString(s)}; }
SeriesSource number(double d) { return {CellValue::makeFloat(d)}; }
SeriesSource date(int y, int m, int d) { return {CellValue::makeDateTime(*dateSerial(y, m, d))}; }

// The values at the positions, as short texts: strings as they are, numbers in %g, dates
// as y-m-d, "=" and the source index for a repeated source cell.
std::string describe(const FillSeries& series, int64_t position) {
    const SeriesValue v = series.at(position);
    if (!v.value) return "=" + std::to_string(v.source);
    if (v.value->type == cdtString) {
        std::string out;
        for (char16_t c : v.value->text) {
            if (c < 0x80) out += char(c);
            else out += "\\u" + std::to_string(unsigned(c));
        }
        return out;
    }
    if (v.value->type == cdtDateTime) {
        const double serial = v.value->number;
        for (int y = 1900; y < 2100; ++y)
            for (int m = 1; m <= 12; ++m)
                for (int d = 1; d <= 31; ++d)
                    if (dateSerial(y, m, d) == serial)
                        return std::to_string(y) + "-" + std::to_string(m) + "-" + std::to_string(d);
        return "?";
    }
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%g", v.value->asFloat());
    return buffer;
}

TEST(FillSeries, ContinuesWhatExcelContinues) {
    struct Case {
        const char* name;
        std::vector<SeriesSource> source;
        bool toggled;
        std::vector<int64_t> positions;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"serial numbers keep their zeros", {text(u"SN0001")}, false, {1, 2, 9}, {"SN0002", "SN0003", "SN0010"}},
        {"and grow past them", {text(u"SN0998")}, false, {1, 2}, {"SN0999", "SN1000"}},
        {"a number at the start", {text(u"1号楼")}, false, {1}, {"2\\u21495\\u27004"}},
        {"digits alone as text", {text(u"0099")}, false, {1}, {"0100"}},
        {"upwards past zero", {text(u"A1")}, false, {-1, -2}, {"A0", "A1"}},
        {"a step taken from two texts", {text(u"Item1"), text(u"Item3")}, false, {2, 3}, {"Item5", "Item7"}},
        {"Ctrl copies a text", {text(u"SN0001")}, true, {1, 2}, {"=0", "=0"}},
        {"one number is copied", {number(7)}, false, {1, 2}, {"=0", "=0"}},
        {"Ctrl counts one number up", {number(7)}, true, {1, 2, -1}, {"8", "9", "6"}},
        {"two numbers give the step", {number(2), number(5)}, false, {2, 3, -1}, {"8", "11", "-1"}},
        {"uneven numbers follow their trend", {number(1), number(2), number(4)}, false, {3}, {"5.33333"}},
        {"Ctrl repeats several numbers", {number(1), number(2)}, true, {2, 3}, {"=0", "=1"}},
        {"a date counts days", {date(2024, 2, 28)}, false, {1, 2}, {"2024-2-29", "2024-3-1"}},
        {"month ends on different days count days", {date(2024, 1, 31), date(2024, 2, 29)}, false, {2}, {"2024-3-29"}},
        {"same day of each month", {date(2024, 1, 15), date(2024, 2, 15)}, false, {2, 3}, {"2024-3-15", "2024-4-15"}},
        {"month ends are kept in range", {date(2023, 11, 30), date(2023, 12, 30)}, false, {3}, {"2024-2-29"}},
        {"yearly", {date(2020, 3, 1), date(2021, 3, 1)}, false, {2}, {"2022-3-1"}},
        {"a week apart counts days", {date(2024, 1, 1), date(2024, 1, 8)}, false, {2}, {"2024-1-15"}},
        {"day names", {text(u"Mon")}, false, {1, 6, 7}, {"Tue", "Sun", "Mon"}},
        {"month names keep capitals", {text(u"JANUARY"), text(u"MARCH")}, false, {2}, {"MAY"}},
        {"Chinese weekdays", {text(u"星期六")}, false, {1}, {"\\u26143\\u26399\\u26085"}},
        {"plain text repeats", {text(u"bolt"), text(u"nut")}, false, {2, 3}, {"=0", "=1"}},
        {"a pattern repeats with its numbers counting", {text(u"a1"), text(u"x")}, false, {2, 3, 4}, {"a2", "=1", "a3"}},
        {"a number among texts counts by one", {number(10), text(u"x")}, false, {2, 4}, {"11", "12"}},
        {"booleans repeat", {{CellValue::makeBoolean(true)}}, false, {1}, {"=0"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const FillSeries series(c.source, c.toggled);
        for (size_t i = 0; i < c.positions.size(); ++i) EXPECT_EQ(describe(series, c.positions[i]), c.expected[i]) << i;
    }
}

}  // namespace
}  // namespace kes
