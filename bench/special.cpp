// The inverse trigonometric, inverse hyperbolic, error and inverse error
// functions against
// their peers, in one run: SLEEF SSE4 (u10 beside our HA, u35 beside our LA
// and EP where SLEEF has one), glibc's SSE vector variants (libmvec, beside
// our LA) and a loop over glibc's scalar function.  CdfNorm, which SLEEF
// lacks, is compared with a loop over erfc(-x/sqrt 2)/2 in glibc, the best
// plain scalar method; CdfNormInv and ErfcInv with a loop over Wichura's
// AS241 rational approximation, ErfInv with a loop over the rational start
// and two Halley steps on glibc's erfc.  4096 elements, in cache; inputs spread over each
// function's domain.
//
// Before the runs, the max error in ulps of each Erf, Erfc and CdfNorm
// contender on the benchmark's own inputs, against MPFR.  SLEEF's erfc is
// u15 (it has no u10): our Erfc HA is compared with that.  Likewise for
// every contender of Asin, Acos, Atan, Atan2, Asinh, Acosh and Atanh.
//
//   bench_special                   the benchmarks and the ratios
//   bench_special --cost_figures    cycles per element of every routine by
//                                   rdtsc on 1000-element vectors: the
//                                   figures of the registry's cost columns
#include <emmintrin.h>
#include <mpfr.h>
#include <sleef.h>
#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

extern "C" {
__m128d _ZGVbN2v_asin(__m128d);
__m128d _ZGVbN2v_acos(__m128d);
__m128d _ZGVbN2v_atan(__m128d);
__m128d _ZGVbN2vv_atan2(__m128d, __m128d);
__m128d _ZGVbN2v_asinh(__m128d);
__m128d _ZGVbN2v_acosh(__m128d);
__m128d _ZGVbN2v_atanh(__m128d);
__m128d _ZGVbN2v_erf(__m128d);
__m128d _ZGVbN2v_erfc(__m128d);
__m128 _ZGVbN4v_asinf(__m128);
__m128 _ZGVbN4v_acosf(__m128);
__m128 _ZGVbN4v_atanf(__m128);
__m128 _ZGVbN4vv_atan2f(__m128, __m128);
__m128 _ZGVbN4v_asinhf(__m128);
__m128 _ZGVbN4v_acoshf(__m128);
__m128 _ZGVbN4v_atanhf(__m128);
__m128 _ZGVbN4v_erff(__m128);
__m128 _ZGVbN4v_erfcf(__m128);
}

namespace {

using qlm::bench::aligned_buffer;
constexpr int kN = 4096;

// Inputs spread over [lo, hi] in a fixed shuffled order.
template <typename T>
void fill(T* x, int n, double lo, double hi) {
    uint64_t s = 12345;
    for (int i = 0; i < n; ++i) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        x[i] = static_cast<T>(lo + (hi - lo) * static_cast<double>(s >> 11) * 0x1p-53);
    }
}

struct domain {
    double lo, hi;
};

template <typename T>
struct buffers {
    buffers(domain d, domain d2) : a(kN), b(kN), y(kN) {
        fill(a.data, kN, d.lo, d.hi);
        fill(b.data, kN, d2.lo, d2.hi);
        std::reverse(b.data, b.data + kN);
    }
    aligned_buffer<T> a, b, y;
};

using dvec = std::function<void(int, const double*, const double*, double*)>;
using svec = std::function<void(int, const float*, const float*, float*)>;

void register_double(const std::string& name, domain d, domain d2, dvec f) {
    benchmark::RegisterBenchmark(name.c_str(), [d, d2, f](benchmark::State& st) {
        buffers<double> o(d, d2);
        for (auto _ : st) {
            f(kN, o.a.data, o.b.data, o.y.data);
            benchmark::ClobberMemory();
        }
        st.SetItemsProcessed(st.iterations() * kN);
    });
}
void register_single(const std::string& name, domain d, domain d2, svec f) {
    benchmark::RegisterBenchmark(name.c_str(), [d, d2, f](benchmark::State& st) {
        buffers<float> o(d, d2);
        for (auto _ : st) {
            f(kN, o.a.data, o.b.data, o.y.data);
            benchmark::ClobberMemory();
        }
        st.SetItemsProcessed(st.iterations() * kN);
    });
}

// Loops over a peer's vector function, two doubles or four floats a call.
#define QLM_PAIRS(V)                                                                 \
    [](int n, const double* a, const double*, double* y) {                          \
        for (int i = 0; i < n; i += 2) _mm_store_pd(y + i, V(_mm_load_pd(a + i)));   \
    }
#define QLM_PAIRS2(V)                                                                          \
    [](int n, const double* a, const double* b, double* y) {                                  \
        for (int i = 0; i < n; i += 2) _mm_store_pd(y + i, V(_mm_load_pd(a + i), _mm_load_pd(b + i))); \
    }
#define QLM_QUADS(V)                                                                 \
    [](int n, const float* a, const float*, float* y) {                             \
        for (int i = 0; i < n; i += 4) _mm_store_ps(y + i, V(_mm_load_ps(a + i)));   \
    }
#define QLM_QUADS2(V)                                                                          \
    [](int n, const float* a, const float* b, float* y) {                                     \
        for (int i = 0; i < n; i += 4) _mm_store_ps(y + i, V(_mm_load_ps(a + i), _mm_load_ps(b + i))); \
    }
