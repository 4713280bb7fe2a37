#pragma once
// Which formulas read which cells, so that a change marks for recalculation only the formulas
// that read the changed cell, the formulas that read those, and so on; every other result
// stays as it was computed. A formula is entered here when it is first evaluated, from the
// references in its expression, and leaves when its cell drops it.
//
// Small areas are entered cell by cell; larger ones (whole columns, a SUM over a column) are
// kept in a list that every change is checked against, which stays short in real sheets.
// Formulas whose inputs cannot be told from the expression (TODAY, NOW, references spanning
// sheets, ranges built by functions) are recalculated after every change.
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sheet/selection.h"

namespace kes {

namespace formula {
class Expression;
}
class SheetTable;
class Workbook;
struct CellFormula;

class FormulaDependencies {
public:
    explicit FormulaDependencies(Workbook& book) : book_(book) {}
    FormulaDependencies(const FormulaDependencies&) = delete;
    FormulaDependencies& operator=(const FormulaDependencies&) = delete;

    // True when the formula's result is still that of its inputs.
    bool isCurrent(const CellFormula& formula) const;
    // Enters the formula of the cell at (row, column) of `sheet` with what it reads, unless it
    // is entered already, and marks its result current.
    void computed(CellFormula& formula, SheetTable& sheet, int32_t row, int32_t column);
    // Takes out a formula that its cell is about to drop.
    void forget(CellFormula& formula);

    // The value of a cell changed: the formulas that depend on it are no longer current.
    void cellChanged(const SheetTable& sheet, int32_t row, int32_t column);
    // Sheets were added, removed, renamed or emptied: no formula is current, and none entered.
    void invalidateAll();

    size_t trackedFormulas() const { return tracked_; }

private:
    struct CellKey {
        const SheetTable* sheet;
        int32_t row;
        int32_t column;
        friend bool operator==(const CellKey&, const CellKey&) = default;
    };
    // The formulas that read each cell: an open-addressing table of cells, each the head of a
    // chain of links, so that entering a formula costs no allocation of its own. A cell stays
    // in the table until the next epoch even when no formula reads it any more.
    class Readers {
    public:
        static constexpr uint32_t kNone = UINT32_MAX;
        void add(const CellKey& key, CellFormula* formula);
        void remove(const CellKey& key, CellFormula* formula);
        // The first link of the cell's chain, or kNone.
        uint32_t first(const CellKey& key) const;
        uint32_t next(uint32_t link) const { return links_[link].next; }
        CellFormula* formula(uint32_t link) const { return links_[link].formula; }
        void clear();

    private:
        struct Slot {
            const SheetTable* sheet;   // null: an empty slot
            int32_t row;
            int32_t column;
            uint32_t head;
        };
        struct Link {
            CellFormula* formula;
            uint32_t next;
        };
        size_t slotOf(const CellKey& key) const;
        void grow();

        std::vector<Slot> slots_;
        size_t used_ = 0;
        std::vector<Link> links_;
        uint32_t freeLinks_ = kNone;
    };
    struct Area {
        const SheetTable* sheet;
        CellRect rect;
    };
    // What an expression reads, as its formula's cell resolves it.
    struct Reads {
        std::vector<Area> areas;
        bool unknown = false;   // inputs that cannot be told: recalculated after every change
    };

    Reads readsOf(const CellFormula& formula, SheetTable& sheet) const;
    void addReads(const formula::Expression& expression, SheetTable& sheet, Reads& reads, int depth) const;

    Workbook& book_;
    uint64_t epoch_ = 1;   // formulas entered under an older epoch are neither current nor entered
    Readers readers_;
    std::unordered_map<CellFormula*, std::vector<Area>> wideReads_;
    std::unordered_set<CellFormula*> alwaysStale_;
    size_t tracked_ = 0;
};

}  // namespace kes
