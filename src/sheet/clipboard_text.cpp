#include "sheet/clipboard_text.h"

namespace kes {
namespace {

bool needsQuotes(std::u16string_view field) {
    return field.find_first_of(u"\t\r\n\"") != std::u16string_view::npos;
}

}  // namespace

TextBlock parseClipboardText(std::u16string_view text) { return parseDelimitedText(text, u'\t'); }

TextBlock parseDelimitedText(std::u16string_view text, char16_t separator) {
    TextBlock rows;
    std::vector<std::u16string> row;
    std::u16string field;
    size_t i = 0;
    const size_t n = text.size();
    bool rowOpen = false;
    while (i < n) {
        rowOpen = true;
        if (text[i] == u'"' && field.empty()) {
            // A quoted field runs to the quote that is followed by a separator or the end.
            size_t j = i + 1;
            std::u16string quoted;
            bool closed = false;
            while (j < n) {
                if (text[j] == u'"') {
                    if (j + 1 < n && text[j + 1] == u'"') {
                        quoted += u'"';
                        j += 2;
                        continue;
                    }
                    const bool atBoundary = j + 1 == n || text[j + 1] == separator || text[j + 1] == u'\r' || text[j + 1] == u'\n';
                    if (atBoundary) {
                        closed = true;
                        ++j;
                        break;
                    }
                }
                quoted += text[j++];
            }
            if (closed) {
                field = std::move(quoted);
                i = j;
                if (i >= n) break;
            } else {
                field += text[i++];   // an opening quote without its close is an ordinary character
                continue;
            }
        }
        const char16_t c = text[i];
        if (c == separator) {
            row.push_back(std::move(field));
            field.clear();
            ++i;
        } else if (c == u'\r' || c == u'\n') {
            row.push_back(std::move(field));
            field.clear();
            rows.push_back(std::move(row));
            row.clear();
            rowOpen = false;
            i += (c == u'\r' && i + 1 < n && text[i + 1] == u'\n') ? 2 : 1;
        } else {
            field += c;
            ++i;
        }
    }
    if (rowOpen) {
        row.push_back(std::move(field));
        rows.push_back(std::move(row));
    }
    return rows;
}

std::u16string clipboardText(SheetTable& sheet, const CellRect& area) {
    std::u16string out;
    for (int32_t r = area.top; r <= area.bottom; ++r) {
        for (int32_t c = area.left; c <= area.right; ++c) {
            if (c > area.left) out += u'\t';
            const CellRef cell = sheet.getCell(r, c);
            const std::u16string text = cell ? cell.displayText() : std::u16string();
            if (!needsQuotes(text)) {
                out += text;
                continue;
            }
            out += u'"';
            for (char16_t ch : text) {
                if (ch == u'"') out += u'"';
                out += ch;
            }
            out += u'"';
        }
        out += u"\r\n";
    }
    return out;
}

}  // namespace kes
