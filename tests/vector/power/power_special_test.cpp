// Special values and statuses of the root and power family: what each
// element gets, which elements are reported and with which status, and that
// a reported element does not disturb its neighbours in the same group.
#include <gtest/gtest.h>

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
using PowerSpecial = recording_reports;

uint64_t bits(double x) { return std::bit_cast<uint64_t>(x); }

TEST_F(PowerSpecial, SqrtOfZerosNegativesAndDenormals) {
    const double a[5] = {-0.0, -1.0, 4.9406564584124654e-324, inf, -inf};
    double y[5];
    _vxmdSqrt(5, a, y);
    EXPECT_EQ(bits(y[0]), bits(-0.0));  // -0 is not negative
    EXPECT_EQ(bits(y[1]), 0xFFF8000000000000u);
    EXPECT_EQ(y[2], std::sqrt(4.9406564584124654e-324));  // exact to the scalar instruction
    EXPECT_EQ(y[3], inf);
    EXPECT_EQ(bits(y[4]), 0xFFF8000000000000u);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].status, VXM_STATUS_ERRDOM);
    EXPECT_EQ(reports[0].index, 1);
    EXPECT_EQ(reports[1].index, 4);
}

TEST_F(PowerSpecial, SqrtPairWithOneNegativeKeepsTheOther) {
    // Elements 2 and 3 form a pair; only element 3 is reported.
    const double a[4] = {9.0, 2.0, 0x1.5p3, -2.0};
    double y[4];
    _vxmdSqrt(4, a, y);
    EXPECT_EQ(y[2], std::sqrt(0x1.5p3));
    EXPECT_TRUE(std::isnan(y[3]));
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].index, 3);
    // Single, all slots.
    const float f[5] = {4.0f, -0.0f, -1.0f, 2.0f, 1e-45f};
    for (auto k : qlm_vxm_kernel_sSqrt_ttab) {
        float r[5];
        reports.clear();
        k(5, f, r);
        EXPECT_EQ(r[0], 2.0f);
        EXPECT_EQ(std::bit_cast<uint32_t>(r[1]), 0x80000000u);
        EXPECT_TRUE(std::isnan(r[2]));
        EXPECT_NEAR(r[3], std::sqrt(2.0f), 3e-7f);
        EXPECT_EQ(r[4], std::sqrt(1e-45f));
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].index, 2);
    }
}

TEST_F(PowerSpecial, InverseRootsOfZeroArePoles) {
    const double a[6] = {0.0, -0.0, 4.0, -8.0, inf, -1.0};
    for (auto k : qlm_vxm_kernel_dInvSqrt_ttab) {
        double y[6];
        reports.clear();
        k(6, a, y);
        EXPECT_EQ(y[0], inf);
        EXPECT_EQ(y[1], -inf);
        EXPECT_EQ(y[2], 0.5);
        EXPECT_TRUE(std::isnan(y[3]));
        EXPECT_EQ(y[4], 0.0);
        ASSERT_EQ(reports.size(), 4u);
        EXPECT_EQ(reports[0].status, VXM_STATUS_SING);
        EXPECT_EQ(reports[1].status, VXM_STATUS_SING);
        EXPECT_EQ(reports[2].status, VXM_STATUS_ERRDOM);
        EXPECT_EQ(reports[2].index, 3);
    }
    double y[6];
    reports.clear();
    _vxmdInvCbrt(6, a, y);
    EXPECT_EQ(y[0], inf);
    EXPECT_EQ(y[1], -inf);
    EXPECT_EQ(y[3], -0.5);  // odd: negative inputs are in the domain
    EXPECT_EQ(y[4], 0.0);
    EXPECT_EQ(y[5], -1.0);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[1].status, VXM_STATUS_SING);
}

