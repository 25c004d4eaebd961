// The rounding family: each function against the C library's rounding of
// the same element at every count and alignment (so the 0.75 filler of the
// partial registers never lands), the ties of Round, the caller's rounding
// in Rint and NearbyInt and the inexact flag between them, and Modf's
// special values.
#include <gtest/gtest.h>

#include <cfenv>
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
using qlm::test::get_mxcsr;
using qlm::test::mxcsr_scope;

// Halves, near-integers, large values, zeros, infinities and NaN.
template <typename T>
std::vector<T> rounding_inputs(uint32_t seed) {
    auto v = qlm::test::spread_values<T>(48, seed, -3, 30);
    const T inf = std::numeric_limits<T>::infinity();
    const T special[] = {T(0.5), T(-0.5), T(1.5), T(2.5), T(-2.5), T(-0.3), T(0.0), T(-0.0), inf, -inf,
                         std::numeric_limits<T>::quiet_NaN(), T(0.49999997), T(-7.0), T(4503599627370497.0),
                         std::numeric_limits<T>::denorm_min(), T(-1e-30)};
    for (std::size_t i = 0; i < std::size(special); ++i) v[3 * i] = special[i];
    return v;
}

double round_half_away(double x) { return std::round(x); }
float round_half_away(float x) { return std::round(x); }

template <typename T>
void check_family(uint32_t seed) {
    const auto a = rounding_inputs<T>(seed);
    using K = void (*)(int32_t, const T*, T*);
    struct member {
        K kernel;
        T (*reference)(T);
        const char* name;
    };
    const bool dbl = sizeof(T) == 8;
    const member members[] = {
        {dbl ? K(_vxmdCeil) : K(_vxmsCeil), [](T x) { return std::ceil(x); }, "Ceil"},
        {dbl ? K(_vxmdFloor_50) : K(_vxmsFloor_21), [](T x) { return std::floor(x); }, "Floor"},
        {dbl ? K(_vxmdTrunc_26) : K(_vxmsTrunc_11), [](T x) { return std::trunc(x); }, "Trunc"},
        {dbl ? K(_vxmdRound) : K(_vxmsRound), [](T x) { return round_half_away(x); }, "Round"},
        {dbl ? K(_vxmdRint) : K(_vxmsRint), [](T x) { return std::nearbyint(x); }, "Rint"},
        {dbl ? K(_vxmdNearbyInt) : K(_vxmsNearbyInt), [](T x) { return std::nearbyint(x); }, "NearbyInt"},
    };
    for (const member& m : members)
        expect_elementwise<T>(a, 44, [&](int32_t n, const T* x, T* y) { m.kernel(n, x, y); },
                              [&](std::size_t i) { return m.reference(a[i]); }, m.name);
}

TEST(Rounding, EveryMemberMatchesTheLibraryRoundingAtEveryCountAndOffset) {
    check_family<double>(41);
    check_family<float>(42);
}

TEST(Rounding, RoundTiesGoAwayFromZeroAndKeepTheSign) {
    const double a[] = {0.5, 1.5, 2.5, -2.5, -0.3, 0.49999999999999994, 4503599627370495.5, -0.0};
    double y[8];
    _vxmdRound(8, a, y);
    EXPECT_EQ(y[0], 1.0);
    EXPECT_EQ(y[1], 2.0);
    EXPECT_EQ(y[2], 3.0);
    EXPECT_EQ(y[3], -3.0);
    EXPECT_EQ(y[4], 0.0);
    EXPECT_TRUE(std::signbit(y[4])) << "-0.3 rounds to -0";
    EXPECT_EQ(y[5], 0.0) << "the largest double below 0.5 is no tie";
    EXPECT_EQ(y[6], 4503599627370496.0);
    EXPECT_TRUE(std::signbit(y[7]));
    const float af[] = {0.5f, 1.5f, 2.5f, -2.5f, -0.3f};
    float yf[5];
    _vxmsRound(5, af, yf);
    EXPECT_EQ(yf[2], 3.0f);
    EXPECT_EQ(yf[3], -3.0f);
    EXPECT_TRUE(std::signbit(yf[4]) && yf[4] == 0.0f);
}

