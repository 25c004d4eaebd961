// Samples and checks shared by the accuracy tests of the root, power and
// trigonometric families: fixed seeds, the limits of each accuracy class,
// and a helper that runs a kernel through one slot of its table.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/ulp.h"

namespace qlm::test {

enum slot { LA = 0, HA = 1, EP = 2 };
inline const char* slot_name(int s) { return s == LA ? "LA" : s == HA ? "HA" : "EP"; }

// Uniform in [lo, hi).
template <typename T>
std::vector<T> uniform(std::size_t n, double lo, double hi, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(d(gen));
    return v;
}

// Magnitudes log-uniform in [2^lo, 2^hi), random sign when `both_signs`.
template <typename T>
std::vector<T> log_uniform(std::size_t n, double lo, double hi, bool both_signs, uint32_t seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    std::vector<T> v(n);
    for (T& x : v) {
        x = static_cast<T>(std::exp2(d(gen)));
        if (both_signs && (gen() & 1)) x = -x;
    }
    return v;
}

template <typename T>
void append(std::vector<T>& to, const std::vector<T>& from) {
    to.insert(to.end(), from.begin(), from.end());
}

// The elements whose exact result is not in the subnormal range: correct
// bits mean nothing where the format itself keeps fewer.
template <typename T>
bool normal_or_exceptional(mpfr_srcptr exact) {
    if (!mpfr_number_p(exact) || mpfr_zero_p(exact)) return true;
    mpfr_t m;
    mpfr_init2(m, 64);
    mpfr_abs(m, exact, MPFR_RNDN);
    const bool ok = mpfr_cmp_d(m, static_cast<double>(std::numeric_limits<T>::min())) >= 0;
    mpfr_clear(m);
    return ok;
}

template <typename T>
error_report measure_normal_unary(const std::vector<T>& x, const std::vector<T>& y, mpfr_unary f) {
    std::vector<T> fx, fy;
    mpfr_t in, out;
    mpfr_inits2(kOraclePrecision, in, out, static_cast<mpfr_ptr>(nullptr));
    for (std::size_t i = 0; i < x.size(); ++i) {
        mpfr_set_d(in, static_cast<double>(x[i]), MPFR_RNDN);
        f(out, in, MPFR_RNDN);
        if (normal_or_exceptional<T>(out)) {
            fx.push_back(x[i]);
            fy.push_back(y[i]);
        }
    }
    mpfr_clears(in, out, static_cast<mpfr_ptr>(nullptr));
    return measure_unary(fx, fy, f);
}

template <typename T>
error_report measure_normal_binary(const std::vector<T>& x, const std::vector<T>& b,
                                   const std::vector<T>& y, mpfr_binary f) {
    std::vector<T> fx, fb, fy;
    mpfr_t in1, in2, out;
    mpfr_inits2(kOraclePrecision, in1, in2, out, static_cast<mpfr_ptr>(nullptr));
    for (std::size_t i = 0; i < x.size(); ++i) {
        mpfr_set_d(in1, static_cast<double>(x[i]), MPFR_RNDN);
        mpfr_set_d(in2, static_cast<double>(b[i]), MPFR_RNDN);
        f(out, in1, in2, MPFR_RNDN);
        if (normal_or_exceptional<T>(out)) {
            fx.push_back(x[i]);
            fb.push_back(b[i]);
            fy.push_back(y[i]);
        }
    }
    mpfr_clears(in1, in2, out, static_cast<mpfr_ptr>(nullptr));
    return measure_binary(fx, fb, fy, f);
}

// Asserts the accuracy class of a slot: HA at most 1 ulp, LA at most 4, EP at
// least 26 correct bits in double and 11 in single.  Prints the figure.
template <typename T>
void expect_class(const error_report& r, int s, const std::string& what, const std::vector<T>& x) {
    std::printf("[accuracy] %-22s %s: %s, worst input %.17g\n", what.c_str(), slot_name(s),
                r.describe().c_str(),
                r.count ? static_cast<double>(x[s == EP ? r.worst_bits_index : r.worst_ulp_index]) : 0.0);
    if (s == HA) { EXPECT_LE(r.max_ulp, 1.0) << what << " HA " << r.describe(); }
    if (s == LA) { EXPECT_LE(r.max_ulp, 4.0) << what << " LA " << r.describe(); }
    if (s == EP) { EXPECT_GE(r.min_bits, sizeof(T) == 8 ? 26.0 : 11.0) << what << " EP " << r.describe(); }
}

}  // namespace qlm::test
