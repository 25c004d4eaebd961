// Single Ln, Log10 and Log1p on one plan.
//
// Eight elements a turn in two fours, screened before any arithmetic
// (Ln, Log10: positive normal finite; Log1p: finite and above -1).
// HA widens each four to two double pairs and runs the coarse core of
// log_double.h with Taylor degree 4 and ln lo (truncation r^5/5, under
// 2^-38 relative), far below a float ulp, so the one rounding to float
// decides the result.  Log10 multiplies by log10 e in double; Log1p takes
// u = 1 + x in double and adds (x - (u - 1))/u, the part of 1 + x that u
// lost.  LA and EP run in float with a longer polynomial instead of the
// table (native below), at about half the work of the widened evaluation.
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

// The float routines of LA and EP.  x = 2^k m with m in [sqrt(1/2),
// sqrt(2)) (the bias 0x3F3504F3 moves the exponent's step there), f = m - 1
// exact, ln(1 + f) = f + f^2 (-1/2 + f P(f)), P interpolated at Chebyshev
// nodes on [sqrt(1/2) - 1, sqrt(2) - 1] and rounded to float:
//   LA  degree 7, 2^-25.6 relative before rounding
//   EP  degree 3, 2^-14.7
// k ln 2 is added in two pieces, the first (0x3F317200) exact times k.
// Log1p takes u = 1 + x in float and adds (x - (u - 1))/u.
template <int Degree>
inline const float* native_coefficients() {
    static const float la[] = {0.333333313f, -0.25000307f,  0.200010449f, -0.166412815f,
                               0.142144963f, -0.129981831f, 0.126223192f, -0.0790274367f};
    static const float ep[] = {0.3331416845321655f, -0.2516476809978485f, 0.2145289182662964f,
                               -0.14852839708328247f};
    return Degree == 7 ? la : ep;
}

template <function F, int Degree>
struct native {
    using wide = kernel<F, 4, true>;  // specials and denormals
    static constexpr const char* name = wide::name;
    static bool screen(__m128 x) { return wide::screen(x); }
    static bool screen_one(__m128 x) { return wide::screen(x); }

    static __m128 ln(__m128 x) {
        const __m128i bias = _mm_set1_epi32(0x3F3504F3);
        const __m128i ix = _mm_sub_epi32(_mm_castps_si128(x), bias);
        const __m128 k = _mm_cvtepi32_ps(_mm_srai_epi32(ix, 23));
        const __m128 m = _mm_castsi128_ps(_mm_add_epi32(_mm_and_si128(ix, _mm_set1_epi32(0x007FFFFF)), bias));
        const __m128 f = _mm_sub_ps(m, _mm_set1_ps(1.0f));
        const float* c = native_coefficients<Degree>();
        __m128 p = _mm_set1_ps(c[Degree]);
        for (int i = Degree - 1; i >= 0; --i) p = _mm_add_ps(_mm_set1_ps(c[i]), _mm_mul_ps(f, p));
        const __m128 q = _mm_mul_ps(_mm_mul_ps(f, f), _mm_add_ps(_mm_set1_ps(-0.5f), _mm_mul_ps(f, p)));
        const __m128 low = _mm_add_ps(_mm_mul_ps(k, splat_bits32(0x35BFBE8Eu)), q);  // ln 2 - 0x3F317200
        return _mm_add_ps(_mm_mul_ps(k, splat_bits32(0x3F317200u)), _mm_add_ps(f, low));
    }

    static __m128 fast(__m128 x) {
        if constexpr (F == function::log1p) {
            const __m128 one = _mm_set1_ps(1.0f);
            const __m128 u = _mm_add_ps(one, x);
            const __m128 lost = _mm_div_ps(_mm_sub_ps(x, _mm_sub_ps(u, one)), u);
            return _mm_add_ps(ln(u), lost);
        } else if constexpr (F == function::log10) {
            return _mm_mul_ps(ln(x), _mm_set1_ps(0.4342944819f));
        } else {
            return ln(x);
        }
    }

    // Specials, and denormals evaluated in double, go to the wide routine.
    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<native, wide>(i, a, y); }
};

template <function F>
using ha = kernel<F, 4, true>;
template <function F>
using la = native<F, 7>;
template <function F>
using ep = native<F, 3>;

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
