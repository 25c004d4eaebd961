// The fast (LA) cube root lanes of double: four doubles in two SSE
// registers, for x finite, nonzero and normal.  (Single Cbrt LA has its own
// float lanes in cbrt_single_lanes.h, on the same rows.)
//
// x = 2^(3q + s) m, m in [1, 2), s in {0, 1, 2}: with E the biased exponent,
// F = E + 2 bias = 3 q' + s where q' = floor(F/3) is already the biased
// exponent of the result; floor(F/3) = (F * 43691) >> 17, exact for F below
// 2^16 (no integer division in SSE).  Row 64 s + j of cbrt_table (j the top
// six fraction bits) gives c, a 9-bit approximation of 1/m, and T =
// cbrt(2^s / c); r = m c - 1 (|r| < 2^-6.8, rounded once: 2^-53 relative, a
// sixth of an ulp in the result), and cbrt x = 2^(q' - bias) (T + T p(r)).
// Double: T is one rounded double (2^-53 relative: at most half an ulp of
// the result, so the bound is about 1.25 ulp, 1.24 measured) and p(r) = r (a1
// + ... + a6 r^5) fitted for least error on the rows' range of r (2^-59.9),
// one term short of the Taylor series.  The integer work (exponent, division
// by 3, row, scale) runs once for the four high words in 32-bit lanes, and
// the sign of x rides on the scale: adding the sign bit to the high word of
// the positive result sets it.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/power/cbrt_table.h"

namespace qlm::power::la {

// The high words of four doubles, in order, as four 32-bit lanes.
inline __m128i high_words(__m128d x0, __m128d x1) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(x0), _mm_castpd_ps(x1), _MM_SHUFFLE(3, 1, 3, 1)));
}

// T + T p(r) scaled, for one pair: rows a and b, and the high-word
// adjustment (exponent and sign) of each lane in 64-bit lanes.
[[gnu::always_inline]] inline __m128d cube_root_pair(__m128d x, const double* ra, const double* rb, __m128i adjust) {
    const __m128d a0 = _mm_load_pd(ra), a1 = _mm_load_pd(rb);
    const __m128d c = _mm_unpacklo_pd(a0, a1), t = _mm_unpackhi_pd(a0, a1);
    const __m128d m = _mm_or_pd(_mm_and_pd(x, _mm_castsi128_pd(_mm_set1_epi64x(0x000FFFFFFFFFFFFF))),
                                _mm_set1_pd(1.0));
    const __m128d r = _mm_sub_pd(_mm_mul_pd(m, c), _mm_set1_pd(1.0));
    const __m128d r2 = _mm_mul_pd(r, r);
    auto k = [](int i) { return _mm_set1_pd(cbrt_series[i]); };
    auto pair = [&](int i) { return _mm_add_pd(k(i), _mm_mul_pd(r, k(i + 1))); };
    // p = r (a1 + r (pairs in r^2)): the leading coefficient's sum rounds once.
    const __m128d y = _mm_add_pd(pair(1), _mm_mul_pd(r2, _mm_add_pd(pair(3), _mm_mul_pd(r2, k(5)))));
    const __m128d p = _mm_mul_pd(r, _mm_add_pd(k(0), _mm_mul_pd(r, y)));
    const __m128d v = _mm_add_pd(t, _mm_mul_pd(t, p));
    return _mm_castsi128_pd(_mm_add_epi64(_mm_castpd_si128(v), adjust));
}

// Cube roots of the four doubles x0, x1, whose high words are `high`;
// forced inline, since a call would pass the results through memory.
[[gnu::always_inline]] inline void cube_roots(__m128d x0, __m128d x1, __m128i high, __m128d& y0, __m128d& y1) {
    const __m128i f = _mm_add_epi32(_mm_and_si128(_mm_srli_epi32(high, 20), _mm_set1_epi32(0x7FF)),
                                    _mm_set1_epi32(2046));
    const __m128i q = _mm_srli_epi32(_mm_mullo_epi32(f, _mm_set1_epi32(43691)), 17);
    const __m128i s = _mm_sub_epi32(f, _mm_add_epi32(q, _mm_add_epi32(q, q)));
    const __m128i row = _mm_add_epi32(_mm_slli_epi32(s, 6), _mm_and_si128(_mm_srli_epi32(high, 14), _mm_set1_epi32(63)));
    // (q' - bias) << 20 added to the high word, and the sign bit added too:
    // the result before scaling is positive with exponent field = bias.
    const __m128i scale = _mm_add_epi32(_mm_slli_epi32(_mm_sub_epi32(q, _mm_set1_epi32(1023)), 20),
                                        _mm_and_si128(high, _mm_set1_epi32(INT32_MIN)));
    const __m128i zero = _mm_setzero_si128();
    const qlm::vector::lane_words rows = qlm::vector::words_of(row);
    y0 = cube_root_pair(x0, cbrt_table[rows.w[0]], cbrt_table[rows.w[1]], _mm_unpacklo_epi32(zero, scale));
    y1 = cube_root_pair(x1, cbrt_table[rows.w[2]], cbrt_table[rows.w[3]], _mm_unpackhi_epi32(zero, scale));
}

// One element by the same arithmetic, for the ragged end and the group
// recompute.
inline double cube_root(double x) {
    const __m128d v = _mm_set1_pd(x);
    __m128d y0, y1;
    cube_roots(v, v, high_words(v, v), y0, y1);
    return _mm_cvtsd_f64(y0);
}

// The screen of a group: every magnitude's top word w, unsigned, with
// w - low below width (normal, finite and nonzero), one branch for the group.
inline bool all_in(__m128i words, int32_t low, int32_t width) {
    const __m128i bias = _mm_set1_epi32(INT32_MIN);
    const __m128i w = _mm_and_si128(words, _mm_set1_epi32(INT32_MAX));
    const __m128i d = _mm_xor_si128(_mm_sub_epi32(w, _mm_set1_epi32(low)), bias);
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(d, _mm_set1_epi32(width ^ INT32_MIN)))) == 0xF;
}
inline bool all_normal(__m128i high) { return all_in(high, 0x00100000, 0x7FE00000); }

}  // namespace qlm::power::la
