// CdfNormInv, the quantile of the standard normal distribution, double and
// single, by the Halley iteration of erfinv_core.h: the centre form for p
// in [1/4, 3/4] (h = p - 1/2 exact), the tail form below, and -CdfNormInv(1
// - p) above (1 - p exact).  The tail form keeps full relative accuracy down
// to the least denormal p (CdfNormInv(1e-300) = -37.0471...).
//
// Steps as in ErfInv: double HA three, LA and EP two; single HA two, LA
// and EP one.  This routine leaves the mode and MXCSR alone at entry.
// Screen: 0 < p < 1.  The scalar routine: NaN gives NaN without a status;
// 0 gives -infinity and 1 gives +infinity with SING; p < 0 or p > 1 gives
// NaN with ERRDOM; a denormal p is served by the tail form.
#include <cmath>

#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, int Steps, const char* Name>
struct cdfnorminv_plan {
    using T = Elem;
    static constexpr const char* name = Name;
    static constexpr int width = sizeof(Elem) == 8 ? 4 : 8;
    static bool lane_ok(Elem x) {
        if constexpr (sizeof(Elem) == 8)
            return static_cast<uint32_t>(bits_of(static_cast<double>(x)) >> 32) - 0x00100000u < 0x3FE00000u;
        else return bits_of(static_cast<float>(x)) - 0x00800000u < 0x3F000000u;
    }
    static Elem fast(Elem x) { return static_cast<Elem>(cdfnorm_inverse_value<Steps>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (x > 0 && x < 1) return fast(x);
        if (x == 0 || x == 1) {
            status = VXM_STATUS_SING;
            return x == 0 ? Elem(-INFINITY) : Elem(INFINITY);
        }
        status = VXM_STATUS_ERRDOM;
        return static_cast<Elem>(NAN);
    }
};

constexpr char kD[] = "vdCdfNormInv";
constexpr char kS[] = "vsCdfNormInv";

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_HA, cdfnorminv_plan<double, 3, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_LA, cdfnorminv_plan<double, 2, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_EP, cdfnorminv_plan<double, 2, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_HA, cdfnorminv_plan<float, 2, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_LA, cdfnorminv_plan<float, 1, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_EP, cdfnorminv_plan<float, 1, kS>)
