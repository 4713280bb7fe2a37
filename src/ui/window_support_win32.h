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

// The smoothing the system is set to draw text with (ClearType, standard or none), for the
// fonts the library makes: its text looks like the rest of the desktop's. DEFAULT_QUALITY
// would ask the same of the system each time a font is chosen into a DC, which under Wine
// means a lookup in the X resources (on disk, on a display that has none) for every font of
// every paint; the grid chooses dozens a paint.
BYTE textQuality();

// A window's whole text.
std::u16string windowText(HWND window);

// Narrows a DC's clipping to a rectangle while it lives and gives the old clipping back after.
// Unlike SaveDC/RestoreDC it leaves the DC's chosen objects alone: choosing a font again is
// the costly part of a restore.
class ClipTo {
public:
    ClipTo(HDC dc, const RECT& r) : dc_(dc), previous_(CreateRectRgn(0, 0, 0, 0)) {
        if (previous_ && GetClipRgn(dc, previous_) != 1) {
            DeleteObject(previous_);
            previous_ = nullptr;   // there was none
        }
        IntersectClipRect(dc, r.left, r.top, r.right, r.bottom);
    }
    ~ClipTo() {
        SelectClipRgn(dc_, previous_);
        if (previous_) DeleteObject(previous_);
    }
    ClipTo(const ClipTo&) = delete;
    ClipTo& operator=(const ClipTo&) = delete;

private:
    HDC dc_;
    HRGN previous_;
};

}  // namespace kes
