// Large-argument reduction by pi/32, exact for every finite double.
//
// Method: with x = m * 2^(e-1075) (m the 53-bit integer significand),
// x*32/pi = m * 2^s * (1/pi), s = e - 1070.  Only a window of the bits of 1/pi
// matters: terms whose lowest bit weighs 2^6 or more are whole multiples of
// 64 turns of pi/32 and drop out; four 64-bit words of 1/pi below them give
// the product m * W exactly in 320-bit integer arithmetic, from which the
// count modulo 64 and 128 fraction bits are read.  Truncating 1/pi after the
// window costs less than 2^-131 in the fraction, while no double comes closer
// than about 2^-62 to a multiple of pi/32 (relative to pi/32), so the reduced
// value keeps at least 60 correct bits in every case.  The fraction, moved to
// [-1/2, 1/2), is turned into a double pair and multiplied by pi/32 as a
// double pair.  This is the same reduction whatever the size of x, so the
// result does not depend on a threshold.
#include "vector/real/trig/large_reduction.h"

#include <bit>

#include "vector/real/power/lanes.h"
#include "vector/real/trig/trig_tables.h"

namespace qlm::trig {

namespace {

using u128 = unsigned __int128;

// pi/32 as a double pair.
constexpr double kPiOver32Hi = 0x1.921fb54442d18p-4;
constexpr double kPiOver32Lo = 0x1.1a62633145c07p-58;

// Bits [pos, pos + 64) of a little-endian limb array of six words.
inline uint64_t bits_at(const uint64_t (&p)[6], int pos) {
    const int limb = pos >> 6, shift = pos & 63;
    if (shift == 0) return p[limb];
    return (p[limb] >> shift) | (p[limb + 1] << (64 - shift));
}

}  // namespace

int64_t reduce_large_argument(double x, double& r_hi, double& r_lo) {
    const uint64_t bx = std::bit_cast<uint64_t>(x);
    const int e = static_cast<int>((bx >> 52) & 0x7FF);
    const uint64_t m = e == 0 ? (bx & 0xFFFFFFFFFFFFFull) << 1
                              : (bx & 0xFFFFFFFFFFFFFull) | 0x10000000000000ull;
    const int s = (e == 0 ? 1 : e) - 1070;
    const int i0 = s - 8 >= 64 ? (s - 8) / 64 : 0;

    // p = m * (w[i0] w[i0+1] w[i0+2] w[i0+3]), the words most significant first.
    uint64_t p[6] = {0, 0, 0, 0, 0, 0};
    u128 carry = 0;
    for (int k = 3; k >= 0; --k) {
        const u128 t = static_cast<u128>(m) * inv_pi_bits[i0 + k] + carry;
        p[3 - k] = static_cast<uint64_t>(t);
        carry = t >> 64;
    }
    p[4] = static_cast<uint64_t>(carry);

    // The binary point of p lies `point` bits above its lowest bit.
    const int point = 256 + 64 * i0 - s;
    int64_t n = 0;
    uint64_t frac_hi, frac_lo;
    if (point >= 320) {  // small x (only below 2^17, not used that way): no integer bits
        frac_hi = point - 64 < 320 ? bits_at(p, point - 64) : 0;
        frac_lo = bits_at(p, point - 128);
    } else {
        n = static_cast<int64_t>(bits_at(p, point) & 63);
        frac_hi = bits_at(p, point - 64);
        frac_lo = bits_at(p, point - 128);
    }
    // Read as two's complement, the fraction bits already stand for f - 1
    // when f >= 1/2: the count then rounds up.
    if (frac_hi >> 63) n += 1;
    const __int128 v = static_cast<__int128>((static_cast<u128>(frac_hi) << 64) | frac_lo) >> 1;
    const double f_hi = static_cast<double>(v);
    const double f_lo = static_cast<double>(v - static_cast<__int128>(f_hi));
    constexpr double kTwoToMinus127 = 0x1p-127;

    double h, l;
    lanes::two_prod(f_hi * kTwoToMinus127, kPiOver32Hi, h, l);
    l += f_hi * kTwoToMinus127 * kPiOver32Lo + f_lo * kTwoToMinus127 * kPiOver32Hi;
    lanes::fast_two_sum(h, l, r_hi, r_lo);
    if (bx >> 63) {
        r_hi = -r_hi;
        r_lo = -r_lo;
        n = -n;
    }
    return n & 63;
}

}  // namespace qlm::trig
