// Text functions: the rules of Excel a plausible slip would break — blank against "" against 0,
// numbers and booleans read as text, counts out of range, which error wins, texts past 32,767
// characters, bytes of a Chinese code page, and the numerals a Chinese Excel writes.
#include "calc_fixture.h"
#include "sheet/calc/functions.h"

namespace kes::calc::testing {
namespace {

struct Case {
    std::u16string_view formula, shown;
};

class Text : public CalcFixture {
protected:
    Text() {
        fill(u"A1", {u"10\tapple\tTRUE", u"2.5\t\tFALSE", u"=1/0\t=\"5\"\t\u4E2D\u6587ab", u"\t=\"\"\t=NA()"});
    }

    void expect(std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
        }
    }
};

TEST_F(Text, PiecesCountCharactersOfTheValueAsText) {
    expect({
        {u"=LEFT(B1,2)&RIGHT(B1)&MID(B1,2,3)", u"apeppl"},
        {u"=LEFT(A2,2)&\"|\"&RIGHT(C1,2)&\"|\"&LEN(A4)", u"2.|UE|0"},   // numbers, booleans, blank
        {u"=LEN(C2)&LEN(B4)&LEN(1/4)", u"504"},
        {u"=MID(B1,9,2)&\"|\"&MID(B1,1,0)&\"|\"&LEFT(B1,99)", u"||apple"},
        {u"=LEFT(B1,-1)", u"#VALUE!"},
        {u"=MID(B1,0,1)", u"#VALUE!"},
        {u"=MID(B1,0,A3)", u"#DIV/0!"},   // an error in an argument wins over a position out of range
        {u"=LEFT(B1,TRUE)", u"a"},
        {u"=LEFT(A3)", u"#DIV/0!"},
        {u"=LEFT(B1,\"x\")", u"#VALUE!"},
        {u"=INDEX(LEFT({\"ab\",\"cd\"},1),2)", u"c"},   // element by element over an array
    });
}

TEST_F(Text, CaseSpacesAndControlCharacters) {
    expect({
        {u"=UPPER(\"\u00E9t\u00E9 \u0434a\")&LOWER(\"\uFF21B\")", u"\u00C9T\u00C9 \u0414A\uFF41b"},
        {u"=PROPER(\"it's 76budget \u4E2Da-b\")", u"It'S 76Budget \u4E2DA-B"},
        {u"=\"[\"&TRIM(\"  a   b  \")&\"]\"", u"[a b]"},
        {u"=LEN(TRIM(\"\u3000a\u00A0\"))", u"3"},   // only the ASCII space is trimmed
        {u"=LEN(CLEAN(CHAR(9)&\"a\"&CHAR(31)&CHAR(127)))", u"2"},
        {u"=EXACT(\"Abc\",\"abc\")&EXACT(A1,\"10\")&EXACT(A4,\"\")", u"FALSETRUETRUE"},
        {u"=EXACT(A3,C4)", u"#DIV/0!"},
    });
}

TEST_F(Text, RepeatingAndJoiningStopAtTheLongestText) {
    expect({
        {u"=REPT(\"ab\",2.9)&\"|\"&REPT(\"ab\",0)", u"abab|"},
        {u"=REPT(\"x\",-1)", u"#VALUE!"},
        {u"=LEN(REPT(\"x\",32767))", u"32767"},
        {u"=REPT(\"xy\",16384)", u"#VALUE!"},
        {u"=CONCATENATE(REPT(\"x\",32767),\"y\")", u"#VALUE!"},
        {u"=CONCATENATE(A1,B2,C1)", u"10TRUE"},
        {u"=CONCAT(A1:C2)", u"10appleTRUE2.5FALSE"},   // every cell of a range, blanks as nothing
        {u"=CONCAT(A1:A3)", u"#DIV/0!"},
    });
}

TEST_F(Text, TextJoinSkipsEmptiesOnlyWhenAsked) {
    expect({
        {u"=TEXTJOIN(\",\",TRUE,A1:B2)", u"10,apple,2.5"},
        {u"=TEXTJOIN(\",\",FALSE,A1:B2)", u"10,apple,2.5,"},   // the blank cell B2 counts as ""
        {u"=TEXTJOIN(\",\",FALSE,A4:B4,\"x\")", u",,x"},
        {u"=TEXTJOIN(\",\",TRUE,A4:B4,\"x\")", u"x"},
        {u"=TEXTJOIN({\"-\",\"+\"},TRUE,1,2,3,4)", u"1-2+3-4"},   // delimiters taken in turn
        {u"=TEXTJOIN(\",\",TRUE,A1:A3)", u"#DIV/0!"},
        {u"=TEXTJOIN(\",\",\"maybe\",A1)", u"#VALUE!"},
        {u"=TEXTJOIN(\",\",TRUE,REPT(\"x\",20000),REPT(\"y\",20000))", u"#VALUE!"},
    });
}

TEST_F(Text, FindIsExactAndSearchIgnoresCaseWithWildcards) {
    expect({
        {u"=FIND(\"p\",B1)&FIND(\"p\",B1,3)&FIND(\"\",B1,6)", u"236"},
        {u"=FIND(\"P\",B1)", u"#VALUE!"},
        {u"=FIND(\"p\",B1,7)", u"#VALUE!"},
        {u"=FIND(\"p\",B1,0)", u"#VALUE!"},
        {u"=SEARCH(\"P?L\",B1)&SEARCH(\"*e\",B1)&SEARCH(\"~*\",\"a*b\")", u"212"},
        {u"=SEARCH(\"x\",B1)", u"#VALUE!"},
        {u"=FIND(\"1\",A1)&SEARCH(\"ru\",C1)", u"12"},
    });
}

TEST_F(Text, SubstituteAndReplace) {
    expect({
        {u"=SUBSTITUTE(\"a-b-c\",\"-\",\"+\")&\"|\"&SUBSTITUTE(\"a-b-c\",\"-\",\"+\",2)", u"a+b+c|a-b+c"},
        {u"=SUBSTITUTE(\"aaaa\",\"aa\",\"b\")", u"bb"},
        {u"=SUBSTITUTE(\"abc\",\"\",\"x\")&SUBSTITUTE(\"abc\",\"B\",\"x\")", u"abcabc"},
        {u"=SUBSTITUTE(\"abc\",\"b\",\"x\",0)", u"#VALUE!"},
        {u"=REPLACE(\"abcdef\",2,3,\"X\")&\"|\"&REPLACE(\"abc\",9,1,\"X\")&\"|\"&REPLACE(\"abc\",1,0,\"X\")",
         u"aXef|abcX|Xabc"},
        {u"=REPLACE(\"abc\",0,1,\"X\")", u"#VALUE!"},
        {u"=REPLACE(\"abc\",1,-1,\"X\")", u"#VALUE!"},
    });
}

TEST_F(Text, TextBeforeAndAfterCountDelimitersFromEitherEnd) {
    expect({
        {u"=TEXTBEFORE(\"a-b-c\",\"-\")&\"|\"&TEXTBEFORE(\"a-b-c\",\"-\",-1)", u"a|a-b"},
        {u"=TEXTAFTER(\"a-b-c\",\"-\",2)&\"|\"&TEXTAFTER(\"a-b-c\",\"-\",-2)", u"c|b-c"},
        {u"=TEXTAFTER(\"a1b2c\",{\"2\",\"1\"})", u"b2c"},   // whichever delimiter comes first
        {u"=TEXTBEFORE(\"aXbxc\",\"x\",,1)", u"a"},
        {u"=TEXTBEFORE(\"abc\",\"x\")", u"#N/A"},
        {u"=TEXTBEFORE(\"abc\",\"x\",,,,\"none\")", u"none"},
        {u"=TEXTBEFORE(\"a-b\",\"-\",2,,1)&\"|\"&TEXTAFTER(\"a-b\",\"-\",-2,,1)", u"a-b|a-b"},   // the ends count
        {u"=TEXTBEFORE(\"abc\",\"\")&\"|\"&TEXTAFTER(\"abc\",\"\")", u"|abc"},
        {u"=TEXTBEFORE(\"abc\",\"b\",0)", u"#VALUE!"},
        {u"=TEXTBEFORE(\"abc\",\"b\",4)", u"#VALUE!"},
        {u"=TEXTBEFORE(\"abc\",\"b\",1,2)", u"#VALUE!"},
    });
}

TEST_F(Text, TextSplitMakesRowsAndColumns) {
    expect({
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"a,b;c\",\",\",\";\"),1)", u"{\"a\",\"b\";\"c\",#N/A}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"a,,b\",\",\"),1)", u"{\"a\",\"\",\"b\"}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"a,,b\",\",\",,TRUE),1)", u"{\"a\",\"b\"}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"a;;b\",,\";\",TRUE),1)", u"{\"a\";\"b\"}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"1-2.3\",{\"-\",\".\"}),1)", u"{\"1\",\"2\",\"3\"}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"a,b;c\",\",\",\";\",,,\"-\"),1)", u"{\"a\",\"b\";\"c\",\"-\"}"},
        {u"=ARRAYTOTEXT(TEXTSPLIT(\"aXb\",\"x\",,,1),1)", u"{\"a\",\"b\"}"},
        {u"=TEXTSPLIT(\"abc\",\"\")", u"#VALUE!"},
        {u"=TEXTSPLIT(\"abc\",,)", u"#VALUE!"},
    });
}

