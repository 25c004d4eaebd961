// The gamma-function core of the single LGamma and TGamma routines, in
// double arithmetic.
//
// On [1, 2]: Gamma(x) = 1 + (x - 1)(x - 2) h(x), h a fit from
// tools/special_fits to 2^-36, so that Gamma - 1 keeps its relative accuracy
// at the zeros of log Gamma (x = 1, 2).  Above 2 the recurrence Gamma(x) =
// (x - 1) Gamma(x - 1) runs down to [1, 2] in double (x - k is exact for a
// float x; at most 170 products, 2^-45 relative); below 1, Gamma(x) =
// Gamma(x + 1)/x.  Negative x by the reflection Gamma(x) Gamma(1 - x) =
// pi/sin(pi x), with sin(pi r) for the exactly reduced r in [-1/2, 1/2] by
// its Taylor series to r^25 (below 2^-60).  Large x for log Gamma by
// Stirling's series to 1/x^5.  Double precision is 29 bits beyond single,
// which covers the products and the cancellation near the zeros of log
// Gamma on the negative axis down to about 2^-20 of the result.
#pragma once

#include <cmath>

#include "vector/real/special/exp_log_core.h"
#include "vector/real/special/gamma_tables.h"

namespace qlm::special {

inline constexpr double kPi = 0x1.921fb54442d18p+1;

// Gamma(x) - 1 for x in [1, 2].
inline double gamma_minus_one_unit(double x) {
    return (x - 1.0) * (x - 2.0) * horner<sizeof(gamma_one_two) / 8 - 2>(gamma_one_two, x - 1.5);
}

// Gamma(x) for 0 < x <= 172 (infinity above 171.62).
inline double gamma_positive(double x) {
    if (x < 1.0) return (1.0 + gamma_minus_one_unit(x + 1.0)) / x;
    double p = 1.0;
    while (x > 2.0) {
        x -= 1.0;
        p *= x;
    }
    return p * (1.0 + gamma_minus_one_unit(x));
}

// sin(pi x) for finite x, exact in its reduction.
inline double sin_pi(double x) {
    if (std::fabs(x) >= 0x1p52) return 0.0;
    const double n = (x + 0x1.8p52) - 0x1.8p52;  // nearest integer
    const double r = x - n;                       // exact, in [-1/2, 1/2]
    const double y = kPi * r, y2 = y * y;
    double s = 0.0;
    constexpr double c[] = {-1.0 / 6,         1.0 / 120,          -1.0 / 5040,          1.0 / 362880,
                            -1.0 / 39916800,  1.0 / 6227020800.0, -1.0 / 1307674368000.0,
                            1.0 / 355687428096000.0, -1.0 / 121645100408832000.0,
                            1.0 / 51090942171709440000.0, -1.0 / 25852016738884976640000.0,
                            1.0 / 15511210043330985984000000.0};
    for (int i = 11; i >= 0; --i) s = s * y2 + c[i];
    const double v = y + y * y2 * s;
    const bool odd = std::fmod(n, 2.0) != 0;
    return odd ? -v : v;
}

// log|Gamma(x)| for x >= 1, with relative accuracy at x = 1 and 2.
inline double log_gamma_from_one(double x) {
    if (x < 2.0) {
        const dd g = two_sum(1.0, gamma_minus_one_unit(x));
        return log_dd(g).hi;
    }
    if (x < 3.0) {
        // Gamma(x) - 1 = (x - 2)(1 + (x - 1)(x - 3) h(x - 1)), exact at x = 2.
        const double d = (x - 2.0) * (1.0 + (x - 1.0) * (x - 3.0) * horner<sizeof(gamma_one_two) / 8 - 2>(
                                                                         gamma_one_two, x - 2.5));
        return log_dd(two_sum(1.0, d)).hi;
    }
    if (x < 35.0) return log_dd(gamma_positive(x)).hi;
    // Stirling: (x - 1/2) log x - x + log(2 pi)/2 + 1/(12x) - 1/(360x^3) + 1/(1260x^5).
    const double l = log_dd(x).hi, z = 1.0 / x, z2 = z * z;
    return (x - 0.5) * l - x + 0.91893853320467274178 + z * (1.0 / 12 - z2 * (1.0 / 360 - z2 * (1.0 / 1260)));
}

}  // namespace qlm::special
