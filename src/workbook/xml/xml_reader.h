#pragma once
// A fast pull reader of XML held in memory, for the parts of workbook packages. Elements and
// attributes are matched by local name: prefixes (x:c, c) and namespaces are not told apart,
// which is what reading SpreadsheetML needs. No entity is ever expanded beyond the five
// predefined ones and character references.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class EXmlError : public std::runtime_error {
public:
    EXmlError(const std::string& what, size_t offset)
        : std::runtime_error("xml: " + what + " at byte " + std::to_string(offset)), offset_(offset) {}
    size_t offset() const { return offset_; }

private:
    size_t offset_;
};

class XmlReader {
public:
    enum class Token { StartElement, EndElement, Text, End };
    static constexpr int kMaxDepth = 256;

    explicit XmlReader(std::string_view document);

    Token next();
    // The element's local name, for start and end tokens.
    std::string_view name() const { return name_; }
    int depth() const { return depth_; }
    size_t offset() const { return position_; }
    // An attribute of the current start element by local name, decoded; null when absent. The
    // view lives until the next call.
    bool attribute(std::string_view localName, std::string_view& value);
    // The current text token, decoded; lives until the next call.
    std::string_view text() const { return text_; }
    // Skips the rest of the current element (after its start token).
    void skipElement();
    // Reads the text content of the current element up to its end, nested elements included.
    std::string elementText();

private:
    struct RawAttribute {
        std::string_view name;
        std::string_view value;
    };
    [[noreturn]] void fail(const std::string& what) const { throw EXmlError(what, position_); }
    void readStartTag();
    void skipMarkup();
    std::string_view decode(std::string_view raw, std::string& scratch, bool attribute);

    std::string_view doc_;
    size_t position_ = 0;
    int depth_ = 0;
    bool pendingEnd_ = false;   // an empty element <a/> gives its end token next
    std::string_view name_;
    std::string_view text_;
    std::vector<RawAttribute> attributes_;
    std::vector<std::string_view> open_;   // the names of the open elements, as written
    std::string scratch_;
    std::string attributeScratch_;
};

}  // namespace kes
