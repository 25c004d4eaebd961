// The arithmetic of the tangent kernels.
#pragma once

#include <cstdint>

#include "vector/real/trig/sine_core.h"

namespace qlm::trig {

// ---------------------------------------------------------------------------
// EP lanes: a = |x|, n = round(a*2/pi), r = a - n*pi/2 in the three pieces
// of pi halved (exact products below 2^24), sin r and cos r by their Taylor
// series to r^11 and r^12 on [-pi/4, pi/4] (2^-37), tan = s/c for even n and
// -c/s for odd n, with the input's sign: more than 40 bits.  Lanes at or
// above 2^24 go to the evaluator.  (The LA lanes live in trig_la_lanes.h.)
inline constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;

enum class tan_poly { ep };

template <tan_poly Poly, typename V>
inline V tan_by_poly(V x) {
    const V a = lanes::abs(x);
    const V t = a * kTwoOverPi + kShifter;
    const V nf = t - kShifter;
    const V r = ((a - nf * (kPiA * 0.5)) - nf * (kPiB * 0.5)) - nf * (kPiC * 0.5);
    const V r2 = r * r;
    const V sp = -0x1.5555555555555p-3 +
                 r2 * (0x1.1111111111111p-7 +
                       r2 * (-0x1.a01a01a01a01ap-13 + r2 * (0x1.71de3a556c734p-19 + r2 * -0x1.ae64567f544e4p-26)));
    const V cp = -0.5 + r2 * (0x1.5555555555555p-5 +
                              r2 * (-0x1.6c16c16c16c17p-10 +
                                    r2 * (0x1.a01a01a01a01ap-16 +
                                          r2 * (-0x1.27e4fb7789f5cp-22 + r2 * 0x1.1eed8eff8d898p-29))));
    const V s = r + r * r2 * sp;
    const V c = 1.0 + r2 * cp;
    const ints_of<V> odd = -(bits(t) & 1);
    const V num = lanes::select<V>(odd, c, s);
    const V den = lanes::select<V>(odd, -s, c);
    return from_bits(bits(num / den) ^ (bits(x) & kSign));
}

// ---------------------------------------------------------------------------
// The wide lane of Tan HA, |x| < 90112: sin x and cos x as unrounded pairs by
// the table method of the sine (each good to about 2^-62 relative), then
// their quotient q = s/c corrected once by the exactly formed residual
// s - q*c (two_prod): within 0.51 ulp.
template <typename V>
inline V tan_by_table(V x) {
    V s, s_small, c, c_small;
    sin_cos_pairs_by_table(x, s, s_small, c, c_small);
    // Near a zero of the cosine its correction is not small beside it:
    // renormalise both pairs before the quotient.
    lanes::two_sum(s, s_small, s, s_small);
    lanes::two_sum(c, c_small, c, c_small);
    const V inv = 1.0 / c;
    const V q = s * inv;
    V p, pe;
    lanes::two_prod(q, c, p, pe);
    const V residual = (((s - p) - pe) + s_small) - q * c_small;
    return lanes::keep_zero(x, q + residual * inv);
}

// ---------------------------------------------------------------------------
// The evaluator of Tan HA, one element on the x87 unit in extended precision:
// the reduction of the sine evaluator gives x = n*pi/32 + r (r as a double
// pair); row 2n of the pi/64 angle table gives sin and cos of n*pi/32 as
// double pairs, exact in 64-bit arithmetic; sin r and cos r by Taylor series
// to r^13 and r^12 (|r| <= pi/64); sin(a+r) and cos(a+r) by the addition
// formulas and their quotient, all with 64-bit significands, so the one
// rounding to double dominates (bound about 0.51 ulp).  Runs under the x87
// extended-precision control word; under double precision (the single
// routines) it still keeps 50 bits.
inline double tan_evaluate(double x) {
    const uint32_t exponent = static_cast<uint32_t>(bits(x) >> 52) & 0x7FF;
    if (exponent < 0x3E0) return x;  // |x| < 2^-31: tan x = x + x^3/3 rounds to x
    double r_hi, r_lo;
    const int64_t n = reduce_by_pi_over_32(x, r_hi, r_lo);
    const double* row = sin_angle_table[(2 * n) & 127];
    const long double s_a = static_cast<long double>(row[0]) + row[1];
    const long double c_a = static_cast<long double>(row[2]) + row[3];
    const long double r = static_cast<long double>(r_hi) + r_lo;
    const long double r2 = r * r;
    const long double sr =
        r + r * r2 *
                (-1.0L / 6 +
                 r2 * (1.0L / 120 +
                       r2 * (-1.0L / 5040 +
                             r2 * (1.0L / 362880 + r2 * (-1.0L / 39916800 + r2 / 6227020800.0L)))));
    const long double cr =
        1.0L + r2 * (-0.5L + r2 * (1.0L / 24 +
                                   r2 * (-1.0L / 720 +
                                         r2 * (1.0L / 40320 +
                                               r2 * (-1.0L / 3628800 + r2 / 479001600.0L)))));
    const long double s = s_a * cr + c_a * sr;
    const long double c = c_a * cr - s_a * sr;
    return static_cast<double>(s / c);
}

}  // namespace qlm::trig
