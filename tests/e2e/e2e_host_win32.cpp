// End-to-end tests of KesDataPrint.dll: a host window calls SetDllFormPRec for real, while a
// driver thread works the quick print window with real messages (keystrokes into the grid,
// button clicks, the clipboard) and the host checks the WM_COPYDATA bytes that arrive.
//
// e2e_host.exe SCREENSHOT-FOLDER (a GUI program; its report goes to standard output): prints one line per case and "N passed, N failed".
#include <windows.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using SetDllFormPRecFn = int (*)(HWND*, const char*, const char*, const char*);

struct Received {
    unsigned long dwData;
    std::string bytes;
};

HWND hostWindow;
SetDllFormPRecFn entry;
std::vector<Received> received;
std::wstring screenshotFolder;
int passed = 0, failed = 0;
std::vector<std::string> failures;

void check(bool ok, const std::string& what) {
    if (!ok) failures.push_back(what);
}

void cases();

// Posted to the host window after the input of a step: the thread handles posted messages in
// order, so when this one is handled, so is everything posted before it.
constexpr UINT kDrained = WM_APP + 1;
HANDLE drained = CreateEventW(nullptr, FALSE, FALSE, nullptr);

LRESULT CALLBACK hostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kDrained) {
        SetEvent(drained);
        return 0;
    }
    if (message == WM_TIMER) {   // as a real host does, the entry is called from a handler
        KillTimer(window, 1);
        cases();
        PostQuitMessage(0);
        return 0;
    }
    if (message == WM_COPYDATA) {
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        received.push_back({static_cast<unsigned long>(data->dwData),
                            std::string(static_cast<const char*>(data->lpData), data->cbData)});
        check(wParam == 0, "WM_COPYDATA carries word parameter 0");
        return TRUE;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

std::string utf8(const std::wstring& text) {
    const int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes.data(), n, nullptr, nullptr);
    bytes.resize(static_cast<size_t>(n > 0 ? n - 1 : 0));
    return bytes;
}

std::string ansi(const std::wstring& text) {
    const int n = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, bytes.data(), n, nullptr, nullptr);
    return bytes;
}

// --- driving the window ----------------------------------------------------------------------

HWND findForm() {
    for (int i = 0; i < 200; ++i) {
        if (HWND form = FindWindowW(L"TFrmLabelTool", nullptr); form && IsWindowVisible(form)) return form;
        Sleep(50);
    }
    return nullptr;
}

HWND focusOf(HWND window) {
    GUITHREADINFO info{sizeof info};
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
}

struct TextSearch {
    const std::wstring* text;
    HWND found;
};

BOOL CALLBACK matchText(HWND child, LPARAM data) {
    auto* search = reinterpret_cast<TextSearch*>(data);
    wchar_t buffer[256] = {};
    GetWindowTextW(child, buffer, 256);
    if (*search->text != buffer) return TRUE;
    search->found = child;
    return FALSE;
}

BOOL CALLBACK matchMessageBox(HWND window, LPARAM data) {
    wchar_t cls[32] = {};
    GetClassNameW(window, cls, 32);
    if (std::wstring(cls) != L"#32770" || !IsWindowVisible(window)) return TRUE;
    *reinterpret_cast<HWND*>(data) = window;
    return FALSE;
}

