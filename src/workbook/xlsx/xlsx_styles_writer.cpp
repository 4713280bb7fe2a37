#include "workbook/xlsx/xlsx_styles_writer.h"

#include <cstdio>
#include <map>
#include <tuple>

#include "sheet/format/number_format.h"
#include "workbook/xml/xml_writer.h"

namespace kes {
namespace {

constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

std::string attributeText(std::u16string_view text) {
    std::string out;
    appendXmlText(out, text, true);
    return out;
}

std::string colourElement(const char* name, Rgb colour) {
    if (colour == kAutoColour) return {};
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "<%s rgb=\"FF%06X\"/>", name, unsigned(colour & 0xFFFFFF));
    return buffer;
}

std::string pointsText(uint16_t twentieths) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%g", twentieths / 20.0);
    return buffer;
}

std::string fontElement(const CellFont& font, const CellStyles& styles) {
    static constexpr const char* kUnderlines[] = {"", "<u/>", "<u val=\"double\"/>", "<u val=\"singleAccounting\"/>",
                                                  "<u val=\"doubleAccounting\"/>"};
    std::string xml = "<font>";
    if (font.bold) xml += "<b/>";
    if (font.italic) xml += "<i/>";
    if (font.strike) xml += "<strike/>";
    xml += kUnderlines[size_t(font.underline)];
    xml += "<sz val=\"" + pointsText(styles.fontSize(font)) + "\"/>";
    xml += colourElement("color", font.colour);
    xml += "<name val=\"" + attributeText(styles.fontName(font)) + "\"/></font>";
    return xml;
}

std::string fillElement(const CellStyle& style) {
    static constexpr const char* kPatterns[] = {
        "none", "solid", "mediumGray", "darkGray", "lightGray", "darkHorizontal", "darkVertical",
        "darkDown", "darkUp", "darkGrid", "darkTrellis", "lightHorizontal", "lightVertical",
        "lightDown", "lightUp", "lightGrid", "lightTrellis", "gray125", "gray0625"};
    const uint8_t pattern = style.pattern <= kLastPattern ? style.pattern : kPatternSolid;
    std::string xml = std::string("<fill><patternFill patternType=\"") + kPatterns[pattern] + "\">";
    xml += colourElement("fgColor", style.patternColour) + colourElement("bgColor", style.backgroundColour);
    return xml + "</patternFill></fill>";
}

std::string borderElement(const CellStyle& style) {
    static constexpr const char* kStyles[] = {
        "none", "thin", "medium", "dashed", "dotted", "thick", "double", "hair",
        "mediumDashed", "dashDot", "mediumDashDot", "dashDotDot", "mediumDashDotDot", "slantDashDot"};
    std::string xml = "<border>";
    const std::pair<const char*, const BorderLine*> sides[] = {
        {"left", &style.left}, {"right", &style.right}, {"top", &style.top}, {"bottom", &style.bottom}};
    for (const auto& [name, line] : sides) {
        if (line->style == BorderStyle::None) {
            xml += std::string("<") + name + "/>";
            continue;
        }
        xml += std::string("<") + name + " style=\"" + kStyles[size_t(line->style)] + "\">";
        xml += line->colour == kAutoColour ? std::string("<color auto=\"1\"/>") : colourElement("color", line->colour);
        xml += std::string("</") + name + ">";
    }
    return xml + "<diagonal/></border>";
}

std::string alignmentElement(const CellStyle& style) {
    static constexpr const char* kHorizontal[] = {"general", "left", "center", "right", "fill",
                                                  "justify", "centerContinuous", "distributed"};
    static constexpr const char* kVertical[] = {"bottom", "top", "center", "justify", "distributed"};
    std::string attributes;
    if (style.horizontal != HorizontalAlignment::General)
        attributes += std::string(" horizontal=\"") + kHorizontal[size_t(style.horizontal)] + "\"";
    if (style.vertical != VerticalAlignment::Bottom) attributes += std::string(" vertical=\"") + kVertical[size_t(style.vertical)] + "\"";
    if (style.indent) attributes += " indent=\"" + std::to_string(style.indent) + "\"";
    if (style.rotation) attributes += " textRotation=\"" + std::to_string(style.rotation) + "\"";
    if (style.wrap) attributes += " wrapText=\"1\"";
    if (style.shrinkToFit) attributes += " shrinkToFit=\"1\"";
    return attributes.empty() ? std::string() : "<alignment" + attributes + "/>";
}

