// The root and power family against MPFR in every slot, double and single:
// the whole range including denormals for the roots, and for Pow the hard
// cases: results near overflow and underflow, bases within a few ulps of 1
// with huge exponents, integer exponents, negative bases with integer
// exponents.
#include <cfloat>

#include "qlm/qlm_vxm.h"
#include "vector/power/accuracy_support.h"

namespace {

using namespace qlm::test;

// Exact references that MPFR lacks as one call; 256 bits make the
// intermediate roundings irrelevant.
int ref_inv_cbrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) {
    mpfr_t t;
    mpfr_init2(t, 400);
    mpfr_cbrt(t, x, MPFR_RNDN);
    mpfr_ui_div(r, 1, t, MPFR_RNDN);
    mpfr_clear(t);
    return 0;
}
int ref_pow2o3(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) {
    mpfr_t t;
    mpfr_init2(t, 400);
    mpfr_cbrt(t, x, MPFR_RNDN);
    mpfr_sqr(r, t, MPFR_RNDN);
    mpfr_clear(t);
    return 0;
}
int ref_pow3o2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) {
    mpfr_t t;
    mpfr_init2(t, 400);
    mpfr_sqrt(t, x, MPFR_RNDN);
    mpfr_mul(r, t, x, MPFR_RNDN);
    mpfr_clear(t);
    return 0;
}

template <typename T>
std::vector<T> root_samples(bool both_signs, uint32_t seed) {
    const double lo = sizeof(T) == 8 ? -1074 : -149, hi = sizeof(T) == 8 ? 1024 : 128;
    std::vector<T> x = log_uniform<T>(12000, lo, hi, both_signs, seed);
    append(x, uniform<T>(8000, both_signs ? -10 : 0, 10, seed + 1));
    for (T v : {T(1), T(8), T(27), T(0.125), std::numeric_limits<T>::max(),
                std::numeric_limits<T>::min(), std::numeric_limits<T>::denorm_min()})
        x.push_back(v);
    return x;
}

template <typename T, typename Table>
void check_root(const Table& table, mpfr_unary f, bool both_signs, const char* what) {
    const std::vector<T> x = root_samples<T>(both_signs, 101);
    for (int s : {LA, HA, EP}) {
        std::vector<T> y(x.size());
        table[s](static_cast<int32_t>(x.size()), x.data(), y.data());
        // EP is judged in correct bits, over the results in the normal range.
        expect_class(s == EP ? measure_normal_unary(x, y, f) : measure_unary(x, y, f), s, what, x);
    }
}

TEST(PowerAccuracy, SquareRoots) {
    check_root<double>(qlm_vxm_kernel_dSqrt_ttab, mpfr_sqrt, false, "dSqrt");
    check_root<float>(qlm_vxm_kernel_sSqrt_ttab, mpfr_sqrt, false, "sSqrt");
    check_root<double>(qlm_vxm_kernel_dInvSqrt_ttab, mpfr_rec_sqrt, false, "dInvSqrt");
    check_root<float>(qlm_vxm_kernel_sInvSqrt_ttab, mpfr_rec_sqrt, false, "sInvSqrt");
}

TEST(PowerAccuracy, CubeRootsAndFixedPowers) {
    check_root<double>(qlm_vxm_kernel_dCbrt_ttab, mpfr_cbrt, true, "dCbrt");
    check_root<float>(qlm_vxm_kernel_sCbrt_ttab, mpfr_cbrt, true, "sCbrt");
    check_root<double>(qlm_vxm_kernel_dInvCbrt_ttab, ref_inv_cbrt, true, "dInvCbrt");
    check_root<float>(qlm_vxm_kernel_sInvCbrt_ttab, ref_inv_cbrt, true, "sInvCbrt");
    check_root<double>(qlm_vxm_kernel_dPow2o3_ttab, ref_pow2o3, true, "dPow2o3");
    check_root<float>(qlm_vxm_kernel_sPow2o3_ttab, ref_pow2o3, true, "sPow2o3");
    check_root<double>(qlm_vxm_kernel_dPow3o2_ttab, ref_pow3o2, false, "dPow3o2");
    check_root<float>(qlm_vxm_kernel_sPow3o2_ttab, ref_pow3o2, false, "sPow3o2");
}

