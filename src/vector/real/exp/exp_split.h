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
//
// exp_pair is the same reduction carried in double-double, giving e^y and
// e^-y together to about 2^-68 for the HA hyperbolic routines, whose last
// sum is then the only rounding that counts.
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

// Estrin's form: the chain of multiply-adds is half as deep as Horner's,
// and these routines are bound by the depth of one group's chain.
template <int Degree>
inline __m128d taylor_expm1(__m128d r) {
    static_assert(Degree >= 3 && Degree <= 6);
    constexpr double c[] = {1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720};
    const auto term = [](double v) { return _mm_set1_pd(v); };
    const __m128d r2 = _mm_mul_pd(r, r);
    __m128d q;
    if constexpr (Degree == 3) {
        q = _mm_add_pd(term(c[0]), _mm_mul_pd(r, term(c[1])));
    } else {
        const __m128d a = _mm_add_pd(term(c[0]), _mm_mul_pd(r, term(c[1])));
        __m128d b;
        if constexpr (Degree == 4) b = term(c[2]);
        else if constexpr (Degree == 5) b = _mm_add_pd(term(c[2]), _mm_mul_pd(r, term(c[3])));
        else b = _mm_add_pd(_mm_add_pd(term(c[2]), _mm_mul_pd(r, term(c[3]))), _mm_mul_pd(r2, term(c[4])));
        q = _mm_add_pd(a, _mm_mul_pd(r2, b));
    }
    return _mm_add_pd(r, _mm_mul_pd(r2, q));
}

