// Generates src/vector/real/log/log_single_fits.h, the polynomials of the
// float-lane logarithm routines, from MPFR values at 192 bits.
//
//   g++ -O2 -std=c++20 tools/log_tables/fit_log_single.cpp -lmpfr -lgmp -o /tmp/fit_log_single && /tmp/fit_log_single > src/vector/real/log/log_single_fits.h
//
// The routines reduce x to 2^k (1 + f) with f in [sqrt(1/2) - 1, sqrt(2) - 1]
// and evaluate, in float,
//   ln(1 + f)    = f + f^2 P(f)
//   log10(1 + f) = f L + f Q(f),   L = log10 e rounded to float
// Q has a constant term, which carries log10 e - L: the rounding of L is
// linear in f and would otherwise bound the relative error at 2^-25.
// P and Q interpolate (g(f) - lead f)/f^power at the Chebyshev nodes of the
// interval; their coefficients are rounded to float one at a time from the
// highest degree down, each remaining coefficient refitted after the
// rounding of the ones above it, so that the rounding of a high coefficient
// is absorbed by the lower ones.  The printed error is the largest relative
// error of lead f + f^power poly(f) against g on 20001 points, evaluated in
// double with the float coefficients: the approximation's own error,
// before the float rounding of the evaluation.
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t kPrec = 192;

using mp = mpfit::mp_number<kPrec>;

enum class target { ln, log10 };

// g(f) = ln(1 + f) or log10(1 + f).
void eval_target(target t, mpfr_t y, const mpfr_t f) {
    mpfr_log1p(y, f, MPFR_RNDN);
    if (t == target::log10) {
        mp ten;
        mpfr_set_ui(ten.v, 10, MPFR_RNDN);
        mpfr_log(ten.v, ten.v, MPFR_RNDN);
        mpfr_div(y, y, ten.v, MPFR_RNDN);
    }
}

float lead_of(target t) {
    if (t == target::ln) return 1.0f;
    mp l;
    mpfr_set_ui(l.v, 10, MPFR_RNDN);
    mpfr_log(l.v, l.v, MPFR_RNDN);
    mpfr_ui_div(l.v, 1, l.v, MPFR_RNDN);
    return mpfr_get_flt(l.v, MPFR_RNDN);
}

// Interpolates (g(f) - lead f)/f^power - sum_{j > top} fixed[j] f^j at the
// Chebyshev nodes with a polynomial of degree `top`; returns its
// coefficients 0..top.
std::vector<mp> interpolate(target t, double a, double b, int top, const std::vector<float>& fixed) {
    const int power = t == target::ln ? 2 : 1;
    const int n = top + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    const float lead = lead_of(t);
    for (int i = 0; i < n; ++i) {
        mp f, c, y, p;
        mpfr_mul_d(c.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(c.v, c.v, MPFR_RNDN);
        mpfr_mul_d(c.v, c.v, (b - a) / 2, MPFR_RNDN);
        mpfr_set_d(f.v, (a + b) / 2, MPFR_RNDN);
        mpfr_add(f.v, f.v, c.v, MPFR_RNDN);
        eval_target(t, y.v, f.v);
        mp lf;
        mpfr_mul_d(lf.v, f.v, lead, MPFR_RNDN);
        mpfr_sub(y.v, y.v, lf.v, MPFR_RNDN);
        mpfr_pow_ui(lf.v, f.v, power, MPFR_RNDN);
        mpfr_div(y.v, y.v, lf.v, MPFR_RNDN);
        mpfr_set_ui(p.v, 1, MPFR_RNDN);
        for (int j = 0; j < static_cast<int>(fixed.size()); ++j) {
            if (j > top) {
                mp term;
                mpfr_mul_d(term.v, p.v, fixed[j], MPFR_RNDN);
                mpfr_sub(y.v, y.v, term.v, MPFR_RNDN);
            } else {
                m[i][j] = p;
            }
            mpfr_mul(p.v, p.v, f.v, MPFR_RNDN);
        }
        m[i][n] = y;
    }
    const std::vector<mp> c = mpfit::solve(std::move(m));
    return c;
}

std::vector<float> fit(target t, double a, double b, int degree) {
    std::vector<float> coef(degree + 1, 0.0f);
    for (int top = degree; top >= 0; --top) {
        const std::vector<mp> c = interpolate(t, a, b, top, coef);
        coef[top] = mpfr_get_flt(c[top].v, MPFR_RNDN);
    }
    return coef;
}

double max_rel_error(target t, double a, double b, const std::vector<float>& c) {
    const double lead = lead_of(t);
    double worst = 0;
    mp f, y;
    for (int i = 0; i <= 20000; ++i) {
        const double x = a + (b - a) * i / 20000.0;
        if (x == 0) continue;
        double p = c.back();
        for (int j = static_cast<int>(c.size()) - 2; j >= 0; --j) p = c[j] + x * p;
        const double v = lead * x + (t == target::ln ? x * x : x) * p;
        mpfr_set_d(f.v, x, MPFR_RNDN);
        eval_target(t, y.v, f.v);
        const double exact = mpfr_get_d(y.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(v - exact) / std::fabs(exact));
    }
    return worst;
}

void emit(const char* name, target t, double a, double b, int degree, const char* use) {
    const std::vector<float> c = fit(t, a, b, degree);
    std::printf("// %s, degree %d: relative error 2^%.1f\n", use, degree, std::log2(max_rel_error(t, a, b, c)));
    std::printf("inline constexpr float %s[%d] = {", name, degree + 1);
    for (int j = 0; j <= degree; ++j) std::printf("%s%.9ef", j ? ", " : "", c[j]);
    std::printf("};\n");
}

}  // namespace

int main() {
    const double a = std::sqrt(0.5) - 1, b = std::sqrt(2.0) - 1;
    std::printf(
        "// Polynomials of the float-lane logarithm routines, generated by\n"
        "// tools/log_tables/fit_log_single.cpp:\n"
        "//   g++ -O2 -std=c++20 tools/log_tables/fit_log_single.cpp -lmpfr -lgmp -o /tmp/fit_log_single && "
        "/tmp/fit_log_single > src/vector/real/log/log_single_fits.h\n"
        "// ln(1 + f) = f + f^2 P(f) and log10(1 + f) = f L + f Q(f) for f in\n"
        "// [sqrt(1/2) - 1, sqrt(2) - 1], coefficients from degree 0 up.\n"
        "#pragma once\n\n"
        "namespace qlm::vector::log_single {\n\n");
    std::printf("inline constexpr float kLog10e = %.9ef;  // L\n", lead_of(target::log10));
    // LA: about 2^-23 and better before the float evaluation; EP: 11 bits
    // and margin.
    emit("kLnP8", target::ln, a, b, 8, "ln, P");
    emit("kLnP4", target::ln, a, b, 4, "ln, P");
    emit("kLog10Q8", target::log10, a, b, 8, "log10, Q");
    emit("kLog10Q5", target::log10, a, b, 5, "log10, Q");
    std::printf("\n}  // namespace qlm::vector::log_single\n");
}