TEST_F(PowerSpecial, FixedPowersKeepSignsAndDomains) {
    const double a[5] = {-27.0, -0.0, 8.0, -inf, 1e300};
    double y[5];
    _vxmdCbrt(5, a, y);
    EXPECT_EQ(y[0], -3.0);
    EXPECT_EQ(bits(y[1]), bits(-0.0));
    EXPECT_EQ(y[2], 2.0);
    EXPECT_EQ(y[3], -inf);
    _vxmdPow2o3(5, a, y);
    EXPECT_EQ(y[0], 9.0);  // even
    EXPECT_EQ(bits(y[1]), bits(0.0));
    EXPECT_EQ(y[3], inf);
    EXPECT_TRUE(reports.empty());
    _vxmdPow3o2(5, a, y);
    EXPECT_TRUE(std::isnan(y[0]));
    EXPECT_EQ(bits(y[1]), bits(0.0));
    EXPECT_EQ(y[2], std::sqrt(8.0) * 8.0);
    EXPECT_EQ(y[4], inf);
    ASSERT_EQ(reports.size(), 3u);  // -27 and -inf out of the domain, 1e300 overflows
    EXPECT_EQ(reports[0].status, VXM_STATUS_ERRDOM);
    EXPECT_EQ(reports[1].index, 3);
    EXPECT_EQ(reports[2].status, VXM_STATUS_OVERFLOW);
    EXPECT_EQ(reports[2].index, 4);
}

TEST_F(PowerSpecial, PowStatusesAndExactCases) {
    const double x[12] = {-8.0, -8.0, 0.0, -0.0, -0.0, 2.0, 10.0, nan_d, 1.0, 0.5, 1e300, -2.0};
    const double b[12] = {1.0 / 3, 3.0, -1.0, -3.0, 2.0, 1e10, -2.0, 0.0, nan_d, inf, 2.0, -1075.0};
    for (int s = 0; s < 3; ++s) {
        double y[12];
        reports.clear();
        qlm_vxm_kernel_dPow_ttab[s](12, x, b, y);
        EXPECT_EQ(bits(y[0]), 0xFFF8000000000000u);  // negative base, non-integer exponent
        // negative base, odd integer exponent; exact in the pair core (LA, HA)
        EXPECT_NEAR(y[1], -512.0, s == 2 ? 1e-9 : 0.0);
        EXPECT_EQ(y[2], inf);
        EXPECT_EQ(y[3], -inf);
        EXPECT_EQ(bits(y[4]), bits(0.0));
        EXPECT_EQ(y[5], inf);
        EXPECT_NEAR(y[6], 0.01, s == 2 ? 1e-15 : 0.0);
        EXPECT_EQ(y[7], 1.0);
        EXPECT_EQ(y[8], 1.0);
        EXPECT_EQ(y[9], 0.0);
        EXPECT_EQ(y[10], inf);
        EXPECT_EQ(bits(y[11]), bits(-0.0));  // underflows quietly, sign of the odd power
        ASSERT_EQ(reports.size(), 5u) << "slot " << s;
        EXPECT_EQ(reports[0].status, VXM_STATUS_ERRDOM);
        EXPECT_EQ(reports[1].status, VXM_STATUS_SING);
        EXPECT_EQ(reports[2].status, VXM_STATUS_SING);
        EXPECT_EQ(reports[2].index, 3);
        EXPECT_EQ(reports[3].status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(reports[3].index, 5);
        EXPECT_EQ(reports[4].index, 10);
    }
    // Single: overflow is judged in the single range.
    const float fx[4] = {2.0f, -2.0f, 3.0f, -1.0f};
    const float fb[4] = {200.0f, 0.5f, 2.0f, 0.5f};
    float fy[4];
    reports.clear();
    _vxmsPow(4, fx, fb, fy);
    EXPECT_EQ(fy[0], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(fy[1]));
    EXPECT_EQ(fy[2], 9.0f);
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].status, VXM_STATUS_OVERFLOW);
    EXPECT_EQ(reports[1].status, VXM_STATUS_ERRDOM);
}

TEST_F(PowerSpecial, PowxReportsTheElementAndKeepsTheGroup) {
    const double x[8] = {4.0, 9.0, -16.0, 25.0, 0.0, 36.0, 49.0, 64.0};
    double y[8];
    _vxmdPowx(8, x, 0.5, y);
    EXPECT_EQ(y[0], 2.0);
    EXPECT_EQ(y[1], 3.0);
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(y[3], 5.0);
    EXPECT_EQ(y[4], 0.0);
    EXPECT_EQ(y[7], 8.0);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].index, 2);
}

