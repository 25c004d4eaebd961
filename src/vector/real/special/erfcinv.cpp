// ErfcInv, double and single, by the Halley iteration of erfinv_core.h:
// for z in [1/2, 3/2] the centre form with y = 1 - z (exact); below, the
// tail form with q = z/2; above, -ErfcInv(2 - z) (2 - z exact).
//
// Steps as in ErfInv: double HA three, LA and EP two; single HA two, LA
// and EP one.  Like CdfNormInv, this routine leaves the mode and MXCSR
// alone at entry: it runs under the caller's MXCSR.
// Screen: 0 < z < 2, one unsigned compare of the high word.  The scalar
// routine: NaN gives NaN without a status; 0 gives +infinity and 2 gives
// -infinity with SING; z < 0 or z > 2 gives NaN with ERRDOM; a denormal z
// is served by the tail form.
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, int Steps, const char* Name>
struct erfcinv_plan {
    using T = Elem;
    static constexpr const char* name = Name;
    static constexpr int width = sizeof(Elem) == 8 ? 4 : 8;
    static bool lane_ok(Elem x) {
        if constexpr (sizeof(Elem) == 8)
            return static_cast<uint32_t>(bits_of(static_cast<double>(x)) >> 32) - 0x00100000u < 0x3FF00000u;
        else return bits_of(static_cast<float>(x)) - 0x00800000u < 0x3F800000u;
    }
    static Elem fast(Elem x) { return static_cast<Elem>(erfc_inverse_value<Steps>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (x > 0 && x < 2) return fast(x);
        if (x == 0 || x == 2) {
            status = VXM_STATUS_SING;
            return x == 0 ? Elem(INFINITY) : Elem(-INFINITY);
        }
        status = VXM_STATUS_ERRDOM;
        return static_cast<Elem>(NAN);
    }
};

constexpr char kD[] = "vdErfcInv";
constexpr char kS[] = "vsErfcInv";

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_HA, erfcinv_plan<double, 3, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_LA, erfcinv_plan<double, 2, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_EP, erfcinv_plan<double, 2, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_HA, erfcinv_plan<float, 2, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_LA, erfcinv_plan<float, 1, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_EP, erfcinv_plan<float, 1, kS>)
