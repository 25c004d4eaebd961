// Generator of the piecewise fits behind the vector error-function kernels
// (Erf, Erfc, CdfNorm in both types).
//
// Two targets, each on pieces that follow the binary exponent of |x|: piece
// 0 is [0, 2^-E0), then every binade from 2^-E0 up is cut into S equal
// pieces, so that a kernel finds the piece from the high word of |x| by one
// shift and one subtraction.
//   erf(x) itself, up to 6 (beyond, erf rounds to 1 in double);
//   G(x) = erfc(x) e^(x^2), up to 28, so that erfc(x) = e^(-x^2) G(x) keeps
//   its relative accuracy down to the least normal number.
// On piece 0 the fits keep the value at 0 exact (erf(0) = 0, G(0) = 1) and
// erf is written x + x P(x), so that tiny x and signed zeros keep full
// relative accuracy and the leading term carries no rounding.
//
// Each piece holds the polynomial in t = x - centre that interpolates the
// target at the Chebyshev nodes, solved in 192-bit arithmetic; the constant
// term is carried as hi + lo.  One degree serves all pieces of a set: the
// least one whose relative error, measured on 801 points per piece with the
// coefficients already rounded, meets the set's target.
//
// A row is {centre, lo of c0, c0, c1, ..., cD} padded with zeros to an even
// length, so that a kernel loads it in 16-byte pairs.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/erf_fits/erf_fits.cpp -lmpfr -lgmp -o /tmp/erf_fits
//   /tmp/erf_fits > src/vector/real/special/erf_vector_tables.h
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr mpfr_prec_t P = 192;
using target_fn = std::function<void(mpfr_t y, const mpfr_t x)>;

struct mp {
    mpfr_t v;
    mp() { mpfr_init2(v, P); mpfr_set_ui(v, 0, MPFR_RNDN); }
    explicit mp(double d) { mpfr_init2(v, P); mpfr_set_d(v, d, MPFR_RNDN); }
    ~mp() { mpfr_clear(v); }
    mp(const mp& o) { mpfr_init2(v, P); mpfr_set(v, o.v, MPFR_RNDN); }
    mp& operator=(const mp& o) { mpfr_set(v, o.v, MPFR_RNDN); return *this; }
    double d() const { return mpfr_get_d(v, MPFR_RNDN); }
};