// |x| below the exponential's screen (708.396) keeps scale a normal number.
template <int Degree>
inline parts split(__m128d x) {
    using ha = exp_double::ha;
    const __m128d shifter = splat_bits(exp_double::kShifter);
    // n twice from the same product: as the shifted sum, whose low bits
    // give the row and the scale, and by ROUNDPD, which the reduction
    // reads without waiting for the sum (both round to nearest even under
    // the kernels' rounding mode, so they agree).
    const __m128d xk = _mm_mul_pd(x, splat_bits(ha::K));
    const __m128d t = _mm_add_pd(xk, shifter);
    const __m128i bits = _mm_castpd_si128(t);
    const __m128d nd = _mm_round_pd(xk, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
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

// e^y and (WithDown) e^-y from one reduction, each as scale (hi + lo)
// with scale hi and scale lo exact products, for |y| below the screen,
// good to about 2^-68 relative (2^-15 ulp).
//
// -n shares the reduction: its table row is (-n) mod 64 and its scale
// comes from the bits of S - n, so the second exponential costs a table
// gather and a few operations.  e^(+-r) - 1 -+ r = r^2 (E(r^2) +- r O(r^2))
// with the even and odd halves of the Taylor series to r^7 (truncation
// 2^-75) evaluated once.  r is carried as r + r_lo (the rounding of the
// second reduction step, by Fast2Sum) and split into rh, its top 15 bits,
// and rl, so that Thi rh is exact (Thi has 38 bits); hi = Thi + Thi rh by
// Fast2Sum, and lo collects that sum's error, Thi (rl + r_lo + q), Tlo and
// Tlo (r + q) (Tlo is up to 2^-37 of Thi, so none of it may be dropped).
// The roundings left are those of q (about 2^-16 in size) and of lo.
// lo can be 2^-15 of hi: a caller that needs hi as the rounded value
// renormalises the pair.
struct exp_dd {
    __m128d scale, hi, lo;
};

template <bool WithDown = true>
inline void exp_pair(__m128d y, exp_dd& up, exp_dd& down) {
    using ha = exp_double::ha;
    const __m128d shifter = splat_bits(exp_double::kShifter);
    const __m128d t = _mm_add_pd(_mm_mul_pd(y, splat_bits(ha::K)), shifter);
    const __m128d nd = _mm_sub_pd(t, shifter);
    const __m128d rhi = _mm_sub_pd(y, _mm_mul_pd(nd, splat_bits(ha::L1)));  // exact
    const __m128d u = _mm_mul_pd(nd, splat_bits(ha::L2));
    const __m128d r = _mm_sub_pd(rhi, u);
    const __m128d r_lo = _mm_sub_pd(_mm_sub_pd(rhi, r), u);
    const __m128d r2 = _mm_mul_pd(r, r);
    // 1/k! from k = 2
    constexpr double c[] = {1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720, 1.0 / 5040};
    const __m128d even = _mm_add_pd(_mm_set1_pd(c[0]),
                                    _mm_mul_pd(r2, _mm_add_pd(_mm_set1_pd(c[2]), _mm_mul_pd(r2, _mm_set1_pd(c[4])))));
    const __m128d odd = _mm_add_pd(_mm_set1_pd(c[1]),
                                   _mm_mul_pd(r2, _mm_add_pd(_mm_set1_pd(c[3]), _mm_mul_pd(r2, _mm_set1_pd(c[5])))));
    const __m128d rodd = _mm_mul_pd(r, odd);
    const __m128d rh = _mm_and_pd(r, splat_bits(0xFFFFFC0000000000ull));
    const __m128d small = _mm_add_pd(_mm_sub_pd(r, rh), r_lo);  // rl + r_lo

    __m128d thi, tlo;
    exp_double::split_entries(_mm_castpd_si128(t), thi, tlo);
    up.scale = exp_double::split_scale(_mm_castpd_si128(t));
    const __m128d q_up = _mm_mul_pd(r2, _mm_add_pd(even, rodd));
    const __m128d x_up = _mm_mul_pd(thi, rh);
    up.hi = _mm_add_pd(thi, x_up);
    const __m128d e_up = _mm_sub_pd(x_up, _mm_sub_pd(up.hi, thi));
    const __m128d t_up = _mm_add_pd(tlo, _mm_mul_pd(tlo, _mm_add_pd(r, q_up)));
    up.lo = _mm_add_pd(e_up, _mm_add_pd(_mm_mul_pd(thi, _mm_add_pd(small, q_up)), t_up));
    if constexpr (WithDown) {
        const __m128i tneg = _mm_castpd_si128(_mm_sub_pd(shifter, nd));
        exp_double::split_entries(tneg, thi, tlo);
        down.scale = exp_double::split_scale(tneg);
        const __m128d q_down = _mm_mul_pd(r2, _mm_sub_pd(even, rodd));
        const __m128d x_down = _mm_mul_pd(thi, rh);
        down.hi = _mm_sub_pd(thi, x_down);
        const __m128d e_down = _mm_sub_pd(_mm_sub_pd(thi, down.hi), x_down);
        const __m128d t_down = _mm_add_pd(tlo, _mm_mul_pd(tlo, _mm_sub_pd(q_down, r)));
        down.lo = _mm_add_pd(e_down, _mm_add_pd(_mm_mul_pd(thi, _mm_sub_pd(q_down, small)), t_down));
    }
}

// (e^y + e^-y)/2 (Plus) or (e^y - e^-y)/2 for 0 <= y below the screen.
// The heads scale hi / 2 are exact, e^y's the larger, so their sum is
// split exactly (Fast2Sum) and its error joins the low parts: the result
// carries its last rounding and the core's error, times coth y where the
// difference cancels.
template <bool Plus>
inline __m128d half_exp_pair(__m128d y) {
    exp_dd up, down;
    exp_pair(y, up, down);
    const __m128d half = _mm_set1_pd(0.5);
    const __m128d hs_up = _mm_mul_pd(half, up.scale), hs_down = _mm_mul_pd(half, down.scale);
    const __m128d a = _mm_mul_pd(hs_up, up.hi);
    __m128d b = _mm_mul_pd(hs_down, down.hi);
    __m128d lo_down = _mm_mul_pd(hs_down, down.lo);
    if constexpr (!Plus) {
        b = _mm_xor_pd(b, _mm_set1_pd(-0.0));
        lo_down = _mm_xor_pd(lo_down, _mm_set1_pd(-0.0));
    }
    const __m128d s = _mm_add_pd(a, b);
    const __m128d err = _mm_sub_pd(b, _mm_sub_pd(s, a));
    return _mm_add_pd(s, _mm_add_pd(err, _mm_add_pd(_mm_mul_pd(hs_up, up.lo), lo_down)));
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
