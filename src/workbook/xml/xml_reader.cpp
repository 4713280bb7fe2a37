#include "workbook/xml/xml_reader.h"

#include <charconv>

namespace kes {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isNameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == ':' || c == '-' ||
           c == '.' || static_cast<unsigned char>(c) >= 0x80;
}
std::string_view localPart(std::string_view name) {
    const size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

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

XmlReader::XmlReader(std::string_view document) : doc_(document) {
    if (doc_.starts_with("\xEF\xBB\xBF")) position_ = 3;
}

std::string_view XmlReader::decode(std::string_view raw, std::string& scratch, bool attribute) {
    if (raw.find_first_of(attribute ? "&\t\n\r" : "&\r") == std::string_view::npos) return raw;
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
        if (end == std::string_view::npos) fail("an unterminated comment");
        position_ = end + 3;
    } else if (doc_.compare(position_, 2, "<?") == 0) {
        const size_t end = doc_.find("?>", position_ + 2);
        if (end == std::string_view::npos) fail("an unterminated processing instruction");
        position_ = end + 2;
    } else if (doc_.compare(position_, 9, "<!DOCTYPE") == 0) {
        const size_t end = doc_.find('>', position_);
        if (end == std::string_view::npos) fail("an unterminated DOCTYPE");
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
    if (p == nameStart) fail("an element without a name");
    const std::string_view fullName = doc_.substr(nameStart, p - nameStart);
    name_ = localPart(fullName);
    attributes_.clear();
    for (;;) {
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size()) fail("an unterminated start tag");
        if (doc_[p] == '>') {
            position_ = p + 1;
            if (++depth_ > kMaxDepth) fail("elements nested too deep");
            open_.push_back(fullName);
            return;
        }
        if (doc_[p] == '/') {
            if (p + 1 >= doc_.size() || doc_[p + 1] != '>') fail("a stray / in a start tag");
            position_ = p + 2;
            pendingEnd_ = true;
            ++depth_;
            return;
        }
        const size_t attributeStart = p;
        while (p < doc_.size() && isNameChar(doc_[p])) ++p;
        if (p == attributeStart) fail("a bad attribute name");
        const std::string_view attributeName = doc_.substr(attributeStart, p - attributeStart);
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size() || doc_[p] != '=') fail("an attribute without a value");
        ++p;
        while (p < doc_.size() && isSpace(doc_[p])) ++p;
        if (p >= doc_.size() || (doc_[p] != '"' && doc_[p] != '\'')) fail("an attribute value without quotes");
        const char quote = doc_[p];
        const size_t valueEnd = doc_.find(quote, p + 1);
        if (valueEnd == std::string_view::npos) fail("an unterminated attribute value");
        const std::string_view value = doc_.substr(p + 1, valueEnd - p - 1);
        if (value.find('<') != std::string_view::npos) fail("a < inside an attribute value");
        attributes_.push_back({localPart(attributeName), value});
        p = valueEnd + 1;
    }
}

XmlReader::Token XmlReader::next() {
    if (pendingEnd_) {
        pendingEnd_ = false;
        --depth_;
        return Token::EndElement;
    }
    while (position_ < doc_.size()) {
        if (doc_[position_] != '<') {
            const size_t end = doc_.find('<', position_);
            const std::string_view raw = doc_.substr(position_, end == std::string_view::npos ? std::string_view::npos : end - position_);
            position_ = end == std::string_view::npos ? doc_.size() : end;
            if (depth_ == 0) {
                if (raw.find_first_not_of(" \t\r\n") != std::string_view::npos) fail("text outside the root element");
                continue;
            }
            text_ = decode(raw, scratch_, false);
            return Token::Text;
        }
        if (doc_.compare(position_, 9, "<![CDATA[") == 0) {
            const size_t end = doc_.find("]]>", position_ + 9);
            if (end == std::string_view::npos) fail("an unterminated CDATA section");
            text_ = doc_.substr(position_ + 9, end - position_ - 9);
            position_ = end + 3;
            return Token::Text;
        }
        if (position_ + 1 < doc_.size() && (doc_[position_ + 1] == '!' || doc_[position_ + 1] == '?')) {
            skipMarkup();
            continue;
        }
        if (position_ + 1 < doc_.size() && doc_[position_ + 1] == '/') {
            const size_t end = doc_.find('>', position_);
            if (end == std::string_view::npos) fail("an unterminated end tag");
            std::string_view name = doc_.substr(position_ + 2, end - position_ - 2);
            while (!name.empty() && isSpace(name.back())) name.remove_suffix(1);
            if (depth_ == 0) fail("an end tag without its start");
            if (name != open_.back()) fail("</" + std::string(name) + "> closes <" + std::string(open_.back()) + ">");
            name_ = localPart(name);
            open_.pop_back();
            --depth_;
            position_ = end + 1;
            return Token::EndElement;
        }
        readStartTag();
        return Token::StartElement;
    }
    if (depth_ != 0) fail("the document ends inside an element");
    return Token::End;
}

bool XmlReader::attribute(std::string_view localName, std::string_view& value) {
    for (const RawAttribute& a : attributes_) {
        if (a.name == localName) {
            value = decode(a.value, attributeScratch_, true);
            return true;
        }
    }
    return false;
}

void XmlReader::skipElement() {
    const int target = depth_ - 1;
    while (depth_ > target) {
        if (next() == Token::End) fail("the document ends inside an element");
    }
}

std::string XmlReader::elementText() {
    std::string out;
    const int target = depth_ - 1;
    while (depth_ > target) {
        const Token token = next();
        if (token == Token::Text) out += text_;
        else if (token == Token::End) fail("the document ends inside an element");
    }
    return out;
}

}  // namespace kes
