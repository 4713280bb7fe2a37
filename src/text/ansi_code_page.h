#pragma once
// The 8-bit code page that host texts and the record table's fields are kept in: on Windows
// the system's ANSI code page, elsewhere a fixed double-byte one (GBK, code page 936), so that
// byte counts behave the same way in the tests as on a Chinese Windows.
#include <string>
#include <string_view>

namespace kes {

class AnsiCodePage {
public:
    virtual ~AnsiCodePage() = default;
    // Characters without a mapping become the code page's replacement character.
    virtual void encodeAppend(std::u16string_view text, std::string& out) const = 0;
    virtual void decodeAppend(std::string_view bytes, std::u16string& out) const = 0;
    // The bytes decoded and appended to `out` as UTF-8; by way of UTF-16 unless the code page
    // knows a shorter way.
    virtual void decodeAppendUtf8(std::string_view bytes, std::string& out) const;

    std::string encode(std::u16string_view text) const {
        std::string out;
        encodeAppend(text, out);
        return out;
    }
    std::u16string decode(std::string_view bytes) const {
        std::u16string out;
        decodeAppend(bytes, out);
        return out;
    }
};

const AnsiCodePage& systemAnsiCodePage();

}  // namespace kes
