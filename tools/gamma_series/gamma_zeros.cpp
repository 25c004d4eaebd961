// Generator of the local expansions of log |Gamma(x)| at its zeros below
// -2, for the double LGamma routine.  On (-n-1, -n), n = 2..17, log |Gamma|
// comes down from +infinity at both poles to a minimum below 0 and so
// crosses zero twice; from n = 18 on, 1/n! is below the spacing of the
// doubles there and no double comes within 2^-5 of a zero.
//
// For each zero x0 (bisection on MPFR's lgamma at 320 bits): x0 as three
// doubles (hi + mid + lo, 159 bits), a radius R = 2^-4/|psi(x0)| capped at
// a quarter of the distance to the nearer pole (so that |log |Gamma|| <
// 2^-5 lies inside it), and log |Gamma(x0 + t)| / t on [-R, R] as a
// polynomial of degree kDegree in t, interpolated at the Chebyshev nodes in
// 320-bit arithmetic; c0 = psi(x0) is kept as hi + lo.  The largest
// relative error of a rounded fit, measured on 801 points, is printed in
// the output.
//
//   g++ -O2 -std=c++20 tools/gamma_series/gamma_zeros.cpp -lmpfr -lgmp -o /tmp/gamma_zeros &&
//   /tmp/gamma_zeros > src/vector/real/special/gamma_zeros_table.h
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace {

constexpr mpfr_prec_t P = 320;
constexpr int kDegree = 16;

struct mp {
    mpfr_t v;
    mp() { mpfr_init2(v, P); mpfr_set_ui(v, 0, MPFR_RNDN); }
    ~mp() { mpfr_clear(v); }
    mp(const mp& o) { mpfr_init2(v, P); mpfr_set(v, o.v, MPFR_RNDN); }
    mp& operator=(const mp& o) { mpfr_set(v, o.v, MPFR_RNDN); return *this; }
    double d() const { return mpfr_get_d(v, MPFR_RNDN); }
};

void log_abs_gamma(mpfr_t y, const mpfr_t x) {
    int sign;
    mpfr_lgamma(y, &sign, x, MPFR_RNDN);
}

// The zero of log |Gamma| between a and b (a sign change), by bisection.
mp zero_between(const mp& a0, const mp& b0) {
    mp a = a0, b = b0, m, f;
    log_abs_gamma(f.v, a.v);
    const int sa = mpfr_sgn(f.v);
    for (int i = 0; i < static_cast<int>(P) - 8; ++i) {
        mpfr_add(m.v, a.v, b.v, MPFR_RNDN);
        mpfr_div_2ui(m.v, m.v, 1, MPFR_RNDN);
        log_abs_gamma(f.v, m.v);
        if (mpfr_sgn(f.v) == sa) a = m;
        else b = m;
    }
    return a;
}

// log |Gamma(x0 + t)| / t, and its limit psi(x0) at t = 0 (the middle
// Chebyshev node of an odd count is 0 up to rounding, where x0's own
// rounding would dominate the quotient).
void quotient(mpfr_t y, const mp& x0, const mpfr_t t) {
    if (mpfr_zero_p(t) || mpfr_get_exp(t) < -200) {
        mpfr_digamma(y, x0.v, MPFR_RNDN);
        return;
    }
    mp x;
    mpfr_add(x.v, x0.v, t, MPFR_RNDN);
    log_abs_gamma(y, x.v);
    mpfr_div(y, y, t, MPFR_RNDN);
}

// Interpolation at the Chebyshev nodes of [-r, r] by the Vandermonde system.
std::vector<mp> interpolate(const mp& x0, double r) {
    const int n = kDegree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp t;
        mpfr_mul_d(t.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(t.v, t.v, MPFR_RNDN);
        mpfr_mul_d(t.v, t.v, r, MPFR_RNDN);
        mp p;
        mpfr_set_ui(p.v, 1, MPFR_RNDN);
        for (int j = 0; j < n; ++j) {
            m[i][j] = p;
            mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
        }
        quotient(m[i][n].v, x0, t.v);
    }
    for (int k = 0; k < n; ++k) {
        int piv = k;
        for (int i = k + 1; i < n; ++i)
            if (mpfr_cmpabs(m[i][k].v, m[piv][k].v) > 0) piv = i;
        std::swap(m[k], m[piv]);
        for (int i = k + 1; i < n; ++i) {
            mp q;
            mpfr_div(q.v, m[i][k].v, m[k][k].v, MPFR_RNDN);
            for (int j = k; j <= n; ++j) {
                mp s;
                mpfr_mul(s.v, q.v, m[k][j].v, MPFR_RNDN);
                mpfr_sub(m[i][j].v, m[i][j].v, s.v, MPFR_RNDN);
            }
        }
    }
    std::vector<mp> c(n);
    for (int k = n - 1; k >= 0; --k) {
        mp s = m[k][n];
        for (int j = k + 1; j < n; ++j) {
            mp q;
            mpfr_mul(q.v, m[k][j].v, c[j].v, MPFR_RNDN);
            mpfr_sub(s.v, s.v, q.v, MPFR_RNDN);
        }
        mpfr_div(c[k].v, s.v, m[k][k].v, MPFR_RNDN);
    }
    return c;
}

// Largest relative error of the rounded fit (c0 as hi + lo) on [-r, r].
double fit_error(const mp& x0, double r, const std::vector<double>& k, double c0_lo) {
    double worst = 0;
    for (int i = 0; i <= 800; ++i) {
        const double td = -r + 2 * r * i / 800.0;
        if (td == 0) continue;
        mp t, p, want;
        mpfr_set_d(t.v, td, MPFR_RNDN);
        for (int j = kDegree; j >= 1; --j) {
            mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, k[j], MPFR_RNDN);
        }
        mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
        mpfr_add_d(p.v, p.v, k[0], MPFR_RNDN);
        mpfr_add_d(p.v, p.v, c0_lo, MPFR_RNDN);
        quotient(want.v, x0, t.v);
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(p.d()));
    }
    return worst;
}

}  // namespace

