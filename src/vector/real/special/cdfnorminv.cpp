// CdfNormInv, the quantile of the standard normal distribution, double and
// single.
//
// HA, double and single: the Halley iteration of erfinv_core.h: the centre
// form for p in [1/4, 3/4] (h = p - 1/2 exact), the tail form below, and
// -CdfNormInv(1 - p) above (1 - p exact).  The tail form keeps full
// relative accuracy down to the least denormal p (CdfNormInv(1e-300) =
// -37.0471...).  Steps: double three, single two (about 0.5 ulp).
// LA and EP: sqrt 2 erfinv(2p - 1) on vector lanes (quantile_lane_routines.h
// and erfinv_lanes.h): w = -ln(2p (2 - 2p)), then a polynomial in w or in
// sqrt w.  Double LA by the fine logarithm and fit set d, double EP and
// single LA and EP by the coarse logarithm and fit set p; the tails p <
// 2^-21 and 1 - p <= 2^-21 in double (p < 2^-24 in single) take the Halley
// path with two steps (double) or one (single), which keeps the relative
// accuracy there.
// These routines leave the mode and MXCSR alone at entry.
// Screen: 0 < p < 1 in HA, the ranges above in LA and EP.  The scalar
// routine: NaN gives NaN without a status; 0 gives -infinity and 1 gives
// +infinity with SING; p < 0 or p > 1 gives NaN with ERRDOM; a denormal p
// is served by the tail form.
#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"
#include "vector/real/special/quantile_lane_routines.h"

namespace {

using namespace qlm::special;
using namespace qlm::special::erfinv_lanes;

constexpr char kD[] = "vdCdfNormInv";
constexpr char kS[] = "vsCdfNormInv";

using tail_d = quantile_plan<double, 1, cdfnorm_inverse_value<2>, kD>;
using tail_s = quantile_plan<float, 1, cdfnorm_inverse_value<1>, kS>;

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dCdfNormInv_HA, quantile_plan<double, 1, cdfnorm_inverse_value<3>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sCdfNormInv_HA, quantile_plan<float, 1, cdfnorm_inverse_value<2>, kS>)

extern "C" void qlmk_dCdfNormInv_LA(int32_t n, const double* a, double* y) { run_double_quantile<la_plan, true, tail_d>(n, a, y); }
extern "C" void qlmk_dCdfNormInv_EP(int32_t n, const double* a, double* y) { run_double_quantile<ep_plan, true, tail_d>(n, a, y); }
extern "C" void qlmk_sCdfNormInv_LA(int32_t n, const float* a, float* y) { run_single_quantile<true, tail_s>(n, a, y); }
extern "C" void qlmk_sCdfNormInv_EP(int32_t n, const float* a, float* y) { run_single_quantile<true, tail_s>(n, a, y); }
