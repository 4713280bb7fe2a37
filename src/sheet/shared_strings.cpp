#include "sheet/shared_strings.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "text/prefault.h"

namespace kes {

SharedStringTable::~SharedStringTable() {
    for (size_t i = 0; i < slotCount_; ++i) std::free(slots_[i].entry);
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
    while (count * 4 > slots * 3) slots *= 2;
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

SharedString* SharedStringTable::acquire(std::u16string_view text) {
    const uint32_t hash = hashOf(text);
    SharedString*& recent = recent_[hash % kRecent];
    if (recent && recent->hash_ == hash && recent->text() == text) {
        ++recent->refs_;
        return recent;
    }
    if ((count_ + 1) * 4 > slotCount_ * 3) grow(slotCount_ == 0 ? 1024 : slotCount_ * 2);
    const size_t slot = slotOf(text, hash);
    if (SharedString* entry = slots_[slot].entry) {
        ++entry->refs_;
        recent = entry;
        return entry;
    }
    const size_t bytes = offsetof(SharedString, chars_) + (text.size() + 1) * sizeof(char16_t);
    auto* entry = static_cast<SharedString*>(std::malloc(bytes));
    if (!entry) throw std::bad_alloc();
    entry->refs_ = 1;
    entry->length_ = static_cast<uint32_t>(text.size());
    entry->hash_ = hash;
    std::memcpy(entry->chars_, text.data(), text.size() * sizeof(char16_t));
    entry->chars_[text.size()] = 0;
    slots_[slot] = {entry, hash};
    ++count_;
    recent = entry;
    return entry;
}

void SharedStringTable::release(SharedString* entry) {
    if (--entry->refs_ != 0) return;
    if (recent_[entry->hash_ % kRecent] == entry) recent_[entry->hash_ % kRecent] = nullptr;
    // Remove by backward-shift, so that probing never needs tombstones.
    const size_t mask = slotCount_ - 1;
    size_t hole = slotOf(entry->text(), entry->hash_);
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
    std::free(entry);
}

}  // namespace kes

