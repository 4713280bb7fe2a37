#include "workbook/xls/formula_tokens.h"

#include <gtest/gtest.h>

#include <random>

#include "sheet/formula/formula_parser.h"

namespace kes {
namespace {

// A workbook of two sheets, Data and Notes, with one add-in SUPBOOK and another workbook.
TokenNames workbookNames() {
    TokenNames names;
    names.ownSheets = {u"Data", u"Notes", u"My Sheet"};
    names.books.push_back({TokenNames::Book::Kind::Own, u"", {}, {}});
    names.books.push_back({TokenNames::Book::Kind::AddIn, u"", {}, {u"EDATE", u"_xlfn.IFERROR"}});
    names.books.push_back({TokenNames::Book::Kind::Other, u"[1]", {u"Prices"}, {u"Rate"}});
    names.externSheets = {{0, 0, 0}, {0, 0, 1}, {0, 2, 2}, {1, -2, -2}, {2, 0, 0}, {0, -1, -1}};
    names.definedNames = {u"Total", u"_xlnm.Print_Area"};
    return names;
}

std::optional<std::u16string> read(std::string_view tokens, std::optional<TokenCell> cell = std::nullopt) {
    return formulaFromTokens(tokens, {}, workbookNames(), cell);
}

std::optional<std::string> tokensOf(std::u16string_view text) {
    const auto expression = formula::parseFormula(text);
    EXPECT_TRUE(expression) << std::string(text.begin(), text.end());
    return formulaTokens(*expression, [](std::u16string_view name) -> std::optional<uint16_t> {
        if (name == u"Data") return 0;
        return std::nullopt;
    });
}

// The bytes Excel itself writes for these formulas: value-class references under operators,
// reference-class ones as function arguments, tFunc for a fixed count, tFuncVar otherwise.
TEST(FormulaTokens, WritesTheTokensExcelWrites) {
    const struct {
        std::u16string text;
        std::string tokens;
    } cases[] = {
        {u"=A1+1", std::string("\x44\x00\x00\x00\xC0\x1E\x01\x00\x03", 9)},
        {u"=$B$2", std::string("\x44\x01\x00\x01\x00", 5)},
        {u"=SUM(A1:B2)", std::string("\x25\x00\x00\x01\x00\x00\xC0\x01\xC0\x42\x01\x04\x00", 13)},
        {u"=ABS(-2.5)", std::string("\x1F\x00\x00\x00\x00\x00\x00\x04\x40\x13\x41\x18\x00", 13)},
        {u"=\"ab\"&TRUE", std::string("\x17\x02\x00" "ab" "\x1D\x01\x08", 8)},
        {u"=Data!C3", std::string("\x5A\x00\x00\x02\x00\x02\xC0", 7)},
        {u"=#DIV/0!", std::string("\x1C\x07", 2)},
        {u"=(1)", std::string("\x1E\x01\x00\x15", 4)},
    };
    for (const auto& c : cases) {
        const auto tokens = tokensOf(c.text);
        ASSERT_TRUE(tokens) << std::string(c.text.begin(), c.text.end());
        EXPECT_EQ(*tokens, c.tokens) << std::string(c.text.begin(), c.text.end());
        EXPECT_EQ(read(*tokens), c.text);
    }
}

// Tokens Excel writes that ours never do: the SUM shortcut, IF's jumps, spaces, a memory area,
// names, functions called by name, other sheets and workbooks, array constants.
TEST(FormulaTokens, ReadsEveryTokenOfAWorksheetFormula) {
    const struct {
        std::string tokens;
        std::string extra;
        std::u16string text;
    } cases[] = {
        {std::string("\x25\x00\x00\x01\x00\x00\xC0\x01\xC0\x19\x10\x00\x00", 13), "", u"=SUM(A1:B2)"},
        {std::string("\x19\x40\x00\x01\x1E\x02\x00", 7), "", u"=2"},
        {std::string("\x26\x00\x00\x00\x00\x09\x00\x25\x00\x00\x01\x00\x00\xC0\x01\xC0", 16),
         std::string("\x01\x00\x00\x00\x01\x00\x00\x00\x01\x00", 10), u"=A1:B2"},
        {std::string("\x23\x01\x00\x00\x00\x1E\x02\x00\x05", 9), "", u"=Total*2"},
        {std::string("\x1E\x01\x00\x41\x02\x00", 6), "", u"=ISNA(1)"},
        // EDATE(A1,1) as Excel 2003 writes it: the add-in's name, then the arguments, then 255.
        {std::string("\x59\x03\x00\x01\x00\x00\x00\x44\x00\x00\x00\xC0\x1E\x01\x00\x42\x03\xFF\x00", 19), "",
         u"=EDATE(A1,1)"},
        {std::string("\x59\x03\x00\x02\x00\x00\x00\x1E\x01\x00\x1E\x02\x00\x42\x03\xFF\x00", 17), "",
         u"=_xlfn.IFERROR(1,2)"},
        {std::string("\x5A\x01\x00\x00\x00\x00\xC0", 7), "", u"=Data:Notes!A1"},
        {std::string("\x5A\x02\x00\x00\x00\x00\xC0", 7), "", u"='My Sheet'!A1"},
        {std::string("\x5A\x04\x00\x00\x00\x00\xC0", 7), "", u"=[1]Prices!A1"},
        {std::string("\x5A\x05\x00\x00\x00\x00\xC0", 7), "", u"=#REF!"},
        {std::string("\x59\x04\x00\x01\x00\x00\x00", 7), "", u"=[1]!Rate"},
        {std::string("\x60\x00\x00\x00\x00\x00\x00\x00", 8),
         std::string("\x01\x01\x00\x01", 4) + std::string("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8) +
             std::string("\x02\x02\x00\x00" "ab", 6) + std::string("\x04\x01\x00\x00\x00\x00\x00\x00", 9) +
             std::string("\x10\x2A\x00\x00\x00\x00\x00\x00", 9),
         u"={1,\"ab\";TRUE,#N/A}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formulaFromTokens(c.tokens, c.extra, workbookNames()), c.text) << c.tokens.size();
    }
}

TEST(FormulaTokens, RefusesWhatIsMalformed) {
    const std::string refused[] = {
        std::string("\x03", 1),                          // an operator without operands
        std::string("\x1E\x01\x00\x1E\x02\x00", 6),      // two values left over
        std::string("\x1F\x00\x00", 3),                  // a number cut short
        std::string("\x23\x09\x00\x00\x00", 5),          // a defined name that is not there
        std::string("\x01\x00\x00\x00\x00", 5),          // a shared formula, which the reader follows
        std::string("\x41\xFF\x00", 3),                  // a function by name without its name
        std::string("\x60\x00\x00\x00\x00\x00\x00\x00", 8),  // an array constant without its values
        std::string(),
    };
    for (const std::string& tokens : refused) EXPECT_FALSE(read(tokens)) << tokens.size();
}

// A shared formula (SHRFMLA) holds offsets from the cell it is read for; LibreOffice writes a
// column of formulas filled down this way.
TEST(FormulaTokens, ReadsASharedFormulaForEachOfItsCells) {
    const std::string times2("\x4C\x00\x00\xFD\xC0\x1E\x02\x00\x05", 9);       // D1*2 in G1
    const std::string fixedColumn("\x4C\x00\x00\x03\x80\x1E\x02\x00\x05", 9);  // $D1*2
    const std::string sum("\x2D\xFE\xFF\xFF\xFF\xFE\xC0\xFF\xC0\x19\x10\x00\x00", 13);  // SUM(A1:B2) in C3
    const struct {
        std::string tokens;
        TokenCell cell;
        std::u16string text;
    } cases[] = {
        {times2, {0, 6}, u"=D1*2"},
        {times2, {2, 6}, u"=D3*2"},
        {times2, {0, 7}, u"=E1*2"},
        {fixedColumn, {4, 6}, u"=$D5*2"},
        {sum, {2, 2}, u"=SUM(A1:B2)"},
        {sum, {3, 5}, u"=SUM(D2:E3)"},
        {std::string("\x4C\xFF\xFF\xFF\xC0", 5), {0, 0}, u"=IV65536"},   // wraps round, as in Excel
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read(c.tokens, c.cell), c.text) << c.tokens.size();
        EXPECT_FALSE(read(c.tokens)) << "relative tokens need the cell they are read for";
    }
}

// Before BIFF8 references are smaller (the relative flags in the row, a one-byte column), texts
// have no flags byte and are in the file's code page, BIFF2 and BIFF3 number functions in one
// byte, names and 3-D references carry reserved bytes, and BIFF5's 3-D references name this
// workbook's sheets by index. A wrong size anywhere shifts every token after it.
TEST(FormulaTokens, ReadsTheTokensOfEveryOlderVersion) {
    using biff::Version;
    const auto names = [](Version version) {
        TokenNames n = workbookNames();
        n.version = version;
        n.codePage = CodePage(936);
        n.books = {{TokenNames::Book::Kind::Own, u"", {}, {}}, {TokenNames::Book::Kind::Other, u"[1]", {u"Prices"}, {u"Rate"}},
                   {TokenNames::Book::Kind::AddIn, u"", {}, {u"EDATE"}}};
        n.externSheets = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
        return n;
    };
    const std::string reserved8(8, '\0'), reserved12(12, '\0');
    const struct {
        Version version;
        std::string tokens;
        std::u16string text;
        std::optional<TokenCell> cell = std::nullopt;
    } cases[] = {
        {Version::Biff2, std::string("\x44\x00\xC0\x00\x1E\x01\x00\x03", 8), u"=A1+1"},
        {Version::Biff2, std::string("\x25\x00\x00\x01\x80\x00\x02\x41\x04", 9), u"=SUM($A$1:$C2)"},
        {Version::Biff3, std::string("\x1E\x01\x00\x42\x01\x04", 6), u"=SUM(1)"},   // tFuncVar: count, one-byte number
        {Version::Biff2, std::string("\x44\x00\xC0\x00\x19\x10\x00", 7), u"=SUM(A1)"},   // tAttr's one-byte data
        {Version::Biff4, std::string("\x1E\x01\x00\x42\x01\x04\x00", 7), u"=SUM(1)"},
        {Version::Biff5, std::string("\x17\x02\xC6\xB7", 4) + std::string("\x41\x20\x00", 3), u"=LEN(\"\u54C1\")"},
        {Version::Biff4, std::string("\x23\x01\x00", 3) + reserved8, u"=Total"},
        {Version::Biff5, std::string("\x23\x02\x00", 3) + reserved12, u"=_xlnm.Print_Area"},
        {Version::Biff5, std::string("\x5A\xFF\xFF", 3) + reserved8 + std::string("\x01\x00\x02\x00\x01\xC0\x02", 7),
         u"='Notes:My Sheet'!C2"},
        {Version::Biff5, std::string("\x5B\x02\x00", 3) + reserved8 + std::string("\x00\x00\x00\x00\x00\x00\x01\x00\x00\x01", 10),
         u"=[1]Prices!$A$1:$B$2"},
        {Version::Biff5, std::string("\x59\x03\x00", 3) + reserved8 + std::string("\x01\x00", 2) + reserved12 +
                             std::string("\x1E\x05\x00\x42\x02\xFF\x00", 7),
         u"=EDATE(5)"},
        {Version::Biff5, std::string("\x4C\xFF\xFF\x01", 4), u"=C2", TokenCell{2, 1}},   // a shared formula's row offset of -1
        // BIFF3: a name of another file between tSheet and tEndSheet, then a reference of this one.
        {Version::Biff3, std::string("\x1A\x00\x00\x00\x00\x02\x00\x00\x00\x00\x00\x43\x01\x00", 14) + reserved8 +
                             std::string("\x1B\x00\x00\x00\x00\x44\x00\xC0\x00\x03", 10),
         u"=[1]Prices!Rate+A1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formulaFromTokens(c.tokens, {}, names(c.version), c.cell), c.text) << int(c.version) << " " << c.tokens.size();
    }
    // BIFF8's layout read as BIFF5's, or the other way round, is refused rather than misread.
    EXPECT_FALSE(formulaFromTokens(std::string("\x44\x00\x00\x00\xC0", 5), {}, names(Version::Biff5)));
    EXPECT_FALSE(formulaFromTokens(std::string("\x5A\x00\x00\x00\x00\x00\xC0", 7), {}, names(Version::Biff3)));
}

TEST(FormulaTokens, ArbitraryBytesNeverCrash) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string tokens(random() % 24, '\0');
        for (char& c : tokens) c = char(random() % 4 == 0 ? 0x19 + random() % 0x44 : random());
        (void)formulaFromTokens(tokens, tokens, workbookNames());
        (void)formulaFromTokens(tokens, {}, workbookNames(), TokenCell{65535, 255});
    }
}

}  // namespace
}  // namespace kes
