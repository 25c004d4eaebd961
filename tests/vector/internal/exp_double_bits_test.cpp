// The double Exp routines keep their results bit for bit: each slot is
// compared with a plain per-element restatement of its arithmetic (the
// shifter sum, the reduction in one or two pieces, the polynomial in
// Horner order, T from the low table's mantissa bits or the split pair)
// over inputs of the fast lane, so a faster schedule of the same
// arithmetic cannot drift.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/real/exp/exp_tables.h"

namespace {

double from_bits(uint64_t u) { return std::bit_cast<double>(u); }
uint64_t to_bits(double d) { return std::bit_cast<uint64_t>(d); }

constexpr double kShifter = 6755399441055744.0;  // 1.5 * 2^52

double reference_exp(double x, int slot) {  // 0 LA, 1 HA, 2 EP
    using namespace qlm::vector::exp_tables;
    const bool ha = slot == 1;
    const double k = from_bits(ha ? 0x40571547652B82FEull : 0x40671547652B82FEull);
    const double t = x * k + kShifter;
    const uint64_t bits = to_bits(t);
    const double nd = t - kShifter;
    double r, p;
    if (slot == 2) {
        r = x - nd * from_bits(0x3F762E42FEFA39EFull);
        p = r + 0.5 * (r * r);
    } else if (slot == 0) {
        r = (x - nd * from_bits(0x3F762E42FEE00000ull)) - nd * from_bits(0x3D7A39EF35793C76ull);
        const double q = from_bits(0x3FDFFFFFFFFFFEB0ull) +
                         r * (from_bits(0x3FC55555B7BAE976ull) + r * from_bits(0x3FA55555C2A9C0FAull));
        p = r + (r * r) * q;
    } else {
        r = (x - nd * from_bits(0x3F862E42FEF00000ull)) - nd * from_bits(0x3D7473DE6AF278EDull);
        const double q =
            from_bits(0x3FDFFFFFFFFFD97Cull) +
            r * (from_bits(0x3FC55555555542A1ull) +
                 r * (from_bits(0x3FA555574BC3A1BEull) + r * from_bits(0x3F81111276409C2Cull)));
        p = r + (r * r) * q;
    }
    if (ha) {
        const double hi = from_bits(split[bits & 63][0]), lo = from_bits(split[bits & 63][1]);
        const double scale = from_bits(((bits + 0xFFC0) << 46) & 0x7FF0000000000000ull);
        return ((p * (hi + lo) + lo) + hi) * scale;
    }
    const double tv = from_bits((((bits + 0x1FF80) << 45) & 0x7FF0000000000000ull) | low[bits & 127]);
    return tv + tv * p;
}

TEST(ExpDoubleBits, EverySlotMatchesItsStatedArithmetic) {
    std::mt19937_64 gen(20261122);
    std::uniform_real_distribution<double> wide(-708.39, 708.39), near_zero(-1.0, 1.0);
    std::vector<double> x(200003);  // whole groups and a ragged end
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = i % 2 ? wide(gen) : near_zero(gen);
    std::vector<double> y(x.size());
    for (int slot = 0; slot < 3; ++slot) {
        qlm_vxm_kernel_dExp_ttab[slot](static_cast<int32_t>(x.size()), x.data(), y.data());
        std::size_t mismatches = 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double want = reference_exp(x[i], slot);
            if (to_bits(y[i]) != to_bits(want) && ++mismatches <= 5)
                ADD_FAILURE() << "slot " << slot << " x " << x[i] << " got " << y[i] << " want " << want;
        }
        EXPECT_EQ(mismatches, 0u) << "slot " << slot;
    }
}

}  // namespace
