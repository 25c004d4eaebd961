// The lane arithmetic of the inverse error functions' LA and EP routines
// (ErfInv, ErfcInv, CdfNormInv): erfinv(x) on a pair of doubles from x and
// v = (1 - x)(1 + x), each given with full relative accuracy.
//
// Method: w = -ln v.
//   centre, |x| < 1 - 2^-9 (w < 5.545): erfinv(x) = x P(w); d ln P/dw < 0.3,
//     so an absolute error in w costs at most a third of it relative, and
//     x P keeps the sign of zero and serves denormals exactly.
//   outer, 1 - 2^-9 <= |x|, w up to 14 (LA) or 16 (EP): erfinv(x) =
//     sign(x) Q(sqrt w).
// EP plan: the coarse logarithm of log_double.h (ln(1 + r) = r + c2 r^2,
// absolute error below 2^-28.5) and fit set p (P of degree 12 in w -
// 2.78125, Q of degree 9 in s - 3.1875 on s in [2.35, 4], 2^-31 relative).
// LA plan: the fine logarithm of the Ln LA routine (about 1.5 ulp) and fit
// set d to 2^-55 (P split at w = 2.78 into degrees 17 and 15, Q of degree
// 19 on s in [2.35, 3.75]), constant terms as hi + lo.
// All fits come from tools/special_fits (erfinv_tables.h).
// A pair whose lanes are both central skips the outer polynomial and the
// root; a mixed pair computes both and blends.
//
// ErfcInv(z) = erfinv(1 - z) and CdfNormInv(p) = sqrt 2 erfinv(2p - 1) take
// v = z (2 - z) with z = 1 - x (z = 2p): both factors carry their relative
// accuracy (2 - z is exact from z = 1 on, and rounded once below, where it
// is above 1), so w does too, also next to the poles where 1 - |x| itself
// would round away.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "vector/real/lane_loops.h"
#include "vector/real/log/log_double.h"
#include "vector/real/special/erfinv_tables.h"

namespace qlm::special::erfinv_lanes {

using qlm::vector::splat_bits;

inline constexpr int32_t kCentreHigh = 0x3FEFF000;  // |x| = 1 - 2^-9
inline constexpr double kCentreLimit = 1.0 - 0x1p-9;

// The fit's polynomial in t.  The EP plan drops the last entry (the low
// part of the constant term), which is below the accuracy it keeps; the LA
// plan adds it before the constant.
template <std::size_t N>
inline __m128d polynomial(const double (&k)[N], __m128d t) {
    __m128d p = _mm_set1_pd(k[N - 2]);
    for (int j = static_cast<int>(N) - 3; j >= 0; --j) p = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(p, t));
    return p;
}
template <std::size_t N>
inline __m128d polynomial_with_low(const double (&k)[N], __m128d t) {
    __m128d p = _mm_set1_pd(k[N - 2]);
    for (int j = static_cast<int>(N) - 3; j >= 1; --j) p = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(p, t));
    return _mm_add_pd(_mm_set1_pd(k[0]), _mm_add_pd(_mm_set1_pd(k[N - 1]), _mm_mul_pd(p, t)));
}

// The same two forms in two chains of t^2 (even and odd powers), for the
// routines that want half the latency: the terms past the constant are
// below a third of it on the fits' intervals, so the split costs no more
// rounding than Horner's rule.
template <bool WithLow, std::size_t N>
inline __m128d polynomial_split(const double (&k)[N], __m128d t) {
    constexpr int last = static_cast<int>(N) - 2;  // degree
    const __m128d t2 = _mm_mul_pd(t, t);
    // q(t) = k1 + k2 t + ... + k_last t^(last - 1) = e(t^2) + t o(t^2)
    const int top_e = (last - 1) % 2 == 0 ? last : last - 1;  // highest k_j with j odd
    __m128d e = _mm_set1_pd(k[top_e]);
    for (int j = top_e - 2; j >= 1; j -= 2) e = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(e, t2));
    const int top_o = top_e == last ? last - 1 : last;  // highest k_j with j even, j >= 2
    __m128d o = _mm_set1_pd(k[top_o]);
    for (int j = top_o - 2; j >= 2; j -= 2) o = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(o, t2));
    const __m128d q = _mm_add_pd(e, _mm_mul_pd(t, o));
    if constexpr (WithLow) return _mm_add_pd(_mm_set1_pd(k[0]), _mm_add_pd(_mm_set1_pd(k[N - 1]), _mm_mul_pd(q, t)));
    else return _mm_add_pd(_mm_set1_pd(k[0]), _mm_mul_pd(q, t));
}

inline __m128d sign_mask() { return splat_bits(0x8000000000000000ull); }

// A fit's coefficients, as given or times sqrt 2 (for CdfNormInv, so that
// the scaling costs no rounding of its own): each coefficient is the
// nearest double to its double-double product with sqrt 2, and the constant
// term keeps its low part (the last entry).
template <std::size_t N>
struct coefficients {
    double v[N];
};

