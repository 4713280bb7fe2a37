#include "workbook/xmlss/xml_spreadsheet_writer.h"

#include <charconv>
#include <cmath>
#include <map>
#include <string>

#include "sheet/cell_formula.h"
#include "sheet/format/format_code.h"
#include "sheet/format/number_format.h"
#include "workbook/xml/xml_writer.h"

namespace kes {
namespace {

std::string numberText(double value) {
    char buffer[40];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    return std::string(buffer, end);
}

std::string decimal(int64_t value) { return std::to_string(value); }

// yyyy-mm-ddThh:mm:ss.000, as the format writes date-times; none for a serial no date shows.
std::optional<std::string> isoDateTime(double serial, const FormatSettings& settings) {
    const double shifted = settings.date1904 ? serial + 1462 : serial;
    if (!(shifted >= 1 && shifted < 2958466)) return std::nullopt;
    int64_t days = int64_t(std::floor(shifted));
    int64_t millis = std::llround((shifted - double(days)) * 86400000.0);
    if (millis >= 86400000) {
        ++days;
        millis -= 86400000;
    }
    const Date date = dateOfSerial(days);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", date.year, date.month, date.day,
                  int(millis / 3600000), int(millis / 60000 % 60), int(millis / 1000 % 60), int(millis % 1000));
    return std::string(text);
}

// A format code as the format writes it: the literal hyphens and spaces outside quotes and
// brackets escaped, as Excel writes them (yyyy\-mm\-dd), which LibreOffice needs to read them so.
std::u16string escapedFormat(std::u16string_view code) {
    std::u16string out;
    bool quoted = false, bracketed = false, escaped = false;
    for (char16_t c : code) {
        if (escaped) {
            escaped = false;
        } else if (c == u'\\') {
            escaped = true;
        } else if (c == u'"') {
            quoted = !quoted;
        } else if (!quoted && (c == u'[' || c == u']')) {
            bracketed = c == u'[';
        } else if (!quoted && !bracketed && (c == u'-' || c == u' ')) {
            out += u'\\';
        }
        out += c;
    }
    return out;
}

// The styles the cells use: a number format each, under the ids the cells name.
class StyleList {
public:
    // The style id for a cell of that number format; empty for General.
    std::string idOf(const std::u16string& code) {
        if (code.empty()) return {};
        auto [it, added] = ids_.try_emplace(code, "s" + decimal(int64_t(ids_.size()) + 21));
        return it->second;
    }
    void write(std::string& out) const {
        out += "<Styles>\n<Style ss:ID=\"Default\" ss:Name=\"Normal\"><Alignment ss:Vertical=\"Bottom\"/></Style>\n";
        for (const auto& [code, id] : ids_) {
            out += "<Style ss:ID=\"" + id + "\"><NumberFormat ss:Format=\"";
            appendMarkupText(out, escapedFormat(code), true);
            out += "\"/></Style>\n";
        }
        out += "</Styles>\n";
    }

private:
    std::map<std::u16string, std::string> ids_;
};

// The format a date or money value shows with when its own is General, as the grid shows it.
std::u16string shownFormatOf(const CellValue& value, const std::u16string& code, const FormatSettings& settings) {
    if (!code.empty()) return code;
    if (value.type == cdtCurrency) return u"\u00A5#,##0.00";
    if (value.type != cdtDateTime) return code;
    switch (dateTimeParts(value.number, settings)) {
    case DateTimeParts::Date: return settings.shortDateFormat;
    case DateTimeParts::Time: return settings.longTimeFormat;
    case DateTimeParts::Both: break;
    }
    return settings.shortDateFormat + u' ' + settings.longTimeFormat;
}

void writeData(std::string& out, const CellValue& value, const std::u16string& format, const FormatSettings& settings) {
    switch (value.type) {
    case cdtBlank: return;
    case cdtBoolean: out += std::string("<Data ss:Type=\"Boolean\">") + (value.boolean ? "1" : "0") + "</Data>"; return;
    case cdtError:
        out += "<Data ss:Type=\"Error\">";
        appendMarkupText(out, errorText(value.error));
        out += "</Data>";
        return;
    case cdtString:
        out += "<Data ss:Type=\"String\">";
        appendMarkupText(out, value.text);
        out += "</Data>";
        return;
    default: break;
    }
    const double number = value.asFloat();
    if (value.type == cdtDateTime || (!format.empty() && isDateTimeFormat(format))) {
        if (const auto iso = isoDateTime(number, settings)) {
            out += "<Data ss:Type=\"DateTime\">" + *iso + "</Data>";
            return;
        }
    }
    out += "<Data ss:Type=\"Number\">" + numberText(number) + "</Data>";
}

std::string areaR1C1(const CellRect& area) {
    return "R" + decimal(area.top + 1) + "C" + decimal(area.left + 1) + ":R" + decimal(area.bottom + 1) + "C" +
           decimal(area.right + 1);
}

void writeCell(std::string& out, SheetTable& sheet, SheetRow& row, SheetCell& cell, int32_t expectedColumn, StyleList& styles) {
    const CellRef ref(&sheet, &row, &cell);
    const FormatSettings& settings = sheet.workbook().settings();
    const CellValue value = ref.formulaResult();
    const std::u16string format = shownFormatOf(value, ref.numberFormat(), settings);
    out += "<Cell";
    if (cell.index != expectedColumn) out += " ss:Index=\"" + decimal(cell.index + 1) + "\"";
    if (const std::string id = styles.idOf(format); !id.empty()) out += " ss:StyleID=\"" + id + "\"";
    if (const CellRect* merged = sheet.mergedAreaAt(row.index, cell.index); merged && merged->top == row.index && merged->left == cell.index) {
        if (merged->right > merged->left) out += " ss:MergeAcross=\"" + decimal(merged->right - merged->left) + "\"";
        if (merged->bottom > merged->top) out += " ss:MergeDown=\"" + decimal(merged->bottom - merged->top) + "\"";
    }
    const CellFormula* formula = ref.formula();
    if (formula && formula->expression) {
        if (formula->role == FormulaRole::ArrayAnchor) out += " ss:ArrayRange=\"" + areaR1C1(formula->array) + "\"";
        out += " ss:Formula=\"";
        appendMarkupText(out, formula::formulaTextR1C1(*formula->expression, row.index, cell.index), true);
        out += '"';
    }
    out += '>';
    writeData(out, value, format, settings);
    out += "</Cell>";
}

void writeNames(std::string& out, Workbook& book, int32_t scope) {
    std::string names;
    for (const DefinedName& name : book.names().all()) {
        if (name.sheet != scope || !name.expression) continue;
        names += "<NamedRange ss:Name=\"";
        appendMarkupText(names, name.name, true);
        names += "\" ss:RefersTo=\"";
        appendMarkupText(names, formula::formulaTextR1C1(*name.expression, 0, 0), true);
        names += name.hidden ? "\" ss:Hidden=\"1\"/>\n" : "\"/>\n";
    }
    if (!names.empty()) out += "<Names>\n" + names + "</Names>\n";
}

void writeSheet(std::string& out, Workbook& book, int32_t index, StyleList& styles) {
    SheetTable& sheet = book.sheet(index);
    out += "<Worksheet ss:Name=\"";
    appendMarkupText(out, sheet.name().empty() ? u"Sheet" + std::u16string(1, char16_t(u'1' + index)) : sheet.name(), true);
    out += "\">\n";
    writeNames(out, book, index);
    out += "<Table>\n";
    int32_t expectedColumn = 0;
    for (SheetColumn* c = sheet.columns().first(); c; c = c->next) {
        if (c->width <= 0) continue;
        out += "<Column";
        if (c->index != expectedColumn) out += " ss:Index=\"" + decimal(c->index + 1) + "\"";
        out += " ss:AutoFitWidth=\"0\" ss:Width=\"" + numberText(c->width * 0.75) + "\"/>\n";
        expectedColumn = c->index + 1;
    }
    int32_t expectedRow = 0;
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        out += "<Row";
        if (row->index != expectedRow) out += " ss:Index=\"" + decimal(row->index + 1) + "\"";
        out += '>';
        expectedColumn = 0;
        for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
            // The other cells of a merged area and of an array formula follow from its first.
            const CellRect* merged = sheet.mergedAreaAt(row->index, cell->index);
            if (merged && (merged->top != row->index || merged->left != cell->index)) continue;
            if (cell->type == cdtBlank && CellRef(&sheet, row, cell).numberFormat().empty()) continue;
            writeCell(out, sheet, *row, *cell, expectedColumn, styles);
            expectedColumn = merged ? merged->right + 1 : cell->index + 1;
        }
        out += "</Row>\n";
        expectedRow = row->index + 1;
    }
    out += "</Table>\n";
    if (index == book.activeSheetIndex()) {
        out += "<WorksheetOptions xmlns=\"urn:schemas-microsoft-com:office:excel\"><Selected/></WorksheetOptions>\n";
    }
    out += "</Worksheet>\n";
}

}  // namespace

void XmlSpreadsheetWriter::Write(Workbook& book, std::string& out) {
    // The sheets first: they name the styles that the head lists.
    StyleList styles;
    std::string sheets;
    for (int32_t i = 0; i < book.sheetCount(); ++i) writeSheet(sheets, book, i, styles);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<?mso-application progid=\"Excel.Sheet\"?>\n"
           "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
           " xmlns:o=\"urn:schemas-microsoft-com:office:office\"\n"
           " xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\n"
           " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
           " xmlns:html=\"http://www.w3.org/TR/REC-html40\">\n";
    out += "<ExcelWorkbook xmlns=\"urn:schemas-microsoft-com:office:excel\"><ActiveSheet>" +
           decimal(std::max(0, book.activeSheetIndex())) + "</ActiveSheet>";
    if (book.settings().date1904) out += "<Date1904/>";
    out += "</ExcelWorkbook>\n";
    styles.write(out);
    writeNames(out, book, -1);
    out += sheets;
    out += "</Workbook>\n";
}

}  // namespace kes
