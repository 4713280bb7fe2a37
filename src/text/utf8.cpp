#include "text/utf8.h"

#include <cstdint>
#include <iterator>

namespace kes {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool isHighSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(char32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Decodes one sequence starting at bytes[i]; returns the code point (or U+FFFD) and advances i
// past the sequence, or past the maximal invalid subpart.
char32_t decodeOne(std::string_view bytes, size_t& i) {
    const auto byteAt = [&](size_t k) { return static_cast<uint8_t>(bytes[k]); };
    const uint8_t lead = byteAt(i++);
    if (lead < 0x80) return lead;
    size_t length;
    char32_t cp;
    uint8_t low = 0x80, high = 0xBF;   // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) { length = 2; cp = lead & 0x1F; }
    else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3; cp = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;          // overlong
        if (lead == 0xED) high = 0x9F;         // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4; cp = lead & 0x07;
        if (lead == 0xF0) low = 0x90;          // overlong
        if (lead == 0xF4) high = 0x8F;         // beyond U+10FFFF
    } else {
        return kReplacement;
    }
    for (size_t k = 1; k < length; ++k) {
        if (i >= bytes.size()) return kReplacement;
        const uint8_t b = byteAt(i);
        const uint8_t lo = k == 1 ? low : 0x80, hi = k == 1 ? high : 0xBF;
        if (b < lo || b > hi) return kReplacement;
        cp = (cp << 6) | (b & 0x3F);
        ++i;
    }
    return cp;
}


// The exact UTF-8 length, so that a large text is written into a buffer of its own size.
size_t utf8Length(std::u16string_view text) {
    size_t length = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t u = text[i];
        if (u < 0x80) length += 1;
        else if (u < 0x800) length += 2;
        else if (isHighSurrogate(u) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) length += 4, ++i;
        else length += 3;
    }
    return length;
}

}  // namespace

void appendUtf8(std::string& out, std::u16string_view text) {
    out.reserve(out.size() + utf8Length(text));
    // Encoded through a small buffer and appended, so that the output is written once rather
    // than zero-filled first.
    char buffer[4096];
    char* p = buffer;
    const auto put = [&](uint32_t byte) { *p++ = static_cast<char>(byte); };
    for (size_t i = 0; i < text.size(); ++i) {
        if (p > std::end(buffer) - 4) {
            out.append(buffer, p);
            p = buffer;
        }
        char32_t u = text[i];
        if (u < 0x80) {
            put(u);
            continue;
        }
        if (isHighSurrogate(u) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            u = 0x10000 + ((u - 0xD800) << 10) + (text[++i] - 0xDC00);
        } else if (isHighSurrogate(u) || isLowSurrogate(u)) {
            u = kReplacement;
        }
        if (u < 0x800) {
            put(0xC0 | (u >> 6));
        } else if (u < 0x10000) {
            put(0xE0 | (u >> 12));
            put(0x80 | ((u >> 6) & 0x3F));
        } else {   // a surrogate pair: two units in, four bytes out
            put(0xF0 | (u >> 18));
            put(0x80 | ((u >> 12) & 0x3F));
            put(0x80 | ((u >> 6) & 0x3F));
        }
        put(0x80 | (u & 0x3F));
    }
    out.append(buffer, p);
}

std::string toUtf8(std::u16string_view text) {
    std::string out;
    appendUtf8(out, text);
    return out;
}

void appendFromUtf8(std::u16string& out, std::string_view bytes) {
    out.reserve(out.size() + bytes.size());
    size_t i = 0;
    while (i < bytes.size()) {
        if (static_cast<uint8_t>(bytes[i]) < 0x80) {
            out.push_back(static_cast<char16_t>(bytes[i++]));
            continue;
        }
        const char32_t cp = decodeOne(bytes, i);
        if (cp >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
    }
}

std::u16string fromUtf8(std::string_view bytes) {
    std::u16string out;
    appendFromUtf8(out, bytes);
    return out;
}

bool isValidUtf8(std::string_view bytes) {
    size_t i = 0;
    while (i < bytes.size()) {
        if (static_cast<uint8_t>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const size_t start = i;
        const char32_t cp = decodeOne(bytes, i);
        // U+FFFD written as its own three bytes is valid; a replacement from a bad sequence is not.
        if (cp == kReplacement && !(i - start == 3 && bytes.substr(start, 3) == "\xEF\xBF\xBD")) return false;
    }
    return true;
}

}  // namespace kes
