// Conversions between binary, octal, decimal and hexadecimal (BIN2DEC ... HEX2OCT). Binary,
// octal and hex numbers are texts of at most ten digits; a tenth digit's top bit makes them
// negative, in two's complement.
#include <cmath>
#include <cstdint>
#include <string>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/engineering_support.h"
#include "sheet/calc/functions/support.h"

namespace kes::calc {
namespace {

constexpr int kMaxDigits = 10;

// A base with its ten-digit range: numbers from -base^10/2 to base^10/2 - 1.
struct Base {
    int radix;
    int64_t span() const { return int64_t(std::pow(double(radix), kMaxDigits)); }
    int64_t lowest() const { return -span() / 2; }
    int64_t highest() const { return span() / 2 - 1; }
};

constexpr Base kBinary{2}, kOctal{8}, kHex{16};

int digitValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'z') return c - u'a' + 10;
    if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
    return 99;
}

// The number a binary, octal or hex argument stands for. A number given is read as its digits;
// anything but up to ten digits of the base is #NUM!.
int64_t readDigits(Call& call, size_t index, Base base) {
    const Value value = call.scalar(index);
    if (value.isBoolean()) fail(ecValue);
    const std::u16string digits = toText(value);
    if (digits.size() > size_t(kMaxDigits)) fail(ecNUM);
    int64_t number = 0;
    for (const char16_t c : digits) {
        const int digit = digitValue(c);
        if (digit >= base.radix) fail(ecNUM);
        number = number * base.radix + digit;
    }
    return number > base.highest() ? number - base.span() : number;
}

// How many digits the result is padded to: none when left out, else 1 to 10.
int placesArgument(Call& call, size_t index) {
    if (call.isMissing(index)) return 0;
    const int64_t places = addInInteger(call, index);
    if (places < 1 || places > kMaxDigits) fail(ecNUM);
    return int(places);
}

// A number written in a base: negative ones as ten digits of two's complement (places do not
// apply), others padded with zeros to `places`; #NUM! outside the base's range or when the
// digits do not fit in `places`.
Value writeDigits(int64_t number, Base base, int places) {
    if (number < base.lowest() || number > base.highest()) return Value::error(ecNUM);
    uint64_t rest = uint64_t(number < 0 ? number + base.span() : number);
    std::u16string digits;
    do {
        digits.insert(digits.begin(), u"0123456789ABCDEF"[rest % uint64_t(base.radix)]);
        rest /= uint64_t(base.radix);
    } while (rest > 0);
    if (number >= 0 && places > 0) {
        if (digits.size() > size_t(places)) return Value::error(ecNUM);
        digits.insert(0, size_t(places) - digits.size(), u'0');
    }
    return Value::text(std::move(digits));
}

template <const Base& from, const Base& to>
Value convertBase(Call& call) {
    const int64_t number = readDigits(call, 0, from);
    return writeDigits(number, to, placesArgument(call, 1));
}

template <const Base& from>
Value toDecimal(Call& call) {
    return Value::number(double(readDigits(call, 0, from)));
}

// DEC2BIN and kin take a number, truncated toward zero.
template <const Base& to>
Value fromDecimal(Call& call) {
    const double number = std::trunc(addInNumber(call, 0));
    const int places = placesArgument(call, 1);
    if (number < double(to.lowest()) || number > double(to.highest())) return Value::error(ecNUM);
    return writeDigits(int64_t(number), to, places);
}

constexpr FunctionSpec kFunctions[] = {
    {u"BIN2DEC", 1, 1, "V", toDecimal<kBinary>, kNoBiffId, kAddIn},
    {u"BIN2HEX", 1, 2, "VV", convertBase<kBinary, kHex>, kNoBiffId, kAddIn},
    {u"BIN2OCT", 1, 2, "VV", convertBase<kBinary, kOctal>, kNoBiffId, kAddIn},
    {u"OCT2BIN", 1, 2, "VV", convertBase<kOctal, kBinary>, kNoBiffId, kAddIn},
    {u"OCT2DEC", 1, 1, "V", toDecimal<kOctal>, kNoBiffId, kAddIn},
    {u"OCT2HEX", 1, 2, "VV", convertBase<kOctal, kHex>, kNoBiffId, kAddIn},
    {u"HEX2BIN", 1, 2, "VV", convertBase<kHex, kBinary>, kNoBiffId, kAddIn},
    {u"HEX2DEC", 1, 1, "V", toDecimal<kHex>, kNoBiffId, kAddIn},
    {u"HEX2OCT", 1, 2, "VV", convertBase<kHex, kOctal>, kNoBiffId, kAddIn},
    {u"DEC2BIN", 1, 2, "VV", fromDecimal<kBinary>, kNoBiffId, kAddIn},
    {u"DEC2OCT", 1, 2, "VV", fromDecimal<kOctal>, kNoBiffId, kAddIn},
    {u"DEC2HEX", 1, 2, "VV", fromDecimal<kHex>, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> numberBaseFunctions() { return kFunctions; }

}  // namespace kes::calc
