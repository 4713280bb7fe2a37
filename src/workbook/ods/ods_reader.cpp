#include "workbook/ods/ods_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <unordered_map>
#include <vector>

#include "sheet/format/number_format.h"
#include "sheet/sheet_bounds.h"
#include "sheet/sheet_error.h"
#include "sheet/text_to_value.h"
#include "text/utf8.h"
#include "workbook/ods/ods_cell_look.h"
#include "workbook/part_source.h"
#include "workbook/workbook_errors.h"
#include "workbook/xml/xml_reader.h"

namespace kes {
namespace {

using Token = XmlReader::Token;

constexpr std::string_view kSpreadsheetType = "application/vnd.oasis.opendocument.spreadsheet";
constexpr std::string_view kTemplateType = "application/vnd.oasis.opendocument.spreadsheet-template";

// Repeated rows and cells are written once with a count: a few bytes can stand for millions of
// cells. How many copies a document may make is bounded, well above what real sheets repeat.
constexpr uint64_t kMaxCopies = 4'000'000;
constexpr int kMaxStyleDepth = 16;
// Formats of rows, columns and blank cells repeated more often than this are the sheet's
// default look running on to its end, and are not copied.
constexpr int64_t kMaxRepeatedFormats = 1024;

bool isSpreadsheetType(std::string_view type) {
    while (!type.empty() && (type.back() == ' ' || type.back() == '\n' || type.back() == '\r')) type.remove_suffix(1);
    return type == kSpreadsheetType || type == kTemplateType;
}

bool packageIsSpreadsheet(const ZipReader& zip) {
    if (const ZipEntry* mimetype = zip.find("mimetype"); mimetype && mimetype->size <= 256)
        return isSpreadsheetType(zip.extract(*mimetype));
    const ZipEntry* manifest = zip.find("META-INF/manifest.xml");
    if (!manifest) return false;
    const std::string xml = zip.extract(*manifest);
    XmlReader reader(xml);
    for (Token t; (t = reader.next()) != Token::End;) {
        std::string_view path, type;
        if (t == Token::StartElement && reader.name() == "file-entry" && reader.attribute("full-path", path) && path == "/")
            return reader.attribute("media-type", type) && isSpreadsheetType(type);
    }
    return false;
}

int integer(std::string_view text, int fallback) {
    int value = fallback;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() ? value : fallback;
}

// Reads `count` digits of `text` into `value`, then the `separator` after them when one is asked.
bool field(std::string_view& text, size_t count, int& value, char separator = 0) {
    if (text.size() < count) return false;
    auto [end, ec] = std::from_chars(text.data(), text.data() + count, value);
    if (ec != std::errc() || end != text.data() + count) return false;
    text.remove_prefix(count);
    if (!separator) return true;
    if (!text.starts_with(separator)) return false;
    text.remove_prefix(1);
    return true;
}

// "2026-11-22" or "2026-11-22T13:45:10.5" (a zone after it is ignored) as a 1900-system serial.
std::optional<double> dateValue(std::string_view text) {
    int year = 0, month = 0, day = 0;
    if (!field(text, 4, year, '-') || !field(text, 2, month, '-') || !field(text, 2, day)) return std::nullopt;
    const std::optional<double> serial = dateSerial(year, month, day);
    if (!serial || !text.starts_with('T')) return text.empty() || !serial ? serial : std::nullopt;
    text.remove_prefix(1);
    int hour = 0, minute = 0, second = 0;
    if (!field(text, 2, hour, ':') || !field(text, 2, minute, ':') || !field(text, 2, second)) return std::nullopt;
    double fraction = 0;
    if (text.starts_with('.')) {
        size_t n = 1;
        while (n < text.size() && text[n] >= '0' && text[n] <= '9') ++n;
        fraction = xmlNumber("0" + std::string(text.substr(0, n))).value_or(0);
    }
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return *serial + (hour * 3600 + minute * 60 + second + fraction) / 86400.0;
}

// An ISO 8601 duration such as "PT13H45M00S" or "-P1DT2H" in days.
std::optional<double> durationValue(std::string_view text) {
    bool negative = false;
    if (text.starts_with('-')) {
        negative = true;
        text.remove_prefix(1);
    }
    if (!text.starts_with('P')) return std::nullopt;
    text.remove_prefix(1);
    double seconds = 0;
    bool inTime = false, any = false;
    while (!text.empty()) {
        if (text.front() == 'T') {
            inTime = true;
            text.remove_prefix(1);
            continue;
        }
        size_t n = 0;
        while (n < text.size() && ((text[n] >= '0' && text[n] <= '9') || text[n] == '.')) ++n;
        if (n == 0 || n == text.size()) return std::nullopt;
        const std::optional<double> amount = xmlNumber(text.substr(0, n));
        if (!amount) return std::nullopt;
        const char unit = text[n];
        if (!inTime && unit == 'D') seconds += *amount * 86400;
        else if (inTime && unit == 'H') seconds += *amount * 3600;
        else if (inTime && unit == 'M') seconds += *amount * 60;
        else if (inTime && unit == 'S') seconds += *amount;
        else return std::nullopt;
        any = true;
        text.remove_prefix(n + 1);
    }
    if (!any) return std::nullopt;
    return (negative ? -seconds : seconds) / 86400.0;
}

// Lengths of column widths ("0.8299in", "2.258cm") in pixels at 96 per inch.
std::optional<int> pixelsOfLength(std::string_view text) {
    static constexpr struct { std::string_view unit; double perInch; } kUnits[] = {
        {"in", 1}, {"cm", 2.54}, {"mm", 25.4}, {"pt", 72}, {"pc", 6}, {"px", 96}};
    for (const auto& [unit, perInch] : kUnits) {
        if (!text.ends_with(unit)) continue;
        const std::optional<double> amount = xmlNumber(text.substr(0, text.size() - unit.size()));
        if (!amount || *amount <= 0 || *amount > 1000) return std::nullopt;
        return static_cast<int>(std::lround(*amount / perInch * 96));
    }
    return std::nullopt;
}

std::u16string quoted(std::u16string_view literal) {
    std::u16string out;
    for (char16_t c : literal) {
        if (c == u'"') out += u"\\\"";
        else out += c;
    }
    return out.empty() || out.find(u'"') != std::u16string::npos ? out : u"\"" + out + u"\"";
}

// A data style of the document: one section of a format code, its colour, and the maps that
// send values to other data styles by condition.
struct DataStyle {
    std::u16string section;
    std::u16string color;
    std::vector<std::pair<std::string, std::string>> maps;   // condition, data style name
};

struct OdsCellStyle {
    std::string dataStyle;
    std::string parent;
    OdsLook look;
};

struct OdsRowStyle {
    int height = 0;   // pixels; 0 when the height is LibreOffice's optimal one
};

// A cell as the file gives it, before it is put in the sheet `repeat` times.
struct OdsCell {
    int32_t repeat = 1;
    int32_t columnsSpanned = 1;
    int32_t rowsSpanned = 1;
    uint16_t style = 0;
    bool hasStyle = false;
    std::string valueType;
    std::string value;            // office:value, date-value, time-value or boolean-value
    bool hasStringValue = false;
    std::u16string text;          // the paragraphs, or office:string-value
    std::u16string formula;
    bool hasContent() const { return !valueType.empty() || !formula.empty() || !text.empty(); }
};

struct DeferredFormula {
    SheetTable* sheet;
    int32_t row;
    int32_t column;
    std::u16string text;
};

class DocumentReader {
public:
    DocumentReader(Workbook& book, std::string_view bytes) : book_(book), zip_(bytes) {}

