// Generator of the polynomial fits and angle constants behind the wide
// inverse trigonometric kernels (src/vector/real/invtrig/invtrig_fits.h).
//
// Both fits are odd tails in s = x^2:
//   atan(t) = t + t s Q(s),  s in [0, tan^2(pi/8)]
//   asin(x) = x + x s P(s),  s in [0, 1/4]
// Each polynomial interpolates its target at the Chebyshev nodes of the
// interval in 256-bit arithmetic; the degree is the least whose relative
// error, measured on 2001 points with the coefficients already rounded (to
// double, or to float for the float-lane sets), meets the set's target.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/invtrig_fits/invtrig_fits.cpp -lmpfr -lgmp -o /tmp/invtrig_fits
//   /tmp/invtrig_fits > src/vector/real/invtrig/invtrig_fits.h
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t kBits = 256;

using big = mpfit::mp_number<kBits>;

using target = std::function<void(mpfr_t y, const mpfr_t s)>;

// (g(sqrt s) - sqrt s) / (s sqrt s)
target odd_tail(int (*g)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return [g](mpfr_t y, const mpfr_t s) {
        big x, gx;
        mpfr_sqrt(x.v, s, MPFR_RNDN);
        g(gx.v, x.v, MPFR_RNDN);
        mpfr_sub(gx.v, gx.v, x.v, MPFR_RNDN);
        mpfr_div(gx.v, gx.v, x.v, MPFR_RNDN);
        mpfr_div(y, gx.v, s, MPFR_RNDN);
    };
}

// Coefficients of the interpolant in powers of s, by Gaussian elimination
// on the Vandermonde system of the nodes.
std::vector<big> interpolate(const target& f, double a, double b, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<big>> m(n, std::vector<big>(n + 1));
    big pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        big s, c;
        mpfr_mul_d(c.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(c.v, c.v, MPFR_RNDN);
        mpfr_mul_d(c.v, c.v, (b - a) / 2, MPFR_RNDN);
        mpfr_add_d(s.v, c.v, (a + b) / 2, MPFR_RNDN);
        big p(1.0);
        for (int j = 0; j < n; ++j) {
            m[i][j] = p;
            mpfr_mul(p.v, p.v, s.v, MPFR_RNDN);
        }
        f(m[i][n].v, s.v);
    }
    const std::vector<big> c = mpfit::solve(std::move(m));
    return c;
}

double max_relative_error(const target& f, double a, double b, const std::vector<double>& k) {
    double worst = 0;
    for (int i = 0; i <= 2000; ++i) {
        big s(a + (b - a) * i / 2000.0), p, want;
        for (int j = static_cast<int>(k.size()) - 1; j >= 0; --j) {
            mpfr_mul(p.v, p.v, s.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, k[j], MPFR_RNDN);
        }
        f(want.v, s.v);
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
    }
    return worst;
}

void emit_fit(const char* name, const target& f, double a, double b, double goal, bool to_float) {
    for (int degree = 1; degree < 30; ++degree) {
        const auto c = interpolate(f, a, b, degree);
        std::vector<double> k;
        for (const big& v : c) {
            const double d = mpfr_get_d(v.v, MPFR_RNDN);
            k.push_back(to_float ? static_cast<double>(static_cast<float>(d)) : d);
        }
        const double err = max_relative_error(f, a, b, k);
        if (err > goal) continue;
        std::printf("// degree %d, max relative error %.3g (goal %a)\n", degree, err, goal);
        std::printf("inline constexpr %s %s[%d] = {", to_float ? "float" : "double", name, degree + 1);
        for (int j = 0; j <= degree; ++j) std::printf("%s%a%s", j ? ", " : "", k[j], to_float ? "f" : "");
        std::printf("};\n");
        return;
    }
    std::fprintf(stderr, "no fit for %s\n", name);
    std::exit(1);
}

// f(sqrt s)/sqrt s - 1, for the float-lane arctangent on the whole unit
// interval.
target ratio_minus_one(int (*g)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return [g](mpfr_t y, const mpfr_t s) {
        big x, gx;
        mpfr_sqrt(x.v, s, MPFR_RNDN);
        if (mpfr_zero_p(x.v)) {
            mpfr_set_ui(y, 0, MPFR_RNDN);
            return;
        }
        g(gx.v, x.v, MPFR_RNDN);
        mpfr_div(gx.v, gx.v, x.v, MPFR_RNDN);
        mpfr_sub_ui(y, gx.v, 1, MPFR_RNDN);
    };
}

