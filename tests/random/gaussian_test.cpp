// Gaussian and lognormal generators: their laws (Kolmogorov-Smirnov on
// 10^6 variates at a fixed seed, mean and variance within four standard
// errors), method 1's pairs across calls, the ends of the uniforms' range,
// and the caller's mode and callback.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "qlm/qlm_vxs.h"

namespace {

struct stream_handle {
    explicit stream_handle(int32_t brng = VXS_BRNG_MCG59, uint32_t seed = 7777) {
        EXPECT_EQ(__vxsNewStreamEx(&p, brng, 1, &seed), 0);
    }
    ~stream_handle() { __vxsDeleteStream(&p); }
    void* p = nullptr;
};

double normal_cdf(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

// sqrt(n) times the Kolmogorov-Smirnov distance of the standardised sample
// from the normal law; above 1.95 the law is rejected at the 0.1 % level.
template <typename T>
double ks_scaled(std::vector<T> x, double a, double sigma) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    double d = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double f = normal_cdf((static_cast<double>(x[i]) - a) / sigma);
        d = std::max({d, f - i / n, (i + 1) / n - f});
    }
    return d * std::sqrt(n);
}

template <typename T>
void expect_normal(const std::vector<T>& x, double a, double sigma, const char* what) {
    const double n = static_cast<double>(x.size());
    double mean = 0, var = 0;
    for (T v : x) mean += v;
    mean /= n;
    for (T v : x) var += (v - mean) * (v - mean);
    var /= n - 1;
    EXPECT_LT(std::fabs(mean - a), 4 * sigma / std::sqrt(n)) << what;
    EXPECT_LT(std::fabs(var - sigma * sigma), 4 * sigma * sigma * std::sqrt(2 / n)) << what;
    EXPECT_LT(ks_scaled(x, a, sigma), 1.95) << what;
}

constexpr int kSample = 1000000;

TEST(GaussianLaw, EveryMethodAndPrecision) {
    for (int method : {VXS_RNG_METHOD_GAUSSIAN_BOXMULLER, VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2,
                       VXS_RNG_METHOD_GAUSSIAN_ICDF}) {
        stream_handle s;
        std::vector<double> d(kSample);
        ASSERT_EQ(_vxsdRngGaussian(method, s.p, kSample, d.data(), 1.5, 2.0), 0);
        expect_normal(d, 1.5, 2.0, ("double method " + std::to_string(method)).c_str());
        std::vector<float> f(kSample);
        ASSERT_EQ(_vxssRngGaussian(method, s.p, kSample, f.data(), -1.0f, 0.5f), 0);
        expect_normal(f, -1.0, 0.5, ("single method " + std::to_string(method)).c_str());
    }
}

TEST(GaussianLaw, LognormalIsTheExponentOfANormal) {
    stream_handle s;
    std::vector<double> d(kSample);
    ASSERT_EQ(_vxsdRngLognormal(0, s.p, kSample, d.data(), 0.2, 0.7, 3.0, 2.0), 0);
    for (double& v : d) {
        ASSERT_GT(v, 3.0);
        v = std::log((v - 3.0) / 2.0);
    }
    expect_normal(d, 0.2, 0.7, "double lognormal");
    std::vector<float> f(kSample);
    ASSERT_EQ(_vxssRngLognormal(2, s.p, kSample, f.data(), -0.5f, 0.3f, 0.0f, 1.0f), 0);
    std::vector<double> logs(f.begin(), f.end());
    for (double& v : logs) v = std::log(v);
    expect_normal(logs, -0.5, 0.3, "single lognormal");
}

