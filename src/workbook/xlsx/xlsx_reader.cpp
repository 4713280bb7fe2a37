#include "workbook/xlsx/xlsx_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>

#include "sheet/calc/compile.h"
#include "sheet/cell_formula.h"
#include "sheet/formula/cell_address.h"
#include "sheet/format/number_format.h"
#include "sheet/sheet_error.h"
#include "sheet/sheet_bounds.h"
#include "text/utf8.h"
#include "workbook/part_source.h"
#include "workbook/workbook_errors.h"
#include "workbook/xml/xml_reader.h"
#include "workbook/xlsx/xlsx_styles_reader.h"
#include "workbook/zip/zip_reader.h"

namespace kes {
namespace {

using Token = XmlReader::Token;

bool endsWith(std::string_view s, std::string_view tail) { return s.size() >= tail.size() && s.substr(s.size() - tail.size()) == tail; }

// A target of a relationship, resolved against the folder of the part that has it.
std::string resolve(std::string_view folder, std::string_view target) {
    if (!target.empty() && target.front() == '/') return std::string(target.substr(1));
    std::string path(folder);
    while (target.starts_with("../")) {
        target.remove_prefix(3);
        const size_t slash = path.find_last_of('/', path.empty() ? 0 : path.size() - 2);
        path = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    }
    return path + std::string(target);
}

std::string folderOf(std::string_view part) {
    const size_t slash = part.rfind('/');
    return slash == std::string_view::npos ? "" : std::string(part.substr(0, slash + 1));
}

std::string relsOf(std::string_view part) {
    return folderOf(part) + "_rels/" + std::string(part.substr(part.rfind('/') == std::string_view::npos ? 0 : part.rfind('/') + 1)) + ".rels";
}

struct Relationship {
    std::string type;
    std::string target;
};

// Id -> relationship of a .rels part; empty when the part is missing.
std::map<std::string, Relationship> readRelationships(const ZipReader& zip, const std::string& relsPart, std::string_view folder) {
    std::map<std::string, Relationship> out;
    const ZipEntry* entry = zip.find(relsPart);
    if (!entry) return out;
    const std::string xml = zip.extract(*entry);
    XmlReader reader(xml);
    for (Token t; (t = reader.next()) != Token::End;) {
        if (t != Token::StartElement || reader.name() != "Relationship") continue;
        std::string_view id, type, target, mode;
        reader.attribute("Id", id);
        reader.attribute("Type", type);
        const std::string typeText(type);
        reader.attribute("Target", target);
        const std::string targetText(target);
        if (reader.attribute("TargetMode", mode) && mode == "External") continue;
        out[std::string(id)] = {typeText, resolve(folder, targetText)};
    }
    return out;
}

// The officeDocument relationship of Office Open XML, transitional and strict.
bool isOfficeDocument(std::string_view type) {
    return type == "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" ||
           type == "http://purl.oclc.org/ooxml/officeDocument/relationships/officeDocument";
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
    for (size_t i = 0; i < a.size(); ++i) {
        if (fold(a[i]) != fold(b[i])) return false;
    }
    return true;
}

// The content type of a part as the packaging conventions give it: an Override of the part's
// name, compared ignoring case; else the Default of its extension; else none (empty).
std::string contentTypeOf(const ZipReader& zip, std::string_view partName) {
    const ZipEntry* types = zip.find("[Content_Types].xml");
    if (!types) return {};
    const std::string xml = zip.extract(*types);
    XmlReader reader(xml);
    const size_t dot = partName.rfind('.');
    const std::string_view extension = dot == std::string_view::npos || partName.find('/', dot) != std::string_view::npos
                                           ? std::string_view()
                                           : partName.substr(dot + 1);
    std::string byExtension;
    for (Token t; (t = reader.next()) != Token::End;) {
        if (t != Token::StartElement) continue;
        std::string_view name, type;
        if (reader.name() == "Override" && reader.attribute("PartName", name) && equalsIgnoringAsciiCase(name, partName) &&
            reader.attribute("ContentType", type)) {
            return std::string(type);
        }
        if (reader.name() == "Default" && reader.attribute("Extension", name) && !extension.empty() &&
            equalsIgnoringAsciiCase(name, extension) && reader.attribute("ContentType", type)) {
            byExtension = type;
        }
    }
    return byExtension;
}

std::optional<std::string> workbookPartOf(const ZipReader& zip) {
    std::optional<std::string> part;
    for (const auto& [id, rel] : readRelationships(zip, "_rels/.rels", "")) {
        if (isOfficeDocument(rel.type)) {
            part = rel.target;
            break;
        }
    }
    if (!part) return std::nullopt;
    const std::string contentType = contentTypeOf(zip, "/" + *part);
    if (!contentType.empty() && contentType.find("spreadsheetml.sheet.main") == std::string::npos &&
        contentType.find("spreadsheetml.template.main") == std::string::npos)
        return std::nullopt;
    return part;
}

// A text of the file: _xHHHH_ stands for the character HHHH; _x005F_ escapes the underscore of
// such an escape.
std::u16string decodeEscapes(std::string_view text) {
    std::u16string out;
    size_t done = 0;
    for (size_t i = text.find("_x"); i != std::string_view::npos && i + 6 < text.size(); i = text.find("_x", i + 1)) {
        if (text[i + 6] != '_') continue;
        uint32_t cp = 0;
        auto [end, ec] = std::from_chars(text.data() + i + 2, text.data() + i + 6, cp, 16);
        if (ec != std::errc() || end != text.data() + i + 6) continue;
        appendFromUtf8(out, text.substr(done, i - done));
        out.push_back(char16_t(cp));
        done = i + 7;
        i += 6;
    }
    appendFromUtf8(out, text.substr(done));
    return out;
}

// The text of a string item (<si> or <is>) into `out`: plain <t>, or rich runs, without
// phonetic runs. A plain text without xml:space="preserve" loses its surrounding white space, as
// in Excel. `text` is room for the UTF-8 on the way.
void readStringItem(XmlReader& reader, std::string& text, std::u16string& out) {
    text.clear();
    out.clear();
    const int depth = reader.depth();
    while (reader.nextStartWithin(depth)) {
        if (reader.name() == "rPh") {
            reader.skipElement();
        } else if (reader.name() == "t") {
            std::string_view space;
            const bool preserve = reader.attribute("space", space) && space == "preserve";
            const bool inRun = reader.depth() > depth + 1;
            std::string_view part = reader.elementText();
            if (!preserve && !inRun) {
                const size_t first = part.find_first_not_of(" \t\r\n");
                part = first == std::string::npos ? std::string_view() : part.substr(first, part.find_last_not_of(" \t\r\n") - first + 1);
            }
            text += part;
        }
    }
    out = decodeEscapes(text);
}

int32_t columnOfReference(std::string_view ref, bool& ok) {
    int64_t column = 0;
    size_t i = 0;
    while (i < ref.size() && ((ref[i] >= 'A' && ref[i] <= 'Z') || (ref[i] >= 'a' && ref[i] <= 'z'))) {
        column = column * 26 + ((ref[i] | 0x20) - 'a' + 1);
        if (column > kMaxColumn + 1) break;
        ++i;
    }
    ok = i > 0 && column >= 1 && column <= kMaxColumn + 1;
    return ok ? int32_t(column - 1) : 0;
}

// "B2:C4" or "B2" as an area; none when it is neither.
std::optional<CellRect> areaOfReference(std::string_view ref) {
    const std::u16string text = fromUtf8(ref);
    formula::CellAddress first, last;
    const size_t end = formula::scanCellAddress(text, 0, first);
    if (end == 0) return std::nullopt;
    last = first;
    if (end < text.size()) {
        if (text[end] != u':' || formula::scanCellAddress(text, end + 1, last) != text.size()) return std::nullopt;
    }
    formula::orderCorners(first, last);
    return CellRect{first.column, first.row, last.column, last.row};
}

struct DeferredFormula {
    SheetTable* sheet;
    int32_t row;
    int32_t column;
    std::u16string text;
    std::optional<CellRect> array;   // an array formula over this area
    bool dynamic = false;            // one that spills (Excel's dynamic arrays)
};

// The first cell of a shared formula: its text is the formula of every cell that shares it,
// its relative references moved by the cell's distance from the first.
struct SharedFormula {
    int32_t row;
    int32_t column;
    std::shared_ptr<const formula::Expression> expression;   // none when the text does not parse
    std::u16string text;
};

struct PendingName {
    std::u16string name;
    int32_t sheet;
    std::u16string formula;
    bool hidden;
};

// Array formulas over more cells than this make members only of the cells the file holds.
constexpr int64_t kMembersMadeUpTo = 65536;

class PackageReader {
    // A row's inline texts go into the workbook's table a row late: their slots are asked for
    // at the row's end and taken at the next row's end, so that the table's memory arrives
    // while the next row is read.
    struct RowTexts {
        SheetTable* sheet = nullptr;
        SheetRow* row = nullptr;
        SharedStringBatch texts;
        std::vector<int32_t> columns;
    };

public:
    PackageReader(Workbook& book, std::string_view bytes) : book_(book), zip_(bytes) {}
    PackageReader(const PackageReader&) = delete;
    PackageReader& operator=(const PackageReader&) = delete;
    ~PackageReader() {
        for (SharedString* entry : entries_) book_.strings().release(entry);
    }

