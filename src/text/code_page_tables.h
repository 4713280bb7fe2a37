#pragma once
// The tables of the code pages that code_page.h decodes, made by scripts/make_code_page_tables.py.
#include <cstddef>
#include <cstdint>

namespace kes {

struct SingleByteTable {
    uint16_t codePage;
    const char16_t* high;   // the characters of bytes 0x80-0xFF
};

struct DoubleByteTable {
    uint16_t codePage;
    uint8_t firstLead, lastLead;
    // The characters of single bytes 0x80-0xFF (0 for lead bytes), then per lead byte the
    // characters of trail bytes 0x40-0xFE; 0 where a byte or pair means nothing.
    const char16_t* characters;
};

constexpr unsigned kFirstTrail = 0x40, kTrailCount = 0xFF - kFirstTrail;

extern const SingleByteTable kSingleByteTables[];
extern const size_t kSingleByteTableCount;
extern const DoubleByteTable kDoubleByteTables[];
extern const size_t kDoubleByteTableCount;

}  // namespace kes
