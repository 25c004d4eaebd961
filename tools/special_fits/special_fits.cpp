// Generator of the constant tables and polynomial fits behind the inverse
// trigonometric, inverse hyperbolic and special-function kernels.
//
// Each fit is the polynomial in t = x - c that interpolates the target at the
// Chebyshev nodes of its interval, solved in 192-bit arithmetic and rounded
// to double; the degree is the least one whose measured relative error on
// 4001 points of the interval (coefficients already rounded) meets the
// target.  Interpolation at Chebyshev nodes stays within a small factor of
// the best uniform fit, which is what the kernels' error budgets assume.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/special_fits/special_fits.cpp -lmpfr -lgmp -o /tmp/special_fits
//   /tmp/special_fits src/vector/real
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t P = 192;
using target_fn = std::function<void(mpfr_t y, const mpfr_t x)>;

using mp = mpfit::mp_number<P>;

// Solves the Vandermonde system of the nodes in t = x - c.
std::vector<double> interpolate(const target_fn& f, double a, double b, double c, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi; mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp x, t, ang;
        // x = (a+b)/2 + (b-a)/2 cos(pi (i + 1/2) / n)
        mpfr_mul_d(ang.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(ang.v, ang.v, MPFR_RNDN);
        mpfr_mul_d(ang.v, ang.v, (b - a) / 2, MPFR_RNDN);
        mpfr_set_d(x.v, (a + b) / 2, MPFR_RNDN);
        mpfr_add(x.v, x.v, ang.v, MPFR_RNDN);
        mpfr_sub_d(t.v, x.v, c, MPFR_RNDN);
        mp p(1.0);
        for (int j = 0; j < n; ++j) { m[i][j] = p; mpfr_mul(p.v, p.v, t.v, MPFR_RNDN); }
        f(m[i][n].v, x.v);
    }
    const std::vector<mp> coef = mpfit::solve(std::move(m));
    // The constant term is kept as hi + lo (the last entry holds lo), so
    // that a fit whose value is dominated by it is not limited by its rounding.
    std::vector<double> out(n + 1);
    for (int k = 0; k < n; ++k) out[k] = coef[k].d();
    mp lo; mpfr_sub_d(lo.v, coef[0].v, out[0], MPFR_RNDN);
    out[n] = lo.d();
    return out;
}

double max_rel_error(const target_fn& f, double a, double b, double c, const std::vector<double>& k) {
    double worst = 0;
    for (int i = 0; i <= 800; ++i) {
        const double x = a + (b - a) * i / 800.0;
        mp xv(x), t, p, want;
        mpfr_sub_d(t.v, xv.v, c, MPFR_RNDN);
        for (int j = static_cast<int>(k.size()) - 2; j >= 0; --j) { mpfr_mul(p.v, p.v, t.v, MPFR_RNDN); mpfr_add_d(p.v, p.v, k[j], MPFR_RNDN); }
        mpfr_add_d(p.v, p.v, k.back(), MPFR_RNDN);
        f(want.v, xv.v);
        if (mpfr_zero_p(want.v)) continue;
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(p.d()));
    }
    return worst;
}

FILE* out;

struct fit_result { std::vector<double> k; double err; };

fit_result fit(const target_fn& f, double a, double b, double c, double target) {
    for (int d = 1; d < 40; ++d) {
        auto k = interpolate(f, a, b, c, d);
        double e = max_rel_error(f, a, b, c, k);
        if (e <= target) return {k, e};
    }
    std::fprintf(stderr, "no fit on [%g, %g]\n", a, b);
    std::exit(1);
}

void emit_poly(const char* name, const fit_result& r) {
    std::fprintf(out, "// degree %zu, max relative error %.3g; the last entry is the low part of the first\n"
                      "inline constexpr double %s[%zu] = {", r.k.size() - 2, r.err, name, r.k.size());
    for (size_t i = 0; i < r.k.size(); ++i) std::fprintf(out, "%s%a", i ? ", " : "", r.k[i]);
    std::fprintf(out, "};\n");
}