    void read() {
        const std::optional<std::string> workbookPart = workbookPartOf(zip_);
        if (!workbookPart) throw ESpreadSheetReaderError("Unsupported document type");
        const ZipEntry* entry = zip_.find(*workbookPart);
        if (!entry) throw ESpreadSheetReaderError("Unsupported document type");
        const auto rels = readRelationships(zip_, relsOf(*workbookPart), folderOf(*workbookPart));
        std::string metadata, richValues, richStructures, styles, theme;
        for (const auto& [id, rel] : rels) {
            if (endsWith(rel.type, "/sharedStrings")) readSharedStrings(rel.target);
            else if (endsWith(rel.type, "/styles")) styles = rel.target;
            else if (endsWith(rel.type, "/theme")) theme = rel.target;
            else if (endsWith(rel.type, "/sheetMetadata")) metadata = rel.target;
            else if (endsWith(rel.type, "/rdRichValue")) richValues = rel.target;
            else if (endsWith(rel.type, "/rdRichValueStructure")) richStructures = rel.target;
        }
        if (!styles.empty()) readStyles(styles, theme);
        if (!metadata.empty() && !richValues.empty() && !richStructures.empty()) {
            readRichErrors(metadata, richValues, richStructures);
        }
        const std::string xml = zip_.extract(*entry);
        XmlReader reader(xml);
        int32_t activeTab = 0;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view value;
            if (reader.name() == "workbookPr" && reader.attribute("date1904", value)) {
                FormatSettings settings = book_.settings();
                settings.date1904 = value == "1" || value == "true";
                book_.setSettings(settings);
            } else if (reader.name() == "workbookView" && reader.attribute("activeTab", value)) {
                std::from_chars(value.data(), value.data() + value.size(), activeTab);
            } else if (reader.name() == "definedName" && reader.attribute("name", value)) {
                PendingName name{fromUtf8(value), -1, {}, false};
                if (reader.attribute("localSheetId", value)) {
                    name.sheet = -2;   // unreadable: dropped below
                    std::from_chars(value.data(), value.data() + value.size(), name.sheet);
                }
                name.hidden = reader.attribute("hidden", value) && (value == "1" || value == "true");
                name.formula = fromUtf8(reader.elementText());
                names_.push_back(std::move(name));
            } else if (reader.name() == "sheet") {
                if (book_.sheetCount() >= kMaxSheets)
                    report("The workbook has more than " + std::to_string(kMaxSheets) + " sheets");
                std::string_view name, id;
                reader.attribute("name", name);
                const std::u16string sheetName = fromUtf8(name);
                reader.attribute("id", id);
                const auto rel = rels.find(std::string(id));
                SheetTable& sheet = book_.addSheet(sheetName);
                if (rel != rels.end() && endsWith(rel->second.type, "/worksheet")) readWorksheet(sheet, rel->second.target);
            }
        }
        for (const PendingName& name : names_) {
            if (name.sheet < -1 || name.sheet >= book_.sheetCount() || name.name.empty()) continue;
            std::u16string text = name.formula.starts_with(u'=') ? name.formula : u"=" + name.formula;
            std::shared_ptr<const formula::Expression> expression = calc::compileFormula(text);
            if (expression) text = formula::formulaText(*expression);
            book_.names().define({name.name, name.sheet, std::move(text), std::move(expression), name.hidden});
        }
        for (DeferredFormula& f : deferred_) {
            CellRef cell = f.sheet->createCell(f.row, f.column);
            if (!f.array) {
                cell.setFileFormula(f.text);
                continue;
            }
            // The cells an array formula fills show its result, and can only be changed together:
            // the grid refuses to change one of them. The file holds every one of them; areas of
            // a size a sheet can hold are made whole.
            const CellRect& area = *f.array;
            cell.setArrayFormula(f.text, area, f.dynamic);
            const int64_t cells = int64_t(area.right - area.left + 1) * (area.bottom - area.top + 1);
            SheetTable& sheet = *f.sheet;
            for (int32_t r = area.top; r <= area.bottom; ++r) {
                if (cells <= kMembersMadeUpTo) {
                    for (int32_t c = area.left; c <= area.right; ++c) {
                        if (r != area.top || c != area.left) sheet.createCell(r, c).setArrayMember(area, f.dynamic);
                    }
                    continue;
                }
                SheetRow* row = sheet.getRow(r);
                if (!row) continue;
                for (SheetCell* c = row->cells.lowerBound(area.left); c && c->index <= area.right; c = c->next) {
                    if (r != area.top || c->index != area.left) CellRef(&sheet, row, c).setArrayMember(area, f.dynamic);
                }
            }
        }
        book_.namesChanged();
        if (activeTab >= 0 && activeTab < book_.sheetCount()) book_.setActiveSheetIndex(activeTab);
    }

private:
    [[noreturn]] void report(const std::string& message) { throw ESpreadSheetReaderError(message); }

