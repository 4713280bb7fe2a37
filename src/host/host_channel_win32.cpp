#include "host/host_channel_win32.h"

namespace kes {

void sendCopyDataToHost(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload) {
    COPYDATASTRUCT data{dwData, static_cast<DWORD>(payload.size()), const_cast<char*>(payload.c_str())};
    SendMessageW(reinterpret_cast<HWND>(target), message, 0, reinterpret_cast<LPARAM>(&data));
}

void sendPlainToHost(HostWindow target, uint16_t message, uintptr_t wordParam) {
    SendMessageW(reinterpret_cast<HWND>(target), message, wordParam, 0);
}

bool handleHostMessage(TFrmLabelTool& form, HWND window, HWND owner, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COPYDATA:   // used by hosts as a private command: a text handed over in a global atom
        if (lParam != 0) {
            const ATOM atom = static_cast<ATOM>(LOWORD(lParam));
            wchar_t buffer[256] = {};
            GlobalGetAtomNameW(atom, buffer, 255);
            form.sMessage = reinterpret_cast<const char16_t*>(buffer);
            GlobalDeleteAtom(atom);
        } else {
            form.sMessage.clear();
        }
        return false;
    case WM_SYSCOMMAND:
        if (wParam == SC_MINIMIZE) {   // the whole value: variants with the low bits set go on
            HWND root = owner ? GetAncestor(owner, GA_ROOT) : window;
            ShowWindow(root, SW_MINIMIZE);
            return true;
        }
        return false;
    default: return false;
    }
}

}  // namespace kes