// A piecewise fit: breakpoints, centres and a flat coefficient array with
// a fixed stride (the largest degree; shorter pieces are padded with zeros).
void emit_pieces(const char* name, const target_fn& f, const std::vector<double>& breaks, double target) {
    std::vector<fit_result> pieces;
    size_t stride = 0;
    double worst = 0;
    for (size_t i = 0; i + 1 < breaks.size(); ++i) {
        const double c = (breaks[i] + breaks[i + 1]) / 2;
        pieces.push_back(fit(f, breaks[i], breaks[i + 1], c, target));
        stride = std::max(stride, pieces.back().k.size());
        worst = std::fmax(worst, pieces.back().err);
    }
    // Each row: coefficients of degree 0..stride-2, padded with zeros, then the
    // low part of the constant term.
    std::fprintf(out, "// %zu pieces, degree %zu, max relative error %.3g\n", pieces.size(), stride - 2, worst);
    std::fprintf(out, "inline constexpr int %s_degree = %zu;\n", name, stride - 2);
    std::fprintf(out, "inline constexpr double %s_centre[%zu] = {", name, pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) std::fprintf(out, "%s%a", i ? ", " : "", (breaks[i] + breaks[i + 1]) / 2);
    std::fprintf(out, "};\ninline constexpr double %s[%zu][%zu] = {\n", name, pieces.size(), stride);
    for (auto& p : pieces) {
        std::fprintf(out, "    {");
        for (size_t j = 0; j + 1 < stride; ++j) std::fprintf(out, "%s%a", j ? ", " : "", j + 1 < p.k.size() ? p.k[j] : 0.0);
        std::fprintf(out, ", %a", p.k.back());
        std::fprintf(out, "},\n");
    }
    std::fprintf(out, "};\n");
}

void split(const mp& v, double& hi, double& lo) {
    hi = v.d();
    mp r; mpfr_sub_d(r.v, v.v, hi, MPFR_RNDN);
    lo = r.d();
}

// ---- targets ------------------------------------------------------------
// (f(sqrt s) - sqrt s) / sqrt(s)^3, the odd part beyond x of asin, asinh, atanh.
target_fn odd_tail(int (*g)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
    return [g](mpfr_t y, const mpfr_t s) {
        mp x, fx; mpfr_sqrt(x.v, s, MPFR_RNDN);
        g(fx.v, x.v, MPFR_RNDN);
        mpfr_sub(fx.v, fx.v, x.v, MPFR_RNDN);
        mpfr_div(fx.v, fx.v, x.v, MPFR_RNDN);
        mpfr_div(y, fx.v, s, MPFR_RNDN);
    };
}

void erf_over_x(mpfr_t y, const mpfr_t s) {
    mp x; mpfr_sqrt(x.v, s, MPFR_RNDN);
    mpfr_erf(y, x.v, MPFR_RNDN);
    mpfr_div(y, y, x.v, MPFR_RNDN);
}

void erfcx(mpfr_t y, const mpfr_t x) {
    mp e; mpfr_sqr(e.v, x, MPFR_RNDN); mpfr_exp(e.v, e.v, MPFR_RNDN);
    mpfr_erfc(y, x, MPFR_RNDN);
    mpfr_mul(y, y, e.v, MPFR_RNDN);
}

