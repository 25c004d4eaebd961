// Polynomial fits of the table-free exponential cores, and of tanh near 0.
//
// Each fit approximates g(r) = (e^r - 1 - r) / r^2 on [-h, h] by the
// polynomial of the given degree that interpolates g at the Chebyshev
// nodes of the interval, solved in 256-bit arithmetic and rounded to the
// element type of the kernel that uses it; e^r is then 1 + r + r^2 g(r),
// and e^r - 1 is r + r^2 g(r).  Interpolation at Chebyshev nodes lands
// within a small factor of the best uniform fit.  The printed error is the
// relative error of 1 + r + r^2 p(r) against e^r (and of r + r^2 p(r)
// against e^r - 1), measured on 20001 points with the rounded
// coefficients, in 256-bit arithmetic: the polynomial's own share of a
// kernel's error budget.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/exp_fits/exp_fits.cpp -lmpfr -lgmp -o /tmp/exp_fits
//   /tmp/exp_fits > src/vector/real/exp/exp_fits.h
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t P = 256;

using mp = mpfit::mp_number<P>;

// g(r) = (e^r - 1 - r) / r^2, from its series where r is tiny.
void exp_target(mp& y, const mp& r) {
    if (mpfr_cmpabs_ui(r.v, 0) == 0 || mpfr_get_exp(r.v) < -60) {
        mp t;
        mpfr_div_ui(t.v, r.v, 6, MPFR_RNDN);
        mpfr_add_d(y.v, t.v, 0.5, MPFR_RNDN);
        return;
    }
    mp e;
    mpfr_expm1(e.v, r.v, MPFR_RNDN);
    mpfr_sub(e.v, e.v, r.v, MPFR_RNDN);
    mpfr_div(e.v, e.v, r.v, MPFR_RNDN);
    mpfr_div(y.v, e.v, r.v, MPFR_RNDN);
}

// (e^r - 1)/r, from its series where r is tiny.
void expm1_over_r_target(mp& y, const mp& r) {
    if (mpfr_cmpabs_ui(r.v, 0) == 0 || mpfr_get_exp(r.v) < -60) {
        mpfr_div_ui(y.v, r.v, 2, MPFR_RNDN);
        mpfr_add_ui(y.v, y.v, 1, MPFR_RNDN);
        return;
    }
    mpfr_expm1(y.v, r.v, MPFR_RNDN);
    mpfr_div(y.v, y.v, r.v, MPFR_RNDN);
}

// t(w) = (tanh x - x) / x^3 with w = x^2 > 0.
void tanh_target(mp& y, const mp& w) {
    if (mpfr_cmpabs_ui(w.v, 0) == 0 || mpfr_get_exp(w.v) < -120) {
        mpfr_set_d(y.v, -1.0 / 3, MPFR_RNDN);
        return;
    }
    mp x, t;
    mpfr_sqrt(x.v, w.v, MPFR_RNDN);
    mpfr_tanh(t.v, x.v, MPFR_RNDN);
    mpfr_sub(t.v, t.v, x.v, MPFR_RNDN);
    mpfr_div(t.v, t.v, x.v, MPFR_RNDN);
    mpfr_div(y.v, t.v, w.v, MPFR_RNDN);
}

using target = void (*)(mp&, const mp&);

// The polynomial of the given degree interpolating f at the Chebyshev
// nodes of [lo, hi], solved exactly enough in 256 bits.
std::vector<mp> interpolate(target f, double lo, double hi, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp x;
        mpfr_mul_d(x.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(x.v, x.v, MPFR_RNDN);
        mpfr_mul_d(x.v, x.v, (hi - lo) / 2, MPFR_RNDN);
        mpfr_add_d(x.v, x.v, (hi + lo) / 2, MPFR_RNDN);
        mp p;
        mpfr_set_ui(p.v, 1, MPFR_RNDN);
        for (int k = 0; k < n; ++k) {
            m[i][k] = p;
            mpfr_mul(p.v, p.v, x.v, MPFR_RNDN);
        }
        f(m[i][n], x);
    }
    return mpfit::solve(std::move(m));
}

