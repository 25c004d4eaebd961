// Erfc, double and single: groups of four doubles in two SSE2 pairs, eight
// floats widened to four pairs, by the plan of erf_vector_core.h: e^(-x^2)
// with the square exact, times G = erfc e^(x^2) fitted on 64 pieces that
// follow the exponent, and 2 - that for x < 0.
//
// Double HA: degree 11 (fit 2^-56) with a double-double finish, about 0.6
// ulp; LA (also the EP slot): degree 10 (2^-54), plain finish, about 1.5 ulp.
// Single HA and LA: the degree-6 fits in double, rounded once to float;
// single EP: degree 3.
// Screen: |x| < 26.5 in double, 9 in single: every screened result is
// normal.  Rejected lanes go to the per-element routine of erf_core.h: NaN
// gives NaN, +infinity 0 and -infinity 2 without a status; a finite x whose
// result is below the least normal number (above 26.54 in double) gives the
// denormal or zero with UNDERFLOW.  Single keeps the pairs' value for
// |x| < 26.5, where the double result is still normal and its one rounding
// to float is the denormal or zero itself, and raises UNDERFLOW per lane
// whose value is below the least normal float (x above 9.19); whole groups
// at or above 10.5 store zeros without the arithmetic.
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
struct erfc_plan : abs_screen<Elem, 0x403A8000u, 0x41100000u, Name> {  // 26.5 and 9
    static Elem fast(Elem x) { return static_cast<Elem>(erfc_value<F, Extra>(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return x > 0 ? Elem(0) : Elem(2);
        // Far past the least denormal (erfc(27.5) < 2^-1090, erfc(10.5) <
        // 2^-163): zero, without the core's work.
        if (x > (sizeof(Elem) == 8 ? Elem(27.5) : Elem(10.5))) {
            status = VXM_STATUS_UNDERFLOW;
            return Elem(0);
        }
        const Elem r = fast(x);
        if (r < (sizeof(Elem) == 8 ? DBL_MIN : FLT_MIN)) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdErfc";
constexpr char kS[] = "vsErfc";

namespace ev = qlm::special::erf_vector;
template <class S, class F, bool Extra>
using erfc_d = ev::double_plan<0x403A8000u, ev::erfc_value<S>, erfc_plan<double, F, Extra, kD>>;  // 26.5
// Single: the pairs are trusted below 26.5, where the double result is
// still normal; groups of x >= 10.5 (0x41280000 up to +infinity) are zero.
template <class S, class F>
using erfc_s = ev::single_tail_plan<0x41100000u, 0x41D40000u, 0x41280000u, 0x7F800000u - 0x41280000u,
                                    ev::erfc_value<S>, erfc_plan<float, F, false, kS>>;  // 9, 26.5, 10.5

}  // namespace

QLM_ERF_DOUBLE_KERNEL(qlmk_dErfc_HA, erfc_d<ev::set_ha, erf_fits_d, true>)
QLM_ERF_DOUBLE_KERNEL(qlmk_dErfc_LA, erfc_d<ev::set_la, erf_fits_d, false>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErfc_HA, erfc_s<ev::set_sp, erf_fits_f>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErfc_LA, erfc_s<ev::set_sp, erf_fits_f>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErfc_EP, erfc_s<ev::set_ep, erf_fits_e>)

