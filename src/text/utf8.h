#pragma once
// UTF-8 <-> UTF-16 at the edges of the system: host texts, files, the print payload.
#include <string>
#include <string_view>

namespace kes {

// Unpaired surrogates become U+FFFD.
std::string toUtf8(std::u16string_view text);
void appendUtf8(std::string& out, std::u16string_view text);

// Invalid or truncated sequences, overlong forms and encoded surrogates become U+FFFD, one per
// maximal invalid subpart, as the Unicode standard recommends.
std::u16string fromUtf8(std::string_view bytes);
void appendFromUtf8(std::u16string& out, std::string_view bytes);

// Strict check: true when every byte belongs to a well-formed UTF-8 sequence.
bool isValidUtf8(std::string_view bytes);

}  // namespace kes
