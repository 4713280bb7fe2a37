#pragma once
// The colours the grid's parts share, so that the headers, the cells and the tab bar under them
// match: the headers' fill, lines and text, Excel's green of the focus and the active tab, and
// the mark of the rows "print page" sends, which the tab bar's count repeats.
#include <windows.h>

namespace kes {

constexpr COLORREF kHeaderFill = RGB(0xF3, 0xF3, 0xF3);
constexpr COLORREF kHeaderLine = RGB(0xC0, 0xC0, 0xC0);
constexpr COLORREF kHeaderText = RGB(0x44, 0x44, 0x44);
constexpr COLORREF kAccent = RGB(0x21, 0x73, 0x46);
constexpr COLORREF kPrintMark = RGB(0x21, 0x73, 0x46);

}  // namespace kes
