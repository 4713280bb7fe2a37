#include <iconv.h>

#include <array>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "records/ansi_code_page.h"

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
        char buffer[2048];
        char* p = buffer;
        for (size_t i = 0; i < text.size(); ++i) {
            if (p > std::end(buffer) - 2) {
                out.append(buffer, p);
                p = buffer;
            }
            const char16_t c = text[i];
            if (c < 0x80) {
                *p++ = static_cast<char>(c);
            } else if (const uint16_t code = (*toGbk_)[c]) {
                *p++ = static_cast<char>(code >> 8);
                *p++ = static_cast<char>(code & 0xFF);
            } else {
                *p++ = '?';   // no mapping; one for a whole surrogate pair
                if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) ++i;
            }
        }
        out.append(buffer, p);
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
