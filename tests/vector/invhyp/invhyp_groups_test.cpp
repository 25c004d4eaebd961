// The group loop of Asinh, Acosh and Atanh: a lane that fails the screen
// sends its group to the element-by-element recompute, which must leave
// the other lanes with exactly their wide results; the ragged end runs the
// same arithmetic element by element; the screens' edges and the small
// arguments where the plans change formula stay accurate and keep signs.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
struct function_case {
    const char* name;
    unary_fn<T> const* table;
    std::vector<T> ordinary;  // inside every slot's screen
    T rejected;               // outside the screen: a per-element input
    T rejected_result;        // what the per-element routine gives it (asinh(2^40) = acosh(2^40)
                              // = 41 ln 2 to within 2^-82)
};

template <typename T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

std::vector<function_case<double>> double_cases() {
    return {
        {"dAsinh", qlm_vxm_kernel_dAsinh_ttab, {0.3, -7.5, 1e-5, 42.0, -0.9, 3e7, 2.5, -1e-200}, 0x1p40, 41 * M_LN2},
        {"dAcosh", qlm_vxm_kernel_dAcosh_ttab, {1.0, 1.0000001, 7.5, 1e6, 2.0, 1.5, 3e7, 99.0}, 0x1p40, 41 * M_LN2},
        {"dAtanh", qlm_vxm_kernel_dAtanh_ttab, {0.3, -0.99, 1e-5, 0.5, -0.9999999, 0.75, -1e-300, 0.1}, 1.0, INFINITY},
    };
}

std::vector<function_case<float>> single_cases() {
    return {
        {"sAsinh", qlm_vxm_kernel_sAsinh_ttab, {0.3f, -7.5f, 1e-5f, 42.0f, -0.9f, 3e37f, 2.5f, -1e-40f}, INFINITY, INFINITY},
        {"sAcosh", qlm_vxm_kernel_sAcosh_ttab, {1.0f, 1.0000001f, 7.5f, 1e6f, 2.0f, 1.5f, 3e37f, 99.0f}, 0.5f, NAN},
        {"sAtanh", qlm_vxm_kernel_sAtanh_ttab, {0.3f, -0.99f, 1e-5f, 0.5f, -0.9999999f, 0.75f, -1e-40f, 0.1f}, -1.0f, -INFINITY},
    };
}

// Every lane of a group in turn fails the screen: the others keep their
// wide results bit for bit, and the failing lane gets the per-element
// routine's result.
template <typename T>
void expect_group_recompute_keeps_lanes(const function_case<T>& c) {
    constexpr int width = sizeof(T) == 8 ? 4 : 8;
    for (int slot = 0; slot < 3; ++slot) {
        const std::vector<T> x(c.ordinary.begin(), c.ordinary.begin() + width);
        const std::vector<T> wide = run<T>(c.table[slot], x);
        for (int lane = 0; lane < width; ++lane) {
            std::vector<T> mixed = x;
            mixed[lane] = c.rejected;
            const std::vector<T> y = run<T>(c.table[slot], mixed);
            for (int l = 0; l < width; ++l) {
                if (l == lane) {
                    if (std::isnan(c.rejected_result)) EXPECT_TRUE(std::isnan(y[l])) << c.name << " slot " << slot;
                    else if (std::isinf(c.rejected_result)) EXPECT_EQ(y[l], c.rejected_result) << c.name << " slot " << slot;
                    else EXPECT_NEAR(y[l], c.rejected_result, std::fabs(c.rejected_result) * 1e-6) << c.name << " slot " << slot;
                } else {
                    EXPECT_TRUE(same_bits(y[l], wide[l]))
                        << c.name << " slot " << slot << " lane " << l << " with lane " << lane << " rejected: " << y[l]
                        << " against " << wide[l];
                }
            }
        }
    }
}

TEST(InverseHyperbolicGroups, RejectedLaneLeavesTheOthersTheirWideResults) {
    for (const auto& c : double_cases()) expect_group_recompute_keeps_lanes(c);
    for (const auto& c : single_cases()) expect_group_recompute_keeps_lanes(c);
}

// Vectors of 1 to 9 elements, the ragged end included, give every element
// the result it has inside a long vector, and in place too.
template <typename T>
void expect_ragged_ends_match(const function_case<T>& c) {
    std::vector<T> pool;
    for (int r = 0; r < 3; ++r) pool.insert(pool.end(), c.ordinary.begin(), c.ordinary.end());
    for (int slot = 0; slot < 3; ++slot) {
        const std::vector<T> whole = run<T>(c.table[slot], pool);
        for (int start = 0; start < 3; ++start) {
            for (int n = 1; n <= 9; ++n) {
                const std::vector<T> part(pool.begin() + start, pool.begin() + start + n);
                const std::vector<T> y = run<T>(c.table[slot], part);
                std::vector<T> in_place = part;
                c.table[slot](n, in_place.data(), in_place.data());
                for (int i = 0; i < n; ++i) {
                    EXPECT_TRUE(same_bits(y[i], whole[start + i])) << c.name << " slot " << slot << " n " << n << " element " << i;
                    EXPECT_TRUE(same_bits(in_place[i], whole[start + i])) << c.name << " in place, slot " << slot << " n " << n;
                }
            }
        }
    }
}

