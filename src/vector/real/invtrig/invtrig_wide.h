// The wide arithmetic of the inverse trigonometric kernels: two doubles or
// four floats per SSE register, written once for both through overloads on
// the register type.
//
// Angle (Atan2, and the float and EP forms of Atan).  With num = min(|a|, |b|) and den = max(|a|, |b|),
// the first-octant angle atan(num/den) is reduced once more at tan(pi/8):
// above it t = (num - den)/(num + den) and the angle is pi/4 + atan(t),
// below it t = num/den.  So one division per lane and |t| <= tan(pi/8),
// where atan(t) = t + t s Q(s), s = t^2, with Q the fit of
// tools/invtrig_fits (degree 10 for 2^-51 in double, shorter for the other
// classes).  The quadrant and the pi/4 step fold into k pi/4 + (+-atan(t)),
// k = 0..4, with pi/4 cut into a head whose small multiples are exact and
// a rest.  Atan is the angle of (1, x).
//
// Arcsine (Asin, Acos).  For |x| <= 1/2, asin(x) = x + x s P(s), s = x^2;
// above, with z = (1 - |x|)/2 (exact) and r = sqrt(z),
// asin(|x|) = pi/2 - 2 (r + r z P(z)); acos takes pi/2 - asin(x), 2w or
// pi - 2w from the same pieces.  P is the fit on [0, 1/4].
//
// Every form adds its leading term (t, or r) to the octant constant
// exactly.  The plain forms leave the quotient or root rounded: measured
// maxima 1.1 to 1.4 ulp in double, 1.2 to 1.8 in float lanes.  The careful
// double forms (for HA) also carry that rounding error: the quotient t as
// t + tl from its exact residual, the root r as r + rl likewise, so that
// what remains is the last addition and the tail's own rounding, which
// weighs most where the result is smallest against the constant: measured
// maxima 0.56 to 0.66 ulp.  The residuals need no second division: a
// float reciprocal estimate (12 bits) is ample for a correction that is
// itself below half an ulp.
#pragma once

#include <smmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

#include "vector/real/invtrig/invtrig_fits.h"

// The wide formulas are inlined into their group loops whatever GCC's
// size heuristics say: a call would split the two registers of a group,
// reload every constant and leave the scheduler one register's work.
#define QLM_WIDE inline __attribute__((always_inline))

