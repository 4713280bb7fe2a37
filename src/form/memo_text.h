#pragma once
// The text of a hidden memo control. After a print both memos hold the same array text, which
// can run to tens of megabytes: they share one copy of it, and that copy is kept in whichever
// form it was made in (UTF-16 when typed or pasted, UTF-8 when a print built it for the host)
// and converted only when the other form is asked for.
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kes {

class MemoText {
public:
    MemoText(std::u16string text = {});
    MemoText(const char16_t* text) : MemoText(std::u16string(text)) {}
    // A memo holding the UTF-8 `bytes`.
    static MemoText fromUtf8(std::string bytes);

    const std::u16string& text() const;
    const std::string& utf8() const;
    // True when the text holds nothing but blanks (characters up to the space).
    bool isBlank() const;
    void clear() { *this = std::u16string(); }

    friend bool operator==(const MemoText& a, const MemoText& b) {
        return a.content_ == b.content_ || a.text() == b.text();
    }
    friend bool operator==(const MemoText& a, std::u16string_view b) { return a.text() == b; }
    friend bool operator==(const MemoText& a, const char16_t* b) { return a.text() == b; }

private:
    struct Content {
        std::optional<std::u16string> wide;
        std::optional<std::string> utf8;
    };
    std::shared_ptr<Content> content_;
};

}  // namespace kes
