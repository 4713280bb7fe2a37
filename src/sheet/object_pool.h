#pragma once
// Fixed-size slots for a sheet's rows and cells: a million cells cost a million slots in a few
// large blocks instead of a million heap blocks with their headers. Blocks grow from 256 slots
// to 65,536 as a sheet fills, so that a small sheet stays small (a workbook of 10,000 one-cell
// sheets fits in the 2 GB of a 32-bit host), and a large block has its pages mapped in one go:
// a load writes every slot of it.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "text/prefault.h"

namespace kes {

template <class T>
class ObjectPool {
public:
    ObjectPool() = default;
    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;

    template <class... Args>
    T* make(Args&&... args) {
        void* slot = takeSlot();
        return new (slot) T(std::forward<Args>(args)...);
    }

    void dispose(T* object) {
        object->~T();
        auto* slot = reinterpret_cast<Slot*>(object);
        slot->nextFree = free_;
        free_ = slot;
    }

    // Forgets every object without running destructors; for owners that have already
    // released what the objects refer to.
    void reset() {
        blocks_.clear();
        free_ = nullptr;
        used_ = capacity_ = 0;
    }

private:
    union Slot {
        Slot* nextFree;
        alignas(T) unsigned char storage[sizeof(T)];
    };
    static constexpr size_t kFirstBlock = 256;
    static constexpr size_t kLargestBlock = 65536;

    void* takeSlot() {
        if (free_) {
            Slot* slot = free_;
            free_ = slot->nextFree;
            return slot->storage;
        }
        if (used_ == capacity_) {
            capacity_ = blocks_.empty() ? kFirstBlock : std::min(capacity_ * 2, kLargestBlock);
            blocks_.push_back(std::make_unique_for_overwrite<Slot[]>(capacity_));
            prefaultForWriting(blocks_.back().get(), capacity_ * sizeof(Slot));
            used_ = 0;
        }
        return blocks_.back()[used_++].storage;
    }

    std::vector<std::unique_ptr<Slot[]>> blocks_;
    Slot* free_ = nullptr;
    size_t used_ = 0;
    size_t capacity_ = 0;   // of the last block
};

}  // namespace kes
