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
#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

constexpr char kD[] = "vdErfcInv";
constexpr char kS[] = "vsErfcInv";

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_HA, quantile_plan<double, 2, erfc_inverse_value<3>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_LA, quantile_plan<double, 2, erfc_inverse_value<2>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_EP, quantile_plan<double, 2, erfc_inverse_value<2>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_HA, quantile_plan<float, 2, erfc_inverse_value<2>, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_LA, quantile_plan<float, 2, erfc_inverse_value<1>, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_EP, quantile_plan<float, 2, erfc_inverse_value<1>, kS>)
