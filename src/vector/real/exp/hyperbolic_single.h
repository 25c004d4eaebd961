// Single Expm1, Sinh, Cosh and Tanh on one plan.
//
// Eight elements a turn in two fours, screened before any arithmetic on
// the magnitude (Sinh and Cosh below 89.41598510742188, where the result
// leaves the float range; Tanh finite; Expm1 below 88.0).  Each
// four is widened to two double pairs and run through the core of
// exp_split.h, whose error is far below a float ulp, then rounded once:
//   Expm1  (scale hi - 1) + scale tail
//   Sinh   (E + E/(E + 1))/2 with E = e^|x| - 1, and the sign of x
//   Cosh   e/2 + 1/(2e) with e = e^|x|
//   Tanh   E/(E + 2) with E = e^(2|x|) - 1, |x| clamped at 10, and the sign
// The core runs Taylor degree 5 (2^-47 relative, also next to 0), so the
// one rounding to float decides the result: the HA routines, and the
// scalar routine behind single Expm1's wide lanes (expm1_single.cpp).
//
// LA and EP run in float (native below).  No LA routine rounds e^|x|
// before using it: each takes e^(M|x|)/2 as an exact head h = T 2^(m-1)
// and a small tail l from the HA exponential's table (half_exp_of), and
// adds the rest to the tail first.
//   Cosh   LA: h + (l + e^-|x|/2), the reciprocal by division.  EP:
//          e/2 + 1/(2e), the reciprocal by RCPPS, on the EP exponential
//          (table-free, degree 4, 16 bits).
//   Sinh   |x| < 1 (EP: 1/2): x + x^3/3! + ... to x^9 (EP: x^7; the
//          first term left out is 2^-25.5 of sinh 1, a fifth of an ulp);
//          above, LA: h + (l - e^-|x|/2); EP: (e - 1/e)/2 by RCPPS.  The
//          cancellation is at most coth 1 (coth 1/2).
//   Tanh   LA: |x| < 0.55: x + x^3 P(x^2), P of five terms from
//          tools/exp_fits; above, 1 - 1/H with H = (e^(2|x|) + 1)/2 split
//          exactly into head and tail, and the quotient's rounding error
//          recovered (tanh_from_parts).  EP: |x| < 1/2: x + x^3 P(x^2), P
//          of three terms; above, 1 - 2/(e^(2|x|) + 1).  |x| is clamped at
//          10, where the quotient is below a quarter ulp of 1.
// with the sign of x put back.  Their screen is the single exponential's
// (|x| < 87.3365) for Sinh and Cosh; rejected inputs take the scalar
// routine above.  Measured on 3.3 million inputs against long double:
// LA Tanh 0.86 ulp, LA Sinh 0.85, LA Cosh 0.88.
// Scalar routine, from the input: NaN -> x + x; infinities -> the limits
// (Expm1 -inf -> -1, Cosh -> +inf, Tanh -> +-1); other inputs are clamped
// to |x| <= 100, run on one lane, and a result that is infinite in float
// raises OVERFLOW.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

