// LGamma, log|Gamma(x)|, single, one routine in all three slots, on double
// lanes by gamma_single_lanes.h, eight elements a turn: about 0.5 ulp, also
// at the zeros x = 1 and 2.  Near the zeros on the negative axis the
// reflection cancels; double arithmetic covers that down to about 2^-20 of
// the result.
// Double, one routine in all three slots: groups of four on two SSE2
// pairs by gamma_double_lanes.h (Taylor rows of log Gamma about the
// integers, reflection for x < 0, in double-double) for 2^-30 <= |x| <
// 60.5; the poles and the negative lanes whose result is below 1/8 (near
// the zeros of log |Gamma| below -2) are handed back to the per-element
// routine, gamma_double_core.h in double-double, which also takes every
// input outside the screen: about 0.5 ulp, also at the zeros x = 1 and 2,
// and at the zeros below -2 by their local expansions (0.52 ulp measured
// there).
//
// Both routines leave the mode and MXCSR alone at entry.
// Screen, single: 2^-126 <= |x|, x < 2^100, and negative x above -2^22 and
// not an integer; double: 2^-30 <= |x| < 60.5.  The scalar routine, first match: NaN gives
// NaN; +-infinity gives +infinity; 0 and the negative integers are poles:
// +infinity with SING; a result beyond the range (x above 4.08e36 in
// single, 2.55e305 in double) gives +infinity with OVERFLOW;
// positive denormals give -log x, negative x the reflection.
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/gamma_core.h"
#include "vector/real/special/gamma_double_core.h"
#include "vector/real/special/gamma_double_lanes.h"
#include "vector/real/special/gamma_single_lanes.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

constexpr char kS[] = "vsLGamma";

struct lgamma_plan {
    static constexpr const char* name = kS;
    static __m128 ok(__m128 x) { return gamma_lanes::screen(x, -0x1p22f, 0x1p100f); }
    static gamma_lanes::v2d core(gamma_lanes::v2d x) { return gamma_lanes::log_abs_gamma(x); }
    static float scalar(float x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return INFINITY;
        if (x == 0 || (x < 0 && std::nearbyint(x) == x)) {
            status = VXM_STATUS_SING;
            return INFINITY;
        }
        // Denormals give -log|x|; beyond 2^100 the result overflows from 4.08e36.
        if (std::fabs(x) < 0x1p-126f) return static_cast<float>(-log_dd(std::fabs(x)).hi);
        const float r = static_cast<float>(
            gamma_lanes::log_abs_gamma(gamma_lanes::splat(static_cast<double>(x)))[0]);
        if (std::isinf(r)) status = VXM_STATUS_OVERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdLGamma";

struct lgamma_plan_d {
    static constexpr const char* name = kD;
    template <int N>
    static void fast(const gamma_lanes::v2d (&x)[N], gamma_lanes::v2d (&r)[N], gamma_lanes::v2l (&bad)[N]) {
        gamma_dl::log_abs_gamma<N>(x, r, bad);
    }
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

extern "C" void qlmk_sLGamma_HA(int32_t n, const float* a, float* y) {
    if (n <= 0) return;
    gamma_lanes::run_single<lgamma_plan>(n, a, y);
}
extern "C" void qlmk_dLGamma_HA(int32_t n, const double* a, double* y) {
    if (n <= 0) return;
    gamma_dl::run_groups<lgamma_plan_d>(n, a, y);
}
