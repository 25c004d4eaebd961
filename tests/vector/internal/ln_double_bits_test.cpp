// The double Ln LA and HA routine keeps its results bit for bit: the
// routine is compared with a plain per-element restatement of its sums
// (full two-sum, one element at a time) over millions of inputs, so a
// faster schedule of the same arithmetic cannot drift.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/real/log/log_tables.h"

namespace {

double from_bits(uint64_t u) { return std::bit_cast<double>(u); }
uint64_t to_bits(double d) { return std::bit_cast<uint64_t>(d); }

// ln x of a positive normal finite x on the fine table.
double reference_ln(double x) {
    using qlm::vector::log_tables::fine;
    const uint64_t bits = to_bits(x);
    const uint32_t hw = static_cast<uint32_t>(bits >> 32);
    const double k = static_cast<int32_t>(hw - 0x3FE7FC00u) >> 20;
    const uint32_t row = ((((hw & 0xFFC00u) + 0x400u) & 0x1FF800u) >> 6) / 32;
    const double rcp = from_bits(fine[row][0]), ln_hi = from_bits(fine[row][2]), ln_lo = from_bits(fine[row][3]);
    const double m = from_bits((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
    const double m1 = from_bits(to_bits(m) & 0x7FFFFFFF00000000ull);
    const double m2 = m - m1;
    const double r1 = m1 * rcp - 1.0, r2 = m2 * rcp, r = r1 + r2;
    const double poly = r * r *
                        (from_bits(0xBFDFFFFFFFFFFCA9ull) +
                         r * (from_bits(0x3FD555555555512Aull) +
                              r * (from_bits(0xBFD00000D588D052ull) + r * from_bits(0x3FC9999B39037E04ull))));
    const double head = k * from_bits(0x3FE62E42FEFA3800ull) + ln_hi;
    const double low = k * from_bits(0x3D2EF35793C76730ull) + ln_lo;
    const double hi = head + r;
    const double rpart = hi - head, hpart = hi - rpart;
    const double err = (head - hpart) + (r - rpart);
    return hi + ((err + low) + poly);
}

TEST(LnDoubleBits, SameResultsAsThePlainSums) {
    std::mt19937_64 gen(11);
    const int n = 1 << 20;
    std::vector<double> x(n), y(n);
    long checked = 0;
    for (int pass = 0; pass < 4; ++pass) {
        for (double& v : x) {
            uint64_t u;
            if (pass == 0) u = (gen() % (0x7FEFFFFFFFFFFFFFull - 0x0010000000000000ull)) + 0x0010000000000000ull;
            else if (pass == 1) u = 0x3FF0000000000000ull + static_cast<int64_t>(gen() % (1u << 26)) - (1 << 25);
            else if (pass == 2) u = (gen() & 0x000FFFFFFFFFFFFFull) | (uint64_t{1022 + gen() % 3} << 52);  // [0.5, 4)
            else u = (gen() & 0x000FFFFFFFFFFFFFull) | (uint64_t{1023 + gen() % 2} << 52);  // rows around 1.5
            v = from_bits(u);
        }
        for (int slot : {0, 1}) {
            qlm_vxm_kernel_dLn_ttab[slot](n, x.data(), y.data());
            for (int i = 0; i < n; ++i) {
                ASSERT_EQ(to_bits(y[i]), to_bits(reference_ln(x[i]))) << "x = " << x[i] << " slot " << slot;
                ++checked;
            }
        }
    }
    EXPECT_EQ(checked, 8L * n);
}

}  // namespace
