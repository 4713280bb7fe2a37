#pragma once
// Writing XML text: UTF-16 in, escaped UTF-8 out.
#include <string>
#include <string_view>

namespace kes {

// Escapes for element text or, with `attribute`, for a double-quoted attribute value. Control
// characters that XML cannot hold, a carriage return and an underscore that would read as an
// escape are written as spreadsheets write them: _xHHHH_.
void appendXmlText(std::string& out, std::u16string_view text, bool attribute = false);

// Escapes as plain XML and HTML know them, for formats without the _xHHHH_ convention: the
// markup characters as entities, line breaks in attributes and carriage returns as character
// references, and the control characters XML cannot hold left out.
void appendMarkupText(std::string& out, std::u16string_view text, bool attribute = false);

}  // namespace kes