namespace qlm::invtrig {

inline __m128d add(__m128d a, __m128d b) { return _mm_add_pd(a, b); }
inline __m128 add(__m128 a, __m128 b) { return _mm_add_ps(a, b); }
inline __m128d sub(__m128d a, __m128d b) { return _mm_sub_pd(a, b); }
inline __m128 sub(__m128 a, __m128 b) { return _mm_sub_ps(a, b); }
inline __m128d mul(__m128d a, __m128d b) { return _mm_mul_pd(a, b); }
inline __m128 mul(__m128 a, __m128 b) { return _mm_mul_ps(a, b); }
inline __m128d div(__m128d a, __m128d b) { return _mm_div_pd(a, b); }
inline __m128 div(__m128 a, __m128 b) { return _mm_div_ps(a, b); }
inline __m128d vmin(__m128d a, __m128d b) { return _mm_min_pd(a, b); }
inline __m128 vmin(__m128 a, __m128 b) { return _mm_min_ps(a, b); }
inline __m128d vmax(__m128d a, __m128d b) { return _mm_max_pd(a, b); }
inline __m128 vmax(__m128 a, __m128 b) { return _mm_max_ps(a, b); }
inline __m128d vsqrt(__m128d a) { return _mm_sqrt_pd(a); }
inline __m128 vsqrt(__m128 a) { return _mm_sqrt_ps(a); }
inline __m128d band(__m128d a, __m128d b) { return _mm_and_pd(a, b); }
inline __m128 band(__m128 a, __m128 b) { return _mm_and_ps(a, b); }
inline __m128d bandnot(__m128d a, __m128d b) { return _mm_andnot_pd(a, b); }
inline __m128 bandnot(__m128 a, __m128 b) { return _mm_andnot_ps(a, b); }
inline __m128d bor(__m128d a, __m128d b) { return _mm_or_pd(a, b); }
inline __m128 bor(__m128 a, __m128 b) { return _mm_or_ps(a, b); }
inline __m128d bxor(__m128d a, __m128d b) { return _mm_xor_pd(a, b); }
inline __m128 bxor(__m128 a, __m128 b) { return _mm_xor_ps(a, b); }
inline __m128d greater(__m128d a, __m128d b) { return _mm_cmpgt_pd(a, b); }
inline __m128 greater(__m128 a, __m128 b) { return _mm_cmpgt_ps(a, b); }
inline __m128d less(__m128d a, __m128d b) { return _mm_cmplt_pd(a, b); }
inline __m128 less(__m128 a, __m128 b) { return _mm_cmplt_ps(a, b); }
// mask ? yes : no, lane by lane (the mask lanes are all ones or all zeros).
inline __m128d select(__m128d mask, __m128d yes, __m128d no) { return _mm_blendv_pd(no, yes, mask); }
inline __m128 select(__m128 mask, __m128 yes, __m128 no) { return _mm_blendv_ps(no, yes, mask); }

// The register and the constants of an element type; templates are keyed
// on the element type, since attributes of the register types would be
// dropped from template arguments.
template <typename T>
struct element;
template <>
struct element<double> {
    using vec = __m128d;
    static __m128d splat(double c) { return _mm_set1_pd(c); }
    static __m128d zero() { return _mm_setzero_pd(); }
    static __m128d sign() { return _mm_castsi128_pd(_mm_set1_epi64x(static_cast<int64_t>(0x8000000000000000ull))); }
    static constexpr double tan_pi_8 = 0x1.a827999fcef32p-2;
    static constexpr const double* quarter_pi = quarter_pi_d;
};
template <>
struct element<float> {
    using vec = __m128;
    static __m128 splat(float c) { return _mm_set1_ps(c); }
    static __m128 zero() { return _mm_setzero_ps(); }
    static __m128 sign() { return _mm_castsi128_ps(_mm_set1_epi32(static_cast<int32_t>(0x80000000u))); }
    static constexpr float tan_pi_8 = 0x1.a8279ap-2f;
    static constexpr const float* quarter_pi = quarter_pi_f;
};

template <typename T>
using vec_t = typename element<T>::vec;

template <typename T>
inline vec_t<T> splat(T c) {
    return element<T>::splat(c);
}

// c[0] + s E(s), with E by Estrin's scheme: pairs c[i] + c[i+1] s joined
// by s^2, s^4, s^8, so that the dependent chain is log2 of the degree long
// instead of the degree (the kernels are bound by that chain, not by the
// operation count).  The constant term is kept apart so that E's rounding
// errors, larger than Horner's, are damped by s.  p[j] holds s^(2^j).
template <std::size_t N, typename T>
QLM_WIDE vec_t<T> estrin(const T* c, const vec_t<T>* p) {
    if constexpr (N == 1) {
        return splat<T>(c[0]);
    } else {
        constexpr std::size_t half = std::bit_floor(N - 1);
        return add(estrin<half, T>(c, p), mul(p[std::countr_zero(half)], estrin<N - half, T>(c + half, p)));
    }
}
template <typename T, std::size_t N>
QLM_WIDE vec_t<T> polynomial(const T (&c)[N], vec_t<T> s) {
    vec_t<T> p[4] = {s, s, s, s};
    for (int j = 1; j < 4; ++j) p[j] = mul(p[j - 1], p[j - 1]);
    return add(splat<T>(c[0]), mul(s, estrin<N - 1, T>(c + 1, p)));
}

// (hi, lo) with hi + lo = a + b exactly, for |a| >= |b| or a == 0.
template <typename T>
struct pair_sum {
    vec_t<T> hi, lo;
};
template <typename T>
QLM_WIDE pair_sum<T> fast_two_sum(vec_t<T> a, vec_t<T> b) {
    const vec_t<T> s = add(a, b);
    return {s, sub(b, sub(s, a))};
}

// k pi/4 + (vh + vl), k = 0..4 in a register, |vh| <= |k pi/4| where k is
// not 0: the head of the constant times k is exact and vh joins it
// exactly, so the only roundings that count are vl's and the last one.
template <typename T>
QLM_WIDE vec_t<T> octant_plus(vec_t<T> k, vec_t<T> vh, vec_t<T> vl) {
    const T* q = element<T>::quarter_pi;
    const pair_sum<T> h = fast_two_sum<T>(mul(k, splat<T>(q[0])), vh);
    return add(h.hi, add(h.lo, add(mul(k, splat<T>(q[1])), vl)));
}

// The first-octant reduction shared by both forms: which lanes swapped
// their arguments, which took the pi/4 step, and the octant constant with
// the sign that atan(t) takes in the result.  Without Mirror, b is taken
// positive (Atan) and its mask is not read.
template <typename T, bool Mirror>
struct octant {
    using V = vec_t<T>;
    V num, den, mid, k, flip;
    octant(V ax, V bx, V bneg) {
        const V swap = greater(ax, bx);
        num = vmin(ax, bx);
        den = vmax(ax, bx);
        mid = greater(num, mul(den, splat<T>(element<T>::tan_pi_8)));
        // Angle = base + sign * (c + atan t): base pi/2 when swapped, mirrored
        // to pi - angle when b < 0; c = pi/4 on the mid lanes.
        const V two = band(swap, splat<T>(2));
        if constexpr (Mirror) {
            flip = band(bxor(swap, bneg), element<T>::sign());
            k = add(select(bneg, sub(splat<T>(4), two), two), bxor(band(mid, splat<T>(1)), flip));
        } else {
            flip = band(swap, element<T>::sign());
            k = add(two, bxor(band(mid, splat<T>(1)), flip));
        }
    }
};

// atan2(|a|, |b|) mirrored for b < 0 (bneg all ones there): the angle of
// the point (b, |a|), in [0, pi].  Plain arithmetic, float or double.
template <bool Mirror, typename T, std::size_t N>
QLM_WIDE vec_t<T> angle_plain(vec_t<T> ax, vec_t<T> bx, vec_t<T> bneg, const T (&tail)[N]) {
    using V = vec_t<T>;
    const octant<T, Mirror> o(ax, bx, bneg);
    const V t = div(select(o.mid, sub(o.num, o.den), o.num), select(o.mid, add(o.num, o.den), o.den));
    const V s = mul(t, t);
    const V rest = mul(t, mul(s, polynomial(tail, s)));
    return octant_plus<T>(o.k, bxor(t, o.flip), bxor(rest, o.flip));
}

// a * b exactly as hi + lo (Dekker's split; no fused multiply-add here).
QLM_WIDE pair_sum<double> two_prod(__m128d a, __m128d b) {
    const __m128d c = _mm_set1_pd(134217729.0);  // 2^27 + 1
    const __m128d ca = mul(c, a), cb = mul(c, b);
    const __m128d ah = sub(ca, sub(ca, a)), bh = sub(cb, sub(cb, b));
    const __m128d al = sub(a, ah), bl = sub(b, bh);
    const __m128d p = mul(a, b);
    return {p, add(add(add(sub(mul(ah, bh), p), mul(ah, bl)), mul(al, bh)), mul(al, bl))};
}
// 1/d to about 12 bits, for |d| within the float range.
QLM_WIDE __m128d reciprocal_estimate(__m128d d) { return _mm_cvtps_pd(_mm_rcp_ps(_mm_cvtpd_ps(d))); }

// The careful double form of angle_plain, for Atan2 (double Atan has its
// own node form).  Both arguments are first brought near 1 by a power of
// two, since they reach 2^+-500.
QLM_WIDE __m128d angle_careful(__m128d ax, __m128d bx, __m128d bneg) {
    const octant<double, true> o(ax, bx, bneg);
    __m128d num = o.num, den = o.den;
    {  // den into [1, 2): the exact products cannot overflow and den's reciprocal fits a float
        const __m128i e = _mm_and_si128(_mm_castpd_si128(den), _mm_set1_epi64x(0x7FF0000000000000ll));
        const __m128d scale = _mm_castsi128_pd(_mm_sub_epi64(_mm_set1_epi64x(0x7FE0000000000000ll), e));
        num = mul(num, scale);
        den = mul(den, scale);
    }
    // On the mid lanes n = num - den and d = num + den as exact pairs
    // (|den| >= |num|); elsewhere n = num, d = den.
    const pair_sum<double> nd = fast_two_sum<double>(sub(_mm_setzero_pd(), den), num);
    const pair_sum<double> sd = fast_two_sum<double>(den, num);
    const __m128d nh = select(o.mid, nd.hi, num), nl = band(o.mid, nd.lo);
    const __m128d dh = select(o.mid, sd.hi, den), dl = band(o.mid, sd.lo);
    const __m128d th = div(nh, dh);
    // The quotient's rounding error from its exact residual, off the
    // chain that leads from th through the polynomial.
    const pair_sum<double> p = two_prod(th, dh);
    const __m128d residual = add(sub(sub(nh, p.hi), p.lo), sub(nl, mul(th, dl)));
    const __m128d tl = mul(residual, reciprocal_estimate(dh));
    const __m128d s = mul(th, th);
    const __m128d rest = add(tl, mul(th, mul(s, polynomial(atan_tail_d, s))));
    return octant_plus<double>(o.k, bxor(th, o.flip), bxor(rest, o.flip));
}

// The arcsine reduction shared by both forms.
template <typename T>
struct arcsine_parts {
    using V = vec_t<T>;
    V ax, big, z;
    explicit arcsine_parts(V x) {
        ax = bandnot(element<T>::sign(), x);
        big = greater(ax, splat<T>(0.5));
        z = select(big, mul(sub(splat<T>(1), ax), splat<T>(0.5)), mul(ax, ax));
    }
    // asin: k pi/4 with k = 2 on the big lanes, w doubled and negated there;
    // the sign of x goes on last.  acos: k = 2 on the small lanes with
    // -asin(x); on the big ones 2w for x > 0, pi - 2w for x < 0.
    template <bool Acos>
    void constants(V x, V& k, V& flip) const {
        if constexpr (Acos) {
            const V neg = less(x, element<T>::zero());
            k = select(big, band(neg, splat<T>(4)), splat<T>(2));
            flip = bandnot(bxor(big, neg), element<T>::sign());
        } else {
            k = band(big, splat<T>(2));
            flip = band(big, element<T>::sign());
        }
    }
};

// asin(x) or acos(x) for |x| < 1.  The leading term r (x itself, or the
// root) joins the constant exactly; with Root set (double only) the root's
// rounding error (z - r^2)/(2r) is added from the exact square, which the
// careful double form needs and the plain forms skip.
template <bool Acos, bool Root, typename T, std::size_t N>
QLM_WIDE vec_t<T> arcsine(vec_t<T> x, const T (&tail)[N]) {
    using V = vec_t<T>;
    const arcsine_parts<T> a(x);
    const V root = vsqrt(a.z);
    const V r = select(a.big, root, a.ax);
    V rest = mul(r, mul(a.z, polynomial(tail, a.z)));
    if constexpr (Root) {
        const pair_sum<double> sq = two_prod(root, root);
        const V rl = mul(sub(sub(a.z, sq.hi), sq.lo), mul(splat<T>(0.5), reciprocal_estimate(root)));
        rest = add(rest, band(a.big, rl));
    }
    // 2w on the big lanes, both parts doubled exactly.
    const V wh = add(r, band(a.big, r));
    rest = add(rest, band(a.big, rest));
    V k, flip;
    a.template constants<Acos>(x, k, flip);
    const V v = octant_plus<T>(k, bxor(wh, flip), bxor(rest, flip));
    if constexpr (Acos) return v;
    else return bor(v, band(x, element<T>::sign()));
}

// asin(x) or acos(x) for |x| < 1, the lean float form of the LA slots:
// the same pieces as arcsine(), but the leading term w = f r (f = 1, -1,
// +-2, exact) joins k = 0, pi/2 or pi through a plain sum, k's rounding
// error added back as k times the ratio of pi/2's rest to its float head.
// The unpaired sum costs up to half an ulp more where w and k nearly
// cancel (|x| near 1/2): measured about 1.5 ulp, and the whole form takes
// about two thirds of the operations of the octant one.
template <bool Acos, std::size_t N>
QLM_WIDE __m128 arcsine_lean(__m128 x, const float (&tail)[N]) {
    constexpr float pio2 = 0x1.921fb6p+0f, pio2_rest = -0x1.777a5cp-25f;
    const __m128 sx = band(x, element<float>::sign());
    const __m128 ax = bxor(x, sx);
    const __m128 big = less(splat<float>(0.5f), ax);
    const __m128 z = select(big, mul(sub(splat<float>(1), ax), splat<float>(0.5f)), mul(ax, ax));
    const __m128 r = select(big, vsqrt(z), ax);
    // asin: r, or pi/2 - 2r on the big lanes, the sign of x put back last.
    // acos: pi/2 - x, or 2r for x > 1/2 and pi - 2r for x < -1/2.
    __m128 f, k;
    if constexpr (Acos) {
        f = bxor(select(big, splat<float>(2), splat<float>(-1)), sx);
        k = select(big, band(less(x, element<float>::zero()), splat<float>(2 * pio2)), splat<float>(pio2));
    } else {
        f = select(big, splat<float>(-2), splat<float>(1));
        k = band(big, splat<float>(pio2));
    }
    const __m128 w = mul(r, f);
    const __m128 rest = mul(w, mul(z, polynomial(tail, z)));
    const __m128 v = add(k, add(w, add(rest, mul(k, splat<float>(pio2_rest / pio2)))));
    if constexpr (Acos) return v;
    else return bor(v, sx);
}

// A float function evaluated in double pairs: four floats widen exactly,
// and the double result rounds once to float.
template <class F>
QLM_WIDE __m128 in_double_pairs(__m128 x, F f) {
    const __m128d lo = f(_mm_cvtps_pd(x)), hi = f(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
    return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
}
template <class F>
QLM_WIDE __m128 in_double_pairs(__m128 a, __m128 b, F f) {
    const __m128d lo = f(_mm_cvtps_pd(a), _mm_cvtps_pd(b));
    const __m128d hi = f(_mm_cvtps_pd(_mm_movehl_ps(a, a)), _mm_cvtps_pd(_mm_movehl_ps(b, b)));
    return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
}

}  // namespace qlm::invtrig