// Each distinct element once, numbered in the order first met.
class ElementList {
public:
    explicit ElementList(std::string first = {}) {
        if (!first.empty()) add(first);
    }
    size_t add(const std::string& element) {
        const auto [at, added] = ids_.try_emplace(element, ids_.size());
        if (added) xml_ += element;
        return at->second;
    }
    size_t size() const { return ids_.size(); }
    const std::string& xml() const { return xml_; }

private:
    std::map<std::string, size_t> ids_;
    std::string xml_;
};

int numberFormatId(std::u16string_view code, std::map<std::u16string, int>& custom, std::string& xml) {
    if (code.empty()) return 0;
    for (int builtin = 1; builtin <= 49; ++builtin) {
        if (builtinFormatCode(builtin) == code) return builtin;
    }
    const auto [at, added] = custom.try_emplace(std::u16string(code), int(164 + custom.size()));
    if (added) xml += "<numFmt numFmtId=\"" + std::to_string(at->second) + "\" formatCode=\"" + attributeText(code) + "\"/>";
    return at->second;
}

}  // namespace

std::string xlsxStylesPart(const CellStyles& styles) {
    ElementList fonts(fontElement(CellFont{}, styles));
    // Excel expects these two fills first, whatever the cells use.
    ElementList fills("<fill><patternFill patternType=\"none\"/></fill>");
    fills.add("<fill><patternFill patternType=\"gray125\"/></fill>");
    ElementList borders(borderElement(CellStyle{}));
    std::map<std::u16string, int> customFormats;
    std::string formats, xfs;
    for (size_t i = 0; i < styles.size(); ++i) {
        const CellStyle& style = styles[static_cast<uint16_t>(i)];
        const int format = numberFormatId(style.numberFormat, customFormats, formats);
        const size_t font = fonts.add(fontElement(style.font, styles));
        const size_t fill = style.pattern == kPatternNone ? 0 : fills.add(fillElement(style));
        const size_t border = borders.add(borderElement(style));
        const std::string alignment = alignmentElement(style);
        xfs += "<xf numFmtId=\"" + std::to_string(format) + "\" fontId=\"" + std::to_string(font) + "\" fillId=\"" +
               std::to_string(fill) + "\" borderId=\"" + std::to_string(border) + "\" xfId=\"0\"";
        if (format) xfs += " applyNumberFormat=\"1\"";
        if (font) xfs += " applyFont=\"1\"";
        if (fill) xfs += " applyFill=\"1\"";
        if (border) xfs += " applyBorder=\"1\"";
        xfs += alignment.empty() ? "/>" : " applyAlignment=\"1\">" + alignment + "</xf>";
    }
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    xml += "<styleSheet xmlns=\"" + std::string(kMain) + "\">";
    if (!customFormats.empty()) xml += "<numFmts count=\"" + std::to_string(customFormats.size()) + "\">" + formats + "</numFmts>";
    xml += "<fonts count=\"" + std::to_string(fonts.size()) + "\">" + fonts.xml() + "</fonts>";
    xml += "<fills count=\"" + std::to_string(fills.size()) + "\">" + fills.xml() + "</fills>";
    xml += "<borders count=\"" + std::to_string(borders.size()) + "\">" + borders.xml() + "</borders>";
    xml += "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>";
    xml += "<cellXfs count=\"" + std::to_string(styles.size()) + "\">" + xfs + "</cellXfs>";
    xml += "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles></styleSheet>";
    return xml;
}

}  // namespace kes
