// The float lanes of single Cbrt LA: accuracy over every binade, a group of
// eight with one lane off the screen, and ragged ends.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/power/accuracy_support.h"

namespace {

using namespace qlm::test;

std::vector<float> cbrt_la(const std::vector<float>& x) {
    std::vector<float> y(x.size());
    qlm_vxm_kernel_sCbrt_ttab[LA](static_cast<int32_t>(x.size()), x.data(), y.data());
    return y;
}

// Every binade of the normal range (the exponent's residue mod 3 picks the
// table's third), both signs, and both edges of each table interval: its
// first float, and (negated) the last float below it, which stays normal.
TEST(SingleCbrtLanes, AccuracyOverEveryBinade) {
    std::vector<float> x = log_uniform<float>(60000, -126, 128, true, 51);
    for (uint32_t e = 1; e < 255; ++e)
        for (uint32_t j = 0; j < 64; ++j) {
            const uint32_t b = e << 23 | j << 17;
            x.push_back(std::bit_cast<float>(b));
            x.push_back(-std::bit_cast<float>(b - 1 + (j == 0 && e == 1 ? 1 : 0)));
        }
    expect_class(measure_unary(x, cbrt_la(x), mpfr_cbrt), LA, "sCbrt LA lanes", x);
}

// A group with one zero, denormal, infinite or NaN lane is recomputed
// element by element: the other lanes equal their results alone, the odd
// lane gets its exact special result.
TEST(SingleCbrtLanes, GroupWithOneLaneOffTheScreen) {
    const float inf = std::numeric_limits<float>::infinity();
    const float odd[] = {0.0f, -0.0f, 0x1p-140f, -inf, std::numeric_limits<float>::quiet_NaN()};
    const float expected[] = {0.0f, -0.0f, 0x1p-140f, -inf, 0.0f};
    std::vector<float> base = {1.0f, -8.0f, 27.5f, 1e30f, -3e-30f, 0.125f, 7.0f, 1e-3f};
    for (int o = 0; o < 5; ++o) {
        for (int lane = 0; lane < 8; ++lane) {
            std::vector<float> x = base;
            x[lane] = odd[o];
            const std::vector<float> y = cbrt_la(x);
            for (int i = 0; i < 8; ++i) {
                if (i != lane) {
                    EXPECT_EQ(std::bit_cast<uint32_t>(y[i]), std::bit_cast<uint32_t>(cbrt_la({x[i]})[0])) << i;
                } else if (o == 4) {
                    EXPECT_TRUE(std::isnan(y[i]));
                } else if (o == 2) {
                    EXPECT_EQ(y[i], std::cbrt(0x1p-140f));  // 2^(-140/3) rounded: the per-element step is HA-grade
                } else {
                    EXPECT_EQ(std::bit_cast<uint32_t>(y[i]), std::bit_cast<uint32_t>(expected[o])) << o;
                }
            }
        }
    }
}

// Ragged ends n = 1..9 and 17 agree with full groups and write nothing past n.
TEST(SingleCbrtLanes, RaggedEnds) {
    const std::vector<float> x = uniform<float>(24, -1e4, 1e4, 52);
    const std::vector<float> full = cbrt_la(x);
    for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 17}) {
        std::vector<float> y(x.size(), 99.0f);
        qlm_vxm_kernel_sCbrt_ttab[LA](n, x.data(), y.data());
        for (int i = 0; i < n; ++i) EXPECT_EQ(std::bit_cast<uint32_t>(y[i]), std::bit_cast<uint32_t>(full[i])) << n;
        for (std::size_t i = static_cast<std::size_t>(n); i < y.size(); ++i) EXPECT_EQ(y[i], 99.0f);
    }
}

}  // namespace
