#include <iconv.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "text/ansi_code_page.h"

namespace kes {
namespace {

// GBK (code page 936) by two tables, filled once from the C library's converter by decoding
// every double-byte code: 24,000 conversions at start instead of one per character later.
class GbkCodePage final : public AnsiCodePage {
public:
    GbkCodePage() : toGbk_(std::make_unique<std::array<uint16_t, 0x10000>>()),
                    fromGbk_(std::make_unique<std::array<char16_t, 0x10000>>()) {
        toGbk_->fill(0);
        fromGbk_->fill(0);
        iconv_t cd = iconv_open("UTF-16LE", "GBK");
        if (cd == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("the GBK code page is not available");
        for (unsigned lead = 0x81; lead <= 0xFE; ++lead) {
            for (unsigned trail = 0x40; trail <= 0xFE; ++trail) {
                if (trail == 0x7F) continue;
                char in[2] = {static_cast<char>(lead), static_cast<char>(trail)};
                unsigned char out[4];
                char* source = in;
                char* target = reinterpret_cast<char*>(out);
                size_t inLeft = 2, outLeft = sizeof out;
                iconv(cd, nullptr, nullptr, nullptr, nullptr);
                if (iconv(cd, &source, &inLeft, &target, &outLeft) == static_cast<size_t>(-1) || outLeft != 2) continue;
                const char16_t unit = static_cast<char16_t>(out[0] | out[1] << 8);
                const uint16_t code = static_cast<uint16_t>(lead << 8 | trail);
                (*fromGbk_)[code] = unit;
                if ((*toGbk_)[unit] == 0) (*toGbk_)[unit] = code;
            }
        }
        iconv_close(cd);
    }

    void encodeAppend(std::u16string_view text, std::string& out) const override {
        // At most two bytes for each UTF-16 unit; written in place and trimmed after.
        const size_t start = out.size();
        out.resize(start + text.size() * 2);
        char* p = out.data() + start;
        const uint16_t* table = toGbk_->data();
        const char16_t* c = text.data();
        const char16_t* const end = c + text.size();
        while (c != end) {
            if (end - c >= 4) {   // four ASCII characters at a time, the common case in label texts
                uint64_t four;
                std::memcpy(&four, c, 8);
                if ((four & 0xFF80FF80FF80FF80u) == 0) {
                    p[0] = char(c[0]), p[1] = char(c[1]), p[2] = char(c[2]), p[3] = char(c[3]);
                    p += 4, c += 4;
                    continue;
                }
            }
            const char16_t unit = *c++;
            if (unit < 0x80) {
                *p++ = static_cast<char>(unit);
            } else if (const uint16_t code = table[unit]) {
                *p++ = static_cast<char>(code >> 8);
                *p++ = static_cast<char>(code & 0xFF);
            } else {
                *p++ = '?';   // no mapping; one for a whole surrogate pair
                if (unit >= 0xD800 && unit <= 0xDBFF && c != end && *c >= 0xDC00 && *c <= 0xDFFF) ++c;
            }
        }
        out.resize(static_cast<size_t>(p - out.data()));
    }

    void decodeAppend(std::string_view bytes, std::u16string& out) const override {
        // Decoded through a small buffer and appended, so that the output is written once
        // rather than zero-filled first.
        char16_t buffer[1024];
        char16_t* p = buffer;
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (p == std::end(buffer)) {
                out.append(buffer, p);
                p = buffer;
            }
            const auto lead = static_cast<unsigned char>(bytes[i]);
            if (lead < 0x80) {
                *p++ = static_cast<char16_t>(lead);
                continue;
            }
            const char16_t unit = i + 1 < bytes.size()
                                      ? (*fromGbk_)[static_cast<uint16_t>(lead << 8 | static_cast<unsigned char>(bytes[i + 1]))]
                                      : 0;
            if (unit) ++i;
            *p++ = unit ? unit : u'?';
        }
        out.append(buffer, p);
    }

    void decodeAppendUtf8(std::string_view bytes, std::string& out) const override {
        // At most three bytes of UTF-8 for each byte: a lone byte that GBK does not map
        // becomes '?', a double-byte code a character below U+10000.
        const size_t start = out.size();
        out.resize(start + bytes.size() * 3);
        char* p = out.data() + start;
        const char16_t* table = fromGbk_->data();
        const char* b = bytes.data();
        const char* const end = b + bytes.size();
        while (b != end) {
            if (end - b >= 8) {   // eight ASCII bytes at a time
                uint64_t eight;
                std::memcpy(&eight, b, 8);
                if ((eight & 0x8080808080808080u) == 0) {
                    std::memcpy(p, b, 8);
                    p += 8, b += 8;
                    continue;
                }
            }
            const auto lead = static_cast<unsigned char>(*b++);
            if (lead < 0x80) {
                *p++ = static_cast<char>(lead);
                continue;
            }
            const char16_t unit = b != end ? table[lead << 8 | static_cast<unsigned char>(*b)] : 0;
            if (!unit) {
                *p++ = '?';
                continue;
            }
            ++b;
            if (unit < 0x800) {
                *p++ = static_cast<char>(0xC0 | unit >> 6);
            } else {
                *p++ = static_cast<char>(0xE0 | unit >> 12);
                *p++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
            }
            *p++ = static_cast<char>(0x80 | (unit & 0x3F));
        }
        out.resize(static_cast<size_t>(p - out.data()));
    }

private:
    std::unique_ptr<std::array<uint16_t, 0x10000>> toGbk_;
    std::unique_ptr<std::array<char16_t, 0x10000>> fromGbk_;
};

}  // namespace

const AnsiCodePage& systemAnsiCodePage() {
    static const GbkCodePage codePage;
    return codePage;
}

}  // namespace kes
