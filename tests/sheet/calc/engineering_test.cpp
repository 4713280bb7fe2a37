// Engineering functions: number bases and bits, the error function, Bessel functions, complex
// numbers as text and CONVERT, checked against the values and texts Excel gives.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

struct NumberCase {
    std::u16string_view formula;
    double expected;
};

struct ShownCase {
    std::u16string_view formula, shown;
};

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

class Engineering : public CalcFixture {
protected:
    Engineering() {
        // A: a blank, a boolean, numeric text, an error; B: complex numbers.
        fill(u"A1", {u"\t3+4i", u"TRUE\t5-3j", u"=\"3.2\"\t", u"#N/A\tyvj"});
    }

    void expectNumbers(std::initializer_list<NumberCase> cases) {
        for (const auto& c : cases) EXPECT_TRUE(closeTo(number(c.formula), c.expected)) << narrow(c.formula);
    }
    // Texts compare whole: the digits of a complex number are part of the result.
    void expectShown(std::initializer_list<ShownCase> cases) {
        for (const auto& c : cases) {
            const CellValue value = result(c.formula);
            EXPECT_EQ(value.type == cdtString ? value.text : shown(c.formula), c.shown)
                << narrow(c.formula);
        }
    }
};

TEST_F(Engineering, NumberBasesUseTenDigitsOfTwosComplement) {
    expectShown({
        {u"=BIN2DEC(1100100)", u"100"},
        {u"=BIN2DEC(\"1111111111\")", u"-1"},
        {u"=BIN2DEC(A1)", u"0"},                 // blank is 0
        {u"=BIN2HEX(\"11111011\",4)", u"00FB"},
        {u"=BIN2HEX(\"1000000000\")", u"FFFFFFFE00"},   // negative: places do not apply
        {u"=BIN2OCT(\"1001\",3)", u"011"},
        {u"=DEC2BIN(-100)", u"1110011100"},
        {u"=DEC2BIN(511.7)", u"111111111"},      // truncated toward zero
        {u"=DEC2BIN(-512.7)", u"1000000000"},
        {u"=DEC2BIN(A1,3)", u"000"},
        {u"=DEC2HEX(-54)", u"FFFFFFFFCA"},
        {u"=DEC2HEX(-1,2)", u"FFFFFFFFFF"},
        {u"=DEC2HEX(549755813887)", u"7FFFFFFFFF"},
        {u"=DEC2OCT(58,3)", u"072"},
        {u"=HEX2BIN(\"F\",8)", u"00001111"},
        {u"=HEX2DEC(\"fffffffffe\")", u"-2"},    // either case
        {u"=HEX2OCT(\"FFFFFFFF00\")", u"7777777400"},
        {u"=OCT2BIN(\"7777777000\")", u"1000000000"},
        {u"=OCT2HEX(7777777533)", u"FFFFFFFF5B"},
        {u"=DEC2BIN(512)", u"#NUM!"},
        {u"=DEC2BIN(-513)", u"#NUM!"},
        {u"=DEC2BIN(100,1)", u"#NUM!"},          // does not fit the places
        {u"=DEC2BIN(9,11)", u"#NUM!"},
        {u"=DEC2OCT(1,0)", u"#NUM!"},
        {u"=HEX2BIN(\"200\")", u"#NUM!"},        // 512 has no ten-bit form
        {u"=BIN2DEC(\"10000000000\")", u"#NUM!"},   // eleven digits
        {u"=BIN2DEC(2.3)", u"#NUM!"},
        {u"=BIN2DEC(\" 1\")", u"#NUM!"},
        {u"=OCT2DEC(-1)", u"#NUM!"},
        {u"=DEC2BIN(\"fffffffffe\")", u"#VALUE!"},
        {u"=DEC2BIN(TRUE)", u"#VALUE!"},
        {u"=BIN2DEC(A2)", u"#VALUE!"},
        {u"=HEX2DEC(A4)", u"#N/A"},
    });
}

TEST_F(Engineering, BitwiseFunctionsTakeWholeNumbersBelowTwoToThe48) {
    expectNumbers({
        {u"=BITAND(1,5)", 1},
        {u"=BITOR(23,10)", 31},
        {u"=BITXOR(5,3)", 6},
        {u"=BITLSHIFT(4,2)", 16},
        {u"=BITLSHIFT(99,-1)", 49},   // a negative shift goes right
        {u"=BITLSHIFT(25,2.3)", 100},
        {u"=BITRSHIFT(13,2)", 3},
        {u"=BITAND(2^48-1,2^47)", 140737488355328},
        {u"=BITLSHIFT(A1,\"3.3\")", 0},
    });
    expectShown({
        {u"=BITAND(2^48,1)", u"#NUM!"},
        {u"=BITAND(-1,1)", u"#NUM!"},
        {u"=BITAND(2.3,1)", u"#NUM!"},
        {u"=BITLSHIFT(2^47,1)", u"#NUM!"},
        {u"=BITLSHIFT(1,54)", u"#NUM!"},
        {u"=BITAND(A2,1)", u"#VALUE!"},
        {u"=BITLSHIFT(\"3.3\",TRUE)", u"#NUM!"},   // the first argument is checked whole first
    });
}

