// Measures the cost figures of the root, power and trigonometric kernels:
// cycles per element (rdtsc) of each slot on 1000-element vectors of
// typical arguments, the median of 200 runs.  Its output lines are the
// figures written into include/qlm/qlm_vxm_functions.def.
//
//   g++ -O2 -std=c++20 -Iinclude -o /tmp/cost_power_trig tools/cost_figures/power_trig.cpp \
//       -Lbuild/lib -lqlm_kernel -Wl,-rpath,$PWD/build/lib
//   /tmp/cost_power_trig
#include <x86intrin.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

#include "qlm/qlm_vxm.h"

namespace {

constexpr int kN = 1000;

template <typename T>
std::vector<T> values(double lo, double hi, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<T> v(kN);
    for (T& x : v) x = static_cast<T>(d(gen));
    return v;
}

double cycles(const std::function<void()>& run) {
    std::vector<double> t;
    for (int k = 0; k < 200; ++k) {
        const unsigned long long s = __rdtsc();
        run();
        t.push_back(static_cast<double>(__rdtsc() - s) / kN);
    }
    std::nth_element(t.begin(), t.begin() + 100, t.end());
    return t[100];
}

template <typename T, typename Table>
void unary(const char* name, const Table& table, double lo, double hi) {
    const auto a = values<T>(lo, hi, 1);
    std::vector<T> y(kN), z(kN);
    double c[3];
    for (int s = 0; s < 3; ++s) {
        if constexpr (std::is_invocable_v<decltype(table[0]), int32_t, const T*, T*, T*>)
            c[s] = cycles([&] { table[s](kN, a.data(), y.data(), z.data()); });
        else c[s] = cycles([&] { table[s](kN, a.data(), y.data()); });
    }
    std::printf("%c %-8s %.2ff, %.2ff, %.2ff\n", sizeof(T) == 8 ? 'd' : 's', name, c[0], c[1], c[2]);
}

template <typename T, typename Table>
void binary(const char* name, const Table& table, double lo, double hi, double blo, double bhi) {
    const auto a = values<T>(lo, hi, 1), b = values<T>(blo, bhi, 2);
    std::vector<T> y(kN);
    double c[3];
    for (int s = 0; s < 3; ++s) c[s] = cycles([&] { table[s](kN, a.data(), b.data(), y.data()); });
    std::printf("%c %-8s %.2ff, %.2ff, %.2ff\n", sizeof(T) == 8 ? 'd' : 's', name, c[0], c[1], c[2]);
}

template <typename T, typename Table>
void scalar_exponent(const char* name, const Table& table) {
    const auto a = values<T>(0.1, 10, 1);
    std::vector<T> y(kN);
    double c[3];
    for (int s = 0; s < 3; ++s) c[s] = cycles([&] { table[s](kN, a.data(), T(1.7), y.data()); });
    std::printf("%c %-8s %.2ff, %.2ff, %.2ff\n", sizeof(T) == 8 ? 'd' : 's', name, c[0], c[1], c[2]);
}

}  // namespace

int main() {
    qlm_vxm_kernel_SetMode(VXM_ERRMODE_IGNORE | VXM_HA);
#define BOTH(f, ...)                                                      \
    unary<double>(#f, qlm_vxm_kernel_d##f##_ttab, __VA_ARGS__);            \
    unary<float>(#f, qlm_vxm_kernel_s##f##_ttab, __VA_ARGS__);
    BOTH(Sin, -10, 10)
    BOTH(Cos, -10, 10)
    BOTH(SinCos, -10, 10)
    BOTH(Tan, -10, 10)
    BOTH(Sqrt, 1e-3, 1e6)
    BOTH(InvSqrt, 1e-3, 1e6)
    BOTH(Cbrt, -1e6, 1e6)
    BOTH(InvCbrt, -1e6, 1e6)
    BOTH(Pow2o3, -1e6, 1e6)
    BOTH(Pow3o2, 1e-3, 1e6)
    binary<double>("Pow", qlm_vxm_kernel_dPow_ttab, 0.1, 10, -20, 20);
    binary<float>("Pow", qlm_vxm_kernel_sPow_ttab, 0.1, 10, -20, 20);
    binary<double>("Hypot", qlm_vxm_kernel_dHypot_ttab, -1e6, 1e6, -1e6, 1e6);
    binary<float>("Hypot", qlm_vxm_kernel_sHypot_ttab, -1e6, 1e6, -1e6, 1e6);
    scalar_exponent<double>("Powx", qlm_vxm_kernel_dPowx_ttab);
    scalar_exponent<float>("Powx", qlm_vxm_kernel_sPowx_ttab);
    return 0;
}
