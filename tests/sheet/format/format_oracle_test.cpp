#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "sheet/format/number_format.h"
#include "text/utf8.h"

namespace kes {
namespace {

// Every row of format_oracle.tsv: the code, the value, the text that SheetJS's ssf shows or,
// where Excel shows otherwise, Excel's text (see the head of the file).
TEST(FormatOracle, EveryCodeAndValueShowsAsTheTableSays) {
    const auto path =
        std::filesystem::path(KES_SOURCE_DIR) / "tests" / "sheet" / "format" / "format_oracle.tsv";
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << path;
    std::string line;
    int rows = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line.starts_with("//")) continue;
        const size_t a = line.find('\t'), b = line.find('\t', a + 1), c = line.find('\t', b + 1);
        ASSERT_NE(c, std::string::npos) << "row without four columns: " << line;
        const std::string code = line.substr(0, a), value = line.substr(a + 1, b - a - 1);
        const std::u16string expected = fromUtf8(line.substr(b + 1, c - b - 1));
        FormatSettings settings;
        std::u16string shown;
        std::u16string codeText = fromUtf8(code);
        const bool builtin = code.size() > 1 && code[0] == '#' &&
                             code.find_first_not_of("0123456789", 1) == std::string::npos;
        if (builtin) {
            codeText = builtinFormatCode(std::atoi(code.c_str() + 1));
        }
        if (value.starts_with("t:")) {
            shown = formatText(fromUtf8(value.substr(2)), codeText).text;
        } else {
            std::string number = value;
            if (value.starts_with("1904:")) {
                settings.date1904 = true;
                number = value.substr(5);
            }
            shown = formatNumber(std::strtod(number.c_str(), nullptr), codeText, settings).text;
        }
        EXPECT_EQ(toUtf8(shown), toUtf8(expected)) << "code " << code << " value " << value;
        ++rows;
    }
    EXPECT_GT(rows, 300);
}

}  // namespace
}  // namespace kes
