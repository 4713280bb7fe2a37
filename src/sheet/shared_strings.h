#pragma once
// The workbook's table of cell texts: equal texts share one reference-counted entry, which
// lives while a cell refers to it.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class SharedString {
public:
    std::u16string_view text() const { return {chars_, length_}; }

    // A number a writer may give the entry while it writes a file (the index of the text in
    // the file's own table), and sets back to 0 when done; 0 otherwise.
    uint32_t writerIndex;

private:
    friend class SharedStringTable;
    uint32_t refs_;
    uint32_t length_;
    char16_t chars_[1];   // length_ units follow, allocated with the entry
};

class SharedStringTable {
public:
    SharedStringTable() = default;
    SharedStringTable(const SharedStringTable&) = delete;
    SharedStringTable& operator=(const SharedStringTable&) = delete;
    ~SharedStringTable();

    // The entry for `text` with one more reference.
    SharedString* acquire(std::u16string_view text) { return acquire(text, hashOf(text)); }
    // The same for a text whose hashOf() the caller has.
    SharedString* acquire(std::u16string_view text, uint32_t hash);
    static uint32_t hashOf(std::u16string_view text);
    // Starts fetching from memory the slot where a text of this hash is looked for, so that a
    // reader that knows its next texts early does not wait for each in turn: a large table is
    // far larger than the CPU's caches.
    void prefetch(uint32_t hash) const {
        if (slotCount_) __builtin_prefetch(&slots_[hash & (slotCount_ - 1)]);
    }
    void addRef(SharedString* entry) { ++entry->refs_; }
    // Drops one reference; the entry is freed with the last one.
    void release(SharedString* entry);

    size_t size() const { return count_; }
    // Room for `count` entries in all without growing, for readers that know how many come.
    void reserve(size_t count);

private:
    size_t slotOf(std::u16string_view text, uint32_t hash) const;
    void grow(size_t slots);

    // Entries live in blocks of their own, packed without the heap's headers, and a freed entry
    // goes on a list of its size for the next text of that size; long texts take a heap block.
    SharedString* allocate(size_t length);
    void deallocate(SharedString* entry);
    static size_t bytesFor(size_t length);
    static constexpr size_t kLargest = 512;   // bytes of the largest entry kept in blocks
    std::vector<std::unique_ptr<char[]>> blocks_;
    size_t blockUsed_ = 0;
    size_t blockSize_ = 0;
    std::array<void*, kLargest / 4 + 1> free_{};

    // Open addressing, linear probing, no tombstones. The hash beside the entry spares a probe
    // a visit to an entry that cannot match. All zero bits make an empty slot.
    struct Slot {
        SharedString* entry;
        uint32_t hash;
    };
    std::unique_ptr<Slot[]> slots_;
    size_t slotCount_ = 0;
    size_t count_ = 0;
    // The entries acquired last, by their hash: a text that keeps coming back (a unit, a
    // customer) is found here without a visit to the large table, which a cache may not hold.
    // Its hash is kept beside each, so that a text seen for the first time is turned away
    // without a visit to an entry that may have left the cache long ago.
    static constexpr size_t kRecent = 4096;
    std::array<Slot, kRecent> recent_{};
};

// Texts gathered by a reader to be acquired together, a little after their slots were asked
// for (see SharedStringTable::prefetch).
class SharedStringBatch {
public:
    void add(std::u16string_view text) {
        chars_.append(text);
        ends_.push_back(chars_.size());
    }
    size_t size() const { return ends_.size(); }
    bool empty() const { return ends_.empty(); }
    // Starts fetching the slots of the texts added.
    void prefetch(const SharedStringTable& table);
    // Acquires every text added, in order, into entries[0..size()), and empties the batch.
    void acquire(SharedStringTable& table, SharedString** entries);

private:
    std::u16string_view text(size_t i) const {
        const size_t begin = i ? ends_[i - 1] : 0;
        return std::u16string_view(chars_).substr(begin, ends_[i] - begin);
    }
    std::u16string chars_;
    std::vector<size_t> ends_;
    std::vector<uint32_t> hashes_;   // of the first texts, once prefetched
};

}  // namespace kes
