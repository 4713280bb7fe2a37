#pragma once
// Whole files in and out, by UTF-16 names, with errors that name the file.
#include <string>
#include <string_view>

namespace kes {

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
