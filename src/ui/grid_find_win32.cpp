// The find dialog: a small tool window over the grid that moves the current cell to the next
// cell holding the text.
#include "ui/grid_control_win32.h"

#include "sheet/navigation.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

const wchar_t kFindClass[] = L"KesGridFind";
constexpr int kFindEdit = 101, kFindCase = 102, kFindNext = 103, kFindClose = 104;

}  // namespace

void GridControl::openFind() {
    if (findWindow_) {
        SetFocus(findEdit_);
        return;
    }
    registerWindowClass(kFindClass, 0, GetSysColorBrush(COLOR_BTNFACE));
    HWND top = GetAncestor(window_, GA_ROOT);
    RECT r;
    GetWindowRect(window_, &r);
    findWindow_ = CreateWindowExW(WS_EX_TOOLWINDOW, kFindClass, L"\u67E5\u627E", WS_POPUP | WS_CAPTION | WS_SYSMENU,
                                  r.left + scaled(80), r.top + scaled(60), scaled(360), scaled(120), top, nullptr,
                                  moduleInstance(), nullptr);   // 查找
    SetWindowLongPtrW(findWindow_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(findWindow_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&GridControl::findProc));
    HFONT uiFont = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    const auto child = [&](const wchar_t* cls, const wchar_t* text, DWORD style, int x, int y, int w, int h, int id) {
        HWND c = CreateWindowExW(0, cls, text, WS_CHILD | WS_VISIBLE | style, scaled(x), scaled(y), scaled(w), scaled(h),
                                 findWindow_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
        SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(uiFont), FALSE);
        return c;
    };
    child(L"STATIC", L"\u67E5\u627E\u5185\u5BB9:", 0, 10, 14, 70, 20, 0);   // 查找内容:
    findEdit_ = child(L"EDIT", L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 80, 10, 170, 22, kFindEdit);
    findCase_ = child(L"BUTTON", L"\u533A\u5206\u5927\u5C0F\u5199", WS_TABSTOP | BS_AUTOCHECKBOX, 80, 42, 170, 20, kFindCase);  // 区分大小写
    child(L"BUTTON", L"\u67E5\u627E\u4E0B\u4E00\u4E2A", WS_TABSTOP | BS_DEFPUSHBUTTON, 260, 9, 84, 24, kFindNext);  // 查找下一个
    child(L"BUTTON", L"\u5173\u95ED", WS_TABSTOP, 260, 40, 84, 24, kFindClose);   // 关闭
    ShowWindow(findWindow_, SW_SHOW);
    SetFocus(findEdit_);
}

void GridControl::findNext() {
    const std::u16string text = windowText(findEdit_);
    const bool matchCase = SendMessageW(findCase_, BM_GETCHECK, 0, 0) == BST_CHECKED;
    const SheetSelection& s = sheet().selection();
    if (auto found = findText(sheet(), text, matchCase, {s.focusedRow(), s.focusedColumn()})) {
        moveFocus(found->row, found->column, false);
    } else {
        MessageBoxW(findWindow_, L"\u627E\u4E0D\u5230\u6B63\u5728\u641C\u7D22\u7684\u6570\u636E\u3002", L"\u67E5\u627E",
                    MB_OK | MB_ICONINFORMATION);   // 找不到正在搜索的数据。
    }
}

LRESULT CALLBACK GridControl::findProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_COMMAND:
        if (LOWORD(wParam) == kFindNext || LOWORD(wParam) == IDOK) self->findNext();
        else if (LOWORD(wParam) == kFindClose || LOWORD(wParam) == IDCANCEL) DestroyWindow(window);
        return 0;
    case WM_CLOSE: DestroyWindow(window); return 0;
    case WM_DESTROY:
        self->findWindow_ = nullptr;
        self->focus();
        return 0;
    default: return DefWindowProcW(window, message, wParam, lParam);
    }
}

}  // namespace kes
