// Distributions: values against references computed to 30 digits, far tails and large
// parameters where a careless formula loses its digits, inverses that must land back on the
// point they came from, and the argument checks of each function.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

class Distributions : public CalcFixture {};

TEST_F(Distributions, ValuesMatchReferencesToTheLastDigits) {
    const struct {
        std::u16string_view formula;
        double expected;
    } cases[] = {
        {u"=NORM.DIST(1.5,1,2,TRUE)", 0.59870632568292372},
        {u"=NORMDIST(1.5,1,2,FALSE)", 0.1933340584014246},
        {u"=NORM.S.DIST(-30,TRUE)", 4.9067139271481871e-198},
        {u"=NORMSINV(1E-200)", -30.205594179579643},
        {u"=NORM.INV(0.975,10,3)", 15.879891953620163},
        {u"=LOGNORM.DIST(2,0.5,1.2,TRUE)", 0.56393596581186732},
        {u"=LOGINV(0.3,0.5,1.2)", 0.87872734665093638},
        {u"=GAUSS(0.001)", 0.00039894221391106258},
        {u"=CHISQ.DIST(3,4,TRUE)", 0.44217459962892543},
        {u"=CHIDIST(1500,1000)", 1.0454640385979657e-22},
        {u"=CHISQ.DIST(0.5,3,FALSE)", 0.21969564473386118},
        {u"=CHISQ.INV(0.01,100)", 70.064894925399799},
        {u"=CHIINV(0.01,100)", 135.80672317102678},
        {u"=GAMMA.DIST(150,100,1.5,TRUE)", 0.51329879827914866},
        {u"=GAMMADIST(2,3,2,FALSE)", 0.09196986029286058},
        {u"=GAMMA.INV(0.7,2.5,3)", 9.0966449762323573},
        {u"=GAMMALN(0.3)", 1.0957979948180756},
        {u"=GAMMA(-2.5)", -0.94530872048294188},
        {u"=GAMMA(0.5)", 1.772453850905516},
        {u"=BETA.DIST(0.3,2.5,4,TRUE)", 0.35219758590676724},
        {u"=BETADIST(7,2.5,4,5,10)", 0.55580192155119435},
        {u"=BETA.DIST(0.3,2.5,4,FALSE)", 2.03426725306907},
        {u"=BETA.INV(0.2,3,5)", 0.22832646434983919},
        {u"=T.DIST(-2.5,7,TRUE)", 0.020496109292876448},
        {u"=T.DIST(0.8,1000000,TRUE)", 0.78814450639779401},
        {u"=T.DIST.2T(40,3)", 3.4380680789158528e-5},
        {u"=T.INV(0.995,4)", 4.6040948713499932},
        {u"=F.DIST(2.5,4,30,TRUE)", 0.93652356020174921},
        {u"=FDIST(30,5,8)", 5.5741527025625807e-5},
        {u"=F.INV(0.9,6,11)", 2.3890665616932564},
        {u"=BINOM.DIST(3,10,0.25,FALSE)", 0.25028228759765625},
        {u"=BINOMDIST(3,10,0.25,TRUE)", 0.77587509155273438},
        {u"=BINOM.DIST(480,1000,0.5,TRUE)", 0.10872414660207047},
        {u"=POISSON.DIST(7,4.5,TRUE)", 0.91341352835264398},
        {u"=POISSON(7,4.5,FALSE)", 0.082362949627232556},
        {u"=NEGBINOM.DIST(10,5,0.25,FALSE)", 0.05504866037517786},
        {u"=NEGBINOM.DIST(10,5,0.25,TRUE)", 0.31351405847817659},
        {u"=HYPGEOMDIST(1,4,8,20)", 0.36326109391124871},
        {u"=HYPGEOM.DIST(1,4,8,20,TRUE)", 0.46542827657378741},
        {u"=WEIBULL.DIST(105,20,100,TRUE)", 0.92958139006927678},
        {u"=WEIBULL(105,20,100,FALSE)", 0.035588864024504382},
        {u"=EXPON.DIST(0.2,10,TRUE)", 0.86466471676338731},
        {u"=CONFIDENCE(0.05,2.5,50)", 0.69295191217483897},
        {u"=CONFIDENCE.T(0.05,2,16)", 1.06572477277989},
        {u"=T.DIST.RT(-1,3)", 0.804498890522115},
        {u"=BINOM.DIST.RANGE(60,0.75,45,50)", 0.523629793471887},
        {u"=BINOM.DIST.RANGE(60,0.75,48)", 0.0839749674290475},
        {u"=BINOM.DIST(200,1000,0.01,FALSE)", 2.1321955003017338e-188},
    };
    for (const auto& c : cases) EXPECT_TRUE(closeTo(number(c.formula), c.expected)) << narrow(c.formula);
}

