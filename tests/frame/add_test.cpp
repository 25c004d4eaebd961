// Double and single Add through their tables and wrappers: the loop plans
// (aliasing, overlap, alignment peel, ragged ends) and the processor-state
// frame every kernel shares.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/fpu.h"

namespace {

using qlm::test::get_mxcsr;
using qlm::test::mxcsr_scope;

// Values whose sums round, so that a wrong rounding mode shows.
std::vector<double> random_doubles(std::size_t n, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1e3, 1e3);
    std::vector<double> v(n);
    for (double& x : v) x = dist(gen);
    return v;
}

std::vector<float> random_floats(std::size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> dist(-1e3f, 1e3f);
    std::vector<float> v(n);
    for (float& x : v) x = dist(gen);
    return v;
}

TEST(AddTables, OneRoutineStandsInAllThreeSlots) {
    EXPECT_EQ(qlm_vxm_kernel_dAdd_ttab[0], qlm_vxm_kernel_dAdd_ttab[1]);
    EXPECT_EQ(qlm_vxm_kernel_dAdd_ttab[1], qlm_vxm_kernel_dAdd_ttab[2]);
    EXPECT_EQ(qlm_vxm_kernel_sAdd_ttab[0], qlm_vxm_kernel_sAdd_ttab[2]);
    EXPECT_FLOAT_EQ(qlm_vxm_kernel_dAdd_ctab[1], 1.57f);
    EXPECT_FLOAT_EQ(qlm_vxm_kernel_sAdd_ctab[0], 0.89f);
}

TEST(AddTables, WrappersCallThroughTheirSlotAtCallTime) {
    // A wrapper reads its slot at each call: swapping the slot redirects it.
    static int calls[3];
    auto saved = qlm_vxm_kernel_dAdd_ttab[2];
    qlm_vxm_kernel_dAdd_ttab[2] = [](int32_t, const double*, const double*, double*) { ++calls[2]; };
    double a = 1, b = 2, y = 0;
    _vxmdAdd_26(1, &a, &b, &y);
    qlm_vxm_kernel_dAdd_ttab[2] = saved;
    EXPECT_EQ(calls[2], 1);
    EXPECT_EQ(y, 0.0);
    _vxmdAdd_26(1, &a, &b, &y);
    EXPECT_EQ(y, 3.0);
}

TEST(AddTables, WrapperIgnoresTheModeAccuracy) {
    std::thread([] {
        qlm_vxm_kernel_SetMode(VXM_EP);
        const double a[3] = {1, 2, 3}, b[3] = {4, 5, 6};
        double y[3];
        _vxmdAdd(3, a, b, y);
        _vxmdAdd_HA(3, a, b, y);
        _vxmdAdd_50(3, a, b, y);
        EXPECT_EQ(y[2], 9.0);
    }).join();
}

// Every count from 0 to 80 at every element offset of the three arrays
// within a 16-byte line.
TEST(DoubleAdd, MatchesElementSumsAtEveryCountAndOffset) {
    const auto a0 = random_doubles(100, 1), b0 = random_doubles(100, 2);
    alignas(16) double a[100], b[100], y[100];
    for (int n = -1; n <= 80; ++n)
        for (int oa = 0; oa < 2; ++oa)
            for (int ob = 0; ob < 2; ++ob)
                for (int oy = 0; oy < 2; ++oy) {
                    std::memcpy(a, a0.data(), sizeof a);
                    std::memcpy(b, b0.data(), sizeof b);
                    for (double& v : y) v = -7.0;
                    _vxmdAdd(n, a + oa, b + ob, y + oy);
                    for (int i = 0; i < 90; ++i) {
                        const double want = (i >= oy && i - oy < n) ? a[oa + i - oy] + b[ob + i - oy] : -7.0;
                        ASSERT_EQ(y[i], want) << "n=" << n << " offsets " << oa << ob << oy << " i=" << i;
                    }
                }
}

TEST(DoubleAdd, OutputAtFourModEightRunsScalarButCorrect) {
    const auto a = random_doubles(40, 3), b = random_doubles(40, 4);
    alignas(16) unsigned char raw[41 * 8];
    auto* y = reinterpret_cast<double*>(raw + 4);
    _vxmdAdd(40, a.data(), b.data(), y);
    for (int i = 0; i < 40; ++i) {
        double got;
        std::memcpy(&got, raw + 4 + 8 * i, 8);
        ASSERT_EQ(got, a[i] + b[i]) << i;
    }
}

TEST(DoubleAdd, InPlaceOperands) {
    auto a = random_doubles(64, 5), b = random_doubles(64, 6);
    auto want = a;
    for (int i = 0; i < 64; ++i) want[i] += b[i];
    auto y = a;
    _vxmdAdd(64, y.data(), b.data(), y.data());
    EXPECT_EQ(y, want);
    y = b;
    _vxmdAdd(64, a.data(), y.data(), y.data());
    EXPECT_EQ(y, want);
}

