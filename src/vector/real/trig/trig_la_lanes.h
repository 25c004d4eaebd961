// The fast (LA) lanes of double Sin, Cos, SinCos and Tan: packed SSE
// arithmetic on two doubles, and the group loop that redoes the lanes the
// fast formula cannot serve.
//
// Reduction, on x itself (the polynomials are odd, so its sign rides on r):
// n = round(x/pi) for the sine, n + 1/2 = floor(x/pi) + 1/2 for the cosine,
// n = round(2x/pi) for the tangent; r = x - n*pi (or n*pi/2) with pi in three
// pieces from tools/trig_tables, n times each of the first two exact below
// 2^16 and every cancelling subtraction exact, so r keeps its bits even
// beside a multiple of pi (the nearest doubles lie about 2^-61 from one).
// Sine: r + r^3 P(r^2) with P of degree 6 from tools/trig_tables
// (la_polynomials.h, least relative error, 2^-52.3 on [-pi/2, pi/2]), times
// (-1)^n; the cosine is (-1)^n sin r' with r' = (n + 1/2) pi - x.  The
// polynomial's error and the roundings of r^3, r^3 P and the sum add up to
// a measured 3.3 ulps at worst, the most near |r| = pi/2.
// Tangent: the continued-fraction convergent r P(r^2) / Q(r^2) of degree 4
// over 4 (2^-56 on [-pi/4, pi/4]), and -Q / (r P) for odd n: one division;
// r's rounding, the two sums and the quotient add up to a measured 3.4 ulps
// at worst (2 ulps on [-10, 10]).
// The polynomials go by pairs in g^2 (estrin below): a loop of independent
// turns is bound by its dependency chains, which fill the reorder window,
// more than by the count of multiplications.
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

// c[0] + c[1] g + ... + c[N-1] g^(N-1), N odd, as c[0] + g Y with Y summed
// from pairs c[k] + c[k+1] g by Horner's rule in g2 = g^2: about half the
// chain of plain Horner's rule for one multiplication more, and the last
// step stays Horner's, so that the leading coefficient's sum rounds once.
// Written as a recursion over the index so that it unrolls into straight
// code.
template <int K, int N>
inline __m128d pairs_from(__m128d g, __m128d g2, const double (&c)[N]) {
    const __m128d pair = _mm_add_pd(set(c[K]), _mm_mul_pd(g, set(c[K + 1])));
    if constexpr (K + 2 == N) return pair;
    else return _mm_add_pd(pair, _mm_mul_pd(g2, pairs_from<K + 2>(g, g2, c)));
}
template <int N>
inline __m128d estrin(__m128d g, __m128d g2, const double (&c)[N]) {
    static_assert(N % 2 == 1);
    return _mm_add_pd(set(c[0]), _mm_mul_pd(g, pairs_from<1>(g, g2, c)));
}

inline __m128d sign_mask() { return _mm_castsi128_pd(_mm_set1_epi64x(INT64_MIN)); }

// The fast lanes serve |x| below this; the others are redone.
inline constexpr double kLaLimit = 0x1p16;

// nf*pi (Half 0) or nf*pi/2 (Half 1) taken from x in three pieces, |nf| below
// 2^16: the first two products are exact, x - nf*p0 is exact (Sterbenz), and
// the later subtractions are exact whenever they cancel; the rounded third
// product and the pieces' distance from pi leave 2^-112 at most.  Negated
// gives nf*pi - x with the same roundings (round to nearest is symmetric),
// so that the cosine needs no sign flip of its own.
template <int Half, bool Negated = false>
inline __m128d reduce(__m128d x, __m128d nf) {
    constexpr double s = Half ? 0.5 : 1.0;
    if constexpr (Negated) {
        const __m128d r = _mm_add_pd(_mm_sub_pd(_mm_mul_pd(nf, set(pi_la[0] * s)), x), _mm_mul_pd(nf, set(pi_la[1] * s)));
        return _mm_add_pd(r, _mm_mul_pd(nf, set(pi_la[2] * s)));
    } else {
        const __m128d r = _mm_sub_pd(_mm_sub_pd(x, _mm_mul_pd(nf, set(pi_la[0] * s))), _mm_mul_pd(nf, set(pi_la[1] * s)));
        return _mm_sub_pd(r, _mm_mul_pd(nf, set(pi_la[2] * s)));
    }
}

// n = round(x/pi) for the sine, n + 1/2 = floor(x/pi) + 1/2 for the cosine
// (one rounding instruction in place of the shifter's two steps and the
// two half steps around them), and t, whose low bit is n's parity (two's
// complement for n < 0).
template <bool Cosine>
inline __m128d count_halves(__m128d x, __m128d& t) {
    if constexpr (Cosine) {
        const __m128d f = _mm_floor_pd(_mm_mul_pd(x, set(kInvPi)));
        t = _mm_add_pd(f, set(kShifter));
        return _mm_add_pd(f, set(0.5));
    } else {
        t = _mm_add_pd(_mm_mul_pd(x, set(kInvPi)), set(kShifter));
        return _mm_sub_pd(t, set(kShifter));
    }
}

// sin x = (-1)^n sin r with r = x - n pi; cos x = -(-1)^n sin r with r = x -
// (n + 1/2) pi, that is (-1)^n sin r' with r' = (n + 1/2) pi - x, the
// negated reduction.  The polynomial is odd, so the sign of x (and of a
// zero) rides on r.
template <bool Cosine>
inline __m128d sine(__m128d x) {
    __m128d t;
    const __m128d r = reduce<0, Cosine>(x, count_halves<Cosine>(x, t));
    const __m128d g = _mm_mul_pd(r, r);
    const __m128d p = estrin(g, _mm_mul_pd(g, g), sine_la);
    // sin r has r's sign; OR-ing it in keeps sin(-0) = -0, which the sum loses.
    const __m128d s = _mm_or_pd(_mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, g), p)), _mm_and_pd(r, sign_mask()));
    return _mm_xor_pd(s, _mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(t), 63)));
}

// tan x = tan r for even n, -1/tan r for odd n (n = round(2x/pi)).
inline __m128d tangent(__m128d x) {
    const __m128d t = _mm_add_pd(_mm_mul_pd(x, set(2 * kInvPi)), set(kShifter));
    const __m128d r = reduce<1>(x, _mm_sub_pd(t, set(kShifter)));
    const __m128d g = _mm_mul_pd(r, r), g2 = _mm_mul_pd(g, g);
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
