// Fits and constants of the single-precision fast trigonometric lanes
// (src/vector/real/trig/trig_single_lanes.h).
//
// Pieces of pi: pi = p[0] + p[1] + p[2] + p[3] (within 2^-66), the first
// three of 12 significant bits, so that a multiplier of up to 12 bits times
// each of them (and times its half) is an exact float; the last is pi's
// remainder rounded to float.  The first three are truncated, so that every
// piece is positive and a reduction of -0 stays -0.
// Sine: sin r = r + r^3 S(r^2) on [-pi/2, pi/2], S of degree 3 in float
// (and of degree 4 in double, with pi in two double pieces, for Sin HA),
// the best fit in relative error by Remez exchange on a grid of 4000 points.
// Tangent: tan r = r P(r^2) / Q(r^2) on [-pi/4, pi/4], P and Q of degree 2
// with Q(0) = 1, from the linearised interpolation P(g) = f(g) Q(g) of
// f = tan r / r at five Chebyshev nodes of g = r^2 in [0, (pi/4)^2].
// All in 256-bit arithmetic, rounded to float; the printed error is the
// worst relative error of the approximation with the rounded coefficients,
// evaluated exactly, on 20001 points of the interval.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/trig_single_fits/trig_single_fits.cpp -lmpfr -lgmp -o /tmp/trig_single_fits
//   /tmp/trig_single_fits > src/vector/real/trig/trig_single_fits.h
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t P = 256;

using mp = mpfit::mp_number<P>;

// r from g = r^2 (r >= 0).
void root(mp& r, const mp& g) { mpfr_sqrt(r.v, g.v, MPFR_RNDN); }

// tan r / r.
void tangent_target(mp& y, const mp& g) {
    if (mpfr_get_exp(g.v) < -100 || mpfr_zero_p(g.v)) { mpfr_set_ui(y.v, 1, MPFR_RNDN); return; }
    mp r;
    root(r, g);
    mpfr_tan(y.v, r.v, MPFR_RNDN);
    mpfr_div(y.v, y.v, r.v, MPFR_RNDN);
}

// Chebyshev node i of n on [0, hi].
void node(mp& g, int i, int n, double hi) {
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    mpfr_mul_d(g.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
    mpfr_cos(g.v, g.v, MPFR_RNDN);
    mpfr_add_ui(g.v, g.v, 1, MPFR_RNDN);
    mpfr_mul_d(g.v, g.v, hi / 2, MPFR_RNDN);
}

template <typename T>
void horner(mp& y, const std::vector<T>& c, const mp& g) {
    mpfr_set_d(y.v, c.back(), MPFR_RNDN);
    for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
        mpfr_mul(y.v, y.v, g.v, MPFR_RNDN);
        mpfr_add_d(y.v, y.v, c[k], MPFR_RNDN);
    }
}

void print(const char* name, const std::vector<float>& c) {
    std::printf("inline constexpr float %s[%zu] = {", name, c.size());
    for (std::size_t k = 0; k < c.size(); ++k) std::printf("%s%a", k ? ", " : "", c[k]);
    std::printf("};\n");
}