TEST_F(Engineering, DeltaAndGestepCompareNumbers) {
    expectNumbers({
        {u"=DELTA(5,5)", 1},
        {u"=DELTA(0.5)", 0},
        {u"=DELTA(A1)", 1},
        {u"=DELTA(2.3,\"2.3\")", 1},
        {u"=GESTEP(5,4)", 1},
        {u"=GESTEP(-4,-5)", 1},
        {u"=GESTEP(-1)", 0},
    });
    expectShown({{u"=DELTA(FALSE)", u"#VALUE!"}, {u"=GESTEP(1,A2)", u"#VALUE!"}, {u"=GESTEP(A4)", u"#N/A"}});
}

TEST_F(Engineering, ErrorFunctionToFullPrecision) {
    expectNumbers({
        {u"=ERF(0.2)", 0.22270258921047847},
        {u"=ERF(2.3)", 0.9988568234026434},
        {u"=ERF(0,0.2)", 0.22270258921047847},
        {u"=ERF(2.3,2)", -0.0035345583836906558},
        {u"=ERF(-0.002,A1)", 0.002256755325183524},   // a blank upper bound is 0, not left out
        {u"=ERF(A3)", 0.9999939742388483},
        {u"=ERF.PRECISE(-1.2)", -0.9103139782296353},
        {u"=ERFC(2.3)", 0.0011431765973566527},
        {u"=ERFC(3.2)", 6.025761151762083e-06},
        {u"=ERFC(-0.002)", 1.0022567553251835},
        {u"=ERFC(10)", 2.088487583762545e-45},   // no cancellation against 1
        {u"=ERFC.PRECISE(2)", 0.0046777349810472645},
    });
    expectShown({{u"=ERF(A2)", u"#VALUE!"}, {u"=ERFC(\"x\")", u"#VALUE!"}});
}

TEST_F(Engineering, BesselFunctionsMatchExcelsApproximations) {
    // Excel's values, good to about eight digits of the exact functions: I0(1) is 1.26606587775...
    expectNumbers({
        {u"=BESSELI(-1,0)", 1.2660658480342601},
        {u"=BESSELI(2.3,2)", 1.0054316669125958},
        {u"=BESSELI(\"3.2\",2)", 2.7882984611029293},
        {u"=BESSELJ(-1,0)", 0.7651976837548592},
        {u"=BESSELJ(2.3,2)", 0.41391458970875217},
        {u"=BESSELJ(10000000,2.3)", 8.683739567294922e-05},
        {u"=BESSELK(2.3,2)", 0.1617333633782021},
        {u"=BESSELY(2.3,2)", -0.4726168566767928},
        {u"=BESSELY(10000000,2)", -0.00023689922733673244},
        {u"=BESSELI(0,10000000)", 0},
        {u"=BESSELJ(1,5000)", 0},   // far past underflow
        {u"=BESSELK(10000000,2)", 0},
    });
    expectShown({
        {u"=BESSELI(2,-1)", u"#NUM!"},
        {u"=BESSELK(0,1)", u"#NUM!"},
        {u"=BESSELY(-1,1)", u"#NUM!"},
        {u"=BESSELI(10000000,2)", u"#NUM!"},   // overflows
        {u"=BESSELJ(A2,1)", u"#VALUE!"},
    });
}

