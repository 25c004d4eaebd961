// The fast (LA) lanes of Sin, Cos, SinCos and Tan: packed SSE arithmetic on
// two doubles (or, in single, four floats whose reduction runs on two double
// pairs), and the group loop that redoes the lanes the fast formula cannot
// serve.
//
// Reduction, on x itself (the polynomials are odd, so its sign rides on r):
// n = round(x/pi) for the sine, n + 1/2 = round(x/pi - 1/2) + 1/2 for the
// cosine, n = round(2x/pi) for the tangent; r = x - n*pi (or n*pi/2) with pi
// in four pieces from tools/trig_tables, n times each of the first three
// exact below 2^16 and every cancelling subtraction exact, so r keeps 51 bits
// even beside a multiple of pi (the nearest doubles lie about 2^-61 from one).
// Sine: r + r^3 P(r^2) with P of degree 7 from tools/trig_tables
// (la_polynomials.h, 2^-54.6 relative on [-pi/2, pi/2]); the sign is the
// input's, flipped for odd n, and -(-1)^n for the cosine.  Measured within
// 1.6 ulps.
// Tangent: the continued-fraction convergent r P(r^2) / Q(r^2) of degree 4
// over 4 (2^-56 on [-pi/4, pi/4]), and -Q / (r P) for odd n: one division,
// measured within 1.6 ulps.
// Single: the reduction in double as above, r split into a float and its
// float remainder, the polynomials in float on four lanes (sine degree 4 in
// r^2, tangent the convergent of degree 2 over 2); the remainder enters the
// linear term, so r's rounding to float does not show.
// Lanes with |x| at or above 2^16 (infinities too; NaN gives NaN on the
// fast lane) are redone one at a time by the caller's per-element step,
// while the other lanes of the group keep their fast results.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/trig/la_polynomials.h"
#include "vector/real/trig/sine_core.h"

namespace qlm::trig::la {

inline __m128d set(double v) { return _mm_set1_pd(v); }
inline __m128 setf(float v) { return _mm_set1_ps(v); }
inline __m128d splat(__m128d, double v) { return _mm_set1_pd(v); }
inline __m128 splat(__m128, float v) { return _mm_set1_ps(v); }
inline __m128d mul(__m128d a, __m128d b) { return _mm_mul_pd(a, b); }
inline __m128 mul(__m128 a, __m128 b) { return _mm_mul_ps(a, b); }
inline __m128d add(__m128d a, __m128d b) { return _mm_add_pd(a, b); }
inline __m128 add(__m128 a, __m128 b) { return _mm_add_ps(a, b); }

// c[0] + c[1] g + ... + c[N-1] g^(N-1) as c[0] + g Y, Y summed from pairs
// c[k] + c[k+1] g in powers of g2 = g^2.  The chain of dependent operations
// is about half of Horner's, and that chain bounds a loop of independent
// turns as much as the count of multiplications does; the last step stays
// Horner's, so that the leading coefficient's sum rounds once.
template <typename V, typename T, int N>
inline V estrin(V g, V g2, const T (&c)[N]) {
    auto pair = [&](int k) { return add(splat(g, c[k]), mul(g, splat(g, c[k + 1]))); };
    V y;
    if constexpr (N == 3) {
        y = pair(1);
    } else if constexpr (N == 5) {
        y = add(pair(1), mul(g2, pair(3)));
    } else {
        static_assert(N == 8);  // Horner's form in g^2 over pairs: two multiplications fewer than Estrin's
        y = add(pair(1), mul(g2, add(pair(3), mul(g2, add(pair(5), mul(g2, splat(g, c[7])))))));
    }
    return add(splat(g, c[0]), mul(g, y));
}

inline __m128d sign_mask() { return _mm_castsi128_pd(_mm_set1_epi64x(INT64_MIN)); }

// The fast lanes serve |x| below this; the others are redone.
inline constexpr double kLaLimit = 0x1p16;

// r = x - nf*pi (Half 0) or x - nf*pi/2 (Half 1), |nf| below 2^16: the first
// three products are exact, the first subtraction is exact (Sterbenz), and
// each later one is exact when it cancels.
template <int Half>
inline __m128d reduce(__m128d x, __m128d nf) {
    constexpr double s = Half ? 0.5 : 1.0;
    __m128d r = _mm_sub_pd(x, _mm_mul_pd(nf, set(pi_la[0] * s)));
    r = _mm_sub_pd(r, _mm_mul_pd(nf, set(pi_la[1] * s)));
    r = _mm_sub_pd(r, _mm_mul_pd(nf, set(pi_la[2] * s)));
    return _mm_sub_pd(r, _mm_mul_pd(nf, set(pi_la[3] * s)));
}

// n = round(x/pi) for the sine, n + 1/2 = round(x/pi - 1/2) + 1/2 for the
// cosine, and t, whose low bit is n's parity (two's complement for n < 0).
template <bool Cosine>
inline __m128d count_halves(__m128d x, __m128d& t) {
    if constexpr (Cosine) {
        t = _mm_add_pd(_mm_sub_pd(_mm_mul_pd(x, set(kInvPi)), set(0.5)), set(kShifter));
        return _mm_add_pd(_mm_sub_pd(t, set(kShifter)), set(0.5));
    } else {
        t = _mm_add_pd(_mm_mul_pd(x, set(kInvPi)), set(kShifter));
        return _mm_sub_pd(t, set(kShifter));
    }
}

// sin x = (-1)^n sin r; cos x = -(-1)^n sin r.  The polynomial is odd, so
// the sign of x (and of a zero) rides on r.
template <bool Cosine>
inline __m128d parity_sign(__m128d t) {
    const __m128d parity = _mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(t), 63));
    return Cosine ? _mm_xor_pd(parity, sign_mask()) : parity;
}

