#include "text/code_page.h"

#include "text/code_page_tables.h"

namespace kes {
namespace {

// Numbers Excel writes beside the Windows ones: BIFF2-4's names of the Macintosh and Windows
// code pages, and US-ASCII.
uint16_t windowsNumber(uint16_t number) {
    switch (number) {
    case 0x8000: return 10000;
    case 0x8001: return 1252;
    case 367: return 1252;
    default: return number;
    }
}

}  // namespace

CodePage::CodePage(uint16_t number) : number_(windowsNumber(number)) {
    if (number_ == 1200) return;   // UTF-16: the reader keeps its 16-bit texts as they are
    for (size_t i = 0; i < kDoubleByteTableCount; ++i) {
        if (kDoubleByteTables[i].codePage == number_) {
            double_ = kDoubleByteTables[i].characters;
            firstLead_ = kDoubleByteTables[i].firstLead;
            lastLead_ = kDoubleByteTables[i].lastLead;
            return;
        }
    }
    for (size_t i = 0; i < kSingleByteTableCount; ++i) {
        if (kSingleByteTables[i].codePage == number_) {
            high_ = kSingleByteTables[i].high;
            return;
        }
    }
    number_ = 1252;
    for (size_t i = 0; i < kSingleByteTableCount; ++i) {
        if (kSingleByteTables[i].codePage == 1252) high_ = kSingleByteTables[i].high;
    }
}

void CodePage::decodeAppend(std::string_view bytes, std::u16string& out) const {
    out.reserve(out.size() + bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<uint8_t>(bytes[i]);
        if (byte < 0x80 || (!high_ && !double_)) {
            out.push_back(char16_t(byte));   // ASCII, and 8-bit texts of a UTF-16 file as Excel 97 keeps them
        } else if (high_) {
            out.push_back(high_[byte - 0x80]);
        } else if (const char16_t single = double_[byte - 0x80]) {
            out.push_back(single);
        } else if (byte >= firstLead_ && byte <= lastLead_ && i + 1 < bytes.size() &&
                   static_cast<uint8_t>(bytes[i + 1]) >= kFirstTrail && static_cast<uint8_t>(bytes[i + 1]) < kFirstTrail + kTrailCount) {
            const char16_t pair = double_[0x80 + size_t(byte - firstLead_) * kTrailCount + (static_cast<uint8_t>(bytes[++i]) - kFirstTrail)];
            out.push_back(pair ? pair : u'?');
        } else {
            out.push_back(u'?');
        }
    }
}

}  // namespace kes