// Q(s) = 1 + q1 s + ... + qd s^d with the terms of degree 1 and up from
// the interpolant of degree d of f(sqrt s)/sqrt s - 1 at the Chebyshev
// nodes of [0, b] (its constant term, of the size of its error, dropped),
// in float.  That spreads the absolute error of Q evenly over s, which is
// what the result's relative error feels, instead of the relative error of
// (Q - 1)/s, which would overweight small s.
void emit_unit_fit(const char* name, const target& f, double b, int degree) {
    const auto c = interpolate(f, 0, b, degree);
    std::vector<double> k{1.0};
    for (int j = 1; j <= degree; ++j) k.push_back(static_cast<double>(static_cast<float>(mpfr_get_d(c[j].v, MPFR_RNDN))));
    double worst = 0;
    for (int i = 0; i <= 4000; ++i) {
        big s(b * i / 4000.0), p, want;
        for (int j = degree; j >= 1; --j) {
            mpfr_add_d(p.v, p.v, k[j], MPFR_RNDN);
            mpfr_mul(p.v, p.v, s.v, MPFR_RNDN);
        }
        f(want.v, s.v);
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(p.v, MPFR_RNDN)));
    }
    std::printf("// degree %d on s in [0, %g], max absolute error %.3g\n", degree, b, worst);
    std::printf("inline constexpr float %s[%d] = {", name, degree + 1);
    for (int j = 0; j <= degree; ++j) std::printf("%s%af", j ? ", " : "", k[j]);
    std::printf("};\n");
}

}  // namespace

int main() {
    std::printf(
        "// Generated by tools/invtrig_fits; do not edit.  Regenerate with\n"
        "//   g++ -O2 -std=c++20 tools/invtrig_fits/invtrig_fits.cpp -lmpfr -lgmp -o /tmp/invtrig_fits\n"
        "//   /tmp/invtrig_fits > src/vector/real/invtrig/invtrig_fits.h\n"
        "// Odd tails in s = x^2, coefficients from degree 0 up: atan(t) = t + t s Q(s)\n"
        "// on s <= tan^2(pi/8), asin(x) = x + x s P(s) on s <= 1/4.  Chebyshev\n"
        "// interpolants in 256-bit arithmetic; each states its relative error\n"
        "// measured after rounding the coefficients; atan_unit_f: atan(t) = t Q(s)\n"
        "// on s <= 1.\n"
        "#pragma once\n\nnamespace qlm::invtrig {\n\n");
    big t8;  // tan(pi/8)^2 = 3 - 2 sqrt 2
    mpfr_sqrt_ui(t8.v, 2, MPFR_RNDN);
    mpfr_mul_si(t8.v, t8.v, -2, MPFR_RNDN);
    mpfr_add_ui(t8.v, t8.v, 3, MPFR_RNDN);
    const double atan_end = mpfr_get_d(t8.v, MPFR_RNDU) * (1 + 0x1p-40);
    // The tails weigh below 6% of the result, so the targets are the class
    // budgets over that weight: d for double HA and LA, m for single HA
    // (in double) and double EP, f for single LA in float lanes (looser for
    // asin, whose float error is far inside its budget, than for atan,
    // whose quotient already costs an ulp), e for single EP.
    struct set {
        const char* suffix;
        double atan_goal, asin_goal;
        bool to_float;
    } sets[] = {{"d", 0x1p-51, 0x1p-51, false},
                {"m", 0x1p-30, 0x1p-30, false},
                {"f", 0x1p-20, 0x1p-18, true},
                {"e", 0x1p-12, 0x1p-12, true}};
    for (const set& s : sets) {
        char name[32];
        std::snprintf(name, sizeof name, "atan_tail_%s", s.suffix);
        emit_fit(name, odd_tail(mpfr_atan), 0x1p-60, atan_end, s.atan_goal, s.to_float);
        std::snprintf(name, sizeof name, "asin_tail_%s", s.suffix);
        emit_fit(name, odd_tail(mpfr_asin), 0x1p-60, 0.25, s.asin_goal, s.to_float);
    }
    // atan(t) = t Q(t^2) on the whole of [0, 1], for the float-lane LA
    // arctangent that takes 1/|x| above 1 and no second reduction.
    emit_unit_fit("atan_unit_f", ratio_minus_one(mpfr_atan), 1.0, 8);
    // pi/4 = head + rest with the head cut to 50 bits (double) and 21 bits
    // (float), so that k times the head is exact for k = 0..4 and the
    // octant constants k pi/4 need no table.
    struct cut {
        const char* type;
        const char* name;
        int bits;
    } cuts[] = {{"double", "quarter_pi_d", 50}, {"float", "quarter_pi_f", 21}};
    for (const cut& c : cuts) {
        big v, head, rest;
        mpfr_const_pi(v.v, MPFR_RNDN);
        mpfr_div_ui(v.v, v.v, 4, MPFR_RNDN);
        mpfr_t h;
        mpfr_init2(h, c.bits);
        mpfr_set(h, v.v, MPFR_RNDN);
        mpfr_set(head.v, h, MPFR_RNDN);
        mpfr_clear(h);
        mpfr_sub(rest.v, v.v, head.v, MPFR_RNDN);
        const char* f = c.bits < 24 ? "f" : "";
        std::printf("\n// pi/4 = head + rest, head of %d bits\ninline constexpr %s %s[2] = {%a%s, %a%s};\n", c.bits, c.type,
                    c.name, mpfr_get_d(head.v, MPFR_RNDN), f,
                    c.bits < 24 ? static_cast<double>(mpfr_get_flt(rest.v, MPFR_RNDN)) : mpfr_get_d(rest.v, MPFR_RNDN), f);
    }
    std::printf("\n}  // namespace qlm::invtrig\n");
    return 0;
}
