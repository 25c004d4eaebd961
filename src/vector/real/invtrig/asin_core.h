// The arcsine core shared by Asin and Acos in both types.
//
// For |x| <= 1/2: asin(x) = x + x s P(s), s = x^2, with P a fit of
// (asin(x) - x)/x^3 on s in [0, 1/4] from tools/special_fits (degree 12
// for double to 2^-53, 6 to 2^-28, 3 to 2^-14); the correction is below
// 5% of x, so P's error barely shows.
// For |x| > 1/2: asin(|x|) = pi/2 - 2 asin(sqrt(z)), z = (1 - |x|)/2, exact
// by Sterbenz; asin(sqrt z) = r + r z P(z) with r = sqrt(z).  With Extra
// set the root is carried as r + rl (rl from the exact square of r), and
// pi/2 - 2r is formed exactly, so that the cancellation near |x| = 1/2
// (factor 3) acts only on the small terms.
// Acos follows from the same pieces: pi/2 - asin(x) for |x| <= 1/2, 2w for
// x > 1/2 and pi - 2w for x < -1/2, where w = asin(sqrt z).
#pragma once

#include <cmath>

#include "vector/real/invtrig/atan_core.h"
#include "vector/real/invtrig/invtrig_tables.h"
#include "vector/real/special/double_double.h"
#include "vector/real/special/group_driver.h"

namespace qlm::special {

template <const double* Fit, int Size>
inline double asin_tail(double s) {
    return horner<Size - 2>(Fit, s - 0.125);
}

// asin(sqrt z) - sqrt z rounded, for z in [0, 1/4]: the root r and the rest.
template <const double* Fit, int Size, bool Extra>
inline dd asin_of_root(double z) {
    const double r = __builtin_sqrt(z);
    double rest = r * z * asin_tail<Fit, Size>(z);
    if constexpr (Extra) {
        const dd sq = two_prod(r, r);
        if (r != 0) rest += ((z - sq.hi) - sq.lo) / (2.0 * r);
    }
    return {r, rest};
}

template <const double* Fit, int Size, bool Extra>
inline double asin_value(double x) {
    const double ax = std::fabs(x);
    double r;
    if (ax <= 0.5) {
        const double s = x * x;
        return x + x * (s * asin_tail<Fit, Size>(s));
    }
    const dd w = asin_of_root<Fit, Size, Extra>(0.5 - 0.5 * ax);
    const dd head = two_sum(kPio2Hi, -2.0 * w.hi);
    r = head.hi + (head.lo + kPio2Lo - 2.0 * w.lo);
    return std::copysign(r, x);
}

template <const double* Fit, int Size, bool Extra>
inline double acos_value(double x) {
    const double ax = std::fabs(x);
    if (ax <= 0.5) {
        const double s = x * x;
        return kPio2Hi - (x + (x * (s * asin_tail<Fit, Size>(s)) - kPio2Lo));
    }
    const dd w = asin_of_root<Fit, Size, Extra>(0.5 - 0.5 * ax);
    if (x > 0) return 2.0 * w.hi + 2.0 * w.lo;
    const dd head = two_sum(kPiHi, -2.0 * w.hi);
    return head.hi + (head.lo + kPiLo - 2.0 * w.lo);
}

inline constexpr int kFitD = sizeof(asin_tail_d) / 8;
inline constexpr int kFitF = sizeof(asin_tail_f) / 8;
inline constexpr int kFitE = sizeof(asin_tail_e) / 8;

// The kernel plan of Asin (Acos false) and Acos (Acos true).
template <typename Elem, const double* Fit, int Size, bool Extra, bool Acos, const char* Name>
struct arcsine_plan : abs_screen<Elem, 0x3FF00000u, 0x3F800000u, Name> {
    static Elem fast(Elem x) {
        if constexpr (Acos) return static_cast<Elem>(acos_value<Fit, Size, Extra>(x));
        else return static_cast<Elem>(asin_value<Fit, Size, Extra>(x));
    }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::fabs(x) == Elem(1)) return fast(x);
        status = VXM_STATUS_ERRDOM;
        return static_cast<Elem>(NAN);
    }
};

}  // namespace qlm::special