template <double (*F)(double)>
__attribute__((noinline)) void scalar_loop(int n, const double* a, const double*, double* y) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
}
template <float (*F)(float)>
__attribute__((noinline)) void scalar_loop_f(int n, const float* a, const float*, float* y) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
}

double cdfnorm_plain(double x) { return 0.5 * std::erfc(-x * 0.70710678118654752440); }
float cdfnorm_plain_f(float x) { return 0.5f * erfcf(-x * 0.70710678f); }

// The plain scalar quantile: Wichura's AS241 (PPND16), rational functions
// of degree 7 in three regions, relative error about 1e-16, the best plain
// scalar method without iteration.
double as241_quantile(double p) {
    const double q = p - 0.5;
    if (std::fabs(q) <= 0.425) {
        const double r = 0.180625 - q * q;
        return q *
               (((((((2.5090809287301226727e+3 * r + 3.3430575583588128105e+4) * r + 6.7265770927008700853e+4) * r +
                    4.5921953931549871457e+4) * r + 1.3731693765509461125e+4) * r + 1.9715909503065514427e+3) * r +
                 1.3314166789178437745e+2) * r + 3.3871328727963666080e0) /
               (((((((5.2264952788528545610e+3 * r + 2.8729085735721942674e+4) * r + 3.9307895800092710610e+4) * r +
                    2.1213794301586595867e+4) * r + 5.3941960214247511077e+3) * r + 6.8718700749205790830e+2) * r +
                 4.2313330701600911252e+1) * r + 1.0);
    }
    double r = q < 0 ? p : 1.0 - p;
    r = std::sqrt(-std::log(r));
    double x;
    if (r <= 5.0) {
        r -= 1.6;
        x = (((((((7.74545014278341407640e-4 * r + 2.27238449892691845833e-2) * r + 2.41780725177450611770e-1) * r +
                 1.27045825245236838258e0) * r + 3.64784832476320460504e0) * r + 5.76949722146069140550e0) * r +
              4.63033784615654529590e0) * r + 1.42343711074968357734e0) /
            (((((((1.05075007164441684324e-9 * r + 5.47593808499534494600e-4) * r + 1.51986665636164571966e-2) * r +
                 1.48103976427480074590e-1) * r + 6.89767334985100004550e-1) * r + 1.67638483018380384940e0) * r +
              2.05319162663775882187e0) * r + 1.0);
    } else {
        r -= 5.0;
        x = (((((((2.01033439929228813265e-7 * r + 2.71155556874348757815e-5) * r + 1.24266094738807843860e-3) * r +
                 2.65321895265761230930e-2) * r + 2.96560571828504891230e-1) * r + 1.78482653991729133580e0) * r +
              5.46378491116411436990e0) * r + 6.65790464350110377720e0) /
            (((((((2.04426310338993978564e-15 * r + 1.42151175831644588870e-7) * r + 1.84631831751005468180e-5) * r +
                 7.86869131145613259100e-4) * r + 1.48753612908506148525e-2) * r + 1.36929880922735805310e-1) * r +
              5.99832206555887937690e-1) * r + 1.0);
    }
    return q < 0 ? -x : x;
}
double erfcinv_plain(double z) { return -as241_quantile(0.5 * z) * 0.70710678118654752440; }
float as241_quantile_f(float p) { return static_cast<float>(as241_quantile(p)); }
float erfcinv_plain_f(float z) { return static_cast<float>(erfcinv_plain(z)); }

// The plain scalar ErfInv: the classical rational start (absolute error
// 4.5e-4) and two Halley steps on glibc's erfc, the usual way to get double
// accuracy without tables.
double cdfnorminv_halley(double p) {
    const double q = p < 0.5 ? p : 1.0 - p;
    const double t = std::sqrt(-2.0 * std::log(q));
    double x = -(t - (2.515517 + t * (0.802853 + t * 0.010328)) / (1.0 + t * (1.432788 + t * (0.189269 + t * 0.001308))));
    for (int i = 0; i < 2; ++i) {
        const double f = 0.5 * std::erfc(-x * 0.70710678118654752440) - q;
        const double d = f / (0.3989422804014327 * std::exp(-0.5 * x * x));
        x -= d / (1.0 + 0.5 * x * d);
    }
    return p < 0.5 ? x : -x;
}
double erfinv_plain(double y) { return -cdfnorminv_halley(0.5 - 0.5 * y) * 0.70710678118654752440; }
float erfinv_plain_f(float y) { return static_cast<float>(erfinv_plain(y)); }

