#include "workbook/xlsx/xlsx_writer.h"

#include <charconv>

#include "sheet/cell_formula.h"
#include "sheet/workbook.h"
#include "sheet/format/number_format.h"
#include "sheet/shared_strings.h"
#include "text/utf8.h"
#include "workbook/xml/xml_writer.h"
#include "workbook/xlsx/xlsx_styles_writer.h"
#include "workbook/zip/zip_writer.h"

namespace kes {
namespace {

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kRelationships = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kPackageRelationships = "http://schemas.openxmlformats.org/package/2006/relationships";

void appendCellReference(std::string& out, int32_t row, int32_t column) {
    char letters[4];
    int n = 0;
    for (int32_t c = column + 1; c > 0; c = (c - 1) / 26) letters[n++] = char('A' + (c - 1) % 26);
    while (n > 0) out += letters[--n];
    char digits[12];
    auto [end, ec] = std::to_chars(digits, digits + sizeof digits, row + 1);
    out.append(digits, end);
}

void appendNumber(std::string& out, uint64_t value) {
    char digits[24];
    auto [end, ec] = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, end);
}

// A number in the general format with at most 15 significant digits, "." as its separator.
std::string numberText(double value) {
    char buffer[40];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    return std::string(buffer, end);
}

std::string xmlText(std::u16string_view text, bool attribute = false) {
    std::string out;
    appendXmlText(out, text, attribute);
    return out;
}

// XML made in a buffer that goes into its part whenever it holds a megabyte: a part of any size
// costs that much memory while it is made, and its packed bytes.
class PartStream {
public:
    explicit PartStream(ZipWriter::Part part) : part_(std::move(part)) { xml_.reserve(kFlushAt + 4096); }
    std::string& xml() { return xml_; }
    void maybeFlush() {
        if (xml_.size() >= kFlushAt) flush();
    }
    void close() {
        flush();
        part_.close();
    }

private:
    static constexpr size_t kFlushAt = 1 << 20;
    void flush() {
        part_.write(xml_);
        xml_.clear();
    }
    ZipWriter::Part part_;
    std::string xml_;
};

// The file's shared strings, in the order the cells first name them. Each entry of the
// workbook's table keeps its index while the file is written (SharedString::writerIndex), so a
// million texts cost a list of pointers and no map; the list sets the indexes back when done.
class SharedStringList {
public:
    SharedStringList() = default;
    SharedStringList(const SharedStringList&) = delete;
    SharedStringList& operator=(const SharedStringList&) = delete;
    ~SharedStringList() {
        for (SharedString* entry : texts_) entry->writerIndex = 0;
    }
    size_t indexOf(SharedString* entry) {
        if (entry->writerIndex == 0) {
            texts_.push_back(entry);
            entry->writerIndex = static_cast<uint32_t>(texts_.size());
        }
        return entry->writerIndex - 1;
    }
    void write(PartStream& out) const {
        std::string& xml = out.xml();
        xml += kDeclaration;
        xml += "<sst xmlns=\"" + std::string(kMain) + "\" uniqueCount=\"" + std::to_string(texts_.size()) + "\">";
        for (const SharedString* entry : texts_) {
            const std::u16string_view text = entry->text();
            const bool spaces = !text.empty() && (text.front() == u' ' || text.back() == u' ' || text.front() == u'\n' ||
                                                  text.back() == u'\n' || text.front() == u'\t' || text.back() == u'\t');
            xml += spaces ? "<si><t xml:space=\"preserve\">" : "<si><t>";
            appendXmlText(xml, text);
            xml += "</t></si>";
            out.maybeFlush();
        }
        xml += "</sst>";
    }

private:
    std::vector<SharedString*> texts_;
};

// The error word a cell stores. The newer errors (#SPILL!, #CALC!) are #VALUE! in the file
// format; Excel tells them apart by rich value metadata, which we do not write.
std::u16string_view storedErrorText(FormulaErrorCode code) {
    return errorText(code == ecSpill || code == ecCalc ? ecValue : code);
}

// A value of an array formula's result, written where the cell reference is already open.
void writeArrayMember(std::string& xml, const CellValue& value) {
    switch (value.type) {
    case cdtBlank: xml += "/>"; return;
    case cdtBoolean: xml += value.boolean ? " t=\"b\"><v>true</v></c>" : " t=\"b\"><v>false</v></c>"; return;
    case cdtError:
        xml += " t=\"e\"><v>";
        appendXmlText(xml, storedErrorText(value.error));
        xml += "</v></c>";
        return;
    case cdtString:
        xml += " t=\"str\"><v>";
        appendXmlText(xml, value.text);
        xml += "</v></c>";
        return;
    default:
        xml += " t=\"n\"><v>";
        xml += numberText(value.asFloat());
        xml += "</v></c>";
        return;
    }
}

void writeCell(std::string& xml, SheetTable& sheet, SheetRow& row, SheetCell& cell, SharedStringList& strings) {
    xml += "<c r=\"";
    appendCellReference(xml, row.index, cell.index);
    xml += "\" s=\"";
    appendNumber(xml, cell.style);
    xml += '"';
    switch (cell.type) {
    case cdtBlank: xml += "/>"; return;
    case cdtBoolean: xml += cell.boolean ? " t=\"b\"><v>true</v></c>" : " t=\"b\"><v>false</v></c>"; return;
    case cdtError:
        xml += " t=\"e\"><v>";
        appendXmlText(xml, storedErrorText(cell.error));
        xml += "</v></c>";
        return;
    case cdtString:
        xml += " t=\"s\"><v>";
        appendNumber(xml, strings.indexOf(cell.string));
        xml += "</v></c>";
        return;
    case cdtFormula: {
        const CellFormula& formula = *cell.formula;
        if (formula.role == FormulaRole::ArrayMember) {
            // The other cells of an array formula hold its values, as Excel writes them.
            writeArrayMember(xml, CellRef(&sheet, &row, &cell).formulaResult());
            return;
        }
        // The text files carry: newer functions with their _xlfn. prefixes. A formula that never
        // parsed is written as it was read.
        std::u16string text = formula.expression ? formula::formulaText(*formula.expression, formula::TextStyle::File)
                                                 : formula.text;
        std::u16string_view body = text;
        if (!body.empty() && body.front() == u'=') body.remove_prefix(1);
        if (formula.role == FormulaRole::ArrayAnchor) {
            xml += " t=\"str\"><f t=\"array\" ref=\"";
            appendCellReference(xml, formula.array.top, formula.array.left);
            xml += ':';
            appendCellReference(xml, formula.array.bottom, formula.array.right);
            xml += "\">";
        } else {
            xml += " t=\"str\"><f>";
        }
        appendXmlText(xml, body);
        xml += "</f></c>";
        return;
    }
    default:
        xml += " t=\"n\"><v>";
        xml += numberText(CellRef(&sheet, &row, &cell).asFloat());
        xml += "</v></c>";
        return;
    }
}

void writeWorksheet(PartStream& out, SheetTable& sheet, bool selected, SharedStringList& strings, size_t tables) {
    std::string& xml = out.xml();
    xml += kDeclaration;
    xml += "<worksheet xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" + kRelationships + "\">";
    xml += std::string("<sheetViews><sheetView") + (selected ? " tabSelected=\"1\"" : "") + " workbookViewId=\"0\"/></sheetViews>";
    if (sheet.defaultRowHeight != SheetTable::kDefaultRowHeight) {
        xml += "<sheetFormatPr defaultRowHeight=\"" + numberText(sheet.defaultRowHeight * 72.0 / 96) + "\" customHeight=\"1\"/>";
    }
    std::string columns;
    for (SheetColumn* c = sheet.columns().first(); c; c = c->next) {
        if (c->width <= 0 && !c->hidden) continue;
        const double characters = std::max(0.0, (sheet.columnWidth(c->index) - 5) / 7.0);
        columns += "<col min=\"" + std::to_string(c->index + 1) + "\" max=\"" + std::to_string(c->index + 1) + "\" width=\"" +
                   numberText(characters) + "\"" + (c->width > 0 ? " customWidth=\"1\"" : "") + (c->hidden ? " hidden=\"1\"" : "") + "/>";
    }
    if (!columns.empty()) xml += "<cols>" + columns + "</cols>";
    xml += "<sheetData>";
    for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
        prefetchTexts(row->next ? row->next->next : nullptr);
        xml += "<row r=\"";
        appendNumber(xml, uint64_t(row->index) + 1);
        xml += '"';
        if (row->height) xml += " ht=\"" + numberText(row->height * 72.0 / 96) + "\" customHeight=\"1\"";
        if (row->hidden) xml += " hidden=\"1\"";
        xml += '>';
        for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) writeCell(xml, sheet, *row, *cell, strings);
        xml += "</row>";
        out.maybeFlush();
    }
    xml += "</sheetData>";
    // Straight after sheetData: Excel repairs a worksheet whose parts are out of their order.
    if (!sheet.mergedAreas().empty()) {
        xml += "<mergeCells count=\"";
        appendNumber(xml, sheet.mergedAreas().size());
        xml += "\">";
        for (const CellRect& area : sheet.mergedAreas()) {
            xml += "<mergeCell ref=\"";
            appendCellReference(xml, area.top, area.left);
            xml += ':';
            appendCellReference(xml, area.bottom, area.right);
            xml += "\"/>";
        }
        xml += "</mergeCells>";
    }
    if (tables > 0) {
        xml += "<tableParts count=\"" + std::to_string(tables) + "\">";
        for (size_t i = 0; i < tables; ++i) xml += "<tablePart r:id=\"rId" + std::to_string(i + 1) + "\"/>";
        xml += "</tableParts>";
    }
    xml += "</worksheet>";
}

