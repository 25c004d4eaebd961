// Double LGamma and TGamma (one routine in all slots, held to the HA
// class): accuracy against MPFR at the zeros of log Gamma, for tiny and
// large arguments, near the poles and over the whole range including
// TGamma's underflow range; then the statuses.
#include <cfloat>
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

int mpfr_log_abs_gamma(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    int sign;
    return mpfr_lgamma(r, &sign, x, rnd);
}

// Negative non-integers on [lo, 0), and the same squeezed to within
// 2^-20 .. 2^-4 of the poles.
std::vector<double> negative_inputs(double lo, std::size_t n, uint32_t seed) {
    auto v = uniform_samples<double>(lo, 0, n, seed);
    const auto d = exponent_samples<double>(-20, -4, n, seed + 1);
    for (std::size_t i = 0; i < n; i += 2) v[i] = std::ceil(v[i]) + d[i];
    return v;
}

// log |Gamma| crosses zero twice on each (-n-1, -n), n >= 2, where the
// reflection's terms cancel: points around each zero for n = 2..17 (found
// by bisection on MPFR's lgamma), from the nearest doubles out to 2^-4 of
// the zero, where the routine hands over between its two methods.
std::vector<double> near_negative_zeros(uint32_t seed) {
    std::vector<double> v;
    std::mt19937_64 gen(seed);
    mpfr_t in, out;
    mpfr_init2(in, 64);
    mpfr_init2(out, 64);
    auto lg = [&](double x) {
        int sign;
        mpfr_set_d(in, x, MPFR_RNDN);
        mpfr_lgamma(out, &sign, in, MPFR_RNDN);
        return mpfr_get_d(out, MPFR_RNDN);
    };
    for (int n = 2; n <= 17; ++n) {
        double low = 0, low_x = -n - 0.5;
        for (int i = 1; i < 200; ++i)
            if (lg(-n - 1 + i / 200.0) < low) low = lg(low_x = -n - 1 + i / 200.0);
        for (double end : {double(-n - 1), double(-n)}) {
            double a = std::nextafter(end, low_x), b = low_x;  // lg(a) > 0 > lg(b)
            while (std::nextafter(a, b) != b) {
                const double m = 0.5 * (a + b);
                if (m == a || m == b) break;
                (lg(m) > 0 ? a : b) = m;
            }
            for (int k = -4; k <= 4; ++k) v.push_back(k < 0 ? a - k * (a - std::nextafter(a, end)) : b + k * (b - std::nextafter(b, end)));
            for (int i = 0; i < 60; ++i) {
                const double d = std::exp2(std::uniform_real_distribution<double>(-45, -4)(gen)) * (i % 2 ? 1 : -1);
                const double x = a + d / (1 + std::fabs(n / (a - end)));  // |log |Gamma|| ~ |d|
                if (x > -n - 1 && x < -n) v.push_back(x);
            }
        }
    }
    mpfr_clear(in);
    mpfr_clear(out);
    return v;
}

TEST(GammaDouble, WithinTheHighAccuracyClass) {
    const auto near_one = uniform_samples<double>(1 - 1e-3, 1 + 1e-3, 400, 81);
    const auto near_two = uniform_samples<double>(2 - 1e-3, 2 + 1e-3, 400, 82);
    const auto very_near = concat<double>({exponent_samples<double>(-50, -10, 200, 83), exponent_samples<double>(-50, -10, 200, 84)});
    std::vector<double> at_zeros;  // 1 + d and 2 + d for tiny d of either sign
    for (std::size_t i = 0; i < very_near.size(); ++i) at_zeros.push_back((i < 200 ? 1.0 : 2.0) + very_near[i]);
    // The half-integers and the neighbours of the region limits 1/2 and
    // 11.5 of the reflection's shared logarithm.
    std::vector<double> region_limits;
    for (double h = -0.5; h > -21; h -= 1.0) region_limits.push_back(h);
    for (double b : {-0.5, -11.5})
        for (double x = b, k = 0; k < 3; ++k) {
            x = std::nextafter(x, 0.0);
            region_limits.push_back(x);
            region_limits.push_back(2 * b - x);
        }
    const auto negative = concat<double>({negative_inputs(-60, 3000, 85), near_negative_zeros(93), region_limits});

    const auto lg = concat<double>({uniform_samples<double>(0, 30, 3000, 86), near_one, near_two, at_zeros,
                                    exponent_samples<double>(-1074, 1017, 1500, 87, false), negative,
                                    exponent_samples<double>(5, 52, 400, 88, false)});
    std::vector<double> lg_neg_large = uniform_samples<double>(-1e6, -60, 300, 89);
    expect_unary_classes<double>("dLGamma", qlm_vxm_kernel_dLGamma_ttab,
                                 concat<double>({lg, lg_neg_large}), mpfr_log_abs_gamma);

    const auto tg = concat<double>({uniform_samples<double>(0, 171.7, 3000, 90), near_one, near_two, at_zeros,
                                    exponent_samples<double>(-1074, 7.4, 1500, 91, false), negative,
                                    negative_inputs(-185, 1500, 92)});
    expect_unary_classes<double>("dTGamma", qlm_vxm_kernel_dTGamma_ttab, tg, mpfr_gamma);
}

