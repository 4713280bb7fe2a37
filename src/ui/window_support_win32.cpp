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

std::u16string windowText(HWND window) {
    const int length = GetWindowTextLengthW(window);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    GetWindowTextW(window, text.data(), length + 1);
    text.resize(static_cast<size_t>(length));
    return fromWide(text.c_str());
}

}  // namespace kes
