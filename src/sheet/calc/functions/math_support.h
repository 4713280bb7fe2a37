#pragma once
// What the files of the math and trigonometry family share: their lists, which mathFunctions()
// joins, and the way the Analysis ToolPak functions of the family (FACTDOUBLE, GCD, MROUND,
// QUOTIENT, SQRTPI...) take their arguments, which differs from the built-in functions.
#include <span>
#include <vector>

#include "sheet/calc/functions/support.h"

namespace kes::calc {

std::span<const FunctionSpec> elementaryFunctions();     // ABS, SQRT, EXP, LN, POWER, MOD, RAND...
std::span<const FunctionSpec> trigonometryFunctions();   // SIN... and the hyperbolic functions
std::span<const FunctionSpec> roundingFunctions();       // ROUND..., CEILING..., FLOOR..., EVEN, ODD
std::span<const FunctionSpec> integerFunctions();        // FACT, COMBIN, GCD, LCM, MULTINOMIAL
std::span<const FunctionSpec> numeralFunctions();        // ROMAN, ARABIC, BASE, DECIMAL
std::span<const FunctionSpec> sumFunctions();            // SUM, PRODUCT, SUMPRODUCT, SUMX2MY2...
std::span<const FunctionSpec> conditionalSumFunctions(); // SUMIF, SUMIFS
std::span<const FunctionSpec> subtotalFunctions();       // SUBTOTAL, AGGREGATE
std::span<const FunctionSpec> matrixFunctions();         // MMULT, MDETERM, MINVERSE, MUNIT

// A number as the Analysis ToolPak functions read one: blank is 0 and numeric text converts,
// but TRUE and FALSE are #VALUE!.
double addInNumber(const Value& value, const FormatSettings& settings);

// Runs a function whose scalar arguments are taken the Analysis ToolPak way (arguments of
// class R): a reference must be a single cell, a larger range is #VALUE! even where a
// built-in function would intersect it; an array runs the computation once per element and
// gives the array of results. `compute` gets one scalar per argument, omitted ones as such.
using ScalarComputation = Value (*)(Call& call, std::span<const Value> arguments);
Value addInCall(Call& call, ScalarComputation compute);

// The same for a built-in function whose result is an array (MUNIT), with arguments of class R:
// a range intersects in a cell's formula and runs element by element in an array formula. Run
// over arrays, each element's result is the top left value of the array it computes, as Excel
// gives (the evaluator's lifting of class V arguments would pair elements with positions
// instead); `compute` is then told that only that value is wanted, with `whole` false.
using ArrayComputation = Value (*)(Call& call, std::span<const Value> arguments, bool whole);
Value arrayResultCall(Call& call, ArrayComputation compute);

// The integers of every argument, as GCD, LCM and MULTINOMIAL take them: numbers truncated,
// numeric text given directly converted; blank cells skipped; TRUE, FALSE and texts in ranges
// are #VALUE!, errors are thrown in argument order, and nothing at all is #VALUE!. Negative
// values (even -0.4) are #NUM!, but only once every value is read: a text later on is #VALUE!
// first.
std::vector<double> addInIntegers(Call& call);

// A quotient cleaned of the binary noise below Excel's 15 digits before it is rounded to an
// integer, so that CEILING(0.3, 0.1) is 0.3 and not 0.4.
double cleanQuotient(double numerator, double denominator);

}  // namespace kes::calc
