#pragma once
// The undo history of a workbook: every change of a cell (made, changed, deleted) is recorded
// as the cell's state before it; an action groups what one user command did, and undoing it
// puts those states back in reverse order.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "sheet/cell_value.h"

namespace kes {

class SheetTable;

struct CellState {
    bool exists = false;
    CellValue value;
    uint16_t style = 0;
};

// A change that is not one cell's state: rows or columns inserted or deleted move cells in
// bulk, a column gets another width. It is made before it is recorded; undo runs it backward,
// redo forward again.
class SheetChange {
public:
    virtual ~SheetChange() = default;
    virtual void apply(bool forward) = 0;
};

class UndoHistory {
public:
    static constexpr size_t kMaxActions = 100;

    // False while locked (a load), while undoing or redoing, and when switched off.
    bool acceptsCommands() const { return enabled_ && lockCount_ == 0 && !replaying_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }
    void lock() { ++lockCount_; }
    void unlock() { if (lockCount_ > 0) --lockCount_; }
    void clear();

    // Records between begin and end form one undo step; without an open action every record
    // is a step of its own. Actions nest; the outermost one counts.
    void beginAction();
    void endAction();

    void record(SheetTable& sheet, int32_t row, int32_t column, CellState before);
    // Records a change just made; its place among the cell records of the action decides the
    // order in which undo takes them back.
    void recordChange(std::shared_ptr<SheetChange> change);

    bool canUndo() const { return !undo_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    void undo() { replay(undo_, redo_); }
    void redo() { replay(redo_, undo_); }

private:
    struct Record {
        SheetTable* sheet;
        int32_t row;
        int32_t column;
        CellState before;
        std::shared_ptr<SheetChange> change;   // set for a change, whose direction `forward` says
        bool forward = true;
    };
    void add(Record record);
    // A paste of a hundred thousand rows records over a million cells: a deque grows without
    // moving what it holds.
    using Action = std::deque<Record>;

    void replay(std::vector<Action>& from, std::vector<Action>& to);
    static void push(std::vector<Action>& stack, Action action);

    std::vector<Action> undo_;
    std::vector<Action> redo_;
    Action open_;
    int openDepth_ = 0;
    int lockCount_ = 0;
    bool enabled_ = true;
    bool replaying_ = false;
};

}  // namespace kes
