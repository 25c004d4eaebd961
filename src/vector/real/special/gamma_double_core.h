// The gamma-function core of the double LGamma and TGamma routines: log
// |Gamma(x)| as a double-double, so that LGamma rounds it once and TGamma
// exponentiates it with exp_parts.
//
// Near [1.5, 2.5]: log Gamma(2 + z) = (1 - g) z + sum_{k>=2} (-1)^k
// (zeta(k) - 1)/k z^k for |z| <= 1/2 (g Euler's constant), the terms to
// z^3 in double-double and the rest to z^34 (truncation below 2^-64 of
// the result) in double; the series vanishes with z, so the result keeps
// its relative accuracy at x = 2, and at x = 1, where log x is subtracted
// (log Gamma(1 + z) = log Gamma(2 + z) - log(1 + z), 1 + z = x exactly).
// Elsewhere below 12: x = m + z with m the nearest integer, Gamma(x) =
// Gamma(2 + z) (x - 1)(x - 2)...(x - m + 2) for m >= 3 (each x - j exact,
// the product in double-double), Gamma(2 + z)/x for m = 1 and
// Gamma(2 + z)/(x (x + 1)) with x (x + 1) = x^2 + x in double-double for
// m = 0.  From 12 on, Stirling's series to 1/x^17 (truncation below 2^-62
// of the result) with (x - 1/2) log x - x in double-double; beyond 2^60
// log Gamma(x) = x (log x - 1) to a relative 2^-60.
//
// Negative x by the reflection, written with -x so that no argument is
// rounded: |Gamma(x)| = pi / (|x| |sin(pi x)| Gamma(-x)), with sin(pi x)
// from the exactly reduced fraction r in [-1/2, 1/2] in double-double (sin
// of pi |r| up to 1/4, cos of pi (1/2 - |r|) above).  The terms of the
// reflection cancel near the zeros of log |Gamma| below -2, leaving an
// absolute error of some 2^-62; where the result is below 2^-5 there,
// log_gamma_near_zero takes over with the zero's local expansion
// (gamma_zeros_table.h, from tools/gamma_series/gamma_zeros.cpp), which
// keeps the relative accuracy down to the zero itself.
#pragma once

#include <cmath>
#include <cstdint>

#include "vector/real/special/exp_log_core.h"
#include "vector/real/special/gamma_series_table.h"
#include "vector/real/special/gamma_zeros_table.h"

namespace qlm::special::gamma_d {

inline constexpr dd kPi = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
inline constexpr dd kLogPi = {0x1.250d048e7a1bdp+0, 0x1.7abf2ad8d5088p-57};
inline constexpr dd kHalfLog2Pi = {0x1.d67f1c864beb5p-1, -0x1.65b5a1b7ff5dfp-55};
inline constexpr dd kMinusSixth = {-0x1.5555555555555p-3, -0x1.5555555555555p-57};
inline constexpr dd kTwentyFourth = {0x1.5555555555555p-5, 0x1.5555555555555p-59};
inline constexpr dd kOneOver120 = {0x1.1111111111111p-7, 0x1.1111111111111p-63};
inline constexpr dd kMinusOneOver720 = {-0x1.6c16c16c16c17p-10, 0x1.f49f49f49f49fp-65};

inline dd dd_neg(dd a) { return {-a.hi, -a.lo}; }

// sum_{i<31} kTail[i] z^i, as four interleaved chains in z^4 (terms i = k
// mod 4 in chain k), so that the latency is that of eight steps rather than
// thirty-one; the chains' sum is dominated by the first, whose rounding
// errors are those of plain Horner.
inline double tail_series(double z) {
    const double z2 = z * z, z4 = z2 * z2;
    double c[4];
    for (int k = 0; k < 4; ++k) {
        int i = k + 28 <= 30 ? k + 28 : k + 24;
        double s = kTail[i];
        for (i -= 4; i >= 0; i -= 4) s = s * z4 + kTail[i];
        c[k] = s;
    }
    return (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]);
}

// log Gamma(2 + z) for |z| <= 1/2.
inline dd log_gamma_two_plus(double z) {
    const double s = tail_series(z);
    dd acc = dd_add(kC3, two_prod(s, z));
    acc = dd_add(kC2, dd_mul_d(acc, z));
    acc = dd_add(kC1, dd_mul_d(acc, z));
    return dd_mul_d(acc, z);
}

// (x - 1)(x - 2)...(x - m + 2) for m >= 3, |x - m| <= 1/2, as a
// double-double: the factors (each exact) multiplied in exact pairs, and
// the pairs chained, so that the chain is half as long as one factor at a
// time.
inline dd shift_product(double x, double m) {
    dd p;
    double j;
    if (static_cast<int>(m) % 2 == 0) {  // m - 2 factors, an even count
        p = two_prod(x - 1.0, x - 2.0);
        j = 3.0;
    } else {
        p = {x - 1.0, 0.0};
        j = 2.0;
    }
    for (; j < m - 2.0; j += 2.0) p = dd_mul(p, two_prod(x - j, x - (j + 1.0)));
    return p;
}

