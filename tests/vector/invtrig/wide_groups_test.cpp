// The group screen of the wide inverse trigonometric kernels: a lane that
// fails it takes the per-element routine with its special result and
// status while the other lanes of its group keep, bit for bit, the results
// they get in a group that passes; ragged ends give the same bits as whole
// groups; inputs straddling each screen threshold stay within their class.
#include <cmath>
#include <cstring>
#include <limits>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Ordinary inputs spread over [lo, hi], 16 of them: two double groups and
// a float group with a ragged end.
template <typename T>
std::vector<T> ordinary(double lo, double hi) {
    return uniform_samples<T>(lo, hi, 16, 77);
}

template <typename T>
void expect_lane_isolation(const char* name, unary_fn<T> const* table, const std::vector<T>& x, T bad, T bad_result,
                           int32_t bad_status) {
    for (int slot = 0; slot < 3; ++slot) {
        const auto full = run<T>(table[slot], x);
        for (std::size_t j = 0; j < 9; ++j) {
            auto xj = x;
            xj[j] = bad;
            int32_t status;
            const auto y = run<T>(table[slot], xj, &status);
            for (std::size_t k = 0; k < x.size(); ++k) {
                if (k == j) continue;
                EXPECT_TRUE(same_bits(y[k], full[k])) << name << " slot " << slot << " bad lane " << j << " lane " << k;
            }
            if (std::isnan(bad_result)) EXPECT_TRUE(std::isnan(y[j])) << name << " slot " << slot << " lane " << j;
            else EXPECT_EQ(y[j], bad_result) << name << " slot " << slot << " lane " << j;
            EXPECT_EQ(status, bad_status) << name << " slot " << slot;
        }
        for (int32_t n = 1; n <= 9; ++n) {
            const auto y = run<T>(table[slot], std::vector<T>(x.begin(), x.begin() + n));
            for (int32_t k = 0; k < n; ++k)
                EXPECT_TRUE(same_bits(y[k], full[k])) << name << " slot " << slot << " n " << n << " lane " << k;
        }
    }
}

TEST(InvTrigGroups, OneSlowLaneLeavesTheOthersUnary) {
    const double pio2 = 0x1.921fb54442d18p+0;
    for (double bad : {1.5, -static_cast<double>(INFINITY)}) {
        expect_lane_isolation<double>("dAsin", qlm_vxm_kernel_dAsin_ttab, ordinary<double>(-0.99, 0.99), bad, NAN, VXM_STATUS_ERRDOM);
        expect_lane_isolation<double>("dAcos", qlm_vxm_kernel_dAcos_ttab, ordinary<double>(-0.99, 0.99), bad, NAN, VXM_STATUS_ERRDOM);
        expect_lane_isolation<float>("sAsin", qlm_vxm_kernel_sAsin_ttab, ordinary<float>(-0.99, 0.99), static_cast<float>(bad), NAN, VXM_STATUS_ERRDOM);
        expect_lane_isolation<float>("sAcos", qlm_vxm_kernel_sAcos_ttab, ordinary<float>(-0.99, 0.99), static_cast<float>(bad), NAN, VXM_STATUS_ERRDOM);
    }
    // +-1 sit at the screen's edge: exact results, no status.
    expect_lane_isolation<double>("dAsin", qlm_vxm_kernel_dAsin_ttab, ordinary<double>(-0.99, 0.99), -1.0, -pio2, 0);
    expect_lane_isolation<double>("dAcos", qlm_vxm_kernel_dAcos_ttab, ordinary<double>(-0.99, 0.99), 1.0, 0.0, 0);
    expect_lane_isolation<double>("dAtan", qlm_vxm_kernel_dAtan_ttab, ordinary<double>(-20, 20), INFINITY, pio2, 0);
    expect_lane_isolation<double>("dAtan", qlm_vxm_kernel_dAtan_ttab, ordinary<double>(-20, 20), NAN, NAN, 0);
    // Beyond the double screen (2^1000) the per-element routine rounds to pi/2.
    expect_lane_isolation<double>("dAtan", qlm_vxm_kernel_dAtan_ttab, ordinary<double>(-20, 20), -0x1p1001, -pio2, 0);
    expect_lane_isolation<float>("sAtan", qlm_vxm_kernel_sAtan_ttab, ordinary<float>(-20, 20), -INFINITY, -0x1.921fb6p+0f, 0);
}

