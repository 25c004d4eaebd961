// Tables and fits of the single Pow lanes (src/vector/real/power/pow_single_lanes.h).
//
// log2: x = 2^k z with z in [0.6973, 1.3945), the float bits of z split
// into 128 intervals of 2^16 bits from 0x3F328000 on (interval 77 is
// centred on 1).  Row i holds invc, 1/c for c the interval's midpoint
// rounded to double (1 exactly in interval 77), and logc = -log2(invc)
// computed from that rounded invc, so that log2 x = k + logc +
// log2(1 + r) with r = z*invc - 1 (|r| < 2^-9) holds to the rounding of r.
// log2(1 + r) = r Q(r), Q of degree 3 interpolating log2(1 + r)/r at the
// Chebyshev nodes of [-2^-9, 2^-9].
// exp2: 2^t = 2^(j/128) 2^f with j = round(128 t), |f| <= 1/256; row j mod
// 128 holds 2^(j/128) rounded to double, and 2^f = 1 + f E(f), E of degree 1
// interpolating (2^f - 1)/f at the Chebyshev nodes of [-1/256, 1/256].
// All in 256-bit arithmetic; the printed errors are the worst relative
// errors of r Q(r) and f E(f) with the rounded coefficients, exactly
// evaluated, on 20001 points.
//
// Build and run (from the repository root):
//   g++ -O2 -std=c++20 tools/pow_single_tables/pow_single_tables.cpp -lmpfr -lgmp -o /tmp/pow_single_tables
//   /tmp/pow_single_tables > src/vector/real/power/pow_single_tables.h
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "../common/mp_fit.h"

namespace {

constexpr mpfr_prec_t P = 256;

using mp = mpfit::mp_number<P>;

using target = void (*)(mp&, const mp&);

// log2(1 + r) / r.
void log2_target(mp& y, const mp& r) {
    if (mpfr_zero_p(r.v)) { mpfr_set_ui(y.v, 1, MPFR_RNDN); mp l2; mpfr_const_log2(l2.v, MPFR_RNDN); mpfr_div(y.v, y.v, l2.v, MPFR_RNDN); return; }
    mpfr_log1p(y.v, r.v, MPFR_RNDN);
    mp l2;
    mpfr_const_log2(l2.v, MPFR_RNDN);
    mpfr_div(y.v, y.v, l2.v, MPFR_RNDN);
    mpfr_div(y.v, y.v, r.v, MPFR_RNDN);
}

// (2^f - 1) / f.
void exp2_target(mp& y, const mp& f) {
    mp l2;
    mpfr_const_log2(l2.v, MPFR_RNDN);
    if (mpfr_zero_p(f.v)) { y = l2; return; }
    mpfr_mul(y.v, f.v, l2.v, MPFR_RNDN);  // 2^f - 1 as expm1(f ln 2): no cancellation near 0
    mpfr_expm1(y.v, y.v, MPFR_RNDN);
    mpfr_div(y.v, y.v, f.v, MPFR_RNDN);
}

std::vector<double> interpolate(target f, double h, int degree) {
    const int n = degree + 1;
    std::vector<std::vector<mp>> m(n, std::vector<mp>(n + 1));
    mp pi;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (int i = 0; i < n; ++i) {
        mp x, p;
        mpfr_mul_d(x.v, pi.v, (i + 0.5) / n, MPFR_RNDN);
        mpfr_cos(x.v, x.v, MPFR_RNDN);
        mpfr_mul_d(x.v, x.v, h, MPFR_RNDN);
        mpfr_set_ui(p.v, 1, MPFR_RNDN);
        for (int k = 0; k < n; ++k) { m[i][k] = p; mpfr_mul(p.v, p.v, x.v, MPFR_RNDN); }
        f(m[i][n], x);
    }
    const std::vector<mp> x = mpfit::solve(std::move(m));
    std::vector<double> c(n);
    for (int i = 0; i < n; ++i) c[i] = x[i].d();
    return c;
}

// Worst relative error of x c(x) against x f(x) on [-h, h].
double measure(target f, const std::vector<double>& c, double h) {
    double worst = 0;
    for (int i = -10000; i <= 10000; ++i) {
        if (i == 0) continue;
        mp x, y, e;
        mpfr_set_d(x.v, h * i / 10000.0, MPFR_RNDN);
        mpfr_set_d(y.v, c.back(), MPFR_RNDN);
        for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
            mpfr_mul(y.v, y.v, x.v, MPFR_RNDN);
            mpfr_add_d(y.v, y.v, c[k], MPFR_RNDN);
        }
        f(e, x);
        mpfr_sub(y.v, y.v, e.v, MPFR_RNDN);
        mpfr_div(y.v, y.v, e.v, MPFR_RNDN);
        worst = std::fmax(worst, std::fabs(mpfr_get_d(y.v, MPFR_RNDN)));
    }
    return worst;
}

