#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

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
    struct stat status {};
    const uint64_t size = fstat(fileno(file), &status) == 0 && status.st_size > 0 ? uint64_t(status.st_size) : 0;
    std::string bytes = readAllBytes(size, [file](char* into, size_t capacity) { return std::fread(into, 1, capacity, file); });
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
