// Sin, Cos, SinCos and Tan against MPFR in every slot, double and single,
// over the ranges each kernel treats differently: the wide lane, the
// neighbourhood of multiples of pi/2 where the reduction cancels, the
// evaluator's middle range, and huge arguments up to the largest finite
// value, where only an exact reduction gives a true result.
#include <cfloat>

#include "qlm/qlm_vxm.h"
#include "vector/power/accuracy_support.h"

namespace {

using namespace qlm::test;

template <typename T>
std::vector<T> trig_samples(uint32_t seed) {
    const std::size_t scale = sizeof(T) == 8 ? 2 : 1;  // single: half the points
    std::vector<T> x = uniform<T>(10000 * scale, -10, 10, seed);
    append(x, uniform<T>(5000 * scale, -90200, 90200, seed + 1));
    append(x, log_uniform<T>(5000 * scale, -40, 30, true, seed + 2));
    append(x, log_uniform<T>(3000, 30, sizeof(T) == 8 ? 1023.9 : 127.9, true, seed + 3));
    // Doubles nearest to multiples of pi/2 (and of pi/64): the reduced value
    // is tiny and carries the whole result.
    std::mt19937 gen(seed + 4);
    for (int k = 1; k < 3000; ++k) {
        const double m = static_cast<double>(gen() % 200000) * (k % 2 ? 1.5707963267948966 : 0.04908738521234052);
        x.push_back(static_cast<T>(m));
        x.push_back(std::nextafter(static_cast<T>(m), T(0)));
    }
    const T huge[] = {T(1e22), T(-1e22), static_cast<T>(sizeof(T) == 8 ? 1e300 : 1e38),
                      std::numeric_limits<T>::max(), -std::numeric_limits<T>::max(), T(90112),
                      T(-90112), T(1) / T(1 << 20), std::numeric_limits<T>::denorm_min(),
                      T(16777216), T(33554432), static_cast<T>(6381956970095103.0 * 0x1p797)};
    x.insert(x.end(), std::begin(huge), std::end(huge));
    return x;
}

template <typename T, typename Kernel>
std::vector<T> run(Kernel k, const std::vector<T>& x) {
    std::vector<T> y(x.size());
    k(static_cast<int32_t>(x.size()), x.data(), y.data());
    return y;
}

template <typename T, typename Table>
void check_unary(const Table& table, mpfr_unary f, const char* what, uint32_t seed) {
    const std::vector<T> x = trig_samples<T>(seed);
    for (int s : {LA, HA, EP}) expect_class(measure_unary(x, run(table[s], x), f), s, what, x);
}

TEST(TrigAccuracy, DoubleSin) { check_unary<double>(qlm_vxm_kernel_dSin_ttab, mpfr_sin, "dSin", 11); }
TEST(TrigAccuracy, DoubleCos) { check_unary<double>(qlm_vxm_kernel_dCos_ttab, mpfr_cos, "dCos", 12); }
TEST(TrigAccuracy, DoubleTan) { check_unary<double>(qlm_vxm_kernel_dTan_ttab, mpfr_tan, "dTan", 13); }

template <typename T, typename Table>
void check_sincos(const Table& table, const char* what, uint32_t seed) {
    const std::vector<T> x = trig_samples<T>(seed);
    for (int s : {LA, HA, EP}) {
        std::vector<T> y(x.size()), z(x.size());
        table[s](static_cast<int32_t>(x.size()), x.data(), y.data(), z.data());
        expect_class(measure_unary(x, y, mpfr_sin), s, std::string(what) + " sin", x);
        expect_class(measure_unary(x, z, mpfr_cos), s, std::string(what) + " cos", x);
    }
}

TEST(TrigAccuracy, DoubleSinCos) { check_sincos<double>(qlm_vxm_kernel_dSinCos_ttab, "dSinCos", 14); }

}  // namespace

namespace {

using namespace qlm::test;

TEST(TrigAccuracy, SingleSinCosTan) {
    check_unary<float>(qlm_vxm_kernel_sSin_ttab, mpfr_sin, "sSin", 21);
    check_unary<float>(qlm_vxm_kernel_sCos_ttab, mpfr_cos, "sCos", 22);
    check_unary<float>(qlm_vxm_kernel_sTan_ttab, mpfr_tan, "sTan", 23);
    check_sincos<float>(qlm_vxm_kernel_sSinCos_ttab, "sSinCos", 24);
}

}  // namespace