// sin r = r + r^3 S(r^2) on [-pi/2, pi/2], S with n coefficients: Remez
// exchange on the relative error against sin r, started from the Chebyshev
// nodes of r^2, then rounded to T; `error` gets the worst relative error
// with the rounded coefficients.
template <typename T>
std::vector<T> sine_fit(int n, double& error) {
        const double top = M_PI / 2 + 1e-3;
        auto error_at = [&](const std::vector<mp>& c, double rv) {
            mp r, g, y, s;
            mpfr_set_d(r.v, rv, MPFR_RNDN);
            mpfr_sqr(g.v, r.v, MPFR_RNDN);
            mpfr_set(y.v, c[n - 1].v, MPFR_RNDN);
            for (int k = n - 2; k >= 0; --k) {
                mpfr_mul(y.v, y.v, g.v, MPFR_RNDN);
                mpfr_add(y.v, y.v, c[k].v, MPFR_RNDN);
            }
            mpfr_mul(y.v, y.v, g.v, MPFR_RNDN);
            mpfr_mul(y.v, y.v, r.v, MPFR_RNDN);
            mpfr_add(y.v, y.v, r.v, MPFR_RNDN);
            mpfr_sin(s.v, r.v, MPFR_RNDN);
            mpfr_sub(y.v, y.v, s.v, MPFR_RNDN);
            mpfr_div(y.v, y.v, s.v, MPFR_RNDN);
            return mpfr_get_d(y.v, MPFR_RNDN);
        };
        std::vector<double> points(n + 1);
        for (int i = 0; i <= n; ++i) points[i] = top * std::sqrt(0.5 - 0.5 * std::cos(M_PI * (i + 0.5) / (n + 1)));
        std::vector<mp> c(n);
        for (int iteration = 0; iteration < 8; ++iteration) {
            // r + r^3 S(g_i) - sin r_i = (-1)^i E sin r_i, unknowns S's coefficients and E.
            std::vector<std::vector<mp>> m(n + 1, std::vector<mp>(n + 2));
            for (int i = 0; i <= n; ++i) {
                mp r, g, r3, s, p;
                mpfr_set_d(r.v, points[i], MPFR_RNDN);
                mpfr_sqr(g.v, r.v, MPFR_RNDN);
                mpfr_mul(r3.v, g.v, r.v, MPFR_RNDN);
                mpfr_sin(s.v, r.v, MPFR_RNDN);
                p = r3;
                for (int k = 0; k < n; ++k) { m[i][k] = p; mpfr_mul(p.v, p.v, g.v, MPFR_RNDN); }
                mpfr_mul_si(m[i][n].v, s.v, i % 2 ? 1 : -1, MPFR_RNDN);
                mpfr_sub(m[i][n + 1].v, s.v, r.v, MPFR_RNDN);
            }
            const std::vector<mp> x = mpfit::solve(m);
            for (int k = 0; k < n; ++k) c[k] = x[k];
            // New points: the extremum of each run of one sign on a fine grid.
            std::vector<double> extrema;
            double best_r = 0, best_e = 0;
            for (int i = 1; i <= 4000; ++i) {
                const double rv = top * i / 4000.0, e = error_at(c, rv);
                if (best_r != 0 && (e > 0) != (best_e > 0)) {
                    extrema.push_back(best_r);
                    best_e = 0;
                }
                if (std::fabs(e) > std::fabs(best_e)) { best_e = e; best_r = rv; }
            }
            extrema.push_back(best_r);
            if (static_cast<int>(extrema.size()) != n + 1) break;
            points = extrema;
        }
        std::vector<T> cf;
        for (const mp& x : c) cf.push_back(static_cast<T>(sizeof(T) == 4 ? mpfr_get_flt(x.v, MPFR_RNDN) : mpfr_get_d(x.v, MPFR_RNDN)));
        double worst = 0;
        for (int i = 1; i <= 20001; ++i) {
            mp r, g, y, s;
            mpfr_set_d(r.v, top * i / 20001.0, MPFR_RNDN);
            mpfr_sqr(g.v, r.v, MPFR_RNDN);
            horner(y, std::vector<double>(cf.begin(), cf.end()), g);
            mpfr_mul(y.v, y.v, g.v, MPFR_RNDN);
            mpfr_mul(y.v, y.v, r.v, MPFR_RNDN);
            mpfr_add(y.v, y.v, r.v, MPFR_RNDN);
            mpfr_sin(s.v, r.v, MPFR_RNDN);
            mpfr_sub(y.v, y.v, s.v, MPFR_RNDN);
            mpfr_div(y.v, y.v, s.v, MPFR_RNDN);
            worst = std::fmax(worst, std::fabs(mpfr_get_d(y.v, MPFR_RNDN)));
        }
        error = worst;
        return cf;
    }

}  // namespace

