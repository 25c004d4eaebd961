// Accuracy of a function's three table slots against MPFR, shared by the
// tests of the inverse trigonometric, inverse hyperbolic and special
// functions.  Each slot is held to its class: LA at most 4 ulp, HA at most
// 1 ulp, EP at least 26 correct bits in double and 11 in single.  The
// measured figures are printed, so that a regression shows as a number.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/ulp.h"

namespace qlm::test {

template <typename T>
using unary_fn = void (*)(int32_t, const T*, T*);
template <typename T>
using binary_fn = void (*)(int32_t, const T*, const T*, T*);

inline const char* slot_name(int slot) { return slot == 0 ? "LA" : slot == 1 ? "HA" : "EP"; }

template <typename T>
void expect_slot_class(const char* function, int slot, const error_report& r) {
    std::printf("[accuracy] %s %s: %s\n", function, slot_name(slot), r.describe().c_str());
    if (slot == 0) {
        EXPECT_LE(r.max_ulp, 4.0) << function << " LA " << r.describe();
    } else if (slot == 1) {
        EXPECT_LE(r.max_ulp, 1.0) << function << " HA " << r.describe();
    } else {
        EXPECT_GE(r.min_bits, sizeof(T) == 8 ? 26.0 : 11.0) << function << " EP " << r.describe();
    }
}

template <typename T>
void expect_unary_classes(const char* function, unary_fn<T> const* table, const std::vector<T>& x,
                          mpfr_unary exact) {
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<T> y(x.size());
        table[slot](static_cast<int32_t>(x.size()), x.data(), y.data());
        const error_report r = measure_unary(x, y, exact);
        expect_slot_class<T>(function, slot, r);
        if (r.max_ulp > (slot == 1 ? 1.0 : 4.0) && slot != 2)
            std::printf("  worst input %a gave %a\n", static_cast<double>(x[r.worst_ulp_index]),
                        static_cast<double>(y[r.worst_ulp_index]));
    }
}

template <typename T>
void expect_binary_classes(const char* function, binary_fn<T> const* table, const std::vector<T>& a,
                           const std::vector<T>& b, mpfr_binary exact) {
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<T> y(a.size());
        table[slot](static_cast<int32_t>(a.size()), a.data(), b.data(), y.data());
        const error_report r = measure_binary(a, b, y, exact);
        expect_slot_class<T>(function, slot, r);
        if (r.max_ulp > (slot == 1 ? 1.0 : 4.0) && slot != 2)
            std::printf("  worst inputs %a, %a gave %a\n", static_cast<double>(a[r.worst_ulp_index]),
                        static_cast<double>(b[r.worst_ulp_index]), static_cast<double>(y[r.worst_ulp_index]));
    }
}

// Samples, with fixed seeds: uniform on [lo, hi], and magnitudes uniform in
// the exponent between 2^lo_exp and 2^hi_exp with random signs.
template <typename T>
std::vector<T> uniform_samples(double lo, double hi, std::size_t n, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(d(gen));
    return v;
}

template <typename T>
std::vector<T> exponent_samples(double lo_exp, double hi_exp, std::size_t n, uint32_t seed, bool signs = true) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> e(lo_exp, hi_exp);
    std::vector<T> v(n);
    for (T& x : v) {
        x = static_cast<T>(std::exp2(e(gen)));
        if (signs && (gen() & 1)) x = -x;
    }
    return v;
}

template <typename T>
std::vector<T> concat(std::initializer_list<std::vector<T>> parts) {
    std::vector<T> all;
    for (const auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// Runs one kernel over x and returns y, and the status it left.
template <typename T>
std::vector<T> run(unary_fn<T> f, const std::vector<T>& x, int32_t* status = nullptr) {
    std::vector<T> y(x.size(), T(-12345));
    qlm_vxm_kernel_SetErrStatus(0);
    f(static_cast<int32_t>(x.size()), x.data(), y.data());
    if (status) *status = qlm_vxm_kernel_GetErrStatus();
    return y;
}

}  // namespace qlm::test
