#pragma once
// Whole files in and out, by UTF-16 names, with errors that name the file.
#include <cstdint>
#include <string>
#include <string_view>

#include "text/prefault.h"

namespace kes {

// The bytes that `readSome(into, capacity)` gives until it gives 0, read straight into a string
// made the file's expected size, whose pages are mapped in one go; a file that has grown since
// is still read whole.
template <class ReadSome>
std::string readAllBytes(uint64_t expectedSize, ReadSome&& readSome) {
    std::string bytes;
    size_t filled = 0;
    bytes.reserve(static_cast<size_t>(expectedSize) + 1);
    prefaultForWriting(bytes.data(), bytes.capacity());
    bytes.resize(bytes.capacity());
    for (;;) {
        if (filled == bytes.size()) bytes.resize(bytes.size() * 2);
        const size_t n = readSome(bytes.data() + filled, bytes.size() - filled);
        if (n == 0) break;
        filled += n;
    }
    bytes.resize(filled);
    return bytes;
}

// Throws EFileError "Cannot open file "NAME". REASON" when the file cannot be read.
std::string readWholeFile(std::u16string_view fileName);

// Creates (or empties) the file; the writing that follows appends.
class OutputFile {
public:
    explicit OutputFile(std::u16string_view fileName);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    void write(std::string_view bytes);

private:
    std::u16string name_;
    void* file_;
};

}  // namespace kes
