// LGamma, log|Gamma(x)|, single, one routine in all three slots, by
// gamma_core.h in double: about 0.5 ulp, also at the zeros x = 1 and 2.
// Near the zeros on the negative axis the reflection cancels; double
// arithmetic covers that down to about 2^-20 of the result.
// Double, one routine in all three slots, by gamma_double_core.h in
// double-double: about 0.5 ulp, also at the zeros x = 1 and 2; the
// reflection limits it near the zeros below -2 (see there).
//
// Both routines leave the mode and MXCSR alone at entry.
// Screen, single: 2^-126 <= x < 2^100; double: 2^-1022 <= x < 2^1000.  The scalar routine, first match: NaN gives
// NaN; +-infinity gives +infinity; 0 and the negative integers are poles:
// +infinity with SING; a result beyond the range (x above 4.08e36 in
// single, 2.55e305 in double) gives +infinity with OVERFLOW;
// positive denormals give -log x, negative x the reflection.
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/gamma_core.h"
#include "vector/real/special/gamma_double_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

double log_gamma_positive(double x) {
    if (x >= 1.0) return log_gamma_from_one(x);
    // log Gamma(x) = log Gamma(x + 1) - log x; x + 1 is exact for a float x
    // above 2^-29 and harmlessly rounded below.
    return log_gamma_from_one(x + 1.0) - log_dd(x).hi;
}

double log_gamma_value(double x) {
    if (x > 0) return log_gamma_positive(x);
    // log|Gamma(x)| = log pi - log|sin(pi x)| - log Gamma(1 - x)
    return 1.1447298858494002 - log_dd(std::fabs(sin_pi(x))).hi - log_gamma_positive(1.0 - x);
}

constexpr char kS[] = "vsLGamma";

struct lgamma_plan : range_screen<float, 0, 0, 0x00800000u, 0x71800000u - 0x00800000u, kS> {
    static float fast(float x) { return static_cast<float>(log_gamma_positive(x)); }
    static float scalar(float x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return INFINITY;
        if (x == 0 || (x < 0 && std::nearbyint(x) == x)) {
            status = VXM_STATUS_SING;
            return INFINITY;
        }
        const float r = static_cast<float>(log_gamma_value(x));
        if (std::isinf(r)) status = VXM_STATUS_OVERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdLGamma";

struct lgamma_plan_d : range_screen<double, 0x00100000u, 0x7E700000u - 0x00100000u, 0, 0, kD> {
    static double fast(double x) { return gamma_d::log_gamma_positive_dd(x).hi; }
    static double scalar(double x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return INFINITY;
        if (x == 0 || (x < 0 && std::nearbyint(x) == x)) {
            status = VXM_STATUS_SING;
            return INFINITY;
        }
        bool negative;
        const double r = gamma_d::log_abs_gamma_dd(x, &negative).hi;
        if (std::isinf(r)) status = VXM_STATUS_OVERFLOW;
        return r;
    }
};

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_sLGamma_HA, lgamma_plan)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dLGamma_HA, lgamma_plan_d)
