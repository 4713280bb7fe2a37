#include "workbook/xml/xml_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace kes {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr std::array<bool, 256> kNameChars = [] {
    std::array<bool, 256> chars{};
    for (int c = 0; c < 256; ++c) {
        chars[size_t(c)] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == ':' ||
                           c == '-' || c == '.' || c >= 0x80;
    }
    return chars;
}();
inline bool isNameChar(char c) { return kNameChars[static_cast<unsigned char>(c)]; }
std::string_view localPart(std::string_view name) {
    const size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// Names are short: a plain loop beats a call to memcmp.
bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) return false;
    }
    return true;
}

// The longest fixed opening a token is told by: "<![CDATA[".
constexpr size_t kLongestOpening = 9;

void appendCodePoint(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out.push_back(char(cp));
    } else if (cp < 0x800) {
        out.push_back(char(0xC0 | (cp >> 6)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(char(0xE0 | (cp >> 12)));
        out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(char(0xF0 | (cp >> 18)));
        out.push_back(char(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(char(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(char(0x80 | (cp & 0x3F)));
    }
}

}  // namespace

std::optional<double> xmlNumber(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

XmlReader::XmlReader(std::string_view document) : doc_(document) {
    if (doc_.starts_with("\xEF\xBB\xBF")) position_ = 3;
}

XmlReader::XmlReader(Source source, size_t chunkSize)
    : source_(std::move(source)), buffer_(new char[std::max<size_t>(chunkSize, 64)]), capacity_(std::max<size_t>(chunkSize, 64)),
      atEnd_(false), started_(false) {
    doc_ = std::string_view(buffer_.get(), 0);
}

void XmlReader::truncated(const char* what) const {
    if (!atEnd_) throw NeedMore{};
    fail(what);
}

// Keeps the bytes from position_ on (the token being read) and fills the rest of the buffer
// after them; a token that fills the whole buffer doubles it.
void XmlReader::refill() {
    const size_t keep = doc_.size() - position_;
    if (keep == capacity_) {
        auto larger = std::make_unique<char[]>(capacity_ * 2);
        std::memcpy(larger.get(), doc_.data() + position_, keep);
        buffer_ = std::move(larger);
        capacity_ *= 2;
    } else if (keep > 0 && position_ > 0) {
        std::memmove(buffer_.get(), doc_.data() + position_, keep);
    }
    base_ += position_;
    position_ = 0;
    size_t filled = keep;
    while (filled < capacity_) {
        const size_t added = source_(buffer_.get() + filled, capacity_ - filled);
        if (added == 0) {
            atEnd_ = true;
            break;
        }
        filled += added;
    }
    doc_ = std::string_view(buffer_.get(), filled);
    if (!started_ && (doc_.size() >= 3 || atEnd_)) {
        started_ = true;
        if (doc_.starts_with("\xEF\xBB\xBF")) position_ = 3;
    }
}

std::string_view XmlReader::decode(std::string_view raw, std::string& scratch, bool attribute) {
    // Most texts hold nothing to decode: tell them by one pass over their bytes.
    bool plain = true;
    for (const char c : raw) {
        if (c == '&' || c == '\r' || (attribute && (c == '\t' || c == '\n'))) {
            plain = false;
            break;
        }
    }
    if (plain) return raw;
    scratch.clear();
    for (size_t i = 0; i < raw.size(); ++i) {
        char c = raw[i];
        if (c == '\r') {   // line ends are read as a single line feed, as XML has it
            if (i + 1 < raw.size() && raw[i + 1] == '\n') ++i;
            c = '\n';
        }
        if (attribute && (c == '\t' || c == '\n' || c == '\r')) {
            scratch.push_back(' ');
            continue;
        }
        if (c != '&') {
            scratch.push_back(c);
            continue;
        }
        const size_t semicolon = raw.find(';', i);
        if (semicolon == std::string_view::npos || semicolon - i > 12) fail("an unterminated reference");
        const std::string_view entity = raw.substr(i + 1, semicolon - i - 1);
        if (entity == "lt") scratch.push_back('<');
        else if (entity == "gt") scratch.push_back('>');
        else if (entity == "amp") scratch.push_back('&');
        else if (entity == "quot") scratch.push_back('"');
        else if (entity == "apos") scratch.push_back('\'');
        else if (entity.size() > 1 && entity[0] == '#') {
            uint32_t cp = 0;
            const bool hex = entity[1] == 'x' || entity[1] == 'X';
            const char* first = entity.data() + (hex ? 2 : 1);
            auto [end, ec] = std::from_chars(first, entity.data() + entity.size(), cp, hex ? 16 : 10);
            if (ec != std::errc() || end != entity.data() + entity.size() || cp == 0 || cp > 0x10FFFF ||
                (cp >= 0xD800 && cp <= 0xDFFF))
                fail("a bad character reference");
            appendCodePoint(scratch, cp);
        } else {
            fail("an unknown entity &" + std::string(entity) + ";");
        }
        i = semicolon;
    }
    return scratch;
}

void XmlReader::skipMarkup() {
    // At "<!" or "<?": comments, CDATA is handled by the caller, declarations, instructions.
    if (doc_.compare(position_, 4, "<!--") == 0) {
        const size_t end = doc_.find("-->", position_ + 4);
        if (end == std::string_view::npos) truncated("an unterminated comment");
        position_ = end + 3;
    } else if (doc_.compare(position_, 2, "<?") == 0) {
        const size_t end = doc_.find("?>", position_ + 2);
        if (end == std::string_view::npos) truncated("an unterminated processing instruction");
        position_ = end + 2;
    } else if (doc_.compare(position_, 9, "<!DOCTYPE") == 0) {
        const size_t end = doc_.find('>', position_);
        if (end == std::string_view::npos) truncated("an unterminated DOCTYPE");
        if (doc_.substr(position_, end - position_).find('[') != std::string_view::npos) fail("a DOCTYPE with declarations");
        position_ = end + 1;
    } else {
        fail("unknown markup");
    }
}

void XmlReader::readStartTag() {
    size_t p = position_ + 1;
    const size_t nameStart = p;
    while (p < doc_.size() && isNameChar(doc_[p])) ++p;
    if (p == doc_.size()) truncated("an unterminated start tag");
    if (p == nameStart) fail("an element without a name");
    const std::string_view fullName = doc_.substr(nameStart, p - nameStart);
    name_ = localPart(fullName);
    attributes_.clear();
    for (;;) {
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size()) truncated("an unterminated start tag");
        if (doc_[p] == '>') {
            if (depth_ + 1 > kMaxDepth) fail("elements nested too deep");
            position_ = p + 1;
            ++depth_;
            openStarts_.push_back(static_cast<uint32_t>(openNames_.size()));
            openNames_ += fullName;
            return;
        }
        if (doc_[p] == '/') {
            if (p + 1 >= doc_.size()) truncated("an unterminated start tag");
            if (doc_[p + 1] != '>') fail("a stray / in a start tag");
            position_ = p + 2;
            pendingEnd_ = true;
            ++depth_;
            return;
        }
        const size_t attributeStart = p;
        while (p < doc_.size() && isNameChar(doc_[p])) ++p;
        if (p >= doc_.size()) truncated("an unterminated start tag");
        if (p == attributeStart) fail("a bad attribute name");
        const std::string_view attributeName = doc_.substr(attributeStart, p - attributeStart);
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size()) truncated("an attribute without a value");
        if (doc_[p] != '=') fail("an attribute without a value");
        ++p;
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size()) truncated("an attribute value without quotes");
        if (doc_[p] != '"' && doc_[p] != '\'') fail("an attribute value without quotes");
        const char quote = doc_[p];
        const size_t valueEnd = doc_.find(quote, p + 1);
        if (valueEnd == std::string_view::npos) truncated("an unterminated attribute value");
        const std::string_view value = doc_.substr(p + 1, valueEnd - p - 1);
        if (value.find('<') != std::string_view::npos) fail("a < inside an attribute value");
        attributes_.push_back({localPart(attributeName), attributeName, value});
        p = valueEnd + 1;
    }
}

XmlReader::Token XmlReader::next() {
    if (pendingEnd_) {
        pendingEnd_ = false;
        --depth_;
        return Token::EndElement;
    }
    for (;;) {
        // The buffer is topped up before it runs low, and a token is read from its start again
        // when the bytes held end inside it all the same.
        if (!atEnd_ && doc_.size() - position_ < capacity_ / 4) refill();
        try {
            Token token;
            if (readToken(token)) return token;
        } catch (const NeedMore&) {
            refill();
        }
    }
}

// Reads one token from position_, or skips one piece of markup and returns false.
bool XmlReader::readToken(Token& token) {
    if (position_ >= doc_.size() || (!atEnd_ && doc_.size() - position_ < kLongestOpening)) {
        if (!atEnd_) throw NeedMore{};
        if (position_ < doc_.size()) {
            // The last few bytes of the document: fall through and read them.
        } else {
            if (depth_ != 0) fail("the document ends inside an element");
            token = Token::End;
            return true;
        }
    }
    if (doc_[position_] != '<') {
        const size_t end = doc_.find('<', position_);
        if (end == std::string_view::npos && !atEnd_) throw NeedMore{};
        const std::string_view raw = doc_.substr(position_, end == std::string_view::npos ? std::string_view::npos : end - position_);
        if (depth_ == 0) {
            if (raw.find_first_not_of(" \t\r\n") != std::string_view::npos) fail("text outside the root element");
            position_ = end == std::string_view::npos ? doc_.size() : end;
            return false;
        }
        text_ = decode(raw, scratch_, false);
        position_ = end == std::string_view::npos ? doc_.size() : end;
        token = Token::Text;
        return true;
    }
    if (doc_.compare(position_, 9, "<![CDATA[") == 0) {
        const size_t end = doc_.find("]]>", position_ + 9);
        if (end == std::string_view::npos) truncated("an unterminated CDATA section");
        text_ = doc_.substr(position_ + 9, end - position_ - 9);
        position_ = end + 3;
        token = Token::Text;
        return true;
    }
    if (position_ + 1 < doc_.size() && (doc_[position_ + 1] == '!' || doc_[position_ + 1] == '?')) {
        skipMarkup();
        return false;
    }
    if (position_ + 1 < doc_.size() && doc_[position_ + 1] == '/') {
        const size_t end = doc_.find('>', position_);
        if (end == std::string_view::npos) truncated("an unterminated end tag");
        std::string_view name = doc_.substr(position_ + 2, end - position_ - 2);
        while (!name.empty() && isSpace(name.back())) name.remove_suffix(1);
        if (depth_ == 0) fail("an end tag without its start");
        const std::string_view open = std::string_view(openNames_).substr(openStarts_.back());
        if (!sameName(name, open)) fail("</" + std::string(name) + "> closes <" + std::string(open) + ">");
        name_ = localPart(name);
        openNames_.resize(openStarts_.back());
        openStarts_.pop_back();
        --depth_;
        position_ = end + 1;
        token = Token::EndElement;
        return true;
    }
    readStartTag();
    token = Token::StartElement;
    return true;
}

bool XmlReader::attribute(std::string_view localName, std::string_view& value) { return findAttribute(localName, false, value); }

bool XmlReader::qualifiedAttribute(std::string_view name, std::string_view& value) { return findAttribute(name, true, value); }

bool XmlReader::findAttribute(std::string_view name, bool qualified, std::string_view& value) {
    for (const RawAttribute& a : attributes_) {
        if (sameName(qualified ? a.qualified : a.name, name)) {
            value = decode(a.value, attributeScratch_, true);
            return true;
        }
    }
    return false;
}

bool XmlReader::nextStartWithin(int depth) {
    while (depth_ >= depth) {
        const Token token = next();
        if (token == Token::StartElement) return true;
        if (token == Token::End) break;
    }
    return false;
}

void XmlReader::skipElement() {
    const int target = depth_ - 1;
    while (depth_ > target) {
        if (next() == Token::End) fail("the document ends inside an element");
    }
}

std::string_view XmlReader::elementText() {
    // The text is copied as it comes: reading on may move the bytes held.
    content_.clear();
    const int target = depth_ - 1;
    while (depth_ > target) {
        const Token token = next();
        if (token == Token::Text) content_ += text_;
        else if (token == Token::End) fail("the document ends inside an element");
    }
    return content_;
}

}  // namespace kes
