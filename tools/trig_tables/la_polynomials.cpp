// Generates src/vector/real/trig/la_polynomials.h: the pieces of pi and the
// coefficients of the fast (LA) sine and tangent lanes in double.
//
// Sine: sin r = r + r^3 P(r^2) on [-pi/2, pi/2], P the polynomial that
// interpolates (sin r - r)/r^3 at the Chebyshev nodes of r^2 in
// [0, (pi/2)^2], computed with MPFR at 256 bits and rounded to the element
// type once; that is within a small factor of the minimax polynomial.
// Tangent: tan r = r P(r^2) / Q(r^2) on [-pi/4, pi/4], the convergent of
// Lambert's continued fraction r/(1 - r^2/(3 - r^2/(5 - ...))) that ends at
// the given odd denominator, its integer coefficients scaled so that
// Q(0) = 1 and then rounded once.
// Each set is printed with its measured max relative error over 20000 points
// of the interval (coefficients as rounded, arithmetic exact), which the
// header comment repeats.
//
//   g++ -O2 -o /tmp/la_polynomials tools/trig_tables/la_polynomials.cpp -lmpfr -lgmp
//   /tmp/la_polynomials > src/vector/real/trig/la_polynomials.h
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t kPrec = 256;

using big = mpfit::mp_number<kPrec>;

// (sin r - r) / r^3 at g = r^2, by its series (no cancellation near 0).
void sine_tail(mpfr_t out, const mpfr_t g) {
    big term, sum;
    mpfr_set_si(term.v, -1, MPFR_RNDN);
    mpfr_div_ui(term.v, term.v, 6, MPFR_RNDN);
    for (int k = 1; k < 60; ++k) {
        mpfr_add(sum.v, sum.v, term.v, MPFR_RNDN);
        mpfr_mul(term.v, term.v, g, MPFR_RNDN);
        mpfr_div_ui(term.v, term.v, (2 * k + 2) * (2 * k + 3), MPFR_RNDN);
        mpfr_neg(term.v, term.v, MPFR_RNDN);
    }
    mpfr_set(out, sum.v, MPFR_RNDN);
}

// Solves the (n x n) system a c = b.
std::vector<big> solve(std::vector<std::vector<big>> a, const std::vector<big>& b) {
    for (std::size_t r = 0; r < b.size(); ++r) a[r].push_back(b[r]);
    return mpfit::solve(std::move(a));
}

// Coefficients rounded to double or float, as doubles.
std::vector<double> rounded(const std::vector<big>& c, bool single) {
    std::vector<double> out;
    for (const big& x : c)
        out.push_back(single ? static_cast<double>(mpfr_get_flt(x.v, MPFR_RNDN)) : mpfr_get_d(x.v, MPFR_RNDN));
    return out;
}

void horner(mpfr_t out, const std::vector<double>& c, const mpfr_t g) {
    mpfr_set_d(out, c.back(), MPFR_RNDN);
    for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
        mpfr_mul(out, out, g, MPFR_RNDN);
        mpfr_add_d(out, out, c[k], MPFR_RNDN);
    }
}

