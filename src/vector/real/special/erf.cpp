// Erf, double and single: groups of four doubles in two SSE2 pairs, eight
// floats widened to four pairs, by the plan of erf_vector_core.h: sign(x)
// times a piecewise fit of erf(|x|) on pieces that follow the exponent (46,
// and 274 finer ones for double LA).
//
// Double HA: degree 11 (fit 2^-56), c0 + t c1 formed exactly, about 0.6
// ulp; LA: degree 7 (2^-54) on the finer pieces, plain Horner, about 0.7
// ulp; EP: degree 5 (2^-30).  Single HA: the degree-5 fits in double,
// rounded once to float (about 0.5 ulp); single EP: degree 3 (2^-18).
// Single LA runs in float lanes instead, on the node table of
// erf_float_lanes.h (below 0.75 ulp), and its screen passes every finite x.
// Screen: |x| < 6 in double, 4 in single (beyond, erf rounds to +-1);
// denormals and zeros stay on the fast lane (piece 0 is x P(x)).  Rejected
// lanes go to the per-element routine of erf_core.h: NaN gives NaN, every
// other x +-1, without a status.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/special/erf_core.h"
#include "vector/real/special/erf_float_lanes.h"
#include "vector/real/special/erf_vector_core.h"
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

namespace ev = qlm::special::erf_vector;
template <class S, class F, bool Extra>
using erf_d = ev::double_plan<0x40180000u, ev::erf_value<S>, erf_plan<double, F, Extra, kD>>;  // 6
template <class S, class F>
using erf_s = ev::single_plan<0x40800000u, ev::erf_value<S>, erf_plan<float, F, false, kS>>;  // 4

}  // namespace

QLM_ERF_DOUBLE_KERNEL(qlmk_dErf_HA, erf_d<ev::set_ha, erf_fits_d, true>)
QLM_ERF_DOUBLE_KERNEL(qlmk_dErf_LA, erf_d<ev::set_la, erf_fits_d, false>)
QLM_ERF_DOUBLE_KERNEL(qlmk_dErf_EP, erf_d<ev::set_sp, erf_fits_f, false>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErf_HA, erf_s<ev::set_sp, erf_fits_f>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErf_LA, erf_float::erf_float_plan<erf_plan<float, erf_fits_f, false, kS>>)
QLM_ERF_SINGLE_KERNEL(qlmk_sErf_EP, erf_s<ev::set_ep, erf_fits_e>)

