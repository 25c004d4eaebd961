// Roots, powers and trigonometric functions against SLEEF (SSE4, u10 beside
// HA, u35 beside LA and EP), glibc's SSE vector variants and glibc's scalar
// functions, on the same 1024 inputs in the same run.  Before timing, the
// max error of each contender on those inputs is measured against MPFR and
// printed, so that each speed ratio stands beside an accuracy figure.
#include <mpfr.h>
#include <sleef.h>

#include <cmath>
#include <cstdio>
#include <functional>
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
}

namespace {

constexpr int kN = 1024;

struct inputs {
    std::vector<double> a, b;
};

inputs make(double lo, double hi, double blo, double bhi, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> u(lo, hi), v(blo, bhi);
    inputs in{std::vector<double>(kN), std::vector<double>(kN)};
    for (int i = 0; i < kN; ++i) {
        in.a[i] = u(gen);
        in.b[i] = v(gen);
    }
    return in;
}

// A contender fills y from the inputs.
using runner = std::function<void(const double*, const double*, double*)>;

template <auto F>
runner pairs1() {
    return [](const double* a, const double*, double* y) {
        for (int i = 0; i < kN; i += 2) _mm_storeu_pd(y + i, F(_mm_loadu_pd(a + i)));
    };
}
template <auto F>
runner pairs2() {
    return [](const double* a, const double* b, double* y) {
        for (int i = 0; i < kN; i += 2) _mm_storeu_pd(y + i, F(_mm_loadu_pd(a + i), _mm_loadu_pd(b + i)));
    };
}
runner scalar1(double (*f)(double)) {
    return [f](const double* a, const double*, double* y) {
        for (int i = 0; i < kN; ++i) y[i] = f(a[i]);
    };
}
runner scalar2(double (*f)(double, double)) {
    return [f](const double* a, const double* b, double* y) {
        for (int i = 0; i < kN; ++i) y[i] = f(a[i], b[i]);
    };
}
using f1 = double (*)(double);
using f2 = double (*)(double, double);
runner ours1(void (*k)(int32_t, const double*, double*)) {
    return [k](const double* a, const double*, double* y) { k(kN, a, y); };
}
runner ours2(void (*k)(int32_t, const double*, const double*, double*)) {
    return [k](const double* a, const double* b, double* y) { k(kN, a, b, y); };
}

double max_ulp(const inputs& in, const runner& r, int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
               int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
    std::vector<double> y(kN);
    r(in.a.data(), in.b.data(), y.data());
    mpfr_t x, z, e;
    mpfr_inits2(200, x, z, e, static_cast<mpfr_ptr>(nullptr));
    double worst = 0;
    for (int i = 0; i < kN; ++i) {
        mpfr_set_d(x, in.a[i], MPFR_RNDN);
        mpfr_set_d(z, in.b[i], MPFR_RNDN);
        if (f1) f1(e, x, MPFR_RNDN);
        else f2(e, x, z, MPFR_RNDN);
        const double exact = mpfr_get_d(e, MPFR_RNDN);
        const double ulp = std::ldexp(1.0, std::max(std::ilogb(exact), -1022) - 52);
        mpfr_sub_d(e, e, y[i], MPFR_RNDN);
        worst = std::max(worst, std::fabs(mpfr_get_d(e, MPFR_RNDN)) / ulp);
    }
    mpfr_clears(x, z, e, static_cast<mpfr_ptr>(nullptr));
    return worst;
}

struct contender {
    std::string name;
    runner run;
};

void register_function(const std::string& fn, const inputs& in,
                       int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                       int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t),
                       const std::vector<contender>& list) {
    for (const contender& c : list) {
        const std::string name = fn + "/" + c.name;
        std::printf("[max error] %-28s %.3f ulp\n", name.c_str(), max_ulp(in, c.run, f1, f2));
        auto data = std::make_shared<inputs>(in);
        auto out = std::make_shared<std::vector<double>>(kN);
        benchmark::RegisterBenchmark(name.c_str(), [data, out, run = c.run](benchmark::State& st) {
            for (auto _ : st) {
                run(data->a.data(), data->b.data(), out->data());
                benchmark::ClobberMemory();
            }
            st.SetItemsProcessed(st.iterations() * kN);
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    using qlm::bench::compare;
    const inputs angles = make(-10, 10, 0, 1, 1);
    const inputs roots = make(1e-3, 1e6, 0, 1, 2);
    const inputs powers = make(0.1, 10, -20, 20, 3);

    struct unary {
        const char* fn;
        const inputs* in;
        int (*ref)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
        void (*ha)(int32_t, const double*, double*);
        void (*la)(int32_t, const double*, double*);
        void (*ep)(int32_t, const double*, double*);
        runner u10, u35, glibc_vec, glibc;
        const char* u10_name = "sleef_u10";  // the accurate SLEEF variant
    };
    const unary unaries[] = {
        {"Sin", &angles, mpfr_sin, _vxmdSin_HA, _vxmdSin_50, _vxmdSin_26, pairs1<Sleef_sind2_u10sse4>(),
         pairs1<Sleef_sind2_u35sse4>(), pairs1<_ZGVbN2v_sin>(), scalar1(static_cast<f1>(std::sin))},
        {"Cos", &angles, mpfr_cos, _vxmdCos_HA, _vxmdCos_50, _vxmdCos_26, pairs1<Sleef_cosd2_u10sse4>(),
         pairs1<Sleef_cosd2_u35sse4>(), pairs1<_ZGVbN2v_cos>(), scalar1(static_cast<f1>(std::cos))},
        {"Tan", &angles, mpfr_tan, _vxmdTan_HA, _vxmdTan_50, _vxmdTan_26, pairs1<Sleef_tand2_u10sse4>(),
         pairs1<Sleef_tand2_u35sse4>(), pairs1<_ZGVbN2v_tan>(), scalar1(static_cast<f1>(std::tan))},
        {"Cbrt", &roots, mpfr_cbrt, _vxmdCbrt_HA, _vxmdCbrt_50, _vxmdCbrt_26, pairs1<Sleef_cbrtd2_u10sse4>(),
         pairs1<Sleef_cbrtd2_u35sse4>(), pairs1<_ZGVbN2v_cbrt>(), scalar1(static_cast<f1>(std::cbrt))},
        {"Sqrt", &roots, mpfr_sqrt, _vxmdSqrt_HA, _vxmdSqrt_50, _vxmdSqrt_26, pairs1<Sleef_sqrtd2_u05sse4>(),
         pairs1<Sleef_sqrtd2_u35sse4>(), nullptr, scalar1(static_cast<f1>(std::sqrt)), "sleef_u05"},
    };
    for (const unary& u : unaries) {
        std::vector<contender> list = {{"ours_HA", ours1(u.ha)}, {"ours_LA", ours1(u.la)},
                                       {"ours_EP", ours1(u.ep)}, {u.u10_name, u.u10},
                                       {"sleef_u35", u.u35}, {"glibc_scalar", u.glibc}};
        if (u.glibc_vec) list.push_back({"glibc_sse", u.glibc_vec});
        register_function(u.fn, *u.in, u.ref, nullptr, list);
        const std::string f = u.fn;
        compare(f + "/ours_HA", f + "/" + u.u10_name);
        compare(f + "/ours_LA", f + "/sleef_u35");
        compare(f + "/ours_EP", f + "/sleef_u35");
        if (u.glibc_vec) compare(f + "/ours_LA", f + "/glibc_sse");
        compare(f + "/ours_HA", f + "/glibc_scalar");
    }
    register_function("Pow", powers, nullptr, mpfr_pow,
                      {{"ours_HA", ours2(_vxmdPow_HA)}, {"ours_LA", ours2(_vxmdPow_50)},
                       {"ours_EP", ours2(_vxmdPow_26)}, {"sleef_u10", pairs2<Sleef_powd2_u10sse4>()},
                       {"glibc_sse", pairs2<_ZGVbN2vv_pow>()}, {"glibc_scalar", scalar2(static_cast<f2>(std::pow))}});
    compare("Pow/ours_HA", "Pow/sleef_u10");
    compare("Pow/ours_LA", "Pow/glibc_sse");
    compare("Pow/ours_EP", "Pow/glibc_sse");
    compare("Pow/ours_HA", "Pow/glibc_scalar");
    register_function("Hypot", powers, nullptr, mpfr_hypot,
                      {{"ours_HA", ours2(_vxmdHypot_HA)}, {"ours_LA", ours2(_vxmdHypot_50)},
                       {"ours_EP", ours2(_vxmdHypot_26)}, {"sleef_u05", pairs2<Sleef_hypotd2_u05sse4>()},
                       {"sleef_u35", pairs2<Sleef_hypotd2_u35sse4>()},
                       {"glibc_sse", pairs2<_ZGVbN2vv_hypot>()}, {"glibc_scalar", scalar2(static_cast<f2>(std::hypot))}});
    compare("Hypot/ours_HA", "Hypot/sleef_u05");
    compare("Hypot/ours_LA", "Hypot/glibc_sse");
    compare("Hypot/ours_EP", "Hypot/sleef_u35");
    return qlm::bench::run_and_compare(argc, argv);
}