// The code page is GBK, as on the Chinese Windows the product runs on.
TEST_F(Text, CodesAndBytesFollowTheCodePage) {
    expect({
        {u"=CHAR(65)&CHAR(65.9)&CHAR(128)&CHAR(176)", u"AA\u20AC\u00B0"},   // 128-255 as Windows-1252
        {u"=CHAR(41420)&CHAR(45217)", u"\u221A\u554A"},                      // √ 啊: GBK double bytes
        {u"=CHAR(0)", u"#VALUE!"},
        {u"=CHAR(256)", u"#VALUE!"},
        {u"=CODE(\"A\")&\",\"&CODE(\"\u20AC\")&\",\"&CODE(\"\u554A\")&\",\"&CODE(CHAR(41420))", u"65,128,45217,41420"},
        {u"=CODE(\"\")", u"#VALUE!"},
        {u"=CODE(TRUE)", u"84"},
        {u"=UNICHAR(20013)&UNICODE(\"\u4E2D\")&LEN(UNICHAR(128512))&UNICODE(UNICHAR(128512))", u"\u4E2D200132128512"},
        {u"=UNICHAR(55296)", u"#N/A"},   // a surrogate alone
        {u"=UNICHAR(0)", u"#VALUE!"},
        {u"=LEN(C3)&LENB(C3)", u"46"},
        {u"=LEFTB(C3,3)&\"|\"&RIGHTB(C3,3)&\"|\"&MIDB(C3,2,4)", u"\u4E2D | ab| \u6587a"},
        {u"=FINDB(\"a\",C3)&SEARCHB(\"B\",C3)&FINDB(\"\u6587\",C3,2)", u"563"},
        {u"=REPLACEB(C3,3,2,\"X\")", u"\u4E2DXab"},
        {u"=ASC(\"\uFF21\uFF42\u3000\uFF11\")&DBCS(\"a 1\")", u"Ab 1\uFF41\u3000\uFF11"},
    });
}

