// The exponential and logarithm families against their peers, measured in
// the same run on 1024 elements in cache: SLEEF's 2-lane double and 4-lane
// single SSE4 routines (u10 beside our HA, u35 where it exists beside our
// LA and EP), glibc's SSE4 vector variants beside our LA, glibc's scalar
// functions, and our EP beside our HA.  Before timing, the maximum error
// of every contender on the same inputs is printed, measured against the
// long double functions (double) or the double functions (single).
//
//   bench_exp_log --costs   prints cycles per element of every slot (rdtsc,
//                           1000 elements, best of 200 runs), the figures of
//                           the registry's cost columns.
#include <sleef.h>
#include <smmintrin.h>
#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "qlm/qlm_vxm.h"

// glibc's SSE4 variants, declared with SLEEF's const result so one pointer
// type serves both.
extern "C" {
const __m128d _ZGVbN2v_exp(__m128d);
const __m128d _ZGVbN2v_expm1(__m128d);
const __m128d _ZGVbN2v_sinh(__m128d);
const __m128d _ZGVbN2v_cosh(__m128d);
const __m128d _ZGVbN2v_tanh(__m128d);
const __m128d _ZGVbN2v_log(__m128d);
const __m128d _ZGVbN2v_log10(__m128d);
const __m128d _ZGVbN2v_log1p(__m128d);
const __m128 _ZGVbN4v_expf(__m128);
const __m128 _ZGVbN4v_expm1f(__m128);
const __m128 _ZGVbN4v_sinhf(__m128);
const __m128 _ZGVbN4v_coshf(__m128);
const __m128 _ZGVbN4v_tanhf(__m128);
const __m128 _ZGVbN4v_logf(__m128);
const __m128 _ZGVbN4v_log10f(__m128);
const __m128 _ZGVbN4v_log1pf(__m128);
}

