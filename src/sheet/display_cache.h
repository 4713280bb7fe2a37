#pragma once
// Display texts made by the number-format engine, remembered by what decides them: the value,
// the cell style and the workbook's format settings. The grid asks for the same few hundred
// cells on every paint; the cache keeps those answers without a text per cell in memory.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "sheet/cell_value.h"

namespace kes {

class DisplayCache {
public:
    struct Key {
        CellDataType type;
        uint16_t style;
        uint32_t generation;
        uint64_t bits;   // the value's eight bytes
        friend bool operator==(const Key&, const Key&) = default;
    };

    // The cached text for the key, or null.
    const std::u16string* find(const Key& key) const;
    void store(const Key& key, std::u16string text);
    void clear() { slots_.reset(); }

private:
    static constexpr size_t kSlots = 2048;
    struct Slot {
        bool used = false;
        Key key{};
        std::u16string text;
    };
    static size_t slotOf(const Key& key);

    std::unique_ptr<std::array<Slot, kSlots>> slots_;
};

}  // namespace kes