// Pairs (x, y) for Pow.
template <typename T>
void pow_samples(std::vector<T>& x, std::vector<T>& y, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> u(0, 1);
    const double max_log = sizeof(T) == 8 ? 709.78 : 88.72;
    const double min_log = sizeof(T) == 8 ? -744.4 : -103.2;
    const double max_exp2 = sizeof(T) == 8 ? 1000 : 120;
    auto add = [&](double a, double b) {
        x.push_back(static_cast<T>(a));
        y.push_back(static_cast<T>(b));
    };
    for (int i = 0; i < 12000; ++i) {  // general: any base, moderate exponents
        add(std::exp2((u(gen) * 2 - 1) * max_exp2), (u(gen) * 2 - 1) * 30);
    }
    for (int i = 0; i < 8000; ++i) {  // results near overflow and underflow
        const double b = std::exp2((u(gen) * 2 - 1) * 8);
        if (b == 1) continue;
        const double target = (i % 2 ? max_log : min_log) * (0.97 + 0.0302 * u(gen));
        add(b, target / std::log(b));
    }
    for (int i = 0; i < 6000; ++i) {  // bases within a few ulps of 1, huge exponents
        const double k = std::floor(u(gen) * 64) + 1;
        const double eps = sizeof(T) == 8 ? 0x1p-52 : 0x1p-23;
        const double b = i % 2 ? 1 + k * eps : 1 - k * eps / 2;
        add(b, (u(gen) * 2 - 1) * (sizeof(T) == 8 ? 4e15 : 1.5e7));
    }
    for (int i = 0; i < 6000; ++i) {  // integer exponents, negative bases too
        const double b = std::exp2((u(gen) * 2 - 1) * 6) * (i % 2 ? -1 : 1);
        add(b, std::floor((u(gen) * 2 - 1) * 60));
    }
    add(2, 10);
    add(-2, 3);
    add(10, -3);
    add(-0.5, -3);
}

template <typename T, typename Table>
void check_pow(const Table& table, const char* what) {
    std::vector<T> x, y;
    pow_samples(x, y, 202);
    for (int s : {LA, HA, EP}) {
        std::vector<T> r(x.size());
        table[s](static_cast<int32_t>(x.size()), x.data(), y.data(), r.data());
        expect_class(s == EP ? measure_normal_binary(x, y, r, mpfr_pow) : measure_binary(x, y, r, mpfr_pow),
                     s, what, x);
    }
}

TEST(PowerAccuracy, DoublePow) { check_pow<double>(qlm_vxm_kernel_dPow_ttab, "dPow"); }
TEST(PowerAccuracy, SinglePow) { check_pow<float>(qlm_vxm_kernel_sPow_ttab, "sPow"); }

template <typename T, typename Table>
void check_powx(const Table& table, const char* what) {
    const std::vector<T> x = log_uniform<T>(5000, sizeof(T) == 8 ? -60 : -20, sizeof(T) == 8 ? 60 : 20, false, 303);
    for (T e : {T(0.5), T(-1.75), T(7), T(1) / T(3)}) {
        const std::vector<T> b(x.size(), e);
        for (int s : {LA, HA, EP}) {
            std::vector<T> r(x.size());
            table[s](static_cast<int32_t>(x.size()), x.data(), e, r.data());
            expect_class(s == EP ? measure_normal_binary(x, b, r, mpfr_pow) : measure_binary(x, b, r, mpfr_pow),
                         s, what, x);
        }
    }
}

TEST(PowerAccuracy, Powx) {
    check_powx<double>(qlm_vxm_kernel_dPowx_ttab, "dPowx");
    check_powx<float>(qlm_vxm_kernel_sPowx_ttab, "sPowx");
}

template <typename T, typename Table>
void check_hypot(const Table& table, const char* what) {
    const double lo = sizeof(T) == 8 ? -1074 : -149, hi = sizeof(T) == 8 ? 1024 : 128;
    std::vector<T> x = log_uniform<T>(20000, lo, hi, true, 404);
    std::vector<T> y = log_uniform<T>(20000, lo, hi, true, 405);
    append(x, uniform<T>(20000, -100, 100, 406));
    append(y, uniform<T>(20000, -100, 100, 407));
    x.push_back(std::numeric_limits<T>::max());
    y.push_back(std::numeric_limits<T>::max());  // overflows
    for (int s : {LA, HA, EP}) {
        std::vector<T> r(x.size());
        table[s](static_cast<int32_t>(x.size()), x.data(), y.data(), r.data());
        expect_class(s == EP ? measure_normal_binary(x, y, r, mpfr_hypot) : measure_binary(x, y, r, mpfr_hypot),
                     s, what, x);
    }
}

TEST(PowerAccuracy, Hypot) {
    check_hypot<double>(qlm_vxm_kernel_dHypot_ttab, "dHypot");
    check_hypot<float>(qlm_vxm_kernel_sHypot_ttab, "sHypot");
}

}  // namespace
