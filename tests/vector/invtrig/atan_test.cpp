// Atan and Atan2 in both types: accuracy of every slot against MPFR over
// the whole range, and the special values.
#include <cmath>
#include <limits>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> atan_inputs(uint32_t seed) {
    return concat<T>({uniform_samples<T>(-1.2, 1.2, 12000, seed), exponent_samples<T>(-30, 60, 12000, seed + 1),
                      exponent_samples<T>(sizeof(T) == 8 ? -1074 : -149, 127, 6000, seed + 2)});
}

TEST(Atan, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dAtan", qlm_vxm_kernel_dAtan_ttab, atan_inputs<double>(11), mpfr_atan);
    expect_unary_classes<float>("sAtan", qlm_vxm_kernel_sAtan_ttab, atan_inputs<float>(12), mpfr_atan);
}

TEST(Atan, SpecialValuesWithoutStatus) {
    const double inf = std::numeric_limits<double>::infinity();
    for (auto f : {_vxmdAtan, _vxmdAtan_50, _vxmdAtan_26}) {
        int32_t status;
        const auto y = run<double>(f, {inf, -inf, NAN, 0.0, -0.0, 0x1p-1074, 1e308}, &status);
        EXPECT_EQ(y[0], 0x1.921fb54442d18p+0);
        EXPECT_EQ(y[1], -0x1.921fb54442d18p+0);
        EXPECT_TRUE(std::isnan(y[2]));
        EXPECT_TRUE(y[3] == 0 && !std::signbit(y[3]));
        EXPECT_TRUE(y[4] == 0 && std::signbit(y[4]));
        EXPECT_EQ(y[5], 0x1p-1074);
        EXPECT_EQ(y[6], 0x1.921fb54442d18p+0);
        EXPECT_EQ(status, 0);
    }
    int32_t status;
    const auto y = run<float>(_vxmsAtan_11, {INFINITY, -0.0f, NAN}, &status);
    EXPECT_EQ(y[0], 0x1.921fb6p+0f);
    EXPECT_TRUE(y[1] == 0 && std::signbit(y[1]));
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(status, 0);
}

}  // namespace
