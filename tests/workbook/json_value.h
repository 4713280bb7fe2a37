#pragma once
// A small JSON reader for the test data (the corpus's ground truth files).
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kes::test {

struct Json {
    enum class Kind { Null, Boolean, Number, String, Array, Object } kind = Kind::Null;
    bool boolean = false;
    double number = 0;
    std::string string;
    std::vector<Json> array;
    std::map<std::string, Json> object;

    const Json& operator[](const std::string& key) const {
        static const Json none;
        auto it = object.find(key);
        return it == object.end() ? none : it->second;
    }
    bool isNull() const { return kind == Kind::Null; }
};

class JsonParser {
public:
    explicit JsonParser(std::string_view text) : s_(text) {}
    Json parse() {
        Json value = parseValue();
        skip();
        if (i_ != s_.size()) throw std::runtime_error("json: trailing text");
        return value;
    }

private:
    void skip() { while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\r' || s_[i_] == '\t')) ++i_; }
    char peek() { skip(); if (i_ >= s_.size()) throw std::runtime_error("json: truncated"); return s_[i_]; }
    void expect(char c) { if (peek() != c) throw std::runtime_error(std::string("json: expected ") + c); ++i_; }

    static void appendUtf8(std::string& out, unsigned cp) {
        if (cp < 0x80) out += char(cp);
        else if (cp < 0x800) { out += char(0xC0 | (cp >> 6)); out += char(0x80 | (cp & 0x3F)); }
        else if (cp < 0x10000) { out += char(0xE0 | (cp >> 12)); out += char(0x80 | ((cp >> 6) & 0x3F)); out += char(0x80 | (cp & 0x3F)); }
        else { out += char(0xF0 | (cp >> 18)); out += char(0x80 | ((cp >> 12) & 0x3F)); out += char(0x80 | ((cp >> 6) & 0x3F)); out += char(0x80 | (cp & 0x3F)); }
    }

    std::string parseString() {
        expect('"');
        std::string out;
        while (i_ < s_.size() && s_[i_] != '"') {
            char c = s_[i_++];
            if (c != '\\') { out += c; continue; }
            c = s_[i_++];
            switch (c) {
            case 'n': out += '\n'; break;
            case 't': out += '\t'; break;
            case 'r': out += '\r'; break;
            case 'b': out += '\b'; break;
            case 'f': out += '\f'; break;
            case 'u': {
                unsigned cp = std::stoul(std::string(s_.substr(i_, 4)), nullptr, 16);
                i_ += 4;
                if (cp >= 0xD800 && cp <= 0xDBFF && s_.substr(i_, 2) == "\\u") {
                    const unsigned low = std::stoul(std::string(s_.substr(i_ + 2, 4)), nullptr, 16);
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    i_ += 6;
                }
                appendUtf8(out, cp);
                break;
            }
            default: out += c;
            }
        }
        ++i_;
        return out;
    }

    Json parseValue() {
        Json v;
        const char c = peek();
        if (c == '{') {
            v.kind = Json::Kind::Object;
            ++i_;
            if (peek() == '}') { ++i_; return v; }
            for (;;) {
                std::string key = parseString();
                expect(':');
                v.object[key] = parseValue();
                if (peek() == ',') { ++i_; continue; }
                expect('}');
                return v;
            }
        }
        if (c == '[') {
            v.kind = Json::Kind::Array;
            ++i_;
            if (peek() == ']') { ++i_; return v; }
            for (;;) {
                v.array.push_back(parseValue());
                if (peek() == ',') { ++i_; continue; }
                expect(']');
                return v;
            }
        }
        if (c == '"') { v.kind = Json::Kind::String; v.string = parseString(); return v; }
        if (s_.substr(i_, 4) == "true") { i_ += 4; v.kind = Json::Kind::Boolean; v.boolean = true; return v; }
        if (s_.substr(i_, 5) == "false") { i_ += 5; v.kind = Json::Kind::Boolean; return v; }
        if (s_.substr(i_, 4) == "null") { i_ += 4; return v; }
        const std::string rest(s_.substr(i_, 40));
        char* end = nullptr;
        v.number = std::strtod(rest.c_str(), &end);
        if (end == rest.c_str()) throw std::runtime_error("json: bad value");
        i_ += size_t(end - rest.c_str());
        v.kind = Json::Kind::Number;
        return v;
    }

    std::string_view s_;
    size_t i_ = 0;
};

}  // namespace kes::test
