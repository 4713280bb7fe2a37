#include "form/memo_text.h"

#include <algorithm>
#include <cstdint>

#include "form/text_helpers.h"
#include "text/utf8.h"

namespace kes {

MemoText::MemoText(std::u16string text) : content_(std::make_shared<Content>()) { content_->wide = std::move(text); }

MemoText MemoText::fromUtf8(std::string bytes) {
    MemoText memo;
    memo.content_->wide.reset();
    memo.content_->utf8 = std::move(bytes);
    return memo;
}

const std::u16string& MemoText::text() const {
    if (!content_->wide) content_->wide = kes::fromUtf8(*content_->utf8);
    return *content_->wide;
}

const std::string& MemoText::utf8() const {
    if (!content_->utf8) content_->utf8 = toUtf8(*content_->wide);
    return *content_->utf8;
}

bool MemoText::isBlank() const {
    // A UTF-8 byte up to 0x20 is that character itself; every other character is not blank.
    if (const auto& bytes = content_->utf8) {
        return std::all_of(bytes->begin(), bytes->end(), [](char c) { return uint8_t(c) <= 0x20; });
    }
    return IsEmptyStr(*content_->wide);
}

}  // namespace kes
