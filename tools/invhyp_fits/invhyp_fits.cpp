// Generator of the logarithm table and the log1p polynomials behind the
// vector Asinh, Acosh and Atanh kernels (src/vector/real/invhyp).
//
// Table: 256 rows over m in [0x3FE6A800..., 0x3FF6A800...) by the high
// word, 2^12 high-word units a row, so that the row holding m = 1 is
// [1 - 2^-10, 1 + 2^-9).  Row j: c = the midpoint of its m interval (1 on
// the row holding 1), rcp = 1/c rounded to 24 bits (so that a 21-bit
// mantissa head times rcp is exact in double), and -log(rcp) split as hi on
// the 2^-42 grid (so that k ln2_hi + hi is exact) and lo.  The generator
// checks |m rcp - 1| <= 2^-9 at both ends of every row.
//
// Polynomials: log1p(r) = r - r^2/2 + r^3 P(r) on |r| <= 2^-9, P the
// interpolant at Chebyshev nodes of (log1p(r) - r + r^2/2)/r^3, solved in
// 1024-bit arithmetic and rounded to double; the degree is the least whose
// measured relative error on log1p (coefficients rounded, 2001 points)
// meets the target of its set.  Single EP takes r - r^2/2 alone (relative
// error below 2^-19.5), which needs no fit.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/invhyp_fits/invhyp_fits.cpp -lmpfr -lgmp -o /tmp/invhyp_fits
//   /tmp/invhyp_fits > src/vector/real/invhyp/invhyp_log_table.h
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr mpfr_prec_t kPrec = 1024;

struct mp {
    mpfr_t v;
    mp() { mpfr_init2(v, kPrec); mpfr_set_ui(v, 0, MPFR_RNDN); }
    explicit mp(double d) { mpfr_init2(v, kPrec); mpfr_set_d(v, d, MPFR_RNDN); }
    ~mp() { mpfr_clear(v); }
    mp(const mp& o) { mpfr_init2(v, kPrec); mpfr_set(v, o.v, MPFR_RNDN); }
    mp& operator=(const mp& o) { mpfr_set(v, o.v, MPFR_RNDN); return *this; }
    double d() const { return mpfr_get_d(v, MPFR_RNDN); }
};

double from_high_word(uint32_t hw) {
    const uint64_t b = static_cast<uint64_t>(hw) << 32;
    double d;
    std::memcpy(&d, &b, 8);
    return d;
}

// (log1p(r) - r + r^2/2) / r^3; by its series 1/3 - r/4 + r^2/5 where r
// is too small for the difference (the middle node of an odd count).
void tail(mpfr_t y, const mpfr_t r) {
    mp l, t;
    if (mpfr_zero_p(r) || mpfr_get_exp(r) < -200) {
        mpfr_mul_d(l.v, r, -0.25, MPFR_RNDN);
        mpfr_set_ui(t.v, 1, MPFR_RNDN);
        mpfr_div_ui(t.v, t.v, 3, MPFR_RNDN);
        mpfr_add(y, l.v, t.v, MPFR_RNDN);
        return;
    }
    mpfr_log1p(l.v, r, MPFR_RNDN);
    mpfr_sub(l.v, l.v, r, MPFR_RNDN);
    mpfr_sqr(t.v, r, MPFR_RNDN);
    mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
    mpfr_add(l.v, l.v, t.v, MPFR_RNDN);
    mpfr_pow_ui(t.v, r, 3, MPFR_RNDN);
    mpfr_div(y, l.v, t.v, MPFR_RNDN);
}

