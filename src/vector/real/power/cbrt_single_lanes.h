// The fast cube root lanes of single Cbrt LA: four floats a register, for x
// finite, nonzero and normal.
//
// x = 2^(3q + s) m, m in [1, 2), s in {0, 1, 2}: with E the biased exponent,
// F = E + 2 bias = 3 q' + s, q' = floor(F/3) = (F * 43691) >> 17 the biased
// exponent of the result.  Row 64 s + j of the cube root table (j the top six
// fraction bits; tools/pow_tables/cbrt_table.cpp) gives c, a 9-bit
// approximation of 1/m, and T = cbrt(2^s / c) rounded to float; r = m c - 1
// (|r| < 2^-6.8) and cbrt x = 2^(q' - bias) T (1 + p(r)), p the Taylor series
// of (1 + r)^(1/3) - 1 to r^3.  The table's tail of T is left out (half an
// ulp) and the rows are read as pairs {c, T}, which turns four rows into
// two registers with four shuffles instead of a full transpose: measured
// within 1.32 ulps over every 7th float (the accuracy tests print their
// figure), beside 0.75 with the tail.  The sign of x is put back by OR.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/power/cbrt_table.h"

namespace qlm::power::single_la {

// The first two floats, c and T, of row `row` in the low half.
inline __m128 row_pair(uint32_t row) {
    return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(cbrt_table_single[row])));
}

inline __m128 cube_root(__m128 x) {
    const __m128i b = _mm_castps_si128(x);
    const __m128i biased = _mm_and_si128(_mm_srli_epi32(b, 23), _mm_set1_epi32(0xFF));
    const __m128i f = _mm_add_epi32(biased, _mm_set1_epi32(254));
    const __m128i q = _mm_srli_epi32(_mm_mullo_epi32(f, _mm_set1_epi32(43691)), 17);
    const __m128i s = _mm_sub_epi32(f, _mm_add_epi32(q, _mm_add_epi32(q, q)));
    const __m128i row = _mm_add_epi32(_mm_slli_epi32(s, 6), _mm_and_si128(_mm_srli_epi32(b, 17), _mm_set1_epi32(63)));
    const qlm::vector::lane_words rows = qlm::vector::words_of(row);
    const __m128 t0 = _mm_unpacklo_ps(row_pair(rows.w[0]), row_pair(rows.w[1]));
    const __m128 t1 = _mm_unpacklo_ps(row_pair(rows.w[2]), row_pair(rows.w[3]));
    const __m128 c = _mm_movelh_ps(t0, t1), head = _mm_movehl_ps(t1, t0);

    const __m128 m = _mm_or_ps(_mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(0x007FFFFF))), _mm_set1_ps(1.0f));
    const __m128 r = _mm_sub_ps(_mm_mul_ps(m, c), _mm_set1_ps(1.0f));
    auto k = [](int i) { return _mm_set1_ps(cbrt_series_single[i]); };
    const __m128 p = _mm_mul_ps(r, _mm_add_ps(k(0), _mm_mul_ps(r, _mm_add_ps(k(1), _mm_mul_ps(r, k(2))))));
    const __m128 v = _mm_add_ps(head, _mm_mul_ps(head, p));
    const __m128i scaled = _mm_add_epi32(_mm_castps_si128(v), _mm_slli_epi32(_mm_sub_epi32(q, _mm_set1_epi32(127)), 23));
    return _mm_or_ps(_mm_castsi128_ps(scaled), _mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(INT32_MIN))));
}

// Whether every lane of both fours is finite, nonzero and normal: the
// sign-cleared bits minus the smallest normal's, unsigned, below the width
// of the normal range; one mask for the eight.
inline __m128i normal_lanes(__m128 x) {
    const __m128i w = _mm_and_si128(_mm_castps_si128(x), _mm_set1_epi32(INT32_MAX));
    const __m128i d = _mm_xor_si128(_mm_sub_epi32(w, _mm_set1_epi32(0x00800000)), _mm_set1_epi32(INT32_MIN));
    return _mm_cmplt_epi32(d, _mm_set1_epi32(0x7F000000 ^ INT32_MIN));
}
inline bool all_normal(__m128 x0, __m128 x1) {
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_and_si128(normal_lanes(x0), normal_lanes(x1)))) == 0xF;
}

}  // namespace qlm::power::single_la
