// TGamma, single, one routine in all three slots, on double lanes by
// gamma_single_lanes.h, eight elements a turn, and gamma_core.h for the
// elements the lanes leave: about 0.5 ulp.  Double, one routine in all three
// slots: groups of four on two SSE2 pairs by gamma_double_lanes.h for
// 2^-30 <= |x| < 60.5, e to the double-double log Gamma of the Taylor rows
// times the reflection's or the shift's factor, divided in double-double
// (0.52 ulp measured); the poles and every input outside the screen go to
// the per-element routine: e to the double-double log |Gamma(x)| of
// gamma_double_core.h by exp_parts, the sign for negative x that of
// sin(pi x).
//
// Like LGamma, both routines leave the mode and MXCSR alone at entry.
// Screen, single: 2^-126 <= |x|, x < 35, and negative x above -30 and not
// an integer, where the result is a normal float;
// double: 2^-30 <= |x| < 60.5.  The scalar
// routine, first match: NaN gives NaN; +infinity itself; +-0 gives
// +-infinity with SING; -infinity gives NaN with ERRDOM; a negative
// integer gives NaN with SING (the pole's two sides differ in sign); a result
// beyond the range gives infinity with OVERFLOW (x >= 35.04 in single,
// 171.62 in double, and the positive denormals in single, below 5.6e-309
// in double); a result below the least normal number gives the denormal or
// zero with UNDERFLOW (negative non-integers below -35 in single, -171 in
// double).
#include <cfloat>
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/gamma_core.h"
#include "vector/real/special/gamma_double_core.h"
#include "vector/real/special/gamma_double_lanes.h"
#include "vector/real/special/gamma_single_lanes.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

double gamma_value(double x) {
    if (x > 0) return x > 172.0 ? INFINITY : gamma_positive(x);
    if (x < -180.0) return sin_pi(x) < 0 ? -0.0 : 0.0;  // |Gamma| far below the float range
    return kPi / (sin_pi(x) * gamma_positive(1.0 - x));
}

constexpr char kS[] = "vsTGamma";

struct tgamma_plan {
    static constexpr const char* name = kS;
    static __m128 ok(__m128 x) { return gamma_lanes::screen(x, -30.0f, 35.0f); }
    static gamma_lanes::v2d core(gamma_lanes::v2d x) { return gamma_lanes::gamma(x); }
    static float scalar(float x, int& status) {
        if (std::isnan(x)) return x + x;
        if (x == INFINITY) return x;
        if (x == -INFINITY) {
            status = VXM_STATUS_ERRDOM;
            return NAN;
        }
        if (x == 0 || (x < 0 && std::nearbyint(x) == x)) {
            status = VXM_STATUS_SING;
            return x == 0 ? 1.0f / x : NAN;
        }
        const float r = static_cast<float>(gamma_value(x));
        if (std::isinf(r)) status = VXM_STATUS_OVERFLOW;
        else if (std::fabs(r) < FLT_MIN) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

// e^(l.hi + l.lo), a denormal result rounded once from m.hi + m.lo: counted
// in units of 2^-1074, m.hi is below 2^52 and rounds to an integer q
// exactly, and the remainder (m.hi - q) + m.lo decides the last step.
double exp_of_rounded_once(dd l) {
    const exp_result e = exp_parts(l.hi, l.lo);
    if (e.k >= -1022) return exp_finish(e);
    const int shift = e.k + 1074;  // 2^k m in units of 2^-1074 is 2^shift m
    if (shift < -2) return 0.0;    // below a quarter unit
    const double h = scale_by_power_of_two(e.m.hi, shift), lo = scale_by_power_of_two(e.m.lo, shift);
    double q = (h + 0x1.8p52) - 0x1.8p52;
    const double rem = (h - q) + lo;
    if (rem > 0.5) q += 1.0;
    else if (rem < -0.5) q -= 1.0;
    return q * 0x1p-1074;
}

constexpr char kD[] = "vdTGamma";

struct tgamma_plan_d {
    static constexpr const char* name = kD;
    template <int N>
    static void fast(const gamma_lanes::v2d (&x)[N], gamma_lanes::v2d (&r)[N], gamma_lanes::v2l (&bad)[N]) {
        gamma_dl::gamma<N>(x, r, bad);
    }
    static double scalar(double x, int& status) {
        if (std::isnan(x)) return x + x;
        if (x == INFINITY) return x;
        if (x == -INFINITY) {
            status = VXM_STATUS_ERRDOM;
            return NAN;
        }
        if (x == 0 || (x < 0 && std::nearbyint(x) == x)) {
            status = VXM_STATUS_SING;
            return x == 0 ? 1.0 / x : NAN;
        }
        if (x > 172.0) {
            status = VXM_STATUS_OVERFLOW;
            return INFINITY;
        }
        bool negative;
        double r;
        if (x < -200.0) {  // |Gamma(x)| below 2^-1200
            negative = std::fmod(std::floor(x), 2.0) != 0;  // the sign is (-1)^(-floor(x))
            r = 0.0;
        } else {
            r = exp_of_rounded_once(gamma_d::log_abs_gamma_dd(x, &negative));
        }
        if (negative) r = -r;
        if (std::isinf(r)) status = VXM_STATUS_OVERFLOW;
        else if (std::fabs(r) < DBL_MIN) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

}  // namespace

extern "C" void qlmk_sTGamma_HA(int32_t n, const float* a, float* y) {
    if (n <= 0) return;
    gamma_lanes::run_single<tgamma_plan>(n, a, y);
}
extern "C" void qlmk_dTGamma_HA(int32_t n, const double* a, double* y) {
    if (n <= 0) return;
    gamma_dl::run_groups<tgamma_plan_d>(n, a, y);
}
