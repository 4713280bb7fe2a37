#include "ui/label_tool_window_win32.h"

#include <commdlg.h>
#include <objbase.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "host/host_channel_win32.h"
#include "text/utf8.h"
#include "ui/window_support_win32.h"

namespace kes {
namespace {

const wchar_t kFormClass[] = L"TFrmLabelTool";
const wchar_t kPanelClass[] = L"KesPanel";
constexpr int kClientWidth = 1001, kClientHeight = 668, kPanel1Height = 43;
constexpr UINT_PTR kTimerId = 1;

// The controls' ids, named as the form names its components.
namespace control {
enum : int {
    btnInport = 1001, btnOutPut, btnPrintOne, btnPrintAll, btnClose, Button1, chPreview, btnSendMes, rbIfShow, Label1,
    Memo1, Memo2,
};
}  // namespace control

HWND makeChild(HWND parent, const wchar_t* cls, const wchar_t* text, DWORD style, int x, int y, int w, int h, int id,
               HFONT font) {
    HWND child = CreateWindowExW(0, cls, text, WS_CHILD | style, x, y, w, h, parent,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return child;
}

HFONT makeFont(const wchar_t* face, int pixelHeight) {
    return CreateFontW(-pixelHeight, 0, 0, 0, FW_NORMAL, 0, 0, 0, GB2312_CHARSET, 0, 0, textQuality(), 0, face);
}

}  // namespace

LabelToolWindow::LabelToolWindow(HWND owner) : owner_(owner) {
    registerWindowClass(kFormClass, 0, GetSysColorBrush(COLOR_BTNFACE));
    registerWindowClass(kPanelClass, 0, GetSysColorBrush(COLOR_BTNFACE));
    form_ = std::make_unique<TFrmLabelTool>(*this);
    RECT frame{0, 0, kClientWidth, kClientHeight};
    const DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MAXIMIZEBOX | WS_THICKFRAME | WS_CLIPCHILDREN;
    AdjustWindowRectEx(&frame, style, FALSE, 0);
    const int width = frame.right - frame.left, height = frame.bottom - frame.top;
    RECT around{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    if (owner_) GetWindowRect(owner_, &around);
    // Centred over the host, but kept on the host's monitor as far as it fits.
    MONITORINFO monitor{sizeof monitor};
    GetMonitorInfoW(MonitorFromRect(&around, MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT& work = monitor.rcWork;
    int x = around.left + (around.right - around.left - width) / 2;
    int y = around.top + (around.bottom - around.top - height) / 2;
    x = std::max<int>(work.left, std::min<int>(x, work.right - width));
    y = std::max<int>(work.top, std::min<int>(y, work.bottom - height));
    window_ = CreateWindowExW(0, kFormClass, L"\u5FEB\u901F\u6253\u5370\u5DE5\u5177", style, x, y, width, height, owner_,
                              nullptr, moduleInstance(), nullptr);   // 快速打印工具
    if (!window_) throw std::runtime_error("the quick print window could not be created");
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&LabelToolWindow::WndProc));
    createControls();
    layout();
    SetTimer(window_, kTimerId, form_->Timer.Interval, nullptr);
}

LabelToolWindow::~LabelToolWindow() {
    grid_.reset();
    if (window_) DestroyWindow(window_);
    for (HFONT font : {formFont_, panelFont_, labelFont_}) {
        if (font) DeleteObject(font);
    }
}

void LabelToolWindow::createControls() {
    formFont_ = makeFont(L"\u5FAE\u8F6F\u96C5\u9ED1", 14);   // 微软雅黑
    panelFont_ = makeFont(L"\u5FAE\u8F6F\u96C5\u9ED1", 12);
    labelFont_ = makeFont(L"\u5FAE\u8F6F\u96C5\u9ED1", 14);
    const DWORD visible = WS_VISIBLE;
    PanelAll = makeChild(window_, kPanelClass, L"", visible | WS_CLIPCHILDREN, 0, 0, 10, 10, 0, formFont_);
    // The check box sits on the outer panel, under the white panel that fills it: it exists
    // and is read by nothing, as the preview flag comes from the hidden chPreview.
    Panel4 = makeChild(PanelAll, kPanelClass, L"", visible | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, 0, 0, 10, 10, 0, formFont_);
    HWND rbIfShow = makeChild(PanelAll, L"BUTTON", L"\u6253\u5370\u662F\u5426\u6D4F\u89C8",
                              visible | BS_AUTOCHECKBOX | WS_CLIPSIBLINGS, 27, 6, 120, 17, control::rbIfShow, formFont_);   // 打印是否浏览
    SetWindowPos(rbIfShow, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    Panel1 = makeChild(Panel4, kPanelClass, L"", visible | WS_CLIPCHILDREN, 0, 0, 10, kPanel1Height, 0, panelFont_);
    for (HWND panel : {PanelAll, Panel4, Panel1}) {
        SetWindowLongPtrW(panel, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        SetWindowLongPtrW(panel, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&LabelToolWindow::panelProc));
    }

    const auto button = [&](const wchar_t* caption, int x, int y, int id, bool shown, DWORD extra = BS_PUSHBUTTON) {
        return makeChild(Panel1, L"BUTTON", caption, (shown ? visible : 0) | WS_TABSTOP | extra, x, y, 75, 25, id, panelFont_);
    };
    button(L"\u5BFC\u5165Excel", 8, 8, control::btnInport, true);        // 导入Excel
    button(L"\u5BFC\u51FAExcel", 89, 8, control::btnOutPut, true);       // 导出Excel
    button(L"\u6253\u5370\u672C\u884C", 240, 8, control::btnPrintOne, true);   // 打印本行
    button(L"\u6253\u5370\u672C\u9875", 320, 8, control::btnPrintAll, true);   // 打印本页
    Label1 = makeChild(Panel1, L"STATIC", L"\u63D0\u793A\uFF1A\u641C\u7D22\u529F\u80FD\u7528Ctrl+F", visible, 403, 10, 165,
                        20, control::Label1, labelFont_);   // 提示：搜索功能用Ctrl+F
    button(L"\u9000\u51FA", 572, 8, control::btnClose, true);            // 退出
    button(L"Button1", 670, 8, control::Button1, false);
    HWND chPreview = button(L"\u6253\u5370\u9884\u89C8", 751, 12, control::chPreview, false, BS_AUTOCHECKBOX);   // 打印预览
    SendMessageW(chPreview, BM_SETCHECK, form_->chPreview ? BST_CHECKED : BST_UNCHECKED, 0);
    button(L"\u53D1\u9001\u6D88\u606F", 784, 12, control::btnSendMes, false);   // 发送消息
    // The hidden memos exist as designed; the texts they buffer live in the form itself, where
    // a print's array text (megabytes at times) is not copied into an edit control.
    makeChild(Panel4, L"EDIT", L"", ES_MULTILINE | WS_VSCROLL, 336, 200, 593, 281, control::Memo1, formFont_);
    makeChild(Panel4, L"EDIT", L"Memo2", ES_MULTILINE | WS_VSCROLL, 488, 144, 209, 193, control::Memo2, formFont_);

    grid_ = std::make_unique<GridControl>(
        Panel4, form_->SpreadBook,
        [this](SheetTable& table, int32_t row, int32_t column, const std::u16string& text) {
            form_->SetCellText(table, row, column, text, true);
        },
        [this](const std::exception& error) { showError(error); });
    grid_->setPageEnd([this](int32_t fromRow) { return form_->PageEndRow(fromRow); });
}

void LabelToolWindow::layout() {
    RECT client;
    GetClientRect(window_, &client);
    MoveWindow(PanelAll, 0, 0, client.right, client.bottom, TRUE);
    // The outer panel's border of one pixel shows around the white panel.
    MoveWindow(Panel4, 1, 1, client.right - 2, client.bottom - 2, TRUE);
    MoveWindow(Panel1, 0, 0, client.right - 2, kPanel1Height, TRUE);
    grid_->setBounds({0, kPanel1Height, client.right - 2, client.bottom - 2});
}

void LabelToolWindow::showModal() {
    run([&] { form_->FormShow(); });
    grid_->refresh();
    HWND root = owner_ ? GetAncestor(owner_, GA_ROOT) : nullptr;
    const bool disableRoot = root && IsWindowEnabled(root);
    if (disableRoot) EnableWindow(root, FALSE);
    ShowWindow(window_, SW_SHOW);
    BringWindowToTop(window_);
    SetForegroundWindow(window_);
    grid_->focus();
    MSG message;
    while (!closed_) {
        const BOOL got = GetMessageW(&message, nullptr, 0, 0);
        if (got <= 0) {
            if (got == 0) PostQuitMessage(static_cast<int>(message.wParam));   // leave it for the host's loop
            break;
        }
        if (HWND find = grid_->findWindow(); find && IsDialogMessageW(find, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    // The owner comes back before this window goes, so that the focus returns to the host.
    if (disableRoot) EnableWindow(root, TRUE);
    ShowWindow(window_, SW_HIDE);
    if (root) SetActiveWindow(root);
}

template <class Handler>
void LabelToolWindow::run(Handler&& handler, int button) {
    try {
        handler();
    } catch (const EAbort&) {
        // the command showed its message and stopped
    } catch (const std::exception& error) {
        showError(error, button);
    }
    grid_->refresh();
}

// Running out of memory is told as such, with the command it stopped: a 32-bit host leaves the
// library 2 GB, which a large sheet can fill. What the command had allocated is freed by then,
// so the message box and the window go on.
namespace {

// A thread that finds no address space for its stack fails with resource_unavailable_try_again.
bool outOfMemory(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error)) return true;
    const auto* system = dynamic_cast<const std::system_error*>(&error);
    return system && (system->code() == std::errc::not_enough_memory || system->code() == std::errc::resource_unavailable_try_again);
}

}  // namespace

void LabelToolWindow::showError(const std::exception& error, int button) {
    std::u16string text;
    if (outOfMemory(error)) {
        wchar_t caption[64] = {};
        if (button) GetDlgItemTextW(Panel1, button, caption, 64);
        // 内存不足，“导入Excel”未能完成。 or, for no named command, 内存不足，操作未能完成。
        text = *caption ? u"\u5185\u5B58\u4E0D\u8DB3\uFF0C\u201C" + fromWide(caption) + u"\u201D\u672A\u80FD\u5B8C\u6210\u3002"
                        : u"\u5185\u5B58\u4E0D\u8DB3\uFF0C\u64CD\u4F5C\u672A\u80FD\u5B8C\u6210\u3002";
    } else {
        text = fromUtf8(error.what());
    }
    MessageBoxW(window_, wide(text), L"KesDataPrint", MB_OK | MB_ICONSTOP);
}

void LabelToolWindow::command(int id) {
    switch (id) {
    case control::btnPrintAll: grid_->commitEdit(); run([&] { form_->btnPrintAllClick(); }, id); break;
    case control::btnPrintOne: grid_->commitEdit(); run([&] { form_->btnPrintOneClick(); }, id); break;
    case control::btnSendMes: run([&] { form_->btnSendMesClick(); }, id); break;
    case control::btnClose: run([&] { form_->btnCloseClick(); }, id); break;
    case control::btnInport:
        run([&] { form_->btnInportClick(); }, id);
        grid_->showCell(form_->SpreadBook.activeSheet()->selection().focusedRow(),
                        form_->SpreadBook.activeSheet()->selection().focusedColumn());
        break;
    case control::btnOutPut: run([&] { form_->btnOutPutClick(); }, id); break;
    case control::Button1: run([&] { form_->Button1Click(); }, id); break;
    default: return;
    }
    if (!closed_) grid_->focus();
}

LRESULT CALLBACK LabelToolWindow::WndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<LabelToolWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->handle(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

// Panels pass their children's notifications on to the form and paint themselves white,
// except the outer one, which shows the face colour as its border.
LRESULT CALLBACK LabelToolWindow::panelProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<LabelToolWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_COMMAND:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
        return self->handle(message, wParam, lParam);
    case WM_ERASEBKGND: {
        RECT r;
        GetClientRect(window, &r);
        FillRect(reinterpret_cast<HDC>(wParam), &r,
                 window == self->PanelAll ? GetSysColorBrush(COLOR_BTNFACE) : static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
        return 1;
    }
    default: return DefWindowProcW(window, message, wParam, lParam);
    }
}

LRESULT LabelToolWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
        if (HIWORD(wParam) == BN_CLICKED) command(LOWORD(wParam));
        return 0;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN: {
        HDC dc = reinterpret_cast<HDC>(wParam);
        SetBkMode(dc, TRANSPARENT);
        if (reinterpret_cast<HWND>(lParam) == Label1) SetTextColor(dc, RGB(0, 0, 0xFF));
        return reinterpret_cast<LRESULT>(GetStockObject(WHITE_BRUSH));
    }
    case WM_SIZE:
        if (grid_) layout();
        return 0;
    case WM_TIMER:
        if (wParam == kTimerId) {
            form_->TimerTimer();
            if (!form_->Timer.Enabled) KillTimer(window_, kTimerId);
        }
        return 0;
    case WM_COPYDATA:
    case WM_SYSCOMMAND:
        if (handleHostMessage(*form_, window_, owner_, message, wParam, lParam)) return 0;
        break;
    case WM_CLOSE: {
        // The form asks to be freed; the entry does that, once, when the modal loop has ended.
        TCloseAction action = TCloseAction::caHide;
        form_->FormClose(action);
        closed_ = action != TCloseAction::caNone;
        return 0;
    }
    case WM_SETTINGCHANGE:
        if (grid_ && (wParam == SPI_SETFONTSMOOTHING || wParam == SPI_SETFONTSMOOTHINGTYPE)) grid_->remakeFonts();
        break;
    case WM_ACTIVATE:
        if (LOWORD(wParam) != WA_INACTIVE && grid_) grid_->focus();
        break;
    }
    return DefWindowProcW(window_, message, wParam, lParam);
}

void LabelToolWindow::showMessage(const std::u16string& text) {
    MessageBoxW(window_, wide(text), L"KesDataPrint", MB_OK);
}

void LabelToolWindow::sendCopyData(HostWindow target, uint16_t message, uint32_t dwData, const std::string& payload) {
    sendCopyDataToHost(target, message, dwData, payload);
}

void LabelToolWindow::sendPlain(HostWindow target, uint16_t message, uintptr_t wordParam) {
    sendPlainToHost(target, message, wordParam);
}

FormPlatform::Guid LabelToolWindow::newGuid() {
    GUID g{};
    CoCreateGuid(&g);
    Guid result{static_cast<uint32_t>(g.Data1), g.Data2, g.Data3, {}};
    for (int i = 0; i < 8; ++i) result.data4[static_cast<size_t>(i)] = g.Data4[i];
    return result;
}

std::u16string LabelToolWindow::clipboardText() {
    std::u16string text;
    if (!OpenClipboard(window_)) return text;
    if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        if (const auto* chars = static_cast<const char16_t*>(GlobalLock(data))) {
            text = chars;
            GlobalUnlock(data);
        }
    }
    CloseClipboard();
    return text;
}

void LabelToolWindow::closeForm() { PostMessageW(window_, WM_CLOSE, 0, 0); }

namespace {

// "description|patterns|..." as the dialogs want it: parts ended by zeros, the list by two.
std::wstring dialogFilter(const std::u16string& filter) {
    std::wstring parts(filter.begin(), filter.end());
    for (wchar_t& c : parts) {
        if (c == L'|') c = L'\0';
    }
    parts.push_back(L'\0');
    parts.push_back(L'\0');
    return parts;
}

std::optional<std::u16string> runFileDialog(HWND owner, const std::u16string& filter, int filterIndex,
                                            const std::u16string* defaultExtension) {
    const std::wstring filters = dialogFilter(filter);
    std::wstring extension = defaultExtension ? std::wstring(defaultExtension->begin(), defaultExtension->end()) : L"";
    wchar_t file[MAX_PATH * 4] = {};
    OPENFILENAMEW dialog{sizeof dialog};
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filters.c_str();
    dialog.nFilterIndex = static_cast<DWORD>(filterIndex);
    dialog.lpstrFile = file;
    dialog.nMaxFile = static_cast<DWORD>(std::size(file));
    dialog.Flags = OFN_HIDEREADONLY | OFN_ENABLESIZING | OFN_EXPLORER;   // no overwrite prompt, as designed
    if (defaultExtension) dialog.lpstrDefExt = extension.c_str();
    const BOOL chosen = defaultExtension ? GetSaveFileNameW(&dialog) : GetOpenFileNameW(&dialog);
    if (!chosen) return std::nullopt;
    return fromWide(file);
}

}  // namespace

std::optional<std::u16string> LabelToolWindow::chooseFileToOpen(const std::u16string& filter, int filterIndex) {
    return runFileDialog(window_, filter, filterIndex, nullptr);
}

std::optional<std::u16string> LabelToolWindow::chooseFileToSave(const std::u16string& filter, int filterIndex,
                                                                const std::u16string& defaultExtension) {
    return runFileDialog(window_, filter, filterIndex, &defaultExtension);
}

}  // namespace kes