// Unit variates of method 1 from one call, against the same stream drawn
// in pieces.  The cut changes which kernel lane serves an element, so
// values are compared to a few units in the last place.
TEST(GaussianPairs, CuttingTheCallsKeepsTheSequence) {
    const int total = 3001;
    stream_handle whole;
    std::vector<double> want(total);
    ASSERT_EQ(_vxsdRngGaussian(1, whole.p, total, want.data(), 0.0, 1.0), 0);
    for (const std::vector<int>& cuts : std::vector<std::vector<int>>{
             {1, 1, 2999}, {2, 1025, 1974}, {1025, 1, 1, 1974}, {7, 1024, 1970}, {1000, 2001}}) {
        stream_handle s;
        std::vector<double> got(total);
        int at = 0;
        for (int cut : cuts) {
            ASSERT_EQ(_vxsdRngGaussian(1, s.p, cut, got.data() + at, 0.0, 1.0), 0);
            at += cut;
        }
        for (int i = 0; i < total; ++i) ASSERT_NEAR(got[i], want[i], 1e-14 * (1 + std::fabs(want[i]))) << i;
    }
    stream_handle sw, sc;
    std::vector<float> fw(1027), fc(1027);
    _vxssRngGaussian(1, sw.p, 1027, fw.data(), 0.0f, 1.0f);
    _vxssRngGaussian(1, sc.p, 1, fc.data(), 0.0f, 1.0f);
    _vxssRngGaussian(1, sc.p, 1026, fc.data() + 1, 0.0f, 1.0f);
    for (int i = 0; i < 1027; ++i) ASSERT_NEAR(fc[i], fw[i], 4e-7f * (1 + std::fabs(fw[i]))) << i;
}

TEST(GaussianPairs, APendingHalfWaitsAcrossOtherMethodsAndCopies) {
    stream_handle a, b;
    double pair[2], x, other[8];
    ASSERT_EQ(_vxsdRngGaussian(1, b.p, 2, pair, 0.0, 1.0), 0);
    ASSERT_EQ(_vxsdRngGaussian(1, a.p, 1, &x, 0.0, 1.0), 0);
    EXPECT_NEAR(x, pair[0], 1e-14);
    _vxsdRngGaussian(0, a.p, 5, other, 0.0, 1.0);
    _vxsdRngGaussian(2, a.p, 3, other, 0.0, 1.0);
    void* copy = nullptr;
    ASSERT_EQ(__vxsCopyStream(&copy, a.p), 0);
    double y, z;
    _vxsdRngGaussian(1, a.p, 1, &y, 10.0, 2.0);  // other a and sigma apply to the half
    _vxsdRngGaussian(1, copy, 1, &z, 0.0, 1.0);
    EXPECT_NEAR(y, 10.0 + 2.0 * pair[1], 1e-13);
    EXPECT_NEAR(z, pair[1], 1e-14);
    __vxsDeleteStream(&copy);
}

TEST(GaussianPairs, OneVariateTwiceDrawsOnePair) {
    stream_handle g, u;
    double x[2], skip[2];
    _vxsdRngGaussian(1, g.p, 1, x, 0.0, 1.0);
    _vxsdRngGaussian(1, g.p, 1, x + 1, 0.0, 1.0);
    _vxsdRngUniform(0, u.p, 2, skip, 0.0, 1.0);
    double next_g, next_u;
    _vxsdRngUniform(0, g.p, 1, &next_g, 0.0, 1.0);
    _vxsdRngUniform(0, u.p, 1, &next_u, 0.0, 1.0);
    EXPECT_EQ(next_g, next_u) << "two unit variates took exactly two uniforms";
    // The pair (u1, u2) gives rho sin and rho cos of the same angle.
    const double rho = std::sqrt(-2 * std::log(skip[0])), angle = 2 * M_PI * skip[1];
    // Double runs on the EP kernels: 26 correct bits or more.
    EXPECT_NEAR(x[0], rho * std::sin(angle), 1e-7 * rho);
    EXPECT_NEAR(x[1], rho * std::cos(angle), 1e-7 * rho);
}

// A generator of our own whose uniforms are a fixed pattern, to reach the
// ends of the range; registered, it is used like a built-in one.
const double* pattern = nullptr;
int pattern_length = 1;
int32_t pattern_status = 0;

int32_t pattern_init(int32_t, void*, int32_t, const uint32_t*) { return 0; }
int32_t pattern_double(void*, int32_t n, double* r, double a, double b) {
    for (int i = 0; i < n; ++i) r[i] = a + (b - a) * pattern[i % pattern_length];
    return pattern_status;
}
int32_t pattern_single(void*, int32_t n, float* r, float a, float b) {
    for (int i = 0; i < n; ++i) r[i] = static_cast<float>(a + (b - a) * pattern[i % pattern_length]);
    return pattern_status;
}
int32_t pattern_integer(void*, int32_t, void*) { return pattern_status; }

