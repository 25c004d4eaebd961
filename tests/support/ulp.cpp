#include "support/ulp.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace qlm::test {
namespace {

class mp {
public:
    mp() { mpfr_init2(v_, kOraclePrecision); }
    ~mp() { mpfr_clear(v_); }
    mp(const mp&) = delete;
    mp& operator=(const mp&) = delete;
    mpfr_ptr get() { return v_; }

private:
    mpfr_t v_;
};

template <typename T>
T round_to(mpfr_srcptr exact) {
    if constexpr (sizeof(T) == 4) return mpfr_get_flt(exact, MPFR_RNDN);
    else return mpfr_get_d(exact, MPFR_RNDN);
}

// Returns true and sets `score` when the case is decided without arithmetic.
template <typename T>
bool non_finite_case(T computed, mpfr_srcptr exact, double miss, double hit, double& score) {
    const T rounded = round_to<T>(exact);
    if (std::isnan(rounded) || std::isinf(rounded) || std::isnan(computed) || std::isinf(computed)) {
        const bool same = (std::isnan(rounded) && std::isnan(computed)) || rounded == computed;
        score = same ? hit : miss;
        return true;
    }
    return false;
}

template <typename T>
double ulp_error_of(T computed, mpfr_srcptr exact) {
    double score;
    if (non_finite_case(computed, exact, std::numeric_limits<double>::infinity(), 0.0, score))
        return score;
    constexpr int digits = std::numeric_limits<T>::digits;
    constexpr int min_exp = std::numeric_limits<T>::min_exponent - 1;  // exponent of the least normal
    long exponent = min_exp;
    if (!mpfr_zero_p(exact)) {
        exponent = mpfr_get_exp(exact) - 1;  // exact = m * 2^exp with m in [0.5, 1)
        if (exponent < min_exp) exponent = min_exp;
    }
    mp diff;
    mpfr_set_d(diff.get(), static_cast<double>(computed), MPFR_RNDN);
    mpfr_sub(diff.get(), diff.get(), exact, MPFR_RNDN);
    mpfr_abs(diff.get(), diff.get(), MPFR_RNDN);
    mpfr_mul_2si(diff.get(), diff.get(), -(exponent - digits + 1), MPFR_RNDN);
    return mpfr_get_d(diff.get(), MPFR_RNDU);
}

template <typename T>
double correct_bits_of(T computed, mpfr_srcptr exact) {
    constexpr double cap = std::numeric_limits<T>::digits;
    double score;
    if (non_finite_case(computed, exact, 0.0, cap, score)) return score;
    if (mpfr_zero_p(exact)) return computed == 0 ? cap : 0.0;
    mp rel;
    mpfr_set_d(rel.get(), static_cast<double>(computed), MPFR_RNDN);
    mpfr_sub(rel.get(), rel.get(), exact, MPFR_RNDN);
    if (mpfr_zero_p(rel.get())) return cap;
    mpfr_div(rel.get(), rel.get(), exact, MPFR_RNDN);
    mpfr_abs(rel.get(), rel.get(), MPFR_RNDN);
    const double bits = -std::log2(mpfr_get_d(rel.get(), MPFR_RNDN));
    return bits < cap ? bits : cap;
}

template <typename T>
void record(error_report& r, T computed, mpfr_srcptr exact, std::size_t i) {
    const double u = ulp_error_of(computed, exact);
    const double b = correct_bits_of(computed, exact);
    if (u > r.max_ulp) {
        r.max_ulp = u;
        r.worst_ulp_index = i;
    }
    if (b < r.min_bits) {
        r.min_bits = b;
        r.worst_bits_index = i;
    }
    ++r.count;
}

}  // namespace

double ulp_error(double computed, mpfr_srcptr exact) { return ulp_error_of(computed, exact); }
double ulp_error(float computed, mpfr_srcptr exact) { return ulp_error_of(computed, exact); }
double correct_bits(double computed, mpfr_srcptr exact) { return correct_bits_of(computed, exact); }
double correct_bits(float computed, mpfr_srcptr exact) { return correct_bits_of(computed, exact); }

std::string error_report::describe() const {
    char text[160];
    std::snprintf(text, sizeof text, "max %.3f ulp (element %zu), min %.2f correct bits (element %zu), %zu points",
                  max_ulp, worst_ulp_index, min_bits, worst_bits_index, count);
    return text;
}

template <typename T>
error_report measure_unary(const std::vector<T>& x, const std::vector<T>& y, mpfr_unary f) {
    error_report r;
    mp in, out;
    for (std::size_t i = 0; i < x.size(); ++i) {
        mpfr_set_d(in.get(), static_cast<double>(x[i]), MPFR_RNDN);
        f(out.get(), in.get(), MPFR_RNDN);
        record(r, y[i], out.get(), i);
    }
    return r;
}

template <typename T>
error_report measure_binary(const std::vector<T>& x, const std::vector<T>& b,
                            const std::vector<T>& y, mpfr_binary f) {
    error_report r;
    mp in1, in2, out;
    for (std::size_t i = 0; i < x.size(); ++i) {
        mpfr_set_d(in1.get(), static_cast<double>(x[i]), MPFR_RNDN);
        mpfr_set_d(in2.get(), static_cast<double>(b[i]), MPFR_RNDN);
        f(out.get(), in1.get(), in2.get(), MPFR_RNDN);
        record(r, y[i], out.get(), i);
    }
    return r;
}

template error_report measure_unary<float>(const std::vector<float>&, const std::vector<float>&, mpfr_unary);
template error_report measure_unary<double>(const std::vector<double>&, const std::vector<double>&, mpfr_unary);
template error_report measure_binary<float>(const std::vector<float>&, const std::vector<float>&,
                                            const std::vector<float>&, mpfr_binary);
template error_report measure_binary<double>(const std::vector<double>&, const std::vector<double>&,
                                             const std::vector<double>&, mpfr_binary);

}  // namespace qlm::test