std::string areaText(const CellRect& area) {
    std::string out;
    appendCellReference(out, area.top, area.left);
    out += ':';
    appendCellReference(out, area.bottom, area.right);
    return out;
}

std::string tablePart(const TableDefinition& table, size_t id) {
    std::string xml = kDeclaration;
    const std::string name = xmlText(table.name, true);
    xml += "<table xmlns=\"" + std::string(kMain) + "\" id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\" displayName=\"" + name + "\" ref=\"" + areaText(table.area) + "\"";
    if (!table.headerRow) xml += " headerRowCount=\"0\"";
    xml += table.totalsRow ? " totalsRowCount=\"1\">" : " totalsRowShown=\"0\">";
    if (table.headerRow) {
        CellRect filter = table.area;
        if (table.totalsRow) --filter.bottom;
        xml += "<autoFilter ref=\"" + areaText(filter) + "\"/>";
    }
    xml += "<tableColumns count=\"" + std::to_string(table.columns.size()) + "\">";
    for (size_t i = 0; i < table.columns.size(); ++i) {
        xml += "<tableColumn id=\"" + std::to_string(i + 1) + "\" name=\"" + xmlText(table.columns[i], true) + "\"/>";
    }
    xml += "</tableColumns><tableStyleInfo name=\"TableStyleMedium2\" showFirstColumn=\"0\" showLastColumn=\"0\" "
           "showRowStripes=\"1\" showColumnStripes=\"0\"/></table>";
    return xml;
}