// Overlapping distinct arrays get the element-by-element result in order
// of index: with y one element above a, each sum feeds the next.
TEST(DoubleAdd, OverlapRunsInOrderOfIndex) {
    for (int shift : {1, 2, 3, 9}) {
        std::vector<double> buf(100, 1.0), want(100, 1.0);
        const std::vector<double> b(60, 1.0);
        for (int i = 0; i < 60; ++i) want[i + shift] = want[i] + b[i];
        _vxmdAdd(60, buf.data(), b.data(), buf.data() + shift);
        EXPECT_EQ(buf, want) << "shift " << shift;
    }
    // y below a by some elements: reads stay ahead of writes.
    std::vector<double> buf(100), want;
    for (int i = 0; i < 100; ++i) buf[i] = i;
    want = buf;
    for (int i = 0; i < 60; ++i) want[i] = want[i + 3] + 1.0;
    const std::vector<double> ones(60, 1.0);
    _vxmdAdd(60, buf.data() + 3, ones.data(), buf.data());
    EXPECT_EQ(buf, want);
}

TEST(SingleAdd, MatchesElementSumsAtEveryCountAndOffset) {
    const auto a0 = random_floats(200, 7), b0 = random_floats(200, 8);
    alignas(16) float a[200], b[200], y[200];
    std::memcpy(a, a0.data(), sizeof a);
    std::memcpy(b, b0.data(), sizeof b);
    for (int n : {-1, 0, 1, 31, 32, 33, 34, 35, 36, 63, 64, 65, 95, 96, 97, 150})
        for (int oa = 0; oa < 4; ++oa)
            for (int ob = 0; ob < 4; ++ob)
                for (int oy = 0; oy < 4; ++oy) {
                    for (float& v : y) v = -7.0f;
                    _vxmsAdd(n, a + oa, b + ob, y + oy);
                    for (int i = 0; i < 190; ++i) {
                        const float want = (i >= oy && i - oy < n) ? a[oa + i - oy] + b[ob + i - oy] : -7.0f;
                        ASSERT_EQ(y[i], want) << "n=" << n << " offsets " << oa << ob << oy << " i=" << i;
                    }
                }
}

TEST(SingleAdd, MisalignedOutputStillCorrect) {
    const auto a = random_floats(70, 9), b = random_floats(70, 10);
    alignas(16) unsigned char raw[71 * 4];
    auto* y = reinterpret_cast<float*>(raw + 2);
    _vxmsAdd(70, a.data(), b.data(), y);
    for (int i = 0; i < 70; ++i) {
        float got;
        std::memcpy(&got, raw + 2 + 4 * i, 4);
        ASSERT_EQ(got, a[i] + b[i]) << i;
    }
}

// The frame: a kernel computes under its own rounding and puts the caller's
// MXCSR back; flags raised inside survive only when MXCSR was not written.
TEST(KernelFrame, CallerRoundingIsReplacedThenRestored) {
    const double a[16] = {1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0};
    double b[16], y[16];
    for (double& v : b) v = 0x1p-53 * 1.5;  // 1 + 1.5 ulp/2 rounds up to nearest, down toward zero
    mxcsr_scope scope(qlm::test::kMxcsrDefault | qlm::test::kMxcsrTowardZero);
    _vxmdAdd(16, a, b, y);
    const uint32_t after = get_mxcsr();
    for (double v : y) EXPECT_EQ(v, 1.0 + 0x1p-52);
    EXPECT_EQ(after, qlm::test::kMxcsrDefault | qlm::test::kMxcsrTowardZero)
        << "restored MXCSR carries the entry flags, not the call's";
}

TEST(KernelFrame, FlagsSurviveWhenMxcsrNeedsNoChange) {
    const double a[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const double b[8] = {1e-30, 1e-30, 1e-30, 1e-30, 1e-30, 1e-30, 1e-30, 1e-30};
    double y[8];
    mxcsr_scope scope(qlm::test::kMxcsrDefault);
    _vxmdAdd(8, a, b, y);
    EXPECT_NE(get_mxcsr() & qlm::test::kMxcsrInexact, 0u);
}

TEST(KernelFrame, EmptyCallsLeaveEverythingAlone) {
    double y[2] = {5, 6};
    const double a[2] = {1, 2};
    qlm_vxm_kernel_SetErrStatus(3);
    mxcsr_scope scope(qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);
    _vxmdAdd(0, a, a, y);
    _vxmdAdd(-1, a, a, y);
    _vxmsAdd(-1, nullptr, nullptr, nullptr);
    EXPECT_EQ(get_mxcsr(), qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);
    EXPECT_EQ(y[0], 5.0);
    EXPECT_EQ(qlm_vxm_kernel_ClearErrStatus(), 3);
}

TEST(KernelFrame, FlushDenormalsReadsDenormalInputsAsZero) {
    std::thread([] {
        const double tiny = 0x1p-1060;
        std::vector<double> a(20, tiny), b(20, 0.0), y(20);
        _vxmdAdd(20, a.data(), b.data(), y.data());
        EXPECT_EQ(y[10], tiny);
        const uint32_t before = get_mxcsr();
        qlm_vxm_kernel_SetMode(VXM_FLUSH_DENORMALS);
        _vxmdAdd(20, a.data(), b.data(), y.data());
        for (double v : y) EXPECT_EQ(v, 0.0);
        EXPECT_EQ(get_mxcsr() & 0xE040, before & 0xE040);
        qlm_vxm_kernel_SetMode(VXM_KEEP_DENORMALS);
        _vxmdAdd(20, a.data(), b.data(), y.data());
        EXPECT_EQ(y[0], tiny);
    }).join();
}

}  // namespace
