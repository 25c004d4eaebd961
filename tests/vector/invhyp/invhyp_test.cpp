// Asinh, Acosh and Atanh in both types: accuracy of every slot against
// MPFR, with samples near the branch points of the formulas (1/2, and 1 for
// Acosh and Atanh), across the whole exponent range, and the statuses.
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
constexpr int min_exp = sizeof(T) == 8 ? -1074 : -149;
template <typename T>
constexpr int max_exp = sizeof(T) == 8 ? 1023 : 127;
template <typename T>
constexpr int digits = sizeof(T) == 8 ? 52 : 23;

template <typename T>
std::vector<T> asinh_inputs(uint32_t seed) {
    return concat<T>({uniform_samples<T>(-3, 3, 4000, seed), exponent_samples<T>(min_exp<T>, max_exp<T>, 4000, seed + 1)});
}

// 1 + 2^-k for every k, and the whole range above.
template <typename T>
std::vector<T> acosh_inputs(uint32_t seed) {
    auto near_one = exponent_samples<T>(-digits<T>, 0, 3000, seed, false);
    for (T& x : near_one) x += T(1);
    return concat<T>({near_one, uniform_samples<T>(1, 4, 2000, seed + 1),
                      exponent_samples<T>(0, max_exp<T>, 3000, seed + 2, false)});
}

template <typename T>
std::vector<T> atanh_inputs(uint32_t seed) {
    auto near_one = exponent_samples<T>(-digits<T>, -1, 3000, seed);
    for (T& x : near_one) x = std::copysign(T(1) - std::fabs(x), x);
    return concat<T>({near_one, uniform_samples<T>(-1, 1, 3000, seed + 1),
                      exponent_samples<T>(min_exp<T>, -1, 2000, seed + 2)});
}

TEST(InverseHyperbolic, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dAsinh", qlm_vxm_kernel_dAsinh_ttab, asinh_inputs<double>(41), mpfr_asinh);
    expect_unary_classes<double>("dAcosh", qlm_vxm_kernel_dAcosh_ttab, acosh_inputs<double>(42), mpfr_acosh);
    expect_unary_classes<double>("dAtanh", qlm_vxm_kernel_dAtanh_ttab, atanh_inputs<double>(43), mpfr_atanh);
    expect_unary_classes<float>("sAsinh", qlm_vxm_kernel_sAsinh_ttab, asinh_inputs<float>(44), mpfr_asinh);
    expect_unary_classes<float>("sAcosh", qlm_vxm_kernel_sAcosh_ttab, acosh_inputs<float>(45), mpfr_acosh);
    expect_unary_classes<float>("sAtanh", qlm_vxm_kernel_sAtanh_ttab, atanh_inputs<float>(46), mpfr_atanh);
}

TEST(InverseHyperbolic, StatusesAndSpecialValues) {
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        auto y = run<double>(qlm_vxm_kernel_dAsinh_ttab[slot], {INFINITY, -INFINITY, -0.0, NAN}, &status);
        EXPECT_EQ(y[0], INFINITY);
        EXPECT_EQ(y[1], -INFINITY);
        EXPECT_TRUE(y[2] == 0 && std::signbit(y[2]));
        EXPECT_TRUE(std::isnan(y[3]));
        EXPECT_EQ(status, 0);

        y = run<double>(qlm_vxm_kernel_dAcosh_ttab[slot], {1.0, INFINITY, 0.5, 2.0, -INFINITY}, &status);
        EXPECT_EQ(y[0], 0.0);
        EXPECT_EQ(y[1], INFINITY);
        EXPECT_TRUE(std::isnan(y[2]) && std::isnan(y[4]));
        EXPECT_NEAR(y[3], 1.3169578969248168, 1e-8);
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);

        y = run<double>(qlm_vxm_kernel_dAtanh_ttab[slot], {1.0, -1.0, 0.5}, &status);
        EXPECT_EQ(y[0], INFINITY);
        EXPECT_EQ(y[1], -INFINITY);
        EXPECT_EQ(status, VXM_STATUS_SING);
        y = run<double>(qlm_vxm_kernel_dAtanh_ttab[slot], {1.5, 0.5}, &status);
        EXPECT_TRUE(std::isnan(y[0]));
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);

        auto yf = run<float>(qlm_vxm_kernel_sAtanh_ttab[slot], {-1.0f}, &status);
        EXPECT_EQ(yf[0], -INFINITY);
        EXPECT_EQ(status, VXM_STATUS_SING);
        yf = run<float>(qlm_vxm_kernel_sAcosh_ttab[slot], {0.999f}, &status);
        EXPECT_TRUE(std::isnan(yf[0]));
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
    }
}

}  // namespace
