#include "text/ansi_code_page.h"

#include "text/utf8.h"

namespace kes {

void AnsiCodePage::decodeAppendUtf8(std::string_view bytes, std::string& out) const {
    std::u16string wide;
    decodeAppend(bytes, wide);
    appendUtf8(out, wide);
}

}  // namespace kes
