// Div, Inv and LinearFrac: accuracy of each slot against MPFR, the shared
// division's screens and group take-apart, VXM_STATUS_SING for exactly the
// singular elements, and the three LinearFrac paths.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/fpu.h"
#include "support/ulp.h"
#include "vector/vector_test_support.h"

namespace {

using qlm::test::measure_binary;
using qlm::test::measure_unary;
using qlm::test::spread_values;
using qlm::test::status_recorder;

int mpfr_inv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_ui_div(r, 1, x, rnd); }

constexpr std::size_t kSamples = 100000;

template <typename T, typename K>
qlm::test::error_report div_report(K kernel, const std::vector<T>& a, const std::vector<T>& b) {
    std::vector<T> y(a.size());
    kernel(static_cast<int32_t>(a.size()), a.data(), b.data(), y.data());
    return measure_binary(a, b, y, mpfr_div);
}

template <typename T, typename K>
qlm::test::error_report inv_report(K kernel, const std::vector<T>& a) {
    std::vector<T> y(a.size());
    kernel(static_cast<int32_t>(a.size()), a.data(), y.data());
    return measure_unary(a, y, mpfr_inv);
}

// Double: most groups inside the screens, and a wide spread whose products
// leave the single range (and the reciprocal screen) so that many groups
// are taken apart.  Quotients stay normal: relative error means little
// among denormals.
TEST(DivisionAccuracy, DoubleSlots) {
    for (auto [lo, hi] : {std::pair{-60, 60}, std::pair{-500, 500}}) {
        const auto a = spread_values<double>(kSamples, 21, lo, hi), b = spread_values<double>(kSamples, 22, lo, hi);
        const auto ha = div_report<double>(_vxmdDiv_HA, a, b);
        const auto la = div_report<double>(_vxmdDiv_50, a, b);
        const auto ep = div_report<double>(_vxmdDiv_26, a, b);
        std::printf("dDiv exponents [%d,%d]: HA %s\n  LA %s\n  EP %s\n", lo, hi, ha.describe().c_str(),
                    la.describe().c_str(), ep.describe().c_str());
        EXPECT_LE(ha.max_ulp, 0.5) << ha.describe();
        EXPECT_LE(la.max_ulp, 4.0) << la.describe();
        EXPECT_GE(ep.min_bits, 26.0) << ep.describe();

        const auto& x = b;
        const auto iha = inv_report<double>(_vxmdInv, x);
        const auto ila = inv_report<double>(_vxmdInv_50, x);
        const auto iep = inv_report<double>(_vxmdInv_26, x);
        std::printf("dInv exponents [%d,%d]: HA %s\n  LA %s\n  EP %s\n", lo, hi, iha.describe().c_str(),
                    ila.describe().c_str(), iep.describe().c_str());
        EXPECT_LE(iha.max_ulp, 0.5) << iha.describe();
        EXPECT_LE(ila.max_ulp, 4.0) << ila.describe();
        EXPECT_GE(iep.min_bits, 26.0) << iep.describe();
    }
}

TEST(DivisionAccuracy, SingleSlots) {
    const auto a = spread_values<float>(kSamples, 24, -60, 60), b = spread_values<float>(kSamples, 25, -60, 60);
    const auto ha = div_report<float>(_vxmsDiv, a, b);
    const auto la = div_report<float>(_vxmsDiv_21, a, b);
    const auto ep = div_report<float>(_vxmsDiv_11, a, b);
    const auto iha = inv_report<float>(_vxmsInv_HA, b);
    const auto ila = inv_report<float>(_vxmsInv_21, b);
    const auto iep = inv_report<float>(_vxmsInv_11, b);
    std::printf("sDiv HA %s\n     LA %s\n     EP %s\nsInv HA %s\n     LA %s\n     EP %s\n", ha.describe().c_str(),
                la.describe().c_str(), ep.describe().c_str(), iha.describe().c_str(), ila.describe().c_str(),
                iep.describe().c_str());
    EXPECT_LE(ha.max_ulp, 0.5) << ha.describe();
    EXPECT_LE(la.max_ulp, 4.0) << la.describe();
    EXPECT_GE(ep.min_bits, 11.0) << ep.describe();
    EXPECT_LE(iha.max_ulp, 0.5) << iha.describe();
    EXPECT_LE(ila.max_ulp, 4.0) << ila.describe();
    EXPECT_GE(iep.min_bits, 11.0) << iep.describe();
    // EP really is the bare estimate: it is not as accurate as LA.
    EXPECT_LT(ep.min_bits, 20.0);
}

TEST(DivisionTables, SlotSharing) {
    EXPECT_EQ(qlm_vxm_kernel_dDiv_ttab[0], qlm_vxm_kernel_dDiv_ttab[2]);
    EXPECT_NE(qlm_vxm_kernel_dDiv_ttab[0], qlm_vxm_kernel_dDiv_ttab[1]);
    EXPECT_EQ(qlm_vxm_kernel_dInv_ttab[0], qlm_vxm_kernel_dInv_ttab[2]);
    EXPECT_NE(qlm_vxm_kernel_sDiv_ttab[0], qlm_vxm_kernel_sDiv_ttab[2]);
    EXPECT_NE(qlm_vxm_kernel_sInv_ttab[1], qlm_vxm_kernel_sInv_ttab[2]);
}

