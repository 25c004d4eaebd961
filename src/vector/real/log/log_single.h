// Single Ln, Log10 and Log1p on one plan.
//
// Eight elements a turn in two fours, screened before any arithmetic
// (Ln, Log10: positive normal finite; Log1p: finite and above -1).
// HA widens each four to two double pairs and runs the coarse core of
// log_double.h with Taylor degree 4 and ln lo (truncation r^5/5, under
// 2^-38 relative), far below a float ulp, so the one rounding to float
// decides the result.  Log10 multiplies by log10 e in double; Log1p takes
// u = 1 + x in double and adds (x - (u - 1))/u, the part of 1 + x that u
// lost.  LA and EP run in float lanes with a longer polynomial instead of
// the table (native below), at a fraction of the widened evaluation's work.
// Scalar routine, from the input: NaN -> x + x, +inf -> +inf, zero (Log1p:
// -1) -> -inf with SING, below it -> NaN with ERRDOM; other inputs,
// denormals included (normal once widened), run the formula on one lane.
#pragma once

#include <smmintrin.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/common/constant_lanes.h"
#include "vector/real/lane_loops.h"
#include "vector/real/log/log_double.h"
#include "vector/real/log/log_single_fits.h"

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

// The float routines of LA and EP.  x = 2^k (1 + f) with 1 + f in
// [sqrt(1/2), sqrt(2)) (the bias 0x3F3504F3 moves the exponent's step
// there), f exact, and
//   ln     k ln2hi + (f + (k ln2lo + f^2 P(f)))
//   log10  k lg2hi + (f L + (k lg2lo + f Q(f)))
// with P, Q and L from log_single_fits.h (tools/log_tables): LA P degree 8
// (2^-24.4 relative) and Q degree 8 (2^-23.1), EP P degree 4 (2^-13.8)
// and Q degree 5 (2^-15.0).  ln2hi = 0x3F317200 and lg2hi = 0x3E9A2000
// have short mantissas, so k times them is exact and the small terms are
// added before the one large one.  Log10 is its own polynomial rather
// than ln times log10 e, which would round twice.
// Log1p reduces u = 1 + x rounded and folds the part that u lost,
// x - (u - 1), into f scaled by 2^-k (k capped at 126 for the scale, where
// the lost part is zero anyway): 1 + x = 2^k (1 + f + lost 2^-k), no
// division; where k = 0 this makes f = x exactly, so tiny x give x.
// Measured (tests/vector/log): LA at most 2 ulp next to 1 (Log10) and
// about half an ulp where k is not 0; EP above 13 bits.
// Screen: Ln and Log10 take positive normal finite inputs, (bits -
// 0x00800000) unsigned at most 0x7EFFFFFF; Log1p takes x > -1 and x < +inf
// by ordered float compares, which NaN fails and denormals pass (u = 1
// and the result is x).
// Coefficients stored as whole registers (constant_lanes.h), so that each
// enters the arithmetic as a memory operand instead of being broadcast in
// the loop.
template <std::size_t N>
using splat_table = constant_lanes<N>;
template <std::size_t N>
constexpr splat_table<N> splat(const float (&c)[N]) {
    return make_constant_lanes(c);
}

template <int Slot>
struct native_fits;
template <>
struct native_fits<0> {
    static constexpr splat_table<9> ln = splat(kLnP8);
    static constexpr splat_table<9> log10 = splat(kLog10Q8);
};
template <>
struct native_fits<2> {
    static constexpr splat_table<5> ln = splat(kLnP4);
    static constexpr splat_table<6> log10 = splat(kLog10Q5);
};

// The polynomial by Estrin's scheme: pairs c[2i] + f c[2i+1], then pairs
// of those joined with f^2, f^4, ...  The degree-8 and -9 fits would take
// a chain of nine multiply-adds by Horner's rule; this takes four levels,
// so the two fours of a group and the next group overlap.
// N registers by value (a plain array: std::array would drop the vector
// type's attributes).
template <std::size_t N>
struct quads {
    __m128 v[N];
    __m128& operator[](std::size_t i) { return v[i]; }
    const __m128& operator[](std::size_t i) const { return v[i]; }
};

// One level of Estrin's scheme: q[2i] + power q[2i+1].
template <std::size_t N>
[[gnu::always_inline]] inline __m128 estrin(const quads<N>& q, __m128 power) {
    if constexpr (N == 1) {
        return q[0];
    } else {
        quads<(N + 1) / 2> next;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N / 2; ++i) next[i] = _mm_add_ps(q[2 * i], _mm_mul_ps(power, q[2 * i + 1]));
        if constexpr (N % 2 == 1) next[N / 2] = q[N - 1];
        return estrin(next, _mm_mul_ps(power, power));
    }
}

// The polynomial by Estrin's scheme, the coefficients being the first
// level: the degree-8 and -9 fits would take a chain of nine multiply-adds
// by Horner's rule, this takes four levels, so that the two fours of a
// group and the next group overlap.
template <std::size_t N>
[[gnu::always_inline]] inline __m128 polynomial(__m128 f, const splat_table<N>& table) {
    // Hidden from constant folding, which would rebuild each register by a
    // scalar load and a shuffle.
    const splat_table<N>* t = &table;
    asm("" : "+r"(t));
    quads<N> c;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) c[i] = _mm_load_ps(t->v[i]);
    return estrin(c, f);
}

