// The inverse core shared by ErfInv, ErfcInv and CdfNormInv in both types:
// x with CdfNorm(x) = q for q in (0, 1/2], found by Halley's iteration on
// the forward functions of erf_core.h.
//
// Start: x0 = -(t - (c0 + c1 t + c2 t^2)/(1 + d1 t + d2 t^2 + d3 t^3)),
// t = sqrt(-2 log q), a classical rational approximation with absolute error
// below 4.5e-4; near q = 1/2, where a relative start matters, x0 =
// sqrt(2 pi) h (1 + pi h^2/3), h = q - 1/2.
// Centre, q >= 1/4 (h = q - 1/2 exact): f(x) = erf(x/sqrt 2)/2 - h with the
// error function formed from the double-double x E(x^2) of erf_core.h, so
// that f has full relative accuracy also where x is tiny.
// Tail, q < 1/4: g(x) = log CdfNorm(x) - log q, with CdfNorm(x) = 2^k m and
// q given as qv 2^qe, so that q/2^k is exact also when q is denormal; the
// ratio m/(q/2^k) - 1 is formed as a double-double.  g' = lambda =
// phi/CdfNorm, which is sqrt(2/pi)/G(u) in the fitted range: no second
// exponential.
// Each Halley step multiplies the error's exponent by 3: from 4.5e-4, two
// steps reach 2^-100 in exact arithmetic, and the last correction is kept
// beside x as a double-double, so that the callers scale and round once
// (about 0.5 ulp after the rounding for three steps).
#pragma once

#include <cmath>

#include "vector/real/special/erf_core.h"
#include "vector/real/special/group_driver.h"

