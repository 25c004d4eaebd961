// Sub, Mul, Sqr and Abs: the shared element-wise plans give the IEEE result
// of each element at every count and alignment, in place and through every
// slot; Abs clears sign bits only.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/fpu.h"
#include "vector/vector_test_support.h"

namespace {

using qlm::test::expect_elementwise;
using qlm::test::spread_values;

template <typename T>
std::vector<T> with_specials(std::vector<T> v) {
    const T inf = std::numeric_limits<T>::infinity();
    const T specials[] = {T(0), T(-0.0), inf, -inf, std::numeric_limits<T>::quiet_NaN(),
                          std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::max()};
    for (std::size_t i = 0; i < std::size(specials); ++i) v[5 * i + 3] = specials[i];
    return v;
}

TEST(Elementwise, BinaryOperationsMatchElementArithmeticAtEveryCountAndOffset) {
    const auto a = with_specials(spread_values<double>(80, 11, -40, 40));
    const auto b = spread_values<double>(80, 12, -40, 40);
    const auto af = with_specials(spread_values<float>(80, 13, -20, 20));
    const auto bf = spread_values<float>(80, 14, -20, 20);
    // b stays fixed and aligned; a and y move.
    expect_elementwise<double>(a, 72, [&](int32_t n, const double* x, double* y) { _vxmdSub(n, x, b.data(), y); },
                               [&](std::size_t i) { return a[i] - b[i]; }, "dSub");
    expect_elementwise<double>(a, 72, [&](int32_t n, const double* x, double* y) { _vxmdMul_50(n, x, b.data(), y); },
                               [&](std::size_t i) { return a[i] * b[i]; }, "dMul");
    expect_elementwise<double>(a, 72, [](int32_t n, const double* x, double* y) { _vxmdSqr_26(n, x, y); },
                               [&](std::size_t i) { return a[i] * a[i]; }, "dSqr");
    expect_elementwise<float>(af, 76, [&](int32_t n, const float* x, float* y) { _vxmsSub_21(n, x, bf.data(), y); },
                              [&](std::size_t i) { return af[i] - bf[i]; }, "sSub");
    expect_elementwise<float>(af, 76, [&](int32_t n, const float* x, float* y) { _vxmsMul(n, x, bf.data(), y); },
                              [&](std::size_t i) { return af[i] * bf[i]; }, "sMul");
    expect_elementwise<float>(af, 76, [](int32_t n, const float* x, float* y) { _vxmsSqr_11(n, x, y); },
                              [&](std::size_t i) { return af[i] * af[i]; }, "sSqr");
}

TEST(Elementwise, InPlaceAndOverlappingDoubleSubtraction) {
    auto a = spread_values<double>(64, 15, -5, 5);
    const auto b = spread_values<double>(64, 16, -5, 5);
    std::vector<double> want(64);
    for (int i = 0; i < 64; ++i) want[i] = a[i] - b[i];
    auto y = a;
    _vxmdSub(64, y.data(), b.data(), y.data());
    EXPECT_EQ(y, want);
    y = b;
    _vxmdSub(64, a.data(), y.data(), y.data());
    EXPECT_EQ(y, want);
    y = a;
    _vxmdSqr(64, y.data(), y.data());
    for (int i = 0; i < 64; ++i) ASSERT_EQ(y[i], a[i] * a[i]) << i;
    // y one element above a: each difference feeds the next, in index order.
    std::vector<double> buf(70, 10.0), ref(70, 10.0);
    for (int i = 0; i < 60; ++i) ref[i + 1] = ref[i] - b[i];
    _vxmdSub(60, buf.data(), b.data(), buf.data() + 1);
    EXPECT_EQ(buf, ref);
}

TEST(Elementwise, OneRoutineServesAllSlots) {
    EXPECT_EQ(qlm_vxm_kernel_dSub_ttab[0], qlm_vxm_kernel_dSub_ttab[2]);
    EXPECT_EQ(qlm_vxm_kernel_sMul_ttab[1], qlm_vxm_kernel_sMul_ttab[2]);
    EXPECT_EQ(qlm_vxm_kernel_dAbs_ttab[0], qlm_vxm_kernel_dAbs_ttab[1]);
    EXPECT_FLOAT_EQ(qlm_vxm_kernel_sSqr_ctab[0], 0.37f);
    EXPECT_FLOAT_EQ(qlm_vxm_kernel_dAbs_ctab[2], 2.12f);
}

// Abs is a bit operation: payloads of NaN, signalling ones included, keep
// every bit, and it ignores the mode's denormal field and MXCSR entirely.
TEST(Abs, ClearsTheSignBitAndNothingElse) {
    std::thread([] {
        const uint64_t patterns[] = {0xFFF0000000000001ull /* -sNaN */, 0xFFF8000000001234ull, 0x8000000000000001ull,
                                     0x8000000000000000ull, 0xFFF0000000000000ull, 0xC000000000000000ull,
                                     0x3FF0000000000000ull};
        std::vector<double> a(7), y(7);
        std::memcpy(a.data(), patterns, sizeof patterns);
        qlm_vxm_kernel_SetMode(VXM_FLUSH_DENORMALS);
        qlm::test::mxcsr_scope scope(qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);
        _vxmdAbs(7, a.data(), y.data());
        EXPECT_EQ(qlm::test::get_mxcsr(), qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);
        for (int i = 0; i < 7; ++i) {
            uint64_t got;
            std::memcpy(&got, &y[i], 8);
            EXPECT_EQ(got, patterns[i] & 0x7FFFFFFFFFFFFFFFull) << i;
        }
        const uint32_t fpatterns[] = {0xFF800001u, 0x80000001u, 0x80000000u, 0xBF800000u, 0x7FC00001u};
        std::vector<float> af(5), yf(5);
        std::memcpy(af.data(), fpatterns, sizeof fpatterns);
        _vxmsAbs(5, af.data(), yf.data());
        for (int i = 0; i < 5; ++i) {
            uint32_t got;
            std::memcpy(&got, &yf[i], 4);
            EXPECT_EQ(got, fpatterns[i] & 0x7FFFFFFFu) << i;
        }
    }).join();
    const auto a = spread_values<double>(40, 17, -1074, 1023);
    expect_elementwise<double>(a, 37, [](int32_t n, const double* x, double* y) { _vxmdAbs(n, x, y); },
                               [&](std::size_t i) { return std::fabs(a[i]); }, "dAbs");
}

}  // namespace
