#pragma once
// Writing XML text: UTF-16 in, escaped UTF-8 out.
#include <string>
#include <string_view>

namespace kes {

// Escapes for element text or, with `attribute`, for a double-quoted attribute value. Control
// characters that XML cannot hold, a carriage return and an underscore that would read as an
// escape are written as spreadsheets write them: _xHHHH_.
void appendXmlText(std::string& out, std::u16string_view text, bool attribute = false);

}  // namespace kes