TEST_F(Text, TextFormatsThroughTheCellFormats) {
    expect({
        {u"=TEXT(1234.567,\"#,##0.00\")", u"1,234.57"},
        {u"=TEXT(\"1234\",\"0.0\")&\"|\"&TEXT(\"abc\",\"0.0\")&\"|\"&TEXT(TRUE,\"0.0\")", u"1234.0|abc|TRUE"},
        {u"=TEXT(A4,\"0.0\")&\"|\"&TEXT(5,\"\")&\"|\"&TEXT(\"x\",\"[@]\")", u"0.0||x"},
        {u"=TEXT(\"x\",\"\"\"<\"\"@\"\">\"\"\")", u"<x>"},
        {u"=TEXT(45300,\"yyyy-mm-dd ddd\")", u"2024-01-09 Tue"},
        {u"=TEXT(-1,\"yyyy\")", u"#VALUE!"},          // no such date
        {u"=TEXT(1,\"0\"\"x\")", u"#VALUE!"},           // a code Excel refuses
        {u"=TEXT(123,\"G/\u901A\u7528\u683C\u5F0F\")", u"123"},   // General as a Chinese Excel writes it
        {u"=TEXT(A3,\"0\")", u"#DIV/0!"},
    });
}

TEST_F(Text, FixedAndDollarRoundAndGroup) {
    expect({
        {u"=FIXED(1234.567)&\"|\"&FIXED(1234.567,1,TRUE)&\"|\"&FIXED(-1234.5,0)", u"1,234.57|1234.6|-1,235"},
        {u"=FIXED(1234.567,-2)&\"|\"&FIXED(0.5,0)&\"|\"&FIXED(1.005,2)", u"1,200|1|1.01"},
        {u"=FIXED(123456789012345678,0)", u"123,456,789,012,346,000"},   // 15 significant digits
        {u"=LEN(FIXED(1,127))", u"129"},
        {u"=FIXED(1,128)", u"#VALUE!"},
        {u"=FIXED(1,2,\"x\")", u"#VALUE!"},
        {u"=DOLLAR(1234.567)&\"|\"&DOLLAR(-0.5,0)", u"\u00A51,234.57|\u00A5-1"},
        {u"=USDOLLAR(-1234.5,1)", u"($1,234.5)"},
    });
}