TEST_F(Engineering, ComplexNumbersReadAndWriteAsExcelDoes) {
    expectShown({
        {u"=COMPLEX(3,4)", u"3+4i"},
        {u"=COMPLEX(0,1)", u"i"},
        {u"=COMPLEX(1,-1,\"j\")", u"1-j"},
        {u"=COMPLEX(-1,0)", u"-1"},
        {u"=COMPLEX(A1,\"3.6\",\"j\")", u"3.6j"},
        {u"=COMPLEX(3,4,\"k\")", u"#VALUE!"},
        {u"=COMPLEX(3,4,\"I\")", u"#VALUE!"},
        {u"=COMPLEX(A2,1)", u"#VALUE!"},
        {u"=IMSUM(\"3+4i\",\"5-3i\")", u"8+i"},
        {u"=IMSUB(\"13+4i\",\"5+3i\")", u"8+i"},
        {u"=IMPRODUCT(\"3+4i\",\"5-3i\")", u"27+11i"},
        {u"=IMDIV(\"-238+240i\",\"10+24i\")", u"5+12i"},
        {u"=IMPOWER(\"2+3i\",3)", u"-46+9.00000000000001i"},   // in polar form, as Excel
        {u"=IMSQRT(\"1+i\")", u"1.09868411346781+0.455089860562227i"},
        {u"=IMEXP(\"1+i\")", u"1.46869393991589+2.28735528717884i"},
        {u"=IMLN(\"3+4i\")", u"1.6094379124341+0.927295218001612i"},
        {u"=IMLOG10(\"3+4i\")", u"0.698970004336019+0.402719196273373i"},
        {u"=IMSIN(\"4+3i\")", u"-7.61923172032141-6.548120040911i"},
        {u"=IMCOSH(\"4+3i\")", u"-27.0349456030742+3.85115333481178i"},
        {u"=IMSECH(\"4+3i\")", u"-0.0362534969158689-0.00516434460775318i"},
        // With a large imaginary part the tiny real part survives.
        {u"=IMTAN(\"7+25j\")", u"3.82126757337684E-22+j"},
        {u"=IMCOT(\"13+5j\")", u"0.0000692442674613868-1.00005873951153j"},
        {u"=IMCSC(\"3.1+2j\")", u"0.0118908807944521+0.275445903842597j"},
        {u"=IMEXP(\"-13+25j\")", u"2.24044486393732E-06-2.99158552811404E-07j"},
        {u"=IMCONJUGATE(B2)", u"5+3j"},
        {u"=IMCONJUGATE(\"i\")", u"-i"},
        {u"=IMSUM(B1,\"1E-3+2.5i\")", u"3.001+6.5i"},
        {u"=IMPRODUCT(A1,\"2+i\")", u"0"},     // a blank cell is 0
        {u"=IMSUM(\"+i\",\"-i\",\"4\")", u"4"},
        {u"=IMSUM(B1:B2)", u"#VALUE!"},        // i and j do not mix
        {u"=IMSUB(B1,B2)", u"#NUM!"},          // nor here, with another error
        {u"=IMABS(B4)", u"#NUM!"},
        {u"=IMREAL(\"3+4\")", u"#NUM!"},
        {u"=IMREAL(\"3 + 4i\")", u"#NUM!"},
        {u"=IMREAL(\"3+4I\")", u"#NUM!"},
        {u"=IMDIV(\"1\",A1)", u"#NUM!"},
        {u"=IMLN(0)", u"#NUM!"},
        {u"=IMCOT(0)", u"#NUM!"},
        {u"=IMARGUMENT(A1)", u"#DIV/0!"},
        {u"=IMABS(A2)", u"#VALUE!"},
        {u"=IMPOWER(0,2.3)", u"0"},
    });
    expectNumbers({
        {u"=IMABS(\"5+12i\")", 13},
        {u"=IMAGINARY(\"-i\")", -1},
        {u"=IMAGINARY(4)", 0},
        {u"=IMREAL(B2)", 5},
        {u"=IMARGUMENT(\"-3+2i\")", 2.5535900500422257},
    });
}

TEST_F(Engineering, ComplexPartsShowFifteenDigitsPlainFromOneHundredThousandth) {
    expectShown({
        {u"=IMSUM(\"0.00001\")", u"0.00001"},
        {u"=IMSUM(\"0.000001\")", u"1E-06"},
        {u"=IMSUM(\"123456789012345\")", u"123456789012345"},
        {u"=IMSUM(\"1E15\")", u"1E+15"},
        {u"=IMSUM(\"1234567890123456\")", u"1.23456789012346E+15"},
        {u"=IMSUM(\"1.23456789012345678\")", u"1.23456789012346"},
        {u"=IMSUB(\"0.1\",\"0.3\")", u"-0.2"},   // rounded to 15 digits, not -0.19999...
        {u"=IMSUM(\"2.5E-7j\",\"1\")", u"1+2.5E-07j"},
        {u"=IMSUM(\".5i\")", u"0.5i"},
        {u"=IMSUM(\"-0\")", u"0"},
    });
}

