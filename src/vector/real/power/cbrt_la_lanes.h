// The fast (LA) cube root lanes: two doubles or four floats in one SSE
// register, for x finite, nonzero and normal.
//
// x = 2^(3q + s) m, m in [1, 2), s in {0, 1, 2}: with E the biased exponent,
// F = E + 2 bias = 3 q' + s where q' = floor(F/3) is already the biased
// exponent of the result; floor(F/3) = (F * 43691) >> 17, exact for F below
// 2^16 (no integer division in SSE).  Row 64 s + j of cbrt_table (j the top
// six fraction bits) gives c, a 9-bit approximation of 1/m, and T =
// cbrt(2^s / c) as head and tail; r = m c - 1 (|r| < 2^-6.8, rounded once:
// 2^-53 relative, a sixth of an ulp in the result), and cbrt x =
// 2^(q' - bias) (T + T p(r)) with p the Taylor series of (1 + r)^(1/3) - 1
// to r^7 (double) or r^3 (single).  The head is added last, so the bound is
// about 0.75 ulp.  The sign of x is put back by OR.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/power/cbrt_table.h"

namespace qlm::power::la {

inline __m128d cube_root(__m128d x) {
    const __m128i b = _mm_castpd_si128(x);
    const __m128i biased = _mm_and_si128(_mm_srli_epi64(b, 52), _mm_set1_epi64x(0x7FF));
    const __m128i f = _mm_add_epi64(biased, _mm_set1_epi64x(2046));
    const __m128i q = _mm_srli_epi64(_mm_mul_epu32(f, _mm_set1_epi64x(43691)), 17);
    const __m128i s = _mm_sub_epi64(f, _mm_add_epi64(q, _mm_add_epi64(q, q)));
    const __m128i row = _mm_add_epi64(_mm_slli_epi64(s, 6), _mm_and_si128(_mm_srli_epi64(b, 46), _mm_set1_epi64x(63)));
    const double* r0 = cbrt_table[_mm_cvtsi128_si64(row)];
    const double* r1 = cbrt_table[_mm_extract_epi64(row, 1)];
    const __m128d a0 = _mm_load_pd(r0), a1 = _mm_load_pd(r1);
    const __m128d c = _mm_unpacklo_pd(a0, a1), head = _mm_unpackhi_pd(a0, a1);
    const __m128d tail = _mm_unpacklo_pd(_mm_load_sd(r0 + 2), _mm_load_sd(r1 + 2));

    const __m128d m = _mm_or_pd(_mm_and_pd(x, _mm_castsi128_pd(_mm_set1_epi64x(0x000FFFFFFFFFFFFF))),
                                _mm_set1_pd(1.0));
    const __m128d r = _mm_sub_pd(_mm_mul_pd(m, c), _mm_set1_pd(1.0));
    const __m128d r2 = _mm_mul_pd(r, r);
    auto k = [](int i) { return _mm_set1_pd(cbrt_series[i]); };
    auto pair = [&](int i) { return _mm_add_pd(k(i), _mm_mul_pd(r, k(i + 1))); };
    // p = r (a1 + r (pairs in r^2)): the leading coefficient's sum rounds once.
    const __m128d y = _mm_add_pd(pair(1), _mm_mul_pd(r2, _mm_add_pd(pair(3), _mm_mul_pd(r2, pair(5)))));
    const __m128d p = _mm_mul_pd(r, _mm_add_pd(k(0), _mm_mul_pd(r, y)));
    const __m128d v = _mm_add_pd(head, _mm_add_pd(tail, _mm_mul_pd(head, p)));
    const __m128i scaled = _mm_add_epi64(_mm_castpd_si128(v), _mm_slli_epi64(_mm_sub_epi64(q, _mm_set1_epi64x(1023)), 52));
    return _mm_or_pd(_mm_castsi128_pd(scaled), _mm_and_pd(x, _mm_castsi128_pd(_mm_set1_epi64x(INT64_MIN))));
}

inline __m128 cube_root(__m128 x) {
    const __m128i b = _mm_castps_si128(x);
    const __m128i biased = _mm_and_si128(_mm_srli_epi32(b, 23), _mm_set1_epi32(0xFF));
    const __m128i f = _mm_add_epi32(biased, _mm_set1_epi32(254));
    const __m128i q = _mm_srli_epi32(_mm_mullo_epi32(f, _mm_set1_epi32(43691)), 17);
    const __m128i s = _mm_sub_epi32(f, _mm_add_epi32(q, _mm_add_epi32(q, q)));
    const __m128i row = _mm_add_epi32(_mm_slli_epi32(s, 6), _mm_and_si128(_mm_srli_epi32(b, 17), _mm_set1_epi32(63)));
    // The four rows, one per lane, transposed into columns c, head, tail.
    __m128 c = _mm_load_ps(cbrt_table_single[_mm_cvtsi128_si32(row)]);
    __m128 head = _mm_load_ps(cbrt_table_single[_mm_extract_epi32(row, 1)]);
    __m128 tail = _mm_load_ps(cbrt_table_single[_mm_extract_epi32(row, 2)]);
    __m128 unused = _mm_load_ps(cbrt_table_single[_mm_extract_epi32(row, 3)]);
    _MM_TRANSPOSE4_PS(c, head, tail, unused);

    const __m128 m = _mm_or_ps(_mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(0x007FFFFF))), _mm_set1_ps(1.0f));
    const __m128 r = _mm_sub_ps(_mm_mul_ps(m, c), _mm_set1_ps(1.0f));
    auto k = [](int i) { return _mm_set1_ps(cbrt_series_single[i]); };
    const __m128 p = _mm_mul_ps(r, _mm_add_ps(k(0), _mm_mul_ps(r, _mm_add_ps(k(1), _mm_mul_ps(r, k(2))))));
    const __m128 v = _mm_add_ps(head, _mm_add_ps(tail, _mm_mul_ps(head, p)));
    const __m128i scaled = _mm_add_epi32(_mm_castps_si128(v), _mm_slli_epi32(_mm_sub_epi32(q, _mm_set1_epi32(127)), 23));
    return _mm_or_ps(_mm_castsi128_ps(scaled), _mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(INT32_MIN))));
}

// The screen of a group: every magnitude's top word w, unsigned, with
// w - low below width (normal, finite and nonzero), one branch for the group.
inline bool all_in(__m128i words, int32_t low, int32_t width) {
    const __m128i bias = _mm_set1_epi32(INT32_MIN);
    const __m128i w = _mm_and_si128(words, _mm_set1_epi32(INT32_MAX));
    const __m128i d = _mm_xor_si128(_mm_sub_epi32(w, _mm_set1_epi32(low)), bias);
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(d, _mm_set1_epi32(width ^ INT32_MIN)))) == 0xF;
}
inline bool all_normal(__m128d x0, __m128d x1) {
    const __m128i high = _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(x0), _mm_castpd_ps(x1), _MM_SHUFFLE(3, 1, 3, 1)));
    return all_in(high, 0x00100000, 0x7FE00000);
}
inline bool all_normal(__m128 x) { return all_in(_mm_castps_si128(x), 0x00800000, 0x7F000000); }

}  // namespace qlm::power::la
