#pragma once
// The errors of loading and saving workbooks. Messages are UTF-8.
#include <stdexcept>
#include <string>

namespace kes {

// A format that cannot be chosen, or cannot do what was asked of it.
class ESpreadSheetFormatError : public std::runtime_error {
public:
    ESpreadSheetFormatError() : std::runtime_error("Unsupported document format") {}
};

// A file that a reader cannot read: damaged, truncated, or not what it claims to be.
class ESpreadSheetReaderError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A workbook that a writer cannot put into its format, such as a cell beyond the format's last
// row or column. Raised before any byte is written.
class ESpreadSheetWriterError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A file that cannot be opened or written.
class EFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kes