// Coefficients in t = x - c of the interpolant at the Chebyshev nodes of
// [a, b], at 192 bits, by Gaussian elimination on the Vandermonde system.
std::vector<mp> interpolate(const target_fn& f, double a, double b, double c, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp x, t, ang;
        mpfr_mul_d(ang.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(ang.v, ang.v, MPFR_RNDN);
        mpfr_mul_d(ang.v, ang.v, (b - a) / 2, MPFR_RNDN);
        mpfr_set_d(x.v, (a + b) / 2, MPFR_RNDN);
        mpfr_add(x.v, x.v, ang.v, MPFR_RNDN);
        mpfr_sub_d(t.v, x.v, c, MPFR_RNDN);
        mp p(1.0);
        for (int j = 0; j < n; ++j) {
            m[i][j] = p;
            mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
        }
        f(m[i][n].v, x.v);
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
    std::vector<mp> coef(n);
    for (int k = n - 1; k >= 0; --k) {
        mp s = m[k][n];
        for (int j = k + 1; j < n; ++j) {
            mp q;
            mpfr_mul(q.v, m[k][j].v, coef[j].v, MPFR_RNDN);
            mpfr_sub(s.v, s.v, q.v, MPFR_RNDN);
        }
        mpfr_div(coef[k].v, s.v, m[k][k].v, MPFR_RNDN);
    }
    return coef;
}

struct row {
    bool plus_t = false;  // the value is t + (the polynomial): erf on piece 0
    double centre, lo;
    std::vector<double> c;  // c0..cD, doubles
    double err;
};

// Relative error of the rounded row against the target on [a, b].
double max_rel_error(const target_fn& f, double a, double b, const row& r) {
    double worst = 0;
    for (int i = 0; i <= 800; ++i) {
        const double x = a + (b - a) * i / 800.0;
        if (x == 0) continue;
        mp xv(x), t, p, want;
        mpfr_sub_d(t.v, xv.v, r.centre, MPFR_RNDN);
        for (int j = static_cast<int>(r.c.size()) - 1; j >= 1; --j) {
            mpfr_add_d(p.v, p.v, r.c[j], MPFR_RNDN);
            mpfr_mul(p.v, p.v, t.v, MPFR_RNDN);
        }
        mpfr_add_d(p.v, p.v, r.lo, MPFR_RNDN);
        mpfr_add_d(p.v, p.v, r.c[0], MPFR_RNDN);
        if (r.plus_t) mpfr_add(p.v, p.v, t.v, MPFR_RNDN);
        f(want.v, xv.v);
        mpfr_sub(p.v, p.v, want.v, MPFR_RNDN);
        mpfr_div(p.v, p.v, want.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(p.d()));
    }
    return worst;
}

// The row of one piece at one degree.  On piece 0 (`anchored`) the value at
// 0 is kept exact: (f(x) - f(0))/x is fitted and shifted up one degree, so
// that c0 = f(0) (0 for erf, 1 for G).  For erf there the leading term is
// written t + (c1 - 1) t, so that the largest part of the value carries no
// rounding: the kernel adds t on piece 0.
row make_row(const target_fn& f, double a, double b, int degree, bool anchored, bool plus_t) {
    row r;
    if (anchored) {
        mp zero, f0;
        f(f0.v, zero.v);
        const target_fn slope = [&f, &f0](mpfr_t y, const mpfr_t x) {
            f(y, x);
            mpfr_sub(y, y, f0.v, MPFR_RNDN);
            mpfr_div(y, y, x, MPFR_RNDN);  // the nodes are never 0
        };
        auto k = interpolate(slope, a, b, 0.0, degree - 1);
        if (plus_t) mpfr_sub_ui(k[0].v, k[0].v, 1, MPFR_RNDN);
        r.plus_t = plus_t;
        r.centre = 0;
        r.lo = 0;
        r.c.push_back(f0.d());
        for (const mp& v : k) r.c.push_back(v.d());
    } else {
        r.centre = (a + b) / 2;
        const auto k = interpolate(f, a, b, r.centre, degree);
        for (const mp& v : k) r.c.push_back(v.d());
        mp lo;
        mpfr_sub_d(lo.v, k[0].v, r.c[0], MPFR_RNDN);
        r.lo = lo.d();
    }
    r.err = max_rel_error(f, a, b, r);
    return r;
}

struct piece_set {
    int log2_s, e0;   // S = 2^log2_s pieces per binade from 2^-e0
    double top;       // the last piece covers top
};

std::vector<std::pair<double, double>> pieces_of(const piece_set& p) {
    std::vector<std::pair<double, double>> v = {{0.0, std::ldexp(1.0, -p.e0)}};
    const int s = 1 << p.log2_s;
    for (int e = -p.e0; std::ldexp(1.0, e) <= p.top; ++e)
        for (int k = 0; k < s; ++k) {
            const double a = std::ldexp(1.0 + double(k) / s, e), b = std::ldexp(1.0 + double(k + 1) / s, e);
            if (a > p.top) break;
            v.push_back({a, b});
        }
    return v;
}

// `start`: the least degree tried, to save time on the long double sets.
void emit_set(const char* name, const target_fn& f, const piece_set& ps, bool plus_t, double target, int start) {
    const auto pieces = pieces_of(ps);
    for (int degree = start; degree < 30; ++degree) {
        std::vector<row> rows;
        double worst = 0;
        for (size_t i = 0; i < pieces.size(); ++i) {
            rows.push_back(make_row(f, pieces[i].first, pieces[i].second, degree, i == 0, plus_t && i == 0));
            worst = std::fmax(worst, rows.back().err);
        }
        if (worst > target) continue;
        const int stride = (degree + 3 + 1) / 2 * 2;
        std::printf("// %zu pieces, degree %d, max relative error %.3g (target %.3g)\n", pieces.size(), degree,
                    worst, target);
        std::printf("inline constexpr int %s_degree = %d;\n", name, degree);
        std::printf("alignas(16) inline constexpr double %s[%zu][%d] = {\n", name, pieces.size(), stride);
        for (const row& r : rows) {
            std::printf("    {%a, %a", r.centre, r.lo);
            for (int j = 0; j + 2 < stride; ++j) std::printf(", %a", j <= degree ? r.c[j] : 0.0);
            std::printf("},\n");
        }
        std::printf("};\n\n");
        std::fprintf(stderr, "%s: %zu pieces, degree %d, %.3g\n", name, pieces.size(), degree, worst);
        return;
    }
    std::fprintf(stderr, "%s: no degree below 30 meets %g\n", name, target);
    std::exit(1);
}

void erf_target(mpfr_t y, const mpfr_t x) { mpfr_erf(y, x, MPFR_RNDN); }

void erfcx_target(mpfr_t y, const mpfr_t x) {
    mp e;
    mpfr_sqr(e.v, x, MPFR_RNDN);
    mpfr_exp(e.v, e.v, MPFR_RNDN);
    mpfr_erfc(y, x, MPFR_RNDN);
    mpfr_mul(y, y, e.v, MPFR_RNDN);
}

}  // namespace

