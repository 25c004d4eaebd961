// The fast lanes of single Pow and Powx: x^y = 2^(y log2 x) for four floats,
// in double arithmetic two lanes at a time.
//
// Screen: x a positive normal float, y finite; afterwards |y log2 x| below
// 126, so that the result is a normal float.  Either failing sends the
// group to the per-element step.
// log2: x = 2^k z, z in [0.6973, 1.3945), from the float bits; the top 7
// bits of z's offset pick row i of a 128-row table (tools/pow_single_tables)
// with invc ~ 1/z and logc = -log2(invc); r = z*invc - 1 (|r| < 2^-9, one
// rounding of 2^-53) and log2 x = (k + logc) + r Q(r), Q of degree 3
// (2^-41.3 relative).  Where x is near 1 the row is invc = 1 exactly, so the
// relative error of log2 x stays near 2^-41 everywhere.
// exp2: t = y log2 x (one rounding); j = round(128 t), f = t - j/128
// exactly (|f| <= 1/256); 2^t = 2^(j/128) (1 + f E(f)), E of degree 1
// (2^-29.2 absolute), the table value scaled by 2^(j >> 7) through its
// exponent bits.  The error of t is within 2^-40 |t| <= 2^-33 absolute, so
// the double result carries a relative error near 2^-29 before its one
// rounding to float: within 0.5 + 2^-5 ulp (the accuracy tests print the
// measured max).
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/power/pow_single_tables.h"

