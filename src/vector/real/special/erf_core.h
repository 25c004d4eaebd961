// The error-function core shared by Erf, Erfc and CdfNorm in both types.
//
// Below 3/4: erf(x) = x E(x^2), E a fit of erf(x)/x on s = x^2 in [0, 9/16]
// (degree 10 for double, 2^-56; its constant term carried as hi + lo).
// Erfc there is 1 - x E formed from the exact product, so that the
// cancellation toward x = 3/4 costs nothing.
// From 3/4 to 28: erfc(x) = e^(-x^2) G(x), G = erfc(x) e^(x^2) fitted on 14
// pieces (degree 15 for double).  x^2 is exact as a double-double and
// exp_parts takes both parts, so the exponential's argument carries no
// rounding; the product is formed in double-double and scaled by 2^k once.
// Erf there is 1 - erfc; erfc(-x) = 2 - erfc(x).
// CdfNorm(x) = erfc(u)/2 with u = -x/sqrt(2) as a double-double: u^2 =
// x^2/2 is exact, and G(u.hi + u.lo) = G(u.hi) + G'(u.hi) u.lo with
// G' = 2uG - 2/sqrt(pi), so that the deep lower tail keeps full relative
// accuracy (CdfNorm(-37) is 5.7e-300).
// Without Extra the last steps run in plain double (LA), and with the
// shorter fits (2^-31, 2^-16) the same plan serves EP and single precision.
#pragma once

#include <cmath>

#include "vector/real/special/erf_tables.h"
#include "vector/real/special/exp_log_core.h"

namespace qlm::special {

// The fits of one accuracy set, by name.
#define QLM_ERF_FITS(name, small, pieces, centre, pieces_degree)                                          \
    struct name {                                                                                   \
        static constexpr int small_degree = sizeof(small) / 8 - 2;                                  \
        static constexpr int degree = pieces_degree;                                                \
        static dd small_fit(double s) { return fit_dd<small_degree>(small, s - 0.28125); }          \
        static double small_plain(double s) { return horner<small_degree>(small, s - 0.28125); }   \
        static const double* row(int i) { return pieces[i]; }                                       \
        static double centre_of(int i) { return centre[i]; }                                        \
    };
QLM_ERF_FITS(erf_fits_d, erf_small_d, erfcx_d, erfcx_d_centre, erfcx_d_degree)
QLM_ERF_FITS(erf_fits_f, erf_small_f, erfcx_f, erfcx_f_centre, erfcx_f_degree)
QLM_ERF_FITS(erf_fits_e, erf_small_e, erfcx_e, erfcx_e_centre, erfcx_e_degree)
#undef QLM_ERF_FITS

inline constexpr double kErfcLimit = 28.0;  // the last piece ends here; erfc(28) is below 2^-1130
inline constexpr double kTwoOverSqrtPi = 0x1.20dd750429b6dp+0;

inline int erfcx_piece(double x) {
    int i = 0;
    while (i < 13 && x >= erfcx_breaks[i + 1]) ++i;
    return i;
}

// erfc(u.hi + u.lo) = 2^k m for 3/4 <= u.hi < 28, u.lo = 0 for a double.
template <class F, bool Extra>
inline exp_result erfc_parts(double u, double ul, dd u_sq) {
    const int i = erfcx_piece(u);
    const exp_result e = exp_parts(-u_sq.hi, -u_sq.lo);
    if constexpr (Extra) {
        dd g = fit_dd<F::degree>(F::row(i), u - F::centre_of(i));
        if (ul != 0) g = fast_two_sum(g.hi, g.lo + (2.0 * u * g.hi - kTwoOverSqrtPi) * ul);
        return {e.k, dd_mul(e.m, g)};
    } else {
        double g = horner<F::degree>(F::row(i), u - F::centre_of(i));
        if (ul != 0) g += (2.0 * u * g - kTwoOverSqrtPi) * ul;
        return {e.k, {e.m.hi * g, 0.0}};
    }
}

// 1 - x E(x^2) for |x| < 3/4, and x E(x^2), from the exact product.
template <class F, bool Extra>
inline dd x_times_small(double x, double xl) {
    const double s = x * x;
    if constexpr (Extra) {
        const dd p = dd_mul(F::small_fit(s), {x, xl});
        return p;
    } else {
        return {(x + xl) * F::small_plain(s), 0.0};
    }
}

template <class F, bool Extra>
inline double one_minus(dd p) {
    const dd h = two_sum(1.0, -p.hi);
    return h.hi + (h.lo - p.lo);
}

template <class F, bool Extra>
inline double erf_value(double x) {
    const double ax = std::fabs(x);
    if (ax < 0x1p-1000) {
        // Zeros keep their sign; tiny x is scaled up so that the exact
        // product does not underflow, and the result is rounded once more
        // into the denormal range.
        if (x == 0) return x;
        const dd p = x_times_small<F, Extra>(x * 0x1p200, 0.0);
        return (p.hi + p.lo) * 0x1p-200;
    }
    if (ax < 0.75) {
        const dd p = x_times_small<F, Extra>(x, 0.0);
        return p.hi + p.lo;
    }
    if (ax >= 6.0) return std::copysign(1.0, x);
    const exp_result e = erfc_parts<F, Extra>(ax, 0.0, two_prod(ax, ax));
    const dd v = {scale_by_power_of_two(e.m.hi, e.k), scale_by_power_of_two(e.m.lo, e.k)};
    return std::copysign(one_minus<F, Extra>(v), x);
}

template <class F, bool Extra>
inline double erfc_value(double x) {
    const double ax = std::fabs(x);
    if (ax < 0.75) return one_minus<F, Extra>(x_times_small<F, Extra>(x, 0.0));
    if (ax >= kErfcLimit) return x > 0 ? 0.0 : 2.0;
    const exp_result e = erfc_parts<F, Extra>(ax, 0.0, two_prod(ax, ax));
    if (x > 0) return scale_by_power_of_two(e.m.hi + e.m.lo, e.k);
    const dd h = two_sum(2.0, -scale_by_power_of_two(e.m.hi, e.k));
    return h.hi + (h.lo - scale_by_power_of_two(e.m.lo, e.k));
}

inline constexpr double kInvSqrt2Hi = 0x1.6a09e667f3bcdp-1;
inline constexpr double kInvSqrt2Lo = -0x1.bdd3413b26456p-55;

template <class F, bool Extra>
inline double cdfnorm_value(double x) {
    const dd u = dd_mul_d({kInvSqrt2Hi, kInvSqrt2Lo}, -x);
    const double au = std::fabs(u.hi);
    if (au < 0.75) return 0.5 * one_minus<F, Extra>(x_times_small<F, Extra>(u.hi, u.lo));
    if (au >= kErfcLimit) return x < 0 ? 0.0 : 1.0;
    dd sq = two_prod(x, x);  // u^2 = x^2/2 exactly
    sq = {0.5 * sq.hi, 0.5 * sq.lo};
    const double sign = u.hi < 0 ? -1.0 : 1.0;
    const exp_result e = erfc_parts<F, Extra>(au, sign * u.lo, sq);
    if (u.hi > 0) return scale_by_power_of_two(e.m.hi + e.m.lo, e.k - 1);
    return one_minus<F, Extra>({scale_by_power_of_two(e.m.hi, e.k - 1), scale_by_power_of_two(e.m.lo, e.k - 1)});
}

}  // namespace qlm::special
