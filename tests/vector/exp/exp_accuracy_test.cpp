// Accuracy of the exponential kernels against MPFR, per slot, over samples
// that include the hard regions: the thresholds of overflow and underflow,
// denormal results, arguments near 0, and the rows between the screen and
// the thresholds where the scale is split.
#include <gtest/gtest.h>

#include <cfloat>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/accuracy_sampling.h"

namespace {

using namespace qlm::test;

constexpr int kLA = 0, kHA = 1, kEP = 2;

std::vector<double> double_exp_sample() {
    std::vector<double> x;
    add_uniform(x, 40000, -745.2, 709.79, 11);
    add_uniform(x, 20000, -2.0, 2.0, 12);
    add_log_uniform(x, 10000, 1e-300, 1e-3, true, 13);
    add_uniform(x, 4000, -745.2, -708.3, 14);  // denormal results
    add_uniform(x, 4000, 708.3, 709.78, 15);   // above the screen
    for (double v : {709.7772976810359, 709.7827128933841, -708.3964185322642, -745.1332191019412,
                     708.39641853226408, -708.39641853226408, 0.0, DBL_TRUE_MIN, -DBL_TRUE_MIN})
        add_neighbours(x, v, 20);
    return x;
}

std::vector<float> single_exp_sample() {
    std::vector<float> x;
    add_uniform(x, 60000, -104.0, 88.8, 21);
    add_uniform(x, 20000, -2.0, 2.0, 22);
    add_log_uniform(x, 10000, 1e-40, 1e-2, true, 23);
    add_uniform(x, 5000, -104.0, -87.0, 24);
    add_uniform(x, 5000, 87.0, 88.8, 25);
    for (float v : {88.72283935546875f, 87.3365478515625f, -87.3365478515625f, -103.27893829345703f,
                    0.0f, FLT_TRUE_MIN})
        add_neighbours(x, v, 20);
    return x;
}

// Correct bits are counted where the result is normal: a denormal has
// fewer bits than the class asks for even when correctly rounded.
template <typename T>
std::vector<T> normal_results_only(const std::vector<T>& x, T lo, T hi) {
    std::vector<T> kept;
    for (T v : x)
        if (v >= lo && v <= hi) kept.push_back(v);
    return kept;
}

TEST(ExpAccuracy, DoubleSlotsMeetTheirClass) {
    const auto x = double_exp_sample();
    const auto normal = normal_results_only(x, -708.39, 709.78);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_dExp_ttab[kHA], x, mpfr_exp, "dExp HA").max_ulp, 1.0);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_dExp_ttab[kLA], x, mpfr_exp, "dExp LA").max_ulp, 4.0);
    run_and_measure(qlm_vxm_kernel_dExp_ttab[kEP], x, mpfr_exp, "dExp EP");
    EXPECT_GE(run_and_measure(qlm_vxm_kernel_dExp_ttab[kEP], normal, mpfr_exp, "dExp EP nrm").min_bits, 26.0);
}

TEST(ExpAccuracy, SingleSlotsMeetTheirClass) {
    const auto x = single_exp_sample();
    const auto normal = normal_results_only(x, -87.33f, 88.72f);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sExp_ttab[kHA], x, mpfr_exp, "sExp HA").max_ulp, 1.0);
    EXPECT_LE(run_and_measure(qlm_vxm_kernel_sExp_ttab[kLA], x, mpfr_exp, "sExp LA").max_ulp, 4.0);
    run_and_measure(qlm_vxm_kernel_sExp_ttab[kEP], x, mpfr_exp, "sExp EP");
    EXPECT_GE(run_and_measure(qlm_vxm_kernel_sExp_ttab[kEP], normal, mpfr_exp, "sExp EP nrm").min_bits, 11.0);
}

}  // namespace
