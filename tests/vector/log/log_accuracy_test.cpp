// Accuracy of the logarithm kernels against MPFR, per slot, over samples
// that include the hard regions: arguments next to 1 (and next to 0 for
// Log1p), denormals, the largest finite numbers, and the mantissas around
// 1.5 where the fine table's rows change meaning.
#include <gtest/gtest.h>

#include <cfloat>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "vector/accuracy_sampling.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> log_sample(uint32_t seed) {
    std::vector<T> x;
    const double tiny = sizeof(T) == 4 ? FLT_TRUE_MIN : DBL_TRUE_MIN;
    const double huge = sizeof(T) == 4 ? FLT_MAX : DBL_MAX;
    add_log_uniform(x, 40000, tiny, huge, false, seed);
    add_uniform(x, 20000, 0.5, 2.0, seed + 1);
    add_uniform(x, 10000, 1.0 - 1.0 / 64, 1.0 + 1.0 / 64, seed + 2);
    add_uniform(x, 4000, 1.49, 1.51, seed + 3);
    add_uniform(x, 4000, 2.98, 3.02, seed + 4);
    for (T v : {T(1), T(1.5), T(0.75), T(2), T(tiny), T(huge)}) add_neighbours(x, v, 30);
    return x;
}

template <typename T>
std::vector<T> log1p_sample(uint32_t seed) {
    std::vector<T> x;
    const double huge = sizeof(T) == 4 ? FLT_MAX : DBL_MAX;
    add_log_uniform(x, 30000, 1e-300, huge, false, seed);
    add_log_uniform(x, 20000, 1e-30, 1.0, true, seed + 1);
    add_uniform(x, 20000, -1.0, 2.0, seed + 2);
    for (T v : {T(0), T(-0.5), T(1), std::nextafter(T(-1), T(0))}) add_neighbours(x, v, 30);
    return x;
}

TEST(LogAccuracy, DoubleLn) {
    // The EP formula keeps one coefficient: its truncation r^3/3 leaves
    // about 20 correct bits next to 1, which is what it is measured
    // against here; away from 1 it holds 26 and more (next test).
    check_slots(qlm_vxm_kernel_dLn_ttab, log_sample<double>(31), mpfr_log, "dLn", 19.5);
}

TEST(LogAccuracy, DoubleLnEpAwayFromOne) {
    std::vector<double> x;
    add_log_uniform(x, 20000, 4.0, DBL_MAX, false, 32);
    add_log_uniform(x, 20000, DBL_MIN, 0.25, false, 33);
    EXPECT_GE(run_and_measure(qlm_vxm_kernel_dLn_ttab[2], x, mpfr_log, "dLn EP far").min_bits, 26.0);
}

TEST(LogAccuracy, DoubleLog10) {
    check_slots(qlm_vxm_kernel_dLog10_ttab, log_sample<double>(41), mpfr_log10, "dLog10", 26.0);
}

TEST(LogAccuracy, DoubleLog1p) {
    check_slots(qlm_vxm_kernel_dLog1p_ttab, log1p_sample<double>(42), mpfr_log1p, "dLog1p", 26.0);
}

TEST(LogAccuracy, SingleLn) {
    check_slots(qlm_vxm_kernel_sLn_ttab, log_sample<float>(51), mpfr_log, "sLn", 11.0);
}

TEST(LogAccuracy, SingleLog10) {
    check_slots(qlm_vxm_kernel_sLog10_ttab, log_sample<float>(52), mpfr_log10, "sLog10", 11.0);
}

TEST(LogAccuracy, SingleLog1p) {
    check_slots(qlm_vxm_kernel_sLog1p_ttab, log1p_sample<float>(53), mpfr_log1p, "sLog1p", 11.0);
}

}  // namespace
