// The wide lanes of single Expm1 take |x| < 88.0, where 2^n is still a
// float: inputs on both sides of the screen and of the points where the
// result becomes -1 or leaves the exact range of 2^n - 1, in every lane of
// a group and in ragged ends, must give the same result as alone and round
// once from a value far more accurate than a float (0.5 ulp and a hair).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/accuracy_sampling.h"

namespace {

using namespace qlm::test;

const std::vector<float> kEdges = {88.0f, std::nextafter(88.0f, 0.0f), 88.5f, 88.72f, -88.0f,
                                   std::nextafter(-88.0f, 0.0f), -30.0f, std::nextafter(-30.0f, 0.0f),
                                   -31.0f, -17.3f, 17.4f, 16.7f};

TEST(Expm1SingleScreen, EdgeInEveryLaneMatchesItsOneLaneResult) {
    const auto expm1 = qlm_vxm_kernel_sExpm1_ttab[1];
    for (float edge : kEdges) {
        float alone;
        expm1(1, &edge, &alone);
        for (int n = 1; n <= 17; ++n)
            for (int lane = 0; lane < n; ++lane) {
                std::vector<float> x(n, 0.75f), y(n);
                x[lane] = edge;
                qlm_vxm_kernel_ClearErrStatus();
                expm1(n, x.data(), y.data());
                EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), 0) << edge;
                EXPECT_EQ(y[lane], alone) << "input " << edge << " n " << n << " lane " << lane;
                float ordinary;
                const float three_quarters = 0.75f;
                expm1(1, &three_quarters, &ordinary);
                for (int i = 0; i < n; ++i)
                    if (i != lane) { EXPECT_EQ(y[i], ordinary) << "n " << n << " lane " << i; }
            }
    }
}

TEST(Expm1SingleScreen, EdgesAndTheirNeighboursWithinTheBound) {
    std::vector<float> x;
    for (float edge : kEdges) add_neighbours(x, edge, 200);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sExpm1_ttab[1], x, mpfr_expm1, "sExpm1 edges").max_ulp, 0.501);
}

// e^x - 1 keeps the sign of a zero input, in a group and in a ragged end.
TEST(Expm1SingleScreen, SignedZeroKeepsItsSign) {
    std::vector<float> x(9, -0.0f), y(9, 1.0f);
    x[3] = 0.0f;
    qlm_vxm_kernel_sExpm1_ttab[1](9, x.data(), y.data());
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(y[i], 0.0f) << i;
        EXPECT_EQ(std::signbit(y[i]), std::signbit(x[i])) << i;
    }
}

}  // namespace
