#include "workbook/xml/xml_writer.h"

#include <cstdio>

#include "text/utf8.h"

namespace kes {

void appendXmlText(std::string& out, std::u16string_view text, bool attribute) {
    size_t plain = 0;
    const auto flush = [&](size_t end) { appendUtf8(out, text.substr(plain, end - plain)); };
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        const char* replacement = nullptr;
        char escaped[16];
        if (c == u'&') replacement = "&amp;";
        else if (c == u'<') replacement = "&lt;";
        else if (c == u'>' && !attribute) replacement = "&gt;";
        else if (c == u'"' && attribute) replacement = "&quot;";
        else if (attribute && (c == u'\t' || c == u'\n')) replacement = c == u'\t' ? "&#9;" : "&#10;";
        else if ((c < 0x20 && c != u'\t' && c != u'\n') || c == 0xFFFE || c == 0xFFFF ||
                 (c == u'_' && i + 6 < text.size() && text[i + 1] == u'x' && text[i + 6] == u'_')) {
            std::snprintf(escaped, sizeof escaped, "_x%04X_", static_cast<unsigned>(c));
            replacement = escaped;
        }
        if (!replacement) continue;
        flush(i);
        out += replacement;
        plain = i + 1;
    }
    flush(text.size());
}

void appendMarkupText(std::string& out, std::u16string_view text, bool attribute) {
    size_t plain = 0;
    const auto flush = [&](size_t end) { appendUtf8(out, text.substr(plain, end - plain)); };
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        const char* replacement = nullptr;
        if (c == u'&') replacement = "&amp;";
        else if (c == u'<') replacement = "&lt;";
        else if (c == u'>') replacement = "&gt;";
        else if (c == u'"' && attribute) replacement = "&quot;";
        else if (c == u'\r') replacement = "&#13;";
        else if (attribute && (c == u'\t' || c == u'\n')) replacement = c == u'\t' ? "&#9;" : "&#10;";
        else if ((c < 0x20 && c != u'\t' && c != u'\n') || c == 0xFFFE || c == 0xFFFF) replacement = "";
        if (!replacement) continue;
        flush(i);
        out += replacement;
        plain = i + 1;
    }
    flush(text.size());
}

}  // namespace kes
