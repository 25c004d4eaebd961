// The power core: log as a double pair, and exp of a double pair, written
// once over the lane type and shared by Pow, Powx, Cbrt, InvCbrt, Pow2o3 and
// Pow3o2 in double and single.
//
// log: x = 2^e * m with m in [0.707, 1.414) (the mantissa halved from
// 1.4140625 on); c, a 9-bit approximation of 1/m from the 256-row table, makes
// r = m*c - 1 (|r| < 2^-7.9) exact as a pair; log x = e*ln2 -
// log c + log1p(r), with -log c as a pair from the table, r - r^2/2 carried
// as pairs and r^3/3 ... r^9/9 (Taylor) in double.  The leading terms are
// summed with two_sum, so the pair is good to about 2^-68 relative.
//
// exp: t = th + tl; n = round(t*128/ln2); r = t - n*ln2/128 with ln2/128 in
// two pieces (n times the first exact), |r| <= 0.0028; exp r - 1 by its Taylor
// series to r^6 (truncation 2^-66); the result is 2^(n/128) from the
// 128-row table as a pair times (1 + p), scaled by 2^(n >> 7) through the
// exponent bits.  The error of exp is below 2^-61 relative before the final
// rounding, so x^y, formed as exp(y * log x) with y*log x a pair, stays
// within about 0.52 ulp.
#pragma once

#include <cstdint>

#include "vector/real/power/lanes.h"
#include "vector/real/power/pow_tables.h"

