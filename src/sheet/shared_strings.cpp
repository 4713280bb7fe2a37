#include "sheet/shared_strings.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace kes {

SharedStringTable::~SharedStringTable() {
    for (const Slot& slot : slots_) std::free(slot.entry);
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
    const size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (!slot.entry || (slot.hash == hash && slot.entry->text() == text)) return i;
    }
}

void SharedStringTable::reserve(size_t count) {
    size_t slots = slots_.empty() ? 1024 : slots_.size();
    while (count * 4 > slots * 3) slots *= 2;
    if (slots != slots_.size()) grow(slots);
}

void SharedStringTable::grow(size_t slots) {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(slots, Slot{});
    const size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
        if (!slot.entry) continue;
        size_t i = slot.hash & mask;
        while (slots_[i].entry) i = (i + 1) & mask;
        slots_[i] = slot;
    }
}

SharedString* SharedStringTable::acquire(std::u16string_view text) {
    if ((count_ + 1) * 4 > slots_.size() * 3) grow(slots_.empty() ? 1024 : slots_.size() * 2);
    const uint32_t hash = hashOf(text);
    const size_t slot = slotOf(text, hash);
    if (SharedString* entry = slots_[slot].entry) {
        ++entry->refs_;
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
    return entry;
}

void SharedStringTable::release(SharedString* entry) {
    if (--entry->refs_ != 0) return;
    // Remove by backward-shift, so that probing never needs tombstones.
    const size_t mask = slots_.size() - 1;
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