// erfinv(x) for 0 < x < 1, by Newton's iteration on erf at full precision
// from a double bisection on std::erf, run until the step is below 2^-180
// of the root.
void erfinv_mp(mpfr_t y, const mpfr_t x) {
    const double xd = mpfr_get_d(x, MPFR_RNDN);
    double lo = 0, hi = 6;
    for (int i = 0; i < 80; ++i) {
        const double mid = 0.5 * (lo + hi);
        (std::erf(mid) < xd ? lo : hi) = mid;
    }
    mp f, df, step, two_over_sqrt_pi;
    mpfr_const_pi(two_over_sqrt_pi.v, MPFR_RNDN);
    mpfr_rec_sqrt(two_over_sqrt_pi.v, two_over_sqrt_pi.v, MPFR_RNDN);
    mpfr_mul_2ui(two_over_sqrt_pi.v, two_over_sqrt_pi.v, 1, MPFR_RNDN);
    mpfr_set_d(y, 0.5 * (lo + hi), MPFR_RNDN);
    for (int i = 0; i < 40; ++i) {
        mpfr_erf(f.v, y, MPFR_RNDN);
        mpfr_sub(f.v, f.v, x, MPFR_RNDN);
        mpfr_sqr(df.v, y, MPFR_RNDN);
        mpfr_neg(df.v, df.v, MPFR_RNDN);
        mpfr_exp(df.v, df.v, MPFR_RNDN);
        mpfr_mul(df.v, df.v, two_over_sqrt_pi.v, MPFR_RNDN);
        mpfr_div(step.v, f.v, df.v, MPFR_RNDN);
        mpfr_sub(y, y, step.v, MPFR_RNDN);
        if (mpfr_zero_p(step.v) || mpfr_get_exp(step.v) < mpfr_get_exp(y) - 180) break;
    }
}

// x = sqrt(1 - e^-w), the argument of erfinv whose w = -ln((1 - x)(1 + x)).
void x_of_w(mpfr_t x, const mpfr_t w) {
    mpfr_neg(x, w, MPFR_RNDN);
    mpfr_expm1(x, x, MPFR_RNDN);
    mpfr_neg(x, x, MPFR_RNDN);
    mpfr_sqrt(x, x, MPFR_RNDN);
}

// Centre: erfinv(x)/x as a function of w (sqrt(pi)/2 at w = 0).
void erfinv_centre(mpfr_t y, const mpfr_t w) {
    mp x;
    x_of_w(x.v, w);
    if (mpfr_zero_p(x.v)) {
        mpfr_const_pi(y, MPFR_RNDN);
        mpfr_sqrt(y, y, MPFR_RNDN);
        mpfr_div_2ui(y, y, 1, MPFR_RNDN);
        return;
    }
    erfinv_mp(y, x.v);
    mpfr_div(y, y, x.v, MPFR_RNDN);
}

// Outer region: erfinv(x) as a function of s = sqrt(w).
void erfinv_outer(mpfr_t y, const mpfr_t s) {
    mp w, x;
    mpfr_sqr(w.v, s, MPFR_RNDN);
    x_of_w(x.v, w.v);
    erfinv_mp(y, x.v);
}

struct target_set { const char* suffix; double rel; };

}  // namespace

