// Text functions of the system's ANSI code page: character codes (CHAR, CODE), the byte-counting
// *B functions, and the conversions between half and full width (ASC, DBCS). On a Chinese
// Windows the code page is GBK, where a Chinese character takes two bytes; the tests run with
// GBK too (text/ansi_code_page.h).
//
// CHAR and CODE agree with Excel on both the Chinese systems the product serves and the Western
// ones its test workbooks come from, range by range: 1-127 are ASCII everywhere; 128-255 are
// Windows-1252 (a Chinese system has only lead bytes there, no characters); from 256 on, the
// double-byte codes of the code page, as CHAR(41420) gives √ on a Chinese system. CODE inverts
// CHAR, so CODE(CHAR(n)) is n.
#include <cmath>
#include <vector>

#include "text/ansi_code_page.h"
#include "sheet/calc/functions/support.h"
#include "sheet/calc/functions/text_support.h"

namespace kes::calc {
namespace {

// Windows-1252 from 0x80 to 0x9F; from 0xA0 on it is Latin-1, the same as Unicode. Its five
// unassigned bytes stand for the control characters of the same number, as Windows converts them.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char16_t windows1252Character(unsigned byte) { return byte < 0xA0 ? kWindows1252[byte - 0x80] : char16_t(byte); }

std::optional<unsigned> windows1252Byte(char16_t c) {
    if (c >= 0xA0 && c <= 0xFF) return c;
    for (unsigned i = 0; i < 32; ++i) {
        if (kWindows1252[i] == c) return 0x80 + i;
    }
    return std::nullopt;
}

Value charFunction(Call& call) {
    const double n = std::trunc(call.number(0));
    if (n < 1 || n > 0xFFFF) return Value::error(ecValue);
    const auto code = unsigned(n);
    if (code < 0x80) return Value::text(std::u16string(1, char16_t(code)));
    if (code < 0x100) return Value::text(std::u16string(1, windows1252Character(code)));
    const char bytes[2] = {char(code >> 8), char(code & 0xFF)};
    const std::u16string decoded = systemAnsiCodePage().decode(std::string_view(bytes, 2));
    if (decoded.size() != 1 || decoded[0] < 0x80) return Value::error(ecValue);
    return Value::text(decoded);
}

Value code(Call& call) {
    const std::u16string s = call.text(0);
    if (s.empty()) return Value::error(ecValue);
    const char16_t c = s[0];
    if (c < 0x80) return Value::number(c);
    if (const auto byte = windows1252Byte(c)) return Value::number(*byte);
    const std::string bytes = systemAnsiCodePage().encode(std::u16string_view(&c, 1));
    if (bytes.size() == 2) return Value::number(double(unsigned(uint8_t(bytes[0])) << 8 | uint8_t(bytes[1])));
    return Value::number(bytes.empty() ? u'?' : uint8_t(bytes[0]));
}

// How many bytes each character takes in the code page.
std::vector<uint8_t> byteWidths(std::u16string_view text) {
    std::vector<uint8_t> widths(text.size(), 1);
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0x80) continue;
        bytes.clear();
        systemAnsiCodePage().encodeAppend(text.substr(i, 1), bytes);
        widths[i] = uint8_t(std::max<size_t>(bytes.size(), 1));
    }
    return widths;
}

// A text seen as the bytes of the code page: pieces are cut by byte positions, and a double-byte
// character cut in two leaves a space for its half inside the piece.
class ByteText {
public:
    explicit ByteText(std::u16string text) : text_(std::move(text)), widths_(byteWidths(text_)) {
        starts_.reserve(text_.size() + 1);
        size_t at = 0;
        for (uint8_t w : widths_) {
            starts_.push_back(at);
            at += w;
        }
        starts_.push_back(at);
    }

    size_t bytes() const { return starts_.back(); }

    // The characters of bytes [from, to).
    std::u16string slice(size_t from, size_t to) const {
        to = std::min(to, bytes());
        std::u16string out;
        for (size_t i = 0; i < text_.size() && from < to; ++i) {
            const size_t start = starts_[i], end = starts_[i + 1];
            if (end <= from || start >= to) continue;
            out += start >= from && end <= to ? text_[i] : u' ';
        }
        return out;
    }

