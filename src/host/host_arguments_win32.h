#pragma once
// Reading what the host hands to the entry. The host's pointers are outside bytes: a wrong one
// must end the call with an error, not take the host process down with an access fault, so
// memory is checked before it is read.
#include <windows.h>

#include <exception>
#include <string>

namespace kes {

class EHostArgument : public std::exception {
public:
    explicit EHostArgument(const char* what) : what_(what) {}
    const char* what() const noexcept override { return what_; }

private:
    const char* what_;
};

// Whether all `size` bytes from `address` lie in committed memory that may be read.
bool readableMemory(const void* address, size_t size);

// The window handle that `handle` points at; EHostArgument when it cannot be read.
HWND hostWindowHandle(HWND* handle);

// A zero-terminated text in the system's ANSI code page as UTF-16; empty for a null pointer.
// EHostArgument when the text runs into memory that cannot be read.
std::u16string hostText(const char* text);

}  // namespace kes