TEST(GammaDouble, PolesOverflowAndUnderflow) {
    int32_t status;
    auto y = run<double>(_vxmdTGamma, {-3.0, 5.0, 0.5, 1.0, 24.0}, &status);
    EXPECT_TRUE(std::isnan(y[0]));
    EXPECT_EQ(y[1], 24.0);
    EXPECT_EQ(y[2], 0x1.c5bf891b4ef6bp+0);  // sqrt(pi)
    EXPECT_EQ(y[3], 1.0);
    EXPECT_EQ(y[4], 25852016738884976640000.0);  // 23!, exact in double
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<double>(_vxmdTGamma, {-0.0, 0x1p-1074}, &status);
    EXPECT_EQ(y[0], -INFINITY);
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_OVERFLOW);  // the last status raised
    y = run<double>(_vxmdTGamma, {171.7, 2.0}, &status);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(y[1], 1.0);
    EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
    y = run<double>(_vxmdTGamma, {171.6, -1e300}, &status);
    EXPECT_TRUE(std::isfinite(y[0]) && y[0] > 1e308);
    EXPECT_TRUE(std::isnan(y[1]));
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<double>(_vxmdTGamma, {-172.5, 3.0}, &status);
    EXPECT_TRUE(y[0] < 0 && -y[0] < DBL_MIN);  // Gamma is negative on (-173, -172)
    EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    y = run<double>(_vxmdTGamma, {-250.5, -251.5}, &status);
    EXPECT_EQ(y[0], 0.0);
    EXPECT_TRUE(std::signbit(y[0]));  // Gamma is negative on (-251, -250)
    EXPECT_FALSE(std::signbit(y[1]));
    EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    y = run<double>(_vxmdTGamma, {-INFINITY, INFINITY, NAN}, &status);
    EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[2]));
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_ERRDOM);
    run<double>(_vxmdTGamma, {NAN, 3.5}, &status);
    EXPECT_EQ(status, 0);

    y = run<double>(_vxmdLGamma_26, {1.0, 2.0, 0.0, -2.0, -0x1p60}, &status);
    EXPECT_EQ(y[0], 0.0);
    EXPECT_EQ(y[1], 0.0);
    for (int i = 2; i < 5; ++i) EXPECT_EQ(y[i], INFINITY);
    EXPECT_EQ(status, VXM_STATUS_SING);
    y = run<double>(_vxmdLGamma_50, {2.6e305, DBL_MAX, 2.5e305, 3.0}, &status);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_TRUE(std::isfinite(y[2]));
    EXPECT_EQ(y[3], 0x1.62e42fefa39efp-1);  // log 2
    EXPECT_EQ(status, VXM_STATUS_OVERFLOW);
    y = run<double>(_vxmdLGamma, {-INFINITY, INFINITY, NAN, -0.5}, &status);
    EXPECT_EQ(y[0], INFINITY);
    EXPECT_EQ(y[1], INFINITY);
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(status, 0);
}

}  // namespace
