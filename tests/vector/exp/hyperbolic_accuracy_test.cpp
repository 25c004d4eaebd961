// Accuracy of Expm1, Sinh, Cosh and Tanh against MPFR, per slot, over
// samples that include arguments next to 0 (where Expm1, Sinh and Tanh
// must keep their relative accuracy), the switch points of the methods
// (|x| = 1/4 in double Sinh, 1 in single Sinh, |x| = 10 in Expm1), and the edges of overflow.
#include <gtest/gtest.h>

#include <cfloat>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/accuracy_sampling.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> sample(double top, uint32_t seed) {
    std::vector<T> x;
    add_uniform(x, 30000, -top, top, seed);
    add_uniform(x, 20000, -3.0, 3.0, seed + 1);
    add_log_uniform(x, 20000, sizeof(T) == 4 ? 1e-30 : 1e-200, 2.0, true, seed + 2);
    for (T v : {T(0), T(1), T(-1), T(10), T(-10), T(0.25), T(-0.25), T(0.5), T(0.55), T(-0.55), T(0.03), T(-0.03), T(top), T(-top)})
        add_neighbours(x, v, 20);
    return x;
}

// Expm1 is sampled up to 709.78, Sinh and Cosh up to 710.47, the largest
// arguments with finite results; Tanh over the range where it is not yet 1.
TEST(HyperbolicAccuracy, DoubleExpm1) {
    check_slots(qlm_vxm_kernel_dExpm1_ttab, sample<double>(709.78, 61), mpfr_expm1, "dExpm1", 26.0);
}
TEST(HyperbolicAccuracy, DoubleSinh) {
    check_slots(qlm_vxm_kernel_dSinh_ttab, sample<double>(710.47, 62), mpfr_sinh, "dSinh", 26.0);
}
TEST(HyperbolicAccuracy, DoubleCosh) {
    check_slots(qlm_vxm_kernel_dCosh_ttab, sample<double>(710.47, 63), mpfr_cosh, "dCosh", 26.0);
}
TEST(HyperbolicAccuracy, DoubleTanh) {
    check_slots(qlm_vxm_kernel_dTanh_ttab, sample<double>(22.0, 64), mpfr_tanh, "dTanh", 26.0);
}
TEST(HyperbolicAccuracy, SingleExpm1) {
    check_slots(qlm_vxm_kernel_sExpm1_ttab, sample<float>(88.72, 71), mpfr_expm1, "sExpm1", 11.0);
}
TEST(HyperbolicAccuracy, SingleSinh) {
    check_slots(qlm_vxm_kernel_sSinh_ttab, sample<float>(89.41, 72), mpfr_sinh, "sSinh", 11.0);
}
TEST(HyperbolicAccuracy, SingleCosh) {
    check_slots(qlm_vxm_kernel_sCosh_ttab, sample<float>(89.41, 73), mpfr_cosh, "sCosh", 11.0);
}
TEST(HyperbolicAccuracy, SingleTanh) {
    check_slots(qlm_vxm_kernel_sTanh_ttab, sample<float>(10.0, 74), mpfr_tanh, "sTanh", 11.0);
}

// Routines whose result rounds once from a value accurate far beyond the
// type: double HA Sinh and Cosh (exact heads of e^|x| and e^-|x|), single
// Expm1 (evaluated in double, 2^-36 relative, then rounded once to float)
// and single LA Cosh, Sinh and Tanh (one rounding of an unrounded head and
// tail).  A bound well under the class's one ulp keeps
// a broken error term from hiding.
TEST(HyperbolicAccuracy, RoundedOnceStayNearHalfAnUlp) {
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_dSinh_ttab[1], sample<double>(710.47, 81), mpfr_sinh, "dSinh HA").max_ulp, 0.6);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_dCosh_ttab[1], sample<double>(710.47, 82), mpfr_cosh, "dCosh HA").max_ulp, 0.6);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sExpm1_ttab[1], sample<float>(88.72, 83), mpfr_expm1, "sExpm1").max_ulp, 0.501);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sCosh_ttab[0], sample<float>(87.3, 84), mpfr_cosh, "sCosh LA").max_ulp, 0.95);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sTanh_ttab[0], sample<float>(12.0, 85), mpfr_tanh, "sTanh LA").max_ulp, 0.9);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sSinh_ttab[0], sample<float>(87.3, 86), mpfr_sinh, "sSinh LA").max_ulp, 0.9);
}

}  // namespace
