// Generates src/vector/real/power/cbrt_table.cpp: the tables and series of
// the fast (LA) cube root in double and single.
//
// The cube root splits x = 2^(3q + s) * m, s in {0, 1, 2}, m in [1, 2), and
// takes row 64 s + j for the top six fraction bits j of m.  The row holds c,
// 1/(1 + (j + 1/2)/64) rounded to 9 bits, so that r = m c - 1 is small
// (|r| < 2^-6.8), and T = cbrt(2^s / c) (double: rounded once; single: a
// head and a tail); cbrt x = 2^q T (1 + p(r)) with p(r) = (1 + r)^(1/3) - 1
// by a fitted polynomial to r^6 in double (below 2^-59) and by its Taylor
// series to r^3 in single (below 2^-31).  Everything is computed with MPFR
// at 200 bits and rounded once; heads and tails are checked to add up to T
// within 2^-100 (double) or 2^-45 (single) relative.
//
//   g++ -O2 -o /tmp/cbrt_table tools/pow_tables/cbrt_table.cpp -lmpfr -lgmp
//   /tmp/cbrt_table > src/vector/real/power/cbrt_table.cpp
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr mpfr_prec_t kPrec = 200;

// The row's c as a 9-bit number.
double row_c(int j) {
    mpfr_t c, nine;
    mpfr_init2(c, kPrec);
    mpfr_init2(nine, 9);
    mpfr_set_d(c, 1.0 + (j + 0.5) / 64.0, MPFR_RNDN);
    mpfr_ui_div(c, 1, c, MPFR_RNDN);
    mpfr_set(nine, c, MPFR_RNDN);
    const double v = mpfr_get_d(nine, MPFR_RNDN);
    mpfr_clears(c, nine, static_cast<mpfr_ptr>(nullptr));
    return v;
}

