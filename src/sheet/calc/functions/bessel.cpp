// Bessel functions of integer order: BESSELJ and BESSELY, and the modified BESSELI and
// BESSELK. Orders 0 and 1 come from rational and polynomial approximations (those of
// Abramowitz & Stegun and Hart, good to about eight digits, which are the digits Excel shows);
// higher orders from the recurrences between orders, run downward where upward loses accuracy.
#include <cmath>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/engineering_support.h"

namespace kes::calc {
namespace {

// Downward recurrences start this far above the order (sqrt(kStart * n) more).
constexpr double kStart = 40.0;
constexpr double kRescaleAbove = 1e10;
constexpr double kRescale = 1e-10;
// Orders beyond this would only spin the recurrences.
constexpr int64_t kMaxOrder = 10000000;

double j0(double x) {
    const double ax = std::fabs(x);
    if (ax < 8) {
        const double y = x * x;
        const double p = 57568490574.0 +
                         y * (-13362590354.0 + y * (651619640.7 + y * (-11214424.18 + y * (77392.33017 + y * -184.9052456))));
        const double q = 57568490411.0 + y * (1029532985.0 + y * (9494680.718 + y * (59272.64853 + y * (267.8532712 + y))));
        return p / q;
    }
    const double z = 8 / ax, y = z * z, xx = ax - 0.785398164;
    const double p = 1 + y * (-0.1098628627e-2 + y * (0.2734510407e-4 + y * (-0.2073370639e-5 + y * 0.2093887211e-6)));
    const double q = -0.1562499995e-1 +
                     y * (0.1430488765e-3 + y * (-0.6911147651e-5 + y * (0.7621095161e-6 - y * 0.934935152e-7)));
    return std::sqrt(0.636619772 / ax) * (std::cos(xx) * p - z * std::sin(xx) * q);
}

double j1(double x) {
    const double ax = std::fabs(x);
    if (ax < 8) {
        const double y = x * x;
        const double p = x * (72362614232.0 + y * (-7895059235.0 + y * (242396853.1 +
                                                                      y * (-2972611.439 + y * (15704.48260 + y * -30.16036606)))));
        const double q = 144725228442.0 + y * (2300535178.0 + y * (18583304.74 + y * (99447.43394 + y * (376.9991397 + y))));
        return p / q;
    }
    const double z = 8 / ax, y = z * z, xx = ax - 2.356194491;
    const double p = 1 + y * (0.183105e-2 + y * (-0.3516396496e-4 + y * (0.2457520174e-5 + y * -0.240337019e-6)));
    const double q = 0.04687499995 + y * (-0.2002690873e-3 + y * (0.8449199096e-5 + y * (-0.88228987e-6 + y * 0.105787412e-6)));
    const double value = std::sqrt(0.636619772 / ax) * (std::cos(xx) * p - z * std::sin(xx) * q);
    return x < 0 ? -value : value;
}

double y0(double x) {
    if (x < 8) {
        const double y = x * x;
        const double p = -2957821389.0 +
                         y * (7062834065.0 + y * (-512359803.6 + y * (10879881.29 + y * (-86327.92757 + y * 228.4622733))));
        const double q = 40076544269.0 + y * (745249964.8 + y * (7189466.438 + y * (47447.26470 + y * (226.1030244 + y))));
        return p / q + 0.636619772 * j0(x) * std::log(x);
    }
    const double z = 8 / x, y = z * z, xx = x - 0.785398164;
    const double p = 1 + y * (-0.1098628627e-2 + y * (0.2734510407e-4 + y * (-0.2073370639e-5 + y * 0.2093887211e-6)));
    const double q = -0.1562499995e-1 +
                     y * (0.1430488765e-3 + y * (-0.6911147651e-5 + y * (0.7621095161e-6 + y * -0.934945152e-7)));
    return std::sqrt(0.636619772 / x) * (std::sin(xx) * p + z * std::cos(xx) * q);
}

double y1(double x) {
    if (x < 8) {
        const double y = x * x;
        const double p = x * (-0.4900604943e13 + y * (0.1275274390e13 + y * (-0.5153438139e11 + y * (0.7349264551e9 +
                                                                                                       y * (-0.4237922726e7 + y * 0.8511937935e4)))));
        const double q = 0.2499580570e14 +
                         y * (0.4244419664e12 + y * (0.3733650367e10 + y * (0.2245904002e8 + y * (0.1020426050e6 + y * (0.3549632885e3 + y)))));
        return p / q + 0.636619772 * (j1(x) * std::log(x) - 1 / x);
    }
    const double z = 8 / x, y = z * z, xx = x - 2.356194491;
    const double p = 1 + y * (0.183105e-2 + y * (-0.3516396496e-4 + y * (0.2457520174e-5 + y * -0.240337019e-6)));
    const double q = 0.04687499995 + y * (-0.2002690873e-3 + y * (0.8449199096e-5 + y * (-0.88228987e-6 + y * 0.105787412e-6)));
    return std::sqrt(0.636619772 / x) * (std::sin(xx) * p + z * std::cos(xx) * q);
}

double i0(double x) {
    const double ax = std::fabs(x);
    if (ax < 3.75) {
        const double y = (x / 3.75) * (x / 3.75);
        return 1 + y * (3.5156229 + y * (3.0899424 + y * (1.2067492 + y * (0.2659732 + y * (0.360768e-1 + y * 0.45813e-2)))));
    }
    const double y = 3.75 / ax;
    return std::exp(ax) / std::sqrt(ax) *
           (0.39894228 + y * (0.1328592e-1 + y * (0.225319e-2 + y * (-0.157565e-2 + y * (0.916281e-2 + y * (-0.2057706e-1 +
                                                                                                          y * (0.2635537e-1 + y * (-0.1647633e-1 + y * 0.392377e-2))))))));
}

double i1(double x) {
    const double ax = std::fabs(x);
    double value;
    if (ax < 3.75) {
        const double y = (x / 3.75) * (x / 3.75);
        value = ax * (0.5 + y * (0.87890594 + y * (0.51498869 + y * (0.15084934 + y * (0.2658733e-1 + y * (0.301532e-2 + y * 0.32411e-3))))));
    } else {
        const double y = 3.75 / ax;
        const double tail = 0.2282967e-1 + y * (-0.2895312e-1 + y * (0.1787654e-1 - y * 0.420059e-2));
        value = 0.39894228 + y * (-0.3988024e-1 + y * (-0.362018e-2 + y * (0.163801e-2 + y * (-0.1031555e-1 + y * tail))));
        value *= std::exp(ax) / std::sqrt(ax);
    }
    return x < 0 ? -value : value;
}

double k0(double x) {
    if (x <= 2) {
        const double y = x * x / 4;
        return -std::log(x / 2) * i0(x) +
               (-0.57721566 + y * (0.42278420 + y * (0.23069756 + y * (0.3488590e-1 + y * (0.262698e-2 + y * (0.10750e-3 + y * 0.74e-5))))));
    }
    const double y = 2 / x;
    return std::exp(-x) / std::sqrt(x) *
           (1.25331414 + y * (-0.7832358e-1 + y * (0.2189568e-1 + y * (-0.1062446e-1 + y * (0.587872e-2 + y * (-0.251540e-2 + y * 0.53208e-3))))));
}

double k1(double x) {
    if (x <= 2) {
        const double y = x * x / 4;
        return std::log(x / 2) * i1(x) +
               (1 / x) * (1 + y * (0.15443144 + y * (-0.67278579 + y * (-0.18156897 + y * (-0.1919402e-1 + y * (-0.110404e-2 + y * -0.4686e-4))))));
    }
    const double y = 2 / x;
    return std::exp(-x) / std::sqrt(x) *
           (1.25331414 + y * (0.23498619 + y * (-0.3655620e-1 + y * (0.1504268e-1 + y * (-0.780353e-2 + y * (0.325614e-2 + y * -0.68245e-3))))));
}

// Upward recurrence from orders 0 and 1: stable for Y and K, and for J while the order is
// below x. It stops once the values overflow.
template <class Next>
double upward(int n, double f0, double f1, Next&& next) {
    for (int j = 1; j < n && std::isfinite(f1); ++j) {
        const double f2 = next(j, f0, f1);
        f0 = f1;
        f1 = f2;
    }
    return f1;
}

// (x/2)^n / n! bounds J_n(x) and I_n(x) / cosh x: far enough above |x| it is below the
// smallest double, and the recurrences need not run.
bool underflows(double n, double x) { return n > 10 * std::fabs(x) + 400; }

// J_n for n below |x| climbs up from J0 and J1; above, Miller's method recurs down from an
// arbitrary start and normalises by J0 + 2 J2 + 2 J4 + ... = 1.
double jn(int n, double x) {
    if (n == 0) return j0(x);
    if (n == 1) return j1(x);
    const double ax = std::fabs(x);
    if (ax == 0 || underflows(n, x)) return 0;
    const double tox = 2 / ax;
    double value;
    if (ax > n) {
        value = upward(n, j0(ax), j1(ax), [&](int j, double f0, double f1) { return j * tox * f1 - f0; });
    } else {
        const int start = 2 * ((n + int(std::sqrt(kStart * n))) / 2);
        bool even = false;
        double below = 0, sum = 0, current = 1;
        value = 0;
        for (int j = start; j > 0; --j) {
            const double next = j * tox * current - below;
            below = current;
            current = next;
            if (std::fabs(current) > kRescaleAbove) {
                current *= kRescale;
                below *= kRescale;
                value *= kRescale;
                sum *= kRescale;
            }
            if (even) sum += current;
            even = !even;
            if (j == n) value = below;
        }
        value /= 2 * sum - current;
    }
    return x < 0 && (n & 1) ? -value : value;
}

// I_n recurs down by Miller's method, normalised by I0.
double in(int n, double x) {
    if (n == 0) return i0(x);
    if (n == 1) return i1(x);
    if (x == 0 || underflows(n, x)) return 0;
    const double tox = 2 / std::fabs(x);
    double below = 0, current = 1, value = 0;
    for (int j = 2 * (n + int(std::sqrt(kStart * n))); j > 0; --j) {
        const double next = below + j * tox * current;
        below = current;
        current = next;
        if (std::fabs(current) > kRescaleAbove) {
            value *= kRescale;
            current *= kRescale;
            below *= kRescale;
        }
        if (j == n) value = below;
    }
    value *= i0(x) / current;
    return x < 0 && (n & 1) ? -value : value;
}

double yn(int n, double x) {
    if (n == 0) return y0(x);
    const double tox = 2 / x;
    return upward(n, y0(x), y1(x), [&](int j, double f0, double f1) { return j * tox * f1 - f0; });
}

double kn(int n, double x) {
    if (n == 0) return k0(x);
    const double tox = 2 / x;
    return upward(n, k0(x), k1(x), [&](int j, double f0, double f1) { return f0 + j * tox * f1; });
}

// The arguments: x, then the order n, truncated; a negative order is #NUM!, and so is x <= 0
// for Y and K.
template <double (*function)(int, double), bool positiveOnly>
Value bessel(Call& call) {
    const double x = addInNumber(call, 0);
    const int64_t n = addInInteger(call, 1);
    if (n < 0 || (positiveOnly && x <= 0)) return Value::error(ecNUM);
    if (n > kMaxOrder) return positiveOnly || !underflows(double(n), x) ? Value::error(ecNUM) : Value::number(0);
    return Value::number(function(int(n), x));
}

constexpr FunctionSpec kFunctions[] = {
    {u"BESSELJ", 2, 2, "VV", bessel<jn, false>, kNoBiffId, kAddIn},
    {u"BESSELY", 2, 2, "VV", bessel<yn, true>, kNoBiffId, kAddIn},
    {u"BESSELI", 2, 2, "VV", bessel<in, false>, kNoBiffId, kAddIn},
    {u"BESSELK", 2, 2, "VV", bessel<kn, true>, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> besselFunctions() { return kFunctions; }

}  // namespace kes::calc