int32_t pattern_generator() {
    static const int32_t number = [] {
        const vxs_brng_record record = {24, 1, 1, 4, 32, pattern_init, pattern_single, pattern_double, pattern_integer};
        return __vxsRegisterBrng(&record);
    }();
    return number;
}

TEST(GaussianEnds, ZeroUniformGivesTheLogOfTheLeastDenormal) {
    const double zero_quarter[2] = {0.0, 0.25};
    pattern = zero_quarter, pattern_length = 2, pattern_status = 0;
    stream_handle s(pattern_generator());
    double r[4];
    ASSERT_EQ(_vxsdRngGaussian(0, s.p, 4, r, 1.0, 1.0), 0);
    for (double v : r) EXPECT_NEAR(v, 1.0 + std::sqrt(2 * 744.4400719213812), 1e-6);
    float f[4];
    ASSERT_EQ(_vxssRngGaussian(0, s.p, 4, f, 0.0f, 1.0f), 0);
    for (float v : f) EXPECT_NEAR(v, std::sqrt(2 * 103.27893f), 1e-4f);
}

TEST(GaussianEnds, InverseMethodAtMinusOne) {
    const double zero[1] = {0.0};  // a uniform on [-1, 1) of exactly -1
    pattern = zero, pattern_length = 1, pattern_status = 0;
    stream_handle s(pattern_generator());
    double r[3];
    ASSERT_EQ(_vxsdRngGaussian(2, s.p, 3, r, 2.0, 3.0), 0);
    for (double v : r) EXPECT_DOUBLE_EQ(v, 2.0 + -0.7670519064056041 * (3.0 * 1.4142135623730951));
    float f[3];
    ASSERT_EQ(_vxssRngGaussian(2, s.p, 3, f, 0.0f, 1.0f), 0);
    for (float v : f) EXPECT_FLOAT_EQ(v, -1.0837466f * 1.4142135f);
}

TEST(GaussianEnds, ZeroSpreadGivesTheLocation) {
    stream_handle s;
    for (int method : {0, 1, 2}) {
        double r[9];
        ASSERT_EQ(_vxsdRngGaussian(method, s.p, 9, r, -4.25, 0.0), 0);
        for (double v : r) EXPECT_EQ(v, -4.25) << method;
    }
    double l[9];
    ASSERT_EQ(_vxsdRngLognormal(0, s.p, 9, l, 0.0, 1.0, 5.5, 0.0), 0);
    for (double v : l) EXPECT_EQ(v, 5.5);
}

int32_t callers_callback(qlm_vxm_error_record*) { return 1; }

TEST(GaussianState, CallersModeAndCallbackComeBackAlsoOnFailure) {
    qlm_vxm_kernel_SetErrorCallBack(callers_callback);
    qlm_vxm_kernel_SetMode(VXM_LA | VXM_ERRMODE_STDERR | VXM_ERRMODE_CALLBACK);
    const uint32_t mode = qlm_vxm_kernel_GetMode();
    stream_handle s;
    double r[100];
    float f[100];
    ASSERT_EQ(_vxsdRngGaussian(1, s.p, 100, r, 0.0, 1.0), 0);
    ASSERT_EQ(_vxssRngLognormal(0, s.p, 100, f, 0.0f, 1.0f, 0.0f, 1.0f), 0);
    EXPECT_EQ(qlm_vxm_kernel_GetMode(), mode);
    EXPECT_EQ(qlm_vxm_kernel_GetErrorCallBack(), &callers_callback);
    const double half[1] = {0.5};
    pattern = half, pattern_length = 1, pattern_status = -5;
    stream_handle failing(pattern_generator());
    for (int method : {0, 1, 2}) EXPECT_EQ(_vxsdRngGaussian(method, failing.p, 10, r, 0.0, 1.0), -5);
    EXPECT_EQ(qlm_vxm_kernel_GetMode(), mode);
    EXPECT_EQ(qlm_vxm_kernel_GetErrorCallBack(), &callers_callback);
    pattern_status = 0;
    qlm_vxm_kernel_SetErrorCallBack(nullptr);
    qlm_vxm_kernel_SetMode(VXM_HA | VXM_ERRMODE_DEFAULT);
}

}  // namespace
