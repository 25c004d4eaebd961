// Special results and statuses of the logarithm family, the continuity of
// the fine table across its rows 255 and 256, and the one-at-a-time run of
// the double EP routine after a failing group.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/exp_log_kernels.h"
#include "support/ulp.h"

namespace {

using qlm::test::one;
constexpr int kLA = 0, kHA = 1, kEP = 2;

template <typename T>
void check_ln_like(void (*const* table)(int32_t, const T*, T*), T pole, const char* name) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        EXPECT_EQ(one(table[slot], pole, status), -INFINITY) << name << slot;
        EXPECT_EQ(status, VXM_STATUS_SING);
        EXPECT_EQ(one(table[slot], pole == 0 ? T(-0.0) : pole, status), -INFINITY) << name << slot;
        EXPECT_EQ(status, VXM_STATUS_SING) << "-0 is a pole, not a domain error";
        EXPECT_TRUE(std::isnan(one(table[slot], pole - 1, status))) << name << slot;
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
        EXPECT_TRUE(std::isnan(one(table[slot], T(-INFINITY), status))) << name << slot;
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
        EXPECT_TRUE(std::isnan(one(table[slot], T(NAN), status))) << name << slot;
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(table[slot], T(INFINITY), status), INFINITY) << name << slot;
        EXPECT_EQ(status, 0);
    }
}

TEST(LogSpecial, PolesDomainAndNonFinite) {
    check_ln_like(qlm_vxm_kernel_dLn_ttab, 0.0, "dLn");
    check_ln_like(qlm_vxm_kernel_dLog10_ttab, 0.0, "dLog10");
    check_ln_like(qlm_vxm_kernel_dLog1p_ttab, -1.0, "dLog1p");
    check_ln_like(qlm_vxm_kernel_sLn_ttab, 0.0f, "sLn");
    check_ln_like(qlm_vxm_kernel_sLog10_ttab, 0.0f, "sLog10");
    check_ln_like(qlm_vxm_kernel_sLog1p_ttab, -1.0f, "sLog1p");
}

TEST(LogSpecial, LnOfOneIsPositiveZeroInEverySlot) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        const double d = one(qlm_vxm_kernel_dLn_ttab[slot], 1.0, status);
        EXPECT_TRUE(d == 0.0 && !std::signbit(d)) << slot;
        const float s = one(qlm_vxm_kernel_sLn_ttab[slot], 1.0f, status);
        EXPECT_TRUE(s == 0.0f && !std::signbit(s)) << slot;
        EXPECT_EQ(one(qlm_vxm_kernel_dLog10_ttab[slot], 1.0, status), 0.0);
        EXPECT_EQ(one(qlm_vxm_kernel_dLog1p_ttab[slot], 0.0, status), 0.0);
    }
}

TEST(LogSpecial, SmallestDenormalIsFiniteAndAccurate) {
    const std::vector<double> xd = {DBL_TRUE_MIN, DBL_MIN / 3};
    const std::vector<float> xs = {FLT_TRUE_MIN, FLT_MIN / 3};
    for (int slot : {kLA, kHA, kEP}) {
        std::vector<double> yd(2);
        std::vector<float> ys(2);
        qlm_vxm_kernel_dLn_ttab[slot](2, xd.data(), yd.data());
        qlm_vxm_kernel_sLn_ttab[slot](2, xs.data(), ys.data());
        EXPECT_LE(qlm::test::measure_unary(xd, yd, mpfr_log).max_ulp, 1.0) << slot;
        EXPECT_LE(qlm::test::measure_unary(xs, ys, mpfr_log).max_ulp, 1.0) << slot;
    }
}

// Rows 255 and 256 of the fine table meet at mantissa 1.5, where the
// exponent steps up and the row's logarithm switches to that of c/2.
TEST(LogSpecial, ContinuousAcrossTheMiddleRows) {
    std::vector<double> x;
    for (double base : {1.5, 0.75, 3.0, 1.5 * 1024})
        for (double v = std::nextafter(base, 0.0) * (1 - 1e-4); v < base * (1 + 1e-4); v *= 1 + 3e-7)
            x.push_back(v);
    std::vector<double> y(x.size());
    qlm_vxm_kernel_dLn_ttab[kHA](static_cast<int32_t>(x.size()), x.data(), y.data());
    EXPECT_LE(qlm::test::measure_unary(x, y, mpfr_log).max_ulp, 1.0);
    for (std::size_t i = 1; i < x.size(); ++i) {
        if (x[i] <= x[i - 1]) continue;  // the next base starts
        EXPECT_GE(y[i], y[i - 1]) << "at " << x[i];
    }
}

// After a failing group the EP routine runs one element at a time until
// the count left is a multiple of four; every element still gets its value.
TEST(LogSpecial, EpRunsOneAtATimeAfterAFailingGroup) {
    for (int n = 5; n <= 13; ++n)
        for (int bad = 0; bad < n; ++bad) {
            std::vector<double> x(n), y(n);
            for (int i = 0; i < n; ++i) x[i] = 1.25 + 0.37 * i;
            x[bad] = -0.0;
            qlm_vxm_kernel_ClearErrStatus();
            qlm_vxm_kernel_dLn_ttab[kEP](n, x.data(), y.data());
            EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_SING);
            for (int i = 0; i < n; ++i) {
                if (i == bad) {
                    EXPECT_EQ(y[i], -INFINITY);
                    continue;
                }
                double alone;
                qlm_vxm_kernel_dLn_ttab[kEP](1, &x[i], &alone);
                EXPECT_EQ(y[i], alone) << "n " << n << " bad " << bad << " element " << i;
                EXPECT_NEAR(y[i], std::log(x[i]), 1e-7 * std::fabs(std::log(x[i])) + 1e-12);
            }
        }
}

}  // namespace