    void readSharedStrings(const std::string& part) {
        const ZipEntry* entry = zip_.find(part);
        if (!entry) return;
        PartSource bytes(zip_, *entry);
        XmlReader reader([&bytes](char* into, size_t capacity) { return bytes.read(into, capacity); });
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view count;
            if (reader.name() == "sst" && reader.attribute("uniqueCount", count)) {
                // Most of them will be cells' texts: the workbook's table takes them without
                // growing. The count is only believed as far as the part could hold that many
                // items ("<si/>" at the least), and up to a bound.
                size_t unique = 0;
                std::from_chars(count.data(), count.data() + count.size(), unique);
                unique = std::min({unique, size_t(entry->size / 5), size_t(1) << 22});
                book_.strings().reserve(book_.strings().size() + unique);
            } else if (reader.name() == "si") {
                // Each text goes into the workbook's table, a batch at a time, and cells share
                // its entry: equal items, even millions of empty ones, take the room of one.
                // A batch's slots are asked for when it is full and taken a batch later.
                readStringItem(reader, utf8_, text_);
                items_[0].add(text_);
                if (items_[0].size() == 64) {
                    items_[0].prefetch(book_.strings());
                    acquireItems(items_[1]);
                    std::swap(items_[0], items_[1]);
                }
            }
        }
        acquireItems(items_[1]);
        acquireItems(items_[0]);
    }

