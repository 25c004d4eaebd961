// Single exponential, the three variants on one plan.
//
// Eight elements a turn in two fours; every input's magnitude is compared,
// unsigned, with 0x42AEAC50 (87.3365478515625) before any arithmetic, and
// the first one at or above sends all eight, one by one, to the scalar
// routine, which recomputes each from its input.  n comes from the sum
// with the shifter 0x4B300000, whose low bits then hold n.
//
//   HA  128-entry table, K = 128/ln 2; r = (x - n C1) - n C2;
//       e^x = (((Tlo + r) + r^2/2) T + T) 2^(n/128), Tlo relative to T.
//   LA  no table (exp_single_core.h): n = round(x/ln 2), r in two
//       pieces, e^r = 1 + (r + r^2 P(r)) with P of degree 4 fitted by
//       tools/exp_fits (2^-26.6 relative) and evaluated in its even and
//       odd halves; measured under 1 ulp.
//   EP  no table, r in one piece, e^r = 1 + r Q(r) with Q of degree 2
//       fitted by tools/exp_fits (2^-12.3 relative, at least 12 correct
//       bits).
//
// Scalar routine: NaN -> x + x; +inf -> +inf; -inf -> +0 without a
// status; x >= 88.72283935546875 -> 0x7F000000 squared, infinity by
// overflow, OVERFLOW; other rejected positives -> the formula with a scale
// above 2^127 applied as 2^127 then 2; x < -103.27893829345703 ->
// 0x00800000 squared, 0 by underflow, UNDERFLOW; other rejected negatives
// -> evaluated in double and rounded once to float, UNDERFLOW.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/exp/exp_double.h"
#include "vector/real/exp/exp_short.h"
#include "vector/real/exp/exp_single_core.h"
#include "vector/real/exp/exp_tables.h"
#include "vector/real/lane_loops.h"

namespace qlm::vector::exp_single {

inline constexpr uint32_t kShifter = 0x4B300000u;
inline constexpr int32_t kScreen = 0x42AEAC50;

// Keeps the compiler from folding a product that must overflow or
// underflow at run time, so the processor's flag is raised.
inline float opaque(float v) {
    asm volatile("" : "+x"(v));
    return v;
}

// HA: the 128-entry table with its low part.
struct ha {
    // e^x = (hi + tail) 2^m with hi = T exact from the table and tail =
    // ((Tlo + r) + r^2/2) T, |tail| < 0.006 hi: the result before its last
    // rounding, for routines that add something to it.
    static __m128 parts(__m128 x, __m128i& m, __m128& tail) {
        const __m128 shifter = lane_of<float_of_bits(kShifter)>();
        const __m128 t = _mm_add_ps(_mm_mul_ps(x, lane_of<float_of_bits(0x4338AA3Bu)>()), shifter);
        const __m128i bits = _mm_castps_si128(t);
        const __m128 nf = _mm_sub_ps(t, shifter);
        const __m128 r = _mm_sub_ps(_mm_sub_ps(x, _mm_mul_ps(nf, lane_of<float_of_bits(0x3BB18000u)>())),
                                    _mm_mul_ps(nf, lane_of<float_of_bits(0xB5DE8083u)>()));
        const auto* table = exp_tables::single;
        const lane_words j = words_of(_mm_and_si128(bits, _mm_set1_epi32(127)));
        const uint32_t j0 = j.w[0], j1 = j.w[1], j2 = j.w[2], j3 = j.w[3];
        const __m128 e0 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j0])));
        const __m128 e1 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j1])));
        const __m128 e2 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j2])));
        const __m128 e3 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j3])));
        const __m128 e01 = _mm_unpacklo_ps(e0, e1), e23 = _mm_unpacklo_ps(e2, e3);  // hi0 hi1 lo0 lo1
        const __m128 hi = _mm_movelh_ps(e01, e23);
        m = _mm_sub_epi32(_mm_srli_epi32(bits, 7), _mm_set1_epi32(kShifter >> 7));
        const __m128 s = _mm_add_ps(_mm_add_ps(_mm_movehl_ps(e23, e01), r),
                                    _mm_mul_ps(lane_of<0.5f>(), _mm_mul_ps(r, r)));
        tail = _mm_mul_ps(s, hi);
        return hi;
    }
    static __m128 mantissa(__m128 x, __m128i& m) {
        __m128 tail;
        const __m128 hi = parts(x, m, tail);
        return _mm_add_ps(tail, hi);
    }
};

// LA: the float core of exp_single_core.h, its constants as memory
// operands.
struct la {
    [[gnu::always_inline]] static __m128 exp(__m128 x) { return exp_single_core::exp(x); }
    // For the scalar routine: the result with scale 1 and the exponent n.
    static __m128 mantissa(__m128 x, __m128i& m) {
        const auto v = exp_single_core::reduce(x);
        m = _mm_sub_epi32(_mm_srli_epi32(exp_single_core::scale_bits(v.t), 23), _mm_set1_epi32(127));
        return _mm_add_ps(lane_of<1.0f>(), _mm_add_ps(v.r, exp_single_core::p_term(v.r)));
    }
};

