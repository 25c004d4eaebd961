// The float lanes of single Sin, Cos, SinCos and Tan LA: the hard cases of
// the reduction up to the screen's bound (6144), the screen's edge, a group
// with one lane off the screen, and ragged ends; the double lanes of Sin and
// Cos HA on the hard cases up to their bound (2^16), and their groups.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/power/accuracy_support.h"
#include "vector/power/report_recorder.h"

namespace {

using namespace qlm::test;
using SingleLaLanes = recording_reports;

constexpr float kBound = 6144.0f;

using unary_kernel = void (*)(int32_t, const float*, float*);

// sin, cos (both through SinCos too) and tan in the LA slot, with their oracle.
struct function {
    const char* name;
    unary_kernel kernel;
    mpfr_unary oracle;
    int slot = LA;  // the accuracy class checked
};
void sincos_sin(int32_t n, const float* a, float* y) {
    std::vector<float> z(static_cast<std::size_t>(n));
    qlm_vxm_kernel_sSinCos_ttab[LA](n, a, y, z.data());
}
void sincos_cos(int32_t n, const float* a, float* z) {
    std::vector<float> y(static_cast<std::size_t>(n));
    qlm_vxm_kernel_sSinCos_ttab[LA](n, a, y.data(), z);
}
const function kFunctions[] = {
    {"sSin HA", qlm_vxm_kernel_sSin_ttab[HA], mpfr_sin, HA},
    {"sCos HA", qlm_vxm_kernel_sCos_ttab[HA], mpfr_cos, HA},
    {"sSin LA", qlm_vxm_kernel_sSin_ttab[LA], mpfr_sin},
    {"sCos LA", qlm_vxm_kernel_sCos_ttab[LA], mpfr_cos},
    {"sSinCos LA sin", sincos_sin, mpfr_sin},
    {"sSinCos LA cos", sincos_cos, mpfr_cos},
    {"sTan LA", qlm_vxm_kernel_sTan_ttab[LA], mpfr_tan},
};

double ulps(float computed, float x, mpfr_unary f) {
    mpfr_t in, out;
    mpfr_inits2(kOraclePrecision, in, out, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_flt(in, x, MPFR_RNDN);
    f(out, in, MPFR_RNDN);
    const double e = ulp_error(computed, out);
    mpfr_clears(in, out, static_cast<mpfr_ptr>(nullptr));
    return e;
}

std::vector<float> run(unary_kernel k, const std::vector<float>& x) {
    std::vector<float> y(x.size());
    k(static_cast<int32_t>(x.size()), x.data(), y.data());
    return y;
}

// The floats nearest to every multiple of pi/2 below the bound, and their
// neighbours: there the reduced argument is tiny (down to 2^-26.8) and
// carries the whole result of the sine or tangent (of the cosine at the odd
// multiples), so the pieces of pi must hold it to its last bits.
TEST(SingleLaLanesAccuracy, NearestToMultiplesOfHalfPiUpToTheBound) {
    std::vector<float> x;
    for (int k = 1; k * 1.5707963267948966 < kBound; ++k) {
        const float m = static_cast<float>(k * 1.5707963267948966);
        for (float v : {m, std::nextafter(m, 0.0f), std::nextafter(m, kBound)}) {
            x.push_back(v);
            x.push_back(-v);
        }
    }
    append(x, uniform<float>(20000, -kBound, kBound, 31));
    append(x, log_uniform<float>(5000, -30, 12.5, true, 32));
    for (const function& f : kFunctions) {
        const std::vector<float> y = run(f.kernel, x);
        expect_class(measure_unary(x, y, f.oracle), f.slot, f.name, x);
    }
}

// Sin and Cos HA run double lanes below 2^16: the same hard cases up to that
// bound, and the edge, within 1 ulp.
TEST(SingleHaLanesAccuracy, NearestToMultiplesOfHalfPiUpTo2To16) {
    std::vector<float> x;
    for (int k = 1; k * 1.5707963267948966 < 65536.0; ++k) {
        const float m = static_cast<float>(k * 1.5707963267948966);
        x.push_back(k % 2 ? m : -m);
        x.push_back(std::nextafter(m, 0.0f));
        x.push_back(std::nextafter(m, 1e6f));
    }
    append(x, uniform<float>(10000, -65536, 65536, 35));
    const float edge[] = {65536.0f, std::nextafter(65536.0f, 0.0f), -65536.0f, 1e6f, -0.0f, 0x1p-149f};
    x.insert(x.end(), std::begin(edge), std::end(edge));
    const std::pair<const char*, mpfr_unary> fns[] = {{"sSin HA", mpfr_sin}, {"sCos HA", mpfr_cos}};
    for (int f = 0; f < 2; ++f) {
        std::vector<float> y(x.size());
        (f == 0 ? qlm_vxm_kernel_sSin_ttab : qlm_vxm_kernel_sCos_ttab)[HA](static_cast<int32_t>(x.size()), x.data(),
                                                                              y.data());
        expect_class(measure_unary(x, y, fns[f].second), HA, fns[f].first, x);
    }
}

// The screen's edge: 6144 and above leave the float lanes for the exact
// per-element step, which still meets LA; below it the lanes hold.
TEST(SingleLaLanesAccuracy, ScreenEdgeAndBeyond) {
    std::vector<float> x = {kBound, std::nextafter(kBound, 0.0f), -kBound, std::nextafter(-kBound, 0.0f),
                            1e5f, 1e10f, 3.0e38f, -1.0e30f, 0x1p-126f, 0x1p-149f, 1e-20f, 0.75f};
    for (const function& f : kFunctions) {
        const std::vector<float> y = run(f.kernel, x);
        expect_class(measure_unary(x, y, f.oracle), f.slot, std::string(f.name) + " edge", x);
    }
}

// The signs of zero: sin (LA and HA) and tan keep it, cos gives 1.
TEST(SingleLaLanesAccuracy, SignedZeros) {
    std::vector<float> x(9, -0.0f);
    x[4] = 0.0f;
    const std::vector<float> s = run(qlm_vxm_kernel_sSin_ttab[LA], x);
    const std::vector<float> t = run(qlm_vxm_kernel_sTan_ttab[LA], x);
    const std::vector<float> c = run(qlm_vxm_kernel_sCos_ttab[LA], x);
    const std::vector<float> s_ha = run(qlm_vxm_kernel_sSin_ttab[HA], x);
    const std::vector<float> c_ha = run(qlm_vxm_kernel_sCos_ttab[HA], x);
    for (std::size_t i = 0; i < x.size(); ++i) {
        EXPECT_EQ(std::bit_cast<uint32_t>(s[i]), std::bit_cast<uint32_t>(x[i])) << i;
        EXPECT_EQ(std::bit_cast<uint32_t>(s_ha[i]), std::bit_cast<uint32_t>(x[i])) << i;
        EXPECT_EQ(c_ha[i], 1.0f) << i;
        EXPECT_EQ(std::bit_cast<uint32_t>(t[i]), std::bit_cast<uint32_t>(x[i])) << i;
        EXPECT_EQ(c[i], 1.0f) << i;
    }
}

// A group of eight with one lane off the screen is recomputed element by
// element: the other lanes give exactly what they give alone (one element
// runs the same float arithmetic), the off-screen lane goes through the
// per-element step, and only an infinity reports.
TEST_F(SingleLaLanes, GroupWithOneLaneOffTheScreen) {
    const float ordinary[8] = {0.5f, -1.25f, 3.0f, 100.0f, -7.5f, 2.0f, 6143.0f, -0.001f};
    for (const float odd : {1e6f, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
        for (int lane = 0; lane < 8; ++lane) {
            std::vector<float> x(ordinary, ordinary + 8);
            x[lane] = odd;
            for (const function& f : kFunctions) {
                reports.clear();
                const std::vector<float> y = run(f.kernel, x);
                for (int i = 0; i < 8; ++i) {
                    float alone;
                    f.kernel(1, &x[i], &alone);
                    if (std::isnan(alone)) EXPECT_TRUE(std::isnan(y[i])) << f.name << " lane " << i;
                    else EXPECT_EQ(std::bit_cast<uint32_t>(y[i]), std::bit_cast<uint32_t>(alone)) << f.name << " lane " << i;
                }
                if (std::isfinite(odd)) { EXPECT_LE(ulps(y[lane], odd, f.oracle), f.slot == HA ? 1.0 : 4.0) << f.name; }
                const std::size_t expected = std::isinf(odd) ? 2u : 0u;  // the whole call and the lone one
                EXPECT_EQ(reports.size(), expected) << f.name << " lane " << lane;
                for (const report& r : reports) EXPECT_EQ(r.status, VXM_STATUS_ERRDOM);
            }
        }
    }
}

// Ragged ends n = 1..9 (and 17): every element equals the result of the same
// input inside a full group, and nothing past n is written.
TEST(SingleLaLanesAccuracy, RaggedEndsMatchTheGroups) {
    const std::vector<float> x = uniform<float>(24, -20, 20, 33);
    for (const function& f : kFunctions) {
        const std::vector<float> full = run(f.kernel, x);
        for (int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 17}) {
            std::vector<float> y(x.size(), 1234.5f);
            f.kernel(n, x.data(), y.data());
            for (int i = 0; i < n; ++i)
                EXPECT_EQ(std::bit_cast<uint32_t>(y[i]), std::bit_cast<uint32_t>(full[i])) << f.name << " n " << n;
            for (std::size_t i = static_cast<std::size_t>(n); i < y.size(); ++i) EXPECT_EQ(y[i], 1234.5f);
        }
    }
}

// In place: y may be the input vector, for SinCos either output.
TEST(SingleLaLanesAccuracy, InPlace) {
    std::vector<float> x = uniform<float>(19, -kBound, kBound, 34);
    x[5] = 1e7f;
    const std::vector<float> sin_ref = run(qlm_vxm_kernel_sSin_ttab[LA], x);
    std::vector<float> cos_ref(x.size()), tmp(x.size());
    qlm_vxm_kernel_sSinCos_ttab[LA](static_cast<int32_t>(x.size()), x.data(), tmp.data(), cos_ref.data());
    std::vector<float> y = x;
    qlm_vxm_kernel_sSin_ttab[LA](static_cast<int32_t>(y.size()), y.data(), y.data());
    EXPECT_EQ(y, sin_ref);
    std::vector<float> z = x, w(x.size());
    qlm_vxm_kernel_sSinCos_ttab[LA](static_cast<int32_t>(z.size()), z.data(), w.data(), z.data());
    EXPECT_EQ(w, sin_ref);
    EXPECT_EQ(z, cos_ref);
}

}  // namespace
