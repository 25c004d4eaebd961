// The fast (LA) lanes of double Sin, Cos, SinCos and Tan: packed SSE
// arithmetic on two doubles, and the group loop that redoes the lanes the
// fast formula cannot serve.
//
// Reduction, on x itself (the polynomials are odd, so its sign rides on r):
// n = round(x/pi) for the sine, n + 1/2 = round(x/pi - 1/2) + 1/2 for the
// cosine, n = round(2x/pi) for the tangent; r = x - n*pi (or n*pi/2) with pi
// in four pieces from tools/trig_tables, n times each of the first three
// exact below 2^16 and every cancelling subtraction exact, so r keeps 51 bits
// even beside a multiple of pi (the nearest doubles lie about 2^-61 from one).
// Sine: r + r^3 P(r^2) with P of degree 7 from tools/trig_tables
// (la_polynomials.h, 2^-54.6 relative on [-pi/2, pi/2]), times (-1)^n for
// the sine and -(-1)^n for the cosine.  Measured within
// 2 ulps (the leading term r carries r's rounding, the rest rounds relative
// to up to 0.57 of the result near pi/2).
// Tangent: the continued-fraction convergent r P(r^2) / Q(r^2) of degree 4
// over 4 (2^-56 on [-pi/4, pi/4]), and -Q / (r P) for odd n: one division;
// r's rounding, the two sums and the quotient add up to a measured 3.2 ulps
// at worst (2 ulps on [-10, 10]).
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
inline __m128d splat(__m128d, double v) { return _mm_set1_pd(v); }
inline __m128d mul(__m128d a, __m128d b) { return _mm_mul_pd(a, b); }
inline __m128d add(__m128d a, __m128d b) { return _mm_add_pd(a, b); }

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
// The group loop: four elements a turn in two pairs.
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

}  // namespace qlm::trig::la
