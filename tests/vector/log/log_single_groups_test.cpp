// The screens of the float-lane logarithm routines at their edges.  Ln and
// Log10 send zero, denormals, negatives, infinity and NaN to the scalar
// routine and keep the smallest normal and the largest finite number on
// the fast lane; Log1p keeps everything finite above -1 (denormals too)
// and sends -1, what lies below it, infinity and NaN away.  Each edge
// value is placed at every position of vectors of 1 to 9 elements: every
// element must come out as it does alone (fast lane, group recompute and
// tail agree), within its slot's accuracy, with the edge's status.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/ulp.h"
#include "vector/exp_log_kernels.h"

namespace {

using qlm::test::one;

struct edge {
    float x;
    int32_t status;
};

void check_edges(void (*const* table)(int32_t, const float*, float*), qlm::test::mpfr_unary f, const std::vector<edge>& edges,
                 const char* name) {
    const float ordinary[9] = {0.3f, 1.7f, 2.5f, 0.9f, 12.0f, 0.05f, 3.3f, 1.01f, 7.0f};
    for (int slot = 0; slot < 3; ++slot)
        for (const edge& e : edges)
            for (int n = 1; n <= 9; ++n)
                for (int at = 0; at < n; ++at) {
                    std::vector<float> x(ordinary, ordinary + n), y(n);
                    x[at] = e.x;
                    const std::vector<float> input = x;
                    qlm_vxm_kernel_ClearErrStatus();
                    table[slot](n, x.data(), y.data());
                    EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), e.status) << name << " slot " << slot << " x " << e.x;
                    EXPECT_EQ(std::memcmp(x.data(), input.data(), n * sizeof(float)), 0) << "input changed";
                    for (int i = 0; i < n; ++i) {
                        int32_t status;
                        const float alone = one(table[slot], x[i], status);
                        EXPECT_TRUE(std::memcmp(&alone, &y[i], 4) == 0)
                            << name << " slot " << slot << " n " << n << " edge at " << at << " element " << i << ": "
                            << y[i] << " alone " << alone;
                    }
                    const auto r = qlm::test::measure_unary(x, y, f);
                    if (slot == 2) EXPECT_GE(r.min_bits, 11.0) << name << " x " << e.x;
                    else EXPECT_LE(r.max_ulp, slot == 1 ? 1.0 : 4.0) << name << " slot " << slot << " x " << e.x;
                }
}

TEST(LogSingleGroups, LnAndLog10EdgesOfTheScreen) {
    const std::vector<edge> edges = {
        {FLT_MIN, 0},                                   // smallest normal: fast lane
        {std::nextafter(FLT_MIN, 0.0f), 0},             // largest denormal: scalar routine
        {FLT_TRUE_MIN, 0},
        {FLT_MAX, 0},
        {INFINITY, 0},
        {NAN, 0},
        {0.0f, VXM_STATUS_SING},
        {-FLT_MIN, VXM_STATUS_ERRDOM},
    };
    check_edges(qlm_vxm_kernel_sLn_ttab, mpfr_log, edges, "sLn");
    check_edges(qlm_vxm_kernel_sLog10_ttab, mpfr_log10, edges, "sLog10");
}

TEST(LogSingleGroups, Log1pEdgesOfTheScreen) {
    const std::vector<edge> edges = {
        {std::nextafter(-1.0f, 0.0f), 0},  // just above -1: fast lane
        {-1.0f, VXM_STATUS_SING},
        {std::nextafter(-1.0f, -2.0f), VXM_STATUS_ERRDOM},
        {FLT_TRUE_MIN, 0},                  // denormals stay on the fast lane: the result is x
        {-FLT_TRUE_MIN, 0},
        {-0.0f, 0},
        {FLT_MAX, 0},
        {INFINITY, 0},
        {NAN, 0},
    };
    check_edges(qlm_vxm_kernel_sLog1p_ttab, mpfr_log1p, edges, "sLog1p");
}

// Log1p of a denormal is the denormal itself in every slot.
TEST(LogSingleGroups, Log1pOfTinyIsItself) {
    for (int slot = 0; slot < 3; ++slot)
        for (float x : {FLT_TRUE_MIN, -FLT_TRUE_MIN, FLT_MIN / 3, 1e-30f, -1e-30f}) {
            int32_t status;
            EXPECT_EQ(one(qlm_vxm_kernel_sLog1p_ttab[slot], x, status), x) << slot;
        }
}

}  // namespace