namespace qlm::power {

using lanes::bits;
using lanes::from_bits;
using lanes::ints_of;

inline constexpr double kShifter = 0x1.8p52;
inline constexpr double kLn2Hi = 0x1.62e42fefa3800p-1;  // 42 bits: e*kLn2Hi is exact
inline constexpr double kLn2Lo = 0x1.ef35793c76730p-45;
inline constexpr double k128OverLn2 = 0x1.71547652b82fep7;
inline constexpr double kLn2Over128Hi = 0x1.62e42fefa0000p-8;  // 34 bits: n*hi exact for |n| < 2^19
inline constexpr double kLn2Over128Lo = 0x1.cf79abc9e3b3ap-47;

// Integer lane to double, exactly, for |v| < 2^51.
template <typename V>
inline V to_double(ints_of<V> v) {
    return from_bits(bits(lanes::splat<V>(kShifter)) + v) - kShifter;
}

// x = 2^e m with m in [0.707, 1.414) (halved from 1.4140625 on), and the
// row of the log table that serves m; x positive, normal and finite.
// The shifts are logical (x is positive): SSE has no 64-bit arithmetic
// shift, which the compiler would build from three instructions.
template <typename V>
inline ints_of<V> log_argument(V x, V& e, V& m) {
    const ints_of<V> b = bits(x);
    const ints_of<V> row = lanes::shift_right(b, 44) & 255;
    const ints_of<V> halve = lanes::shift_right(row + 150, 8) & 1;  // 1 from row 106 on
    e = to_double<V>(lanes::shift_right(b, 52) - 1023 + halve);
    m = from_bits((b & 0xFFFFFFFFFFFFF) | ((1023 - halve) << 52));
    return row;
}

// 2^k as the addend of a double's bits, k = n >> 7 (arithmetic): the bits
// that the shift to the exponent field drops need no sign extension.
template <typename V>
inline ints_of<V> exponent_addend(ints_of<V> n) {
    return (n & ~static_cast<int64_t>(127)) << 45;
}

// log x as lh + ll, for x positive, normal and finite.
template <typename V>
inline void log_pair(V x, V& lh, V& ll) {
    using namespace lanes;
    V e, m;
    const ints_of<V> row = log_argument(x, e, m);
    const V c = gather<0>(log_table, row);
    const V lc_hi = gather<1>(log_table, row), lc_lo = gather<2>(log_table, row);

    // m = m_hi + m_lo with m_hi of 44 bits: m_hi*c (53 bits) and m_lo*c
    // (18 bits) are exact, and so is m_hi*c - 1 (Sterbenz): r = rh + rl exactly.
    const V m_hi = from_bits(bits(m) & ~static_cast<int64_t>(0x1FF));
    V rh, rl;
    two_sum(m_hi * c - 1.0, (m - m_hi) * c, rh, rl);  // normalised: the series needs all of r in rh
    V sq, sq_lo;
    two_prod(rh, rh, sq, sq_lo);
    const V tail =
        rh * sq *
        (0x1.5555555555555p-2 +  // 1/3
         rh * (-0.25 + rh * (0.2 + rh * (-0x1.5555555555555p-3 +
                                         rh * (0x1.2492492492492p-3 +
                                               rh * (-0.125 + rh * 0x1.c71c71c71c71cp-4))))));
    V s, err, acc;
    two_sum(e * kLn2Hi, lc_hi, s, err);
    acc = err;
    two_sum(s, rh, s, err);
    acc += err;
    two_sum(s, -0.5 * sq, s, err);
    acc += err;
    acc += e * kLn2Lo + lc_lo + (rl - rl * rh) - 0.5 * sq_lo + tail;
    two_sum(s, acc, lh, ll);
}

// exp(r) - 1 for |r| <= 0.0028: Taylor to r^6.
template <typename V>
inline V expm1_series(V r) {
    return r + r * r *
                   (0.5 + r * (0x1.5555555555555p-3 +
                               r * (0x1.5555555555555p-5 +
                                    r * (0x1.1111111111111p-7 + r * 0x1.6c16c16c16c17p-10))));
}

// exp(th + tl) for |th| < 708, where the result is normal.  Short drops the
// series' r^6 term (2^-60.7 relative), for the LA core.
template <typename V, bool Short = false>
inline V exp_pair(V th, V tl) {
    using namespace lanes;
    const V tk = th * k128OverLn2;
    const V t = tk + kShifter;
    const V nf = round_even(tk);
    const ints_of<V> n = bits(t) - bits(splat<V>(kShifter));
    const V r = ((th - nf * kLn2Over128Hi) - nf * kLn2Over128Lo) + tl;
    V p;
    if constexpr (Short) {
        // Estrin's form: the LA core is bound by the depth of its chain.
        const V r2 = r * r;
        p = r + r2 * ((0.5 + r * 0x1.5555555555555p-3) + r2 * (0x1.5555555555555p-5 + r * 0x1.1111111111111p-7));
    } else
        p = expm1_series(r);
    const ints_of<V> j = n & 127;
    const V t_hi = gather<0>(exp2_table, j), t_lo = gather<1>(exp2_table, j);
    const V v = t_hi + (t_lo + t_hi * p);
    return from_bits(bits(v) + exponent_addend<V>(n));
}

// exp(th + tl) for any th, on one element: overflows to +inf, underflows
// gradually (one rounding to the denormal result beyond the core's).
inline double exp_pair_any(double th, double tl) {
    if (th > 710.0) return 0x1p1023 * 2.0;
    if (th < -746.0) return 0.0;
    const double t = th * k128OverLn2 + kShifter;
    const double nf = t - kShifter;
    const int64_t n = bits(t) - bits(kShifter);
    const double r = ((th - nf * kLn2Over128Hi) - nf * kLn2Over128Lo) + tl;
    const double p = expm1_series(r);
    const int64_t j = n & 127, k = n >> 7;
    const double v = exp2_table[j][0] + (exp2_table[j][1] + exp2_table[j][0] * p);
    if (k > 1000) return from_bits(bits(v) + ((k - 1000) << 52)) * 0x1p1000;
    if (k < -1000) return from_bits(bits(v) + ((k + 1000) << 52)) * 0x1p-1000;
    return from_bits(bits(v) + (k << 52));
}

// log x as a pair for any positive finite x, denormals included.
inline void log_pair_any(double x, double& lh, double& ll) {
    if (x < 0x1p-1022) {
        log_pair(x * 0x1p64, lh, ll);
        double s, e;
        lanes::two_sum(lh, -64 * kLn2Hi, s, e);
        lanes::fast_two_sum(s, e + ll - 64 * kLn2Lo, lh, ll);
        return;
    }
    log_pair(x, lh, ll);
}

// (th, tl) = y * (lh + ll), y times a pair; y and the product finite.
template <typename V>
inline void scale_pair(V yh, V yl, V lh, V ll, V& th, V& tl) {
    V p, e;
    lanes::two_prod(yh, lh, p, e);
    lanes::fast_two_sum(p, e + yh * ll + yl * lh, th, tl);
}

}  // namespace qlm::power