TEST_F(Text, ValueAndNumberValueReadNumbers) {
    expect({
        {u"=VALUE(\"1,234.5\")+VALUE(\" 40% \")+VALUE(A4)", u"1234.9"},
        {u"=VALUE(\"2024-01-05\")&\"|\"&VALUE(\"12:00\")", u"45296|0.5"},
        {u"=VALUE(TRUE)", u"#VALUE!"},
        {u"=VALUE(\"abc\")", u"#VALUE!"},
        {u"=NUMBERVALUE(\"2.500,27\",\",\",\".\")", u"2500.27"},
        {u"=NUMBERVALUE(\" 1 000 \")&\"|\"&NUMBERVALUE(\"5%%\")&\"|\"&NUMBERVALUE(\"(1.5e2)%\")", u"1000|0.0005|-1.5"},
        {u"=NUMBERVALUE(\"\")", u"0"},
        {u"=NUMBERVALUE(\"1,2.5\",\".\",\",\")", u"12.5"},
        {u"=NUMBERVALUE(\"1.5,2\",\".\",\",\")", u"#VALUE!"},   // a group separator after the point
        {u"=NUMBERVALUE(\"1.5\",\".\",\".\")", u"#VALUE!"},   // the same separator twice
        {u"=NUMBERVALUE(\"1\",\"\")", u"#VALUE!"},
        {u"=NUMBERVALUE(\"--1\")", u"#VALUE!"},
    });
}

