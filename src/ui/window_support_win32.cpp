#include "ui/window_support_win32.h"

namespace kes {

HINSTANCE moduleInstance() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&moduleInstance), &module);
    return module;
}

void registerWindowClass(const wchar_t* name, UINT style, HBRUSH background) {
    WNDCLASSEXW wc{sizeof wc};
    wc.style = style;
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = moduleInstance();
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = background;
    wc.lpszClassName = name;
    RegisterClassExW(&wc);
}

BYTE textQuality() {
    BOOL smoothing = TRUE;
    UINT type = FE_FONTSMOOTHINGCLEARTYPE;
    if (!SystemParametersInfoW(SPI_GETFONTSMOOTHING, 0, &smoothing, 0)) return DEFAULT_QUALITY;
    if (!smoothing) return NONANTIALIASED_QUALITY;
    if (!SystemParametersInfoW(SPI_GETFONTSMOOTHINGTYPE, 0, &type, 0)) return DEFAULT_QUALITY;
    return type == FE_FONTSMOOTHINGCLEARTYPE ? CLEARTYPE_QUALITY : ANTIALIASED_QUALITY;
}

std::u16string windowText(HWND window) {
    const int length = GetWindowTextLengthW(window);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<size_t>(length));
    return fromWide(text.c_str());
}

}  // namespace kes