// The defined names as the workbook part lists them, their formulas in the text files carry.
std::string definedNames(Workbook& book) {
    if (book.names().size() == 0) return {};
    std::string xml = "<definedNames>";
    for (const DefinedName& name : book.names().all()) {
        xml += "<definedName name=\"" + xmlText(name.name, true) + "\"";
        if (name.sheet >= 0) xml += " localSheetId=\"" + std::to_string(name.sheet) + "\"";
        if (name.hidden) xml += " hidden=\"1\"";
        xml += '>';
        std::u16string text = name.expression ? formula::formulaText(*name.expression, formula::TextStyle::File) : name.formula;
        appendXmlText(xml, std::u16string_view(text).substr(text.starts_with(u'=') ? 1 : 0));
        xml += "</definedName>";
    }
    return xml + "</definedNames>";
}

}  // namespace

void XlsxWriter::Write(Workbook& book, std::string& out) {
    ZipWriter zip;
    SharedStringList strings;
    const size_t sheetCount = size_t(book.sheetCount());
    // The tables of each sheet, numbered across the workbook as their parts are.
    std::vector<std::vector<const TableDefinition*>> tablesOf(sheetCount);
    for (const TableDefinition& table : book.tables().all()) {
        if (table.sheet >= 0 && table.sheet < book.sheetCount()) tablesOf[size_t(table.sheet)].push_back(&table);
    }

    const char* mainType = asTemplate_ ? "application/vnd.openxmlformats-officedocument.spreadsheetml.template.main+xml"
                                       : "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml";
    std::string types = kDeclaration;
    types += "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
             "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
             "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
    types += "<Override PartName=\"/xl/workbook.xml\" ContentType=\"" + std::string(mainType) + "\"/>";
    for (size_t i = 0; i < sheetCount; ++i)
        types += "<Override PartName=\"/xl/worksheets/sheet" + std::to_string(i + 1) +
                 ".xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>";
    size_t tableNumber = 0;
    for (const auto& tables : tablesOf) {
        for (size_t k = 0; k < tables.size(); ++k)
            types += "<Override PartName=\"/xl/tables/table" + std::to_string(++tableNumber) +
                     ".xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.table+xml\"/>";
    }
    types += "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
             "<Override PartName=\"/xl/sharedStrings.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml\"/>"
             "<Override PartName=\"/docProps/app.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.extended-properties+xml\"/>"
             "</Types>";
    zip.add("[Content_Types].xml", types);

    zip.add("_rels/.rels", std::string(kDeclaration) + "<Relationships xmlns=\"" + kPackageRelationships + "\">" +
                               "<Relationship Id=\"rId1\" Type=\"" + kRelationships + "/officeDocument\" Target=\"xl/workbook.xml\"/>" +
                               "<Relationship Id=\"rId2\" Type=\"" + kRelationships +
                               "/extended-properties\" Target=\"docProps/app.xml\"/></Relationships>");
    zip.add("docProps/app.xml", std::string(kDeclaration) +
                                    "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\">"
                                    "<Application>KesDataPrint</Application></Properties>");

    std::string workbook = kDeclaration;
    workbook += "<workbook xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" + kRelationships + "\">";
    if (book.settings().date1904) workbook += "<workbookPr date1904=\"1\"/>";
    workbook += "<bookViews><workbookView activeTab=\"" + std::to_string(std::max(0, book.activeSheetIndex())) + "\"/></bookViews><sheets>";
    std::string workbookRels = std::string(kDeclaration) + "<Relationships xmlns=\"" + kPackageRelationships + "\">";
    for (size_t i = 0; i < sheetCount; ++i) {
        const std::string id = "rId" + std::to_string(i + 1);
        std::u16string name = book.sheet(int32_t(i)).name();
        if (name.empty()) name = u"Sheet" + fromUtf8(std::to_string(i + 1));
        workbook += "<sheet name=\"" + xmlText(name, true) + "\" sheetId=\"" + std::to_string(i + 1) + "\" r:id=\"" + id + "\"/>";
        workbookRels += "<Relationship Id=\"" + id + "\" Type=\"" + kRelationships + "/worksheet\" Target=\"worksheets/sheet" +
                        std::to_string(i + 1) + ".xml\"/>";
    }
    workbook += "</sheets>" + definedNames(book) + "</workbook>";
    workbookRels += "<Relationship Id=\"rId" + std::to_string(sheetCount + 1) + "\" Type=\"" + kRelationships +
                    "/styles\" Target=\"styles.xml\"/>";
    workbookRels += "<Relationship Id=\"rId" + std::to_string(sheetCount + 2) + "\" Type=\"" + kRelationships +
                    "/sharedStrings\" Target=\"sharedStrings.xml\"/></Relationships>";
    zip.add("xl/workbook.xml", workbook);
    zip.add("xl/_rels/workbook.xml.rels", workbookRels);
    zip.add("xl/styles.xml", xlsxStylesPart(book.styles()));

    // The worksheets as they are made, then the strings they named.
    tableNumber = 0;
    for (size_t i = 0; i < sheetCount; ++i) {
        const std::string sheetPart = "xl/worksheets/sheet" + std::to_string(i + 1) + ".xml";
        PartStream part(zip.open(sheetPart));
        writeWorksheet(part, book.sheet(int32_t(i)), int32_t(i) == book.activeSheetIndex(), strings, tablesOf[i].size());
        part.close();
        if (tablesOf[i].empty()) continue;
        std::string rels = std::string(kDeclaration) + "<Relationships xmlns=\"" + kPackageRelationships + "\">";
        for (size_t k = 0; k < tablesOf[i].size(); ++k) {
            const std::string part = "table" + std::to_string(++tableNumber) + ".xml";
            rels += "<Relationship Id=\"rId" + std::to_string(k + 1) + "\" Type=\"" + kRelationships +
                    "/table\" Target=\"../tables/" + part + "\"/>";
            zip.add("xl/tables/" + part, tablePart(*tablesOf[i][k], tableNumber));
        }
        zip.add("xl/worksheets/_rels/sheet" + std::to_string(i + 1) + ".xml.rels", rels + "</Relationships>");
    }
    PartStream sharedStrings(zip.open("xl/sharedStrings.xml"));
    strings.write(sharedStrings);
    sharedStrings.close();
    out += zip.finish();
}

}  // namespace kes
