#pragma once
// The workbook's table of cell texts: equal texts share one reference-counted entry, which
// lives while a cell refers to it.
#include <array>
#include <cstdint>
#include <memory>
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
    uint32_t hash_;
    char16_t chars_[1];   // length_ units follow, allocated with the entry
};

class SharedStringTable {
public:
    SharedStringTable() = default;
    SharedStringTable(const SharedStringTable&) = delete;
    SharedStringTable& operator=(const SharedStringTable&) = delete;
    ~SharedStringTable();

    // The entry for `text` with one more reference.
    SharedString* acquire(std::u16string_view text);
    void addRef(SharedString* entry) { ++entry->refs_; }
    // Drops one reference; the entry is freed with the last one.
    void release(SharedString* entry);

    size_t size() const { return count_; }
    // Room for `count` entries in all without growing, for readers that know how many come.
    void reserve(size_t count);

private:
    static uint32_t hashOf(std::u16string_view text);
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
    static constexpr size_t kRecent = 4096;
    std::array<SharedString*, kRecent> recent_{};
};

}  // namespace kes
