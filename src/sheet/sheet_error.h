#pragma once
#include <stdexcept>
#include <string>

namespace kes {

// An operation on the cell store that cannot be done, such as changing part of an array
// formula. The message is UTF-8.
class ESheetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace kes