std::vector<double> interpolate(double half_width, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp x;
        mpfr_mul_d(x.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(x.v, x.v, MPFR_RNDN);
        mpfr_mul_d(x.v, x.v, half_width, MPFR_RNDN);
        mp p(1.0);
        for (int j = 0; j < n; ++j) {
            m[i][j] = p;
            mpfr_mul(p.v, p.v, x.v, MPFR_RNDN);
        }
        tail(m[i][n].v, x.v);
    }
    for (int k = 0; k < n; ++k) {
        int piv = k;
        for (int i = k + 1; i < n; ++i)
            if (mpfr_cmpabs(m[i][k].v, m[piv][k].v) > 0) piv = i;
        std::swap(m[k], m[piv]);
        for (int i = k + 1; i < n; ++i) {
            mp r;
            mpfr_div(r.v, m[i][k].v, m[k][k].v, MPFR_RNDN);
            for (int j = k; j <= n; ++j) {
                mp s;
                mpfr_mul(s.v, r.v, m[k][j].v, MPFR_RNDN);
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
    std::vector<double> out(n);
    for (int k = 0; k < n; ++k) out[k] = c[k].d();
    return out;
}

// Relative error of r - r^2/2 + r^3 P(r) against log1p(r).
double max_rel_error(double half_width, const std::vector<double>& c) {
    double worst = 0;
    for (int i = -1000; i <= 1000; ++i) {
        if (i == 0) continue;
        mp r(half_width * i / 1000.0), p, t, want;
        for (int j = static_cast<int>(c.size()) - 1; j >= 0; --j) {
            mpfr_mul(p.v, p.v, r.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, c[j], MPFR_RNDN);
        }
        mpfr_pow_ui(t.v, r.v, 3, MPFR_RNDN);
        mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
        mpfr_sqr(t.v, r.v, MPFR_RNDN);
        mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
        mpfr_sub(p.v, p.v, t.v, MPFR_RNDN);
        mpfr_add(p.v, p.v, r.v, MPFR_RNDN);
        mpfr_log1p(want.v, r.v, MPFR_RNDN);
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(p.d()));
    }
    return worst;
}

}  // namespace

int main() {
    constexpr uint32_t kOffset = 0x3FE6A800u;
    constexpr double kHalfWidth = 0x1p-9;
    std::printf(
        "// Generated by tools/invhyp_fits; do not edit.  Regenerate with\n"
        "//   g++ -O2 -std=c++20 tools/invhyp_fits/invhyp_fits.cpp -lmpfr -lgmp -o /tmp/invhyp_fits\n"
        "//   /tmp/invhyp_fits > src/vector/real/invhyp/invhyp_log_table.h\n"
        "// Rules and checks are in the generator's header.\n"
        "#pragma once\n\n#include <cstdint>\n\nnamespace qlm::invhyp {\n\n");

    mp ln2;
    mpfr_const_log2(ln2.v, MPFR_RNDN);
    mp scaled;
    mpfr_mul_2si(scaled.v, ln2.v, 42, MPFR_RNDN);
    mpfr_round(scaled.v, scaled.v);
    mpfr_div_2si(scaled.v, scaled.v, 42, MPFR_RNDN);
    const double ln2_hi = scaled.d();
    mp rest;
    mpfr_sub_d(rest.v, ln2.v, ln2_hi, MPFR_RNDN);
    std::printf("// ln 2 = ln2_hi + ln2_lo, ln2_hi on the 2^-42 grid: k ln2_hi is exact for |k| < 2^11.\n");
    std::printf("inline constexpr double kLn2Hi = %a;\ninline constexpr double kLn2Lo = %a;\n\n", ln2_hi, rest.d());
    std::printf("inline constexpr uint32_t kLogOffset = 0x%08X;  // high word of the smallest reduced m\n\n", kOffset);

    std::printf("// Row j: rcp, -log(rcp) hi, -log(rcp) lo, 0.\nalignas(32) inline constexpr double log_rows[256][4] = {\n");
    double worst_r = 0;
    for (int j = 0; j < 256; ++j) {
        const double lo_m = from_high_word(kOffset + (j << 12));
        const double hi_m = from_high_word(kOffset + ((j + 1) << 12));
        double rcp = 1.0;
        if (!(lo_m <= 1.0 && 1.0 < hi_m)) {
            const double c = 0.5 * (lo_m + hi_m);
            int e;
            const double f = std::frexp(1.0 / c, &e);
            rcp = std::ldexp(std::nearbyint(std::ldexp(f, 24)), e - 24);
        }
        worst_r = std::fmax(worst_r, std::fmax(std::fabs(lo_m * rcp - 1), std::fabs(hi_m * rcp - 1)));
        mp t(rcp);
        mpfr_log(t.v, t.v, MPFR_RNDN);
        mpfr_neg(t.v, t.v, MPFR_RNDN);
        mp h;
        mpfr_mul_2si(h.v, t.v, 42, MPFR_RNDN);
        mpfr_round(h.v, h.v);
        mpfr_div_2si(h.v, h.v, 42, MPFR_RNDN);
        mp l;
        mpfr_sub(l.v, t.v, h.v, MPFR_RNDN);
        std::printf("    {%a, %a, %a, 0.0},\n", rcp, h.d(), l.d());
    }
    std::printf("};\n");
    if (worst_r > kHalfWidth) {
        std::fprintf(stderr, "reduced argument reaches %g, beyond 2^-9\n", worst_r);
        return 1;
    }
    std::printf("// Largest |m rcp - 1| over the rows: %a.\n\n", worst_r);

    struct set {
        const char* name;
        double target;
        const char* use;
    };
    const set sets[] = {{"log1p_ha", 0x1p-66, "double HA"},
                        {"log1p_la", 0x1p-58, "double LA"},
                        {"log1p_single", 0x1p-38, "single HA"},
                        {"log1p_single_la", 0x1p-25, "single LA"}};
    std::printf("// P of log1p(r) = r - r^2/2 + r^3 P(r), |r| <= 2^-9, coefficients of r^0, r^1, ...\n");
    for (const set& s : sets) {
        for (int d = 0; d < 12; ++d) {
            const auto c = interpolate(kHalfWidth, d);
            const double e = max_rel_error(kHalfWidth, c);
            if (e > s.target && d < 11) continue;
            std::printf("// %s: degree %d, max relative error %.3g\ninline constexpr double %s[%d] = {", s.use, d, e,
                        s.name, d + 1);
            for (int k = 0; k <= d; ++k) std::printf("%s%a", k ? ", " : "", c[k]);
            std::printf("};\n");
            break;
        }
    }
    std::printf("\n}  // namespace qlm::invhyp\n");
    return 0;
}
