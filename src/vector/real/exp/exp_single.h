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
//   LA  HA without the table's low part: one addition less, up to half an
//       ulp more.
//   EP  no table, K = 1/ln 2, one-piece reduction, e^r by its Taylor
//       polynomial of degree 4 on |r| <= ln2/2 (truncation 4.2e-5, about
//       14 correct bits), no table loads.
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

// HA and LA: the 128-entry table; LA leaves out the table's low part,
// which costs it up to half an ulp.
template <bool WithLow>
struct tabled {
    // Mantissa result (scale 1) and exponent m of four lanes.
    static __m128 mantissa(__m128 x, __m128i& m) {
        const __m128 shifter = splat_bits32(kShifter);
        const __m128 t = _mm_add_ps(_mm_mul_ps(x, splat_bits32(0x4338AA3Bu)), shifter);
        const __m128i bits = _mm_castps_si128(t);
        const __m128 nf = _mm_sub_ps(t, shifter);
        const __m128 r = _mm_sub_ps(_mm_sub_ps(x, _mm_mul_ps(nf, splat_bits32(0x3BB18000u))),
                                    _mm_mul_ps(nf, splat_bits32(0xB5DE8083u)));
        const auto* table = exp_tables::single;
        const int j0 = _mm_cvtsi128_si32(bits) & 127, j1 = _mm_extract_epi32(bits, 1) & 127,
                  j2 = _mm_extract_epi32(bits, 2) & 127, j3 = _mm_extract_epi32(bits, 3) & 127;
        const __m128 e0 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j0])));
        const __m128 e1 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j1])));
        const __m128 e2 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j2])));
        const __m128 e3 = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(table[j3])));
        const __m128 e01 = _mm_unpacklo_ps(e0, e1), e23 = _mm_unpacklo_ps(e2, e3);  // hi0 hi1 lo0 lo1
        const __m128 hi = _mm_movelh_ps(e01, e23);
        m = _mm_sub_epi32(_mm_srli_epi32(bits, 7), _mm_set1_epi32(kShifter >> 7));
        __m128 s = r;
        if constexpr (WithLow) s = _mm_add_ps(_mm_movehl_ps(e23, e01), r);
        s = _mm_add_ps(s, _mm_mul_ps(_mm_set1_ps(0.5f), _mm_mul_ps(r, r)));
        return _mm_add_ps(_mm_mul_ps(s, hi), hi);
    }
};

using ha = tabled<true>;
using la = tabled<false>;

// The reduction of EP: n = round(x/ln 2) = m, r = x - n ln 2 in one piece.
inline __m128 reduce_by_ln2(__m128 x, __m128i& m) {
    const __m128 shifter = splat_bits32(kShifter);
    const __m128 t = _mm_add_ps(_mm_mul_ps(x, splat_bits32(0x3FB8AA3Bu)), shifter);
    m = _mm_sub_epi32(_mm_castps_si128(t), _mm_set1_epi32(static_cast<int32_t>(kShifter)));
    const __m128 nf = _mm_sub_ps(t, shifter);
    return _mm_sub_ps(x, _mm_mul_ps(nf, splat_bits32(0x3F317218u)));
}

// 1 + r (1 + r (c[0] + r (c[1] + ...))), Horner from the last coefficient.
template <int N>
inline __m128 taylor_exp(__m128 r, const float (&c)[N]) {
    __m128 q = _mm_set1_ps(c[N - 1]);
    for (int k = N - 2; k >= 0; --k) q = _mm_add_ps(_mm_set1_ps(c[k]), _mm_mul_ps(r, q));
    q = _mm_add_ps(_mm_set1_ps(1.0f), _mm_mul_ps(r, q));
    return _mm_add_ps(_mm_set1_ps(1.0f), _mm_mul_ps(r, q));
}

struct ep {
    static __m128 mantissa(__m128 x, __m128i& m) {
        static constexpr float c[] = {1.0f / 2, 1.0f / 6, 1.0f / 24};
        return taylor_exp(reduce_by_ln2(x, m), c);
    }
};

template <class V>
struct kernel {
    static bool screen(__m128 x) {
        const __m128i mag = _mm_and_si128(_mm_castps_si128(x), _mm_set1_epi32(0x7FFFFFFF));
        return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(mag, _mm_set1_epi32(kScreen)))) == 0xF;
    }
    static bool screen_one(__m128 x) { return screen(x); }

    static __m128 fast(__m128 x) {
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