TEST(InverseHyperbolicGroups, RaggedEndsAndInPlaceMatchTheWideResults) {
    for (const auto& c : double_cases()) expect_ragged_ends_match(c);
    for (const auto& c : single_cases()) expect_ragged_ends_match(c);
}

// A rejected lane inside a group still raises its status, and a group of
// ordinary lanes raises none.
TEST(InverseHyperbolicGroups, StatusFromInsideAGroup) {
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        run<double>(qlm_vxm_kernel_dAcosh_ttab[slot], {2.0, 3.0, 0.5, 4.0, 5.0}, &status);
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);
        run<float>(qlm_vxm_kernel_sAtanh_ttab[slot], {0.1f, 0.2f, 0.3f, 1.0f, 0.4f, 0.5f, 0.6f, 0.7f}, &status);
        EXPECT_EQ(status, VXM_STATUS_SING);
        run<double>(qlm_vxm_kernel_dAtanh_ttab[slot], {0.1, 0.2, 0.3, -0.999, 0.4, 0.5, 0.6, 0.7}, &status);
        EXPECT_EQ(status, 0);
    }
}

// Where the plans change formula or screen: the series below 2^-12
// (single) and 2^-30 (double HA), the edges 2^28 of the double screens,
// 1 and its neighbours; zeros keep their sign and tiny inputs return
// themselves.
template <typename T>
std::vector<T> around(std::initializer_list<double> centres, int steps) {
    std::vector<T> v;
    for (double c : centres) {
        T x = static_cast<T>(c);
        for (int i = 0; i < steps; ++i) x = std::nextafter(x, T(0));
        for (int i = 0; i < 2 * steps; ++i) {
            v.push_back(x);
            v.push_back(-x);
            x = std::nextafter(x, std::numeric_limits<T>::infinity());
        }
    }
    return v;
}

TEST(InverseHyperbolicGroups, FormulaAndScreenEdgesStayAccurate) {
    const auto odd_d = around<double>({0x1p-30, 0x1p-12, 0x1p28, 0.5, 1.0}, 40);
    const auto odd_s = around<float>({0x1p-12, 0x1p-20, 0.5, 1.0, 3e38}, 40);
    expect_unary_classes<double>("dAsinh edges", qlm_vxm_kernel_dAsinh_ttab, odd_d, mpfr_asinh);
    expect_unary_classes<float>("sAsinh edges", qlm_vxm_kernel_sAsinh_ttab, odd_s, mpfr_asinh);
    std::vector<double> atanh_d;
    for (double x : odd_d)
        if (std::fabs(x) < 1) atanh_d.push_back(x);
    std::vector<float> atanh_s;
    for (float x : odd_s)
        if (std::fabs(x) < 1) atanh_s.push_back(x);
    expect_unary_classes<double>("dAtanh edges", qlm_vxm_kernel_dAtanh_ttab, atanh_d, mpfr_atanh);
    expect_unary_classes<float>("sAtanh edges", qlm_vxm_kernel_sAtanh_ttab, atanh_s, mpfr_atanh);
    std::vector<double> acosh_d;
    for (double x : around<double>({1.0, 0x1p28, 1.5, 0x1.6a8p0}, 40))
        if (x >= 1) acosh_d.push_back(x);
    std::vector<float> acosh_s;
    for (float x : around<float>({1.0, 3e38, 1.5}, 40))
        if (x >= 1) acosh_s.push_back(x);
    expect_unary_classes<double>("dAcosh edges", qlm_vxm_kernel_dAcosh_ttab, acosh_d, mpfr_acosh);
    expect_unary_classes<float>("sAcosh edges", qlm_vxm_kernel_sAcosh_ttab, acosh_s, mpfr_acosh);

    for (int slot = 0; slot < 3; ++slot) {
        for (auto table : {qlm_vxm_kernel_dAsinh_ttab, qlm_vxm_kernel_dAtanh_ttab}) {
            const auto y = run<double>(table[slot], {-0.0, 0.0, 0x1p-1074, -0x1p-1060, 1e-300});
            EXPECT_TRUE(y[0] == 0 && std::signbit(y[0]));
            EXPECT_TRUE(y[1] == 0 && !std::signbit(y[1]));
            EXPECT_EQ(y[2], 0x1p-1074);
            EXPECT_EQ(y[3], -0x1p-1060);
            EXPECT_EQ(y[4], 1e-300);
        }
        for (auto table : {qlm_vxm_kernel_sAsinh_ttab, qlm_vxm_kernel_sAtanh_ttab}) {
            const auto y = run<float>(table[slot], {-0.0f, 0.0f, 0x1p-149f, -0x1p-130f, 1e-30f, 0, 0, 0});
            EXPECT_TRUE(y[0] == 0 && std::signbit(y[0]));
            EXPECT_TRUE(y[1] == 0 && !std::signbit(y[1]));
            EXPECT_EQ(y[2], 0x1p-149f);
            EXPECT_EQ(y[3], -0x1p-130f);
            EXPECT_EQ(y[4], 1e-30f);
        }
        EXPECT_EQ(run<double>(qlm_vxm_kernel_dAcosh_ttab[slot], {1.0})[0], 0.0);
        EXPECT_EQ(run<float>(qlm_vxm_kernel_sAcosh_ttab[slot], {1.0f, 1, 1, 1, 1, 1, 1, 1})[3], 0.0f);
    }
}

}  // namespace
