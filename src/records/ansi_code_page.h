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
    virtual std::string encode(std::u16string_view text) const = 0;
    virtual std::u16string decode(std::string_view bytes) const = 0;
};

const AnsiCodePage& systemAnsiCodePage();

}  // namespace kes
