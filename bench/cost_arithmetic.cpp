// Cost figures of the arithmetic, rounding and pack tables: cycles per
// element by rdtsc, the least of many calls on 1000-element vectors in
// cache, for each slot.  Its output is what the registry's cost columns
// hold for these functions:  build/bin/bench_cost_arithmetic
#include <x86intrin.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "qlm/qlm_vxm.h"

namespace {

constexpr int kN = 1000;
constexpr int kRepeats = 3000;

template <typename F>
double cycles_per_element(F call) {
    uint64_t best = UINT64_MAX;
    for (int r = 0; r < kRepeats; ++r) {
        const uint64_t t0 = __rdtsc();
        call();
        const uint64_t t = __rdtsc() - t0;
        if (t < best) best = t;
    }
    return static_cast<double>(best) / kN;
}

template <typename T>
struct data {
    std::vector<T> a, b, y, z;
    std::vector<int32_t> index, mask;
    data() : a(kN), b(kN), y(2 * kN), z(kN), index(kN), mask(kN) {
        for (int i = 0; i < kN; ++i) {
            a[i] = T(0.75) + T(i % 97) * T(0.37);
            b[i] = T(1.25) + T(i % 89) * T(0.21);
            index[i] = (i * 389) % kN;
            mask[i] = i & 1;
        }
    }
};

template <typename T, typename Fn>
void print_row(const char* name, Fn* const* table) {
    data<T> d;
    double c[3];
    for (int s = 0; s < 3; ++s) {
        auto* k = table[s];
        if constexpr (requires { k(kN, d.a.data(), d.y.data()); })
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), d.y.data()); });
        else if constexpr (requires { k(kN, d.a.data(), d.b.data(), d.y.data()); })
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), d.b.data(), d.y.data()); });
        else if constexpr (requires { k(kN, d.a.data(), d.y.data(), d.z.data()); })
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), d.y.data(), d.z.data()); });
        else if constexpr (requires { k(kN, d.a.data(), d.b.data(), T(1), T(2), T(3), T(4), d.y.data()); })
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), d.b.data(), T(1.5), T(2), T(3), T(4), d.y.data()); });
        else if constexpr (requires { k(int64_t{kN}, d.a.data(), int64_t{1}, d.y.data(), 1); })
            c[s] = cycles_per_element([&] { k(kN / 2, d.a.data(), 2, d.y.data(), 1); }) / 2;
        else if constexpr (requires { k(int64_t{kN}, d.a.data(), d.y.data(), int64_t{1}, 1); })
            c[s] = cycles_per_element([&] { k(kN / 2, d.a.data(), d.y.data(), 2, 1); }) / 2;
        else if constexpr (requires { k(int64_t{kN}, d.a.data(), (const void*)nullptr, d.y.data(), 1); })
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), name[4] == 'M' ? (const void*)d.mask.data() : d.index.data(), d.y.data(), 1); });
        else
            c[s] = cycles_per_element([&] { k(kN, d.a.data(), d.y.data(), name[6] == 'M' ? (const void*)d.mask.data() : d.index.data(), 1); });
    }
    std::printf("%-12s %7.2f %7.2f %7.2f\n", name, c[0], c[1], c[2]);
}

}  // namespace

#define ROW(t, T, F) print_row<T>(#t #F, qlm_vxm_kernel_##t##F##_ttab);

int main() {
    std::printf("%-12s %7s %7s %7s\n", "table", "LA", "HA", "EP");
    ROW(d, double, Abs) ROW(d, double, Add) ROW(d, double, Ceil) ROW(d, double, Div) ROW(d, double, Floor)
    ROW(d, double, Inv) ROW(d, double, LinearFrac) ROW(d, double, Modf) ROW(d, double, Mul)
    ROW(d, double, NearbyInt) ROW(d, double, PackI) ROW(d, double, PackM) ROW(d, double, PackV)
    ROW(d, double, Rint) ROW(d, double, Round) ROW(d, double, Sqr) ROW(d, double, Sub) ROW(d, double, Trunc)
    ROW(d, double, UnpackI) ROW(d, double, UnpackM) ROW(d, double, UnpackV)
    ROW(s, float, Abs) ROW(s, float, Add) ROW(s, float, Ceil) ROW(s, float, Div) ROW(s, float, Floor)
    ROW(s, float, Inv) ROW(s, float, LinearFrac) ROW(s, float, Modf) ROW(s, float, Mul)
    ROW(s, float, NearbyInt) ROW(s, float, PackI) ROW(s, float, PackM) ROW(s, float, PackV)
    ROW(s, float, Rint) ROW(s, float, Round) ROW(s, float, Sqr) ROW(s, float, Sub) ROW(s, float, Trunc)
    ROW(s, float, UnpackI) ROW(s, float, UnpackM) ROW(s, float, UnpackV)
    return 0;
}
