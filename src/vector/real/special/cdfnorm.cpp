// CdfNorm, the standard normal distribution function, double and single:
// groups of four doubles in two SSE2 pairs, eight floats widened to four
// pairs, by the plan of erf_vector_core.h: CdfNorm(x) = erfc(-x/sqrt 2)/2
// with e^(-x^2/2) taken from the exact square, which keeps full relative
// accuracy in the lower tail.
//
// Double HA: double-double finish and G's argument corrected for the
// rounding of |x|/sqrt 2 (about 0.6 ulp); LA: plain finish (about 2.1 ulp);
// EP: the 2^-30 fits.  Single HA and LA: the 2^-30 fits in double, rounded
// once to float; single EP: the 2^-18 fits.
// Screen: |x| < 37.5 in double, 12.5 in single: every screened result is
// normal.  The scalar routine: NaN gives NaN, +infinity 1 and -infinity 0
// without a status; a finite x whose result is below the least normal
// number (below -37.5 in double) gives the denormal or zero with UNDERFLOW.
// Single keeps the pairs' value for |x| < 37.5 and raises UNDERFLOW per lane
// whose value is below the least normal float (x below -12.9); whole groups
// at or below -15 store zeros without the arithmetic.
#include <cfloat>
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/special/erf_core.h"
#include "vector/real/special/erf_vector_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, class F, bool Extra, const char* Name>
struct cdfnorm_plan : abs_screen<Elem, 0x4042C000u, 0x41480000u, Name> {  // 37.5 and 12.5
    static Elem fast(Elem x) { return static_cast<Elem>(cdfnorm_value<F, Extra>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return x > 0 ? Elem(1) : Elem(0);
        // Far past the least denormal (CdfNorm(-39) < 2^-1100, CdfNorm(-15)
        // < 2^-167): zero, without the core's work.
        if (x < (sizeof(Elem) == 8 ? Elem(-39) : Elem(-15))) {
            status = VXM_STATUS_UNDERFLOW;
            return Elem(0);
        }
        const Elem r = fast(x);
        if (r < (sizeof(Elem) == 8 ? DBL_MIN : FLT_MIN)) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdCdfNorm";
constexpr char kS[] = "vsCdfNorm";

namespace ev = qlm::special::erf_vector;
template <class S, class F, bool Extra>
using cdf_d = ev::double_plan<0x4042C000u, ev::cdfnorm_value<S>, cdfnorm_plan<double, F, Extra, kD>>;  // 37.5
// Single: the pairs are trusted below 37.5, where the double result is
// still normal; groups of x <= -15 (0xC1700000 up to -infinity) are zero.
template <class S, class F>
using cdf_s = ev::single_tail_plan<0x41480000u, 0x42160000u, 0xC1700000u, 0xFF800000u - 0xC1700000u,
                                   ev::cdfnorm_value<S>, cdfnorm_plan<float, F, false, kS>>;  // 12.5, 37.5, -15

}  // namespace

QLM_ERF_DOUBLE_KERNEL(qlmk_dCdfNorm_HA, cdf_d<ev::set_ha, erf_fits_d, true>)
QLM_ERF_DOUBLE_KERNEL(qlmk_dCdfNorm_LA, cdf_d<ev::set_la, erf_fits_d, false>)
QLM_ERF_DOUBLE_KERNEL(qlmk_dCdfNorm_EP, cdf_d<ev::set_sp, erf_fits_f, false>)
QLM_ERF_SINGLE_KERNEL(qlmk_sCdfNorm_HA, cdf_s<ev::set_sp, erf_fits_f>)
QLM_ERF_SINGLE_KERNEL(qlmk_sCdfNorm_LA, cdf_s<ev::set_sp, erf_fits_f>)
QLM_ERF_SINGLE_KERNEL(qlmk_sCdfNorm_EP, cdf_s<ev::set_ep, erf_fits_e>)

