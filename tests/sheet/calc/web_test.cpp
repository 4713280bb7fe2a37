// Functions of the outside world: ENCODEURL computes; the services that are not there give the
// error Excel gives without them, after the errors of their own arguments.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

class Web : public CalcFixture {};

TEST_F(Web, EncodeUrlAndServicesThatAreNotThere) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=ENCODEURL(\"a b&c=d/é~_.-\")", u"a%20b%26c%3Dd%2F%C3%A9~_.-"},
        {u"=ENCODEURL(1.5)", u"1.5"},
        {u"=ENCODEURL(1/0)", u"#DIV/0!"},
        {u"=WEBSERVICE(\"https://example.com\")", u"#VALUE!"},
        {u"=FILTERXML(\"<a>1</a>\",\"//a\")", u"#VALUE!"},
        {u"=RTD(\"prog\",,\"topic\")", u"#N/A"},
        {u"=CUBEVALUE(\"Sales\",\"[Year].[2024]\")", u"#NAME?"},
        {u"=CUBESETCOUNT(\"set\")", u"#VALUE!"},
        {u"=CUBEMEMBER(#N/A,\"x\")", u"#N/A"},
        {u"=STOCKHISTORY(\"MSFT\",45000)", u"#VALUE!"},
        {u"=TRANSLATE(\"hello\",\"en\",\"de\")", u"#VALUE!"},
        {u"=EUROCONVERT(1,\"DEM\",\"EUR\")", u"#NAME?"},
        {u"=CALL(\"user32\",\"MessageBoxA\",\"JJCCJ\",0,\"x\",\"y\",0)", u"#VALUE!"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
}

}  // namespace
}  // namespace kes::calc::testing