// Worst relative error of x + x^3 p(x^2) against tanh x for x in
// (0, sqrt(w_max)], in log2.
double measure_tanh(const std::vector<float>& c, double w_max) {
    double worst = 0;
    for (int i = 1; i <= 20000; ++i) {
        mp x, w, p, t, e;
        mpfr_set_d(x.v, std::sqrt(w_max) * i / 20000.0, MPFR_RNDN);
        mpfr_sqr(w.v, x.v, MPFR_RNDN);
        mpfr_set_d(p.v, c.back(), MPFR_RNDN);
        for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
            mpfr_mul(p.v, p.v, w.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, c[k], MPFR_RNDN);
        }
        mpfr_mul(t.v, p.v, w.v, MPFR_RNDN);
        mpfr_mul(t.v, t.v, x.v, MPFR_RNDN);
        mpfr_add(t.v, t.v, x.v, MPFR_RNDN);
        mpfr_tanh(e.v, x.v, MPFR_RNDN);
        mpfr_sub(t.v, t.v, e.v, MPFR_RNDN);
        mpfr_div(t.v, t.v, e.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(t.v, MPFR_RNDN)));
    }
    return std::log2(worst);
}

// Worst relative error of 1 + r + r^2 p(r) against e^r and of r + r^2 p(r)
// against e^r - 1, in log2.
void measure(const std::vector<double>& c, double h, double& exp_bits, double& expm1_bits) {
    double worst_exp = 0, worst_expm1 = 0;
    for (int i = -10000; i <= 10000; ++i) {
        if (i == 0) continue;
        mp r, p, t, e, err;
        mpfr_set_d(r.v, h * i / 10000.0, MPFR_RNDN);
        mpfr_set_d(p.v, c.back(), MPFR_RNDN);
        for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
            mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, c[k], MPFR_RNDN);
        }
        mpfr_sqr(t.v, r.v, MPFR_RNDN);
        mpfr_mul(t.v, t.v, p.v, MPFR_RNDN);
        mpfr_add(t.v, t.v, r.v, MPFR_RNDN);  // r + r^2 p
        mpfr_expm1(e.v, r.v, MPFR_RNDN);
        mpfr_sub(err.v, t.v, e.v, MPFR_RNDN);
        mpfr_div(err.v, err.v, e.v, MPFR_RNDN);
        worst_expm1 = std::fmax(worst_expm1, std::fabs(mpfr_get_d(err.v, MPFR_RNDN)));
        mpfr_sub(err.v, t.v, e.v, MPFR_RNDN);
        mpfr_add_ui(e.v, e.v, 1, MPFR_RNDN);
        mpfr_div(err.v, err.v, e.v, MPFR_RNDN);
        worst_exp = std::fmax(worst_exp, std::fabs(mpfr_get_d(err.v, MPFR_RNDN)));
    }
    exp_bits = std::log2(worst_exp);
    expm1_bits = std::log2(worst_expm1);
}

struct fit {
    const char* name;
    const char* use;
    double h;
    int degree;  // of p
    bool single;
};

}  // namespace