void print_array(const char* name, const std::vector<double>& c) {
    std::printf("inline constexpr double %s[%zu] = {", name, c.size());
    for (std::size_t k = 0; k < c.size(); ++k) std::printf("%s%a", k ? ", " : "", c[k]);
    std::printf("};\n");
}

}  // namespace

int main() {
    std::printf("// Tables and fits of the single Pow lanes.  Generated, do not edit:\n");
    std::printf("//   g++ -O2 -std=c++20 tools/pow_single_tables/pow_single_tables.cpp -lmpfr -lgmp -o /tmp/pow_single_tables\n");
    std::printf("//   /tmp/pow_single_tables > src/vector/real/power/pow_single_tables.h\n");
    std::printf("// The rules that made them are at the top of the tool.\n");
    std::printf("#pragma once\n\n#include <cstdint>\n\nnamespace qlm::power::single_tables {\n\n");
    std::printf("inline constexpr uint32_t kLogOffset = 0x3F328000;\n\n");
    std::printf("// {invc, logc} per interval of z.\n");
    std::printf("alignas(16) inline constexpr double log2_rows[128][2] = {\n");
    for (int i = 0; i < 128; ++i) {
        const uint32_t lo = 0x3F328000u + (static_cast<uint32_t>(i) << 16), hi = lo + 0x10000u;
        double invc;
        mp c, l;
        if (i == 77) {
            invc = 1.0;
        } else {
            mpfr_set_flt(c.v, std::bit_cast<float>(lo), MPFR_RNDN);
            mpfr_add_d(c.v, c.v, std::bit_cast<float>(hi), MPFR_RNDN);
            mpfr_div_ui(c.v, c.v, 2, MPFR_RNDN);
            mpfr_ui_div(c.v, 1, c.v, MPFR_RNDN);
            invc = mpfr_get_d(c.v, MPFR_RNDN);
        }
        mpfr_set_d(l.v, invc, MPFR_RNDN);
        mpfr_log2(l.v, l.v, MPFR_RNDN);
        mpfr_neg(l.v, l.v, MPFR_RNDN);
        std::printf("    {%a, %a},\n", invc, mpfr_get_d(l.v, MPFR_RNDN));
    }
    std::printf("};\n\n");
    std::printf("// 2^(j/128), j = 0 .. 127.\n");
    std::printf("alignas(16) inline constexpr double exp2_rows[128] = {\n");
    for (int j = 0; j < 128; ++j) {
        mp v;
        mpfr_set_d(v.v, j / 128.0, MPFR_RNDN);
        mpfr_exp2(v.v, v.v, MPFR_RNDN);
        std::printf("    %a,\n", mpfr_get_d(v.v, MPFR_RNDN));
    }
    std::printf("};\n\n");
    const auto q = interpolate(log2_target, 0x1p-9, 3);
    const double eq = measure(log2_target, q, 0x1p-9);
    std::printf("// log2(1 + r) = r Q(r), |r| < 2^-9: error %.3g (2^%.1f).\n", eq, std::log2(eq));
    print_array("log2_poly", q);
    const auto e = interpolate(exp2_target, 1.0 / 256, 1);
    const double ee = measure(exp2_target, e, 1.0 / 256);
    std::printf("// 2^f - 1 = f E(f), |f| <= 1/256: error %.3g (2^%.1f).\n", ee, std::log2(ee));
    print_array("exp2_poly", e);
    std::printf("\n}  // namespace qlm::power::single_tables\n");
    return 0;
}