int main(int argc, char** argv) {
    // Trial mode, to choose the pieces: erf_fits trial LOG2S E0 TARGET TOP
    // prints on stderr the degree both fits need on [0, TOP], and no table.
    const piece_set erf_pieces{3, 3, 6.0};
    const piece_set g_pieces{3, 3, 28.0};
    // Erf LA alone: [0, 2^-6), then 32 pieces per binade: 274 rows of degree
    // 7 (five 16-byte pairs a row) instead of 46 of degree 10, fewer loads
    // and steps per element for a 22 KB table.
    const piece_set erf_la_pieces{5, 6, 6.0};
    if (argc > 1 && std::string(argv[1]) == "trial") {
        const piece_set p{std::atoi(argv[2]), std::atoi(argv[3]), std::atof(argv[5])};
        const double target = std::atof(argv[4]);
        std::freopen("/dev/null", "w", stdout);
        emit_set("erf", erf_target, p, true, target, 2);
        emit_set("g", erfcx_target, p, false, target, 2);
        return 0;
    }
    std::printf(
        "// Generated by tools/erf_fits; do not edit.  Regenerate with\n"
        "//   g++ -O2 -std=c++20 tools/erf_fits/erf_fits.cpp -lmpfr -lgmp -o /tmp/erf_fits\n"
        "//   /tmp/erf_fits > src/vector/real/special/erf_vector_tables.h\n"
        "// Rows {centre, lo of c0, c0, ..., cD}: the polynomial in t = x - centre\n"
        "// interpolating at Chebyshev nodes; each set states its measured relative\n"
        "// error with the coefficients rounded.\n"
        "#pragma once\n\nnamespace qlm::special {\n\n");
    std::printf("// erf pieces: [0, 2^-%d), then %d per binade up to 6; G = erfc e^(x^2) pieces: [0,\n"
                "// 2^-%d), then %d per binade up to 28.\n",
                erf_pieces.e0, 1 << erf_pieces.log2_s, g_pieces.e0, 1 << g_pieces.log2_s);
    std::printf("inline constexpr int erf_piece_e0 = %d, erf_piece_log2_s = %d;\n", erf_pieces.e0, erf_pieces.log2_s);
    std::printf("inline constexpr int erfc_piece_e0 = %d, erfc_piece_log2_s = %d;\n", g_pieces.e0, g_pieces.log2_s);
    std::printf("// erf_rows_la: [0, 2^-%d), then %d per binade up to 6.\n", erf_la_pieces.e0, 1 << erf_la_pieces.log2_s);
    std::printf("inline constexpr int erf_la_piece_e0 = %d, erf_la_piece_log2_s = %d;\n\n", erf_la_pieces.e0,
                erf_la_pieces.log2_s);
    // Targets: "ha" for double HA, "la" for double LA, "sp" for double EP
    // and single LA and HA (evaluated in double), "ep" for single EP.
    struct set {
        const char* suffix;
        double target;
        int start;
    };
    const set sets[] = {{"ha", 0x1p-56, 10}, {"la", 0x1p-54, 9}, {"sp", 0x1p-30, 4}, {"ep", 0x1p-16, 2}};
    for (const set& s : sets) {
        const bool la = std::string(s.suffix) == "la";
        emit_set((std::string("erf_rows_") + s.suffix).c_str(), erf_target, la ? erf_la_pieces : erf_pieces, true,
                 s.target, la ? 7 : s.start);
        emit_set((std::string("erfcx_rows_") + s.suffix).c_str(), erfcx_target, g_pieces, false, s.target, s.start);
    }
    std::printf("}  // namespace qlm::special\n");
    return 0;
}
