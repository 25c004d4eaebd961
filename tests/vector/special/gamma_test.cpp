// Single LGamma and TGamma (one routine in all slots, held to the HA
// class): accuracy against MPFR at the zeros of log Gamma, near the poles,
// over the whole range and in the underflow range, and the statuses.
#include <cfloat>
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

int mpfr_log_abs_gamma(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    int sign;
    return mpfr_lgamma(r, &sign, x, rnd);
}

// Negative non-integers away from the poles by at least 2^-12, where the
// float result is still finite.
std::vector<float> negative_inputs(float lo, std::size_t n, uint32_t seed) {
    auto v = uniform_samples<float>(lo, 0, n, seed);
    for (float& x : v)
        if (std::fabs(x - std::nearbyint(x)) < 0x1p-12f) x += 0x1p-10f;
    return v;
}

TEST(Gamma, SingleWithinTheHighAccuracyClass) {
    const auto near_one = uniform_samples<float>(0.999, 1.001, 400, 71);
    const auto near_two = uniform_samples<float>(1.999, 2.001, 400, 72);
    const auto lg = concat<float>({uniform_samples<float>(0, 40, 2000, 73), near_one, near_two,
                                   exponent_samples<float>(-149, 120, 800, 74, false), negative_inputs(-40, 1500, 75)});
    expect_unary_classes<float>("sLGamma", qlm_vxm_kernel_sLGamma_ttab, lg, mpfr_log_abs_gamma);
    const auto tg = concat<float>({uniform_samples<float>(0, 35.5, 2000, 76), near_one, near_two,
                                   exponent_samples<float>(-126, 5, 600, 77, false), negative_inputs(-45, 1500, 78)});
    expect_unary_classes<float>("sTGamma", qlm_vxm_kernel_sTGamma_ttab, tg, mpfr_gamma);
}

TEST(Gamma, PolesOverflowAndUnderflow) {
    int32_t status;
    auto y = run<float>(_vxmsTGamma, {-3.0f, 5.0f, 0.5f, 1.0f}, &status);
    EXPECT_TRUE(std::isnan(y[0]));
    EXPECT_EQ(y[1], 24.0f);
    EXPECT_EQ(y[2], 0x1.c5bf8ap+0f);  // sqrt(pi)
    EXPECT_EQ(y[3], 1.0f);
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<float>(_vxmsTGamma, {-0.0f}, &status);
    EXPECT_EQ(y[0], -INFINITY);
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<float>(_vxmsTGamma, {36.0f, 2.0f}, &status);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
    y = run<float>(_vxmsTGamma, {-36.5f, 3.0f}, &status);
    EXPECT_TRUE(y[0] != 0 && std::fabs(y[0]) < FLT_MIN);  // about 1.4e-42
    EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    y = run<float>(_vxmsTGamma, {-60.5f}, &status);
    EXPECT_EQ(y[0], 0.0f);
    EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    y = run<float>(_vxmsTGamma, {-INFINITY, INFINITY, NAN}, &status);
    EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[2]));
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_ERRDOM);

    y = run<float>(_vxmsLGamma_11, {1.0f, 2.0f, 0.0f, -2.0f}, &status);
    EXPECT_EQ(y[0], 0.0f);
    EXPECT_EQ(y[1], 0.0f);
    EXPECT_EQ(y[2], INFINITY);
    EXPECT_EQ(y[3], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<float>(_vxmsLGamma_21, {1e37f, -INFINITY, 3.0f}, &status);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_NEAR(y[2], std::log(2.0f), 1e-7f);
    EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
}

// The wide path takes eight elements a turn; a group with one element it
// cannot serve (a pole, a value past its range) goes element by element.
// Either way every element must get what it gets alone, in its own place,
// and the status must name the pole's index.
TEST(Gamma, GroupsAgreeWithSingleElements) {
    const std::vector<float> x = {0.3f, 7.9f, 8.1f,  -2.5f, 1.0f,  2.0f, 29.5f, -0.75f,  // whole group
                                  0.3f, 7.9f, -3.0f, -2.5f, 1.0f,  2.0f, 29.5f, -0.75f,  // a pole inside
                                  34.9f, -29.9f, -30.5f, 5e-39f, 0.5f};                  // edges, ragged end
    for (auto kernel : {_vxmsLGamma, _vxmsTGamma}) {
        int status = 0;
        const auto whole = run<float>(kernel, x, &status);
        EXPECT_EQ(status, VXM_STATUS_SING);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const auto alone = run<float>(kernel, {x[i]}, &status);
            if (std::isnan(alone[0])) EXPECT_TRUE(std::isnan(whole[i])) << i;
            else EXPECT_EQ(whole[i], alone[0]) << "element " << i << " of " << x[i];
        }
    }
}

}  // namespace
