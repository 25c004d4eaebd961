// MPFR pieces shared by the fit tools: a number of fixed precision with
// value semantics, and the solve of the square systems that interpolation
// at chosen nodes gives.
#pragma once

#include <mpfr.h>

#include <utility>
#include <vector>

namespace mpfit {

template <mpfr_prec_t P>
struct mp_number {
    mpfr_t v;
    mp_number() { mpfr_init2(v, P), mpfr_set_ui(v, 0, MPFR_RNDN); }
    explicit mp_number(double d) { mpfr_init2(v, P), mpfr_set_d(v, d, MPFR_RNDN); }
    mp_number(const mp_number& o) { mpfr_init2(v, P), mpfr_set(v, o.v, MPFR_RNDN); }
    mp_number& operator=(const mp_number& o) { return mpfr_set(v, o.v, MPFR_RNDN), *this; }
    ~mp_number() { mpfr_clear(v); }
    double d() const { return mpfr_get_d(v, MPFR_RNDN); }
};

// x with M x = b, for the n rows of [M | b]: Gauss-Jordan elimination with
// partial pivoting.  The working precision is far above the double or float
// coefficients the tools round to, so the order of the steps does not show
// in their output.
template <mpfr_prec_t P>
std::vector<mp_number<P>> solve(std::vector<std::vector<mp_number<P>>> m) {
    using mp = mp_number<P>;
    const int n = static_cast<int>(m.size());
    for (int c = 0; c < n; ++c) {
        int best = c;
        for (int i = c + 1; i < n; ++i)
            if (mpfr_cmpabs(m[i][c].v, m[best][c].v) > 0) best = i;
        std::swap(m[c], m[best]);
        for (int i = 0; i < n; ++i) {
            if (i == c) continue;
            mp f;
            mpfr_div(f.v, m[i][c].v, m[c][c].v, MPFR_RNDN);
            for (int k = c; k <= n; ++k) {
                mp t;
                mpfr_mul(t.v, f.v, m[c][k].v, MPFR_RNDN);
                mpfr_sub(m[i][k].v, m[i][k].v, t.v, MPFR_RNDN);
            }
        }
    }
    std::vector<mp> x(n);
    for (int i = 0; i < n; ++i) mpfr_div(x[i].v, m[i][n].v, m[i][i].v, MPFR_RNDN);
    return x;
}

}  // namespace mpfit
