// Erf, Erfc and CdfNorm in both types: accuracy of every slot against MPFR
// over the whole range, the deep tails included, and the statuses.
#include <cfloat>
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
constexpr int min_exp = sizeof(T) == 8 ? -1074 : -149;

// The normal distribution function at 256 bits: erfc(-x/sqrt 2)/2.
int mpfr_cdfnorm(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t u;
    mpfr_init2(u, 320);
    mpfr_sqrt_ui(u, 2, MPFR_RNDN);
    mpfr_div(u, x, u, MPFR_RNDN);
    mpfr_neg(u, u, MPFR_RNDN);
    const int t = mpfr_erfc(r, u, rnd);
    mpfr_div_2ui(r, r, 1, rnd);
    mpfr_clear(u);
    return t;
}

template <typename T>
std::vector<T> erf_inputs(uint32_t seed) {
    return concat<T>({uniform_samples<T>(-6.5, 6.5, 2500, seed), uniform_samples<T>(0.7, 0.8, 500, seed + 1),
                      exponent_samples<T>(min_exp<T>, 3, 1500, seed + 2)});
}

// Up to where the result leaves the denormal range: 27.3 in double, 10.1 in
// single, and the cancelling region near 0.75.
template <typename T>
std::vector<T> erfc_inputs(uint32_t seed) {
    const double top = sizeof(T) == 8 ? 27.3 : 10.1;
    return concat<T>({uniform_samples<T>(-7, top, 2500, seed), uniform_samples<T>(top - 1.5, top, 600, seed + 1),
                      uniform_samples<T>(0.6, 0.9, 500, seed + 2), exponent_samples<T>(min_exp<T>, 2, 1000, seed + 3)});
}

template <typename T>
std::vector<T> cdfnorm_inputs(uint32_t seed) {
    const double bottom = sizeof(T) == 8 ? -38.6 : -14.2;
    return concat<T>({uniform_samples<T>(bottom, 9, 2500, seed), uniform_samples<T>(bottom, bottom + 3, 600, seed + 1),
                      uniform_samples<T>(-1.2, 1.2, 500, seed + 2), exponent_samples<T>(min_exp<T>, 2, 1000, seed + 3)});
}

TEST(ErrorFunctions, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dErf", qlm_vxm_kernel_dErf_ttab, erf_inputs<double>(51), mpfr_erf);
    expect_unary_classes<double>("dErfc", qlm_vxm_kernel_dErfc_ttab, erfc_inputs<double>(52), mpfr_erfc);
    expect_unary_classes<double>("dCdfNorm", qlm_vxm_kernel_dCdfNorm_ttab, cdfnorm_inputs<double>(53), mpfr_cdfnorm);
    expect_unary_classes<float>("sErf", qlm_vxm_kernel_sErf_ttab, erf_inputs<float>(54), mpfr_erf);
    expect_unary_classes<float>("sErfc", qlm_vxm_kernel_sErfc_ttab, erfc_inputs<float>(55), mpfr_erfc);
    expect_unary_classes<float>("sCdfNorm", qlm_vxm_kernel_sCdfNorm_ttab, cdfnorm_inputs<float>(56), mpfr_cdfnorm);
}

// Known values: CdfNorm(-37) = 5.72557122252458e-300 keeps its relative
// accuracy; Erfc(27) underflows to a denormal and says so.
TEST(ErrorFunctions, TailsInfinitiesAndUnderflow) {
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        auto y = run<double>(qlm_vxm_kernel_dCdfNorm_ttab[slot], {-37.0, 0.0, INFINITY, -INFINITY, NAN}, &status);
        EXPECT_NEAR(y[0] / 5.72557122252458e-300, 1.0, 1e-8);
        EXPECT_EQ(y[1], 0.5);
        EXPECT_EQ(y[2], 1.0);
        EXPECT_EQ(y[3], 0.0);
        EXPECT_TRUE(std::isnan(y[4]));
        EXPECT_EQ(status, 0);
        y = run<double>(qlm_vxm_kernel_dCdfNorm_ttab[slot], {-38.0, -1.0}, &status);
        EXPECT_TRUE(y[0] > 0 && y[0] < DBL_MIN);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);

        y = run<double>(qlm_vxm_kernel_dErfc_ttab[slot], {27.0, 0.0, -INFINITY, INFINITY, 30.0}, &status);
        EXPECT_TRUE(y[0] > 0 && y[0] < DBL_MIN);  // 5.2e-319
        EXPECT_EQ(y[1], 1.0);
        EXPECT_EQ(y[2], 2.0);
        EXPECT_EQ(y[3], 0.0);
        EXPECT_EQ(y[4], 0.0);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        y = run<double>(qlm_vxm_kernel_dErfc_ttab[slot], {INFINITY, -30.0, 26.0}, &status);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(y[1], 2.0);

        y = run<double>(qlm_vxm_kernel_dErf_ttab[slot], {INFINITY, -INFINITY, -0.0, 7.0, NAN}, &status);
        EXPECT_EQ(y[0], 1.0);
        EXPECT_EQ(y[1], -1.0);
        EXPECT_TRUE(y[2] == 0 && std::signbit(y[2]));
        EXPECT_EQ(y[3], 1.0);
        EXPECT_TRUE(std::isnan(y[4]));
        EXPECT_EQ(status, 0);

        auto yf = run<float>(qlm_vxm_kernel_sErfc_ttab[slot], {9.5f, 1.0f}, &status);
        EXPECT_TRUE(yf[0] > 0 && yf[0] < FLT_MIN);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        yf = run<float>(qlm_vxm_kernel_sCdfNorm_ttab[slot], {-12.0f, -20.0f}, &status);
        EXPECT_NEAR(yf[0] / 1.7764821120776e-33f, 1.0f, 1e-3f);
        EXPECT_EQ(yf[1], 0.0f);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    }
}

}  // namespace