// log Gamma(x) for finite x > 0 (hi overflows to infinity from 2.55e305).
inline dd log_gamma_positive_dd(double x) {
    if (x < 11.5) {
        const double m = __builtin_nearbyint(x);  // round to nearest: the kernels' mode
        const double z = x - m;                   // exact, |z| <= 1/2
        const dd g = log_gamma_two_plus(z);
        if (m == 2.0) return g;
        if (m == 1.0) return dd_add(g, dd_neg(log_dd(x)));
        if (m == 0.0) return dd_add(g, dd_neg(log_dd(dd_add(two_prod(x, x), dd{x, 0.0}))));
        return dd_add(g, log_dd(shift_product(x, m)));
    }
    const dd l = log_dd(x);
    if (x < 0x1p60) {
        const double z = 1.0 / x, z2 = z * z, z4 = z2 * z2;
        // B_2k / (2k (2k - 1)) x^(1 - 2k), k = 1..9, in two chains of z^4
        // (odd and even k), so that the latency is that of four steps; the
        // first chain carries the sum, the second is below 2^-7 of it.
        const double odd_k = 1.0 / 12 + z4 * (1.0 / 1260 + z4 * (1.0 / 1188 + z4 * (1.0 / 156 + z4 * (43867.0 / 244188))));
        const double even_k = -1.0 / 360 + z4 * (-1.0 / 1680 + z4 * (-691.0 / 360360 + z4 * (-3617.0 / 122400)));
        const double series = z * (odd_k + z2 * even_k);
        dd t = dd_mul(l, two_sum(x, -0.5));
        t = dd_add(t, dd{-x, 0.0});
        t = dd_add(t, kHalfLog2Pi);
        return dd_add(t, dd{series, 0.0});
    }
    // x (log x - 1) - log(x)/2 + log(2 pi)/2, scaled by 2^-64 so that the
    // exact product stays in range.
    const dd m1 = dd_add(l, dd{-1.0, 0.0});
    const double xs = x * 0x1p-64;
    const dd p = two_prod(xs, m1.hi);
    const double lo = p.lo + xs * m1.lo + (kHalfLog2Pi.hi - 0.5 * l.hi) * 0x1p-64;
    const dd r = fast_two_sum(p.hi, lo);
    return {r.hi * 0x1p64, r.lo * 0x1p64};
}

// sin(pi x) as double-double for finite non-integer x with |x| < 2^52.
inline dd sin_pi_dd(double x) {
    const double n = (x + 0x1.8p52) - 0x1.8p52;  // nearest integer
    const double r = x - n;                       // exact, in [-1/2, 1/2]
    const double a = std::fabs(r);
    dd v;
    if (a <= 0.25) {
        const dd y = dd_add(two_prod(a, kPi.hi), dd{a * kPi.lo, 0.0});
        const double y2 = y.hi * y.hi;
        double p = 1.0 / 51090942171709440000.0;  // 1/21!, the next term below 2^-80
        p = p * y2 - 1.0 / 121645100408832000.0;
        p = p * y2 + 1.0 / 355687428096000.0;
        p = p * y2 - 1.0 / 1307674368000.0;
        p = p * y2 + 1.0 / 6227020800.0;
        p = p * y2 - 1.0 / 39916800.0;
        p = p * y2 + 1.0 / 362880.0;
        p = p * y2 - 1.0 / 5040.0;
        // sin y = y + y^3 (-1/6 + y^2 (1/120 + y^2 p)), the two leading
        // coefficients in double-double
        const dd yy = dd_mul(y, y);
        const dd c = dd_add(kMinusSixth, dd_mul(yy, dd_add(kOneOver120, dd{p * y2, 0.0})));
        v = dd_add(y, dd_mul(dd_mul(yy, y), c));
    } else {
        const double b = 0.5 - a;  // exact
        const dd y = dd_add(two_prod(b, kPi.hi), dd{b * kPi.lo, 0.0});
        const double y2 = y.hi * y.hi;
        double p = -1.0 / 1124000727777607680000.0;  // 1/22!, the next term below 2^-80
        p = p * y2 + 1.0 / 2432902008176640000.0;
        p = p * y2 - 1.0 / 6402373705728000.0;
        p = p * y2 + 1.0 / 20922789888000.0;
        p = p * y2 - 1.0 / 87178291200.0;
        p = p * y2 + 1.0 / 479001600.0;
        p = p * y2 - 1.0 / 3628800.0;
        p = p * y2 + 1.0 / 40320.0;
        // cos y = 1 - y^2/2 + y^4 (1/24 + y^2 (-1/720 + y^2 p)), likewise
        const dd yy = dd_mul(y, y);
        const dd c = dd_add(kTwentyFourth, dd_mul(yy, dd_add(kMinusOneOver720, dd{p * y2, 0.0})));
        v = dd_add(dd{1.0, 0.0}, dd_add(dd{-0.5 * yy.hi, -0.5 * yy.lo}, dd_mul(dd_mul(yy, yy), c)));
    }
    const bool odd = (static_cast<int64_t>(n) & 1) != 0;  // n is an integer below 2^52
    return (r < 0) != odd ? dd_neg(v) : v;
}

