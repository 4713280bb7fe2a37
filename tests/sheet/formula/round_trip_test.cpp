// Properties over many formulas: the canonical text parses to the same tree and is its own
// canonical text; no text whatever, nor any prefix of one, makes the parser misbehave.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "sheet/formula/formula_parser.h"
#include "tree_dump.h"

namespace kes::formula {
namespace {

constexpr std::u16string_view kFormulas[] = {
    u"=1+2*3-4/5^6&\"x\"",
    u"= -2 ^ 2 % ",
    u"=IF(AND(A1>0,$B$1<>\"\"),SUM(A1:A3)*2,\"无\")",
    u"=VLOOKUP(E2,'价格 表'!$A$1:$C$500,3,FALSE)",
    u"=SUMPRODUCT((A1:A10>5)*(B1:B10<>\"\"))",
    u"=IFERROR(INDEX(Sheet2!B:B,MATCH(A2,Sheet2!A:A,0)),#N/A)",
    u"={1,-2.5,\"a\"\"b\";TRUE,#DIV/0!,1E+300}",
    u"=_xlfn.STDEV.S(Data!B2:B100)+_xlfn.XLOOKUP(1,A:A,B:B)",
    u"=SUM((A1:B2 B1:C3,D4),Jan:Dec!E5)",
    u"=TEXT(NOW(),\"yyyy-mm-dd\")&\" \"&品名&规格",
    u"=A1:INDEX(B:B,COUNTA(B:B)):C3",
    u"='It''s'!A1&'2019'!$1:$3",
    u"=-(-(-1))%%",
    u"=a1 : b2",
    u"=x :y",
    u"=0.1+0.2=0.3",
    u"=123456789.123456789",
    u"=1E-300*1E300",
    u"=IF(,,)",
    u"=Sheet1!#REF!*2",
    u"=\"中文\"&CHAR(10)&\"字符串\"",
    u"=SUM(Sales[[#This Row],[Jan]:[Dec]])+[@Qty]*Sales[#Totals]",
    u"=_xlfn.LET(_xlpm.x,[1]Rates!$B$2,_xlfn.LAMBDA(_xlpm.y,_xlpm.x*_xlpm.y)(A1#))",
    u"=_xlfn.SINGLE(A:A)+_xlfn._xlws.FILTER(B1:B9,B1:B9>0)",
};

TEST(FormulaRoundTrip, CanonicalTextParsesToTheSameTree) {
    for (std::u16string_view formula : kFormulas) {
        SCOPED_TRACE(std::string(formula.begin(), formula.end()));
        const auto first = parseFormula(formula);
        ASSERT_NE(first, nullptr);
        EXPECT_TRUE(isWellFormed(*first));
        const std::u16string canonical = formulaText(*first, TextStyle::File);
        const auto second = parseFormula(canonical);
        ASSERT_NE(second, nullptr);
        EXPECT_EQ(dumpTree(*second), dumpTree(*first));
        EXPECT_EQ(formulaText(*second, TextStyle::File), canonical);
    }
}

// Parses text from a buffer of exactly its size, so that a read past the end is caught by
// AddressSanitizer; checks the error or the round trip.
void checkParse(std::u16string_view text) {
    auto buffer = std::make_unique<char16_t[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), buffer.get());
    const std::u16string_view exact(buffer.get(), text.size());
    ParseError error;
    const auto expression = parseFormula(exact, &error);
    if (!expression) {
        EXPECT_LE(error.offset, text.size());
        EXPECT_FALSE(error.message.empty());
        return;
    }
    ASSERT_TRUE(isWellFormed(*expression));
    const std::u16string canonical = formulaText(*expression, TextStyle::File);
    const auto again = parseFormula(canonical);
    ASSERT_NE(again, nullptr) << std::string(canonical.begin(), canonical.end());
    EXPECT_EQ(formulaText(*again, TextStyle::File), canonical);
    EXPECT_EQ(dumpTree(*again), dumpTree(*expression));
    auto moved = parseFormula(canonical);
    offsetReferences(*moved, -3, 2);
    EXPECT_EQ(dumpFormula(formulaText(*moved, TextStyle::File)), dumpTree(*moved));
}

TEST(FormulaRoundTrip, EveryPrefixIsRefusedCleanlyOrRoundTrips) {
    for (std::u16string_view formula : kFormulas) {
        for (size_t length = 0; length <= formula.size(); ++length) checkParse(formula.substr(0, length));
    }
}

TEST(FormulaRoundTrip, RandomTextsNeverBreakTheParser) {
    // Formula characters, so that many texts get deep into the grammar, and a few others.
    constexpr std::u16string_view kAlphabet = u"=+-*/^&%<>:;,. ()\"'!${}#$AZaz019E_\\中，（）＋\u3000\xD83D\xDE00";
    std::mt19937 random(20240611);
    std::uniform_int_distribution<size_t> pick(0, kAlphabet.size() - 1);
    std::uniform_int_distribution<size_t> length(0, 24);
    std::uniform_int_distribution<int> anyUnit(0, 0xFFFF);
    for (int round = 0; round < 20000; ++round) {
        std::u16string text = u"=";
        const size_t size = length(random);
        for (size_t i = 0; i < size; ++i) {
            text += round % 10 == 0 ? static_cast<char16_t>(anyUnit(random)) : kAlphabet[pick(random)];
        }
        checkParse(text);
    }
    // Mutations of real formulas: one character replaced, dropped or doubled.
    for (std::u16string_view formula : kFormulas) {
        for (size_t i = 1; i < formula.size(); ++i) {
            std::u16string replaced(formula);
            replaced[i] = kAlphabet[pick(random)];
            checkParse(replaced);
            std::u16string dropped(formula);
            dropped.erase(i, 1);
            checkParse(dropped);
            std::u16string doubled(formula);
            doubled.insert(i, 1, formula[i]);
            checkParse(doubled);
        }
    }
}

TEST(FormulaRoundTrip, RandomTokenSequencesRoundTripWhenAccepted) {
    // Pieces of formulas glued at random: most sequences are refused, enough are accepted to
    // put the canonical text of every construct through the round trip.
    constexpr std::u16string_view kTokens[] = {
        u"1", u"2.5", u".5", u"1E3", u"0", u"A1", u"$B$2", u"c$3", u"C:C", u"3:4", u"A1:B2", u"Sheet1!", u"'My Sheet'!",
        u"'a:b'!", u"Rate", u"中文", u"SUM(", u"IF(", u"_xlfn.X(", u")", u"(", u"(", u",", u",", u":", u" ", u" ",
        u"+", u"-", u"*", u"/", u"^", u"&", u"%", u"=", u"<>", u"<=", u"\"t\"", u"\"\"\"\"", u"TRUE", u"#N/A",
        u"#REF!", u"{1,2}", u"{-1;\"a\"}", u"XFD1048576", u"XFE1",
    };
    std::mt19937 random(7);
    std::uniform_int_distribution<size_t> pick(0, std::size(kTokens) - 1);
    std::uniform_int_distribution<size_t> length(1, 12);
    for (int round = 0; round < 30000; ++round) {
        std::u16string text = u"=";
        for (size_t i = length(random); i > 0; --i) text += kTokens[pick(random)];
        checkParse(text);
    }
}

TEST(FormulaRoundTrip, LongChainsNeedNoDeepRecursion) {
    std::u16string signs = u"=" + std::u16string(8000, u'-') + u"1";
    std::u16string sums = u"=1";
    for (int i = 0; i < 4000; ++i) sums += u"+1";
    std::u16string percents = u"=1" + std::u16string(8000, u'%');
    for (const std::u16string& text : {signs, sums, percents}) {
        const auto expression = parseFormula(text);
        ASSERT_NE(expression, nullptr);
        EXPECT_EQ(formulaText(*expression), text);
    }
}

}  // namespace
}  // namespace kes::formula
