// Acos, double and single, by the reduction of asin_core.h.
//
// Single LA shares the HA plan: double evaluation already gives 0.5 ulp at
// the cost of the float routine, and no cheaper plan keeps 4 ulp.
// Double HA carries the root of the large-argument reduction beyond double
// (about 0.55 ulp); LA drops that correction (about 1 ulp); EP uses the
// 2^-28 fit in plain double.  Single HA and LA evaluate in double with the
// 2^-28 fit, EP with the 2^-14 fit.
// Screen: |x| < 1.  The scalar routine: NaN gives NaN without a status,
// 1 gives 0 and -1 gives pi, |x| > 1 (infinities included) gives NaN with ERRDOM.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/asin_core.h"

namespace {

using namespace qlm::special;

constexpr char kD[] = "vdAcos";
constexpr char kS[] = "vsAcos";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dAcos_HA, qlm::frame::kX87None, arcsine_plan<double, asin_tail_d, kFitD, true, true, kD>)
QLM_UNARY_KERNEL(qlmk_dAcos_LA, qlm::frame::kX87None, arcsine_plan<double, asin_tail_d, kFitD, false, true, kD>)
QLM_UNARY_KERNEL(qlmk_dAcos_EP, qlm::frame::kX87None, arcsine_plan<double, asin_tail_f, kFitF, false, true, kD>)
QLM_UNARY_KERNEL(qlmk_sAcos_HA, qlm::frame::kX87None, arcsine_plan<float, asin_tail_f, kFitF, false, true, kS>)
QLM_UNARY_KERNEL(qlmk_sAcos_LA, qlm::frame::kX87None, arcsine_plan<float, asin_tail_f, kFitF, false, true, kS>)
QLM_UNARY_KERNEL(qlmk_sAcos_EP, qlm::frame::kX87None, arcsine_plan<float, asin_tail_e, kFitE, false, true, kS>)
