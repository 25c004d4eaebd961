// The group frame of every exponential and logarithm kernel: a special
// lane sends its whole group through the recompute, and the other lanes
// must come out exactly as the fast lane gives them; ragged ends and
// non-positive counts behave; the caller's inputs stay untouched.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "vector/exp_log_kernels.h"

namespace {

using namespace qlm::test;

// Ordinary inputs every function accepts without a special result.
template <typename T>
std::vector<T> ordinary(std::size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> d(0.01, 3.0);
    std::vector<T> x(n);
    for (T& v : x) v = static_cast<T>(d(gen));
    return x;
}

template <typename T, typename Table>
void check_recompute(const Table& table, int width) {
    const int n = 4 * width + 3;  // whole groups and a ragged end
    const auto x = ordinary<T>(n, 7);
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<T> clean(n);
        table.slots[slot](n, x.data(), clean.data());
        // A NaN in the third lane of each group in turn, and in the tail.
        for (int bad = 2; bad < n; bad += width + 1) {
            auto with_nan = x;
            with_nan[bad] = NAN;
            std::vector<T> y(n);
            qlm_vxm_kernel_ClearErrStatus();
            table.slots[slot](n, with_nan.data(), y.data());
            EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), 0) << table.name;
            for (int i = 0; i < n; ++i) {
                if (i == bad) EXPECT_TRUE(std::isnan(y[i])) << table.name << " slot " << slot;
                else EXPECT_EQ(y[i], clean[i]) << table.name << " slot " << slot << " element " << i
                                                << " NaN at " << bad << " input " << x[i];
            }
            EXPECT_TRUE(std::isnan(with_nan[bad]));
        }
        // Each element alone, through the one-lane path, gives the same.
        for (int i = 0; i < n; ++i) {
            T y;
            table.slots[slot](1, &x[i], &y);
            EXPECT_EQ(y, clean[i]) << table.name << " slot " << slot << " element " << i;
        }
    }
}

TEST(ExpLogGroups, DoubleRecomputeMatchesTheFastLane) {
    for (const auto& t : exp_log_double_tables()) check_recompute<double>(t, 4);
}

TEST(ExpLogGroups, SingleRecomputeMatchesTheFastLane) {
    for (const auto& t : exp_log_single_tables()) check_recompute<float>(t, 8);
}

TEST(ExpLogGroups, NonPositiveCountsWriteNothing) {
    const double xd[2] = {1.0, 2.0};
    const float xs[2] = {1.0f, 2.0f};
    for (const auto& t : exp_log_double_tables())
        for (int slot = 0; slot < 3; ++slot)
            for (int n : {0, -1}) {
                double y[2] = {7.0, 7.0};
                t.slots[slot](n, xd, y);
                EXPECT_EQ(y[0], 7.0) << t.name;
            }
    for (const auto& t : exp_log_single_tables())
        for (int slot = 0; slot < 3; ++slot) {
            float y[2] = {7.0f, 7.0f};
            t.slots[slot](0, xs, y);
            EXPECT_EQ(y[0], 7.0f) << t.name;
        }
}

}  // namespace
