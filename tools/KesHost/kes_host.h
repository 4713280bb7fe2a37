#pragma once
// The reference host's parts: its window and log, and the scripted demo session.
#include <windows.h>

#include <string>

namespace kes::host {

// Calls SetDllFormPRec with the host window and the field list; returns its result, or -1
// when the library or its entry cannot be found.
int openQuickPrint(HWND hostWindow, const std::wstring& fields);
void appendLog(const std::wstring& line);

// Drives the quick print window on a thread of its own while the host's thread sits in the
// library's modal loop: types label rows, prints the page, asks for screenshots (a file
// NAME.request in `folder`, answered by NAME.done) and closes the window, then the host.
void startDemoSession(HWND hostWindow, const std::wstring& folder);

}  // namespace kes::host