namespace qlm::power::single_lanes {

namespace tb = single_tables;

// Whether x is a positive normal float and y finite, in every lane.
inline bool in_window(__m128 x, __m128 y) {
    // x's bits minus the smallest normal's, as unsigned, below the width of
    // the positive normal range (the bias turns the test into a signed one).
    const __m128i dx = _mm_xor_si128(_mm_sub_epi32(_mm_castps_si128(x), _mm_set1_epi32(0x00800000)),
                                     _mm_set1_epi32(INT32_MIN));
    const __m128i ok_x = _mm_cmplt_epi32(dx, _mm_set1_epi32(0x7F000000 ^ INT32_MIN));
    const __m128i ay = _mm_and_si128(_mm_castps_si128(y), _mm_set1_epi32(INT32_MAX));
    const __m128i ok = _mm_and_si128(ok_x, _mm_cmplt_epi32(ay, _mm_set1_epi32(0x7F800000)));
    return _mm_movemask_ps(_mm_castsi128_ps(ok)) == 0xF;
}

inline constexpr double kExp2Shifter = 0x1.8p45;  // adding it rounds to a multiple of 1/128
inline constexpr double kLimit = 126.0;            // |y log2 x| below it: a normal float result

// t = y log2 x for one pair of lanes, from k (as double), z, the byte
// offsets of their rows and y; `t_ok` collects whether |t| stays below the
// limit.
[[gnu::always_inline]] inline __m128d pair_log(__m128d k, __m128d z, uint32_t offset0, uint32_t offset1, __m128d y,
                                               __m128d& t_ok) {
    const char* rows = reinterpret_cast<const char*>(tb::log2_rows);
    const __m128d a = _mm_load_pd(reinterpret_cast<const double*>(rows + offset0));
    const __m128d b = _mm_load_pd(reinterpret_cast<const double*>(rows + offset1));
    const __m128d invc = _mm_unpacklo_pd(a, b), logc = _mm_unpackhi_pd(a, b);
    const __m128d r = _mm_sub_pd(_mm_mul_pd(z, invc), _mm_set1_pd(1.0));
    // r Q(r) in Estrin's form: measured faster than Horner's, which saves a
    // multiplication but lengthens the chain of dependent operations.
    const __m128d r2 = _mm_mul_pd(r, r);
    const __m128d q_lo = _mm_mul_pd(r, _mm_add_pd(_mm_mul_pd(r, _mm_set1_pd(tb::log2_poly[1])), _mm_set1_pd(tb::log2_poly[0])));
    const __m128d q_hi = _mm_add_pd(_mm_mul_pd(r, _mm_set1_pd(tb::log2_poly[3])), _mm_set1_pd(tb::log2_poly[2]));
    const __m128d l = _mm_add_pd(_mm_add_pd(_mm_add_pd(k, logc), q_lo), _mm_mul_pd(_mm_mul_pd(r2, r), q_hi));
    const __m128d t = _mm_mul_pd(y, l);
    t_ok = _mm_and_pd(t_ok, _mm_cmplt_pd(_mm_andnot_pd(_mm_set1_pd(-0.0), t), _mm_set1_pd(kLimit)));
    return t;
}

// 2^t for one pair of lanes, |t| below the limit.
[[gnu::always_inline]] inline __m128d pair_exp(__m128d t) {
    const __m128d u = _mm_add_pd(t, _mm_set1_pd(kExp2Shifter));
    const __m128d f = _mm_sub_pd(t, _mm_sub_pd(u, _mm_set1_pd(kExp2Shifter)));
    const __m128i j = _mm_sub_epi64(_mm_castpd_si128(u), _mm_castpd_si128(_mm_set1_pd(kExp2Shifter)));
    const __m128i row = _mm_and_si128(j, _mm_set1_epi64x(127));
    const __m128d scale_row = _mm_loadh_pd(_mm_load_sd(&tb::exp2_rows[_mm_cvtsi128_si64(row)]),
                                           &tb::exp2_rows[_mm_extract_epi64(row, 1)]);
    // (j >> 7) << 52, with the row bits cleared first.
    const __m128i scale = _mm_slli_epi64(_mm_andnot_si128(_mm_set1_epi64x(127), j), 45);
    // T + (T f) E(f): T f is formed while E(f) is.
    const __m128d e = _mm_add_pd(_mm_mul_pd(f, _mm_set1_pd(tb::exp2_poly[1])), _mm_set1_pd(tb::exp2_poly[0]));
    const __m128d v = _mm_add_pd(scale_row, _mm_mul_pd(_mm_mul_pd(scale_row, f), e));
    return _mm_castsi128_pd(_mm_add_epi64(_mm_castpd_si128(v), scale));
}

// The first stage of x^y for four lanes that passed in_window: t = y log2 x
// as two pairs; `t_ok` as in pair_log.  The stages are separate so that a
// group's four pairs run the log stage side by side before the exp stage:
// the processor then finds independent work within its window.
[[gnu::always_inline]] inline void log_stage(__m128 x, __m128 y, __m128d& t_lo, __m128d& t_hi, __m128d& t_ok) {
    const __m128i ix = _mm_castps_si128(x);
    const __m128i tmp = _mm_sub_epi32(ix, _mm_set1_epi32(static_cast<int32_t>(tb::kLogOffset)));
    // Byte offsets of the rows (16 bytes each), the index times 16 in place.
    const __m128i offsets = _mm_and_si128(_mm_srli_epi32(tmp, 12), _mm_set1_epi32(127 << 4));
    const qlm::vector::lane_words offset = qlm::vector::words_of(offsets);
    const __m128i k = _mm_srai_epi32(tmp, 23);
    const __m128 z = _mm_castsi128_ps(_mm_sub_epi32(ix, _mm_and_si128(tmp, _mm_set1_epi32(static_cast<int32_t>(0xFF800000u)))));
    t_lo = pair_log(_mm_cvtepi32_pd(k), _mm_cvtps_pd(z), offset.w[0], offset.w[1], _mm_cvtps_pd(y), t_ok);
    t_hi = pair_log(_mm_cvtepi32_pd(_mm_unpackhi_epi64(k, k)), _mm_cvtps_pd(_mm_movehl_ps(z, z)), offset.w[2],
                    offset.w[3], _mm_cvtps_pd(_mm_movehl_ps(y, y)), t_ok);
}

// The second stage: the four results, rounded to float.
[[gnu::always_inline]] inline __m128 exp_stage(__m128d t_lo, __m128d t_hi) {
    return _mm_movelh_ps(_mm_cvtpd_ps(pair_exp(t_lo)), _mm_cvtpd_ps(pair_exp(t_hi)));
}

inline __m128d all_true() { return _mm_castsi128_pd(_mm_set1_epi32(-1)); }
inline bool all_set(__m128d mask) { return _mm_movemask_pd(mask) == 3; }

}  // namespace qlm::power::single_lanes
