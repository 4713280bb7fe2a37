// A reference host application: it loads KesDataPrint.dll, calls SetDllFormPRec with the field
// list typed into its edit box, and logs every WM_COPYDATA the library sends it.
#include <windows.h>

#include <cstdio>
#include <shellapi.h>
#include <string>

#include "KesDataPrint.h"
#include "kes_host.h"

namespace kes::host {

namespace {

constexpr int kFieldsEdit = 1, kOpenButton = 2, kLog = 3;
HWND fieldsEdit, logEdit, mainWindow;

std::wstring fromUtf8(const char* bytes, int length) {
    const int n = MultiByteToWideChar(CP_UTF8, 0, bytes, length, nullptr, 0);
    std::wstring text(static_cast<size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes, length, text.data(), n);
    return text;
}

std::string toAnsi(const std::wstring& text) {
    const int n = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, bytes.data(), n, nullptr, nullptr);
    return bytes;
}

void openFromFieldsBox() {
    wchar_t fields[4096];
    GetWindowTextW(fieldsEdit, fields, 4096);
    openQuickPrint(mainWindow, fields);
}

LRESULT CALLBACK hostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
        if (LOWORD(wParam) == kOpenButton) openFromFieldsBox();
        return 0;
    case WM_COPYDATA: {
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        appendLog(L"WM_COPYDATA preview=" + std::to_wstring(data->dwData) + L" bytes=" + std::to_wstring(data->cbData));
        const std::wstring payload = fromUtf8(static_cast<const char*>(data->lpData), static_cast<int>(data->cbData));
        appendLog(payload);
        const std::string bytes(static_cast<const char*>(data->lpData), data->cbData);
        std::printf("WM_COPYDATA dwData=%lu cbData=%lu\n%s\n", static_cast<unsigned long>(data->dwData),
                    static_cast<unsigned long>(data->cbData), bytes.c_str());
        std::fflush(stdout);
        return TRUE;
    }
    case WM_SIZE: {
        const int width = LOWORD(lParam), height = HIWORD(lParam);
        MoveWindow(fieldsEdit, 8, 8, width - 130, 24, TRUE);
        MoveWindow(GetDlgItem(window, kOpenButton), width - 114, 6, 106, 28, TRUE);
        MoveWindow(logEdit, 8, 42, width - 16, height - 50, TRUE);
        return 0;
    }
    case WM_DESTROY: PostQuitMessage(0); return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

void appendLog(const std::wstring& line) {
    const int end = GetWindowTextLengthW(logEdit);
    SendMessageW(logEdit, EM_SETSEL, end, end);
    SendMessageW(logEdit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>((line + L"\r\n").c_str()));
}

int openQuickPrint(HWND hostWindow, const std::wstring& fields) {
    HMODULE library = LoadLibraryW(L"KesDataPrint.dll");
    auto entry = library ? reinterpret_cast<KesSetDllFormPRecProc>(reinterpret_cast<void*>(GetProcAddress(library, KESDATAPRINT_ENTRY_NAME)))
                         : nullptr;
    if (!entry) {
        appendLog(L"KesDataPrint.dll or its SetDllFormPRec cannot be loaded");
        return -1;
    }
    HWND handle = hostWindow;
    const int result = entry(&handle, "", "", toAnsi(fields).c_str());
    appendLog(L"SetDllFormPRec returned " + std::to_wstring(result));
    return result;
}

}  // namespace kes::host

using namespace kes::host;

// KesHost [--demo FOLDER]
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
    WNDCLASSEXW wc{sizeof wc};
    wc.lpfnWndProc = hostProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    wc.lpszClassName = L"KesHost";
    RegisterClassExW(&wc);
    mainWindow = CreateWindowExW(0, L"KesHost", L"KesHost", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 900, 520,
                                 nullptr, nullptr, instance, nullptr);
    HFONT font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    fieldsEdit = CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT",
                                 L"[\"\u54C1\u540D\",\"\u89C4\u683C\",\"\u578B\u53F7\",\"\u6570\u91CF\",\"\u6761\u7801\",\"\u751F\u4EA7\u65E5\u671F\"]",
                                 WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL, 0, 0, 0, 0, mainWindow,
                                 reinterpret_cast<HMENU>(kFieldsEdit), instance, nullptr);
    HWND button = CreateWindowExW(0, L"BUTTON", L"\u5FEB\u901F\u6253\u5370...", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 0, 0, 0,
                                  0, mainWindow, reinterpret_cast<HMENU>(kOpenButton), instance, nullptr);   // 快速打印...
    logEdit = CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT", L"",
                              WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL, 0, 0, 0, 0,
                              mainWindow, reinterpret_cast<HMENU>(kLog), instance, nullptr);
    for (HWND w : {fieldsEdit, button, logEdit}) SendMessageW(w, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    ShowWindow(mainWindow, show);
    int argc = 0;
    LPWSTR* argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    if (argc == 3 && std::wstring(argv[1]) == L"--demo") startDemoSession(mainWindow, argv[2]);
    LocalFree(argv);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
