// Exponential and logarithm cores of the inverse hyperbolic and special
// functions, with arguments and results carried beyond 53 bits.
//
// exp_parts(x + xl): n = round(x 64/ln2), r = x - n ln2/64 + xl in two
// pieces (the first piece has 36 bits, so n times it is exact for |n| <
// 2^17, which covers |x| < 1100), expm1(r) by its Taylor series to r^6 (|r| <= ln2/128, truncation
// below 2^-66), and 2^(j/64) from a 64-entry hi/lo table.  The result is
// 2^k (m.hi + m.lo) with m near [1, 2) and a relative error below 2^-62;
// the caller applies 2^k once, so that a denormal result is rounded once.
//
// log_dd(x): x = 2^k m with m in [0.703, 1.41), c = j/128 the nearest
// 128th to m, r = m (1/c) - 1 exactly as double-double (Dekker product),
// log1p(r) by its Taylor series to r^9 (|r| <= 2^-7.5), and -log(1/c) from
// a table computed for the rounded 1/c.  Relative error below 2^-64 for
// the sum hi + lo, also near x = 1, where j = 128 gives 1/c = 1 and r = m - 1.
#pragma once

#include <cstdint>
#include <cstring>

#include "vector/real/special/core_tables.h"
#include "vector/real/special/double_double.h"

namespace qlm::special {

inline uint64_t bits_of(double x) {
    uint64_t b;
    std::memcpy(&b, &x, 8);
    return b;
}
inline double double_of(uint64_t b) {
    double x;
    std::memcpy(&x, &b, 8);
    return x;
}
inline uint32_t bits_of(float x) {
    uint32_t b;
    std::memcpy(&b, &x, 4);
    return b;
}

inline constexpr double kLn2Hi = 0x1.62e42fefa3800p-1;  // 42 bits: k ln2_hi exact for |k| < 2^11
inline constexpr double kLn2Lo = 0x1.ef35793c76730p-45;

// v 2^k with one rounding, also when the result is denormal.
inline double scale_by_power_of_two(double v, int k) {
    if (k > 1000) {
        v *= 0x1p1000;
        k -= 1000;
        if (k > 1000) k = 1000;
    } else if (k < -1000) {
        // Bring v to the least normal binade first, so that the last
        // multiplication is the only rounding.
        v *= 0x1p-969;
        k += 969;
        if (k < -1000) return v * 0x1p-1000 * 0x1p-60;
    }
    return v * double_of(static_cast<uint64_t>(k + 1023) << 52);
}

struct exp_result {
    int k;
    dd m;
};

// e^(x + xl) as 2^k (m.hi + m.lo); |x| below 1100.
inline exp_result exp_parts(double x, double xl) {
    constexpr double kInvStep = 0x1.71547652b82fep+6;  // 64/ln2
    constexpr double kStep1 = 0x1.62e42fefa0000p-7;    // ln2/64, 36 bits
    constexpr double kStep2 = 0x1.cf79abc9e3b3ap-46;
    constexpr double kShifter = 0x1.8p52;
    const double shifted = x * kInvStep + kShifter;
    // The shifter puts round(x 64/ln2) in the low word of the sum.
    const int32_t ni = static_cast<int32_t>(static_cast<uint32_t>(bits_of(shifted)));
    const double nd = shifted - kShifter;
    const double r = ((x - nd * kStep1) - nd * kStep2) + xl;
    const double p =
        r + r * r * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    const int j = ni & 63;
    const double th = exp2_table[j][0], tl = exp2_table[j][1];
    return {ni >> 6, fast_two_sum(th, tl + th * p + tl * p)};
}

inline double exp_finish(const exp_result& e) {
    return scale_by_power_of_two(e.m.hi + e.m.lo, e.k);
}

// log(x) for positive finite x (denormals included) as double-double.
inline dd log_dd(double x) {
    uint64_t b = bits_of(x);
    int k = 0;
    if (b < (uint64_t{1} << 52)) {  // denormal: bring into the normal range
        x *= 0x1p54;
        b = bits_of(x);
        k = -54;
    }
    k += static_cast<int>(b >> 52) - 1023;
    double m = double_of((b & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
    if (m > 1.41015625) {  // keep m within [0.705, 1.41] so that x near 1 has k = 0
        m *= 0.5;
        ++k;
    }
    const int j = static_cast<int>(m * 128.0 + 0.5);  // 90..181
    const double* row = log_table[j - 90];
    const dd prod = two_prod(m, row[0]);
    const dd r = two_sum(prod.hi - 1.0, prod.lo);
    // log1p(r.hi + r.lo) = log1p(r.hi) + r.lo (1 - r.hi)
    const double rh = r.hi;
    const dd half_sq = two_prod(rh, -0.5 * rh);
    const double tail =
        rh * rh * rh *
        (1.0 / 3 + rh * (-0.25 + rh * (0.2 + rh * (-1.0 / 6 + rh * (1.0 / 7 + rh * (-0.125 + rh * (1.0 / 9)))))));
    const dd lp = two_sum(rh, half_sq.hi);
    const double lp_lo = lp.lo + half_sq.lo + tail + r.lo * (1.0 - rh);
    const double kd = k;
    dd sum = two_sum(kd * kLn2Hi, row[1]);
    sum.lo += kd * kLn2Lo + row[2];
    const dd s2 = two_sum(sum.hi, lp.hi);
    return fast_two_sum(s2.hi, s2.lo + sum.lo + lp_lo);
}

// log(a.hi + a.lo) for a positive double-double with |a.lo| <= ulp(a.hi).
inline dd log_dd(dd a) {
    dd l = log_dd(a.hi);
    return fast_two_sum(l.hi, l.lo + a.lo / a.hi);
}

}  // namespace qlm::special
