// The special functions under the distributions, against values computed to 40 digits, in the
// regimes where each takes another path: small and large parameters, both sides of the switch
// between series and continued fraction, and tails far below 1.
#include <gtest/gtest.h>

#include <cmath>
#include <string_view>

#include "sheet/calc/functions/special_functions.h"

namespace kes::calc::special {
namespace {

double evaluate(std::string_view kind, const double* a) {
    if (kind == "gamma") return gamma(a[0]);
    if (kind == "logGamma") return logGamma(a[0]);
    if (kind == "logBeta") return logBeta(a[0], a[1]);
    if (kind == "lower") return lowerGamma(a[0], a[1]);
    if (kind == "upper") return upperGamma(a[0], a[1]);
    if (kind == "beta") return incompleteBeta(a[0], 1 - a[0], a[1], a[2]);
    if (kind == "betaC") return incompleteBetaComplement(a[0], 1 - a[0], a[1], a[2]);
    if (kind == "normalCdf") return normalCdf(a[0]);
    if (kind == "binomial") return binomialProbability(a[0], a[1], a[2], 1 - a[2]);
    return poissonProbability(a[0], a[1]);
}

TEST(SpecialFunctions, MatchHighPrecisionReferencesInEveryRegime) {
    const struct {
        std::string_view kind;
        double arguments[3];
        double expected;
    } cases[] = {
        {"gamma", {0.3}, 2.9915689876875907},
        {"gamma", {4.5}, 11.631728396567449},
        {"gamma", {14.9}, 66744117447.590815},
        {"gamma", {15.0}, 87178291200.0},
        {"gamma", {171.2}, 2.0285135805156115e+307},
        {"gamma", {-2.5}, -0.94530872048294188},
        {"gamma", {1e-08}, 99999999.422784345},
        {"logGamma", {1e-05}, 11.512919692895826},
        {"logGamma", {0.5}, 0.57236494292470009},
        {"logGamma", {1.0}, 0.0},
        {"logGamma", {2.5}, 0.28468287047291916},
        {"logGamma", {12.0}, 17.502307845873886},
        {"logGamma", {100.0}, 359.1342053695754},
        {"logGamma", {1000000.0}, 12815504.569147612},
        {"logBeta", {0.5, 1000000.0}, -6.335390211057437},
        {"logBeta", {300.0, 400.0}, -479.688451037132},
        {"logBeta", {2.0, 3.0}, -2.4849066497880003},
        {"lower", {0.5, 0.01}, 0.11246291601828489},
        {"upper", {0.5, 0.01}, 0.88753708398171511},
        {"lower", {3.0, 2.0}, 0.32332358381693654},
        {"upper", {3.0, 2.0}, 0.67667641618306346},
        {"lower", {3.0, 8.0}, 0.98624603225599701},
        {"upper", {3.0, 8.0}, 0.013753967744002985},
        {"lower", {50.0, 35.0}, 0.0098455024764085416},
        {"upper", {50.0, 35.0}, 0.99015449752359146},
        {"lower", {50.0, 70.0}, 0.99485949754149411},
        {"upper", {50.0, 70.0}, 0.0051405024585058939},
        {"lower", {500.0, 450.0}, 0.010717238091289742},
        {"upper", {500.0, 450.0}, 0.98928276190871026},
        {"lower", {500.0, 600.0}, 0.99998774405766938},
        {"upper", {500.0, 600.0}, 1.2255942330622904e-5},
        {"lower", {3000.0, 2900.0}, 0.032859991921120974},
        {"upper", {3000.0, 2900.0}, 0.96714000807887903},
        {"upper", {0.5, 700.0}, 2.1010145162642175e-306},
        {"beta", {0.3, 2.0, 3.0}, 0.34829999999999998},
        {"betaC", {0.3, 2.0, 3.0}, 0.65170000000000002},
        {"beta", {0.001, 0.5, 0.5}, 0.020135041633377491},
        {"betaC", {0.001, 0.5, 0.5}, 0.97986495836662251},
        {"beta", {0.9, 20.0, 30.0}, 1.0},
        {"betaC", {0.9, 20.0, 30.0}, 2.7314997305471277e-18},
        {"beta", {0.2, 100.0, 0.5}, 7.9762895539849518e-72},
        {"betaC", {0.2, 100.0, 0.5}, 1.0},
        {"beta", {0.6, 2000.0, 1500.0}, 0.99970465281597426},
        {"betaC", {0.6, 2000.0, 1500.0}, 0.00029534718402574403},
        {"beta", {0.999, 3.0, 200.0}, 1.0},
        {"normalCdf", {-37.5}, 4.6053530095819548e-308},
        {"normalCdf", {-5.0}, 2.8665157187919391e-7},
        {"normalCdf", {-0.5}, 0.3085375387259869},
        {"normalCdf", {0.0}, 0.5},
        {"normalCdf", {1.5}, 0.93319279873114193},
        {"normalCdf", {8.0}, 0.99999999999999938},
        {"binomial", {0.0, 1000.0, 0.001}, 0.36769542477096404},
        {"binomial", {3.0, 10.0, 0.25}, 0.25028228759765625},
        {"binomial", {4000.0, 10000.0, 0.4}, 0.0081431603065945338},
        {"binomial", {123.0, 100000.0, 0.001}, 0.0030565039266842666},
        {"poisson", {0.0, 3.5}, 0.030197383422318501},
        {"poisson", {7.0, 4.5}, 0.082362949627232556},
        {"poisson", {1000.0, 1000.0}, 0.0126146113487215},
    };
    for (const auto& c : cases) {
        const double actual = evaluate(c.kind, c.arguments);
        EXPECT_NEAR(actual, c.expected, 1e-13 * std::fabs(c.expected)) << c.kind << "(" << c.arguments[0] << ", " << c.arguments[1] << ")";
    }
}

TEST(SpecialFunctions, PolesAndParametersOutOfReachAreNaN) {
    EXPECT_TRUE(std::isnan(gamma(0)));
    EXPECT_TRUE(std::isnan(gamma(-4)));
    EXPECT_TRUE(std::isnan(lowerGamma(1e12, 1e12)));
    EXPECT_TRUE(std::isnan(upperGamma(2, std::nan(""))));
    EXPECT_TRUE(std::isnan(incompleteBeta(0.5, 0.5, 1e300, 2)));
    EXPECT_TRUE(std::isnan(normalQuantile(0)));
    EXPECT_TRUE(std::isnan(normalQuantile(1)));
}

TEST(SpecialFunctions, RootFinderAndInversionLandOnTheRoot) {
    EXPECT_NEAR(findRoot([](double x) { return std::cos(x) - x; }, 0, 1), 0.73908513321516064, 1e-16);
    EXPECT_TRUE(std::isnan(findRoot([](double x) { return x * x + 1; }, -1, 1)));
    // The exponential distribution, widened from [0, 1] to its root far out in the upper tail.
    const double x = invertDistribution([](double t) { return -std::expm1(-t); }, [](double t) { return std::exp(-t); },
                                        1 - 1e-200, 1e-200, 0, 1);
    EXPECT_NEAR(x, 200 * std::log(10.0), 1e-12);
    EXPECT_NEAR(normalQuantile(0.975), 1.959963984540054, 1e-15);
    EXPECT_NEAR(normalQuantile(1e-300), -37.047096299361199, 1e-12);
}

}  // namespace
}  // namespace kes::calc::special
