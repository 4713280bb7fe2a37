/*
 * The smallest host of KesDataPrint.dll: a window that opens the quick print window on start,
 * hands it a text through the atom message once it is open, and logs every print it receives,
 * in its list box and on standard output.
 *
 * MinGW:  i686-w64-mingw32-gcc -municode -mwindows -I../../include host.c -L../../lib/x86 -lKesDataPrint -o host.exe
 * MSVC:   cl /I..\..\include host.c ..\..\lib\x86\KesDataPrint.lib user32.lib
 * (x64 builds take lib/x64 and the DLL of x64/.)
 */
#ifndef UNICODE
#define UNICODE
#endif
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "KesDataPrint.h"

#define WM_APP_OPEN_QUICK_PRINT (WM_APP + 1)
#define ATOM_TIMER 1

/* "product name" and "quantity" in Chinese, as escapes so that every compiler reads them alike. */
static const wchar_t fieldList[] = L"[\"\u54C1\u540D\",\"\u6570\u91CF\"]";

static HWND logBox;

static void logLine(const wchar_t *line)
{
    SendMessageW(logBox, LB_ADDSTRING, 0, (LPARAM)line);
}

static void report(const wchar_t *line)
{
    logLine(line);
    printf("%ls\n", line);
    fflush(stdout);
}

/* The entry takes its texts in the system's ANSI code page, not in UTF-8. */
static char *toAnsi(const wchar_t *text)
{
    int size = WideCharToMultiByte(CP_ACP, 0, text, -1, NULL, 0, NULL, NULL);
    char *bytes = (char *)malloc(size > 0 ? (size_t)size : 1);
    if (bytes) {
        bytes[0] = '\0';
        WideCharToMultiByte(CP_ACP, 0, text, -1, bytes, size, NULL, NULL);
    }
    return bytes;
}

static void openQuickPrint(HWND window)
{
    HWND host = window;
    char *fields = toAnsi(fieldList);
    wchar_t line[64];
    int result;
    SetTimer(window, ATOM_TIMER, 500, NULL); /* fires inside the call: the window's loop runs ours */
    result = SetDllFormPRec(&host, "", "", fields);
    free(fields);
    swprintf(line, 64, L"SetDllFormPRec returned %d", result);
    report(line);
}

/* Hands the open quick print window a text in a global atom; the window keeps the text and
 * deletes the atom. Only from the host's own process: Windows treats this message number from
 * another process as WM_COPYDATA and would copy lParam as a COPYDATASTRUCT. */
static void handOverAtom(void)
{
    static const wchar_t text[] = L"KesDataPrint C sample";
    HWND quickPrint = FindWindowW(KESDATAPRINT_WINDOW_CLASS, NULL);
    ATOM atom;
    if (!quickPrint || GetWindowThreadProcessId(quickPrint, NULL) != GetCurrentThreadId()) return;
    atom = GlobalAddAtomW(text);
    SendMessageW(quickPrint, KESDATAPRINT_MSG_ATOM, 0, (LPARAM)atom);
    report(GlobalFindAtomW(text) ? L"atom message: the atom is still there" : L"atom message: the window took the atom");
}

/* The payload lives only while this runs: copy it before returning. */
static void receivePrint(const COPYDATASTRUCT *data)
{
    char *json = (char *)malloc(data->cbData + 1);
    wchar_t line[96], *text;
    int length;
    if (!json) return;
    memcpy(json, data->lpData, data->cbData);
    json[data->cbData] = '\0'; /* the library does not count a terminating zero */

    swprintf(line, 96, L"WM_COPYDATA dwData=%lu cbData=%lu preview=%ls", (unsigned long)data->dwData,
             (unsigned long)data->cbData, data->dwData == KESDATAPRINT_FLAG_PREVIEW ? L"yes" : L"no");
    report(line);
    printf("%s\n", json);
    fflush(stdout);

    length = MultiByteToWideChar(CP_UTF8, 0, json, -1, NULL, 0);
    text = (wchar_t *)malloc((size_t)length * sizeof(wchar_t));
    if (text) {
        MultiByteToWideChar(CP_UTF8, 0, json, -1, text, length);
        logLine(text);
        free(text);
    }
    free(json);
}

static LRESULT CALLBACK hostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_CREATE:
        logBox = CreateWindowExW(WS_EX_CLIENTEDGE, L"LISTBOX", L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | LBS_NOINTEGRALHEIGHT,
                                 0, 0, 0, 0, window, NULL, ((CREATESTRUCTW *)lParam)->hInstance, NULL);
        SendMessageW(logBox, WM_SETFONT, (WPARAM)GetStockObject(DEFAULT_GUI_FONT), FALSE);
        PostMessageW(window, WM_APP_OPEN_QUICK_PRINT, 0, 0);
        return 0;
    case WM_APP_OPEN_QUICK_PRINT:
        openQuickPrint(window);
        return 0;
    case WM_TIMER:
        KillTimer(window, ATOM_TIMER);
        handOverAtom();
        return 0;
    case KESDATAPRINT_MSG_PRINT:
        receivePrint((const COPYDATASTRUCT *)lParam);
        return TRUE;
    case WM_SIZE:
        MoveWindow(logBox, 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, PWSTR commandLine, int show)
{
    WNDCLASSEXW wc;
    MSG message;
    HWND window;
    (void)previous;
    (void)commandLine;
    memset(&wc, 0, sizeof wc);
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = hostProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursorW(NULL, IDC_ARROW);
    wc.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    wc.lpszClassName = L"KesSampleHost";
    RegisterClassExW(&wc);
    window = CreateWindowExW(0, L"KesSampleHost", L"KesDataPrint C sample", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                             CW_USEDEFAULT, 720, 360, NULL, NULL, instance, NULL);
    ShowWindow(window, show);
    while (GetMessageW(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return (int)message.wParam;
}
