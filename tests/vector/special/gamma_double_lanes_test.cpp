// Double LGamma and TGamma on their SSE2 lanes: a group with one lane
// handed to the per-element routine keeps the lanes' results in its other
// lanes, ragged ends give the results of whole groups, and the limits of
// the lanes (the screen, the rows' half-integer edges, the shift at 1.5
// and 2.5, LGamma's hand-back below 1/8) stay in the HA class.
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

int mpfr_log_abs_gamma(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    int sign;
    return mpfr_lgamma(r, &sign, x, rnd);
}

bool same(double a, double b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

// Every lane of a group of four in turn holds an input the lanes do not
// finish: NaN, a pole, beyond the screen (60.5), below it (2^-30), and
// -2.5, where |log |Gamma|| = 0.056 is handed back.  The other three lanes
// must keep exactly the results of the clean group, and the odd lane must
// get its own result alone, with its status.
TEST(GammaDoubleLanes, OneLaneOnTheSlowPathLeavesTheOthers) {
    const std::vector<double> clean = {3.7, -4.2, 0.3, 17.25};
    struct intruder {
        double x;
        int32_t status;
    };
    const intruder intruders[] = {{NAN, 0}, {-3.0, VXM_STATUS_SING}, {70.0, 0}, {1e-12, 0}, {-2.5, 0}};
    for (auto kernel : {_vxmdLGamma, _vxmdTGamma}) {
        int32_t status = 0;
        const auto base = run<double>(kernel, clean, &status);
        EXPECT_EQ(status, 0);
        for (const intruder& in : intruders) {
            const auto alone = run<double>(kernel, {in.x}, &status);
            for (int p = 0; p < 4; ++p) {
                auto x = clean;
                x[p] = in.x;
                const auto y = run<double>(kernel, x, &status);
                EXPECT_EQ(status, in.status) << "lane " << p << " holding " << in.x;
                for (int k = 0; k < 4; ++k)
                    EXPECT_TRUE(same(y[k], k == p ? alone[0] : base[k]))
                        << "lane " << k << " with " << in.x << " in lane " << p << ": " << y[k];
            }
        }
    }
}

// n = 1..9: the elements after the last whole group go one by one, and
// must match what the same inputs give in whole groups.
TEST(GammaDoubleLanes, RaggedEndsMatchWholeGroups) {
    const std::vector<double> x = {0.7, -12.3, 2.5, 29.9, -0.4, 1.5, -29.6, 8.5, 5.0};
    for (auto kernel : {_vxmdLGamma, _vxmdTGamma}) {
        std::vector<double> grouped(x.size());
        for (std::size_t i = 0; i < x.size(); i += 4) {  // every element in a whole group of its own
            std::vector<double> g(4, x[i]);
            for (std::size_t k = 0; k < 4 && i + k < x.size(); ++k) g[k] = x[i + k];
            const auto y = run<double>(kernel, g);
            for (std::size_t k = 0; k < 4 && i + k < x.size(); ++k) grouped[i + k] = y[k];
        }
        for (std::size_t n = 1; n <= x.size(); ++n) {
            const auto y = run<double>(kernel, std::vector<double>(x.begin(), x.begin() + n));
            for (std::size_t i = 0; i < n; ++i) EXPECT_EQ(y[i], grouped[i]) << "n = " << n << ", element " << i;
        }
    }
}

TEST(GammaDoubleLanes, AccuracyAtTheLaneLimits) {
    std::vector<double> edges;
    auto around = [&edges](double b) {
        double up = b, down = b;
        edges.push_back(b);
        for (int k = 0; k < 3; ++k) {
            edges.push_back(up = std::nextafter(up, INFINITY));
            edges.push_back(down = std::nextafter(down, -INFINITY));
        }
    };
    for (int m = 0; m <= 61; ++m) {  // the rows' edges m + 1/2, both signs
        around(m + 0.5);
        around(-(m + 0.5));
    }
    around(0x1p-30);
    around(-0x1p-30);
    // |log |Gamma|| stays below 1/8 over much of (-3, -2) (its least value
    // is -0.121 near -2.61): the lanes hand back inside that band and finish
    // outside it.
    const auto handback = uniform_samples<double>(-2.99, -2.01, 2000, 301);
    // Groups mixing every region and both signs.
    const auto mixed = uniform_samples<double>(-62, 62, 6000, 302);
    const auto x = concat<double>({edges, handback, mixed});
    expect_unary_classes<double>("dLGamma", qlm_vxm_kernel_dLGamma_ttab, x, mpfr_log_abs_gamma);
    expect_unary_classes<double>("dTGamma", qlm_vxm_kernel_dTGamma_ttab, x, mpfr_gamma);
}

}  // namespace
