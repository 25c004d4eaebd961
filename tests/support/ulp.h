// Accuracy measurement against MPFR.
//
// ulp_error gives |computed - exact| in units of the last place of the
// element type at the exact value (with the subnormal spacing below the
// least normal), so a correctly rounded result scores at most 0.5.
// correct_bits gives -log2 of the relative error, capped at the type's
// precision.  Non-finite cases score 0 when the computed value is what the
// exact value rounds to, and infinity otherwise.
#pragma once

#include <mpfr.h>

#include <cstddef>
#include <string>
#include <vector>

namespace qlm::test {

inline constexpr mpfr_prec_t kOraclePrecision = 256;

double ulp_error(double computed, mpfr_srcptr exact);
double ulp_error(float computed, mpfr_srcptr exact);
double correct_bits(double computed, mpfr_srcptr exact);
double correct_bits(float computed, mpfr_srcptr exact);

using mpfr_unary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using mpfr_binary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

struct error_report {
    double max_ulp = 0.0;             // largest ulp error seen
    double min_bits = 1e9;            // fewest correct bits seen
    std::size_t worst_ulp_index = 0;  // where max_ulp was seen
    std::size_t worst_bits_index = 0;
    std::size_t count = 0;
    std::string describe() const;
};

// Measures y[i] against f(x[i]) (and f(x[i], b[i])) computed at
// kOraclePrecision bits.
template <typename T>
error_report measure_unary(const std::vector<T>& x, const std::vector<T>& y, mpfr_unary f);
template <typename T>
error_report measure_binary(const std::vector<T>& x, const std::vector<T>& b,
                            const std::vector<T>& y, mpfr_binary f);

}  // namespace qlm::test
