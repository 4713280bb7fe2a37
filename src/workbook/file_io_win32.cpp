#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "text/utf8.h"
#include "workbook/file_io.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

[[noreturn]] void failOn(std::u16string_view name, const char* verb) {
    wchar_t reason[512] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, GetLastError(), 0, reason, 511, nullptr);
    throw EFileError(std::string(verb) + " \"" + toUtf8(name) + "\". " + toUtf8(reinterpret_cast<const char16_t*>(reason)));
}

std::wstring wideName(std::u16string_view name) { return std::wstring(name.begin(), name.end()); }

}  // namespace

std::string readWholeFile(std::u16string_view fileName) {
    // Shared for reading and writing: another program may hold the workbook open.
    HANDLE file = CreateFileW(wideName(fileName).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) failOn(fileName, "Cannot open file");
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file, &size) || size.QuadPart < 0) size.QuadPart = 0;
    BOOL ok = TRUE;
    std::string bytes = readAllBytes(uint64_t(size.QuadPart), [file, &ok](char* into, size_t capacity) -> size_t {
        DWORD n = 0;
        ok = ReadFile(file, into, static_cast<DWORD>(std::min<size_t>(capacity, 1u << 30)), &n, nullptr);
        return ok ? n : 0;
    });
    CloseHandle(file);
    if (!ok) failOn(fileName, "Cannot read file");
    return bytes;
}

OutputFile::OutputFile(std::u16string_view fileName)
    : name_(fileName),
      file_(CreateFileW(wideName(fileName).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (file_ == INVALID_HANDLE_VALUE) failOn(fileName, "Cannot create file");
}

OutputFile::~OutputFile() { CloseHandle(static_cast<HANDLE>(file_)); }

void OutputFile::write(std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1u << 30));
        if (!WriteFile(static_cast<HANDLE>(file_), bytes.data(), chunk, &written, nullptr) || written == 0)
            failOn(name_, "Cannot write file");
        bytes.remove_prefix(written);
    }
}

}  // namespace kes