#include "frame/error_path.h"
#include "vector/real/common/constant_lanes.h"
#include "vector/real/exp/exp_short.h"
#include "vector/real/exp/exp_single.h"
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

    static __m128 screen_lanes(__m128 x) {
        using namespace exp_single_core;
        return magnitude_below<F == function::expm1 ? kExpm1Screen : F == function::tanh ? kFinite : kCoshScreen>(x);
    }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }

    static __m128d pair(__m128d x) {
        const __m128d one = _mm_set1_pd(1.0), half = _mm_set1_pd(0.5);
        if constexpr (F == function::expm1) {
            return exp_split::expm1_of(exp_split::split<Degree>(x));
        } else if constexpr (F == function::cosh) {
            const __m128d e = exp_split::exp_of(exp_split::split<Degree>(exp_split::magnitude(x)));
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

// Horner in w over the first Terms coefficients of C, each a memory
// operand (constant_lanes.h).
// The steps are unrolled at compile time: at -O2 GCC keeps a loop over
// the table rows, which costs a counter and a branch per term.  Five
// terms go by Estrin's scheme, (c0 + c1 w) + w^2 ((c2 + c3 w) + w^2 c4):
// the same count of operations in a chain two steps shorter, and these
// routines are bound by the depth of one group's chain.
template <const auto& C, std::size_t Terms = std::size(C)>
[[gnu::always_inline]] inline __m128 horner(__m128 w) {
    static constexpr auto table = make_constant_lanes(C);
    const auto c = [](std::size_t i) { return constant_lane(table, i); };
    if constexpr (Terms == 5) {
        const __m128 w2 = _mm_mul_ps(w, w);
        const __m128 a = _mm_add_ps(c(0), _mm_mul_ps(w, c(1))), b = _mm_add_ps(c(2), _mm_mul_ps(w, c(3)));
        return _mm_add_ps(a, _mm_mul_ps(w2, _mm_add_ps(b, _mm_mul_ps(w2, c(4)))));
    } else {
        return [&]<std::size_t... K>(std::index_sequence<K...>) {
            __m128 q = c(Terms - 1);
            ((q = _mm_add_ps(c(Terms - 2 - K), _mm_mul_ps(w, q))), ...);
            return q;
        }(std::make_index_sequence<Terms - 1>{});
    }
}

// 1/3!, 1/5!, ...: the odd Taylor series of sinh after its first term.
inline constexpr float kSinhTaylor[] = {1.0f / 6, 1.0f / 120, 1.0f / 5040, 1.0f / 362880, 1.0f / 39916800};

// The odd Taylor series of sinh in y^2 = w, with the given number of
// terms after the first.
template <std::size_t Terms>
[[gnu::always_inline]] inline __m128 sinh_series(__m128 y, __m128 w) {
    return _mm_add_ps(y, _mm_mul_ps(_mm_mul_ps(y, w), horner<kSinhTaylor, Terms>(w)));
}

// tanh x = x + x^3 P(x^2) for the EP routine below 1/2, P interpolated at
// Chebyshev nodes in x^2 on (0, 1/4]: 2^-17 relative.
inline constexpr float kTanhEp[] = {-0.333333045f, 0.133060426f, -0.0483468734f};

template <function F, bool Enhanced>
struct native {
    using wide = kernel<F, 5>;  // rejected inputs
    using exp_variant = std::conditional_t<Enhanced, exp_single::ep, exp_single::ha>;
    static constexpr const char* name = wide::name;

    // Tanh: finite; Sinh and Cosh: the single exponential's screen.  One
    // mask for both fours of a group.
    static __m128 screen_lanes(__m128 x) {
        if constexpr (F == function::tanh) return exp_single_core::magnitude_below<exp_single_core::kFinite>(x);
        else return exp_single::kernel<exp_variant>::screen_lanes(x);
    }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }

    // RCPPS's 12 bits suffice where the reciprocal is a minor term (Cosh,
    // Sinh above the cut); in Tanh it makes the result, and is divided.
    [[gnu::always_inline]] static __m128 reciprocal(__m128 v) {
        if constexpr (Enhanced && F != function::tanh) return _mm_rcp_ps(v);
        else return _mm_div_ps(lane_of<1.0f>(), v);
    }

    // e^(My)/2 = h + l for the LA routines (M = 1 or 2), on the HA
    // exponential's reduction and table (exp_single.h): h = T 2^(m-1)
    // exact, l = s h with s = Tlo + r + r^2/2 and |r| <= ln2/256, so
    // |l| < 0.006 h and no rounding has happened yet that the caller
    // cannot place.  The chain is kept short, as these routines are bound
    // by its depth: n by ROUNDPS beside the shifted sum whose bits give the
    // row and the scale, 2^(m-1) straight from those bits, table rows by
    // two 8-byte loads into one register each, Tlo added last since the
    // rows arrive after r.
    struct half_exp {
        __m128 h, l;
    };
    template <int M>
    [[gnu::always_inline]] static half_exp half_exp_of(__m128 y) {
        static_assert(M == 1 || M == 2);
        constexpr uint32_t k = M == 1 ? 0x4338AA3Bu : 0x43B8AA3Bu;  // 128 M/ln 2
        const __m128 u = _mm_mul_ps(y, lane_of<float_of_bits(k)>());
        const __m128i bits = _mm_castps_si128(_mm_add_ps(u, lane_of<float_of_bits(exp_single::kShifter)>()));
        const __m128 nf = _mm_round_ps(u, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        const __m128 my = M == 1 ? y : _mm_add_ps(y, y);
        const __m128 r = _mm_sub_ps(_mm_sub_ps(my, _mm_mul_ps(nf, lane_of<float_of_bits(0x3BB18000u)>())),
                                    _mm_mul_ps(nf, lane_of<float_of_bits(0xB5DE8083u)>()));
        const auto* table = exp_tables::single;
        const lane_words j = words_of(_mm_and_si128(bits, _mm_set1_epi32(127)));
        const auto row = [&](int lane) { return reinterpret_cast<const double*>(table[j.w[lane]]); };
        // hi0 lo0 hi1 lo1 and hi2 lo2 hi3 lo3
        const __m128 e01 = _mm_castpd_ps(_mm_loadh_pd(_mm_load_sd(row(0)), row(1)));
        const __m128 e23 = _mm_castpd_ps(_mm_loadh_pd(_mm_load_sd(row(2)), row(3)));
        // (shifter bits + n) >> 7 is (shifter bits >> 7) + m; 2^(m-1) has
        // the bits (m + 126) << 23.
        const __m128i m_bits = _mm_add_epi32(_mm_srli_epi32(bits, 7),
                                             _mm_set1_epi32(126 - static_cast<int32_t>(exp_single::kShifter >> 7)));
        const __m128 h = _mm_mul_ps(_mm_shuffle_ps(e01, e23, _MM_SHUFFLE(2, 0, 2, 0)),
                                    _mm_castsi128_ps(_mm_slli_epi32(m_bits, 23)));
        const __m128 p = _mm_add_ps(r, _mm_mul_ps(lane_of<0.5f>(), _mm_mul_ps(r, r)));
        const __m128 s = _mm_add_ps(_mm_shuffle_ps(e01, e23, _MM_SHUFFLE(3, 1, 3, 1)), p);
        return {h, _mm_mul_ps(s, h)};
    }

    // LA Cosh and Sinh (y >= 1): h + (l +- e^-y/2), e^-y/2 = 1/(4 (h + l))
    // by division; the last addition rounds once, and the other roundings
    // weigh little beside it (l is small, the reciprocal is at most h);
    // Sinh's cancellation is at most coth 1.
    template <bool Plus>
    [[gnu::always_inline]] static __m128 half_exp_pair(__m128 y) {
        const half_exp e = half_exp_of<1>(y);
        const __m128 down = _mm_div_ps(lane_of<0.25f>(), _mm_add_ps(e.h, e.l));
        return _mm_add_ps(e.h, Plus ? _mm_add_ps(e.l, down) : _mm_sub_ps(e.l, down));
    }

    // LA Tanh for y = |x| >= 0.55: 1 - 1/H with H = (e^2y + 1)/2
    // = h + (1/2 + l).  1/2 + l rounds by at most 2^-27 of H (H >= 2 here,
    // |l| < 0.006 h); h + (1/2 + l) is split exactly into Hh + Hl
    // (Fast2Sum, h > 1/2 + l; h itself has 24 bits, so h + 1/2 would
    // round); q0 = 1/Hh and 1/H = q0 - q0^2 Hl to far
    // below an ulp.  1 - q0 is split exactly (Fast2Sum), so the result
    // rounds once from a value whose only sizeable error is the
    // division's: q0 < 1/2 < result, so half an ulp of q0 is at most a
    // quarter ulp of the result.
    [[gnu::always_inline]] static __m128 tanh_from_parts(__m128 y) {
        const half_exp e = half_exp_of<2>(y);
        const __m128 one = lane_of<1.0f>();
        const __m128 v = _mm_add_ps(lane_of<0.5f>(), e.l);
        const __m128 hh = _mm_add_ps(e.h, v);
        const __m128 hl = _mm_add_ps(_mm_sub_ps(e.h, hh), v);
        const __m128 q0 = _mm_div_ps(one, hh);
        const __m128 s = _mm_sub_ps(one, q0);
        const __m128 err = _mm_sub_ps(_mm_sub_ps(one, s), q0);
        return _mm_add_ps(s, _mm_add_ps(err, _mm_mul_ps(q0, _mm_mul_ps(q0, hl))));
    }

    [[gnu::always_inline]] static __m128 fast(__m128 x) {
        const __m128 sign = _mm_and_ps(x, lane_of<-0.0f>());
        const __m128 y = _mm_andnot_ps(lane_of<-0.0f>(), x), half = lane_of<0.5f>();
        const __m128 one = lane_of<1.0f>();
        if constexpr (F == function::cosh && !Enhanced) {
            return half_exp_pair<true>(y);
        } else if constexpr (F == function::cosh) {
            const __m128 e = exp_single::kernel<exp_variant>::fast(y);
            return _mm_add_ps(_mm_mul_ps(half, e), _mm_mul_ps(half, reciprocal(e)));
        } else if constexpr (F == function::sinh) {
            __m128 large;
            if constexpr (Enhanced) {
                const __m128 e = exp_single::kernel<exp_variant>::fast(y);
                large = _mm_mul_ps(half, _mm_sub_ps(e, reciprocal(e)));
            } else {
                large = half_exp_pair<false>(y);
            }
            const __m128 small = sinh_series<Enhanced ? 3 : 4>(y, _mm_mul_ps(y, y));
            const __m128 cut = Enhanced ? half : one;
            return _mm_or_ps(sign, _mm_blendv_ps(large, small, _mm_cmplt_ps(y, cut)));
        } else {
            const __m128 c = _mm_min_ps(y, lane_of<10.0f>());
            const __m128 w = _mm_mul_ps(c, c);
            if constexpr (Enhanced) {
                const __m128 e = exp_single::kernel<exp_variant>::fast(_mm_add_ps(c, c));
                const __m128 large =
                    _mm_sub_ps(one, _mm_mul_ps(lane_of<2.0f>(), reciprocal(_mm_add_ps(e, one))));
                // |x| < 1/2: x + x^3 P(x^2).
                const __m128 small = _mm_add_ps(c, _mm_mul_ps(_mm_mul_ps(c, w), horner<kTanhEp>(w)));
                return _mm_or_ps(sign, _mm_blendv_ps(large, small, _mm_cmplt_ps(c, half)));
            } else {
                const __m128 small =
                    _mm_add_ps(c, _mm_mul_ps(_mm_mul_ps(c, w), horner<exp_fits::tanh_single_la>(w)));
                const __m128 cut = lane_of<0.55f>();
                return _mm_or_ps(sign, _mm_blendv_ps(tanh_from_parts(c), small, _mm_cmplt_ps(c, cut)));
            }
        }
    }

    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<native, wide>(i, a, y); }
};

}  // namespace qlm::vector::hyperbolic_single

// One slot of a single function, on the routine R.
#define QLM_HYPERBOLIC_SINGLE_SLOT(Name, slot, R)                                 \
    extern "C" void qlmk_s##Name##_##slot(int32_t n, const float* a, float* y) { \
        qlm::frame::kernel_frame frame;                                          \
        if (n > 0) qlm::vector::run_single_groups<R>(n, a, y);                   \
    }
