// Asinh, double and single.
//
// Vector path (invhyp_pairs.h): log(|x| + sqrt(1 + x^2)) with the sign of
// x put back, on pairs of doubles.  Double HA carries the argument as
// double-double with the HA logarithm (about 0.501 ulp); double LA (also
// the EP slot) takes the plain root through log1p(|x| + x^2/(1 + sqrt(1 +
// x^2))), which keeps small x relative (about 1 ulp).  Single LA (also the
// HA slot) runs the plain plan in double with the single HA logarithm
// (2^-38) and rounds once; single EP keeps log1p(r) = r - r^2/2 (2^-19.5).
// Screen: |x| < 2^28 in double (x^2 and its split stay exact), finite x in
// single (every float's square fits a double).
// Per element (formulas of invhyp_core.h): |x| >= 2^28 in double, and the
// specials: NaN gives NaN, +-infinity gives itself, without a status.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/invhyp/invhyp_groups.h"

namespace {

using namespace qlm::special;
using namespace qlm::invhyp;

template <typename Elem, double (*Value)(double), const char* Name>
struct asinh_plan : abs_screen<Elem, 0x7FF00000u, 0x7F800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int&) { return x + x; }  // NaN, or twice an infinity
};

constexpr char kD[] = "vdAsinh";
constexpr char kS[] = "vsAsinh";
constexpr int kD_ = sizeof(asinh_tail_d) / 8, kF_ = sizeof(asinh_tail_f) / 8, kE_ = sizeof(asinh_tail_e) / 8;

template <class PerElement, class Set>
using asinh_kernel = vector_kernel<PerElement, asinh_pair<Set>, true, 0, 0x41B00000u, 0, 0x7F800000u,
                                   sizeof(typename PerElement::T) == 4 ? asinh_four<Set> : nullptr>;

}  // namespace

QLM_INVHYP_KERNEL(qlmk_dAsinh_HA, qlm::frame::kX87Extended, asinh_kernel<asinh_plan<double, asinh_x87, kD>, ha_set>)
QLM_INVHYP_KERNEL(qlmk_dAsinh_LA, qlm::frame::kX87None,
                  asinh_kernel<asinh_plan<double, asinh_double<asinh_tail_d, kD_>, kD>, la_set>)
QLM_INVHYP_KERNEL(qlmk_sAsinh_LA, qlm::frame::kX87None,
                  asinh_kernel<asinh_plan<float, asinh_double<asinh_tail_f, kF_>, kS>, single_set>)
QLM_INVHYP_KERNEL(qlmk_sAsinh_EP, qlm::frame::kX87None,
                  asinh_kernel<asinh_plan<float, asinh_double<asinh_tail_e, kE_>, kS>, ep_set>)
