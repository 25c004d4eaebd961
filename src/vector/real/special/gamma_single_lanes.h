// The single LGamma and TGamma cores on two double lanes: the arithmetic of
// gamma_core.h, reshaped so that a group of eight floats runs as four pairs
// without a branch per element.
//
// Positive a (after a < 1 is moved to a + 1, exact for a float):
// - a < 8: n = floor(a), t = a - (n - 1) in [1, 2), Gamma(a) = Pr (1 + D)
//   with Pr = (a - 1)(a - 2)...(a - n + 1), each factor exact, and
//   D = Gamma(t) - 1 = (t - 1)(t - 2) h(t) from the [1, 2] fit;
//   log Gamma(a) = log1p((Pr - 1) + Pr D).  At a = 1 D vanishes with a - 1;
//   near a = 2, Pr = t and Pr - 1 = t - 1 is exact, so the argument of
//   log1p keeps its relative accuracy at both zeros.
// - a >= 8: Stirling's series for log Gamma to 1/a^9 (truncation below
//   1e-11 at a = 8), and Gamma = e^(log Gamma) for TGamma, whose result
//   carries the absolute error of the exponent, some 2^-45 relative.
// - a < 1: log Gamma(x) = log Gamma(x + 1) - log x, Gamma(x) = Gamma(x + 1)/x.
// Negative x by the reflection with 1 - x (exact): log |Gamma(x)| =
// log pi - log |sin(pi x)| - log Gamma(1 - x), Gamma(x) = pi / (sin(pi x)
// Gamma(1 - x)), sin(pi x) from the exactly reduced r = x - round(x) by its
// Taylor series to r^23.
// The logarithm: x = 2^k m with m in [sqrt(1/2), sqrt(2)), f = m - 1
// exact, s = f/(2 + f), log m = 2s + 2s s^2 P(s^2), the series of atanh
// to s^19 (truncation below 2^-55), k ln 2 in two parts: about an ulp of
// double.  The exponential: n = round(x/ln 2), r in two parts, Taylor to
// r^13 on |r| <= ln2/2, scaled by 2^n in the exponent field.
// Everything is double arithmetic: 29 bits beyond single precision.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/special/gamma_tables.h"

