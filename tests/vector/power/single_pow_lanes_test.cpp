// The lanes of single Pow and Powx: hard cases of x^y = 2^(y log2 x), the
// edges of the window and of |y log2 x| < 126, a group with one lane off the
// window, ragged ends, and Powx against Pow.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/power/accuracy_support.h"
#include "vector/power/report_recorder.h"

namespace {

using namespace qlm::test;
using SinglePowLanes = recording_reports;

std::vector<float> pow_of(int s, const std::vector<float>& x, const std::vector<float>& y) {
    std::vector<float> r(x.size());
    qlm_vxm_kernel_sPow_ttab[s](static_cast<int32_t>(x.size()), x.data(), y.data(), r.data());
    return r;
}

// Where the absolute error of y log2 x becomes the result's relative error:
// x within a few ulps of 1 with |y| large, results near the top and bottom
// of the normal range (both sides of |y log2 x| = 126), exact powers, and
// denormal bases, which leave the lanes.  The LA routine serves HA too, so
// every slot must hold 1 ulp.
TEST(SinglePowLanesAccuracy, HardCases) {
    std::vector<float> x, y;
    std::mt19937 gen(41);
    std::uniform_int_distribution<int> ulps(-64, 64);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 4000; ++i) {  // x = 1 + k ulps, y so that |y log2 x| reaches about 120
        const int k = ulps(gen);
        if (k == 0) continue;
        float v = 1.0f;
        for (int j = 0; j < std::abs(k); ++j) v = std::nextafter(v, k < 0 ? 0.0f : 2.0f);
        x.push_back(v);
        y.push_back(static_cast<float>(u(gen) * 120.0 / std::fabs(std::log2(static_cast<double>(v)))));
    }
    for (int i = 0; i < 4000; ++i) {  // |y log2 x| in [120, 150]: both sides of the lanes' limit
        const float xi = static_cast<float>(std::exp2(u(gen) * 20));
        const double t = (i % 2 ? 1 : -1) * (120 + 30 * std::fabs(u(gen)));
        x.push_back(xi);
        y.push_back(static_cast<float>(t / std::log2(static_cast<double>(xi))));
    }
    for (int k = -20; k <= 20; ++k) {  // exact results
        x.push_back(2.0f);
        y.push_back(static_cast<float>(k));
        x.push_back(4.0f);
        y.push_back(static_cast<float>(k) + 0.5f);
        x.push_back(9.0f);
        y.push_back(1.5f);
    }
    for (float d : {0x1p-149f, 0x1p-130f, 0x1.fffffcp-127f}) {  // denormal bases
        for (float e : {0.25f, -0.5f, 1.0f, 0.01f}) {
            x.push_back(d);
            y.push_back(e);
        }
    }
    for (int s : {LA, HA, EP}) {
        const std::vector<float> r = pow_of(s, x, y);
        const error_report rep = measure_binary(x, y, r, mpfr_pow);
        std::printf("[accuracy] sPow hard cases %s: %s\n", slot_name(s), rep.describe().c_str());
        EXPECT_LE(rep.max_ulp, 1.0) << rep.describe();
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (x[i] == 2.0f && std::fabs(y[i]) <= 20 && y[i] == std::trunc(y[i])) {
            EXPECT_EQ(pow_of(LA, {x[i]}, {y[i]})[0], std::ldexp(1.0f, static_cast<int>(y[i])));
        }
    }
    EXPECT_EQ(pow_of(LA, {9.0f}, {1.5f})[0], 27.0f);
}

// A group of eight with one lane off the window (or past the exponent
// limit) is recomputed element by element: the other lanes give exactly
// what they give alone, the odd lane its special result and status.
TEST_F(SinglePowLanes, GroupWithOneLaneOffTheWindow) {
    const float xs[8] = {0.5f, 2.0f, 3.0f, 10.0f, 0.1f, 1.5f, 7.0f, 0.9f};
    const float ys[8] = {1.5f, -3.25f, 0.5f, 2.0f, -1.0f, 17.0f, 0.3f, 100.0f};
    struct odd_case {
        float x, y, expected;
        int32_t status;
    };
    const float inf = std::numeric_limits<float>::infinity();
    const odd_case odds[] = {
        {-2.0f, 3.0f, -8.0f, 0},                        // negative base, odd integer exponent
        {-2.0f, 0.5f, std::nanf(""), VXM_STATUS_ERRDOM},  // negative base, fraction
        {0.0f, -1.0f, inf, VXM_STATUS_SING},
        {2.0f, 200.0f, inf, VXM_STATUS_OVERFLOW},       // |y log2 x| past the limit
        {2.0f, -140.0f, 0x1p-140f, 0},                   // a denormal result
        {std::nanf(""), 0.0f, 1.0f, 0},
    };
    for (const odd_case& o : odds) {
        for (int lane = 0; lane < 8; ++lane) {
            std::vector<float> x(xs, xs + 8), y(ys, ys + 8);
            x[lane] = o.x;
            y[lane] = o.y;
            reports.clear();
            const std::vector<float> r = pow_of(LA, x, y);
            ASSERT_EQ(reports.size(), o.status ? 1u : 0u) << o.x << "^" << o.y;
            if (o.status) {
                EXPECT_EQ(reports[0].status, o.status);
                EXPECT_EQ(reports[0].index, lane);
            }
            for (int i = 0; i < 8; ++i) {
                if (i == lane) {
                    if (std::isnan(o.expected)) EXPECT_TRUE(std::isnan(r[i]));
                    else EXPECT_EQ(r[i], o.expected) << o.x << "^" << o.y;
                } else {
                    EXPECT_EQ(std::bit_cast<uint32_t>(r[i]), std::bit_cast<uint32_t>(pow_of(LA, {x[i]}, {y[i]})[0]))
                        << "lane " << i;
                }
            }
        }
    }
}

// Ragged ends n = 1..9 (and 17) agree with full groups and write nothing
// past n; Powx equals Pow with the exponent repeated.
TEST(SinglePowLanesAccuracy, RaggedEndsAndPowx) {
    const std::vector<float> x = uniform<float>(24, 0.01, 50, 42), y = uniform<float>(24, -8, 8, 43);
    for (int s : {LA, EP}) {
        const std::vector<float> full = pow_of(s, x, y);
        for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 17}) {
            std::vector<float> r(x.size(), -7.0f);
            qlm_vxm_kernel_sPow_ttab[s](n, x.data(), y.data(), r.data());
            for (int i = 0; i < n; ++i) EXPECT_EQ(std::bit_cast<uint32_t>(r[i]), std::bit_cast<uint32_t>(full[i])) << n;
            for (std::size_t i = static_cast<std::size_t>(n); i < r.size(); ++i) EXPECT_EQ(r[i], -7.0f);
        }
        for (float b : {2.5f, -0.75f, 3.0f}) {
            std::vector<float> viax(x.size()), bs(x.size(), b);
            qlm_vxm_kernel_sPowx_ttab[s](static_cast<int32_t>(x.size()), x.data(), b, viax.data());
            EXPECT_EQ(viax, pow_of(s, x, bs)) << b;
        }
    }
}

}  // namespace
