// Sampled inputs and the accuracy check shared by the exponential and
// logarithm tests: a kernel slot is run over a sample, every result is
// compared with MPFR, and the measured maximum is printed so that a
// regression shows as a number.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "support/ulp.h"

namespace qlm::test {

template <typename T>
using unary_kernel = void (*)(int32_t, const T*, T*);

// Appends `count` values uniform in [lo, hi].
template <typename T>
void add_uniform(std::vector<T>& x, std::size_t count, double lo, double hi, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    for (std::size_t i = 0; i < count; ++i) x.push_back(static_cast<T>(d(gen)));
}

// Appends `count` values whose magnitudes are log-uniform in [lo, hi], of
// random sign when `both_signs`.
template <typename T>
void add_log_uniform(std::vector<T>& x, std::size_t count, double lo, double hi, bool both_signs,
                     uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(std::log2(lo), std::log2(hi));
    for (std::size_t i = 0; i < count; ++i) {
        const T v = static_cast<T>(std::exp2(d(gen)));
        x.push_back(both_signs && (gen() & 1) ? -v : v);
    }
}

// Appends the `count` neighbours of v on each side, v included.
template <typename T>
void add_neighbours(std::vector<T>& x, T v, int count) {
    T up = v, down = v;
    x.push_back(v);
    for (int i = 0; i < count; ++i) {
        up = std::nextafter(up, INFINITY);
        down = std::nextafter(down, -INFINITY);
        x.push_back(up);
        x.push_back(down);
    }
}

// Runs the kernel over x and measures it against f; the inputs whose
// exact result lies outside the finite range of T are the special path's
// concern and are measured too (an infinity must be exact).
template <typename T>
error_report run_and_measure(unary_kernel<T> kernel, const std::vector<T>& x, mpfr_unary f,
                             const std::string& label) {
    std::vector<T> y(x.size());
    kernel(static_cast<int32_t>(x.size()), x.data(), y.data());
    const error_report r = measure_unary(x, y, f);
    std::printf("[ accuracy ] %-12s %s; worst input %.17g\n", label.c_str(), r.describe().c_str(),
                r.count ? static_cast<double>(x[r.worst_ulp_index]) : 0.0);
    return r;
}

// Checks the three slots of a table against their classes: HA at most 1
// ulp, LA at most 4, EP at least ep_bits correct bits.
template <typename T>
void check_slots(unary_kernel<T> const* table, const std::vector<T>& x, mpfr_unary f, const char* name,
                 double ep_bits) {
    const std::string n = name;
    EXPECT_LE(run_and_measure(table[1], x, f, n + " HA").max_ulp, 1.0);
    EXPECT_LE(run_and_measure(table[0], x, f, n + " LA").max_ulp, 4.0);
    EXPECT_GE(run_and_measure(table[2], x, f, n + " EP").min_bits, ep_bits);
}

}  // namespace qlm::test
