// Roots, powers and trigonometric functions against SLEEF (SSE4, u10 beside
// HA, u35 beside LA and EP), glibc's SSE vector variants and glibc's scalar
// functions, on the same 1024 inputs in the same run; the single rows (names
// starting with s) set our HA beside SLEEF u10 and our LA beside glibc's
// packed single variants.  Before timing, the
// max error of each contender on those inputs is measured against MPFR and
// printed, so that each speed ratio stands beside an accuracy figure.
#include <mpfr.h>
#include <sleef.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

extern "C" {
__m128d _ZGVbN2v_sin(__m128d);
__m128d _ZGVbN2v_cos(__m128d);
__m128d _ZGVbN2v_tan(__m128d);
__m128d _ZGVbN2v_cbrt(__m128d);
__m128d _ZGVbN2vv_pow(__m128d, __m128d);
__m128d _ZGVbN2vv_hypot(__m128d, __m128d);
__m128 _ZGVbN4v_sinf(__m128);
__m128 _ZGVbN4v_cosf(__m128);
__m128 _ZGVbN4v_tanf(__m128);
__m128 _ZGVbN4v_cbrtf(__m128);
__m128 _ZGVbN4vv_powf(__m128, __m128);
}

namespace {

constexpr int kN = 1024;

template <typename T>
struct inputs {
    std::vector<T> a, b;
};

template <typename T = double>
inputs<T> make(double lo, double hi, double blo, double bhi, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> u(lo, hi), v(blo, bhi);
    inputs<T> in{std::vector<T>(kN), std::vector<T>(kN)};
    for (int i = 0; i < kN; ++i) {
        in.a[i] = static_cast<T>(u(gen));
        in.b[i] = static_cast<T>(v(gen));
    }
    return in;
}

// A contender fills y from the inputs.
template <typename T>
using runner = std::function<void(const T*, const T*, T*)>;

// A packed peer: two doubles or four floats a call.
template <auto F>
runner<double> pairs1() {
    return [](const double* a, const double*, double* y) {
        for (int i = 0; i < kN; i += 2) _mm_storeu_pd(y + i, F(_mm_loadu_pd(a + i)));
    };
}
template <auto F>
runner<double> pairs2() {
    return [](const double* a, const double* b, double* y) {
        for (int i = 0; i < kN; i += 2) _mm_storeu_pd(y + i, F(_mm_loadu_pd(a + i), _mm_loadu_pd(b + i)));
    };
}
template <auto F>
runner<float> fours1() {
    return [](const float* a, const float*, float* y) {
        for (int i = 0; i < kN; i += 4) _mm_storeu_ps(y + i, F(_mm_loadu_ps(a + i)));
    };
}
template <auto F>
runner<float> fours2() {
    return [](const float* a, const float* b, float* y) {
        for (int i = 0; i < kN; i += 4) _mm_storeu_ps(y + i, F(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i)));
    };
}
template <typename T>
runner<T> scalar1(T (*f)(T)) {
    return [f](const T* a, const T*, T* y) {
        for (int i = 0; i < kN; ++i) y[i] = f(a[i]);
    };
}
template <typename T>
runner<T> scalar2(T (*f)(T, T)) {
    return [f](const T* a, const T* b, T* y) {
        for (int i = 0; i < kN; ++i) y[i] = f(a[i], b[i]);
    };
}
using f1 = double (*)(double);
using f2 = double (*)(double, double);
using f1f = float (*)(float);
using f2f = float (*)(float, float);
template <typename T>
runner<T> ours1(void (*k)(int32_t, const T*, T*)) {
    return [k](const T* a, const T*, T* y) { k(kN, a, y); };
}
template <typename T>
runner<T> ours2(void (*k)(int32_t, const T*, const T*, T*)) {
    return [k](const T* a, const T* b, T* y) { k(kN, a, b, y); };
}

template <typename T>
double max_ulp(const inputs<T>& in, const runner<T>& r, int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
               int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
    std::vector<T> y(kN);
    r(in.a.data(), in.b.data(), y.data());
    mpfr_t x, z, e;
    mpfr_inits2(200, x, z, e, static_cast<mpfr_ptr>(nullptr));
    constexpr int digits = std::numeric_limits<T>::digits - 1;
    constexpr int min_exp = std::numeric_limits<T>::min_exponent - 2;
    double worst = 0;
    for (int i = 0; i < kN; ++i) {
        mpfr_set_d(x, in.a[i], MPFR_RNDN);
        mpfr_set_d(z, in.b[i], MPFR_RNDN);
        if (f1) f1(e, x, MPFR_RNDN);
        else f2(e, x, z, MPFR_RNDN);
        const double exact = mpfr_get_d(e, MPFR_RNDN);
        const double ulp = std::ldexp(1.0, std::max(std::ilogb(exact), min_exp + 1) - digits);
        mpfr_sub_d(e, e, static_cast<double>(y[i]), MPFR_RNDN);
        worst = std::max(worst, std::fabs(mpfr_get_d(e, MPFR_RNDN)) / ulp);
    }
    mpfr_clears(x, z, e, static_cast<mpfr_ptr>(nullptr));
    return worst;
}

