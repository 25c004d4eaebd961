// Asinh, Acosh and Atanh on pairs of doubles, the arithmetic of every
// vector kernel of the family (single routines widen each four floats to
// two pairs and narrow the result once).
//
// Logarithm: a = ah + al with ah in [1, 2^1000), al below ulp(ah).  ah =
// 2^k m with the high word of m in [kLogOffset, kLogOffset + 2^20), that is
// m in [0.708, 1.416); the top eight bits of that offset pick a row of
// invhyp_log_table.h with rcp (24 bits) and -log(rcp) = T as hi + lo.  m
// splits into m1 (its high word, 21 bits), whose product with rcp is exact,
// and the rest m2; with al scaled by 2^-k it joins the second part:
//   r1 = m1 rcp - 1 (exact),  r2 = (m2 + al 2^-k) rcp,  |r1 + r2| <= 2^-9,
//   log a = k ln2 + T + log1p(r1 + r2),
//   log1p(r) = r - r^2/2 + r^3 P(r), P from tools/invhyp_fits.
// k ln2_hi + T_hi is exact (both on the 2^-42 grid) and r1 joins it by a
// two-sum (HA: r2 too, with al kept apart; the ordered form suffices, as
// |T| is at least the distance from its row to 1, |r1| at most half its
// width, and head is 0 only on the row of 1, where r2 < 2^-20 <= |r1| or
// r1 = 0), so the rounded sum is the only error above 2^-64 relative when
// P is the HA fit: results within about 0.501 ulp.  The row holding m = 1
// has rcp = 1 and T = 0, so that a near 1 keeps its relative accuracy.
//
// Arguments of the logarithm, |x| taken and the sign put back:
//   asinh HA  a = |x| + sqrt(1 + x^2) as double-double: x^2 exact
//             (Dekker), the root corrected once by its exact residual.
//   acosh HA  a = x + sqrt((x - 1)(x + 1)), x - 1 exact, x + 1 and the
//             product exact, the root corrected the same way.
//   atanh HA  u = 1 + 2|x|/(1 - |x|) as double-double (1 - |x| by two-sum,
//             the quotient corrected by its exact residual times 1/(1 - |x|)
//             = 1 + v/2); the result is log(u)/2.
//   others    the same plans with the plain rounded root and quotient,
//             asinh as log1p(v) with v = |x| + x^2/(1 + sqrt(1 + x^2)), so
//             that small x keep their relative accuracy without a series.
// Single (the lean plans): every product and sum of the inputs is exact
// in double, the logarithm takes m rcp - 1 rounded and a plain sum, and the
// result carries about 2^-45 before its one rounding to float; below |x| =
// 2^-12, where the rounded argument no longer keeps the result's relative
// accuracy, asinh and atanh take their two-term series in float.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/invhyp/invhyp_log_table.h"

