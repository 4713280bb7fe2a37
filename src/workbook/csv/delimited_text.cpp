#include "workbook/csv/delimited_text.h"

#include <string>

namespace kes {

void writeDelimitedLines(SheetTable& sheet, char16_t delimiter, const std::function<void(std::u16string_view)>& line) {
    const char16_t special[] = {delimiter, u'"', u'\r', u'\n', u'\0'};
    std::u16string text;
    int32_t nextRow = 0;
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        for (; nextRow < row->index; ++nextRow) line(u"");   // rows without cells
        text.clear();
        int32_t column = 0;
        for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
            for (; column < cell->index; ++column) text += delimiter;
            const std::u16string shown = CellRef(&sheet, row, cell).displayText();
            if (shown.find_first_of(special) != std::u16string::npos) {
                text += u'"';
                for (char16_t ch : shown) {
                    if (ch == u'"') text += u'"';
                    text += ch;
                }
                text += u'"';
            } else {
                text += shown;
            }
        }
        line(text);
        nextRow = row->index + 1;
    }
}

}  // namespace kes