TEST_F(Text, ValueToTextAndArrayToTextQuoteTextsWhenStrict) {
    expect({
        {u"=VALUETOTEXT(\"a\"\"b\")&\"|\"&VALUETOTEXT(\"a\"\"b\",1)", u"a\"b|\"a\"\"b\""},
        {u"=VALUETOTEXT(A3)&\"|\"&VALUETOTEXT(C1,1)&\"|\"&VALUETOTEXT(A4,1)", u"#DIV/0!|TRUE|"},
        {u"=VALUETOTEXT(1,2)", u"#VALUE!"},
        {u"=ARRAYTOTEXT(A1:C2)", u"10, apple, TRUE, 2.5, , FALSE"},
        {u"=ARRAYTOTEXT(A1:B4,1)", u"{10,\"apple\";2.5,;#DIV/0!,\"5\";,\"\"}"},
        {u"=ARRAYTOTEXT(A4,1)", u"#VALUE!"},
        {u"=ARRAYTOTEXT(A1,-1)", u"#VALUE!"},
    });
}

TEST_F(Text, ChineseAndThaiNumerals) {
    expect({
        // 十二亿三千四百五十六万七千八百九十
        {u"=NUMBERSTRING(1234567890,1)",
         u"\u5341\u4E8C\u4EBF\u4E09\u5343\u56DB\u767E\u4E94\u5341\u516D\u4E07\u4E03\u5343\u516B\u767E\u4E5D\u5341"},
        {u"=NUMBERSTRING(123,2)", u"\u58F9\u4F70\u8D30\u62FE\u53C1"},    // 壹佰贰拾叁
        {u"=NUMBERSTRING(2026,3)", u"\u4E8C\u3007\u4E8C\u516D"},         // 二〇二六
        {u"=NUMBERSTRING(1001.6,1)&NUMBERSTRING(-10,2)",
         u"\u4E00\u5343\u3007\u4E8C\u8D1F\u58F9\u62FE"},                 // 一千〇二 负壹拾
        {u"=NUMBERSTRING(1,4)", u"#VALUE!"},
        {u"=DATESTRING(DATE(2026,1,5))", u"26\u5E7401\u670805\u65E5"},   // 26年01月05日
        {u"=DATESTRING(-1)", u"#NUM!"},
        {u"=BAHTTEXT(21.25)", u"\u0E22\u0E35\u0E48\u0E2A\u0E34\u0E1A\u0E40\u0E2D\u0E47\u0E14\u0E1A\u0E32\u0E17\u0E22"
                              u"\u0E35\u0E48\u0E2A\u0E34\u0E1A\u0E2B\u0E49\u0E32\u0E2A\u0E15\u0E32\u0E07\u0E04\u0E4C"},
        {u"=BAHTTEXT(-1)", u"\u0E25\u0E1A\u0E2B\u0E19\u0E36\u0E48\u0E07\u0E1A\u0E32\u0E17\u0E16\u0E49\u0E27\u0E19"},
    });
}

