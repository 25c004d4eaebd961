// The double LGamma and TGamma lanes: log |Gamma(x)| carried as a
// double-double on SSE2 pairs, for 2^-30 <= |x| < 60.5.
//
// With y = |x|, m = round(y) and z = y - m (exact, |z| <= 1/2):
// - m >= 2: log Gamma(y) = E(z), the Taylor series of log Gamma about m
//   (gamma_rows_table.h, from tools/gamma_series/gamma_rows.cpp): c_0..c_3
//   as double-double, the rest in double to the degree the row needs (z^23
//   for m = 3, z^9 from m = 34 on: the terms left out stay below 2^-62).
//   For m = 2 the tail runs on to z^34 from gamma_series_table.h, since
//   that series converges as 2^-k.  The series vanishes with z at x = 2,
//   so the result keeps its relative accuracy there.
// - m <= 1: log Gamma(y) = E(z) of the row m = 2 minus log D, D = y for
//   m = 1 and y (y + 1) for m = 0 (Gamma(y) = Gamma(2 + z)/D).
// - x < 0, by the reflection written with y (no argument is rounded):
//   Gamma(x) = -pi D / (y sin(pi y) e^E), sin(pi y) = (-1)^m sin(pi z)
//   from sin or cos of pi |z| on [0, pi/4] in double-double (Taylor to
//   t^21 and t^20, the leading coefficient in double-double).
// TGamma = e^(+-E [+ log pi]) Num/Den, LGamma = +-E [+ log pi] - log R:
// one double-double quotient and one e^ or log, the quotient left out where
// no lane of the pair is shifted or negative.  e^ by the 64-entry table of
// exp_log_core.h with Taylor to r^6, log by its 128th-step table with
// Taylor to r^9, both to a relative 2^-62 or better.  All products are
// exact by Dekker's splitting (no fused multiply-add on this tier).
// The absolute error of the exponent stays near 2^-58, so TGamma is within
// about 0.52 ulp.  LGamma's negative lanes lose that absolute error to
// cancellation where |log |Gamma|| is small (near its zeros below -2):
// such a lane is handed back (`bad`) when the result is below 1/8, as is
// a pole (a negative integer); the caller recomputes it per element.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/invhyp/invhyp_pairs.h"
#include "vector/real/special/core_tables.h"
#include "vector/real/special/gamma_rows_table.h"
#include "vector/real/special/gamma_series_table.h"
#include "vector/real/special/gamma_single_lanes.h"

