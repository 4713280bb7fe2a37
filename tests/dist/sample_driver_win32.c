/*
 * Works a sample host the way a user would: starts it, waits for the quick print window it
 * opens, types two label rows, prints the page and then one row, closes the window and the host. The host's own output (what reached it) and this
 * driver's lines share standard output, which the calling script checks.
 *
 *   sample_driver HOST.exe PACE-MS [FOLDER]
 * PACE-MS is how long the host gets to take in a batch of keystrokes (longer under emulation).
 * With FOLDER, screenshots are asked for as scripts/wine-env.sh's run_with_screenshots answers
 * them: FOLDER\NAME.request, answered by FOLDER\NAME.done.
 */
#ifndef UNICODE
#define UNICODE
#endif
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "KesDataPrint.h"

static DWORD pace;
static const wchar_t *shotFolder;

static void say(const char *line)
{
    printf("driver: %s\n", line);
    fflush(stdout);
}

static HWND findForm(DWORD process)
{
    int i;
    for (i = 0; i < 600; ++i) {
        HWND form = NULL;
        while ((form = FindWindowExW(NULL, form, KESDATAPRINT_WINDOW_CLASS, NULL)) != NULL) {
            DWORD owner = 0;
            GetWindowThreadProcessId(form, &owner);
            if (owner == process && IsWindowVisible(form)) return form;
        }
        Sleep(100);
    }
    return NULL;
}

struct CaptionSearch {
    const wchar_t *caption;
    HWND found;
};

static BOOL CALLBACK matchCaption(HWND child, LPARAM data)
{
    struct CaptionSearch *search = (struct CaptionSearch *)data;
    wchar_t text[64] = {0};
    GetWindowTextW(child, text, 64);
    if (wcscmp(text, search->caption) != 0) return TRUE;
    search->found = child;
    return FALSE;
}

static HWND childWithCaption(HWND form, const wchar_t *caption)
{
    struct CaptionSearch search = {caption, NULL};
    EnumChildWindows(form, matchCaption, (LPARAM)&search);
    return search.found;
}

static HWND focusOf(HWND form)
{
    GUITHREADINFO info;
    ZeroMemory(&info, sizeof info);
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(form, NULL), &info);
    return info.hwndFocus ? info.hwndFocus : FindWindowExW(form, NULL, L"KesSpreadGrid", NULL);
}

static void key(HWND target, WPARAM virtualKey)
{
    PostMessageW(target, WM_KEYDOWN, virtualKey, 0);
    PostMessageW(target, WM_KEYUP, virtualKey, 0);
}

static void type(HWND target, const wchar_t *text)
{
    for (; *text; ++text) PostMessageW(target, WM_CHAR, *text, 0);
}

static void click(HWND form, const wchar_t *caption)
{
    HWND button = childWithCaption(form, caption);
    if (!button) {
        say("a button of the quick print window is missing");
        return;
    }
    SendMessageW(button, BM_CLICK, 0, 0);
}

static void screenshot(const wchar_t *name)
{
    wchar_t request[MAX_PATH], done[MAX_PATH];
    FILE *file;
    int i;
    if (!shotFolder) return;
    Sleep(pace * 8); /* let the windows paint */
    swprintf(request, MAX_PATH, L"%ls\\%ls.request", shotFolder, name);
    swprintf(done, MAX_PATH, L"%ls\\%ls.done", shotFolder, name);
    if ((file = _wfopen(request, L"w")) != NULL) fclose(file);
    for (i = 0; i < 300 && GetFileAttributesW(done) == INVALID_FILE_ATTRIBUTES; ++i) Sleep(100);
}

int wmain(int argc, wchar_t **argv)
{
    STARTUPINFOW startup;
    PROCESS_INFORMATION process;
    HWND form, grid, host;
    DWORD exitCode = 0;
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: sample_driver HOST.exe PACE-MS [FOLDER]\n");
        return 2;
    }
    pace = (DWORD)wcstoul(argv[2], NULL, 10);
    shotFolder = argc == 4 ? argv[3] : NULL;
    ZeroMemory(&startup, sizeof startup);
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    if (!CreateProcessW(argv[1], NULL, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &process)) {
        say("the host did not start");
        return 1;
    }
    form = findForm(process.dwProcessId);
    if (!form) {
        say("the quick print window did not open");
        TerminateProcess(process.hProcess, 1);
        return 1;
    }
    Sleep(pace * 4);
    host = GetWindow(form, GW_OWNER);
    say(host ? "the quick print window is owned by the host" : "the quick print window has no owner");

    grid = focusOf(form);
    key(grid, VK_DOWN);
    type(grid, L"\u5185\u516D\u89D2\u87BA\u6813"); /* 内六角螺栓 */
    key(grid, VK_TAB);
    type(grid, L"200");
    key(grid, VK_RETURN);
    key(grid, VK_HOME);
    type(grid, L"\u5E73\u57AB\u5708"); /* 平垫圈 */
    key(grid, VK_TAB);
    type(grid, L"1000");
    key(grid, VK_RETURN);
    key(grid, VK_HOME);
    Sleep(pace * 4);
    screenshot(L"sample-rows");

    click(form, L"\u6253\u5370\u672C\u9875"); /* 打印本页 */
    key(grid, VK_UP);
    Sleep(pace);
    click(form, L"\u6253\u5370\u672C\u884C"); /* 打印本行 */
    click(form, L"\u9000\u51FA");             /* 退出 */

    if (host) {
        int i;
        for (i = 0; i < 600 && IsWindow(form) && IsWindowVisible(form); ++i) Sleep(100);
        screenshot(L"sample-host-log");
        PostMessageW(host, WM_CLOSE, 0, 0);
    }
    if (WaitForSingleObject(process.hProcess, 60000) != WAIT_OBJECT_0) {
        say("the host did not exit");
        TerminateProcess(process.hProcess, 1);
        return 1;
    }
    GetExitCodeProcess(process.hProcess, &exitCode);
    printf("driver: the host exited with %lu\n", (unsigned long)exitCode);
    return 0;
}