    void read() {
        if (!packageIsSpreadsheet(zip_)) throw ESpreadSheetReaderError("Unsupported document type");
        const ZipEntry* content = zip_.find("content.xml");
        if (!content) throw ESpreadSheetReaderError("The document has no content.xml");
        if (const ZipEntry* styles = zip_.find("styles.xml")) {
            PartSource bytes(zip_, *styles);
            XmlReader reader([&bytes](char* into, size_t capacity) { return bytes.read(into, capacity); });
            for (Token t; (t = reader.next()) != Token::End;) {
                if (t == Token::StartElement) readStyleElement(reader);
            }
        }
        PartSource bytes(zip_, *content);
        XmlReader reader([&bytes](char* into, size_t capacity) { return bytes.read(into, capacity); });
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t != Token::StartElement) continue;
            std::string_view value;
            if (reader.name() == "null-date" && reader.attribute("date-value", value)) {
                // Serials count from the document's null date: 1904-01-01 is Excel's 1904 system
                // (Gnumeric writes it 1904-1-1).
                if (value == "1904-01-01" || value == "1904-1-1") {
                    FormatSettings settings = book_.settings();
                    settings.date1904 = true;
                    book_.setSettings(settings);
                }
            } else if (reader.name() == "table" && reader.depth() <= 4) {
                readTable(reader);
            } else {
                readStyleElement(reader);
            }
        }
        // A formula the parser refuses stays a formula, which shows #NAME?.
        for (DeferredFormula& f : deferred_) f.sheet->createCell(f.row, f.column).setFileFormula(f.text);
        readActiveTable();
    }

private:
    [[noreturn]] void report(const std::string& message) { throw ESpreadSheetReaderError(message); }