namespace qlm::special::gamma_dl {

using gamma_lanes::select;
using gamma_lanes::splat;
using gamma_lanes::v2d;
using gamma_lanes::v2l;
using gamma_lanes::v2u;

// The exact sum and product of the inverse hyperbolic pairs; the few
// double-double operations the gamma function needs on top of them follow.
using d2 = invhyp::dd2;
using invhyp::fast_two_sum;
using invhyp::two_prod;
using invhyp::two_sum;

inline d2 add(d2 a, d2 b) {
    const d2 s = two_sum(a.hi, b.hi);
    return fast_two_sum(s.hi, s.lo + a.lo + b.lo);
}
inline d2 mul(d2 a, d2 b) {
    const d2 p = two_prod(a.hi, b.hi);
    return fast_two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
inline d2 mul_d(d2 a, v2d b) {
    const d2 p = two_prod(a.hi, b);
    return fast_two_sum(p.hi, p.lo + a.lo * b);
}
inline d2 div(d2 a, d2 b) {
    const v2d q = a.hi / b.hi;
    const d2 p = two_prod(q, b.hi);
    return fast_two_sum(q, ((a.hi - p.hi) - p.lo + a.lo - q * b.lo) / b.hi);
}
inline d2 choose(v2l mask, d2 yes, d2 no) { return {select(mask, yes.hi, no.hi), select(mask, yes.lo, no.lo)}; }
inline d2 negate_where(v2l mask, d2 a) {
    const v2d s = (v2d)(mask & (v2l)splat(-0.0));
    return {(v2d)((v2l)a.hi ^ (v2l)s), (v2d)((v2l)a.lo ^ (v2l)s)};
}
inline d2 constant(double hi, double lo) { return {splat(hi), splat(lo)}; }

// Element k of the rows of two lanes, p0 and p1.
inline v2d gather(const double* p0, const double* p1, int k) {
    return (v2d)_mm_loadh_pd(_mm_load_sd(p0 + k), p1 + k);
}
inline d2 gather_pair(const double* p0, const double* p1, int k) {
    const __m128d a = _mm_loadu_pd(p0 + k), b = _mm_loadu_pd(p1 + k);
    return {(v2d)_mm_unpacklo_pd(a, b), (v2d)_mm_unpackhi_pd(a, b)};
}

// The tail of the m = 2 series, sum_{k>=4} c_k z^(k-4), in four chains of z^4.
inline v2d tail_of_two(v2d z) {
    const v2d z2 = z * z, z4 = z2 * z2;
    v2d c[4];
    for (int k = 0; k < 4; ++k) {
        int i = k + 28 <= 30 ? k + 28 : k + 24;
        v2d s = splat(gamma_d::kTail[i]);
        for (i -= 4; i >= 0; i -= 4) s = s * z4 + gamma_d::kTail[i];
        c[k] = s;
    }
    return (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]);
}

// log Gamma(m + z) about m = max(round(y), 2), as a double-double.
struct series_part {
    d2 e;     // log Gamma(max(m, 2) + z)
    v2d m, z;
};
[[gnu::always_inline]] inline series_part log_gamma_rows(v2d y) {
    const v2d m = gamma_lanes::vround(y);
    const v2d z = y - m;
    const v2d row_m = (v2d)_mm_max_pd((__m128d)m, (__m128d)splat(2.0));
    const __m128i rows = _mm_cvttpd_epi32((__m128d)(row_m - 2.0));
    const int r0 = _mm_cvtsi128_si32(rows), r1 = _mm_extract_epi32(rows, 1);
    const double* p0 = gamma_d::kLogGammaRows[r0];
    const double* p1 = gamma_d::kLogGammaRows[r1];
    // c_4..c_(4+d) (offsets 8..8+d) in two chains of z^2, c_4, c_6, ... and
    // c_5, c_7, ..., to the degree the pair's rows need: the farther from
    // the pole at 0, the shorter the tail.
    const int d0 = gamma_d::kRowTailDegree[r0], d1 = gamma_d::kRowTailDegree[r1];
    const int top = 8 + (d0 > d1 ? d0 : d1);
    const v2d z2 = z * z;
    v2d even = gather(p0, p1, top - 1), odd = gather(p0, p1, top);
    for (int k = top - 3; k >= 8; k -= 2) {
        even = even * z2 + gather(p0, p1, k);
        odd = odd * z2 + gather(p0, p1, k + 1);
    }
    v2d tail = even + z * odd;
    const v2l two = m < 2.5;
    if (gamma_lanes::any(two)) tail = select(two, tail_of_two(z), tail);
    const d2 c3 = gather_pair(p0, p1, 6), c2 = gather_pair(p0, p1, 4), c1 = gather_pair(p0, p1, 2),
             c0 = gather_pair(p0, p1, 0);
    const d2 t3 = two_sum(c3.hi, z * tail);
    d2 acc = fast_two_sum(t3.hi, t3.lo + c3.lo);
    acc = add(c2, mul_d(acc, z));
    acc = add(c1, mul_d(acc, z));
    return {add(c0, mul_d(acc, z)), m, z};
}

// D = y for m = 1, y (y + 1) = y^2 + y for m = 0, 1 otherwise.
inline d2 shift_divisor(v2d y, v2d m) {
    const d2 sq = two_prod(y, y);
    const d2 yy1 = add(sq, d2{y, splat(0.0)});
    const d2 d = choose(m < 0.5, yy1, d2{y, splat(0.0)});
    return choose(m < 1.5, d, constant(1.0, 0.0));
}

// sin(pi y) for y = m + z with z exact, as a double-double.
[[gnu::always_inline]] inline d2 sin_pi(v2d m, v2d z) {
    const v2d a = (v2d)_mm_andnot_pd((__m128d)splat(-0.0), (__m128d)z);
    const v2l use_sin = a <= 0.25;
    const v2d b = select(use_sin, a, 0.5 - a);  // exact
    const d2 tp = two_prod(b, splat(0x1.921fb54442d18p+1));
    const d2 tt = fast_two_sum(tp.hi, tp.lo + b * 0x1.1a62633145c07p-53);
    const d2 yy = mul(tt, tt);
    const v2d t2 = yy.hi;
    // sin t = t (1 + t^2 (-1/6 + t^2 (1/120 + t^2 ps))), cos t = 1 + t^2
    // (-1/2 + t^2 (1/24 + t^2 pc)), ps and pc to t^21 and t^20.
    // Both in Estrin's form in t^2, t^4, t^8: a third of Horner's chain.
    const v2d t4 = t2 * t2, t8 = t4 * t4;
    const v2d ps = ((-1.0 / 5040 + t2 * (1.0 / 362880)) + t4 * (-1.0 / 39916800 + t2 * (1.0 / 6227020800.0))) +
                   t8 * ((-1.0 / 1307674368000.0 + t2 * (1.0 / 355687428096000.0)) +
                         t4 * (-1.0 / 121645100408832000.0 + t2 * (1.0 / 51090942171709440000.0)));
    const v2d pc = ((-1.0 / 720 + t2 * (1.0 / 40320)) + t4 * (-1.0 / 3628800 + t2 * (1.0 / 479001600))) +
                   t8 * ((-1.0 / 87178291200.0 + t2 * (1.0 / 20922789888000.0)) +
                         t4 * (-1.0 / 6402373705728000.0 + t2 * (1.0 / 2432902008176640000.0)));
    const v2d p = select(use_sin, ps, pc);
    // F = 1 + t^2 u: u = c1 + t^2 w needs double-double only for c1, as
    // t^2 w is below 0.026 and its rounding enters F scaled by t^2 w; w =
    // c2 + t^2 p enters scaled by t^4 and stays in double.
    const v2d w = select(use_sin, splat(1.0 / 120), splat(1.0 / 24)) + t2 * p;
    const d2 c1 = choose(use_sin, constant(-0x1.5555555555555p-3, -0x1.5555555555555p-57), constant(-0.5, 0.0));
    const d2 us = two_sum(c1.hi, t2 * w);
    const d2 u = fast_two_sum(us.hi, us.lo + c1.lo);
    const d2 f = add(constant(1.0, 0.0), mul(yy, u));
    d2 s = choose(use_sin, mul(tt, f), f);
    // The sign: (-1)^m sign(z).
    const v2d half_m = m * 0.5;
    const v2l m_odd = gamma_lanes::vround(half_m) != half_m;
    const v2l negative = m_odd ^ (z < 0.0);
    return negate_where(negative, s);
}

// e^(x.hi + x.lo) as 2^k (m.hi + m.lo), 2^k returned as a double (normal
// over the lanes' range, where |x| stays below 200).
struct exp_pair {
    d2 m;
    v2d scale;
};
[[gnu::always_inline]] inline exp_pair exp_dd(d2 x) {
    constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64/ln2
    constexpr double kStep1 = 0x1.62e42fefa0000p-7;    // ln2/64, 36 bits
    constexpr double kStep2 = 0x1.cf79abc9e3b3ap-46;
    constexpr double kShifter = 0x1.8p52;
    const v2d shifted = x.hi * kInvStep + kShifter;
    const v2d nd = shifted - kShifter;
    const v2d r = ((x.hi - nd * kStep1) - nd * kStep2) + x.lo;
    const v2d r2 = r * r;
    const v2d p = r + r2 * ((0.5 + r * (1.0 / 6)) + r2 * ((1.0 / 24 + r * (1.0 / 120)) + r2 * (1.0 / 720)));
    // The shifter leaves n = round(x 64/ln2) in the low bits; n - j = 64 k.
    const __m128i n = _mm_sub_epi64(_mm_castpd_si128((__m128d)shifted), _mm_castpd_si128(_mm_set1_pd(kShifter)));
    const __m128i j = _mm_and_si128(n, _mm_set1_epi64x(63));
    const __m128i kbits = _mm_add_epi64(_mm_slli_epi64(_mm_sub_epi64(n, j), 46), _mm_set1_epi64x(1023ll << 52));
    const d2 t = gather_pair(exp2_table[_mm_cvtsi128_si32(j)], exp2_table[_mm_extract_epi32(j, 2)], 0);
    return {fast_two_sum(t.hi, t.lo + t.hi * p + t.lo * p), (v2d)_mm_castsi128_pd(kbits)};
}

// log(a.hi + a.lo) for positive normal a, as a double-double.
[[gnu::always_inline]] inline d2 log_dd(d2 a) {
    const v2u bits = (v2u)a.hi;
    v2d mant = (v2d)((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);  // [1, 2)
    v2d k = (v2d)((bits >> 52) | 0x4330000000000000ull) - splat(0x1p52 + 1023.0);
    const v2l high = mant > 1.41015625;  // keep m within [0.705, 1.41] so that 1 has k = 0
    mant = select(high, mant * 0.5, mant);
    k = select(high, k + 1.0, k);
    const __m128i j = _mm_cvttpd_epi32((__m128d)(mant * 128.0 + (0.5 - 90.0)));  // row 0..91
    const double* r0 = log_table[_mm_cvtsi128_si32(j)];
    const double* r1 = log_table[_mm_extract_epi32(j, 1)];
    const v2d inv = gather(r0, r1, 0), lh = gather(r0, r1, 1), ll = gather(r0, r1, 2);
    const d2 prod = two_prod(mant, inv);
    const d2 r = two_sum(prod.hi - 1.0, prod.lo);
    const v2d rh = r.hi;
    const d2 half_sq = two_prod(rh, -0.5 * rh);
    const v2d r2 = rh * rh, r4 = r2 * r2;
    const v2d tail = (rh * r2) * (((1.0 / 3 + rh * -0.25) + r2 * (0.2 + rh * (-1.0 / 6))) +
                                  r4 * ((1.0 / 7 + rh * -0.125) + r2 * (1.0 / 9)));
    const d2 lp = two_sum(rh, half_sq.hi);
    // log1p(r.hi + r.lo) = log1p(r.hi) + r.lo (1 - r.hi); the low part of a
    // counts relative to its high part.
    const v2d lp_lo = lp.lo + half_sq.lo + tail + r.lo * (1.0 - rh) + a.lo / a.hi;
    d2 sum = two_sum(k * 0x1.62e42fefa3800p-1, lh);
    sum.lo = sum.lo + (k * 0x1.ef35793c76730p-45 + ll);
    const d2 s2 = two_sum(sum.hi, lp.hi);
    return fast_two_sum(s2.hi, s2.lo + sum.lo + lp_lo);
}

inline constexpr double kLogPiHi = 0x1.250d048e7a1bdp+0, kLogPiLo = 0x1.7abf2ad8d5088p-57;

// Gamma(x) on N pairs of lanes; `bad` marks the poles.  For x < 0, pi
// joins the exponent as log pi, so that the quotient is -D e^(log pi -
// E)/(y sin(pi y)).  Each step runs for all pairs before the next, so that
// the independent chains of the pairs overlap; the branches stay per pair.
template <int N>
[[gnu::always_inline]] inline void gamma(const v2d (&x)[N], v2d (&r)[N], v2l (&bad)[N]) {
    v2l neg[N], shifted[N];
    v2d y[N];
    series_part s[N];
    exp_pair e[N];
    bool any_neg[N], any_shifted[N];
    for (int h = 0; h < N; ++h) {
        neg[h] = x[h] < 0.0;
        y[h] = (v2d)_mm_andnot_pd((__m128d)splat(-0.0), (__m128d)x[h]);
        s[h] = log_gamma_rows(y[h]);
        shifted[h] = s[h].m < 1.5;
        bad[h] = neg[h] & (s[h].z == 0.0);
        any_neg[h] = gamma_lanes::any(neg[h]);
        any_shifted[h] = gamma_lanes::any(shifted[h]);
    }
    for (int h = 0; h < N; ++h) {
        d2 ex = negate_where(neg[h], s[h].e);
        if (any_neg[h]) ex = choose(neg[h], add(ex, constant(kLogPiHi, kLogPiLo)), ex);
        e[h] = exp_dd(ex);
    }
    for (int h = 0; h < N; ++h) {
        if (!(any_neg[h] || any_shifted[h])) {
            r[h] = (e[h].m.hi + e[h].m.lo) * e[h].scale;
            continue;
        }
        d2 num = e[h].m, den = constant(1.0, 0.0);
        if (any_shifted[h]) {
            const d2 d = shift_divisor(y[h], s[h].m);
            den = d;
            if (any_neg[h]) num = choose(neg[h] & shifted[h], mul(e[h].m, d), num);
        }
        if (any_neg[h]) {
            d2 ys = mul_d(sin_pi(s[h].m, s[h].z), y[h]);
            ys.hi = select(bad[h], splat(1.0), ys.hi);  // a pole's lane would divide by zero
            den = choose(neg[h], negate_where(neg[h], ys), den);
        }
        r[h] = div(num, den).hi * e[h].scale;
    }
}

// log |Gamma(x)| on N pairs of lanes; `bad` marks the poles and the
// negative lanes whose result is too small to keep the accuracy of the
// reflection.  log |Gamma| = +-E + [x < 0] log pi - log R, R = D for x > 0
// and y |sin(pi y)| / D for x < 0 (D = 1 from y = 1.5 on); the quotient
// only where both a negative and a shifted lane meet.  Steps and branches
// as in gamma.
template <int N>
[[gnu::always_inline]] inline void log_abs_gamma(const v2d (&x)[N], v2d (&res)[N], v2l (&bad)[N]) {
    v2l neg[N], shifted[N];
    v2d y[N];
    series_part s[N];
    bool any_neg[N], any_shifted[N];
    for (int h = 0; h < N; ++h) {
        neg[h] = x[h] < 0.0;
        y[h] = (v2d)_mm_andnot_pd((__m128d)splat(-0.0), (__m128d)x[h]);
        s[h] = log_gamma_rows(y[h]);
        shifted[h] = s[h].m < 1.5;
        any_neg[h] = gamma_lanes::any(neg[h]);
        any_shifted[h] = gamma_lanes::any(shifted[h]);
    }
    for (int h = 0; h < N; ++h) {
        d2 l = negate_where(neg[h], s[h].e);
        const v2l pole = neg[h] & (s[h].z == 0.0);
        if (any_neg[h] || any_shifted[h]) {
            d2 q = constant(1.0, 0.0);
            if (any_shifted[h]) q = shift_divisor(y[h], s[h].m);
            if (any_neg[h]) {
                d2 sn = sin_pi(s[h].m, s[h].z);
                sn = negate_where(sn.hi < 0.0, sn);
                d2 ys = mul_d(sn, y[h]);
                ys.hi = select(pole, splat(1.0), ys.hi);  // poles: keep the arithmetic quiet
                if (gamma_lanes::any(neg[h] & shifted[h])) ys = div(ys, q);
                q = choose(neg[h], ys, q);
                l = choose(neg[h], add(l, constant(kLogPiHi, kLogPiLo)), l);
            }
            const d2 lr = log_dd(q);
            l = add(l, d2{-lr.hi, -lr.lo});
        }
        res[h] = l.hi;
        const v2d ar = (v2d)_mm_andnot_pd((__m128d)splat(-0.0), (__m128d)res[h]);
        bad[h] = neg[h] & ((s[h].z == 0.0) | (ar < 0.125));
    }
}

// The group loop of both routines.  A plan K supplies
//   template <int N> static void fast(const v2d (&x)[N], v2d (&r)[N],
//                                     v2l (&bad)[N]);  the lanes above,
//                                     `bad` marking the lanes to hand back
//   static double scalar(double x, int& status);  the per-element routine
//   static constexpr const char* name;     display name for the error path
// A group of four passes its screen when every |x| lies in [2^-30, 60.5)
// (the high words, sign cleared, tested unsigned).  A passing group runs
// the lanes; a lane they hand back is recomputed by the per-element routine
// while the other lanes keep their results.  A failing group, and each
// element after the last whole group, goes element by element: through
// the lanes on one pair when the element passes the screen, so that it
// gets the same result as in a passing group, else through the per-element
// routine.
inline constexpr uint32_t kScreenLow = 0x3E100000u;                // 2^-30
inline constexpr uint32_t kScreenSpan = 0x404E4000u - kScreenLow;  // 60.5

inline bool element_in_screen(double x) {
    uint64_t b;
    __builtin_memcpy(&b, &x, 8);
    return (static_cast<uint32_t>(b >> 32) & 0x7FFFFFFFu) - kScreenLow < kScreenSpan;
}

template <class K>
inline void per_element(int32_t i, const double* a, double* y) {
    const double x = a[i];
    if (element_in_screen(x)) {
        const v2d in[1] = {splat(x)};
        v2d r[1];
        v2l bad[1];
        K::fast(in, r, bad);
        if (bad[0][0] == 0) {
            y[i] = r[0][0];
            return;
        }
    }
    int status = 0;
    y[i] = K::scalar(x, status);
    if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, K::name);
}

template <class K>
void run_groups(int32_t n, const double* a, double* y) {
    const __m128i abs_mask = _mm_set1_epi32(0x7FFFFFFF);
    const __m128i bias = _mm_set1_epi32(static_cast<int32_t>(0x80000000u));
    const __m128i low = _mm_set1_epi32(static_cast<int32_t>(kScreenLow));
    const __m128i limit = _mm_set1_epi32(static_cast<int32_t>(kScreenSpan ^ 0x80000000u));
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128d x0 = _mm_loadu_pd(a + i), x1 = _mm_loadu_pd(a + i + 2);
        const __m128i high = _mm_and_si128(
            _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(x0), _mm_castpd_ps(x1), _MM_SHUFFLE(3, 1, 3, 1))), abs_mask);
        const __m128i in = _mm_cmplt_epi32(_mm_xor_si128(_mm_sub_epi32(high, low), bias), limit);
        if (_mm_movemask_ps(_mm_castsi128_ps(in)) != 0xF) {
            for (int k = 0; k < 4; ++k) per_element<K>(i + k, a, y);
            continue;
        }
        const v2d pairs[2] = {(v2d)x0, (v2d)x1};
        v2d r[2];
        v2l lanes_bad[2];
        K::fast(pairs, r, lanes_bad);
        _mm_storeu_pd(y + i, (__m128d)r[0]);
        _mm_storeu_pd(y + i + 2, (__m128d)r[1]);
        const int bad = _mm_movemask_pd((__m128d)lanes_bad[0]) | (_mm_movemask_pd((__m128d)lanes_bad[1]) << 2);
        if (bad != 0) {
            for (int k = 0; k < 4; ++k) {
                if ((bad >> k & 1) == 0) continue;
                int status = 0;
                y[i + k] = K::scalar(a[i + k], status);
                if (status != 0) qlm::frame::raise_status(status, i + k, a, a, y, y, K::name);
            }
        }
    }
    for (; i < n; ++i) per_element<K>(i, a, y);
}

}  // namespace qlm::special::gamma_dl
