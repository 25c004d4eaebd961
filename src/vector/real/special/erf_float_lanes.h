// Erf in four-lane float arithmetic, for the single-precision LA slot.
//
// Method: around the nodes r = k/256 of erf_node_tables.h,
//   erf(r + d) = (hi + lo) + s d (1 + d (c2 d - r)),  |d| <= 1/512,
// the row {hi, lo, s, c2} of each lane read by one 16-byte load (a 16 KB
// table) and the four rows transposed.  The node comes from the shifter:
// |x| + 2^15 rounds |x|
// to a multiple of 1/256, whose low mantissa bits are k (no conversion
// instruction), and d = |x| - r is exact.  hi + lo carries erf(r) to 48
// bits, so the result sees one rounding of size (the last addition) and the
// tail's own roundings, at most 1/7 of the result from 1/64 up: measured
// 0.73 ulp at most over every 97th float below 4.5.
// Below 1/64, where the tail would be as large as the result near the first
// nodes, x + x Q(x^2) (series to x^2) is blended in instead.
// |x| is clamped to 4, the last node, where erf rounds to 1; the sign is
// put back by an OR, so zeros keep theirs.  Denormals stay on the fast lane
// (the small formula is x to the last bit there).  NaN and the infinities
// fail the screen and go to the per-element routine.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/common/constant_lanes.h"
#include "vector/real/lane_loops.h"
#include "vector/real/special/erf_node_tables.h"
#include "vector/real/special/erf_vector_core.h"

namespace qlm::special::erf_float {

using qlm::vector::lane_of;

[[gnu::always_inline]] inline __m128 erf_quad(__m128 x) {
    const __m128 sign = _mm_and_ps(x, lane_of<-0.0f>());
    const __m128 ax = _mm_min_ps(_mm_xor_ps(x, sign), lane_of<4.0f>());

    // Node: 2^15 + k/256 has an ulp of 2^-8, so its mantissa's low bits are k.
    const __m128 shifted = _mm_add_ps(ax, lane_of<0x1p15f>());
    const __m128 r = _mm_sub_ps(shifted, lane_of<0x1p15f>());
    const __m128 d = _mm_sub_ps(ax, r);
    const __m128i offset = _mm_slli_epi32(_mm_sub_epi32(_mm_castps_si128(shifted), _mm_castps_si128(lane_of<0x1p15f>())), 4);
    const qlm::vector::lane_words w = qlm::vector::words_of(offset);
    const char* base = reinterpret_cast<const char*>(&erf_nodes_f[0][0]);
    __m128 hi = _mm_load_ps(reinterpret_cast<const float*>(base + w.w[0]));
    __m128 lo = _mm_load_ps(reinterpret_cast<const float*>(base + w.w[1]));
    __m128 s = _mm_load_ps(reinterpret_cast<const float*>(base + w.w[2]));
    __m128 c2 = _mm_load_ps(reinterpret_cast<const float*>(base + w.w[3]));
    _MM_TRANSPOSE4_PS(hi, lo, s, c2);

    const __m128 sd = _mm_mul_ps(s, d);
    const __m128 p = _mm_mul_ps(_mm_sub_ps(_mm_mul_ps(c2, d), r), d);
    const __m128 large = _mm_add_ps(hi, _mm_add_ps(lo, _mm_add_ps(sd, _mm_mul_ps(sd, p))));

    const __m128 u = _mm_mul_ps(ax, ax);
    const __m128 q = _mm_add_ps(lane_of<erf_small_q[0]>(), _mm_mul_ps(u, lane_of<erf_small_q[1]>()));
    const __m128 small = _mm_add_ps(ax, _mm_mul_ps(ax, q));

    const __m128 v = _mm_blendv_ps(large, small, _mm_cmplt_ps(ax, lane_of<0x1p-6f>()));
    return _mm_or_ps(v, sign);
}

// The plan of the single group loop (erf_vector_core.h) with this formula
// as the fast lane: the screen passes every finite x (the clamp serves the
// large ones), and the lanes it rejects go to Element.
template <class Element>
struct erf_float_plan : erf_vector::single_plan<0x7F800000u, void, Element> {
    [[gnu::always_inline]] static __m128 fast(__m128 x) { return erf_quad(x); }
    // Both fours at once: a lane fails when its exponent is all ones.
    static bool group_passes(__m128 x0, __m128 x1) {
        const __m128i top = _mm_set1_epi32(0x7F7FFFFF);
        const __m128i m = _mm_set1_epi32(0x7FFFFFFF);
        const __m128i bad = _mm_or_si128(_mm_cmpgt_epi32(_mm_and_si128(_mm_castps_si128(x0), m), top),
                                         _mm_cmpgt_epi32(_mm_and_si128(_mm_castps_si128(x1), m), top));
        return _mm_testz_si128(bad, bad);
    }
    static void one(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (erf_float_plan::screen(x)) _mm_store_ss(y + i, fast(x));
        else scalar_element<Element>(i, a, y);
    }
};

}  // namespace qlm::special::erf_float
