// The arctangent core shared by Atan and Atan2 in both types.
//
// Reduction: below 1/8 the series runs on x itself with 3 more terms (taking
// c = 1/8 there would cancel half the digits); up to 1, c = k/8 is the
// nearest eighth and
// atan(x) = atan(c) + atan(t), t = (x - c)/(1 + c x); for |x| > 1, c = k/8
// is the nearest eighth to 1/x and atan(x) = pi/2 - atan(c) - atan(t),
// t = (1 - c x)/(x + c).  Either way |t| <= 1/16, so the Taylor series
// t - t^3/3 + ... needs only `Terms` terms beyond t: the omitted term is
// below 2^-8(Terms+1) relative, 7 terms for double HA (2^-64), 3 for 26 bits.
// x - c is exact (Sterbenz) for k >= 1.  With Extra set, t is formed as a
// double-double from the exact products (1 - c x, where c x is near 1,
// cancels) and atan(c) is added as hi + lo, which keeps double Atan within
// about 0.55 ulp.  The table
// atan(k/8) comes from tools/special_fits.
#pragma once

#include "vector/real/invtrig/invtrig_tables.h"
#include "vector/real/special/double_double.h"

namespace qlm::special {

inline constexpr double kPio2Hi = 0x1.921fb54442d18p+0;
inline constexpr double kPio2Lo = 0x1.1a62633145c07p-54;
inline constexpr double kPiHi = 0x1.921fb54442d18p+1;
inline constexpr double kPiLo = 0x1.1a62633145c07p-53;

// atan(t) - t, and atan(t) itself.
template <int Terms, typename R>
inline R atan_series_beyond_t(R t) {
    constexpr R c[] = {R(-1) / 3,  R(1) / 5,   R(-1) / 7,  R(1) / 9,   R(-1) / 11, R(1) / 13,
                       R(-1) / 15, R(1) / 17, R(-1) / 19, R(1) / 21, R(-1) / 23, R(1) / 25, R(-1) / 27};
    static_assert(Terms >= 1 && Terms <= 13);
    const R t2 = t * t;
    R q = c[Terms - 1];
    for (int i = Terms - 2; i >= 0; --i) q = q * t2 + c[i];
    return t * t2 * q;
}

template <int Terms, typename R = double>
inline R atan_series(R t) {
    return t + atan_series_beyond_t<Terms, R>(t);
}

// atan(ax) for finite ax >= 0.
template <int Terms, bool Extra>
inline double atan_nonnegative(double ax) {
    if (ax < 0.125) return atan_series<Terms + 3>(ax);
    if (ax <= 1.0) {
        const int k = static_cast<int>(ax * 8.0 + 0.5);
        const double c = k * 0.125;
        if constexpr (Extra) {
            // t as double-double: the rounding of t would otherwise add
            // half an ulp of the result for x just above 1/8.
            const dd cx = two_prod(c, ax);
            const dd den = fast_two_sum(1.0, cx.hi);
            const dd t = dd_div({ax - c, 0.0}, {den.hi, den.lo + cx.lo});
            // atan(c) + t exactly, the small rest added once.
            const dd head = two_sum(atan_eighths[k][0], t.hi);
            return head.hi + (head.lo + atan_eighths[k][1] + t.lo + atan_series_beyond_t<Terms>(t.hi));
        } else {
            return atan_eighths[k][0] + atan_series<Terms>((ax - c) / (1.0 + c * ax));
        }
    }
    if (ax > 16.0) {  // c = 0: pi/2 - atan(1/x), and the exact product would overflow
        const double p = atan_series<Terms>(1.0 / ax);
        if constexpr (Extra) return kPio2Hi + (kPio2Lo - p);
        else return kPio2Hi - p;
    }
    const int k = static_cast<int>(8.0 / ax + 0.5);
    const double c = k * 0.125;
    if constexpr (Extra) {
        const dd cx = two_prod(c, ax);
        const dd num = fast_two_sum(1.0 - cx.hi, -cx.lo);
        const dd t = dd_div(num, two_sum(ax, c));
        const dd base = two_sum(kPio2Hi, -atan_eighths[k][0]);
        const dd head = two_sum(base.hi, -t.hi);
        return head.hi + (head.lo + base.lo + (kPio2Lo - atan_eighths[k][1]) - t.lo -
                          atan_series_beyond_t<Terms>(t.hi));
    } else {
        const double p = atan_series<Terms>((1.0 - c * ax) / (ax + c));
        return (kPio2Hi - atan_eighths[k][0]) - p;
    }
}

// The same in x87 extended precision, for 0 <= z <= 1.
template <int Terms>
inline long double atan_unit_x87(long double z) {
    if (z < 0.125L) return atan_series<Terms + 3, long double>(z);
    const int k = static_cast<int>(z * 8.0L + 0.5L);
    const long double c = k * 0.125L;
    const long double t = (z - c) / (1.0L + c * z);
    return atan_eighths_x87[k] + atan_series<Terms, long double>(t);
}

}  // namespace qlm::special