TEST_F(Distributions, InversesReturnThePointTheirDistributionCameFrom) {
    const std::u16string_view cases[] = {
        u"=CHISQ.INV(CHISQ.DIST(12.3,5,TRUE),5)",
        u"=CHISQ.INV.RT(CHISQ.DIST.RT(1E-4,3),3)",
        u"=CHISQ.INV.RT(CHISQ.DIST.RT(2.01E+6,2E+6),2E+6)",
        u"=F.INV.RT(F.DIST.RT(0.8,7,3),7,3)",
        u"=F.INV.RT(F.DIST.RT(40,2,1E+6),2,1E+6)",
        u"=T.INV(T.DIST(-3.3,2,TRUE),2)",
        u"=T.INV.2T(T.DIST.2T(12,1),1)",
        u"=TINV(TDIST(0.25,30,2),30)",
        u"=GAMMAINV(GAMMA.DIST(0.02,0.3,4,TRUE),0.3,4)",
        u"=BETAINV(BETA.DIST(0.001,0.5,8,TRUE),0.5,8)",
        u"=NORM.S.INV(NORM.S.DIST(-7.5,TRUE))",
        u"=LOGNORM.INV(LOGNORM.DIST(3,1,0.5,TRUE),1,0.5)",
    };
    const double points[] = {12.3, 1e-4, 2.01e6, 0.8, 40, -3.3, 12, 0.25, 0.02, 0.001, -7.5, 3};
    for (size_t i = 0; i < std::size(cases); ++i) {
        // The round trip through a probability keeps about as many digits as the slope allows.
        const double x = number(cases[i]);
        EXPECT_NEAR(x, points[i], 1e-9 * std::fabs(points[i])) << narrow(cases[i]);
    }
}