namespace qlm::invhyp {

using v2 = __m128d;

inline v2 splat(double d) { return _mm_set1_pd(d); }
inline v2 splat_bits(uint64_t b) { return _mm_castsi128_pd(_mm_set1_epi64x(static_cast<int64_t>(b))); }
inline v2 magnitude(v2 x) { return _mm_and_pd(x, splat_bits(0x7FFFFFFFFFFFFFFFull)); }
inline v2 with_sign_of(v2 value, v2 x) {
    return _mm_or_pd(value, _mm_and_pd(x, splat_bits(0x8000000000000000ull)));
}

struct dd2 {
    v2 hi, lo;
};

inline dd2 two_sum(v2 a, v2 b) {
    const v2 s = a + b;
    const v2 bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// |a| >= |b|.
inline dd2 fast_two_sum(v2 a, v2 b) {
    const v2 s = a + b;
    return {s, b - (s - a)};
}

// Dekker's exact product (no fused multiply-add on this tier); the factors
// stay below 2^996, which the screens guarantee.
inline dd2 two_prod(v2 a, v2 b) {
    const v2 split = splat(134217729.0);  // 2^27 + 1
    const v2 ca = split * a, cb = split * b;
    const v2 ah = ca - (ca - a), bh = cb - (cb - b);
    const v2 al = a - ah, bl = b - bh;
    const v2 p = a * b;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

// sqrt(q.hi + q.lo) as double-double: the rounded root and the exact
// residual over twice the root.  q.hi = 0 gives 0 + 0.
inline dd2 sqrt_dd(dd2 q) {
    const v2 s = _mm_sqrt_pd(q.hi);
    const dd2 sq = two_prod(s, s);
    const v2 twice = _mm_max_pd(s + s, splat(0x1p-1000));
    return {s, (((q.hi - sq.hi) - sq.lo) + q.lo) / twice};
}

template <const double* P, int Size>
inline v2 horner(v2 r) {
    if constexpr (Size == 0) return _mm_setzero_pd();
    v2 p = splat(P[Size - 1]);
    for (int i = Size - 2; i >= 0; --i) p = p * r + splat(P[i]);
    return p;
}

// log(ah + al) as hi + lo for ah in [1, 2^1000) and |al| <= ulp(ah).
template <const double* P, int Size, bool Precise>
inline dd2 log_parts(v2 ah, v2 al) {
    const __m128i bits = _mm_castpd_si128(ah);
    const __m128i high = _mm_shuffle_epi32(bits, _MM_SHUFFLE(3, 1, 3, 1));
    const __m128i t = _mm_sub_epi32(high, _mm_set1_epi32(static_cast<int32_t>(kLogOffset)));
    const __m128i k = _mm_srai_epi32(t, 20);
    const __m128i row = _mm_srli_epi32(_mm_and_si128(t, _mm_set1_epi32(0x000FFFFF)), 12);
    const __m128i k_field = _mm_slli_epi32(k, 20);
    const v2 m = _mm_castsi128_pd(_mm_sub_epi64(bits, _mm_unpacklo_epi32(_mm_setzero_si128(), k_field)));
    // 2^-k, normal since 0 <= k < 1000.
    const v2 scale = _mm_castsi128_pd(_mm_unpacklo_epi32(
        _mm_setzero_si128(), _mm_sub_epi32(_mm_set1_epi32(0x3FF00000), k_field)));
    const v2 kd = _mm_cvtepi32_pd(k);

    const double* row0 = log_rows[_mm_cvtsi128_si32(row)];
    const double* row1 = log_rows[_mm_extract_epi32(row, 1)];
    const v2 a0 = _mm_load_pd(row0), a1 = _mm_load_pd(row1);
    const v2 rcp = _mm_unpacklo_pd(a0, a1), t_hi = _mm_unpackhi_pd(a0, a1);
    const v2 t_lo = _mm_loadh_pd(_mm_load_sd(row0 + 2), row1 + 2);

    const v2 m1 = _mm_and_pd(m, splat_bits(0xFFFFFFFF00000000ull));
    const v2 r1 = m1 * rcp - splat(1.0);
    const v2 low = kd * splat(kLn2Lo) + t_lo;
    const v2 head = kd * splat(kLn2Hi) + t_hi;
    if constexpr (Precise) {
        // r2 joins by a second two-sum, and al stays apart, so that on the
        // row of 1 (head 0, r1 0 below |r| = 2^-20) the rounded sum is
        // still the only error of size: r1 + r2 is then ah - 1 exactly.
        const v2 r2 = (m - m1) * rcp;
        const v2 r = r1 + r2;
        const v2 poly = (r * r) * (splat(-0.5) + r * horner<P, Size>(r));
        // al/a = al 2^-k rcp / (1 + r), to 2^-16 of a term below 2^-52.
        const v2 al_part = al * scale * rcp;
        const v2 al_term = al_part - al_part * r;
        const dd2 s1 = fast_two_sum(head, r1);
        const dd2 s2 = fast_two_sum(s1.hi, r2);
        return {s2.hi, (s1.lo + s2.lo) + ((low + al_term) + poly)};
    } else {
        const v2 r2 = ((m - m1) + al * scale) * rcp;
        const v2 r = r1 + r2;
        v2 poly = (r * r) * splat(-0.5);
        if constexpr (Size > 0) poly = (r * r) * (splat(-0.5) + r * horner<P, Size>(r));
        const dd2 s1 = fast_two_sum(head, r1);
        return {s1.hi, s1.lo + ((low + r2) + poly)};
    }
}

// log a for the single routines, a in [1, 2^1000): the same reduction
// with m rcp - 1 rounded once (2^-53 absolute; exact on the row of 1,
// where results are small) and a plain sum, about 2^-50 relative.
template <const double* P, int Size>
inline __attribute__((always_inline)) v2 log_lean(v2 a) {
    const __m128i bits = _mm_castpd_si128(a);
    const __m128i high = _mm_shuffle_epi32(bits, _MM_SHUFFLE(3, 1, 3, 1));
    const __m128i t = _mm_sub_epi32(high, _mm_set1_epi32(static_cast<int32_t>(kLogOffset)));
    const __m128i k = _mm_srai_epi32(t, 20);
    const __m128i row = _mm_srli_epi32(_mm_and_si128(t, _mm_set1_epi32(0x000FFFFF)), 12);
    const v2 m = _mm_castsi128_pd(
        _mm_sub_epi64(bits, _mm_unpacklo_epi32(_mm_setzero_si128(), _mm_slli_epi32(k, 20))));
    const v2 a0 = _mm_load_pd(log_rows[_mm_cvtsi128_si32(row)]);
    const v2 a1 = _mm_load_pd(log_rows[_mm_extract_epi32(row, 1)]);
    const v2 r = m * _mm_unpacklo_pd(a0, a1) - splat(1.0);
    v2 poly = (r * r) * splat(-0.5);
    if constexpr (Size > 0) poly = (r * r) * (splat(-0.5) + r * horner<P, Size>(r));
    return (_mm_cvtepi32_pd(k) * splat(0x1.62e42fefa39efp-1) + _mm_unpackhi_pd(a0, a1)) + (r + poly);
}

template <class S>
inline v2 log_value(v2 ah, v2 al) {
    const dd2 l = log_parts<S::poly, S::size, S::precise>(ah, al);
    return l.hi + l.lo;
}

// The accuracy sets: the polynomial of the logarithm, whether the
// argument is carried as double-double (Precise), and whether the single
// plans with the lean logarithm run (Lean).
template <const double* Poly, int Size, bool Precise, bool Lean>
struct accuracy_set {
    static constexpr const double* poly = Poly;
    static constexpr int size = Size;
    static constexpr bool precise = Precise;
    static constexpr bool lean = Lean;
};
using ha_set = accuracy_set<log1p_ha, sizeof(log1p_ha) / sizeof(double), true, false>;
using la_set = accuracy_set<log1p_la, sizeof(log1p_la) / sizeof(double), false, false>;
using single_set = accuracy_set<log1p_single, sizeof(log1p_single) / sizeof(double), false, true>;
using single_la_set = accuracy_set<log1p_single_la, sizeof(log1p_single_la) / sizeof(double), false, true>;
// log1p(r) = r - r^2/2, relative error below 2^-19.5.
using ep_set = accuracy_set<nullptr, 0, false, true>;

// Four floats through two pairs of doubles, rounded once to float.
template <v2 (*Pair)(v2)>
inline __attribute__((always_inline)) __m128 through_pairs(__m128 x) {
    const __m128 lo = _mm_cvtpd_ps(Pair(_mm_cvtps_pd(x)));
    const __m128 hi = _mm_cvtpd_ps(Pair(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
    return _mm_movelh_ps(lo, hi);
}

// Below |x| = 2^-12 the single plans take x + c x^3 in float, within
// 2^-24 of the term, which is below 2^-25 of the result.
// Taken on |x| with the sign put back, so that -0 stays -0.
inline __attribute__((always_inline)) __m128 small_series(__m128 value, __m128 x, float c) {
    const __m128 sign = _mm_castsi128_ps(_mm_set1_epi32(static_cast<int32_t>(0x80000000u)));
    const __m128 ax = _mm_andnot_ps(sign, x);
    const __m128 series = _mm_add_ps(ax, _mm_mul_ps(ax, _mm_mul_ps(_mm_mul_ps(ax, ax), _mm_set1_ps(c))));
    return _mm_blendv_ps(value, _mm_or_ps(series, _mm_and_ps(x, sign)), _mm_cmplt_ps(ax, _mm_set1_ps(0x1p-12f)));
}

// The lean plans on |x|, for single inputs.  Asinh: a rounded loses 2^-53
// absolute, enough above 2^-12, where the result is at least that; below,
// the series.  Atanh: 1 +- |x| are exact, their quotient rounded loses
// 2^-53 absolute, the same.
template <class S>
inline v2 asinh_magnitude(v2 ax) {
    return log_lean<S::poly, S::size>(ax + _mm_sqrt_pd(ax * ax + splat(1.0)));
}
template <class S>
inline __attribute__((always_inline)) v2 atanh_magnitude(v2 ax) {
    const v2 one = splat(1.0);
    return splat(0.5) * log_lean<S::poly, S::size>((one + ax) / (one - ax));
}

// Four floats of an odd function: the pairs run on |x|, the sign goes back
// in float, and below 2^-12 the series x + c x^3 takes over.
template <v2 (*Magnitude)(v2)>
inline __attribute__((always_inline)) __m128 odd_four(__m128 x, float c) {
    const __m128 sign = _mm_and_ps(x, _mm_castsi128_ps(_mm_set1_epi32(static_cast<int32_t>(0x80000000u))));
    const __m128 ax = _mm_xor_ps(x, sign);
    return small_series(_mm_or_ps(through_pairs<Magnitude>(ax), sign), x, c);
}

// |x| below 2^28 (below 2^-30 the precise plan returns x, within 2^-7
// ulp: its argument keeps about 2^-104 absolute, too little there).
template <class S>
inline v2 asinh_pair(v2 x) {
    const v2 ax = magnitude(x);
    const v2 one = splat(1.0);
    v2 result;
    if constexpr (S::precise) {
        const dd2 sq = two_prod(ax, ax);
        const dd2 q = two_sum(one, sq.hi);
        const dd2 root = sqrt_dd({q.hi, q.lo + sq.lo});
        const dd2 a = fast_two_sum(root.hi, ax);
        result = log_value<S>(a.hi, a.lo + root.lo);
        result = _mm_blendv_pd(result, ax, _mm_cmplt_pd(ax, splat(0x1p-30)));
    } else if constexpr (S::lean) {
        result = asinh_magnitude<S>(ax);
    } else {
        const v2 sq = ax * ax;
        const v2 t = sq / (one + _mm_sqrt_pd(one + sq));
        const dd2 v = fast_two_sum(ax, t);
        const dd2 u = two_sum(one, v.hi);
        result = log_value<S>(u.hi, u.lo + v.lo);
    }
    return with_sign_of(result, x);
}

template <class S>
inline __m128 asinh_four(__m128 x) {
    return odd_four<asinh_magnitude<S>>(x, -1.0f / 6);
}

// 1 <= x < 2^28.
template <class S>
inline v2 acosh_pair(v2 x) {
    const v2 one = splat(1.0);
    const v2 d = x - one;
    // Single inputs: x - 1 and x + 1 exact, and the result at least 2^-11.5.
    if constexpr (S::lean) return log_lean<S::poly, S::size>(x + _mm_sqrt_pd(d * (x + one)));
    const dd2 e = fast_two_sum(x, one);
    dd2 root;
    if constexpr (S::precise) {
        const dd2 p = two_prod(d, e.hi);
        root = sqrt_dd({p.hi, p.lo + d * e.lo});
    } else {
        root = {_mm_sqrt_pd(d * e.hi + d * e.lo), _mm_setzero_pd()};
    }
    const dd2 a = fast_two_sum(x, root.hi);
    return log_value<S>(a.hi, a.lo + root.lo);
}

// |x| < 1.
template <class S>
inline v2 atanh_pair(v2 x) {
    const v2 ax = magnitude(x);
    const v2 one = splat(1.0);
    if constexpr (S::lean) return with_sign_of(atanh_magnitude<S>(ax), x);
    const dd2 d = two_sum(one, -ax);
    const v2 twice = ax + ax;
    const v2 v = twice / d.hi;
    // The residual of the quotient over 1 - |x|, whose reciprocal is 1 + v/2
    // to within the rounding of v: no second division.
    v2 residual = -(v * d.lo);
    if constexpr (S::precise) {
        const dd2 p = two_prod(v, d.hi);
        residual = residual + ((twice - p.hi) - p.lo);
    }
    const v2 v_lo = residual * (splat(1.0) + splat(0.5) * v);
    const dd2 u = two_sum(one, v);
    v2 result = splat(0.5) * log_value<S>(u.hi, u.lo + v_lo);
    if constexpr (S::precise) result = _mm_blendv_pd(result, ax, _mm_cmplt_pd(ax, splat(0x1p-28)));
    return with_sign_of(result, x);
}

template <class S>
inline __attribute__((always_inline)) __m128 atanh_four(__m128 x) {
    return odd_four<atanh_magnitude<S>>(x, 1.0f / 3);
}

}  // namespace qlm::invhyp
