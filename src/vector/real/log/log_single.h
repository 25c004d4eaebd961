// Single Ln, Log10 and Log1p on one plan.
//
// Eight elements a turn in two fours, screened before any arithmetic
// (Ln, Log10: positive normal finite; Log1p: finite and above -1).  Each
// four is widened to two double pairs and run through the coarse core of
// log_double.h, whose error is far below a float ulp, so the one rounding
// to float decides the result:
//   HA  Taylor degree 4 with ln lo: truncation r^5/5, under 2^-38 relative
//   LA  degree 3, no ln lo: under 2^-29 relative
//   EP  degree 2: about 19 correct bits next to 1
// Log10 multiplies by log10 e in double; Log1p takes u = 1 + x in double
// and adds (x - (u - 1))/u, the part of 1 + x that u lost.
// Scalar routine, from the input: NaN -> x + x, +inf -> +inf, zero (Log1p:
// -1) -> -inf with SING, below it -> NaN with ERRDOM; other inputs,
// denormals included (normal once widened), run the formula on one lane.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/lane_loops.h"
#include "vector/real/log/log_double.h"

namespace qlm::vector::log_single {

enum class function { ln, log10, log1p };

template <function F, int Degree, bool WithLow>
struct kernel {
    static constexpr const char* name = F == function::ln ? "vsLn" : F == function::log10 ? "vsLog10" : "vsLog1p";

    static bool screen(__m128 x) {
        const __m128i b = _mm_castps_si128(x);
        if constexpr (F == function::log1p) {
            // finite non-negative, or negative with magnitude below 1
            const __m128i positive = _mm_cmplt_epi32(b, _mm_set1_epi32(0x7F800000));
            const __m128i above_minus_one = _mm_cmplt_epi32(b, _mm_set1_epi32(static_cast<int32_t>(0xBF800000u)));
            return _mm_movemask_ps(_mm_castsi128_ps(_mm_or_si128(_mm_and_si128(positive, _mm_cmpgt_epi32(b, _mm_set1_epi32(-1))), above_minus_one))) == 0xF;
        } else {
            return all_unsigned_in_range(b, 0x00800000u, 0x7F000000u, 0xF);
        }
    }
    static bool screen_one(__m128 x) { return screen(x); }

    static __m128d pair(__m128d x) {
        if constexpr (F == function::log1p) {
            const __m128d one = _mm_set1_pd(1.0);
            const __m128d u = _mm_add_pd(one, x);
            const __m128d lost = _mm_div_pd(_mm_sub_pd(x, _mm_sub_pd(u, one)), u);
            return _mm_add_pd(log_double::coarse<Degree, WithLow>(u), lost);
        } else {
            const __m128d ln = log_double::coarse<Degree, WithLow>(x);
            if constexpr (F == function::log10) return _mm_mul_pd(ln, _mm_set1_pd(0.43429448190325182765));
            else return ln;
        }
    }

    static __m128 fast(__m128 x) {
        const __m128 lo = _mm_cvtpd_ps(pair(_mm_cvtps_pd(x)));
        const __m128 hi = _mm_cvtpd_ps(pair(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
        return _mm_movelh_ps(lo, hi);
    }

    static void scalar(int32_t i, const float* a, float* y) {
        const float x = a[i];
        const float pole = F == function::log1p ? -1.0f : 0.0f;
        if (x != x) {
            y[i] = x + x;
        } else if (float_to_bits(x) == 0x7F800000u) {
            y[i] = x;
        } else if (x == pole) {
            y[i] = bits_to_float(0xFF800000u);
            qlm::frame::raise_status(VXM_STATUS_SING, i, a, a, y, y, name);
        } else if (x < pole) {
            y[i] = bits_to_float(0xFFC00000u);
            qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, name);
        } else {
            y[i] = _mm_cvtss_f32(_mm_cvtpd_ps(pair(_mm_set1_pd(static_cast<double>(x)))));
        }
    }
};

template <function F>
using ha = kernel<F, 4, true>;
template <function F>
using la = kernel<F, 3, false>;
template <function F>
using ep = kernel<F, 2, false>;

}  // namespace qlm::vector::log_single

// The three slots of one single function.
#define QLM_LOG_SINGLE_SLOTS(Name, f)                                                              \
    extern "C" void qlmk_s##Name##_HA(int32_t n, const float* a, float* y) {                       \
        qlm::frame::kernel_frame frame;                                                            \
        if (n > 0) qlm::vector::run_single_groups<qlm::vector::log_single::ha<f>>(n, a, y);        \
    }                                                                                              \
    extern "C" void qlmk_s##Name##_LA(int32_t n, const float* a, float* y) {                       \
        qlm::frame::kernel_frame frame;                                                            \
        if (n > 0) qlm::vector::run_single_groups<qlm::vector::log_single::la<f>>(n, a, y);        \
    }                                                                                              \
    extern "C" void qlmk_s##Name##_EP(int32_t n, const float* a, float* y) {                       \
        qlm::frame::kernel_frame frame;                                                            \
        if (n > 0) qlm::vector::run_single_groups<qlm::vector::log_single::ep<f>>(n, a, y);        \
    }