    // The entries are held until the reader ends.
    void acquireItems(SharedStringBatch& items) {
        entries_.resize(entries_.size() + items.size());
        items.acquire(book_.strings(), entries_.data() + entries_.size() - items.size());
    }

    // Errors newer than the file format (#SPILL!, #CALC!) are stored as #VALUE! with value
    // metadata (vm="n") that leads to a rich value of the _error structure; its errorType is
    // one less than ERROR.TYPE's number.
    void readRichErrors(const std::string& metadataPart, const std::string& valuesPart, const std::string& structuresPart) {
        const auto xmlOf = [&](const std::string& part) {
            const ZipEntry* entry = zip_.find(part);
            return entry ? zip_.extract(*entry) : std::string();
        };
        std::vector<int> errorKey;   // for each structure, the errorType key's position; -1 for others
        {
            const std::string xml = xmlOf(structuresPart);
            XmlReader reader(xml);
            int key = 0;
            for (Token t; (t = reader.next()) != Token::End;) {
                if (t != Token::StartElement) continue;
                std::string_view value;
                if (reader.name() == "s") {
                    errorKey.push_back(reader.attribute("t", value) && value == "_error" ? -2 : -1);
                    key = 0;
                } else if (reader.name() == "k" && !errorKey.empty()) {
                    if (errorKey.back() == -2 && reader.attribute("n", value) && value == "errorType") errorKey.back() = key;
                    ++key;
                }
            }
        }
        std::vector<FormulaErrorCode> richErrors;   // for each rich value; ecNone where not an error we tell apart
        {
            const std::string xml = xmlOf(valuesPart);
            XmlReader reader(xml);
            int structure = -1, position = 0;
            for (Token t; (t = reader.next()) != Token::End;) {
                if (t != Token::StartElement) continue;
                std::string_view value;
                if (reader.name() == "rv") {
                    structure = -1;
                    if (reader.attribute("s", value)) std::from_chars(value.data(), value.data() + value.size(), structure);
                    richErrors.push_back(ecNone);
                    position = 0;
                } else if (reader.name() == "v" && !richErrors.empty()) {
                    const bool isErrorType = structure >= 0 && size_t(structure) < errorKey.size() && errorKey[size_t(structure)] == position;
                    ++position;
                    if (!isErrorType) continue;
                    const std::string_view text = reader.elementText();
                    int errorType = -1;
                    std::from_chars(text.data(), text.data() + text.size(), errorType);
                    if (errorType == 8) richErrors.back() = ecSpill;
                    else if (errorType == 13) richErrors.back() = ecCalc;
                }
            }
        }
        const std::string xml = xmlOf(metadataPart);
        XmlReader reader(xml);
        std::vector<std::string> types;
        std::vector<int> richValueOf;   // the rich value of each XLRICHVALUE block
        bool inRichValues = false, inValueMetadata = false;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view value;
            const std::string_view name = reader.name();
            if (name == "metadataType") {
                types.emplace_back(reader.attribute("name", value) ? value : std::string_view());
            } else if (name == "futureMetadata") {
                inRichValues = reader.attribute("name", value) && value == "XLRICHVALUE";
                inValueMetadata = false;
            } else if (name == "rvb" && inRichValues) {
                int index = -1;
                if (reader.attribute("i", value)) std::from_chars(value.data(), value.data() + value.size(), index);
                richValueOf.push_back(index);
            } else if (name == "cellMetadata") {
                inRichValues = inValueMetadata = false;
            } else if (name == "valueMetadata") {
                inRichValues = false;
                inValueMetadata = true;
            } else if (name == "bk" && inValueMetadata) {
                valueErrors_.push_back(ecNone);
            } else if (name == "rc" && inValueMetadata && !valueErrors_.empty()) {
                int type = 0, index = -1;
                if (reader.attribute("t", value)) std::from_chars(value.data(), value.data() + value.size(), type);
                if (reader.attribute("v", value)) std::from_chars(value.data(), value.data() + value.size(), index);
                if (type < 1 || size_t(type) > types.size() || types[size_t(type) - 1] != "XLRICHVALUE") continue;
                if (index < 0 || size_t(index) >= richValueOf.size()) continue;
                const int rich = richValueOf[size_t(index)];
                if (rich >= 0 && size_t(rich) < richErrors.size()) valueErrors_.back() = richErrors[size_t(rich)];
            }
        }
    }

    void readStyles(const std::string& part, const std::string& themePart) {
        const ZipEntry* entry = zip_.find(part);
        if (!entry) return;
        const ZipEntry* themeEntry = themePart.empty() ? nullptr : zip_.find(themePart);
        const ThemeColours theme = readThemeColours(themeEntry ? zip_.extract(*themeEntry) : std::string());
        styles_ = readXlsxStyles(zip_.extract(*entry), theme, book_.styles());
    }

    // The tables of a sheet, from the table parts its relationships name.
    void readTables(SheetTable& sheet, const std::string& part) {
        for (const auto& [id, rel] : readRelationships(zip_, relsOf(part), folderOf(part))) {
            if (!endsWith(rel.type, "/table")) continue;
            const ZipEntry* entry = zip_.find(rel.target);
            if (!entry) continue;
            const std::string xml = zip_.extract(*entry);
            XmlReader reader(xml);
            TableDefinition table;
            table.sheet = book_.indexOf(sheet);
            bool haveArea = false;
            for (Token t; (t = reader.next()) != Token::End;) {
                if (t != Token::StartElement) continue;
                std::string_view value;
                if (reader.name() == "table") {
                    if (reader.attribute("displayName", value) || reader.attribute("name", value)) table.name = fromUtf8(value);
                    if (reader.attribute("ref", value)) {
                        if (const auto area = areaOfReference(value)) {
                            table.area = *area;
                            haveArea = true;
                        }
                    }
                    if (reader.attribute("headerRowCount", value)) table.headerRow = value != "0";
                    if (reader.attribute("totalsRowCount", value)) table.totalsRow = value != "0";
                } else if (reader.name() == "tableColumn" && reader.attribute("name", value)) {
                    table.columns.push_back(decodeEscapes(value));
                }
            }
            // A table the sheet cannot hold (columns that do not fit its area, a name twice) is
            // dropped: its structured references then give #REF!, as in Excel without the table.
            if (haveArea && !table.name.empty()) book_.tables().add(std::move(table));
        }
    }

    void readWorksheet(SheetTable& sheet, const std::string& part) {
        readTables(sheet, part);
        const ZipEntry* entry = zip_.find(part);
        if (!entry) return;
        PartSource bytes(zip_, *entry);
        XmlReader reader([&bytes](char* into, size_t capacity) { return bytes.read(into, capacity); });
        std::unordered_map<std::string, SharedFormula> shared;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view value;
            if (reader.name() == "col") {
                std::string_view min, max, width;
                if (reader.attribute("min", min) && reader.attribute("max", max)) {
                    int first = 0, last = 0;
                    std::from_chars(min.data(), min.data() + min.size(), first);
                    std::from_chars(max.data(), max.data() + max.size(), last);
                    const double characters = reader.attribute("width", width) ? xmlNumber(width).value_or(0) : 0;
                    const int pixels = characters > 0 ? static_cast<int>(std::lround(characters * 7 + 5)) : 0;
                    const bool hidden = reader.attribute("hidden", value) && (value == "1" || value == "true");
                    // A run to the last column (a hidden tail) is kept for its first 256 columns.
                    for (int c = first; first >= 1 && c <= std::min(last, kMaxColumn + 1) && c - first < 256; ++c) {
                        if (pixels > 0) sheet.setColumnWidth(c - 1, pixels);
                        if (hidden) sheet.setColumnHidden(c - 1, true);
                    }
                }
            } else if (reader.name() == "sheetFormatPr") {
                if (!reader.attribute("defaultRowHeight", value)) continue;
                if (const auto pixels = pixelsOfPoints(value)) sheet.defaultRowHeight = *pixels;
            } else if (reader.name() == "row") {
                int32_t index = -1;
                if (reader.attribute("r", value)) {
                    int32_t r = 0;
                    std::from_chars(value.data(), value.data() + value.size(), r);
                    index = r - 1;
                }
                // A row without r goes at the end of the sheet's row list.
                if (index < 0) index = sheet.rows().last() ? sheet.rows().last()->index + 1 : 0;
                if (index > kMaxRow) report("The row index " + std::to_string(index + 1) + " is invalid");
                SheetRow& row = *sheet.createRow(index);
                if (lastRowTexts_.row == &row) setTexts(lastRowTexts_);   // a row that comes again
                readRowFormat(reader, sheet, row);
                readRow(reader, sheet, row, shared);
            } else if (reader.name() == "mergeCell" && reader.attribute("ref", value)) {
                // Files in the wild hold overlapping, one-cell and unreadable merges that Excel
                // itself shrugs off: the sheet keeps those it can and the rest go unmerged.
                if (const auto area = areaOfReference(value)) sheet.addMergedArea(*area);
            }
        }
        setTexts(lastRowTexts_);
    }

    static std::optional<int32_t> pixelsOfPoints(std::string_view points) {
        const double value = xmlNumber(points).value_or(0);
        if (value <= 0) return std::nullopt;
        return int32_t(std::clamp<long>(std::lround(value * 96 / 72), 1, SheetTable::kMaxRowHeight));
    }

    // Excel writes the height of every row it has measured; only one that differs from the
    // sheet's default is kept, so that a file's rows cost no more than their cells.
    static void readRowFormat(XmlReader& reader, SheetTable& sheet, SheetRow& row) {
        std::string_view value;
        row.hidden = reader.attribute("hidden", value) && (value == "1" || value == "true");
        if (!reader.attribute("ht", value)) return;
        if (const auto pixels = pixelsOfPoints(value); pixels && *pixels != sheet.defaultRowHeight) row.height = uint16_t(*pixels);
    }

    void readRow(XmlReader& reader, SheetTable& sheet, SheetRow& row, std::unordered_map<std::string, SharedFormula>& shared) {
        rowTexts_.sheet = &sheet;
        rowTexts_.row = &row;
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            // A cell without r takes the column the row gives its next cell: after its last one.
            if (reader.name() == "c") readCell(reader, sheet, row, row.cellCount(), shared);
        }
        rowTexts_.texts.prefetch(book_.strings());
        setTexts(lastRowTexts_);
        std::swap(rowTexts_, lastRowTexts_);
    }

    void setTexts(RowTexts& pending) {
        if (pending.texts.empty()) return;
        rowEntries_.resize(pending.texts.size());
        pending.texts.acquire(book_.strings(), rowEntries_.data());
        for (size_t i = 0; i < pending.columns.size(); ++i) {
            pending.sheet->createCell(*pending.row, pending.columns[i]).setSharedString(rowEntries_[i]);
            book_.strings().release(rowEntries_[i]);   // the cell holds it now
        }
        pending.columns.clear();
    }

    int32_t readCell(XmlReader& reader, SheetTable& sheet, SheetRow& row, int32_t nextColumn,
                     std::unordered_map<std::string, SharedFormula>& shared) {
        std::string_view value;
        int32_t column = nextColumn;
        if (reader.attribute("r", value)) {
            bool ok = false;
            column = columnOfReference(value, ok);
            if (!ok) report("The \"" + std::string(value) + "\" column index is invalid");
        }
        if (column > kMaxColumn) report("The \"" + std::to_string(column) + "\" column index is invalid");
        // A cell that comes again, or out of order, finds the texts before it in place.
        if (!rowTexts_.columns.empty() && column <= rowTexts_.columns.back()) setTexts(rowTexts_);
        CellRef cell = sheet.createCell(row, column);
        if (reader.attribute("s", value) && !value.empty()) {
            long style = -1;
            std::from_chars(value.data(), value.data() + value.size(), style);
            if (style < 0 || size_t(style) >= styles_.size()) report("The \"" + std::to_string(style) + "\" style index is invalid");
            cell.setStyle(styles_[size_t(style)]);
        } else if (!styles_.empty()) {
            cell.setStyle(styles_[0]);   // a cell without s has the first format, whatever it holds
        }
        static const char* const kTypes[] = {"?", "b", "e", "n", "str", "s", "", "inlineStr"};
        int kind = 6;
        if (reader.attribute("t", value)) {
            kind = 0;
            for (int i = 0; i < 8; ++i) {
                if (value == kTypes[i]) kind = i;
            }
        }
        std::string& v = value_;
        std::string formula, sharedIndex;
        bool hasV = false, hasF = false, isShared = false;
        bool hasInline = false;
        std::optional<CellRect> array;
        std::string_view metadata;
        const bool dynamic = reader.attribute("cm", metadata) && !metadata.empty();
        FormulaErrorCode richError = ecNone;
        if (kind == 2 && reader.attribute("vm", metadata)) {
            size_t index = 0;
            std::from_chars(metadata.data(), metadata.data() + metadata.size(), index);
            if (index >= 1 && index <= valueErrors_.size()) richError = valueErrors_[index - 1];
        }
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            if (reader.name() == "v" && kind == 7) {
                // An inline string may come inside v: <v><is><t>text</t></is></v>.
                const int vDepth = reader.depth();
                while (reader.nextStartWithin(vDepth)) {
                    if (reader.name() != "is") continue;
                    hasInline = true;
                    readStringItem(reader, utf8_, text_);
                }
            } else if (reader.name() == "v") {
                hasV = true;
                v = reader.elementText();
            } else if (reader.name() == "f") {
                hasF = true;
                std::string_view ft, si, ref;
                const bool hasType = reader.attribute("t", ft);
                isShared = hasType && ft == "shared";
                if (hasType && ft == "array" && reader.attribute("ref", ref)) array = areaOfReference(ref);
                if (hasType && ft == "array" && !array) array = CellRect{column, row.index, column, row.index};
                if (reader.attribute("si", si)) sharedIndex = si;
                formula = reader.elementText();
            } else if (reader.name() == "is") {
                hasInline = true;
                readStringItem(reader, utf8_, text_);
            }
        }
        if (hasF) {
            std::u16string text = fromUtf8(formula);
            if (isShared) {
                if (!text.empty()) {
                    std::shared_ptr<const formula::Expression> master = formula::parseFormula(u"=" + text);
                    shared[sharedIndex] = {row.index, column, std::move(master), text};
                } else if (auto it = shared.find(sharedIndex); it != shared.end()) {
                    if (it->second.expression) {
                        formula::Expression moved = *it->second.expression;
                        formula::offsetReferences(moved, row.index - it->second.row, column - it->second.column);
                        text = formula::formulaText(moved, formula::TextStyle::File).substr(1);
                    } else {
                        text = it->second.text;
                    }
                }
            }
            if (array && (array->left != column || array->top != row.index)) array.reset();
            if (!text.empty()) deferred_.push_back({&sheet, row.index, column, std::move(text), array, dynamic && array});
            return column;
        }
        if (kind == 7) {
            if (hasInline) {
                rowTexts_.texts.add(text_);
                rowTexts_.columns.push_back(column);
            }
            return column;
        }
        if (!hasV) return column;
        switch (kind) {
        case 1: {
            int64_t number = 0;
            auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), number);
            const bool truth = (ec == std::errc() && end == v.data() + v.size()) ? number != 0 : (v.size() == 4 && (v[0] | 0x20) == 't' && (v[1] | 0x20) == 'r' && (v[2] | 0x20) == 'u' && (v[3] | 0x20) == 'e');
            cell.assign(CellValue::makeBoolean(truth));
            break;
        }
        case 2:
            if (richError != ecNone) cell.assign(CellValue::makeError(richError));
            else cell.setText(fromUtf8(v), 0);
            break;
        case 3: {
            const auto number = xmlNumber(v);
            if (!number) report("\"" + v + "\" is not a valid floating point value");
            cell.assign(CellValue::makeFloat(*number));
            break;
        }
        case 5: {
            long index = -1;
            auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), index);
            if (ec != std::errc() || end != v.data() + v.size()) index = -1;
            if (index < 0 || size_t(index) >= entries_.size()) report("The \"" + std::to_string(index) + "\" shared string index is invalid");
            cell.setSharedString(entries_[size_t(index)]);
            break;
        }
        case 6:
            if (const auto number = xmlNumber(v)) cell.assign(CellValue::makeFloat(*number));
            else cell.setText(fromUtf8(v), 0);
            break;
        default: break;
        }
        return column;
    }

    Workbook& book_;
    ZipReader zip_;
    std::string utf8_;        // room for a string item's UTF-8
    std::u16string text_;     // a string item's text
    std::string value_;       // a cell's <v>
    std::vector<SharedString*> entries_;   // the shared strings, in the workbook's table
    SharedStringBatch items_[2];   // shared string items on their way into the table
    RowTexts rowTexts_, lastRowTexts_;
    std::vector<SharedString*> rowEntries_;
    std::vector<uint16_t> styles_;
    std::vector<DeferredFormula> deferred_;
    std::vector<PendingName> names_;
    std::vector<FormulaErrorCode> valueErrors_;   // for each value metadata block (vm="1" is the first)
};

}  // namespace

std::optional<std::string> xlsxWorkbookPart(std::string_view bytes) {
    if (!ZipReader::looksLikeZip(bytes)) return std::nullopt;
    try {
        const ZipReader zip(bytes);
        return workbookPartOf(zip);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void XlsxReader::Read(Workbook& book, ByteStream& stream) {
    readPackage([&] { PackageReader(book, stream.rest()).read(); });
}

}  // namespace kes
