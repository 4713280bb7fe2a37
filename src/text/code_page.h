#pragma once
// Texts in a code page that a file names by its Windows number (the CODEPAGE of an old Excel
// workbook): the single-byte code pages of Windows, DOS and the Macintosh, the double-byte ones
// of East Asia (932 Japanese, 936 Simplified Chinese, 949 Korean, 950 Traditional Chinese) and
// UTF-16. Decoded by our own tables, so a file reads the same whatever the system's code page.
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

class CodePage {
public:
    // Code page 1252 for a number we do not know, as Excel reads a file without its CODEPAGE.
    explicit CodePage(uint16_t number = 1252);

    uint16_t number() const { return number_; }
    // A byte or pair that means nothing in the code page becomes '?'.
    void decodeAppend(std::string_view bytes, std::u16string& out) const;
    std::u16string decode(std::string_view bytes) const {
        std::u16string out;
        decodeAppend(bytes, out);
        return out;
    }

private:
    uint16_t number_;
    const char16_t* high_ = nullptr;      // a single-byte code page's bytes 0x80-0xFF
    const char16_t* double_ = nullptr;    // a double-byte code page's table
    uint8_t firstLead_ = 0, lastLead_ = 0;
};

}  // namespace kes
