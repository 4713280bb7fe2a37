#pragma once
// Writing a compound file (the container of .xls workbooks): version 3 with 512-byte sectors,
// the named streams side by side in the root storage. Streams of 4096 bytes and more take
// regular sectors; smaller ones go into the mini stream, so that any stream size is stored as
// readers expect it and nothing needs padding. Tables past 109 allocation sectors continue in
// DIFAT sectors.
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class CompoundFileWriter {
public:
    // Adds a stream to the root storage. Throws ECompoundFileError for a name longer than 31
    // characters or holding '/', '\', ':' or '!', and for a name already added (any case).
    void add(std::u16string name, std::string bytes);
    // The whole file.
    std::string finish() const;

private:
    struct Stream {
        std::u16string name;
        std::string bytes;
    };
    std::vector<Stream> streams_;
};

// The order of directory entries: shorter names first, equal lengths by their upper-case
// characters. Negative, zero or positive as for a three-way comparison.
int compareEntryNames(std::u16string_view a, std::u16string_view b);

}  // namespace kes