template <typename T>
void expect_lane_isolation2(const char* name, binary_fn<T> const* table, T tiny, T huge) {
    const auto a = ordinary<T>(-10, 10), b = uniform_samples<T>(-10, 10, 16, 78);
    auto call = [&](int slot, const std::vector<T>& u, const std::vector<T>& v, std::size_t n, int32_t* status) {
        std::vector<T> y(n, T(-12345));
        qlm_vxm_kernel_SetErrStatus(0);
        table[slot](static_cast<int32_t>(n), u.data(), v.data(), y.data());
        *status = qlm_vxm_kernel_GetErrStatus();
        return y;
    };
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        const auto full = call(slot, a, b, a.size(), &status);
        for (std::size_t j = 0; j < 9; ++j) {
            // tiny over huge underflows: zero with UNDERFLOW; b = 0 gives
            // +-pi/2 quietly.
            for (int kind = 0; kind < 2; ++kind) {
                auto aj = a, bj = b;
                aj[j] = kind == 0 ? tiny : T(1);
                bj[j] = kind == 0 ? huge : T(0);
                const auto y = call(slot, aj, bj, a.size(), &status);
                for (std::size_t k = 0; k < a.size(); ++k) {
                    if (k != j) {
                        EXPECT_TRUE(same_bits(y[k], full[k])) << name << " slot " << slot << " bad lane " << j;
                    }
                }
                EXPECT_EQ(y[j], kind == 0 ? T(0) : static_cast<T>(0x1.921fb54442d18p+0)) << name << " slot " << slot;
                EXPECT_EQ(status, kind == 0 ? VXM_STATUS_UNDERFLOW : 0) << name << " slot " << slot;
            }
        }
        for (std::size_t n = 1; n <= 9; ++n) {
            const auto y = call(slot, a, b, n, &status);
            for (std::size_t k = 0; k < n; ++k) EXPECT_TRUE(same_bits(y[k], full[k])) << name << " n " << n;
        }
    }
}

TEST(InvTrigGroups, OneSlowLaneLeavesTheOthersAtan2) {
    expect_lane_isolation2<double>("dAtan2", qlm_vxm_kernel_dAtan2_ttab, 1e-300, 1e300);
    expect_lane_isolation2<float>("sAtan2", qlm_vxm_kernel_sAtan2_ttab, 1e-30f, 1e30f);
}

// Inputs on both sides of every screen threshold, measured like the rest.
template <typename T>
std::vector<T> around(std::initializer_list<T> edges) {
    std::vector<T> v;
    for (T e : edges)
        for (T x : {std::nextafter(e, T(0)), e, std::nextafter(e, std::numeric_limits<T>::infinity())}) {
            v.push_back(x);
            v.push_back(-x);
        }
    return v;
}

template <typename T>
void atan2_edges(const char* name, binary_fn<T> const* table, T lo, T hi) {
    std::vector<T> a, b;
    for (T p : around<T>({lo, hi}))
        for (T q : {T(1), T(-3), lo, hi * T(0.75)}) {
            a.push_back(p), b.push_back(q);
            a.push_back(q), b.push_back(p);
        }
    expect_binary_classes<T>(name, table, a, b, mpfr_atan2);
}

TEST(InvTrigGroups, ScreenEdgesWithinClass) {
    // Atan: 2^1000 ends the double node form, 2^-7 and 2^7 its node 0 and
    // node 256, and 1 + 31/32 a binade's last part; the float forms switch
    // at 1 and tan(pi/8).
    const auto d = around<double>({0x1p1000, 0x1p-1022, 0x1p-7, 0x1p7, 1.0, 0x1.f8p+0, 0x1.a827999fcef32p-2});
    expect_unary_classes<double>("dAtan edges", qlm_vxm_kernel_dAtan_ttab, d, mpfr_atan);
    const auto s = around<float>({0x1p127f, 0x1p-126f, 1.0f, 0x1.a8279ap-2f});
    expect_unary_classes<float>("sAtan edges", qlm_vxm_kernel_sAtan_ttab, s, mpfr_atan);
    const auto u = around<double>({0.5, 0x1p-30});
    expect_unary_classes<double>("dAsin edges", qlm_vxm_kernel_dAsin_ttab, u, mpfr_asin);
    expect_unary_classes<double>("dAcos edges", qlm_vxm_kernel_dAcos_ttab, u, mpfr_acos);
    const auto uf = around<float>({0.5f, 0x1p-30f});
    expect_unary_classes<float>("sAsin edges", qlm_vxm_kernel_sAsin_ttab, uf, mpfr_asin);
    expect_unary_classes<float>("sAcos edges", qlm_vxm_kernel_sAcos_ttab, uf, mpfr_acos);
    // Atan2: magnitudes at the ends of [2^-500, 2^500) and [2^-60, 2^60),
    // against a partner at either end and at 1.
    atan2_edges<double>("dAtan2 edges", qlm_vxm_kernel_dAtan2_ttab, 0x1p-500, 0x1p500);
    atan2_edges<float>("sAtan2 edges", qlm_vxm_kernel_sAtan2_ttab, 0x1p-60f, 0x1p60f);
}

}  // namespace