// Rint and NearbyInt round in the caller's direction and leave MXCSR as it
// was, flags included; only Rint raises inexact.  Neither obeys the mode's
// denormal field.  The kernels that fix MXCSR compute in their own
// direction and give the caller's back.
TEST(Rounding, CallerDirectionAndInexactFlag) {
    std::thread([] {
        const double a[] = {2.5, -2.5, 2.5, 0.5, 2.5};
        double y[5];
        for (auto [mode, want] : {std::pair{0u, 2.0}, std::pair{qlm::test::kMxcsrUp, 3.0},
                                  std::pair{qlm::test::kMxcsrDown, 2.0}, std::pair{qlm::test::kMxcsrTowardZero, 2.0}}) {
            mxcsr_scope scope(qlm::test::kMxcsrDefault | mode);
            _vxmdRint(5, a, y);
            EXPECT_EQ(y[0], want) << std::hex << mode;
            EXPECT_EQ(y[4], want) << "scalar tail " << std::hex << mode;
            const float af[] = {2.5f};
            float yf[1];
            _vxmsNearbyInt(1, af, yf);
            EXPECT_EQ(yf[0], float(want)) << std::hex << mode;
        }
        qlm_vxm_kernel_SetMode(VXM_FLUSH_DENORMALS);
        for (auto [kernel, inexact] : {std::pair{&_vxmdRint, true}, std::pair{&_vxmdNearbyInt, false}}) {
            mxcsr_scope scope(qlm::test::kMxcsrDefault);
            kernel(5, a, y);
            EXPECT_EQ(get_mxcsr() & qlm::test::kMxcsrInexact, inexact ? qlm::test::kMxcsrInexact : 0u);
            EXPECT_EQ(get_mxcsr() & ~qlm::test::kMxcsrFlags, qlm::test::kMxcsrDefault) << "MXCSR controls untouched";
        }
        const double tiny[] = {0x1p-1070};
        _vxmdRint(1, tiny, y);
        EXPECT_EQ(y[0], 0.0);  // a denormal read as is, rounded to 0, not flushed first
        {
            // Ceil fixes MXCSR and computes under its own rules; the caller's
            // rounding comes back at exit.
            mxcsr_scope scope(qlm::test::kMxcsrDefault | qlm::test::kMxcsrDown);
            _vxmsCeil(1, std::vector<float>{0.25f}.data(), std::vector<float>(1).data());
            _vxmdRound(5, a, y);
            EXPECT_EQ(y[0], 3.0);
            EXPECT_EQ(get_mxcsr() & ~qlm::test::kMxcsrFlags, qlm::test::kMxcsrDefault | qlm::test::kMxcsrDown);
        }
    }).join();
}

TEST(Modf, IntegerAndFractionalPartsWithTheInputSign) {
    const double inf = std::numeric_limits<double>::infinity();
    // Two groups of four and a tail: a large value sends its whole group to
    // the per-element step.
    const double a[] = {-3.75, 2.5, -0.0, 0.999, 0x1p60, inf, std::nan(""), -7.125, 12.0, -inf, 4503599627370495.5};
    double y[11], z[11];
    mxcsr_scope scope(qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);  // the kernel's own rounding wins
    _vxmdModf(11, a, y, z);
    EXPECT_EQ(y[0], -3.0);
    EXPECT_EQ(z[0], -0.75);
    EXPECT_EQ(y[1], 2.0);
    EXPECT_EQ(z[1], 0.5);
    EXPECT_TRUE(std::signbit(y[2]) && std::signbit(z[2]));
    EXPECT_EQ(y[3], 0.0);
    EXPECT_EQ(z[3], 0.999);
    EXPECT_EQ(y[4], 0x1p60);
    EXPECT_TRUE(z[4] == 0.0 && !std::signbit(z[4]));
    EXPECT_EQ(y[5], inf);
    EXPECT_TRUE(z[5] == 0.0 && !std::signbit(z[5]));
    EXPECT_TRUE(std::isnan(y[6]) && std::isnan(z[6]));
    EXPECT_EQ(y[7], -7.0);
    EXPECT_EQ(z[7], -0.125);
    EXPECT_EQ(y[9], -inf);
    EXPECT_TRUE(z[9] == 0.0 && std::signbit(z[9]));
    EXPECT_EQ(y[10], 4503599627370495.0);
    EXPECT_EQ(z[10], 0.5);
    EXPECT_EQ(get_mxcsr() & ~qlm::test::kMxcsrFlags, qlm::test::kMxcsrDefault | qlm::test::kMxcsrUp);

    // Against the C library over many values, both types.
    const auto v = qlm::test::spread_values<double>(1001, 43, -10, 60);
    std::vector<double> vy(v.size()), vz(v.size());
    _vxmdModf(1001, v.data(), vy.data(), vz.data());
    const auto vf = qlm::test::spread_values<float>(1001, 44, -10, 30);
    std::vector<float> fy(vf.size()), fz(vf.size());
    _vxmsModf(1001, vf.data(), fy.data(), fz.data());
    for (std::size_t i = 0; i < v.size(); ++i) {
        double ip;
        const double fp = std::modf(v[i], &ip);
        ASSERT_TRUE(vy[i] == ip && vz[i] == fp && std::signbit(vz[i]) == std::signbit(fp)) << v[i];
        float ipf;
        const float fpf = std::modf(vf[i], &ipf);
        ASSERT_TRUE(fy[i] == ipf && fz[i] == fpf && std::signbit(fz[i]) == std::signbit(fpf)) << vf[i];
    }
}

}  // namespace