// P of `degree` in g for the sine, fitted by Lawson's iteration (weighted
// least squares whose weights follow the error) toward the polynomial of
// least maximum relative error of r + r^3 P(r^2) against sin r on 400
// Chebyshev points of g in [0, (pi/2)^2]; returns the coefficients and
// measures the error of the rounded ones on 20000 points of r.
std::vector<double> fit_sine(int degree, bool single, double& worst) {
    big pi, top, g, r, s, p, e, t;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    mpfr_div_2ui(top.v, pi.v, 1, MPFR_RNDN);
    mpfr_sqr(top.v, top.v, MPFR_RNDN);  // (pi/2)^2
    const int n = degree + 1, m = 400;
    // Per point: the powers of g times the weight r^3 / sin r, and the
    // weighted target (sin r - r) / sin r, so that the residual is the
    // relative error of the sine.
    std::vector<std::vector<big>> row(m, std::vector<big>(n));
    std::vector<big> target(m);
    for (int i = 0; i < m; ++i) {
        mpfr_set_d(g.v, std::cos(M_PI * (2 * i + 1) / (2.0 * m)), MPFR_RNDN);
        mpfr_add_ui(g.v, g.v, 1, MPFR_RNDN);
        mpfr_mul(g.v, g.v, top.v, MPFR_RNDN);
        mpfr_div_2ui(g.v, g.v, 1, MPFR_RNDN);
        mpfr_sqrt(r.v, g.v, MPFR_RNDN);
        mpfr_sin(s.v, r.v, MPFR_RNDN);
        mpfr_mul(t.v, g.v, r.v, MPFR_RNDN);
        mpfr_div(t.v, t.v, s.v, MPFR_RNDN);  // weight r^3 / sin r
        for (int k = 0; k < n; ++k) {
            if (k == 0) mpfr_set(row[i][k].v, t.v, MPFR_RNDN);
            else mpfr_mul(row[i][k].v, row[i][k - 1].v, g.v, MPFR_RNDN);
        }
        sine_tail(target[i].v, g.v);
        mpfr_mul(target[i].v, target[i].v, t.v, MPFR_RNDN);
    }
    std::vector<double> u(m, 1.0 / m);
    std::vector<big> c;
    for (int iter = 0; iter < 200; ++iter) {
        std::vector<std::vector<big>> a(n, std::vector<big>(n));
        std::vector<big> b(n);
        for (int i = 0; i < m; ++i)
            for (int j = 0; j < n; ++j) {
                mpfr_mul_d(t.v, row[i][j].v, u[i], MPFR_RNDN);
                for (int k = 0; k < n; ++k) {
                    mpfr_mul(e.v, t.v, row[i][k].v, MPFR_RNDN);
                    mpfr_add(a[j][k].v, a[j][k].v, e.v, MPFR_RNDN);
                }
                mpfr_mul(e.v, t.v, target[i].v, MPFR_RNDN);
                mpfr_add(b[j].v, b[j].v, e.v, MPFR_RNDN);
            }
        c = solve(a, b);
        double sum = 0;
        for (int i = 0; i < m; ++i) {
            mpfr_set_zero(p.v, 1);
            for (int k = 0; k < n; ++k) {
                mpfr_mul(e.v, row[i][k].v, c[k].v, MPFR_RNDN);
                mpfr_add(p.v, p.v, e.v, MPFR_RNDN);
            }
            mpfr_sub(p.v, p.v, target[i].v, MPFR_RNDN);
            u[i] *= std::fabs(mpfr_get_d(p.v, MPFR_RNDN));
            sum += u[i];
        }
        for (double& x : u) x /= sum;
    }
    const std::vector<double> cr = rounded(c, single);
    // Relative error of r + r^3 P(r^2) against sin r over (0, pi/2].
    worst = 0;
    for (int i = 1; i <= 20000; ++i) {
        mpfr_mul_d(r.v, pi.v, i / 40000.0, MPFR_RNDN);
        mpfr_sqr(g.v, r.v, MPFR_RNDN);
        horner(p.v, cr, g.v);
        mpfr_mul(p.v, p.v, g.v, MPFR_RNDN);
        mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
        mpfr_add(p.v, p.v, r.v, MPFR_RNDN);
        mpfr_sin(s.v, r.v, MPFR_RNDN);
        mpfr_sub(e.v, p.v, s.v, MPFR_RNDN);
        mpfr_div(e.v, e.v, s.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(e.v, MPFR_RNDN)));
    }
    return cr;
}

// The continued-fraction convergent of tan ending at 2K+1: tan r = r P/Q.
void fit_tangent(int K, bool single, std::vector<double>& p_out, std::vector<double>& q_out, double& worst) {
    // D_k = N_k / M_k with D_K = 2K+1, D_k = (2k+1) - g / D_{k+1}:
    // N_k = (2k+1) N_{k+1} - g M_{k+1}, M_k = N_{k+1}; tan = r M_0 / N_0.
    std::vector<double> N = {static_cast<double>(2 * K + 1)}, M = {1.0};  // integers, exact in double here
    for (int k = K - 1; k >= 0; --k) {
        std::vector<double> next(std::max(N.size(), M.size() + 1), 0.0);
        for (std::size_t i = 0; i < N.size(); ++i) next[i] += (2 * k + 1) * N[i];
        for (std::size_t i = 0; i < M.size(); ++i) next[i + 1] -= M[i];
        M = N;
        N = next;
    }
    std::vector<big> P(M.size()), Q(N.size());
    for (std::size_t i = 0; i < M.size(); ++i) {
        mpfr_set_d(P[i].v, M[i], MPFR_RNDN);
        mpfr_div_d(P[i].v, P[i].v, N[0], MPFR_RNDN);
    }
    for (std::size_t i = 0; i < N.size(); ++i) {
        mpfr_set_d(Q[i].v, N[i], MPFR_RNDN);
        mpfr_div_d(Q[i].v, Q[i].v, N[0], MPFR_RNDN);
    }
    p_out = rounded(P, single);
    q_out = rounded(Q, single);
    big pi, r, g, p, q, t, e;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    worst = 0;
    for (int i = 1; i <= 20000; ++i) {
        mpfr_mul_d(r.v, pi.v, i / 80000.0, MPFR_RNDN);
        mpfr_sqr(g.v, r.v, MPFR_RNDN);
        horner(p.v, p_out, g.v);
        horner(q.v, q_out, g.v);
        mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, q.v, MPFR_RNDN);
        mpfr_tan(t.v, r.v, MPFR_RNDN);
        mpfr_sub(e.v, p.v, t.v, MPFR_RNDN);
        mpfr_div(e.v, e.v, t.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(e.v, MPFR_RNDN)));
    }
}

