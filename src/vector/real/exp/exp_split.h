// The exponential core behind Expm1, Sinh, Cosh and Tanh.
//
// The reduction is the double HA exponential's: n = round(x 64/ln 2),
// r = x - n ln2/64 in two pieces, |r| <= ln2/128, 2^(j/64) as a split pair
// whose high part has 15 low zero bits.  e^x = scale (hi + tail) with
// scale = 2^m, hi = Thi and tail = p (Thi + Tlo) + Tlo, p = e^r - 1.
// Because hi is short, scale hi - 1 is exact for -15 <= m <= 52, which is
// what lets e^x - 1 keep its relative accuracy near 0.
//
// p is the Taylor polynomial of the degree asked for: 6 keeps p relative
// to r within r^6/5040 < 2^-57 (what Expm1 needs when n = 0), 5 within
// 2^-47 and absolutely within 2^-54 (enough for e^x), 4 within 2^-37,
// 3 within 2^-28.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/exp/exp_double.h"
#include "vector/real/lane_loops.h"

namespace qlm::vector::exp_split {

// The exponential's screen, |x| < 708.396, for the routines on this core.
struct exp_screen {
    static bool screen(__m128d x0, __m128d x1) {
        return all_magnitudes_below(high_words(x0, x1), exp_double::kScreen, 0xF);
    }
    static bool screen_one(__m128d x) { return all_magnitudes_below(high_words(x, x), exp_double::kScreen, 0x1); }
};

struct parts {
    __m128d scale, hi, tail;
};

template <int Degree>
inline __m128d taylor_expm1(__m128d r) {
    static_assert(Degree >= 3 && Degree <= 6);
    constexpr double c[] = {1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720};
    __m128d q = _mm_set1_pd(c[Degree - 2]);
    for (int k = Degree - 3; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(c[k]), _mm_mul_pd(r, q));
    return _mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, r), q));
}

// |x| below the exponential's screen (708.396) keeps scale a normal number.
template <int Degree>
inline parts split(__m128d x) {
    using ha = exp_double::ha;
    const __m128d shifter = splat_bits(exp_double::kShifter);
    const __m128d t = _mm_add_pd(_mm_mul_pd(x, splat_bits(ha::K)), shifter);
    const __m128i bits = _mm_castpd_si128(t);
    const __m128d nd = _mm_sub_pd(t, shifter);
    const __m128d r = _mm_sub_pd(_mm_sub_pd(x, _mm_mul_pd(nd, splat_bits(ha::L1))), _mm_mul_pd(nd, splat_bits(ha::L2)));
    parts p;
    __m128d lo;
    exp_double::split_entries(bits, p.hi, lo);
    p.tail = exp_double::split_tail(taylor_expm1<Degree>(r), p.hi, lo);
    p.scale = exp_double::split_scale(bits);
    return p;
}

inline __m128d exp_of(const parts& p) { return _mm_mul_pd(p.scale, _mm_add_pd(p.hi, p.tail)); }

// e^x - 1 as (scale hi - 1) + scale tail: the first difference is exact
// for -15 <= m <= 52, so near 0 only the last addition rounds.
inline __m128d expm1_of(const parts& p) {
    return _mm_add_pd(_mm_sub_pd(_mm_mul_pd(p.scale, p.hi), _mm_set1_pd(1.0)), _mm_mul_pd(p.scale, p.tail));
}

// e^x - 1 with the method chosen per lane.  For |x| < 0.03 the table
// form cancels (2^(n/64) - 1 against a tail of the other sign, up to a
// factor 2.7 next to ln2/128), so x + x^2 (1/2 + ... + x^6/8!) is used,
// truncated below 2^-59.  Up to |x| = 10 the table form's difference is
// exact; beyond, for negative x, e^x is summed first so that only the
// final subtraction rounds, and for positive x, 1 is taken from the tail
// and the exact scale hi added last.
inline __m128d expm1_accurate(__m128d x, const parts& p) {
    const __m128d ax = _mm_andnot_pd(_mm_set1_pd(-0.0), x), one = _mm_set1_pd(1.0);
    const __m128d far_negative = _mm_sub_pd(exp_of(p), one);
    const __m128d far_positive = _mm_add_pd(_mm_mul_pd(p.scale, p.hi), _mm_sub_pd(_mm_mul_pd(p.scale, p.tail), one));
    const __m128d far = _mm_blendv_pd(far_positive, far_negative, x);
    const __m128d mid = _mm_blendv_pd(far, expm1_of(p), _mm_cmplt_pd(ax, _mm_set1_pd(10.0)));
    constexpr double c[] = {1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720, 1.0 / 5040, 1.0 / 40320};
    __m128d q = _mm_set1_pd(c[6]);
    for (int k = 5; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(c[k]), _mm_mul_pd(x, q));
    const __m128d small = _mm_add_pd(x, _mm_mul_pd(_mm_mul_pd(x, x), q));
    return _mm_blendv_pd(mid, small, _mm_cmplt_pd(ax, _mm_set1_pd(0.03)));
}

// (e^y + e^-y)/2 (Plus) or (e^y - e^-y)/2 for 0 <= y below the screen,
// from two evaluations of the core, one at y and one at -y.  The heads
// scale hi / 2 of both are exact, so their sum is split exactly
// (Fast2Sum, the first head being the larger) and its error joins the
// tails; the tails are under 0.012 of their heads and accurate far beyond
// double, so the result carries its last rounding and little else: about
// half an ulp, also where the difference cancels by up to coth 1/4.
template <bool Plus>
inline __m128d half_exp_pair(__m128d y) {
    const parts up = split<6>(y), down = split<6>(_mm_sub_pd(_mm_setzero_pd(), y));
    const __m128d half = _mm_set1_pd(0.5);
    const __m128d a = _mm_mul_pd(_mm_mul_pd(half, up.scale), up.hi);
    __m128d b = _mm_mul_pd(_mm_mul_pd(half, down.scale), down.hi);
    __m128d tail_down = _mm_mul_pd(down.scale, down.tail);
    if constexpr (!Plus) {
        b = _mm_xor_pd(b, _mm_set1_pd(-0.0));
        tail_down = _mm_xor_pd(tail_down, _mm_set1_pd(-0.0));
    }
    const __m128d s = _mm_add_pd(a, b);
    const __m128d err = _mm_sub_pd(b, _mm_sub_pd(s, a));
    const __m128d tails = _mm_mul_pd(half, _mm_add_pd(_mm_mul_pd(up.scale, up.tail), tail_down));
    return _mm_add_pd(s, _mm_add_pd(err, tails));
}

// e^|x| / 2 for 708 <= |x| < 710.48, where e^|x| itself may not be a
// double but its half is: the scale is applied as 2^(m-2) and then 2.
inline double large_half_exp(double ax) {
    using kernel = exp_double::kernel<exp_double::ha>;
    kernel::reduced l0, l1;
    kernel::reduce(_mm_set1_pd(ax), l0, l1);
    return l0.mantissa * kernel::pow2(kernel::exponent_of(l0.n) - 2) * 2.0;
}

// Sign bit of x moved onto a positive result.
inline __m128d with_sign_of(__m128d x, __m128d v) {
    return _mm_or_pd(v, _mm_and_pd(x, _mm_set1_pd(-0.0)));
}
inline __m128d magnitude(__m128d x) { return _mm_andnot_pd(_mm_set1_pd(-0.0), x); }

}  // namespace qlm::vector::exp_split