HWND childWithText(HWND parent, const std::wstring& text) {
    TextSearch search{&text, nullptr};
    EnumChildWindows(parent, matchText, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// Waits for the UI thread to have handled what was posted to it, and what that posted in turn.
// A sent message would overtake posted ones, so the marker is posted behind them.
void settle(HWND form) {
    for (int round = 0; round < 2; ++round) {
        Sleep(50);
        PostMessageW(hostWindow, kDrained, 0, 0);
        WaitForSingleObject(drained, 10000);
    }
    DWORD_PTR result;
    SendMessageTimeoutW(form, WM_NULL, 0, 0, SMTO_BLOCK, 5000, &result);
}

void key(HWND target, WPARAM virtualKey) {
    PostMessageW(target, WM_KEYDOWN, virtualKey, 0);
    PostMessageW(target, WM_KEYUP, virtualKey, 0);
}

void type(HWND target, const std::wstring& text) {
    for (wchar_t c : text) PostMessageW(target, WM_CHAR, c, 0);
}

// Types rows of cells from the current cell: Tab between cells, Enter and Home after a row.
void typeRows(HWND grid, const std::vector<std::vector<std::wstring>>& rows) {
    for (const auto& row : rows) {
        for (size_t c = 0; c < row.size(); ++c) {
            if (!row[c].empty()) type(grid, row[c]);
            key(grid, c + 1 < row.size() ? VK_TAB : VK_RETURN);
        }
        key(grid, VK_HOME);
    }
}

void click(HWND form, const std::wstring& caption) { SendMessageW(childWithText(form, caption), BM_CLICK, 0, 0); }

// Presses `virtualKey` with the modifiers held, as the keyboard would.
void chord(HWND form, std::initializer_list<WORD> modifiers, WORD virtualKey) {
    SetForegroundWindow(form);
    std::vector<INPUT> inputs;
    const auto press = [&](WORD key, DWORD flags) {
        INPUT in{};
        in.type = INPUT_KEYBOARD;
        in.ki.wVk = key;
        in.ki.dwFlags = flags;
        inputs.push_back(in);
    };
    for (WORD modifier : modifiers) press(modifier, 0);
    press(virtualKey, 0);
    press(virtualKey, KEYEVENTF_KEYUP);
    for (auto it = std::rbegin(modifiers); it != std::rend(modifiers); ++it) press(*it, KEYEVENTF_KEYUP);
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
    Sleep(300);
    settle(form);
}

void controlKey(HWND form, WORD virtualKey) { chord(form, {VK_CONTROL}, virtualKey); }

// The grid at the default zoom: row numbers 52 pixels wide, the column letters and every row
// 20 pixels high, columns 96 pixels wide.
POINT cellPoint(int row, int column) { return {52 + 96 * column + 48, 20 + 20 * row + 10}; }
// The fill handle of a selection whose bottom right cell is (row, column).
POINT fillHandleOf(int row, int column) { return {52 + 96 * (column + 1) - 1, 20 + 20 * (row + 1) - 1}; }

void mouse(HWND grid, UINT message, POINT p, WPARAM flags = 0) { PostMessageW(grid, message, flags, MAKELPARAM(p.x, p.y)); }

void clickAt(HWND grid, POINT p, WPARAM flags = 0) {
    mouse(grid, WM_LBUTTONDOWN, p, MK_LBUTTON | flags);
    mouse(grid, WM_LBUTTONUP, p, flags);
}

void drag(HWND grid, POINT from, POINT to, WPARAM flags = 0) {
    mouse(grid, WM_LBUTTONDOWN, from, MK_LBUTTON | flags);
    mouse(grid, WM_MOUSEMOVE, {(from.x + to.x) / 2, (from.y + to.y) / 2}, MK_LBUTTON | flags);
    mouse(grid, WM_MOUSEMOVE, to, MK_LBUTTON | flags);
    mouse(grid, WM_LBUTTONUP, to, flags);
}

void setClipboard(const std::wstring& text) {
    for (int i = 0; i < 20 && !OpenClipboard(nullptr); ++i) Sleep(50);
    EmptyClipboard();
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
    std::copy(text.c_str(), text.c_str() + text.size() + 1, static_cast<wchar_t*>(GlobalLock(memory)));
    GlobalUnlock(memory);
    SetClipboardData(CF_UNICODETEXT, memory);
    CloseClipboard();
}

// The text of the message box the form shows, after which the box is dismissed with OK.
std::wstring dismissMessageBox(HWND form) {
    for (int i = 0; i < 100; ++i) {
        HWND box = nullptr;
        EnumThreadWindows(GetWindowThreadProcessId(form, nullptr), matchMessageBox, reinterpret_cast<LPARAM>(&box));
        if (box) {
            wchar_t text[512] = {};
            GetDlgItemTextW(box, 0xFFFF, text, 512);
            PostMessageW(box, WM_COMMAND, IDOK, 0);
            return text;
        }
        Sleep(50);
    }
    return L"(no message box)";
}

// The file dialog of `button` (导入Excel, 导出Excel), given a file of the screenshot folder and
// confirmed, `beforeConfirm` run just before; true when the dialog took it.
bool fileDialog(HWND form, const std::wstring& button, const std::wstring& fileName,
                const std::function<void()>& beforeConfirm = [] {}) {
    PostMessageW(childWithText(form, button), BM_CLICK, 0, 0);   // posted: the dialog is modal
    HWND dialog = nullptr;
    for (int i = 0; i < 100 && !dialog; ++i) {
        Sleep(50);
        EnumThreadWindows(GetWindowThreadProcessId(form, nullptr), matchMessageBox, reinterpret_cast<LPARAM>(&dialog));
    }
    if (!dialog) return false;
    Sleep(300);
    const std::wstring path = screenshotFolder + L"\\" + fileName;
    // The file name box: a combo box in explorer-style dialogs, an edit box in older ones.
    if (!SetDlgItemTextW(dialog, 0x47C, path.c_str()) && !SetDlgItemTextW(dialog, 0x480, path.c_str())) return false;
    beforeConfirm();
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    for (int i = 0; i < 100 && IsWindow(dialog); ++i) Sleep(50);
    return !IsWindow(dialog);
}

bool importFile(HWND form, const std::wstring& fileName) { return fileDialog(form, L"\u5BFC\u5165Excel", fileName); }

// The grid window (the in-place editor, which has the focus, lives in it).
HWND gridOf(HWND editor) { return GetParent(editor); }

int scaledForScreen(HWND window, int pixels) {
    HDC dc = GetDC(window);
    const int dpi = GetDeviceCaps(dc, LOGPIXELSY);
    ReleaseDC(window, dc);
    return MulDiv(pixels, dpi, 96);
}

void clickAt(HWND window, int x, int y) {
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
    PostMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
}

// The grid's own count of the rows that print page would send, as it shows it.
std::wstring pageCount(HWND grid) {
    UpdateWindow(grid);   // the count is taken as the grid paints
    wchar_t text[64] = {};
    GetWindowTextW(grid, text, 64);
    return text;
}

// Whether the row header of the visible row `line` (0: the frozen row 0) carries the print mark.
bool rowMarked(HWND grid, int line) {
    UpdateWindow(grid);
    HDC dc = GetDC(grid);
    const COLORREF colour = GetPixel(dc, scaledForScreen(grid, 1), scaledForScreen(grid, 20 + 20 * line + 10));
    ReleaseDC(grid, dc);
    return colour == RGB(0x21, 0x73, 0x46);
}

// Takes the free address space but `leave` bytes in one block until it is given back, as a
// far larger workbook would take it: a 32-bit host has 2 GB.
class AddressSpaceHoard {
public:
    explicit AddressSpaceHoard(size_t leave) {
        void* spared = VirtualAlloc(nullptr, leave, MEM_RESERVE, PAGE_NOACCESS);
        for (size_t size : {size_t(64) << 20, size_t(1) << 20, size_t(64) << 10}) {
            while (void* block = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS)) blocks_.push_back(block);
        }
        if (spared) VirtualFree(spared, 0, MEM_RELEASE);
    }
    ~AddressSpaceHoard() {
        for (void* block : blocks_) VirtualFree(block, 0, MEM_RELEASE);
    }
    AddressSpaceHoard(const AddressSpaceHoard&) = delete;
    AddressSpaceHoard& operator=(const AddressSpaceHoard&) = delete;

private:
    std::vector<void*> blocks_;
};

void screenshot(const std::wstring& name) {
    Sleep(300);
    const std::wstring request = screenshotFolder + L"\\" + name + L".request";
    const std::wstring done = screenshotFolder + L"\\" + name + L".done";
    if (FILE* f = _wfopen(request.c_str(), L"w")) std::fclose(f);
    for (int i = 0; i < 200 && GetFileAttributesW(done.c_str()) == INVALID_FILE_ATTRIBUTES; ++i) Sleep(50);
}

// --- cases -----------------------------------------------------------------------------------

const std::wstring kFields = L"[\"\u54C1\u540D\",\"\u6570\u91CF\",\"\u6761\u7801\"]";   // 品名 数量 条码

// The payload of rows of the three fields 品名, 数量, 条码.
std::string labels(const std::vector<std::vector<std::wstring>>& rows) {
    std::wstring json = L"[";
    for (const auto& row : rows) {
        if (json.size() > 1) json += L",";
        json += L"{\"\u54C1\u540D\":\"" + row[0] + L"\",\"\u6570\u91CF\":\"" + row[1] + L"\",\"\u6761\u7801\":\"" + row[2] + L"\"}";
    }
    return utf8(json + L"]");
}

// Opens the window with `fields` through the entry on this thread while `drive` works it from
// another; returns the entry's result.
int session(const std::wstring& fields, const std::function<void(HWND form, HWND grid)>& drive, HWND* handle = &hostWindow) {
    received.clear();
    std::thread driver([&] {
        HWND form = findForm();
        if (!form) {
            check(false, "the quick print window opens");
            return;
        }
        Sleep(300);
        settle(form);
        drive(form, focusOf(form));
        if (IsWindow(form) && IsWindowVisible(form)) PostMessageW(form, WM_CLOSE, 0, 0);
    });
    const int result = entry(handle, "", "", ansi(fields).c_str());
    driver.join();
    return result;
}

void run(const char* name, const std::function<void()>& body) {
    failures.clear();
    body();
    if (failures.empty()) {
        ++passed;
        std::printf("ok   %s\n", name);
    } else {
        ++failed;
        std::printf("FAIL %s\n", name);
        for (const std::string& f : failures) std::printf("       %s\n", f.c_str());
    }
    std::fflush(stdout);
}

void cases() {
    run("typed rows print as one JSON array, stopping at the first empty row", [] {
        const int result = session(kFields, [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            typeRows(grid, {{L"\u87BA\u4E1D M6", L"12", L"6901234567890"},
                            {L"\u87BA\u6BCD \"M8\"", L"", L"007"},
                            {L"", L"", L""},
                            {L"after the gap", L"1", L"2"}});
            settle(form);
            screenshot(L"typed-rows");
            click(form, L"\u6253\u5370\u672C\u9875");   // 打印本页
        });
        check(result == 0, "the entry returns 0");
        check(received.size() == 1, "one message for the page");
        if (received.empty()) return;
        const std::string expected = utf8(
            L"[{\"\u54C1\u540D\":\"\u87BA\u4E1D M6\",\"\u6570\u91CF\":\"12\",\"\u6761\u7801\":\"6901234567890\"},"
            L"{\"\u54C1\u540D\":\"\u87BA\u6BCD \"M8\"\",\"\u6570\u91CF\":\"\",\"\u6761\u7801\":\"7\"}]");
        check(received[0].bytes == expected, "payload: " + received[0].bytes);
        check(received[0].dwData == 1, "dwData is 1");
    });

    run("print this row sends the current row, also an empty one", [] {
        session(kFields, [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            typeRows(grid, {{L"a", L"1", L"2"}, {L"b", L"3", L"4"}});
            key(grid, VK_UP);
            settle(form);
            click(form, L"\u6253\u5370\u672C\u884C");   // 打印本行: row 3, "b"
            key(grid, VK_DOWN);
            key(grid, VK_DOWN);
            settle(form);
            click(form, L"\u6253\u5370\u672C\u884C");
        });
        check(received.size() == 2, "two messages");
        if (received.size() < 2) return;
        check(received[0].bytes == utf8(L"[{\"\u54C1\u540D\":\"b\",\"\u6570\u91CF\":\"3\",\"\u6761\u7801\":\"4\"}]"),
              "row: " + received[0].bytes);
        check(received[1].bytes == utf8(L"[{\"\u54C1\u540D\":\"\",\"\u6570\u91CF\":\"\",\"\u6761\u7801\":\"\"}]"),
              "empty row: " + received[1].bytes);
    });

    run("printing the header row is refused with a message", [] {
        std::wstring shown;
        session(kFields, [&](HWND form, HWND) {
            PostMessageW(childWithText(form, L"\u6253\u5370\u672C\u884C"), BM_CLICK, 0, 0);
            shown = dismissMessageBox(form);
            settle(form);
        });
        check(shown == L"\u8BF7\u9009\u62E9\u975E\u6807\u9898\u7684\u884C\u8BB0\u5F55\u6253\u5370\uFF01", "the refusal text");
        check(received.empty(), "nothing is sent");
    });

    run("an empty field list [] sends nothing", [] {
        session(L"[]", [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            type(grid, L"x");
            key(grid, VK_RETURN);
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");
            click(form, L"\u6253\u5370\u672C\u884C");
        });
        check(received.empty(), "no message");
    });

    run("Chinese text arrives as UTF-8 with the exact byte count", [] {
        session(L"[\"\u54C1\u540D\"]", [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            type(grid, L"\u4E2D\u6587");
            key(grid, VK_RETURN);
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(received.size() == 1 && received[0].bytes.size() == 21, "cbData 21 for [{\"品名\":\"中文\"}]");
    });

    run("a pasted block of tab-separated cells is printed", [] {
        session(kFields, [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            settle(form);
            setClipboard(L"p1\t5\t690\r\n\"two\nlines\"\t6\t691\r\n");
            controlKey(form, 'V');
            screenshot(L"pasted-block");
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        const std::string expected =
            utf8(L"[{\"\u54C1\u540D\":\"p1\",\"\u6570\u91CF\":\"5\",\"\u6761\u7801\":\"690\"},"
                 L"{\"\u54C1\u540D\":\"two\nlines\",\"\u6570\u91CF\":\"6\",\"\u6761\u7801\":\"691\"}]");
        check(received.size() == 1 && received[0].bytes == expected,
              "payload: " + (received.empty() ? std::string("(none)") : received[0].bytes));
    });

    run("the close box and the exit button both end the call with 0", [] {
        const int byCloseBox = session(kFields, [](HWND form, HWND) { PostMessageW(form, WM_SYSCOMMAND, SC_CLOSE, 0); });
        const int byButton = session(kFields, [](HWND form, HWND) { click(form, L"\u9000\u51FA"); });
        check(byCloseBox == 0, "close box: 0");
        check(byButton == 0, "exit button: 0");
    });

    run("a second call starts with an empty grid", [] {
        session(kFields, [](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            typeRows(grid, {{L"kept?", L"1", L"2"}});
            settle(form);
        });
        session(kFields, [](HWND form, HWND) { click(form, L"\u6253\u5370\u672C\u9875"); });
        check(received.size() == 1 && received[0].bytes == "[]", "nothing of the first session is left");
    });

    run("a zero host handle sends nothing and still returns 0", [] {
        HWND zero = nullptr;
        const int result = session(
            kFields,
            [](HWND form, HWND grid) {
                key(grid, VK_DOWN);
                typeRows(grid, {{L"x", L"1", L"2"}});
                settle(form);
                click(form, L"\u6253\u5370\u672C\u9875");
            },
            &zero);
        check(result == 0, "returns 0");
        check(received.empty(), "no message");
    });

    run("minimizing the window minimizes the host; an atom message is taken and deleted", [] {
        bool hostMinimized = false, atomGone = false;
        session(kFields, [&](HWND form, HWND) {
            SendMessageW(form, WM_SYSCOMMAND, SC_MINIMIZE, 0);
            hostMinimized = IsIconic(hostWindow) != FALSE;
            ShowWindow(hostWindow, SW_RESTORE);
            const ATOM atom = GlobalAddAtomW(L"KesDataPrint e2e");
            SendMessageW(form, WM_COPYDATA, 0, atom);
            atomGone = GlobalFindAtomW(L"KesDataPrint e2e") == 0;
            settle(form);
        });
        check(hostMinimized, "the host window is minimized");
        check(atomGone, "the atom is deleted");
    });

    run("undo takes back a typed cell and Ctrl+F opens the find window", [] {
        bool findOpen = false;
        session(kFields, [&](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            typeRows(grid, {{L"a", L"1", L"2"}});
            key(grid, VK_UP);
            type(grid, L"b");
            key(grid, VK_RETURN);
            settle(form);
            controlKey(form, 'Z');   // back to "a"
            controlKey(form, 'F');
            findOpen = FindWindowW(L"KesGridFind", nullptr) != nullptr;
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(findOpen, "the find window is open");
        check(received.size() == 1 && received[0].bytes.find("\"a\"") != std::string::npos,
              "payload after undo: " + (received.empty() ? std::string("(none)") : received[0].bytes));
    });

    run("Ctrl+D and Ctrl+R copy the first row and column over the selection; Ctrl+Z takes a fill back", [] {
        session(kFields, [](HWND form, HWND editor) {
            const HWND grid = GetParent(editor);
            key(editor, VK_DOWN);
            typeRows(editor, {{L"SN0001", L"5", L""}});
            clickAt(grid, cellPoint(1, 0));
            clickAt(grid, cellPoint(3, 1), MK_SHIFT);   // A2:B4
            controlKey(form, 'D');
            clickAt(grid, cellPoint(1, 1));
            clickAt(grid, cellPoint(3, 2), MK_SHIFT);   // B2:C4
            controlKey(form, 'R');
            screenshot(L"fill-down-right");
            click(form, L"\u6253\u5370\u672C\u9875");
            controlKey(form, 'Z');
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(received.size() == 2, "two pages printed");
        if (received.size() != 2) return;
        check(received[0].bytes == labels({{L"SN0001", L"5", L"5"}, {L"SN0001", L"5", L"5"}, {L"SN0001", L"5", L"5"}}),
              "filled: " + received[0].bytes);
        check(received[1].bytes == labels({{L"SN0001", L"5", L""}, {L"SN0001", L"5", L""}, {L"SN0001", L"5", L""}}),
              "after undo: " + received[1].bytes);
    });

    run("the fill handle continues SN0001 as a series, counts a number up with Ctrl and repeats a text", [] {
        session(kFields, [](HWND form, HWND editor) {
            const HWND grid = GetParent(editor);
            key(editor, VK_DOWN);
            typeRows(editor, {{L"SN0001", L"5", L"x"}});
            clickAt(grid, cellPoint(1, 0));
            drag(grid, fillHandleOf(1, 0), cellPoint(3, 0));
            clickAt(grid, cellPoint(1, 1));
            drag(grid, fillHandleOf(1, 1), cellPoint(3, 1), MK_CONTROL);
            clickAt(grid, cellPoint(1, 2));
            drag(grid, fillHandleOf(1, 2), cellPoint(3, 2));
            settle(form);
            screenshot(L"fill-handle");
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(received.size() == 1 &&
                  received[0].bytes == labels({{L"SN0001", L"5", L"x"}, {L"SN0002", L"6", L"x"}, {L"SN0003", L"7", L"x"}}),
              "payload: " + (received.empty() ? std::string("(none)") : received[0].bytes));
    });

    run("Ctrl+X and Ctrl+V move a cell; Ctrl+Shift+= and Ctrl+- insert and delete the selected row", [] {
        session(kFields, [](HWND form, HWND editor) {
            const HWND grid = GetParent(editor);
            key(editor, VK_DOWN);
            typeRows(editor, {{L"a", L"1", L"2"}, {L"b", L"3", L"4"}});
            clickAt(grid, cellPoint(2, 0));
            controlKey(form, 'X');
            screenshot(L"cut-pending");
            clickAt(grid, cellPoint(3, 0));
            controlKey(form, 'V');
            click(form, L"\u6253\u5370\u672C\u9875");
            clickAt(grid, {10, cellPoint(1, 0).y});   // the number of row 2: the whole row
            chord(form, {VK_CONTROL, VK_SHIFT}, VK_OEM_PLUS);
            screenshot(L"row-inserted");
            click(form, L"\u6253\u5370\u672C\u9875");   // row 2 is empty now: nothing to send
            controlKey(form, VK_OEM_MINUS);
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(received.size() == 3, "three pages printed");
        if (received.size() != 3) return;
        const std::string moved = labels({{L"a", L"1", L"2"}, {L"", L"3", L"4"}, {L"b", L"", L""}});
        check(received[0].bytes == moved, "after the move: " + received[0].bytes);
        check(received[1].bytes == "[]", "after the insert: " + received[1].bytes);
        check(received[2].bytes == moved, "after the delete: " + received[2].bytes);
    });

    run("Ctrl+H replaces everywhere, a header border double-click fits the column, Ctrl+wheel zooms, no right-click menu", [] {
        std::wstring replaced;
        bool menuShown = false;
        int textAt100 = 0, textAt200 = 0;   // the in-place editor's font height, as the cells draw it
        const auto editorFontHeight = [](HWND editor) {
            LOGFONTW font{};
            GetObjectW(reinterpret_cast<HFONT>(SendMessageW(editor, WM_GETFONT, 0, 0)), sizeof(font), &font);
            return std::abs(int(font.lfHeight));
        };
        session(kFields, [&](HWND form, HWND editor) {
            const HWND grid = GetParent(editor);
            key(editor, VK_DOWN);
            typeRows(editor, {{L"M6 screw", L"1", L"2"}, {L"M6 nut", L"3", L"4"}});
            type(editor, L"a long product name that needs a wide column");
            key(editor, VK_RETURN);
            settle(form);
            controlKey(form, 'H');
            if (HWND find = FindWindowW(L"KesGridFind", nullptr)) {
                SetDlgItemTextW(find, 101, L"M6");
                SetDlgItemTextW(find, 105, L"M8");
                PostMessageW(GetDlgItem(find, 108), BM_CLICK, 0, 0);   // 全部替换
                replaced = dismissMessageBox(form);
                PostMessageW(find, WM_CLOSE, 0, 0);
            }
            settle(form);
            const POINT border{52 + 96 - 1, 10};   // between the letters A and B
            mouse(grid, WM_LBUTTONDOWN, border, MK_LBUTTON);
            mouse(grid, WM_LBUTTONUP, border);
            mouse(grid, WM_LBUTTONDBLCLK, border, MK_LBUTTON);
            mouse(grid, WM_LBUTTONUP, border);
            clickAt(grid, cellPoint(4, 1));   // where B5 was: column A is wider now
            type(editor, L"fitted");
            settle(form);
            textAt100 = editorFontHeight(editor);
            key(editor, VK_RETURN);
            for (int notch = 0; notch < 10; ++notch)   // to 200%: rows and headers 40 pixels high
                PostMessageW(grid, WM_MOUSEWHEEL, MAKEWPARAM(MK_CONTROL, WHEEL_DELTA), MAKELPARAM(300, 300));
            clickAt(grid, {110, 40 + 40 * 5 + 20});   // row 6 at 200%
            type(editor, L"zoomed");
            settle(form);
            textAt200 = editorFontHeight(editor);
            key(editor, VK_RETURN);
            mouse(grid, WM_RBUTTONDOWN, {200, 100}, MK_RBUTTON);
            mouse(grid, WM_RBUTTONUP, {200, 100});
            settle(form);
            menuShown = FindWindowW(L"#32768", nullptr) != nullptr && IsWindowVisible(FindWindowW(L"#32768", nullptr));
            screenshot(L"fitted-and-zoomed");
            PostMessageW(editor, WM_KEYDOWN, VK_ESCAPE, 0);
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(replaced == L"\u5168\u90E8\u5B8C\u6210\u3002\u5B8C\u6210 2 \u5904\u66FF\u6362\u3002", "replace all reports: " + utf8(replaced));
        check(!menuShown, "a right click shows no menu");
        check(textAt100 > 0 && textAt200 >= 2 * textAt100 - 1,
              "cell text zooms with the grid: " + std::to_string(textAt100) + " px at 100%, " + std::to_string(textAt200) + " at 200%");
        check(received.size() == 1 &&
                  received[0].bytes == labels({{L"M8 screw", L"1", L"2"},
                                               {L"M8 nut", L"3", L"4"},
                                               {L"a long product name that needs a wide column", L"", L""},
                                               {L"fitted", L"", L""},
                                               {L"zoomed", L"", L""}}),
              "payload: " + (received.empty() ? std::string("(none)") : received[0].bytes));
    });

    run("an imported workbook fills the grid and prints; a damaged one is refused and changes nothing", [] {
        std::wstring refusal;
        bool opened = false, reopened = false;
        session(kFields, [&](HWND form, HWND grid) {
            key(grid, VK_DOWN);
            typeRows(grid, {{L"typed", L"1", L"2"}});
            settle(form);
            opened = importFile(form, L"damaged.xlsx");
            refusal = dismissMessageBox(form);
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");   // still the typed row
            reopened = importFile(form, L"labels.xlsx");
            settle(form);
            screenshot(L"imported-with-merged-cells");
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(opened && reopened, "the open dialog takes the file names");
        // Cut short, the file is no package at all: no format takes it.
        check(refusal == L"Unsupported document format", "the error is shown: " + utf8(refusal));
        check(received.size() == 2, "two pages printed");
        if (received.size() != 2) return;
        check(received[0].bytes.find("\"typed\"") != std::string::npos, "the failed import left the grid: " + received[0].bytes);
        const std::string expected = utf8(
            L"[{\"\u54C1\u540D\":\"\u5185\u516D\u89D2\u87BA\u6813\",\"\u6570\u91CF\":\"200\",\"\u6761\u7801\":\"6901234567890\"},"
            L"{\"\u54C1\u540D\":\"\u5E73\u57AB\u5708\",\"\u6570\u91CF\":\"\",\"\u6761\u7801\":\"0012345\"}]");
        check(received[1].bytes == expected, "payload of the imported rows: " + received[1].bytes);
    });

    run("a styled workbook shows its fonts, fills, borders and heights, and exports them", [] {
        bool imported = false, exported = false;
        session(kFields, [&](HWND form, HWND) {
            imported = importFile(form, L"styled.xlsx");
            settle(form);
            screenshot(L"imported-styled");
            exported = fileDialog(form, L"\u5BFC\u51FAExcel", L"styled-export.xlsx");
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(imported && exported, "the dialogs take the file names");
        check(received.size() == 1 && received[0].bytes.find(utf8(L"\u5185\u516D\u89D2\u87BA\u6813")) != std::string::npos,
              "the styled rows print: " + (received.empty() ? std::string("(none)") : received[0].bytes));
    });

    // Only a 32-bit host's address space can be used up here; the 64-bit one reaches far beyond
    // the machine's memory.
    if (sizeof(void*) == 4) {
        run("out of memory ends import, print page and export with a message; the sheet and the host go on", [] {
            const std::wstring outOfMemory = L"\u5185\u5B58\u4E0D\u8DB3\uFF0C\u201C";   // 内存不足，“
            const std::wstring notDone = L"\u201D\u672A\u80FD\u5B8C\u6210\u3002";      // ”未能完成。
            const std::wstring importCaption = L"\u5BFC\u5165Excel", exportCaption = L"\u5BFC\u51FAExcel";
            const std::wstring printCaption = L"\u6253\u5370\u672C\u9875";
            std::wstring importShown, printShown, exportShown;
            bool dialogsTook = true;
            session(kFields, [&](HWND form, HWND grid) {
                key(grid, VK_DOWN);
                typeRows(grid, {{L"typed", L"1", L"2"}});
                settle(form);
                // The address space is taken once the dialog is up, with the DLLs it needs loaded.
                std::optional<AddressSpaceHoard> hoard;
                const auto takeAddressSpace = [&] { hoard.emplace(8 << 20); };
                dialogsTook &= fileDialog(form, importCaption, L"labels-100k.xlsx", takeAddressSpace);
                importShown = dismissMessageBox(form);
                hoard.reset();
                settle(form);
                click(form, printCaption);   // the typed row: the failed import changed nothing
                dialogsTook &= importFile(form, L"labels-100k.xlsx");
                settle(form);
                takeAddressSpace();
                PostMessageW(childWithText(form, printCaption), BM_CLICK, 0, 0);
                printShown = dismissMessageBox(form);
                hoard.reset();
                settle(form);
                dialogsTook &= fileDialog(form, exportCaption, L"export.xlsx", takeAddressSpace);
                exportShown = dismissMessageBox(form);
                hoard.reset();
                settle(form);
                click(form, printCaption);   // the whole imported sheet
            });
            check(dialogsTook, "the file dialogs take the file names");
            check(importShown == outOfMemory + importCaption + notDone, "import: " + utf8(importShown));
            check(printShown == outOfMemory + printCaption + notDone, "print page: " + utf8(printShown));
            check(exportShown == outOfMemory + exportCaption + notDone, "export: " + utf8(exportShown));
            check(received.size() == 2, "two pages printed, none by the failed print");
            if (received.size() != 2) return;
            check(received[0].bytes == utf8(L"[{\"\u54C1\u540D\":\"typed\",\"\u6570\u91CF\":\"1\",\"\u6761\u7801\":\"2\"}]"),
                  "the failed import left the grid: " + received[0].bytes);
            const auto rows = std::count(received[1].bytes.begin(), received[1].bytes.end(), '{');
            check(rows == 100000, "the imported sheet prints every row after the failures: " + std::to_string(rows));
        });
    }

    run("sheet tabs switch the sheet that shows and prints", [] {
        bool imported = false;
        std::wstring countOnSecond;
        session(kFields, [&](HWND form, HWND editor) {
            const HWND grid = gridOf(editor);
            imported = importFile(form, L"sheets.xlsx");
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");   // the sheet active in the file: 螺母
            countOnSecond = pageCount(grid);
            screenshot(L"sheet-tabs");
            controlKey(form, VK_NEXT);                   // 垫圈: nothing to print
            click(form, L"\u6253\u5370\u672C\u9875");
            RECT client;
            GetClientRect(grid, &client);
            clickAt(grid, scaledForScreen(grid, 14), client.bottom - scaledForScreen(grid, 12));   // the first tab: 螺丝
            settle(form);
            click(form, L"\u6253\u5370\u672C\u9875");
            controlKey(form, VK_PRIOR);                  // stays on the first sheet
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(imported, "the workbook is imported");
        check(countOnSecond == L"\u5C06\u6253\u5370 2 \u884C", "the count of the active sheet: " + utf8(countOnSecond));
        const std::string second = utf8(L"[{\"\u54C1\u540D\":\"M8\",\"\u6570\u91CF\":\"20\",\"\u6761\u7801\":\"N1\"},"
                                        L"{\"\u54C1\u540D\":\"M10\",\"\u6570\u91CF\":\"30\",\"\u6761\u7801\":\"N2\"}]");
        const std::string first = utf8(L"[{\"\u54C1\u540D\":\"M6\",\"\u6570\u91CF\":\"10\",\"\u6761\u7801\":\"S1\"}]");
        check(received.size() == 4, "four pages printed: " + std::to_string(received.size()));
        if (received.size() == 4) {
            check(received[0].bytes == second, "the active sheet of the file prints: " + received[0].bytes);
            check(received[1].bytes == "[]", "Ctrl+PgDn: the empty third sheet prints nothing: " + received[1].bytes);
            check(received[2].bytes == first, "a click on the first tab: " + received[2].bytes);
            check(received[3].bytes == first, "Ctrl+PgUp on the first sheet stays there: " + received[3].bytes);
        }
    });

    run("row 0 stays at the top while the rows below it scroll", [] {
        std::wstring refusal;
        session(kFields, [&](HWND form, HWND editor) {
            const HWND grid = gridOf(editor);
            key(editor, VK_DOWN);
            std::vector<std::vector<std::wstring>> rows;
            for (int i = 1; i <= 60; ++i) rows.push_back({L"row " + std::to_wstring(i), std::to_wstring(i), L""});
            typeRows(editor, rows);
            settle(form);
            screenshot(L"frozen-row");
            // Scrolled far down, a click just under the column headers still lands on row 0.
            clickAt(grid, scaledForScreen(grid, 80), scaledForScreen(grid, 30));
            settle(form);
            PostMessageW(childWithText(form, L"\u6253\u5370\u672C\u884C"), BM_CLICK, 0, 0);   // 打印本行: posted, it shows a message box
            refusal = dismissMessageBox(form);
            settle(form);
        });
        check(refusal == L"\u8BF7\u9009\u62E9\u975E\u6807\u9898\u7684\u884C\u8BB0\u5F55\u6253\u5370\uFF01",
              "the click selected the header row: " + utf8(refusal));
        check(received.empty(), "nothing is sent");
    });

    run("the rows that print page sends are marked and counted", [] {
        std::wstring before, after;
        bool marks[3] = {}, afterGap = true, noMenu = false;
        session(kFields, [&](HWND form, HWND editor) {
            const HWND grid = gridOf(editor);
            key(editor, VK_DOWN);
            typeRows(editor, {{L"a", L"1", L""}, {L"b", L"", L""}, {L"", L"", L"3"}, {L"", L"", L""}, {L"after", L"the", L"gap"}});
            settle(form);
            before = pageCount(grid);
            marks[0] = rowMarked(grid, 0);
            marks[1] = rowMarked(grid, 1);
            marks[2] = rowMarked(grid, 3);
            afterGap = rowMarked(grid, 5);
            screenshot(L"print-marking");
            PostMessageW(grid, WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(scaledForScreen(grid, 90), scaledForScreen(grid, 50)));
            PostMessageW(grid, WM_RBUTTONUP, 0, MAKELPARAM(scaledForScreen(grid, 90), scaledForScreen(grid, 50)));
            settle(form);
            const HWND menu = FindWindowW(L"#32768", nullptr);
            noMenu = !menu || !IsWindowVisible(menu);
            key(editor, VK_UP);
            key(editor, VK_UP);
            type(editor, L"gap filled");
            key(editor, VK_RETURN);
            settle(form);
            after = pageCount(grid);
            click(form, L"\u6253\u5370\u672C\u9875");
        });
        check(before == L"\u5C06\u6253\u5370 3 \u884C", "three rows before the gap: " + utf8(before));
        check(!marks[0] && marks[1] && marks[2], "rows 1 to 3 are marked, the header row is not");
        check(!afterGap, "the row after the gap is not marked");
        check(noMenu, "a right click shows no menu");
        check(after == L"\u5C06\u6253\u5370 5 \u884C", "filling the gap counts the rows after it: " + utf8(after));
        check(received.size() == 1 && received[0].bytes.find("\"after\"") != std::string::npos, "the page sends them");
    });

    run("a null handle pointer returns 1 without a window", [] {
        received.clear();
        const int result = entry(nullptr, nullptr, nullptr, nullptr);
        check(result == 1, "returns 1");
        check(FindWindowW(L"TFrmLabelTool", nullptr) == nullptr, "no window left");
    });

    run("a text pointer into unreadable memory returns 1 without a window", [] {
        // Two pages: a text that fills the first without its terminating zero runs into the
        // second, which cannot be read; and a pointer into the second itself.
        SYSTEM_INFO system;
        GetSystemInfo(&system);
        const size_t page = system.dwPageSize;
        auto* pages = static_cast<char*>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        std::fill(pages, pages + page, 'a');
        DWORD old = 0;
        VirtualProtect(pages + page, page, PAGE_NOACCESS, &old);
        const std::string fields = ansi(kFields);
        struct Case {
            const char* name;
            const char* path;
            const char* dataSource;
        };
        const Case cases[] = {
            {"unterminated path", pages, fields.c_str()},
            {"path in a page that cannot be read", pages + page, fields.c_str()},
            {"field list in a page that cannot be read", "", pages + page + 16},
        };
        for (const Case& c : cases) {
            received.clear();
            const int result = entry(&hostWindow, c.path, "", c.dataSource);
            check(result == 1, std::string(c.name) + ": returns 1");
            check(FindWindowW(L"TFrmLabelTool", nullptr) == nullptr, std::string(c.name) + ": no window left");
        }
        VirtualFree(pages, 0, MEM_RELEASE);
    });
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    int argc = 0;
    LPWSTR* argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    screenshotFolder = argc > 1 ? argv[1] : L".";
    LocalFree(argv);
    WNDCLASSW wc{};
    wc.lpfnWndProc = hostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"KesE2EHost";
    wc.hbrBackground = GetSysColorBrush(COLOR_APPWORKSPACE);
    RegisterClassW(&wc);
    // Under Wine's virtual desktop a window placed away from the top left corner can stay
    // black in screenshots; at the default place the quick print window lands at (0, 0).
    hostWindow = CreateWindowW(L"KesE2EHost", L"e2e host", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 900, 520, nullptr,
                               nullptr, wc.hInstance, nullptr);
    HMODULE library = LoadLibraryW(L"KesDataPrint.dll");
    entry = library ? reinterpret_cast<SetDllFormPRecFn>(reinterpret_cast<void*>(GetProcAddress(library, "SetDllFormPRec")))
                    : nullptr;
    if (!entry) {
        std::printf("KesDataPrint.dll or SetDllFormPRec not found\n0 passed, 1 failed\n");
        return 1;
    }
    ShowWindow(hostWindow, SW_SHOW);
    SetTimer(hostWindow, 1, 500, nullptr);   // once the host window is up on the screen
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    std::fflush(stdout);
    DestroyWindow(hostWindow);
    return failed == 0 ? 0 : 1;
}