template <bool Sqrt2, std::size_t N>
constexpr coefficients<N> fit_times(const double (&k)[N]) {
    coefficients<N> r{};
    for (std::size_t j = 0; j < N; ++j) r.v[j] = k[j];
    if (!Sqrt2) return r;
    constexpr double kHi = 0x1.6a09e667f3bcdp+0, kLo = -0x1.bdd3413b26456p-54;  // sqrt 2
    // Dekker's exact product a kHi, as two doubles.
    auto product = [](double a) {
        const double c = 134217729.0 * a, ah = c - (c - a), al = a - ah;
        const double d = 134217729.0 * kHi, bh = d - (d - kHi), bl = kHi - bh;
        const double p = a * kHi;
        return coefficients<2>{{p, ((ah * bh - p) + ah * bl + al * bh) + al * bl}};
    };
    for (std::size_t j = 1; j + 1 < N; ++j) {
        const coefficients<2> p = product(k[j]);
        r.v[j] = p.v[0] + (p.v[1] + k[j] * kLo);
    }
    const coefficients<2> p = product(k[0]);
    const double lo = p.v[1] + (k[0] * kLo + k[N - 1] * kHi);
    r.v[0] = p.v[0] + lo;
    r.v[N - 1] = lo - (r.v[0] - p.v[0]);
    return r;
}

// Double EP, single LA and EP: the coarse logarithm and fit set p.  Split
// selects the two-chain polynomials (the ErfcInv and CdfNormInv routines);
// ErfInv keeps Horner's rule.
template <bool Sqrt2 = false, bool Split = false>
struct ep_plan {
    static constexpr auto kCentre = fit_times<Sqrt2>(erfinv_centre_p);
    static constexpr auto kOuter = fit_times<Sqrt2>(erfinv_outer_p);
    static __m128d w(__m128d v) { return _mm_xor_pd(qlm::vector::log_double::coarse<2, false>(v), sign_mask()); }
    template <std::size_t N>
    static __m128d poly(const double (&k)[N], __m128d t) {
        if constexpr (Split) return polynomial_split<false>(k, t);
        else return polynomial(k, t);
    }
    static __m128d centre(__m128d w) { return poly(kCentre.v, _mm_sub_pd(w, _mm_set1_pd(2.78125))); }
    static __m128d outer(__m128d s) { return poly(kOuter.v, _mm_sub_pd(s, _mm_set1_pd(3.1875))); }
};

// Double LA: the fine logarithm of the Ln LA routine (about 1.5 ulp) and
// fit set d, whose centre is split at w = 2.78: a pair on one side runs one
// polynomial, a pair across the split both, blended.
template <bool Sqrt2 = false, bool Split = false>
struct la_plan {
    static constexpr auto kCentreLow = fit_times<Sqrt2>(erfinv_centre_low_d);
    static constexpr auto kCentreHigh = fit_times<Sqrt2>(erfinv_centre_high_d);
    static constexpr auto kOuter = fit_times<Sqrt2>(erfinv_outer_d);
    template <std::size_t N>
    static __m128d poly(const double (&k)[N], __m128d t) {
        if constexpr (Split) return polynomial_split<true>(k, t);
        else return polynomial_with_low(k, t);
    }
    static __m128d w(__m128d v) {
        using namespace qlm::vector;
        return _mm_xor_pd(log_double::fine_sum(log_double::fine(v)), sign_mask());
    }
    static __m128d centre(__m128d w) {
        const __m128d low_side = _mm_cmplt_pd(w, _mm_set1_pd(2.78));
        const int m = _mm_movemask_pd(low_side);
        if (m == 3) return poly(kCentreLow.v, _mm_sub_pd(w, _mm_set1_pd(1.4)));
        const __m128d high = poly(kCentreHigh.v, _mm_sub_pd(w, _mm_set1_pd(4.15625)));
        if (m == 0) return high;
        const __m128d low = poly(kCentreLow.v, _mm_sub_pd(w, _mm_set1_pd(1.4)));
        return _mm_blendv_pd(high, low, low_side);
    }
    static __m128d outer(__m128d s) { return poly(kOuter.v, _mm_sub_pd(s, _mm_set1_pd(3.05))); }
};

// erfinv(x) of a pair from x and v = (1 - x)(1 + x).
template <class Plan>
inline __m128d erfinv_from(__m128d x, __m128d v) {
    using namespace qlm::vector;
    const __m128d w = Plan::w(v);
    const __m128d centre = _mm_mul_pd(x, Plan::centre(w));
    if (all_magnitudes_below(log_double::pair_high_words(x), kCentreHigh, 0x3)) return centre;
    const __m128d outer = _mm_or_pd(_mm_and_pd(sign_mask(), x), Plan::outer(_mm_sqrt_pd(w)));
    const __m128d ax = _mm_andnot_pd(sign_mask(), x);
    return _mm_blendv_pd(outer, centre, _mm_cmplt_pd(ax, _mm_set1_pd(kCentreLimit)));
}

// erfinv of a pair with |x| < 1 - 2^-21 (floats widened: below 1).
template <class Plan>
inline __m128d erfinv_pair(__m128d x) {
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d ax = _mm_andnot_pd(sign_mask(), x);
    return erfinv_from<Plan>(x, _mm_mul_pd(_mm_sub_pd(one, ax), _mm_add_pd(one, ax)));
}

// ErfcInv(z) of a pair (Cdf false, Plan<false>) or CdfNormInv(p) with z =
// 2p (Cdf true, Plan<true>: the fits carry the factor sqrt 2), for z in
// [2^-23, 2 - 2^-23]; 2p is exact.
template <template <bool, bool> class Plan, bool Cdf>
inline __m128d erfcinv_pair(__m128d a) {
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d z = Cdf ? _mm_add_pd(a, a) : a;
    const __m128d v = _mm_mul_pd(z, _mm_sub_pd(_mm_set1_pd(2.0), z));
    // sqrt 2 erfinv(z - 1) for CdfNormInv: z - 1 rather than -(1 - z), so
    // that p = 1/2 gives +0.
    return erfinv_from<Plan<Cdf, true>>(Cdf ? _mm_sub_pd(z, one) : _mm_sub_pd(one, z), v);
}

}  // namespace qlm::special::erfinv_lanes