// The other constants of the float routines, as whole registers too.
enum constant { kOne, kLn2Hi, kLn2Lo, kLg2Hi, kLg2Lo, kLog10eLane, kLn2 };
inline constexpr splat_table<7> kConstants = splat<7>({
    1.0f,
    std::bit_cast<float>(0x3F317200u),  // ln 2 with 15 bits: k ln2hi is exact
    std::bit_cast<float>(0x35BFBE8Eu),  // ln 2 - ln2hi
    std::bit_cast<float>(0x3E9A2000u),  // log10 2 with 11 bits
    std::bit_cast<float>(0x369A84FCu),  // log10 2 - lg2hi
    kLog10e,
    0.693147182f,  // ln 2 rounded
});
[[gnu::always_inline]] inline __m128 constant_lane(constant c) {
    const splat_table<7>* t = &kConstants;
    asm("" : "+r"(t));
    return _mm_load_ps(t->v[c]);
}

template <function F, int Slot>
struct native {
    using wide = kernel<F, 4, true>;  // specials and denormals
    using fits = native_fits<Slot>;
    static constexpr const char* name = wide::name;

    static __m128 screen_lanes(__m128 x) {
        if constexpr (F == function::log1p) {
            return _mm_and_ps(_mm_cmpgt_ps(x, _mm_set1_ps(-1.0f)), _mm_cmplt_ps(x, splat_bits32(0x7F800000u)));
        } else {
            const __m128i d = _mm_sub_epi32(_mm_castps_si128(x), _mm_set1_epi32(0x00800000));
            return _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_min_epu32(d, _mm_set1_epi32(0x7EFFFFFF)), d));
        }
    }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }

    // k as integer and float, and f, of a positive normal finite x.
    [[gnu::always_inline]] static void reduce(__m128 x, __m128i& ki, __m128& k, __m128& f) {
        const __m128i bias = _mm_set1_epi32(0x3F3504F3);
        const __m128i ix = _mm_sub_epi32(_mm_castps_si128(x), bias);
        ki = _mm_srai_epi32(ix, 23);
        k = _mm_cvtepi32_ps(ki);
        const __m128 m = _mm_castsi128_ps(_mm_add_epi32(_mm_and_si128(ix, _mm_set1_epi32(0x007FFFFF)), bias));
        f = _mm_sub_ps(m, constant_lane(kOne));
    }

    [[gnu::always_inline]] static __m128 ln(__m128 k, __m128 f) {
        const __m128 q = _mm_mul_ps(_mm_mul_ps(f, f), polynomial(f, fits::ln));
        const __m128 low = _mm_add_ps(_mm_mul_ps(k, constant_lane(kLn2Lo)), q);
        return _mm_add_ps(_mm_mul_ps(k, constant_lane(kLn2Hi)), _mm_add_ps(f, low));
    }

    [[gnu::always_inline]] static __m128 fast(__m128 x) {
        __m128i ki;
        __m128 k, f;
        if constexpr (F == function::log1p) {
            const __m128 one = constant_lane(kOne);
            const __m128 u = _mm_add_ps(one, x);
            reduce(u, ki, k, f);
            const __m128 lost = _mm_sub_ps(x, _mm_sub_ps(u, one));
            const __m128i capped = _mm_min_epi32(ki, _mm_set1_epi32(126));
            const __m128 scale = _mm_castsi128_ps(_mm_sub_epi32(_mm_set1_epi32(0x3F800000), _mm_slli_epi32(capped, 23)));
            return ln(k, _mm_add_ps(f, _mm_mul_ps(lost, scale)));
        } else if constexpr (F == function::log10) {
            reduce(x, ki, k, f);
            const __m128 q = _mm_mul_ps(f, polynomial(f, fits::log10));
            const __m128 low = _mm_add_ps(_mm_mul_ps(k, constant_lane(kLg2Lo)), q);
            const __m128 lead = _mm_mul_ps(f, constant_lane(kLog10eLane));
            return _mm_add_ps(_mm_mul_ps(k, constant_lane(kLg2Hi)), _mm_add_ps(lead, low));
        } else {
            // Ln alone takes k ln 2 rounded in one product: its rounding adds
            // at most a third of an ulp where k is not 0 (where it is, the
            // term is 0), well inside LA's budget, and saves a product and
            // a sum; Log1p, held to a tighter bound, keeps the two parts.
            reduce(x, ki, k, f);
            const __m128 q = _mm_mul_ps(_mm_mul_ps(f, f), polynomial(f, fits::ln));
            return _mm_add_ps(_mm_mul_ps(k, constant_lane(kLn2)), _mm_add_ps(f, q));
        }
    }

    // Specials, and denormals evaluated in double, go to the wide routine.
    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<native, wide>(i, a, y); }
};

template <function F>
using ha = kernel<F, 4, true>;
template <function F>
using la = native<F, 0>;
template <function F>
using ep = native<F, 2>;

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