template <typename T>
struct contender {
    std::string name;
    runner<T> run;
};

template <typename T>
void register_function(const std::string& fn, const inputs<T>& in,
                       int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                       int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t),
                       const std::vector<contender<T>>& list) {
    for (const contender<T>& c : list) {
        const std::string name = fn + "/" + c.name;
        std::printf("[max error] %-28s %.3f ulp\n", name.c_str(), max_ulp(in, c.run, f1, f2));
        auto data = std::make_shared<inputs<T>>(in);
        auto out = std::make_shared<std::vector<T>>(kN);
        benchmark::RegisterBenchmark(name.c_str(), [data, out, run = c.run](benchmark::State& st) {
            for (auto _ : st) {
                run(data->a.data(), data->b.data(), out->data());
                benchmark::ClobberMemory();
            }
            st.SetItemsProcessed(st.iterations() * kN);
        });
    }
}

// The single rows: ours HA beside SLEEF u10, ours LA beside glibc's packed
// single variants, on the same kind of inputs as the double rows.
void register_single() {
    using qlm::bench::compare;
    const inputs<float> angles = make<float>(-10, 10, 0, 1, 11);
    const inputs<float> roots = make<float>(1e-3, 1e6, 0, 1, 12);
    const inputs<float> powers = make<float>(0.1, 10, -20, 20, 13);
    struct unary {
        const char* fn;
        const inputs<float>* in;
        int (*ref)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
        void (*ha)(int32_t, const float*, float*);
        void (*la)(int32_t, const float*, float*);
        runner<float> u10, glibc_vec;
    };
    const unary unaries[] = {
        {"sSin", &angles, mpfr_sin, _vxmsSin_HA, _vxmsSin_21, fours1<Sleef_sinf4_u10sse4>(), fours1<_ZGVbN4v_sinf>()},
        {"sCos", &angles, mpfr_cos, _vxmsCos_HA, _vxmsCos_21, fours1<Sleef_cosf4_u10sse4>(), fours1<_ZGVbN4v_cosf>()},
        {"sTan", &angles, mpfr_tan, _vxmsTan_HA, _vxmsTan_21, fours1<Sleef_tanf4_u10sse4>(), fours1<_ZGVbN4v_tanf>()},
        {"sCbrt", &roots, mpfr_cbrt, _vxmsCbrt_HA, _vxmsCbrt_21, fours1<Sleef_cbrtf4_u10sse4>(),
         fours1<_ZGVbN4v_cbrtf>()},
    };
    for (const unary& u : unaries) {
        register_function<float>(u.fn, *u.in, u.ref, nullptr,
                                 {{"ours_HA", ours1(u.ha)}, {"ours_LA", ours1(u.la)}, {"sleef_u10", u.u10},
                                  {"glibc_sse", u.glibc_vec}});
        const std::string f = u.fn;
        compare(f + "/ours_HA", f + "/sleef_u10");
        compare(f + "/ours_LA", f + "/glibc_sse");
    }
    register_function<float>("sPow", powers, nullptr, mpfr_pow,
                             {{"ours_HA", ours2(_vxmsPow_HA)}, {"ours_LA", ours2(_vxmsPow_21)},
                              {"sleef_u10", fours2<Sleef_powf4_u10sse4>()}, {"glibc_sse", fours2<_ZGVbN4vv_powf>()}});
    compare("sPow/ours_HA", "sPow/sleef_u10");
    compare("sPow/ours_LA", "sPow/glibc_sse");
}

}  // namespace

