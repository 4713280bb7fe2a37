#include <windows.h>

#include "records/ansi_code_page.h"

namespace kes {
namespace {

class SystemCodePage final : public AnsiCodePage {
public:
    std::string encode(std::u16string_view text) const override {
        if (text.empty()) return {};
        const auto* wide = reinterpret_cast<const wchar_t*>(text.data());
        const int n = WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
        std::string out(static_cast<size_t>(n > 0 ? n : 0), '\0');
        WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
        return out;
    }

    std::u16string decode(std::string_view bytes) const override {
        if (bytes.empty()) return {};
        const int n = MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
        std::wstring out(static_cast<size_t>(n > 0 ? n : 0), L'\0');
        MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()), out.data(), n);
        return std::u16string(reinterpret_cast<const char16_t*>(out.data()), out.size());
    }
};

}  // namespace

const AnsiCodePage& systemAnsiCodePage() {
    static const SystemCodePage codePage;
    return codePage;
}

}  // namespace kes