// A zero denominator in the second group of the LA routine: the group is
// taken apart, only that element reports, and the other three are the
// plain quotients (correctly rounded, as the plain division is).
TEST(DivisionStatus, DoubleLaGroupWithOneZeroReportsThatElementOnly) {
    std::thread([] {
        status_recorder rec;
        const std::vector<double> a = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        const std::vector<double> b = {3, 3, 3, 3, 3, 0.0, 7, 9, 11, -0.0};
        std::vector<double> y(10);
        _vxmdDiv_50(10, a.data(), b.data(), y.data());
        EXPECT_EQ(rec.indices(), (std::vector<int32_t>{5, 9}));
        EXPECT_EQ(rec.calls.at(0).status, VXM_STATUS_SING);
        EXPECT_EQ(rec.calls.at(0).name, "vdDiv");
        EXPECT_EQ(y[5], std::numeric_limits<double>::infinity());
        EXPECT_EQ(y[9], -std::numeric_limits<double>::infinity());
        for (int i : {4, 6, 7, 8}) EXPECT_EQ(y[i], a[i] / b[i]) << i;
        EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_SING);
    }).join();
}

// Over a zero denominator, a finite numerator reports (0/0 too, with NaN)
// and a NaN numerator never does.  An infinite numerator is quiet in the
// double routines and single HA, and reports in single LA and EP, whose
// test is "magnitude at most infinity's bits".
TEST(DivisionStatus, NonFiniteNumeratorsOverZeroAreQuiet) {
    std::thread([] {
        const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
        const std::vector<double> a = {inf, nan, 0.0, 1.0, -inf, 2.0, 3.0, 4.0};
        const std::vector<double> b = {0.0, 0.0, 0.0, 2.0, -0.0, 2.0, 2.0, 2.0};
        for (auto kernel : {_vxmdDiv_HA, _vxmdDiv_50}) {
            status_recorder rec;
            std::vector<double> y(8);
            kernel(8, a.data(), b.data(), y.data());
            EXPECT_EQ(rec.indices(), (std::vector<int32_t>{2}));
            EXPECT_TRUE(std::isnan(y[2]));
            EXPECT_EQ(y[0], inf);
            EXPECT_EQ(y[4], inf);
        }
        const float finf = std::numeric_limits<float>::infinity();
        const std::vector<float> fa = {finf, std::nanf(""), 0.0f, 1.0f, 1, 1, 1, 1, 5.0f};
        const std::vector<float> fb = {0.0f, 0.0f, 0.0f, 2.0f, 1, 1, 1, 1, -0.0f};
        for (auto kernel : {_vxmsDiv_HA, _vxmsDiv_21, _vxmsDiv_11}) {
            status_recorder rec;
            std::vector<float> y(9);
            kernel(9, fa.data(), fb.data(), y.data());
            if (kernel == _vxmsDiv_HA) EXPECT_EQ(rec.indices(), (std::vector<int32_t>{2, 8}));
            else EXPECT_EQ(rec.indices(), (std::vector<int32_t>{0, 2, 8}));
            EXPECT_EQ(y[8], -finf);
            EXPECT_NEAR(y[3], 0.5f, 0x1p-23f);
        }
    }).join();
}

TEST(DivisionStatus, ReciprocalOfZerosAndScreenedValues) {
    std::thread([] {
        const double inf = std::numeric_limits<double>::infinity();
        for (auto kernel : {_vxmdInv_HA, _vxmdInv_50, _vxmdInv_26}) {
            status_recorder rec;
            // Nine elements: one group of eight and one element of tail.
            const std::vector<double> a = {1e300, 2, 4, 8, inf, 0x1p-1070, 5, 6, -0.0};
            std::vector<double> y(9);
            kernel(9, a.data(), y.data());
            EXPECT_EQ(rec.indices(), (std::vector<int32_t>{8}));
            EXPECT_EQ(rec.calls.at(0).name, "vdInv");
            EXPECT_EQ(y[8], -inf);
            for (int i = 0; i < 8; ++i) EXPECT_EQ(y[i], 1.0 / a[i]) << i;  // plain division for the group
        }
        for (auto kernel : {_vxmsInv_HA, _vxmsInv_21, _vxmsInv_11}) {
            status_recorder rec;
            const std::vector<float> a = {1, 2, 3, 4, 5, 6, 7, -0.0f, 0.0f};
            std::vector<float> y(9);
            kernel(9, a.data(), y.data());
            EXPECT_EQ(rec.indices(), (std::vector<int32_t>{7, 8}));
            EXPECT_EQ(y[7], -std::numeric_limits<float>::infinity());
            // The group failed the screen, so every element took one
            // Newton step or better: LA accuracy even in EP.
            EXPECT_NEAR(y[2], 1.0f / 3.0f, 4 * 0x1p-25f);
        }
    }).join();
}