int main() {
    std::printf(
        "// Generated by tools/gamma_series/gamma_zeros.cpp; do not edit.\n"
        "//   g++ -O2 -std=c++20 tools/gamma_series/gamma_zeros.cpp -lmpfr -lgmp -o /tmp/gamma_zeros &&\n"
        "//   /tmp/gamma_zeros > src/vector/real/special/gamma_zeros_table.h\n"
        "// The zeros of log |Gamma(x)| on (-n-1, -n), n = 2..17, lower one first,\n"
        "// and log |Gamma(x0 + t)| = t (c0 + c1 t + ... + c%d t^%d) for |t| <= r.\n"
        "#pragma once\n\n"
        "namespace qlm::special::gamma_d {\n\n"
        "struct gamma_zero {\n"
        "    double x0[3];   // hi, mid, lo\n"
        "    double radius;\n"
        "    double c0_lo;   // low part of c0 = psi(x0)\n"
        "    double c[%d];   // c0..c%d\n"
        "};\n\n"
        "inline constexpr int kFirstZeroInterval = 2, kLastZeroInterval = 17;\n"
        "inline constexpr gamma_zero kGammaZeros[] = {\n",
        kDegree, kDegree, kDegree + 1, kDegree);
    double worst = 0;
    for (int n = 2; n <= 17; ++n) {
        // The minimum of log |Gamma| on (-n-1, -n) lies where psi = 0;
        // sampling finds a point below zero to bracket both zeros.
        mp lo_end, hi_end, mid, f;
        mpfr_set_si(lo_end.v, -n - 1, MPFR_RNDN);
        mpfr_set_si(hi_end.v, -n, MPFR_RNDN);
        double best = 1e300, best_x = 0;
        for (int i = 1; i < 4000; ++i) {
            mp x;
            mpfr_set_d(x.v, -n - 1 + i / 4000.0, MPFR_RNDN);
            log_abs_gamma(f.v, x.v);
            if (f.d() < best) {
                best = f.d();
                best_x = -n - 1 + i / 4000.0;
            }
        }
        mpfr_set_d(mid.v, best_x, MPFR_RNDN);
        // Tiny offsets from the poles keep the bracket ends finite.
        mp a = lo_end, b = hi_end, eps;
        mpfr_set_d(eps.v, 1e-40, MPFR_RNDN);
        mpfr_add(a.v, a.v, eps.v, MPFR_RNDN);
        mpfr_sub(b.v, b.v, eps.v, MPFR_RNDN);
        for (int side = 0; side < 2; ++side) {
            const mp& u = side == 0 ? a : mid;
            const mp& v = side == 0 ? mid : b;
            const int pole = side == 0 ? -n - 1 : -n;
            const mp x0 = zero_between(u, v);
            mp psi;
            mpfr_digamma(psi.v, x0.v, MPFR_RNDN);
            mp dist;
            mpfr_sub_si(dist.v, x0.v, pole, MPFR_RNDN);
            double r = std::fmin(0x1p-4 / std::fabs(psi.d()), std::fabs(dist.d()) / 4);
            const std::vector<mp> c = interpolate(x0, r);
            std::vector<double> k(kDegree + 1);
            for (int j = 0; j <= kDegree; ++j) k[j] = c[j].d();
            mp rest;
            mpfr_sub_d(rest.v, c[0].v, k[0], MPFR_RNDN);
            const double c0_lo = rest.d();
            const double e = fit_error(x0, r, k, c0_lo);
            worst = std::fmax(worst, e);
            mp x1;
            const double h = x0.d();
            mpfr_sub_d(x1.v, x0.v, h, MPFR_RNDN);
            const double m1 = x1.d();
            mpfr_sub_d(x1.v, x1.v, m1, MPFR_RNDN);
            const double l1 = x1.d();
            std::printf("    {{%a, %a, %a}, %a, %a, {", h, m1, l1, r, c0_lo);
            for (int j = 0; j <= kDegree; ++j) std::printf("%s%a", j ? ", " : "", k[j]);
            std::printf("}},  // n = %d, fit error %.2g\n", n, e);
        }
    }
    std::printf("};\n// Largest fit error: %.3g relative.\n\n}  // namespace qlm::special::gamma_d\n", worst);
    return 0;
}
