#pragma once
// What the fill handle puts in the cells it is dragged over, as Excel continues a selection:
// numbers along their trend (one number alone is copied), dates by day, or by month when the
// selected dates fall on the same day of different months, the number in a text (SN0001 ->
// SN0002, zeros kept), day and month names; anything else repeats. With Ctrl held the choice
// turns around: the cells repeat, and one number alone counts up by 1.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "sheet/cell_value.h"

namespace kes {

struct SeriesSource {
    CellValue value;       // a formula by its text
    bool isDate = false;   // shown as a date by its number format
};

struct SeriesValue {
    size_t source = 0;                // the source cell whose place in the pattern this is
    int64_t cycle = 0;                // how many times the pattern came round before it
    std::optional<CellValue> value;   // none: the source cell itself, repeated
};

class FillSeries {
public:
    // `cells`: one line of the selection, in sheet order; `toggled`: Ctrl held.
    FillSeries(std::vector<SeriesSource> cells, bool toggled);

    // The value at `position`, counted from the first source cell along the line; positions
    // before it (a drag up or left) are negative.
    SeriesValue at(int64_t position) const;

private:
    enum class Kind : uint8_t { Other, Number, Date, TextNumber, ListItem };
    struct Cell {
        Kind kind = Kind::Other;
        double number = 0;          // Number, Date; TextNumber: its number; ListItem: its index
        std::u16string prefix;      // TextNumber: around the number; ListItem: unused
        std::u16string suffix;
        size_t digits = 0;          // TextNumber: zeros pad the number to this many digits
        int list = -1;              // ListItem: which list
        int letterCase = 0;         // ListItem: 1 all upper, -1 all lower, 0 as the list spells it
        size_t run = 0;             // index of its run in runs_
    };
    // Consecutive cells of one kind (and one text around the number, one list) continue
    // together: their trend is start + step * position within the run.
    struct Run {
        size_t first = 0;
        size_t length = 0;
        double start = 0;
        double step = 1;
        int monthStep = 0;          // Date: a series of months
    };

    static Cell classify(const SeriesSource& source);
    static bool sameRun(const Cell& a, const Cell& b);
    void fitRun(Run& run) const;
    CellValue valueOf(const Cell& cell, const Run& run, int64_t position) const;

    std::vector<SeriesSource> sources_;
    std::vector<Cell> cells_;
    std::vector<Run> runs_;
    bool copy_ = false;
};

}  // namespace kes
