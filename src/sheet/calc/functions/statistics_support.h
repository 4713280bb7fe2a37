#pragma once
// What the files of the statistical family share: their parts of the family's function list,
// the sums the descriptive statistics are made of, and the pairing of two lists of data.
#include <span>
#include <string_view>
#include <vector>

#include "sheet/calc/functions/support.h"

namespace kes::calc {

// The parts of the statistical family, one a file; statisticalFunctions() joins them.
std::span<const FunctionSpec> descriptiveFunctions();
std::span<const FunctionSpec> conditionalStatisticsFunctions();
std::span<const FunctionSpec> orderStatisticsFunctions();
std::span<const FunctionSpec> continuousDistributionFunctions();
std::span<const FunctionSpec> discreteDistributionFunctions();
std::span<const FunctionSpec> hypothesisTestFunctions();
std::span<const FunctionSpec> regressionFunctions();
std::span<const FunctionSpec> exponentialSmoothingFunctions();

double meanOf(std::span<const double> values);
// Σ (x - mean)², taken around the mean so that large values with a small spread keep their digits.
double squaredDeviations(std::span<const double> values);
// The sample variance (n - 1 in the denominator) or the population one; #DIV/0! with too few.
double variance(std::span<const double> values, bool sample);

// Two lists of data paired element by element, as CORREL, SLOPE or T.TEST take them: x from
// the argument `first`, y from `second`. A pair counts only when both are numbers; lists of
// different sizes are #N/A, and the first error met, pair by pair, is the result.
struct Pairs {
    std::vector<double> x, y;
};
Pairs pairedNumbers(Call& call, size_t first, size_t second);

// Converts the arguments given, in order, as numbers ('n') or switches ('b'), so that a text
// that is no number is #VALUE! before any argument is found out of its range.
void convertArguments(Call& call, std::string_view kinds);

// Numbers of one array of two-array functions (F.TEST, T.TEST, CHISQ.TEST): as in a reference,
// and an error is the result, except #NULL!, which these functions of Excel pass over.
std::vector<double> arrayNumbers(Call& call, size_t index);

// The probability argument of an inverse: a number in [0, 1], or #NUM!.
double probability(Call& call, size_t index);

// Both tails of a distribution at one point.
struct Tails {
    double lower, upper;
};
// The F distribution at x >= 0 with d1 and d2 degrees of freedom.
Tails fTails(double x, double d1, double d2);
// Student's t distribution at t >= 0 with df degrees of freedom (any df > 0).
Tails studentTails(double t, double df);
// The t >= 0 whose upper tail is q <= ½; #NUM! when none is found.
double studentUpperQuantile(double q, double df);

}  // namespace kes::calc