    // Styles come in styles.xml and in content.xml's automatic styles, in the same elements.
    void readStyleElement(XmlReader& reader) {
        const std::string_view name = reader.name();
        std::string_view value;
        if (name == "style") {
            std::string_view family, styleName;
            if (!reader.attribute("family", family) || !reader.attribute("name", styleName)) return;
            if (family == "table-cell") {
                OdsCellStyle& style = cellStyles_[std::string(styleName)];
                if (reader.attribute("data-style-name", value)) style.dataStyle = value;
                if (reader.attribute("parent-style-name", value)) style.parent = value;
                readOdsLook(reader, style.look);
            } else if (family == "table-row") {
                OdsRowStyle& style = rowStyles_[std::string(styleName)];
                const int depth = reader.depth();
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() != "table-row-properties") continue;
                    const bool optimal = reader.attribute("use-optimal-row-height", value) && value == "true";
                    if (!optimal && reader.attribute("row-height", value)) {
                        if (const auto pixels = pixelsOfLength(value)) style.height = std::clamp(*pixels, 1, SheetTable::kMaxRowHeight);
                    }
                }
            } else if (family == "table-column") {
                const std::string columnStyle(styleName);
                const int depth = reader.depth();
                while (reader.nextStartWithin(depth)) {
                    if (reader.name() == "table-column-properties" && reader.attribute("column-width", value)) {
                        if (const auto pixels = pixelsOfLength(value)) columnWidths_[columnStyle] = *pixels;
                    }
                }
            }
        } else if (name == "default-style") {
            // The default cell style names the document's default font.
            std::string_view family;
            if (!reader.attribute("family", family) || family != "table-cell") return;
            OdsLook look;
            readOdsLook(reader, look);
            DefaultFont font = book_.styles().defaultFont();
            if (look.fontName) font.name = *look.fontName;
            if (look.fontSize) font.size = *look.fontSize;
            book_.styles().setDefaultFont(std::move(font));
        } else if (name == "number-style" || name == "currency-style" || name == "percentage-style" || name == "date-style" ||
                   name == "time-style" || name == "text-style" || name == "boolean-style") {
            readDataStyle(reader, name == "percentage-style");
        }
    }

    void readDataStyle(XmlReader& reader, bool percentage) {
        std::string_view value;
        if (!reader.attribute("name", value)) return reader.skipElement();
        DataStyle& style = dataStyles_[std::string(value)];
        style = {};
        const bool elapsed = reader.attribute("truncate-on-overflow", value) && value == "false";
        std::u16string& out = style.section;
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            const std::string_view name = reader.name();
            const bool isLong = reader.attribute("style", value) && value == "long";
            if (name == "number") {
                const bool general = !reader.attribute("decimal-places", value);
                const int places = general ? 0 : integer(value, 0);
                const int minPlaces = reader.attribute("min-decimal-places", value) ? integer(value, places) : places;
                const int minInteger = reader.attribute("min-integer-digits", value) ? integer(value, 1) : 1;
                const bool grouping = reader.attribute("grouping", value) && value == "true";
                std::string factor;
                if (reader.attribute("display-factor", value)) {
                    for (double f = xmlNumber(value).value_or(1); f >= 1000 && factor.size() < 4; f /= 1000) factor += ',';
                }
                if (general && !grouping && minInteger <= 1 && factor.empty()) {
                    out += u"General";
                } else {
                    out += integerDigits(std::clamp(minInteger, 0, 30), grouping);
                    const int shown = std::clamp(places, 0, 30), required = std::clamp(minPlaces, 0, shown);
                    if (shown > 0) out += u"." + std::u16string(size_t(required), u'0') + std::u16string(size_t(shown - required), u'#');
                    out += fromUtf8(factor);
                }
                reader.skipElement();
            } else if (name == "scientific-number") {
                const int places = reader.attribute("decimal-places", value) ? std::clamp(integer(value, 2), 0, 30) : 2;
                const int minInteger = reader.attribute("min-integer-digits", value) ? std::clamp(integer(value, 1), 1, 30) : 1;
                const int exponent = reader.attribute("min-exponent-digits", value) ? std::clamp(integer(value, 2), 1, 5) : 2;
                out += std::u16string(size_t(minInteger), u'0');
                if (places > 0) out += u"." + std::u16string(size_t(places), u'0');
                out += u"E+" + std::u16string(size_t(exponent), u'0');
                reader.skipElement();
            } else if (name == "fraction") {
                const bool whole = reader.attribute("min-integer-digits", value);
                const int numerator = reader.attribute("min-numerator-digits", value) ? std::clamp(integer(value, 1), 1, 5) : 1;
                const int denominator = reader.attribute("min-denominator-digits", value) ? std::clamp(integer(value, 1), 1, 5) : 1;
                if (whole) out += u"# ";
                out += std::u16string(size_t(numerator), u'?') + u"/";
                if (reader.attribute("denominator-value", value) && integer(value, 0) > 0) out += fromUtf8(value);
                else out += std::u16string(size_t(denominator), u'?');
                reader.skipElement();
            } else if (name == "text") {
                const std::u16string literal = fromUtf8(reader.elementText());
                if (percentage && literal == u"%") out += u'%';
                else out += quoted(literal);
            } else if (name == "currency-symbol") {
                out += quoted(fromUtf8(reader.elementText()));
            } else if (name == "fill-character") {
                const std::u16string fill = fromUtf8(reader.elementText());
                if (!fill.empty()) out += u"*" + fill.substr(0, 1);
            } else if (name == "text-content") {
                out += u'@';
            } else if (name == "year") {
                out += isLong ? u"yyyy" : u"yy";
            } else if (name == "month") {
                const bool textual = reader.attribute("textual", value) && value == "true";
                out += textual ? (isLong ? u"mmmm" : u"mmm") : (isLong ? u"mm" : u"m");
            } else if (name == "day") {
                out += isLong ? u"dd" : u"d";
            } else if (name == "day-of-week") {
                out += isLong ? u"dddd" : u"ddd";
            } else if (name == "hours") {
                out += elapsed ? (isLong ? u"[hh]" : u"[h]") : (isLong ? u"hh" : u"h");
            } else if (name == "minutes") {
                out += isLong ? u"mm" : u"m";
            } else if (name == "seconds") {
                out += isLong ? u"ss" : u"s";
                if (reader.attribute("decimal-places", value) && integer(value, 0) > 0)
                    out += u"." + std::u16string(size_t(std::clamp(integer(value, 0), 1, 3)), u'0');
            } else if (name == "am-pm") {
                out += u"AM/PM";
            } else if (name == "text-properties" && reader.attribute("color", value)) {
                style.color = colorName(value);
            } else if (name == "map") {
                std::string_view condition, apply;
                if (reader.attribute("condition", condition) && reader.attribute("apply-style-name", apply))
                    style.maps.emplace_back(std::string(condition), std::string(apply));
            }
        }
    }

    static std::u16string integerDigits(int minimum, bool grouping) {
        std::u16string digits(size_t(minimum), u'0');
        if (!grouping) return digits.empty() ? u"#" : digits;
        while (digits.size() < 4) digits.insert(digits.begin(), u'#');
        digits.insert(digits.end() - 3, u',');
        return digits;
    }

    static std::u16string colorName(std::string_view hex) {
        static constexpr struct { std::string_view hex; std::u16string_view name; } kColors[] = {
            {"#000000", u"[Black]"}, {"#0000ff", u"[Blue]"},    {"#00ffff", u"[Cyan]"},  {"#00ff00", u"[Green]"},
            {"#ff00ff", u"[Magenta]"}, {"#ff0000", u"[Red]"}, {"#ffffff", u"[White]"}, {"#ffff00", u"[Yellow]"}};
        for (const auto& [code, name] : kColors) {
            if (hex.size() == code.size() && std::equal(hex.begin(), hex.end(), code.begin(), [](char a, char b) { return (a | 0x20) == b; }))
                return std::u16string(name);
        }
        return {};
    }

    // The format code of a data style: its own section, after the sections its maps send
    // values to, in the order Excel gives them (positive, negative, zero, text).
    std::u16string formatCode(const std::string& name) {
        const auto it = dataStyles_.find(name);
        if (it == dataStyles_.end()) return {};
        const DataStyle& style = it->second;
        const auto sectionOf = [this](const std::string& other) {
            const auto found = dataStyles_.find(other);
            return found == dataStyles_.end() ? std::u16string(u"General") : found->second.color + found->second.section;
        };
        const std::u16string own = style.color + style.section;
        std::unordered_map<std::string, std::u16string> byCondition;
        for (const auto& [condition, apply] : style.maps) byCondition[condition] = sectionOf(apply);
        const auto has = [&](const char* c) { return byCondition.count(c) != 0; };
        if (style.maps.size() == 1 && has("value()>=0")) return byCondition["value()>=0"] + u";" + own;
        if (style.maps.size() == 1 && has("value()<0")) return own + u";" + byCondition["value()<0"];
        if (style.maps.size() == 2 && has("value()>0") && has("value()<0"))
            return byCondition["value()>0"] + u";" + byCondition["value()<0"] + u";" + own;
        if (style.maps.size() == 3 && has("value()>0") && has("value()<0") && has("value()=0"))
            return byCondition["value()>0"] + u";" + byCondition["value()<0"] + u";" + byCondition["value()=0"] + u";" + own;
        if (style.maps.empty()) return own;
        // Other conditions as Excel writes them: [>100] before the section.
        std::u16string code;
        for (size_t i = 0; i < style.maps.size() && i < 2; ++i) {
            std::string condition = style.maps[i].first;
            if (!condition.starts_with("value()")) return own;
            code += u"[" + fromUtf8(condition.substr(7)) + u"]" + sectionOf(style.maps[i].second) + u";";
        }
        return code + own;
    }

    // The workbook style of a cell style, through its parents, made once per name.
    std::optional<uint16_t> styleOf(const std::string& name) {
        if (const auto it = styleIndexes_.find(name); it != styleIndexes_.end()) return it->second;
        std::string dataStyle;
        OdsLook look;
        std::string at = name;
        for (int depth = 0; depth < kMaxStyleDepth; ++depth) {
            const auto it = cellStyles_.find(at);
            if (it == cellStyles_.end()) break;
            if (dataStyle.empty()) dataStyle = it->second.dataStyle;
            look.inherit(it->second.look);
            at = it->second.parent;
        }
        CellStyle style;
        style.numberFormat = dataStyle.empty() ? std::u16string() : formatCode(dataStyle);
        if (style.numberFormat == u"General") style.numberFormat.clear();
        look.applyTo(style, book_.styles().defaultFont());
        std::optional<uint16_t> index;
        if (!(style == CellStyle{})) index = book_.styles().add(style);
        styleIndexes_[name] = index;
        return index;
    }

    void readTable(XmlReader& reader) {
        std::string_view value;
        reader.attribute("name", value);
        if (book_.sheetCount() >= kMaxSheets) report("The workbook has more than " + std::to_string(kMaxSheets) + " sheets");
        SheetTable& sheet = book_.addSheet(fromUtf8(value));
        int32_t row = 0;
        int32_t lastColumn = -1;
        struct ColumnRun {
            int32_t end;   // up to which column the run reaches
            std::string style;
            bool hidden;
        };
        std::vector<ColumnRun> columns;
        int32_t columnCount = 0;
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            const std::string_view name = reader.name();
            if (name == "table-column") {
                const int32_t repeat = reader.attribute("number-columns-repeated", value) ? std::max(integer(value, 1), 1) : 1;
                std::string style = reader.attribute("style-name", value) ? std::string(value) : std::string();
                const bool hidden = reader.attribute("visibility", value) && value != "visible";
                columnCount = int32_t(std::min<int64_t>(int64_t(columnCount) + repeat, kMaxColumn + 1));
                columns.push_back({columnCount, std::move(style), hidden});
            } else if (name == "table-row") {
                readRow(reader, sheet, row, lastColumn);
            } else if (name == "table" || name == "shapes" || name == "forms" || name == "named-expressions") {
                reader.skipElement();
            }
        }
        // Widths are kept for the columns that hold something, not for the 16,384 a file lists;
        // hidden columns also where they are few.
        int32_t first = 0;
        for (const auto& [end, style, hidden] : columns) {
            const auto width = columnWidths_.find(style);
            const int32_t last = hidden && end - first <= kMaxRepeatedFormats ? end - 1 : lastColumn;
            for (int32_t c = first; c < end && c <= last; ++c) {
                if (width != columnWidths_.end()) sheet.setColumnWidth(c, width->second);
                if (hidden) sheet.setColumnHidden(c, true);
            }
            first = end;
        }
    }

    void readRow(XmlReader& reader, SheetTable& sheet, int32_t& row, int32_t& lastColumn) {
        std::string_view value;
        const int64_t down = reader.attribute("number-rows-repeated", value) ? std::max(integer(value, 1), 1) : 1;
        const bool hidden = reader.attribute("visibility", value) && value != "visible";
        int height = 0;
        if (reader.attribute("style-name", value)) {
            if (const auto it = rowStyles_.find(std::string(value)); it != rowStyles_.end()) height = it->second.height;
        }
        if (height == sheet.defaultRowHeight) height = 0;
        // Heights and hidden rows are kept where few rows repeat them, not for the tail of a
        // million rows a file may list.
        if ((height || hidden) && down <= kMaxRepeatedFormats) {
            for (int64_t r = row; r < row + down && r <= kMaxRow; ++r) {
                SheetRow& made = *sheet.createRow(int32_t(r));
                made.height = uint16_t(height);
                made.hidden = hidden;
            }
        }
        std::vector<std::pair<int32_t, OdsCell>> cells;   // by first column
        int64_t column = 0;
        const int depth = reader.depth();
        while (reader.nextStartWithin(depth)) {
            const bool covered = reader.name() == "covered-table-cell";
            if (reader.name() != "table-cell" && !covered) continue;
            OdsCell cell = readCell(reader);
            const int32_t across = cell.repeat;
            // A styled blank (a fill, a border) is kept where it is not repeated across the sheet.
            const bool styledBlank = cell.hasStyle && cell.repeat <= kMaxRepeatedFormats && down <= kMaxRepeatedFormats;
            if (!covered && (cell.hasContent() || styledBlank)) {
                if (column > kMaxColumn) report("The \"" + std::to_string(column + 1) + "\" column index is invalid");
                cells.emplace_back(int32_t(column), std::move(cell));
            }
            column += across;
        }
        if (cells.empty()) {
            row = int32_t(std::min<int64_t>(int64_t(row) + down, int64_t(kMaxRow) + 1));
            return;
        }
        for (int64_t r = 0; r < down; ++r, ++row) {
            if (row > kMaxRow) report("The row index " + std::to_string(int64_t(row) + 1) + " is invalid");
            for (const auto& [first, cell] : cells) {
                for (int32_t k = 0; k < cell.repeat && first + k <= kMaxColumn; ++k) {
                    putCell(sheet, row, first + k, cell, r == 0, k > 0);
                    lastColumn = std::max(lastColumn, first + k);
                }
            }
        }
    }

    OdsCell readCell(XmlReader& reader) {
        OdsCell cell;
        std::string_view value;
        if (reader.attribute("number-columns-repeated", value)) cell.repeat = std::max(integer(value, 1), 1);
        if (reader.attribute("number-columns-spanned", value)) cell.columnsSpanned = std::max(integer(value, 1), 1);
        if (reader.attribute("number-rows-spanned", value)) cell.rowsSpanned = std::max(integer(value, 1), 1);
        if (reader.attribute("style-name", value)) {
            if (const auto style = styleOf(std::string(value))) {
                cell.style = *style;
                cell.hasStyle = true;
            }
        }
        if (reader.qualifiedAttribute("office:value-type", value) || reader.attribute("value-type", value)) cell.valueType = value;
        std::string_view extended;
        if (reader.qualifiedAttribute("calcext:value-type", extended) && extended == "error") cell.valueType = "error";
        if (cell.valueType == "date" && reader.attribute("date-value", value)) cell.value = value;
        else if (cell.valueType == "time" && reader.attribute("time-value", value)) cell.value = value;
        else if (cell.valueType == "boolean" && reader.attribute("boolean-value", value)) cell.value = value;
        else if (reader.attribute("value", value)) cell.value = value;
        if (reader.attribute("string-value", value)) {
            cell.text = fromUtf8(value);
            cell.hasStringValue = true;
        }
        if (reader.attribute("formula", value)) {
            if (auto formula = formulaOfOpenFormula(fromUtf8(value))) cell.formula = std::move(*formula);
        }
        const int depth = reader.depth();
        bool firstParagraph = true;
        while (reader.nextStartWithin(depth)) {
            if (reader.name() == "p" || reader.name() == "h") {
                std::u16string paragraph = readParagraph(reader);
                if (cell.hasStringValue) continue;
                if (!firstParagraph) cell.text += u'\n';
                cell.text += paragraph;
                firstParagraph = false;
            } else {
                reader.skipElement();   // annotations, drawings, lists of a table within
            }
        }
        return cell;
    }

    // A paragraph's text: runs of white space count as one space and none at either end,
    // except what text:s, text:tab and text:line-break stand for.
    static std::u16string readParagraph(XmlReader& reader) {
        std::u16string out;
        size_t collapsible = std::u16string::npos;   // where a space made from white space lies
        std::string_view value;
        const int depth = reader.depth();
        while (reader.depth() >= depth) {
            const Token t = reader.next();
            if (t == Token::End) break;
            if (t == Token::Text) {
                for (char16_t c : fromUtf8(reader.text())) {
                    if (c == u' ' || c == u'\t' || c == u'\n' || c == u'\r') {
                        if (out.empty() || collapsible == out.size() - 1) continue;
                        collapsible = out.size();
                        out += u' ';
                    } else {
                        out += c;
                    }
                }
            } else if (t == Token::StartElement) {
                const std::string_view name = reader.name();
                if (name == "s") {
                    const int count = reader.attribute("c", value) ? std::clamp(integer(value, 1), 1, 1000) : 1;
                    out.append(size_t(count), u' ');
                } else if (name == "tab") {
                    out += u'\t';
                } else if (name == "line-break") {
                    out += u'\n';
                } else if (name == "annotation" || name == "note" || name == "ruby-text" || name == "frame") {
                    reader.skipElement();
                }
            }
        }
        if (collapsible != std::u16string::npos && collapsible == out.size() - 1) out.pop_back();
        return out;
    }

    // `firstOfRows` and `copy` tell a cell repeated down or across from the one written.
    void putCell(SheetTable& sheet, int32_t row, int32_t column, const OdsCell& source, bool firstOfRows, bool copy) {
        if (!firstOfRows || copy) {
            if (++copies_ > kMaxCopies) report("The document repeats its cells more than " + std::to_string(kMaxCopies) + " times");
        }
        CellRef cell = sheet.createCell(row, column);
        if (source.hasStyle) cell.setStyle(source.style);
        const std::string& type = source.valueType;
        const bool dateStyle = source.hasStyle && isDateTimeFormat(book_.styles()[source.style].numberFormat);
        if (type == "float" || type == "percentage" || type == "currency") {
            if (const auto value = xmlNumber(source.value)) cell.assign(CellValue::makeFloat(*value));
            else cell.setString(source.text);
        } else if (type == "date" || type == "time") {
            std::optional<double> serial = type == "date" ? dateValue(source.value) : durationValue(source.value);
            if (serial && type == "date" && book_.settings().date1904) *serial -= 1462;
            if (!serial) {
                cell.setString(source.text);
            } else {
                cell.assign(CellValue::makeFloat(*serial));
                // A file may give no format (Gnumeric's do not): shown as LibreOffice and Gnumeric
                // show such a value, not as a bare serial.
                if (!dateStyle) {
                    const bool wholeDay = *serial == std::floor(*serial);
                    cell.setStyle(defaultDateStyle(source.hasStyle ? source.style : CellStyles::kDefault,
                                                   type == "time" ? u"[hh]:mm:ss" : wholeDay ? u"yyyy-mm-dd" : u"yyyy-mm-dd hh:mm:ss"));
                }
            }
        } else if (type == "boolean") {
            cell.assign(CellValue::makeBoolean(source.value == "true" || source.value == "1"));
        } else if (type == "error") {
            cell.setText(source.text, 0);
        } else if (!source.text.empty()) {
            cell.setString(source.text);
        }
        if (!source.formula.empty()) deferred_.push_back({&sheet, row, column, source.formula});
        if (firstOfRows && (source.columnsSpanned > 1 || source.rowsSpanned > 1)) {
            sheet.addMergedArea({column, row, int32_t(std::min<int64_t>(int64_t(column) + source.columnsSpanned - 1, kMaxColumn)),
                                 int32_t(std::min<int64_t>(int64_t(row) + source.rowsSpanned - 1, kMaxRow))});
        }
    }

    // The cell's own look with a date format.
    uint16_t defaultDateStyle(uint16_t look, const char16_t* code) {
        const auto key = std::make_pair(look, std::u16string_view(code));
        const auto it = defaultDateStyles_.find(key);
        if (it != defaultDateStyles_.end()) return it->second;
        CellStyle style = book_.styles()[look];
        style.numberFormat = code;
        return defaultDateStyles_[key] = book_.styles().add(style);
    }

    // settings.xml names the table that was active.
    void readActiveTable() {
        const ZipEntry* settings = zip_.find("settings.xml");
        if (!settings || settings->size > (16 << 20)) return;
        const std::string xml = zip_.extract(*settings);
        XmlReader reader(xml);
        std::string_view value;
        for (Token t; (t = reader.next()) != Token::End;) {
            if (t == Token::StartElement && reader.name() == "config-item" && reader.attribute("name", value) && value == "ActiveTable") {
                const std::u16string name = fromUtf8(reader.elementText());
                for (int i = 0; i < book_.sheetCount(); ++i) {
                    if (book_.sheet(i).name() == name) {
                        book_.setActiveSheetIndex(i);
                        return;
                    }
                }
                return;
            }
        }
    }

    Workbook& book_;
    ZipReader zip_;
    std::unordered_map<std::string, DataStyle> dataStyles_;
    std::unordered_map<std::string, OdsCellStyle> cellStyles_;
    std::unordered_map<std::string, std::optional<uint16_t>> styleIndexes_;
    std::unordered_map<std::string, int> columnWidths_;
    std::unordered_map<std::string, OdsRowStyle> rowStyles_;
    std::map<std::pair<uint16_t, std::u16string_view>, uint16_t> defaultDateStyles_;
    std::vector<DeferredFormula> deferred_;
    uint64_t copies_ = 0;
};

