#include "sheet/shared_strings.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "text/prefault.h"

namespace kes {

SharedStringTable::~SharedStringTable() {
    for (size_t i = 0; i < slotCount_; ++i) {
        if (slots_[i].entry && bytesFor(slots_[i].entry->length_) > kLargest) std::free(slots_[i].entry);
    }
}

// An entry's size rounded to 4 bytes, the alignment of its fields.
size_t SharedStringTable::bytesFor(size_t length) {
    return (offsetof(SharedString, chars_) + length * sizeof(char16_t) + 3) & ~size_t(3);
}

SharedString* SharedStringTable::allocate(size_t length) {
    const size_t bytes = bytesFor(length);
    if (bytes > kLargest) {
        auto* entry = static_cast<SharedString*>(std::malloc(bytes));
        if (!entry) throw std::bad_alloc();
        return entry;
    }
    void*& head = free_[bytes / 4];
    if (head) {
        void* entry = head;
        std::memcpy(&head, entry, sizeof head);   // a free entry holds the next free one
        return static_cast<SharedString*>(entry);
    }
    if (blockUsed_ + bytes > blockSize_) {
        // Blocks grow from 16 KB to 1 MB, so that a small workbook stays small.
        blockSize_ = blocks_.empty() ? size_t(16) << 10 : std::min(blockSize_ * 2, size_t(1) << 20);
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(blockSize_));
        prefaultForWriting(blocks_.back().get(), blockSize_);
        blockUsed_ = 0;
    }
    void* entry = blocks_.back().get() + blockUsed_;
    blockUsed_ += bytes;
    return static_cast<SharedString*>(entry);
}

void SharedStringTable::deallocate(SharedString* entry) {
    const size_t bytes = bytesFor(entry->length_);
    if (bytes > kLargest) return std::free(entry);
    void*& head = free_[bytes / 4];
    std::memcpy(static_cast<void*>(entry), &head, sizeof head);
    head = entry;
}

uint32_t SharedStringTable::hashOf(std::u16string_view text) {
    uint32_t h = 2166136261u;   // FNV-1a over the code units
    for (char16_t c : text) {
        h ^= c;
        h *= 16777619u;
    }
    // FNV's low bits, which pick the slot, see little of the high bits: mix them in.
    h ^= h >> 16;
    h *= 0x85EBCA6Bu;
    h ^= h >> 13;
    return h;
}

size_t SharedStringTable::slotOf(std::u16string_view text, uint32_t hash) const {
    const size_t mask = slotCount_ - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (!slot.entry || (slot.hash == hash && slot.entry->text() == text)) return i;
    }
}

void SharedStringTable::reserve(size_t count) {
    size_t slots = slotCount_ == 0 ? 1024 : slotCount_;
    while (count * 5 > slots * 4) slots *= 2;
    if (slots != slotCount_) grow(slots);
}

void SharedStringTable::grow(size_t slots) {
    const std::unique_ptr<Slot[]> old = std::move(slots_);
    const size_t oldCount = slotCount_;
    slots_ = std::make_unique_for_overwrite<Slot[]>(slots);
    prefaultForWriting(slots_.get(), slots * sizeof(Slot));   // a large table's pages, in one go
    std::memset(static_cast<void*>(slots_.get()), 0, slots * sizeof(Slot));
    slotCount_ = slots;
    const size_t mask = slots - 1;
    for (size_t k = 0; k < oldCount; ++k) {
        const Slot& slot = old[k];
        if (!slot.entry) continue;
        size_t i = slot.hash & mask;
        while (slots_[i].entry) i = (i + 1) & mask;
        slots_[i] = slot;
    }
}

SharedString* SharedStringTable::acquire(std::u16string_view text, uint32_t hash) {
    Slot& recent = recent_[hash % kRecent];
    if (recent.hash == hash && recent.entry && recent.entry->text() == text) {
        ++recent.entry->refs_;
        return recent.entry;
    }
    // Up to four fifths full: the slots are the table's largest part, and a probe reads slots
    // side by side with their hashes.
    if ((count_ + 1) * 5 > slotCount_ * 4) grow(slotCount_ == 0 ? 1024 : slotCount_ * 2);
    const size_t slot = slotOf(text, hash);
    if (SharedString* entry = slots_[slot].entry) {
        ++entry->refs_;
        recent = {entry, hash};
        return entry;
    }
    SharedString* entry = allocate(text.size());
    entry->writerIndex = 0;
    entry->refs_ = 1;
    entry->length_ = static_cast<uint32_t>(text.size());
    std::memcpy(entry->chars_, text.data(), text.size() * sizeof(char16_t));
    slots_[slot] = {entry, hash};
    ++count_;
    recent = {entry, hash};
    return entry;
}

void SharedStringTable::release(SharedString* entry) {
    if (--entry->refs_ != 0) return;
    // The hash is not kept with the entry, which a million texts would pay for: it is computed
    // again, once, for the entry that goes.
    const uint32_t hash = hashOf(entry->text());
    if (recent_[hash % kRecent].entry == entry) recent_[hash % kRecent] = Slot{};
    // Remove by backward-shift, so that probing never needs tombstones.
    const size_t mask = slotCount_ - 1;
    size_t hole = slotOf(entry->text(), hash);
    for (size_t i = (hole + 1) & mask; slots_[i].entry; i = (i + 1) & mask) {
        const size_t home = slots_[i].hash & mask;
        // Move the entry back when the hole lies cyclically within [home, i).
        const bool holeInProbeRange = home <= i ? (home <= hole && hole < i) : (hole >= home || hole < i);
        if (holeInProbeRange) {
            slots_[hole] = slots_[i];
            hole = i;
        }
    }
    slots_[hole] = Slot{};
    --count_;
    deallocate(entry);
}

void SharedStringBatch::prefetch(const SharedStringTable& table) {
    for (size_t i = hashes_.size(); i < ends_.size(); ++i) {
        hashes_.push_back(SharedStringTable::hashOf(text(i)));
        table.prefetch(hashes_.back());
    }
}

void SharedStringBatch::acquire(SharedStringTable& table, SharedString** entries) {
    for (size_t i = 0; i < ends_.size(); ++i) {
        const std::u16string_view t = text(i);
        entries[i] = table.acquire(t, i < hashes_.size() ? hashes_[i] : SharedStringTable::hashOf(t));
    }
    chars_.clear();
    ends_.clear();
    hashes_.clear();
}

}  // namespace kes