// log |Gamma(x)| for negative non-integer x above -2^52, and the sign of
// Gamma(x) in *negative.  |x| at least 2^-60, so that |x sin(pi x)| stays
// normal.
// For 1/2 < |x| < 11.5 one logarithm serves both terms: with -x = m + z,
// log Gamma(-x) = log Gamma(2 + z) + log(shift_product) (m >= 3), + 0 (m =
// 2), - log(-x) (m = 1), so that log |x sin(pi x)| + log Gamma(-x) is
// log Gamma(2 + z) + log(|x sin(pi x)| shift_product), and |sin(pi x)|
// alone for m = 1.
inline dd log_gamma_negative_dd(double x, bool* negative) {
    const double ax = -x;
    const dd s = sin_pi_dd(x);
    *negative = s.hi < 0;
    const dd as = s.hi < 0 ? dd_neg(s) : s;
    if (ax > 0.5 && ax < 11.5) {  // m >= 1: 0.5 itself rounds to the even 0
        const double m = __builtin_nearbyint(ax);
        const dd g = log_gamma_two_plus(ax - m);
        dd p = as;
        if (m >= 2.0) p = dd_mul_d(p, ax);
        if (m >= 3.0) p = dd_mul(p, shift_product(ax, m));
        return dd_add(dd_add(kLogPi, dd_neg(g)), dd_neg(log_dd(p)));
    }
    const dd p = dd_mul_d(as, ax);
    const dd t = dd_add(kLogPi, dd_neg(log_dd(p)));
    return dd_add(t, dd_neg(log_gamma_positive_dd(ax)));
}

// log |Gamma(x)| from the local expansion at the nearer zero of x's
// interval (-n-1, -n), 2 <= n <= 17, when x lies within its radius:
// t = x - x0 with x0 in three parts (x - x0.hi exact, x and x0 within a
// factor 2), then t (c0 + t q(t)) with c0 as hi + lo and the product in
// double-double, so that the result keeps its relative accuracy however
// close x comes to the zero.  False outside the radii.
inline bool log_gamma_near_zero(double x, dd* r) {
    const double ax = -x;
    const int n = static_cast<int>(ax);
    if (n < kFirstZeroInterval || n > kLastZeroInterval) return false;
    const gamma_zero* lower = &kGammaZeros[2 * (n - kFirstZeroInterval)];
    const gamma_zero& z = x < 0.5 * (lower[0].x0[0] + lower[1].x0[0]) ? lower[0] : lower[1];
    const double d = x - z.x0[0];
    if (!(std::fabs(d) <= z.radius)) return false;
    const dd t0 = two_sum(d, -z.x0[1]);
    const dd t = fast_two_sum(t0.hi, t0.lo - z.x0[2]);
    constexpr int kDeg = sizeof(z.c) / sizeof(double) - 1;
    double q = z.c[kDeg];
    for (int j = kDeg - 1; j >= 1; --j) q = q * t.hi + z.c[j];
    const dd c = fast_two_sum(z.c[0], z.c0_lo + t.hi * q);
    *r = dd_mul(t, c);
    return true;
}

// log |Gamma(x)| for finite x other than 0 and the negative integers, and
// the sign of Gamma(x).  Below 2^-60 in magnitude, log |Gamma(x)| =
// -log |x| - g x to a relative 2^-110.
inline dd log_abs_gamma_dd(double x, bool* negative) {
    *negative = false;
    if (std::fabs(x) < 0x1p-60) {
        constexpr double kEuler = 0x1.2788cfc6fb619p-1;
        const dd l = log_dd(std::fabs(x));
        *negative = x < 0;
        return fast_two_sum(-l.hi, -l.lo - kEuler * x);
    }
    if (x > 0) return log_gamma_positive_dd(x);
    const dd r = log_gamma_negative_dd(x, negative);
    // The reflection's terms cancel near the zeros below -2: its absolute
    // error, some 2^-62, is too much of a result below 2^-5 there.
    dd near;
    if (std::fabs(r.hi) < 0x1p-5 && log_gamma_near_zero(x, &near)) return near;
    return r;
}

}  // namespace qlm::special::gamma_d
