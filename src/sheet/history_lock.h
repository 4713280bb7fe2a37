#pragma once
// Keeps the undo history from recording for its lifetime: changes that are no user command (a
// load, the set-up of a window) can never be undone.
#include "sheet/undo_history.h"

namespace kes {

class HistoryLock {
public:
    explicit HistoryLock(UndoHistory& history) : history_(history) { history_.lock(); }
    ~HistoryLock() { history_.unlock(); }
    HistoryLock(const HistoryLock&) = delete;
    HistoryLock& operator=(const HistoryLock&) = delete;

private:
    UndoHistory& history_;
};

}  // namespace kes
