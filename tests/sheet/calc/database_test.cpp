// Database functions: the records a criteria range selects (all conditions of a row, any row,
// texts by their beginning, formulas computed for each record) and what each function makes of
// the field's values there.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

class Database : public CalcFixture {
protected:
    Database() {
        fill(u"A1", {u"Tree\tHeight\tAge\tYield", u"Apple\t18\t20\t14", u"Pear\t12\t12\t10", u"Cherry\t13\t14\t9",
                     u"Apple\t14\t15\t10", u"Pear\t9\t8\t8", u"Apple\t8\t9\t6", u"Applewood\tn/a\t\t#N/A"});
    }
    std::u16string with(std::initializer_list<std::u16string_view> criteria, std::u16string_view formula) {
        fill(u"G1", criteria);
        return shown(formula);
    }
};

TEST_F(Database, CriteriaRowsAskForAllTheirConditionsAndAnyRow) {
    const struct {
        std::initializer_list<std::u16string_view> criteria;
        std::u16string_view formula, shown;
    } cases[] = {
        {{u"Tree\tHeight", u"=\"=Apple\"\t>10"}, u"=DAVERAGE(A1:D7,\"Yield\",G1:H2)", u"12"},
        {{u"Tree", u"=\"=Apple\"", u"=\"=Pear\""}, u"=DSUM(A1:D8,4,G1:G3)", u"48"},
        {{u"Tree", u"Apple"}, u"=DCOUNTA(A1:D8,\"Tree\",G1:G2)", u"4"},          // Apple begins Applewood
        {{u"Tree", u"=\"=apple\""}, u"=DCOUNTA(A1:D8,\"Tree\",G1:G2)", u"3"},
        {{u"Tree", u"*pp*"}, u"=DCOUNTA(A1:D8,\"Tree\",G1:G2)", u"4"},
        {{u"Tree", u"<>Apple"}, u"=DCOUNTA(A1:D8,\"Tree\",G1:G2)", u"4"},
        {{u"HEIGHT", u"<13"}, u"=DSUM(A1:D8,\"yield\",G1:G2)", u"24"},
        {{u"Height\tHeight", u">=9\t<13"}, u"=DCOUNT(A1:D8,\"Height\",G1:H2)", u"2"},
        {{u"Age", u"20"}, u"=DGET(A1:D8,\"Tree\",G1:G2)", u"Apple"},
        {{u"Tree", u""}, u"=DCOUNTA(A1:D8,1,G1:G2)", u"7"},                 // an empty condition takes all
        {{u"Tree\tAge", u"Pear\t", u"\t>14"}, u"=DSUM(A1:D8,\"Age\",G1:H3)", u"55"},
        {{u"Nothing", u"x"}, u"=DCOUNTA(A1:D8,1,G1:G2)", u"0"},              // a condition on no field
        {{u"Tree", u"=\"=Apple\""}, u"=DCOUNT(A1:D8,,G1:G2)", u"3"},              // no field: the records
        {{u"Tree", u"=\"=Apple\""}, u"=DCOUNT(A1:D8,0,G1:G2)", u"3"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(with(c.criteria, c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
        for (int32_t r = 0; r < 4; ++r) {
            for (int32_t col = 6; col < 9; ++col) book.sheet(0).deleteCell(r, col);
        }
    }
}

TEST_F(Database, ComputedCriteriaRunForEachRecord) {
    // A formula under a header that names no field, written for the first record. (A text
    // condition such as =Apple is typed as the formula ="=Apple".)
    EXPECT_EQ(with({u"Young", u"=B2<C2"}, u"=DCOUNTA(A1:D7,1,G1:G2)"), u"4");
    EXPECT_EQ(with({u"", u"=B2>AVERAGE($B$2:$B$7)"}, u"=DSUM(A1:D7,\"Yield\",G1:G2)"), u"33");
}

TEST_F(Database, EachFunctionOverTheSelectedValues) {
    fill(u"G1", {u"Tree", u"=\"=Apple\""});
    fill(u"H1", {u"Tree", u"Cherry"});
    fill(u"I1", {u"Tree", u"=\"=Plum\""});
    fill(u"J1", {u"Tree", u"Applewood"});
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=DSUM(A1:D8,\"Height\",G1:G2)", u"40"},
        {u"=DPRODUCT(A1:D8,\"Yield\",G1:G2)", u"840"},
        {u"=DMAX(A1:D8,\"Height\",G1:G2)&\",\"&DMIN(A1:D8,\"Height\",G1:G2)", u"18,8"},
        {u"=DMAX(A1:D8,\"Height\",I1:I2)&DPRODUCT(A1:D8,\"Height\",I1:I2)", u"00"},
        {u"=DAVERAGE(A1:D8,\"Height\",I1:I2)", u"#DIV/0!"},
        {u"=ROUND(DSTDEV(A1:D8,\"Age\",G1:G2),6)", u"5.507571"},
        {u"=ROUND(DSTDEVP(A1:D8,\"Age\",G1:G2),6)", u"4.496913"},
        {u"=ROUND(DVAR(A1:D8,\"Age\",G1:G2),6)", u"30.333333"},
        {u"=ROUND(DVARP(A1:D8,\"Age\",G1:G2),6)", u"20.222222"},
        {u"=DVAR(A1:D8,\"Age\",H1:H2)", u"#DIV/0!"},
        {u"=DVARP(A1:D8,\"Age\",H1:H2)", u"0"},
        {u"=DCOUNT(A1:D8,\"Height\",J1:J2)&DCOUNTA(A1:D8,\"Height\",J1:J2)", u"01"},   // a text counts in DCOUNTA
        {u"=DGET(A1:D8,\"Age\",H1:H2)", u"14"},
        {u"=DGET(A1:D8,\"Age\",G1:G2)", u"#NUM!"},
        {u"=DGET(A1:D8,\"Age\",I1:I2)", u"#VALUE!"},
        {u"=DSUM(A1:D8,\"Yield\",J1:J2)", u"#N/A"},                 // an error among the values
        {u"=DSUM(A1:D8,\"Width\",G1:G2)", u"#VALUE!"},
        {u"=DSUM(A1:D8,5,G1:G2)", u"#VALUE!"},
        {u"=DSUM(A1:D8,2.9,G1:G2)", u"40"},
        {u"=DSUM(A1:D8,\"Height\",5)", u"#VALUE!"},
        {u"=DSUM(A:D,\"Height\",G1:G2)", u"40"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

}  // namespace
}  // namespace kes::calc::testing
