#include <cerrno>
#include <cstdio>
#include <cstring>

#include "text/utf8.h"
#include "workbook/file_io.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

[[noreturn]] void failOn(std::u16string_view name, const char* verb) {
    throw EFileError(std::string(verb) + " \"" + toUtf8(name) + "\". " + std::strerror(errno));
}

}  // namespace

std::string readWholeFile(std::u16string_view fileName) {
    FILE* file = std::fopen(toUtf8(fileName).c_str(), "rb");
    if (!file) failOn(fileName, "Cannot open file");
    std::string bytes;
    char buffer[1 << 16];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, n);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) failOn(fileName, "Cannot read file");
    return bytes;
}

OutputFile::OutputFile(std::u16string_view fileName) : name_(fileName), file_(std::fopen(toUtf8(fileName).c_str(), "wb")) {
    if (!file_) failOn(fileName, "Cannot create file");
}

OutputFile::~OutputFile() { std::fclose(static_cast<FILE*>(file_)); }

void OutputFile::write(std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), static_cast<FILE*>(file_)) != bytes.size() ||
        std::fflush(static_cast<FILE*>(file_)) != 0)
        failOn(name_, "Cannot write file");
}

}  // namespace kes