int main(int argc, char** argv) {
    const std::string root = argc > 1 ? argv[1] : "src/vector/real";
    const char* header =
        "// Generated by tools/special_fits; do not edit.  Regenerate with\n"
        "//   g++ -O2 -std=c++20 tools/special_fits/special_fits.cpp -lmpfr -lgmp -o /tmp/special_fits\n"
        "//   /tmp/special_fits src/vector/real\n"
        "// Fits interpolate at Chebyshev nodes in 192-bit arithmetic; each states\n"
        "// the relative error measured after rounding its coefficients.\n"
        "#pragma once\n\nnamespace qlm::special {\n\n";
    // Accuracy targets: d for double HA and LA, f for single HA and LA and
    // double EP, e for single EP.
    const target_set sets[] = {{"d", 0x1p-56}, {"f", 0x1p-31}, {"e", 0x1p-16}};
    // The odd tails are corrections below a tenth of the result: 2^-53 is ample.
    const target_set tail_sets[] = {{"d", 0x1p-53}, {"f", 0x1p-28}, {"e", 0x1p-14}};

    // ---- shared cores: exp and log tables --------------------------------
    out = std::fopen((root + "/special/core_tables.h").c_str(), "w");
    std::fputs(header, out);
    std::fprintf(out, "// 2^(j/64) = exp2_table[j][0] + exp2_table[j][1]\ninline constexpr double exp2_table[64][2] = {\n");
    for (int j = 0; j < 64; ++j) {
        mp v(j / 64.0); mpfr_exp2(v.v, v.v, MPFR_RNDN);
        double hi, lo; split(v, hi, lo);
        std::fprintf(out, "    {%a, %a},\n", hi, lo);
    }
    std::fprintf(out, "};\n\n// Row j - 90 for m nearest to c = j/128, j = 90..181: 1/c rounded to double,\n"
                      "// and -log of that rounded value as hi + lo.\n"
                      "inline constexpr double log_table[92][3] = {\n");
    for (int j = 90; j <= 181; ++j) {
        const double inv = 128.0 / j;
        mp v(inv); mpfr_log(v.v, v.v, MPFR_RNDN); mpfr_neg(v.v, v.v, MPFR_RNDN);
        double hi, lo; split(v, hi, lo);
        std::fprintf(out, "    {%a, %a, %a},\n", inv, hi, lo);
    }
    std::fprintf(out, "};\n\n}  // namespace qlm::special\n");
    std::fclose(out);

    // ---- inverse trigonometric ------------------------------------------
    out = std::fopen((root + "/invtrig/invtrig_tables.h").c_str(), "w");
    std::fputs(header, out);
    std::fprintf(out, "// atan(k/8) as hi + lo, k = 0..8\ninline constexpr double atan_eighths[9][2] = {\n");
    for (int k = 0; k <= 8; ++k) {
        mp v(k / 8.0); mpfr_atan(v.v, v.v, MPFR_RNDN);
        double hi, lo; split(v, hi, lo);
        std::fprintf(out, "    {%a, %a},\n", hi, lo);
    }
    std::fprintf(out, "};\n// atan(k/8) in extended precision, for the x87 routines\ninline constexpr long double atan_eighths_x87[9] = {\n");
    for (int k = 0; k <= 8; ++k) {
        mp v(k / 8.0); mpfr_atan(v.v, v.v, MPFR_RNDN);
        std::fprintf(out, "    %LaL,\n", mpfr_get_ld(v.v, MPFR_RNDN));
    }
    std::fprintf(out, "};\n");
    for (auto& s : tail_sets) {
        auto r = fit(odd_tail(mpfr_asin), 0, 0.25, 0.125, s.rel);
        emit_poly((std::string("asin_tail_") + s.suffix).c_str(), r);
    }
    std::fprintf(out, "\n}  // namespace qlm::special\n");
    std::fclose(out);

    // ---- inverse hyperbolic ---------------------------------------------
    out = std::fopen((root + "/invhyp/invhyp_tables.h").c_str(), "w");
    std::fputs(header, out);
    for (auto& s : tail_sets) {
        emit_poly((std::string("asinh_tail_") + s.suffix).c_str(), fit(odd_tail(mpfr_asinh), 0, 0.25, 0.125, s.rel));
        emit_poly((std::string("atanh_tail_") + s.suffix).c_str(), fit(odd_tail(mpfr_atanh), 0, 0.25, 0.125, s.rel));
    }
    std::fprintf(out, "\n}  // namespace qlm::special\n");
    std::fclose(out);

    // ---- error functions ---------------------------------------------------
    out = std::fopen((root + "/special/erf_tables.h").c_str(), "w");
    std::fputs(header, out);
    const std::vector<double> erfcx_breaks = {0.75, 1.0, 1.25, 1.5, 2.0, 2.5, 3.0, 4.0, 5.0, 6.5, 8.5, 11.0, 15.0, 20.0, 28.0};
    std::fprintf(out, "inline constexpr double erfcx_breaks[%zu] = {", erfcx_breaks.size());
    for (size_t i = 0; i < erfcx_breaks.size(); ++i) std::fprintf(out, "%s%a", i ? ", " : "", erfcx_breaks[i]);
    std::fprintf(out, "};\n");
    for (auto& s : sets) {
        std::fprintf(out, "\n// ---- accuracy set %s\n", s.suffix);
        emit_poly((std::string("erf_small_") + s.suffix).c_str(), fit(erf_over_x, 0, 0.5625, 0.28125, s.rel));
        emit_pieces((std::string("erfcx_") + s.suffix).c_str(), erfcx, erfcx_breaks, s.rel);
    }
    std::fprintf(out, "\n}  // namespace qlm::special\n");
    std::fclose(out);

    // ---- inverse error function, for the ErfInv LA and EP routines ----------
    // The centre ends at |x| = 1 - 2^-9 (w = 5.5452), the outer region at
    // |x| = 1 - 2^-24 (w = 15.942, s = 3.9928), the largest float below 1;
    // each interval overlaps its neighbour a little, so that the rounding of
    // w at the boundary cannot leave a fit's range.  Set d (2^-56) serves
    // the double LA routine, set p (2^-31) double EP and single LA and EP.
    out = std::fopen((root + "/special/erfinv_tables.h").c_str(), "w");
    std::fputs(header, out);
    const target_set erfinv_sets[] = {{"p", 0x1p-31}};
    for (auto& s : erfinv_sets) {
        std::fprintf(out, "\n// ---- accuracy set %s\n// erfinv(x)/x in t = w - 2.78125, w = -ln((1 - x)(1 + x)) on [0, 5.5625]\n", s.suffix);
        emit_poly((std::string("erfinv_centre_") + s.suffix).c_str(), fit(erfinv_centre, 0, 5.5625, 2.78125, s.rel));
        std::fprintf(out, "// erfinv(x) in t = sqrt(w) - 3.1875 on [2.35, 4.0]\n");
        emit_poly((std::string("erfinv_outer_") + s.suffix).c_str(), fit(erfinv_outer, 2.35, 4.0, 3.1875, s.rel));
    }
    // Set d (2^-55) for the double LA routine: the centre in two halves, so
    // that |t| stays small enough for the rounded coefficients to hold.
    std::fprintf(out, "\n// ---- accuracy set d\n// erfinv(x)/x in t = w - 1.4 on [0, 2.8] and in t = w - 4.15625 on [2.75, 5.5625]\n");
    emit_poly("erfinv_centre_low_d", fit(erfinv_centre, 0, 2.8, 1.4, 0x1p-55));
    emit_poly("erfinv_centre_high_d", fit(erfinv_centre, 2.75, 5.5625, 4.15625, 0x1p-55));
    std::fprintf(out, "// erfinv(x) in t = sqrt(w) - 3.05 on [2.35, 3.75]\n");
    emit_poly("erfinv_outer_d", fit(erfinv_outer, 2.35, 3.75, 3.05, 0x1p-55));
    std::fprintf(out, "\n}  // namespace qlm::special\n");
    std::fclose(out);

    // ---- gamma function, for the single routines ---------------------------
    out = std::fopen((root + "/special/gamma_tables.h").c_str(), "w");
    std::fputs(header, out);
    // h(x) = (Gamma(x) - 1)/((x - 1)(x - 2)) on [1, 2], so that Gamma - 1
    // keeps its relative accuracy at the zeros of log Gamma.
    emit_poly("gamma_one_two", fit([](mpfr_t y, const mpfr_t x) {
        mp a, b;
        mpfr_gamma(y, x, MPFR_RNDN);
        mpfr_sub_ui(y, y, 1, MPFR_RNDN);
        mpfr_sub_ui(a.v, x, 1, MPFR_RNDN);
        mpfr_sub_ui(b.v, x, 2, MPFR_RNDN);
        mpfr_mul(a.v, a.v, b.v, MPFR_RNDN);
        mpfr_div(y, y, a.v, MPFR_RNDN);
    }, 1.0, 2.0, 1.5, 0x1p-36));
    std::fprintf(out, "\n}  // namespace qlm::special\n");
    std::fclose(out);
    return 0;
}
