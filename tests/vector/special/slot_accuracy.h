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

// Exact values at kOraclePrecision bits, computed once for all three slots.
struct exact_values {
    std::vector<mpfr_t> v;
    explicit exact_values(std::size_t n) : v(n) {
        for (auto& m : v) mpfr_init2(m, kOraclePrecision);
    }
    ~exact_values() {
        for (auto& m : v) mpfr_clear(m);
    }
    exact_values(const exact_values&) = delete;
    exact_values& operator=(const exact_values&) = delete;
};

// Max ulp over all results, and correct bits over results in the normal
// range only: a denormal result cannot hold 26 bits, and its error is
// already counted in ulps of the denormal spacing.
template <typename T>
error_report measure_against(const std::vector<T>& y, const exact_values& exact) {
    error_report r;
    mpfr_t least_normal;
    mpfr_init2(least_normal, 64);
    mpfr_set_d(least_normal, sizeof(T) == 8 ? 0x1p-1022 : 0x1p-126, MPFR_RNDN);
    for (std::size_t i = 0; i < y.size(); ++i) {
        const double u = ulp_error(y[i], exact.v[i]);
        if (u > r.max_ulp || std::isnan(u)) {
            r.max_ulp = std::isnan(u) ? INFINITY : u;
            r.worst_ulp_index = i;
        }
        if (mpfr_cmpabs(exact.v[i], least_normal) >= 0 || mpfr_nan_p(exact.v[i])) {
            const double b = correct_bits(y[i], exact.v[i]);
            if (b < r.min_bits) {
                r.min_bits = b;
                r.worst_bits_index = i;
            }
        }
    }
    r.count = y.size();
    mpfr_clear(least_normal);
    return r;
}

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
void report_worst(int slot, const error_report& r, const std::vector<T>& a, const std::vector<T>* b,
                  const std::vector<T>& y) {
    if (slot == 2 || r.max_ulp <= (slot == 1 ? 1.0 : 4.0)) return;
    std::printf("  worst input %a", static_cast<double>(a[r.worst_ulp_index]));
    if (b) std::printf(", %a", static_cast<double>((*b)[r.worst_ulp_index]));
    std::printf(" gave %a\n", static_cast<double>(y[r.worst_ulp_index]));
}

template <typename T>
void expect_unary_classes(const char* function, unary_fn<T> const* table, const std::vector<T>& x,
                          mpfr_unary f) {
    exact_values exact(x.size());
    mpfr_t in;
    mpfr_init2(in, 64);
    for (std::size_t i = 0; i < x.size(); ++i) {
        mpfr_set_d(in, static_cast<double>(x[i]), MPFR_RNDN);
        f(exact.v[i], in, MPFR_RNDN);
    }
    mpfr_clear(in);
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<T> y(x.size());
        table[slot](static_cast<int32_t>(x.size()), x.data(), y.data());
        const error_report r = measure_against(y, exact);
        expect_slot_class<T>(function, slot, r);
        report_worst<T>(slot, r, x, nullptr, y);
    }
}

template <typename T>
void expect_binary_classes(const char* function, binary_fn<T> const* table, const std::vector<T>& a,
                           const std::vector<T>& b, mpfr_binary f) {
    exact_values exact(a.size());
    mpfr_t in1, in2;
    mpfr_init2(in1, 64);
    mpfr_init2(in2, 64);
    for (std::size_t i = 0; i < a.size(); ++i) {
        mpfr_set_d(in1, static_cast<double>(a[i]), MPFR_RNDN);
        mpfr_set_d(in2, static_cast<double>(b[i]), MPFR_RNDN);
        f(exact.v[i], in1, in2, MPFR_RNDN);
    }
    mpfr_clear(in1);
    mpfr_clear(in2);
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<T> y(a.size());
        table[slot](static_cast<int32_t>(a.size()), a.data(), b.data(), y.data());
        const error_report r = measure_against(y, exact);
        expect_slot_class<T>(function, slot, r);
        report_worst<T>(slot, r, a, &b, y);
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
