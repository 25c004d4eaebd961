// Atanh, double and single.
//
// Vector path (invhyp_pairs.h): log1p(2|x|/(1 - |x|))/2 with the sign of x
// put back, on pairs of doubles; 1 - |x| and the quotient are carried as
// double-double in double HA (about 0.501 ulp) and plainly elsewhere.
// Double LA (also the EP slot): the LA logarithm (about 1 ulp).  Single
// HA: the single HA logarithm (2^-38); single LA: a degree-3 log1p
// (2^-29, about 0.52 ulp after the rounding to float); single EP:
// log1p(r) = r - r^2/2 (2^-19.5).
// Screen: |x| < 1.
// Per element (formulas of invhyp_core.h): the specials: NaN gives NaN
// without a status, +-1 gives +-infinity with SING, |x| > 1 gives NaN with
// ERRDOM.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/invhyp/invhyp_groups.h"

namespace {

using namespace qlm::special;
using namespace qlm::invhyp;

template <typename Elem, double (*Value)(double), const char* Name>
struct atanh_plan : abs_screen<Elem, 0x3FF00000u, 0x3F800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int& status) { return unit_interval_poles(x, status); }
};

constexpr char kD[] = "vdAtanh";
constexpr char kS[] = "vsAtanh";
constexpr int kD_ = sizeof(atanh_tail_d) / 8, kF_ = sizeof(atanh_tail_f) / 8, kE_ = sizeof(atanh_tail_e) / 8;

template <class PerElement, class Set>
using atanh_kernel = vector_kernel<PerElement, atanh_pair<Set>, true, 0, 0x3FF00000u, 0, 0x3F800000u,
                                   sizeof(typename PerElement::T) == 4 ? atanh_four<Set> : nullptr>;

}  // namespace

QLM_INVHYP_KERNEL(qlmk_dAtanh_HA, qlm::frame::kX87Extended, atanh_kernel<atanh_plan<double, atanh_x87, kD>, ha_set>)
QLM_INVHYP_KERNEL(qlmk_dAtanh_LA, qlm::frame::kX87None,
                  atanh_kernel<atanh_plan<double, atanh_double<atanh_tail_d, kD_>, kD>, la_set>)
QLM_INVHYP_KERNEL(qlmk_sAtanh_HA, qlm::frame::kX87None,
                  atanh_kernel<atanh_plan<float, atanh_double<atanh_tail_f, kF_>, kS>, single_set>)
QLM_INVHYP_KERNEL(qlmk_sAtanh_LA, qlm::frame::kX87None,
                  atanh_kernel<atanh_plan<float, atanh_double<atanh_tail_f, kF_>, kS>, single_la_set>)
QLM_INVHYP_KERNEL(qlmk_sAtanh_EP, qlm::frame::kX87None,
                  atanh_kernel<atanh_plan<float, atanh_double<atanh_tail_e, kE_>, kS>, ep_set>)