// EP's hyperbolic routines: no table, the core of exp_short.h, a one-piece
// reduction and e^r of degree 4 (2^-16.1).
template <const auto& Coefficients, bool OnePiece>
struct table_free {
    static __m128 exp(__m128 x) {
        return exp_short::exp_of<float>(exp_short::split<float, Coefficients, OnePiece>(x));
    }
    // For the scalar routine: the result with scale 1 and the exponent n.
    static __m128 mantissa(__m128 x, __m128i& m) {
        const auto s = exp_short::split<float, Coefficients, OnePiece>(x);
        m = _mm_sub_epi32(_mm_srli_epi32(_mm_castps_si128(s.scale), 23), _mm_set1_epi32(127));
        return _mm_add_ps(lane_of<1.0f>(), s.p);
    }
};

// The EP exponential behind the hyperbolic EP routines, which need its
// 16 bits to keep their own 11 after their cancellations.
using ep = table_free<exp_fits::exp_single_ep, true>;

// The EP slot of Exp itself: e^r = 1 + r Q(r), Q of degree 2 (2^-12.3
// relative), two operations fewer than `ep`.
struct ep_short {
    static __m128 exp(__m128 x) {
        __m128 scale;
        const __m128 m = exp_short::exp_short_form<float, exp_fits::exp_single_ep_short>(x, scale);
        return _mm_mul_ps(m, scale);
    }
    static __m128 mantissa(__m128 x, __m128i& m) {
        __m128 scale;
        const __m128 v = exp_short::exp_short_form<float, exp_fits::exp_single_ep_short>(x, scale);
        m = _mm_sub_epi32(_mm_srli_epi32(_mm_castps_si128(scale), 23), _mm_set1_epi32(127));
        return v;
    }
};

template <class V>
struct kernel {
    // One mask for both fours of a group: the group leaves the fast lane
    // exactly when one of its eight inputs is at or above the threshold.
    static __m128 screen_lanes(__m128 x) { return exp_single_core::magnitude_below<exp_single_core::kExpScreen>(x); }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }

    [[gnu::always_inline]] static __m128 fast(__m128 x) {
        if constexpr (requires { V::exp(x); }) return V::exp(x);
        __m128i m;
        const __m128 mant = V::mantissa(x, m);
        return _mm_mul_ps(mant, _mm_castsi128_ps(_mm_slli_epi32(_mm_add_epi32(m, _mm_set1_epi32(127)), 23)));
    }

    static void scalar(int32_t i, const float* a, float* y) {
        const float x = a[i];
        const uint32_t magnitude = float_to_bits(x) & 0x7FFFFFFFu;
        int32_t status = VXM_STATUS_OK;
        float result;
        if (magnitude < static_cast<uint32_t>(kScreen)) {
            result = _mm_cvtss_f32(fast(_mm_set1_ps(x)));
        } else if (x != x) {
            result = x + x;
        } else if (magnitude == 0x7F800000u) {
            result = x > 0 ? x : 0.0f;
        } else if (x > 0) {
            if (x >= bits_to_float(0x42B17218u)) {
                const float big = opaque(bits_to_float(0x7F000000u));
                result = big * big;
                status = VXM_STATUS_OVERFLOW;
            } else {
                __m128i m;
                const float mant = _mm_cvtss_f32(V::mantissa(_mm_set1_ps(x), m));
                const int32_t e = _mm_cvtsi128_si32(m);
                // 2^e with e up to 128: 2^127, then 2^(e - 127).
                result = e > 127 ? mant * bits_to_float(0x7F000000u) * bits_to_float(static_cast<uint32_t>(e) << 23)
                                 : mant * bits_to_float(static_cast<uint32_t>(e + 127) << 23);
            }
        } else if (x < bits_to_float(0xC2CE8ED1u)) {
            const float tiny = opaque(bits_to_float(0x00800000u));
            result = tiny * tiny;
            status = VXM_STATUS_UNDERFLOW;
        } else {
            // The double result is accurate far beyond float, so the one
            // rounding to a denormal float is the correct one.
            const __m128d wide = exp_double::kernel<exp_double::ha>::fast(_mm_set1_pd(static_cast<double>(x)));
            result = _mm_cvtss_f32(_mm_cvtsd_ss(_mm_setzero_ps(), wide));
            status = VXM_STATUS_UNDERFLOW;
        }
        y[i] = result;
        if (status != VXM_STATUS_OK) qlm::frame::raise_status(status, i, a, a, y, y, "vsExp");
    }
};

}  // namespace qlm::vector::exp_single