    // The byte position of a character position.
    size_t byteOf(size_t character) const { return starts_[std::min(character, text_.size())]; }
    // The first character that starts at or after a byte position.
    size_t characterAt(size_t byte) const {
        size_t i = 0;
        while (i < text_.size() && starts_[i] < byte) ++i;
        return i;
    }
    const std::u16string& text() const { return text_; }

private:
    std::u16string text_;
    std::vector<uint8_t> widths_;
    std::vector<size_t> starts_;
};

Value lenB(Call& call) { return Value::number(double(ByteText(call.text(0)).bytes())); }

Value leftB(Call& call) {
    const ByteText text(call.text(0));
    return Value::text(text.slice(0, characterCount(call.number(1, 1))));
}

Value rightB(Call& call) {
    const ByteText text(call.text(0));
    const size_t n = std::min(characterCount(call.number(1, 1)), text.bytes());
    return Value::text(text.slice(text.bytes() - n, text.bytes()));
}

Value midB(Call& call) {
    const ByteText text(call.text(0));
    const double from = call.number(1), count = call.number(2);
    const size_t start = characterPosition(from) - 1;
    const size_t n = characterCount(count);
    return Value::text(text.slice(start, start + n));
}

Value replaceB(Call& call) {
    const ByteText text(call.text(0));
    const double from = call.number(1), count = call.number(2);
    const std::u16string replacement = call.text(3);
    const size_t start = std::min(characterPosition(from) - 1, text.bytes());
    const size_t end = start + std::min(characterCount(count), text.bytes() - start);
    return textResult(text.slice(0, start) + replacement + text.slice(end, text.bytes()));
}

Value findOrSearchB(Call& call, bool search) {
    const std::u16string needle = call.text(0);
    const ByteText text(call.text(1));
    const size_t start = characterPosition(call.number(2, 1));
    if (start > text.bytes() + 1) return Value::error(ecValue);
    const auto at = findText(text.text(), needle, text.characterAt(start - 1), search);
    return at ? Value::number(double(text.byteOf(*at) + 1)) : Value::error(ecValue);
}

Value findB(Call& call) { return findOrSearchB(call, false); }
Value searchB(Call& call) { return findOrSearchB(call, true); }

// The full-width forms of ASCII, U+FF01 to U+FF5E, and the ideographic space.
constexpr char16_t kFullWidthOffset = 0xFF01 - 0x21;
constexpr char16_t kIdeographicSpace = 0x3000;

Value asc(Call& call) {
    std::u16string s = call.text(0);
    for (char16_t& c : s) {
        if (c >= 0xFF01 && c <= 0xFF5E) c = char16_t(c - kFullWidthOffset);
        else if (c == kIdeographicSpace) c = u' ';
    }
    return Value::text(std::move(s));
}

Value dbcs(Call& call) {
    std::u16string s = call.text(0);
    for (char16_t& c : s) {
        if (c >= 0x21 && c <= 0x7E) c = char16_t(c + kFullWidthOffset);
        else if (c == u' ') c = kIdeographicSpace;
    }
    return Value::text(std::move(s));
}

constexpr FunctionSpec kFunctions[] = {
    {u"CHAR", 1, 1, "V", charFunction, 111},
    {u"CODE", 1, 1, "V", code, 121},
    {u"LENB", 1, 1, "V", lenB, 211},
    {u"LEFTB", 1, 2, "VV", leftB, 208},
    {u"RIGHTB", 1, 2, "VV", rightB, 209},
    {u"MIDB", 3, 3, "VVV", midB, 210},
    {u"REPLACEB", 4, 4, "VVVV", replaceB, 207},
    {u"FINDB", 2, 3, "VVV", findB, 205},
    {u"SEARCHB", 2, 3, "VVV", searchB, 206},
    {u"ASC", 1, 1, "V", asc, 214},
    {u"DBCS", 1, 1, "V", dbcs, 215},
};

}  // namespace

std::span<const FunctionSpec> textCodePageFunctions() { return kFunctions; }

}  // namespace kes::calc