int main() {
    const double ln2 = 0.69314718055994530942;
    const fit fits[] = {
        {"exp_single_la", "e^r in float for |r| <= ln2/2 (single Exp LA)", ln2 / 2, 4, true},
        {"exp_single_ep", "e^r in float for |r| <= ln2/2 (single Exp EP and the hyperbolic EP routines)", ln2 / 2, 2, true},
        {"expm1_single_wide", "e^r - 1 in double for |r| <= ln2/2 (single Expm1 in double lanes)", ln2 / 2, 6, false},
    };
    std::printf("// Polynomial fits of the table-free exponential cores.  Generated, do not edit:\n");
    std::printf("//   g++ -O2 -std=c++20 tools/exp_fits/exp_fits.cpp -lmpfr -lgmp -o /tmp/exp_fits && /tmp/exp_fits > src/vector/real/exp/exp_fits.h\n");
    std::printf("// Each array holds p of e^r = 1 + r + r^2 p(r), lowest coefficient first,\n");
    std::printf("// interpolating (e^r - 1 - r)/r^2 at the Chebyshev nodes of [-h, h].\n");
    std::printf("#pragma once\n\nnamespace qlm::vector::exp_fits {\n");
    for (const fit& f : fits) {
        const auto exact = interpolate(exp_target, -f.h, f.h, f.degree);
        std::vector<double> rounded;
        for (const mp& c : exact) {
            double d = mpfr_get_d(c.v, MPFR_RNDN);
            if (f.single) d = static_cast<float>(mpfr_get_flt(c.v, MPFR_RNDN));
            rounded.push_back(d);
        }
        double eb, mb;
        measure(rounded, f.h, eb, mb);
        std::printf("\n// %s; h = %.17g, degree %d of p.\n", f.use, f.h, f.degree);
        std::printf("// Relative error of 1 + r + r^2 p: 2^%.1f; of r + r^2 p against e^r - 1: 2^%.1f.\n", eb, mb);
        std::printf("inline constexpr %s %s[] = {", f.single ? "float" : "double", f.name);
        for (std::size_t k = 0; k < rounded.size(); ++k) {
            if (f.single) std::printf("%s%.9gf", k ? ", " : "", rounded[k]);
            else std::printf("%s%.17g", k ? ", " : "", rounded[k]);
        }
        std::printf("};\n");
    }
    {
        // e^r = 1 + r Q(r): the cheapest form for the enhanced-performance
        // single exponential that keeps e^0 = 1 exactly.
        const double h = ln2 / 2;
        const auto exact = interpolate(expm1_over_r_target, -h, h, 2);
        std::vector<float> rounded;
        for (const mp& c : exact) rounded.push_back(mpfr_get_flt(c.v, MPFR_RNDN));
        double worst = 0;
        for (int i = -10000; i <= 10000; ++i) {
            mp r, p, e;
            mpfr_set_d(r.v, h * i / 10000.0, MPFR_RNDN);
            mpfr_set_d(p.v, rounded.back(), MPFR_RNDN);
            for (int k = static_cast<int>(rounded.size()) - 2; k >= 0; --k) {
                mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
                mpfr_add_d(p.v, p.v, rounded[k], MPFR_RNDN);
            }
            mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
            mpfr_add_ui(p.v, p.v, 1, MPFR_RNDN);
            mpfr_exp(e.v, r.v, MPFR_RNDN);
            mpfr_sub(p.v, p.v, e.v, MPFR_RNDN);
            mpfr_div(p.v, p.v, e.v, MPFR_RNDN);
            worst = std::fmax(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
        }
        std::printf("\n// e^r = 1 + r Q(r) in float for |r| <= ln2/2 (single Exp EP), Q of degree 2\n");
        std::printf("// interpolating (e^r - 1)/r at the Chebyshev nodes.  Relative error: 2^%.1f.\n", std::log2(worst));
        std::printf("inline constexpr float exp_single_ep_short[] = {");
        for (std::size_t k = 0; k < rounded.size(); ++k) std::printf("%s%.9ef", k ? ", " : "", rounded[k]);
        std::printf("};\n");
    }
    {
        // tanh x = x + x^3 P(x^2) for |x| < 0.55, where tanh x < 1/2 and the
        // other formula of the single LA routine would cancel.
        const double w_max = 0.3025;
        const auto exact = interpolate(tanh_target, 0.0, w_max, 4);
        std::vector<float> rounded;
        for (const mp& c : exact) rounded.push_back(mpfr_get_flt(c.v, MPFR_RNDN));
        std::printf("\n// tanh x = x + x^3 P(x^2) in float for |x| <= 0.55 (single Tanh LA); P of\n");
        std::printf("// degree 4 interpolating (tanh x - x)/x^3 at the Chebyshev nodes of\n");
        std::printf("// x^2 in [0, %.4g].  Relative error of x + x^3 P: 2^%.1f.\n", w_max, measure_tanh(rounded, w_max));
        std::printf("inline constexpr float tanh_single_la[] = {");
        for (std::size_t k = 0; k < rounded.size(); ++k) std::printf("%s%.9gf", k ? ", " : "", rounded[k]);
        std::printf("};\n");
    }
    std::printf("\n}  // namespace qlm::vector::exp_fits\n");
}
