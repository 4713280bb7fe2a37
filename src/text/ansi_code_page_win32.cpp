#include <windows.h>

#include "text/ansi_code_page.h"

namespace kes {
namespace {

class SystemCodePage final : public AnsiCodePage {
public:
    void encodeAppend(std::u16string_view text, std::string& out) const override {
        if (text.empty()) return;
        const auto* wide = reinterpret_cast<const wchar_t*>(text.data());
        const int n = WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
        if (n <= 0) return;
        const size_t start = out.size();
        out.resize(start + static_cast<size_t>(n));
        WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), out.data() + start, n, nullptr, nullptr);
    }

    void decodeAppend(std::string_view bytes, std::u16string& out) const override {
        if (bytes.empty()) return;
        const int n = MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
        if (n <= 0) return;
        const size_t start = out.size();
        out.resize(start + static_cast<size_t>(n));
        MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), reinterpret_cast<wchar_t*>(out.data() + start), n);
    }
};

}  // namespace

const AnsiCodePage& systemAnsiCodePage() {
    static const SystemCodePage codePage;
    return codePage;
}

}  // namespace kes