TEST_F(PowerSpecial, HypotInfinitiesAndOverflow) {
    const double a[5] = {inf, nan_d, 1.5e308, 3.0, 0.0};
    const double b[5] = {nan_d, -inf, 1.5e308, -4.0, -0.0};
    for (auto k : qlm_vxm_kernel_dHypot_ttab) {
        double y[5];
        reports.clear();
        k(5, a, b, y);
        EXPECT_EQ(y[0], inf);
        EXPECT_EQ(y[1], inf);
        EXPECT_EQ(y[2], inf);
        EXPECT_EQ(y[3], 5.0);
        EXPECT_EQ(bits(y[4]), bits(0.0));
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].status, VXM_STATUS_OVERFLOW);
        EXPECT_EQ(reports[0].index, 2);
    }
    const float fa[2] = {3e38f, 3.0f}, fb[2] = {3e38f, 4.0f};
    float fy[2];
    reports.clear();
    _vxmsHypot(2, fa, fb, fy);
    EXPECT_EQ(fy[0], std::numeric_limits<float>::infinity());
    EXPECT_EQ(fy[1], 5.0f);
    ASSERT_EQ(reports.size(), 1u);
}

}  // namespace

namespace {

// A count of zero or less returns at once: nothing is written, no status.
template <typename T, typename Table>
void expect_no_work(const Table& table, const char* what) {
    const T a[2] = {T(-1), T(0)};
    for (int s = 0; s < 3; ++s)
        for (int32_t n : {0, -1}) {
            T y[2] = {T(7), T(7)};
            qlm_vxm_kernel_ClearErrStatus();
            table[s](n, a, y);
            EXPECT_EQ(y[0], T(7)) << what << " slot " << s << " n " << n;
            EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), 0) << what;
        }
}

TEST(PowerAndTrigCounts, ZeroOrNegativeCountDoesNothing) {
    expect_no_work<double>(qlm_vxm_kernel_dSqrt_ttab, "dSqrt");
    expect_no_work<float>(qlm_vxm_kernel_sSqrt_ttab, "sSqrt");
    expect_no_work<double>(qlm_vxm_kernel_dInvSqrt_ttab, "dInvSqrt");
    expect_no_work<float>(qlm_vxm_kernel_sInvCbrt_ttab, "sInvCbrt");
    expect_no_work<double>(qlm_vxm_kernel_dInvCbrt_ttab, "dInvCbrt");
    expect_no_work<double>(qlm_vxm_kernel_dPow3o2_ttab, "dPow3o2");
    expect_no_work<double>(qlm_vxm_kernel_dSin_ttab, "dSin");
    expect_no_work<double>(qlm_vxm_kernel_dTan_ttab, "dTan");
    expect_no_work<float>(qlm_vxm_kernel_sTan_ttab, "sTan");
    for (int s = 0; s < 3; ++s) {
        const double a[1] = {0.0}, b[1] = {-1.0};
        double y[1] = {7};
        qlm_vxm_kernel_dPow_ttab[s](-1, a, b, y);
        qlm_vxm_kernel_dHypot_ttab[s](0, a, b, y);
        qlm_vxm_kernel_dPowx_ttab[s](-1, a, -1.0, y);
        EXPECT_EQ(y[0], 7.0);
    }
}

}  // namespace

namespace {

using CbrtLaLanes = qlm::test::recording_reports;

// The LA cube root (double LA/EP routine, single LA): zeros keep their sign,
// infinities and NaN pass through, denormals leave the fast lane for the
// per-element step and are still correct, and the other lanes of their group
// keep the results of a group without them, bit for bit.
template <typename T>
void check_cbrt_la(void (*k)(int32_t, const T*, T*)) {
    constexpr T tiny = std::numeric_limits<T>::denorm_min() * 5;
    const T inf_t = std::numeric_limits<T>::infinity();
    T a[8] = {T(1.5), T(-2.5), T(4), T(3.5), T(-27), T(0.125), T(1e30), T(-7e-30)};
    T base[8], y[8];
    k(8, a, base);
    a[2] = tiny;
    k(8, a, y);
    for (int i : {0, 1, 3}) EXPECT_EQ(y[i], base[i]) << i;
    mpfr_t in, out;
    mpfr_inits2(256, in, out, static_cast<mpfr_ptr>(nullptr));
    for (int i = 0; i < 8; ++i) {
        mpfr_set_d(in, static_cast<double>(a[i]), MPFR_RNDN);
        mpfr_cbrt(out, in, MPFR_RNDN);
        EXPECT_LE(qlm::test::ulp_error(y[i], out), 1.0) << "element " << i << " " << a[i];
    }
    mpfr_clears(in, out, static_cast<mpfr_ptr>(nullptr));
    const T s[5] = {T(0), -T(0), inf_t, -inf_t, std::numeric_limits<T>::quiet_NaN()};
    T r[5];
    k(5, s, r);
    EXPECT_TRUE(r[0] == 0 && !std::signbit(r[0]));
    EXPECT_TRUE(r[1] == 0 && std::signbit(r[1]));
    EXPECT_EQ(r[2], inf_t);
    EXPECT_EQ(r[3], -inf_t);
    EXPECT_TRUE(std::isnan(r[4]));
    EXPECT_TRUE(reports.empty());
}

TEST_F(CbrtLaLanes, DoubleSpecialsAndOneSlowLane) { check_cbrt_la<double>(_vxmdCbrt_50); }
TEST_F(CbrtLaLanes, SingleSpecialsAndOneSlowLane) { check_cbrt_la<float>(_vxmsCbrt_21); }

}  // namespace

