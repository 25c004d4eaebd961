// Asin and Acos in both types: accuracy of every slot against MPFR, with
// samples packed near 0, near +-1/2 (where the reduction switches) and near
// +-1 (where the root takes over), and the domain statuses.
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> unit_interval_inputs(uint32_t seed) {
    auto near_one = exponent_samples<T>(sizeof(T) == 8 ? -52 : -23, -1, 2500, seed);
    for (T& x : near_one) x = std::copysign(T(1) - std::fabs(x), x);
    return concat<T>({uniform_samples<T>(-1, 1, 4000, seed + 1), uniform_samples<T>(0.45, 0.55, 1500, seed + 2),
                      uniform_samples<T>(-0.55, -0.45, 1500, seed + 3), near_one,
                      exponent_samples<T>(sizeof(T) == 8 ? -1074 : -149, -1, 1500, seed + 4)});
}

TEST(AsinAcos, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dAsin", qlm_vxm_kernel_dAsin_ttab, unit_interval_inputs<double>(31), mpfr_asin);
    expect_unary_classes<double>("dAcos", qlm_vxm_kernel_dAcos_ttab, unit_interval_inputs<double>(32), mpfr_acos);
    expect_unary_classes<float>("sAsin", qlm_vxm_kernel_sAsin_ttab, unit_interval_inputs<float>(33), mpfr_asin);
    expect_unary_classes<float>("sAcos", qlm_vxm_kernel_sAcos_ttab, unit_interval_inputs<float>(34), mpfr_acos);
}

// The float LA routines join the leading term to 0, pi/2 or pi by a
// plain sum; where the two nearly cancel (|x| just above 1/2) that costs
// up to half an ulp more, and the whole must stay within 2 ulp, the
// budget that keeps it more accurate than the usual vector peers.
TEST(AsinAcos, FloatLAWithinTwoUlp) {
    const auto x = unit_interval_inputs<float>(35);
    std::vector<float> y(x.size());
    struct lean {
        const char* name;
        unary_fn<float> f;
        mpfr_unary exact;
    };
    for (const lean& l : {lean{"sAsin", _vxmsAsin_21, mpfr_asin}, lean{"sAcos", _vxmsAcos_21, mpfr_acos}}) {
        const auto [name, f, exact] = l;
        f(static_cast<int32_t>(x.size()), x.data(), y.data());
        const error_report r = measure_unary(x, y, exact);
        std::printf("[accuracy] %s LA near 1/2: %s\n", name, r.describe().c_str());
        EXPECT_LE(r.max_ulp, 2.0) << name << " " << r.describe();
    }
}

// Outside [-1, 1] the result is NaN with ERRDOM, which stays even when
// later lanes of the group are ordinary; NaN itself raises nothing.
TEST(AsinAcos, DomainAndEndpoints) {
    const double pi = 0x1.921fb54442d18p+1;
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        auto y = run<double>(qlm_vxm_kernel_dAsin_ttab[slot], {1.0, -1.0, 0.0, -0.0, 0.5}, &status);
        EXPECT_EQ(y[0], pi / 2);
        EXPECT_EQ(y[1], -pi / 2);
        EXPECT_TRUE(y[3] == 0 && std::signbit(y[3]));
        EXPECT_EQ(status, 0);
        y = run<double>(qlm_vxm_kernel_dAcos_ttab[slot], {1.0, -1.0, 0.0, NAN}, &status);
        EXPECT_EQ(y[0], 0.0);
        EXPECT_EQ(y[1], pi);
        EXPECT_EQ(y[2], pi / 2);
        EXPECT_TRUE(std::isnan(y[3]));
        EXPECT_EQ(status, 0);
        y = run<double>(qlm_vxm_kernel_dAcos_ttab[slot], {2.0, 0.25, INFINITY, 0.5, 0.75}, &status);
        EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[2]));
        EXPECT_NEAR(y[1], 1.318116071652818, 1e-8);  // acos(0.25); every slot, EP included
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
        auto yf = run<float>(qlm_vxm_kernel_sAsin_ttab[slot], {-1.5f, 1.0f}, &status);
        EXPECT_TRUE(std::isnan(yf[0]));
        EXPECT_EQ(yf[1], 0x1.921fb6p+0f);
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
    }
}

}  // namespace
