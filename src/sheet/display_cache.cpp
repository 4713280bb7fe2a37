#include "sheet/display_cache.h"

namespace kes {

size_t DisplayCache::slotOf(const Key& key) {
    uint64_t h = key.bits * 0x9E3779B97F4A7C15ull;
    h ^= (uint64_t(key.type) << 16 | key.style) * 0xC2B2AE3D27D4EB4Full;
    return static_cast<size_t>(h >> 40) % kSlots;
}

const std::u16string* DisplayCache::find(const Key& key) const {
    if (!slots_) return nullptr;
    const Slot& slot = (*slots_)[slotOf(key)];
    return slot.used && slot.key == key ? &slot.text : nullptr;
}

void DisplayCache::store(const Key& key, std::u16string text) {
    if (!slots_) slots_ = std::make_unique<std::array<Slot, kSlots>>();
    Slot& slot = (*slots_)[slotOf(key)];
    slot.used = true;
    slot.key = key;
    slot.text = std::move(text);
}

}  // namespace kes
