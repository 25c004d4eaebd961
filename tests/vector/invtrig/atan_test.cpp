// Atan and Atan2 in both types: accuracy of every slot against MPFR over
// the whole range, and the special values.
#include <cmath>
#include <limits>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> atan_inputs(uint32_t seed) {
    return concat<T>({uniform_samples<T>(-1.2, 1.2, 6000, seed), exponent_samples<T>(-30, 60, 6000, seed + 1),
                      exponent_samples<T>(sizeof(T) == 8 ? -1074 : -149, 127, 6000, seed + 2)});
}

TEST(Atan, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dAtan", qlm_vxm_kernel_dAtan_ttab, atan_inputs<double>(11), mpfr_atan);
    expect_unary_classes<float>("sAtan", qlm_vxm_kernel_sAtan_ttab, atan_inputs<float>(12), mpfr_atan);
}

// The double routine (LA and HA) reduces by a node per 1/32 of a binade
// and rounds once at the end: inputs on both sides of every part edge from
// 2^-8 to 2^8, where the node and the row change, stay close to correct
// rounding.  Dropping the low half of atan(c), or a rounding of |x| - c,
// shows here as about an ulp.
TEST(Atan, DoubleNodeEdgesNearCorrectRounding) {
    std::vector<double> x;
    for (int e = -8; e <= 8; ++e)
        for (int m = 0; m < 32; ++m) {
            const double edge = std::ldexp(1.0 + m / 32.0, e);
            for (double d : {-3.0, -1.0, 0.0, 1.0, 3.0}) x.push_back(edge * (1 + d * 0x1p-52));
            x.push_back(-edge * (1 + 0x1p-7));
        }
    std::vector<double> y(x.size());
    _vxmdAtan_50(static_cast<int32_t>(x.size()), x.data(), y.data());
    const error_report r = measure_unary(x, y, mpfr_atan);
    std::printf("[accuracy] dAtan node edges: %s\n", r.describe().c_str());
    EXPECT_LE(r.max_ulp, 0.6) << r.describe();
}

// The float LA routine takes 1/|x| above 1 and one polynomial on [0, 1];
// its float pi/2 carries 0.37 ulp of its own, so 2 ulp is the whole
// budget, over every magnitude.
TEST(Atan, FloatLAWithinTwoUlp) {
    const auto x = atan_inputs<float>(13);
    std::vector<float> y(x.size());
    _vxmsAtan_21(static_cast<int32_t>(x.size()), x.data(), y.data());
    const error_report r = measure_unary(x, y, mpfr_atan);
    std::printf("[accuracy] sAtan LA: %s\n", r.describe().c_str());
    EXPECT_LE(r.max_ulp, 2.0) << r.describe();
}

TEST(Atan, SpecialValuesWithoutStatus) {
    const double inf = std::numeric_limits<double>::infinity();
    for (auto f : {_vxmdAtan, _vxmdAtan_50, _vxmdAtan_26}) {
        int32_t status;
        const auto y = run<double>(f, {inf, -inf, NAN, 0.0, -0.0, 0x1p-1074, 1e308}, &status);
        EXPECT_EQ(y[0], 0x1.921fb54442d18p+0);
        EXPECT_EQ(y[1], -0x1.921fb54442d18p+0);
        EXPECT_TRUE(std::isnan(y[2]));
        EXPECT_TRUE(y[3] == 0 && !std::signbit(y[3]));
        EXPECT_TRUE(y[4] == 0 && std::signbit(y[4]));
        EXPECT_EQ(y[5], 0x1p-1074);
        EXPECT_EQ(y[6], 0x1.921fb54442d18p+0);
        EXPECT_EQ(status, 0);
    }
    int32_t status;
    const auto y = run<float>(_vxmsAtan_11, {INFINITY, -0.0f, NAN}, &status);
    EXPECT_EQ(y[0], 0x1.921fb6p+0f);
    EXPECT_TRUE(y[1] == 0 && std::signbit(y[1]));
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(status, 0);
}

}  // namespace

