#pragma once
// The sparse, index-ordered list that holds a sheet's rows, its columns and the cells of a row.
//
// Items are doubly linked in strictly ascending index order. A search starts from the nearest of
// first, cursor (where the last search ended) and last, so walking rows top to bottom or cells
// left to right costs a step or two per access. Jumps far from all three (random access over a
// long list) go through a lazily built directory of the items, so they cost a halving search
// instead of a walk over thousands of links. Items linked in after the directory was built are
// not in it: a search lands on the directory's item before them and walks on. The directory is
// built again once there are more of those than the square root of its size, so that items
// created in any order (a hostile file's cells) cost that many steps each, not a rebuild each.
//
// The list neither allocates nor frees items itself: creating, deleting and clearing take the
// owner's factory and disposer, so that a row does not have to store a pointer back to its sheet.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace kes {

template <class Item>
struct ListItem {
    explicit ListItem(int32_t i) : index(i) {}

    // The index comes last so that a derived item's small fields fill the padding behind it.
    Item* next = nullptr;
    Item* prev = nullptr;
    int32_t index;
};

template <class Item>
class ItemList {
public:
    ItemList() = default;
    ItemList(const ItemList&) = delete;
    ItemList& operator=(const ItemList&) = delete;

    Item* first() const { return first_; }
    Item* last() const { return last_; }
    Item* cursor() const { return cursor_; }
    bool empty() const { return first_ == nullptr; }

    // The item with the smallest index not below `index`, or none; it becomes the cursor.
    Item* find(int32_t index) {
        if (!first_ || index < first_->index || index > last_->index) return nullptr;
        Item* low = first_;
        Item* high = last_;
        if (cursor_) {
            if (index >= cursor_->index) low = cursor_;
            else high = cursor_;
        }
        Item* item;
        const int64_t walk = std::min<int64_t>(int64_t(index) - low->index, int64_t(high->index) - index);
        if (walk > kLongestWalk) {
            item = findInDirectory(index);
        } else {
            const int32_t mid = int32_t((int64_t(low->index) + high->index) / 2);
            if (index > mid) {
                item = high;
                while (index < item->index) item = item->prev;
            } else {
                item = low;
            }
            while (index > item->index) item = item->next;
        }
        cursor_ = item;
        return item;
    }

    // The smallest item not below `index`, also when that is the first item (which find
    // does not give for an index below it).
    Item* lowerBound(int32_t index) {
        if (first_ && index < first_->index) return first_;
        return find(index);
    }

    // The item whose index equals `index`, or none; never raises.
    Item* getItem(int32_t index) {
        Item* item = find(index);
        return item && item->index == index ? item : nullptr;
    }

    // The item of that index, made with `make(index)` and announced with `created(item)` when
    // it is missing.
    template <class Make, class Created>
    Item* createItem(int32_t index, Make&& make, Created&& created) {
        Item* hint = find(index);
        if (hint && hint->index == index) return hint;
        Item* item = make(index);
        insert(item, hint);
        created(item);
        return item;
    }

    // Unlinks the item and hands it to `dispose`.
    template <class Dispose>
    void deleteItem(Item* item, Dispose&& dispose) {
        unlink(item);
        dispose(item);
    }

    // Hands every item to `dispose` and leaves the list empty.
    template <class Dispose>
    void clear(Dispose&& dispose) {
        Item* item = first_;
        first_ = last_ = cursor_ = nullptr;
        directory_.reset();
        while (item) {
            Item* next = item->next;
            dispose(item);
            item = next;
        }
    }

    // Calls `visit(item)` for every item whose index lies in [from, to], ascending when
    // `forward`, else descending. The next item is taken before each call, so `visit` may
    // delete the item it is given.
    template <class Visit>
    void forEach(int32_t from, int32_t to, bool forward, Visit&& visit) {
        if (!first_ || from > to) return;
        Item* item = forward ? startForward(from) : startBackward(to);
        Item* remembered = nullptr;
        if (forward) {
            while (item && item->index < from) item = item->next;
            while (item && item->index <= to) {
                remembered = item->next;
                visit(item);
                item = remembered;
            }
        } else {
            while (item && item->index > to) item = item->prev;
            while (item && item->index >= from) {
                remembered = item->prev;
                visit(item);
                item = remembered;
            }
        }
        if (remembered) cursor_ = remembered;
    }

private:
    static constexpr int64_t kLongestWalk = 48;

    Item* startForward(int32_t from) {
        if (cursor_ && !(cursor_->index > from && int64_t(cursor_->index) - from >= int64_t(from) - first_->index)) {
            Item* item = cursor_;
            while (item->prev && from < item->index) item = item->prev;
            return item;
        }
        return first_;
    }

    Item* startBackward(int32_t to) {
        if (cursor_ && !(cursor_->index < to && int64_t(to) - cursor_->index >= int64_t(last_->index) - to)) {
            Item* item = cursor_;
            while (item->next && to > item->index) item = item->next;
            return item;
        }
        return last_;
    }

    Item* findInDirectory(int32_t index) {
        if (!directory_) {
            directory_ = std::make_unique<Directory>();
            for (Item* item = first_; item; item = item->next) directory_->items.push_back(item);
        }
        const std::vector<Item*>& items = directory_->items;
        auto it = std::lower_bound(items.begin(), items.end(), index,
                                   [](const Item* item, int32_t i) { return item->index < i; });
        if (directory_->missing == 0) return *it;   // index <= last's index, so lower_bound never reaches the end
        // Items missing from the directory lie between its items: walk on from the one before.
        Item* item = it == items.begin() ? first_ : *(it - 1);
        while (item->index < index) item = item->next;
        return item;
    }

    void insert(Item* item, Item* hint) {
        if (!first_) {
            first_ = last_ = item;
        } else if (item->index < first_->index) {
            linkBefore(item, first_);
        } else if (item->index > last_->index) {
            linkAfter(item, last_);
            if (directory_) directory_->items.push_back(item);
            return;
        } else if (item->index < hint->index) {
            linkBefore(item, hint);
        } else {
            linkAfter(item, hint);
        }
        if (directory_) {
            ++directory_->missing;
            if (directory_->missing * directory_->missing > directory_->items.size()) directory_.reset();
        }
    }

    void linkBefore(Item* item, Item* at) {
        item->next = at;
        item->prev = at->prev;
        if (at->prev) at->prev->next = item;
        else first_ = item;
        at->prev = item;
    }

    void linkAfter(Item* item, Item* at) {
        item->prev = at;
        item->next = at->next;
        if (at->next) at->next->prev = item;
        else last_ = item;
        at->next = item;
    }

    void unlink(Item* item) {
        if (item == cursor_) cursor_ = nullptr;
        if (item->prev) item->prev->next = item->next;
        else first_ = item->next;
        if (item->next) item->next->prev = item->prev;
        else last_ = item->prev;
        item->next = item->prev = nullptr;
        directory_.reset();
    }

    Item* cursor_ = nullptr;
    Item* first_ = nullptr;
    Item* last_ = nullptr;
    // Built when a long list is first searched far from its ends; a row of a few cells, the
    // common case, never has one and pays a pointer for it.
    struct Directory {
        std::vector<Item*> items;
        size_t missing = 0;   // items linked in since it was built, not at its end
    };
    std::unique_ptr<Directory> directory_;
};

}  // namespace kes