// One end of an OpenFormula reference ("$Sheet1.$A$1", ".B2", "'My sheet'.C3") split into its
// sheet, when it names one, and its cell or column or row.
bool splitReferenceEnd(std::u16string_view end, std::optional<std::u16string>& sheet, std::u16string& cell) {
    if (end.starts_with(u'$')) end.remove_prefix(1);
    if (end.starts_with(u'.')) {
        cell = end.substr(1);
        return !cell.empty();
    }
    std::u16string name;
    size_t i = 0;
    if (end.starts_with(u'\'')) {
        for (i = 1;; ++i) {
            if (i >= end.size()) return false;
            if (end[i] == u'\'') {
                if (i + 1 < end.size() && end[i + 1] == u'\'') {
                    name += u'\'';
                    ++i;
                    continue;
                }
                ++i;
                break;
            }
            name += end[i];
        }
    } else {
        while (i < end.size() && end[i] != u'.') name += end[i++];
    }
    if (i >= end.size() || end[i] != u'.' || name.empty()) return false;
    sheet = name;
    cell = end.substr(i + 1);
    return !cell.empty();
}

std::u16string quotedSheet(const std::u16string& name) {
    std::u16string out = u"'";
    for (char16_t c : name) out += c == u'\'' ? u"''" : std::u16string(1, c);
    return out + u"'";
}

