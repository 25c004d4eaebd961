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
#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

constexpr char kD[] = "vdCdfNormInv";
constexpr char kS[] = "vsCdfNormInv";

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_HA, quantile_plan<double, 1, cdfnorm_inverse_value<3>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_LA, quantile_plan<double, 1, cdfnorm_inverse_value<2>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_EP, quantile_plan<double, 1, cdfnorm_inverse_value<2>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_HA, quantile_plan<float, 1, cdfnorm_inverse_value<2>, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_LA, quantile_plan<float, 1, cdfnorm_inverse_value<1>, kS>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_EP, quantile_plan<float, 1, cdfnorm_inverse_value<1>, kS>)