int main(int argc, char** argv) {
    using qlm::bench::compare;
    const inputs<double> angles = make(-10, 10, 0, 1, 1);
    const inputs<double> roots = make(1e-3, 1e6, 0, 1, 2);
    const inputs<double> powers = make(0.1, 10, -20, 20, 3);

    struct unary {
        const char* fn;
        const inputs<double>* in;
        int (*ref)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
        void (*ha)(int32_t, const double*, double*);
        void (*la)(int32_t, const double*, double*);
        void (*ep)(int32_t, const double*, double*);
        runner<double> u10, u35, glibc_vec, glibc;
        const char* u10_name = "sleef_u10";  // the accurate SLEEF variant
    };
    const unary unaries[] = {
        {"Sin", &angles, mpfr_sin, _vxmdSin_HA, _vxmdSin_50, _vxmdSin_26, pairs1<Sleef_sind2_u10sse4>(),
         pairs1<Sleef_sind2_u35sse4>(), pairs1<_ZGVbN2v_sin>(), scalar1<double>(static_cast<f1>(std::sin))},
        {"Cos", &angles, mpfr_cos, _vxmdCos_HA, _vxmdCos_50, _vxmdCos_26, pairs1<Sleef_cosd2_u10sse4>(),
         pairs1<Sleef_cosd2_u35sse4>(), pairs1<_ZGVbN2v_cos>(), scalar1<double>(static_cast<f1>(std::cos))},
        {"Tan", &angles, mpfr_tan, _vxmdTan_HA, _vxmdTan_50, _vxmdTan_26, pairs1<Sleef_tand2_u10sse4>(),
         pairs1<Sleef_tand2_u35sse4>(), pairs1<_ZGVbN2v_tan>(), scalar1<double>(static_cast<f1>(std::tan))},
        {"Cbrt", &roots, mpfr_cbrt, _vxmdCbrt_HA, _vxmdCbrt_50, _vxmdCbrt_26, pairs1<Sleef_cbrtd2_u10sse4>(),
         pairs1<Sleef_cbrtd2_u35sse4>(), pairs1<_ZGVbN2v_cbrt>(), scalar1<double>(static_cast<f1>(std::cbrt))},
        {"Sqrt", &roots, mpfr_sqrt, _vxmdSqrt_HA, _vxmdSqrt_50, _vxmdSqrt_26, pairs1<Sleef_sqrtd2_u05sse4>(),
         pairs1<Sleef_sqrtd2_u35sse4>(), nullptr, scalar1<double>(static_cast<f1>(std::sqrt)), "sleef_u05"},
    };
    for (const unary& u : unaries) {
        std::vector<contender<double>> list = {{"ours_HA", ours1(u.ha)}, {"ours_LA", ours1(u.la)},
                                       {"ours_EP", ours1(u.ep)}, {u.u10_name, u.u10},
                                       {"sleef_u35", u.u35}, {"glibc_scalar", u.glibc}};
        if (u.glibc_vec) list.push_back({"glibc_sse", u.glibc_vec});
        register_function<double>(u.fn, *u.in, u.ref, nullptr, list);
        const std::string f = u.fn;
        compare(f + "/ours_HA", f + "/" + u.u10_name);
        compare(f + "/ours_LA", f + "/sleef_u35");
        compare(f + "/ours_EP", f + "/sleef_u35");
        if (u.glibc_vec) compare(f + "/ours_LA", f + "/glibc_sse");
        compare(f + "/ours_HA", f + "/glibc_scalar");
    }
    register_function<double>("Pow", powers, nullptr, mpfr_pow,
                      {{"ours_HA", ours2(_vxmdPow_HA)}, {"ours_LA", ours2(_vxmdPow_50)},
                       {"ours_EP", ours2(_vxmdPow_26)}, {"sleef_u10", pairs2<Sleef_powd2_u10sse4>()},
                       {"glibc_sse", pairs2<_ZGVbN2vv_pow>()}, {"glibc_scalar", scalar2<double>(static_cast<f2>(std::pow))}});
    compare("Pow/ours_HA", "Pow/sleef_u10");
    compare("Pow/ours_LA", "Pow/glibc_sse");
    compare("Pow/ours_EP", "Pow/glibc_sse");
    compare("Pow/ours_HA", "Pow/glibc_scalar");
    register_function<double>("Hypot", powers, nullptr, mpfr_hypot,
                      {{"ours_HA", ours2(_vxmdHypot_HA)}, {"ours_LA", ours2(_vxmdHypot_50)},
                       {"ours_EP", ours2(_vxmdHypot_26)}, {"sleef_u05", pairs2<Sleef_hypotd2_u05sse4>()},
                       {"sleef_u35", pairs2<Sleef_hypotd2_u35sse4>()},
                       {"glibc_sse", pairs2<_ZGVbN2vv_hypot>()}, {"glibc_scalar", scalar2<double>(static_cast<f2>(std::hypot))}});
    compare("Hypot/ours_HA", "Hypot/sleef_u05");
    compare("Hypot/ours_LA", "Hypot/glibc_sse");
    compare("Hypot/ours_EP", "Hypot/sleef_u35");
    register_single();
    return qlm::bench::run_and_compare(argc, argv);
}