namespace qlm::special::gamma_lanes {

using v2d = double __attribute__((vector_size(16)));
using v2l = int64_t __attribute__((vector_size(16)));
using v2u = uint64_t __attribute__((vector_size(16)));

inline v2d splat(double c) { return v2d{c, c}; }
inline v2d select(v2l mask, v2d yes, v2d no) {
    return (v2d)_mm_blendv_pd((__m128d)no, (__m128d)yes, (__m128d)mask);
}
inline bool any(v2l mask) { return _mm_movemask_pd((__m128d)mask) != 0; }
inline v2d vfloor(v2d a) { return (v2d)_mm_floor_pd((__m128d)a); }
inline v2d vround(v2d a) { return (v2d)_mm_round_pd((__m128d)a, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC); }

inline constexpr double kLn2Hi = 0x1.62e42fefa3800p-1;  // 42 bits: k ln2hi exact
inline constexpr double kLn2Lo = 0x1.ef35793c7673p-45;
inline constexpr double kLogPi = 0x1.250d048e7a1bdp+0;
inline constexpr double kPi = 0x1.921fb54442d18p+1;
inline constexpr double kHalfLog2Pi = 0x1.d67f1c864beb5p-1;

// log u for positive normal u.
inline v2d vlog(v2d u) {
    const v2u bits = (v2u)u;
    v2d m = (v2d)((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);  // [1, 2)
    v2d k = (v2d)((bits >> 52) | 0x4330000000000000ull) - splat(0x1p52 + 1023.0);
    const v2l high = m > splat(0x1.6a09e667f3bcdp+0);
    m = select(high, m * 0.5, m);
    k = select(high, k + 1.0, k);
    const v2d f = m - 1.0;
    const v2d s = f / (f + 2.0);
    const v2d s2 = s * s;
    v2d p = splat(1.0 / 19);
    p = p * s2 + 1.0 / 17;
    p = p * s2 + 1.0 / 15;
    p = p * s2 + 1.0 / 13;
    p = p * s2 + 1.0 / 11;
    p = p * s2 + 1.0 / 9;
    p = p * s2 + 1.0 / 7;
    p = p * s2 + 1.0 / 5;
    p = p * s2 + 1.0 / 3;
    const v2d twice_s = s + s;
    return k * kLn2Hi + (k * kLn2Lo + (twice_s + twice_s * s2 * p));
}

// log(1 + d) for d > -1, with the rounding of 1 + d put back.
inline v2d vlog1p(v2d d) {
    const v2d u = 1.0 + d;
    return vlog(u) + (d - (u - 1.0)) / u;
}

// e^x for |x| below 700.
inline v2d vexp(v2d x) {
    const v2d n = vround(x * 0x1.71547652b82fep+0);
    const v2d r = (x - n * kLn2Hi) - n * kLn2Lo;
    v2d p = splat(1.0 / 6227020800.0);  // 1/13!
    constexpr double c[] = {1.0 / 479001600, 1.0 / 39916800, 1.0 / 3628800, 1.0 / 362880, 1.0 / 40320,
                            1.0 / 5040,      1.0 / 720,      1.0 / 120,     1.0 / 24,     1.0 / 6,
                            0.5,             1.0,            1.0};
    for (double ci : c) p = p * r + ci;
    // 2^n by the exponent field: n + 1023 in the low bits of n + 2^52.
    const v2u scale = ((v2u)(n + splat(0x1p52 + 1023.0))) << 52;
    return p * (v2d)scale;
}

// Gamma(t) - 1 for t in [1, 2].
inline v2d gamma_minus_one(v2d t) {
    constexpr int deg = sizeof(gamma_one_two) / 8 - 2;
    const v2d z = t - 1.5;
    v2d h = splat(gamma_one_two[deg]);
    for (int i = deg - 1; i >= 0; --i) h = h * z + gamma_one_two[i];
    return (t - 1.0) * (t - 2.0) * h;
}

// The small-argument split of a >= 1, a < 8: Pr and D as in the header.
inline void product_split(v2d a, v2d* pr, v2d* d) {
    const v2d n = vfloor(a);
    v2d p = splat(1.0);
    for (int j = 1; j <= 6; ++j) p = select(n > double(j), p * (a - double(j)), p);
    *pr = p;
    *d = gamma_minus_one(a - (n - 1.0));
}

// Stirling's series of log Gamma(a) - ((a - 1/2) log a - a + log(2 pi)/2).
inline v2d stirling_tail(v2d a) {
    const v2d z = 1.0 / a, z2 = z * z;
    v2d p = splat(1.0 / 1188);
    p = -1.0 / 1680 + z2 * p;
    p = 1.0 / 1260 + z2 * p;
    p = -1.0 / 360 + z2 * p;
    p = 1.0 / 12 + z2 * p;
    return z * p;
}

// Stirling's log Gamma(a) from l = log a.
inline v2d stirling(v2d a, v2d l) { return (a - 0.5) * l - a + (kHalfLog2Pi + stirling_tail(a)); }

// Pr (1 + D) - 1 of the product split, with relative accuracy where it
// vanishes: Pr - 1 is exact for Pr = t in [1, 2).
inline v2d product_minus_one(v2d a) {
    v2d pr, d;
    product_split(a, &pr, &d);
    return (pr - 1.0) + pr * d;
}

// log Gamma(a) for a >= 1: one logarithm, of a (Stirling's lanes) or of
// the product split (the others), as log1p of the value less one.
inline v2d log_gamma_from_one(v2d a) {
    const v2l large = a >= 8.0;
    if (!any(large)) return vlog1p(product_minus_one(a));
    if (!any(~large)) return stirling(a, vlog1p(a - 1.0));
    const v2d l = vlog1p(select(large, a - 1.0, product_minus_one(select(large, splat(1.5), a))));
    return select(large, stirling(a, l), l);
}

// log Gamma(x) for x > 0.
inline v2d log_gamma_positive(v2d x) {
    const v2l small = x < 1.0;
    if (!any(small)) return log_gamma_from_one(x);
    const v2d g = log_gamma_from_one(select(small, x + 1.0, x));
    return select(small, g - vlog(x), g);
}

// sin(pi x) for finite x below 2^52 in magnitude.
inline v2d sin_pi(v2d x) {
    const v2d n = vround(x);
    const v2d y = (x - n) * kPi;  // the reduction is exact
    const v2d y2 = y * y;
    constexpr double c[] = {-1.0 / 25852016738884976640000.0, 1.0 / 51090942171709440000.0,
                            -1.0 / 121645100408832000.0,     1.0 / 355687428096000.0,
                            -1.0 / 1307674368000.0,          1.0 / 6227020800.0,
                            -1.0 / 39916800,                 1.0 / 362880,
                            -1.0 / 5040,                     1.0 / 120,
                            -1.0 / 6};
    v2d s = splat(1.0 / 15511210043330985984000000.0);
    for (double ci : c) s = s * y2 + ci;
    const v2d v = y + y * y2 * s;
    // (-1)^n: the low bit of n, moved to the sign.
    const v2u odd = ((v2u)(n + splat(0x1.8p52))) << 63;
    return (v2d)((v2u)v ^ odd);
}

// log |Gamma(x)| for x > 0 or x a negative non-integer, |x| < 2^52.
inline v2d log_abs_gamma(v2d x) {
    const v2l negative = x < 0.0;
    if (!any(negative)) return log_gamma_positive(x);
    const v2d g = log_gamma_positive(select(negative, 1.0 - x, x));
    const v2d s = sin_pi(x);
    const v2d abs_s = (v2d)((v2u)s & 0x7FFFFFFFFFFFFFFFull);
    const v2d reflected = kLogPi - vlog(select(negative, abs_s, splat(1.0))) - g;
    return select(negative, reflected, g);
}

// Gamma(a) for 1 <= a < 172.
inline v2d gamma_from_one(v2d a) {
    const v2l large = a >= 8.0;
    v2d pr, d;
    product_split(select(large, splat(1.5), a), &pr, &d);
    const v2d small_result = pr + pr * d;
    if (!any(large)) return small_result;
    const v2d b = select(large, a, splat(8.0));
    const v2d stirling = vexp((b - 0.5) * vlog(b) - b + (kHalfLog2Pi + stirling_tail(b)));
    return select(large, stirling, small_result);
}

// Gamma(x) for x > 0 or x a negative non-integer, with 1 - x below 172.
inline v2d gamma(v2d x) {
    const v2l negative = x < 0.0;
    const v2l small = x < 1.0;
    const v2d y = select(negative, 1.0 - x, x);  // the reflected argument
    const v2l lift = small & ~negative;
    const v2d g = gamma_from_one(select(lift, y + 1.0, y));
    v2d r = g;
    if (any(lift)) r = select(lift, g / x, g);
    if (any(negative)) r = select(negative, kPi / (sin_pi(x) * g), r);
    return r;
}

// The group loop of a single routine on double lanes: eight floats a turn
// as four pairs when every lane passes the plan's screen; otherwise each
// element of the group goes its own way, through the lanes (one value in
// both) when it passes and the plan's scalar routine when it does not, as
// do the elements after the last whole group.  The plan supplies
// `__m128 ok(__m128 x)` (all ones where the lanes serve x), `v2d core(v2d)`
// and `float scalar(float, int& status)`.
template <class Plan>
void run_single(int32_t n, const float* a, float* y) {
    auto one = [&](int32_t i) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (_mm_movemask_ps(Plan::ok(x)) & 1) {
            y[i] = _mm_cvtss_f32(_mm_cvtpd_ps((__m128d)Plan::core((v2d)_mm_cvtps_pd(x))));
            return;
        }
        int status = 0;
        y[i] = Plan::scalar(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, Plan::name);
    };
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        if (_mm_movemask_ps(_mm_and_ps(Plan::ok(x0), Plan::ok(x1))) != 0xF) {
            for (int32_t k = i; k < i + 8; ++k) one(k);
            continue;
        }
        const v2d r0 = Plan::core((v2d)_mm_cvtps_pd(x0));
        const v2d r1 = Plan::core((v2d)_mm_cvtps_pd(_mm_movehl_ps(x0, x0)));
        const v2d r2 = Plan::core((v2d)_mm_cvtps_pd(x1));
        const v2d r3 = Plan::core((v2d)_mm_cvtps_pd(_mm_movehl_ps(x1, x1)));
        _mm_storeu_ps(y + i, _mm_movelh_ps(_mm_cvtpd_ps((__m128d)r0), _mm_cvtpd_ps((__m128d)r1)));
        _mm_storeu_ps(y + i + 4, _mm_movelh_ps(_mm_cvtpd_ps((__m128d)r2), _mm_cvtpd_ps((__m128d)r3)));
    }
    for (; i < n; ++i) one(i);
}

// The lanes' screen: |x| at least the least normal float, x below `above`
// and, when negative, above `below` and not an integer (the poles).
inline __m128 screen(__m128 x, float below, float above) {
    const __m128 ax = _mm_andnot_ps(_mm_set1_ps(-0.0f), x);
    const __m128 in_range = _mm_and_ps(_mm_cmpge_ps(ax, _mm_set1_ps(0x1p-126f)),
                                       _mm_and_ps(_mm_cmplt_ps(x, _mm_set1_ps(above)),
                                                  _mm_cmpgt_ps(x, _mm_set1_ps(below))));
    const __m128 not_pole = _mm_or_ps(_mm_cmpgt_ps(x, _mm_setzero_ps()),
                                      _mm_cmpneq_ps(x, _mm_round_ps(x, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)));
    return _mm_and_ps(in_range, not_pole);
}

}  // namespace qlm::special::gamma_lanes
