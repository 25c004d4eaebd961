// CdfNorm, the standard normal distribution function, double and single,
// by the plan of erf_core.h: CdfNorm(x) = erfc(-x/sqrt 2)/2 with the
// argument carried as a double-double, which keeps full relative accuracy
// in the lower tail.
//
// Double HA: double-double finish (about 0.5 ulp); LA: plain finish; EP:
// the 2^-31 fits.  Single HA and LA: the 2^-31 fits in double (LA shares the
// plan, as in Erf); single EP: the 2^-16 fits.
// Screen: |x| < 37.5 in double, 12.5 in single: every screened result is
// normal.  The scalar routine: NaN gives NaN, +infinity 1 and -infinity 0
// without a status; a finite x whose result is below the least normal
// number (below -37.5 in double, -12.9 in single) gives the denormal or zero
// with UNDERFLOW.
#include <cfloat>
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/special/erf_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, class F, bool Extra, const char* Name>
struct cdfnorm_plan : abs_screen<Elem, 0x4042C000u, 0x41480000u, Name> {  // 37.5 and 12.5
    static Elem fast(Elem x) { return static_cast<Elem>(cdfnorm_value<F, Extra>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return x > 0 ? Elem(1) : Elem(0);
        const Elem r = fast(x);
        if (r < (sizeof(Elem) == 8 ? DBL_MIN : FLT_MIN)) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdCdfNorm";
constexpr char kS[] = "vsCdfNorm";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dCdfNorm_HA, qlm::frame::kX87None, cdfnorm_plan<double, erf_fits_d, true, kD>)
QLM_UNARY_KERNEL(qlmk_dCdfNorm_LA, qlm::frame::kX87None, cdfnorm_plan<double, erf_fits_d, false, kD>)
QLM_UNARY_KERNEL(qlmk_dCdfNorm_EP, qlm::frame::kX87None, cdfnorm_plan<double, erf_fits_f, false, kD>)
QLM_UNARY_KERNEL(qlmk_sCdfNorm_HA, qlm::frame::kX87None, cdfnorm_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sCdfNorm_LA, qlm::frame::kX87None, cdfnorm_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sCdfNorm_EP, qlm::frame::kX87None, cdfnorm_plan<float, erf_fits_e, false, kS>)