TEST_F(Text, RegularExpressionsTestExtractAndReplace) {
    expect({
        {u"=REGEXTEST(\"Mr. Holmes\",\"[A-Z]\\w+s$\")&REGEXTEST(\"abc\",\"B\")&REGEXTEST(\"abc\",\"B\",1)",
         u"TRUEFALSETRUE"},
        {u"=REGEXEXTRACT(\"a1b22c333\",\"\\d+\")", u"1"},
        {u"=ARRAYTOTEXT(REGEXEXTRACT(\"a1b22c333\",\"\\d+\",1),1)", u"{\"1\",\"22\",\"333\"}"},
        {u"=ARRAYTOTEXT(REGEXEXTRACT(\"k=v\",\"(\\w)=(\\w)\",2),1)", u"{\"k\",\"v\"}"},
        {u"=REGEXEXTRACT(\"abc\",\"\\d\")", u"#N/A"},
        {u"=REGEXEXTRACT(\"abc\",\"b\",2)", u"#VALUE!"},   // no groups to give
        {u"=REGEXEXTRACT(\"abc\",\"b\",3)", u"#VALUE!"},
        {u"=REGEXREPLACE(\"JamesBond\",\"([A-Z][a-z]+)([A-Z][a-z]+)\",\"$2, $1 $2\")", u"Bond, James Bond"},
        {u"=REGEXREPLACE(\"a1a2a3\",\"a\",\"-\",2)&\"|\"&REGEXREPLACE(\"a1a2a3\",\"a\",\"-\",-1)", u"a1-2a3|a1a2-3"},
        {u"=REGEXREPLACE(\"k=v\",\"(?<key>\\w)=(\\w)\",\"${key}:$$$2\")", u"k:$v"},
        {u"=REGEXREPLACE(\"abc\",\"b\",\"$2\")", u"#VALUE!"},   // no such group
        {u"=REGEXTEST(\"abc\",\"(\")", u"#VALUE!"},
        {u"=REGEXTEST(\"abc\",\"a\",2)", u"#VALUE!"},
        {u"=REGEXTEST(REPT(\"a\",40)&\"b\",\"^(a+)+$\")", u"#VALUE!"},   // runaway backtracking is stopped
        {u"=REGEXTEST(1.5,\"^1\\.5$\")&REGEXTEST(TRUE,\"^T\")", u"TRUETRUE"},
    });
}

TEST_F(Text, PhoneticJoinsTheTextsTypedInARange) {
    fill(u"E1", {u"\u5F20\tx", u"3\t=\"y\""});
    expect({
        {u"=PHONETIC(E1:F2)", u"\u5F20x"},
        {u"=PHONETIC(\"abc\")", u"abc"},
    });
}

TEST_F(Text, ValueArgumentsIntersectAndRangeArgumentsJoin) {
    set(u"E2", u"=CONCATENATE(A1:A3,\"|\",B1:B3)");   // row 2 of each range
    set(u"E5", u"=UPPER(B1:B3)");                       // no row 5 in the range
    set(u"E6", u"=TEXTJOIN(\",\",FALSE,B:B)");          // a million blanks joined pass the longest text
    EXPECT_EQ(cellAt(u"E2", false).displayText(), u"2.5|");
    EXPECT_EQ(cellAt(u"E5", false).displayText(), u"#VALUE!");
    EXPECT_EQ(cellAt(u"E6", false).displayText(), u"#VALUE!");
    expect({
        {u"=TEXTJOIN(\",\",TRUE,B:B)", u"apple,5"},
        {u"=ARRAYTOTEXT(UPPER({\"a\",\"b\";\"c\",\"d\"}),1)", u"{\"A\",\"B\";\"C\",\"D\"}"},
        {u"=ARRAYTOTEXT(MID(\"abc\",{1;2;3},1),1)", u"{\"a\";\"b\";\"c\"}"},
        {u"=ARRAYTOTEXT(REPT(\"x\",{1,2,-1}))", u"x, xx, #VALUE!"},
    });
}

TEST_F(Text, RegularExpressionsEdgeCases) {
    expect({
        {u"=REGEXREPLACE(\"abc\",\"\",\"-\")", u"-a-b-c-"},   // an empty match at every place
        {u"=REGEXREPLACE(\"abc\",\"B\",\"x\",,1)&REGEXREPLACE(\"abc\",\"b\",\"x\",5)", u"axcabc"},
        {u"=ARRAYTOTEXT(REGEXEXTRACT(\"a1 b2\",\"([a-z])(\\d)?\",1),1)", u"{\"a1\",\"b2\"}"},
        {u"=ARRAYTOTEXT(REGEXEXTRACT(\"x\",\"(x)(y)?\",2),1)", u"{\"x\",\"\"}"},   // a group that took no part
        {u"=REGEXEXTRACT(\"\u4E2D\u6587abc\",\"\\p{Han}+\")", u"\u4E2D\u6587"},
        {u"=REGEXTEST(\"\",\"^$\")&REGEXTEST(A4,\"^$\")", u"TRUETRUE"},
        {u"=REGEXTEST(A3,\"x\")", u"#DIV/0!"},
    });
}