// The text inside [ ] as the grid writes the reference.
std::optional<std::u16string> referenceOf(std::u16string_view inside) {
    if (inside.find(u"#REF!") != std::u16string_view::npos) return u"#REF!";
    size_t colon = std::u16string_view::npos;
    bool inQuote = false;
    for (size_t i = 0; i < inside.size(); ++i) {
        if (inside[i] == u'\'') inQuote = !inQuote;
        else if (inside[i] == u':' && !inQuote) {
            colon = i;
            break;
        }
    }
    std::optional<std::u16string> firstSheet, lastSheet;
    std::u16string first, last;
    if (!splitReferenceEnd(inside.substr(0, colon), firstSheet, first)) return std::nullopt;
    if (colon != std::u16string_view::npos && !splitReferenceEnd(inside.substr(colon + 1), lastSheet, last)) return std::nullopt;
    std::u16string out;
    if (firstSheet && lastSheet && *lastSheet != *firstSheet) out = quotedSheet(*firstSheet + u":" + *lastSheet) + u"!";
    else if (firstSheet) out = quotedSheet(*firstSheet) + u"!";
    out += first;
    if (colon != std::u16string_view::npos) out += u":" + last;
    return out;
}

}  // namespace

std::optional<std::u16string> formulaOfOpenFormula(std::u16string_view formula) {
    if (formula.starts_with(u"msoxl:=")) return std::u16string(formula.substr(7));
    for (std::u16string_view prefix : {u"of:", u"oooc:"}) {
        if (formula.starts_with(prefix)) {
            formula.remove_prefix(prefix.size());
            break;
        }
    }
    if (!formula.starts_with(u'=')) return std::nullopt;
    formula.remove_prefix(1);
    static constexpr std::u16string_view kErrors[] = {u"#NULL!", u"#DIV/0!", u"#VALUE!", u"#REF!", u"#NAME?", u"#NUM!", u"#N/A"};
    std::u16string out;
    int braces = 0;
    for (size_t i = 0; i < formula.size();) {
        const char16_t c = formula[i];
        if (c == u'"') {
            const size_t start = i++;
            for (;; ++i) {
                if (i >= formula.size()) return std::nullopt;
                if (formula[i] == u'"') {
                    if (i + 1 < formula.size() && formula[i + 1] == u'"') {
                        ++i;
                        continue;
                    }
                    break;
                }
            }
            out += formula.substr(start, ++i - start);
        } else if (c == u'[') {
            size_t end = i + 1;
            bool inQuote = false;
            while (end < formula.size() && (inQuote || formula[end] != u']')) {
                if (formula[end] == u'\'') inQuote = !inQuote;
                ++end;
            }
            if (end >= formula.size()) return std::nullopt;
            const std::optional<std::u16string> reference = referenceOf(formula.substr(i + 1, end - i - 1));
            if (!reference) return std::nullopt;
            out += *reference;
            i = end + 1;
        } else if (c == u'#') {
            size_t length = 1;
            for (std::u16string_view error : kErrors) {
                if (formula.substr(i).starts_with(error)) length = error.size();
            }
            out += formula.substr(i, length);
            i += length;
        } else if (formula.substr(i).starts_with(u"COM.MICROSOFT.")) {
            i += 14;   // Excel's newer functions under their ODF namespace: COM.MICROSOFT.XLOOKUP
        } else {
            if (c == u'{') ++braces;
            if (c == u'}') --braces;
            if (c == u';') out += u',';                    // between arguments, and columns of an array
            else if (c == u'|' && braces > 0) out += u';'; // between the rows of an array
            else if (c == u'!') out += u' ';               // intersection
            else if (c == u'~') out += u',';               // union
            else out += c;
            ++i;
        }
    }
    return out;
}

bool isOdsPackage(std::string_view bytes) {
    if (!ZipReader::looksLikeZip(bytes)) return false;
    try {
        return packageIsSpreadsheet(ZipReader(bytes));
    } catch (const std::exception&) {
        return false;
    }
}

void OdsReader::Read(Workbook& book, ByteStream& stream) {
    readPackage([&] { DocumentReader(book, stream.rest()).read(); });
}

}  // namespace kes
