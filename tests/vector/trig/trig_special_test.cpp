// Special values, statuses and lane behaviour of the trigonometric family.
#include <gtest/gtest.h>

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/power/report_recorder.h"
#include "support/ulp.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan_d = std::numeric_limits<double>::quiet_NaN();

using namespace qlm::test;
using TrigSpecial = recording_reports;

uint64_t bits(double x) { return std::bit_cast<uint64_t>(x); }

double ulps(double computed, double x, int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    mpfr_t in, out;
    mpfr_inits2(256, in, out, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_d(in, x, MPFR_RNDN);
    f(out, in, MPFR_RNDN);
    const double e = qlm::test::ulp_error(computed, out);
    mpfr_clears(in, out, static_cast<mpfr_ptr>(nullptr));
    return e;
}

TEST_F(TrigSpecial, SignedZerosInfinitiesAndNaN) {
    const double a[4] = {0.0, -0.0, inf, nan_d};
    for (int s = 0; s < 3; ++s) {
        double y[4], c[4], t[4];
        reports.clear();
        qlm_vxm_kernel_dSin_ttab[s](4, a, y);
        EXPECT_EQ(bits(y[0]), bits(0.0));
        EXPECT_EQ(bits(y[1]), bits(-0.0)) << "slot " << s;
        EXPECT_TRUE(std::isnan(y[2]));
        EXPECT_TRUE(std::isnan(y[3]));
        ASSERT_EQ(reports.size(), 1u) << "slot " << s;  // infinity only; NaN is quiet
        EXPECT_EQ(reports[0].status, VXM_STATUS_ERRDOM);
        EXPECT_EQ(reports[0].index, 2);
        qlm_vxm_kernel_dCos_ttab[s](4, a, c);
        EXPECT_NEAR(c[0], 1.0, s == 2 ? 1e-8 : 2.3e-16);
        EXPECT_NEAR(c[1], 1.0, s == 2 ? 1e-8 : 2.3e-16);
        qlm_vxm_kernel_dTan_ttab[s](4, a, t);
        EXPECT_EQ(bits(t[1]), bits(-0.0));
        EXPECT_EQ(reports.size(), 3u);
    }
    const float f[2] = {-0.0f, std::numeric_limits<float>::infinity()};
    float fy[2];
    reports.clear();
    _vxmsSin(2, f, fy);
    EXPECT_EQ(std::bit_cast<uint32_t>(fy[0]), 0x80000000u);
    EXPECT_TRUE(std::isnan(fy[1]));
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].index, 1);
}

TEST_F(TrigSpecial, ScreenBoundaryAndHugeArguments) {
    // 90112 is the first value off the wide lane of HA; the group around it
    // is recomputed and every lane still meets HA accuracy.
    const double a[8] = {90112.0, std::nextafter(90112.0, 0.0), 1.0, -3.0,
                         1e300, 1e22, std::numeric_limits<double>::max(), 0x1p1023};
    for (int s = 0; s < 3; ++s) {
        double y[8], c[8];
        qlm_vxm_kernel_dSin_ttab[s](8, a, y);
        qlm_vxm_kernel_dCos_ttab[s](8, a, c);
        const double limit = s == 1 ? 1.0 : s == 0 ? 4.0 : 0x1p27;  // EP: 26 bits
        for (int i = 0; i < 8; ++i) {
            EXPECT_LE(ulps(y[i], a[i], mpfr_sin), limit) << "slot " << s << " sin " << a[i];
            EXPECT_LE(ulps(c[i], a[i], mpfr_cos), limit) << "slot " << s << " cos " << a[i];
        }
    }
    // A known answer: sin(1e22) = -0.8522008497671888...
    double y;
    const double x = 1e22;
    _vxmdSin(1, &x, &y);
    EXPECT_EQ(y, -0.8522008497671888);
}

TEST_F(TrigSpecial, EpRedoesOnlyTheLargeLane) {
    // 2^25 in a turn of eight: only its lane leaves the wide path; the other
    // seven keep their wide results, which match a run without it.
    double a[8] = {0.5, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5, 4.0};
    double base[8], mixed[8];
    _vxmdSin_26(8, a, base);
    a[5] = 0x1p25;
    _vxmdSin_26(8, a, mixed);
    for (int i = 0; i < 8; ++i) {
        if (i != 5) {
            EXPECT_EQ(bits(mixed[i]), bits(base[i])) << i;
        }
    }
    EXPECT_LE(ulps(mixed[5], 0x1p25, mpfr_sin), 1.0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(TrigSpecial, GroupRecomputeMatchesTheWideLanes) {
    // A NaN in the third lane of an HA group sends the group to the
    // per-element step; the other lanes run the same arithmetic on one lane.
    double a[4] = {0.25, 1.25, 0.5, 2.5}, wide[4], mixed[4];
    _vxmdSin(4, a, wide);
    a[2] = nan_d;
    _vxmdSin(4, a, mixed);
    EXPECT_EQ(bits(mixed[0]), bits(wide[0]));
    EXPECT_EQ(bits(mixed[1]), bits(wide[1]));
    EXPECT_EQ(bits(mixed[3]), bits(wide[3]));
    EXPECT_TRUE(std::isnan(mixed[2]));
}

TEST_F(TrigSpecial, SinCosAgreesWithSinAndCos) {
    std::vector<double> a(103);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = (static_cast<double>(i) - 50) * 0.37;
    a[7] = 1e200;
    for (int s = 0; s < 3; ++s) {
        std::vector<double> y(a.size()), z(a.size()), sy(a.size()), cz(a.size());
        qlm_vxm_kernel_dSinCos_ttab[s](static_cast<int32_t>(a.size()), a.data(), y.data(), z.data());
        qlm_vxm_kernel_dSin_ttab[s](static_cast<int32_t>(a.size()), a.data(), sy.data());
        qlm_vxm_kernel_dCos_ttab[s](static_cast<int32_t>(a.size()), a.data(), cz.data());
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_EQ(bits(y[i]), bits(sy[i])) << s << " " << a[i];
            EXPECT_EQ(bits(z[i]), bits(cz[i])) << s << " " << a[i];
        }
    }
}

}  // namespace