// The exact quantiles for the max-error lines: Newton's iteration at 256
// bits on MPFR's erfc, from the double HA result (quadratic convergence:
// four steps pass 2^-200).
template <bool Cdf>
int mpfr_quantile(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) {
    const double ad = mpfr_get_d(a, MPFR_RNDN);
    double start;
    if (Cdf) _vxmdCdfNormInv_HA(1, &ad, &start);
    else _vxmdErfcInv_HA(1, &ad, &start);
    mpfr_t x, f, d, c;
    mpfr_inits2(256, x, f, d, c, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_d(x, start, MPFR_RNDN);
    for (int i = 0; i < 4 && std::isfinite(start); ++i) {
        if (Cdf) {  // f = erfc(-x/sqrt 2)/2 - p, f' = e^(-x^2/2)/sqrt(2 pi)
            mpfr_sqrt_ui(c, 2, MPFR_RNDN);
            mpfr_div(f, x, c, MPFR_RNDN);
            mpfr_neg(f, f, MPFR_RNDN);
            mpfr_erfc(f, f, MPFR_RNDN);
            mpfr_div_2ui(f, f, 1, MPFR_RNDN);
            mpfr_sqr(d, x, MPFR_RNDN);
            mpfr_div_2ui(d, d, 1, MPFR_RNDN);
            mpfr_neg(d, d, MPFR_RNDN);
            mpfr_exp(d, d, MPFR_RNDN);
            mpfr_const_pi(c, MPFR_RNDN);
            mpfr_mul_2ui(c, c, 1, MPFR_RNDN);
        } else {  // f = erfc(x) - z, f' = -2 e^(-x^2)/sqrt(pi)
            mpfr_erfc(f, x, MPFR_RNDN);
            mpfr_sqr(d, x, MPFR_RNDN);
            mpfr_neg(d, d, MPFR_RNDN);
            mpfr_exp(d, d, MPFR_RNDN);
            mpfr_mul_si(d, d, -2, MPFR_RNDN);
            mpfr_const_pi(c, MPFR_RNDN);
        }
        mpfr_sqrt(c, c, MPFR_RNDN);
        mpfr_div(d, d, c, MPFR_RNDN);
        mpfr_sub(f, f, a, MPFR_RNDN);
        mpfr_div(f, f, d, MPFR_RNDN);
        mpfr_sub(x, x, f, MPFR_RNDN);
    }
    mpfr_set(r, x, MPFR_RNDN);
    mpfr_clears(x, f, d, c, static_cast<mpfr_ptr>(nullptr));
    return 0;
}

struct unary_entry {
    const char* name;
    domain d;
    void (*const* dtab)(int32_t, const double*, double*);
    void (*const* stab)(int32_t, const float*, float*);
    dvec sleef_u10, sleef_u35, mvec, scalar;
    svec sleef_u10f, sleef_u35f, mvecf, scalarf;
    int (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t) = nullptr;  // max errors printed where set
};

// Max error in ulps of each contender on the benchmark's inputs.  The
// exact values come from MPFR once per function, kept as a double pair so
// that every contender is measured by plain arithmetic.
struct exact_pairs {
    std::vector<double> hi, lo;
};

template <typename T>
exact_pairs exact_values(const T* a, const T* b, int n, int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                         int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
    exact_pairs e;
    mpfr_t x, z, r;
    mpfr_inits2(160, x, z, r, static_cast<mpfr_ptr>(nullptr));
    for (int i = 0; i < n; ++i) {
        mpfr_set_d(x, static_cast<double>(a[i]), MPFR_RNDN);
        if (f2) {
            mpfr_set_d(z, static_cast<double>(b[i]), MPFR_RNDN);
            f2(r, x, z, MPFR_RNDN);
        } else {
            f1(r, x, MPFR_RNDN);
        }
        const double hi = mpfr_get_d(r, MPFR_RNDN);
        mpfr_sub_d(r, r, hi, MPFR_RNDN);
        e.hi.push_back(hi);
        e.lo.push_back(mpfr_get_d(r, MPFR_RNDN));
    }
    mpfr_clears(x, z, r, static_cast<mpfr_ptr>(nullptr));
    return e;
}

template <typename T>
double max_ulp(const T* y, const exact_pairs& e) {
    double worst = 0;
    for (std::size_t i = 0; i < e.hi.size(); ++i) {
        const T rounded = static_cast<T>(e.hi[i]);
        const double ulp = static_cast<double>(std::nextafter(std::fabs(rounded), static_cast<T>(INFINITY)) - std::fabs(rounded));
        const double err = std::fabs((static_cast<double>(y[i]) - e.hi[i]) - e.lo[i]) / ulp;
        worst = std::max(worst, std::isnan(err) ? INFINITY : err);
    }
    return worst;
}

template <typename T, typename F>
void print_max_errors(const std::string& name, domain d, domain d2,
                      int (*f1)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                      int (*f2)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t),
                      const std::vector<std::pair<std::string, F>>& contenders) {
    buffers<T> o(d, d2);
    const exact_pairs e = exact_values<T>(o.a.data, o.b.data, kN, f1, f2);
    for (const auto& [label, run] : contenders) {
        if (!run) continue;
        run(kN, o.a.data, o.b.data, o.y.data);
        std::printf("max error %-8s %-14s %8.3f ulp\n", name.c_str(), label.c_str(), max_ulp<T>(o.y.data, e));
    }
}

template <typename T>
using contender_list = std::vector<std::pair<std::string, std::function<void(int, const T*, const T*, T*)>>>;

// ---- max errors of the error-function contenders --------------------------

