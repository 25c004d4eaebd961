// Single Expm1, Sinh, Cosh and Tanh on one plan.
//
// Eight elements a turn in two fours, screened before any arithmetic on
// the magnitude (Expm1 below 88.72283935546875, where e^x leaves the
// float range; Sinh and Cosh below 89.41598510742188; Tanh finite).  Each
// four is widened to two double pairs and run through the core of
// exp_split.h, whose error is far below a float ulp, then rounded once:
//   Expm1  (scale hi - 1) + scale tail
//   Sinh   (E + E/(E + 1))/2 with E = e^|x| - 1, and the sign of x
//   Cosh   e/2 + 1/(2e) with e = e^|x|
//   Tanh   E/(E + 2) with E = e^(2|x|) - 1, |x| clamped at 10, and the sign
// Taylor degree of the core per slot: HA 6 (5 for Cosh), LA 4, EP 3; the
// relative error stays below 2^-27 in EP and 2^-36 in LA.
// Scalar routine, from the input: NaN -> x + x; infinities -> the limits
// (Expm1 -inf -> -1, Cosh -> +inf, Tanh -> +-1); other inputs are clamped
// to |x| <= 100, run on one lane, and a result that is infinite in float
// raises OVERFLOW.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/exp/exp_split.h"
#include "vector/real/lane_loops.h"

namespace qlm::vector::hyperbolic_single {

enum class function { expm1, sinh, cosh, tanh };

template <function F, int Degree>
struct kernel {
    static constexpr const char* name = F == function::expm1 ? "vsExpm1"
                                        : F == function::sinh ? "vsSinh"
                                        : F == function::cosh ? "vsCosh"
                                                              : "vsTanh";
    static constexpr int32_t threshold = F == function::expm1 ? 0x42B17218
                                         : F == function::tanh ? 0x7F800000
                                                               : 0x42B2D4FC;

    static bool screen(__m128 x) {
        const __m128i mag = _mm_and_si128(_mm_castps_si128(x), _mm_set1_epi32(0x7FFFFFFF));
        return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(mag, _mm_set1_epi32(threshold)))) == 0xF;
    }
    static bool screen_one(__m128 x) { return screen(x); }

    static __m128d pair(__m128d x) {
        const __m128d one = _mm_set1_pd(1.0), half = _mm_set1_pd(0.5);
        if constexpr (F == function::expm1) {
            const auto p = exp_split::split<Degree>(x);
            if constexpr (Degree == 6) return exp_split::expm1_accurate(x, p);
            else return exp_split::expm1_of(p);
        } else if constexpr (F == function::cosh) {
            const __m128d e = exp_split::exp_of(exp_split::split<Degree == 6 ? 5 : Degree>(exp_split::magnitude(x)));
            return _mm_add_pd(_mm_mul_pd(half, e), _mm_div_pd(half, e));
        } else if constexpr (F == function::sinh) {
            const __m128d e = exp_split::expm1_of(exp_split::split<Degree>(exp_split::magnitude(x)));
            return exp_split::with_sign_of(x, _mm_mul_pd(half, _mm_add_pd(e, _mm_div_pd(e, _mm_add_pd(e, one)))));
        } else {
            const __m128d ax = _mm_min_pd(exp_split::magnitude(x), _mm_set1_pd(10.0));
            const __m128d e = exp_split::expm1_of(exp_split::split<Degree>(_mm_add_pd(ax, ax)));
            return exp_split::with_sign_of(x, _mm_div_pd(e, _mm_add_pd(e, _mm_set1_pd(2.0))));
        }
    }

    static __m128 fast(__m128 x) {
        const __m128 lo = _mm_cvtpd_ps(pair(_mm_cvtps_pd(x)));
        const __m128 hi = _mm_cvtpd_ps(pair(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
        return _mm_movelh_ps(lo, hi);
    }

    static void scalar(int32_t i, const float* a, float* y) {
        const float x = a[i];
        const uint32_t magnitude = float_to_bits(x) & 0x7FFFFFFFu;
        if (x != x) {
            y[i] = x + x;
        } else if (magnitude == 0x7F800000u) {
            if constexpr (F == function::cosh) y[i] = -x > x ? -x : x;
            else if constexpr (F == function::tanh) y[i] = x > 0 ? 1.0f : -1.0f;
            else if constexpr (F == function::expm1) y[i] = x > 0 ? x : -1.0f;
            else y[i] = x;
        } else {
            const double clamped = x > 100.0f ? 100.0 : x < -100.0f ? -100.0 : static_cast<double>(x);
            y[i] = _mm_cvtss_f32(_mm_cvtpd_ps(pair(_mm_set1_pd(clamped))));
            if ((float_to_bits(y[i]) & 0x7FFFFFFFu) == 0x7F800000u)
                qlm::frame::raise_status(VXM_STATUS_OVERFLOW, i, a, a, y, y, name);
        }
    }
};

}  // namespace qlm::vector::hyperbolic_single

// One slot of a single function.
#define QLM_HYPERBOLIC_SINGLE_SLOT(Name, f, slot, degree)                                                    \
    extern "C" void qlmk_s##Name##_##slot(int32_t n, const float* a, float* y) {                            \
        qlm::frame::kernel_frame frame;                                                                     \
        if (n > 0)                                                                                          \
            qlm::vector::run_single_groups<                                                                 \
                qlm::vector::hyperbolic_single::kernel<qlm::vector::hyperbolic_single::function::f, degree>>( \
                n, a, y);                                                                                   \
    }
