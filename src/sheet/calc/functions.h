#pragma once
// The built-in functions: one table of every function the evaluator computes, put together
// from the families under functions/. Adding a function is one entry in its family's list:
// its name, how many arguments it takes, how each argument is evaluated, its number in .xls
// files, and its handler.
#include <cstdint>
#include <span>
#include <string_view>

#include "sheet/calc/value.h"

namespace kes::calc {

class Call;
using Handler = Value (*)(Call& call);

enum FunctionFlag : uint8_t {
    kVolatile = 1,           // computed anew after every change: RAND, NOW, OFFSET, INDIRECT...
    kFilePrefix = 2,         // newer than the 2007 file format: written as _xlfn.NAME in files
    kWorksheetPrefix = 4,    // written as _xlfn._xlws.NAME (SORT, FILTER)
    kReturnsReference = 8,   // may give a reference: INDEX, OFFSET, INDIRECT, CHOOSE, IF...
    kAddIn = 16,             // .xls files call it by name, as an add-in function (EDATE, CONVERT...)
    // A value argument that is a reference of several cells is #VALUE!, even in an array formula,
    // where an array still runs the function for each element: Excel's add-in functions
    // (kAddIn implies it) and some of their newer kin (ERF.PRECISE, IMCOT...).
    kRefusesRanges = 32,
    // In an array formula over a fixed area larger than its array argument, the cells past the
    // argument's end still run the function, on #N/A: ISNA(A1:A3) over five cells ends in two
    // TRUEs. Excel's IS functions do this.
    kAnswersPastTheEnd = 64,
};

// No number in .xls files: the function is stored by name there.
constexpr uint16_t kNoBiffId = 0xFFFF;
// As many arguments as Excel takes.
constexpr uint8_t kManyArgs = 255;

struct FunctionSpec {
    std::u16string_view name;   // upper case, without the _xlfn. prefix of files
    uint8_t minArgs;
    uint8_t maxArgs;
    // One letter an argument, the last repeating for the rest; a final '*' repeats them all
    // instead, "VL*" being V, L, V, L... (IFS's conditions and values).
    //   V  a value. A reference gives the value implicit intersection finds; an array (or, in
    //      an array formula, a range) runs the function once for each element, and the
    //      results form an array.
    //   R  as written: a reference stays a reference, an array an array (SUM, COUNTIF's range).
    //   A  an array: evaluated as in an array formula, references kept (SUMPRODUCT, MMULT).
    //   L  lazy: evaluated only when the handler asks (IF, IFERROR, CHOOSE, LET, LAMBDA...).
    const char* arguments;
    Handler handler;
    uint16_t biffId = kNoBiffId;
    uint8_t flags = 0;   // FunctionFlag bits

    char argumentClass(size_t index) const;
};

// The function of that name, with or without its file prefixes, in any case; none when the
// name is no built-in.
const FunctionSpec* findFunction(std::u16string_view name);
// Functions are numbered from 1 in the table, for the function slot of formula nodes.
uint16_t functionNumber(const FunctionSpec& function);
const FunctionSpec& functionOfNumber(uint16_t number);
// The function .xls files store under that number; none for numbers of no function we know.
const FunctionSpec* functionOfBiffId(uint16_t id);
// Every function, in table order.
std::span<const FunctionSpec> allFunctions();

}  // namespace kes::calc
