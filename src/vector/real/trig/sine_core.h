// The arithmetic of the sine and cosine kernels, written once over the lane
// type (see power/lanes.h) and shared by the double and single routines.
//
// Cosine is the sine a quarter turn on: the table methods add the quarter to
// the row index, the polynomial methods shift the count by one half.
#pragma once

#include <cstdint>

#include "vector/real/power/lanes.h"
#include "vector/real/trig/large_reduction.h"
#include "vector/real/trig/trig_tables.h"

namespace qlm::trig {

using lanes::bits;
using lanes::from_bits;
using lanes::ints_of;

inline constexpr double kShifter = 0x1.8p52;  // 0x4338000000000000: adds to round, n in the low bits
inline constexpr int64_t kSign = INT64_MIN;

// ---------------------------------------------------------------------------
// Table method by pi/64 (the wide lane of Sin, Cos and SinCos HA).
//
// n = round(x*64/pi); r = x - n*(p1 + p2 + p3 + p4), where n*p1, n*p2 and n
// times the head of p3 are exact for |x| < 90112 (at most 32 bits each, n at
// most 21), so r is kept as a pair r + rl that carries the roundings of the
// subtractions.  Row
// n mod 128 gives sin and cos of n*pi/64 as double pairs; sin(a + r) =
// S*cos r + C*sin r, with sin r and cos r from their Taylor series to r^7 and
// r^6 (the truncation is below 2^-58 relative for |r| <= pi/128).  The
// leading part S + C*r is formed exactly (two_prod, two_sum), the rest is
// below 1/30 of the result, so the bound is about 0.52 ulp.
inline constexpr double kSinScreen = 90112.0;
inline constexpr uint32_t kSinScreenHigh = 0x40F60000;
inline constexpr double k64OverPi = 0x1.45f306dc9c883p4;  // 0x40345F306DC9C883
inline constexpr double kPi64a = 0x1.921fb544p-5;        // 0x3FA921FB54400000
inline constexpr double kPi64b = 0x1.0b4611a6p-39;       // 0x3D80B4611A600000
inline constexpr double kPi64c = 0x1.3198a2e037073p-74;  // 0x3B53198A2E037073
// The third piece in two (its head of 29 bits times n is exact) and the rest
// of pi/64: the doubles below 90112 nearest to a multiple of pi/64 lie about
// 2^-57 from it, where the rounded product n*p3 alone would cost 2^-49.
inline constexpr double kPi64c1 = 0x1.3198a2ep-74;
inline constexpr double kPi64c2 = 0x1.b8398p-109;
inline constexpr double kPi64d = 0x1.129024e088a68p-128;
// Taylor coefficients, as their exact doubles.
inline constexpr double kS3 = -0x1.5555555555555p-3;     // 0xBFC5555555555555
inline constexpr double kS5 = 0x1.1111111111111p-7;      // 0x3F81111111111111
inline constexpr double kS7 = -0x1.a01a01a01a01ap-13;    // 0xBF2A01A01A01A01A
inline constexpr double kC2 = -0.5;                      // 0xBFE0000000000000
inline constexpr double kC4 = 0x1.5555555555555p-5;      // 0x3FA5555555555555
inline constexpr double kC6 = -0x1.6c16c16c16c17p-10;    // 0xBF56C16C16C16C17

// sin x and cos x for |x| < 90112, each as an unrounded pair (value, small
// correction), from one reduction and one row: sin(a + r) = S cos r + C sin r,
// cos(a + r) = C cos r - S sin r.
// The reduction by pi/64: x = n*pi/64 + r + rl; returns n.
template <typename V>
inline ints_of<V> reduce_by_pi_over_64(V x, V& r, V& rl) {
    const V t = x * k64OverPi + kShifter;
    const V nf = t - kShifter;
    const V r1 = x - nf * kPi64a;  // exact
    V e1, e2;
    lanes::two_sum(r1, -(nf * kPi64b), r, e1);
    // Fast form: the sum is exact when it cancels (Sterbenz), and |r| is far
    // above the product when it does not.
    lanes::fast_two_sum(r, -(nf * kPi64c1), r, e2);
    rl = (e1 + e2) - (nf * kPi64c2 + nf * kPi64d);
    return bits(t);
}

template <typename V>
inline void sin_cos_pairs_by_table(V x, V& s, V& s_small, V& c, V& c_small) {
    using namespace lanes;
    V r, rl;
    const ints_of<V> row = reduce_by_pi_over_64(x, r, rl) & 127;
    const V s_hi = gather<0>(sin_angle_table, row), s_lo = gather<1>(sin_angle_table, row);
    const V c_hi = gather<2>(sin_angle_table, row), c_lo = gather<3>(sin_angle_table, row);
    const V r2 = r * r;
    const V sp = r2 * (kS3 + r2 * (kS5 + r2 * kS7));
    const V cp = r2 * (kC2 + r2 * (kC4 + r2 * kC6));
    const V sin_r_tail = r * sp + rl;  // sin r = r + sin_r_tail
    V p, pe, se;
    two_prod(c_hi, r, p, pe);
    two_sum(s_hi, p, s, se);
    s_small = se + pe + s_lo + s_hi * cp + c_hi * sin_r_tail + c_lo * r;
    two_prod(-s_hi, r, p, pe);
    two_sum(c_hi, p, c, se);
    c_small = se + pe + c_lo + c_hi * cp - s_hi * sin_r_tail - s_lo * r;
}

// sin(x + quarter*pi/2) for |x| < 90112; quarter is 0 or 1.
template <typename V>
inline V sin_by_table(V x, int64_t quarter) {
    using namespace lanes;
    V r, rl;
    const ints_of<V> row = (reduce_by_pi_over_64(x, r, rl) + quarter * 32) & 127;

    const V s_hi = gather<0>(sin_angle_table, row), s_lo = gather<1>(sin_angle_table, row);
    const V c_hi = gather<2>(sin_angle_table, row), c_lo = gather<3>(sin_angle_table, row);
    const V r2 = r * r;
    const V sp = r2 * (kS3 + r2 * (kS5 + r2 * kS7));
    const V cp = r2 * (kC2 + r2 * (kC4 + r2 * kC6));
    V p, pe, s, se;
    two_prod(c_hi, r, p, pe);
    two_sum(s_hi, p, s, se);
    const V small = se + pe + s_lo + s_hi * cp + c_hi * (r * sp + rl) + c_lo * r;
    return s + small;
}

// ---------------------------------------------------------------------------
// The per-element evaluator: any finite x.  Exponent field below 0x303 takes
// the tiny path (sin x rounds to x, cos x to 1); from 0x410 on, the exact
// reduction of large_reduction.cpp; in between, n = round(x*32/pi) and a
// the pieces of pi/32 with the pair r + rl.  Row (n - 1) mod 64 of the
// evaluator table holds n*pi/32 as heads (multiples of 1/4) and tails, so
// that sin(a + r) = Sh + St + Ch*r + (small terms), the three leading terms
// summed exactly.  Taylor series to r^9 and r^8 for |r| <= pi/64.
inline constexpr double k32OverPi = 0x1.45f306dc9c883p3;  // 0x40245F306DC9C883
inline constexpr double kPi32a = 0x1.921fb544p-4;        // 0x3FB921FB54400000
inline constexpr double kPi32b = 0x1.0b4611a6p-38;       // 0x3D90B4611A600000
inline constexpr double kPi32c = 0x1.3198a2e037073p-73;  // 0x3B63198A2E037073
inline constexpr double kS9 = 0x1.71de3a556c734p-19;     // 1/9!
inline constexpr double kC8 = 0x1.a01a01a01a01ap-16;     // 1/8!

// Reduction of the evaluator: x = n*pi/32 + r_hi + r_lo; n modulo 64.
inline int64_t reduce_by_pi_over_32(double x, double& r_hi, double& r_lo) {
    const uint32_t exponent = static_cast<uint32_t>(bits(x) >> 52) & 0x7FF;
    if (exponent >= 0x410) return reduce_large_argument(x, r_hi, r_lo);
    const double t = x * k32OverPi + kShifter;
    const double nf = t - kShifter;
    const double r1 = x - nf * kPi32a;
    double e1, e2;
    lanes::two_sum(r1, -(nf * kPi32b), r_hi, e1);
    lanes::two_sum(r_hi, -(nf * (2 * kPi64c1)), r_hi, e2);  // the pieces of pi/64 doubled
    const double l = (e1 + e2) - (nf * (2 * kPi64c2) + nf * (2 * kPi64d));
    lanes::fast_two_sum(r_hi, l, r_hi, r_lo);
    return bits(t) & 63;
}

// sin(a + r) for a = n*pi/32 (n modulo 64) and r = r_hi + r_lo.
inline double sin_from_reduced(int64_t n, double r_hi, double r_lo) {
    using namespace lanes;
    const double* row = sin_evaluator_table[(n - 1) & 63];
    const double sh = row[0], ch = row[1], ct = row[2], st = row[3];
    const double r2 = r_hi * r_hi;
    const double sp = r2 * (kS3 + r2 * (kS5 + r2 * (kS7 + r2 * kS9)));
    const double cp = r2 * (kC2 + r2 * (kC4 + r2 * (kC6 + r2 * kC8))) - r_hi * r_lo;
    double p, pe, s1, e1, s2, e2;
    two_prod(ch, r_hi, p, pe);
    two_sum(sh, p, s1, e1);
    two_sum(s1, st, s2, e2);
    const double small =
        e1 + e2 + pe + (sh + st) * cp + ct * r_hi + (ch + ct) * (r_hi * sp + r_lo);
    return s2 + small;
}

// sin(x + quarter*pi/2) for any finite x.
inline double sin_evaluate(double x, int64_t quarter) {
    const uint32_t exponent = static_cast<uint32_t>(bits(x) >> 52) & 0x7FF;
    if (exponent < 0x303) return quarter ? 1.0 : x;  // |x| < 2^-252: x - x^3/6 rounds to x
    double r_hi, r_lo;
    const int64_t n = reduce_by_pi_over_32(x, r_hi, r_lo);
    return sin_from_reduced(n + 16 * quarter, r_hi, r_lo);
}

// ---------------------------------------------------------------------------
// Polynomial method by pi (the EP lanes): a = |x|, n = round(a/pi) for
// the sine, n + 1/2 = round(a/pi - 1/2) + 1/2 for the cosine; r = a - n*pi in
// three pieces (n*q1 exact below 2^24), then one odd polynomial on
// [-pi/2, pi/2].  Sign: the input's for the sine, flipped when n is odd; the
// cosine's is -(-1)^n.  Lanes at or above 2^24 are redone by the evaluator.
inline constexpr double kPolyLimit = 0x1p24;  // 0x4170000000000000
inline constexpr double kInvPi = 0x1.45f306dc9c883p-2;  // 0x3FD45F306DC9C883
inline constexpr double kPiA = 0x1.921fb4p1;            // 0x400921FB40000000
inline constexpr double kPiB = 0x1.4442dp-23;           // 0x3E84442D00000000
inline constexpr double kPiC = 0x1.8469898cc5170p-47;   // 0x3D08469898CC5170
// The accuracy of the odd polynomial: the EP lanes' only (the LA lanes
// live in trig_la_lanes.h).
enum class sine_poly { ep };

template <sine_poly Poly, typename V>
inline V odd_sine(V r) {
    // 0xBFC55554BC836587, 0x3F8110ED3804CA96, 0xBF29F6FFEEA73463, 0x3EC5DBDF0E4C7DEE
    const V r2 = r * r;
    return r + r * r2 *
                   (-0x1.55554bc836587p-3 +
                    r2 * (0x1.110ed3804ca96p-7 + r2 * (-0x1.9f6ffeea73463p-13 + r2 * 0x1.5dbdf0e4c7deep-19)));
}

template <sine_poly Poly, bool Cosine, typename V>
inline V sin_by_poly(V x) {
    const V a = lanes::abs(x);
    V nf, t;
    if constexpr (Cosine) {
        t = (a * kInvPi - 0.5) + kShifter;
        nf = (t - kShifter) + 0.5;
    } else {
        t = a * kInvPi + kShifter;
        nf = t - kShifter;
    }
    const V r = ((a - nf * kPiA) - nf * kPiB) - nf * kPiC;
    const V s = odd_sine<Poly>(r);
    ints_of<V> sign = bits(t) << 63;
    if constexpr (Cosine) sign ^= kSign;
    else sign ^= bits(x) & kSign;
    return from_bits(bits(s) ^ sign);
}

}  // namespace qlm::trig
