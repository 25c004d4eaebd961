// Erf, double and single, by the plan of erf_core.h.
//
// Double HA: double-double finish (about 0.5 ulp); LA: the same fits with
// a plain finish; EP: the 2^-31 fits, plain.  Single HA and LA: the 2^-31
// fits evaluated in double (LA shares the plan: double evaluation is the
// cheapest that keeps 4 ulp); single EP: the 2^-16 fits.
// Screen: |x| < 6 in double, 4 in single (beyond, erf rounds to +-1).  The
// scalar routine: NaN gives NaN, every other x +-1, without a status.  A
// denormal x gives the denormal 2x/sqrt(pi) without a status: the input was
// already below the normal range.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/special/erf_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, class F, bool Extra, const char* Name>
struct erf_plan : abs_screen<Elem, 0x40180000u, 0x40800000u, Name> {  // 6 and 4
    static Elem fast(Elem x) { return static_cast<Elem>(erf_value<F, Extra>(x)); }
    static Elem scalar(Elem x, int&) { return std::isnan(x) ? x + x : std::copysign(Elem(1), x); }
};

constexpr char kD[] = "vdErf";
constexpr char kS[] = "vsErf";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dErf_HA, qlm::frame::kX87None, erf_plan<double, erf_fits_d, true, kD>)
QLM_UNARY_KERNEL(qlmk_dErf_LA, qlm::frame::kX87None, erf_plan<double, erf_fits_d, false, kD>)
QLM_UNARY_KERNEL(qlmk_dErf_EP, qlm::frame::kX87None, erf_plan<double, erf_fits_f, false, kD>)
QLM_UNARY_KERNEL(qlmk_sErf_HA, qlm::frame::kX87None, erf_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sErf_LA, qlm::frame::kX87None, erf_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sErf_EP, qlm::frame::kX87None, erf_plan<float, erf_fits_e, false, kS>)