void print_array(const char* type, const char* name, const std::vector<double>& c, bool single) {
    std::printf("inline constexpr %s %s[%zu] = {", type, name, c.size());
    for (std::size_t i = 0; i < c.size(); ++i)
        std::printf("%s%a%s", i ? ", " : "", c[i], single ? "f" : "");
    std::printf("};\n");
}

// pi as two pieces of 37 bits and a rest rounded to double: n times each
// of the first two is exact for |n| < 2^16.  Prints how far the sum lies
// from pi.
std::vector<double> pi_pieces(double& residual) {
    big rest;
    mpfr_const_pi(rest.v, MPFR_RNDN);
    std::vector<double> out;
    mpfr_t short_piece;
    mpfr_init2(short_piece, 37);
    for (int k = 0; k < 2; ++k) {
        mpfr_set(short_piece, rest.v, MPFR_RNDN);
        out.push_back(mpfr_get_d(short_piece, MPFR_RNDN));
        mpfr_sub_d(rest.v, rest.v, out.back(), MPFR_RNDN);
    }
    out.push_back(mpfr_get_d(rest.v, MPFR_RNDN));
    mpfr_sub_d(rest.v, rest.v, out.back(), MPFR_RNDN);
    residual = std::fabs(mpfr_get_d(rest.v, MPFR_RNDN));
    mpfr_clear(short_piece);
    return out;
}

}  // namespace

int main() {
    std::printf(
        "// Pieces of pi and coefficients of the fast (LA) sine and tangent lanes.  Generated by\n"
        "// tools/trig_tables/la_polynomials.cpp with MPFR at 256 bits; regenerate with\n"
        "//   g++ -O2 -o /tmp/la_polynomials tools/trig_tables/la_polynomials.cpp -lmpfr -lgmp\n"
        "//   /tmp/la_polynomials > src/vector/real/trig/la_polynomials.h\n"
        "// Errors are the max relative error of the approximation with the rounded\n"
        "// coefficients in exact arithmetic, over 20000 points of the interval.\n"
        "#pragma once\n\nnamespace qlm::trig {\n\n");
    double w;
    const std::vector<double> pieces = pi_pieces(w);
    // The cosine multiplies by n + 1/2 (17 bits below 2^16): the first two
    // pieces must then end in two zero bits, which these do; checked here.
    for (int k = 0; k < 2; ++k)
        if (std::fmod(std::ldexp(pieces[k], 34 - std::ilogb(pieces[k])), 1.0) != 0.0) {
            std::fprintf(stderr, "piece %d has more than 35 significant bits\n", k);
            return 1;
        }
    std::printf("// pi = sum of the pieces within 2^%.1f; the first two have 35 bits, so\n"
                "// that n (or n + 1/2) times each is exact for |n| < 2^16.\n", std::log2(w));
    print_array("double", "pi_la", pieces, false);
    auto sd = fit_sine(6, false, w);
    std::printf("// sin r = r + r^3 P(r^2), |r| <= pi/2, P of degree 6 of least relative error:\n"
                "// error %.3g (2^%.1f).\n", w, std::log2(w));
    print_array("double", "sine_la", sd, false);
    std::vector<double> p, q;
    fit_tangent(8, false, p, q, w);
    std::printf("// tan r = r P(r^2) / Q(r^2), |r| <= pi/4, the convergent ending at 17:\n"
                "// error %.3g (2^%.1f).\n", w, std::log2(w));
    print_array("double", "tangent_la_p", p, false);
    print_array("double", "tangent_la_q", q, false);
    std::printf("\n}  // namespace qlm::trig\n");
}