namespace {

using namespace qlm::test;

// The doubles nearest to a multiple of pi/2 below 2^24 (found by a search of
// every multiple in quadruple precision): 14461176.67027838 lies 1.7e-18 from
// one, 45.553... 6.2e-19.  There the result (sine, cosine or tangent near 0 or
// a pole) is the reduced value itself, so every rounded product of the
// reduction would show.
TEST(TrigHardCases, NearestToMultiplesOfHalfPi) {
    const double a[5] = {0x1.b951f1572eba5p+23, 0x1.6c6cbc45dc8dep+5, 0x1.6c6cbc45dc8dep+6,
                         0x1.6c6cbc45dc8dep+11, -0x1.b951f1572eba5p+23};
    for (int s : {0, 1}) {  // LA and HA
        double y[5], c[5], t[5];
        qlm_vxm_kernel_dSin_ttab[s](5, a, y);
        qlm_vxm_kernel_dCos_ttab[s](5, a, c);
        qlm_vxm_kernel_dTan_ttab[s](5, a, t);
        const double limit = s == 1 ? 1.0 : 4.0;
        for (int i = 0; i < 5; ++i) {
            EXPECT_LE(ulps(y[i], a[i], mpfr_sin), limit) << "slot " << s << " sin " << a[i];
            EXPECT_LE(ulps(c[i], a[i], mpfr_cos), limit) << "slot " << s << " cos " << a[i];
            EXPECT_LE(ulps(t[i], a[i], mpfr_tan), limit) << "slot " << s << " tan " << a[i];
        }
    }
}

}  // namespace

namespace {

using namespace qlm::test;
using TrigLaLanes = recording_reports;

// The LA lanes serve |x| below 2^16.  A group with one lane above that (and
// one infinity) redoes only those lanes: the others keep the results of a run
// without them, bit for bit, the large lane is reduced exactly, the infinity
// reports its own index.  Run in place too, where the redone lanes must work
// from their inputs, not from the results already stored over them.
TEST_F(TrigLaLanes, OnlyTheLanesAboveTheLimitAreRedone) {
    struct routine {
        void (*k)(int32_t, const double*, double*);
        int (*ref)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
        const char* name;
    };
    const routine list[] = {{_vxmdSin_50, mpfr_sin, "Sin"}, {_vxmdCos_50, mpfr_cos, "Cos"}, {_vxmdTan_50, mpfr_tan, "Tan"}};
    for (const routine& r : list) {
        double a[7] = {0.5, -1.25, 3.0, 1e4, -65535.5, 2.0, -0.75};
        double base[7], mixed[7], in_place[7];
        r.k(7, a, base);
        a[2] = 0x1p17 + 0.5;
        a[5] = inf;
        reports.clear();
        r.k(7, a, mixed);
        for (int i : {0, 1, 3, 4, 6}) EXPECT_EQ(bits(mixed[i]), bits(base[i])) << r.name << " lane " << i;
        EXPECT_LE(ulps(mixed[2], a[2], r.ref), 4.0) << r.name;  // the LA class; a wrong reduction is far off
        EXPECT_TRUE(std::isnan(mixed[5])) << r.name;
        ASSERT_EQ(reports.size(), 1u) << r.name;
        EXPECT_EQ(reports[0].index, 5);
        EXPECT_EQ(reports[0].status, VXM_STATUS_ERRDOM);
        std::copy(a, a + 7, in_place);
        r.k(7, in_place, in_place);
        for (int i = 0; i < 7; ++i) EXPECT_EQ(bits(in_place[i]), bits(mixed[i])) << r.name << " in place " << i;
    }
}

// The ragged end (three elements after the group) runs the same lanes: a
// large element there is redone, and a short vector of one element agrees
// with the same element inside a group.
TEST_F(TrigLaLanes, RaggedEndMatchesTheGroups) {
    const double a[7] = {0.1, 0.2, 0.3, 0.4, 7.5, -2.25, 1e10};
    double y[7], one;
    _vxmdSin_50(7, a, y);
    _vxmdSin_50(1, a + 1, &one);
    EXPECT_EQ(bits(one), bits(y[1]));
    EXPECT_LE(ulps(y[6], a[6], mpfr_sin), 1.0);
    EXPECT_LE(ulps(y[5], a[5], mpfr_sin), 4.0);
    EXPECT_TRUE(reports.empty());
}

}  // namespace