namespace {

using PowLaGroups = qlm::test::recording_reports;

// The double LA cube root and Pow screen a group of four on its high words
// at once; a lane that leaves the fast path, at any position, sends the
// group through the element path, and the ragged end runs element by
// element.  Either way each result must equal the one-element call on the
// same input bit for bit, since both paths run one arithmetic.
TEST_F(PowLaGroups, SlowLaneAtEachPositionAndRaggedEnds) {
    const double xs[8] = {1.5, -2.5, 4.0, 3.5, 0.3, 7.25, 1e30, -7e-30};
    const double ps[8] = {0.3, 2.0, 2.5, -1.25, 3.0, 0.5, 9.5, -4.0};
    for (int slow = -1; slow < 4; ++slow) {
        double a[8], b[8], yc[8], yp[8];
        for (int i = 0; i < 8; ++i) a[i] = std::fabs(xs[i]) < 1e20 ? std::fabs(xs[i]) : 2.0;
        std::copy(ps, ps + 8, b);
        std::copy(xs, xs + 8, yc);
        if (slow >= 0) {
            yc[slow] = 1e-310;  // a denormal: off the cube root's fast lane
            a[slow] = -2.0;     // a negative base: off Pow's fast lane
            b[slow] = 3.0;
        }
        for (int n = 1; n <= 8; ++n) {
            double c[8], p[8];
            _vxmdCbrt_50(n, yc, c);
            _vxmdPow_50(n, a, b, p);
            for (int i = 0; i < n; ++i) {
                double c1, p1;
                _vxmdCbrt_50(1, yc + i, &c1);
                _vxmdPow_50(1, a + i, b + i, &p1);
                EXPECT_EQ(bits(c[i]), bits(c1)) << "cbrt slow " << slow << " n " << n << " i " << i;
                EXPECT_EQ(bits(p[i]), bits(p1)) << "pow slow " << slow << " n " << n << " i " << i;
            }
            if (n == 8) {
                std::copy(c, c + 8, yp);
                if (slow >= 0) {
                    EXPECT_EQ(p[slow], -8.0);
                    EXPECT_NEAR(c[slow], std::cbrt(1e-310), 1e-118);
                }
            }
        }
        for (int i = 0; i < 8; ++i)  // the other lanes are true cube roots (within 1.25 ulp)
            if (i != slow) {
                EXPECT_NEAR(yp[i], std::cbrt(xs[i]), 3e-16 * std::fabs(yp[i])) << i;
            }
    }
    // A lane whose |y log x| reaches the exponent limit (overflow) also
    // sends its group to the element path: the status is the lane's alone.
    reports.clear();
    const double a[4] = {10.0, 2.0, 3.0, 0.5}, b[4] = {400.0, 0.5, 2.0, -2.0};
    double y[4];
    _vxmdPow_50(4, a, b, y);
    EXPECT_EQ(y[0], inf);
    EXPECT_EQ(y[2], 9.0);
    EXPECT_EQ(y[3], 4.0);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].status, VXM_STATUS_OVERFLOW);
    EXPECT_EQ(reports[0].index, 0);
}

}  // namespace