namespace qlm::special {

inline constexpr double kSqrt2Pi = 0x1.40d931ff62705p+1;        // sqrt(2 pi)
inline constexpr double kInvSqrt2Pi = 0x1.9884533d43651p-2;     // 1/sqrt(2 pi)
inline constexpr double kSqrt2OverPi = 0x1.9884533d43651p-1;    // sqrt(2/pi)

inline double normal_density(double x) {
    const dd sq = two_prod(x, x);
    return exp_finish(exp_parts(-0.5 * sq.hi, -0.5 * sq.lo)) * kInvSqrt2Pi;
}

// Rational start for x = CdfNorm^-1(q), q <= 1/2, from t = sqrt(-2 log q).
inline double inverse_start(double qv, int qe) {
    const dd l = log_dd(qv);
    const double t = __builtin_sqrt(-2.0 * (l.hi + qe * 0x1.62e42fefa39efp-1));
    return -(t - (2.515517 + t * (0.802853 + t * 0.010328)) /
                     (1.0 + t * (1.432788 + t * (0.189269 + t * 0.001308))));
}

// x + xl with CdfNorm(x + xl) = 1/2 + h, for -1/4 <= h <= 0.
template <int Steps>
inline dd inverse_centre(double h) {
    double x = kSqrt2Pi * h * (1.0 + 1.0471975511965976 * h * h);
    double corr = 0;
    for (int i = 0; i < Steps; ++i) {
        x -= corr;
        const dd u = dd_mul_d({kInvSqrt2Hi, kInvSqrt2Lo}, x);
        const dd e = x_times_small<erf_fits_d, true>(u.hi, u.lo);  // erf(u)
        const dd f = two_sum(0.5 * e.hi, -h);
        const double fv = f.hi + (f.lo + 0.5 * e.lo);
        const double delta = fv / normal_density(x);
        corr = delta / (1.0 + 0.5 * x * delta);
    }
    return {x, -corr};
}

// x + xl with CdfNorm(x + xl) = qv 2^qe <= 1/4.
template <int Steps>
inline dd inverse_tail(double qv, int qe) {
    double x = inverse_start(qv, qe);
    double corr = 0;
    for (int i = 0; i < Steps; ++i) {
        x -= corr;
        const dd u = dd_mul_d({kInvSqrt2Hi, kInvSqrt2Lo}, -x);
        int k;
        dd m;
        double lambda;
        if (u.hi < 0.75) {
            const dd p = x_times_small<erf_fits_d, true>(u.hi, u.lo);
            const dd h = two_sum(1.0, -p.hi);
            m = fast_two_sum(h.hi, h.lo - p.lo);
            k = -1;
            lambda = normal_density(x) / (0.5 * m.hi);
        } else {
            dd sq = two_prod(x, x);
            sq = {0.5 * sq.hi, 0.5 * sq.lo};
            const exp_result e = erfc_parts<erf_fits_d, true>(u.hi, u.lo, sq);
            k = e.k - 1;
            m = e.m;
            const int piece = erfcx_piece(u.hi);
            lambda = kSqrt2OverPi / horner<erf_fits_d::degree>(erf_fits_d::row(piece), u.hi - erf_fits_d::centre_of(piece));
        }
        // q / 2^k, exact: a power-of-two scaling that stays normal.
        const double qs = scale_by_power_of_two(qv, qe - k);
        const dd d = two_sum(m.hi, -qs);
        const double rho = (d.hi + (d.lo + m.lo)) / qs;
        const double g = rho * (1.0 - rho * (0.5 - rho * (1.0 / 3)));  // log1p(rho)
        const double delta = g / lambda;
        corr = delta / (1.0 + 0.5 * delta * (x + lambda));
    }
    return {x, -corr};
}

// CdfNorm^-1(q) for 0 < q <= 1/2 given as qv 2^qe, as a double-double.
template <int Steps>
inline dd inverse_lower(double qv, int qe) {
    if (qe == 0 && qv >= 0.25) return inverse_centre<Steps>(qv - 0.5);
    return inverse_tail<Steps>(qv, qe);
}

inline double dd_times_inv_sqrt2(dd x) {
    const dd p = dd_mul({x.hi, x.lo}, {kInvSqrt2Hi, kInvSqrt2Lo});
    return p.hi + p.lo;
}

// CdfNormInv(p), 0 < p < 1.
template <int Steps>
inline double cdfnorm_inverse_value(double p) {
    if (p <= 0.5) {
        const dd x = inverse_lower<Steps>(p, 0);
        return x.hi + x.lo;
    }
    const dd x = inverse_lower<Steps>(1.0 - p, 0);  // 1 - p exact for p >= 1/2
    return -(x.hi + x.lo);
}

// ErfcInv(z), 0 < z < 2: -CdfNorm^-1(z/2)/sqrt 2.
template <int Steps>
inline double erfc_inverse_value(double z) {
    if (z >= 0.5 && z <= 1.5) {
        const double y = 1.0 - z;  // exact
        const dd x = inverse_centre<Steps>(-0.5 * std::fabs(y));
        return std::copysign(-dd_times_inv_sqrt2(x), y);
    }
    if (z < 0.5) return -dd_times_inv_sqrt2(inverse_tail<Steps>(z, -1));
    return dd_times_inv_sqrt2(inverse_tail<Steps>(2.0 - z, -1));
}

// ErfInv(y), -1 < y < 1.  Below 2^-30, erfinv(y) = (sqrt(pi)/2) y to within
// 2^-60; tiny y is scaled so that the exact product does not underflow and
// the result is rounded once more into the denormal range.
template <int Steps>
inline double erf_inverse_value(double y) {
    const double ay = std::fabs(y);
    if (ay < 0x1p-30) {
        if (y == 0) return y;
        constexpr double kHi = 0x1.c5bf891b4ef6bp-1, kLo = -0x1.618f13eb7ca89p-55;  // sqrt(pi)/2
        const double scale = ay < 0x1p-900 ? 0x1p200 : 1.0;
        const dd p = two_prod(y * scale, kHi);
        return (p.hi + (p.lo + y * scale * kLo)) / scale;
    }
    const dd x = ay <= 0.5 ? inverse_centre<Steps>(-0.5 * ay) : inverse_tail<Steps>(1.0 - ay, -1);
    return std::copysign(-dd_times_inv_sqrt2(x), y);
}

// The plan of ErfcInv (Upper 2, +infinity at 0) and CdfNormInv (Upper 1,
// -infinity at 0).  Screen: 0 < x < Upper with x normal, one unsigned
// compare of the high word.  The scalar routine: NaN gives NaN without a
// status; 0 and Upper give the infinities with SING; beyond them NaN with
// ERRDOM; a denormal x is served by the tail form.
template <typename Elem, int Upper, double (*Value)(double), const char* Name>
struct quantile_plan
    : range_screen<Elem, 0x00100000u, (Upper == 2 ? 0x40000000u : 0x3FF00000u) - 0x00100000u, 0x00800000u,
                   (Upper == 2 ? 0x40000000u : 0x3F800000u) - 0x00800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int& status) {
        if (x != x) return x + x;
        if (x > 0 && x < Elem(Upper)) return fast(x);
        const Elem at_zero = Upper == 2 ? Elem(INFINITY) : Elem(-INFINITY);
        if (x == 0 || x == Elem(Upper)) {
            status = VXM_STATUS_SING;
            return x == 0 ? at_zero : -at_zero;
        }
        status = VXM_STATUS_ERRDOM;
        return static_cast<Elem>(NAN);
    }
};

}  // namespace qlm::special
