// Error-free transformations and a few double-double operations, for the
// kernels that carry a result beyond 53 bits before the last rounding.
//
// No fused multiply-add on this tier, so the exact product is Dekker's:
// both factors are split into 26-bit halves whose partial products are
// exact.  All operations assume round to nearest, which every kernel that
// uses them runs under; the splits overflow above 2^996, which the callers
// screen out.
#pragma once

namespace qlm::special {

struct dd {
    double hi, lo;
};

inline dd two_sum(double a, double b) {
    const double s = a + b;
    const double bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// |a| >= |b| or a == 0.
inline dd fast_two_sum(double a, double b) {
    const double s = a + b;
    return {s, b - (s - a)};
}

inline dd split(double a) {
    const double c = 134217729.0 * a;  // 2^27 + 1
    const double hi = c - (c - a);
    return {hi, a - hi};
}

inline dd two_prod(double a, double b) {
    const double p = a * b;
    const dd x = split(a), y = split(b);
    return {p, ((x.hi * y.hi - p) + x.hi * y.lo + x.lo * y.hi) + x.lo * y.lo};
}

inline dd dd_add(dd a, dd b) {
    const dd s = two_sum(a.hi, b.hi);
    return fast_two_sum(s.hi, s.lo + a.lo + b.lo);
}

inline dd dd_mul(dd a, dd b) {
    const dd p = two_prod(a.hi, b.hi);
    return fast_two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

inline dd dd_mul_d(dd a, double b) {
    const dd p = two_prod(a.hi, b);
    return fast_two_sum(p.hi, p.lo + a.lo * b);
}

// sqrt of a double-double by one correction of the rounded root.
inline dd dd_sqrt(dd a) {
    const double r = __builtin_sqrt(a.hi);
    if (r == 0) return {0.0, 0.0};
    const dd sq = two_prod(r, r);
    return fast_two_sum(r, ((a.hi - sq.hi) - sq.lo + a.lo) / (2.0 * r));
}

// a / b for double-double a and double b.
inline dd dd_div_d(dd a, double b) {
    const double q = a.hi / b;
    const dd p = two_prod(q, b);
    return fast_two_sum(q, ((a.hi - p.hi) - p.lo + a.lo) / b);
}

// a / b for double-doubles.
inline dd dd_div(dd a, dd b) {
    const double q = a.hi / b.hi;
    const dd p = two_prod(q, b.hi);
    return fast_two_sum(q, ((a.hi - p.hi) - p.lo + a.lo - q * b.lo) / b.hi);
}

// Horner's rule over coefficients c[0..deg] in t.
template <int Deg>
inline double horner(const double* c, double t) {
    double p = c[Deg];
    for (int i = Deg - 1; i >= 0; --i) p = p * t + c[i];
    return p;
}

// A fit from tools/special_fits, c[0..deg] then the low part of c[0]: its
// value as double-double, with the constant term carried to 106 bits.
template <int Deg>
inline dd fit_dd(const double* c, double t) {
    double q = c[Deg];
    for (int i = Deg - 1; i >= 1; --i) q = q * t + c[i];
    return fast_two_sum(c[0], q * t + c[Deg + 1]);
}

}  // namespace qlm::special
