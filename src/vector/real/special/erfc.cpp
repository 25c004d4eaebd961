// Erfc, double and single, by the plan of erf_core.h.
//
// Double HA: double-double finish (about 0.5 ulp); LA (also the EP slot):
// the same fits with a plain finish.  Single HA and LA: the 2^-31 fits in
// double (LA shares the plan, as in Erf); single EP: the 2^-16 fits.
// Screen: |x| < 26.5 in double, 9 in single: every screened result is
// normal.  The scalar routine: NaN gives NaN, +infinity 0 and -infinity 2
// without a status; a finite x whose result is below the least normal
// number (above 26.54 in double, 9.19 in single) gives the denormal or zero
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
struct erfc_plan : abs_screen<Elem, 0x403A8000u, 0x41100000u, Name> {  // 26.5 and 9
    static Elem fast(Elem x) { return static_cast<Elem>(erfc_value<F, Extra>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return x > 0 ? Elem(0) : Elem(2);
        const Elem r = fast(x);
        if (r < (sizeof(Elem) == 8 ? DBL_MIN : FLT_MIN)) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdErfc";
constexpr char kS[] = "vsErfc";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dErfc_HA, qlm::frame::kX87None, erfc_plan<double, erf_fits_d, true, kD>)
QLM_UNARY_KERNEL(qlmk_dErfc_LA, qlm::frame::kX87None, erfc_plan<double, erf_fits_d, false, kD>)
QLM_UNARY_KERNEL(qlmk_sErfc_HA, qlm::frame::kX87None, erfc_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sErfc_LA, qlm::frame::kX87None, erfc_plan<float, erf_fits_f, false, kS>)
QLM_UNARY_KERNEL(qlmk_sErfc_EP, qlm::frame::kX87None, erfc_plan<float, erf_fits_e, false, kS>)
