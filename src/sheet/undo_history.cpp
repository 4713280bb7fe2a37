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
    // A cell made and then written by one command is recorded once, with its first state.
    if (openDepth_ > 0 && !open_.empty()) {
        const Record& last = open_.back();
        if (last.sheet == &sheet && last.row == row && last.column == column && !last.change) return;
    }
    add(Record{&sheet, row, column, std::move(before)});
}

void UndoHistory::recordChange(std::shared_ptr<SheetChange> change) {
    if (!acceptsCommands()) return;
    add(Record{nullptr, 0, 0, {}, std::move(change)});
}

void UndoHistory::add(Record record) {
    redo_.clear();
    if (openDepth_ > 0) open_.push_back(std::move(record));
    else push(undo_, Action{std::move(record)});
}

void UndoHistory::replay(std::vector<Action>& from, std::vector<Action>& to) {
    if (from.empty() || openDepth_ > 0) return;
    Action action = std::move(from.back());
    from.pop_back();
    Action inverse;
    replaying_ = true;
    for (auto it = action.rbegin(); it != action.rend(); ++it) {
        if (it->change) {
            it->change->apply(!it->forward);
            inverse.push_back({nullptr, 0, 0, {}, it->change, !it->forward});
            continue;
        }
        inverse.push_back({it->sheet, it->row, it->column, it->sheet->cellState(it->row, it->column)});
        it->sheet->restoreCellState(it->row, it->column, it->before);
    }
    replaying_ = false;
    push(to, std::move(inverse));
}

}  // namespace kes
