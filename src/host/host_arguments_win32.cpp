#include "host/host_arguments_win32.h"

#include <algorithm>
#include <cstring>

namespace kes {
namespace {

constexpr DWORD kReadable =
    PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;

// The number of readable bytes from `address` to the end of its region; 0 when it is not readable.
size_t readableRun(const char* address) {
    MEMORY_BASIC_INFORMATION region{};
    if (VirtualQuery(address, &region, sizeof region) != sizeof region) return 0;
    if (region.State != MEM_COMMIT || (region.Protect & PAGE_GUARD) || !(region.Protect & kReadable)) return 0;
    return static_cast<size_t>(static_cast<const char*>(region.BaseAddress) + region.RegionSize - address);
}

}  // namespace

bool readableMemory(const void* address, size_t size) {
    const char* at = static_cast<const char*>(address);
    while (size > 0) {
        const size_t run = readableRun(at);
        if (run == 0) return false;
        if (run >= size) return true;
        at += run;
        size -= run;
    }
    return true;
}

HWND hostWindowHandle(HWND* handle) {
    if (!handle || !readableMemory(handle, sizeof(HWND))) throw EHostArgument("the host window handle cannot be read");
    return *handle;
}

std::u16string hostText(const char* text) {
    if (!text) return {};
    size_t length = 0;
    for (const char* at = text;;) {
        const size_t run = readableRun(at);
        if (run == 0) throw EHostArgument("a text of the host cannot be read");
        if (const void* end = std::memchr(at, 0, run)) {
            length += static_cast<size_t>(static_cast<const char*>(end) - at);
            break;
        }
        length += run;
        at += run;
    }
    if (length == 0) return {};
    const int size = static_cast<int>(std::min<size_t>(length, 0x7FFFFFFF));
    const int wideLength = MultiByteToWideChar(CP_ACP, 0, text, size, nullptr, 0);
    std::u16string wide(static_cast<size_t>(wideLength > 0 ? wideLength : 0), u'\0');
    if (wideLength > 0)
        MultiByteToWideChar(CP_ACP, 0, text, size, reinterpret_cast<wchar_t*>(wide.data()), wideLength);
    return wide;
}

}  // namespace kes
