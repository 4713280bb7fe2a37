#include "workbook/html/html_writer.h"

#include <algorithm>
#include <string>

#include "workbook/xml/xml_writer.h"

namespace kes {
namespace {

// The alignment the grid gives a value: numbers right, booleans and errors centred, text left.
const char* alignmentOf(const CellValue& value) {
    if (isNumericType(value.type)) return " class=\"n\"";
    if (value.type == cdtBoolean || value.type == cdtError) return " class=\"c\"";
    return "";
}

void writeSheet(std::string& out, SheetTable& sheet) {
    int32_t lastColumn = -1;
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        if (row->cells.last()) lastColumn = std::max(lastColumn, row->cells.last()->index);
    }
    out += "<table>\n";
    int32_t nextRow = 0;
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        for (; nextRow <= row->index; ++nextRow) {
            out += "<tr>";
            SheetCell* cell = nextRow == row->index ? row->cells.first() : nullptr;
            for (int32_t column = 0; column <= lastColumn; ++column) {
                const CellRect* merged = sheet.mergedAreaAt(nextRow, column);
                if (merged && (merged->top != nextRow || merged->left != column)) {
                    while (cell && cell->index <= column) cell = cell->next;
                    continue;   // covered by the area's first cell
                }
                out += "<td";
                if (merged) {
                    if (merged->right > merged->left) out += " colspan=\"" + std::to_string(merged->right - merged->left + 1) + "\"";
                    if (merged->bottom > merged->top) out += " rowspan=\"" + std::to_string(merged->bottom - merged->top + 1) + "\"";
                }
                if (cell && cell->index == column) {
                    const CellRef ref(&sheet, row, cell);
                    out += alignmentOf(ref.formulaResult());
                    out += '>';
                    const std::u16string shown = ref.displayText();
                    size_t start = 0;
                    for (size_t lineBreak; (lineBreak = shown.find(u'\n', start)) != std::u16string::npos; start = lineBreak + 1) {
                        appendMarkupText(out, std::u16string_view(shown).substr(start, lineBreak - start));
                        out += "<br>";
                    }
                    appendMarkupText(out, std::u16string_view(shown).substr(start));
                    cell = cell->next;
                } else {
                    out += '>';
                }
                out += "</td>";
            }
            out += "</tr>\n";
        }
    }
    out += "</table>\n";
}

}  // namespace

void HtmlWriter::Write(Workbook& book, std::string& out) {
    std::u16string title = book.sheetCount() > 0 ? book.sheet(0).name() : u"";
    out += "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>";
    appendMarkupText(out, title);
    out += "</title>\n<style>\ntable{border-collapse:collapse;margin-bottom:1em}\n"
           "td{border:1px solid #d0d7de;padding:1px 4px;vertical-align:bottom;white-space:pre-wrap}\n"
           "td.n{text-align:right}\ntd.c{text-align:center}\n</style>\n</head>\n<body>\n";
    for (int32_t i = 0; i < book.sheetCount(); ++i) {
        SheetTable& sheet = book.sheet(i);
        if (book.sheetCount() > 1) {
            out += "<h2>";
            appendMarkupText(out, sheet.name());
            out += "</h2>\n";
        }
        writeSheet(out, sheet);
    }
    out += "</body>\n</html>\n";
}

}  // namespace kes