TEST_F(Engineering, ValueArgumentsRunOverArraysElementByElement) {
    expectShown({
        {u"=INDEX(DEC2HEX({10,255}),2)", u"FF"},
        {u"=INDEX(IMCONJUGATE({\"i\",\"2-j\"}),2)", u"2+j"},
        {u"=IMSUM({\"i\",\"2\"},\"1\")", u"3+i"},   // but IMSUM adds up every element
    });
    expectNumbers({
        {u"=SUM(BITAND({1,3,7},6))", 8},
        {u"=INDEX(CONVERT({1,2},\"in\",\"cm\"),2)", 5.08},
    });
}

TEST_F(Engineering, HugeArgumentsEndInAResultOrAnError) {
    expectNumbers({
        {u"=BESSELJ(1,1E9)", 0},
        {u"=ERF(1E300)", 1},
        {u"=ERFC(-1E300)", 2},
        {u"=IMABS(\"1e308+1e308i\")", 1.4142135623730951e308},
    });
    expectShown({
        {u"=BESSELY(1,1E8)", u"#NUM!"},
        {u"=DEC2BIN(1E300)", u"#NUM!"},
        {u"=BITLSHIFT(1,1E300)", u"#NUM!"},
        {u"=CONVERT(1E308,\"km\",\"m\")", u"#NUM!"},
        {u"=IMEXP(\"1000\")", u"#NUM!"},
        {u"=COMPLEX(1E308,-1E-308)", u"1E+308-1E-308i"},
    });
}

TEST_F(Engineering, ConvertKnowsUnitsPrefixesAndTemperatures) {
    expectNumbers({
        {u"=CONVERT(1,\"lbm\",\"kg\")", 0.45359237},
        {u"=CONVERT(68,\"F\",\"C\")", 20},
        {u"=CONVERT(1,\"Reau\",\"K\")", 274.4},
        {u"=CONVERT(1,\"Rank\",\"K\")", 0.5555555555555556},
        {u"=CONVERT(1,\"mK\",\"K\")", 0.001},
        {u"=CONVERT(6,\"tsp\",\"tbs\")", 2},
        {u"=CONVERT(1,\"km2\",\"m2\")", 1e6},        // a prefix squares with the unit
        {u"=CONVERT(1,\"Mang3\",\"L\")", 1e-9},
        {u"=CONVERT(1,\"kar\",\"m^2\")", 1e5},       // but not on the are, a plain area
        {u"=CONVERT(1,\"kibyte\",\"bit\")", 8192},
        {u"=CONVERT(1,\"kbyte\",\"bit\")", 8000},
        {u"=CONVERT(1,\"dam\",\"m\")", 10},
        {u"=CONVERT(1,\"em\",\"m\")", 10},           // e is a prefix of ten too
        {u"=CONVERT(1,\"e\",\"J\")", 1e-7},          // and the erg
        {u"=CONVERT(1,\"pc\",\"km\")", 30856775812815.53},   // a parsec among distances
        {u"=CONVERT(1,\"pc\",\"J\")", 4.184e-12},            // a picocalorie among energies
        {u"=CONVERT(1,\"ly\",\"m\")", 9460730472580800},
        {u"=CONVERT(1,\"Emph\",\"m/h\")", 1.609344e21},   // and so is the mile an hour
        {u"=CONVERT(1,\"HP\",\"W\")", 745.6998715822702},
        {u"=CONVERT(1,\"mmHg\",\"Pa\")", 133.322},
        {u"=CONVERT(1,\"kn\",\"m/h\")", 1852},
        {u"=CONVERT(A3,\"m\",\"cm\")", 320},
        {u"=CONVERT(100,\"C\",\"F\")", 212},
        {u"=CONVERT(-40,\"fah\",\"cel\")", -40},
        {u"=CONVERT(1,\"kel\",\"C\")", -272.15},
        {u"=CONVERT(1,\"Mibyte\",\"kbyte\")", 1048.576},
        {u"=CONVERT(1,\"admkn\",\"kn\")", 1.0006393088552916},
    });
    expectShown({
        {u"=CONVERT(2.5,\"ft\",\"sec\")", u"#N/A"},
        {u"=CONVERT(1,\"kmi\",\"m\")", u"#N/A"},      // the mile takes no prefix
        {u"=CONVERT(1,\"kiJ\",\"J\")", u"#N/A"},      // binary prefixes are for bits and bytes
        {u"=CONVERT(1,\"Ly\",\"m\")", u"#N/A"},       // names are case sensitive
        {u"=CONVERT(1,\"kly2\",\"m2\")", u"#N/A"},
        {u"=CONVERT(A2,\"m\",\"ft\")", u"#VALUE!"},
        {u"=CONVERT(A4,\"m\",\"ft\")", u"#N/A"},
    });
}

}  // namespace
}  // namespace kes::calc::testing