namespace {

// Points in all four quadrants at every ratio of magnitudes, near the axes
// and the diagonals, and pairs whose ratio underflows.
template <typename T>
void atan2_inputs(std::vector<T>& a, std::vector<T>& b, uint32_t seed) {
    a = concat<T>({uniform_samples<T>(-2, 2, 5000, seed), exponent_samples<T>(-40, 40, 5000, seed + 1),
                   exponent_samples<T>(-60, 60, 2000, seed + 4)});
    b = concat<T>({uniform_samples<T>(-2, 2, 5000, seed + 2), exponent_samples<T>(-40, 40, 5000, seed + 3),
                   exponent_samples<T>(-60, 60, 2000, seed + 5)});
    for (int i = 0; i < 2000; ++i) {  // near the diagonals
        a.push_back(b[i] * T(1 + 1e-3 * (i % 7 - 3)));
        b.push_back(b[i]);
    }
}

TEST(Atan2, EverySlotWithinItsClass) {
    std::vector<double> a, b;
    atan2_inputs(a, b, 21);
    expect_binary_classes<double>("dAtan2", qlm_vxm_kernel_dAtan2_ttab, a, b, mpfr_atan2);
    std::vector<float> af, bf;
    atan2_inputs(af, bf, 22);
    expect_binary_classes<float>("sAtan2", qlm_vxm_kernel_sAtan2_ttab, af, bf, mpfr_atan2);
}

// The float LA routine's one polynomial on [0, 1] joined to 0, pi/2 or pi
// in every quadrant and at every ratio: within 2.5 ulp (the quotient's
// rounding, t Q's and the plain join each weigh up to half an ulp or more
// where the result is a small fraction of pi).
TEST(Atan2, FloatLAWithinTwoUlp) {
    std::vector<float> a, b;
    atan2_inputs(a, b, 23);
    std::vector<float> y(a.size());
    _vxmsAtan2_21(static_cast<int32_t>(a.size()), a.data(), b.data(), y.data());
    const error_report r = measure_binary(a, b, y, mpfr_atan2);
    std::printf("[accuracy] sAtan2 LA: %s\n", r.describe().c_str());
    EXPECT_LE(r.max_ulp, 2.5) << r.describe();
}

TEST(Atan2, ZerosInfinitiesAndUnderflow) {
    const double inf = INFINITY, pi = 0x1.921fb54442d18p+1;
    const std::vector<double> a = {0.0, -0.0, 0.0, -0.0, 1.0, -1.0, inf, -inf, inf, 2.0, -2.0, NAN, 1.0, 1e-300, 1.0};
    const std::vector<double> b = {1.0, 1.0, -1.0, -0.0, 0.0, -0.0, inf, -inf, 5.0, inf, -inf, 1.0, NAN, 1e300, 1.0};
    const std::vector<double> want = {0.0, -0.0, pi, -pi, pi / 2, -pi / 2, pi / 4, -3 * pi / 4, pi / 2, 0.0, -pi, NAN, NAN, 0.0, pi / 4};
    for (auto f : {_vxmdAtan2, _vxmdAtan2_50, _vxmdAtan2_26}) {
        std::vector<double> y(a.size());
        qlm_vxm_kernel_SetErrStatus(0);
        f(static_cast<int32_t>(a.size()), a.data(), b.data(), y.data());
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::isnan(want[i])) EXPECT_TRUE(std::isnan(y[i])) << i;
            else EXPECT_EQ(y[i], want[i]) << i;
            EXPECT_EQ(std::signbit(y[i]), std::signbit(want[i])) << i;
        }
        // Only 1e-300 over 1e300 underflows; the last, ordinary, lane keeps the status.
        EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_UNDERFLOW);
    }
    const float af[2] = {1e-30f, 1.0f}, bf[2] = {1e30f, 1.0f};
    float yf[2];
    qlm_vxm_kernel_SetErrStatus(0);
    _vxmsAtan2(2, af, bf, yf);
    EXPECT_EQ(yf[0], 0.0f);
    EXPECT_EQ(yf[1], 0x1.921fb6p-1f);
    EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_UNDERFLOW);
}

}  // namespace
