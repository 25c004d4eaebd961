// Per-element formulas of Asinh, Acosh and Atanh, for the lanes that the
// vector screens of invhyp_groups.h leave out (double magnitudes from 2^28
// on); x87 extended precision for double HA, double with double-double
// logarithms for the others.
//
// x87 (the frame sets 64-bit precision): the logarithm is the processor's
// y log2(x) with y = ln 2 (fyl2x, and fyl2xp1 for log1p below 1 - sqrt(2)/2),
// accurate to about one extended ulp.  asinh(x) = log1p(x + x^2/(1 +
// sqrt(1 + x^2))) below 1/4, else log(x + sqrt(x^2 + 1)); acosh(x) with
// d = x - 1 exact: log1p(d + sqrt(d (x + 1))) below d = 0.03, else log(x +
// sqrt(d (x + 1))); atanh(x) = log1p(2x/(1 - x))/2 below 1/8, else
// log((1 + x)/(1 - x))/2, where 1 +- x are exact in 64 bits.  The extended
// range holds x^2 for every double, so there is no large-argument branch.
// The result is rounded once to double: about 0.5 ulp.
//
// Double: below 1/2, asinh and atanh are x + x s P(s), s = x^2, with P a
// fit from tools/special_fits; above, the argument of the logarithm is
// formed as a double-double (exact square, corrected root, exact sums) and
// log_dd takes it, so that about 0.5 ulp remains.  Above 2^28, asinh and
// acosh are log(2x).  Below 2^-28, asinh(x) and atanh(x) round to x.
#pragma once

#include <cmath>

#include "vector/real/invhyp/invhyp_tables.h"
#include "vector/real/special/exp_log_core.h"

namespace qlm::special {

inline long double x87_log(long double x) {
    long double r;
    asm("fldln2\n\tfxch\n\tfyl2x" : "=t"(r) : "0"(x));
    return r;
}

// |x| below 1 - sqrt(2)/2.
inline long double x87_log1p(long double x) {
    long double r;
    asm("fldln2\n\tfxch\n\tfyl2xp1" : "=t"(r) : "0"(x));
    return r;
}

inline double asinh_x87(double x) {
    const long double ax = std::fabs(x);
    if (ax < 0x1p-28L) return x;
    const long double s = ax * ax;
    const long double r = ax < 0.25L ? x87_log1p(ax + s / (1.0L + __builtin_sqrtl(1.0L + s)))
                                     : x87_log(ax + __builtin_sqrtl(s + 1.0L));
    return std::copysign(static_cast<double>(r), x);
}

inline double acosh_x87(double x) {
    const long double d = static_cast<long double>(x) - 1.0L;
    const long double root = __builtin_sqrtl(d * (x + 1.0L));
    return static_cast<double>(d < 0.03L ? x87_log1p(d + root) : x87_log(x + root));
}

inline double atanh_x87(double x) {
    const long double ax = std::fabs(x);
    if (ax < 0x1p-28L) return x;
    const long double r = ax < 0.125L ? 0.5L * x87_log1p(2.0L * ax / (1.0L - ax))
                                      : 0.5L * x87_log((1.0L + ax) / (1.0L - ax));
    return std::copysign(static_cast<double>(r), x);
}

inline constexpr double kLn2HiFull = 0x1.62e42fefa39efp-1;
inline constexpr double kLn2LoFull = 0x1.abc9e3b39803fp-56;

template <const double* Fit, int Size>
inline double odd_series(double x) {
    const double s = x * x;
    return x + x * (s * horner<Size - 2>(Fit, s - 0.125));
}

inline double dd_round(dd v) { return v.hi + v.lo; }

template <const double* Fit, int Size>
inline double asinh_double(double x) {
    const double ax = std::fabs(x);
    if (ax < 0x1p-28) return x;
    if (ax <= 0.5) return odd_series<Fit, Size>(x);
    dd l;
    if (ax < 0x1p28) {
        const dd sq = two_prod(ax, ax);
        const dd q = two_sum(sq.hi, 1.0);
        const dd root = dd_sqrt(fast_two_sum(q.hi, q.lo + sq.lo));
        const dd a = two_sum(ax, root.hi);
        l = log_dd(fast_two_sum(a.hi, a.lo + root.lo));
    } else {
        l = log_dd(ax);
        l = two_sum(l.hi, kLn2HiFull);
        l.lo += kLn2LoFull;
    }
    return std::copysign(dd_round(l), x);
}

inline double acosh_double(double x) {
    dd l;
    if (x < 0x1p28) {
        const dd sq = two_prod(x, x);
        const dd q = two_sum(sq.hi, -1.0);
        const dd root = dd_sqrt(fast_two_sum(q.hi, q.lo + sq.lo));
        const dd a = two_sum(x, root.hi);
        l = log_dd(fast_two_sum(a.hi, a.lo + root.lo));
    } else {
        l = log_dd(x);
        l = two_sum(l.hi, kLn2HiFull);
        l.lo += kLn2LoFull;
    }
    return dd_round(l);
}

template <const double* Fit, int Size>
inline double atanh_double(double x) {
    const double ax = std::fabs(x);
    if (ax < 0x1p-28) return x;
    if (ax <= 0.5) return odd_series<Fit, Size>(x);
    const dd q = dd_div(two_sum(1.0, ax), {1.0 - ax, 0.0});
    const dd l = log_dd(q);
    return std::copysign(0.5 * dd_round(l), x);
}

}  // namespace qlm::special