// Double Div LA runs on the x87 stage alone: MXCSR is left as it was, even
// when the mode asks to flush denormals, and the x87 control comes back.
TEST(DivisionFrame, DoubleLaTouchesOnlyTheX87Control) {
    std::thread([] {
        qlm_vxm_kernel_SetMode(VXM_FLUSH_DENORMALS | VXM_LA);
        const uint16_t x87 = qlm::test::get_x87_control();
        qlm::test::set_x87_control(static_cast<uint16_t>((x87 & 0xF0FF) | 0x200));
        qlm::test::mxcsr_scope scope(qlm::test::kMxcsrDefault);
        std::vector<double> a(8, 1.0), b(8, 3.0), y(8);
        _vxmdDiv_50(8, a.data(), b.data(), y.data());
        EXPECT_EQ(qlm::test::get_mxcsr(), qlm::test::kMxcsrDefault) << "no MXCSR write, no SSE flags";
        EXPECT_EQ(qlm::test::get_x87_control() & 0xF00, 0x200);
        qlm::test::set_x87_control(x87);
        EXPECT_EQ(y[3], 1.0 / 3.0);
    }).join();
}

TEST(DivisionAliasing, OutputOverDenominators) {
    const auto a = spread_values<double>(37, 26, -8, 8), b0 = spread_values<double>(37, 27, -8, 8);
    for (auto kernel : {_vxmdDiv_HA, _vxmdDiv_50}) {
        auto b = b0;
        b[9] = 0.0;  // a taken-apart group
        std::vector<double> want(37);
        for (int i = 0; i < 37; ++i) want[i] = a[i] / b[i];
        kernel(37, a.data(), b.data(), b.data());
        for (int i = 0; i < 37; ++i) EXPECT_TRUE(b[i] == want[i] || std::fabs(b[i] - want[i]) <= std::fabs(want[i]) * 1e-15) << i;
    }
    auto bf = spread_values<float>(37, 28, -8, 8);
    bf[3] = 0.0f;
    const auto af = spread_values<float>(37, 29, -8, 8);
    std::vector<float> want(37);
    for (int i = 0; i < 37; ++i) want[i] = af[i] / bf[i];
    _vxmsDiv_21(37, af.data(), bf.data(), bf.data());
    for (int i = 0; i < 37; ++i) EXPECT_TRUE(bf[i] == want[i] || std::fabs(bf[i] - want[i]) <= std::fabs(want[i]) * 1e-6f) << i;
}

// The three paths against the formula each one states, and the infinities
// of a zero denominator without status.
TEST(LinearFrac, ThreePathsFollowTheirFormulas) {
    std::thread([] {
        status_recorder rec;
        const auto a = spread_values<double>(37, 31, -3, 3), b = spread_values<double>(37, 32, -3, 3);
        std::vector<double> y(37);
        _vxmdLinearFrac(37, a.data(), b.data(), 1.5, -0.25, 3.0, 0.5, y.data());
        for (int i = 0; i < 37; ++i) EXPECT_EQ(y[i], (1.5 * a[i] - 0.25) / (3.0 * b[i] + 0.5)) << i;
        _vxmdLinearFrac(37, nullptr, b.data(), 0.0, 2.0, 3.0, 0.5, y.data());  // a is not read
        for (int i = 0; i < 37; ++i) EXPECT_EQ(y[i], 2.0 / (3.0 * b[i] + 0.5)) << i;
        _vxmdLinearFrac(37, a.data(), nullptr, 1.5, -0.25, 0.0, 3.0, y.data());  // b is not read
        const double r = 1.0 / 3.0;
        int differs = 0;
        for (int i = 0; i < 37; ++i) {
            EXPECT_EQ(y[i], (1.5 * a[i] - 0.25) * r) << i;
            differs += y[i] != (1.5 * a[i] - 0.25) / 3.0;
        }
        EXPECT_GT(differs, 0) << "the multiply by 1/shiftb is not the division";
        _vxmdLinearFrac(5, a.data(), nullptr, 1.0, 0.0, 0.0, 0.0, y.data());
        for (int i = 0; i < 5; ++i) EXPECT_EQ(y[i], std::copysign(HUGE_VAL, a[i])) << i;
        const std::vector<float> af = {1, -2, 0, 4, 5}, bf = {1, 1, 1, 1, 1};
        std::vector<float> yf(5);
        _vxmsLinearFrac(5, af.data(), bf.data(), 1.0f, 0.0f, 0.0f, 0.0f, yf.data());
        EXPECT_EQ(yf[1], -HUGE_VALF);
        EXPECT_TRUE(std::isnan(yf[2]));
        // A NaN scaleb counts as nonzero: the general path, NaN results.
        _vxmsLinearFrac(5, af.data(), bf.data(), 1.0f, 0.0f, std::nanf(""), 1.0f, yf.data());
        EXPECT_TRUE(std::isnan(yf[0]));
        EXPECT_TRUE(rec.calls.empty());
        EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), 0);
    }).join();
}

}  // namespace
