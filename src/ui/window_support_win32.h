#pragma once
// What the library's windows share: the module they belong to, class registration, the
// UTF-16 text conversions at the Win32 boundary and the keyboard state.
#include <windows.h>

#include <string>

namespace kes {

// The library's own module: its window classes are registered with it, never the host's.
HINSTANCE moduleInstance();

// Registers a window class of the library's module whose procedure is set per window later;
// registering it again is harmless.
void registerWindowClass(const wchar_t* name, UINT style, HBRUSH background);

inline const wchar_t* wide(const std::u16string& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }
inline std::u16string fromWide(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

// Whether the key is held down now, as the message being handled saw it.
inline bool keyDown(int key) { return (GetKeyState(key) & 0x8000) != 0; }

// A window's whole text.
std::u16string windowText(HWND window);

}  // namespace kes
