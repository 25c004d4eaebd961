// LGamma, log|Gamma(x)|, single, one routine in all three slots, by
// gamma_core.h in double: about 0.5 ulp, also at the zeros x = 1 and 2.
// Near the zeros on the negative axis the reflection cancels; double
// arithmetic covers that down to about 2^-20 of the result.  (The double
// routine is not part of this tier yet.)
//
// This routine leaves the mode and MXCSR alone at entry.
// Screen: 2^-126 <= x < 2^100.  The scalar routine, first match: NaN gives
// NaN; +-infinity gives +infinity; 0 and the negative integers are poles:
// +infinity with SING; x above 4.08e36 gives +infinity with OVERFLOW;
// positive denormals give -log x, negative x the reflection.
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/gamma_core.h"
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

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_sLGamma_HA, lgamma_plan)