// |y - exact| in ulps of the exact value's binade in T (denormal spacing
// below the normal range).
template <typename T>
double ulp_error(T y, mpfr_srcptr exact) {
    if (mpfr_zero_p(exact)) return y == 0 ? 0.0 : INFINITY;
    constexpr int digits = sizeof(T) == 8 ? 53 : 24;
    constexpr long least = sizeof(T) == 8 ? -1074 : -149;
    const long e = std::max(static_cast<long>(mpfr_get_exp(exact)) - digits, least);
    mpfr_t d;
    mpfr_init2(d, 256);
    mpfr_sub_d(d, exact, static_cast<double>(y), MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    mpfr_mul_2si(d, d, -e, MPFR_RNDN);
    const double u = mpfr_get_d(d, MPFR_RNDN);
    mpfr_clear(d);
    return u;
}

int mpfr_log_abs_gamma(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    int sign;
    return mpfr_lgamma(r, &sign, x, rnd);
}

int mpfr_cdfnorm(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t u;
    mpfr_init2(u, 256);
    mpfr_sqrt_ui(u, 2, MPFR_RNDN);
    mpfr_div(u, x, u, MPFR_RNDN);
    mpfr_neg(u, u, MPFR_RNDN);
    const int t = mpfr_erfc(r, u, rnd);
    mpfr_div_2ui(r, r, 1, rnd);
    mpfr_clear(u);
    return t;
}

template <typename T, typename F>
double max_error(F run, domain d, int (*exact_fn)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    aligned_buffer<T> a(kN), b(kN), y(kN);
    fill(a.data, kN, d.lo, d.hi);
    run(kN, a.data, b.data, y.data);
    mpfr_t in, exact;
    mpfr_init2(in, 64);
    mpfr_init2(exact, 192);
    double worst = 0;
    for (int i = 0; i < kN; ++i) {
        mpfr_set_d(in, static_cast<double>(a.data[i]), MPFR_RNDN);
        exact_fn(exact, in, MPFR_RNDN);
        worst = std::max(worst, ulp_error<T>(y.data[i], exact));
    }
    mpfr_clear(in);
    mpfr_clear(exact);
    return worst;
}

void print_error_function_errors() {
    struct row {
        const char* name;
        domain d;
        int (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
        void (*const* dtab)(int32_t, const double*, double*);
        void (*const* stab)(int32_t, const float*, float*);
        dvec sleef, mvec, scalar;
        svec sleeff, mvecf, scalarf;
        const char* sleef_label;
    };
    const row rows[] = {
        {"Erf", {-5, 5}, mpfr_erf, qlm_vxm_kernel_dErf_ttab, qlm_vxm_kernel_sErf_ttab,
         QLM_PAIRS(Sleef_erfd2_u10sse4), QLM_PAIRS(_ZGVbN2v_erf), scalar_loop<std::erf>,
         QLM_QUADS(Sleef_erff4_u10sse4), QLM_QUADS(_ZGVbN4v_erff), scalar_loop_f<erff>, "sleef_u10"},
        {"Erfc", {-5, 25}, mpfr_erfc, qlm_vxm_kernel_dErfc_ttab, qlm_vxm_kernel_sErfc_ttab,
         QLM_PAIRS(Sleef_erfcd2_u15sse4), QLM_PAIRS(_ZGVbN2v_erfc), scalar_loop<std::erfc>,
         QLM_QUADS(Sleef_erfcf4_u15sse4), QLM_QUADS(_ZGVbN4v_erfcf), scalar_loop_f<erfcf>, "sleef_u15"},
        {"CdfNorm", {-35, 8}, mpfr_cdfnorm, qlm_vxm_kernel_dCdfNorm_ttab, qlm_vxm_kernel_sCdfNorm_ttab,
         nullptr, nullptr, scalar_loop<cdfnorm_plain>, nullptr, nullptr, scalar_loop_f<cdfnorm_plain_f>, nullptr},
    };
    const char* slots[3] = {"LA", "HA", "EP"};
    for (const row& r : rows) {
        auto line = [&](const char* t, const char* who, double e) {
            std::printf("max error %s%-8s %-13s %12.3f ulp\n", t, r.name, who, e);
        };
        // One type's contenders: our three slots, then the peers present.
        auto contenders = [&]<typename T>(const char* t, void (*const* table)(int32_t, const T*, T*),
                                          const std::function<void(int, const T*, const T*, T*)>& sleef,
                                          const std::function<void(int, const T*, const T*, T*)>& mvec,
                                          const std::function<void(int, const T*, const T*, T*)>& scalar) {
            for (int s = 0; s < 3; ++s) {
                auto k = table[s];
                line(t, slots[s], max_error<T>([k](int n, const T* a, const T*, T* y) { k(n, a, y); }, r.d, r.exact));
            }
            if (sleef) line(t, r.sleef_label, max_error<T>(sleef, r.d, r.exact));
            if (mvec) line(t, "libmvec", max_error<T>(mvec, r.d, r.exact));
            line(t, "glibc_scalar", max_error<T>(scalar, r.d, r.exact));
        };
        contenders("d", r.dtab, r.sleef, r.mvec, r.scalar);
        contenders("s", r.stab, r.sleeff, r.mvecf, r.scalarf);
    }
}

void register_all() {
    using qlm::bench::compare;
    const unary_entry entries[] = {
        {"Asin", {-1, 1}, qlm_vxm_kernel_dAsin_ttab, qlm_vxm_kernel_sAsin_ttab,
         QLM_PAIRS(Sleef_asind2_u10sse4), QLM_PAIRS(Sleef_asind2_u35sse4), QLM_PAIRS(_ZGVbN2v_asin), scalar_loop<std::asin>,
         QLM_QUADS(Sleef_asinf4_u10sse4), QLM_QUADS(Sleef_asinf4_u35sse4), QLM_QUADS(_ZGVbN4v_asinf), scalar_loop_f<asinf>, mpfr_asin},
        {"Acos", {-1, 1}, qlm_vxm_kernel_dAcos_ttab, qlm_vxm_kernel_sAcos_ttab,
         QLM_PAIRS(Sleef_acosd2_u10sse4), QLM_PAIRS(Sleef_acosd2_u35sse4), QLM_PAIRS(_ZGVbN2v_acos), scalar_loop<std::acos>,
         QLM_QUADS(Sleef_acosf4_u10sse4), QLM_QUADS(Sleef_acosf4_u35sse4), QLM_QUADS(_ZGVbN4v_acosf), scalar_loop_f<acosf>, mpfr_acos},
        {"Atan", {-20, 20}, qlm_vxm_kernel_dAtan_ttab, qlm_vxm_kernel_sAtan_ttab,
         QLM_PAIRS(Sleef_atand2_u10sse4), QLM_PAIRS(Sleef_atand2_u35sse4), QLM_PAIRS(_ZGVbN2v_atan), scalar_loop<std::atan>,
         QLM_QUADS(Sleef_atanf4_u10sse4), QLM_QUADS(Sleef_atanf4_u35sse4), QLM_QUADS(_ZGVbN4v_atanf), scalar_loop_f<atanf>, mpfr_atan},
        {"Asinh", {-50, 50}, qlm_vxm_kernel_dAsinh_ttab, qlm_vxm_kernel_sAsinh_ttab,
         QLM_PAIRS(Sleef_asinhd2_u10sse4), nullptr, QLM_PAIRS(_ZGVbN2v_asinh), scalar_loop<std::asinh>,
         QLM_QUADS(Sleef_asinhf4_u10sse4), nullptr, QLM_QUADS(_ZGVbN4v_asinhf), scalar_loop_f<asinhf>, mpfr_asinh},
        {"Acosh", {1, 100}, qlm_vxm_kernel_dAcosh_ttab, qlm_vxm_kernel_sAcosh_ttab,
         QLM_PAIRS(Sleef_acoshd2_u10sse4), nullptr, QLM_PAIRS(_ZGVbN2v_acosh), scalar_loop<std::acosh>,
         QLM_QUADS(Sleef_acoshf4_u10sse4), nullptr, QLM_QUADS(_ZGVbN4v_acoshf), scalar_loop_f<acoshf>, mpfr_acosh},
        {"Atanh", {-0.99, 0.99}, qlm_vxm_kernel_dAtanh_ttab, qlm_vxm_kernel_sAtanh_ttab,
         QLM_PAIRS(Sleef_atanhd2_u10sse4), nullptr, QLM_PAIRS(_ZGVbN2v_atanh), scalar_loop<std::atanh>,
         QLM_QUADS(Sleef_atanhf4_u10sse4), nullptr, QLM_QUADS(_ZGVbN4v_atanhf), scalar_loop_f<atanhf>, mpfr_atanh},
        {"Erf", {-5, 5}, qlm_vxm_kernel_dErf_ttab, qlm_vxm_kernel_sErf_ttab,
         QLM_PAIRS(Sleef_erfd2_u10sse4), nullptr, QLM_PAIRS(_ZGVbN2v_erf), scalar_loop<std::erf>,
         QLM_QUADS(Sleef_erff4_u10sse4), nullptr, QLM_QUADS(_ZGVbN4v_erff), scalar_loop_f<erff>},
        {"Erfc", {-5, 25}, qlm_vxm_kernel_dErfc_ttab, qlm_vxm_kernel_sErfc_ttab,
         nullptr, nullptr, QLM_PAIRS(_ZGVbN2v_erfc), scalar_loop<std::erfc>,
         nullptr, nullptr, QLM_QUADS(_ZGVbN4v_erfcf), scalar_loop_f<erfcf>},
        {"CdfNorm", {-35, 8}, qlm_vxm_kernel_dCdfNorm_ttab, qlm_vxm_kernel_sCdfNorm_ttab,
         nullptr, nullptr, nullptr, scalar_loop<cdfnorm_plain>,
         nullptr, nullptr, nullptr, scalar_loop_f<cdfnorm_plain_f>},
        {"CdfNormInv", {1e-6, 1 - 1e-6}, qlm_vxm_kernel_dCdfNormInv_ttab, qlm_vxm_kernel_sCdfNormInv_ttab,
         nullptr, nullptr, nullptr, scalar_loop<as241_quantile>,
         nullptr, nullptr, nullptr, scalar_loop_f<as241_quantile_f>, mpfr_quantile<true>},
        {"ErfcInv", {0.001, 1.999}, qlm_vxm_kernel_dErfcInv_ttab, qlm_vxm_kernel_sErfcInv_ttab,
         nullptr, nullptr, nullptr, scalar_loop<erfcinv_plain>,
         nullptr, nullptr, nullptr, scalar_loop_f<erfcinv_plain_f>, mpfr_quantile<false>},
        {"ErfInv", {-0.999, 0.999}, qlm_vxm_kernel_dErfInv_ttab, qlm_vxm_kernel_sErfInv_ttab,
         nullptr, nullptr, nullptr, scalar_loop<erfinv_plain>,
         nullptr, nullptr, nullptr, scalar_loop_f<erfinv_plain_f>},
    };
    const char* slots[3] = {"LA", "HA", "EP"};
    for (const auto& e : entries) {
        for (int s = 0; s < 3; ++s) {
            auto dk = e.dtab[s];
            auto sk = e.stab[s];
            register_double(std::string("d") + e.name + "_" + slots[s], e.d, e.d,
                            [dk](int n, const double* a, const double*, double* y) { dk(n, a, y); });
            register_single(std::string("s") + e.name + "_" + slots[s], e.d, e.d,
                            [sk](int n, const float* a, const float*, float* y) { sk(n, a, y); });
        }
        const std::string d = std::string("d") + e.name, f = std::string("s") + e.name;
        if (e.exact) {
            auto slot_d = [&e](int s) -> dvec {
                auto k = e.dtab[s];
                return [k](int n, const double* a, const double*, double* y) { k(n, a, y); };
            };
            auto slot_s = [&e](int s) -> svec {
                auto k = e.stab[s];
                return [k](int n, const float* a, const float*, float* y) { k(n, a, y); };
            };
            print_max_errors<double>(d, e.d, e.d, e.exact, nullptr,
                                     contender_list<double>{{"LA", slot_d(0)}, {"HA", slot_d(1)}, {"EP", slot_d(2)},
                                                            {"sleef_u10", e.sleef_u10}, {"sleef_u35", e.sleef_u35},
                                                            {"libmvec", e.mvec}, {"glibc_scalar", e.scalar}});
            print_max_errors<float>(f, e.d, e.d, e.exact, nullptr,
                                    contender_list<float>{{"LA", slot_s(0)}, {"HA", slot_s(1)}, {"EP", slot_s(2)},
                                                          {"sleef_u10", e.sleef_u10f}, {"sleef_u35", e.sleef_u35f},
                                                          {"libmvec", e.mvecf}, {"glibc_scalar", e.scalarf}});
        }
        if (e.sleef_u10) {
            register_double(d + "_sleef_u10", e.d, e.d, e.sleef_u10);
            register_single(f + "_sleef_u10", e.d, e.d, e.sleef_u10f);
            compare(d + "_HA", d + "_sleef_u10");
            compare(f + "_HA", f + "_sleef_u10");
        }
        if (e.sleef_u35) {
            register_double(d + "_sleef_u35", e.d, e.d, e.sleef_u35);
            register_single(f + "_sleef_u35", e.d, e.d, e.sleef_u35f);
            compare(d + "_LA", d + "_sleef_u35");
            compare(d + "_EP", d + "_sleef_u35");
            compare(f + "_LA", f + "_sleef_u35");
            compare(f + "_EP", f + "_sleef_u35");
        }
        if (e.mvec) {
            register_double(d + "_libmvec", e.d, e.d, e.mvec);
            register_single(f + "_libmvec", e.d, e.d, e.mvecf);
            compare(d + "_LA", d + "_libmvec");
            compare(f + "_LA", f + "_libmvec");
        }
        register_double(d + "_glibc_scalar", e.d, e.d, e.scalar);
        register_single(f + "_glibc_scalar", e.d, e.d, e.scalarf);
        compare(d + "_HA", d + "_glibc_scalar");
        compare(f + "_HA", f + "_glibc_scalar");
        if (!e.sleef_u35) {  // no vector peer of lower accuracy: LA and EP against the plain loop
            for (const char* slot : {"_LA", "_EP"}) {
                compare(d + slot, d + "_glibc_scalar");
                compare(f + slot, f + "_glibc_scalar");
            }
        }
    }

    // SLEEF's erfc is u15: our Erfc HA beside it.
    register_double("dErfc_sleef_u15", {-5, 25}, {-5, 25}, QLM_PAIRS(Sleef_erfcd2_u15sse4));
    register_single("sErfc_sleef_u15", {-5, 25}, {-5, 25}, QLM_QUADS(Sleef_erfcf4_u15sse4));
    compare("dErfc_HA", "dErfc_sleef_u15");
    compare("sErfc_HA", "sErfc_sleef_u15");

    // Atan2, two arguments.
    const domain a2{-10, 10};
    {
        auto dt = qlm_vxm_kernel_dAtan2_ttab;
        auto st = qlm_vxm_kernel_sAtan2_ttab;
        print_max_errors<double>("dAtan2", a2, a2, nullptr, mpfr_atan2,
                                 contender_list<double>{{"LA", dt[0]}, {"HA", dt[1]}, {"EP", dt[2]},
                                                        {"sleef_u10", QLM_PAIRS2(Sleef_atan2d2_u10sse4)},
                                                        {"sleef_u35", QLM_PAIRS2(Sleef_atan2d2_u35sse4)},
                                                        {"libmvec", QLM_PAIRS2(_ZGVbN2vv_atan2)},
                                                        {"glibc_scalar", [](int n, const double* a, const double* b, double* y) {
                                                             for (int i = 0; i < n; ++i) y[i] = std::atan2(a[i], b[i]);
                                                         }}});
        print_max_errors<float>("sAtan2", a2, a2, nullptr, mpfr_atan2,
                                contender_list<float>{{"LA", st[0]}, {"HA", st[1]}, {"EP", st[2]},
                                                      {"sleef_u10", QLM_QUADS2(Sleef_atan2f4_u10sse4)},
                                                      {"sleef_u35", QLM_QUADS2(Sleef_atan2f4_u35sse4)},
                                                      {"libmvec", QLM_QUADS2(_ZGVbN4vv_atan2f)},
                                                      {"glibc_scalar", [](int n, const float* a, const float* b, float* y) {
                                                           for (int i = 0; i < n; ++i) y[i] = atan2f(a[i], b[i]);
                                                       }}});
    }
    for (int s = 0; s < 3; ++s) {
        auto dk = qlm_vxm_kernel_dAtan2_ttab[s];
        auto sk = qlm_vxm_kernel_sAtan2_ttab[s];
        register_double(std::string("dAtan2_") + slots[s], a2, a2, dk);
        register_single(std::string("sAtan2_") + slots[s], a2, a2, sk);
    }
    register_double("dAtan2_sleef_u10", a2, a2, QLM_PAIRS2(Sleef_atan2d2_u10sse4));
    register_double("dAtan2_sleef_u35", a2, a2, QLM_PAIRS2(Sleef_atan2d2_u35sse4));
    register_double("dAtan2_libmvec", a2, a2, QLM_PAIRS2(_ZGVbN2vv_atan2));
    register_double("dAtan2_glibc_scalar", a2, a2, [](int n, const double* a, const double* b, double* y) {
        for (int i = 0; i < n; ++i) y[i] = std::atan2(a[i], b[i]);
    });
    register_single("sAtan2_sleef_u10", a2, a2, QLM_QUADS2(Sleef_atan2f4_u10sse4));
    register_single("sAtan2_sleef_u35", a2, a2, QLM_QUADS2(Sleef_atan2f4_u35sse4));
    register_single("sAtan2_libmvec", a2, a2, QLM_QUADS2(_ZGVbN4vv_atan2f));
    register_single("sAtan2_glibc_scalar", a2, a2, [](int n, const float* a, const float* b, float* y) {
        for (int i = 0; i < n; ++i) y[i] = atan2f(a[i], b[i]);
    });
    // LGamma and TGamma, one routine in all three slots.
    const domain g{-30, 30};
    register_double("dLGamma_HA", g, g, [](int n, const double* a, const double*, double* y) { _vxmdLGamma(n, a, y); });
    register_double("dTGamma_HA", g, g, [](int n, const double* a, const double*, double* y) { _vxmdTGamma(n, a, y); });
    register_double("dLGamma_sleef_u10", g, g, QLM_PAIRS(Sleef_lgammad2_u10sse4));
    register_double("dTGamma_sleef_u10", g, g, QLM_PAIRS(Sleef_tgammad2_u10sse4));
    register_double("dLGamma_glibc_scalar", g, g, scalar_loop<std::lgamma>);
    register_double("dTGamma_glibc_scalar", g, g, scalar_loop<std::tgamma>);
    register_single("sLGamma_HA", g, g, [](int n, const float* a, const float*, float* y) { _vxmsLGamma(n, a, y); });
    register_single("sTGamma_HA", g, g, [](int n, const float* a, const float*, float* y) { _vxmsTGamma(n, a, y); });
    register_single("sLGamma_sleef_u10", g, g, QLM_QUADS(Sleef_lgammaf4_u10sse4));
    register_single("sTGamma_sleef_u10", g, g, QLM_QUADS(Sleef_tgammaf4_u10sse4));
    register_single("sLGamma_glibc_scalar", g, g, scalar_loop_f<lgammaf>);
    register_single("sTGamma_glibc_scalar", g, g, scalar_loop_f<tgammaf>);
    auto ours_d = [](void (*k)(int32_t, const double*, double*)) -> dvec {
        return [k](int n, const double* a, const double*, double* y) { k(n, a, y); };
    };
    auto ours_s = [](void (*k)(int32_t, const float*, float*)) -> svec {
        return [k](int n, const float* a, const float*, float* y) { k(n, a, y); };
    };
    print_max_errors<double>("dLGamma", g, g, mpfr_log_abs_gamma, nullptr,
                             contender_list<double>{{"HA", ours_d(_vxmdLGamma)}, {"sleef_u10", QLM_PAIRS(Sleef_lgammad2_u10sse4)},
                                                    {"glibc_scalar", scalar_loop<std::lgamma>}});
    print_max_errors<double>("dTGamma", g, g, mpfr_gamma, nullptr,
                             contender_list<double>{{"HA", ours_d(_vxmdTGamma)}, {"sleef_u10", QLM_PAIRS(Sleef_tgammad2_u10sse4)},
                                                    {"glibc_scalar", scalar_loop<std::tgamma>}});
    print_max_errors<float>("sLGamma", g, g, mpfr_log_abs_gamma, nullptr,
                            contender_list<float>{{"HA", ours_s(_vxmsLGamma)}, {"sleef_u10", QLM_QUADS(Sleef_lgammaf4_u10sse4)},
                                                  {"glibc_scalar", scalar_loop_f<lgammaf>}});
    print_max_errors<float>("sTGamma", g, g, mpfr_gamma, nullptr,
                            contender_list<float>{{"HA", ours_s(_vxmsTGamma)}, {"sleef_u10", QLM_QUADS(Sleef_tgammaf4_u10sse4)},
                                                  {"glibc_scalar", scalar_loop_f<tgammaf>}});
    for (const char* f : {"dLGamma", "dTGamma", "sLGamma", "sTGamma"}) {
        compare(std::string(f) + "_HA", std::string(f) + "_sleef_u10");
        compare(std::string(f) + "_HA", std::string(f) + "_glibc_scalar");
    }
    for (const char* t : {"d", "s"}) {
        const std::string p = std::string(t) + "Atan2";
        compare(p + "_HA", p + "_sleef_u10");
        compare(p + "_LA", p + "_sleef_u35");
        compare(p + "_EP", p + "_sleef_u35");
        compare(p + "_LA", p + "_libmvec");
        compare(p + "_HA", p + "_glibc_scalar");
    }
}

// Cycles per element of one routine: the least of 50 timed runs over 1000
// elements, after a warm-up run.
template <typename T, typename K>
double cycles_per_element(K kernel, domain d) {
    constexpr int n = 1000;
    aligned_buffer<T> a(n), b(n), y(n);
    fill(a.data, n, d.lo, d.hi);
    fill(b.data, n, d.lo, d.hi);
    double best = 1e30;
    for (int r = 0; r < 51; ++r) {
        const uint64_t t0 = __rdtsc();
        kernel(n, a.data, b.data, y.data);
        const uint64_t t1 = __rdtsc();
        if (r > 0) best = std::min(best, static_cast<double>(t1 - t0) / n);
    }
    return best;
}

void print_cost_figures() {
    struct row {
        const char* name;
        domain d;
        void (*const* dtab)(int32_t, const double*, double*);
        void (*const* stab)(int32_t, const float*, float*);
    };
    const row rows[] = {
        {"Acos", {-1, 1}, qlm_vxm_kernel_dAcos_ttab, qlm_vxm_kernel_sAcos_ttab},
        {"Acosh", {1, 100}, qlm_vxm_kernel_dAcosh_ttab, qlm_vxm_kernel_sAcosh_ttab},
        {"Asin", {-1, 1}, qlm_vxm_kernel_dAsin_ttab, qlm_vxm_kernel_sAsin_ttab},
        {"Asinh", {-50, 50}, qlm_vxm_kernel_dAsinh_ttab, qlm_vxm_kernel_sAsinh_ttab},
        {"Atan", {-20, 20}, qlm_vxm_kernel_dAtan_ttab, qlm_vxm_kernel_sAtan_ttab},
        {"Atanh", {-0.99, 0.99}, qlm_vxm_kernel_dAtanh_ttab, qlm_vxm_kernel_sAtanh_ttab},
        {"CdfNorm", {-35, 8}, qlm_vxm_kernel_dCdfNorm_ttab, qlm_vxm_kernel_sCdfNorm_ttab},
        {"Erf", {-5, 5}, qlm_vxm_kernel_dErf_ttab, qlm_vxm_kernel_sErf_ttab},
        {"Erfc", {-5, 25}, qlm_vxm_kernel_dErfc_ttab, qlm_vxm_kernel_sErfc_ttab},
        {"CdfNormInv", {1e-6, 1 - 1e-6}, qlm_vxm_kernel_dCdfNormInv_ttab, qlm_vxm_kernel_sCdfNormInv_ttab},
        {"ErfInv", {-0.999, 0.999}, qlm_vxm_kernel_dErfInv_ttab, qlm_vxm_kernel_sErfInv_ttab},
        {"ErfcInv", {0.001, 1.999}, qlm_vxm_kernel_dErfcInv_ttab, qlm_vxm_kernel_sErfcInv_ttab},
    };
    std::printf("%-10s %-4s %10s %10s %10s\n", "function", "type", "LA", "HA", "EP");
    for (const row& r : rows) {
        double dc[3], sc[3];
        for (int s = 0; s < 3; ++s) {
            auto dk = r.dtab[s];
            auto sk = r.stab[s];
            dc[s] = cycles_per_element<double>([dk](int n, const double* a, const double*, double* y) { dk(n, a, y); }, r.d);
            sc[s] = cycles_per_element<float>([sk](int n, const float* a, const float*, float* y) { sk(n, a, y); }, r.d);
        }
        std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", r.name, "d", dc[0], dc[1], dc[2]);
        std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", r.name, "s", sc[0], sc[1], sc[2]);
    }
    double dc[3], sc[3];
    for (int s = 0; s < 3; ++s) {
        dc[s] = cycles_per_element<double>(qlm_vxm_kernel_dAtan2_ttab[s], {-10, 10});
        sc[s] = cycles_per_element<float>(qlm_vxm_kernel_sAtan2_ttab[s], {-10, 10});
    }
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "Atan2", "d", dc[0], dc[1], dc[2]);
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "Atan2", "s", sc[0], sc[1], sc[2]);
    // LGamma and TGamma: one routine in all three slots.
    auto dlg = qlm_vxm_kernel_dLGamma_ttab[1];
    auto dtg = qlm_vxm_kernel_dTGamma_ttab[1];
    const double dl = cycles_per_element<double>([dlg](int n, const double* a, const double*, double* y) { dlg(n, a, y); }, {-30, 30});
    const double dt = cycles_per_element<double>([dtg](int n, const double* a, const double*, double* y) { dtg(n, a, y); }, {-30, 30});
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "LGamma", "d", dl, dl, dl);
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "TGamma", "d", dt, dt, dt);
    auto lg = qlm_vxm_kernel_sLGamma_ttab[1];
    auto tg = qlm_vxm_kernel_sTGamma_ttab[1];
    const double l = cycles_per_element<float>([lg](int n, const float* a, const float*, float* y) { lg(n, a, y); }, {-30, 30});
    const double t = cycles_per_element<float>([tg](int n, const float* a, const float*, float* y) { tg(n, a, y); }, {-30, 30});
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "LGamma", "s", l, l, l);
    std::printf("%-10s %-4s %10.2f %10.2f %10.2f\n", "TGamma", "s", t, t, t);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--cost_figures") == 0) {
        print_cost_figures();
        return 0;
    }
    print_error_function_errors();
    register_all();
    return qlm::bench::run_and_compare(argc, argv);
}
