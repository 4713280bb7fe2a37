// The find and replace dialog: a small tool window over the grid that moves the current cell
// to the next cell holding the text, and replaces it there or everywhere (Ctrl+F, Ctrl+H).
#include "ui/grid_control_win32.h"

#include <string>

#include "ui/window_support_win32.h"

namespace kes {
namespace {

const wchar_t kFindClass[] = L"KesGridFind";
constexpr int kFindEdit = 101, kFindCase = 102, kFindNext = 103, kFindClose = 104;
constexpr int kReplaceEdit = 105, kFindWhole = 106, kReplaceOne = 107, kReplaceAll = 108;
const wchar_t kNotFound[] = L"\u627E\u4E0D\u5230\u6B63\u5728\u641C\u7D22\u7684\u6570\u636E\u3002";   // 找不到正在搜索的数据。

}  // namespace

void GridControl::findOrReplace(bool replace) {
    const wchar_t* title = replace ? L"\u67E5\u627E\u548C\u66FF\u6362" : L"\u67E5\u627E";   // 查找和替换, 查找
    if (findWindow_) {
        SetWindowTextW(findWindow_, title);
        SetFocus(findEdit_);
        return;
    }
    registerWindowClass(kFindClass, 0, GetSysColorBrush(COLOR_BTNFACE));
    HWND top = GetAncestor(window_, GA_ROOT);
    // The dialog keeps its size whatever the grid's zoom.
    const auto dialogScaled = [this](int pixels) { return MulDiv(pixels, dpi_, 96); };
    RECT r;
    GetWindowRect(window_, &r);
    findWindow_ = CreateWindowExW(WS_EX_TOOLWINDOW, kFindClass, title, WS_POPUP | WS_CAPTION | WS_SYSMENU,
                                  r.left + dialogScaled(80), r.top + dialogScaled(60), dialogScaled(360),
                                  dialogScaled(170), top, nullptr, moduleInstance(), nullptr);
    SetWindowLongPtrW(findWindow_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(findWindow_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&GridControl::findProc));
    HFONT uiFont = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    const auto child = [&](const wchar_t* cls, const wchar_t* text, DWORD style, int x, int y, int w, int h, int id) {
        HWND c = CreateWindowExW(0, cls, text, WS_CHILD | WS_VISIBLE | style, dialogScaled(x), dialogScaled(y),
                                 dialogScaled(w), dialogScaled(h), findWindow_,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
        SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(uiFont), FALSE);
        return c;
    };
    child(L"STATIC", L"\u67E5\u627E\u5185\u5BB9:", 0, 10, 14, 70, 20, 0);   // 查找内容:
    findEdit_ = child(L"EDIT", L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 80, 10, 170, 22, kFindEdit);
    child(L"STATIC", L"\u66FF\u6362\u4E3A:", 0, 10, 44, 70, 20, 0);   // 替换为:
    replaceEdit_ = child(L"EDIT", L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 80, 40, 170, 22, kReplaceEdit);
    findCase_ = child(L"BUTTON", L"\u533A\u5206\u5927\u5C0F\u5199", WS_TABSTOP | BS_AUTOCHECKBOX, 80, 72, 170, 20, kFindCase);  // 区分大小写
    findWhole_ = child(L"BUTTON", L"\u5355\u5143\u683C\u5339\u914D", WS_TABSTOP | BS_AUTOCHECKBOX, 80, 96, 170, 20, kFindWhole);  // 单元格匹配
    child(L"BUTTON", L"\u67E5\u627E\u4E0B\u4E00\u4E2A", WS_TABSTOP | BS_DEFPUSHBUTTON, 260, 9, 84, 24, kFindNext);  // 查找下一个
    child(L"BUTTON", L"\u66FF\u6362", WS_TABSTOP, 260, 39, 84, 24, kReplaceOne);       // 替换
    child(L"BUTTON", L"\u5168\u90E8\u66FF\u6362", WS_TABSTOP, 260, 69, 84, 24, kReplaceAll);   // 全部替换
    child(L"BUTTON", L"\u5173\u95ED", WS_TABSTOP, 260, 99, 84, 24, kFindClose);   // 关闭
    ShowWindow(findWindow_, SW_SHOW);
    SetFocus(findEdit_);
}

FindOptions GridControl::findOptions() {
    return {windowText(findEdit_), SendMessageW(findCase_, BM_GETCHECK, 0, 0) == BST_CHECKED,
            SendMessageW(findWhole_, BM_GETCHECK, 0, 0) == BST_CHECKED};
}

void GridControl::findNext() {
    const SheetSelection& s = sheet().selection();
    if (auto found = findMatch(sheet(), findOptions(), {s.focusedRow(), s.focusedColumn()})) {
        moveFocus(found->row, found->column, false);
    } else {
        MessageBoxW(findWindow_, kNotFound, L"\u67E5\u627E", MB_OK | MB_ICONINFORMATION);
    }
}

void GridControl::replaceCurrent() {
    const SheetSelection& s = sheet().selection();
    std::optional<CellPosition> next;
    guarded([&] { next = replaceNext(sheet(), findOptions(), windowText(replaceEdit_), {s.focusedRow(), s.focusedColumn()}, writer_); });
    if (next) moveFocus(next->row, next->column, false);
    else MessageBoxW(findWindow_, kNotFound, L"\u66FF\u6362", MB_OK | MB_ICONINFORMATION);
    refresh();
}

void GridControl::replaceEverywhere() {
    int64_t count = 0;
    guarded([&] { count = replaceAll(sheet(), findOptions(), windowText(replaceEdit_), writer_); });
    refresh();
    // 全部完成。完成 N 处替换。
    const std::wstring done = count == 0 ? std::wstring(kNotFound)
                                         : L"\u5168\u90E8\u5B8C\u6210\u3002\u5B8C\u6210 " + std::to_wstring(count) +
                                               L" \u5904\u66FF\u6362\u3002";
    MessageBoxW(findWindow_, done.c_str(), L"\u66FF\u6362", MB_OK | MB_ICONINFORMATION);
}

LRESULT CALLBACK GridControl::findProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<GridControl*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case kFindNext:
        case IDOK: self->findNext(); break;
        case kReplaceOne: self->replaceCurrent(); break;
        case kReplaceAll: self->replaceEverywhere(); break;
        case kFindClose:
        case IDCANCEL: DestroyWindow(window); break;
        }
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
