// TGamma, single, one routine in all three slots, by gamma_core.h in
// double: about 0.5 ulp.  (The double routine is not part of this tier yet.)
//
// Like LGamma, this routine leaves the mode and MXCSR alone at entry.
// Screen: 2^-126 <= x < 35, where the result is a normal float.  The scalar
// routine, first match: NaN gives NaN; +infinity itself; +-0 gives
// +-infinity with SING; -infinity gives NaN with ERRDOM; a negative
// integer gives NaN with SING (the pole's two sides differ in sign); a result
// beyond the float range gives infinity with OVERFLOW (x >= 35.04, and
// positive denormals); a nonzero result below the least normal float gives
// the denormal or zero with UNDERFLOW (negative non-integers below -35).
#include <cfloat>
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/gamma_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

double gamma_value(double x) {
    if (x > 0) return x > 172.0 ? INFINITY : gamma_positive(x);
    if (x < -180.0) return sin_pi(x) < 0 ? -0.0 : 0.0;  // |Gamma| far below the float range
    return kPi / (sin_pi(x) * gamma_positive(1.0 - x));
}

constexpr char kS[] = "vsTGamma";

struct tgamma_plan : range_screen<float, 0, 0, 0x00800000u, 0x420C0000u - 0x00800000u, kS> {
    static float fast(float x) { return static_cast<float>(gamma_positive(x)); }
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

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_sTGamma_HA, tgamma_plan)