namespace {

using qlm::bench::aligned_buffer;
constexpr int kCount = 1024;

template <typename T>
using kernel = void (*)(int32_t, const T*, T*);
template <typename T>
struct vector_of;
template <>
struct vector_of<double> {
    using fn = const __m128d (*)(__m128d);  // SLEEF declares its results const
};
template <>
struct vector_of<float> {
    using fn = const __m128 (*)(__m128);
};
template <typename T>
using vector_fn = typename vector_of<T>::fn;

template <typename T>
struct family {
    std::string name;  // "dExp"
    double lo, hi;     // input range
    kernel<T> ours[3];  // LA, HA, EP
    vector_fn<T> sleef_u10, sleef_u35, glibc_vector;
    T (*glibc_scalar)(T);
    long double (*reference)(long double);
};

template <typename T>
std::vector<T> inputs(const family<T>& f) {
    std::mt19937_64 gen(2024);
    std::uniform_real_distribution<double> d(f.lo, f.hi);
    std::vector<T> x(kCount);
    for (T& v : x) v = static_cast<T>(d(gen));
    return x;
}

template <typename T>
void run_vector(vector_fn<T> fn, const T* x, T* y) {
    constexpr int w = 16 / sizeof(T);
    for (int i = 0; i < kCount; i += w) {
        if constexpr (sizeof(T) == 8) _mm_storeu_pd(y + i, fn(_mm_loadu_pd(x + i)));
        else _mm_storeu_ps(y + i, fn(_mm_loadu_ps(x + i)));
    }
}

template <typename T>
__attribute__((noinline)) void run_scalar(T (*fn)(T), const T* x, T* y) {
    for (int i = 0; i < kCount; ++i) y[i] = fn(x[i]);
}

// The contenders of a family, by label; absent peers are skipped.
template <typename T>
std::vector<std::pair<std::string, std::function<void(const T*, T*)>>> contenders(const family<T>& f) {
    std::vector<std::pair<std::string, std::function<void(const T*, T*)>>> list;
    const char* slot[3] = {"LA", "HA", "EP"};
    for (int s = 0; s < 3; ++s) {
        const kernel<T> k = f.ours[s];
        list.emplace_back(slot[s], [k](const T* x, T* y) { k(kCount, x, y); });
    }
    if (f.sleef_u10) list.emplace_back("sleef_u10", [fn = f.sleef_u10](const T* x, T* y) { run_vector<T>(fn, x, y); });
    if (f.sleef_u35) list.emplace_back("sleef_u35", [fn = f.sleef_u35](const T* x, T* y) { run_vector<T>(fn, x, y); });
    list.emplace_back("glibc_vector", [fn = f.glibc_vector](const T* x, T* y) { run_vector<T>(fn, x, y); });
    list.emplace_back("glibc_scalar", [fn = f.glibc_scalar](const T* x, T* y) { run_scalar<T>(fn, x, y); });
    return list;
}

template <typename T>
double max_ulp(const family<T>& f, const std::vector<T>& x, const std::vector<T>& y) {
    double worst = 0;
    for (int i = 0; i < kCount; ++i) {
        const long double exact = f.reference(x[i]);
        const T rounded = static_cast<T>(exact);
        const T ulp = std::nextafter(std::fabs(rounded), std::numeric_limits<T>::infinity()) - std::fabs(rounded);
        worst = std::max(worst, static_cast<double>(std::fabs(y[i] - exact) / ulp));
    }
    return worst;
}

template <typename T>
void register_family(const family<T>& f) {
    const auto x = inputs(f);
    std::vector<T> y(kCount);
    for (const auto& [label, run] : contenders(f)) {
        run(x.data(), y.data());
        std::printf("max error %-8s %-13s %10.3f ulp\n", f.name.c_str(), label.c_str(), max_ulp(f, x, y));
        benchmark::RegisterBenchmark((f.name + "/" + label).c_str(), [f, x, run = run](benchmark::State& state) {
            aligned_buffer<T> in(kCount), out(kCount);
            std::memcpy(in.data, x.data(), kCount * sizeof(T));
            for (auto _ : state) {
                run(in.data, out.data);
                benchmark::ClobberMemory();
            }
            state.SetItemsProcessed(state.iterations() * kCount);
        });
    }
    using qlm::bench::compare;
    const std::string n = f.name + "/";
    if (f.sleef_u10) compare(n + "HA", n + "sleef_u10");
    if (f.sleef_u35) {
        compare(n + "LA", n + "sleef_u35");
        compare(n + "EP", n + "sleef_u35");
    }
    compare(n + "LA", n + "glibc_vector");
    compare(n + "HA", n + "glibc_scalar");
    compare(n + "EP", n + "HA");
}

long double ref_exp(long double x) { return expl(x); }
long double ref_expm1(long double x) { return expm1l(x); }
long double ref_sinh(long double x) { return sinhl(x); }
long double ref_cosh(long double x) { return coshl(x); }
long double ref_tanh(long double x) { return tanhl(x); }
long double ref_log(long double x) { return logl(x); }
long double ref_log10(long double x) { return log10l(x); }
long double ref_log1p(long double x) { return log1pl(x); }

double sc_exp(double x) { return std::exp(x); }
double sc_expm1(double x) { return std::expm1(x); }
double sc_sinh(double x) { return std::sinh(x); }
double sc_cosh(double x) { return std::cosh(x); }
double sc_tanh(double x) { return std::tanh(x); }
double sc_log(double x) { return std::log(x); }
double sc_log10(double x) { return std::log10(x); }
double sc_log1p(double x) { return std::log1p(x); }
float sc_expf(float x) { return std::exp(x); }
float sc_expm1f(float x) { return std::expm1(x); }
float sc_sinhf(float x) { return std::sinh(x); }
float sc_coshf(float x) { return std::cosh(x); }
float sc_tanhf(float x) { return std::tanh(x); }
float sc_logf(float x) { return std::log(x); }
float sc_log10f(float x) { return std::log10(x); }
float sc_log1pf(float x) { return std::log1p(x); }

#define OURS(t, F) {qlm_vxm_kernel_##t##F##_ttab[0], qlm_vxm_kernel_##t##F##_ttab[1], qlm_vxm_kernel_##t##F##_ttab[2]}

std::vector<family<double>> double_families() {
    return {
        {"dExp", -700, 700, OURS(d, Exp), Sleef_expd2_u10sse4, nullptr, _ZGVbN2v_exp, sc_exp, ref_exp},
        {"dExpm1", -5, 5, OURS(d, Expm1), Sleef_expm1d2_u10sse4, nullptr, _ZGVbN2v_expm1, sc_expm1, ref_expm1},
        {"dSinh", -5, 5, OURS(d, Sinh), Sleef_sinhd2_u10sse4, Sleef_sinhd2_u35sse4, _ZGVbN2v_sinh, sc_sinh, ref_sinh},
        {"dCosh", -5, 5, OURS(d, Cosh), Sleef_coshd2_u10sse4, Sleef_coshd2_u35sse4, _ZGVbN2v_cosh, sc_cosh, ref_cosh},
        {"dTanh", -5, 5, OURS(d, Tanh), Sleef_tanhd2_u10sse4, Sleef_tanhd2_u35sse4, _ZGVbN2v_tanh, sc_tanh, ref_tanh},
        {"dLn", 1e-3, 1e3, OURS(d, Ln), Sleef_logd2_u10sse4, Sleef_logd2_u35sse4, _ZGVbN2v_log, sc_log, ref_log},
        {"dLog10", 1e-3, 1e3, OURS(d, Log10), Sleef_log10d2_u10sse4, nullptr, _ZGVbN2v_log10, sc_log10, ref_log10},
        {"dLog1p", -0.9, 100, OURS(d, Log1p), Sleef_log1pd2_u10sse4, nullptr, _ZGVbN2v_log1p, sc_log1p, ref_log1p},
    };
}

std::vector<family<float>> single_families() {
    return {
        {"sExp", -80, 80, OURS(s, Exp), Sleef_expf4_u10sse4, nullptr, _ZGVbN4v_expf, sc_expf, ref_exp},
        {"sExpm1", -5, 5, OURS(s, Expm1), Sleef_expm1f4_u10sse4, nullptr, _ZGVbN4v_expm1f, sc_expm1f, ref_expm1},
        {"sSinh", -5, 5, OURS(s, Sinh), Sleef_sinhf4_u10sse4, Sleef_sinhf4_u35sse4, _ZGVbN4v_sinhf, sc_sinhf, ref_sinh},
        {"sCosh", -5, 5, OURS(s, Cosh), Sleef_coshf4_u10sse4, Sleef_coshf4_u35sse4, _ZGVbN4v_coshf, sc_coshf, ref_cosh},
        {"sTanh", -5, 5, OURS(s, Tanh), Sleef_tanhf4_u10sse4, Sleef_tanhf4_u35sse4, _ZGVbN4v_tanhf, sc_tanhf, ref_tanh},
        {"sLn", 1e-3, 1e3, OURS(s, Ln), Sleef_logf4_u10sse4, Sleef_logf4_u35sse4, _ZGVbN4v_logf, sc_logf, ref_log},
        {"sLog10", 1e-3, 1e3, OURS(s, Log10), Sleef_log10f4_u10sse4, nullptr, _ZGVbN4v_log10f, sc_log10f, ref_log10},
        {"sLog1p", -0.9, 100, OURS(s, Log1p), Sleef_log1pf4_u10sse4, nullptr, _ZGVbN4v_log1pf, sc_log1pf, ref_log1p},
    };
}

// Cycles per element of a kernel on 1000 elements: best of 200 runs.
template <typename T>
double cycles_per_element(kernel<T> k, const std::vector<T>& x) {
    std::vector<T> y(1000);
    uint64_t best = ~uint64_t{0};
    for (int run = 0; run < 200; ++run) {
        const uint64_t t0 = __rdtsc();
        k(1000, x.data(), y.data());
        best = std::min<uint64_t>(best, __rdtsc() - t0);
    }
    return static_cast<double>(best) / 1000.0;
}

template <typename T>
void print_costs(const family<T>& f) {
    const auto x = inputs(f);
    std::printf("%-8s", f.name.c_str());
    for (kernel<T> k : f.ours) std::printf(" %8.2f", cycles_per_element(k, x));
    std::printf("   (LA HA EP, cycles per element)\n");
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--costs") == 0) {
            for (const auto& f : double_families()) print_costs(f);
            for (const auto& f : single_families()) print_costs(f);
            return 0;
        }
    for (const auto& f : double_families()) register_family(f);
    for (const auto& f : single_families()) register_family(f);
    return qlm::bench::run_and_compare(argc, argv);
}