// .xls files call functions by Excel's numbers and .xlsx files write newer ones with _xlfn.: a
// wrong number or prefix loads another function or none.
TEST(TextAndDateFunctions, FilesNameThemAsExcelDoes) {
    const struct {
        std::u16string_view name;
        uint16_t biffId;
    } numbered[] = {
        {u"DOLLAR", 13},     {u"FIXED", 14},      {u"MID", 31},        {u"LEN", 32},       {u"VALUE", 33},
        {u"TEXT", 48},       {u"DATE", 65},       {u"TIME", 66},       {u"DAY", 67},       {u"MONTH", 68},
        {u"YEAR", 69},       {u"WEEKDAY", 70},    {u"HOUR", 71},       {u"MINUTE", 72},    {u"SECOND", 73},
        {u"NOW", 74},        {u"SEARCH", 82},     {u"CHAR", 111},      {u"LOWER", 112},    {u"UPPER", 113},
        {u"PROPER", 114},    {u"LEFT", 115},      {u"RIGHT", 116},     {u"EXACT", 117},    {u"TRIM", 118},
        {u"REPLACE", 119},   {u"SUBSTITUTE", 120}, {u"CODE", 121},     {u"FIND", 124},     {u"DATEVALUE", 140},
        {u"TIMEVALUE", 141}, {u"CLEAN", 162},     {u"USDOLLAR", 204},  {u"FINDB", 205},    {u"SEARCHB", 206},
        {u"REPLACEB", 207},  {u"LEFTB", 208},     {u"RIGHTB", 209},    {u"MIDB", 210},     {u"LENB", 211},
        {u"ASC", 214},       {u"DBCS", 215},      {u"TODAY", 221},     {u"CONCATENATE", 336}, {u"DATEDIF", 351},
        {u"DATESTRING", 352}, {u"NUMBERSTRING", 353}, {u"PHONETIC", 360}, {u"BAHTTEXT", 368}, {u"REPT", 30},
    };
    for (const auto& f : numbered) {
        const FunctionSpec* spec = functionOfBiffId(f.biffId);
        ASSERT_TRUE(spec) << f.biffId;
        EXPECT_EQ(spec->name, f.name) << f.biffId;
        EXPECT_FALSE(spec->flags & (kFilePrefix | kAddIn)) << f.biffId;
    }
    for (std::u16string_view name : {u"EDATE", u"EOMONTH", u"WEEKNUM", u"WORKDAY", u"NETWORKDAYS"}) {
        const FunctionSpec* spec = findFunction(name);
        ASSERT_TRUE(spec);
        EXPECT_TRUE((spec->flags & kAddIn) && spec->biffId == kNoBiffId) << std::string(name.begin(), name.end());
    }
    for (std::u16string_view name : {u"CONCAT", u"TEXTJOIN", u"NUMBERVALUE", u"UNICHAR", u"UNICODE", u"TEXTBEFORE",
                                     u"TEXTAFTER", u"TEXTSPLIT", u"VALUETOTEXT", u"ARRAYTOTEXT", u"REGEXTEST",
                                     u"REGEXEXTRACT", u"REGEXREPLACE", u"DAYS", u"ISOWEEKNUM", u"WORKDAY.INTL",
                                     u"NETWORKDAYS.INTL"}) {
        const FunctionSpec* spec = findFunction(name);
        ASSERT_TRUE(spec);
        EXPECT_TRUE((spec->flags & kFilePrefix) && spec->biffId == kNoBiffId) << std::string(name.begin(), name.end());
    }
    EXPECT_TRUE(findFunction(u"NOW")->flags & kVolatile);
    EXPECT_TRUE(findFunction(u"TODAY")->flags & kVolatile);
}

}  // namespace
}  // namespace kes::calc::testing
