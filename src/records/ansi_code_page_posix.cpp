#include <iconv.h>

#include <cerrno>
#include <mutex>
#include <stdexcept>

#include "records/ansi_code_page.h"

namespace kes {
namespace {

// GBK through the C library's converter, one character at a time where it has to replace one.
class GbkCodePage final : public AnsiCodePage {
public:
    GbkCodePage() : toGbk_(iconv_open("GBK", "UTF-16LE")), fromGbk_(iconv_open("UTF-16LE", "GBK")) {
        if (toGbk_ == reinterpret_cast<iconv_t>(-1) || fromGbk_ == reinterpret_cast<iconv_t>(-1))
            throw std::runtime_error("the GBK code page is not available");
    }

    std::string encode(std::u16string_view text) const override {
        std::string out;
        out.reserve(text.size() * 2);
        std::lock_guard lock(mutex_);
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] < 0x80) {
                out.push_back(static_cast<char>(text[i]));
                continue;
            }
            const size_t units = (isHigh(text[i]) && i + 1 < text.size() && isLow(text[i + 1])) ? 2 : 1;
            char buffer[8];
            if (!convert(toGbk_, reinterpret_cast<const char*>(text.data() + i), units * 2, buffer, sizeof buffer, out)) {
                out.push_back('?');
            }
            i += units - 1;
        }
        return out;
    }

    std::u16string decode(std::string_view bytes) const override {
        std::u16string out;
        out.reserve(bytes.size());
        std::lock_guard lock(mutex_);
        for (size_t i = 0; i < bytes.size();) {
            const auto lead = static_cast<unsigned char>(bytes[i]);
            if (lead < 0x80) {
                out.push_back(lead);
                ++i;
                continue;
            }
            const size_t length = (i + 1 < bytes.size()) ? 2 : 1;
            char buffer[8];
            std::string units;
            if (length == 2 && convert(fromGbk_, bytes.data() + i, 2, buffer, sizeof buffer, units)) {
                for (size_t k = 0; k + 1 < units.size(); k += 2)
                    out.push_back(static_cast<char16_t>(static_cast<unsigned char>(units[k]) |
                                                        static_cast<unsigned char>(units[k + 1]) << 8));
                i += 2;
            } else {
                out.push_back(u'?');
                ++i;
            }
        }
        return out;
    }

private:
    static bool isHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
    static bool isLow(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

    static bool convert(iconv_t cd, const char* in, size_t inBytes, char* buffer, size_t size, std::string& out) {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char* source = const_cast<char*>(in);
        char* target = buffer;
        size_t left = size;
        if (iconv(cd, &source, &inBytes, &target, &left) == static_cast<size_t>(-1) || inBytes != 0) return false;
        out.append(buffer, size - left);
        return true;
    }

    iconv_t toGbk_;
    iconv_t fromGbk_;
    mutable std::mutex mutex_;
};

}  // namespace

const AnsiCodePage& systemAnsiCodePage() {
    static const GbkCodePage codePage;
    return codePage;
}

}  // namespace kes
