#include "sheet/undo_history.h"

#include <utility>

#include "sheet/sheet_table.h"

namespace kes {

void UndoHistory::clear() {
    undo_.clear();
    redo_.clear();
    open_.clear();
}

void UndoHistory::beginAction() { ++openDepth_; }

void UndoHistory::endAction() {
    if (openDepth_ == 0 || --openDepth_ > 0) return;
    if (!open_.empty()) push(undo_, std::move(open_));
    open_.clear();
}

void UndoHistory::push(std::vector<Action>& stack, Action action) {
    if (stack.size() == kMaxActions) stack.erase(stack.begin());
    stack.push_back(std::move(action));
}

void UndoHistory::record(SheetTable& sheet, int32_t row, int32_t column, CellState before) {
    if (!acceptsCommands()) return;
    redo_.clear();
    Record r{&sheet, row, column, std::move(before)};
    if (openDepth_ > 0) {
        // A cell made and then written by one command is recorded once, with its first state.
        if (!open_.empty()) {
            const Record& last = open_.back();
            if (last.sheet == &sheet && last.row == row && last.column == column) return;
        }
        open_.push_back(std::move(r));
    } else {
        push(undo_, Action{std::move(r)});
    }
}

void UndoHistory::replay(std::vector<Action>& from, std::vector<Action>& to) {
    if (from.empty() || openDepth_ > 0) return;
    Action action = std::move(from.back());
    from.pop_back();
    Action inverse;
    replaying_ = true;
    for (auto it = action.rbegin(); it != action.rend(); ++it) {
        inverse.push_back({it->sheet, it->row, it->column, it->sheet->cellState(it->row, it->column)});
        it->sheet->restoreCellState(it->row, it->column, it->before);
    }
    replaying_ = false;
    push(to, std::move(inverse));
}

}  // namespace kes
