#include <cstdio>
#include <string>
#include <thread>

#include "kes_host.h"

namespace kes::host {
namespace {

constexpr int kOpenButton = 2;   // the host's "快速打印..." button

HWND findForm() {
    for (int i = 0; i < 200; ++i) {
        DWORD process = 0;
        HWND form = FindWindowW(L"TFrmLabelTool", nullptr);
        if (form && GetWindowThreadProcessId(form, &process) && process == GetCurrentProcessId() && IsWindowVisible(form))
            return form;
        Sleep(50);
    }
    return nullptr;
}

HWND focusOf(HWND window) {
    GUITHREADINFO info{sizeof info};
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
}

struct CaptionSearch {
    const wchar_t* caption;
    HWND found;
};

BOOL CALLBACK matchCaption(HWND child, LPARAM data) {
    auto* search = reinterpret_cast<CaptionSearch*>(data);
    wchar_t text[64] = {};
    GetWindowTextW(child, text, 64);
    if (std::wstring(text) != search->caption) return TRUE;
    search->found = child;
    return FALSE;
}

HWND buttonWithCaption(HWND form, const wchar_t* caption) {
    CaptionSearch search{caption, nullptr};
    EnumChildWindows(form, matchCaption, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void key(HWND target, WPARAM virtualKey) {
    PostMessageW(target, WM_KEYDOWN, virtualKey, 0);
    PostMessageW(target, WM_KEYUP, virtualKey, 0);
    Sleep(40);
}

void type(HWND target, const std::wstring& text) {
    for (wchar_t c : text) PostMessageW(target, WM_CHAR, c, 0);
    Sleep(60);
}

void controlKey(HWND form, WORD virtualKey) {
    SetForegroundWindow(form);
    INPUT inputs[4] = {};
    for (INPUT& in : inputs) in.type = INPUT_KEYBOARD;
    inputs[0].ki.wVk = VK_CONTROL;
    inputs[1].ki.wVk = virtualKey;
    inputs[2].ki.wVk = virtualKey;
    inputs[2].ki.dwFlags = KEYEVENTF_KEYUP;
    inputs[3].ki.wVk = VK_CONTROL;
    inputs[3].ki.dwFlags = KEYEVENTF_KEYUP;
    SendInput(4, inputs, sizeof(INPUT));
    Sleep(300);
}

BOOL CALLBACK matchDialog(HWND window, LPARAM data) {
    wchar_t cls[32] = {};
    GetClassNameW(window, cls, 32);
    if (std::wstring(cls) != L"#32770" || !IsWindowVisible(window)) return TRUE;
    *reinterpret_cast<HWND*>(data) = window;
    return FALSE;
}

// Imports `path` through the form's 导入Excel button and its file dialog.
bool importWorkbook(HWND form, const std::wstring& path) {
    PostMessageW(buttonWithCaption(form, L"\u5BFC\u5165Excel"), BM_CLICK, 0, 0);   // posted: the dialog is modal
    HWND dialog = nullptr;
    for (int i = 0; i < 100 && !dialog; ++i) {
        Sleep(50);
        EnumThreadWindows(GetWindowThreadProcessId(form, nullptr), matchDialog, reinterpret_cast<LPARAM>(&dialog));
    }
    if (!dialog) return false;
    Sleep(300);
    // The file name box: a combo box in explorer-style dialogs, an edit box in older ones.
    if (!SetDlgItemTextW(dialog, 0x47C, path.c_str()) && !SetDlgItemTextW(dialog, 0x480, path.c_str())) return false;
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    for (int i = 0; i < 100 && IsWindow(dialog); ++i) Sleep(50);
    Sleep(300);
    return !IsWindow(dialog);
}

// Asks the script around the demo for a screenshot and waits until it has taken it.
void screenshot(const std::wstring& folder, const std::wstring& name) {
    Sleep(400);   // let the window paint
    const std::wstring request = folder + L"\\" + name + L".request", done = folder + L"\\" + name + L".done";
    if (FILE* f = _wfopen(request.c_str(), L"w")) std::fclose(f);
    for (int i = 0; i < 200; ++i) {
        if (GetFileAttributesW(done.c_str()) != INVALID_FILE_ATTRIBUTES) return;
        Sleep(50);
    }
}

void runDemo(HWND host, std::wstring folder) {
    PostMessageW(host, WM_COMMAND, kOpenButton, 0);
    HWND form = findForm();
    if (!form) {
        std::printf("the quick print window did not open\n");
        PostMessageW(host, WM_CLOSE, 0, 0);
        return;
    }
    // The grid's editor takes the focus once the window is up; under load that takes a while.
    HWND grid = nullptr;
    for (int i = 0; i < 100 && !IsChild(form, grid); ++i) {
        Sleep(100);
        grid = focusOf(form);
    }
    const wchar_t* rows[][6] = {
        {L"\u5185\u516D\u89D2\u87BA\u6813", L"M6\u00D720", L"GB/T 70.1", L"200", L"6901234567890", L"2026-11-22"},
        {L"\u5E73\u57AB\u5708", L"\u03A68", L"GB/T 97.1", L"1000", L"6901234567906", L"2026-11-23"},
        {L"\u5F39\u7C27\u57AB\u5708", L"\u03A610", L"GB/T 93", L"500", L"6901234567913", L"2026/12/1"},
    };
    key(grid, VK_DOWN);
    for (const auto& row : rows) {
        for (int c = 0; c < 6; ++c) {
            type(grid, row[c]);
            key(grid, c < 5 ? VK_TAB : VK_RETURN);
        }
        key(grid, VK_HOME);
    }
    screenshot(folder, L"01-label-rows");

    SendMessageW(buttonWithCaption(form, L"\u6253\u5370\u672C\u9875"), BM_CLICK, 0, 0);   // 打印本页
    key(grid, VK_UP);
    key(grid, VK_UP);
    SendMessageW(buttonWithCaption(form, L"\u6253\u5370\u672C\u884C"), BM_CLICK, 0, 0);   // 打印本行
    screenshot(folder, L"02-printed");

    // A workbook of two styled sheets: its tabs show under the grid, the second prints.
    if (importWorkbook(form, folder + L"\\labels-demo.xlsx")) {
        screenshot(folder, L"03-imported-workbook");
        controlKey(form, VK_NEXT);
        screenshot(folder, L"04-second-sheet");
        SendMessageW(buttonWithCaption(form, L"\u6253\u5370\u672C\u9875"), BM_CLICK, 0, 0);   // 打印本页
    } else {
        std::printf("the workbook could not be imported\n");
    }

    SendMessageW(buttonWithCaption(form, L"\u9000\u51FA"), BM_CLICK, 0, 0);               // 退出
    for (int i = 0; i < 100 && IsWindow(form) && IsWindowVisible(form); ++i) Sleep(50);
    screenshot(folder, L"05-host-log");
    PostMessageW(host, WM_CLOSE, 0, 0);
}

}  // namespace

void startDemoSession(HWND hostWindow, const std::wstring& folder) {
    std::thread(runDemo, hostWindow, folder).detach();
}

}  // namespace kes::host
