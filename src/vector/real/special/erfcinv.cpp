// ErfcInv, double and single.
//
// HA, double and single: the Halley iteration of erfinv_core.h: for z in
// [1/2, 3/2] the centre form with y = 1 - z (exact); below, the tail form
// with q = z/2; above, -ErfcInv(2 - z) (2 - z exact).  Steps: double
// three, single two (about 0.5 ulp).
// LA and EP: erfinv(1 - z) on vector lanes (quantile_lane_routines.h and
// erfinv_lanes.h): w = -ln(z (2 - z)), then a polynomial in w or in sqrt
// w.  Double LA by the fine logarithm and fit set d, double EP and single
// LA and EP by the coarse logarithm and fit set p; the tails z < 2^-20 and
// 2 - z <= 2^-20 in double (z < 2^-23 in single) take the Halley path with
// two steps (double) or one (single).
// Like CdfNormInv, these routines leave the mode and MXCSR alone at entry:
// they run under the caller's MXCSR.
// Screen: 0 < z < 2 in HA, the ranges above in LA and EP.  The scalar
// routine: NaN gives NaN without a status; 0 gives +infinity and 2 gives
// -infinity with SING; z < 0 or z > 2 gives NaN with ERRDOM; a denormal z
// is served by the tail form.
#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"
#include "vector/real/special/quantile_lane_routines.h"

namespace {

using namespace qlm::special;
using namespace qlm::special::erfinv_lanes;

constexpr char kD[] = "vdErfcInv";
constexpr char kS[] = "vsErfcInv";

using tail_d = quantile_plan<double, 2, erfc_inverse_value<2>, kD>;
using tail_s = quantile_plan<float, 2, erfc_inverse_value<1>, kS>;

}  // namespace

QLM_UNARY_KERNEL_NO_FRAME(qlmk_dErfcInv_HA, quantile_plan<double, 2, erfc_inverse_value<3>, kD>)
QLM_UNARY_KERNEL_NO_FRAME(qlmk_sErfcInv_HA, quantile_plan<float, 2, erfc_inverse_value<2>, kS>)

extern "C" void qlmk_dErfcInv_LA(int32_t n, const double* a, double* y) { run_double_quantile<la_plan, false, tail_d>(n, a, y); }
extern "C" void qlmk_dErfcInv_EP(int32_t n, const double* a, double* y) { run_double_quantile<ep_plan, false, tail_d>(n, a, y); }
extern "C" void qlmk_sErfcInv_LA(int32_t n, const float* a, float* y) { run_single_quantile<false, tail_s>(n, a, y); }
extern "C" void qlmk_sErfcInv_EP(int32_t n, const float* a, float* y) { run_single_quantile<false, tail_s>(n, a, y); }
