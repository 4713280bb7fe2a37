// Lookup functions: the classic lookups' exact and halving searches (whose results on unsorted
// and mixed data are Excel's), and XLOOKUP and XMATCH with every mode.
#include "array_fixture.h"

namespace kes::calc::testing {
namespace {

class Lookup : public ArrayFixture {
protected:
    Lookup() {
        fill(u"A1", {u"10\tten\tTRUE", u"20\tTwenty\tFALSE", u"=\"30\"\tthirty\t", u"40\tfor*ty\t#N/A", u"\tfifty\t0"});
    }
    std::u16string shownOf(std::u16string_view formula) { return shown(formula); }
};

TEST_F(Lookup, ExactMatchesCompareKindsAndIgnoreCase) {
    const Case cases[] = {
        {u"=VLOOKUP(20,A1:B5,2,FALSE)", u"Twenty"},
        {u"=VLOOKUP(30,A1:B5,2,FALSE)", u"#N/A"},            // A3 holds the text 30
        {u"=VLOOKUP(\"30\",A1:B5,2,FALSE)", u"thirty"},
        {u"=VLOOKUP(\"TWENTY\",B1:C5,2,FALSE)", u"FALSE"},
        {u"=MATCH(\"t*y\",B1:B5,0)", u"2"},
        {u"=MATCH(\"for~*ty\",B1:B5,0)", u"4"},
        {u"=MATCH(\"?????\",B1:B5,0)", u"5"},                // fifty: the first of five letters
        {u"=MATCH(TRUE,C1:C5,0)", u"1"},
        {u"=MATCH(0,C1:C5,0)", u"5"},                       // FALSE is no 0
        {u"=MATCH(E1,A1:A5,0)", u"#N/A"},                   // an empty key is 0; blank cells are no 0
        {u"=MATCH(E1,C1:C5,0)", u"5"},
        {u"=VLOOKUP(20,A1:B5,2,)", u"Twenty"},              // an empty argument asks for an exact match
        {u"=MATCH(30,A1:A5,)", u"#N/A"},
        {u"=VLOOKUP(#DIV/0!,A1:B5,2,0)", u"#DIV/0!"},
        {u"=VLOOKUP(F1,A1:B5,2,0)", u"#VALUE!"},            // 256 characters are too long a key
        {u"=VLOOKUP(10,A1:B5,0,0)", u"#VALUE!"},
        {u"=VLOOKUP(10,A1:B5,3,0)", u"#REF!"},
        {u"=HLOOKUP(\"x\",A1:C2,2,0)", u"#N/A"},
        {u"=HLOOKUP(\"ten\",B1:C2,2,0)", u"Twenty"},
        {u"=MATCH(1,A1:B5,0)", u"#N/A"},                    // a table is no list
    };
    set(u"F1", std::u16string(256, u'a'));
    expectAll(cases, [&](auto f) { return shownOf(f); });
}

// A line searched again and again (a lookup down every label row) is searched through an index
// of its values; the answers stay those of reading the line, also after the line changes.
TEST_F(Lookup, RepeatedSearchesOfALineAnswerAsReadingItDoes) {
    fill(u"H1", {u"SKU-1", u"sku-2", u"0.3", u"TRUE", u"SKU-1", u"7", u"", u"Sku-2"});
    const Case cases[] = {
        {u"=MATCH(\"SKU-2\",H1:H8,0)", u"2"},
        {u"=XMATCH(\"sku-2\",H1:H8,0,-1)", u"8"},
        {u"=XMATCH(\"SKU-1\",H1:H8,0,-1)", u"5"},
        {u"=MATCH(0.1+0.2,H1:H8,0)", u"3"},                 // nearly equal: the same number
        {u"=MATCH(TRUE,H1:H8,0)", u"4"},
        {u"=MATCH(1,H1:H8,0)", u"#N/A"},                    // TRUE is no 1
        {u"=MATCH(\"7\",H1:H8,0)", u"#N/A"},                // a text is no number
        {u"=VLOOKUP(7,H1:H8,1,FALSE)", u"7"},
        {u"=MATCH(\"none\",H1:H8,0)", u"#N/A"},
    };
    // Every formula in cells of its own, entered before any is computed, so that the searches
    // meet an unchanged sheet.
    SheetTable& sheet = book.sheet(0);
    const auto enter = [&](std::u16string_view formula, int32_t row) { sheet.createCell(row, 20).setText(formula, 1); };
    const auto shownAt = [&](int32_t row) { return sheet.getCell(row, 20).displayText(); };
    constexpr int32_t kRounds = 5;
    int32_t row = 0;
    for (int32_t round = 0; round < kRounds; ++round) {
        for (const Case& c : cases) enter(c.formula, row++);
    }
    row = 0;
    for (int32_t round = 0; round < kRounds; ++round) {
        for (const Case& c : cases) EXPECT_EQ(shownAt(row++), c.expected) << std::string(c.formula.begin(), c.formula.end());
    }
    // After a change the line is indexed anew; a formula in it makes it read as it stands.
    const auto again = [&](std::u16string_view shownForSku2) {
        const int32_t first = row;
        for (int32_t r = 0; r < 2 * kRounds; ++r) enter(r % 2 ? u"=MATCH(\"other\",H1:H8,0)" : u"=MATCH(\"SKU-2\",H1:H8,0)", row++);
        for (int32_t r = 0; r < 2 * kRounds; ++r) EXPECT_EQ(shownAt(first + r), r % 2 ? u"2" : shownForSku2);
    };
    sheet.getCell(1, 7).setText(u"other", 1);
    again(u"8");
    sheet.getCell(6, 7).setText(u"=\"SKU-2\"", 1);
    again(u"7");
}

TEST_F(Lookup, SortedSearchesHalveAsExcelDoesOnUnsortedAndMixedData) {
    // Excel's own results for these lists, keys and kinds.
    const Case cases[] = {
        {u"=LOOKUP(3,{-1.1,2.1,3.1,4.1})", u"2.1"},
        {u"=LOOKUP(-2,{-1.1,2.1,3.1,4.1})", u"#N/A"},
        {u"=LOOKUP(20,{-1.1,2.1,3.1,4.1},{\"L\",\"ML\",\"MR\",\"R\"})", u"R"},
        {u"=LOOKUP(4,{\"a\",2.1,\"b\",4.1})", u"2.1"},
        {u"=LOOKUP(4.1,{\"a\",2.1,\"b\",4.1})", u"4.1"},
        {u"=LOOKUP(\"b\",{\"a\",2.1,\"b\",4.1})", u"b"},
        {u"=LOOKUP(TRUE,{\"a\",2.1,\"b\",4.1})", u"#N/A"},
        {u"=LOOKUP(4,{4.1,2.1,3.1,1.1})", u"1.1"},
        {u"=LOOKUP(2,{4.1,2.1,3.1,1.1})", u"#N/A"},
        {u"=LOOKUP(4.1,{\"b\",4.1,\"a\",1.1})", u"4.1"},
        {u"=LOOKUP(4,{\"b\",4.1,\"a\",1.1})", u"#N/A"},
        {u"=LOOKUP(\"b\",{\"b\",4.1,\"a\",1.1})", u"a"},
        {u"=LOOKUP(TRUE,{TRUE,4.1,FALSE,1.1})", u"FALSE"},
        {u"=LOOKUP(\"b\",{TRUE,FALSE,\"a\",\"b\"})", u"b"},
        {u"=LOOKUP(20,{TRUE,4.1,FALSE,\"b\"},{\"L\",\"ML\",\"MR\",\"R\"})", u"ML"},
        {u"=MATCH(\"*b?u*\",{\"\",4.1,\"a\",1.1})", u"1"},
        {u"=MATCH(1.1,{\"c bau c\",4.1,\"a\",1.1})", u"#N/A"},
        {u"=MATCH(TRUE,{TRUE,FALSE,\"a\",\"c bau c\"})", u"2"},
        {u"=MATCH(2,{1,2,2,2,3})", u"4"},                    // the last of equal values
        {u"=MATCH(E1,{-1.1,2.1,3.1,4.1})", u"1"},            // an empty key is 0
        // The last match of a condition: errors in the list are stepped over.
        {u"=LOOKUP(2,1/(A1:A5>15),B1:B5)", u"for*ty"},
        {u"=LOOKUP(2,1/({1,0,0,0,0,0,0,0}=1))", u"1"},
        {u"=LOOKUP(2,1/({0,0,0,0,1,0,0,0}=1))", u"1"},
    };
    expectAll(cases, [&](auto f) { return shownOf(f); });
}

TEST_F(Lookup, MatchDescendingTakesTheLeadingValuesNotBelowTheKey) {
    const Case cases[] = {
        {u"=MATCH(3,{4.1,3.1,2.1,1.1},-1)", u"2"},
        {u"=MATCH(-2,{4.1,3.1,2.1,1.1},-1)", u"4"},
        {u"=MATCH(5,{4.1,3.1,2.1,1.1},-1)", u"#N/A"},
        {u"=MATCH(1.1,{-1.1,2.1,3.1,4.1},-1)", u"#N/A"},     // ascending data stops at once
        {u"=MATCH(3,{\"c bau c\",4.1,\"a\",1.1},-1)", u"2"},
        {u"=MATCH(\"*b?u*\",{\"a\",2.1,\"c bau c\",4.1},-1)", u"3"},
        {u"=MATCH(TRUE,{FALSE,2.1,TRUE,4.1},-1)", u"#N/A"},
    };
    expectAll(cases, [&](auto f) { return shownOf(f); });
}

TEST_F(Lookup, LookupFormsPickTheirResult) {
    fill(u"E1", {u"1\ta", u"2\tb", u"3\tc"});
    set(u"G1", u"x");
    set(u"G2", u"y");
    set(u"G3", u"z");
    const Case cases[] = {
        {u"=LOOKUP(\"b\",{\"a\",\"b\",\"c\";1,2,3})", u"2"},   // wider than tall: first row, last row
        {u"=LOOKUP(2,{1,10;2,20;3,30})", u"20"},              // taller: first column, last column
        {u"=LOOKUP(2.5,E1:E3,F1:F3)", u"b"},
        {u"=LOOKUP(3,E1:E3,G1)", u"z"},                       // a short result range reads on
        {u"=LOOKUP(3,E1:E3,{\"p\",\"q\"})", u"#N/A"},
        {u"=LOOKUP(0,E1:E3,F1:F3)", u"#N/A"},
    };
    expectAll(cases, [&](auto f) { return shownOf(f); });
}

TEST_F(Lookup, WholeColumnsRowsAndArraysOfKeys) {
    fill(u"A7", {u"50\tlast"});
    fill(u"E1", {u"1\t2\t3", u"x\ty\tz"});
    const Case cases[] = {
        {u"=VLOOKUP(50,A:B,2,FALSE)", u"last"},
        {u"=VLOOKUP(45,A:B,2)", u"for*ty"},            // the blank A5 and A6 are stepped over
        {u"=VLOOKUP(99,A:B,2)", u"last"},
        {u"=MATCH(\"last\",B:B,0)", u"7"},
        {u"=MATCH(3,1:1,0)", u"7"},
        {u"=HLOOKUP(2,E1:G2,2,FALSE)", u"y"},
        {u"=MATCH(2.5,E1:G1)", u"2"},
        {u"=VLOOKUP({10,40},A1:B5,2,FALSE)", u"ten,for*ty"},
        {u"=VLOOKUP({10,40},A1:C5,{3,2},FALSE)", u"TRUE,#N/A"},   // the first column number only
        {u"=XLOOKUP(Z9,A1:A5,B1:B5)", u"fifty"},      // an empty key finds the first empty cell
        {u"=XLOOKUP(Z9,B1:B5,A1:A5,\"none\")", u"none"},
        {u"=XMATCH(Z9,A:A,0,-1)", u"1048576"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

class Xlookup : public Lookup {};

TEST_F(Xlookup, MatchModesAndSearchModes) {
    const Case cases[] = {
        {u"=XLOOKUP(-2,{-1.1,2.1,3.1,4.1},{1,2,3,4},\"none\")", u"none"},
        {u"=XLOOKUP(2,{-1.1,2.1,3.1,4.1},{1,2,3,4},\"none\",1)", u"2"},
        {u"=XLOOKUP(3,{-1.1,2.1,3.1,4.1},{1,2,3,4},,-1)", u"2"},
        {u"=XLOOKUP(20,{-1.1,2.1,3.1,4.1},{1,2,3,4})", u"#N/A"},
        {u"=XLOOKUP(1,{1},{2},1/0)", u"2"},                   // if_not_found only when needed
        {u"=XLOOKUP(\"T*\",B1:B5,A1:A5,,2)", u"10"},
        {u"=XLOOKUP(\"T*\",B1:B5,A1:A5)", u"#N/A"},           // exact mode knows no wildcards
        {u"=XLOOKUP(\"t*\",B1:B5,A1:A5,,2,-1)", u"30"},
        {u"=XLOOKUP(3,{1,3,3,5},{\"a\",\"b\",\"c\",\"d\"},,0,-1)", u"c"},
        {u"=XLOOKUP(4,{1,3,3,5},{\"a\",\"b\",\"c\",\"d\"},,1)", u"d"},
        {u"=XLOOKUP(4,{5,3,1},{\"a\",\"b\",\"c\"},,-1,-2)", u"b"},
        {u"=XLOOKUP(4,{1,3,5,7},{\"a\",\"b\",\"c\",\"d\"},,1,2)", u"c"},
        {u"=XLOOKUP(4,{1,3,5,7},{\"a\",\"b\",\"c\",\"d\"},,-1,2)", u"b"},
        {u"=XLOOKUP(\"x\",{1,3},{1,2},,2,2)", u"#VALUE!"},    // no wildcards in a halving search
        {u"=XLOOKUP(1,{1,3},{1,2},,5)", u"#VALUE!"},
        {u"=XLOOKUP(1,{1,3},{1,2},,0,0)", u"#VALUE!"},
        {u"=XLOOKUP(-1.1,{-1.1,2.1,3.1,4.1},{1,2,3,4},0,1,-1.1)", u"4"},   // -1.1 rounds down to -2
        {u"=XLOOKUP(1,{1,3;4,5},{1,2})", u"#VALUE!"},         // a table is no lookup array
        {u"=XLOOKUP(1,{1,3},{1,2,3})", u"#VALUE!"},
        {u"=XLOOKUP(4,{1,3,3,5},{\"a\",\"b\",\"c\",\"d\"},,-1)", u"b"},
        // Kinds have an order: numbers, texts, booleans, and an empty key after all.
        {u"=XMATCH(\"*b?u*\",{\"a\",2.1,\"c bau c\",4.1},-1)", u"4"},
        {u"=XMATCH(TRUE,{\"a\",2.1,\"c bau c\",4.1},-1)", u"3"},
        {u"=XMATCH(E1,{FALSE,2.1,TRUE,4.1},-1)", u"3"},
        {u"=XMATCH(E1,{-1.1,2.1,3.1,4.1},1)", u"#N/A"},
        {u"=XMATCH(4,{TRUE,4.1,FALSE,1.1},1,2)", u"1"},
        {u"=XMATCH(\"*b?u*\",{TRUE,4.1,FALSE,\"c bau c\"},-1,-2)", u"2"},
        {u"=XMATCH(\"Ind*\",{\"Albania\",\"Indonesia\",\"India\"},2,-1)", u"3"},
        {u"=XMATCH(42,{\"apple\",\"banana\"},3)", u"#N/A"},
        {u"=XMATCH(\"[A-Z][a-z]+y\",{\"Spain\",\"Germany\",\"Italy\"},3,-1)", u"3"},
        {u"=XMATCH(\"^g\",{\"Spain\",\"Germany\"},3)", u"#N/A"},   // case counts
        {u"=XMATCH(\"(a\",{\"a\"},3)", u"#VALUE!"},
        {u"=XMATCH(\"^1.5$\",{\"x\",1.5,TRUE},3)", u"2"},   // numbers by their text
        {u"=XMATCH(\"(a+)+b\",{\"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaac\"},3)", u"#VALUE!"},
    };
    expectAll(cases, [&](auto f) { return shownOf(f); });
}

TEST_F(Xlookup, ResultsAreRowsOfTheReturnArrayAndStayReferences) {
    fill(u"E1", {u"k1\t1\t2", u"k2\t3\t4"});
    const Case cases[] = {
        {u"=XLOOKUP(\"k2\",E1:E2,F1:G2)", u"3,4"},
        {u"=XLOOKUP(2,{1,2},{\"a\",\"b\";\"c\",\"d\"})", u"b;d"},
        {u"=SUM(XLOOKUP(\"k2\",E1:E2,F1:G2))", u"7"},
        {u"=SUM(F1:XLOOKUP(\"k2\",E1:E2,G1:G2))", u"10"},
        {u"=XLOOKUP({\"k2\",\"k1\",\"k3\"},E1:E2,F1:F2,0)", u"3,1,0"},
    };
    expectAll(cases, [&](auto f) { return spilled(f); });
}

}  // namespace
}  // namespace kes::calc::testing