namespace qlm::power {

// ---------------------------------------------------------------------------
// The plain core of the EP slots: the same reductions without the pairs.  log
// to r^5 with r = m*c - 1 rounded, exp to r^3; x^y = exp(y * log x) then
// keeps |y log x| * 2^-52 relative, more than 40 bits wherever the result is
// normal.
template <typename V>
inline V log_plain(V x) {
    using namespace lanes;
    V e, m;
    const ints_of<V> row = log_argument(x, e, m);
    const V r = m * gather<0>(log_table, row) - 1.0;
    const V r2 = r * r;
    const V tail = r2 * (-0.5 + r * (0x1.5555555555555p-2 + r * (-0.25 + r * 0x1.999999999999ap-3)));
    return (e * kLn2Hi + gather<1>(log_table, row)) + (r + (tail + e * kLn2Lo));
}

// exp(t) for |t| < 708.
template <typename V>
inline V exp_plain(V t) {
    using namespace lanes;
    const V s = t * k128OverLn2 + kShifter;
    const V nf = s - kShifter;
    const ints_of<V> n = bits(s) - bits(splat<V>(kShifter));
    const V r = (t - nf * kLn2Over128Hi) - nf * kLn2Over128Lo;
    const V p = r + r * r * (0.5 + r * (0x1.5555555555555p-3 + r * 0x1.5555555555555p-5));
    const V t_hi = gather<0>(exp2_table, n & 127);
    return from_bits(bits(t_hi + t_hi * p) + exponent_addend<V>(n));
}

}  // namespace qlm::power

namespace qlm::power {

// ---------------------------------------------------------------------------
// The lighter pair core of the double LA Pow and Powx.  log x as hi + lo with
// hi = e*ln2_hi + (-log c)_hi + r summed exactly (two_sum) and lo holding the
// tails, r's rounding, -r^2/2 rounded once (2^-70 absolute, 2^-62 of log x
// at worst, near x = 1 +- 2^-8) and the series r^3/3 ... r^8/8 (the rest
// is 2^-66 of log x); lo is not
// renormalised.  y*log x: hi is cut to 26 bits and y split in two halves
// (Dekker), so the two head products are exact, and the rest is rounded once;
// the sum is renormalised for exp_pair.  The error of y log x stays within
// about 2^-61 of it, so x^y keeps 1 ulp where |y log x| is below 708.
// Forced inline: a call would pass th through memory.
template <typename V>
[[gnu::always_inline]] inline V pow_la(V x, V y, V& th) {
    using namespace lanes;
    V e, m;
    const ints_of<V> row = log_argument(x, e, m);
    const V c = gather<0>(log_table, row);
    const V lc_hi = gather<1>(log_table, row), lc_lo = gather<2>(log_table, row);
    const V m_hi = from_bits(bits(m) & ~static_cast<int64_t>(0x1FF));
    V rh, rl;
    two_sum(m_hi * c - 1.0, (m - m_hi) * c, rh, rl);
    const V r2 = rh * rh;
    const V tail =
        rh * r2 *
        (0x1.5555555555555p-2 +
         rh * (-0.25 + rh * (0.2 + rh * (-0x1.5555555555555p-3 + rh * (0x1.2492492492492p-3 + rh * -0.125)))));
    // |e ln2_hi| >= 0.69 > |lc_hi| unless e = 0: the fast form is exact.
    V k, ke, hi, he;
    fast_two_sum(e * kLn2Hi, lc_hi, k, ke);
    two_sum(k, rh, hi, he);
    const V lo = (ke + he) + (e * kLn2Lo + lc_lo) + rl * (1.0 - rh) + (tail - 0.5 * r2);

    const V hi26 = from_bits(bits(hi) & ~static_cast<int64_t>(0x7FFFFFF));
    V yh, yl;
    split(y, yh, yl);
    const V p = yh * hi26;
    const V pe = yl * hi26 + y * ((hi - hi26) + lo);
    V tl;
    fast_two_sum(p, pe, th, tl);
    return exp_pair<V, true>(th, tl);
}

}  // namespace qlm::power

