#pragma once
// A fast pull reader of XML, for the parts of workbook packages: held in memory, or delivered
// piece by piece (an inflating ZIP entry), of which it holds only the piece being read. Elements
// and attributes are matched by local name: prefixes (x:c, c) and namespaces are not told apart,
// which is what reading SpreadsheetML needs. No entity is ever expanded beyond the five
// predefined ones and character references.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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

// A number as XML documents write one: the invariant form, "." before the decimals, blanks
// around it and a leading "+" allowed; none when the text is no finite number.
std::optional<double> xmlNumber(std::string_view text);

class XmlReader {
public:
    enum class Token { StartElement, EndElement, Text, End };
    static constexpr int kMaxDepth = 256;

    // Fills `into` with up to `capacity` bytes of the document and returns how many it wrote;
    // 0 at the end. It may throw, and its exception comes out of next().
    using Source = std::function<size_t(char* into, size_t capacity)>;
    static constexpr size_t kChunkSize = 128 * 1024;

    explicit XmlReader(std::string_view document);
    explicit XmlReader(Source source, size_t chunkSize = kChunkSize);

    Token next();
    // The element's local name, for start and end tokens.
    std::string_view name() const { return name_; }
    int depth() const { return depth_; }
    uint64_t offset() const { return base_ + position_; }
    // An attribute of the current start element by local name, decoded; null when absent. The
    // view lives until the next call.
    bool attribute(std::string_view localName, std::string_view& value);
    // The same by the name as written, prefix included ("office:value-type"), for documents that
    // give one local name under two prefixes.
    bool qualifiedAttribute(std::string_view name, std::string_view& value);
    // The current text token, decoded; lives until the next call.
    std::string_view text() const { return text_; }
    // Reads on to the next start tag inside the element whose start gave `depth`; false once
    // that element has ended.
    bool nextStartWithin(int depth);
    // Skips the rest of the current element (after its start token).
    void skipElement();
    // Reads the text content of the current element up to its end, nested elements included;
    // the view lives until the next call.
    std::string_view elementText();

private:
    struct NeedMore {};   // the token being read goes on past the bytes held
    struct RawAttribute {
        std::string_view name;        // local
        std::string_view qualified;   // as written
        std::string_view value;
    };
    [[noreturn]] void fail(const std::string& what) const { throw EXmlError(what, offset()); }
    // The bytes held end before the token does: read on when more may come, else `what` fails.
    [[noreturn]] void truncated(const char* what) const;
    bool readToken(Token& token);
    bool findAttribute(std::string_view name, bool qualified, std::string_view& value);
    void readStartTag();
    void skipMarkup();
    void refill();
    std::string_view decode(std::string_view raw, std::string& scratch, bool attribute);

    std::string_view doc_;                 // the bytes held: the document, or the buffer's filled part
    size_t position_ = 0;                  // in doc_
    uint64_t base_ = 0;                    // offset of doc_ in the document
    Source source_;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_ = 0;
    bool atEnd_ = true;                    // nothing more comes after doc_
    bool started_ = true;                  // the byte order mark has been looked for
    int depth_ = 0;
    bool pendingEnd_ = false;   // an empty element <a/> gives its end token next
    std::string_view name_;
    std::string_view text_;
    std::vector<RawAttribute> attributes_;
    std::string openNames_;                // the names of the open elements, as written, one after another
    std::vector<uint32_t> openStarts_;     // where each begins in openNames_
    std::string scratch_;
    std::string attributeScratch_;
    std::string content_;
};

}  // namespace kes