int main() {
    std::printf("// Constants of the single-precision fast trigonometric lanes.  Generated, do not edit:\n");
    std::printf("//   g++ -O2 -std=c++20 tools/trig_single_fits/trig_single_fits.cpp -lmpfr -lgmp -o /tmp/trig_single_fits\n");
    std::printf("//   /tmp/trig_single_fits > src/vector/real/trig/trig_single_fits.h\n");
    std::printf("// Errors are worst relative errors of the approximations with the rounded\n");
    std::printf("// coefficients in exact arithmetic, over 20001 points of the interval.\n");
    std::printf("#pragma once\n\nnamespace qlm::trig::single_fits {\n\n");

    // Pieces of pi.
    mp pi, rest, piece;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    rest = pi;
    std::vector<float> pieces;
    for (int k = 0; k < 4; ++k) {
        mpfr_t p;
        mpfr_init2(p, k < 3 ? 12 : 24);
        mpfr_set(p, rest.v, k < 3 ? MPFR_RNDZ : MPFR_RNDN);
        pieces.push_back(mpfr_get_flt(p, MPFR_RNDN));
        mpfr_sub(rest.v, rest.v, p, MPFR_RNDN);
        mpfr_clear(p);
    }
    std::printf("// pi as three truncated pieces of 12 bits and a rounded rest; pi - sum = %.3g.\n",
                mpfr_get_d(rest.v, MPFR_RNDN));
    print("pi_pieces", pieces);
    {
        // For the double lanes of Sin HA: pi truncated to 37 bits (a multiplier
        // of 16 bits times it is exact) and the rest rounded to double.
        mpfr_t p;
        mpfr_init2(p, 37);
        mpfr_set(p, pi.v, MPFR_RNDZ);
        mp r;
        mpfr_sub(r.v, pi.v, p, MPFR_RNDN);
        const double p1 = mpfr_get_d(p, MPFR_RNDN), p2 = mpfr_get_d(r.v, MPFR_RNDN);
        mpfr_sub_d(r.v, r.v, p2, MPFR_RNDN);
        std::printf("\n// pi as a truncated piece of 37 bits and a rounded rest; pi - sum = %.3g.\n",
                    mpfr_get_d(r.v, MPFR_RNDN));
        std::printf("inline constexpr double pi_fine[2] = {%a, %a};\n", p1, p2);
        mpfr_clear(p);
    }

    {
        double error;
        const std::vector<float> c = sine_fit<float>(4, error);
        std::printf("\n// sin r = r + r^3 S(r^2), |r| <= pi/2 (and a little beyond): error %.3g (2^%.1f).\n", error,
                    std::log2(error));
        print("sine", c);
    }
    {
        double error;
        const std::vector<double> c = sine_fit<double>(5, error);
        std::printf("\n// The same in double with five coefficients, for the double lanes of Sin HA:\n"
                    "// error %.3g (2^%.1f).\n", error, std::log2(error));
        std::printf("inline constexpr double sine_fine[5] = {");
        for (std::size_t k = 0; k < c.size(); ++k) std::printf("%s%a", k ? ", " : "", c[k]);
        std::printf("};\n");
    }

    // Tangent.
    {
        const double hi = std::pow(M_PI / 4 + 1e-3, 2);
        const int n = 5;  // p0 p1 p2 q1 q2
        std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
        for (int i = 0; i < n; ++i) {
            mp g, f, g2;
            node(g, i, n, hi);
            tangent_target(f, g);
            mpfr_sqr(g2.v, g.v, MPFR_RNDN);
            // p0 + p1 g + p2 g^2 - f (q1 g + q2 g^2) = f
            mpfr_set_ui(m[i][0].v, 1, MPFR_RNDN);
            m[i][1] = g;
            m[i][2] = g2;
            mpfr_mul(m[i][3].v, f.v, g.v, MPFR_RNDN);
            mpfr_neg(m[i][3].v, m[i][3].v, MPFR_RNDN);
            mpfr_mul(m[i][4].v, f.v, g2.v, MPFR_RNDN);
            mpfr_neg(m[i][4].v, m[i][4].v, MPFR_RNDN);
            m[i][5] = f;
        }
        const std::vector<mp> x = mpfit::solve(m);
        std::vector<float> p = {mpfr_get_flt(x[0].v, MPFR_RNDN), mpfr_get_flt(x[1].v, MPFR_RNDN),
                                mpfr_get_flt(x[2].v, MPFR_RNDN)};
        std::vector<float> q = {1.0f, mpfr_get_flt(x[3].v, MPFR_RNDN), mpfr_get_flt(x[4].v, MPFR_RNDN)};
        double worst = 0;
        for (int i = 1; i <= 20001; ++i) {
            mp r, g, a, b, t;
            mpfr_set_d(r.v, (M_PI / 4 + 1e-3) * i / 20001.0, MPFR_RNDN);
            mpfr_sqr(g.v, r.v, MPFR_RNDN);
            horner(a, p, g);
            horner(b, q, g);
            mpfr_mul(a.v, a.v, r.v, MPFR_RNDN);
            mpfr_div(a.v, a.v, b.v, MPFR_RNDN);
            mpfr_tan(t.v, r.v, MPFR_RNDN);
            mpfr_sub(a.v, a.v, t.v, MPFR_RNDN);
            mpfr_div(a.v, a.v, t.v, MPFR_RNDN);
            worst = std::fmax(worst, std::fabs(mpfr_get_d(a.v, MPFR_RNDN)));
        }
        std::printf("\n// tan r = r P(r^2) / Q(r^2), |r| <= pi/4 (and a little beyond): error %.3g (2^%.1f).\n",
                    worst, std::log2(worst));
        print("tangent_p", p);
        print("tangent_q", q);
    }
    std::printf("\n}  // namespace qlm::trig::single_fits\n");
    return 0;
}