template <bool Cosine>
inline __m128d sine(__m128d x) {
    __m128d t;
    const __m128d r = reduce<0>(x, count_halves<Cosine>(x, t));
    const __m128d g = _mm_mul_pd(r, r);
    const __m128d p = estrin(g, _mm_mul_pd(g, g), sine_la);
    // sin r has r's sign; OR-ing it in keeps sin(-0) = -0, which the sum loses.
    const __m128d s = _mm_or_pd(_mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, g), p)), _mm_and_pd(r, sign_mask()));
    return _mm_xor_pd(s, parity_sign<Cosine>(t));
}

// tan x = tan r for even n, -1/tan r for odd n (n = round(2x/pi)).
inline __m128d tangent(__m128d x) {
    const __m128d t = _mm_add_pd(_mm_mul_pd(x, set(2 * kInvPi)), set(kShifter));
    const __m128d r = reduce<1>(x, _mm_sub_pd(t, set(kShifter)));
    const __m128d g = _mm_mul_pd(r, r);
    const __m128d g2 = _mm_mul_pd(g, g);
    const __m128d p = _mm_mul_pd(estrin(g, g2, tangent_la_p), r), q = estrin(g, g2, tangent_la_q);
    // Odd n: -Q / (r P); the blend reads the sign bit, which holds n's parity.
    const __m128d odd = _mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(t), 63));
    return _mm_xor_pd(_mm_div_pd(_mm_blendv_pd(p, q, odd), _mm_blendv_pd(q, p, odd)), odd);
}

// ---------------------------------------------------------------------------
// Single: four floats, reduced on two double pairs.

// r as a float and its float remainder, and t's four low words (n's parity
// in bit 0), from the reduced doubles of two pairs.
inline void narrow(__m128d r0, __m128d r1, __m128d t0, __m128d t1, __m128& rh, __m128& rl, __m128i& n) {
    rh = _mm_movelh_ps(_mm_cvtpd_ps(r0), _mm_cvtpd_ps(r1));
    const __m128d e0 = _mm_sub_pd(r0, _mm_cvtps_pd(rh));
    const __m128d e1 = _mm_sub_pd(r1, _mm_cvtps_pd(_mm_movehl_ps(rh, rh)));
    rl = _mm_movelh_ps(_mm_cvtpd_ps(e0), _mm_cvtpd_ps(e1));
    n = _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(t0), _mm_castpd_ps(t1), _MM_SHUFFLE(2, 0, 2, 0)));
}

inline __m128 sign_mask_f() { return _mm_castsi128_ps(_mm_set1_epi32(INT32_MIN)); }

inline void widen(__m128 x, __m128d& x0, __m128d& x1) {
    x0 = _mm_cvtps_pd(x);
    x1 = _mm_cvtps_pd(_mm_movehl_ps(x, x));
}

template <bool Cosine>
inline __m128 sine(__m128 x) {
    __m128d x0, x1, t0, t1;
    widen(x, x0, x1);
    const __m128d r0 = reduce<0>(x0, count_halves<Cosine>(x0, t0));
    const __m128d r1 = reduce<0>(x1, count_halves<Cosine>(x1, t1));
    __m128 r, rl;
    __m128i n;
    narrow(r0, r1, t0, t1, r, rl, n);
    const __m128 g = _mm_mul_ps(r, r);
    const __m128 p = estrin(g, _mm_mul_ps(g, g), sine_la_single);
    const __m128 s = _mm_or_ps(_mm_add_ps(r, _mm_add_ps(rl, _mm_mul_ps(_mm_mul_ps(r, g), p))),
                               _mm_and_ps(r, sign_mask_f()));
    const __m128 parity = _mm_castsi128_ps(_mm_slli_epi32(n, 31));
    return _mm_xor_ps(s, Cosine ? _mm_xor_ps(parity, sign_mask_f()) : parity);
}

