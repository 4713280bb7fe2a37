#include "sheet/formula/error_words.h"

#include <iterator>

#include "sheet/formula/name_chars.h"

namespace kes::formula {

namespace {

// In ErrorCode order. No word is the start of another, so the first match is the only one.
constexpr ErrorWord kErrorWords[] = {
    {u"#NULL!", ErrorCode::Null}, {u"#DIV/0!", ErrorCode::DivByZero}, {u"#VALUE!", ErrorCode::Value},
    {u"#REF!", ErrorCode::Ref},   {u"#NAME?", ErrorCode::Name},       {u"#NUM!", ErrorCode::Num},
    {u"#N/A", ErrorCode::NA},     {u"#SPILL!", ErrorCode::Spill},     {u"#CALC!", ErrorCode::Calc},
};

bool startsWithIgnoringAsciiCase(std::u16string_view text, std::u16string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (asciiUpper(text[i]) != prefix[i]) return false;
    }
    return true;
}

}  // namespace

const ErrorWord* errorWordAt(std::u16string_view text, size_t pos) {
    if (pos >= text.size()) return nullptr;
    for (const ErrorWord& word : kErrorWords) {
        if (startsWithIgnoringAsciiCase(text.substr(pos), word.text)) return &word;
    }
    return nullptr;
}

std::u16string_view errorWordText(ErrorCode code) {
    const size_t index = static_cast<size_t>(code) - 1;
    return index < std::size(kErrorWords) ? kErrorWords[index].text : std::u16string_view(u"#VALUE!");
}

}  // namespace kes::formula