// T = cbrt(2^s / c) as head + tail of the given type.
template <typename T>
void row_t(int s, double c, T& head, T& tail) {
    mpfr_t t, rest;
    mpfr_inits2(kPrec, t, rest, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_ui(t, 1u << s, MPFR_RNDN);
    mpfr_div_d(t, t, c, MPFR_RNDN);
    mpfr_cbrt(t, t, MPFR_RNDN);
    if constexpr (sizeof(T) == 8) head = mpfr_get_d(t, MPFR_RNDN);
    else head = mpfr_get_flt(t, MPFR_RNDN);
    mpfr_sub_d(rest, t, head, MPFR_RNDN);
    if constexpr (sizeof(T) == 8) tail = mpfr_get_d(rest, MPFR_RNDN);
    else tail = mpfr_get_flt(rest, MPFR_RNDN);
    mpfr_sub_d(rest, rest, tail, MPFR_RNDN);
    mpfr_div(rest, rest, t, MPFR_RNDN);
    if (std::fabs(mpfr_get_d(rest, MPFR_RNDN)) > std::ldexp(1.0, sizeof(T) == 8 ? -100 : -45)) {
        std::fprintf(stderr, "head and tail check failed at s=%d c=%a\n", s, c);
        std::exit(1);
    }
    mpfr_clears(t, rest, static_cast<mpfr_ptr>(nullptr));
}

// The Taylor coefficients of (1 + r)^(1/3): out[k - 1] = binomial(1/3, k),
// k = 1 .. n (out initialised by the caller).
void third_binomials(int n, mpfr_t* out) {
    mpfr_t num, third, term;
    mpfr_inits2(kPrec, num, third, term, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_ui(third, 1, MPFR_RNDN);
    mpfr_div_ui(third, third, 3, MPFR_RNDN);
    mpfr_set_ui(term, 1, MPFR_RNDN);
    for (int k = 1; k <= n; ++k) {
        mpfr_sub_si(num, third, k - 1, MPFR_RNDN);
        mpfr_mul(term, term, num, MPFR_RNDN);
        mpfr_div_ui(term, term, k, MPFR_RNDN);
        mpfr_set(out[k - 1], term, MPFR_RNDN);
    }
    mpfr_clears(num, third, term, static_cast<mpfr_ptr>(nullptr));
}

// Prints the first n of them in single.
void series_single(int n) {
    std::vector<mpfr_t> c(n);
    for (auto& v : c) mpfr_init2(v, kPrec);
    third_binomials(n, c.data());
    for (int k = 0; k < n; ++k)
        std::printf("%s%af", k ? ", " : "", static_cast<double>(mpfr_get_flt(c[k], MPFR_RNDN)));
    for (auto& v : c) mpfr_clear(v);
}

// Solves the (n x n) system a c = b by Gaussian elimination with pivoting;
// the solution goes to c in MPFR.
void solve(std::vector<std::vector<double>>& a, std::vector<double>& b, int n, mpfr_t* c) {
    // Small and well scaled, since the fit runs in r / R (see
    // fitted_series): elimination in double suffices.
    for (int col = 0; col < n; ++col) {
        int p = col;
        for (int r = col + 1; r < n; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[p][col])) p = r;
        std::swap(a[p], a[col]);
        std::swap(b[p], b[col]);
        for (int r = col + 1; r < n; ++r) {
            const double f = a[r][col] / a[col][col];
            for (int k = col; k < n; ++k) a[r][k] -= f * a[col][k];
            b[r] -= f * b[col];
        }
    }
    for (int r = n - 1; r >= 0; --r) {
        double t = b[r];
        for (int k = r + 1; k < n; ++k) t -= a[r][k] * mpfr_get_d(c[k], MPFR_RNDN);
        mpfr_set_d(c[r], t / a[r][r], MPFR_RNDN);
    }
}

// The double polynomial: p(r) = r (a1 + a2 r + ... + a6 r^5) for
// (1 + r)^(1/3) - 1 on the range of r that the rows give, fitted by Lawson's
// iteration (weighted least squares whose weights follow the error) toward
// the least maximum absolute error, which is the result's relative error.
// The fit is of the correction to the Taylor coefficients, in the variable
// r / R, so that the normal equations stay well conditioned in double; the
// rounded coefficients are then checked in MPFR against the function on
// 20000 points and the error printed.
void fitted_series(double& worst_out) {
    double lo = 0, hi = 0;
    for (int j = 0; j < 64; ++j) {
        const double c = row_c(j);
        lo = std::fmin(lo, (1 + j / 64.0) * c - 1);
        hi = std::fmax(hi, (1 + (j + 1) / 64.0) * c - 1);
    }
    const double R = std::fmax(-lo, hi);
    constexpr int n = 6, m = 300;
    mpfr_t taylor[n], fit[n], x, f, t, e;
    for (int k = 0; k < n; ++k) mpfr_inits2(kPrec, taylor[k], fit[k], static_cast<mpfr_ptr>(nullptr));
    mpfr_inits2(kPrec, x, f, t, e, static_cast<mpfr_ptr>(nullptr));
    third_binomials(n, taylor);
    // Residual of the truncated series at each point, to be fitted by a
    // polynomial correction d(u) = d0 + d1 u + ... in u = r / R, weighted by r.
    std::vector<double> u(m), w(m), target(m), lw(m, 1.0 / m);
    for (int i = 0; i < m; ++i) {
        u[i] = std::cos(M_PI * (2 * i + 1) / (2.0 * m));
        const double r = u[i] * R;
        mpfr_set_d(x, r, MPFR_RNDN);
        mpfr_add_ui(f, x, 1, MPFR_RNDN);
        mpfr_cbrt(f, f, MPFR_RNDN);
        mpfr_sub_ui(f, f, 1, MPFR_RNDN);  // (1 + r)^(1/3) - 1
        mpfr_set_zero(t, 1);
        for (int k = n - 1; k >= 0; --k) {
            mpfr_mul(t, t, x, MPFR_RNDN);
            mpfr_add(t, t, taylor[k], MPFR_RNDN);
        }
        mpfr_mul(t, t, x, MPFR_RNDN);
        mpfr_sub(e, f, t, MPFR_RNDN);  // what the truncated series misses
        target[i] = mpfr_get_d(e, MPFR_RNDN);
        w[i] = r;
    }
    std::vector<double> d(n);
    for (int iter = 0; iter < 300; ++iter) {
        std::vector<std::vector<double>> a(n, std::vector<double>(n, 0.0));
        std::vector<double> b(n, 0.0);
        for (int i = 0; i < m; ++i) {
            double pw[n];
            pw[0] = w[i];
            for (int k = 1; k < n; ++k) pw[k] = pw[k - 1] * u[i];
            for (int j = 0; j < n; ++j) {
                for (int k = 0; k < n; ++k) a[j][k] += lw[i] * pw[j] * pw[k];
                b[j] += lw[i] * pw[j] * target[i];
            }
        }
        solve(a, b, n, fit);
        double sum = 0;
        for (int i = 0; i < m; ++i) {
            double v = 0, pw = w[i];
            for (int k = 0; k < n; ++k, pw *= u[i]) v += mpfr_get_d(fit[k], MPFR_RNDN) * pw;
            lw[i] *= std::fabs(v - target[i]);
            sum += lw[i];
        }
        for (double& l : lw) l /= sum;
    }
    // Coefficient k of r is taylor[k] + d_k / R^k.
    double coef[n];
    for (int k = 0; k < n; ++k) {
        mpfr_set(t, fit[k], MPFR_RNDN);
        mpfr_div_d(t, t, std::pow(R, k), MPFR_RNDN);
        mpfr_add(t, t, taylor[k], MPFR_RNDN);
        coef[k] = mpfr_get_d(t, MPFR_RNDN);
    }
    double worst = 0;
    for (int i = 0; i <= 20000; ++i) {
        const double r = lo + (hi - lo) * i / 20000.0;
        mpfr_set_d(x, r, MPFR_RNDN);
        mpfr_add_ui(f, x, 1, MPFR_RNDN);
        mpfr_cbrt(f, f, MPFR_RNDN);
        mpfr_sub_ui(f, f, 1, MPFR_RNDN);
        mpfr_set_zero(t, 1);
        for (int k = n - 1; k >= 0; --k) {
            mpfr_mul(t, t, x, MPFR_RNDN);
            mpfr_add_d(t, t, coef[k], MPFR_RNDN);
        }
        mpfr_mul(t, t, x, MPFR_RNDN);
        mpfr_sub(e, t, f, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(e, MPFR_RNDN)));
    }
    for (int k = 0; k < n; ++k) std::printf("%s%a", k ? ", " : "", coef[k]);
    worst_out = worst;
    for (int k = 0; k < n; ++k) mpfr_clears(taylor[k], fit[k], static_cast<mpfr_ptr>(nullptr));
    mpfr_clears(x, f, t, e, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace

int main() {
    std::printf(
        "// Tables of the fast cube root.  Generated by tools/pow_tables/cbrt_table.cpp\n"
        "// with MPFR at 200 bits, every entry rounded to nearest once; regenerate with\n"
        "//   g++ -O2 -o /tmp/cbrt_table tools/pow_tables/cbrt_table.cpp -lmpfr -lgmp\n"
        "//   /tmp/cbrt_table > src/vector/real/power/cbrt_table.cpp\n"
        "#include \"vector/real/power/cbrt_table.h\"\n\n"
        "namespace qlm::power {\n\n"
        "// Row 64 s + j: c = 1/(1 + (j + 1/2)/64) rounded to 9 bits, then\n"
        "// cbrt(2^s / c) rounded to nearest (in single, as a head and the\n"
        "// nearest value to its rest, then 0).\n");
    std::printf("alignas(16) const double cbrt_table[192][2] = {\n");
    for (int s = 0; s < 3; ++s)
        for (int j = 0; j < 64; ++j) {
            const double c = row_c(j);
            double h, t;
            row_t(s, c, h, t);
            std::printf("    {%a, %a},\n", c, h);
        }
    std::printf("};\n\n// The same rows in single.\nalignas(16) const float cbrt_table_single[192][4] = {\n");
    for (int s = 0; s < 3; ++s)
        for (int j = 0; j < 64; ++j) {
            const double c = row_c(j);
            float h, t;
            row_t(s, c, h, t);
            std::printf("    {%af, %af, %af, 0.0f},\n", c, static_cast<double>(h), static_cast<double>(t));
        }
    std::printf("};\n\n// p(r) = r (a1 + a2 r + ... + a6 r^5) for (1 + r)^(1/3) - 1 on the rows'\n"
                "// range of r, of least maximum error (the Taylor series would need r^7);\n"
                "// in single, binomial(1/3, k), k = 1 .. 3.\nconst double cbrt_series[6] = {");
    double worst;
    fitted_series(worst);
    std::printf("};  // error %.3g (2^%.1f)\nconst float cbrt_series_single[3] = {", worst, std::log2(worst));
    series_single(3);
    std::printf("};\n\n}  // namespace qlm::power\n");
}