inline __m128 tangent(__m128 x) {
    __m128d x0, x1;
    widen(x, x0, x1);
    const __m128d t0 = _mm_add_pd(_mm_mul_pd(x0, set(2 * kInvPi)), set(kShifter));
    const __m128d t1 = _mm_add_pd(_mm_mul_pd(x1, set(2 * kInvPi)), set(kShifter));
    const __m128d r0 = reduce<1>(x0, _mm_sub_pd(t0, set(kShifter)));
    const __m128d r1 = reduce<1>(x1, _mm_sub_pd(t1, set(kShifter)));
    __m128 r, rl;
    __m128i n;
    narrow(r0, r1, t0, t1, r, rl, n);
    const __m128 g = _mm_mul_ps(r, r);
    const __m128 g2 = _mm_mul_ps(g, g);
    const __m128 p = _mm_add_ps(_mm_mul_ps(r, estrin(g, g2, tangent_la_single_p)), rl);
    const __m128 q = estrin(g, g2, tangent_la_single_q);
    const __m128 odd = _mm_castsi128_ps(_mm_slli_epi32(n, 31));
    return _mm_xor_ps(_mm_div_ps(_mm_blendv_ps(p, q, odd), _mm_blendv_ps(q, p, odd)), odd);
}

// ---------------------------------------------------------------------------
// The group loop: four elements a turn (two double pairs or one float four).
// `wide(i, x, count)` stores the fast results of the `count` lanes of x at
// i; afterwards each lane with |x| >= 2^16 (infinities too; NaN compares
// false and keeps its NaN) is handed to `redo(i, x_i)`.  The ragged end runs
// the same arithmetic on a register holding the remaining elements.
template <typename Wide, typename Redo>
inline void run_redo_groups(int32_t n, const double* a, Wide&& wide, Redo&& redo) {
    const __m128d limit = set(kLaLimit);
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128d x0 = _mm_loadu_pd(a + i), x1 = _mm_loadu_pd(a + i + 2);
        unsigned mask = static_cast<unsigned>(_mm_movemask_pd(_mm_cmpge_pd(_mm_andnot_pd(sign_mask(), x0), limit))) |
                        static_cast<unsigned>(_mm_movemask_pd(_mm_cmpge_pd(_mm_andnot_pd(sign_mask(), x1), limit))) << 2;
        alignas(16) double keep[4];
        if (mask) {  // a[i] may be overwritten by the stores when y is a
            _mm_store_pd(keep, x0);
            _mm_store_pd(keep + 2, x1);
        }
        wide(i, x0, 2);
        wide(i + 2, x1, 2);
        while (mask) {
            const int k = __builtin_ctz(mask);
            redo(i + k, keep[k]);
            mask &= mask - 1;
        }
    }
    for (; i < n; i += 2) {
        const int count = n - i >= 2 ? 2 : 1;
        const __m128d x = count == 2 ? _mm_loadu_pd(a + i) : _mm_load_sd(a + i);
        alignas(16) double keep[2];
        _mm_store_pd(keep, x);
        wide(i, x, count);
        for (int k = 0; k < count; ++k)
            if (!(lanes::abs(keep[k]) < kLaLimit) && keep[k] == keep[k]) redo(i + k, keep[k]);
    }
}

inline void store(double* p, __m128d v, int count) {
    if (count == 2) _mm_storeu_pd(p, v);
    else _mm_store_sd(p, v);
}

template <typename Wide, typename Redo>
inline void run_redo_groups(int32_t n, const float* a, Wide&& wide, Redo&& redo) {
    const __m128 limit = setf(static_cast<float>(kLaLimit));
    for (int32_t i = 0; i < n; i += 4) {
        const int count = n - i >= 4 ? 4 : n - i;
        alignas(16) float keep[4] = {0, 0, 0, 0};
        __m128 x;
        if (count == 4) {
            x = _mm_loadu_ps(a + i);
        } else {
            for (int k = 0; k < count; ++k) keep[k] = a[i + k];
            x = _mm_load_ps(keep);
        }
        unsigned mask = static_cast<unsigned>(_mm_movemask_ps(_mm_cmpge_ps(_mm_andnot_ps(sign_mask_f(), x), limit)));
        if (mask) _mm_store_ps(keep, x);
        wide(i, x, count);
        while (mask) {
            const int k = __builtin_ctz(mask);
            redo(i + k, keep[k]);
            mask &= mask - 1;
        }
    }
}

inline void store(float* p, __m128 v, int count) {
    if (count == 4) {
        _mm_storeu_ps(p, v);
    } else {
        alignas(16) float t[4];
        _mm_store_ps(t, v);
        for (int k = 0; k < count; ++k) p[k] = t[k];
    }
}

}  // namespace qlm::trig::la