TEST_F(Distributions, ArgumentsOutOfTheirDomainGiveExcelsError) {
    const struct {
        std::u16string_view formula, shown;
    } cases[] = {
        {u"=NORM.DIST(1,0,0,TRUE)", u"#NUM!"},
        {u"=NORM.DIST(1,0,-1,\"x\")", u"#VALUE!"},   // every argument read before any is checked
        {u"=NORM.INV(1,0,1)", u"#NUM!"},
        {u"=NORM.S.INV(0)", u"#NUM!"},
        {u"=LOGNORM.DIST(0,0,1,TRUE)", u"#NUM!"},
        {u"=EXPON.DIST(-1,1,TRUE)", u"#NUM!"},
        {u"=EXPON.DIST(1,0,TRUE)", u"#NUM!"},
        {u"=CHISQ.DIST(1,0.9,TRUE)", u"#NUM!"},      // degrees of freedom truncated to 0
        {u"=CHISQ.DIST(1,1E+11,TRUE)", u"#NUM!"},
        {u"=CHISQ.DIST(0,2,FALSE)", u"0.5"},
        {u"=CHISQ.DIST(0,1,FALSE)", u"#NUM!"},       // the density is infinite there
        {u"=CHISQ.INV(0,3)", u"0"},
        {u"=CHISQ.INV(1.1,3)", u"#NUM!"},
        {u"=CHISQ.INV.RT(1,3)", u"0"},
        {u"=F.DIST(-1,2,3,TRUE)", u"#NUM!"},
        {u"=F.INV.RT(0,2,3)", u"#NUM!"},
        {u"=T.DIST(1,0,TRUE)", u"#NUM!"},
        {u"=T.DIST(0,0,FALSE)", u"#DIV/0!"},
        {u"=T.DIST.2T(-1,3)", u"#NUM!"},
        {u"=TDIST(1,3,3)", u"#NUM!"},
        {u"=T.INV(1,3)", u"#NUM!"},
        {u"=T.INV.2T(1,3)", u"0"},
        {u"=GAMMA(0)", u"#NUM!"},
        {u"=GAMMA(-3)", u"#NUM!"},
        {u"=GAMMA(172)", u"#NUM!"},
        {u"=GAMMA(6)", u"120"},
        {u"=GAMMALN(0)", u"#NUM!"},
        {u"=GAMMA.INV(0,2,1)", u"0"},
        {u"=GAMMA.INV(1,2,1)", u"#NUM!"},
        {u"=BETA.DIST(11,2,3,TRUE,5,10)", u"#NUM!"},
        {u"=BETA.DIST(0.5,2,3,TRUE,1,1)", u"#NUM!"},
        {u"=BETA.INV(0,2,3)", u"#NUM!"},
        {u"=BETA.INV(1,2,3,5,10)", u"10"},
        {u"=WEIBULL.DIST(0,0.5,1,FALSE)", u"#NUM!"},
        {u"=BINOM.DIST(11,10,0.5,TRUE)", u"#NUM!"},
        {u"=BINOM.DIST(2.9,10,0.5,FALSE)", u"0.0439453125"},   // successes truncated
        {u"=BINOM.DIST(1,10,1.5,TRUE)", u"#NUM!"},
        {u"=BINOM.DIST.RANGE(10,-1,0.2,\"TRUE\")", u"#VALUE!"},
        {u"=BINOM.DIST.RANGE(60,0.75,50,45)", u"#NUM!"},
        {u"=BINOM.INV(6,0.5,0.75)", u"4"},
        {u"=CRITBINOM(6,0.5,0)", u"0"},
        {u"=BINOM.INV(1E+6,0.5,0.5)", u"500000"},
        {u"=HYPGEOM.DIST(0,0,0,0,TRUE)", u"1"},
        {u"=HYPGEOM.DIST(0,2,3,3,TRUE)", u"0"},       // a sample of 2 from 3 successes holds 2
        {u"=HYPGEOM.DIST(3,2,3,3,TRUE)", u"#NUM!"},
        {u"=HYPGEOM.DIST(1,5,3,4,FALSE)", u"#NUM!"},
        {u"=NEGBINOM.DIST(1,0,0.5,TRUE)", u"#NUM!"},
        {u"=NEGBINOM.DIST(1,1,0,TRUE)", u"#NUM!"},
        {u"=POISSON.DIST(-1,2,TRUE)", u"#NUM!"},
        {u"=POISSON.DIST(3,0,TRUE)", u"1"},
        {u"=PERMUT(10,3)&\",\"&PERMUT(10.9,3.9)", u"720,720"},
        {u"=PERMUT(0,0)", u"#NUM!"},
        {u"=PERMUT(3,4)", u"#NUM!"},
        {u"=PERMUT(1000,200)", u"#NUM!"},
        {u"=PERMUTATIONA(0,0)&\",\"&PERMUTATIONA(0,2)&\",\"&PERMUTATIONA(3,2)", u"1,0,9"},
        {u"=FISHER(1)", u"#NUM!"},
        {u"=FISHER(0.75)", u"0.972955074527657"},
        {u"=FISHERINV(0.972955074527657)", u"0.75"},
        {u"=PHI(0.75)", u"0.301137432154804"},
        {u"=CONFIDENCE.NORM(0,1,10)", u"#NUM!"},
        {u"=CONFIDENCE.T(0.05,1,1)", u"#DIV/0!"},
        {u"=CONFIDENCE.T(0.05,1,0.5)", u"#NUM!"},
    };
    for (const auto& c : cases) EXPECT_EQ(shown(c.formula), c.shown) << narrow(c.formula);
}

TEST_F(Distributions, ArraysOfArgumentsGiveArraysOfResults) {
    EXPECT_EQ(shown(u"=SUM(PERMUT({4,5},2))"), u"32");
    EXPECT_TRUE(closeTo(number(u"=SUM(BINOM.DIST({0,1,2,3},3,0.4,FALSE))"), 1));
}

TEST_F(Distributions, ExtremeArgumentsFinishWithAnAnswer) {
    // No hang and no crash: each gives a number or an error.
    const std::u16string_view cases[] = {
        u"=CHISQ.INV(0.5,1E+10)",       u"=T.INV(1E-300,1)",          u"=F.INV(0.999999,1,1E+10)",
        u"=GAMMA.INV(0.5,1E+300,1)",   u"=BETA.INV(0.5,1E-300,1E+300)", u"=BINOM.DIST(5E+8,1E+9,0.5,TRUE)",
        u"=HYPGEOM.DIST(5E+8,1E+9,1E+9,2E+9,TRUE)", u"=POISSON.DIST(1E+9,1E+9,TRUE)", u"=NORM.S.INV(1E-320)",
        u"=T.DIST(1E+300,1E+300,TRUE)", u"=GAMMALN(1E+307)",  u"=BINOM.INV(1E+15,0.3,0.6)",
    };
    for (std::u16string_view formula : cases) {
        const CellValue v = result(formula);
        EXPECT_TRUE(v.type == cdtError || std::isfinite(v.asFloat())) << narrow(formula);
    }
}

}  // namespace
}  // namespace kes::calc::testing
