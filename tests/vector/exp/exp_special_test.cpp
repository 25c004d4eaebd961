// Special results and statuses of the exponential family: the thresholds
// of overflow and underflow, the split-scale row, NaN and infinities, and
// the denormal row under flushed arithmetic.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <cstring>
#include <thread>

#include "qlm/qlm_vxm.h"
#include "vector/exp_log_kernels.h"

namespace {

using qlm::test::one;
constexpr int kLA = 0, kHA = 1, kEP = 2;

uint64_t bits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, 8);
    return u;
}

TEST(ExpSpecial, ZeroAndDenormalsGiveExactlyOneInEverySlot) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        for (double x : {0.0, -0.0, DBL_TRUE_MIN, -DBL_MIN / 3}) {
            EXPECT_EQ(one(qlm_vxm_kernel_dExp_ttab[slot], x, status), 1.0) << slot << " " << x;
            EXPECT_EQ(status, 0);
        }
        for (float x : {0.0f, -0.0f, FLT_TRUE_MIN}) {
            EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], x, status), 1.0f) << slot << " " << x;
            EXPECT_EQ(status, 0);
        }
    }
}

TEST(ExpSpecial, DoubleOverflowEdge) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        // 709.78 lies in the split-scale row: finite, near DBL_MAX, no status.
        const double big = one(qlm_vxm_kernel_dExp_ttab[slot], 709.78, status);
        EXPECT_TRUE(std::isfinite(big)) << slot;
        EXPECT_NEAR(big / std::exp(709.78), 1.0, 1e-8) << slot;
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_dExp_ttab[slot], 709.79, status), INFINITY) << slot;
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
    }
}

TEST(ExpSpecial, DoubleUnderflowEdge) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        const double tiny = one(qlm_vxm_kernel_dExp_ttab[slot], -720.0, status);
        EXPECT_EQ(std::fpclassify(tiny), FP_SUBNORMAL) << slot;
        EXPECT_NEAR(tiny / std::exp(-720.0), 1.0, 1e-6) << slot;  // a denormal of about 30 bits
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        EXPECT_EQ(bits(one(qlm_vxm_kernel_dExp_ttab[slot], -750.0, status)), 0u) << slot;
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    }
}

TEST(ExpSpecial, DoubleNonFiniteInputsRaiseNothing) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        EXPECT_EQ(bits(one(qlm_vxm_kernel_dExp_ttab[slot], NAN, status)), ~uint64_t{0});
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_dExp_ttab[slot], INFINITY, status), INFINITY);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(bits(one(qlm_vxm_kernel_dExp_ttab[slot], -INFINITY, status)), 0u);
        EXPECT_EQ(status, 0);
    }
}

TEST(ExpSpecial, SingleThresholds) {
    for (int slot : {kLA, kHA, kEP}) {
        int32_t status;
        EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], 88.8f, status), INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        // Above the screen but below overflow: finite, the scale split.
        const float big = one(qlm_vxm_kernel_sExp_ttab[slot], 88.7f, status);
        EXPECT_NEAR(big / std::exp(88.7), 1.0, 1e-4) << slot;
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], -104.0f, status), 0.0f);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        // The denormal row is evaluated in double and rounded once.
        EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], -95.0f, status), static_cast<float>(std::exp(-95.0)));
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        EXPECT_TRUE(std::isnan(one(qlm_vxm_kernel_sExp_ttab[slot], NAN, status)));
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], -INFINITY, status), 0.0f);
        EXPECT_EQ(status, 0);
    }
}

TEST(ExpSpecial, FlushedDenormalRowStillReportsUnderflow) {
    std::thread([] {
        qlm_vxm_kernel_SetMode(VXM_HA | VXM_ERRMODE_IGNORE | VXM_FLUSH_DENORMALS);
        for (int slot : {kLA, kHA, kEP}) {
            int32_t status;
            EXPECT_EQ(one(qlm_vxm_kernel_dExp_ttab[slot], -720.0, status), 0.0) << slot;
            EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
            EXPECT_EQ(one(qlm_vxm_kernel_sExp_ttab[slot], -95.0f, status), 0.0f) << slot;
            EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        }
    }).join();
}

TEST(HyperbolicSpecial, OverflowAndLimits) {
    int32_t status;
    for (int slot : {kLA, kHA, kEP}) {
        EXPECT_EQ(one(qlm_vxm_kernel_dExpm1_ttab[slot], 710.0, status), INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_dExpm1_ttab[slot], -INFINITY, status), -1.0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_dExpm1_ttab[slot], -800.0, status), -1.0);
        // sinh and cosh stay finite past the exponential's overflow.
        const double s = one(qlm_vxm_kernel_dSinh_ttab[slot], -710.0, status);
        EXPECT_NEAR(s / -std::exp(709.0) * 2.0 / std::exp(1.0), 1.0, 1e-12) << slot;
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_dSinh_ttab[slot], -711.0, status), -INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_dCosh_ttab[slot], -711.0, status), INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_dCosh_ttab[slot], -INFINITY, status), INFINITY);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_dTanh_ttab[slot], -INFINITY, status), -1.0);
        EXPECT_EQ(one(qlm_vxm_kernel_dTanh_ttab[slot], 1e300, status), 1.0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(one(qlm_vxm_kernel_sSinh_ttab[slot], -90.0f, status), -INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_sCosh_ttab[slot], 90.0f, status), INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_sExpm1_ttab[slot], 89.0f, status), INFINITY);
        EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(one(qlm_vxm_kernel_sTanh_ttab[slot], INFINITY, status), 1.0f);
        EXPECT_EQ(status, 0);
    }
}

TEST(ExpTables, SlotsFollowTheSharing) {
    EXPECT_NE(qlm_vxm_kernel_dExp_ttab[kLA], qlm_vxm_kernel_dExp_ttab[kEP]);
    EXPECT_NE(qlm_vxm_kernel_dExp_ttab[kLA], qlm_vxm_kernel_dExp_ttab[kHA]);
    EXPECT_EQ(qlm_vxm_kernel_dSinh_ttab[kLA], qlm_vxm_kernel_dSinh_ttab[kEP]);
    EXPECT_EQ(qlm_vxm_kernel_sExpm1_ttab[kLA], qlm_vxm_kernel_sExpm1_ttab[kEP]);
    EXPECT_EQ(qlm_vxm_kernel_dLn_ttab[kLA], qlm_vxm_kernel_dLn_ttab[kHA]);
    EXPECT_NE(qlm_vxm_kernel_dLn_ttab[kLA], qlm_vxm_kernel_dLn_ttab[kEP]);
    for (int slot : {kLA, kHA, kEP}) EXPECT_GT(qlm_vxm_kernel_dExp_ctab[slot], 0.0f);
    EXPECT_FLOAT_EQ(qlm_vxm_kernel_dExp_ctab[kHA], 17.62f);
}

}  // namespace
